// The format table, its queries, the dialog filter strings and the
// extension-to-library-format map.
#include <gtest/gtest.h>

#include <QStringList>

#include <tuple>

#include "imageio/FormatTable.h"
#include <QorvPictureBox/AutomationError.h>

using namespace qorv::imageio;

namespace {

struct Row {
  int index;
  const char* name;
  QStringList exts;
  bool canSave;
  bool canQuality;
};

// Written out independently of the implementation's table.
const std::vector<Row>& expectedRows() {
  static const std::vector<Row> rows = {
      {0, "BMP", {"BMP"}, true, false},           {1, "WBMP", {"WBMP"}, true, false},
      {2, "PBM", {"PBM"}, true, false},           {3, "PGM", {"PGM"}, true, false},
      {4, "PPM", {"PPM"}, true, false},           {5, "PBMRAW", {"PBMRAW"}, true, false},
      {6, "PGMRAW", {"PGMRAW"}, true, false},     {7, "PPMRAW", {"PPMRAW"}, true, false},
      {8, "ICO", {"ICO"}, false, false},          {9, "PSD", {"PSD"}, false, false},
      {10, "JPG", {"JPG", "JPEG", "JPE"}, true, true},
      {11, "JBIG", {"JBIG"}, false, false},       {12, "JNG", {"JNG"}, false, false},
      {13, "PNG", {"PNG"}, true, false},          {14, "MNG", {"MNG"}, false, false},
      {15, "PCX", {"PCX"}, false, false},         {16, "TIFF", {"TIF", "TIFF"}, true, false},
      {17, "TARGA", {"TGA", "TARGA"}, false, false},
      {18, "KOALA", {"KOALA"}, false, false},     {19, "PCD", {"PCD"}, false, false},
      {20, "RAS", {"RAS"}, false, false},         {21, "IFF", {"IFF"}, false, false},
      {22, "LBM", {"LBM"}, false, false},         {23, "CUT", {"CUT"}, false, false},
      {24, "GIF", {"GIF"}, false, false},         {25, "CUR", {"CUR"}, false, false},
  };
  return rows;
}

TEST(FormatTableQueries, EveryEntryMatchesItsNameExtensionsAndFlags) {
  ASSERT_EQ(FreeImageFormatCount(), 26);
  for (const Row& r : expectedRows()) {
    SCOPED_TRACE(r.name);
    QStringList exts;
    for (int e = 0; e <= FreeImageFormatExtensionsCount(r.index); ++e) exts << FreeImageFormatExtension(r.index, e);
    EXPECT_EQ(std::tuple(FreeImageFormat(r.index), exts, FreeImageFormatCanSave(r.index), FreeImageFormatCanLoad(r.index),
                         FreeImageCanSetQualitySave(r.index)),
              std::tuple(QString::fromLatin1(r.name), r.exts, r.canSave, true, r.canQuality));
  }
}

// Hosts show these texts; the ones with slips (a description that belongs to
// another format, a cut-off sentence, doubled spaces) are kept as they read.
TEST(FormatTableQueries, DescriptionsAreKeptWordForWord) {
  const std::pair<int, const char*> cases[] = {
      {1, "Wireless Bitmap A bitmap type used by cell phones, etc.  Black & white."},
      {5, "Portable Pixmap Raw (Binary version of .PBM)."},
      {6, "Portable Greymap Raw (Binary version of .PGM)"},
      {17, "Tagged Image File Format - Popular bitmap format on the Amiga and other computers."},
      {19, "Kodak PhotoCD. The PhotoCD format was developed by Kodak as an alternative to."},
      {22, "LBM was created for the Deluxe Paint package, and is essentially the same as IFF. (still part of "
           "FreeImage.dll for backwards compatibility)."},
      {25, "Cursor File"},
  };
  for (const auto& [index, text] : cases) EXPECT_EQ(FreeImageFormatDescription(index), QString::fromLatin1(text));
}

TEST(FormatTableQueries, NegativeIndexGuardsAndOutOfRangeErrors) {
  EXPECT_FALSE(FreeImageFormatCanSave(-1));
  EXPECT_FALSE(FreeImageFormatCanLoad(-1));
  EXPECT_FALSE(FreeImageFormatCanSave(-100000));

  const std::vector<std::pair<const char*, std::function<void()>>> outOfRange = {
      {"Format(26)", [] { FreeImageFormat(26); }},
      {"Format(-1)", [] { FreeImageFormat(-1); }},
      {"Description(26)", [] { FreeImageFormatDescription(26); }},
      {"ExtensionsCount(99)", [] { FreeImageFormatExtensionsCount(99); }},
      {"Extension(0,1)", [] { FreeImageFormatExtension(0, 1); }},
      {"Extension(10,3)", [] { FreeImageFormatExtension(10, 3); }},
      {"Extension(10,-1)", [] { FreeImageFormatExtension(10, -1); }},
      {"CanSave(26)", [] { FreeImageFormatCanSave(26); }},
      {"CanLoad(26)", [] { FreeImageFormatCanLoad(26); }},
      {"CanSetQuality(-1)", [] { FreeImageCanSetQualitySave(-1); }},
      {"CanSetQuality(26)", [] { FreeImageCanSetQualitySave(26); }},
  };
  for (const auto& [label, call] : outOfRange) {
    SCOPED_TRACE(label);
    try {
      call();
      ADD_FAILURE() << "no error raised";
    } catch (const qorv::AutomationError& e) {
      EXPECT_EQ(e.number(), 9);
      EXPECT_EQ(e.description(), "Subscript out of range");
    }
  }
}

TEST(FormatTableQueries, FormatIndexByExtension) {
  const std::pair<const char*, int> cases[] = {
      {"jpg", 10}, {"JPG", 10}, {".jpg", 10}, {"jpe", 10}, {".TIF", 16}, {"tiff", 16}, {"gif", 24},
      {"xyz", -1}, {"", -1},    {"..jpg", -1}, {"tga", 17}, {"targa", 17}, {"cur", 25}, {"jbig", 11},
  };
  for (const auto& [ext, expected] : cases) EXPECT_EQ(FreeImageGetFormatIndex(QString::fromLatin1(ext)), expected) << ext;
}

TEST(FormatTableQueries, FormatExtensionIndexIsAlwaysMinusOneAndDotsTheArgument) {
  const std::tuple<int, const char*, const char*> cases[] = {
      {10, "jpg", ".jpg"}, {0, ".bmp", ".bmp"}, {-5, "", "."}, {99, "TIF", ".TIF"},
  };
  for (const auto& [format, in, out] : cases) {
    QString ext = QString::fromLatin1(in);
    EXPECT_EQ(FreeImageGetFormatExtensionIndex(format, ext), -1) << in;
    EXPECT_EQ(ext, QString::fromLatin1(out));
  }
}

// The patterns follow the table: every extension as "*.EXT;", an all-formats
// filter first for loading, then one "NAME file" filter per entry.
TEST(FilterPatterns, LoadAndSavePatternsListTheTableInOrder) {
  QString all, each, save, saveAll;
  for (const Row& r : expectedRows()) {
    const QString globs = QStringLiteral("*.") + r.exts.join(QStringLiteral(";*.")) + u';';
    const QString filter = QString::fromLatin1(r.name) + QStringLiteral(" file|") + globs;
    all += globs;
    each += u'|' + filter;
    if (r.canSave) save += filter + u'|', saveAll += globs;
  }
  EXPECT_EQ(FreeImageLoadPattern(), QStringLiteral("All Supported formats|") + all.chopped(1) + each);
  EXPECT_EQ(FreeImageLoadPatternExt(), all);
  std::int32_t index = 1234;
  EXPECT_EQ(FreeImageSavePattern(&index), save.chopped(1));
  EXPECT_EQ(index, -1);
  EXPECT_EQ(FreeImageSavePatternExt(), saveAll);
}

TEST(FilterPatterns, FilterIndexesAndSaveExtensions) {
  const std::tuple<const char*, int, int> cases[] = {
      // extension, load filter index, save filter index
      {"bmp", 2, 1},   {"jpeg", 12, 9}, {"JPE", 12, 9},  {"png", 15, 10}, {"tiff", 18, 11}, {"TIF", 18, 11},
      {"ico", 10, -1}, {"cur", 27, -1}, {"xyz", -1, -1}, {".bmp", -1, -1}, {"wbmp", 3, 2},   {"", -1, -1},
  };
  // The save pattern finds the same filter for an extension as the index query.
  for (const auto& [ext, load, save] : cases) {
    std::int32_t fromPattern = 777;
    FreeImageSavePattern(&fromPattern, QString::fromLatin1(ext));
    EXPECT_EQ(std::tuple(GetLoadFilterIndex(QString::fromLatin1(ext)), GetSaveFilterIndex(QString::fromLatin1(ext)),
                         fromPattern),
              std::tuple(load, save, save))
        << ext;
  }
  const std::pair<int, const char*> saveExt[] = {{0, ""},     {1, "BMP"}, {2, "WBMP"}, {8, "PPMRAW"},
                                                 {9, "JPG"},  {10, "PNG"}, {11, "TIF"}, {12, ""}, {-3, ""}};
  for (const auto& [index, ext] : saveExt) EXPECT_EQ(FreeImageGetSaveExt(index), QString::fromLatin1(ext)) << index;
}

TEST(ExtensionMap, LibraryFormatNumbers) {
  const std::pair<const char*, int> cases[] = {
      {"C:\\pics\\a.JPEG", 2}, {"tga", 17},        {"photo.gif", -1},   {"C:\\dir.x\\file", -1},
      {"a.bmp", 0},            {".cut", 21},       {"x.ICO", 1},        {"iff", 5},
      {"a.jng", 3},            {"a.jpg", 2},       {"a.koala", 4},      {"a.lbm", 5},
      {"a.mng", 6},            {"a.pbm", 7},       {"a.pbmraw", 8},     {"a.pcd", 9},
      {"a.pcx", 10},           {"a.pgm", 11},      {"a.pgmraw", 12},    {"a.png", 13},
      {"a.ppm", 14},           {"a.ppmraw", 15},   {"a.psd", 20},       {"a.ras", 16},
      {"a.targa", 17},         {"a.tiff", 18},     {"a.TIF", 18},       {"a.wbmp", 19},
      {"a.jpe", -1},           {"a.cur", -1},      {"a.jbig", -1},      {"a.koa", -1},
      {"/home/u/x.y/pic.png", 13}, {"/home/u/x.png/pic", -1}, {"", -1}, {"png", 13},
  };
  for (const auto& [arg, fif] : cases) EXPECT_EQ(GetFIFFormatFromExtension(QString::fromLatin1(arg)), fif) << arg;
}

}  // namespace
