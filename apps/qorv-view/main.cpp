// qorv-view: opens a picture in a resizable window on the QorvPicture control.
// Panning and zooming are the control's own gestures (left drag, right drag,
// keypad plus and minus, the wheel); fit, actual size, centring, tiling and
// the gesture switches are driven through the control's public properties.
//   qorv-view [IMAGE] [--screenshot OUT.png] [--settings FILE.ini] [--no-auto-rotate]
// Without a display (or with --screenshot) the window is rendered offscreen to
// a PNG whose path is printed. The control's settings are kept across runs in
// an INI file in the user's configuration directory (or FILE.ini), and a
// picture file dropped on the window opens in it.
#include <QApplication>
#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QMainWindow>
#include <QMenuBar>
#include <QSettings>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTextStream>

#include <algorithm>
#include <functional>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/DataObject.h>
#include <QorvPictureBox/QorvPicture.h>
#include <QorvPictureBox/SettingsPropertyBag.h>
#include <QorvPictureBox/Colors.h>

namespace {

struct Options {
  QString image;
  QString screenshot;
  QString settings;
  bool help = false;
  bool autoRotate = true;
};

Options parse(const QStringList& args) {
  Options o;
  for (int i = 1; i < args.size(); ++i) {
    if (args[i] == QLatin1String("--screenshot") && i + 1 < args.size())
      o.screenshot = args[++i];
    else if (args[i] == QLatin1String("--settings") && i + 1 < args.size())
      o.settings = args[++i];
    else if (args[i] == QLatin1String("--no-auto-rotate"))
      o.autoRotate = false;
    else if (args[i] == QLatin1String("-h") || args[i] == QLatin1String("--help"))
      o.help = true;
    else
      o.image = args[i];
  }
  return o;
}

bool hasDisplay() { return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY"); }

QString bundledSample() {
  const QString dir = QCoreApplication::applicationDirPath();
  const QString candidates[] = {dir + QStringLiteral("/qorv-sample.png"),
                                dir + QStringLiteral("/../share/QorvPictureBox/qorv-sample.png"),
                                QStringLiteral(QORV_SAMPLE_PATH)};
  for (const QString& c : candidates)
    if (QFileInfo::exists(c)) return QFileInfo(c).canonicalFilePath();
  return QStringLiteral(QORV_SAMPLE_PATH);
}

// The viewer keeps the control's settings, not the picture: that comes from
// the file opened, so the stored "Picture" is neither written nor read.
class ViewSettings : public qorv::PropertyBag {
 public:
  explicit ViewSettings(const QString& path) : path_(path), bag_(path, kGroup) {}
  // False on the first run and after a reset: the viewer's own look applies.
  bool stored() const {
    QSettings s(path_, QSettings::IniFormat);
    s.beginGroup(kGroup);
    return !s.allKeys().isEmpty();
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
  inline static const QString kGroup = QStringLiteral("Viewer");
  QString path_;
  qorv::SettingsPropertyBag bag_;
};

QString settingsPath(const Options& o) {
  if (!o.settings.isEmpty()) return o.settings;
  return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
      .filePath(QStringLiteral("QorvPictureBox/qorv-view.ini"));
}

// The look the viewer starts with before any stored settings.
void applyViewerDefaults(qorv::QorvPicture& c) {
  c.setBackColor(static_cast<qint32>(qorv::RGB(40, 44, 52)));
  c.setHQInitialDelay(150);
  c.setZoomType(4);  // halftone once the view has settled
  c.setNoLoadingHourGlass(true);
}

void saveSettings(ViewSettings& store, qorv::QorvPicture& c, QTextStream& err) {
  try {
    c.WriteProperties(store);
    store.sync();
  } catch (const qorv::AutomationError& e) {
    err << "qorv-view: settings not saved: " << QString::fromStdString(e.description()) << "\n";
  }
}

void showStatus(QMainWindow& w, const qorv::QorvPicture& c) {
  const QString path = c.CurrentFile();
  w.setWindowTitle(QStringLiteral("qorv-view - %1").arg(QFileInfo(path).fileName()));
  w.statusBar()->showMessage(QStringLiteral("%1 x %2  zoom %3%  offset %4, %5  %6")
                                 .arg(c.OrgPictureWidth())
                                 .arg(c.OrgPictureHeight())
                                 .arg(c.Zoom())
                                 .arg(c.OffsetX())
                                 .arg(c.OffsetY())
                                 .arg(path));
}

// Menu of view commands, all through the control's public properties.
void addViewMenu(QMainWindow& w, qorv::QorvPicture& c, ViewSettings& store) {
  QMenu* view = w.menuBar()->addMenu(QStringLiteral("&View"));
  auto add = [&](const QString& text, const QKeySequence& key, std::function<void()> f, bool checkable = false,
                 bool checked = false) {
    QAction* a = view->addAction(text);
    a->setShortcut(key);
    a->setCheckable(checkable);
    a->setChecked(checked);
    QObject::connect(a, &QAction::triggered, &w, [&w, &c, f] {
      f();
      showStatus(w, c);
    });
  };
  add(QStringLiteral("&Fit"), QKeySequence(Qt::CTRL | Qt::Key_F), [&c] {
    c.setLockUpdate(true);
    c.setStretch(true);
    c.setKeepAspect(true);
    c.setZoomFromOriginal(false);
    c.setZoom(100);
    c.setLockUpdate(false);
  });
  add(QStringLiteral("&Actual size"), QKeySequence(Qt::CTRL | Qt::Key_0), [&c] {
    c.setLockUpdate(true);
    c.setStretch(true);
    c.setZoomFromOriginal(true);
    c.setZoom(100);
    c.setLockUpdate(false);
  });
  add(QStringLiteral("&Centred"), QKeySequence(Qt::CTRL | Qt::Key_E), [&c] { c.setCentered(!c.Centered()); }, true,
      c.Centered());
  add(QStringLiteral("&Tiled"), QKeySequence(Qt::CTRL | Qt::Key_T), [&c] { c.setTiled(!c.Tiled()); }, true, c.Tiled());
  view->addSeparator();
  // The gesture switches: what the control shows and does while the user
  // drags, zooms with the right button or turns the wheel.
  add(QStringLiteral("Show &offset while panning"), QKeySequence(),
      [&c] { c.setShowOffsetOSD(!c.ShowOffsetOSD()); }, true, c.ShowOffsetOSD());
  add(QStringLiteral("Show &zoom while zooming"), QKeySequence(), [&c] { c.setZoomOSD(!c.ZoomOSD()); }, true,
      c.ZoomOSD());
  add(QStringLiteral("&Live zoom"), QKeySequence(), [&c] { c.setVisualZoom(!c.VisualZoom()); }, true,
      c.VisualZoom());
  add(QStringLiteral("&Wheel zooms"), QKeySequence(), [&c] { c.setWheelZoom(!c.WheelZoom()); }, true,
      c.WheelZoom());
  view->addSeparator();
  add(QStringLiteral("&Reset view settings"), QKeySequence(), [&c, &store, view] {
    store.clear();
    c.InitProperties();
    applyViewerDefaults(c);
    c.setOLEDropMode(1);
    c.Refresh(true);
    // The check marks follow the properties they switch.
    const QHash<QString, bool> state{{"&Centred", c.Centered()},
                                     {"&Tiled", c.Tiled()},
                                     {"Show &offset while panning", c.ShowOffsetOSD()},
                                     {"Show &zoom while zooming", c.ZoomOSD()},
                                     {"&Live zoom", c.VisualZoom()},
                                     {"&Wheel zooms", c.WheelZoom()}};
    for (QAction* a : view->actions()) {
      if (state.contains(a->text())) a->setChecked(state.value(a->text()));
    }
  });
}

// Files dragged over the window are offered a copy; the first one dropped
// opens, and a file that does not load leaves the current picture.
void openDroppedFiles(QMainWindow& w, qorv::QorvPicture& c) {
  auto hasFiles = [](qorv::DataObject* data) { return data && data->GetFormat(qorv::DataObject::vbCFFiles); };
  QObject::connect(&c, &qorv::QorvPicture::OLEDragOver,
                   [hasFiles](qorv::DataObject* data, int* effect, int, int, float, float, int) {
                     *effect = hasFiles(data) ? 1 : 0;
                   });
  QObject::connect(&c, &qorv::QorvPicture::OLEDragDrop,
                   [&w, &c, hasFiles](qorv::DataObject* data, int* effect, int, int, float, float) {
                     *effect = 0;
                     if (!hasFiles(data) || data->Files()->Count() == 0) return;
                     if (!c.LoadFreeImage(data->Files()->Item(1), -1, QString(), false)) {
                       w.statusBar()->showMessage(c.LastErrorDescription());
                       return;
                     }
                     *effect = 1;
                     showStatus(w, c);
                   });
}

}  // namespace

int main(int argc, char** argv) {
  const bool offscreen = !hasDisplay() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
  if (offscreen) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  QTextStream out(stdout), err(stderr);

  Options opt = parse(QCoreApplication::arguments());
  if (opt.help) {
    out << "usage: qorv-view [IMAGE] [--screenshot OUT.png] [--settings FILE.ini] [--no-auto-rotate]\n";
    return 0;
  }
  if (opt.image.isEmpty()) opt.image = bundledSample();
  const bool headless = offscreen || QGuiApplication::platformName() == QLatin1String("offscreen");
  if (opt.screenshot.isEmpty() && headless)
    opt.screenshot = QDir(QStandardPaths::writableLocation(QStandardPaths::TempLocation)).filePath(QStringLiteral("qorv-view.png"));

  QMainWindow window;
  auto* control = new qorv::QorvPicture;
  window.setCentralWidget(control);
  ViewSettings store(settingsPath(opt));
  if (!store.stored()) applyViewerDefaults(*control);
  try {
    if (store.stored()) control->ReadProperties(store);
  } catch (const qorv::AutomationError& e) {
    // A damaged file costs the settings after the bad key, not the viewer.
    err << "qorv-view: settings partly restored: " << QString::fromStdString(e.description()) << "\n";
  }
  control->setOLEDropMode(1);  // a file dropped on the window opens
  control->setAutoRotate(opt.autoRotate);  // photos show upright, as a viewer should
  if (!control->LoadFreeImage(opt.image, -1, QString(), true)) {
    err << "qorv-view: cannot open " << opt.image << ": " << control->LastErrorDescription() << "\n";
    return 1;
  }
  addViewMenu(window, *control, store);
  openDroppedFiles(window, *control);
  showStatus(window, *control);
  // The status bar follows the control's own gestures.
  QObject::connect(control, &qorv::QorvPicture::Zooming, &window,
                   [&window, control] { showStatus(window, *control); });
  QObject::connect(control, &qorv::QorvPicture::OffsetChanged, &window,
                   [&window, control](int*, int*) { showStatus(window, *control); });
  window.resize(std::min(control->OrgPictureWidth(), 1280),
                std::min(control->OrgPictureHeight(), 900) + window.statusBar()->sizeHint().height() +
                    window.menuBar()->sizeHint().height());
  window.show();
  control->setFocus();  // the keypad zooms without a click first
  control->Refresh(true);

  if (opt.screenshot.isEmpty()) {
    const int code = app.exec();
    saveSettings(store, *control, err);
    return code;
  }

  QCoreApplication::processEvents();
  control->Refresh(false);
  if (!window.grab().save(opt.screenshot)) {
    err << "qorv-view: cannot write " << opt.screenshot << "\n";
    return 1;
  }
  saveSettings(store, *control, err);
  out << "qorv-view: rendered " << QFileInfo(opt.image).fileName() << " offscreen to "
      << QFileInfo(opt.screenshot).absoluteFilePath() << "\n";
  return 0;
}
