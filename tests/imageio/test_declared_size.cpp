// The size a header declares, read by this library's own parsers from files
// the image library wrote and from headers laid out by hand (formats it
// cannot write, and layouts a parser must step over); and the judgement on
// that size at its boundaries: a picture of exactly the limit loads, one
// pixel more does not; data that would run past the end of the file is
// refused whatever the limit.
#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include <QByteArray>
#include <QTemporaryDir>

#include "ImageFixtures.h"
#include "imageio/DeclaredSize.h"

namespace qorv::imageio {
namespace {

struct Judged {
  const char* name;
  DeclaredSize size;
  std::int64_t fileSize;
  std::int64_t maxPixels;
  SizeVerdict verdict;
};

void PrintTo(const Judged& j, std::ostream* os) { *os << j.name; }

constexpr std::int64_t kSide = std::int64_t{1} << 31;

const Judged kJudged[] = {
    {"ExactlyTheLimit", {1000, 1000}, 100, 1000000, SizeVerdict::Fits},
    {"OnePixelOverTheLimit", {1000, 1001}, 100, 1000999, SizeVerdict::TooLarge},
    {"NoLimit", {60000, 60000}, 100, 0, SizeVerdict::Fits},
    {"NegativeLimitIsNone", {60000, 60000}, 100, -5, SizeVerdict::Fits},
    {"ZeroWidth", {0, 10}, 100, 0, SizeVerdict::TooLarge},
    {"NegativeHeight", {10, -1}, 100, 0, SizeVerdict::TooLarge},
    {"SideOverTwoToThe31", {kSide + 1, 1}, 100, 0, SizeVerdict::TooLarge},
    {"DataEndsAtTheFileEnd", {10, 10, 300, 54}, 354, 0, SizeVerdict::Fits},
    {"DataOneByteShort", {10, 10, 300, 54}, 353, 0, SizeVerdict::TooShort},
    {"CompressedDataTruncated", {10, 10, 0, 0, true}, 1 << 20, 0, SizeVerdict::TooShort},
    {"TooLargeBeforeTooShort", {1000, 1000, 3000000, 54}, 100, 999999, SizeVerdict::TooLarge},
};

class DeclaredSizeJudgement : public ::testing::TestWithParam<Judged> {};

TEST_P(DeclaredSizeJudgement, GivesTheVerdict) {
  const Judged& j = GetParam();
  EXPECT_EQ(JudgeDeclaredSize(j.size, j.fileSize, j.maxPixels), j.verdict);
}

INSTANTIATE_TEST_SUITE_P(Cases, DeclaredSizeJudgement, ::testing::ValuesIn(kJudged),
                         [](const ::testing::TestParamInfo<Judged>& p) { return std::string(p.param.name); });

// Big- and little-endian fields of a hand-made header.
QByteArray be(std::uint32_t v, int bytes) {
  QByteArray b;
  for (int i = bytes - 1; i >= 0; --i) b.append(static_cast<char>(v >> (8 * i)));
  return b;
}
QByteArray le(std::uint32_t v, int bytes) {
  QByteArray b;
  for (int i = 0; i < bytes; ++i) b.append(static_cast<char>(v >> (8 * i)));
  return b;
}
QByteArray zeros(int n) { return QByteArray(n, '\0'); }

// Every file declares 137 x 23 (width and height told apart, the width
// past one byte of a multi-byte field); where the
// format stores its pixels uncompressed, their size follows from the header.
struct Header {
  const char* name;
  std::int32_t fif;
  std::function<QByteArray(const QString& dir)> file;  // the file's bytes
  std::int64_t uncompressedBytes;
};

void PrintTo(const Header& h, std::ostream* os) { *os << h.name; }

// A file the image library writes itself, 24 bits a pixel.
std::function<QByteArray(const QString&)> written(std::int32_t fif) {
  return [fif](const QString& dir) {
    iotest::ensureFreeImage();
    const QString path = dir + QStringLiteral("/written");
    return iotest::savePattern(path, static_cast<FREE_IMAGE_FORMAT>(fif), 137, 23) ? iotest::readAll(path)
                                                                                   : QByteArray();
  };
}
std::function<QByteArray(const QString&)> made(QByteArray bytes) {
  return [bytes](const QString&) { return bytes; };
}

const Header kHeaders[] = {
    {"JpegWrittenByTheLibrary", FIF_JPEG, written(FIF_JPEG), 0},
    {"PngWrittenByTheLibrary", FIF_PNG, written(FIF_PNG), 0},
    {"BmpWrittenByTheLibrary", FIF_BMP, written(FIF_BMP), 412 * 23},  // rows padded to 4 bytes
    {"TargaWrittenByTheLibrary", FIF_TARGA, written(FIF_TARGA), 137 * 23 * 3},
    {"JpegFrameAfterFillBytesAndSegments", FIF_JPEG,
     made(QByteArray("\xFF\xD8\xFF\xE0", 4) + be(4, 2) + zeros(2) + QByteArray("\xFF\xFF\xC2", 3) + be(17, 2) +
          QByteArray("\x08", 1) + be(23, 2) + be(137, 2)),
     0},
    {"MngHeader", FIF_MNG, made(zeros(8) + be(28, 4) + "MHDR" + be(137, 4) + be(23, 4)), 0},
    {"JngHeader", FIF_JNG, made(zeros(8) + be(16, 4) + "JHDR" + be(137, 4) + be(23, 4)), 0},
    // The reader allocates for the largest of the screen and the first frame.
    {"GifFrameWiderThanItsScreen", FIF_GIF,
     made(QByteArray("GIF89a") + le(10, 2) + le(23, 2) + zeros(3) + QByteArray("\x21\xF9\x04", 3) + zeros(5) +
          QByteArray("\x2C", 1) + zeros(4) + le(137, 2) + le(5, 2) + zeros(1)),
     0},
    {"WbmpMultiByteWidth", FIF_WBMP, made(zeros(2) + QByteArray("\x81\x09\x17", 3) + zeros(414)), 18 * 23},
    {"LbmSizeAfterAnOddChunk", FIF_LBM,
     made(QByteArray("FORM") + be(60, 4) + "ILBM" + "ANNO" + be(3, 4) + "abc" + zeros(1) + "BMHD" + be(20, 4) +
          be(137, 2) + be(23, 2) + zeros(16)),
     0},
    {"RasStandard", FIF_RAS,
     made(be(0x59A66A95u, 4) + be(137, 4) + be(23, 4) + be(24, 4) + be(412 * 23, 4) + be(1, 4) + zeros(8)),
     412 * 23},  // rows padded to 16 bits
    {"PsdHeightBeforeWidth", FIF_PSD,
     made(QByteArray("8BPS") + be(1, 2) + zeros(6) + be(3, 2) + be(23, 4) + be(137, 4) + zeros(4)), 0},
    {"PcxWindowNotAtTheOrigin", FIF_PCX, made(QByteArray("\x0A\x05\x01\x08", 4) + le(2, 2) + le(3, 2) + le(138, 2) +
                                              le(25, 2) + zeros(116)),
     0},
    {"CutHeader", FIF_CUT, made(le(137, 2) + le(23, 2) + zeros(2)), 0},
};

class DeclaredSizeReading : public ::testing::TestWithParam<Header> {};

TEST_P(DeclaredSizeReading, GivesTheDeclaredSize) {
  const Header& h = GetParam();
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  const QByteArray bytes = h.file(dir.path());
  ASSERT_FALSE(bytes.isEmpty());
  const QString path = dir.path() + QStringLiteral("/header");
  ASSERT_TRUE(iotest::writeAll(path, bytes));
  const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(fd, 0);
  const std::optional<DeclaredSize> got = ReadDeclaredSize(fd, h.fif);
  ::close(fd);
  ASSERT_TRUE(got);
  EXPECT_EQ(std::tuple(got->width, got->height, got->uncompressedBytes), std::tuple(137, 23, h.uncompressedBytes));
}

INSTANTIATE_TEST_SUITE_P(Formats, DeclaredSizeReading, ::testing::ValuesIn(kHeaders),
                         [](const ::testing::TestParamInfo<Header>& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace qorv::imageio
