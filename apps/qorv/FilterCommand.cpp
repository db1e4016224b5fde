#include "FilterCommand.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTextStream>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include <QorvPictureBox/QorvPicture.h>
#include <QorvPictureBox/AutomationError.h>

#include "Batch.h"
#include "Cli.h"

namespace {

using qorv::QorvPicture;

void err(const QString& text) {
  std::fputs(text.toLocal8Bit().constData(), stderr);
  std::fputc('\n', stderr);
}

struct Step {
  QString name;
  std::function<void(QorvPicture&)> run;
};

// Reads the words of the command line one operation at a time.
class Parser {
 public:
  explicit Parser(const QStringList& words) : w_(words) {}
  bool done() const { return i_ >= w_.size(); }
  QString next() { return i_ < w_.size() ? w_[i_++] : QString(); }
  std::optional<QString> peek() const { return i_ < w_.size() ? std::optional<QString>(w_[i_]) : std::nullopt; }
  std::optional<qint32> integer(const QString& op) {
    const QString word = next();
    bool ok = false;
    const qint32 v = word.toInt(&ok);
    if (!ok) {
      err(QStringLiteral("qorv filter: %1 needs a whole number, got \"%2\"").arg(op, word));
      return std::nullopt;
    }
    return v;
  }

 private:
  QStringList w_;
  qsizetype i_ = 0;
};

// A kernel file: whitespace-separated integers, one row per line, an odd
// number of rows each as long as there are rows. Line k is vertical offset
// k - r; entry m of a line is horizontal offset m - r.
std::optional<qorv::IntArray2D> readKernel(const QString& path) {
  QFile f(path);
  if (!f.open(QIODevice::ReadOnly | QIODevice::Text)) {
    err(QStringLiteral("qorv filter: cannot read kernel file \"%1\"").arg(path));
    return std::nullopt;
  }
  std::vector<std::vector<qint16>> rows;
  QTextStream in(&f);
  while (!in.atEnd()) {
    const QString line = in.readLine().trimmed();
    if (line.isEmpty()) continue;
    std::vector<qint16> row;
    for (const QString& word : line.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts)) {
      bool ok = false;
      const int v = word.toInt(&ok);
      if (!ok || v < -32768 || v > 32767) {
        err(QStringLiteral("qorv filter: \"%1\" in %2 is not a 16-bit integer").arg(word, path));
        return std::nullopt;
      }
      row.push_back(static_cast<qint16>(v));
    }
    rows.push_back(std::move(row));
  }
  const int n = static_cast<int>(rows.size());
  bool square = n % 2 == 1;
  for (const auto& r : rows) square = square && static_cast<int>(r.size()) == n;
  if (!square) {
    err(QStringLiteral("qorv filter: the kernel in %1 must be an odd square of integers").arg(path));
    return std::nullopt;
  }
  qorv::IntArray2D a = qorv::IntArray2D::centred(n / 2);
  for (int line = 0; line < n; ++line) {
    for (int m = 0; m < n; ++m) {
      // Stored with the horizontal offset as the first index.
      a.values[static_cast<std::size_t>(m * a.count2() + line)] = rows[static_cast<std::size_t>(line)][static_cast<std::size_t>(m)];
    }
  }
  return a;
}

std::optional<std::vector<Step>> parseSteps(Parser& p) {
  using qorv::gEFilterTypes;
  static const std::pair<const char*, gEFilterTypes> filters[] = {
      {"blur", gEFilterTypes::eBlur},         {"blurmore", gEFilterTypes::eBlurMore},
      {"soften", gEFilterTypes::eSoften},     {"softenmore", gEFilterTypes::eSoftenMore},
      {"sharpen", gEFilterTypes::eSharpen},   {"sharpenmore", gEFilterTypes::eSharpenMore},
      {"unsharp", gEFilterTypes::eUnSharp},   {"emboss", gEFilterTypes::eEmboss},
      {"median", gEFilterTypes::eMedian},     {"minimum", gEFilterTypes::eMinimum},
      {"maximum", gEFilterTypes::eMaximum},
  };
  std::vector<Step> steps;
  while (!p.done()) {
    const QString op = p.next();
    bool known = false;
    for (const auto& [name, type] : filters) {
      if (op == QLatin1String(name)) {
        const auto t = static_cast<qint32>(type);
        steps.push_back({op, [t](QorvPicture& c) { c.ApplyFilter(t); }});
        known = true;
      }
    }
    if (known) continue;
    if (op == QLatin1String("custom")) {
      const QString file = p.next();
      const auto kernel = readKernel(file);
      if (!kernel) return std::nullopt;
      const auto weight = p.integer(op);
      if (!weight) return std::nullopt;
      steps.push_back({op, [k = *kernel, w = *weight](QorvPicture& c) {
                         c.AddCustomFilter(k);
                         c.ApplyFilter(static_cast<qint32>(qorv::gEFilterTypes::eCustom), w);
                       }});
    } else if (op == QLatin1String("grayscale")) {
      steps.push_back({op, [](QorvPicture& c) { c.Grayscale(); }});
    } else if (op == QLatin1String("bw")) {
      steps.push_back({op, [](QorvPicture& c) { c.BlackAndWhite(); }});
    } else if (op == QLatin1String("invert")) {
      steps.push_back({op, [](QorvPicture& c) { c.Invert(); }});
    } else if (op == QLatin1String("noise")) {
      const auto percent = p.integer(op);
      if (!percent) return std::nullopt;
      const bool random = p.peek() == QStringLiteral("random");
      if (random) p.next();
      steps.push_back({op, [v = *percent, random](QorvPicture& c) { c.AddNoise(v, random); }});
    } else if (op == QLatin1String("darken") || op == QLatin1String("lighten")) {
      const auto amount = p.integer(op);
      if (!amount) return std::nullopt;
      const bool darken = op == QLatin1String("darken");
      steps.push_back({op, [v = *amount, darken](QorvPicture& c) {
                         darken ? c.Darken(QVariant(v)) : c.Lighten(QVariant(v));
                       }});
    } else if (op == QLatin1String("flip")) {
      const auto o = p.integer(op);
      if (!o || *o < 0 || *o > 2) {
        err(QStringLiteral("qorv filter: flip takes 0 (horizontal), 1 (vertical) or 2 (both)"));
        return std::nullopt;
      }
      steps.push_back({op, [v = *o](QorvPicture& c) { c.Flip(v); }});
    } else if (op == QLatin1String("rotate")) {
      const QString dir = p.next();
      bool isAngle = false;
      const double degrees = dir.toDouble(&isAngle);
      if (isAngle && std::isfinite(degrees)) {
        steps.push_back({op, [degrees](QorvPicture& c) {
                           if (!c.RotateAngle(degrees)) {
                             throw qorv::AutomationError(qorv::errors::OutOfMemory, "qorv", "Out of memory");
                           }
                         }});
      } else if (dir == QLatin1String("cw") || dir == QLatin1String("ccw")) {
        const bool cw = dir == QLatin1String("cw");
        steps.push_back({op, [cw](QorvPicture& c) { c.Rotate(cw); }});
      } else {
        err(QStringLiteral("qorv filter: rotate takes cw, ccw or an angle in degrees"));
        return std::nullopt;
      }
    } else if (op == QLatin1String("colourise")) {
      const auto hue = p.integer(op);
      if (!hue) return std::nullopt;
      const auto saturation = p.integer(op);
      if (!saturation) return std::nullopt;
      qint32 lightness = 0;
      bool shifted = false;
      if (const auto next = p.peek()) next->toInt(&shifted);
      if (shifted) lightness = p.integer(op).value_or(0);
      steps.push_back({op, [h = *hue, s = *saturation, lightness](QorvPicture& c) { c.ColouriseWith(h, s, lightness); }});
    } else if (op == QLatin1String("palette")) {
      static const std::pair<const char*, qint32> builtIn[] = {{"websafe", 0}, {"ega", 1}, {"grey", 2}, {"bw", 3}};
      const QString which = p.next();
      if (which.isEmpty()) {
        err(QStringLiteral("qorv filter: palette takes FILE, websafe, ega, grey or bw"));
        return std::nullopt;
      }
      const bool dither = p.peek() == QStringLiteral("dither");
      if (dither) p.next();
      qint32 index = -1;
      for (const auto& [name, i] : builtIn)
        if (which == QLatin1String(name)) index = i;
      if (index >= 0) {
        steps.push_back({op, [index, dither](QorvPicture& c) { c.ApplyBuiltInPalette(index, dither); }});
      } else {
        steps.push_back({op, [which, dither](QorvPicture& c) {
                           if (!c.ApplyPaletteFile(which, dither)) {
                             throw qorv::AutomationError(c.LastErrorCode(), "qorv",
                                                         c.LastErrorDescription().toStdString());
                           }
                         }});
      }
    } else if (op == QLatin1String("resample")) {
      const QString size = p.next();
      const QRegularExpressionMatch m =
          QRegularExpression(QStringLiteral("^(\\d{1,9})[xX](\\d{1,9})$")).match(size);
      const int w = m.hasMatch() ? m.captured(1).toInt() : 0;
      const int h = m.hasMatch() ? m.captured(2).toInt() : 0;
      if (w < 1 || h < 1) {
        err(QStringLiteral("qorv filter: resample takes WIDTHxHEIGHT, got \"%1\"").arg(size));
        return std::nullopt;
      }
      steps.push_back({op, [w, h](QorvPicture& c) {
                         const int before = c.OrgPictureWidth();
                         c.Resample(w, h);
                         if (c.OrgPictureWidth() != w && before != w) {
                           throw qorv::AutomationError(qorv::errors::OutOfMemory, "qorv", "Out of memory");
                         }
                       }});
    } else {
      err(QStringLiteral("qorv filter: unknown operation \"%1\"").arg(op));
      return std::nullopt;
    }
  }
  return steps;
}

}  // namespace

QString filterCommandUsage() {
  return QStringLiteral(
             "usage: qorv filter [OPTIONS] IN OUT [--] OP [ARGS] [OP [ARGS]...]\n"
             "       qorv filter [OPTIONS] --out-dir DIR IN... -- OP [ARGS] [OP [ARGS]...]\n"
             "Loads IN, applies the operations in order and saves OUT. With --out-dir, every\n"
             "IN is saved in DIR (created if missing) under its own name, the files processed\n"
             "in parallel.\n"
             "operations:\n"
             "  blur blurmore soften softenmore sharpen sharpenmore unsharp emboss\n"
             "  median minimum maximum grayscale bw invert\n"
             "  custom KERNELFILE WEIGHT   (whitespace-separated integers, one row per line, odd square)\n"
             "  noise PERCENT [random]     darken AMOUNT     lighten AMOUNT\n"
             "  flip 0|1|2                 rotate cw|ccw|DEGREES       resample WxH\n"
             "  colourise HUE SATURATION [LIGHTNESS]\n"
             "  palette FILE|websafe|ega|grey|bw [dither]\n"
             "options:\n") +
         cli::commonOptionsHelp();
}

namespace {

int filterFile(const QString& in, const QString& out, const std::vector<Step>& steps, cli::ProgressLine& progress) {
  QorvPicture control;
  control.resize(64, 64);
  cli::followProgress(control, progress, QString());
  if (!cli::load(control, in)) return cli::kFailed;
  for (const Step& s : steps) {
    try {
      s.run(control);
    } catch (const qorv::AutomationError& e) {
      progress.clear();
      err(QStringLiteral("qorv filter: %1: %2 failed: error %3: %4")
              .arg(in, s.name)
              .arg(e.number())
              .arg(QString::fromStdString(e.description())));
      return cli::kFailed;
    } catch (const std::bad_alloc&) {
      progress.clear();
      err(QStringLiteral("qorv filter: %1: %2 failed: out of memory").arg(in, s.name));
      return cli::kFailed;
    }
  }
  progress.clear();
  return cli::save(control, out, 0, -1) ? cli::kDone : cli::kFailed;
}

}  // namespace

int runFilterCommand(const QStringList& args) {
  QStringList words = args;
  QString error;
  const auto common = cli::takeCommonOptions(words, error);
  if (!common) return cli::usageError(error, filterCommandUsage());
  // The operations follow "--" when there is one, else IN and OUT.
  const qsizetype dashes = words.indexOf(QStringLiteral("--"));
  const QStringList before = dashes < 0 ? words : words.mid(0, dashes);
  cli::Options o(before, {QStringLiteral("--out-dir")}, {});
  if (!o.error().isEmpty()) return cli::usageError(o.error(), filterCommandUsage());
  const bool batch = o.has(QStringLiteral("--out-dir"));
  QStringList inputs = o.positional();
  QStringList ops = dashes < 0 ? QStringList() : words.mid(dashes + 1);
  if (batch && dashes < 0)
    return cli::usageError(QStringLiteral("with --out-dir the operations follow \"--\""), filterCommandUsage());
  if (!batch && dashes < 0) {
    ops = inputs.mid(2);
    inputs = inputs.mid(0, 2);
  }
  if (!batch && inputs.size() != 2) return cli::usageError(QStringLiteral("filter needs IN and OUT"), filterCommandUsage());
  if (batch && inputs.isEmpty())
    return cli::usageError(QStringLiteral("filter --out-dir needs at least one input"), filterCommandUsage());
  if (ops.isEmpty()) return cli::usageError(QStringLiteral("filter needs at least one operation"), filterCommandUsage());

  std::unique_ptr<QApplication> ownApp;
  if (QCoreApplication::instance() == nullptr) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "qorv";
    static char* argv[] = {name, nullptr};
    ownApp = std::make_unique<QApplication>(argc, argv);
  }
  Parser parser(ops);
  const auto steps = parseSteps(parser);
  if (!steps) return cli::kUsageError;

  if (!batch) {
    cli::ProgressLine progress(cli::ProgressLine::modeFor(*common));
    return cli::guarded([&] { return filterFile(inputs[0], inputs[1], *steps, progress); });
  }

  const QString dir = o.value(QStringLiteral("--out-dir"));
  std::vector<cli::BatchItem> items;
  std::map<QString, QString> claimedBy;
  for (const QString& in : inputs) {
    const QString out = QDir(dir).filePath(QFileInfo(in).fileName());
    const QString key = QFileInfo(out).absoluteFilePath();
    if (claimedBy.count(key))
      return cli::usageError(QStringLiteral("'%1' and '%2' would both be saved as '%3'").arg(claimedBy[key], in, out),
                             filterCommandUsage());
    if (key == QFileInfo(in).absoluteFilePath())
      return cli::usageError(QStringLiteral("'%1' would be saved over itself; choose another --out-dir").arg(in),
                             filterCommandUsage());
    claimedBy[key] = in;
    items.push_back({in, [in, out, &steps](QString&) {
                       cli::ProgressLine silent(cli::ProgressLine::Mode::Off);
                       return filterFile(in, out, *steps, silent);
                     }});
  }
  if (!QDir().mkpath(dir)) {
    err(QStringLiteral("qorv: cannot create the output directory '%1'").arg(dir));
    return cli::kFailed;
  }
  return cli::runBatch(items, *common, QStringList{QStringLiteral("filter")} + args,
                       [](const QString& text) { cli::write(stdout, text); });
}
