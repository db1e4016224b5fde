// Displayed size (the fit included), clamping, corner and pan cursor of the view.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/TestNames.h"
#include "view/ViewGeometry.h"

namespace qorv::view {
namespace {

struct SizeCase {
  const char* what;
  float bufW, bufH, paneW, paneH;
  std::int16_t zoom;
  bool stretch, keepAspect, zoomFromOriginal;
  double expW, expH;
};

GeometryInput input(const SizeCase& c) {
  return {c.bufW, c.bufH, c.paneW, c.paneH, c.zoom, c.stretch, c.keepAspect, c.zoomFromOriginal};
}

class DisplayedSize : public ::testing::TestWithParam<SizeCase> {};

TEST_P(DisplayedSize, MatchesExpected) {
  const SizeCase& c = GetParam();
  EXPECT_DOUBLE_EQ(PictureW(input(c)), c.expW) << c.what;
  EXPECT_DOUBLE_EQ(PictureH(input(c)), c.expH) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    Modes, DisplayedSize,
    ::testing::Values(
        // Without Stretch the zoom never changes the size.
        SizeCase{"no stretch 250", 400, 200, 300, 300, 250, false, true, true, 400, 200},
        // Stretch without aspect fills the pane (distorted).
        SizeCase{"fill pane 50%", 400, 200, 300, 120, 50, true, false, false, 150, 60},
        SizeCase{"original 200%", 400, 200, 300, 300, 200, true, false, true, 800, 400},
        SizeCase{"original rounds buffer", 100.5f, 101.5f, 300, 300, 100, true, false, true, 100, 102},
        // Stretch with aspect fits the box.
        SizeCase{"wide picture in square pane", 400, 200, 300, 300, 100, true, true, false, 300, 150},
        SizeCase{"tall picture in square pane", 200, 400, 300, 300, 100, true, true, false, 150, 300},
        SizeCase{"tie of ratios", 400, 200, 600, 300, 100, true, true, false, 600, 300},
        SizeCase{"small picture is enlarged", 40, 20, 300, 300, 100, true, true, false, 300, 150},
        SizeCase{"fit at 200%", 400, 200, 300, 300, 200, true, true, false, 600, 300},
        SizeCase{"original at 50%", 400, 200, 300, 300, 50, true, true, true, 200, 100},
        SizeCase{"original at 100%", 640, 480, 10, 10, 100, true, true, true, 640, 480},
        SizeCase{"zero zoom", 400, 200, 300, 300, 0, true, false, false, 0, 0},
        SizeCase{"negative zoom", 400, 200, 300, 300, -50, true, false, false, -150, -150},
        SizeCase{"largest zoom", 400, 200, 300, 300, 32767, true, false, true, 400 * 327.67, 200 * 327.67},
        // Every size is negated: the box ratio 1 is still below 2.
        SizeCase{"keep aspect negative zoom", 400, 200, 300, 300, -100, true, true, false, -300, -150},
        SizeCase{"empty buffer without stretch", 0, 0, 300, 300, 100, false, true, false, 0, 0}),
    [](const auto& p) { return test_support::readableName(p.param.what); });

TEST(DisplayedSize, EmptyBufferFollowsDoubleArithmetic) {
  GeometryInput g;
  g.paneScaleW = 300;
  g.paneScaleH = 300;
  // 0/0 makes the picture ratio NaN: the height-from-width branch runs.
  EXPECT_DOUBLE_EQ(PictureW(g), 300);
  EXPECT_TRUE(std::isnan(PictureH(g)));
  EXPECT_EQ(roundHalfEven(PictureH(g)), 0);  // so nothing is drawn
}

struct ClampCase { const char* what; bool ignore; double paneW, picW; std::int32_t in; std::int32_t out; };

class Clamp : public ::testing::TestWithParam<ClampCase> {};

TEST_P(Clamp, BothAxes) {
  const ClampCase& c = GetParam();
  // Horizontal.
  std::int32_t x = c.in, y = 0;
  const bool changedX = ClampOffsets(c.ignore, c.paneW, 100, c.picW, 50, x, y);
  EXPECT_EQ(x, c.out) << c.what;
  EXPECT_EQ(y, 0);
  EXPECT_EQ(changedX, c.out != c.in) << c.what;
  // The same rule vertically.
  std::int32_t x2 = 0, y2 = c.in;
  ClampOffsets(c.ignore, 100, c.paneW, 50, c.picW, x2, y2);
  EXPECT_EQ(y2, c.out) << c.what;
  EXPECT_EQ(x2, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Clamp,
    ::testing::Values(ClampCase{"narrower forces zero", false, 600, 400, 37, 0},
                      ClampCase{"equal width forces zero", false, 600, 600, -5, 0},
                      ClampCase{"above half", false, 600, 1000, 250, 200},
                      ClampCase{"below minus half", false, 600, 1000, -250, -200},
                      ClampCase{"inside stays", false, 600, 1000, 150, 150},
                      ClampCase{"ignored above", true, 600, 1000, 250, 250},
                      ClampCase{"ignored narrower", true, 600, 400, 37, 37},
                      ClampCase{"half 100.5 rounds to even", false, 600, 801, 150, 100},
                      ClampCase{"half 101.5 rounds to even", false, 600, 803, 150, 102},
                      ClampCase{"minus half 100.5", false, 600, 801, -150, -100},
                      ClampCase{"far outside", false, 600, 1000, std::numeric_limits<std::int32_t>::min(), -200},
                      ClampCase{"far outside high", false, 600, 1000, std::numeric_limits<std::int32_t>::max(), 200}),
    [](const auto& p) { return test_support::readableName(p.param.what); });

TEST(Corner, CentredAndRaw) {
  const Point2 raw = TopLeft(false, 12, -7, 300, 300, 1000, 1000);
  EXPECT_EQ(raw.x, 12);
  EXPECT_EQ(raw.y, -7);
  const Point2 c = TopLeft(true, 10, -20, 301, 300, 100, 51);
  EXPECT_DOUBLE_EQ(c.x, 10 + 150.5 - 50);
  EXPECT_DOUBLE_EQ(c.y, -20 + 150 - 25.5);
}

TEST(Rounding, HalvesToEven) {
  const struct {
    double in;
    std::int32_t out;
  } cases[] = {{0.5, 0}, {1.5, 2}, {2.5, 2}, {-0.5, 0}, {-1.5, -2}, {100.4999, 100}, {1e20, 2147483647},
               {-1e20, std::numeric_limits<std::int32_t>::min()}, {std::nan(""), 0}};
  for (const auto& c : cases) EXPECT_EQ(roundHalfEven(c.in), c.out) << c.in;
}

TEST(PanCursorChoice, ByOverflowAndIcon) {
  EXPECT_EQ(PanCursor(300, 150, 300, 300, false), 0);
  EXPECT_EQ(PanCursor(300, 150, 300, 300, true), 0);
  EXPECT_EQ(PanCursor(301, 150, 300, 300, false), 15);
  EXPECT_EQ(PanCursor(300, 301, 300, 300, true), 99);
}

}  // namespace
}  // namespace qorv::view
