// `qorv formats`, `info`, `convert` and `render`.
#include <cstdio>
#include <map>
#include <optional>

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/QorvPicture.h>

#include "Batch.h"
#include "Cli.h"
#include "Commands.h"

using cli::err;
using cli::guarded;
using cli::Options;
using cli::out;
using cli::usageError;
using qorv::QorvPicture;

// ----- formats ------------------------------------------------------------------

QString formatsCommandUsage() {
  return QStringLiteral(
      "usage: qorv formats\n"
      "Lists the control's format table: index, name, extensions, whether it can be\n"
      "loaded, saved and saved with a quality, and its description.\n");
}

int runFormatsCommand(const QStringList& args) {
  if (!args.isEmpty()) return usageError(QStringLiteral("formats takes no arguments"), formatsCommandUsage());
  return guarded([] {
    QorvPicture c;
    out(QStringLiteral("index\tname\textensions\tload\tsave\tquality\tdescription"));
    for (int i = 0; i < c.FreeImageFormatCount(); ++i) {
      QStringList exts;
      for (int e = 0; e <= c.FreeImageFormatExtensionsCount(i); ++e) exts << c.FreeImageFormatExtension(i, e);
      auto yn = [](bool b) { return b ? QStringLiteral("yes") : QStringLiteral("no"); };
      out(QStringLiteral("%1\t%2\t%3\t%4\t%5\t%6\t%7")
              .arg(i)
              .arg(c.FreeImageFormat(i), exts.join(u','), yn(c.FreeImageFormatCanLoad(i)),
                   yn(c.FreeImageFormatCanSave(i)), yn(c.FreeImageCanSetQualitySave(i)),
                   c.FreeImageFormatDescription(i)));
    }
    return 0;
  });
}

// ----- info ---------------------------------------------------------------------

QString infoCommandUsage() {
  return QStringLiteral(
             "usage: qorv info [--json] [OPTIONS] FILE...\n"
             "Loads each FILE into a control and prints one line per file: its name, format,\n"
             "width x height and the bits per pixel stored in the file. With --json, a JSON\n"
             "array with one object per file (file, format, fif, width, height,\n"
             "bitsPerPixel; or error with code, description and message).\n"
             "options:\n") +
         cli::commonOptionsHelp();
}

namespace {

// One file's description: a text line, or a JSON array holding its object (the
// array, so that a worker's output for one file is a whole JSON document).
int describeFile(const QString& path, bool json, QString& output) {
  QorvPicture c;
  int fif = -1;
  QObject::connect(&c, &QorvPicture::LoadImage, [&](const QString&, int f) { fif = f; });
  QJsonObject o{{QStringLiteral("file"), path}};
  const bool ok = cli::load(c, path);
  if (!ok) {
    o[QStringLiteral("error")] = QJsonObject{{QStringLiteral("code"), c.LastErrorCode()},
                                             {QStringLiteral("description"), c.LastErrorDescription()},
                                             {QStringLiteral("message"), cli::whyNotLoaded(c, path)}};
  } else {
    // Formats the platform loader reads have no library number; their
    // extension names them.
    const QString name = fif >= 0 ? cli::formatName(fif) : c.FileExtension(path).toUpper();
    // The control holds every picture at 32 bits; this is the file's own depth.
    o[QStringLiteral("format")] = name;
    o[QStringLiteral("fif")] = fif;
    o[QStringLiteral("width")] = c.OrgPictureWidth();
    o[QStringLiteral("height")] = c.OrgPictureHeight();
    o[QStringLiteral("bitsPerPixel")] = c.SourceBitsPerPixel();
    if (!json)
      output = QStringLiteral("%1: %2 (%3) %4x%5 %6 bpp\n")
                   .arg(path, name)
                   .arg(fif)
                   .arg(c.OrgPictureWidth())
                   .arg(c.OrgPictureHeight())
                   .arg(c.SourceBitsPerPixel());
  }
  if (json) output = QString::fromUtf8(QJsonDocument(QJsonArray{o}).toJson(QJsonDocument::Compact)) + u'\n';
  return ok ? cli::kDone : cli::kFailed;
}

}  // namespace

int runInfoCommand(const QStringList& args) {
  QStringList words = args;
  QString error;
  const auto common = cli::takeCommonOptions(words, error);
  if (!common) return usageError(error, infoCommandUsage());
  Options o(words, {}, {QStringLiteral("--json")});
  if (!o.error().isEmpty()) return usageError(o.error(), infoCommandUsage());
  if (o.positional().isEmpty()) return usageError(QStringLiteral("info needs at least one file"), infoCommandUsage());
  const bool json = o.has(QStringLiteral("--json"));

  if (o.positional().size() == 1) {
    return guarded([&] {
      QString output;
      const int code = describeFile(o.positional()[0], json, output);
      cli::write(stdout, json ? QString::fromUtf8(QJsonDocument::fromJson(output.toUtf8()).toJson()) : output);
      return code;
    });
  }

  std::vector<cli::BatchItem> items;
  for (const QString& path : o.positional())
    items.push_back({path, [path, json](QString& output) { return describeFile(path, json, output); }});
  QJsonArray all;
  const int code = cli::runBatch(items, *common, QStringList{QStringLiteral("info")} + args, [&](const QString& output) {
    if (!json) {
      cli::write(stdout, output);
      return;
    }
    for (const QJsonValue& v : QJsonDocument::fromJson(output.toUtf8()).array()) all.append(v);
  });
  if (common->batchWorker) return code;
  if (json) cli::write(stdout, QString::fromUtf8(QJsonDocument(all).toJson()));
  return code;
}

// ----- convert ------------------------------------------------------------------

QString convertCommandUsage() {
  return QStringLiteral(
             "usage: qorv convert [OPTIONS] IN OUT [--quality N] [--type FORMAT]\n"
             "       qorv convert [OPTIONS] IN... --out-dir DIR [--to FORMAT] [--quality N]\n"
             "Loads IN and saves it as OUT. The format follows OUT's extension unless\n"
             "--type names one (a number or a name such as PNG, JPEG, TIFF, BMP).\n"
             "With --out-dir, every IN is saved in DIR (created if missing) under its own\n"
             "name with the extension of the format --to names (default: its own), the\n"
             "files processed in parallel.\n"
             "--quality: 0..100 for formats saved with a quality (JPEG); for the others it\n"
             "is passed to the image library as its save flags.\n"
             "options:\n") +
         cli::commonOptionsHelp();
}

namespace {

int convertFile(const QString& in, const QString& outPath, int quality, int type) {
  QorvPicture c;
  if (!cli::load(c, in) || !cli::save(c, outPath, quality, type)) return cli::kFailed;
  return cli::kDone;
}

// The saved name of `in` in `dir`: its own base name with `extension`
// (its own when empty).
QString outputName(const QString& dir, const QString& in, const QString& extension) {
  const QFileInfo fi(in);
  const QString ext = extension.isEmpty() ? fi.suffix() : extension;
  return QDir(dir).filePath(ext.isEmpty() ? fi.completeBaseName() : fi.completeBaseName() + u'.' + ext);
}

}  // namespace

int runConvertCommand(const QStringList& args) {
  QStringList words = args;
  QString error;
  const auto common = cli::takeCommonOptions(words, error);
  if (!common) return usageError(error, convertCommandUsage());
  Options o(words,
            {QStringLiteral("--quality"), QStringLiteral("--type"), QStringLiteral("--to"),
             QStringLiteral("--out-dir")},
            {});
  if (!o.error().isEmpty()) return usageError(o.error(), convertCommandUsage());
  const bool batch = o.has(QStringLiteral("--out-dir"));
  if (batch && o.positional().isEmpty())
    return usageError(QStringLiteral("convert --out-dir needs at least one input"), convertCommandUsage());
  if (!batch && o.positional().size() != 2)
    return usageError(QStringLiteral("convert needs IN and OUT (or several inputs and --out-dir DIR)"),
                      convertCommandUsage());
  if (!batch && o.has(QStringLiteral("--to")))
    return usageError(QStringLiteral("--to goes with --out-dir; name OUT's extension instead"), convertCommandUsage());

  std::optional<int> quality;
  if (o.has(QStringLiteral("--quality")) && !(quality = o.integer(QStringLiteral("--quality"), -0x7fffffff, 0x7fffffff)))
    return usageError(o.error(), convertCommandUsage());
  // --type names the data format; --to also names the saved files' extension.
  std::map<QString, int> named;
  for (const QString& option : {QStringLiteral("--to"), QStringLiteral("--type")}) {
    if (!o.has(option)) continue;
    const auto t = cli::parseFormat(o.value(option));
    if (!t) return usageError(QStringLiteral("unknown format '%1'").arg(o.value(option)), convertCommandUsage());
    named[option] = *t;
  }
  const int type = named.count(QStringLiteral("--type"))  ? named[QStringLiteral("--type")]
                   : named.count(QStringLiteral("--to")) ? named[QStringLiteral("--to")]
                                                          : -1;

  QorvPicture formats;
  QString extension;  // of the saved files in a batch
  if (named.count(QStringLiteral("--to"))) {
    const int row = cli::formatTableIndex(formats, named[QStringLiteral("--to")]);
    extension = row >= 0 ? formats.FreeImageFormatExtension(row, 0).toLower() : o.value(QStringLiteral("--to"));
  }
  // Every pair of names is known before any work starts, so a bad value is
  // refused while nothing has been written yet.
  std::vector<std::pair<QString, QString>> jobs;
  if (!batch) jobs.emplace_back(o.positional()[0], o.positional()[1]);
  const QString dir = o.value(QStringLiteral("--out-dir"));
  std::map<QString, QString> claimedBy;
  for (const QString& in : batch ? o.positional() : QStringList()) {
    const QString outPath = outputName(dir, in, extension);
    const QString key = QFileInfo(outPath).absoluteFilePath();
    if (claimedBy.count(key))
      return usageError(QStringLiteral("'%1' and '%2' would both be saved as '%3'").arg(claimedBy[key], in, outPath),
                        convertCommandUsage());
    if (key == QFileInfo(in).absoluteFilePath())
      return usageError(QStringLiteral("'%1' would be saved over itself; choose another --out-dir or --to").arg(in),
                        convertCommandUsage());
    claimedBy[key] = in;
    jobs.emplace_back(in, outPath);
  }
  if (quality) {
    for (const auto& [in, outPath] : jobs) {
      const QString bad = cli::checkQuality(formats, type >= 0 ? type : formats.GetFIFFormatFromExtension(
                                                                            formats.FileExtension(outPath)),
                                            *quality);
      if (!bad.isEmpty()) return usageError(bad, convertCommandUsage());
    }
  }

  if (!batch) return guarded([&] { return convertFile(jobs[0].first, jobs[0].second, quality.value_or(0), type); });

  if (!QDir().mkpath(dir)) {
    err(QStringLiteral("qorv: cannot create the output directory '%1'").arg(dir));
    return cli::kFailed;
  }
  std::vector<cli::BatchItem> items;
  for (const auto& [in, outPath] : jobs) {
    items.push_back({in, [in, outPath, q = quality.value_or(0), type](QString&) {
                       return convertFile(in, outPath, q, type);
                     }});
  }
  return cli::runBatch(items, *common, QStringList{QStringLiteral("convert")} + args,
                       [](const QString& text) { cli::write(stdout, text); });
}

// ----- render -------------------------------------------------------------------

QString renderCommandUsage() {
  return QStringLiteral(
      "usage: qorv render IN OUT.png --size WxH [--zoom Z] [--stretch 0|1]\n"
      "       [--keep-aspect 0|1] [--zoom-from-original 0|1] [--centered 0|1]\n"
      "       [--tiled 0|1] [--offset X,Y] [--zoom-type 1..4] [--initial]\n"
      "       [--no-auto-rotate]\n"
      "Loads IN into a control whose pane is W x H pixels, applies the view settings,\n"
      "renders one frame (with the fast stretch mode when --initial is given) and\n"
      "writes the frame the pane shows to OUT.png.\n");
}

int runRenderCommand(const QStringList& args) {
  const QStringList switches = {QStringLiteral("--stretch"), QStringLiteral("--keep-aspect"),
                                QStringLiteral("--zoom-from-original"), QStringLiteral("--centered"),
                                QStringLiteral("--tiled")};
  Options o(args,
            QStringList{QStringLiteral("--size"), QStringLiteral("--zoom"), QStringLiteral("--offset"),
                        QStringLiteral("--zoom-type")} +
                switches,
            {QStringLiteral("--initial"), QStringLiteral("--no-auto-rotate")});
  if (!o.error().isEmpty()) return usageError(o.error(), renderCommandUsage());
  if (o.has(QStringLiteral("--no-auto-rotate"))) cli::setAutoRotate(false);
  if (o.positional().size() != 2) return usageError(QStringLiteral("render needs IN and OUT"), renderCommandUsage());

  const QRegularExpressionMatch size =
      QRegularExpression(QStringLiteral("^(\\d{1,5})x(\\d{1,5})$")).match(o.value(QStringLiteral("--size")));
  if (!size.hasMatch() || size.captured(1).toInt() < 1 || size.captured(2).toInt() < 1 ||
      size.captured(1).toInt() > 16384 || size.captured(2).toInt() > 16384)
    return usageError(QStringLiteral("--size WxH is required (1..16384 each)"), renderCommandUsage());
  const int width = size.captured(1).toInt();
  const int height = size.captured(2).toInt();

  std::optional<int> zoom;
  if (o.has(QStringLiteral("--zoom")) && !(zoom = o.integer(QStringLiteral("--zoom"), 1, 32767)))
    return usageError(o.error(), renderCommandUsage());
  std::optional<int> zoomType;
  if (o.has(QStringLiteral("--zoom-type")) && !(zoomType = o.integer(QStringLiteral("--zoom-type"), 1, 4)))
    return usageError(o.error(), renderCommandUsage());
  std::map<QString, bool> flags;
  for (const QString& s : switches) {
    if (!o.has(s)) continue;
    const auto v = o.integer(s, 0, 1);
    if (!v) return usageError(o.error(), renderCommandUsage());
    flags[s] = *v == 1;
  }
  std::optional<std::pair<int, int>> offset;
  if (o.has(QStringLiteral("--offset"))) {
    const QRegularExpressionMatch m =
        QRegularExpression(QStringLiteral("^(-?\\d{1,9}),(-?\\d{1,9})$")).match(o.value(QStringLiteral("--offset")));
    if (!m.hasMatch()) return usageError(QStringLiteral("--offset expects X,Y"), renderCommandUsage());
    offset = std::make_pair(m.captured(1).toInt(), m.captured(2).toInt());
  }
  const bool initial = o.has(QStringLiteral("--initial"));

  return guarded([&] {
    QorvPicture c;
    // Shown without a window, so the control lays itself out at this size as
    // it would on screen.
    c.setAttribute(Qt::WA_DontShowOnScreen);
    c.resize(width, height);
    c.show();
    // Settings first: loading resets the offsets, so they come last.
    if (zoomType) c.setZoomType(*zoomType);
    if (flags.count(QStringLiteral("--stretch"))) c.setStretch(flags[QStringLiteral("--stretch")]);
    if (flags.count(QStringLiteral("--keep-aspect"))) c.setKeepAspect(flags[QStringLiteral("--keep-aspect")]);
    if (flags.count(QStringLiteral("--zoom-from-original")))
      c.setZoomFromOriginal(flags[QStringLiteral("--zoom-from-original")]);
    if (flags.count(QStringLiteral("--centered"))) c.setCentered(flags[QStringLiteral("--centered")]);
    if (flags.count(QStringLiteral("--tiled"))) c.setTiled(flags[QStringLiteral("--tiled")]);
    if (zoom) c.setZoom(static_cast<qint16>(*zoom));
    if (!cli::load(c, o.positional()[0])) return cli::kFailed;
    if (offset) c.Offset(offset->first, offset->second);
    c.Refresh(initial);
    const qorv::PicturePtr shown = c.Image();
    const QImage frame = shown ? shown->toImage() : QImage();
    if (frame.isNull() || !frame.save(o.positional()[1], "PNG")) {
      err(QStringLiteral("qorv: could not write %1").arg(o.positional()[1]));
      return 1;
    }
    return 0;
  });
}
