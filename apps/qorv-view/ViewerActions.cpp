// The menus and toolbar of the viewer. Every action has an object name
// ("fileOpen", "imageGrayscale", ...) so that scripts and tests reach exactly
// what a person clicks.
#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QStyle>
#include <QToolBar>

#include <stdexcept>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/QorvEnums.h>
#include <QorvPictureBox/QorvPicture.h>

#include "CommandLine.h"
#include "ViewerDialogs.h"
#include "ViewerWindow.h"

namespace qorv_view {

namespace {

QAction* menuAction(QMenu* menu, const char* name, const QString& text, const QKeySequence& key = {}) {
  QAction* a = menu->addAction(text);
  a->setObjectName(QString::fromLatin1(name));
  if (!key.isEmpty()) a->setShortcut(key);
  return a;
}

struct FilterEntry {
  const char* name;
  const char* text;
  qorv::gEFilterTypes type;
};

constexpr FilterEntry kFilters[] = {
    {"imageFilterBlur", "&Blur", qorv::gEFilterTypes::eBlur},
    {"imageFilterBlurMore", "Blur &more", qorv::gEFilterTypes::eBlurMore},
    {"imageFilterSoften", "&Soften", qorv::gEFilterTypes::eSoften},
    {"imageFilterSoftenMore", "Soften m&ore", qorv::gEFilterTypes::eSoftenMore},
    {"imageFilterSharpen", "S&harpen", qorv::gEFilterTypes::eSharpen},
    {"imageFilterSharpenMore", "Sharpen mo&re", qorv::gEFilterTypes::eSharpenMore},
    {"imageFilterUnsharp", "&Unsharp mask", qorv::gEFilterTypes::eUnSharp},
    {"imageFilterEmboss", "&Emboss", qorv::gEFilterTypes::eEmboss},
    {"imageFilterMean", "Mea&n (3 x 3)", qorv::gEFilterTypes::eMedian},
    {"imageFilterMinimum", "M&inimum", qorv::gEFilterTypes::eMinimum},
    {"imageFilterMaximum", "Ma&ximum", qorv::gEFilterTypes::eMaximum},
};

struct QualityEntry {
  const char* name;
  const char* text;
  qorv::DrawPrc mode;
};

constexpr QualityEntry kQualities[] = {
    {"viewQualityAnd", "Keep &dark lines", qorv::DrawPrc::ADN_SCAN},
    {"viewQualityOr", "Keep &light lines", qorv::DrawPrc::OR_SCANS},
    {"viewQualityDelete", "&Fast (drop lines)", qorv::DrawPrc::DELETE_SCANS},
    {"viewQualityHalftone", "&Smooth (halftone)", qorv::DrawPrc::HALFTONE},
};

}  // namespace

void ViewerWindow::createActions() {
  QStyle* st = style();
  QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
  QMenu* edit = menuBar()->addMenu(QStringLiteral("&Edit"));
  QMenu* image = menuBar()->addMenu(QStringLiteral("&Image"));
  QMenu* view = menuBar()->addMenu(QStringLiteral("&View"));
  QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));

  // File
  QAction* open = menuAction(file, "fileOpen", QStringLiteral("&Open..."), QKeySequence::Open);
  open->setIcon(st->standardIcon(QStyle::SP_DialogOpenButton));
  connect(open, &QAction::triggered, this, &ViewerWindow::openDialog);
  recentMenu_ = file->addMenu(QStringLiteral("Open &Recent"));
  recentMenu_->setObjectName(QStringLiteral("fileRecent"));
  QAction* saveAct = menuAction(file, "fileSave", QStringLiteral("&Save"), QKeySequence::Save);
  saveAct->setIcon(st->standardIcon(QStyle::SP_DialogSaveButton));
  connect(saveAct, &QAction::triggered, this, [this] { save(); });
  connect(menuAction(file, "fileSaveAs", QStringLiteral("Save &As..."), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S)),
          &QAction::triggered, this, [this] { saveAsDialog(); });
  connect(menuAction(file, "fileReload", QStringLiteral("Re&load"), QKeySequence(Qt::Key_F5)), &QAction::triggered,
          this, &ViewerWindow::reload);
  connect(menuAction(file, "fileClose", QStringLiteral("&Close"), QKeySequence(Qt::CTRL | Qt::Key_W)),
          &QAction::triggered, this, &ViewerWindow::closePicture);
  file->addSeparator();
  QAction* prev = menuAction(file, "filePrevious", QStringLiteral("&Previous in Folder"), QKeySequence(Qt::Key_PageUp));
  prev->setIcon(st->standardIcon(QStyle::SP_ArrowBack));
  connect(prev, &QAction::triggered, this, [this] { browse(-1); });
  QAction* next = menuAction(file, "fileNext", QStringLiteral("&Next in Folder"), QKeySequence(Qt::Key_PageDown));
  next->setIcon(st->standardIcon(QStyle::SP_ArrowForward));
  connect(next, &QAction::triggered, this, [this] { browse(1); });
  file->addSeparator();
  connect(menuAction(file, "fileQuit", QStringLiteral("&Quit"), QKeySequence::Quit), &QAction::triggered, this,
          &QWidget::close);

  // Edit
  QAction* undoAct = menuAction(edit, "editUndo", QStringLiteral("&Undo"), QKeySequence::Undo);
  connect(undoAct, &QAction::triggered, this, &ViewerWindow::undo);
  QAction* redoAct = menuAction(edit, "editRedo", QStringLiteral("&Redo"), QKeySequence::Redo);
  connect(redoAct, &QAction::triggered, this, &ViewerWindow::redo);
  edit->addSeparator();
  connect(menuAction(edit, "editCopy", QStringLiteral("&Copy"), QKeySequence::Copy), &QAction::triggered, this,
          [this] { copyPicture(false); });
  connect(menuAction(edit, "editCopyZoomed", QStringLiteral("Copy &as Shown"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C)),
          &QAction::triggered, this, [this] { copyPicture(true); });
  connect(menuAction(edit, "editPaste", QStringLiteral("&Paste as New Picture"), QKeySequence::Paste),
          &QAction::triggered, this, &ViewerWindow::paste);
  connect(menuAction(edit, "editCopyPath", QStringLiteral("Copy File &Path")), &QAction::triggered, this,
          &ViewerWindow::copyFilePath);
  edit->addSeparator();
  connect(menuAction(edit, "editPreferences", QStringLiteral("Pr&eferences...")), &QAction::triggered, this,
          &ViewerWindow::preferences);

  addImageMenu(image);
  addViewMenu(view);

  connect(menuAction(help, "helpAboutControl", QStringLiteral("About the &Picture Control")), &QAction::triggered,
          this, [this] { control_->ShowAbout(); });
  connect(menuAction(help, "helpAbout", QStringLiteral("&About qorv-view")), &QAction::triggered, this, [this] {
    QMessageBox::about(this, QStringLiteral("About qorv-view"),
                       versionText() + QStringLiteral("\nA picture viewer and editor on the QorvPicture control."));
  });

  QToolBar* bar = addToolBar(QStringLiteral("Main"));
  bar->setObjectName(QStringLiteral("mainToolBar"));
  bar->setMovable(false);
  bar->addAction(open);
  bar->addAction(saveAct);
  bar->addSeparator();
  bar->addAction(prev);
  bar->addAction(next);
  bar->addSeparator();
  bar->addAction(undoAct);
  bar->addAction(redoAct);
  bar->addSeparator();
  // Short labels keep the toolbar within a small window; the tool tips keep
  // the full names.
  const std::pair<const char*, const char*> compact[] = {
      {"viewZoomIn", "+"},          {"viewZoomOut", "\u2212"},         {"viewFit", "Fit"},
      {"viewActualSize", "1:1"},    {"imageRotateLeft", "\u21BA"},     {"imageRotateRight", "\u21BB"}};
  for (const auto& [name, label] : compact) {
    QAction* a = action(QString::fromLatin1(name));
    a->setToolTip(a->text().remove(u'&'));
    a->setIconText(QString::fromUtf8(label));
    bar->addAction(a);
  }
}

void ViewerWindow::addImageMenu(QMenu* image) {
  QMenu* filters = image->addMenu(QStringLiteral("&Filters"));
  for (const FilterEntry& f : kFilters) {
    const QString label = QString::fromLatin1(f.text).remove(u'&');
    connect(menuAction(filters, f.name, QString::fromLatin1(f.text)), &QAction::triggered, this, [this, f, label] {
      runImageOperation(label, [f](qorv::QorvPicture& c) { c.ApplyFilter(static_cast<qint32>(f.type)); });
    });
  }
  filters->addSeparator();
  connect(menuAction(filters, "imageFilterCustom", QStringLiteral("&Custom...")), &QAction::triggered, this, [this] {
    const auto k = askKernel(this);
    if (!k) return;
    runImageOperation(QStringLiteral("Custom filter"), [&k](qorv::QorvPicture& c) {
      c.AddCustomFilter(k->kernel);
      c.ApplyFilter(static_cast<qint32>(qorv::gEFilterTypes::eCustom), k->weight);
    });
  });

  connect(menuAction(image, "imageGrayscale", QStringLiteral("&Grayscale")), &QAction::triggered, this,
          [this] { runImageOperation(QStringLiteral("Grayscale"), [](qorv::QorvPicture& c) { c.Grayscale(); }); });
  connect(menuAction(image, "imageBlackAndWhite", QStringLiteral("&Black and White")), &QAction::triggered, this,
          [this] {
            runImageOperation(QStringLiteral("Black and white"), [](qorv::QorvPicture& c) { c.BlackAndWhite(); });
          });
  connect(menuAction(image, "imageInvert", QStringLiteral("&Invert"), QKeySequence(Qt::CTRL | Qt::Key_I)),
          &QAction::triggered, this,
          [this] { runImageOperation(QStringLiteral("Invert"), [](qorv::QorvPicture& c) { c.Invert(); }); });
  connect(menuAction(image, "imageNoise", QStringLiteral("Add &Noise...")), &QAction::triggered, this, [this] {
    const auto v = askValue(this, QStringLiteral("Add noise"), QStringLiteral("Strength (percent):"), 20, 0, 100);
    if (v) runImageOperation(QStringLiteral("Noise"), [v](qorv::QorvPicture& c) { c.AddNoise(*v, false); });
  });
  connect(menuAction(image, "imageDarken", QStringLiteral("&Darken...")), &QAction::triggered, this, [this] {
    const auto v = askValue(this, QStringLiteral("Darken"),
                            QStringLiteral("Brightness kept (0 black - 255 unchanged):"), 200, 0, 255);
    if (v) runImageOperation(QStringLiteral("Darken"), [v](qorv::QorvPicture& c) { c.Darken(*v); });
  });
  connect(menuAction(image, "imageLighten", QStringLiteral("&Lighten...")), &QAction::triggered, this, [this] {
    const auto v = askValue(this, QStringLiteral("Lighten"), QStringLiteral("Lightness added (percent):"), 20, 0, 1000);
    if (v) runImageOperation(QStringLiteral("Lighten"), [v](qorv::QorvPicture& c) { c.Lighten(*v); });
  });
  image->addSeparator();
  QAction* left = menuAction(image, "imageRotateLeft", QStringLiteral("Rotate &Left"), QKeySequence(Qt::CTRL | Qt::Key_L));
  connect(left, &QAction::triggered, this,
          [this] { runImageOperation(QStringLiteral("Rotate left"), [](qorv::QorvPicture& c) { c.Rotate(false); }); });
  QAction* right =
      menuAction(image, "imageRotateRight", QStringLiteral("Rotate &Right"), QKeySequence(Qt::CTRL | Qt::Key_R));
  connect(right, &QAction::triggered, this,
          [this] { runImageOperation(QStringLiteral("Rotate right"), [](qorv::QorvPicture& c) { c.Rotate(true); }); });
  struct FlipEntry {
    const char* name;
    const char* text;
    qorv::FlipOrientations how;
  };
  for (const FlipEntry& f : {FlipEntry{"imageFlipHorizontal", "Flip &Horizontally", qorv::FlipOrientations::Horizontal},
                             FlipEntry{"imageFlipVertical", "Flip &Vertically", qorv::FlipOrientations::Verticle},
                             FlipEntry{"imageFlipBoth", "Flip B&oth Ways", qorv::FlipOrientations::Hor_And_Vert}}) {
    const QString label = QString::fromLatin1(f.text).remove(u'&');
    connect(menuAction(image, f.name, QString::fromLatin1(f.text)), &QAction::triggered, this, [this, f, label] {
      runImageOperation(label, [f](qorv::QorvPicture& c) { c.Flip(static_cast<qint32>(f.how)); });
    });
  }
  QAction* angle = menuAction(image, "imageRotateAngle", QStringLiteral("Rotate by &Angle..."));
  connect(angle, &QAction::triggered, this, [this] {
    const auto v = askValue(this, QStringLiteral("Rotate by angle"),
                            QStringLiteral("Degrees (clockwise, negative turns back):"), 15, -360, 360);
    if (!v) return;
    runImageOperation(QStringLiteral("Rotate by angle"), [v](qorv::QorvPicture& c) {
      // Bilinear, corners in the viewer's backdrop colour.
      if (!c.RotateAngle(*v, QVariant(), 1)) throw std::runtime_error(c.LastErrorDescription().toStdString());
    });
  });
  image->addSeparator();
  // The control's hue dialog previews on the picture itself; Cancel leaves
  // it as it was, which runImageOperation then takes as no step.
  connect(menuAction(image, "imageColourise", QStringLiteral("Colo&urise...")), &QAction::triggered, this,
          [this] { runImageOperation(QStringLiteral("Colourise"), [](qorv::QorvPicture& c) { c.Colourise(); }); });
  QMenu* palette = image->addMenu(QStringLiteral("&Palette"));
  palette->setObjectName(QStringLiteral("imagePalette"));
  struct PaletteEntry {
    const char* name;
    const char* text;
    int index;
  };
  for (const PaletteEntry& p : {PaletteEntry{"imagePaletteWeb", "&Web-Safe Colours", 0},
                                PaletteEntry{"imagePaletteEga", "&EGA 16 Colours", 1},
                                PaletteEntry{"imagePaletteGrey", "256 &Greys", 2},
                                PaletteEntry{"imagePaletteMono", "&Black and White", 3}}) {
    const QString label = QStringLiteral("Palette: %1").arg(QString::fromLatin1(p.text).remove(u'&'));
    connect(menuAction(palette, p.name, QString::fromLatin1(p.text)), &QAction::triggered, this, [this, p, label] {
      runImageOperation(label, [p](qorv::QorvPicture& c) { c.ApplyBuiltInPalette(p.index); });
    });
  }
  palette->addSeparator();
  connect(menuAction(palette, "imagePaletteFile", QStringLiteral("From &File...")), &QAction::triggered, this,
          [this] {
            const QString file = control_->Dialog(
                QStringLiteral("Palettes (*.pal *.gpl *.act)|*.pal;*.gpl;*.act|All files (*.*)|*.*"),
                control_->hWnd(), QFileInfo(path_).absolutePath(), QStringLiteral("Palette"), 0, false, QVariant(1));
            if (file.isEmpty()) return;
            runImageOperation(QStringLiteral("Palette from file"), [&file](qorv::QorvPicture& c) {
              if (!c.LoadPalette(file)) throw std::runtime_error(c.LastErrorDescription().toStdString());
            });
          });
  image->addSeparator();
  connect(menuAction(image, "imageResample", QStringLiteral("Re&sample...")), &QAction::triggered, this, [this] {
    const auto size = askSize(this, QSize(control_->OrgPictureWidth(), control_->OrgPictureHeight()));
    if (!size) return;
    runImageOperation(QStringLiteral("Resample"),
                      [size](qorv::QorvPicture& c) { c.Resample(size->width(), size->height()); });
  });
  connect(menuAction(image, "imageCombine", QStringLiteral("&Combine with Picture...")), &QAction::triggered, this,
          [this] {
            const auto choice = askCombine(this, [this] {
              return control_->Dialog(control_->FreeImageLoadPattern(), control_->hWnd(),
                                      QFileInfo(path_).absolutePath(), QStringLiteral("Combine with"), 0, false,
                                      QVariant(1));
            });
            if (!choice) return;
            // The other picture is read by a control of its own, so that every
            // format the viewer opens can be combined.
            qorv::QorvPicture reader;
            reader.setNoLoadingHourGlass(true);
            if (!reader.LoadFreeImage(choice->path, -1, QString(), true)) {
              showFailure(QStringLiteral("Cannot open %1").arg(QFileInfo(choice->path).fileName()),
                          reader.LastErrorDescription(),
                          reader.LastErrorFlag() == qorv::error_record::FlagCritical);
              return;
            }
            const qorv::PicturePtr other = reader.Picture();
            runImageOperation(QStringLiteral("Combine"), [&choice, other](qorv::QorvPicture& c) {
              c.CombinePictures(c.Picture(), other, choice->type, static_cast<float>(choice->multiplier1),
                                static_cast<float>(choice->multiplier2), choice->offset1, choice->offset2);
            });
          });
}

void ViewerWindow::addViewMenu(QMenu* view) {
  QAction* in = menuAction(view, "viewZoomIn", QStringLiteral("Zoom &In"), QKeySequence::ZoomIn);
  connect(in, &QAction::triggered, this, [this] { zoomBy(1.25); });
  QAction* out = menuAction(view, "viewZoomOut", QStringLiteral("Zoom &Out"), QKeySequence::ZoomOut);
  connect(out, &QAction::triggered, this, [this] { zoomBy(0.8); });
  QAction* fit = menuAction(view, "viewFit", QStringLiteral("&Fit to Window"), QKeySequence(Qt::CTRL | Qt::Key_F));
  connect(fit, &QAction::triggered, this, &ViewerWindow::fitToWindow);
  QAction* actual = menuAction(view, "viewActualSize", QStringLiteral("&100 %"), QKeySequence(Qt::CTRL | Qt::Key_0));
  connect(actual, &QAction::triggered, this, &ViewerWindow::actualSize);
  view->addSeparator();

  struct Toggle {
    const char* name;
    const char* text;
    QKeySequence key;
    bool (qorv::QorvPicture::*get)() const;
    void (qorv::QorvPicture::*set)(bool);
  };
  const Toggle toggles[] = {
      {"viewStretch", "&Stretch", {}, &qorv::QorvPicture::Stretch, &qorv::QorvPicture::setStretch},
      {"viewKeepAspect", "&Keep Aspect", {}, &qorv::QorvPicture::KeepAspect, &qorv::QorvPicture::setKeepAspect},
      {"viewCentred", "&Centred", QKeySequence(Qt::CTRL | Qt::Key_E), &qorv::QorvPicture::Centered,
       &qorv::QorvPicture::setCentered},
      {"viewTiled", "&Tiled", QKeySequence(Qt::CTRL | Qt::Key_T), &qorv::QorvPicture::Tiled,
       &qorv::QorvPicture::setTiled},
  };
  for (const Toggle& t : toggles) {
    QAction* a = menuAction(view, t.name, QString::fromLatin1(t.text), t.key);
    a->setCheckable(true);
    connect(a, &QAction::triggered, this, [this, t](bool on) {
      (control_->*t.set)(on);
      status_->setZoom(displayedZoom());
    });
  }
  QAction* transparency = menuAction(view, "viewTransparency", QStringLiteral("Show T&ransparency"));
  transparency->setCheckable(true);
  connect(transparency, &QAction::triggered, this, &ViewerWindow::setShowTransparency);

  // The control's own gestures (left drag pans, right drag and the wheel
  // zoom) and what it shows while they run.
  const Toggle gestures[] = {
      {"viewOffsetOSD", "Show &Offset While Panning", {}, &qorv::QorvPicture::ShowOffsetOSD,
       &qorv::QorvPicture::setShowOffsetOSD},
      {"viewZoomOSD", "Show &Zoom While Zooming", {}, &qorv::QorvPicture::ZoomOSD, &qorv::QorvPicture::setZoomOSD},
      {"viewLiveZoom", "&Live Zoom", {}, &qorv::QorvPicture::VisualZoom, &qorv::QorvPicture::setVisualZoom},
      {"viewWheelZoom", "&Wheel Zooms", {}, &qorv::QorvPicture::WheelZoom, &qorv::QorvPicture::setWheelZoom},
  };
  QMenu* osd = view->addMenu(QStringLiteral("&Gestures"));
  osd->setObjectName(QStringLiteral("viewGestures"));
  for (const Toggle& t : gestures) {
    QAction* a = menuAction(osd, t.name, QString::fromLatin1(t.text), t.key);
    a->setCheckable(true);
    connect(a, &QAction::triggered, this, [this, t](bool on) { (control_->*t.set)(on); });
  }

  QMenu* quality = view->addMenu(QStringLiteral("&Quality"));
  auto* group = new QActionGroup(quality);
  for (const QualityEntry& q : kQualities) {
    QAction* a = menuAction(quality, q.name, QString::fromLatin1(q.text));
    a->setCheckable(true);
    a->setData(static_cast<int>(q.mode));
    group->addAction(a);
    connect(a, &QAction::triggered, this, [this, q] { control_->setZoomType(static_cast<qint32>(q.mode)); });
  }
  view->addSeparator();
  QAction* full = menuAction(view, "viewFullScreen", QStringLiteral("F&ull Screen"), QKeySequence(Qt::Key_F11));
  full->setCheckable(true);
  connect(full, &QAction::triggered, this, &ViewerWindow::toggleFullScreen);
  view->addSeparator();
  // Named apart from the view* commands: it stays available without a picture.
  connect(menuAction(view, "resetViewSettings", QStringLiteral("&Reset View Settings")), &QAction::triggered, this,
          &ViewerWindow::resetViewSettings);
}

void ViewerWindow::rebuildRecentMenu() {
  if (!recentMenu_) return;
  recentMenu_->clear();
  for (int i = 0; i < recent_.size(); ++i) {
    const QString path = recent_[i];
    QAction* a = recentMenu_->addAction(QStringLiteral("&%1 %2").arg((i + 1) % 10).arg(QFileInfo(path).fileName()));
    a->setObjectName(QStringLiteral("fileRecent%1").arg(i));
    a->setToolTip(path);
    connect(a, &QAction::triggered, this, [this, path] { openPath(path); });
  }
  recentMenu_->setEnabled(!recent_.isEmpty());
}

void ViewerWindow::syncViewActions() {
  const std::pair<const char*, bool> states[] = {{"viewOffsetOSD", control_->ShowOffsetOSD()},
                                                 {"viewZoomOSD", control_->ZoomOSD()},
                                                 {"viewLiveZoom", control_->VisualZoom()},
                                                 {"viewWheelZoom", control_->WheelZoom()},
                                                 {"viewStretch", control_->Stretch()},
                                                 {"viewKeepAspect", control_->KeepAspect()},
                                                 {"viewCentred", control_->Centered()},
                                                 {"viewTiled", control_->Tiled()},
                                                 {"viewTransparency", control_->ShowTransparency()}};
  for (const auto& [name, on] : states)
    if (QAction* a = action(QString::fromLatin1(name))) a->setChecked(on);
  for (const QualityEntry& q : kQualities)
    if (QAction* a = action(QString::fromLatin1(q.name))) a->setChecked(control_->ZoomType() == static_cast<int>(q.mode));
  status_->setZoom(displayedZoom());
}

void ViewerWindow::updateActions() {
  const bool has = qorv::handleOf(control_->Picture()) != 0;
  const bool hasFile = !path_.isEmpty();
  for (QAction* a : findChildren<QAction*>()) {
    const QString n = a->objectName();
    if (n.startsWith(u"image") || n.startsWith(u"view")) a->setEnabled(has);
  }
  for (const char* name : {"fileSave", "fileSaveAs", "fileClose", "editCopy", "editCopyZoomed"})
    action(QString::fromLatin1(name))->setEnabled(has);
  for (const char* name : {"fileReload", "filePrevious", "fileNext", "editCopyPath"})
    action(QString::fromLatin1(name))->setEnabled(hasFile);
  QAction* u = action(QStringLiteral("editUndo"));
  u->setEnabled(history_.canUndo());
  u->setText(history_.canUndo() ? QStringLiteral("&Undo %1").arg(history_.undoLabel()) : QStringLiteral("&Undo"));
  QAction* r = action(QStringLiteral("editRedo"));
  r->setEnabled(history_.canRedo());
  r->setText(history_.canRedo() ? QStringLiteral("&Redo %1").arg(history_.redoLabel()) : QStringLiteral("&Redo"));
  // Full screen stays reachable to leave it even without a picture.
  action(QStringLiteral("viewFullScreen"))->setEnabled(true);
}

}  // namespace qorv_view
