#include "ViewerWindow.h"

#include <QAction>
#include <QClipboard>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMenu>
#include <QMessageBox>
#include <QSettings>
#include <QStandardPaths>
#include <QStatusBar>

#include <algorithm>
#include <cmath>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/Colors.h>
#include <QorvPictureBox/DataObject.h>
#include <QorvPictureBox/QorvPicture.h>
#include <QorvPictureBox/SettingsPropertyBag.h>

#include "FolderBrowser.h"
#include "ViewerDialogs.h"

namespace qorv_view {

namespace {

constexpr qint32 kOverwritePrompt = 0x2;  // the save dialog asks before replacing a file
constexpr int kClipboardOriginal = 0;
constexpr int kClipboardZoomed = 1;

const QString kControlGroup = QStringLiteral("Viewer");

// The control's settings in their own group of the viewer's INI file. The
// picture comes from the file opened, so the stored "Picture" is neither
// written nor read.
class ControlSettings : public qorv::PropertyBag {
 public:
  explicit ControlSettings(QSettings& s) : settings_(s), bag_(s, kControlGroup) {}
  // False on the first run and after a reset: the viewer's own look applies.
  bool stored() {
    settings_.beginGroup(kControlGroup);
    const bool any = !settings_.allKeys().isEmpty();
    settings_.endGroup();
    return any;
  }
  QVariant ReadProperty(const QString& name, const QVariant& def) override {
    return name == QLatin1String("Picture") ? def : bag_.ReadProperty(name, def);
  }
  void WriteProperty(const QString& name, const QVariant& value, const QVariant& def) override {
    if (name != QLatin1String("Picture")) bag_.WriteProperty(name, value, def);
  }
  void clear() { bag_.Clear(); }
  void sync() { bag_.Sync(); }

 private:
  QSettings& settings_;
  qorv::SettingsPropertyBag bag_;
};

}  // namespace

ViewerWindow::ViewerWindow(QWidget* parent, const QString& settingsFile)
    : QMainWindow(parent),
      control_(new qorv::QorvPicture),
      settingsPath_(settingsFile.isEmpty() ? defaultSettingsPath() : settingsFile) {
  setObjectName(QStringLiteral("qorvViewWindow"));
  setCentralWidget(control_);
  status_ = new StatusPanel(statusBar());
  connectDrops();

  connect(control_, &qorv::QorvPicture::ProcessInit, this,
          [this](int max, const QString& description) { status_->beginProgress(max, description); });
  connect(control_, &qorv::QorvPicture::Process, this, [this](int value, const QString&) {
    // Let the window repaint the progress, but take no input: a click now
    // would start a second operation inside the running one.
    if (status_->progress(value)) QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  });
  connect(control_, &qorv::QorvPicture::ProcessComplete, this,
          [this](const QString& description) { status_->endProgress(description); });
  // The control reports the pointer in its pane's pixels; leaving the control
  // clears the position.
  connect(control_, &qorv::QorvPicture::MouseMove, this,
          [this](int, int, float x, float y) { pointerMoved(x, y); });
  control_->installEventFilter(this);
  connect(control_, &qorv::QorvPicture::Zooming, this, [this] { status_->setZoom(displayedZoom()); });
  connect(control_, &qorv::QorvPicture::Draw, this, [this] { status_->setZoom(displayedZoom()); });
  connect(control_, &qorv::QorvPicture::PictureChanged, this, [this] { pixelsStale_ = true; });

  history_.setBudget(UndoHistory::kDefaultBudget);
  createActions();
  restoreSettings();
  control_->setAutoRotate(true);  // photos show upright, as a viewer should
  setDocument(QString(), false);
  updateActions();
}

ViewerWindow::~ViewerWindow() = default;

QString ViewerWindow::defaultSettingsPath() {
  return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
      .filePath(QStringLiteral("QorvPictureBox/qorv-view.ini"));
}

QAction* ViewerWindow::action(const QString& name) const { return findChild<QAction*>(name); }

QStringList ViewerWindow::loadableExtensions() const {
  if (!extensions_.isEmpty()) return extensions_;
  for (int i = 0; i < control_->FreeImageFormatCount(); ++i) {
    if (!control_->FreeImageFormatCanLoad(i)) continue;
    for (int j = 0; j <= control_->FreeImageFormatExtensionsCount(i); ++j) {
      const QString ext = control_->FreeImageFormatExtension(i, j).toLower();
      if (!ext.isEmpty() && !extensions_.contains(ext)) extensions_ << ext;
    }
  }
  // The control reads these through the platform's own loader.
  for (const char* ext : {"bmp", "gif", "ico", "cur", "jpg", "jpeg"})
    if (!extensions_.contains(QLatin1String(ext))) extensions_ << QString::fromLatin1(ext);
  return extensions_;
}

double ViewerWindow::displayedZoom() const {
  const int w = control_->OrgPictureWidth();
  if (w <= 0 || qorv::handleOf(control_->Picture()) == 0) return 0;
  return control_->PictureW() / w * 100.0;
}

// ----- document ---------------------------------------------------------------------

bool ViewerWindow::openPath(const QString& fileOrFolder) {
  QString path = fileOrFolder;
  const QFileInfo fi(path);
  if (fi.isDir()) {
    const QStringList pictures = picturesInFolder(fi.absoluteFilePath(), loadableExtensions());
    if (pictures.isEmpty()) {
      showFailure(QStringLiteral("No picture in %1").arg(QDir::toNativeSeparators(fi.absoluteFilePath())),
                  QStringLiteral("The folder holds no file in a format qorv-view reads."), false);
      return false;
    }
    path = pictures.first();
  }
  if (!keepOrDiscardChanges()) return false;
  return openFile(path);
}

bool ViewerWindow::openFile(const QString& path) {
  const QFileInfo fi(path);
  const QString name = fi.fileName().isEmpty() ? path : fi.fileName();
  // Reasons the user can fix come first, in words; the control's record follows
  // for everything else.
  if (!fi.exists()) {
    // A recent file that has gone away leaves the list.
    if (recent_.removeAll(fi.absoluteFilePath()) > 0) rebuildRecentMenu();
    showFailure(QStringLiteral("Cannot open %1").arg(name),
                QStringLiteral("There is no such file: %1").arg(QDir::toNativeSeparators(fi.absoluteFilePath())),
                false);
    return false;
  }
  if (!fi.isReadable()) {
    showFailure(QStringLiteral("Cannot open %1").arg(name), QStringLiteral("Permission denied."), false);
    return false;
  }
  bool ok = false;
  try {
    ok = control_->LoadFreeImage(fi.absoluteFilePath(), -1, QString(), false);
  } catch (const qorv::AutomationError& e) {
    showFailure(QStringLiteral("Cannot open %1").arg(name), QString::fromStdString(e.description()), true);
    return false;
  }
  if (!ok) {
    showControlError(QStringLiteral("Cannot open %1").arg(name));
    return false;
  }
  history_.clear();
  pixelsStale_ = true;
  setDocument(fi.absoluteFilePath(), false);
  addRecent(fi.absoluteFilePath());
  control_->setFocus();  // the keypad zooms without a click first
  refreshPictureStatus();
  updateActions();
  return true;
}

bool ViewerWindow::keepOrDiscardChanges() {
  if (!modified_) return true;
  QMessageBox box(QMessageBox::Question, QStringLiteral("qorv-view"),
                  QStringLiteral("Save the changes to %1?")
                      .arg(path_.isEmpty() ? QStringLiteral("the pasted picture") : QFileInfo(path_).fileName()),
                  QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
  box.setObjectName(QStringLiteral("keepChangesBox"));
  switch (box.exec()) {
    case QMessageBox::Save:
      return save();
    case QMessageBox::Discard:
      return true;
    default:
      return false;
  }
}

void ViewerWindow::setDocument(const QString& path, bool modified) {
  path_ = path;
  modified_ = modified;
  const bool has = qorv::handleOf(control_->Picture()) != 0;
  const QString name = !path.isEmpty() ? QFileInfo(path).fileName()
                       : has           ? QStringLiteral("Pasted picture")
                                       : QString();
  setWindowTitle(name.isEmpty() ? QStringLiteral("qorv-view") : name + QStringLiteral("[*] - qorv-view"));
  setWindowModified(modified);
}

void ViewerWindow::addRecent(const QString& path) {
  recent_.removeAll(path);
  recent_.prepend(path);
  while (recent_.size() > kRecentMax) recent_.removeLast();
  rebuildRecentMenu();
}

bool ViewerWindow::saveTo(const QString& path, int quality) {
  const QString ext = control_->FileExtension(path);
  const int format = control_->FreeImageGetFormatIndex(ext);
  if (format < 0 || !control_->FreeImageFormatCanSave(format)) {
    showFailure(QStringLiteral("Cannot save %1").arg(QFileInfo(path).fileName()),
                QStringLiteral("qorv-view cannot write pictures of the type '%1'.").arg(ext), false);
    return false;
  }
  QString target = path;
  const int q = control_->FreeImageCanSetQualitySave(format) ? std::clamp(quality, 1, 100) : 0;
  bool ok = false;
  try {
    ok = control_->SaveFreeImage(&target, q, -1, true);
  } catch (const qorv::AutomationError& e) {
    showFailure(QStringLiteral("Cannot save %1").arg(QFileInfo(path).fileName()),
                QString::fromStdString(e.description()), true);
    return false;
  }
  if (!ok) {
    showControlError(QStringLiteral("Cannot save %1").arg(QFileInfo(path).fileName()));
    return false;
  }
  setDocument(QFileInfo(target).absoluteFilePath(), false);
  addRecent(path_);
  refreshPictureStatus();
  updateActions();
  statusBar()->showMessage(QStringLiteral("Saved %1").arg(QFileInfo(target).fileName()), 3000);
  return true;
}

// ----- file commands ------------------------------------------------------------------

void ViewerWindow::openDialog() {
  if (!keepOrDiscardChanges()) return;
  const QString dir = path_.isEmpty() ? QSettings(settingsPath_, QSettings::IniFormat).value(QStringLiteral("lastFolder")).toString()
                                      : QFileInfo(path_).absolutePath();
  const QString chosen = control_->Dialog(control_->FreeImageLoadPattern(), control_->hWnd(), dir,
                                          QStringLiteral("Open Picture"), 0, false, QVariant(1));
  if (chosen.isEmpty()) return;
  QSettings(settingsPath_, QSettings::IniFormat).setValue(QStringLiteral("lastFolder"), QFileInfo(chosen).absolutePath());
  openFile(chosen);
}

void ViewerWindow::reload() {
  if (path_.isEmpty() || !keepOrDiscardChanges()) return;
  openFile(path_);
}

void ViewerWindow::closePicture() {
  if (!keepOrDiscardChanges()) return;
  // Emptying the picture leaves the last frame on the control's visible pane,
  // so a frame of nothing but the backdrop is shown first.
  QImage backdrop(1, 1, QImage::Format_RGB32);
  backdrop.fill(qorv::toQColor(static_cast<qorv::COLORREF>(control_->BackColor())));
  control_->setPicture(qorv::Picture::fromImage(backdrop));
  control_->setPicture(qorv::PicturePtr());
  history_.clear();
  pixelsStale_ = true;
  setDocument(QString(), false);
  status_->clearPicture();
  updateActions();
}

bool ViewerWindow::save() {
  if (path_.isEmpty()) return saveAsDialog();
  return saveTo(path_, jpegQuality_);
}

bool ViewerWindow::saveAsDialog() {
  if (qorv::handleOf(control_->Picture()) == 0) return false;
  const QString ext = path_.isEmpty() ? QStringLiteral("png") : control_->FileExtension(path_);
  QVariant filter = control_->GetSaveFilterIndex(ext);
  const QString dir = path_.isEmpty() ? QSettings(settingsPath_, QSettings::IniFormat).value(QStringLiteral("lastFolder")).toString()
                                      : QFileInfo(path_).absolutePath();
  const QString name = path_.isEmpty() ? QStringLiteral("picture.png") : QFileInfo(path_).fileName();
  QString pattern = control_->FreeImageSavePattern();
  QString title = QStringLiteral("Save Picture As");
  QString chosen = control_->Dialog(&pattern, control_->hWnd(), dir, &title, kOverwritePrompt, true, &filter, name);
  if (chosen.isEmpty()) return false;
  // A typed extension of a writable format wins ("photo.jpg" is a JPEG
  // whatever filter is selected); otherwise the selected filter's extension is
  // added, as the control's own save does.
  const int typed = QFileInfo(chosen).suffix().isEmpty()
                        ? -1
                        : control_->FreeImageGetFormatIndex(QFileInfo(chosen).suffix());
  const QString saveExt = control_->FreeImageGetSaveExt(filter.toInt());
  if ((typed < 0 || !control_->FreeImageFormatCanSave(typed)) && !saveExt.isEmpty())
    chosen += u'.' + saveExt;
  int quality = jpegQuality_;
  const int format = control_->FreeImageGetFormatIndex(control_->FileExtension(chosen));
  if (format >= 0 && control_->FreeImageCanSetQualitySave(format)) {
    const auto q = askValue(this, QStringLiteral("Quality"), QStringLiteral("Quality (1 smallest file - 100 best):"),
                            jpegQuality_, 1, 100);
    if (!q) return false;
    quality = *q;
  }
  QSettings(settingsPath_, QSettings::IniFormat).setValue(QStringLiteral("lastFolder"), QFileInfo(chosen).absolutePath());
  return saveTo(chosen, quality);
}

void ViewerWindow::browse(int step) {
  if (path_.isEmpty()) return;
  const QString next = neighbourPicture(path_, step, loadableExtensions());
  if (next.isEmpty() || next == path_) {
    statusBar()->showMessage(QStringLiteral("No other picture in this folder"), 3000);
    return;
  }
  if (!keepOrDiscardChanges()) return;
  openFile(next);
}

// ----- edit commands ------------------------------------------------------------------

// Through the control's image, which carries the picture's alpha while the
// control keeps one: undo, redo, copy and paste keep the transparency too.
QImage ViewerWindow::currentImage() const { return control_->image(); }

void ViewerWindow::showImage(const QImage& img) {
  control_->setImage(img);
  pixelsStale_ = true;
  refreshPictureStatus();
}

void ViewerWindow::undo() {
  if (!history_.canUndo()) return;
  showImage(history_.undo(currentImage()));
  setDocument(path_, true);
  updateActions();
}

void ViewerWindow::redo() {
  if (!history_.canRedo()) return;
  showImage(history_.redo(currentImage()));
  setDocument(path_, true);
  updateActions();
}

void ViewerWindow::copyPicture(bool zoomed) {
  if (qorv::handleOf(control_->Picture()) == 0) return;
  try {
    if (control_->SendToClipboard(zoomed ? kClipboardZoomed : kClipboardOriginal)) {
      statusBar()->showMessage(QStringLiteral("Copied"), 3000);
      return;
    }
  } catch (const qorv::AutomationError& e) {
    if (e.number() != qorv::errors::NotImplemented) {
      showFailure(QStringLiteral("Cannot copy the picture"), QString::fromStdString(e.description()), true);
      return;
    }
    // The control cannot copy yet: the desktop clipboard takes the pixels
    // directly.
  }
  QImage img = currentImage();
  if (zoomed) {
    const QSize shown(static_cast<int>(std::lround(control_->PictureW())),
                      static_cast<int>(std::lround(control_->PictureH())));
    if (shown.width() > 0 && shown.height() > 0 && shown != img.size())
      img = img.scaled(shown, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  }
  QGuiApplication::clipboard()->setImage(img);
  statusBar()->showMessage(QStringLiteral("Copied"), 3000);
}

void ViewerWindow::paste() {
  const QImage img = QGuiApplication::clipboard()->image();
  if (img.isNull()) {
    statusBar()->showMessage(QStringLiteral("The clipboard holds no picture"), 3000);
    return;
  }
  if (!keepOrDiscardChanges()) return;
  history_.clear();
  showImage(img);
  setDocument(QString(), true);
  updateActions();
}

void ViewerWindow::copyFilePath() {
  if (!path_.isEmpty()) QGuiApplication::clipboard()->setText(QDir::toNativeSeparators(path_));
}

void ViewerWindow::preferences() {
  const Preferences current{static_cast<int>(history_.budget() / (1024 * 1024)), jpegQuality_};
  const auto chosen = askPreferences(this, current, history_.usedBytes());
  if (!chosen) return;
  history_.setBudget(qint64{chosen->undoBudgetMiB} * 1024 * 1024);
  jpegQuality_ = chosen->jpegQuality;
  saveSettings();
  updateActions();
}

// ----- image operations ---------------------------------------------------------------

bool ViewerWindow::runImageOperation(const QString& label, const std::function<void(qorv::QorvPicture&)>& op) {
  if (qorv::handleOf(control_->Picture()) == 0 || status_->busy()) return false;
  const QImage before = currentImage();
  QString failure;
  try {
    op(*control_);
  } catch (const qorv::AutomationError& e) {
    failure = QStringLiteral("%1 (error %2)").arg(QString::fromStdString(e.description())).arg(e.number());
  } catch (const std::exception& e) {
    failure = QString::fromLocal8Bit(e.what());
  }
  if (status_->busy()) status_->endProgress(QString());
  if (!failure.isEmpty()) {
    // Whatever the operation left half done, the picture is the one before.
    if (currentImage() != before) showImage(before);
    showFailure(QStringLiteral("%1 failed").arg(label), failure, true);
    return false;
  }
  // An operation that changed nothing (a dialog cancelled inside the control,
  // a filter with no effect) is no step to undo and no unsaved change.
  if (currentImage() == before) return true;
  history_.recordBefore(label, before);
  pixelsStale_ = true;
  setDocument(path_, true);
  refreshPictureStatus();
  updateActions();
  return true;
}

// ----- view commands ------------------------------------------------------------------

void ViewerWindow::fitToWindow() {
  control_->setLockUpdate(true);
  control_->setStretch(true);
  control_->setKeepAspect(true);
  control_->setZoomFromOriginal(false);
  control_->setZoom(100);
  control_->setLockUpdate(false);
  syncViewActions();
}

void ViewerWindow::actualSize() {
  control_->setLockUpdate(true);
  control_->setStretch(true);
  control_->setZoomFromOriginal(true);
  control_->setZoom(100);
  control_->setLockUpdate(false);
  syncViewActions();
}

void ViewerWindow::zoomBy(double factor) {
  // Zoom from what is shown, so that zooming in from a fitted view continues
  // from the fitted size instead of jumping to the property's value.
  const double shown = displayedZoom();
  if (shown <= 0) return;
  const int next = static_cast<int>(std::clamp(std::lround(shown * factor), 1L, 3200L));
  control_->setLockUpdate(true);
  control_->setStretch(true);
  control_->setKeepAspect(true);
  control_->setZoomFromOriginal(true);
  control_->setZoom(static_cast<qint16>(next));
  control_->setLockUpdate(false);
  syncViewActions();
}

void ViewerWindow::toggleFullScreen() {
  if (isFullScreen())
    showNormal();
  else
    showFullScreen();
  if (QAction* a = action(QStringLiteral("viewFullScreen"))) a->setChecked(isFullScreen());
}

// ----- status -------------------------------------------------------------------------

void ViewerWindow::refreshPictureStatus() {
  if (qorv::handleOf(control_->Picture()) == 0) {
    status_->clearPicture();
    return;
  }
  const QFileInfo fi(path_);
  QString format;
  if (!path_.isEmpty()) {
    const int index = control_->FreeImageGetFormatIndex(fi.suffix());
    format = index >= 0 ? control_->FreeImageFormat(index) : fi.suffix().toUpper();
    if (control_->SourceBitsPerPixel() > 0) format += QStringLiteral(" %1-bit").arg(control_->SourceBitsPerPixel());
  }
  status_->setPicture(path_.isEmpty() ? QStringLiteral("(pasted)") : fi.fileName(), control_->OrgPictureWidth(),
                      control_->OrgPictureHeight(), path_.isEmpty() ? -1 : fi.size(), format);
  status_->setZoom(displayedZoom());
}

bool ViewerWindow::eventFilter(QObject* watched, QEvent* e) {
  if (watched == control_ && e->type() == QEvent::Leave) status_->setCursor(0, 0, false, 0);
  return QMainWindow::eventFilter(watched, e);
}

QSizeF ViewerWindow::paneSize() const {
  try {
    return QSizeF(control_->RenderScaleWidth(), control_->RenderScaleHeight());
  } catch (const qorv::AutomationError&) {
    // Until the control reports its pane's scale size: the control's own
    // size, in device pixels when the pane works in them.
    const double ratio = control_->DevicePixels() ? control_->devicePixelRatioF() : 1.0;
    return QSizeF(control_->width() * ratio, control_->height() * ratio);
  }
}

void ViewerWindow::pointerMoved(double x, double y) {
  const int w = control_->OrgPictureWidth();
  const int h = control_->OrgPictureHeight();
  const double pw = control_->PictureW();
  const double ph = control_->PictureH();
  if (w <= 0 || h <= 0 || pw <= 0 || ph <= 0 || qorv::handleOf(control_->Picture()) == 0) return;
  // The drawn picture's top-left corner, as the control places it.
  double left = control_->OffsetX();
  double top = control_->OffsetY();
  if (control_->Centered()) {
    const QSizeF pane = paneSize();
    left += pane.width() / 2.0 - pw / 2.0;
    top += pane.height() / 2.0 - ph / 2.0;
  }
  int px = static_cast<int>(std::floor((x - left) * w / pw));
  int py = static_cast<int>(std::floor((y - top) * h / ph));
  if (control_->Tiled()) {
    px = ((px % w) + w) % w;
    py = ((py % h) + h) % h;
  }
  const bool inside = px >= 0 && py >= 0 && px < w && py < h;
  unsigned rgb = 0;
  if (inside) {
    if (pixelsStale_) {
      pixels_ = currentImage();
      pixelsStale_ = false;
    }
    if (px < pixels_.width() && py < pixels_.height()) rgb = pixels_.pixel(px, py);
  }
  status_->setCursor(px, py, inside, rgb);
}

// ----- errors -------------------------------------------------------------------------

void ViewerWindow::showControlError(const QString& what) {
  // The record's flag is the message-box style the control asks for.
  showFailure(what,
              QStringLiteral("%1 (error %2)").arg(control_->LastErrorDescription()).arg(control_->LastErrorCode()),
              control_->LastErrorFlag() == qorv::error_record::FlagCritical);
}

void ViewerWindow::showFailure(const QString& what, const QString& detail, bool critical) {
  if (failureSink_) {
    failureSink_(what, detail, critical);
    return;
  }
  QMessageBox box(critical ? QMessageBox::Critical : QMessageBox::Warning, QStringLiteral("qorv-view"), what,
                  QMessageBox::Ok, this);
  box.setObjectName(QStringLiteral("errorBox"));
  box.setInformativeText(detail);
  box.exec();
}

// ----- window -------------------------------------------------------------------------

void ViewerWindow::closeEvent(QCloseEvent* e) {
  if (!keepOrDiscardChanges()) {
    e->ignore();
    return;
  }
  saveSettings();
  e->accept();
}

void ViewerWindow::connectDrops() {
  // Drops go through the control's own drop events: files dragged over it
  // are offered a copy, and the first one dropped opens like File > Open.
  auto hasFiles = [](qorv::DataObject* d) { return d && d->GetFormat(qorv::DataObject::vbCFFiles); };
  connect(control_, &qorv::QorvPicture::OLEDragOver, this,
          [hasFiles](qorv::DataObject* dropped, int* effect, int, int, float, float, int) {
            *effect = hasFiles(dropped) ? 1 : 0;
          });
  connect(control_, &qorv::QorvPicture::OLEDragDrop, this,
          [this, hasFiles](qorv::DataObject* dropped, int* effect, int, int, float, float) {
            *effect = 0;
            if (!hasFiles(dropped) || dropped->Files()->Count() == 0) return;
            if (openPath(dropped->Files()->Item(1))) *effect = 1;
          });
}

void ViewerWindow::applyViewerDefaults() {
  control_->setLockUpdate(true);
  control_->setBackColor(static_cast<qint32>(qorv::RGB(40, 44, 52)));
  control_->setHQInitialDelay(150);
  control_->setZoomType(4);  // halftone once the view has settled
  control_->setNoLoadingHourGlass(true);
  control_->setStretch(true);
  control_->setKeepAspect(true);
  control_->setCentered(true);
  control_->setShowTransparency(true);
  control_->setLockUpdate(false);
}

void ViewerWindow::setShowTransparency(bool on) {
  control_->setShowTransparency(on);
  // The control keeps a file's alpha only when it loads it while showing
  // transparency; an unchanged file opened without is read again.
  if (on && !modified_ && !path_.isEmpty() && !control_->image().hasAlphaChannel()) openFile(path_);
}

void ViewerWindow::restoreSettings() {
  QSettings s(settingsPath_, QSettings::IniFormat);
  restoreGeometry(s.value(QStringLiteral("geometry")).toByteArray());
  restoreState(s.value(QStringLiteral("windowState")).toByteArray());
  recent_ = s.value(QStringLiteral("recentFiles")).toStringList().mid(0, kRecentMax);
  jpegQuality_ = std::clamp(s.value(QStringLiteral("jpegQuality"), 90).toInt(), 1, 100);
  const qint64 budgetMiB = s.value(QStringLiteral("undoBudgetMiB"), UndoHistory::kDefaultBudget / (1024 * 1024))
                               .toLongLong();
  history_.setBudget(std::clamp<qint64>(budgetMiB, 0, 65536) * 1024 * 1024);
  // The view as it was left is the control's own stored properties.
  settingsProblem_.clear();
  try {
    ControlSettings bag(s);
    if (bag.stored())
      control_->ReadProperties(bag);
    else
      applyViewerDefaults();
  } catch (const qorv::AutomationError& e) {
    // A damaged file costs the settings after the bad key, not the viewer.
    settingsProblem_ = QString::fromStdString(e.description());
    statusBar()->showMessage(QStringLiteral("Settings partly restored: %1").arg(settingsProblem_));
  }
  control_->setOLEDropMode(1);  // a file dropped on the picture opens
  rebuildRecentMenu();
  syncViewActions();
}

void ViewerWindow::saveSettings() {
  QSettings s(settingsPath_, QSettings::IniFormat);
  s.setValue(QStringLiteral("geometry"), saveGeometry());
  s.setValue(QStringLiteral("windowState"), saveState());
  s.setValue(QStringLiteral("recentFiles"), recent_);
  s.setValue(QStringLiteral("jpegQuality"), jpegQuality_);
  s.setValue(QStringLiteral("undoBudgetMiB"), history_.budget() / (1024 * 1024));
  try {
    ControlSettings bag(s);
    control_->WriteProperties(bag);
    bag.sync();
  } catch (const qorv::AutomationError& e) {
    showFailure(QStringLiteral("Settings not saved"), QString::fromStdString(e.description()), false);
  }
}

void ViewerWindow::resetViewSettings() {
  {
    QSettings s(settingsPath_, QSettings::IniFormat);
    ControlSettings bag(s);
    bag.clear();
  }
  const bool autoRotate = control_->AutoRotate();
  control_->InitProperties();
  applyViewerDefaults();
  control_->setOLEDropMode(1);
  control_->setAutoRotate(autoRotate);
  control_->Refresh(true);
  syncViewActions();
  status_->setZoom(displayedZoom());
}

}  // namespace qorv_view
