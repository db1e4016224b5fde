// qorv: the picture control on the command line, without a display.
#include <cstring>

#include <QApplication>
#include <QStringList>

#include "Cli.h"
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
      "       qorv --version\n"
      "\n"
      "commands:\n"
      "  formats   list the format table (what can be loaded and saved)\n"
      "  info      show a picture file's format, size and bits per pixel\n"
      "  convert   load a picture and save it in another format\n"
      "  render    show a picture in a control of a given size and save the frame\n"
      "  filter    load a picture, apply image operations and save it\n"
      QORV_SCRIPT_USAGE
      "\n"
      "`qorv COMMAND --help` describes a command.\n"
      "Exit status: 0 done, 1 a file could not be read, processed or written,\n"
      "2 the command line is wrong.\n");
}

}  // namespace

int main(int argc, char** argv) {
  // The tool never needs a display; an explicit choice of platform still wins.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  // Qt's own warnings (about the runtime directory of a headless session, say)
  // are no business of someone converting pictures; --verbose shows them, so
  // it must be known before the application object is made.
  for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i)
    if (std::strcmp(argv[i], "--verbose") == 0 || std::strcmp(argv[i], "-v") == 0) cli::setVerbose(true);
  cli::installMessageHandler();
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("qorv"));

  QStringList args = QApplication::arguments().mid(1);
  if (args.isEmpty()) {
    cli::write(stderr, toolUsage());
    return cli::kUsageError;
  }
  const QString command = args.takeFirst();
  if (command == u"--help" || command == u"-h" || command == u"help") {
    cli::write(stdout, toolUsage());
    return cli::kDone;
  }
  if (command == u"--version" || command == u"-V") {
    cli::out(QStringLiteral("qorv " QORV_VERSION));
    return cli::kDone;
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
    // Only before an operation list: after "--" every word is an operation's.
    const QStringList options = args.mid(0, args.indexOf(QStringLiteral("--")));
    if (options.contains(QStringLiteral("--help")) || options.contains(QStringLiteral("-h"))) {
      cli::write(stdout, e.usage());
      return cli::kDone;
    }
    return e.run(args);
  }
  const QString what = command.startsWith(u'-') ? QStringLiteral("option") : QStringLiteral("command");
  return cli::usageError(QStringLiteral("unknown %1 '%2'\n").arg(what, command), toolUsage());
}
