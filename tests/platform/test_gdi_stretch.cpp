// StretchBlt and BitBlt pixels against a slow reference written straight from
// the stretch rules, clipped on every side, plus raster operations; PlgBlt
// against an exact inverse mapping.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <optional>
#include <random>
#include <string>

#include "platform/CpuFeatures.h"
#include "platform/RowParallel.h"
#include "platform/test_gdi_util.h"

using namespace gdi;
using gditest::Canvas;

namespace {

using i64 = std::int64_t;
using u64 = std::uint64_t;

i64 ceilDiv(i64 a, i64 b) { return a >= 0 ? (a + b - 1) / b : -((-a) / b); }

// Source pixels (logical indices) read by logical destination pixel j along one
// axis, with their weights, found by scanning every source pixel.
struct AxisRef {
  std::vector<std::pair<i64, u64>> taps;
  u64 den = 1;
};

AxisRef referenceAxis(i64 j, i64 D, i64 S, int mode, bool vertical) {
  AxisRef a;
  if (D == S) {
    a.taps.push_back({j, 1});
    return a;
  }
  if (mode == HALFTONE) {
    if (D < S) {
      // Exact area: source k covers [kD, (k+1)D), destination j covers [jS, (j+1)S).
      a.den = static_cast<u64>(S);
      for (i64 k = 0; k < S; ++k) {
        const i64 lo = std::max(k * D, j * S), hi = std::min((k + 1) * D, (j + 1) * S);
        if (hi > lo) a.taps.push_back({k, static_cast<u64>(hi - lo)});
      }
    } else {
      // Tent around the destination centre, clamped to the outer pixel centres.
      a.den = static_cast<u64>(2 * D);
      const i64 centre = std::clamp<i64>((2 * j + 1) * S - D, 0, 2 * D * (S - 1));
      for (i64 k = 0; k < S; ++k) {
        const i64 w = 2 * D - std::abs(2 * D * k - centre);
        if (w > 0) a.taps.push_back({k, static_cast<u64>(w)});
      }
    }
    return a;
  }
  if (D > S) {
    a.taps.push_back({ceilDiv((2 * j + 1) * S, 2 * D) - 1, 1});
    return a;
  }
  std::vector<i64> group;
  for (i64 k = 0; k < S; ++k)
    if (ceilDiv((2 * k + 1) * D, 2 * S) - 1 == j) group.push_back(k);
  if (mode == COLORONCOLOR) {
    a.taps.push_back({vertical ? group.front() : group.back(), 1});
  } else {
    for (i64 k : group) a.taps.push_back({k, 1});
  }
  return a;
}

std::uint32_t ropReference(DWORD rop, std::uint32_t s, std::uint32_t d) {
  const unsigned code = (rop >> 16) & 0xFF;
  std::uint32_t out = 0;
  for (int b = 0; b < 24; ++b) {
    const unsigned idx = 4u | (((s >> b) & 1u) << 1) | ((d >> b) & 1u);  // pattern bit is 1 (white brush)
    out |= ((code >> idx) & 1u) << b;
  }
  return out;
}

// A stretch: destination and source rectangles, extents negative for mirroring.
struct Request {
  int xd, yd, wd, hd, xs, ys, ws, hs;
};

// The expected destination after a SRCCOPY StretchBlt, every pixel computed alone.
std::vector<std::uint32_t> referenceStretch(const Canvas& dst, const Canvas& src, const Request& r, int mode) {
  const auto [xd, yd, wd, hd, xs, ys, ws, hs] = r;
  std::vector<std::uint32_t> out = dst.pixels();
  const i64 D[2] = {std::abs(wd), std::abs(hd)}, S[2] = {std::abs(ws), std::abs(hs)};
  const i64 dOrg[2] = {wd < 0 ? xd + wd + 1 : xd, hd < 0 ? yd + hd + 1 : yd};
  const i64 sOrg[2] = {ws < 0 ? xs + ws + 1 : xs, hs < 0 ? ys + hs + 1 : ys};
  const bool mirror[2] = {(wd < 0) != (ws < 0), (hd < 0) != (hs < 0)};
  const int srcSize[2] = {src.width(), src.height()};
  for (int Y = 0; Y < dst.height(); ++Y) {
    for (int X = 0; X < dst.width(); ++X) {
      const i64 pos[2] = {X, Y};
      AxisRef axis[2];
      bool inside = true;
      for (int a = 0; a < 2 && inside; ++a) {
        i64 j = pos[a] - dOrg[a];
        if (j < 0 || j >= D[a]) {
          inside = false;
          break;
        }
        if (mirror[a]) j = D[a] - 1 - j;
        axis[a] = referenceAxis(j, D[a], S[a], mode, a == 1);
        for (auto& t : axis[a].taps) {
          t.first += sOrg[a];
          if (t.first < 0 || t.first >= srcSize[a]) inside = false;  // not drawn: source missing
        }
      }
      if (!inside) continue;
      std::uint32_t value = 0;
      if (mode == HALFTONE) {
        const u64 den = axis[0].den * axis[1].den;
        u64 sum[3] = {0, 0, 0};
        for (const auto& [ky, wy] : axis[1].taps)
          for (const auto& [kx, wx] : axis[0].taps) {
            const std::uint32_t p = src.at(static_cast<int>(kx), static_cast<int>(ky));
            for (int c = 0; c < 3; ++c) sum[c] += wx * wy * ((p >> (8 * c)) & 0xFF);
          }
        for (int c = 0; c < 3; ++c) value |= static_cast<std::uint32_t>((sum[c] + den / 2) / den) << (8 * c);
      } else {
        const bool andMode = mode != WHITEONBLACK;
        value = andMode ? 0xFFFFFFu : 0u;
        for (const auto& [ky, wy] : axis[1].taps)
          for (const auto& [kx, wx] : axis[0].taps) {
            const std::uint32_t p = src.at(static_cast<int>(kx), static_cast<int>(ky));
            value = andMode ? (value & p) : (value | p);
          }
      }
      out[static_cast<std::size_t>(Y) * dst.width() + X] = value;
    }
  }
  return out;
}

std::string describe(const Request& r, int mode) {
  return "mode " + std::to_string(mode) + " dest (" + std::to_string(r.xd) + "," + std::to_string(r.yd) + " " +
         std::to_string(r.wd) + "x" + std::to_string(r.hd) + ") src (" + std::to_string(r.xs) + "," +
         std::to_string(r.ys) + " " + std::to_string(r.ws) + "x" + std::to_string(r.hs) + ")";
}

// Stretches into a fresh `dst` as `r` asks and compares every pixel with the
// reference; true when they match.
bool stretchMatchesReference(const Canvas& dst, const Canvas& src, const Request& r, int mode) {
  const auto expected = referenceStretch(dst, src, r, mode);
  EXPECT_EQ(SetStretchBltMode(dst.dc(), mode), BLACKONWHITE);
  EXPECT_TRUE(StretchBlt(dst.dc(), r.xd, r.yd, r.wd, r.hd, src.dc(), r.xs, r.ys, r.ws, r.hs, SRCCOPY));
  EXPECT_EQ(dst.pixels(), expected) << describe(r, mode);
  return dst.pixels() == expected;
}

// Shapes of the per-axis relation between destination and source lengths.
enum class Shape { Enlarge, Shrink, Mixed, Equal, OnePixel, Mirrored };

Request randomRequest(std::mt19937& rng, Shape shape, int srcW, int srcH) {
  Request r{};
  auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  auto coin = [&] { return rng() % 2 == 1; };
  switch (shape) {
    case Shape::Enlarge:
      r.ws = pick(1, 9), r.hs = pick(1, 9), r.wd = r.ws + pick(0, 30), r.hd = r.hs + pick(0, 30);
      break;
    case Shape::Shrink:
      r.wd = pick(1, 9), r.hd = pick(1, 9), r.ws = r.wd + pick(0, 30), r.hs = r.hd + pick(0, 30);
      break;
    case Shape::Mixed:  // one axis shrinks, the other enlarges
      r.wd = pick(1, 8), r.ws = r.wd + pick(1, 25), r.hs = pick(1, 8), r.hd = r.hs + pick(1, 25);
      if (coin()) std::swap(r.wd, r.hd), std::swap(r.ws, r.hs);
      break;
    case Shape::Equal:
      r.wd = r.ws = pick(1, 30), r.hd = r.hs = pick(1, 30);
      break;
    case Shape::OnePixel:
      for (int* v : {&r.wd, &r.hd, &r.ws, &r.hs}) *v = coin() ? 1 : pick(1, 30);
      break;
    case Shape::Mirrored:
      for (int* v : {&r.wd, &r.hd, &r.ws, &r.hs}) *v = pick(1, 30) * (coin() ? -1 : 1);
      break;
  }
  r.ws = std::min(std::abs(r.ws), srcW) * (r.ws < 0 ? -1 : 1);
  r.hs = std::min(std::abs(r.hs), srcH) * (r.hs < 0 ? -1 : 1);
  // Mostly inside the source; sometimes hanging over its edge. The destination
  // is clipped on any side, down to its last row or column.
  r.xs = r.ws > 0 ? pick(-2, srcW - r.ws + 2) : pick(-r.ws - 3, srcW + 1);
  r.ys = r.hs > 0 ? pick(-2, srcH - r.hs + 2) : pick(-r.hs - 3, srcH + 1);
  r.xd = r.wd > 0 ? pick(1 - r.wd, 10) : pick(0, 10 - r.wd);
  r.yd = r.hd > 0 ? pick(1 - r.hd, 10) : pick(0, 10 - r.hd);
  return r;
}

// Readable names of the four stretch modes, in their numeric order.
const char* const kModeNames[] = {"BlackOnWhite", "WhiteOnBlack", "ColorOnColor", "Halftone"};

class StretchModes : public ::testing::TestWithParam<int> {};

TEST_P(StretchModes, MatchesReferenceOnRandomShapes) {
  const int mode = GetParam();
  std::mt19937 rng(1000 + mode);
  const Shape shapes[] = {Shape::Enlarge, Shape::Shrink, Shape::Mixed, Shape::Equal, Shape::OnePixel, Shape::Mirrored};
  const Canvas::Kind kinds[] = {Canvas::Device32, Canvas::Dib24, Canvas::Dib32, Canvas::Dib24TopDown};
  for (Shape shape : shapes) {
    for (int iter = 0; iter < 25; ++iter) {
      const int sw = 1 + static_cast<int>(rng() % 30), sh = 1 + static_cast<int>(rng() % 30);
      Canvas src(sw, sh, kinds[rng() % 4]);
      Canvas dst(24 + static_cast<int>(rng() % 20), 24 + static_cast<int>(rng() % 20), kinds[rng() % 4]);
      src.randomise(rng);
      dst.randomise(rng);
      ASSERT_TRUE(stretchMatchesReference(dst, src, randomRequest(rng, shape, sw, sh), mode))
          << "shape " << static_cast<int>(shape);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(AllModes, StretchModes,
                         ::testing::Values(BLACKONWHITE, WHITEONBLACK, COLORONCOLOR, HALFTONE),
                         [](const auto& p) { return std::string(kModeNames[p.param - BLACKONWHITE]); });

// Large stretches go to the row pool and, for HALFTONE, to the AVX2 rows
// where the processor has them: the pixels must be the same with the pool
// switched off and with the extensions hidden.
TEST(StretchBlt, LargeStretchesGiveTheSamePixelsPooledAloneAndGeneric) {
  std::mt19937 rng(21);
  Canvas src(900, 700);
  src.randomise(rng);
  for (const int mode : {BLACKONWHITE, COLORONCOLOR, HALFTONE}) {
    for (const auto& [w, h] : {std::pair{1300, 500}, {400, 300}, {1000, 1400}}) {
      std::vector<std::vector<std::uint32_t>> results;  // pooled, caller only, generic
      for (const auto& [pool, generic] : {std::pair{true, false}, {false, false}, {true, true}}) {
        qorv::setParallelRowsAllowed(pool);
        qorv::forceGenericPaths(generic);
        Canvas dst(w, h);
        SetStretchBltMode(dst.dc(), mode);
        StretchBlt(dst.dc(), 0, 0, w, h, src.dc(), 3, 5, 891, 690, SRCCOPY);
        results.push_back(dst.pixels());
      }
      qorv::setParallelRowsAllowed(true);
      qorv::forceGenericPaths(false);
      EXPECT_TRUE(results[1] == results[0] && results[2] == results[0]) << "mode " << mode << " " << w << "x" << h;
    }
  }
}

TEST(StretchBlt, HugeClippedDestinationMatchesReferenceInTheVisiblePart) {
  std::mt19937 rng(5);
  Canvas src(60, 40);
  src.randomise(rng);
  // 1000 % of the source, and a 40000-wide stretch whose weights no longer fit
  // 16 bits; both offset so that the visible part is inside the picture.
  const Request requests[] = {{-211, -107, 600, 400, 0, 0, 60, 40}, {-19011, -107, 40000, 400, 0, 0, 60, 40}};
  for (const Request& r : requests) {
    for (int mode : {COLORONCOLOR, HALFTONE, BLACKONWHITE}) {
      Canvas dst(37, 23);
      dst.fill(0xFEDCBA);
      SetStretchBltMode(dst.dc(), mode);
      ASSERT_TRUE(StretchBlt(dst.dc(), r.xd, r.yd, r.wd, r.hd, src.dc(), r.xs, r.ys, r.ws, r.hs, SRCCOPY));
      for (int y = 0; y < dst.height(); ++y)
        for (int x = 0; x < dst.width(); ++x) {
          ASSERT_NE(dst.at(x, y), 0xFEDCBAu) << "every visible pixel is drawn";
          // The reference for one pixel: the request rendered into a 1x1 surface.
          Canvas one(1, 1);
          const auto expected =
              referenceStretch(one, src, {r.xd - x, r.yd - y, r.wd, r.hd, r.xs, r.ys, r.ws, r.hs}, mode);
          ASSERT_EQ(dst.at(x, y), expected[0]) << describe(r, mode) << " at " << x << "," << y;
        }
    }
  }
}

// Pictures wide and tall enough that whole vector blocks, row pairs and the
// split between threads all take part, in every relation of the two axes.
TEST(StretchBlt, LargeHalftoneMatchesReference) {
  struct Case {
    const char* name;
    Request r;
    Canvas::Kind srcKind;
  };
  const Case cases[] = {
      {"gentle shrink", {0, 0, 200, 150, 0, 0, 301, 211}, Canvas::Device32},
      {"strong shrink, odd row counts", {3, 2, 37, 29, 0, 0, 301, 211}, Canvas::Device32},
      {"shrink of a part, 32-bit section", {-4, 5, 190, 175, 17, 9, 283, 199}, Canvas::Dib32},
      {"shrink from 24-bit rows", {0, 0, 150, 100, 0, 0, 301, 211}, Canvas::Dib24},
      {"mirrored shrink", {199, 179, -200, -170, 0, 0, 301, 211}, Canvas::Device32},
      {"enlarge, clipped", {-50, -30, 903, 633, 0, 0, 301, 211}, Canvas::Device32},
      {"enlarge from 24-bit rows", {-7, -11, 640, 480, 20, 10, 201, 151}, Canvas::Dib24TopDown},
      {"shrink across, enlarge down", {0, 0, 200, 180, 0, 0, 301, 97}, Canvas::Device32},
      {"enlarge across, shrink down", {0, 0, 200, 180, 0, 0, 141, 211}, Canvas::Device32},
      {"mirrored enlarge", {250, -5, -410, 300, 5, 7, 180, 150}, Canvas::Device32},
  };
  std::mt19937 rng(12);
  std::unique_ptr<Canvas> sources[4];  // one of each kind, in the order of Canvas::Kind
  for (int k = 0; k < 4; ++k) {
    sources[k] = std::make_unique<Canvas>(301, 211, static_cast<Canvas::Kind>(k));
    sources[k]->randomise(rng);
  }
  for (const Case& c : cases) {
    const Canvas& src = *sources[c.srcKind];
    Canvas dst(200, 180);
    dst.randomise(rng);
    EXPECT_TRUE(stretchMatchesReference(dst, src, c.r, HALFTONE)) << c.name;
  }
}

// Weights of 2^15 and more take the scalar paths of the halftone engine.
TEST(StretchBlt, ExtremeShrinkMatchesReference) {
  std::mt19937 rng(6);
  Canvas src(3, 40000, Canvas::Dib24);
  src.randomise(rng);
  for (int mode : {HALFTONE, BLACKONWHITE, WHITEONBLACK, COLORONCOLOR}) {
    Canvas dst(4, 6);
    dst.randomise(rng);
    EXPECT_TRUE(stretchMatchesReference(dst, src, {0, 1, 4, 5, 0, 0, 3, 40000}, mode));
  }
}

TEST(StretchBlt, ZeroDestinationDrawsNothing) {
  Canvas src(4, 4), dst(4, 4);
  std::mt19937 rng(3);
  src.randomise(rng);
  const auto before = dst.pixels();
  EXPECT_EQ(StretchBlt(dst.dc(), 0, 0, 0, 4, src.dc(), 0, 0, 4, 4, SRCCOPY), TRUE);
  EXPECT_EQ(BitBlt(dst.dc(), 0, 0, 4, 0, src.dc(), 0, 0, SRCCOPY), TRUE);
  EXPECT_EQ(dst.pixels(), before);
}

TEST(BitBlt, OverlappingCopyWithinOneSurfaceActsOnASnapshot) {
  std::mt19937 rng(11);
  for (auto [dx, dy] : std::array<std::pair<int, int>, 4>{{{1, 1}, {-2, 1}, {3, -2}, {-1, -1}}}) {
    Canvas c(12, 9);
    c.randomise(rng);
    const auto before = c.pixels();
    ASSERT_TRUE(BitBlt(c.dc(), 2 + dx, 2 + dy, 6, 5, c.dc(), 2, 2, SRCCOPY));
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 6; ++x)
        ASSERT_EQ(c.at(2 + dx + x, 2 + dy + y), before[static_cast<std::size_t>(2 + y) * 12 + 2 + x]);
  }
}

// Raster operations against a per-bit evaluation of their truth tables, on
// short rows and on rows long enough for the vector copies, one pixel in from
// the edge. Device bitmaps get an X byte of 0 whatever the source held.
TEST(BitBlt, RasterOperationsFollowTheirTruthTables) {
  struct Op {
    const char* name;
    DWORD rop;
  };
  const Op ops[] = {{"SRCCOPY", SRCCOPY},     {"NOTSRCCOPY", NOTSRCCOPY}, {"SRCAND", SRCAND},
                    {"SRCPAINT", SRCPAINT},   {"SRCINVERT", SRCINVERT},   {"DSTINVERT", DSTINVERT},
                    {"BLACKNESS", BLACKNESS}, {"WHITENESS", WHITENESS},   {"MERGEPAINT", 0x00BB0226},
                    {"SRCERASE", 0x00440328}, {"NOTSRCERASE", 0x001100A6}, {"PATINVERT", 0x005A0049}};
  std::mt19937 rng(21);
  for (const Op& op : ops) {
    for (Canvas::Kind kind : {Canvas::Device32, Canvas::Dib24}) {
      for (const int w : {9, 1500}) {
        Canvas src(w, 3), dst(w, 3, kind);
        src.randomise(rng);
        dst.randomise(rng);
        const auto s = src.pixels();
        auto want = dst.pixels();
        for (std::size_t i = 0; i < want.size(); ++i)
          if (i % static_cast<std::size_t>(w) != 0) want[i] = ropReference(op.rop, s[i - 1], want[i]);
        ASSERT_TRUE(BitBlt(dst.dc(), 1, 0, w - 1, 3, src.dc(), 0, 0, op.rop));
        ASSERT_EQ(dst.pixels(), want) << op.name << " width " << w;
        for (int y = 0; kind == Canvas::Device32 && y < 3; ++y)
          for (int x = 1; x < w; ++x) ASSERT_EQ(dst.raw32(x, y) >> 24, 0u) << op.name;
      }
    }
  }
}

TEST(BitBlt, OperationsWithoutSourceNeedNoSourceDc) {
  Canvas dst(3, 3);
  dst.fill(0x00102030);
  EXPECT_EQ(BitBlt(dst.dc(), 0, 0, 2, 2, 0, 0, 0, DSTINVERT), TRUE);
  EXPECT_EQ(dst.at(0, 0), 0x00EFDFCFu);
  EXPECT_EQ(dst.at(2, 2), 0x00102030u);
  EXPECT_EQ(BitBlt(dst.dc(), -1, -1, 10, 10, 0, 0, 0, BLACKNESS), TRUE);
  EXPECT_EQ(dst.at(2, 2), 0u);
  gditest::expectFailure("SRCCOPY without a source", [&] { return BitBlt(dst.dc(), 0, 0, 2, 2, 0, 0, 0, SRCCOPY); },
                         FALSE, ERROR_INVALID_HANDLE);
}

TEST(StretchBlt, StretchingBetweenFormatsConverts) {
  // A paletted 8-bit DIB section as source and as destination.
  struct {
    BITMAPINFOHEADER h;
    RGBQUAD colours[3];
  } info8{gditest::dibInfo(4, 2, 8).bmiHeader, {{0, 0, 0, 0}, {255, 0, 0, 0}, {0, 248, 8, 0}}};  // black, blue, green
  info8.h.biClrUsed = 3;
  void* bits = nullptr;
  const qorv::ScopedBitmap pal(CreateDIBSection(0, reinterpret_cast<BITMAPINFO*>(&info8), DIB_RGB_COLORS, &bits, 0, 0));
  ASSERT_TRUE(pal);
  auto* b = static_cast<std::uint8_t*>(bits);
  // Bottom row first: 0 1 2 1 / top row: 2 2 0 1.
  const std::uint8_t idx[8] = {0, 1, 2, 1, 2, 2, 0, 1};
  std::memcpy(b, idx, 4);
  std::memcpy(b + 4, idx + 4, 4);
  const gditest::Selected srcSel(pal.get());
  const HDC srcDc = srcSel.get();
  Canvas dst(4, 2);
  ASSERT_TRUE(BitBlt(dst.dc(), 0, 0, 4, 2, srcDc, 0, 0, SRCCOPY));
  const std::uint32_t colour[3] = {0x000000, 0x0000FF, 0x08F800};
  for (int x = 0; x < 4; ++x) {
    EXPECT_EQ(dst.at(x, 1), colour[idx[x]]);
    EXPECT_EQ(dst.at(x, 0), colour[idx[4 + x]]);
  }
  // And back into the paletted section: nearest colours map to their indices.
  Canvas back(4, 2);
  for (int x = 0; x < 4; ++x) {
    back.set(x, 0, colour[(x + 1) % 3] ^ 0x010101);
    back.set(x, 1, colour[x % 3]);
  }
  ASSERT_TRUE(BitBlt(srcDc, 0, 0, 4, 2, back.dc(), 0, 0, SRCCOPY));
  for (int x = 0; x < 4; ++x) {
    EXPECT_EQ(b[4 + x], (x + 1) % 3) << x;  // top row
    EXPECT_EQ(b[x], x % 3) << x;
  }
}

// --- PlgBlt: exact quarter turns; parallelograms against an inverse mapping ----

// Exact corners of a quarter turn of a w x h picture into an h x w one.
void exactTurnPoints(int w, int h, bool clockwise, POINT out[3]) {
  const POINT cw[3] = {{h, 0}, {h, w}, {0, 0}}, ccw[3] = {{0, w}, {0, 0}, {h, w}};
  std::copy_n(clockwise ? cw : ccw, 3, out);
}

void turn(const Canvas& src, Canvas& dst, bool clockwise) {
  POINT pts[3];
  exactTurnPoints(src.width(), src.height(), clockwise, pts);
  ASSERT_EQ(PlgBlt(dst.dc(), pts, src.dc(), 0, 0, src.width(), src.height(), 0, 0, 0), TRUE);
}

// A quarter turn either way puts every pixel where the turn says, and four
// turns, or one each way, restore the picture.
TEST(PlgBlt, QuarterTurnsAreExactPermutations) {
  std::mt19937 rng(2);
  const std::pair<int, int> sizes[] = {{400, 200}, {7, 3}, {1, 1}, {16, 16}, {5, 9}, {2, 1}};
  for (auto [w, h] : sizes) {
    for (bool clockwise : {true, false}) {
      SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + (clockwise ? " cw" : " ccw"));
      Canvas a(w, h), b(h, w), c(w, h), d(h, w), e(w, h), back(w, h);
      a.randomise(rng);
      turn(a, b, clockwise);
      // Clockwise, destination (x, y) comes from source (y, h-1-x): the bottom left to the top left.
      for (int y = 0; y < w; ++y)
        for (int x = 0; x < h; ++x) ASSERT_EQ(b.at(x, y), clockwise ? a.at(y, h - 1 - x) : a.at(w - 1 - y, x)) << x << "," << y;
      turn(b, c, clockwise);
      turn(c, d, clockwise);
      turn(d, e, clockwise);
      ASSERT_EQ(e.pixels(), a.pixels());
      turn(b, back, !clockwise);
      ASSERT_EQ(back.pixels(), a.pixels());
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
      if (den < 0) nu = -nu, nv = -nv, den = -den;
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
