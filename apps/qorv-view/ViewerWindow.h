// The viewer's main window: one QorvPicture control, driven only through its
// public interface, with the file, edit, image and view commands around it.
//
// The window is split by concern: this file holds the document (which file,
// modified or not, undo history) and the commands; ViewerActions.cpp builds
// the menus and toolbar from those commands; StatusPanel, UndoHistory,
// FolderBrowser and ViewerDialogs are the parts that do not need the window.
#pragma once

#include <QImage>
#include <QMainWindow>
#include <QStringList>

#include <functional>

#include "StatusPanel.h"
#include "UndoHistory.h"

class QAction;
class QMenu;

namespace qorv {
class QorvPicture;
}

namespace qorv_view {

class ViewerWindow : public QMainWindow {
  Q_OBJECT
 public:
  static constexpr int kRecentMax = 10;

  // `settingsFile` is the INI file the window and the control's settings are
  // kept in; empty for the user's (defaultSettingsPath()).
  explicit ViewerWindow(QWidget* parent = nullptr, const QString& settingsFile = QString());
  ~ViewerWindow() override;

  qorv::QorvPicture& control() { return *control_; }
  StatusPanel& status() { return *status_; }
  UndoHistory& history() { return history_; }
  // The action with this object name ("fileOpen", "editUndo", ...), or null.
  QAction* action(const QString& name) const;

  // Opens a picture, or the first picture of a folder. On failure the control's
  // error is shown in a message box, the current picture stays, and false is
  // returned.
  bool openPath(const QString& fileOrFolder);
  // Saves through the control; quality applies to formats that take one.
  bool saveTo(const QString& path, int quality);
  QString currentPath() const { return path_; }
  bool isModified() const { return modified_; }
  QStringList recentFiles() const { return recent_; }
  static QString defaultSettingsPath();
  QString settingsPath() const { return settingsPath_; }
  // Why the stored settings were only partly restored; empty when they were
  // read whole (or there were none).
  QString settingsProblem() const { return settingsProblem_; }
  // File extensions (lower case, no dot) the control can load.
  QStringList loadableExtensions() const;
  // Displayed size over the picture size, in percent (0 without a picture).
  double displayedZoom() const;
  // Where failures go instead of a message box (a run without a person to
  // close it, such as --screenshot); null restores the message box.
  using FailureSink = std::function<void(const QString& what, const QString& detail, bool critical)>;
  void setFailureSink(FailureSink sink) { failureSink_ = std::move(sink); }
  // Runs an image operation with undo, error reporting and a status refresh.
  // Returns false when the operation failed (the picture is then unchanged).
  bool runImageOperation(const QString& label, const std::function<void(qorv::QorvPicture&)>& op);

  // Commands behind the actions (public so that scripts and tests drive the
  // same code as the menus).
  void openDialog();
  void reload();
  void closePicture();
  bool save();
  bool saveAsDialog();
  void browse(int step);
  void undo();
  void redo();
  void copyPicture(bool zoomed);
  void paste();
  void copyFilePath();
  void fitToWindow();
  void actualSize();
  void zoomBy(double factor);
  void toggleFullScreen();
  // Pictures' transparency over a checkerboard (on) or as opaque colours.
  void setShowTransparency(bool on);
  void preferences();
  // Forgets the stored view settings: the control starts from its defaults
  // with the viewer's own look.
  void resetViewSettings();

 protected:
  void closeEvent(QCloseEvent* e) override;
  bool eventFilter(QObject* watched, QEvent* e) override;

 private:
  void createActions();  // ViewerActions.cpp
  void addImageMenu(QMenu* menu);
  void addViewMenu(QMenu* menu);
  void rebuildRecentMenu();
  void syncViewActions();
  void updateActions();
  void restoreSettings();
  void saveSettings();
  void applyViewerDefaults();
  void connectDrops();

  bool openFile(const QString& path);
  bool keepOrDiscardChanges();  // false: the user cancelled
  void setDocument(const QString& path, bool modified);
  void addRecent(const QString& path);
  void showControlError(const QString& what);
  void showFailure(const QString& what, const QString& detail, bool critical);
  QImage currentImage() const;
  void showImage(const QImage& img);
  void refreshPictureStatus();
  void pointerMoved(double x, double y);
  QSizeF paneSize() const;

  qorv::QorvPicture* control_;
  StatusPanel* status_;
  UndoHistory history_;
  QString path_;
  QString settingsPath_;
  QString settingsProblem_;
  bool modified_ = false;
  QStringList recent_;
  QMenu* recentMenu_ = nullptr;
  int jpegQuality_ = 90;
  mutable QImage pixels_;  // the picture for colour look-ups, refreshed lazily
  mutable bool pixelsStale_ = true;
  mutable QStringList extensions_;
  FailureSink failureSink_;
};

}  // namespace qorv_view
