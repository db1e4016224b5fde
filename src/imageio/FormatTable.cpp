#include "imageio/FormatTable.h"

#include "imageio/Paths.h"
#include <QorvPictureBox/AutomationError.h>

namespace qorv::imageio {

namespace {

constexpr FormatEntry entry(std::string_view name, std::array<std::string_view, 3> exts, int count,
                            bool canSave, bool canSetQuality, std::string_view description) {
  return FormatEntry{name, exts, count, description, canSave, true, canSetQuality};
}

// The descriptions are shown to users as they have always read; they are kept
// word for word, odd ones included.
constexpr std::array<FormatEntry, FormatTableUpper + 1> kTable = {{
    entry("BMP", {"BMP"}, 1, true, false, "Windows Bitmap, OS/2 Bitmap"),
    entry("WBMP", {"WBMP"}, 1, true, false,
          "Wireless Bitmap A bitmap type used by cell phones, etc.  Black & white."),
    entry("PBM", {"PBM"}, 1, true, false, "Portable Bitmap Black & white ASCII based bitmap format."),
    entry("PGM", {"PGM"}, 1, true, false, "Portable Greymap Grayscale ASCII based bitmap format."),
    entry("PPM", {"PPM"}, 1, true, false, "Portable Pixmap High color ASCII based bitmap format."),
    entry("PBMRAW", {"PBMRAW"}, 1, true, false, "Portable Pixmap Raw (Binary version of .PBM)."),
    entry("PGMRAW", {"PGMRAW"}, 1, true, false, "Portable Greymap Raw (Binary version of .PGM)"),
    entry("PPMRAW", {"PPMRAW"}, 1, true, false, "Portable Pixmap Raw (Binary version of .PPM)"),
    entry("ICO", {"ICO"}, 1, false, false, "Windows Icon"),
    entry("PSD", {"PSD"}, 1, false, false, "Adobe Photoshop"),
    entry("JPG", {"JPG", "JPEG", "JPE"}, 3, true, true,
          "Joint Photographic Experts Group (JPEG)(JFIF Compliant) - Popular high color bitmap format used on "
          "the WWW"),
    entry("JBIG", {"JBIG"}, 1, false, false,
          "Joint Bi-level Image experts Group.  Cousin of JPEG, but B&W (REQUIRES PLUG-IN)"),
    entry("JNG", {"JNG"}, 1, false, false, "JPEG Network Graphics.  Cousin of MNG, but uses JPEG compression"),
    entry("PNG", {"PNG"}, 1, true, false,
          "Portable Network Graphics - The answer to GIF when UNISYS became intrusive about their LZW "
          "compression algorithm."),
    entry("MNG", {"MNG"}, 1, false, false, "Multiple Network Graphics - PNG's answer to animated GIF."),
    entry("PCX", {"PCX"}, 1, false, false, "Zsoft Paintbrush."),
    entry("TIFF", {"TIF", "TIFF"}, 2, true, false,
          "Tag Image File Format - A widely used format for storing image data."),
    entry("TARGA", {"TGA", "TARGA"}, 2, false, false,
          "Tagged Image File Format - Popular bitmap format on the Amiga and other computers."),
    entry("KOALA", {"KOALA"}, 1, false, false,
          "KOALA files were popular on the commodore 64. Added for nostalgic reasons."),
    entry("PCD", {"PCD"}, 1, false, false,
          "Kodak PhotoCD. The PhotoCD format was developed by Kodak as an alternative to."),
    entry("RAS", {"RAS"}, 1, false, false, "Sun Raster File - Popular among Solaris computers."),
    entry("IFF", {"IFF"}, 1, false, false,
          "Interchanged File Format - Designed by Electronic Arts as an Amiga image storage format."),
    entry("LBM", {"LBM"}, 1, false, false,
          "LBM was created for the Deluxe Paint package, and is essentially the same as IFF. (still part of "
          "FreeImage.dll for backwards compatibility)."),
    entry("CUT", {"CUT"}, 1, false, false, "Dr.Halo bitmap - Pretty popular some years ago."),
    entry("GIF", {"GIF"}, 1, false, false, "GIF Picture"),
    entry("CUR", {"CUR"}, 1, false, false, "Cursor File"),
}};

QString str(std::string_view s) { return QString::fromLatin1(s.data(), static_cast<qsizetype>(s.size())); }

bool sameText(const QString& a, std::string_view b) {
  return a.compare(str(b), Qt::CaseInsensitive) == 0;
}

[[noreturn]] void subscriptOutOfRange() {
  throw AutomationError(errors::SubscriptOutOfRange, "QorvPictureBox", "Subscript out of range");
}

const FormatEntry& at(std::int32_t index) {
  if (index < 0 || index > FormatTableUpper) subscriptOutOfRange();
  return kTable[static_cast<std::size_t>(index)];
}

template <typename Fn>
void forEachExtension(const FormatEntry& e, Fn&& fn) {
  for (int i = 0; i < e.ExtensionCount; ++i) fn(i, e.ExtensionSlots[static_cast<std::size_t>(i)]);
}

bool hasExtension(const FormatEntry& e, const QString& ext) {
  bool found = false;
  forEachExtension(e, [&](int, std::string_view x) { found = found || sameText(ext, x); });
  return found;
}

// "*.A;*.B;" for every extension of the entries the predicate accepts.
template <typename Pred>
QString patternList(Pred&& accept) {
  QString out;
  for (const FormatEntry& e : kTable) {
    if (!accept(e)) continue;
    forEachExtension(e, [&](int, std::string_view x) { out += QStringLiteral("*.") + str(x) + u';'; });
  }
  return out;
}

// 1-based rank, among the entries the predicate accepts, of the first one
// listing `ext`; -1 when none does.
template <typename Pred>
std::int32_t filterRank(const QString& ext, Pred&& accept) {
  std::int32_t rank = 0;
  for (const FormatEntry& e : kTable) {
    if (!accept(e)) continue;
    ++rank;
    if (hasExtension(e, ext)) return rank;
  }
  return -1;
}

bool canLoad(const FormatEntry& e) { return e.CanLoad; }
bool canSave(const FormatEntry& e) { return e.CanSave; }

}  // namespace

const std::array<FormatEntry, FormatTableUpper + 1>& FormatTable() { return kTable; }

std::int32_t FreeImageFormatCount() { return FormatTableUpper + 1; }

QString FreeImageFormat(std::int32_t Index) { return str(at(Index).Name); }

QString FreeImageFormatDescription(std::int32_t Index) { return str(at(Index).Description); }

std::int32_t FreeImageFormatExtensionsCount(std::int32_t FormatIndex) {
  return at(FormatIndex).ExtensionCount - 1;
}

QString FreeImageFormatExtension(std::int32_t FormatIndex, std::int32_t ExtensionIndex) {
  const FormatEntry& e = at(FormatIndex);
  if (ExtensionIndex < 0 || ExtensionIndex >= e.ExtensionCount) subscriptOutOfRange();
  return str(e.ExtensionSlots[static_cast<std::size_t>(ExtensionIndex)]);
}

std::int32_t FreeImageGetFormatExtensionIndex(std::int32_t /*FormatIndex*/, QString& Extension) {
  if (!Extension.startsWith(u'.')) Extension.prepend(u'.');
  // The stored extensions carry no dot, so this comparison never matches; hosts
  // have always seen -1 here and the in-place change of their argument.
  for (const FormatEntry& e : kTable) {
    std::int32_t hit = -1;
    forEachExtension(e, [&](int i, std::string_view x) {
      if (hit < 0 && sameText(Extension, x)) hit = i;
    });
    if (hit >= 0) return hit;
  }
  return -1;
}

bool FreeImageFormatCanSave(std::int32_t Index) { return Index >= 0 && at(Index).CanSave; }

bool FreeImageCanSetQualitySave(std::int32_t Index) { return at(Index).CanSetQuality; }

bool FreeImageFormatCanLoad(std::int32_t Index) { return Index >= 0 && at(Index).CanLoad; }

std::int32_t FreeImageGetFormatIndex(const QString& StrExtension) {
  for (int i = 0; i <= FormatTableUpper; ++i) {
    bool match = false;
    forEachExtension(kTable[static_cast<std::size_t>(i)], [&](int, std::string_view x) {
      match = match || sameText(StrExtension, x) ||
              StrExtension.compare(u'.' + str(x), Qt::CaseInsensitive) == 0;
    });
    if (match) return i;
  }
  return -1;
}

QString FreeImageLoadPattern() {
  QString out = QStringLiteral("All Supported formats|") + patternList(canLoad);
  if (out.endsWith(u';')) out.chop(1);
  out += u'|';
  for (const FormatEntry& e : kTable) {
    if (!e.CanLoad) continue;
    out += str(e.Name) + QStringLiteral(" file|");
    forEachExtension(e, [&](int, std::string_view x) { out += QStringLiteral("*.") + str(x) + u';'; });
    out += u'|';
  }
  if (out.endsWith(u'|')) out.chop(1);
  return out;
}

QString FreeImageLoadPatternExt() { return patternList(canLoad); }

QString FreeImageSavePattern(std::int32_t* FindFilterIndex, const QString& FileExt) {
  std::int32_t found = -1;
  std::int32_t counter = 0;
  QString out;
  for (const FormatEntry& e : kTable) {
    if (!e.CanSave) continue;
    ++counter;
    if (hasExtension(e, FileExt)) found = counter;
    out += str(e.Name) + QStringLiteral(" file|");
    forEachExtension(e, [&](int, std::string_view x) { out += QStringLiteral("*.") + str(x) + u';'; });
    out += u'|';
  }
  if (out.endsWith(u'|')) out.chop(1);
  if (FindFilterIndex) *FindFilterIndex = found;
  return out;
}

QString FreeImageSavePatternExt() { return patternList(canSave); }

QString FreeImageGetSaveExt(std::int32_t FilterIndex) {
  std::int32_t rank = 0;
  for (const FormatEntry& e : kTable) {
    if (!e.CanSave) continue;
    if (++rank == FilterIndex) return str(e.ExtensionSlots[0]);
  }
  return QString();
}

std::int32_t GetLoadFilterIndex(const QString& StrExtension) {
  const std::int32_t rank = filterRank(StrExtension, canLoad);
  return rank < 0 ? -1 : rank + 1;  // filter 1 is "All Supported formats"
}

std::int32_t GetSaveFilterIndex(const QString& StrExtension) { return filterRank(StrExtension, canSave); }

std::int32_t GetFIFFormatFromExtension(const QString& StrExtension) {
  QString ext = FileExtension(StrExtension, true).toLower();
  if (ext.isEmpty()) ext = StrExtension.toLower();
  if (!ext.startsWith(u'.')) ext.prepend(u'.');

  // Deliberately not derived from the table: gif, cur, jbig and jpe are absent,
  // and only ".koala" names KOALA.
  struct Map {
    const char* ext;
    std::int32_t fif;
  };
  static constexpr Map kMap[] = {
      {".bmp", 0},     {".cut", 21},    {".ico", 1},     {".iff", 5},    {".jng", 3},    {".jpg", 2},
      {".jpeg", 2},    {".koala", 4},   {".lbm", 5},     {".mng", 6},    {".pbm", 7},    {".pbmraw", 8},
      {".pcd", 9},     {".pcx", 10},    {".pgm", 11},    {".pgmraw", 12}, {".png", 13},  {".ppm", 14},
      {".ppmraw", 15}, {".psd", 20},    {".ras", 16},    {".targa", 17}, {".tga", 17},   {".tiff", 18},
      {".tif", 18},    {".wbmp", 19},
  };
  for (const Map& m : kMap)
    if (ext == QLatin1String(m.ext)) return m.fif;
  return FifUnknown;
}

}  // namespace qorv::imageio
