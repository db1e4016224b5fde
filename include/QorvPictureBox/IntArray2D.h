// A two-dimensional array of integers with its own index bounds.
#pragma once

#include <cstdint>
#include <vector>

namespace qorv {

// A two-dimensional array of 16-bit integers with its own index bounds, as
// automation hosts pass them (a filter kernel runs from -r to r in both
// dimensions).
struct IntArray2D {
  int lower1 = 0, upper1 = -1;  // first dimension, inclusive bounds
  int lower2 = 0, upper2 = -1;  // second dimension
  std::vector<std::int16_t> values;  // (i, j) at (i - lower1) * count2() + (j - lower2)

  int count1() const { return upper1 >= lower1 ? upper1 - lower1 + 1 : 0; }
  int count2() const { return upper2 >= lower2 ? upper2 - lower2 + 1 : 0; }
  std::int16_t at(int i, int j) const {
    return values[static_cast<std::size_t>((i - lower1) * count2() + (j - lower2))];
  }
  // A square array with bounds -r..r in both dimensions, all zero.
  static IntArray2D centred(int r) {
    IntArray2D a;
    if (r < 0) r = 0;
    a.lower1 = a.lower2 = -r;
    a.upper1 = a.upper2 = r;
    a.values.assign(static_cast<std::size_t>(a.count1()) * static_cast<std::size_t>(a.count2()), 0);
    return a;
  }
};

}  // namespace qorv
