// The engine's filter settings (sizes, types, kernels, weights and the errors
// hosts see when they pass something invalid) and the two-dimensional arrays
// hosts pass and the engine keeps: bounds, layout, checked access and
// conversion between the two widths.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <tuple>

#include <QorvPictureBox/IntArray2D.h>

#include <QorvPictureBox/AutomationError.h>
#include "processing/cImageProcessDIB.h"

namespace qorv {
namespace {

constexpr std::int32_t kOddError = static_cast<std::int32_t>(0x80040519);
constexpr std::int32_t kInvalidError = static_cast<std::int32_t>(0x8004051A);

// Runs f and returns the automation error it raised (number 0 when none).
template <class F>
AutomationError caught(F&& f) {
  try {
    f();
  } catch (const AutomationError& e) {
    return e;
  }
  return AutomationError(0, "", "");
}

TEST(FilterArraySize, AcceptsOddSizesFromOneTo99) {
  for (std::int32_t n : {1, 3, 5, 9, 11, 99}) {
    cImageProcessDIB e;
    e.setFilterArraySize(n);
    EXPECT_EQ(e.FilterArraySize(), n);
    const std::int32_t r = n / 2;
    // A fresh kernel spans -r..r both ways and is all zeros.
    EXPECT_EQ(e.FilterValue(-r, -r), 0);
    EXPECT_EQ(e.FilterValue(r, r), 0);
    EXPECT_EQ(caught([&] { e.FilterValue(r + 1, 0); }).number(), errors::SubscriptOutOfRange);
  }
}

TEST(FilterArraySize, RejectsOtherSizesWithTheirOwnMessages) {
  const std::pair<std::int32_t, std::string> odd{kOddError, "Size must be an odd number"},
      range{kInvalidError, "Invalid size.  Size should be an odd number from 3 to 9"};
  const std::pair<std::int32_t, std::pair<std::int32_t, std::string>> cases[] = {
      {0, odd}, {2, odd}, {-4, odd}, {100, odd}, {-3, range}, {-1, range}, {101, range}};
  for (const auto& [size, error] : cases) {
    SCOPED_TRACE(size);
    cImageProcessDIB e;
    e.setFilterArraySize(3);
    e.setFilterValue(1, 1, 42);
    const AutomationError err = caught([&] { e.setFilterArraySize(size); });
    EXPECT_EQ(std::tuple(err.number(), err.description(), err.source()),
              std::tuple(error.first, error.second, programName() + ".cImageProcess"));
    EXPECT_EQ(std::tuple(e.FilterArraySize(), e.FilterValue(1, 1)), std::tuple(3, 42));  // nothing changed
  }
}

TEST(FilterType, RejectsNumbersOutsideTheEnumeration) {
  for (std::int32_t t : {0, 14, -1, 1000}) {
    SCOPED_TRACE(t);
    cImageProcessDIB e;
    e.setFilterType(filter::eSharpen);
    const AutomationError err = caught([&] { e.setFilterType(t); });
    EXPECT_EQ(std::tuple(err.number(), err.description(), err.source()),
              std::tuple(kInvalidError, std::string("Invalid filter types."), programName() + ".cImageProcess"));
    EXPECT_EQ(std::tuple(e.FilterType(), e.FilterWeight()), std::tuple(filter::eSharpen, 7));  // nothing changed
  }
}

// Every built-in kernel, written out as rows (j = -r first) of entries i = -r..r.
TEST(FilterType, BuildsTheBuiltInKernels) {
  const struct {
    std::int32_t type;
    std::int32_t weight;
    Kernel2D kernel;
  } cases[] = {
      {filter::eBlur, 9, Kernel2D{{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}},
      {filter::eBlurMore, 25, Kernel2D{{1, 1, 1, 1, 1}, {1, 1, 1, 1, 1}, {1, 1, 1, 1, 1}, {1, 1, 1, 1, 1},
                                       {1, 1, 1, 1, 1}}},
      {filter::eSoften, 12, Kernel2D{{1, 1, 1}, {1, 4, 1}, {1, 1, 1}}},
      {filter::eSoftenMore, 44, Kernel2D{{1, 1, 1, 1, 1}, {1, 2, 2, 2, 1}, {1, 2, 12, 2, 1}, {1, 2, 2, 2, 1},
                                         {1, 1, 1, 1, 1}}},
      {filter::eSharpen, 7, Kernel2D{{-1, -1, -1}, {-1, 15, -1}, {-1, -1, -1}}},
      {filter::eSharpenMore, 1, Kernel2D{{0, -1, 0}, {-1, 5, -1}, {0, -1, 0}}},
      {filter::eEmboss, 1, Kernel2D{{-1, 0, 0}, {0, 0, 0}, {0, 0, 1}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(cImageProcessDIB::FilterName(c.type));
    cImageProcessDIB e;
    e.setFilterWeight(100);
    e.setFilterType(c.type);
    EXPECT_EQ(e.FilterType(), c.type);
    EXPECT_EQ(e.FilterWeight(), c.weight);
    const std::int32_t r = c.kernel.upper1;
    EXPECT_EQ(e.FilterArraySize(), 2 * r + 1);
    for (std::int32_t j = -r; j <= r; ++j) {
      for (std::int32_t i = -r; i <= r; ++i) EXPECT_EQ(e.FilterValue(i, j), c.kernel(i, j)) << i << "," << j;
    }
  }
}

TEST(FilterType, KernelFreeTypesZeroTheWeightAndKeepTheKernel) {
  for (std::int32_t t : {filter::eUnSharp, filter::eMedian, filter::eMinimum, filter::eMaximum, filter::eCount}) {
    SCOPED_TRACE(t);
    cImageProcessDIB e;
    e.setFilterType(filter::eSharpen);
    e.setFilterType(t);
    EXPECT_EQ(e.FilterWeight(), 0);
    EXPECT_EQ(e.FilterArraySize(), 3);
    EXPECT_EQ(e.FilterValue(0, 0), 15);
  }
}

// A custom kernel is sized from its first upper bound and leaves type and
// weight alone; choosing the custom type then keeps both kernel and weight.
TEST(AddCustomFilter, SizesFromTheFirstUpperBoundAndKeepsTypeAndWeight) {
  cImageProcessDIB e;
  e.setFilterType(filter::eSharpen);
  Kernel2D k(-2, 2, -2, 2);
  k(-2, 1) = 7;
  k(2, -2) = -9;
  e.AddCustomFilter(k);
  EXPECT_EQ(std::tuple(e.FilterArraySize(), e.FilterValue(-2, 1), e.FilterValue(2, -2), e.FilterValue(0, 0)),
            std::tuple(5, 7, -9, 0));
  EXPECT_EQ(std::tuple(e.FilterType(), e.FilterWeight()), std::tuple(filter::eSharpen, 7));
  e.setFilterWeight(11);
  e.setFilterType(filter::eCustom);
  EXPECT_EQ(std::tuple(e.FilterWeight(), e.FilterValue(-2, 1), e.FilterValue(2, -2)), std::tuple(11, 7, -9));
}

TEST(AddCustomFilter, AsymmetricArraysRunIntoTheBoundsCheck) {
  cImageProcessDIB e;
  // First dimension 0..2: sized 5 from its upper bound, fits.
  e.AddCustomFilter(Kernel2D(0, 2, 0, 2));
  EXPECT_EQ(e.FilterArraySize(), 5);
  // Second dimension reaching past the kernel: bounds error during the copy.
  EXPECT_EQ(caught([&] { e.AddCustomFilter(Kernel2D(-1, 1, -3, 3)); }).number(), errors::SubscriptOutOfRange);
  // No elements in the second dimension: sized from the first, nothing copied.
  e.AddCustomFilter(Kernel2D(-2, 2, 0, -1));
  EXPECT_EQ(e.FilterArraySize(), 5);
  EXPECT_EQ(e.FilterValue(2, 2), 0);
  // Upper bound -1 asks for size -1.
  EXPECT_EQ(caught([&] { e.AddCustomFilter(Kernel2D(-3, -1, 0, 0)); }).number(), kInvalidError);
}

TEST(Array2D, RowsAreCentredRaggedOnesPaddedWithZeros) {
  const Kernel2D k{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  EXPECT_TRUE(k.lower1 == -1 && k.upper2 == 1);
  EXPECT_TRUE(k(-1, -1) == 1 && k(1, -1) == 3 && k(-1, 1) == 7);
  EXPECT_THROW(k(2, 0), std::out_of_range);
  const IntArray2D a{{1, 2}, {3}};  // a short row is padded with zeros
  EXPECT_EQ(std::tuple(a.lower1, a.upper1, a.lower2, a.upper2), std::tuple(-1, 0, -1, 0));
  EXPECT_EQ(std::tuple(a(0, -1), a(-1, 0), a(0, 0)), std::tuple(2, 3, 0));
}

TEST(Array2D, CentredSquaresRunWithTheFirstIndexOuter) {
  // A negative radius is taken as none.
  for (const auto& [r, bound] : {std::pair{0, 0}, {2, 2}, {-3, 0}}) {
    const IntArray2D a = IntArray2D::centred(r);
    const auto cells = static_cast<std::size_t>((2 * bound + 1) * (2 * bound + 1));
    EXPECT_EQ(std::tuple(a.lower1, a.upper1, a.lower2, a.upper2, a.values),
              std::tuple(-bound, bound, -bound, bound, std::vector<std::int16_t>(cells, 0)))
        << r;
  }
  // Hosts write values by hand with the first index outer.
  IntArray2D a = IntArray2D::centred(1);
  a.values[static_cast<std::size_t>(2 * a.count2())] = 42;  // i = 1, j = -1
  a(-1, 1) = -7;
  EXPECT_EQ(std::pair(a(1, -1), a.values[2]), std::pair(std::int16_t{42}, std::int16_t{-7}));
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
  EXPECT_TRUE(k.lower1 == -1 && k.upper1 == 1 && k.lower2 == 0 && k.upper2 == 1);
  EXPECT_EQ(k.values, (std::vector<std::int32_t>{-32768, 32767, 3, 4, 0, 0}));
  EXPECT_EQ(k(-1, 1), 32767);
}

}  // namespace
}  // namespace qorv
