// qorv-view: a picture viewer and editor on the QorvPicture control.
//   qorv-view [OPTIONS] [FILE | FOLDER]
// Without a display (or with --screenshot) the window is rendered offscreen to
// a PNG whose path is printed. The window's and the control's settings are
// kept across runs in ~/.config/QorvPictureBox/qorv-view.ini (or --settings).
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTextStream>
#include <QTimer>

#include <QorvPictureBox/QorvPicture.h>

#include "CommandLine.h"
#include "ViewerWindow.h"

namespace {

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

}  // namespace

int main(int argc, char** argv) {
  const bool offscreen = !hasDisplay() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
  if (offscreen) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("qorv-view"));
  QApplication::setOrganizationName(QStringLiteral("QorvPictureBox"));
  QTextStream out(stdout), err(stderr);

  qorv_view::CommandLine cl = qorv_view::parseCommandLine(QCoreApplication::arguments().mid(1));
  if (!cl.error.isEmpty()) {
    err << "qorv-view: " << cl.error << "\n" << "Try 'qorv-view --help'.\n";
    return 2;
  }
  if (cl.help) {
    out << qorv_view::usageText();
    return 0;
  }
  if (cl.version) {
    out << qorv_view::versionText();
    return 0;
  }
  const bool headless = offscreen || QGuiApplication::platformName() == QLatin1String("offscreen");
  if (cl.screenshot.isEmpty() && headless)
    cl.screenshot = QDir(QStandardPaths::writableLocation(QStandardPaths::TempLocation))
                        .filePath(QStringLiteral("qorv-view.png"));
  // Offscreen the window shows the bundled sample, so a run without a display
  // still renders something worth looking at.
  if (cl.path.isEmpty() && !cl.screenshot.isEmpty()) cl.path = bundledSample();

  qorv_view::ViewerWindow window(nullptr, cl.settings);
  if (!window.settingsProblem().isEmpty())
    err << "qorv-view: settings partly restored: " << window.settingsProblem() << "\n";
  window.control().setAutoRotate(cl.autoRotate);
  if (cl.size.isValid())
    window.resize(cl.size);
  else if (!cl.screenshot.isEmpty())
    window.resize(900, 640);
  window.show();
  if (cl.screenshot.isEmpty()) {
    if (!cl.path.isEmpty()) window.openPath(cl.path);
    return app.exec();
  }

  // Nobody is there to close a message box: failures go to stderr.
  bool failed = false;
  window.setFailureSink([&err, &failed](const QString& what, const QString& detail, bool) {
    err << "qorv-view: " << what << ": " << detail << "\n";
    failed = true;
  });
  if (!cl.path.isEmpty()) window.openPath(cl.path);
  if (failed) return 1;

  QCoreApplication::processEvents();
  window.control().Refresh(false);
  if (!window.grab().save(cl.screenshot)) {
    err << "qorv-view: cannot write " << cl.screenshot << "\n";
    return 1;
  }
  window.close();  // keeps the settings, as closing the window does
  const QString shown = window.currentPath().isEmpty() ? QStringLiteral("an empty window")
                                                       : QFileInfo(window.currentPath()).fileName();
  out << "qorv-view: rendered " << shown << " offscreen to "
      << QFileInfo(cl.screenshot).absoluteFilePath() << "\n";
  return 0;
}
