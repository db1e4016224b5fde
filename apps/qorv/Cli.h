// What every `qorv` command shares: writing to the terminal, the options all
// of them take, telling the user why a file could not be read or written, and
// the progress line.
#pragma once

#include <cstdio>
#include <functional>
#include <optional>

#include <QElapsedTimer>
#include <QString>
#include <QStringList>

namespace qorv {
class QorvPicture;
}

namespace cli {

// Process exit codes.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;      // some file could not be read, processed or written
inline constexpr int kUsageError = 2;  // the command line is wrong; nothing was done

// Text as written, no newline added.
void write(FILE* f, const QString& text);
// One line on stdout / stderr.
void out(const QString& line);
void err(const QString& line);

// "qorv: MESSAGE" then the command's help; returns kUsageError.
int usageError(const QString& message, const QString& usage);

// Messages the user only wants when asking for them: Qt's warnings and what
// the image library writes to stderr while reading or writing a file.
void setVerbose(bool on);
bool verbose();
// Routes Qt's messages through verbose(); fatal ones still end the process.
void installMessageHandler();

// Collects what is written to the process's stderr (file descriptor 2) while it
// lives. The image library and the libraries under it (libtiff warns once per
// unknown tag, a hundred lines for an ordinary camera TIFF) write there
// directly, and the control offers no way to silence them; the text is
// captured so that it can be shown only when asked for. A temporary file, not
// a pipe: a pipe nobody reads during the call would block a chatty library.
// Captures nest.
class StderrCapture {
 public:
  StderrCapture();
  ~StderrCapture();
  StderrCapture(const StderrCapture&) = delete;
  StderrCapture& operator=(const StderrCapture&) = delete;
  // Puts stderr back and returns what was captured.
  QByteArray finish();

 private:
  void restore();
  FILE* file_ = nullptr;
  int saved_ = -1;
};

// The options shared by the commands that work on files, taken out of the
// words wherever they stand (before a "--" that starts an operation list).
struct CommonOptions {
  bool quiet = false;
  bool progress = false;   // forced even when stderr is no terminal
  int jobs = 0;            // 0: one per core
  // Set in the worker processes a batch starts (never by a user): serve the
  // batch's items by number instead of running them all.
  bool batchWorker = false;
};
// Pictures are loaded upright by their orientation tag (the default, as a
// viewer shows them) and saves wait for the disk (so a crash leaves the old
// file or the new one, never a torn one); --no-auto-rotate and --no-sync,
// read by takeCommonOptions or a command's own options, turn them off for
// every load and save the process makes, batch workers included.
void setAutoRotate(bool on);
void setSyncOnSave(bool on);
// Removes the common options it recognises from `words`; sets `error` (and
// returns nullopt) for a malformed value such as "-j 0".
std::optional<CommonOptions> takeCommonOptions(QStringList& words, QString& error);
QString commonOptionsHelp();
// The number of parallel workers the options ask for.
int jobCount(const CommonOptions& o);

// "--name value" options and flags after the positional words; any other word
// starting with "-" (other than "-" itself and negative numbers) is refused.
class Options {
 public:
  Options(const QStringList& args, const QStringList& withValue, const QStringList& flags);
  const QString& error() const { return error_; }
  const QStringList& positional() const { return positional_; }
  bool has(const QString& k) const;
  QString value(const QString& k) const;
  // An integer option within [lo, hi]; records an error otherwise.
  std::optional<int> integer(const QString& k, int lo, int hi);

 private:
  QStringList names_;
  QStringList values_;
  QStringList positional_;
  QString error_;
};

// A library format by number, by name (PNG, JPEG, TIFF, ...) or by extension
// (jpg, tif, tga, ...).
std::optional<int> parseFormat(const QString& text);
// The format's name as the image library calls it (PNG, BMP, JPEG, ...).
QString formatName(int fif);
// The row of the control's format table describing a library format, -1 if none.
int formatTableIndex(qorv::QorvPicture& c, int fif);
// Refuses a quality the format cannot take: formats saved with a quality take
// 0..100, the others take the library's save flags, never negative. Returns
// an empty string when the value is fine.
QString checkQuality(qorv::QorvPicture& c, int fif, int quality);

// Loading and saving through a control, with the failure explained: first a
// line naming what the user can fix (no such file, a directory, permission
// denied, unknown format, a format that cannot be saved), then the control's
// own error record. The image library's own stderr chatter (libtiff warnings
// for every unknown tag, for instance) is captured and shown only with
// --verbose.
bool load(qorv::QorvPicture& c, const QString& path);
bool save(qorv::QorvPicture& c, const QString& path, int quality, int fif);
// The first line for a file that could not be read / written (no "qorv: "
// prefix), worked out from the file system and the control's error record.
QString whyNotLoaded(qorv::QorvPicture& c, const QString& path);
QString whyNotSaved(qorv::QorvPicture& c, const QString& path, int fif);
// "error N: description" from the control's record, or nothing if it is empty.
QString errorRecord(const qorv::QorvPicture& c);

// Runs a command body, reporting an exception escaping the control as a
// failure instead of ending the process.
int guarded(const std::function<int()>& body);

// Progress on stderr. On a terminal it is one line rewritten in place; with
// --progress in a pipe it is plain lines. Either way it is throttled to about
// ten updates a second: a filter reports every column, which is thousands of
// updates a second that nobody can read and that slow the run down.
class ProgressLine {
 public:
  enum class Mode { Off, Terminal, Lines };
  static Mode modeFor(const CommonOptions& o);
  explicit ProgressLine(Mode mode);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  bool enabled() const { return mode_ != Mode::Off; }
  // Shows `text` with a percentage, unless the last update was too recent;
  // `force` (for 0 % and 100 %) always shows it.
  void update(const QString& text, int percent, bool force = false);
  // Removes the line so that a message can be written in its place.
  void clear();
  // Writes a message on stderr without tearing the progress line.
  void message(const QString& line);

 private:
  Mode mode_;
  QElapsedTimer lastShown_;
  qsizetype shownWidth_ = 0;
  QString lastText_;
  int lastPercent_ = -1;
};

// Connects a control's ProcessInit/Process/ProcessComplete to `line`, each
// update labelled with `prefix` and the operation's description.
void followProgress(qorv::QorvPicture& c, ProgressLine& line, const QString& prefix);

}  // namespace cli
