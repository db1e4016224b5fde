// The per-pixel operations: grayscale, black and white, noise, fade, lighten,
// combining, invert and flip, with their notifications.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>

#include "ProcessingTestSupport.h"
#include "ReferenceFilters.h"
#include "platform/Random.h"

namespace qorv {
namespace {

using test_support::Bytes;
using test_support::EventLog;
namespace ref = test_support::reference;

cDIBSection& randomImage(cDIBSection& d, std::int32_t w, std::int32_t h, std::uint32_t seed) {
  EXPECT_TRUE(d.Create(w, h));
  test_support::fillRandom(d, seed);
  return d;
}

// Applies f to every pixel byte of a copy (padding untouched).
Bytes mapBytes(Bytes b, const std::function<std::uint8_t(std::uint8_t)>& f) {
  for (int y = 0; y < b.height; ++y) {
    for (int x = 0; x < 3 * b.width; ++x) b.at(x, y) = f(b.at(x, y));
  }
  return b;
}

const std::pair<std::int32_t, std::int32_t> kSizes[] = {{1, 1}, {1, 7}, {7, 1}, {2, 3}, {3, 2},
                                                       {5, 4}, {9, 9}, {203, 45}, {1601, 700}};

TEST(Grayscale, MatchesTheReferenceAndKeepsGrayPixels) {
  for (auto [w, h] : kSizes) {
    cDIBSection d;
    randomImage(d, w, h, static_cast<std::uint32_t>(w + h));
    const Bytes before = test_support::snapshot(d);
    cImageProcessDIB e;
    e.Grayscale(d);
    const Bytes once = test_support::snapshot(d);
    ASSERT_EQ(once, ref::grayscale(before)) << w << "x" << h;
    EXPECT_TRUE(test_support::paddingIntact(once));
    e.Grayscale(d);
    EXPECT_EQ(test_support::snapshot(d), once);  // gray stays gray
  }
}

// Every colour, exact halves included, rounds (222 R + 707 G + 71 B) / 1000
// to even.
TEST(Grayscale, EveryColourRoundsLikeTheFormula) {
  // All 2^24 colours once each, 4096 to a row.
  cDIBSection d;
  ASSERT_TRUE(d.Create(4096, 4096));
  for (std::int32_t y = 0; y < 4096; ++y) {
    std::uint8_t* row = d.View().row(y);
    for (std::int32_t x = 0; x < 4096; ++x) {
      const std::uint32_t c = static_cast<std::uint32_t>(y) * 4096u + static_cast<std::uint32_t>(x);
      row[3 * x] = static_cast<std::uint8_t>(c);
      row[3 * x + 1] = static_cast<std::uint8_t>(c >> 8);
      row[3 * x + 2] = static_cast<std::uint8_t>(c >> 16);
    }
  }
  cImageProcessDIB e;
  e.Grayscale(d);
  int wrong = 0;
  for (std::int32_t y = 0; y < 4096; ++y) {
    const std::uint8_t* row = d.View().row(y);
    for (std::int32_t x = 0; x < 4096; ++x) {
      const std::uint32_t c = static_cast<std::uint32_t>(y) * 4096u + static_cast<std::uint32_t>(x);
      const double n = 71.0 * (c & 0xFF) + 707.0 * ((c >> 8) & 0xFF) + 222.0 * (c >> 16);
      const auto g = static_cast<std::uint8_t>(std::nearbyint(n / 1000.0));
      wrong += (row[3 * x] != g || row[3 * x + 1] != g || row[3 * x + 2] != g) ? 1 : 0;
    }
  }
  EXPECT_EQ(wrong, 0);
}

TEST(BlackAndWhite, MatchesTheReference) {
  for (auto [w, h] : kSizes) {
    if (w * h > 10000) continue;
    cDIBSection a, b;
    randomImage(a, w, h, static_cast<std::uint32_t>(3 * w + h));
    randomImage(b, w, h, 1);
    Bytes ra = ref::grayscale(test_support::snapshot(a));
    Bytes rb = test_support::snapshot(b);
    ref::blackAndWhite(ra, rb);
    cImageProcessDIB e;
    e.BlackAndWhite(a, b);
    EXPECT_EQ(test_support::snapshot(a), ra) << w << "x" << h;
    EXPECT_EQ(test_support::snapshot(b), rb) << w << "x" << h;
  }
}

TEST(BlackAndWhite, ErrorOfBrightAndDarkPixels) {
  struct Case {
    std::uint8_t value;
    std::uint8_t out;
    std::uint8_t right;  // the next column, same row, after diffusion (it starts at 100)
    std::uint8_t above;  // the next memory row, same column (starts at 100)
  };
  // 129: white, error -2: 7/16 and 5/16 of -2 truncate to 0.
  // 16: black, no error. 200: white, error -73: -31 and -22.
  const Case cases[] = {{129, 255, 100, 100}, {16, 0, 100, 100}, {17, 0, 107, 105}, {200, 255, 69, 78}};
  for (const Case& c : cases) {
    cDIBSection a, b;
    a.Create(2, 2);
    b.Create(2, 2);
    test_support::fillPixels(a, 100, 100, 100);
    for (int ch = 0; ch < 3; ++ch) a.View().at(ch, 0) = c.value;
    cImageProcessDIB e;
    e.BlackAndWhite(a, b);
    EXPECT_EQ(b.View().at(0, 0), c.out) << int(c.value);
    EXPECT_EQ(b.View().at(2, 0), c.out);
    EXPECT_EQ(a.View().at(3, 0), c.right) << int(c.value);
    EXPECT_EQ(a.View().at(0, 1), c.above) << int(c.value);
  }
}

TEST(AddNoise, TheTwoNoOps) {
  for (auto [percent, random] : {std::pair{0, false}, {100, true}}) {
    cDIBSection d;
    randomImage(d, 6, 5, 9);
    const Bytes before = test_support::snapshot(d);
    cImageProcessDIB e;
    e.AddNoise(d, percent, random);
    EXPECT_EQ(test_support::snapshot(d), before) << percent;
  }
}

TEST(AddNoise, FollowsTheRandomSequence) {
  // Pixel draw, then one draw per channel (blue, green, red).
  std::vector<double> seq;
  std::mt19937 gen(5);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  for (int i = 0; i < 400; ++i) seq.push_back(u(gen));
  for (bool random : {false, true}) {
    std::size_t k = 0;
    setRandomSource([&] { return seq[k++]; });
    cDIBSection d;
    randomImage(d, 4, 3, 2);
    Bytes expect = test_support::snapshot(d);
    cImageProcessDIB e;
    e.AddNoise(d, 40, random);
    setRandomSource({});
    const int range = 40 * 128 / 100, half = range / 2;
    std::size_t j = 0;
    for (int x = 0; x < 12; x += 3) {
      for (int y = 0; y < 3; ++y) {
        const bool flag = 40 < seq[j++] * 100;
        if (random && !flag) continue;
        for (int c = 0; c < 3; ++c) {
          expect.at(x + c, y) =
              static_cast<std::uint8_t>(ref::clamp255(std::lrint(seq[j++] * range + (expect.at(x + c, y) - half))));
        }
      }
    }
    EXPECT_EQ(test_support::snapshot(d), expect) << random;
    EXPECT_EQ(k, j);
  }
}

TEST(Fade, DividesEveryByteTruncating) {
  for (std::int32_t amount : {255, 128, 0, 1, 77, 254, 256, 1000, -5}) {
    for (auto [w, h] : kSizes) {
      cDIBSection d;
      randomImage(d, w, h, static_cast<std::uint32_t>(amount + w));
      const Bytes before = test_support::snapshot(d);
      cImageProcessDIB e;
      e.Fade(d, amount);
      const Bytes expect = mapBytes(before, [&](std::uint8_t v) {
        return static_cast<std::uint8_t>(ref::clamp255(std::int64_t{v} * amount / 255));
      });
      ASSERT_EQ(test_support::snapshot(d), expect) << amount << " " << w << "x" << h;
    }
  }
  cDIBSection d;
  d.Create(1, 1);
  test_support::fillPixels(d, 200, 100, 255);
  cImageProcessDIB e;
  e.Fade(d, 128);
  EXPECT_EQ(d.View().at(0, 0), 100);
  EXPECT_EQ(d.View().at(1, 0), 50);
  EXPECT_EQ(d.View().at(2, 0), 128);
}

TEST(Lighten, ScalesLightnessOnly) {
  struct Case {
    std::uint8_t b, g, r;
    double amount;
    std::uint8_t eb, eg, er;
  };
  const Case cases[] = {
      {100, 100, 100, 50, 150, 150, 150},  // gray: lightness 100/255 * 1.5
      {0, 0, 255, 100, 255, 255, 255},     // pure red: L 0.5 -> 1, white
      {0, 0, 255, 0, 0, 0, 255},           // amount 0 keeps the pixel
      {0, 0, 128, 100, 1, 1, 255},         // dark red: L 0.251 -> 0.502, hue and saturation kept
      {30, 90, 200, 25, 62, 120, 226},     // a mixed colour
      {40, 80, 120, -100, 0, 0, 0},        // lightness 0: black
      {200, 200, 200, 300, 255, 255, 255}, // capped at 1
  };
  for (const Case& c : cases) {
    cDIBSection d;
    d.Create(1, 1);
    test_support::fillPixels(d, c.b, c.g, c.r);
    cImageProcessDIB e;
    e.Lighten(d, c.amount);
    EXPECT_EQ(d.View().at(0, 0), c.eb) << c.amount;
    EXPECT_EQ(d.View().at(1, 0), c.eg) << c.amount;
    EXPECT_EQ(d.View().at(2, 0), c.er) << c.amount;
  }
  cDIBSection d;
  randomImage(d, 9, 9, 4);
  const Bytes before = test_support::snapshot(d);
  cImageProcessDIB e;
  e.Lighten(d, 0);
  EXPECT_EQ(test_support::snapshot(d), before);  // the conversion round-trips exactly
}

TEST(Combine, AddImagesRoundsAndClamps) {
  cDIBSection a, b;
  randomImage(a, 5, 3, 1);
  randomImage(b, 5, 3, 2);
  const Bytes ba = test_support::snapshot(a), bb = test_support::snapshot(b);
  cImageProcessDIB e;
  e.AddImages(a, b, 0.5f, 1, 2, 3, -1.25f, 10, 20, 30);
  const Bytes out = test_support::snapshot(b);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 15; ++x) {
      const int offA = 1 + x % 3, offB = 10 * (1 + x % 3);
      const double v = std::nearbyint((ba.at(x, y) + offA) * 0.5 + (bb.at(x, y) + offB) * -1.25);
      EXPECT_EQ(out.at(x, y), ref::clamp255(static_cast<std::int64_t>(v)));
    }
  }
  EXPECT_TRUE(test_support::paddingIntact(out));
  EXPECT_EQ(test_support::snapshot(a), ba);
}

TEST(Combine, LightestAndDarkestIgnoreRedAndKeepTiesInTarget) {
  struct Case {
    bool lightest;
    std::uint8_t a[3], b[3];  // blue, green, red
    bool takesA;
  };
  const Case cases[] = {
      {true, {0, 0, 255}, {0, 0, 0}, false},    // differ only in red: a tie
      {false, {0, 0, 0}, {0, 0, 255}, false},
      {true, {0, 11, 0}, {0, 10, 255}, true},
      {true, {13, 10, 0}, {0, 11, 0}, false},   // 929*10 + 71*13 < 929*11
      {false, {0, 10, 0}, {0, 11, 0}, true},
      {false, {14, 10, 9}, {0, 11, 0}, false},  // 929*10 + 71*14 > 929*11
  };
  for (const Case& c : cases) {
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

TEST(Combine, DifferentSizesCombineWhereTheyOverlap) {
  cDIBSection a, b;
  randomImage(a, 3, 5, 1);
  randomImage(b, 6, 2, 2);
  const Bytes bb = test_support::snapshot(b);
  cImageProcessDIB e;
  e.AddImages(a, b, 1.0f, 0, 0, 0, 0.0f, 0, 0, 0);
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 18; ++x) EXPECT_EQ(b.View().at(x, y), x < 9 ? a.View().at(x, y) : bb.at(x, y));
  }
  cDIBSection empty;
  e.AddLightest(empty, b);
  e.AddDarkest(a, empty);
}

TEST(InvertAndFlip, MatchDirectDefinitions) {
  for (auto [w, h] : kSizes) {
    cDIBSection d;
    randomImage(d, w, h, static_cast<std::uint32_t>(w * h));
    const Bytes before = test_support::snapshot(d);
    cImageProcessDIB e;
    e.Invert(d);
    ASSERT_EQ(test_support::snapshot(d), mapBytes(before, [](std::uint8_t v) { return std::uint8_t(255 - v); }));
    e.Invert(d);
    for (std::int32_t o : {0, 1, 2}) {
      test_support::restore(d, before);
      e.Flip(d, o);
      const Bytes out = test_support::snapshot(d);
      for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
          const int sx = (o == 0 || o == 2) ? w - 1 - x : x;
          const int sy = (o == 1 || o == 2) ? h - 1 - y : y;
          for (int c = 0; c < 3; ++c) ASSERT_EQ(out.at(3 * x + c, y), before.at(3 * sx + c, sy)) << o;
        }
      }
      EXPECT_TRUE(test_support::paddingIntact(out));
    }
    test_support::restore(d, before);
    EventLog log;
    log.attach(e);
    for (std::int32_t o : {3, -1, 99}) e.Flip(d, o);
    EXPECT_EQ(test_support::snapshot(d), before);
    EXPECT_TRUE(log.events.empty());
  }
}

// Notifications of every per-pixel operation, for a 4 x 3 picture.
TEST(PixelEvents, OneProgressPerColumnWithTheirDescriptions) {
  struct Case {
    std::string name;
    std::function<void(cImageProcessDIB&, cDIBSection&)> run;
    std::vector<test_support::Event> expect;
  };
  using test_support::expectedEvents;
  auto concat = [](std::vector<test_support::Event> a, const std::vector<test_support::Event>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
  };
  cDIBSection other;
  other.Create(4, 3);
  const Case cases[] = {
      {"gray", [](auto& e, auto& d) { e.Grayscale(d); }, expectedEvents("Grayscale", 3, 0, 3, 1)},
      {"bw", [&](auto& e, auto& d) { e.BlackAndWhite(d, other); },
       concat(expectedEvents("Grayscale", 3, 0, 3, 1), expectedEvents("Black & White", 9, 0, 9, 3))},
      {"noise", [](auto& e, auto& d) { e.AddNoise(d, 10, false); }, expectedEvents("Add noise", 9, 0, 9, 3)},
      {"fade", [](auto& e, auto& d) { e.Fade(d, 100); }, expectedEvents("Fading", 9, 0, 9, 3)},
      {"lighten", [](auto& e, auto& d) { e.Lighten(d, 10); }, expectedEvents("Lighten", 9, 0, 9, 3)},
      {"invert", [](auto& e, auto& d) { e.Invert(d); }, expectedEvents("Invert", 9, 0, 9, 3)},
      {"flip", [](auto& e, auto& d) { e.Flip(d, 2); }, expectedEvents("Flip", 9, 0, 9, 3)},
      {"resample", [](auto& e, auto& d) { e.Resample(d, 2, 5); }, expectedEvents("Resample", 1, 0, 1, 1)},
  };
  for (const Case& c : cases) {
    cDIBSection d;
    randomImage(d, 4, 3, 1);
    cImageProcessDIB e;
    EventLog log;
    log.attach(e);
    c.run(e, d);
    EXPECT_EQ(log.events, c.expect) << c.name;
  }
  // Wide pictures are processed in strips; the reports stay one per column.
  cDIBSection wide;
  randomImage(wide, 3000, 2, 1);
  cImageProcessDIB e;
  EventLog log;
  log.attach(e);
  e.Grayscale(wide);
  EXPECT_EQ(log.events, expectedEvents("Grayscale", 2999, 0, 2999, 1));
  // Wider than one strip: several strips, still one report per column, in order.
  cDIBSection huge;
  randomImage(huge, 270001, 2, 6);
  const Bytes before = test_support::snapshot(huge);
  log.events.clear();
  e.Invert(huge);
  EXPECT_EQ(log.events, expectedEvents("Invert", 810000, 0, 810000, 3));
  EXPECT_EQ(test_support::snapshot(huge), mapBytes(before, [](std::uint8_t v) { return std::uint8_t(255 - v); }));
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
  EXPECT_FALSE(e.Convolve(empty, other));
  EXPECT_FALSE(e.RankFilter(other, empty));
  EXPECT_TRUE(log.events.empty());
  EXPECT_EQ(e.Resample(empty, 0, 0), nullptr);
}

}  // namespace
}  // namespace qorv
