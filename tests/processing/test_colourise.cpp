// Colourise: one hue and saturation for every pixel, its own lightness shifted.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "ProcessingTestSupport.h"
#include "processing/Hls.h"
#include "support/TestNames.h"

namespace qorv {
namespace {

using test_support::Bytes;

// Pixel by pixel through the HLS module, as the operation is meant.
Bytes colourised(Bytes b, double hueDegrees, double saturationPercent, double shiftPercent) {
  const double k = shiftPercent / 100.0;
  for (int y = 0; y < b.height; ++y) {
    for (int x = 0; x < b.width; ++x) {
      std::uint8_t* p = &b.at(3 * x, y);
      hls::Hls c = hls::fromRgb(p[2], p[1], p[0]);
      c.h = hueDegrees / 360.0;
      c.s = saturationPercent / 100.0;
      c.l = std::clamp(k >= 0 ? c.l + (1.0 - c.l) * k : c.l * (1.0 + k), 0.0, 1.0);
      const hls::Rgb out = hls::toRgb(c);
      p[0] = out.b;
      p[1] = out.g;
      p[2] = out.r;
    }
  }
  return b;
}

struct Setting {
  const char* what;
  double hue, saturation, lightness;
};

class ColouriseMatchesTheReference : public ::testing::TestWithParam<Setting> {};

TEST_P(ColouriseMatchesTheReference, OnRandomPictures) {
  const Setting& s = GetParam();
  for (const auto& [w, h] : {std::pair{1, 1}, {1, 9}, {13, 1}, {17, 11}, {300, 211}}) {
    cDIBSection d;
    ASSERT_TRUE(d.Create(w, h));
    test_support::fillRandom(d, static_cast<std::uint32_t>(w * 31 + h));
    const Bytes expected = colourised(test_support::snapshot(d), s.hue, s.saturation, s.lightness);
    cImageProcessDIB e;
    e.Colourise(d, s.hue, s.saturation, s.lightness);
    const Bytes got = test_support::snapshot(d);
    EXPECT_TRUE(got == expected) << w << "x" << h;
    EXPECT_TRUE(test_support::paddingIntact(got));
  }
}

INSTANTIATE_TEST_SUITE_P(Settings, ColouriseMatchesTheReference,
                         ::testing::Values(Setting{"sepia", 30, 40, 0}, Setting{"full red", 0, 100, 0},
                                           Setting{"pale blue lighter", 220, 25, 35},
                                           Setting{"green darker", 120, 80, -45},
                                           Setting{"white out", 300, 50, 100}, Setting{"black out", 10, 60, -100},
                                           Setting{"grey", 77, 0, 0}, Setting{"fractional", 359.5, 33.3, 12.5}),
                         [](const auto& p) { return test_support::readableName(p.param.what); });

TEST(Colourise, GreyPictureWithoutSaturationIsUnchanged) {
  cDIBSection d;
  ASSERT_TRUE(d.Create(256, 3));
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 256; ++x)
      for (int c = 0; c < 3; ++c) d.View().at(3 * x + c, y) = static_cast<std::uint8_t>((x * 7 + y) % 256);
  const Bytes before = test_support::snapshot(d);
  cImageProcessDIB e;
  for (const double hue : {0.0, 123.0, 359.0}) {
    e.Colourise(d, hue, 0, 0);
    EXPECT_TRUE(test_support::snapshot(d) == before) << hue;
  }
}

TEST(Colourise, OutOfRangeValuesAreTakenRoundOrHeld) {
  struct Case {
    const char* what;
    double hue, saturation, lightness;
    double asHue, asSaturation, asLightness;
  };
  const Case cases[] = {
      {"hue 360 is red", 360, 50, 0, 0, 50, 0},
      {"hue 370 is 10", 370, 50, 0, 10, 50, 0},
      {"hue -30 is 330", -30, 50, 0, 330, 50, 0},
      {"saturation above 100", 40, 250, 0, 40, 100, 0},
      {"saturation below 0", 40, -5, 0, 40, 0, 0},
      {"lightness above 100", 40, 50, 180, 40, 50, 100},
      {"lightness below -100", 40, 50, -101, 40, 50, -100},
  };
  for (const Case& c : cases) {
    cDIBSection a, b;
    ASSERT_TRUE(a.Create(40, 30));
    ASSERT_TRUE(b.Create(40, 30));
    test_support::fillRandom(a, 5);
    test_support::fillRandom(b, 5);
    cImageProcessDIB e;
    e.Colourise(a, c.hue, c.saturation, c.lightness);
    e.Colourise(b, c.asHue, c.asSaturation, c.asLightness);
    EXPECT_TRUE(test_support::snapshot(a) == test_support::snapshot(b)) << c.what;
  }
}

TEST(Colourise, NumbersThatAreNotFiniteChangeNothing) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const double bad[][3] = {{nan, 50, 0}, {30, nan, 0}, {30, 50, nan}, {inf, 50, 0}, {30, -inf, 0}, {30, 50, inf}};
  for (const auto& b : bad) {
    cDIBSection d;
    ASSERT_TRUE(d.Create(9, 4));
    test_support::fillRandom(d, 3);
    const Bytes before = test_support::snapshot(d);
    cImageProcessDIB e;
    test_support::EventLog log;
    log.attach(e);
    e.Colourise(d, b[0], b[1], b[2]);
    EXPECT_TRUE(test_support::snapshot(d) == before);
    EXPECT_TRUE(log.events.empty());
  }
}

TEST(Colourise, ReportsEveryColumn) {
  cDIBSection d;
  ASSERT_TRUE(d.Create(4, 3));
  cImageProcessDIB e;
  test_support::EventLog log;
  log.attach(e);
  e.Colourise(d, 10, 20, 30);
  EXPECT_EQ(log.events, test_support::expectedEvents("Colourise", 9, 0, 9, 3));
  cDIBSection empty;
  log.events.clear();
  e.Colourise(empty, 10, 20, 30);
  EXPECT_TRUE(log.events.empty());
}

}  // namespace
}  // namespace qorv
