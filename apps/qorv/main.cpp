// qorv: the picture control on the command line, without a display.
#include <cstdio>

#include <QApplication>
#include <QStringList>

#include "Commands.h"

namespace {

#ifdef QORV_HAVE_SCRIPT
#define QORV_SCRIPT_USAGE "  script    run a JavaScript file against the control\n"
#else
#define QORV_SCRIPT_USAGE ""
#endif

QString toolUsage() {
  return QStringLiteral(
      "usage: qorv COMMAND [ARGS]\n"
      "\n"
      "commands:\n"
      "  formats   list the format table (what can be loaded and saved)\n"
      "  info      show a picture file's format, size and bits per pixel\n"
      "  convert   load a picture and save it in another format\n"
      "  render    show a picture in a control of a given size and save the frame\n"
      "  filter    load a picture, apply image operations and save it\n"
      QORV_SCRIPT_USAGE
      "\n"
      "`qorv COMMAND --help` describes a command.\n");
}

void print(FILE* f, const QString& text) { std::fputs(text.toLocal8Bit().constData(), f); }

}  // namespace

int main(int argc, char** argv) {
  // The tool never needs a display; an explicit choice of platform still wins.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("qorv"));

  QStringList args = QApplication::arguments().mid(1);
  if (args.isEmpty()) {
    print(stderr, toolUsage());
    return 2;
  }
  const QString command = args.takeFirst();
  if (command == u"--help" || command == u"-h" || command == u"help") {
    print(stdout, toolUsage());
    return 0;
  }

  struct Entry {
    const char* name;
    int (*run)(const QStringList&);
    QString (*usage)();
  };
  static const Entry commands[] = {
      {"formats", &runFormatsCommand, &formatsCommandUsage},
      {"info", &runInfoCommand, &infoCommandUsage},
      {"convert", &runConvertCommand, &convertCommandUsage},
      {"render", &runRenderCommand, &renderCommandUsage},
      {"filter", &runFilterCommand, &filterCommandUsage},
#ifdef QORV_HAVE_SCRIPT
      {"script", &runScriptCommand, &scriptCommandUsage},
#endif
  };
  for (const Entry& e : commands) {
    if (command != QLatin1String(e.name)) continue;
    if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
      print(stdout, e.usage());
      return 0;
    }
    return e.run(args);
  }
  print(stderr, QStringLiteral("qorv: unknown command '%1'\n\n").arg(command) + toolUsage());
  return 2;
}
