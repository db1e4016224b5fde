#include "Batch.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include <QCoreApplication>
#include <QEventLoop>
#include <QFileInfo>
#include <QProcess>

namespace cli {

namespace {

struct Outcome {
  bool finished = false;
  int exitCode = kFailed;
  QString output;
  QString messages;  // stderr text, relayed as it is
};

// Writes the outcomes that are complete, up to the first that is not, in the
// order of the items.
class InOrderWriter {
 public:
  InOrderWriter(std::vector<Outcome>& outcomes, ProgressLine& progress,
                const std::function<void(const QString&)>& onOutput)
      : outcomes_(outcomes), progress_(progress), onOutput_(onOutput) {}

  void flush() {
    while (next_ < outcomes_.size() && outcomes_[next_].finished) {
      const Outcome& o = outcomes_[next_++];
      if (!o.output.isEmpty()) {
        progress_.clear();
        onOutput_(o.output);
      }
      for (const QString& line : o.messages.split(u'\n', Qt::SkipEmptyParts)) progress_.message(line);
    }
  }

 private:
  std::vector<Outcome>& outcomes_;
  ProgressLine& progress_;
  const std::function<void(const QString&)>& onOutput_;
  std::size_t next_ = 0;
};

void showCount(ProgressLine& progress, std::size_t done, std::size_t total) {
  progress.update(QStringLiteral("qorv: %1 of %2 files").arg(done).arg(total),
                  static_cast<int>(100 * done / qMax<std::size_t>(1, total)), done == 0 || done == total);
}

// Runs one item, its messages collected rather than written across the
// progress line.
void runCapturing(const BatchItem& item, Outcome& o) {
  StderrCapture capture;
  o.exitCode = guarded([&] { return item.run(o.output); });
  std::fflush(stdout);
  o.messages = QString::fromLocal8Bit(capture.finish());
  o.finished = true;
}

// One file at a time in this process.
void runHereInOrder(const std::vector<BatchItem>& items, std::vector<Outcome>& outcomes, ProgressLine& progress,
                    InOrderWriter& writer) {
  for (std::size_t i = 0; i < items.size(); ++i) {
    showCount(progress, i, items.size());
    runCapturing(items[i], outcomes[i]);
    writer.flush();
  }
  showCount(progress, items.size(), items.size());
}

// The reply of a worker for one item: "INDEX CODE OUTPUT_BYTES MESSAGE_BYTES\n",
// then the output (UTF-8) and the messages (as written to stderr).
QByteArray reply(std::size_t index, int code, const QByteArray& output, const QByteArray& messages) {
  return QByteArray::number(static_cast<qulonglong>(index)) + ' ' + QByteArray::number(code) + ' ' +
         QByteArray::number(output.size()) + ' ' + QByteArray::number(messages.size()) + '\n' + output + messages;
}

// A worker that dies in the middle of a file (the image library crashing on
// it) must cost that file only. This lets the tests make one die on purpose:
// a worker handed the input named in QORV_BATCH_WORKER_CRASH_ON aborts.
void crashIfAskedTo(const BatchItem& item) {
  const QString victim = qEnvironmentVariable("QORV_BATCH_WORKER_CRASH_ON");
  if (!victim.isEmpty() && QFileInfo(item.name).fileName() == victim) std::abort();
}

// In a worker process: runs the items whose numbers arrive on stdin, one per
// line, and replies on stdout, until stdin closes.
int serveItems(const std::vector<BatchItem>& items) {
  std::fflush(stdout);
  FILE* channel = ::fdopen(::dup(STDOUT_FILENO), "w");
  if (!channel) return kFailed;
  // Anything else written to stdout would corrupt the replies: it goes with
  // the item's messages instead.
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  char line[32];
  while (std::fgets(line, sizeof line, stdin)) {
    bool ok = false;
    const qulonglong i = QByteArray(line).trimmed().toULongLong(&ok);
    if (!ok || i >= items.size()) break;
    crashIfAskedTo(items[i]);
    Outcome o;
    runCapturing(items[i], o);
    const QByteArray r = reply(i, o.exitCode, o.output.toUtf8(), o.messages.toLocal8Bit());
    std::fwrite(r.constData(), 1, static_cast<std::size_t>(r.size()), channel);
    std::fflush(channel);
  }
  std::fclose(channel);
  return kDone;
}

// Why processes and not threads: the control is a QWidget, which Qt allows
// only on the GUI thread, and its loaders share process-wide state (the image
// library's message hook, the bridge's last error, the host services) without
// locks, so neither one control per thread nor a shared one is safe. Worker
// processes of this same program are: each runs the same command, one file
// at a time, with a fresh control per file. They live for the whole batch, so
// a folder of small files does not pay a process start per file; a file that
// crashes the image library fails alone, and a new worker takes over the
// rest.
class WorkerPool {
 public:
  WorkerPool(const std::vector<BatchItem>& items, const QStringList& commandLine, std::vector<Outcome>& outcomes,
             ProgressLine& progress, InOrderWriter& writer)
      : items_(items), outcomes_(outcomes), progress_(progress), writer_(writer) {
    args_ = commandLine;
    // Progress is the batch's own. The options go right after the command:
    // an operation list after "--" takes every word that follows it.
    if (verbose()) args_.insert(1, QStringLiteral("--verbose"));
    args_.insert(1, QStringLiteral("--quiet"));
    args_.insert(1, QStringLiteral("--batch-worker"));
  }

  void run(int jobs) {
    showCount(progress_, 0, items_.size());
    for (int k = 0; k < jobs && next_ < items_.size(); ++k) startWorker();
    if (running_ > 0) loop_.exec();
    // Left when no worker could be started at all.
    for (std::size_t i = next_; i < items_.size(); ++i)
      complete(i, kFailed, QString(), QStringLiteral("qorv: %1: not processed: no worker process\n").arg(items_[i].name));
  }

 private:
  struct Worker {
    QProcess* process = nullptr;
    QByteArray pending;
    std::optional<std::size_t> current;
  };

  void complete(std::size_t i, int code, const QString& output, const QString& messages) {
    Outcome& o = outcomes_[i];
    o.exitCode = code;
    o.output = output;
    o.messages = messages;
    o.finished = true;
    ++done_;
    writer_.flush();
    showCount(progress_, done_, items_.size());
  }

  void sendNext(Worker& w) {
    if (next_ >= items_.size()) {
      w.current.reset();
      w.process->closeWriteChannel();
      return;
    }
    w.current = next_++;
    w.process->write(QByteArray::number(static_cast<qulonglong>(*w.current)) + '\n');
  }

  // Takes every complete reply out of what the worker has written.
  void drain(Worker& w) {
    w.pending += w.process->readAllStandardOutput();
    for (;;) {
      const qsizetype eol = w.pending.indexOf('\n');
      if (eol < 0) return;
      const QList<QByteArray> head = w.pending.left(eol).split(' ');
      if (head.size() != 4) return w.process->kill();  // not a reply: a broken worker
      const qulonglong index = head[0].toULongLong();
      const qsizetype outBytes = head[2].toLongLong();
      const qsizetype messageBytes = head[3].toLongLong();
      if (w.pending.size() < eol + 1 + outBytes + messageBytes) return;
      const QString output = QString::fromUtf8(w.pending.mid(eol + 1, outBytes));
      const QString messages = QString::fromLocal8Bit(w.pending.mid(eol + 1 + outBytes, messageBytes));
      w.pending.remove(0, eol + 1 + outBytes + messageBytes);
      if (!w.current || *w.current != index) return w.process->kill();
      complete(index, head[1].toInt(), output, messages);
      sendNext(w);
    }
  }

  void workerGone(const std::shared_ptr<Worker>& w, const QString& why) {
    if (w->current) {
      complete(*w->current, kFailed, QString(), QStringLiteral("qorv: %1: %2\n").arg(items_[*w->current].name, why));
      w->current.reset();
    }
    w->process->deleteLater();
    --running_;
  }

  void startWorker() {
    auto w = std::make_shared<Worker>();
    w->process = new QProcess(&loop_);
    // Whatever a worker writes outside a file's messages (a crash report, say)
    // still reaches the user.
    w->process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QObject::connect(w->process, &QProcess::readyReadStandardOutput, w->process, [this, w] { drain(*w); });
    QObject::connect(w->process, &QProcess::finished, w->process, [this, w](int, QProcess::ExitStatus status) {
      drain(*w);
      workerGone(w, status == QProcess::CrashExit ? QStringLiteral("the worker process stopped unexpectedly")
                                                  : QStringLiteral("the worker process ended early"));
      if (next_ < items_.size()) startWorker();
      if (running_ == 0) loop_.quit();
    });
    QObject::connect(w->process, &QProcess::errorOccurred, w->process, [this, w](QProcess::ProcessError e) {
      if (e != QProcess::FailedToStart) return;  // the others end in finished()
      workerGone(w, QStringLiteral("could not start a worker process: ") + w->process->errorString());
      if (running_ == 0) loop_.quit();
    });
    ++running_;
    w->process->start(QCoreApplication::applicationFilePath(), args_);
    // Written once started: a device that is not open drops what it is given.
    if (w->process->state() != QProcess::NotRunning) sendNext(*w);
  }

  const std::vector<BatchItem>& items_;
  std::vector<Outcome>& outcomes_;
  ProgressLine& progress_;
  InOrderWriter& writer_;
  QStringList args_;
  QEventLoop loop_;
  std::size_t next_ = 0;
  std::size_t done_ = 0;
  int running_ = 0;
};

}  // namespace

int runBatch(const std::vector<BatchItem>& items, const CommonOptions& options, const QStringList& commandLine,
             const std::function<void(const QString& output)>& onOutput) {
  if (options.batchWorker) return serveItems(items);
  ProgressLine progress(ProgressLine::modeFor(options));
  std::vector<Outcome> outcomes(items.size());
  InOrderWriter writer(outcomes, progress, onOutput);
  const int jobs = qBound(1, jobCount(options), static_cast<int>(qMax<std::size_t>(1, items.size())));
  if (jobs == 1) {
    runHereInOrder(items, outcomes, progress, writer);
  } else {
    WorkerPool pool(items, commandLine, outcomes, progress, writer);
    pool.run(jobs);
  }
  progress.clear();

  std::size_t failed = 0;
  for (const Outcome& o : outcomes) failed += o.exitCode != kDone ? 1 : 0;
  if (failed == 0) return kDone;
  err(QStringLiteral("qorv: %1 of %2 files failed").arg(failed).arg(items.size()));
  return kFailed;
}

}  // namespace cli
