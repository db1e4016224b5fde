// qorv-view: opens a picture in a resizable window on the QorvPicture control.
// Panning and zooming are the control's own gestures (left drag, right drag,
// keypad plus and minus, the wheel); fit, actual size, centring, tiling and
// the gesture switches are driven through the control's public properties.
//   qorv-view [IMAGE] [--screenshot OUT.png]
// Without a display (or with --screenshot) the window is rendered offscreen to
// a PNG whose path is printed.
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QMainWindow>
#include <QMenuBar>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTextStream>

#include <algorithm>
#include <functional>

#include <QorvPictureBox/QorvPicture.h>
#include <QorvPictureBox/Colors.h>

namespace {

struct Options {
  QString image;
  QString screenshot;
  bool help = false;
};

Options parse(const QStringList& args) {
  Options o;
  for (int i = 1; i < args.size(); ++i) {
    if (args[i] == QLatin1String("--screenshot") && i + 1 < args.size())
      o.screenshot = args[++i];
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

void showStatus(QMainWindow& w, const qorv::QorvPicture& c, const QString& path) {
  w.statusBar()->showMessage(QStringLiteral("%1 x %2  zoom %3%  offset %4, %5  %6")
                                 .arg(c.OrgPictureWidth())
                                 .arg(c.OrgPictureHeight())
                                 .arg(c.Zoom())
                                 .arg(c.OffsetX())
                                 .arg(c.OffsetY())
                                 .arg(path));
}

// Menu of view commands, all through the control's public properties.
void addViewMenu(QMainWindow& w, qorv::QorvPicture& c, const QString& path) {
  QMenu* view = w.menuBar()->addMenu(QStringLiteral("&View"));
  auto add = [&](const QString& text, const QKeySequence& key, std::function<void()> f, bool checkable = false,
                 bool checked = false) {
    QAction* a = view->addAction(text);
    a->setShortcut(key);
    a->setCheckable(checkable);
    a->setChecked(checked);
    QObject::connect(a, &QAction::triggered, &w, [&w, &c, path, f] {
      f();
      showStatus(w, c, path);
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
}

}  // namespace

int main(int argc, char** argv) {
  const bool offscreen = !hasDisplay() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
  if (offscreen) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  QTextStream out(stdout), err(stderr);

  Options opt = parse(QCoreApplication::arguments());
  if (opt.help) {
    out << "usage: qorv-view [IMAGE] [--screenshot OUT.png]\n";
    return 0;
  }
  if (opt.image.isEmpty()) opt.image = bundledSample();
  const bool headless = offscreen || QGuiApplication::platformName() == QLatin1String("offscreen");
  if (opt.screenshot.isEmpty() && headless)
    opt.screenshot = QDir(QStandardPaths::writableLocation(QStandardPaths::TempLocation)).filePath(QStringLiteral("qorv-view.png"));

  QMainWindow window;
  window.setWindowTitle(QStringLiteral("qorv-view - %1").arg(QFileInfo(opt.image).fileName()));
  auto* control = new qorv::QorvPicture;
  window.setCentralWidget(control);
  control->setBackColor(static_cast<qint32>(qorv::RGB(40, 44, 52)));
  control->setHQInitialDelay(150);
  control->setZoomType(4);  // halftone once the view has settled
  control->setNoLoadingHourGlass(true);
  if (!control->LoadFreeImage(opt.image, -1, QString(), true)) {
    err << "qorv-view: cannot open " << opt.image << ": " << control->LastErrorDescription() << "\n";
    return 1;
  }
  addViewMenu(window, *control, opt.image);
  showStatus(window, *control, opt.image);
  // The status bar follows the control's own gestures.
  QObject::connect(control, &qorv::QorvPicture::Zooming, &window,
                   [&window, control, &opt] { showStatus(window, *control, opt.image); });
  QObject::connect(control, &qorv::QorvPicture::OffsetChanged, &window,
                   [&window, control, &opt](int*, int*) { showStatus(window, *control, opt.image); });
  window.resize(std::min(control->OrgPictureWidth(), 1280),
                std::min(control->OrgPictureHeight(), 900) + window.statusBar()->sizeHint().height() +
                    window.menuBar()->sizeHint().height());
  window.show();
  control->setFocus();  // the keypad zooms without a click first
  control->Refresh(true);

  if (opt.screenshot.isEmpty()) return app.exec();

  QCoreApplication::processEvents();
  control->Refresh(false);
  if (!window.grab().save(opt.screenshot)) {
    err << "qorv-view: cannot write " << opt.screenshot << "\n";
    return 1;
  }
  out << "qorv-view: rendered " << QFileInfo(opt.image).fileName() << " offscreen to "
      << QFileInfo(opt.screenshot).absoluteFilePath() << "\n";
  return 0;
}
