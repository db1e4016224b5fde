// PlgBlt: quarter turns are exact permutations; general parallelograms match a
// per-pixel exact inverse mapping.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "platform/test_gdi_util.h"

using namespace gdi;
using gditest::Canvas;

namespace {

// Corner points of a quarter turn about the centre of the swapped rectangle,
// computed the way the picture rotation does it: single-precision sine and
// cosine, halves rounded to even.
void quarterTurnPoints(int w, int h, int degrees, POINT out[3]) {
  const long cx = h / 2, cy = w / 2;
  const long p0x = std::lrint(-w * 0.5), p0y = std::lrint(-h * 0.5);
  const long px[3] = {p0x, p0x + w, p0x};
  const long py[3] = {p0y, p0y, p0y + h};
  const float s = static_cast<float>(std::sin(degrees * 0.01745329251322222));
  const float c = static_cast<float>(std::cos(degrees * 0.01745329251322222));
  for (int i = 0; i < 3; ++i) {
    out[i].x = static_cast<LONG>(std::lrint(px[i] * c - py[i] * s + cx));
    out[i].y = static_cast<LONG>(std::lrint(px[i] * s + py[i] * c + cy));
  }
}

// Exact corners of a quarter turn of a w x h picture into an h x w one.
void exactTurnPoints(int w, int h, bool clockwise, POINT out[3]) {
  if (clockwise) {
    out[0] = {h, 0};
    out[1] = {h, w};
    out[2] = {0, 0};
  } else {
    out[0] = {0, w};
    out[1] = {0, 0};
    out[2] = {h, w};
  }
}

void turn(const Canvas& src, Canvas& dst, bool clockwise) {
  POINT pts[3];
  exactTurnPoints(src.width(), src.height(), clockwise, pts);
  ASSERT_EQ(PlgBlt(dst.dc(), pts, src.dc(), 0, 0, src.width(), src.height(), 0, 0, 0), TRUE);
}

TEST(PlgBlt, ClockwiseTurnPutsBottomLeftAtTopLeft) {
  std::mt19937 rng(1);
  Canvas src(400, 200), dst(200, 400);
  src.randomise(rng);
  POINT pts[3], exact[3];
  quarterTurnPoints(400, 200, 90, pts);
  exactTurnPoints(400, 200, true, exact);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(pts[i].x, exact[i].x) << i;
    EXPECT_EQ(pts[i].y, exact[i].y) << i;
  }
  ASSERT_EQ(PlgBlt(dst.dc(), pts, src.dc(), 0, 0, 400, 200, 0, 0, 0), TRUE);
  EXPECT_EQ(dst.at(0, 0), gditest::rgb(src.raw32(0, 199)));
  EXPECT_EQ(dst.at(199, 0), gditest::rgb(src.raw32(0, 0)));
  EXPECT_EQ(dst.at(199, 399), gditest::rgb(src.raw32(399, 0)));
  EXPECT_EQ(dst.at(0, 399), gditest::rgb(src.raw32(399, 199)));
  // Every pixel: destination (x, y) comes from source (y, H-1-x).
  for (int y = 0; y < 400; ++y)
    for (int x = 0; x < 200; ++x) ASSERT_EQ(dst.at(x, y), gditest::rgb(src.raw32(y, 199 - x))) << x << "," << y;
}

TEST(PlgBlt, FourQuarterTurnsRestoreThePicture) {
  std::mt19937 rng(2);
  const std::pair<int, int> sizes[] = {{400, 200}, {7, 3}, {1, 1}, {16, 16}, {5, 9}, {2, 1}};
  for (auto [w, h] : sizes) {
    for (bool clockwise : {true, false}) {
      Canvas a(w, h), b(h, w), c(w, h), d(h, w), e(w, h);
      a.randomise(rng);
      turn(a, b, clockwise);
      turn(b, c, clockwise);
      turn(c, d, clockwise);
      turn(d, e, clockwise);
      ASSERT_EQ(e.pixels(), a.pixels()) << w << "x" << h << (clockwise ? " cw" : " ccw");
      // And one turn each way is the identity too.
      Canvas back(w, h);
      turn(b, back, !clockwise);
      ASSERT_EQ(back.pixels(), a.pixels()) << w << "x" << h;
    }
  }
}

// Exact reference: the source pixel under each destination centre, solved per
// pixel with a fresh division.
std::vector<std::uint32_t> referencePlg(const Canvas& dst, const POINT* p, const Canvas& src, int xs, int ys, int w,
                                        int h) {
  __extension__ typedef __int128 i128;
  auto out = dst.pixels();
  const i128 ax = p[1].x - p[0].x, ay = p[1].y - p[0].y, bx = p[2].x - p[0].x, by = p[2].y - p[0].y;
  const i128 det = ax * by - ay * bx;
  for (int Y = 0; Y < dst.height(); ++Y)
    for (int X = 0; X < dst.width(); ++X) {
      const i128 qx = 2 * X + 1 - 2 * static_cast<i128>(p[0].x), qy = 2 * Y + 1 - 2 * static_cast<i128>(p[0].y);
      i128 nu = w * (qx * by - qy * bx), nv = h * (ax * qy - ay * qx), den = 2 * det;
      if (den < 0) {
        nu = -nu;
        nv = -nv;
        den = -den;
      }
      if (nu < 0 || nv < 0 || nu >= w * den || nv >= h * den) continue;
      const int u = static_cast<int>(nu / den), v = static_cast<int>(nv / den);
      const int sx = xs + u, sy = ys + v;
      if (sx < 0 || sy < 0 || sx >= src.width() || sy >= src.height()) continue;
      out[static_cast<std::size_t>(Y) * dst.width() + X] = src.at(sx, sy);
    }
  return out;
}

TEST(PlgBlt, ArbitraryParallelogramsMatchReference) {
  std::mt19937 rng(3);
  auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  for (int iter = 0; iter < 200; ++iter) {
    Canvas src(pick(1, 20), pick(1, 20)), dst(pick(5, 40), pick(5, 40), iter % 2 ? Canvas::Dib24 : Canvas::Device32);
    src.randomise(rng);
    dst.randomise(rng);
    POINT pts[3];
    do {
      for (auto& pt : pts) pt = {pick(-10, 50), pick(-10, 50)};
    } while (static_cast<long>(pts[1].x - pts[0].x) * (pts[2].y - pts[0].y) ==
             static_cast<long>(pts[1].y - pts[0].y) * (pts[2].x - pts[0].x));
    const int xs = pick(-3, src.width() - 1), ys = pick(-3, src.height() - 1);
    const int w = pick(1, src.width() + 3), h = pick(1, src.height() + 3);
    const auto expected = referencePlg(dst, pts, src, xs, ys, w, h);
    ASSERT_EQ(PlgBlt(dst.dc(), pts, src.dc(), xs, ys, w, h, 0, 0, 0), TRUE);
    ASSERT_EQ(dst.pixels(), expected) << "iteration " << iter;
  }
}

TEST(PlgBlt, FarOutsideTheDestinationDrawsNothingAndDoesNotStall) {
  std::mt19937 rng(4);
  Canvas src(50, 50), dst(10, 10);
  src.randomise(rng);
  const auto before = dst.pixels();
  const POINT pts[3] = {{-60000000, -60000000}, {60000000, -60000000}, {-60000000, -59999990}};
  EXPECT_EQ(PlgBlt(dst.dc(), pts, src.dc(), 0, 0, 50, 50, 0, 0, 0), TRUE);
  EXPECT_EQ(dst.pixels(), before);
}

}  // namespace
