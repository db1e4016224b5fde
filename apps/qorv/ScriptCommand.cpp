// `qorv script`: runs a JavaScript file against a headless control.
//
// The script sees the control as `pic`: every classic property and method by
// its name, going through the control's dispatch (so arguments convert and
// errors raise exactly as for any automation client), the Qt surface members
// through the meta-object, and every signal for `pic.Zooming.connect(...)`.
// An automation error thrown by a member becomes a JavaScript exception; one
// the script does not catch ends the run with "file:line: message" and exit 1.
#include <cstdio>
#include <string_view>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJSEngine>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QSet>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/QorvPicture.h>

#include "Commands.h"
#include "ScriptCommand.h"

namespace {

using qorv::QorvPicture;

void err(const QString& text) { std::fputs((text + u'\n').toLocal8Bit().constData(), stderr); }

// Builds `pic` from the bridge: accessors and methods by name, signals as the
// wrapped control's own.
const char* kPrelude = R"JS(
(function (bridge, control, classicProperties, classicMethods, qtProperties, qtMethods, signalNames) {
  var pic = {};
  classicProperties.forEach(function (n) {
    Object.defineProperty(pic, n, { enumerable: true,
      get: function () { return bridge.get(n); }, set: function (v) { bridge.set(n, v); } });
  });
  classicMethods.forEach(function (n) {
    pic[n] = function () { return bridge.call(n, Array.prototype.slice.call(arguments)); };
  });
  qtProperties.forEach(function (n) {
    Object.defineProperty(pic, n, { enumerable: true,
      get: function () { return control[n]; }, set: function (v) { control[n] = v; } });
  });
  qtMethods.forEach(function (n) { pic[n] = control[n].bind(control); });
  signalNames.forEach(function (n) { pic[n] = control[n]; });
  return pic;
})
)JS";

// The script's own line of an error: the innermost frame of the stack
// ("function@url:line" per line) that lies in the script, not in the prelude.
int scriptLine(const QJSValue& error, const QString& fileName) {
  const QStringList frames = error.property(QStringLiteral("stack")).toString().split(u'\n');
  for (const QString& frame : frames) {
    const QString where = frame.mid(frame.lastIndexOf(u'@') + 1);
    const qsizetype colon = where.lastIndexOf(u':');
    if (colon > 0 && where.left(colon).endsWith(fileName)) return where.mid(colon + 1).toInt();
  }
  return error.property(QStringLiteral("lineNumber")).toInt();
}

// console.log and friends print the message alone, to standard output.
void printConsole(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  const bool fromScript = context.category != nullptr && std::string_view(context.category) == "js";
  std::fputs((message + u'\n').toLocal8Bit().constData(), fromScript && type == QtDebugMsg ? stdout : stderr);
}

}  // namespace

ScriptBridge::ScriptBridge(QJSEngine& engine, QorvPicture& picture) : engine_(engine), picture_(picture) {}

QJSValue ScriptBridge::dispatch(const QString& name, int kind, QVariantList& args) {
  try {
    return engine_.toScriptValue(picture_.invoke(name, kind, args));
  } catch (const qorv::AutomationError& e) {
    engine_.throwError(QStringLiteral("error %1: %2").arg(e.number()).arg(QString::fromStdString(e.description())));
  } catch (const std::exception& e) {
    engine_.throwError(QString::fromLocal8Bit(e.what()));
  }
  return {};
}

QJSValue ScriptBridge::get(const QString& name) {
  QVariantList none;
  return dispatch(name, QorvPicture::PropertyGet, none);
}

void ScriptBridge::set(const QString& name, const QJSValue& value) {
  QVariantList args{value.toVariant()};
  // Objects (pictures, fonts) are assigned by reference, everything else by value.
  const int kind = args.first().metaType().flags() & QMetaType::IsPointer || value.isVariant()
                       ? QorvPicture::PropertySet
                       : QorvPicture::PropertyLet;
  dispatch(name, kind, args);
}

QJSValue ScriptBridge::call(const QString& name, const QJSValue& args) {
  QVariantList list;
  const int n = args.property(QStringLiteral("length")).toInt();
  // `undefined` stays a missing optional argument.
  for (int i = 0; i < n; ++i) {
    const QJSValue a = args.property(static_cast<quint32>(i));
    list << (a.isUndefined() ? QVariant() : a.toVariant());
  }
  return dispatch(name, QorvPicture::Method, list);
}

QStringList ScriptBridge::listFiles(const QString& dir) const {
  QStringList files;
  const QFileInfoList entries = QDir(dir).entryInfoList(QDir::Files, QDir::Name);
  for (const QFileInfo& f : entries) files << f.absoluteFilePath();
  return files;
}

QString scriptCommandUsage() {
  return QStringLiteral(
      "usage: qorv script FILE.js [IMAGE] [-- ARG...]\n"
      "\n"
      "Runs FILE.js with a headless control named `pic` (IMAGE loaded into it first):\n"
      "every property and method by name (pic.Zoom = 200; pic.Grayscale()), events\n"
      "through pic.Zooming.connect(function () { ... }), console.log, the words after\n"
      "`--` as `args`, and qorv.listFiles(dir) for the files of a folder. An error the\n"
      "script does not catch prints FILE:LINE: MESSAGE and exits with status 1.\n");
}

int runScriptCommand(const QStringList& words) {
  QStringList positional = words;
  QStringList scriptArgs;
  if (const qsizetype dash = words.indexOf(QStringLiteral("--")); dash >= 0) {
    positional = words.mid(0, dash);
    scriptArgs = words.mid(dash + 1);
  }
  if (positional.isEmpty() || positional.size() > 2) {
    err(QStringLiteral("qorv: script needs FILE.js and at most one IMAGE"));
    err(scriptCommandUsage());
    return 2;
  }
  const QString path = positional.first();
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    err(QStringLiteral("qorv: cannot read %1: %2").arg(path, file.errorString()));
    return 1;
  }
  const QString source = QString::fromUtf8(file.readAll());

  QorvPicture picture;
  picture.resize(640, 480);
  if (positional.size() == 2 && !picture.openFile(positional.at(1))) {
    err(QStringLiteral("qorv: cannot load %1: %2").arg(positional.at(1), picture.errorString()));
    return 1;
  }

  qInstallMessageHandler(printConsole);
  QJSEngine engine;
  engine.installExtensions(QJSEngine::ConsoleExtension);
  ScriptBridge bridge(engine, picture);
  QJSEngine::setObjectOwnership(&picture, QJSEngine::CppOwnership);
  QJSEngine::setObjectOwnership(&bridge, QJSEngine::CppOwnership);

  // Classic members first (they are declared first); a later member whose name
  // differs only in case is a Qt-surface one and goes through the meta-object.
  const QMetaObject* mo = picture.metaObject();
  QSet<QString> seen;
  QStringList classicProperties, classicMethods, qtProperties, qtMethods, signalNames;
  for (int i = mo->propertyOffset(); i < mo->propertyCount(); ++i) {
    const QString n = QString::fromLatin1(mo->property(i).name());
    const bool classic = QorvPicture::dispidOf(n) != 0 && !seen.contains(n.toLower());
    seen.insert(n.toLower());
    (classic ? classicProperties : qtProperties) << n;
  }
  for (int i = mo->methodOffset(); i < mo->methodCount(); ++i) {
    const QMetaMethod m = mo->method(i);
    const QString n = QString::fromLatin1(m.name());
    if (m.methodType() == QMetaMethod::Signal) {
      if (!signalNames.contains(n)) signalNames << n;
      continue;
    }
    if (m.methodType() != QMetaMethod::Method || classicMethods.contains(n) || qtMethods.contains(n)) continue;
    const bool classic = QorvPicture::dispidOf(n) != 0 && !seen.contains(n.toLower());
    seen.insert(n.toLower());
    (classic ? classicMethods : qtMethods) << n;
  }

  QJSValue pic = engine.evaluate(QString::fromLatin1(kPrelude))
                     .call({engine.newQObject(&bridge), engine.newQObject(&picture),
                            engine.toScriptValue(classicProperties), engine.toScriptValue(classicMethods),
                            engine.toScriptValue(qtProperties), engine.toScriptValue(qtMethods),
                            engine.toScriptValue(signalNames)});
  engine.globalObject().setProperty(QStringLiteral("pic"), pic);
  engine.globalObject().setProperty(QStringLiteral("args"), engine.toScriptValue(scriptArgs));
  QJSValue tool = engine.newObject();
  QJSValue bridgeValue = engine.newQObject(&bridge);
  tool.setProperty(QStringLiteral("listFiles"), bridgeValue.property(QStringLiteral("listFiles")));
  engine.globalObject().setProperty(QStringLiteral("qorv"), tool);

  const QJSValue result = engine.evaluate(source, QFileInfo(path).fileName(), 1);
  if (result.isError()) {
    err(QStringLiteral("%1:%2: %3")
            .arg(QFileInfo(path).fileName())
            .arg(scriptLine(result, QFileInfo(path).fileName()))
            .arg(result.property(QStringLiteral("message")).toString()));
    return 1;
  }
  return 0;
}
