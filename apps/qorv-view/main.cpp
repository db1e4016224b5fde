// qorv-view: opens a picture in a window on a picture pane.
//   qorv-view [IMAGE] [--screenshot OUT.png]
// Without a display (or with --screenshot) the window is rendered offscreen to
// a PNG whose path is printed.
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QMainWindow>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTextStream>

#include <algorithm>
#include <functional>

#include "platform/PictureBox.h"

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

// A central widget that tells the pane when it is resized.
class Stage : public QWidget {
 public:
  std::function<void(QSize)> onResize;

 protected:
  void resizeEvent(QResizeEvent*) override {
    if (onResize) onResize(size());
  }
};

// Shows the picture fitted into the pane, centred, keeping its aspect ratio.
void layOut(qorv::PictureBox& pane, const qorv::PicturePtr& pic, QSize size) {
  pane.Move(0, 0, size.width(), size.height());
  pane.Cls();
  const double scale = std::min({1.0, size.width() / double(pic->Width()), size.height() / double(pic->Height())});
  const int w = std::max(1, int(pic->Width() * scale + 0.5));
  const int h = std::max(1, int(pic->Height() * scale + 0.5));
  gdi::SetStretchBltMode(pane.hDC(), gdi::HALFTONE);
  pane.PaintPicture(pic, float((size.width() - w) / 2), float((size.height() - h) / 2), float(w), float(h));
  pane.Refresh();
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

  QImageReader reader(opt.image);
  reader.setAutoTransform(true);
  const qorv::PicturePtr pic = qorv::Picture::fromImage(reader.read());
  if (!pic) {
    err << "qorv-view: cannot open " << opt.image << ": " << reader.errorString() << "\n";
    return 1;
  }

  QMainWindow window;
  window.setWindowTitle(QStringLiteral("qorv-view - %1").arg(QFileInfo(opt.image).fileName()));
  auto* stage = new Stage;
  window.setCentralWidget(stage);
  qorv::PictureBox pane(QStringLiteral("picPane"));
  pane.setBackColor(qorv::RGB(40, 44, 52));
  pane.bind(stage);
  stage->onResize = [&](QSize s) { layOut(pane, pic, s); };
  window.statusBar()->showMessage(QStringLiteral("%1 x %2  %3").arg(pic->Width()).arg(pic->Height()).arg(opt.image));
  window.resize(std::min(pic->Width(), 1280), std::min(pic->Height(), 900) + window.statusBar()->sizeHint().height());
  window.show();

  if (opt.screenshot.isEmpty()) return app.exec();

  QCoreApplication::processEvents();
  layOut(pane, pic, stage->size());
  if (!window.grab().save(opt.screenshot)) {
    err << "qorv-view: cannot write " << opt.screenshot << "\n";
    return 1;
  }
  out << "qorv-view: rendered " << QFileInfo(opt.image).fileName() << " offscreen to "
      << QFileInfo(opt.screenshot).absoluteFilePath() << "\n";
  return 0;
}
