// Convolution and rank filters against the slow per-pixel reference, on random
// pictures of awkward sizes, plus the documented special cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "ProcessingTestSupport.h"
#include "ReferenceFilters.h"

namespace qorv {
namespace {

using test_support::Bytes;
using test_support::EventLog;
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
Bytes referenceOf(const cImageProcessDIB& e, const Bytes& src) {
  const std::int32_t r = e.FilterArraySize() / 2;
  return ref::convolve(src, r, [&](int i, int j) { return e.FilterValue(i, j); }, e.FilterWeight());
}

const std::pair<std::int32_t, std::int32_t> kSizes[] = {
    {1, 1}, {1, 5}, {5, 1}, {2, 2}, {3, 3}, {4, 3}, {5, 5}, {6, 4}, {7, 9}, {8, 6}, {9, 7}, {13, 11}, {37, 5}};

TEST(Convolution, BuiltInKernelsMatchTheReference) {
  for (std::int32_t type = filter::eBlur; type <= filter::eSharpenMore; ++type) {
    for (auto [w, h] : kSizes) {
      SCOPED_TRACE(cImageProcessDIB::FilterName(type) + " " + std::to_string(w) + "x" + std::to_string(h));
      Images im(w, h, static_cast<std::uint32_t>(w * 131 + h * 7 + type));
      cImageProcessDIB e;
      e.setFilterType(type);
      const Bytes before = test_support::snapshot(im.image);
      ASSERT_TRUE(e.ProcessImage(im.image, im.buffer));
      const Bytes after = test_support::snapshot(im.image);
      EXPECT_EQ(after, referenceOf(e, before));
      EXPECT_TRUE(test_support::paddingIntact(after));
    }
  }
}

TEST(Convolution, CustomKernelsAndWeightsMatchTheReference) {
  std::mt19937 gen(2024);
  struct Case {
    std::int32_t size;
    std::int32_t weight;
    int lo, hi;  // entry range
  };
  const Case cases[] = {
      {1, 1, 1, 1},        {1, 3, -4, 4},     {3, 1, -3, 3},   {3, -5, -6, 6},  {3, 0, -2, 2},
      {3, 13, -20, 40},    {5, 17, -9, 9},    {5, -1, -1, 1},  {3, 20000, 0, 9000}, {7, 40, -3, 5},
      {3, 1, -30000, 30000}, {5, 70000, 0, 32767}, {9, 81, 1, 1}, {3, 126, 14, 14}, {3, 7, -14, -14},
  };
  for (const Case& c : cases) {
    for (auto [w, h] : kSizes) {
      SCOPED_TRACE(std::to_string(c.size) + "/" + std::to_string(c.weight) + " " + std::to_string(w) + "x" +
                   std::to_string(h));
      std::uniform_int_distribution<int> entry(c.lo, c.hi);
      const std::int32_t r = c.size / 2;
      Kernel2D k(-r, r, -r, r);
      for (int j = -r; j <= r; ++j) {
        for (int i = -r; i <= r; ++i) k(i, j) = entry(gen);
      }
      cImageProcessDIB e;
      e.AddCustomFilter(k);
      e.setFilterWeight(c.weight);
      e.setFilterType(filter::eCustom);
      Images im(w, h, gen());
      const Bytes before = test_support::snapshot(im.image);
      ASSERT_TRUE(e.ProcessImage(im.image, im.buffer));
      const Bytes after = test_support::snapshot(im.image);
      EXPECT_EQ(after, referenceOf(e, before));
      EXPECT_TRUE(test_support::paddingIntact(after));
    }
  }
}

// Kernels of nested boxes and a centre weight, as the blur, soften and sharpen
// families are, with other coefficients and weights.
TEST(Convolution, BoxShapedKernelsMatchTheReference) {
  struct Case {
    std::int32_t r, outer, inner, centre, weight;
  };
  const Case cases[] = {{1, 0, 2, 5, 3},  {1, 0, -2, 30, 11}, {2, 1, 0, 0, 25}, {2, -1, 3, 7, 9},
                        {2, 2, -1, -20, 6}, {1, 0, 1, -8, 1},  {2, 0, 0, 1, 1},  {2, 3, 2, 1, 100}};
  for (const Case& c : cases) {
    Kernel2D k(-c.r, c.r, -c.r, c.r);
    for (int j = -c.r; j <= c.r; ++j) {
      for (int i = -c.r; i <= c.r; ++i) {
        const int d = std::max(std::abs(i), std::abs(j));
        k(i, j) = (c.r == 2 ? c.outer : 0) + (d <= 1 ? c.inner : 0) + (d == 0 ? c.centre : 0);
      }
    }
    for (auto [w, h] : kSizes) {
      SCOPED_TRACE(std::to_string(c.outer) + "/" + std::to_string(c.inner) + "/" + std::to_string(c.centre) + " " +
                   std::to_string(w) + "x" + std::to_string(h));
      cImageProcessDIB e;
      e.AddCustomFilter(k);
      e.setFilterWeight(c.weight);
      e.setFilterType(filter::eCustom);
      Images im(w, h, static_cast<std::uint32_t>(w * 5 + h + c.centre));
      const Bytes before = test_support::snapshot(im.image);
      ASSERT_TRUE(e.ProcessImage(im.image, im.buffer));
      EXPECT_EQ(test_support::snapshot(im.image), referenceOf(e, before));
    }
  }
}

// Wide and tall enough to be split into column strips and row halves.
TEST(Convolution, LargePicturesMatchTheReference) {
  for (std::int32_t type : {filter::eBlurMore, filter::eSharpen}) {
    Images im(1601, 700, 99);
    cImageProcessDIB e;
    e.setFilterType(type);
    const Bytes before = test_support::snapshot(im.image);
    e.ProcessImage(im.image, im.buffer);
    EXPECT_TRUE(test_support::snapshot(im.image) == referenceOf(e, before));
  }
}

TEST(Convolution, ZeroWeightBlackensTheInterior) {
  cImageProcessDIB e;
  e.setFilterType(filter::eCustom);  // no kernel, weight 0
  e.setFilterArraySize(3);
  e.setFilterValue(0, 0, 1);
  Images im(6, 5, 3);
  const Bytes before = test_support::snapshot(im.image);
  e.ProcessImage(im.image, im.buffer);
  const Bytes after = test_support::snapshot(im.image);
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 18; ++x) {
      const bool inside = y >= 1 && y <= 3 && x >= 3 && x < 15;
      EXPECT_EQ(after.at(x, y), inside ? 0 : before.at(x, y)) << x << "," << y;
    }
  }
}

TEST(Convolution, EmbossOfFlatGrayIs127InsideAndOffsetOnTheBorder) {
  cImageProcessDIB e;
  e.setFilterType(filter::eEmboss);
  cDIBSection img, buf;
  img.Create(5, 4);
  buf.Create(5, 4);
  test_support::fillPixels(img, 100, 100, 100);
  ASSERT_TRUE(e.ProcessImage(img, buf));
  const Bytes out = test_support::snapshot(img);
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 15; ++x) {
      const bool inside = y >= 1 && y <= 2 && x >= 3 && x < 12;
      // The border is never convolved; the 127 offset reaches every pixel.
      EXPECT_EQ(out.at(x, y), inside ? 127 : 227) << x << "," << y;
    }
  }
  EXPECT_TRUE(test_support::paddingIntact(out));
}

TEST(Convolution, EmbossAndUnsharpCombineAfterClamping) {
  for (auto [w, h] : kSizes) {
    SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h));
    for (std::int32_t type : {filter::eEmboss, filter::eUnSharp}) {
      Images im(w, h, static_cast<std::uint32_t>(w + 17 * h + type));
      const Bytes before = test_support::snapshot(im.image);
      cImageProcessDIB e;
      e.setFilterType(type);
      ASSERT_TRUE(e.ProcessImage(im.image, im.buffer));
      EXPECT_EQ(e.FilterType(), type);
      Bytes expect = before;
      if (type == filter::eEmboss) {
        const Bytes conv = ref::convolve(before, 1, [](int i, int j) { return i == j && i != 0 ? i : 0; }, 1);
        for (int y = 0; y < h; ++y) {
          for (int x = 0; x < 3 * w; ++x) expect.at(x, y) = static_cast<std::uint8_t>(ref::clamp255(conv.at(x, y) + 127));
        }
      } else {
        const Bytes blur = ref::convolve(before, 1, [](int, int) { return 1; }, 9);
        for (int y = 0; y < h; ++y) {
          for (int x = 0; x < 3 * w; ++x) {
            expect.at(x, y) = static_cast<std::uint8_t>(ref::clamp255(2 * before.at(x, y) - blur.at(x, y)));
          }
        }
      }
      EXPECT_EQ(test_support::snapshot(im.image), expect);
    }
  }
}

TEST(RankFilter, MatchesTheReference) {
  const std::pair<std::int32_t, ref::Rank> types[] = {
      {filter::eMedian, ref::Rank::Mean}, {filter::eMinimum, ref::Rank::Minimum}, {filter::eMaximum, ref::Rank::Maximum}};
  for (auto [type, rank] : types) {
    for (auto [w, h] : kSizes) {
      SCOPED_TRACE(std::to_string(type) + " " + std::to_string(w) + "x" + std::to_string(h));
      Images im(w, h, static_cast<std::uint32_t>(w * 3 + h + type));
      cImageProcessDIB e;
      e.setFilterType(filter::eBlurMore);  // a 5x5 kernel must not widen the 3x3 rank window
      e.setFilterType(type);
      const Bytes before = test_support::snapshot(im.image);
      ASSERT_TRUE(e.ProcessImage(im.image, im.buffer));
      const Bytes after = test_support::snapshot(im.image);
      EXPECT_EQ(after, ref::rankFilter(before, rank));
      EXPECT_TRUE(test_support::paddingIntact(after));
    }
    Images big(1700, 650, 5);
    cImageProcessDIB e;
    e.setFilterType(type);
    const Bytes before = test_support::snapshot(big.image);
    e.ProcessImage(big.image, big.buffer);
    EXPECT_TRUE(test_support::snapshot(big.image) == ref::rankFilter(before, rank));
  }
}

TEST(RankFilter, MedianIsAMeanThatSpreadsOneBrightPixel) {
  cDIBSection img, buf;
  img.Create(5, 5);
  buf.Create(5, 5);
  test_support::fillPixels(img, 0, 0, 0);
  img.View().at(6, 2) = 180;  // blue of the centre pixel
  cImageProcessDIB e;
  e.setFilterType(filter::eMedian);
  e.ProcessImage(img, buf);
  const Bytes out = test_support::snapshot(img);
  for (int y = 0; y < 5; ++y) {
    for (int px = 0; px < 5; ++px) {
      const bool neighbour = px >= 1 && px <= 3 && y >= 1 && y <= 3;
      EXPECT_EQ(out.at(3 * px, y), neighbour ? 20 : 0) << px << "," << y;
      EXPECT_EQ(out.at(3 * px + 1, y), 0);
    }
  }
}

TEST(ProcessImage, CountAndMismatchedImagesDoNothing) {
  Images im(4, 4, 1);
  const Bytes before = test_support::snapshot(im.image);
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
  EXPECT_EQ(test_support::snapshot(im.image), before);
}

TEST(ProgressEvents, OnePerColumnInOrder) {
  struct Case {
    std::int32_t type;
    std::int32_t w, h;
    std::string desc;
    std::int32_t max, first, last;
  };
  const Case cases[] = {
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
  for (const Case& c : cases) {
    SCOPED_TRACE(c.desc + " " + std::to_string(c.w));
    Images im(c.w, c.h, 4);
    cImageProcessDIB e;
    EventLog log;
    log.attach(e);
    e.setFilterType(c.type);
    e.ProcessImage(im.image, im.buffer);
    EXPECT_EQ(log.events, test_support::expectedEvents(c.desc, c.max, c.first, c.last, 3));
  }
}

TEST(ProgressEvents, TooSmallPicturesStayUnchanged) {
  for (std::int32_t type : {filter::eBlur, filter::eBlurMore, filter::eSoftenMore, filter::eMedian}) {
    for (auto [w, h] : {std::pair{1, 1}, {2, 9}, {9, 2}, {4, 4}}) {
      if (type != filter::eBlurMore && type != filter::eSoftenMore && (w > 2 && h > 2)) continue;
      Images im(w, h, 8);
      cImageProcessDIB e;
      e.setFilterType(type);
      const Bytes before = test_support::snapshot(im.image);
      EXPECT_TRUE(e.ProcessImage(im.image, im.buffer));
      EXPECT_EQ(test_support::snapshot(im.image), before) << type << " " << w << "x" << h;
    }
  }
}

}  // namespace
}  // namespace qorv
