// The commands of the `qorv` tool. Each takes the words after its own name and
// returns the process exit code: 0 done, 1 the operation failed (the control's
// error code and description are written to stderr), 2 the command line is
// wrong. All of them drive a headless QorvPicture through its public members.
#pragma once

#include <QString>
#include <QStringList>

int runFormatsCommand(const QStringList& args);
int runInfoCommand(const QStringList& args);
int runConvertCommand(const QStringList& args);
int runRenderCommand(const QStringList& args);
int runFilterCommand(const QStringList& args);
int runScriptCommand(const QStringList& args);  // only with QORV_HAVE_SCRIPT

QString formatsCommandUsage();
QString infoCommandUsage();
QString convertCommandUsage();
QString renderCommandUsage();
QString filterCommandUsage();
QString scriptCommandUsage();
