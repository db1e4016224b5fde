// `qorv formats`, `info`, `convert` and `render`.
#include <cstdio>
#include <functional>
#include <map>
#include <optional>

#include <QFile>
#include <QImage>
#include <QRegularExpression>

#include <QMetaEnum>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/QorvPicture.h>

#include "Commands.h"

namespace {

using qorv::QorvPicture;

void out(const QString& text) { std::fputs((text + u'\n').toLocal8Bit().constData(), stdout); }
void err(const QString& text) { std::fputs((text + u'\n').toLocal8Bit().constData(), stderr); }

int usageError(const QString& message, const QString& usage) {
  err(QStringLiteral("qorv: ") + message);
  err(usage);
  return 2;
}

// Reports the control's error record; a record that stayed empty still fails.
int controlFailure(const QorvPicture& c, const QString& what) {
  if (c.LastErrorCode() != 0)
    err(QStringLiteral("qorv: %1 failed: error %2: %3").arg(what).arg(c.LastErrorCode()).arg(c.LastErrorDescription()));
  else
    err(QStringLiteral("qorv: %1 failed").arg(what));
  return 1;
}

// The tool shows pictures upright unless told otherwise, and never asks for a
// file: an empty path would open the control's file dialog in a headless tool.
const QString kNoAutoRotate = QStringLiteral("--no-auto-rotate");

bool loadPicture(QorvPicture& c, const QString& path, bool autoRotate) {
  c.setAutoRotate(autoRotate);
  return c.LoadFreeImage(path, -1, QString(), true);
}

// "--name value" options after the positional words.
class Options {
 public:
  Options(const QStringList& args, const QStringList& withValue, const QStringList& flags) {
    for (qsizetype i = 0; i < args.size(); ++i) {
      const QString& a = args[i];
      if (withValue.contains(a)) {
        if (i + 1 >= args.size()) {
          error_ = QStringLiteral("%1 needs a value").arg(a);
          return;
        }
        values_[a] = args[++i];
      } else if (flags.contains(a)) {
        values_[a] = QStringLiteral("1");
      } else if (a.startsWith(QStringLiteral("--"))) {
        error_ = QStringLiteral("unknown option %1").arg(a);
        return;
      } else {
        positional_ << a;
      }
    }
  }
  const QString& error() const { return error_; }
  const QStringList& positional() const { return positional_; }
  bool has(const QString& k) const { return values_.count(k) != 0; }
  QString value(const QString& k) const { return has(k) ? values_.at(k) : QString(); }

  // An integer option within [lo, hi]; records an error otherwise.
  std::optional<int> integer(const QString& k, int lo, int hi) {
    bool ok = false;
    const int v = value(k).toInt(&ok);
    if (!ok || v < lo || v > hi) {
      error_ = QStringLiteral("%1 expects a whole number from %2 to %3, not '%4'").arg(k).arg(lo).arg(hi).arg(value(k));
      return std::nullopt;
    }
    return v;
  }

 private:
  std::map<QString, QString> values_;
  QStringList positional_;
  QString error_;
};

const QMetaEnum& formats() {
  static const QMetaEnum e = QMetaEnum::fromType<qorv::FREE_IMAGE_FORMAT>();
  return e;
}

// A library format by number, by name (PNG, JPEG, TIFF, ...) or by extension
// (jpg, tif, tga, ...).
std::optional<int> parseFormat(const QString& text) {
  bool ok = false;
  const int n = text.toInt(&ok);
  if (ok) return n;
  const int byName = formats().keyToValue(("FIF_" + text.toUpper()).toLatin1().constData(), &ok);
  if (ok && byName >= 0) return byName;
  const int byExtension = QorvPicture().GetFIFFormatFromExtension(text);
  if (byExtension >= 0) return byExtension;
  return std::nullopt;
}

// The format's name as the image library calls it (PNG, BMP, JPEG, ...).
QString formatName(int fif) {
  const char* key = fif >= 0 ? formats().valueToKey(fif) : nullptr;
  return key ? QString::fromLatin1(key).mid(4) : QStringLiteral("unknown");
}

// Every command reports automation errors the same way instead of aborting.
int guarded(const std::function<int()>& body) {
  try {
    return body();
  } catch (const qorv::AutomationError& e) {
    err(QStringLiteral("qorv: error %1: %2").arg(e.number()).arg(QString::fromStdString(e.description())));
  } catch (const std::exception& e) {
    err(QStringLiteral("qorv: %1").arg(QString::fromLocal8Bit(e.what())));
  }
  return 1;
}

}  // namespace

// ----- formats ------------------------------------------------------------------

QString formatsCommandUsage() {
  return QStringLiteral(
      "usage: qorv formats\n"
      "Lists the control's format table: index, name, extensions, whether it can be\n"
      "loaded, saved and saved with a quality, and its description.");
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
      "usage: qorv info FILE [--no-auto-rotate]\n"
      "Loads FILE into a control and prints its format, width, height and the bits\n"
      "per pixel stored in the file. Pictures are turned upright by their\n"
      "orientation tag unless --no-auto-rotate is given.");
}

int runInfoCommand(const QStringList& args) {
  Options o(args, {}, {kNoAutoRotate});
  if (!o.error().isEmpty()) return usageError(o.error(), infoCommandUsage());
  if (o.positional().size() != 1) return usageError(QStringLiteral("info takes exactly one file"), infoCommandUsage());
  const QString file = o.positional()[0];
  if (file.isEmpty()) return usageError(QStringLiteral("FILE must not be empty"), infoCommandUsage());
  return guarded([&] {
    QorvPicture c;
    int fif = -1;
    QObject::connect(&c, &QorvPicture::LoadImage, [&](const QString&, int f) { fif = f; });
    if (!loadPicture(c, file, !o.has(kNoAutoRotate))) return controlFailure(c, QStringLiteral("loading"));
    // Formats the platform loader reads have no library number; their
    // extension names them.
    const QString name = fif >= 0 ? formatName(fif) : c.FileExtension(file).toUpper();
    out(QStringLiteral("file: %1").arg(file));
    out(QStringLiteral("format: %1 (%2)").arg(name).arg(fif));
    out(QStringLiteral("width: %1").arg(c.OrgPictureWidth()));
    out(QStringLiteral("height: %1").arg(c.OrgPictureHeight()));
    // The control holds every picture at 32 bits; this is the file's own depth.
    out(QStringLiteral("bits per pixel: %1").arg(c.SourceBitsPerPixel()));
    return 0;
  });
}

// ----- convert ------------------------------------------------------------------

QString convertCommandUsage() {
  return QStringLiteral(
      "usage: qorv convert IN OUT [--quality N] [--type FORMAT] [--no-auto-rotate] [--no-sync]\n"
      "Loads IN and saves it as OUT. The format follows OUT's extension unless\n"
      "--type names one (a number or a name such as PNG, JPEG, TIFF, BMP).\n"
      "--quality is passed to the library as its save flags (JPEG: 1..100).\n"
      "--no-sync leaves writing OUT to the disk to the system instead of waiting\n"
      "for it (for batch work that can be run again after a crash).");
}

int runConvertCommand(const QStringList& args) {
  Options o(args, {QStringLiteral("--quality"), QStringLiteral("--type")}, {kNoAutoRotate, QStringLiteral("--no-sync")});
  if (!o.error().isEmpty()) return usageError(o.error(), convertCommandUsage());
  if (o.positional().size() != 2) return usageError(QStringLiteral("convert needs IN and OUT"), convertCommandUsage());
  if (o.positional()[0].isEmpty() || o.positional()[1].isEmpty())
    return usageError(QStringLiteral("IN and OUT must not be empty"), convertCommandUsage());
  int quality = 0;
  if (o.has(QStringLiteral("--quality"))) {
    const auto q = o.integer(QStringLiteral("--quality"), 0, 0x7fffffff);
    if (!q) return usageError(o.error(), convertCommandUsage());
    quality = *q;
  }
  int type = -1;
  if (o.has(QStringLiteral("--type"))) {
    const auto t = parseFormat(o.value(QStringLiteral("--type")));
    if (!t) return usageError(QStringLiteral("unknown format '%1'").arg(o.value(QStringLiteral("--type"))),
                              convertCommandUsage());
    type = *t;
  }
  return guarded([&] {
    QorvPicture c;
    if (!loadPicture(c, o.positional()[0], !o.has(kNoAutoRotate)))
      return controlFailure(c, QStringLiteral("loading"));
    if (o.has(QStringLiteral("--no-sync"))) c.setSyncOnSave(false);
    if (!c.SaveFreeImage(o.positional()[1], quality, type, false) || c.LastErrorCode() != 0)
      return controlFailure(c, QStringLiteral("saving"));
    return 0;
  });
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
      "writes the frame the pane shows to OUT.png.");
}

int runRenderCommand(const QStringList& args) {
  const QStringList switches = {QStringLiteral("--stretch"), QStringLiteral("--keep-aspect"),
                                QStringLiteral("--zoom-from-original"), QStringLiteral("--centered"),
                                QStringLiteral("--tiled")};
  Options o(args,
            QStringList{QStringLiteral("--size"), QStringLiteral("--zoom"), QStringLiteral("--offset"),
                        QStringLiteral("--zoom-type")} +
                switches,
            {QStringLiteral("--initial"), kNoAutoRotate});
  if (!o.error().isEmpty()) return usageError(o.error(), renderCommandUsage());
  if (o.positional().size() != 2) return usageError(QStringLiteral("render needs IN and OUT"), renderCommandUsage());
  if (o.positional()[0].isEmpty() || o.positional()[1].isEmpty())
    return usageError(QStringLiteral("IN and OUT must not be empty"), renderCommandUsage());

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
    if (!loadPicture(c, o.positional()[0], !o.has(kNoAutoRotate)))
      return controlFailure(c, QStringLiteral("loading"));
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
