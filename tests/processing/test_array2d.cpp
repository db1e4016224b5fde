// The two-dimensional arrays hosts pass and the engine keeps: bounds, layout,
// checked access and conversion between the two widths (the engine's rows
// constructor and its basic bounds checks are in test_filter_settings.cpp). The public
// header comes first so that it is shown to stand on its own.
#include <QorvPictureBox/IntArray2D.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <limits>

#include "processing/cImageProcessDIB.h"

namespace qorv {
namespace {

TEST(Array2D, RaggedAndEvenRowsKeepTheirOwnBounds) {
  const IntArray2D a{{1, 2}, {3}};
  EXPECT_EQ(a.lower1, -1);
  EXPECT_EQ(a.upper1, 0);
  EXPECT_EQ(a.lower2, -1);
  EXPECT_EQ(a.upper2, 0);
  EXPECT_EQ(a(0, -1), 2);
  EXPECT_EQ(a(-1, 0), 3);
  EXPECT_EQ(a(0, 0), 0) << "a short row is padded with zeros";
}

// Hosts write values by hand with the first index outer.
TEST(Array2D, ValuesRunWithTheFirstIndexOuter) {
  IntArray2D a = IntArray2D::centred(1);
  ASSERT_EQ(a.values.size(), 9u);
  a.values[static_cast<std::size_t>(2 * a.count2() + 0)] = 42;  // i = 1, j = -1
  EXPECT_EQ(a(1, -1), 42);
  a(-1, 1) = -7;
  EXPECT_EQ(a.values[2], -7);
}

TEST(Array2D, CentredSquaresAndNegativeRadii) {
  struct Case {
    int r, lower, upper;
    std::size_t cells;
  };
  for (const Case& c : {Case{0, 0, 0, 1}, Case{2, -2, 2, 25}, Case{-3, 0, 0, 1}}) {
    const IntArray2D a = IntArray2D::centred(c.r);
    EXPECT_EQ(a.lower1, c.lower) << c.r;
    EXPECT_EQ(a.upper2, c.upper) << c.r;
    EXPECT_EQ(a.values.size(), c.cells) << c.r;
    for (std::int16_t v : a.values) EXPECT_EQ(v, 0);
  }
}

TEST(Array2D, ValuesShortOfTheBoundsFailCleanly) {
  // A host may give bounds and fewer values (or none): reads are refused, not
  // made past the end.
  IntArray2D a;
  a.lower1 = -1;
  a.upper1 = 1;
  a.lower2 = -2000000000;
  a.upper2 = 2000000000;
  EXPECT_FALSE(a.contains(0, 0));
  EXPECT_THROW(a.at(0, 0), std::out_of_range);
  EXPECT_EQ(a.count2(), std::numeric_limits<int>::max());
  EXPECT_EQ(a.extent2(), std::int64_t{4000000001});
  a.lower2 = 0;
  a.upper2 = 0;
  a.values = {5, 6};
  EXPECT_EQ(a(0, 0), 6);
  EXPECT_FALSE(a.contains(1, 0));
}

TEST(Array2D, SizesAreLimitedBeforeAllocating) {
  EXPECT_FALSE(Kernel2D(1, 0, 0, 0).contains(0, 0));
  EXPECT_TRUE(Kernel2D(1, 0, 0, 0).values.empty());
  EXPECT_THROW(Kernel2D(-2000000000, 2000000000, 0, 0), std::length_error);
  EXPECT_THROW(Kernel2D(0, 99999, 0, 99999), std::length_error);
  IntArray2D big;  // bounds only, as a host may give them
  big.upper1 = 99999;
  big.upper2 = 99999;
  EXPECT_THROW((void)Kernel2D(big), std::length_error);
}

TEST(Array2D, WideningKeepsBoundsValuesAndZeroFillsMissingOnes) {
  IntArray2D a;
  a.lower1 = -1;
  a.upper1 = 1;
  a.lower2 = 0;
  a.upper2 = 1;
  a.values = {-32768, 32767, 3, 4};  // two cells of six missing
  const Kernel2D k(a);
  EXPECT_EQ(k.lower1, -1);
  EXPECT_EQ(k.upper1, 1);
  EXPECT_EQ(k.lower2, 0);
  EXPECT_EQ(k.upper2, 1);
  ASSERT_EQ(k.values.size(), 6u);
  EXPECT_EQ(k(-1, 0), -32768);
  EXPECT_EQ(k(-1, 1), 32767);
  EXPECT_EQ(k(0, 0), 3);
  EXPECT_EQ(k(0, 1), 4);
  EXPECT_EQ(k(1, 0), 0);
  EXPECT_EQ(k(1, 1), 0);
}

}  // namespace
}  // namespace qorv
