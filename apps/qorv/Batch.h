// Running one command over many files, several at a time.
#pragma once

#include <functional>
#include <vector>

#include <QString>
#include <QStringList>

#include "Cli.h"

namespace cli {

// One file of a batch.
struct BatchItem {
  QString name;  // the input, as the user wrote it
  // Does the file; what it would print on stdout goes into `output`, its
  // messages go to stderr. Returns an exit code.
  std::function<int(QString& output)> run;
};

// Runs every item, `jobCount(options)` at a time, and returns kDone or
// kFailed. A file that fails is reported and counted without stopping the
// others; a summary line follows when any failed. Each item's stdout text is
// handed to `onOutput` and its messages are written to stderr, both in the
// order of `items` whatever order the files finish in, so that what a batch
// prints does not depend on -j.
//
// `commandLine` is the command and its words as the user gave them: worker
// processes are started with it (plus --batch-worker), build the same items
// from it, and then run the ones they are sent by number. In such a worker
// (options.batchWorker) this serves those requests instead.
int runBatch(const std::vector<BatchItem>& items, const CommonOptions& options, const QStringList& commandLine,
             const std::function<void(const QString& output)>& onOutput);

}  // namespace cli
