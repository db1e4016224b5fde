// Quarter-turn rotation: the corner points handed to the parallelogram blit,
// and the pixels that result.
#include <gtest/gtest.h>

#include <random>

#include "platform/GdiSurface.h"
#include "processing/Rotation.h"

namespace qorv {
namespace {

// A memory context holding a device bitmap, released on scope exit.
struct Canvas {
  gdi::HDC dc = 0;
  gdi::HBITMAP bmp = 0;
  gdi::HGDIOBJ old = 0;
  int w, h;
  Canvas(int width, int height) : w(width), h(height) {
    dc = gdi::CreateCompatibleDC(0);
    bmp = gdi::CreateCompatibleBitmap(0, w, h);
    old = gdi::SelectObject(dc, bmp);
  }
  ~Canvas() {
    gdi::SelectObject(dc, old);
    gdi::DeleteObject(bmp);
    gdi::DeleteDC(dc);
  }
  gdi::Surface surface() const {
    gdi::Surface s;
    gdi::BitmapSurface(bmp, s);
    return s;
  }
  std::uint32_t pixel(int x, int y) const {
    const gdi::Surface s = surface();
    const std::uint8_t* p = s.row(y) + 4 * x;
    return p[0] | (p[1] << 8) | (p[2] << 16);
  }
  void fill(std::uint32_t seed) {
    std::mt19937 gen(seed);
    const gdi::Surface s = surface();
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x) {
        const std::uint32_t v = gen() & 0xFFFFFF;
        std::uint8_t* p = s.row(y) + 4 * x;
        p[0] = v & 0xFF;
        p[1] = (v >> 8) & 0xFF;
        p[2] = (v >> 16) & 0xFF;
      }
    }
  }
};

// Turns `src` a quarter turn the way the control does: into a canvas of the
// swapped size, centred on the swapped rectangle.
void quarterTurn(const Canvas& src, Canvas& dst, bool clockwise) {
  rotateBlt(dst.dc, src.h / 2, src.w / 2, clockwise ? 90 : -90, src.dc, 0, 0, src.w, src.h);
}

TEST(RotationPoints, CornersForQuarterTurns) {
  struct Case {
    std::int32_t cx, cy, angle, w, h;
    gdi::POINT p[3];
  };
  const Case cases[] = {
      {100, 200, 90, 400, 200, {{200, 0}, {200, 400}, {0, 0}}},
      {100, 200, -90, 400, 200, {{0, 400}, {0, 0}, {200, 400}}},
      {1, 2, 90, 5, 3, {{3, 0}, {3, 5}, {0, 0}}},
      // Odd sizes: the centre and the corners round separately, one pixel off.
      {1, 2, -90, 5, 3, {{-1, 4}, {-1, -1}, {2, 4}}},
      {0, 0, 90, 1, 1, {{0, 0}, {0, 1}, {-1, 0}}},
      {5, 5, 0, 4, 2, {{3, 4}, {7, 4}, {3, 6}}},
  };
  for (const Case& c : cases) {
    const auto pts = rotationPoints(c.cx, c.cy, c.angle, c.w, c.h);
    for (int k = 0; k < 3; ++k) {
      EXPECT_EQ(pts[static_cast<std::size_t>(k)].x, c.p[k].x) << c.w << "x" << c.h << " " << c.angle << " #" << k;
      EXPECT_EQ(pts[static_cast<std::size_t>(k)].y, c.p[k].y) << c.w << "x" << c.h << " " << c.angle << " #" << k;
    }
  }
}

TEST(RotationPoints, HugeSizesDoNotOverflow) {
  const auto pts = rotationPoints(2147483647, 2147483647, 90, 2147483647, 2147483647);
  (void)pts;  // values are meaningless, but computing them must be safe
  SUCCEED();
}

TEST(RotateBlt, ClockwiseTakesTheTopLeftFromTheBottomLeft) {
  Canvas src(400, 200), dst(200, 400);
  src.fill(1);
  quarterTurn(src, dst, true);
  EXPECT_EQ(dst.pixel(0, 0), src.pixel(0, 199));
  for (int y = 0; y < 400; y += 7) {
    for (int x = 0; x < 200; x += 5) ASSERT_EQ(dst.pixel(x, y), src.pixel(y, 199 - x)) << x << "," << y;
  }
}

TEST(RotateBlt, FourQuarterTurnsAreIdentity) {
  for (auto [w, h] : {std::pair{400, 200}, {6, 4}, {2, 2}, {10, 16}}) {
    for (bool cw : {true, false}) {
      Canvas a(w, h), b(h, w), c(w, h), d(h, w), e(w, h);
      a.fill(static_cast<std::uint32_t>(w + h));
      quarterTurn(a, b, cw);
      quarterTurn(b, c, cw);
      quarterTurn(c, d, cw);
      quarterTurn(d, e, cw);
      for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) ASSERT_EQ(e.pixel(x, y), a.pixel(x, y)) << w << "x" << h << " " << cw;
      }
      // Half a turn is a flip both ways.
      for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) ASSERT_EQ(c.pixel(x, y), a.pixel(w - 1 - x, h - 1 - y));
      }
    }
  }
}

// The direct permutation must give exactly what the parallelogram blit gives,
// clipping included (centres off the canvas, sources larger than their surface).
TEST(RotateBlt, MatchesTheParallelogramBlit) {
  struct Case {
    int srcW, srcH, dstW, dstH;
    std::int32_t cx, cy, angle, left, top, W, H;
  };
  const Case cases[] = {
      {7, 5, 5, 7, 2, 3, 90, 0, 0, 7, 5},      {7, 5, 5, 7, 2, 3, -90, 0, 0, 7, 5},
      {5, 3, 3, 5, 1, 2, -90, 0, 0, 5, 3},     {9, 9, 4, 6, 1, 5, 90, 2, 1, 6, 7},
      {6, 4, 10, 10, 7, 2, -90, 0, 0, 6, 4},   {6, 4, 4, 6, 2, 3, 90, -2, -1, 9, 8},
      {1, 1, 1, 1, 0, 0, 90, 0, 0, 1, 1},      {8, 3, 3, 8, 1, 4, 90, 0, 0, 8, 3},
      {8, 3, 3, 8, 100, 4, 90, 0, 0, 8, 3},    {300, 90, 90, 300, 45, 150, -90, 0, 0, 300, 90},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.srcW) + "x" + std::to_string(c.srcH) + " " + std::to_string(c.angle) + " at " +
                 std::to_string(c.cx) + "," + std::to_string(c.cy));
    Canvas src(c.srcW, c.srcH), fast(c.dstW, c.dstH), slow(c.dstW, c.dstH);
    src.fill(static_cast<std::uint32_t>(c.srcW * 7 + c.dstH));
    fast.fill(3);
    slow.fill(3);
    rotateBlt(fast.dc, c.cx, c.cy, c.angle, src.dc, c.left, c.top, c.W, c.H);
    const auto pts = rotationPoints(c.cx, c.cy, c.angle, c.W, c.H);
    gdi::PlgBlt(slow.dc, pts.data(), src.dc, c.left, c.top, c.W, c.H, 0, 0, 0);
    for (int y = 0; y < c.dstH; ++y) {
      for (int x = 0; x < c.dstW; ++x) ASSERT_EQ(fast.pixel(x, y), slow.pixel(x, y)) << x << "," << y;
    }
  }
}

TEST(RotateBlt, InvalidContextsAreIgnored) {
  Canvas a(4, 4);
  rotateBlt(0, 2, 2, 90, a.dc, 0, 0, 4, 4);
  rotateBlt(a.dc, 2, 2, 90, 12345, 0, 0, 4, 4);
  rotateBlt(a.dc, 2, 2, 90, a.dc, 0, 0, -4, 0);
  SUCCEED();
}

}  // namespace
}  // namespace qorv
