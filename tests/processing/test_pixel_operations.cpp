// The per-pixel operations: grayscale, black and white, noise, fade, lighten,
// colourise (one hue and saturation for every pixel, its own lightness
// shifted), combining, invert and flip, with their notifications.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <tuple>

#include "ProcessingTestSupport.h"
#include "ReferenceFilters.h"
#include "platform/Random.h"
#include "processing/Hls.h"
#include "support/TestNames.h"

namespace qorv {
namespace {

using test_support::Bytes;
using test_support::EventLog;
using test_support::randomDib;
using test_support::snapshot;
namespace ref = test_support::reference;

// Applies f to every pixel byte of a copy (padding untouched).
Bytes mapBytes(Bytes b, const std::function<std::uint8_t(std::uint8_t)>& f) {
  for (int y = 0; y < b.height; ++y)
    for (int x = 0; x < 3 * b.width; ++x) b.at(x, y) = f(b.at(x, y));
  return b;
}

Bytes flipped(const Bytes& b, std::int32_t o) {
  Bytes out = b;
  for (int y = 0; y < b.height; ++y)
    for (int x = 0; x < b.width; ++x) {
      const int sx = (o == 0 || o == 2) ? b.width - 1 - x : x, sy = (o == 1 || o == 2) ? b.height - 1 - y : y;
      for (int c = 0; c < 3; ++c) out.at(3 * x + c, y) = b.at(3 * sx + c, sy);
    }
  return out;
}

// Pixel by pixel through the HLS module, as lighten and colourise are meant.
Bytes throughHls(Bytes b, const std::function<void(hls::Hls&)>& change) {
  for (int y = 0; y < b.height; ++y)
    for (int x = 0; x < b.width; ++x) {
      std::uint8_t* p = &b.at(3 * x, y);
      hls::Hls c = hls::fromRgb(p[2], p[1], p[0]);
      change(c);
      const hls::Rgb out = hls::toRgb(c);
      p[0] = out.b;
      p[1] = out.g;
      p[2] = out.r;
    }
  return b;
}

// One hue and saturation for every pixel, its own lightness shifted towards white or black.
Bytes colourised(const Bytes& b, double hueDegrees, double saturationPercent, double shiftPercent) {
  const double k = shiftPercent / 100.0;
  return throughHls(b, [&](hls::Hls& c) {
    c.h = hueDegrees / 360.0;
    c.s = saturationPercent / 100.0;
    c.l = std::clamp(k >= 0 ? c.l + (1.0 - c.l) * k : c.l * (1.0 + k), 0.0, 1.0);
  });
}

// An operation on one picture and its result written from the definition.
struct PixelCase {
  std::string name;
  std::function<void(cImageProcessDIB&, cDIBSection&)> run;
  std::function<Bytes(const Bytes&)> expect;
};

std::vector<PixelCase> pixelCases() {
  std::vector<PixelCase> cases = {
      {"Grayscale", [](auto& e, auto& d) { e.Grayscale(d); }, ref::grayscale},
      {"Invert", [](auto& e, auto& d) { e.Invert(d); },
       [](const Bytes& b) { return mapBytes(b, [](std::uint8_t v) { return std::uint8_t(255 - v); }); }},
  };
  for (std::int32_t o : {0, 1, 2})
    cases.push_back({"Flip " + std::to_string(o), [o](auto& e, auto& d) { e.Flip(d, o); },
                     [o](const Bytes& b) { return flipped(b, o); }});
  // Every byte times amount / 255, truncated and clamped.
  for (std::int32_t a : {255, 128, 0, 1, 77, 254, 256, 300, 1000, -5})
    cases.push_back({"Fade " + std::to_string(a), [a](auto& e, auto& d) { e.Fade(d, a); }, [a](const Bytes& b) {
                       return mapBytes(b, [a](std::uint8_t v) { return std::uint8_t(ref::clamp255(std::int64_t{v} * a / 255)); });
                     }});
  // Lightness scaled by amount / 100 + 1, kept within 0..1; amount 0 keeps
  // every pixel, as the HLS round trip is exact.
  for (const auto& [what, amount] : {std::pair{"Lighten 35.5", 35.5}, {"Lighten minus 60", -60.0}, {"Lighten 0", 0.0},
                                     {"Lighten 100", 100.0}, {"Lighten 300", 300.0}, {"Lighten minus 100", -100.0}})
    cases.push_back({what, [amount](auto& e, auto& d) { e.Lighten(d, amount); }, [amount](const Bytes& b) {
                       return throughHls(b, [&](hls::Hls& c) { c.l = std::clamp(c.l * (amount / 100 + 1), 0.0, 1.0); });
                     }});
  const std::tuple<const char*, double, double, double> colourise[] = {
      {"sepia", 30, 40, 0},          {"full red", 0, 100, 0},          {"pale blue lighter", 220, 25, 35},
      {"green darker", 120, 80, -45}, {"white out", 300, 50, 100},       {"black out", 10, 60, -100},
      {"grey", 77, 0, 0},            {"fractional", 359.5, 33.3, 12.5}};
  for (const auto& [what, hue, sat, light] : colourise)
    cases.push_back({std::string("Colourise ") + what, [=](auto& e, auto& d) { e.Colourise(d, hue, sat, light); },
                     [=](const Bytes& b) { return colourised(b, hue, sat, light); }});
  return cases;
}

class PixelOperation : public ::testing::TestWithParam<PixelCase> {};

// Large pictures are split over the row pool; there every way of running
// must give these pixels and the same notifications.
TEST_P(PixelOperation, MatchesItsDefinitionAtEverySizeAndEveryWay) {
  for (auto [w, h] : {std::pair{1, 1}, {1, 7}, {7, 1}, {2, 3}, {3, 2}, {5, 4}, {9, 9}, {203, 45}, {701, 523}}) {
    const auto seed = static_cast<std::uint32_t>(w * 3 + h);
    const Bytes expect = GetParam().expect(snapshot(*randomDib(w, h, seed)));
    std::vector<test_support::Event> firstEvents;
    test_support::forEachWay(w, h, [&](std::size_t way) {
      SCOPED_TRACE(::testing::Message() << w << "x" << h);
      const auto d = randomDib(w, h, seed);
      cImageProcessDIB e;
      EventLog log;
      log.attach(e);
      GetParam().run(e, *d);
      const Bytes after = snapshot(*d);
      EXPECT_TRUE(after == expect);
      EXPECT_TRUE(test_support::paddingIntact(after));
      EXPECT_FALSE(log.events.empty());
      if (way == 0) firstEvents = log.events;
      EXPECT_EQ(log.events, firstEvents);
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, PixelOperation, ::testing::ValuesIn(pixelCases()),
                         [](const auto& p) { return test_support::readableName(p.param.name); });

// Every colour, exact halves included, rounds (222 R + 707 G + 71 B) / 1000
// to even, whichever way the rows run (greys included: grey stays grey).
TEST(Grayscale, EveryColourRoundsLikeTheFormulaEveryWay) {
  // All 2^24 colours once each, 4096 to a row.
  cDIBSection d;
  ASSERT_TRUE(d.Create(4096, 4096));
  for (std::int32_t y = 0; y < 4096; ++y)
    for (std::int32_t x = 0; x < 4096; ++x)
      for (int c = 0; c < 3; ++c) d.View().row(y)[3 * x + c] = static_cast<std::uint8_t>((y * 4096 + x) >> (8 * c));
  const Bytes before = snapshot(d), expect = ref::grayscale(before);
  test_support::forEachWay(4096, 4096, [&](std::size_t) {
    test_support::restore(d, before);
    cImageProcessDIB().Grayscale(d);
    EXPECT_TRUE(snapshot(d) == expect);
  });
}

TEST(Colourise, OutOfRangeValuesAreTakenRoundOrHeld) {
  const struct {
    const char* what;
    double hue, saturation, lightness;
    double asHue, asSaturation, asLightness;
  } cases[] = {
      {"hue 360 is red", 360, 50, 0, 0, 50, 0},
      {"hue 370 is 10", 370, 50, 0, 10, 50, 0},
      {"hue -30 is 330", -30, 50, 0, 330, 50, 0},
      {"saturation above 100", 40, 250, 0, 40, 100, 0},
      {"saturation below 0", 40, -5, 0, 40, 0, 0},
      {"lightness above 100", 40, 50, 180, 40, 50, 100},
      {"lightness below -100", 40, 50, -101, 40, 50, -100},
  };
  for (const auto& c : cases) {
    const auto a = randomDib(40, 30, 5), b = randomDib(40, 30, 5);
    cImageProcessDIB e;
    e.Colourise(*a, c.hue, c.saturation, c.lightness);
    e.Colourise(*b, c.asHue, c.asSaturation, c.asLightness);
    EXPECT_TRUE(snapshot(*a) == snapshot(*b)) << c.what;
  }
}

TEST(Colourise, NumbersThatAreNotFiniteChangeNothing) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  const double bad[][3] = {{nan, 50, 0}, {30, nan, 0}, {30, 50, nan}, {inf, 50, 0}, {30, -inf, 0}, {30, 50, inf}};
  const auto d = randomDib(9, 4, 3);
  const Bytes before = snapshot(*d);
  cImageProcessDIB e;
  EventLog log;
  log.attach(e);
  for (const auto& b : bad) e.Colourise(*d, b[0], b[1], b[2]);
  EXPECT_TRUE(snapshot(*d) == before);
  EXPECT_TRUE(log.events.empty());
}

TEST(Flip, UnknownOrientationsChangeNothingAndSayNothing) {
  const auto d = randomDib(5, 3, 1);
  const Bytes before = snapshot(*d);
  cImageProcessDIB e;
  EventLog log;
  log.attach(e);
  for (std::int32_t o : {3, -1, 99}) e.Flip(*d, o);
  EXPECT_EQ(snapshot(*d), before);
  EXPECT_TRUE(log.events.empty());
}

// The large shapes are where the wavefront of rows and the chunks within a
// row meet their edges: one chunk and a pixel, many chunks, one or two columns.
TEST(BlackAndWhite, MatchesTheReferenceEveryWay) {
  for (auto [w, h] : {std::pair{1, 1}, {1, 7}, {7, 1}, {2, 3}, {3, 2}, {5, 4}, {9, 9}, {203, 45}, {701, 523},
                      {257, 1400}, {3001, 130}, {2, 90000}, {1, 70000}}) {
    const auto seed = static_cast<std::uint32_t>(3 * w + h);
    Bytes ra = ref::grayscale(snapshot(*randomDib(w, h, seed))), rb = snapshot(*randomDib(w, h, 1));
    ref::blackAndWhite(ra, rb);
    std::vector<test_support::Event> firstEvents;
    test_support::forEachWay(w, h, [&](std::size_t way) {
      SCOPED_TRACE(::testing::Message() << w << "x" << h);
      const auto a = randomDib(w, h, seed), b = randomDib(w, h, 1);
      cImageProcessDIB e;
      EventLog log;
      log.attach(e);
      e.BlackAndWhite(*a, *b);
      EXPECT_TRUE(snapshot(*a) == ra);
      EXPECT_TRUE(snapshot(*b) == rb);
      if (way == 0) firstEvents = log.events;
      EXPECT_EQ(log.events, firstEvents);
    });
  }
}

TEST(AddNoise, FollowsTheRandomSequenceAndHasTwoNoOps) {
  for (auto [percent, random] : {std::pair{0, false}, {100, true}}) {
    const auto d = randomDib(6, 5, 9);
    const Bytes before = snapshot(*d);
    cImageProcessDIB().AddNoise(*d, percent, random);
    EXPECT_EQ(snapshot(*d), before) << percent;
  }
  // Pixel draw, then one draw per channel (blue, green, red).
  std::vector<double> seq;
  std::mt19937 gen(5);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  for (int i = 0; i < 400; ++i) seq.push_back(u(gen));
  for (bool random : {false, true}) {
    std::size_t k = 0;
    setRandomSource([&] { return seq[k++]; });
    const auto d = randomDib(4, 3, 2);
    Bytes expect = snapshot(*d);
    cImageProcessDIB().AddNoise(*d, 40, random);
    setRandomSource({});
    const int range = 40 * 128 / 100, half = range / 2;
    std::size_t j = 0;
    for (int x = 0; x < 12; x += 3)
      for (int y = 0; y < 3; ++y) {
        const bool flag = 40 < seq[j++] * 100;
        if (random && !flag) continue;
        for (int c = 0; c < 3; ++c)
          expect.at(x + c, y) = std::uint8_t(ref::clamp255(std::lrint(seq[j++] * range + (expect.at(x + c, y) - half))));
      }
    EXPECT_EQ(snapshot(*d), expect) << random;
    EXPECT_EQ(k, j);
  }
}

TEST(Combine, AddImagesRoundsAndClampsWhereThePicturesOverlap) {
  const auto a = randomDib(5, 3, 1), b = randomDib(5, 3, 2);
  const Bytes ba = snapshot(*a), bb = snapshot(*b);
  cImageProcessDIB e;
  e.AddImages(*a, *b, 0.5f, 1, 2, 3, -1.25f, 10, 20, 30);
  Bytes expect = bb;
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 15; ++x) {
      const double v = std::nearbyint((ba.at(x, y) + 1 + x % 3) * 0.5 + (bb.at(x, y) + 10 * (1 + x % 3)) * -1.25);
      expect.at(x, y) = static_cast<std::uint8_t>(ref::clamp255(static_cast<std::int64_t>(v)));
    }
  EXPECT_EQ(snapshot(*b), expect);
  EXPECT_EQ(snapshot(*a), ba);
  // Different sizes combine where they overlap.
  const auto tall = randomDib(3, 5, 1), wide = randomDib(6, 2, 2);
  const Bytes bw = snapshot(*wide);
  e.AddImages(*tall, *wide, 1.0f, 0, 0, 0, 0.0f, 0, 0, 0);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 18; ++x) EXPECT_EQ(wide->View().at(x, y), x < 9 ? tall->View().at(x, y) : bw.at(x, y));
  cDIBSection empty;
  e.AddLightest(empty, *wide);
  e.AddDarkest(*tall, empty);
}

TEST(Combine, LightestAndDarkestIgnoreRedAndKeepTiesInTarget) {
  const struct {
    bool lightest;
    std::uint8_t a[3], b[3];  // blue, green, red
    bool takesA;
  } cases[] = {
      {true, {0, 0, 255}, {0, 0, 0}, false},    // differ only in red: a tie
      {false, {0, 0, 0}, {0, 0, 255}, false},
      {true, {0, 11, 0}, {0, 10, 255}, true},
      {true, {13, 10, 0}, {0, 11, 0}, false},   // 929*10 + 71*13 < 929*11
      {false, {0, 10, 0}, {0, 11, 0}, true},
      {false, {14, 10, 9}, {0, 11, 0}, false},  // 929*10 + 71*14 > 929*11
  };
  for (const auto& c : cases) {
    cDIBSection a, b;
    a.Create(1, 1);
    b.Create(1, 1);
    test_support::fillPixels(a, c.a[0], c.a[1], c.a[2]);
    test_support::fillPixels(b, c.b[0], c.b[1], c.b[2]);
    cImageProcessDIB e;
    c.lightest ? e.AddLightest(a, b) : e.AddDarkest(a, b);
    const std::uint8_t* want = c.takesA ? c.a : c.b;
    for (int ch = 0; ch < 3; ++ch) EXPECT_EQ(b.View().at(ch, 0), want[ch]);
  }
}

// Notifications of every per-pixel operation, for a 4 x 3 picture.
TEST(PixelEvents, OneProgressPerColumnWithTheirDescriptions) {
  using test_support::expectedEvents;
  auto concat = [](std::vector<test_support::Event> a, const std::vector<test_support::Event>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
  };
  cDIBSection other;
  other.Create(4, 3);
  const std::pair<std::function<void(cImageProcessDIB&, cDIBSection&)>, std::vector<test_support::Event>> cases[] = {
      {[](auto& e, auto& d) { e.Grayscale(d); }, expectedEvents("Grayscale", 3, 0, 3, 1)},
      {[&](auto& e, auto& d) { e.BlackAndWhite(d, other); },
       concat(expectedEvents("Grayscale", 3, 0, 3, 1), expectedEvents("Black & White", 9, 0, 9, 3))},
      {[](auto& e, auto& d) { e.AddNoise(d, 10, false); }, expectedEvents("Add noise", 9, 0, 9, 3)},
      {[](auto& e, auto& d) { e.Fade(d, 100); }, expectedEvents("Fading", 9, 0, 9, 3)},
      {[](auto& e, auto& d) { e.Lighten(d, 10); }, expectedEvents("Lighten", 9, 0, 9, 3)},
      {[](auto& e, auto& d) { e.Invert(d); }, expectedEvents("Invert", 9, 0, 9, 3)},
      {[](auto& e, auto& d) { e.Flip(d, 2); }, expectedEvents("Flip", 9, 0, 9, 3)},
      {[](auto& e, auto& d) { e.Colourise(d, 10, 20, 30); }, expectedEvents("Colourise", 9, 0, 9, 3)},
      {[](auto& e, auto& d) { e.Resample(d, 2, 5); }, expectedEvents("Resample", 1, 0, 1, 1)},
  };
  for (const auto& [run, expect] : cases) {
    const auto d = randomDib(4, 3, 1);
    cImageProcessDIB e;
    EventLog log;
    log.attach(e);
    run(e, *d);
    EXPECT_EQ(log.events, expect) << expect.front().description;
  }
  // Wide pictures are processed in strips; the reports stay one per column.
  cImageProcessDIB e;
  EventLog log;
  log.attach(e);
  e.Grayscale(*randomDib(3000, 2, 1));
  EXPECT_EQ(log.events, expectedEvents("Grayscale", 2999, 0, 2999, 1));
  // Wider than one strip: several strips, still one report per column, in order.
  const auto huge = randomDib(270001, 2, 6);
  const Bytes before = snapshot(*huge);
  log.events.clear();
  e.Invert(*huge);
  EXPECT_EQ(log.events, expectedEvents("Invert", 810000, 0, 810000, 3));
  EXPECT_EQ(snapshot(*huge), mapBytes(before, [](std::uint8_t v) { return std::uint8_t(255 - v); }));
}

TEST(PixelEvents, EmptyImagesAreLeftAloneWithoutNotifications) {
  cDIBSection empty, other;
  other.Create(2, 2);
  cImageProcessDIB e;
  EventLog log;
  log.attach(e);
  e.Grayscale(empty);
  e.BlackAndWhite(empty, other);
  e.BlackAndWhite(other, empty);
  e.AddNoise(empty, 50, true);
  e.Fade(empty, 3);
  e.Lighten(empty, 3);
  e.Invert(empty);
  e.Flip(empty, 0);
  e.Colourise(empty, 10, 20, 30);
  EXPECT_FALSE(e.Convolve(empty, other));
  EXPECT_FALSE(e.RankFilter(other, empty));
  EXPECT_TRUE(log.events.empty());
  EXPECT_EQ(e.Resample(empty, 0, 0), nullptr);
}

}  // namespace
}  // namespace qorv
