// The HLS module that Lighten and Colourise share.
#include <gtest/gtest.h>

#include <cstdint>

#include "processing/Hls.h"

namespace qorv {
namespace {

TEST(Hls, EveryColourSurvivesTheRoundTrip) {
  std::int64_t failures = 0;
  for (std::uint32_t c = 0; c < (1u << 24); ++c) {
    const hls::Rgb in{static_cast<std::uint8_t>(c >> 16), static_cast<std::uint8_t>(c >> 8),
                      static_cast<std::uint8_t>(c)};
    const hls::Rgb out = hls::toRgb(hls::fromRgb(in.r, in.g, in.b));
    if (!(out == in) && ++failures <= 5) {
      ADD_FAILURE() << "rgb(" << int{in.r} << ", " << int{in.g} << ", " << int{in.b} << ") came back as rgb("
                    << int{out.r} << ", " << int{out.g} << ", " << int{out.b} << ")";
    }
  }
  EXPECT_EQ(failures, 0);
}

TEST(Hls, ComponentsOfKnownColours) {
  const struct {
    const char* what;
    std::uint8_t r, g, b;
    double h, l, s;
  } cases[] = {
      {"black", 0, 0, 0, 0.0, 0.0, 0.0},
      {"white", 255, 255, 255, 0.0, 1.0, 0.0},
      {"mid grey", 128, 128, 128, 0.0, 128 / 255.0, 0.0},
      {"red", 255, 0, 0, 0.0, 0.5, 1.0},
      {"green", 0, 255, 0, 1 / 3.0, 0.5, 1.0},
      {"blue", 0, 0, 255, 2 / 3.0, 0.5, 1.0},
      {"yellow", 255, 255, 0, 1 / 6.0, 0.5, 1.0},
      {"magenta", 255, 0, 255, 5 / 6.0, 0.5, 1.0},
      {"pale red", 255, 128, 128, 0.0, (255 + 128) / 510.0, 1.0},
      {"dark cyan", 0, 64, 64, 0.5, 32 / 255.0, 1.0},
  };
  for (const auto& c : cases) {
    const hls::Hls v = hls::fromRgb(c.r, c.g, c.b);
    EXPECT_NEAR(v.h, c.h, 1e-12) << c.what;
    EXPECT_NEAR(v.l, c.l, 1e-12) << c.what;
    EXPECT_NEAR(v.s, c.s, 1e-12) << c.what;
  }
}

TEST(Hls, HueIsTakenRoundTheCircle) {
  for (const double turns : {-2.0, -1.0, 1.0, 3.0}) {
    for (const double h : {0.0, 0.1, 0.5, 0.9}) {
      EXPECT_EQ(hls::toRgb({h + turns, 0.4, 0.7}), hls::toRgb({h, 0.4, 0.7})) << h << " + " << turns;
    }
  }
}

TEST(Hls, LightnessDependsOnlyOnTheExtremeChannels) {
  // Tables keyed by (largest, smallest) rest on this.
  for (int mid = 10; mid <= 200; mid += 19) {
    EXPECT_EQ(hls::fromRgb(200, static_cast<std::uint8_t>(mid), 10).l, hls::lightness(200, 10));
    EXPECT_EQ(hls::fromRgb(10, 200, static_cast<std::uint8_t>(mid)).l, hls::lightness(200, 10));
  }
}

}  // namespace
}  // namespace qorv
