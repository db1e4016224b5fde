// The control's About box, `frmAbout`, and the service that shows it. Tests
// and hosts replace the service so that nothing waits on a modal window.
#pragma once

#include <QDialog>
#include <QString>
#include <QStringList>

class QLabel;
class QPushButton;

namespace qorv {

class frmAbout : public QDialog {
  Q_OBJECT

 public:
  explicit frmAbout(QWidget* parent = nullptr);

  QLabel* lblTitle;
  QLabel* lblVersion;
  QLabel* lblLink;
  QPushButton* cmdOK;
  QPushButton* cmdSysInfo;

  // Starts the first system-information program found on the PATH, or says
  // that none is there.
  void StartSysInfo();

  // The library's title and its "major.minor.revision" build version.
  static QString libraryTitle();
  static QString libraryVersion();
  // The web page or file the link label opens.
  static QString documentationUrl();
  // Programs StartSysInfo looks for, in order.
  static QStringList systemInformationPrograms();
};

class AboutService {
 public:
  virtual ~AboutService() = default;
  // Shows the About box modally over `parent`; returns when it is closed.
  virtual void show(QWidget* parent) = 0;
};

// The default runs frmAbout when a user can answer it, and otherwise only
// reports the title and version through the host's message box.
AboutService& aboutService();
// Installs `s` (not owned); nullptr restores the default.
void setAboutService(AboutService* s);

}  // namespace qorv
