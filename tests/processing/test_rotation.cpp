// Rotation: the quarter turn the control's Rotate performs (corner points for
// the parallelogram blit and the direct permutation), the engine's RotateAngle
// (a new, larger picture) and the in-place block rotation behind
// clsImageRotate, against a slow per-pixel reference and exact quarter turns.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "ProcessingTestSupport.h"
#include "platform/GdiSurface.h"
#include "platform/ScopedGdi.h"
#include "processing/FreeRotation.h"
#include "processing/RotateBitmap.h"
#include "processing/Rotation.h"
#include "support/TestNames.h"

namespace qorv {
namespace {

constexpr double kPi = 3.14159265358979323846;
const double kNan = std::numeric_limits<double>::quiet_NaN(), kInf = std::numeric_limits<double>::infinity();

// Pixels as seen: row 0 at the top, 0x00RRGGBB.
struct Image {
  int w = 0, h = 0;
  std::vector<std::uint32_t> px;
  std::uint32_t at(int x, int y) const { return px[static_cast<std::size_t>(y * w + x)]; }
  bool operator==(const Image&) const = default;
};

// Any context's bitmap, 24 or 32 bits.
Image readDc(gdi::HDC dc) {
  gdi::Surface s;
  EXPECT_TRUE(gdi::DCSurfaceRead(dc, s));
  Image im{s.width, s.height, {}};
  for (int y = 0; y < s.height; ++y)
    for (int x = 0; x < s.width; ++x) {
      const std::uint8_t* p = s.row(y) + s.bitsPerPixel / 8 * x;
      im.px.push_back(static_cast<std::uint32_t>(p[0] | p[1] << 8 | p[2] << 16));
    }
  return im;
}

Image read(const cDIBSection& d) { return readDc(d.hdc()); }

void fillDc(gdi::HDC dc, std::uint32_t seed) {
  gdi::Surface s;
  ASSERT_TRUE(gdi::DCSurface(dc, s));
  std::mt19937 gen(seed);
  for (int y = 0; y < s.height; ++y)
    for (int x = 0; x < s.width * s.bitsPerPixel / 8; ++x) s.row(y)[x] = static_cast<std::uint8_t>(gen());
}

// A memory context holding a 32-bit device bitmap, like the control's panes.
struct Canvas {
  ScopedMemDC owner{gdi::CreateCompatibleDC(0)};
  ScopedBitmap bmp;
  ScopedSelect selected;
  gdi::HDC dc;
  Canvas(int w, int h) : bmp(gdi::CreateCompatibleBitmap(0, w, h)), selected(owner.get(), bmp.get()), dc(owner.get()) {}
};

int channel(std::uint32_t c, int k) { return static_cast<int>(c >> (8 * k) & 255); }

TEST(RotationPoints, CornersForQuarterTurns) {
  const struct {
    std::int32_t cx, cy, angle, w, h;
    gdi::POINT p[3];
  } cases[] = {
      {100, 200, 90, 400, 200, {{200, 0}, {200, 400}, {0, 0}}},
      {100, 200, -90, 400, 200, {{0, 400}, {0, 0}, {200, 400}}},
      {1, 2, 90, 5, 3, {{3, 0}, {3, 5}, {0, 0}}},
      // Odd sizes: the centre and the corners round separately, one pixel off.
      {1, 2, -90, 5, 3, {{-1, 4}, {-1, -1}, {2, 4}}},
      {0, 0, 90, 1, 1, {{0, 0}, {0, 1}, {-1, 0}}},
      {5, 5, 0, 4, 2, {{3, 4}, {7, 4}, {3, 6}}},
  };
  for (const auto& c : cases) {
    const auto pts = rotationPoints(c.cx, c.cy, c.angle, c.w, c.h);
    for (std::size_t k = 0; k < 3; ++k)
      EXPECT_TRUE(pts[k].x == c.p[k].x && pts[k].y == c.p[k].y) << c.w << "x" << c.h << " " << c.angle << " #" << k;
  }
  // The values are meaningless, but computing them must not overflow.
  (void)rotationPoints(INT_MAX, INT_MAX, 90, INT_MAX, INT_MAX);
}

// The direct permutation must give exactly what the parallelogram blit gives,
// clipping included (centres off the canvas, sources larger than their surface).
TEST(RotateBlt, MatchesTheParallelogramBlit) {
  const struct {
    int srcW, srcH, dstW, dstH;
    std::int32_t cx, cy, angle, left, top, W, H;
  } cases[] = {
      {7, 5, 5, 7, 2, 3, 90, 0, 0, 7, 5},      {7, 5, 5, 7, 2, 3, -90, 0, 0, 7, 5},
      {5, 3, 3, 5, 1, 2, -90, 0, 0, 5, 3},     {9, 9, 4, 6, 1, 5, 90, 2, 1, 6, 7},
      {6, 4, 10, 10, 7, 2, -90, 0, 0, 6, 4},   {6, 4, 4, 6, 2, 3, 90, -2, -1, 9, 8},
      {1, 1, 1, 1, 0, 0, 90, 0, 0, 1, 1},      {8, 3, 3, 8, 1, 4, 90, 0, 0, 8, 3},
      {8, 3, 3, 8, 100, 4, 90, 0, 0, 8, 3},    {300, 90, 90, 300, 45, 150, -90, 0, 0, 300, 90},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.srcW << "x" << c.srcH << " " << c.angle << " at " << c.cx << "," << c.cy);
    Canvas src(c.srcW, c.srcH), fast(c.dstW, c.dstH), slow(c.dstW, c.dstH);
    fillDc(src.dc, static_cast<std::uint32_t>(c.srcW * 7 + c.dstH));
    fillDc(fast.dc, 3);
    fillDc(slow.dc, 3);
    rotateBlt(fast.dc, c.cx, c.cy, c.angle, src.dc, c.left, c.top, c.W, c.H);
    const auto pts = rotationPoints(c.cx, c.cy, c.angle, c.W, c.H);
    gdi::PlgBlt(slow.dc, pts.data(), src.dc, c.left, c.top, c.W, c.H, 0, 0, 0);
    EXPECT_TRUE(readDc(fast.dc) == readDc(slow.dc));
  }
  // Invalid contexts and sizes are ignored.
  Canvas a(4, 4);
  rotateBlt(0, 2, 2, 90, a.dc, 0, 0, 4, 4);
  rotateBlt(a.dc, 2, 2, 90, 12345, 0, 0, 4, 4);
  rotateBlt(a.dc, 2, 2, 90, a.dc, 0, 0, -4, 0);
}

// Every destination pixel on its own, straight from the documented formulas:
// the exact sample point in 32 fractional bits, coverage, then sampling with
// the edge pixels repeated.
Image reference(const Image& src, double radians, int W, int H, int quality, std::uint32_t background) {
  const std::int64_t C = std::llround(std::cos(radians) * 4294967296.0);
  const std::int64_t S = std::llround(std::sin(radians) * 4294967296.0);
  const std::int64_t half = std::int64_t{1} << 31;
  const auto clampX = [&](std::int64_t x) { return static_cast<int>(std::clamp<std::int64_t>(x, 0, src.w - 1)); };
  const auto clampY = [&](std::int64_t y) { return static_cast<int>(std::clamp<std::int64_t>(y, 0, src.h - 1)); };
  const auto cubic = [](int k, int tap) {
    // Catmull-Rom in 1/1024, the largest weight taking the rounding slack.
    const double x = k / 128.0, x2 = x * x, x3 = x2 * x;
    const double wt[4] = {(-x3 + 2 * x2 - x) / 2, (3 * x3 - 5 * x2 + 2) / 2, (-3 * x3 + 4 * x2 + x) / 2, (x3 - x2) / 2};
    int r[4], sum = 0, largest = 0;
    for (int i = 0; i < 4; ++i) {
      r[i] = static_cast<int>(std::lround(wt[i] * 1024));
      sum += r[i];
      if (wt[i] > wt[largest]) largest = i;
    }
    r[largest] += 1024 - sum;
    return r[tap];
  };
  Image out{W, H, std::vector<std::uint32_t>(static_cast<std::size_t>(W * H), background)};
  for (int Y = 0; Y < H; ++Y)
    for (int X = 0; X < W; ++X) {
      const std::int64_t U = ((C * (2 * X + 1 - W) + S * (2 * Y + 1 - H)) >> 1) + (src.w - 1) * half;
      const std::int64_t V = ((C * (2 * Y + 1 - H) - S * (2 * X + 1 - W)) >> 1) + (src.h - 1) * half;
      if (U < -half || U >= (2 * src.w - 1) * half || V < -half || V >= (2 * src.h - 1) * half) continue;
      const std::int64_t ix = U >> 32, iy = V >> 32;
      const int fx = static_cast<int>((U >> 25) & 127), fy = static_cast<int>((V >> 25) & 127);
      std::uint32_t c = 0;
      for (int k = 0; k < 3; ++k) {
        int v = 0;
        if (quality == 0) {
          v = channel(src.at(clampX((U + half) >> 32), clampY((V + half) >> 32)), k);
        } else if (quality == 1) {
          const int sum = channel(src.at(clampX(ix), clampY(iy)), k) * (128 - fx) * (128 - fy) +
                          channel(src.at(clampX(ix + 1), clampY(iy)), k) * fx * (128 - fy) +
                          channel(src.at(clampX(ix), clampY(iy + 1)), k) * (128 - fx) * fy +
                          channel(src.at(clampX(ix + 1), clampY(iy + 1)), k) * fx * fy;
          v = (sum + 8192) >> 14;
        } else {
          std::int64_t sum = 0;
          for (int j = 0; j < 4; ++j)
            for (int i = 0; i < 4; ++i)
              sum += std::int64_t{cubic(fy, j)} * cubic(fx, i) * channel(src.at(clampX(ix - 1 + i), clampY(iy - 1 + j)), k);
          v = static_cast<int>(std::clamp<std::int64_t>((sum + (1 << 19)) >> 20, 0, 255));
        }
        c |= static_cast<std::uint32_t>(v) << (8 * k);
      }
      out.px[static_cast<std::size_t>(Y * W + X)] = c;
    }
  return out;
}

struct AngleCase {
  const char* what;
  double degrees;
  int quality;
};

class RotateAngleMatchesTheReference : public ::testing::TestWithParam<AngleCase> {};

TEST_P(RotateAngleMatchesTheReference, OnRandomPictures) {
  const AngleCase& c = GetParam();
  for (const auto& [w, h] : {std::pair{1, 1}, {1, 6}, {7, 1}, {2, 2}, {37, 23}, {300, 170}}) {
    const auto src = test_support::randomDib(w, h, static_cast<std::uint32_t>(w * 131 + h));
    const auto out = cImageProcessDIB().RotateAngle(*src, c.degrees, 0x00336699, c.quality);
    ASSERT_TRUE(out) << w << "x" << h;
    const Image want = reference(read(*src), std::fmod(c.degrees, 360.0) * kPi / 180.0, out->Width(),
                                 out->Height(), c.quality, 0x996633);
    EXPECT_TRUE(read(*out) == want) << w << "x" << h;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Angles, RotateAngleMatchesTheReference,
    ::testing::Values(AngleCase{"30 bilinear", 30, 1}, AngleCase{"30 nearest", 30, 0}, AngleCase{"30 bicubic", 30, 2},
                      AngleCase{"minus 45 bilinear", -45, 1}, AngleCase{"123.4 bilinear", 123.4, 1},
                      AngleCase{"200 bicubic", 200, 2}, AngleCase{"0.01 bilinear", 0.01, 1},
                      AngleCase{"719 nearest", 719, 0},
                      // Quarter turns sample pixel centres only: exact permutations at every quality.
                      AngleCase{"90 bicubic", 90, 2}, AngleCase{"minus 450 nearest", -450, 0}),
    [](const auto& p) { return test_support::readableName(p.param.what); });

// The fixed-point sampling stays within a level or two of the rotation
// computed in floating point, so the geometry (direction, centre) is right.
TEST(RotateAngle, FollowsTheTrueRotation) {
  cDIBSection src;
  ASSERT_TRUE(src.Create(64, 48));
  const DibView v = src.View();
  for (int y = 0; y < 48; ++y)  // a smooth ramp: red across, green down
    for (int x = 0; x < 64; ++x) {
      v.row(47 - y)[3 * x + 2] = static_cast<std::uint8_t>(4 * x);
      v.row(47 - y)[3 * x + 1] = static_cast<std::uint8_t>(5 * y);
      v.row(47 - y)[3 * x] = 0;
    }
  const auto out = cImageProcessDIB().RotateAngle(src, 30, 0, 1);
  ASSERT_TRUE(out);
  const Image got = read(*out);
  const double c = std::cos(kPi / 6), s = std::sin(kPi / 6);
  int checked = 0;
  for (int Y = 0; Y < got.h; ++Y)
    for (int X = 0; X < got.w; ++X) {
      const double dx = X + 0.5 - got.w / 2.0, dy = Y + 0.5 - got.h / 2.0;
      const double u = c * dx + s * dy + 31.5, vv = -s * dx + c * dy + 23.5;
      if (u < 0.1 || u > 62.9 || vv < 0.1 || vv > 46.9) continue;  // inside, away from the edges
      EXPECT_NEAR(channel(got.at(X, Y), 2), 4 * u, 2.5) << X << "," << Y;
      EXPECT_NEAR(channel(got.at(X, Y), 1), 5 * vv, 2.5) << X << "," << Y;
      ++checked;
    }
  EXPECT_GT(checked, 2000);
}

TEST(RotateAngle, BoundingBoxSizes) {
  const struct {
    double degrees;
    int w, h, W, H;
  } cases[] = {{30, 100, 50, 112, 94},   {45, 100, 50, 107, 107}, {-30, 100, 50, 112, 94},
                        {90, 100, 50, 50, 100},   {180, 100, 50, 100, 50}, {-270, 100, 50, 50, 100},
                        {1e9, 100, 50, 67, 108}, {0, 1, 1, 1, 1},         {45, 1, 1, 2, 2}};
  for (const auto& c : cases) {
    const auto out = cImageProcessDIB().RotateAngle(*test_support::randomDib(c.w, c.h, 1), c.degrees, 0, 1);
    ASSERT_TRUE(out) << c.degrees;
    EXPECT_TRUE(out->Width() == c.W && out->Height() == c.H) << c.degrees << ": " << out->Width() << "x" << out->Height();
  }
}

TEST(RotateAngle, RefusesWhatCannotBeTurnedAndReportsEveryNewRow) {
  const auto src = test_support::randomDib(5, 3, 2);
  cImageProcessDIB e;
  test_support::EventLog log;
  log.attach(e);
  for (const double bad : {kNan, kInf, -kInf}) EXPECT_FALSE(e.RotateAngle(*src, bad, 0, 1));
  for (const int quality : {-1, 3, 1000}) EXPECT_FALSE(e.RotateAngle(*src, 30, 0, quality));
  EXPECT_FALSE(e.RotateAngle(cDIBSection(), 30, 0, 1));
  EXPECT_TRUE(log.events.empty());
  // Huge angles turn by their remainder.
  const auto big = e.RotateAngle(*src, -1e9, 0, 1);
  const auto same = e.RotateAngle(*src, std::fmod(-1e9, 360.0), 0, 1);
  ASSERT_TRUE(big && same);
  EXPECT_TRUE(read(*big) == read(*same));
  log.events.clear();
  const auto out = e.RotateAngle(*test_support::randomDib(300, 200, 3), 30, 0, 1);
  ASSERT_TRUE(out);
  EXPECT_EQ(log.events, test_support::expectedEvents("Rotate", out->Height() - 1, 0, out->Height() - 1, 1));
}

// ----- the in-place block rotation behind clsImageRotate ------------------------------

TEST(RotateBitmap, TurnsTheTopLeftBlockInPlace) {
  const struct {
    int bitmapW, bitmapH, w, h;
    double radians;
  } cases[] = {{40, 30, 40, 30, 0.5}, {50, 40, 31, 17, -1.2}, {9, 9, 1, 1, 2.0},
                        {20, 20, 1, 13, 0.3},  {64, 64, 64, 64, kPi / 2}};
  for (const bool dib : {false, true}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(::testing::Message() << (dib ? "24-bit " : "32-bit ") << c.w << "x" << c.h);
      cDIBSection section;
      Canvas device(c.bitmapW, c.bitmapH);
      ASSERT_TRUE(section.Create(c.bitmapW, c.bitmapH));
      const gdi::HDC dc = dib ? section.hdc() : device.dc;
      fillDc(dc, static_cast<std::uint32_t>(c.w * 3 + c.h));
      Image want = readDc(dc), block{c.w, c.h, {}};
      for (int y = 0; y < c.h; ++y)
        for (int x = 0; x < c.w; ++x) block.px.push_back(want.at(x, y));
      const Image turned = reference(block, c.radians, c.w, c.h, 1, 0);
      for (int y = 0; y < c.h; ++y)
        for (int x = 0; x < c.w; ++x) want.px[static_cast<std::size_t>(y * c.bitmapW + x)] = turned.at(x, y);
      ASSERT_TRUE(rotateBitmapBlock(dc, c.w, c.h, c.radians));
      EXPECT_TRUE(readDc(dc) == want);
    }
  }
}

TEST(RotateBitmap, BadArgumentsChangeNothingAndSayWhy) {
  Canvas t(16, 12);
  fillDc(t.dc, 9);
  const Image before = readDc(t.dc);
  const ScopedMemDC bareOwner(gdi::CreateCompatibleDC(0));  // still holds its 1x1 monochrome bitmap
  const gdi::HDC bare = bareOwner.get();
  const struct {
    const char* what;
    gdi::HDC dc;
    int w, h;
    double radians;
    std::uint32_t error;
  } cases[] = {
      {"no context", 0, 4, 4, 1, gdi::ERROR_INVALID_HANDLE},
      {"stale handle", 0x7FFFFF, 4, 4, 1, gdi::ERROR_INVALID_HANDLE},
      {"monochrome bitmap", bare, 1, 1, 1, gdi::ERROR_INVALID_PARAMETER},
      {"zero width", t.dc, 0, 4, 1, gdi::ERROR_INVALID_PARAMETER},
      {"negative height", t.dc, 4, -4, 1, gdi::ERROR_INVALID_PARAMETER},
      {"wider than the bitmap", t.dc, 17, 4, 1, gdi::ERROR_INVALID_PARAMETER},
      {"huge", t.dc, 2147483647, 2147483647, 1, gdi::ERROR_INVALID_PARAMETER},
      {"nan", t.dc, 4, 4, kNan, gdi::ERROR_INVALID_PARAMETER},
      {"infinity", t.dc, 4, 4, -kInf, gdi::ERROR_INVALID_PARAMETER},
  };
  for (const auto& c : cases) {
    gdi::SetLastError(0);
    EXPECT_FALSE(rotateBitmapBlock(c.dc, c.w, c.h, c.radians)) << c.what;
    EXPECT_EQ(gdi::GetLastError(), c.error) << c.what;
    EXPECT_TRUE(readDc(t.dc) == before) << c.what;
  }
}

}  // namespace
}  // namespace qorv
