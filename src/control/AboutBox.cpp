#include "control/AboutBox.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStandardPaths>
#include <QUrl>
#include <QVBoxLayout>

#include "platform/Host.h"
#include "platform/Shell.h"

namespace qorv {

namespace {

constexpr int kShowNormal = 1;

// Opens a web page, or a local file through its path, on the desktop.
void openDocument(const QString& target) {
  const QUrl url(target);
  shellService().execute(0, QStringLiteral("open"), url.isLocalFile() ? url.toLocalFile() : target, QString(),
                         QString(), kShowNormal);
}

}  // namespace

QString frmAbout::libraryTitle() { return QStringLiteral("QorvPictureBox"); }

QString frmAbout::libraryVersion() {
  return QStringLiteral("%1.%2.%3").arg(QORV_VERSION_MAJOR).arg(QORV_VERSION_MINOR).arg(QORV_VERSION_PATCH);
}

QString frmAbout::documentationUrl() { return QStringLiteral(QORV_DOCUMENTATION_URL); }

QStringList frmAbout::systemInformationPrograms() {
  return {QStringLiteral("kinfocenter"), QStringLiteral("hardinfo2"), QStringLiteral("hardinfo")};
}

frmAbout::frmAbout(QWidget* parent) : QDialog(parent) {
  setObjectName(QStringLiteral("frmAbout"));
  setWindowTitle(QStringLiteral("About ") + libraryTitle());
  lblTitle = new QLabel(libraryTitle(), this);
  lblTitle->setObjectName(QStringLiteral("lblTitle"));
  QFont big = lblTitle->font();
  big.setPointSizeF(big.pointSizeF() * 1.5);
  big.setBold(true);
  lblTitle->setFont(big);
  lblVersion = new QLabel(QStringLiteral("Version ") + libraryVersion(), this);
  lblVersion->setObjectName(QStringLiteral("lblVersion"));
  auto* description = new QLabel(
      QStringLiteral("An embeddable picture viewer and editor control for Qt applications."), this);
  description->setWordWrap(true);
  lblLink = new QLabel(QStringLiteral("<a href=\"%1\">Documentation</a>").arg(documentationUrl().toHtmlEscaped()),
                       this);
  lblLink->setObjectName(QStringLiteral("lblLink"));
  lblLink->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
  connect(lblLink, &QLabel::linkActivated, this, [](const QString& link) { openDocument(link); });
  cmdOK = new QPushButton(QStringLiteral("OK"), this);
  cmdOK->setObjectName(QStringLiteral("cmdOK"));
  cmdOK->setDefault(true);
  connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
  cmdSysInfo = new QPushButton(QStringLiteral("&System Info..."), this);
  cmdSysInfo->setObjectName(QStringLiteral("cmdSysInfo"));
  connect(cmdSysInfo, &QPushButton::clicked, this, &frmAbout::StartSysInfo);

  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(cmdSysInfo);
  buttons->addWidget(cmdOK);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(lblTitle);
  layout->addWidget(lblVersion);
  layout->addWidget(description);
  layout->addWidget(lblLink);
  layout->addLayout(buttons);
}

void frmAbout::StartSysInfo() {
  for (const QString& name : systemInformationPrograms()) {
    const QString path = QStandardPaths::findExecutable(name);
    if (path.isEmpty()) continue;
    if (shellService().execute(0, QStringLiteral("open"), path, QString(), QString(), kShowNormal) > 32) return;
  }
  host().messageBox(QStringLiteral("System Information Is Unavailable At This Time"), 0, QString());
}

namespace {

class DialogAboutService final : public AboutService {
 public:
  void show(QWidget* parent) override {
    if (!interactiveDesktop()) {
      host().messageBox(frmAbout::libraryTitle() + QStringLiteral(" version ") + frmAbout::libraryVersion(), 64,
                        QStringLiteral("About ") + frmAbout::libraryTitle());
      return;
    }
    frmAbout box(parent);
    box.exec();
  }
};

AboutService* installed = nullptr;

}  // namespace

AboutService& aboutService() {
  static DialogAboutService standard;
  return installed != nullptr ? *installed : standard;
}

void setAboutService(AboutService* s) { installed = s; }

}  // namespace qorv
