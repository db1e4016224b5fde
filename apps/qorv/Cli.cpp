#include "Cli.h"

#include <unistd.h>

#include <cstdlib>

#include <QDir>
#include <QFileInfo>
#include <QMetaEnum>
#include <QThread>
#include <QtGlobal>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/QorvPicture.h>

namespace cli {

using qorv::QorvPicture;

void write(FILE* f, const QString& text) {
  const QByteArray bytes = text.toLocal8Bit();
  std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), f);
  std::fflush(f);
}

void out(const QString& line) { write(stdout, line + u'\n'); }
void err(const QString& line) { write(stderr, line + u'\n'); }

int usageError(const QString& message, const QString& usage) {
  err(QStringLiteral("qorv: ") + message);
  write(stderr, usage);
  return kUsageError;
}

// ----- verbose messages ------------------------------------------------------------

namespace {
bool& verboseFlag() {
  static bool on = false;
  return on;
}

void messageHandler(QtMsgType type, const QMessageLogContext&, const QString& text) {
  if (type == QtFatalMsg) {
    err(QStringLiteral("qorv: fatal: ") + text);
    std::abort();
  }
  if (verbose()) err(QStringLiteral("qorv: [qt] ") + text);
}

// Shows what the library wrote while working on `path`, with --verbose only.
void relayLibraryText(const QString& path, const QString& text) {
  if (!verbose()) return;
  for (const QString& line : text.split(u'\n', Qt::SkipEmptyParts))
    err(QStringLiteral("qorv: %1: [library] %2").arg(path, line));
}
}  // namespace

StderrCapture::StderrCapture() {
  std::fflush(stderr);
  file_ = std::tmpfile();
  if (!file_) return;
  saved_ = ::dup(STDERR_FILENO);
  if (saved_ < 0 || ::dup2(::fileno(file_), STDERR_FILENO) < 0) restore();
}

StderrCapture::~StderrCapture() { finish(); }

QByteArray StderrCapture::finish() {
  if (!file_) return QByteArray();
  restore();
  QByteArray text;
  std::rewind(file_);
  char buf[4096];
  std::size_t n = 0;
  while ((n = std::fread(buf, 1, sizeof buf, file_)) > 0) text.append(buf, static_cast<qsizetype>(n));
  std::fclose(file_);
  file_ = nullptr;
  return text;
}

void StderrCapture::restore() {
  if (saved_ < 0) return;
  std::fflush(stderr);
  ::dup2(saved_, STDERR_FILENO);
  ::close(saved_);
  saved_ = -1;
}

void setVerbose(bool on) { verboseFlag() = on; }
bool verbose() { return verboseFlag(); }
void installMessageHandler() { qInstallMessageHandler(&messageHandler); }

// ----- options ----------------------------------------------------------------------

namespace {
bool gAutoRotate = true;
bool gSyncOnSave = true;
}  // namespace

void setAutoRotate(bool on) { gAutoRotate = on; }
void setSyncOnSave(bool on) { gSyncOnSave = on; }

std::optional<CommonOptions> takeCommonOptions(QStringList& words, QString& error) {
  CommonOptions o;
  QStringList rest;
  qsizetype i = 0;
  for (; i < words.size(); ++i) {
    const QString& w = words[i];
    if (w == u"--") break;  // an operation list follows, untouched
    if (w == u"--quiet" || w == u"-q") {
      o.quiet = true;
    } else if (w == u"--batch-worker") {
      o.batchWorker = true;
    } else if (w == u"--progress") {
      o.progress = true;
    } else if (w == u"--no-auto-rotate") {
      setAutoRotate(false);
    } else if (w == u"--no-sync") {
      setSyncOnSave(false);
    } else if (w == u"--verbose" || w == u"-v") {
      setVerbose(true);
    } else if (w == u"-j" || w == u"--jobs" || (w.startsWith(u"-j") && w.size() > 2)) {
      QString value;
      if (w.size() > 2 && !w.startsWith(u"--")) {
        value = w.mid(2);
      } else if (i + 1 < words.size()) {
        value = words[++i];
      }
      bool ok = false;
      o.jobs = value.toInt(&ok);
      if (!ok || o.jobs < 1 || o.jobs > 1024) {
        error = QStringLiteral("-j expects a number of parallel jobs from 1 to 1024, not '%1'").arg(value);
        return std::nullopt;
      }
    } else {
      rest << w;
    }
  }
  rest << words.mid(i);
  words = rest;
  return o;
}

QString commonOptionsHelp() {
  return QStringLiteral(
      "  -j N, --jobs N   files processed in parallel (default: one per core)\n"
      "  -q, --quiet      no progress\n"
      "  --progress       progress even when stderr is not a terminal (plain lines)\n"
      "  -v, --verbose    also show the image library's and Qt's own messages\n"
      "  --no-auto-rotate pictures as stored, not turned upright by their orientation tag\n"
      "  --no-sync        do not wait for saved files to reach the disk (for work that\n"
      "                   can simply be run again after a crash)\n");
}

int jobCount(const CommonOptions& o) { return o.jobs > 0 ? o.jobs : qMax(1, QThread::idealThreadCount()); }

namespace {
bool looksLikeOption(const QString& w) {
  if (w.size() < 2 || !w.startsWith(u'-')) return false;
  bool number = false;
  w.toDouble(&number);
  return !number;
}
}  // namespace

Options::Options(const QStringList& args, const QStringList& withValue, const QStringList& flags) {
  for (qsizetype i = 0; i < args.size(); ++i) {
    const QString& a = args[i];
    if (withValue.contains(a)) {
      if (i + 1 >= args.size()) {
        error_ = QStringLiteral("%1 needs a value").arg(a);
        return;
      }
      names_ << a;
      values_ << args[++i];
    } else if (flags.contains(a)) {
      names_ << a;
      values_ << QStringLiteral("1");
    } else if (a.isEmpty()) {
      // An empty path would open the control's file dialog in a headless tool.
      error_ = QStringLiteral("file names must not be empty");
      return;
    } else if (looksLikeOption(a)) {
      error_ = QStringLiteral("unknown option %1").arg(a);
      return;
    } else {
      positional_ << a;
    }
  }
}

bool Options::has(const QString& k) const { return names_.contains(k); }

QString Options::value(const QString& k) const {
  const qsizetype i = names_.lastIndexOf(k);
  return i < 0 ? QString() : values_[i];
}

std::optional<int> Options::integer(const QString& k, int lo, int hi) {
  bool ok = false;
  const int v = value(k).toInt(&ok);
  if (!ok || v < lo || v > hi) {
    error_ = QStringLiteral("%1 expects a whole number from %2 to %3, not '%4'").arg(k).arg(lo).arg(hi).arg(value(k));
    return std::nullopt;
  }
  return v;
}

// ----- formats ----------------------------------------------------------------------

namespace {
const QMetaEnum& formats() {
  static const QMetaEnum e = QMetaEnum::fromType<qorv::FREE_IMAGE_FORMAT>();
  return e;
}
}  // namespace

std::optional<int> parseFormat(const QString& text) {
  bool ok = false;
  const int n = text.toInt(&ok);
  if (ok) return n >= 0 && formats().valueToKey(n) ? std::optional<int>(n) : std::nullopt;
  const int byName = formats().keyToValue(("FIF_" + text.toUpper()).toLatin1().constData(), &ok);
  if (ok && byName >= 0) return byName;
  const int byExtension = QorvPicture().GetFIFFormatFromExtension(text);
  if (byExtension >= 0) return byExtension;
  return std::nullopt;
}

QString formatName(int fif) {
  const char* key = fif >= 0 ? formats().valueToKey(fif) : nullptr;
  return key ? QString::fromLatin1(key).mid(4) : QStringLiteral("unknown");
}

int formatTableIndex(QorvPicture& c, int fif) {
  if (fif < 0) return -1;
  for (int i = 0; i < c.FreeImageFormatCount(); ++i) {
    for (int e = 0; e <= c.FreeImageFormatExtensionsCount(i); ++e) {
      const QString ext = c.FreeImageFormatExtension(i, e);
      if (!ext.isEmpty() && c.GetFIFFormatFromExtension(ext) == fif) return i;
    }
  }
  return -1;
}

QString checkQuality(QorvPicture& c, int fif, int quality) {
  const int row = formatTableIndex(c, fif);
  if (row >= 0 && c.FreeImageCanSetQualitySave(row)) {
    if (quality < 0 || quality > 100)
      return QStringLiteral("--quality for %1 takes 0 to 100, not %2").arg(formatName(fif)).arg(quality);
  } else if (quality < 0) {
    return QStringLiteral("--quality takes the library's save flags for %1, which are never negative (%2)")
        .arg(formatName(fif))
        .arg(quality);
  }
  return QString();
}

// ----- loading and saving ----------------------------------------------------------

QString errorRecord(const QorvPicture& c) {
  if (c.LastErrorCode() == 0) return QString();
  return QStringLiteral("error %1: %2").arg(c.LastErrorCode()).arg(c.LastErrorDescription());
}

namespace {
void reportFailure(const QorvPicture& c, const QString& firstLine) {
  err(QStringLiteral("qorv: ") + firstLine);
  const QString record = errorRecord(c);
  if (!record.isEmpty()) err(QStringLiteral("qorv: ") + record);
}

QString savableFormats(QorvPicture& c) {
  QStringList names;
  for (int i = 0; i < c.FreeImageFormatCount(); ++i)
    if (c.FreeImageFormatCanSave(i)) names << c.FreeImageFormat(i);
  return names.join(QStringLiteral(", "));
}
}  // namespace

QString whyNotLoaded(QorvPicture& c, const QString& path) {
  const QString start = QStringLiteral("cannot read '%1': ").arg(path);
  const QFileInfo fi(path);
  if (!fi.exists()) return start + QStringLiteral("no such file");
  if (fi.isDir()) return start + QStringLiteral("it is a directory");
  if (!fi.isReadable()) return start + QStringLiteral("permission denied");
  if (c.LastErrorCode() == qorv::error_record::FormatNotSupported)
    return start + QStringLiteral("unknown format (not a picture the control can read)");
  if (!fi.isFile()) return start + QStringLiteral("not a regular file");
  if (fi.size() == 0) return start + QStringLiteral("the file is empty");
  return start + QStringLiteral("damaged, truncated or too large a picture");
}

QString whyNotSaved(QorvPicture& c, const QString& path, int fif) {
  const QString start = QStringLiteral("cannot write '%1': ").arg(path);
  const QFileInfo fi(path);
  if (fi.isDir()) return start + QStringLiteral("it is a directory");
  const QFileInfo dir(fi.absolutePath());
  if (!dir.exists()) return start + QStringLiteral("no such directory '%1'").arg(QDir::toNativeSeparators(fi.path()));
  if (!dir.isDir()) return start + QStringLiteral("'%1' is not a directory").arg(fi.path());

  const QString ext = c.FileExtension(path);
  const int chosen = fif >= 0 ? fif : c.GetFIFFormatFromExtension(ext);
  const int row = chosen >= 0 ? formatTableIndex(c, chosen) : c.FreeImageGetFormatIndex(ext);
  if (row >= 0 && !c.FreeImageFormatCanSave(row))
    return start + QStringLiteral("%1 pictures cannot be saved (these can: %2)")
                       .arg(c.FreeImageFormat(row), savableFormats(c));
  if (chosen < 0) {
    if (ext.isEmpty()) return start + QStringLiteral("no extension to choose a format by (give one with --type)");
    return start + QStringLiteral("unknown format '%1' (these can be saved: %2)").arg(ext, savableFormats(c));
  }
  if ((fi.exists() && !fi.isWritable()) || !dir.isWritable()) return start + QStringLiteral("permission denied");
  return start + QStringLiteral("the picture could not be written as %1").arg(formatName(chosen));
}

bool load(QorvPicture& c, const QString& path) {
  StderrCapture capture;
  c.setAutoRotate(gAutoRotate);
  const bool ok = c.LoadFreeImage(path, -1, QString(), true);
  relayLibraryText(path, QString::fromLocal8Bit(capture.finish()));
  if (!ok) reportFailure(c, whyNotLoaded(c, path));
  return ok;
}

bool save(QorvPicture& c, const QString& path, int quality, int fif) {
  StderrCapture capture;
  c.setSyncOnSave(gSyncOnSave);
  const bool ok = c.SaveFreeImage(path, quality, fif, false) && c.LastErrorCode() == 0;
  relayLibraryText(path, QString::fromLocal8Bit(capture.finish()));
  if (!ok) reportFailure(c, whyNotSaved(c, path, fif));
  return ok;
}

int guarded(const std::function<int()>& body) {
  try {
    return body();
  } catch (const qorv::AutomationError& e) {
    err(QStringLiteral("qorv: error %1: %2").arg(e.number()).arg(QString::fromStdString(e.description())));
  } catch (const std::bad_alloc&) {
    err(QStringLiteral("qorv: out of memory"));
  } catch (const std::exception& e) {
    err(QStringLiteral("qorv: %1").arg(QString::fromLocal8Bit(e.what())));
  }
  return kFailed;
}

// ----- progress ---------------------------------------------------------------------

ProgressLine::Mode ProgressLine::modeFor(const CommonOptions& o) {
  if (o.quiet) return Mode::Off;
  if (::isatty(STDERR_FILENO)) return Mode::Terminal;
  return o.progress ? Mode::Lines : Mode::Off;
}

ProgressLine::ProgressLine(Mode mode) : mode_(mode) {}

ProgressLine::~ProgressLine() { clear(); }

void ProgressLine::update(const QString& text, int percent, bool force) {
  if (mode_ == Mode::Off) return;
  percent = qBound(0, percent, 100);
  if (text == lastText_ && percent == lastPercent_) return;
  // At most about ten a second: what a person can follow.
  if (!force && lastShown_.isValid() && lastShown_.elapsed() < 100) return;
  lastShown_.start();
  lastText_ = text;
  lastPercent_ = percent;
  const QString line = QStringLiteral("%1 %2%").arg(text).arg(percent, 3);
  if (mode_ == Mode::Lines) {
    err(line);
    return;
  }
  // Spaces over what is left of a longer previous line, then back to its end.
  const qsizetype pad = qMax<qsizetype>(0, shownWidth_ - line.size());
  write(stderr, u'\r' + line + QString(pad, u' ') + QString(pad, u'\b'));
  shownWidth_ = line.size();
}

void ProgressLine::clear() {
  if (mode_ != Mode::Terminal || shownWidth_ == 0) return;
  write(stderr, u'\r' + QString(shownWidth_, u' ') + u'\r');
  shownWidth_ = 0;
  // The next update redraws the line even if nothing changed.
  lastText_.clear();
  lastPercent_ = -1;
}

void ProgressLine::message(const QString& line) {
  clear();
  err(line);
}

void followProgress(QorvPicture& c, ProgressLine& line, const QString& prefix) {
  if (!line.enabled()) return;
  auto max = std::make_shared<int>(0);
  QObject::connect(&c, &QorvPicture::ProcessInit, [&line, prefix, max](int m, const QString& d) {
    *max = m;
    line.update(prefix + d, 0, true);
  });
  QObject::connect(&c, &QorvPicture::Process, [&line, prefix, max](int value, const QString& d) {
    line.update(prefix + d, *max > 0 ? static_cast<int>(100LL * value / *max) : 0);
  });
  QObject::connect(&c, &QorvPicture::ProcessComplete,
                   [&line, prefix](const QString& d) { line.update(prefix + d, 100, true); });
}

}  // namespace cli
