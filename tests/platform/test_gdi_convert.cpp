// Copies between 24- and 32-bit surfaces (the copy into every working image
// and out of it, loading and saving) give the pixels a per-pixel copy gives:
// blits at any width, offset, clip and row order, and device bitmaps made
// from DIB data. (DIB rows read back from bitmaps: test_gdi_dib.cpp.)
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "platform/CpuFeatures.h"
#include "platform/RowParallel.h"
#include "support/TestNames.h"
#include "test_gdi_util.h"

namespace {

using namespace gdi;
using gditest::Canvas;

struct Pair {
  const char* name;
  Canvas::Kind src, dst;
};
constexpr Pair kPairs[] = {{"device to 24-bit section", Canvas::Device32, Canvas::Dib24},
                           {"24-bit section to device", Canvas::Dib24, Canvas::Device32},
                           {"top-down 24 to 32-bit section", Canvas::Dib24TopDown, Canvas::Dib32},
                           {"32-bit section to top-down 24", Canvas::Dib32, Canvas::Dib24TopDown},
                           {"24 to 24", Canvas::Dib24, Canvas::Dib24TopDown}};

// What a copy of src's (sx, sy, w, h) to dst's (dx, dy) leaves in dst,
// pixel by pixel, clipped to both surfaces.
std::vector<std::uint32_t> expectedCopy(const Canvas& dst, const Canvas& src, int dx, int dy, int w, int h, int sx,
                                        int sy, bool flipRows) {
  std::vector<std::uint32_t> out = dst.pixels();
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      const int tx = dx + x, ty = dy + y;
      const int fx = sx + x, fy = flipRows ? sy + h - 1 - y : sy + y;
      if (tx < 0 || ty < 0 || tx >= dst.width() || ty >= dst.height()) continue;
      if (fx < 0 || fy < 0 || fx >= src.width() || fy >= src.height()) continue;
      out[static_cast<std::size_t>(ty * dst.width() + tx)] = src.at(fx, fy);
    }
  }
  return out;
}

class ConvertingCopy : public ::testing::TestWithParam<Pair> {};

TEST_P(ConvertingCopy, MatchesPixelByPixelAtEveryWidthAndOffset) {
  const Pair p = GetParam();
  std::mt19937 rng(5);
  for (const bool generic : {false, true}) {
    qorv::forceGenericPaths(generic);
    for (int w : {1, 7, 16, 17, 35, 64, 99}) {
      for (int dx : {0, 1, 2, 3, 5}) {
        Canvas src(w + 4, 6, p.src), dst(w + 8, 7, p.dst);
        src.randomise(rng);
        dst.randomise(rng);
        const int sx = static_cast<int>(rng() % 4);
        const auto expected = expectedCopy(dst, src, dx, 1, w, 5, sx, 1, false);
        ASSERT_TRUE(BitBlt(dst.dc(), dx, 1, w, 5, src.dc(), sx, 1, SRCCOPY));
        ASSERT_EQ(dst.pixels(), expected) << "w=" << w << " dx=" << dx << " generic=" << generic;
        for (int y = 1; y < 6 && p.dst != Canvas::Dib24 && p.dst != Canvas::Dib24TopDown; ++y)
          for (int x = dx; x < dx + w && x < dst.width(); ++x) ASSERT_EQ(dst.raw32(x, y) >> 24, 0u) << "X byte";
      }
    }
  }
  qorv::forceGenericPaths(false);
}

// Rows mirrored by a negative height, and rectangles hanging over both
// surfaces' edges, go the same way.
TEST_P(ConvertingCopy, MirroredRowsAndClippedRectangles) {
  const Pair p = GetParam();
  std::mt19937 rng(9);
  Canvas src(70, 40, p.src), dst(60, 50, p.dst);
  src.randomise(rng);
  dst.randomise(rng);
  auto expected = expectedCopy(dst, src, 3, 2, 50, 30, 4, 5, true);
  ASSERT_TRUE(StretchBlt(dst.dc(), 3, 2, 50, 30, src.dc(), 4, 5 + 29, 50, -30, SRCCOPY));
  ASSERT_EQ(dst.pixels(), expected) << "mirrored";
  expected = expectedCopy(dst, src, -7, 41, 80, 20, 0, 0, false);
  ASSERT_TRUE(BitBlt(dst.dc(), -7, 41, 80, 20, src.dc(), 0, 0, SRCCOPY));
  ASSERT_EQ(dst.pixels(), expected) << "clipped";
}

INSTANTIATE_TEST_SUITE_P(Layouts, ConvertingCopy, ::testing::ValuesIn(kPairs),
                         [](const auto& i) { return qorv::test_support::readableName(i.param.name); });

// A picture large enough to be split over the pool converts the same split
// or not.
TEST(ConvertingCopy, LargePicturesSameSplitOrNot) {
  std::mt19937 rng(3);
  Canvas src(1201, 997, Canvas::Device32);
  src.randomise(rng);
  std::vector<std::uint32_t> first;
  for (const bool pool : {true, false}) {
    qorv::setParallelRowsAllowed(pool);
    Canvas mid(1201, 997, Canvas::Dib24), back(1201, 997, Canvas::Device32);
    ASSERT_TRUE(BitBlt(mid.dc(), 0, 0, 1201, 997, src.dc(), 0, 0, SRCCOPY));
    ASSERT_TRUE(BitBlt(back.dc(), 0, 0, 1201, 997, mid.dc(), 0, 0, SRCCOPY));
    EXPECT_EQ(back.pixels(), src.pixels()) << "pool=" << pool;
  }
  qorv::setParallelRowsAllowed(true);
}

// Device bitmaps made from 24- and 32-bit DIB data, in either row order, hold
// the data's colours with X 0; data larger than the bitmap gives its top-left.
TEST(CreateDIBitmap, PlainDataConvertsInOnePass) {
  std::mt19937 rng(21);
  for (const int bpp : {24, 32}) {
    for (const int sign : {1, -1}) {
      const int w = 37, h = 19;
      const int stride = ((w * bpp / 8) + 3) & ~3;
      std::vector<std::uint8_t> bits(static_cast<std::size_t>(stride * h));
      for (auto& b : bits) b = static_cast<std::uint8_t>(rng());
      const BITMAPINFO info = gditest::dibInfo(w, sign * h, bpp);
      for (const int made : {w, w - 5}) {
        const BITMAPINFO header = gditest::dibInfo(made, sign * (h - 2), bpp);
        const qorv::ScopedBitmap bm(CreateDIBitmap(0, &header.bmiHeader, CBM_INIT, bits.data(), &info, DIB_RGB_COLORS));
        ASSERT_TRUE(bm);
        Surface s;
        ASSERT_TRUE(BitmapSurfaceRead(bm.get(), s));
        int wrong = 0;
        for (int y = 0; y < h - 2; ++y)
          for (int x = 0; x < made; ++x) {
            const std::uint8_t* in = bits.data() + (sign > 0 ? h - 1 - y : y) * stride + x * (bpp / 8);
            const std::uint8_t* out = s.row(y) + 4 * x;
            wrong += (std::memcmp(in, out, 3) != 0 || out[3] != 0) ? 1 : 0;
          }
        EXPECT_EQ(wrong, 0) << bpp << " bits, sign " << sign << ", width " << made;
      }
    }
  }
}

}  // namespace
