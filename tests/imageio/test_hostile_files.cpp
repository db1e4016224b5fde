// Files made to hurt a viewer: truncated, lying about their size, of formats
// the control does not list, or reading past their own end. Every one must
// come back as an ordinary failed load, isolated or not where the library
// cannot corrupt memory, and none may cost the memory its header declares.
#include <gtest/gtest.h>

#include <unistd.h>

#include <QFile>
#include <QTemporaryDir>

#include <functional>

#include "ImageFixtures.h"
#include "imageio/DecodeCore.h"
#include "imageio/ImageLoad.h"
#include "imageio/IsolatedDecoder.h"
#include "imageio/modFreeImage.h"

#include <FreeImage.h>

using namespace qorv;
using namespace qorv::imageio;

namespace {

QByteArray bytes2(unsigned first, unsigned second) {
  QByteArray b;
  b.append(static_cast<char>(first & 0xFF)).append(static_cast<char>(second & 0xFF));
  return b;
}
QByteArray be16(unsigned v) { return bytes2(v >> 8, v); }
QByteArray le16(unsigned v) { return bytes2(v, v >> 8); }
QByteArray be32(quint32 v) { return be16(v >> 16) + be16(v & 0xFFFF); }
QByteArray le32(quint32 v) { return le16(v & 0xFFFF) + le16(v >> 16); }
QByteArray zeros(int n) { return QByteArray(n, '\0'); }

// A file the library itself writes, of a picture big enough that truncating
// it cuts into the pixel data.
QByteArray librarySaved(FREE_IMAGE_FORMAT fif, int flags, const QString& scratch) {
  return iotest::savePattern(scratch, fif, 96, 80, flags) ? iotest::readAll(scratch) : QByteArray();
}

// Headers declaring a W x H picture followed by a few bytes of data.
QByteArray jpegBomb(unsigned w, unsigned h, bool progressive) {
  QByteArray b("\xFF\xD8", 2);
  b += QByteArray("\xFF\xE0", 2) + be16(16) + QByteArray("JFIF\0\1\1\0\0\1\0\1\0\0", 14);
  b += QByteArray(progressive ? "\xFF\xC2" : "\xFF\xC0", 2) + be16(11) + QByteArray(1, 8) + be16(h) + be16(w) +
       QByteArray("\1\1\x11\0", 4);
  return b + zeros(16);
}
QByteArray pngChunkFile(const char* signature, const char* chunk, unsigned w, unsigned h) {
  return QByteArray(signature, 8) + be32(13) + QByteArray(chunk, 4) + be32(w) + be32(h) + QByteArray("\x08\x02\0\0\0", 5) +
         be32(0) + zeros(16);
}
QByteArray wbmpBomb(unsigned w, unsigned h) {
  auto multi = [](unsigned v) {
    QByteArray out(1, static_cast<char>(v & 0x7F));
    for (v >>= 7; v; v >>= 7) out.prepend(static_cast<char>(0x80 | (v & 0x7F)));
    return out;
  };
  return QByteArray(2, '\0') + multi(w) + multi(h) + zeros(16);
}
QByteArray iffBomb(unsigned w, unsigned h) {
  QByteArray bmhd = be16(w) + be16(h) + zeros(4) + QByteArray("\x08\0\x01\0", 4) + zeros(2) + QByteArray("\1\1", 2) +
                    be16(w) + be16(h);
  QByteArray body = QByteArray("BODY") + be32(64) + QByteArray(16, '\x7F');
  QByteArray form = QByteArray("ILBM") + "BMHD" + be32(20) + bmhd + body;
  return QByteArray("FORM") + be32(static_cast<quint32>(form.size())) + form;
}
QByteArray bmpRle8Bomb(unsigned w, unsigned h) {
  QByteArray info = le32(40) + le32(w) + le32(h) + le16(1) + le16(8) + le32(1) + le32(0) + zeros(16);
  QByteArray data = info + zeros(1024) + QByteArray("\x02\x01\0\1", 4);
  return QByteArray("BM") + le32(14 + static_cast<quint32>(data.size())) + le32(0) + le32(14 + 40 + 1024) + data;
}
QByteArray bmpUncompressed(unsigned w, unsigned h) {
  QByteArray info = le32(40) + le32(w) + le32(h) + le16(1) + le16(24) + le32(0) + zeros(20);
  return QByteArray("BM") + le32(54 + 100) + le32(0) + le32(54) + info + zeros(100);
}
QByteArray psdBomb(unsigned w, unsigned h) {
  return QByteArray("8BPS") + be16(1) + zeros(6) + be16(3) + be32(h) + be32(w) + be16(8) + be16(3) + zeros(12) +
         be16(1) + zeros(16);
}
QByteArray tgaRleBomb(unsigned w, unsigned h) {
  return QByteArray("\0\0\x0A", 3) + zeros(9) + le16(w) + le16(h) + QByteArray("\x18\x20", 2) + QByteArray("\xFF\0\0\0", 4);
}
QByteArray pcxBomb(unsigned w, unsigned h) {
  return QByteArray("\x0A\x05\x01\x08", 4) + le16(0) + le16(0) + le16(w - 1) + le16(h - 1) + zeros(53) +
         QByteArray(1, 3) + le16((w + 1) & ~1u) + zeros(60) + zeros(16);
}
QByteArray rasBomb(unsigned w, unsigned h) {
  return be32(0x59A66A95u) + be32(w) + be32(h) + be32(24) + be32(0) + be32(2) + be32(0) + be32(0) + zeros(16);
}
QByteArray cutBomb(unsigned w, unsigned h) { return le16(w) + le16(h) + zeros(2) + zeros(16); }
QByteArray pnmBomb(unsigned w, unsigned h) {
  return QByteArray("P6\n") + QByteArray::number(w) + ' ' + QByteArray::number(h) + "\n255\n" + zeros(16);
}
QByteArray tiffBomb(unsigned w, unsigned h) {
  // One IFD: width, height, 8 bits, no compression, RGB, strip at 8, 3 samples.
  struct Tag { quint16 id, type; quint32 value; };
  const Tag tags[] = {{256, 4, w}, {257, 4, h}, {258, 3, 8}, {259, 3, 1}, {262, 3, 2},
                      {273, 4, 8}, {277, 3, 3}, {278, 4, h}, {279, 4, 16}};
  QByteArray b = QByteArray("II*\0", 4) + le32(8 + 16) + zeros(16) + le16(std::size(tags));
  for (const Tag& t : tags) b += le16(t.id) + le16(t.type) + le32(1) + (t.type == 3 ? le16(t.value) + le16(0) : le32(t.value));
  return b + le32(0);
}
// The start of a QuickDraw picture: content the library detects as PICT.
QByteArray pictContent() {
  return zeros(512) + be16(0) + be16(0) + be16(0) + be16(64) + be16(64) + QByteArray("\0\x11\x02\xFF\x0C\0", 6) +
         zeros(64);
}
// An IFF picture whose body promises more bytes than the file holds: a
// reader that ignores the end of the file asks for them forever.
QByteArray iffReadingPastItsEnd() {
  QByteArray bmhd = be16(64) + be16(64) + zeros(4) + QByteArray("\x08\0\x01\0", 4) + zeros(2) +
                    QByteArray("\1\1", 2) + be16(64) + be16(64);
  QByteArray form = QByteArray("ILBM") + "BMHD" + be32(20) + bmhd + "BODY" + be32(100000) + QByteArray("\x01\x05", 2);
  return QByteArray("FORM") + be32(200000) + form;
}

// Found by the load fuzzer: the CUT reader writes through a wild pointer on
// this input (a library bug; only isolation contains it).
QByteArray cutWildWrite() {
  return QByteArray(
      "\x6b\x23\x01\x00\x09\x00\x00\x00\x00\x00\x00\x00\x0e\x0e\x0e\x00\x00\x00\x00\x00\x00\x00\x00\x0e"
      "\x0e\x0e\x0e\x0e\x0e\x0e\x0e\x0e\x0e\x0e\x0e\x0e\x59\x2f\xff\xff\xff\x15\x15\x14\x15\xc9\x00\x00"
      "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00",
      57);
}

struct HostileCase {
  std::string name;
  const char* fileName;
  std::function<QByteArray(const QString& scratch)> make;
  std::int32_t code;      // the error record's code
  bool safeInProcess;     // cannot corrupt memory when the library runs here
  bool refusedFromHeader = false;  // the library must never decode its pixels
};

std::vector<HostileCase> hostileCases() {
  std::vector<HostileCase> cases;
  // Just over the default pixel limit, square; the limit's own boundary is the
  // judgement's test, each format's header reading is this one's.
  auto bomb = [&](const char* name, const char* file, std::function<QByteArray(unsigned, unsigned)> make) {
    cases.push_back({std::string(name) + "Bomb", file, [make](const QString&) { return make(16385, 16385); }, 170,
                     true, true});
  };
  bomb("JpegBaseline", "bomb.jpg", [](unsigned w, unsigned h) { return jpegBomb(w, h, false); });
  bomb("JpegProgressive", "bomb.jpg", [](unsigned w, unsigned h) { return jpegBomb(w, h, true); });
  bomb("Png", "bomb.png", [](unsigned w, unsigned h) { return pngChunkFile("\x89PNG\r\n\x1a\n", "IHDR", w, h); });
  bomb("Mng", "bomb.mng", [](unsigned w, unsigned h) { return pngChunkFile("\x8aMNG\r\n\x1a\n", "MHDR", w, h); });
  bomb("Jng", "bomb.jng", [](unsigned w, unsigned h) { return pngChunkFile("\x8bJNG\r\n\x1a\n", "JHDR", w, h); });
  bomb("Wbmp", "bomb.wbmp", wbmpBomb);
  bomb("Iff", "bomb.iff", iffBomb);
  bomb("BmpRle8", "bomb.bmp", bmpRle8Bomb);
  bomb("Psd", "bomb.psd", psdBomb);
  bomb("TgaRle", "bomb.tga", tgaRleBomb);
  bomb("Pcx", "bomb.pcx", pcxBomb);
  bomb("Ras", "bomb.ras", rasBomb);
  bomb("Cut", "bomb.cut", cutBomb);
  bomb("Ppm", "bomb.ppm", pnmBomb);
  bomb("Tiff", "bomb.tif", tiffBomb);
  cases.push_back({"BmpLongerThanItsFile", "short.bmp", [](const QString&) { return bmpUncompressed(1000, 1000); },
                   170, true, true});
  cases.push_back({"PictContentNamedPng", "photo.png", [](const QString&) { return pictContent(); }, 170, true});
  cases.push_back({"PictContentUnknownExtension", "photo.xyz", [](const QString&) { return pictContent(); }, 101,
                   true});
  cases.push_back({"IffReadingPastItsEnd", "past.iff", [](const QString&) { return iffReadingPastItsEnd(); }, 170,
                   true});
  cases.push_back({"CutFoundByFuzzing", "wild.cut", [](const QString&) { return cutWildWrite(); }, 170, false});
  for (int cut : {407, 1044, 2850})
    cases.push_back({"PsdCutAt" + std::to_string(cut), "cut.psd",
                     [cut](const QString& s) { return librarySaved(FIF_PSD, 0, s).left(cut); }, 170, false});
  for (int cut : {768, 1185})
    cases.push_back({"TgaRleCutAt" + std::to_string(cut), "cut.tga",
                     [cut](const QString& s) { return librarySaved(FIF_TARGA, TARGA_SAVE_RLE, s).left(cut); }, 170,
                     false});
  return cases;
}

// The cases that cannot corrupt memory even with the library in this process.
std::vector<HostileCase> inProcessCases() {
  std::vector<HostileCase> all = hostileCases();
  std::erase_if(all, [](const HostileCase& c) { return !c.safeInProcess; });
  return all;
}

std::string caseName(const ::testing::TestParamInfo<HostileCase>& info) { return info.param.name; }

class HostileFiles : public ::testing::TestWithParam<HostileCase> {
 protected:
  void SetUp() override {
    iotest::ensureFreeImage();
    ASSERT_TRUE(dir.isValid());
    const QByteArray bytes = GetParam().make(dir.filePath(QStringLiteral("scratch")));
    ASSERT_FALSE(bytes.isEmpty());
    file = dir.filePath(QString::fromLatin1(GetParam().fileName));
    ASSERT_TRUE(iotest::writeAll(file, bytes));
  }
  void TearDown() override { setFreeImageLoader(nullptr); }

  LoadedPicture load(bool isolated) {
    LoadRequest r;
    r.path = file;
    r.isolated = isolated;
    r.timeoutMs = 5000;
    return LoadPicture(r);
  }

  QTemporaryDir dir;
  QString file;
};

class HostileFilesInProcess : public HostileFiles {};

}  // namespace

TEST_P(HostileFiles, IsolatedLoadFailsWithTheErrorRecord) {
  const LoadedPicture r = load(true);
  EXPECT_EQ(r.outcome.code, GetParam().code) << modFreeImage::LastBridgeError().toStdString();
  EXPECT_EQ(r.outcome.flag, 48);
  EXPECT_EQ(r.picture, nullptr);
}

TEST_P(HostileFilesInProcess, LoadFailsWithoutDecodingDeclaredPixels) {
  // Every library call is watched: none may decode pixels of a picture its
  // header already showed to be impossible.
  std::vector<std::int32_t> flagsSeen;
  setFreeImageLoader([&](std::int32_t fif, const char* p, std::int32_t flags) {
    flagsSeen.push_back(flags);
    return DefaultFreeImageLoad(fif, p, flags);
  });
  const LoadedPicture r = load(false);
  EXPECT_EQ(r.outcome.code, GetParam().code);
  EXPECT_EQ(r.picture, nullptr);
  if (GetParam().refusedFromHeader) {
    for (std::int32_t f : flagsSeen) EXPECT_TRUE(f & FIF_LOAD_NOPIXELS) << "pixels decoded with flags " << f;
  }
}

INSTANTIATE_TEST_SUITE_P(Corpus, HostileFiles, ::testing::ValuesIn(hostileCases()), caseName);
INSTANTIATE_TEST_SUITE_P(Corpus, HostileFilesInProcess, ::testing::ValuesIn(inProcessCases()), caseName);

namespace {

struct IntactCase {
  const char* name;
  FREE_IMAGE_FORMAT fif;
  int saveFlags;
  const char* fileName;
};

class IntactFiles : public ::testing::TestWithParam<IntactCase> {};

}  // namespace

// The guards must not cost a valid file anything: each file the library
// writes loads, isolated and not, to the same pixels (the pattern's, exactly,
// where lossless) and the same reported depth.
TEST_P(IntactFiles, LoadTheSameIsolatedAndInProcess) {
  iotest::ensureFreeImage();
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  const QString p = dir.filePath(QString::fromLatin1(GetParam().fileName));
  ASSERT_TRUE(iotest::savePattern(p, GetParam().fif, 61, 37, GetParam().saveFlags));
  std::vector<std::uint32_t> pixels[2];
  std::int32_t depth[2] = {};
  for (int isolated = 0; isolated < 2; ++isolated) {
    LoadRequest r;
    r.path = p;
    r.isolated = isolated != 0;
    const LoadedPicture got = LoadPicture(r);
    ASSERT_TRUE(got.outcome.ok()) << isolated << ' ' << modFreeImage::LastBridgeError().toStdString();
    EXPECT_EQ(got.outcome.fif, GetParam().fif);
    pixels[isolated] = iotest::picturePixels(got.picture);
    ASSERT_FALSE(pixels[isolated].empty());
    depth[isolated] = got.outcome.bitsPerPixel;
  }
  EXPECT_EQ(pixels[0], pixels[1]);
  EXPECT_EQ(depth[0], depth[1]);
  if (GetParam().fif != FIF_JPEG) {
    EXPECT_EQ(pixels[0], iotest::patternPixels(61, 37));
  }
}

INSTANTIATE_TEST_SUITE_P(
    GuardedFormats, IntactFiles,
    ::testing::Values(IntactCase{"Psd", FIF_PSD, 0, "a.psd"}, IntactCase{"Tga", FIF_TARGA, 0, "a.tga"},
                      IntactCase{"TgaRle", FIF_TARGA, TARGA_SAVE_RLE, "a.tga"},
                      IntactCase{"Bmp", FIF_BMP, 0, "a.bmp"}, IntactCase{"Png", FIF_PNG, 0, "a.png"},
                      IntactCase{"Jpeg", FIF_JPEG, 0, "a.jpg"}, IntactCase{"Tiff", FIF_TIFF, 0, "a.tif"},
                      // The content decides before the extension.
                      IntactCase{"PngNamedJpg", FIF_PNG, 0, "a.jpg"}),
    [](const ::testing::TestParamInfo<IntactCase>& i) { return std::string(i.param.name); });
