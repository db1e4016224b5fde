#include "CommandLine.h"

namespace qorv_view {

CommandLine parseCommandLine(const QStringList& args) {
  CommandLine cl;
  bool onlyPaths = false;
  for (qsizetype i = 0; i < args.size(); ++i) {
    const QString& a = args[i];
    if (!onlyPaths && a == u"--") {
      onlyPaths = true;
    } else if (!onlyPaths && (a == u"-h" || a == u"--help")) {
      cl.help = true;
    } else if (!onlyPaths && (a == u"-V" || a == u"--version")) {
      cl.version = true;
    } else if (!onlyPaths && (a == u"--screenshot" || a.startsWith(u"--screenshot="))) {
      if (a.startsWith(u"--screenshot=")) {
        cl.screenshot = a.mid(13);
      } else if (i + 1 < args.size()) {
        cl.screenshot = args[++i];
      }
      if (cl.screenshot.isEmpty()) cl.error = QStringLiteral("--screenshot needs a file name");
    } else if (!onlyPaths && a == u"--settings") {
      if (i + 1 < args.size()) cl.settings = args[++i];
      if (cl.settings.isEmpty()) cl.error = QStringLiteral("--settings needs a file name");
    } else if (!onlyPaths && a == u"--no-auto-rotate") {
      cl.autoRotate = false;
    } else if (!onlyPaths && a == u"--size") {
      const QStringList wh = i + 1 < args.size() ? args[++i].split(u'x') : QStringList();
      bool okW = false, okH = false;
      const int w = wh.size() == 2 ? wh[0].toInt(&okW) : 0;
      const int h = wh.size() == 2 ? wh[1].toInt(&okH) : 0;
      if (!okW || !okH || w < 1 || h < 1 || w > 16384 || h > 16384)
        cl.error = QStringLiteral("--size needs WIDTHxHEIGHT, each 1 to 16384");
      else
        cl.size = QSize(w, h);
    } else if (!onlyPaths && a.startsWith(u'-') && a.size() > 1) {
      cl.error = QStringLiteral("unknown option '%1'").arg(a);
    } else if (cl.path.isEmpty()) {
      cl.path = a;
    } else {
      cl.error = QStringLiteral("more than one picture given ('%1' and '%2')").arg(cl.path, a);
    }
    if (!cl.error.isEmpty()) break;
  }
  return cl;
}

QString usageText() {
  return QStringLiteral(
      "usage: qorv-view [OPTIONS] [FILE | FOLDER]\n"
      "Views and edits a picture. A folder opens its first picture; Page Up and\n"
      "Page Down then browse the pictures next to it.\n"
      "\n"
      "options:\n"
      "  -h, --help             show this help and exit\n"
      "  -V, --version          show the version and exit\n"
      "  --size WxH             open the window at this size\n"
      "  --screenshot OUT.png   render the window to OUT.png (or .jpg) and exit\n"
      "  --settings FILE.ini    keep the settings in FILE.ini instead of the user's\n"
      "  --no-auto-rotate       show photos as stored, not turned by their orientation\n"
      "  --                     what follows is a file name, even if it starts with '-'\n");
}

QString versionText() { return QStringLiteral("qorv-view %1\n").arg(QStringLiteral(QORV_VIEW_VERSION)); }

}  // namespace qorv_view
