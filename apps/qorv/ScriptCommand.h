// The bridge between a script and the control: classic members by name through
// the control's dispatch, automation errors turned into script exceptions.
#pragma once

#include <QJSValue>
#include <QObject>
#include <QStringList>
#include <QVariantList>

class QJSEngine;
namespace qorv {
class QorvPicture;
}

class ScriptBridge : public QObject {
  Q_OBJECT

 public:
  ScriptBridge(QJSEngine& engine, qorv::QorvPicture& picture);

  Q_INVOKABLE QJSValue get(const QString& name);
  Q_INVOKABLE void set(const QString& name, const QJSValue& value);
  // `args` is a script array; `undefined` elements are missing optional arguments.
  Q_INVOKABLE QJSValue call(const QString& name, const QJSValue& args);
  // The files of a folder, sorted by name, as absolute paths.
  Q_INVOKABLE QStringList listFiles(const QString& dir) const;

 private:
  QJSValue dispatch(const QString& name, int kind, QVariantList& args);
  QJSEngine& engine_;
  qorv::QorvPicture& picture_;
};
