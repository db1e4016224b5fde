// Loading files into a picture box and saving device bitmaps to files:
// round trips, format detection, load flags, limits and every failure path.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <tuple>

#include "ImageFixtures.h"
#include "imageio/ImageLoad.h"
#include "imageio/ImageSave.h"

using namespace qorv;
using namespace qorv::imageio;

namespace {

using iotest::readAll;
using iotest::writeAll;

// True when permission bits do not stop this process (running as root).
bool permissionsIgnored(const QString& dir) {
  const QString probe = dir + QStringLiteral("/probe");
  writeAll(probe, "x");
  QFile::setPermissions(probe, QFileDevice::Permissions());
  QFile f(probe);
  const bool opened = f.open(QIODevice::ReadOnly);
  f.close();
  QFile::setPermissions(probe, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
  QFile::remove(probe);
  return opened;
}

class LoadSave : public ::testing::Test {
 protected:
  void SetUp() override {
    iotest::ensureFreeImage();
    ASSERT_TRUE(dir.isValid());
  }
  void TearDown() override { setFreeImageLoader(nullptr); }

  QString path(const QString& name) const { return dir.filePath(name); }

  // Writes the pattern with FreeImage itself, bypassing the code under test.
  QString writePattern(const QString& name, FREE_IMAGE_FORMAT fif, int w = 23, int h = 17, int flags = 0) {
    const QString p = path(name);
    return iotest::savePattern(p, fif, w, h, flags) ? p : QString();
  }

  IoOutcome load(const QString& p, std::int32_t force = -1, std::int32_t quality = 0) {
    LoadRequest r;
    r.path = p;
    r.forceType = force;
    r.jpegLoadQuality = quality;
    return loadInto(r);
  }

  // Places a loaded picture in the buffer as the control does.
  IoOutcome loadInto(const LoadRequest& r) {
    LoadedPicture loaded = LoadPicture(r);
    EXPECT_EQ(loaded.outcome.ok(), loaded.picture != nullptr);
    buffer.placePicture(loaded.picture);
    return loaded.outcome;
  }

  QStringList entries() const { return QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries); }

  QTemporaryDir dir;
  PictureBox buffer{QStringLiteral("Buffer")};
};

// Every format the box saves, under names whose extensions say which.
const std::pair<const char*, FREE_IMAGE_FORMAT> kSavable[] = {
    {"a.bmp", FIF_BMP},       {"a.pbm", FIF_PBM},       {"a.pgm", FIF_PGM},       {"a.ppm", FIF_PPM},
    {"a.pbmraw", FIF_PBMRAW}, {"a.pgmraw", FIF_PGMRAW}, {"a.ppmraw", FIF_PPMRAW}, {"a.png", FIF_PNG},
    {"a.tif", FIF_TIFF},      {"a.TIFF", FIF_TIFF},     {"a.jpg", FIF_JPEG},      {"a.jpeg", FIF_JPEG},
};

TEST_F(LoadSave, EverySavableFormatRoundTrips) {
  const qorv::ScopedBitmap picture = iotest::makePatternBitmap(37, 21);
  for (const auto& [name, fif] : kSavable) {
    SCOPED_TRACE(name);
    const QString p = path(QString::fromLatin1(name));
    // Quality is the library's flags: best quality without chroma subsampling.
    const IoOutcome saved = SaveBitmap(picture.get(), p, fif != FIF_JPEG ? 0 : JPEG_QUALITYSUPERB | JPEG_SUBSAMPLING_444);
    ASSERT_TRUE(saved.ok()) << saved.description.toStdString();
    EXPECT_EQ(saved.fif, fif);
    const IoOutcome loaded = load(p);
    ASSERT_TRUE(loaded.ok()) << loaded.description.toStdString();
    EXPECT_EQ(buffer.ScaleWidth(), 37);
    EXPECT_EQ(buffer.ScaleHeight(), 21);
    const auto got = iotest::panePixels(buffer);
    const auto want = iotest::patternPixels(37, 21);
    if (fif != FIF_JPEG) {
      EXPECT_EQ(got, want);
    } else {
      // The pattern is deliberately busy, so JPEG blurs it locally; on
      // average the picture must still be close.
      EXPECT_LT(iotest::meanChannelDiff(got, want), 10.0);
    }
  }
}

TEST_F(LoadSave, JpegQualityReachesTheLibraryOnlyForJpeg) {
  std::vector<std::pair<int, int>> calls;
  setFreeImageLoader([&](std::int32_t fif, const char* p, std::int32_t flags) {
    calls.emplace_back(fif, flags & ~FIF_LOAD_NOPIXELS);
    return DefaultFreeImageLoad(fif, p, flags);
  });
  const QString jpg = writePattern(QStringLiteral("j.jpg"), FIF_JPEG);
  ASSERT_TRUE(QFile::copy(jpg, path(QStringLiteral("j.jpe"))));
  ASSERT_TRUE(QFile::copy(jpg, path(QStringLiteral("jpeg-data.png"))));
  const QString png = writePattern(QStringLiteral("p.png"), FIF_PNG);
  const QString bmp = writePattern(QStringLiteral("b.bmp"), FIF_BMP);

  // file, quality asked for, then the format and flags the library is called with
  const std::tuple<QString, int, std::pair<int, int>> cases[] = {
      {jpg, 1, {FIF_JPEG, 1}}, {jpg, 2, {FIF_JPEG, 2}}, {jpg, 0, {FIF_JPEG, 0}},
      {path(QStringLiteral("j.jpe")), 1, {FIF_JPEG, 1}}, {path(QStringLiteral("jpeg-data.png")), 1, {FIF_JPEG, 1}},
      {png, 1, {FIF_PNG, 0}}, {bmp, 2, {FIF_BMP, 0}},
  };
  for (const auto& [file, quality, call] : cases) {
    SCOPED_TRACE(file.toStdString() + " quality " + std::to_string(quality));
    calls.clear();
    ASSERT_TRUE(load(file, -1, quality).ok());
    ASSERT_FALSE(calls.empty());
    for (const auto& made : calls) EXPECT_EQ(made, call);
  }
}

TEST_F(LoadSave, BadFilesFailWithTheDocumentedErrors) {
  const QString loadFailed = QStringLiteral("Error loading file. File may be too large or corrupted.");
  QByteArray noise(4096, '\0');
  QRandomGenerator rng(1234);
  for (char& ch : noise) ch = static_cast<char>(rng.bounded(256));
  noise[0] = 'Z';  // no accidental signature
  ASSERT_TRUE(writeAll(path(QStringLiteral("zero.png")), QByteArray()));
  ASSERT_TRUE(writeAll(path(QStringLiteral("zero.bin")), QByteArray()));
  for (const char* ext : {"png", "jpg", "bmp", "tif"})
    ASSERT_TRUE(writeAll(path(QStringLiteral("noise.") + QLatin1String(ext)), noise));
  ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral("folder.png")));

  const std::tuple<QString, int, QString> cases[] = {
      {path(QStringLiteral("zero.png")), 170, loadFailed},
      {path(QStringLiteral("zero.bin")), 101, QStringLiteral("File format not supported (bin)")},
      {path(QStringLiteral("noise.png")), 170, loadFailed},
      {path(QStringLiteral("noise.jpg")), 170, loadFailed},
      {path(QStringLiteral("noise.bmp")), 170, loadFailed},
      {path(QStringLiteral("noise.tif")), 170, loadFailed},
      {path(QStringLiteral("folder.png")), 170, loadFailed},
      {path(QStringLiteral("missing.png")), 170, loadFailed},
      {path(QStringLiteral("missing.xyz")), 101, QStringLiteral("File format not supported (xyz)")},
      {path(QStringLiteral("missing")), 101, QStringLiteral("File format not supported ()")},
      {QString(), 101, QStringLiteral("File format not supported ()")},
  };
  for (const auto& [file, code, text] : cases) {
    const IoOutcome r = load(file);
    EXPECT_EQ(std::tuple(r.code, r.description, r.flag), std::tuple(code, text, 48)) << file.toStdString();
  }
  // Out-of-range forced types never reach the library; a valid one is taken
  // unchecked: PNG data read as JPEG fails.
  EXPECT_EQ(load(path(QStringLiteral("noise.png")), 999).code, 170);
  EXPECT_EQ(load(path(QStringLiteral("noise.png")), -7).code, 170);
  const IoOutcome forced = load(writePattern(QStringLiteral("png.jpg"), FIF_PNG), FIF_JPEG);
  EXPECT_EQ(forced.code, 170);
  EXPECT_EQ(forced.fif, FIF_JPEG);
}

TEST_F(LoadSave, TruncatedFilesOfEverySavableFormatFail) {
  for (const auto& [name, fif] : kSavable) {
    const QString full = writePattern(QString::fromLatin1(name), fif, 64, 48);
    ASSERT_FALSE(full.isEmpty()) << name;
    const QByteArray data = readAll(full);
    ASSERT_TRUE(load(full).ok()) << name;  // the whole file is fine
    for (const double keep : {0.1, 0.5, 0.9, 0.995}) {
      SCOPED_TRACE(std::string(name) + " keeping " + std::to_string(keep));
      const QString cut = path(QStringLiteral("cut_") + QString::fromLatin1(name));
      ASSERT_TRUE(writeAll(cut, data.left(static_cast<qsizetype>(data.size() * keep))));
      EXPECT_EQ(load(cut).code, 170);
    }
  }
}

TEST_F(LoadSave, PathsWithSpacesAndNonAsciiCharacters) {
  for (const QString& name : {QStringLiteral("with space.png"), QStringLiteral("\u00e4\u00f6\u00fc \u65e5\u672c.bmp")}) {
    SCOPED_TRACE(name.toStdString());
    const qorv::ScopedBitmap picture = iotest::makePatternBitmap(5, 4);
    ASSERT_TRUE(SaveBitmap(picture.get(), path(name)).ok());
    ASSERT_TRUE(QFileInfo::exists(path(name)));
    ASSERT_TRUE(load(path(name)).ok());
    EXPECT_EQ(iotest::panePixels(buffer), iotest::patternPixels(5, 4));
  }
}

TEST_F(LoadSave, NonStandardSampleTypesLoad) {
  // A horizontal grey ramp, fully transparent, converted by the library
  // itself to each sample type.
  FIBITMAP* ramp = FreeImage_Allocate(8, 4, 32);
  for (unsigned y = 0; y < 4; ++y)
    for (unsigned x = 0; x < 8; ++x) {
      BYTE* p = FreeImage_GetScanLine(ramp, y) + 4 * x;
      p[FI_RGBA_RED] = p[FI_RGBA_GREEN] = p[FI_RGBA_BLUE] = static_cast<BYTE>(x * 255 / 7);
      p[FI_RGBA_ALPHA] = 0;
    }
  const std::tuple<const char*, FREE_IMAGE_FORMAT, FREE_IMAGE_TYPE> cases[] = {
      {"rgb16.png", FIF_PNG, FIT_RGB16}, {"rgba16.png", FIF_PNG, FIT_RGBA16}, {"grey16.png", FIF_PNG, FIT_UINT16},
      {"float.tif", FIF_TIFF, FIT_FLOAT}, {"rgbf.tif", FIF_TIFF, FIT_RGBF},    {"rgba.png", FIF_PNG, FIT_BITMAP},
  };
  for (const auto& [name, fif, type] : cases) {
    SCOPED_TRACE(name);
    FIBITMAP* dib = FreeImage_ConvertToType(ramp, type, TRUE);
    ASSERT_NE(dib, nullptr);
    ASSERT_EQ(FreeImage_GetImageType(dib), type);
    const QString p = path(QString::fromLatin1(name));
    ASSERT_TRUE(FreeImage_Save(fif, dib, QFile::encodeName(p).constData(), 0));
    FreeImage_Unload(dib);
    const IoOutcome r = load(p);
    ASSERT_TRUE(r.ok()) << r.description.toStdString();
    const auto px = iotest::panePixels(buffer);
    ASSERT_EQ(px.size(), 32u);
    // The ramp survives as a ramp: dark on the left, bright on the right,
    // grey throughout, colour channels shown whatever the alpha.
    for (std::size_t y = 0; y < 4; ++y) {
      EXPECT_LT(px[y * 8] & 0xFF, 40u);
      EXPECT_GT(px[y * 8 + 7] & 0xFF, 200u);
      EXPECT_EQ((px[y * 8 + 7] >> 16) & 0xFF, px[y * 8 + 7] & 0xFF);
    }
  }
  FreeImage_Unload(ramp);
}

TEST_F(LoadSave, SaveFailuresLeaveNoFileAndKeepTheOldOne) {
  const qorv::ScopedBitmap picture = iotest::makePatternBitmap(6, 6);
  const QByteArray original("ORIGINAL CONTENT");
  const QString existing = path(QStringLiteral("keep.wbmp"));
  ASSERT_TRUE(writeAll(existing, original));
  const QString existingPng = path(QStringLiteral("keep.png"));
  ASSERT_TRUE(writeAll(existingPng, original));

  using Error = std::tuple<int, QString, int>;  // code, description, flag
  const Error unknown{900, QStringLiteral("Unable to save picture, unknown error"), 16};
  const Error noDib{170, QStringLiteral("Unable to convert bitmap to DIP section"), 48};
  const auto unsupported = [](const char* ext) {
    return Error{101, QStringLiteral("File format not supported (%1)").arg(QLatin1String(ext)), 48};
  };
  const struct {
    const char* label;
    gdi::HBITMAP bitmap;
    QString target;
    int fifType;
    Error error;
  } cases[] = {
      {"format the library cannot write", picture.get(), existing, -1, unknown},
      {"invalid forced type", picture.get(), existingPng, 999, unknown},
      {"forced GIF", picture.get(), existingPng, 25, unknown},
      {"extension not in the map", picture.get(), path(QStringLiteral("a.gif")), -1, unsupported("gif")},
      {"no extension", picture.get(), path(QStringLiteral("noext")), -1, unsupported("")},
      {"missing directory", picture.get(), path(QStringLiteral("no/such/dir/a.png")), -1, unknown},
      {"target is a directory", picture.get(), dir.path(), 13, unknown},
      {"no bitmap", 0, path(QStringLiteral("a.png")), -1, noDib},
      {"stale bitmap", 0x7ffffff0u, existingPng, -1, noDib},
  };
  const QStringList before = entries();
  for (const SaveSync sync : {SaveSync::Flush, SaveSync::NoFlush}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(std::string(c.label) + (sync == SaveSync::Flush ? ", flushed" : ", not flushed"));
      const IoOutcome r = SaveBitmap(c.bitmap, c.target, 0, c.fifType, sync);
      EXPECT_EQ(std::tuple(r.code, r.description, r.flag), c.error);
      EXPECT_EQ(entries(), before) << "a partial or temporary file was left behind";
      EXPECT_EQ(std::pair(readAll(existing), readAll(existingPng)), std::pair(original, original));
    }
  }
}

// Flushed or not, a save is a whole new file under the target's name: the
// old file's permissions kept, a new one's from the umask, nothing else left
// in the directory.
TEST_F(LoadSave, SaveReplacesWholeFiles) {
  const qorv::ScopedBitmap picture = iotest::makePatternBitmap(23, 9);
  const QFileDevice::Permissions oldMode = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  for (const SaveSync sync : {SaveSync::Flush, SaveSync::NoFlush}) {
    SCOPED_TRACE(sync == SaveSync::Flush ? "flushed" : "not flushed");
    const QString old = path(QStringLiteral("old.bmp")), fresh = path(QStringLiteral("fresh.png"));
    QFile::remove(fresh);
    ASSERT_TRUE(writeAll(old, QByteArray(100000, 'x')));
    ASSERT_TRUE(QFile::setPermissions(old, oldMode));
    for (const QString& p : {old, fresh}) {
      ASSERT_TRUE(SaveBitmap(picture.get(), p, 0, -1, sync).ok());
      EXPECT_EQ(iotest::filePixels(p), iotest::patternPixels(23, 9));
    }
    EXPECT_EQ(QFile::permissions(old) & QFileDevice::Permissions::fromInt(0x7077), oldMode);
    EXPECT_TRUE(QFileInfo(fresh).permissions().testFlag(QFileDevice::WriteOwner));
    EXPECT_EQ(QFileInfo(fresh).permissions().testFlag(QFileDevice::WriteOther), (mask & 02) == 0);
    EXPECT_EQ(entries(), (QStringList{QStringLiteral("fresh.png"), QStringLiteral("old.bmp")}));
  }
}

TEST_F(LoadSave, PermissionBitsAreHonoured) {
  if (permissionsIgnored(dir.path())) GTEST_SKIP() << "permission bits do not apply to this user (root)";
  const QString locked = writePattern(QStringLiteral("locked.png"), FIF_PNG);
  QFile::setPermissions(locked, QFileDevice::Permissions());
  EXPECT_EQ(load(locked).code, 170);
  QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
  // A read-only directory takes no new file and keeps its old one.
  const QString sub = path(QStringLiteral("ro"));
  ASSERT_TRUE(QDir().mkpath(sub));
  ASSERT_TRUE(writeAll(sub + QStringLiteral("/old.png"), "OLD"));
  QFile::setPermissions(sub, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
  const qorv::ScopedBitmap picture = iotest::makePatternBitmap(4, 4);
  EXPECT_EQ(SaveBitmap(picture.get(), sub + QStringLiteral("/new.png")).code, 900);
  EXPECT_EQ(SaveBitmap(picture.get(), sub + QStringLiteral("/old.png")).code, 900);
  EXPECT_EQ(QDir(sub).entryList(QDir::Files), QStringList{QStringLiteral("old.png")});
  EXPECT_EQ(readAll(sub + QStringLiteral("/old.png")), QByteArray("OLD"));
  QFile::setPermissions(sub, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

TEST_F(LoadSave, SaveChoosesFormatAndPassesQuality) {
  const qorv::ScopedBitmap picture = iotest::makePatternBitmap(64, 64);
  // Forced PNG under a .jpg name writes PNG data.
  const QString p = path(QStringLiteral("forced.jpg"));
  const IoOutcome r = SaveBitmap(picture.get(), p, 0, FIF_PNG);
  ASSERT_TRUE(r.ok());
  EXPECT_EQ(r.fif, FIF_PNG);
  EXPECT_EQ(FreeImage_GetFileType(QFile::encodeName(p).constData(), 16), FIF_PNG);
  // Quality reaches the library as its save flags.
  ASSERT_TRUE(SaveBitmap(picture.get(), path(QStringLiteral("q10.jpg")), 10).ok());
  ASSERT_TRUE(SaveBitmap(picture.get(), path(QStringLiteral("q100.jpg")), 100).ok());
  EXPECT_LT(QFileInfo(path(QStringLiteral("q10.jpg"))).size(), QFileInfo(path(QStringLiteral("q100.jpg"))).size());
}

TEST_F(LoadSave, EveryBitmapLayoutSavesTheSamePixels) {
  // A device bitmap and a bottom-up 24-bit DIB section with the same picture.
  const qorv::ScopedBitmap device = iotest::makePatternBitmap(19, 11);
  std::vector<std::uint32_t> shown;
  const qorv::ScopedBitmap section = iotest::makePatternSection(19, 11, 24, shown);
  ASSERT_TRUE(section);
  for (const auto& [label, bitmap] : {std::pair{"device", device.get()}, std::pair{"section", section.get()}}) {
    SCOPED_TRACE(label);
    const QString p = path(QString::fromLatin1(label) + QStringLiteral(".png"));
    ASSERT_TRUE(SaveBitmap(bitmap, p).ok());
    FIBITMAP* back = FreeImage_Load(FIF_PNG, QFile::encodeName(p).constData(), FIF_LOAD_NOPIXELS);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(FreeImage_GetBPP(back), 24u);
    FreeImage_Unload(back);
    EXPECT_EQ(iotest::filePixels(p), iotest::patternPixels(19, 11));
  }
}

}  // namespace
