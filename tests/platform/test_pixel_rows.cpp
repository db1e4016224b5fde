// Row conversion between 24- and 32-bit pixels: every path (vector code with
// and without the newer shuffles, streamed or cached stores, split over the
// pool or not) gives exactly the bytes a pixel-by-pixel copy gives, never
// writes past a row's last pixel, and hands over whole pictures either way
// up; large blits between 24- and 32-bit surfaces.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "platform/CpuFeatures.h"
#include "platform/GdiSurface.h"
#include "platform/PixelRows.h"
#include "platform/RowParallel.h"
#include "platform/ScopedGdi.h"
#include "platform/test_gdi_util.h"
#include "support/TestNames.h"

namespace qorv {
namespace {

// The pixel-by-pixel reference: B, G, R copied, a 32-bit X byte of 0.
void referenceRow(const std::uint8_t* s, int sb, std::uint8_t* d, int db, int n) {
  for (int i = 0; i < n; ++i) {
    for (int c = 0; c < 3; ++c) d[i * db + c] = s[i * sb + c];
    if (db == 4) d[i * db + 3] = 0;
  }
}

std::vector<std::uint8_t> randomBytes(std::size_t n, std::uint32_t seed) {
  std::mt19937 rng(seed);
  std::vector<std::uint8_t> v(n);
  for (auto& b : v) b = static_cast<std::uint8_t>(rng());
  return v;
}

// The processor paths, put back afterwards.
struct GenericPaths {
  explicit GenericPaths(bool on) { forceGenericPaths(on); }
  ~GenericPaths() { forceGenericPaths(false); }
};

struct Direction {
  const char* name;
  int sb, db;
};
constexpr Direction kDirections[] = {{"24 to 32", 3, 4}, {"32 to 24", 4, 3}, {"24 to 24", 3, 3}, {"32 to 32", 4, 4}};

class RowCopy : public ::testing::TestWithParam<Direction> {};

// Widths across the sixteen-pixel blocks, every source and destination
// misalignment, both store kinds and both processor paths; the bytes around
// the destination row keep their sentinel values.
TEST_P(RowCopy, MatchesPixelByPixelOnEveryPath) {
  const Direction dir = GetParam();
  constexpr int kGuard = 64;
  int checked = 0;
  for (const bool generic : {false, true}) {
    const GenericPaths paths(generic);
    for (const bool stream : {false, true}) {
      for (int n : {1, 2, 3, 5, 15, 16, 17, 31, 32, 33, 47, 64, 100, 257}) {
        for (int srcOfs = 0; srcOfs < 4; ++srcOfs) {
          for (int dstOfs = 0; dstOfs < 16; dstOfs += (dir.db == 4 ? 4 : 1)) {
            const auto src = randomBytes(static_cast<std::size_t>(n * dir.sb + srcOfs), static_cast<std::uint32_t>(n));
            std::vector<std::uint8_t> got(static_cast<std::size_t>(n * dir.db + dstOfs + 2 * kGuard), 0xA5);
            std::vector<std::uint8_t> want = got;
            copyPixelRow(src.data() + srcOfs, dir.sb, got.data() + kGuard + dstOfs, dir.db, n, stream);
            referenceRow(src.data() + srcOfs, dir.sb, want.data() + kGuard + dstOfs, dir.db, n);
            ASSERT_EQ(got, want) << "n=" << n << " src+" << srcOfs << " dst+" << dstOfs << " stream=" << stream
                                 << " generic=" << generic;
            ++checked;
          }
        }
      }
    }
  }
  EXPECT_GT(checked, 100);
}

INSTANTIATE_TEST_SUITE_P(Directions, RowCopy, ::testing::ValuesIn(kDirections),
                         [](const auto& p) { return test_support::readableName(p.param.name); });

struct Picture {
  int w, h, bpp;
  bool bottomUp;
  std::vector<std::uint8_t> bytes;
  std::ptrdiff_t stride() const { return ((w * bpp) + 3) & ~3; }
  Picture(int width, int height, int bytesPerPixel, bool up, std::uint32_t seed)
      : w(width), h(height), bpp(bytesPerPixel), bottomUp(up),
        bytes(randomBytes(static_cast<std::size_t>(stride() * height), seed)) {}
  PixelRows rows() {
    return bottomUp ? PixelRows::bottomUp(bytes.data(), stride(), w, h, bpp)
                    : PixelRows::topDown(bytes.data(), stride(), w, h, bpp);
  }
  const std::uint8_t* pixel(int x, int y) const {
    const int memRow = bottomUp ? h - 1 - y : y;
    return bytes.data() + memRow * stride() + x * bpp;
  }
};

// Whole pictures in either row order, large enough to be split over the pool
// and streamed, and odd-sized so that padding exists: every pixel arrives,
// the padding is left alone, and the pool and the caller alone agree.
TEST(PictureCopy, EveryPixelInEitherRowOrderWithPaddingLeftAlone) {
  struct Case {
    int sb, db;
    bool srcUp, dstUp;
  };
  const Case cases[] = {{3, 4, true, false}, {4, 3, false, true}, {3, 3, true, true}, {4, 4, false, false},
                        {3, 4, false, false}, {4, 3, true, true}};
  for (const Case& c : cases) {
    for (const bool pool : {true, false}) {
      setParallelRowsAllowed(pool);
      Picture src(1531, 1403, c.sb, c.srcUp, 5);
      Picture dst(1531, 1403, c.db, c.dstUp, 6);
      const std::vector<std::uint8_t> before = dst.bytes;
      copyPixelRows(src.rows(), dst.rows());
      int wrong = 0;
      for (int y = 0; y < src.h; ++y) {
        for (int x = 0; x < src.w; ++x) {
          const std::uint8_t* s = src.pixel(x, y);
          const std::uint8_t* d = dst.pixel(x, y);
          wrong += (s[0] != d[0] || s[1] != d[1] || s[2] != d[2] || (c.db == 4 && d[3] != 0)) ? 1 : 0;
        }
        // Padding after the last pixel of the row.
        const std::size_t end = static_cast<std::size_t>((dst.pixel(0, y) - dst.bytes.data()) + dst.w * dst.bpp);
        const std::size_t next = static_cast<std::size_t>(dst.pixel(0, y) - dst.bytes.data()) + dst.stride();
        for (std::size_t k = end; k < next; ++k) wrong += dst.bytes[k] != before[k] ? 1 : 0;
      }
      EXPECT_EQ(wrong, 0) << c.sb << "->" << c.db << " pool=" << pool;
    }
  }
  setParallelRowsAllowed(true);
}

TEST(PictureCopy, CopiesTheCommonPartOfDifferentSizes) {
  Picture src(7, 5, 3, true, 1);
  Picture dst(4, 9, 4, false, 2);
  const std::vector<std::uint8_t> before = dst.bytes;
  copyPixelRows(src.rows(), dst.rows());
  for (int y = 0; y < 9; ++y) {
    for (int x = 0; x < 4; ++x) {
      const std::uint8_t* d = dst.pixel(x, y);
      if (y < 5) {
        EXPECT_EQ(std::memcmp(d, src.pixel(x, y), 3), 0) << x << "," << y;
        EXPECT_EQ(d[3], 0);
      } else {
        EXPECT_EQ(std::memcmp(d, before.data() + (d - dst.bytes.data()), 4), 0) << "row " << y << " untouched";
      }
    }
  }
}

// Descriptions that cannot be copied or held copy nothing and make no bitmap.
TEST(PictureCopy, InvalidDescriptionsCopyNothing) {
  Picture dst(3, 3, 4, false, 2);
  const std::vector<std::uint8_t> before = dst.bytes;
  Picture src(3, 3, 3, false, 1);
  const PixelRows good = src.rows();
  PixelRows noBits = good, noWidth = good, twoBytes = good;
  noBits.top = nullptr;
  noWidth.width = 0;
  twoBytes.bytesPerPixel = 2;
  for (const PixelRows& bad : {noBits, noWidth, twoBytes}) copyPixelRows(bad, dst.rows());
  EXPECT_EQ(dst.bytes, before);
  PixelRows bad = src.rows();
  bad.bytesPerPixel = 1;
  const std::size_t live = gdi::LiveObjectCount();
  EXPECT_EQ(deviceBitmapFromPixels(bad), 0u);
  EXPECT_EQ(gdi::GetLastError(), gdi::ERROR_INVALID_PARAMETER);
  PixelRows huge = src.rows();
  huge.width = 1 << 20;
  huge.height = 1 << 20;  // 4 TiB of device bitmap
  EXPECT_EQ(deviceBitmapFromPixels(huge), 0u);
  EXPECT_EQ(gdi::LiveObjectCount(), live);
}

}  // namespace
}  // namespace qorv

// --- blits between 24- and 32-bit surfaces -------------------------------------
// Their pixels, offsets, clipping and mirrored rows are the stretch reference's
// (equal sizes, every surface kind); the X byte and alignments the row copy's.

namespace {

using namespace gdi;
using gditest::Canvas;

// A picture large enough to be split over the pool converts the same split
// or not.
TEST(ConvertingBlit, LargePicturesSameSplitOrNot) {
  std::mt19937 rng(3);
  Canvas src(1201, 997, Canvas::Device32);
  src.randomise(rng);
  for (const bool pool : {true, false}) {
    qorv::setParallelRowsAllowed(pool);
    Canvas mid(1201, 997, Canvas::Dib24), back(1201, 997, Canvas::Device32);
    ASSERT_TRUE(BitBlt(mid.dc(), 0, 0, 1201, 997, src.dc(), 0, 0, SRCCOPY));
    ASSERT_TRUE(BitBlt(back.dc(), 0, 0, 1201, 997, mid.dc(), 0, 0, SRCCOPY));
    EXPECT_EQ(back.pixels(), src.pixels()) << "pool=" << pool;
  }
  qorv::setParallelRowsAllowed(true);
}

}  // namespace
