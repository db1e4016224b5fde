// A main window around QorvPicture: opens the file named on the command line,
// shows the zoom and offset in the status bar as the user zooms and pans.
//
//   embed [--check] PICTURE
//
// With --check it loads the picture, zooms in once and exits: 0 when the picture
// loaded and both events arrived, 1 otherwise (the packaging test runs it so).
#include <QApplication>
#include <QMainWindow>
#include <QStatusBar>
#include <QStringList>
#include <QTextStream>

#include <QorvPictureBox/QorvPicture.h>

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QStringList args = QApplication::arguments();
  args.removeFirst();
  const bool check = args.removeAll(QStringLiteral("--check")) > 0;
  if (args.size() != 1) {
    QTextStream(stderr) << "usage: embed [--check] PICTURE\n";
    return 2;
  }

  QMainWindow window;
  auto* picture = new qorv::QorvPicture(&window);
  window.setCentralWidget(picture);
  window.resize(640, 480);

  int zoomings = 0;
  int offsetChanges = 0;
  QObject::connect(picture, &qorv::QorvPicture::Zooming, &window, [&] {
    ++zoomings;
    window.statusBar()->showMessage(QStringLiteral("zoom %1%").arg(picture->Zoom()));
  });
  // OffsetChanged passes its arguments by reference: a handler may move the view.
  QObject::connect(picture, &qorv::QorvPicture::OffsetChanged, &window, [&](int* x, int* y) {
    ++offsetChanges;
    window.statusBar()->showMessage(QStringLiteral("offset %1, %2").arg(*x).arg(*y));
  });

  if (!picture->LoadFreeImage(args.first())) {
    QTextStream(stderr) << "cannot open " << args.first() << ": " << picture->LastErrorDescription() << '\n';
    return 1;
  }
  if (check) {
    picture->setZoom(200);
    return zoomings > 0 && offsetChanges > 0 ? 0 : 1;
  }
  window.show();
  return QApplication::exec();
}
