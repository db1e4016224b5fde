// Convolution and rank filters against the slow per-pixel reference, on random
// pictures of awkward sizes (too small for the kernel included), plus the
// refusals and notifications.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "ProcessingTestSupport.h"
#include "ReferenceFilters.h"
#include "support/TestNames.h"

namespace qorv {
namespace {

using test_support::Bytes;
using test_support::EventLog;
using test_support::snapshot;
namespace ref = test_support::reference;

struct Images {
  cDIBSection image, buffer;
  Images(std::int32_t w, std::int32_t h, std::uint32_t seed) {
    EXPECT_TRUE(image.Create(w, h));
    EXPECT_TRUE(buffer.Create(w, h));
    test_support::fillRandom(image, seed);
    test_support::fillRandom(buffer, seed + 1);
  }
};

// The reference result of the engine's current kernel on `src`.
Bytes kernelReference(const cImageProcessDIB& e, const Bytes& src) {
  return ref::convolve(src, e.FilterArraySize() / 2, [&](int i, int j) { return e.FilterValue(i, j); }, e.FilterWeight());
}

// Emboss adds 127 after clamping; unsharp is twice the picture less its blur.
Bytes embossReference(const cImageProcessDIB&, const Bytes& src) {
  Bytes out = ref::convolve(src, 1, [](int i, int j) { return i == j && i != 0 ? i : 0; }, 1);
  for (int y = 0; y < src.height; ++y)
    for (int x = 0; x < 3 * src.width; ++x) out.at(x, y) = std::uint8_t(ref::clamp255(out.at(x, y) + 127));
  return out;
}
Bytes unsharpReference(const cImageProcessDIB&, const Bytes& src) {
  Bytes out = ref::convolve(src, 1, [](int, int) { return 1; }, 9);
  for (int y = 0; y < src.height; ++y)
    for (int x = 0; x < 3 * src.width; ++x) out.at(x, y) = std::uint8_t(ref::clamp255(2 * src.at(x, y) - out.at(x, y)));
  return out;
}

struct FilterCase {
  std::string name;
  // Sets the engine up; the generator gives custom kernels their entries.
  std::function<void(cImageProcessDIB&, std::mt19937&)> setup;
  std::function<Bytes(const cImageProcessDIB&, const Bytes&)> expect = kernelReference;
  bool large = false;  // also run on a picture split over the row pool, every way
};

FilterCase builtIn(std::int32_t type) {
  return {cImageProcessDIB::FilterName(type), [type](auto& e, auto&) { e.setFilterType(type); }, kernelReference, true};
}

FilterCase custom(std::string name, std::function<Kernel2D(std::mt19937&)> kernel, std::int32_t weight, bool large) {
  return {std::move(name),
          [kernel, weight](cImageProcessDIB& e, std::mt19937& gen) {
            e.AddCustomFilter(kernel(gen));
            e.setFilterWeight(weight);
            e.setFilterType(filter::eCustom);
          },
          kernelReference, large};
}

// Random entries in [lo, hi] for a size x size kernel.
FilterCase randomKernel(std::int32_t size, std::int32_t weight, int lo, int hi) {
  return custom("random " + std::to_string(size) + " weight " + std::to_string(weight) + " " + std::to_string(lo) +
                    " to " + std::to_string(hi),
                [=](std::mt19937& gen) {
                  std::uniform_int_distribution<int> entry(lo, hi);
                  const std::int32_t r = size / 2;
                  Kernel2D k(-r, r, -r, r);
                  for (int j = -r; j <= r; ++j)
                    for (int i = -r; i <= r; ++i) k(i, j) = entry(gen);
                  return k;
                },
                weight, false);
}

// Nested boxes and a centre weight, as the blur, soften and sharpen families
// are, with other coefficients and weights.
FilterCase boxKernel(std::int32_t r, int outer, int inner, int centre, std::int32_t weight) {
  return custom("box " + std::to_string(r) + " " + std::to_string(outer) + " " + std::to_string(inner) + " " +
                    std::to_string(centre) + " weight " + std::to_string(weight),
                [=](std::mt19937&) {
                  Kernel2D k(-r, r, -r, r);
                  for (int j = -r; j <= r; ++j)
                    for (int i = -r; i <= r; ++i) {
                      const int d = std::max(std::abs(i), std::abs(j));
                      k(i, j) = (r == 2 ? outer : 0) + (d <= 1 ? inner : 0) + (d == 0 ? centre : 0);
                    }
                  return k;
                },
                weight, true);
}

FilterCase rank(std::int32_t type, ref::Rank r) {
  return {cImageProcessDIB::FilterName(type) + " rank",
          [type](auto& e, auto&) {
            e.setFilterType(filter::eBlurMore);  // a 5x5 kernel must not widen the 3x3 rank window
            e.setFilterType(type);
          },
          [r](const cImageProcessDIB&, const Bytes& src) { return ref::rankFilter(src, r); }, true};
}

std::vector<FilterCase> filterCases() {
  std::vector<FilterCase> cases;
  for (std::int32_t type = filter::eBlur; type <= filter::eSharpenMore; ++type)
    cases.push_back(builtIn(type));
  cases.push_back({"Emboss", [](auto& e, auto&) { e.setFilterType(filter::eEmboss); }, embossReference, true});
  cases.push_back({"UnSharp", [](auto& e, auto&) { e.setFilterType(filter::eUnSharp); }, unsharpReference, true});
  // Sums beyond 16 bits on every path.
  cases.push_back(custom("wide sums", [](auto&) { return Kernel2D{{3, -200, 3}, {-200, 900, -200}, {3, -200, 3}}; }, -37,
                         true));
  // Weight 0 keeps the last quotient, which is 0 throughout: a black interior.
  const int randomCases[][4] = {{1, 1, 1, 1},   {1, 3, -4, 4},         {3, 1, -3, 3},      {3, -5, -6, 6},
                                {3, 0, -2, 2},  {3, 13, -20, 40},      {5, 17, -9, 9},     {5, -1, -1, 1},
                                {3, 20000, 0, 9000}, {7, 40, -3, 5},   {3, 1, -30000, 30000}, {5, 70000, 0, 32767},
                                {9, 81, 1, 1},  {3, 126, 14, 14},      {3, 7, -14, -14}};
  for (const auto& c : randomCases) cases.push_back(randomKernel(c[0], c[1], c[2], c[3]));
  const int boxCases[][5] = {{1, 0, 2, 5, 3},    {1, 0, -2, 30, 11}, {2, 1, 0, 0, 25}, {2, -1, 3, 7, 9},
                             {2, 2, -1, -20, 6}, {1, 0, 1, -8, 1},   {2, 0, 0, 1, 1},  {2, 3, 2, 1, 100}};
  for (const auto& c : boxCases) cases.push_back(boxKernel(c[0], c[1], c[2], c[3], c[4]));
  cases.push_back(rank(filter::eMedian, ref::Rank::Mean));
  cases.push_back(rank(filter::eMinimum, ref::Rank::Minimum));
  cases.push_back(rank(filter::eMaximum, ref::Rank::Maximum));
  return cases;
}

class Filter : public ::testing::TestWithParam<FilterCase> {};

TEST_P(Filter, MatchesTheReference) {
  std::mt19937 gen(2024);
  std::vector<std::pair<std::int32_t, std::int32_t>> sizes = {{1, 1}, {1, 5}, {5, 1}, {2, 2}, {3, 3},  {4, 3},  {5, 5},
                                                              {6, 4}, {7, 9}, {8, 6}, {9, 7}, {13, 11}, {37, 5}};
  if (GetParam().large) sizes.emplace_back(701, 523);
  for (auto [w, h] : sizes) {
    cImageProcessDIB e;
    GetParam().setup(e, gen);
    const std::uint32_t seed = gen();
    const Bytes expect = GetParam().expect(e, snapshot(Images(w, h, seed).image));
    std::vector<test_support::Event> firstEvents;
    test_support::forEachWay(w, h, [&](std::size_t way) {
      SCOPED_TRACE(::testing::Message() << w << "x" << h);
      Images im(w, h, seed);
      EventLog log;
      log.attach(e);
      ASSERT_TRUE(e.ProcessImage(im.image, im.buffer));
      const Bytes after = snapshot(im.image);
      EXPECT_TRUE(after == expect);
      EXPECT_TRUE(test_support::paddingIntact(after));
      if (way == 0) firstEvents = log.events;
      EXPECT_EQ(log.events, firstEvents);
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Kernels, Filter, ::testing::ValuesIn(filterCases()),
                         [](const auto& p) { return test_support::readableName(p.param.name); });

TEST(ProcessImage, CountAndMismatchedImagesDoNothing) {
  Images im(4, 4, 1);
  const Bytes before = snapshot(im.image);
  cImageProcessDIB e;
  EXPECT_FALSE(e.ProcessImage(im.image, im.buffer));  // no type yet
  e.setFilterType(filter::eCount);
  EXPECT_FALSE(e.ProcessImage(im.image, im.buffer));
  e.setFilterType(filter::eBlur);
  cDIBSection other, empty;
  other.Create(5, 4);
  EXPECT_FALSE(e.ProcessImage(im.image, other));
  EXPECT_FALSE(e.ProcessImage(im.image, empty));
  EXPECT_FALSE(e.ProcessImage(empty, empty));
  EXPECT_EQ(snapshot(im.image), before);
}

TEST(ProgressEvents, OnePerColumnInOrder) {
  const struct {
    std::int32_t type, w, h;
    std::string desc;
    std::int32_t max, first, last;
  } cases[] = {
      {filter::eBlur, 7, 5, "Blur", 15, 3, 15},
      {filter::eBlurMore, 9, 6, "Blur More", 18, 6, 18},
      {filter::eSharpen, 2000, 3, "Sharpen", 5994, 3, 5994},
      {filter::eUnSharp, 6, 4, "Blur", 12, 3, 12},
      {filter::eEmboss, 6, 4, "Emboss", 12, 3, 12},
      {filter::eMinimum, 6, 4, "Rank Filter", 12, 3, 12},
      {filter::eMedian, 1800, 2, "Rank Filter", 5394, 3, 5394},
      // Smaller than the kernel: only the start and the end.
      {filter::eBlurMore, 4, 9, "Blur More", 3, 6, 3},
      {filter::eSoften, 2, 2, "Soften", 0, 3, 0},
      {filter::eMaximum, 2, 8, "Rank Filter", 0, 3, 0},
  };
  for (const auto& c : cases) {
    Images im(c.w, c.h, 4);
    cImageProcessDIB e;
    EventLog log;
    log.attach(e);
    e.setFilterType(c.type);
    e.ProcessImage(im.image, im.buffer);
    EXPECT_EQ(log.events, test_support::expectedEvents(c.desc, c.max, c.first, c.last, 3)) << c.desc << " " << c.w;
  }
}

}  // namespace
}  // namespace qorv
