// `qorv filter IN OUT OP [ARGS] [OP [ARGS]...]`: loads IN, applies the
// operations in order and saves OUT, all through a headless control.
#pragma once

#include <QStringList>

// `args` are the words after "filter". Returns the process exit code: 0 done,
// 1 loading, processing or saving failed, 2 the command line is wrong.
// Creates an offscreen application object when none exists yet.
int runFilterCommand(const QStringList& args);

// The help text of the command.
QString filterCommandUsage();
