// Two-dimensional integer arrays with their own index bounds, as automation
// hosts pass them (a filter kernel runs from -r to r in both dimensions). The
// control takes 16-bit arrays from hosts; its filter engine keeps 32-bit ones.
// Self-contained: the standard library only. `(std::max)(...)` is written so
// that a host's function-like min/max macros cannot expand it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <vector>

namespace qorv {

// The first index is the horizontal offset, the second the vertical one. The
// bounds and the values are open for hosts that fill an array by hand; reads
// through operator() and at() are checked against both, so an array whose
// values do not cover its bounds fails cleanly instead of reading past them.
template <class T>
struct Array2D {
  int lower1 = 0, upper1 = -1;  // first dimension, inclusive bounds
  int lower2 = 0, upper2 = -1;  // second dimension
  std::vector<T> values;        // (i, j) at (i - lower1) * count2() + (j - lower2)

  // No array holds more cells than this; a larger one is refused with
  // std::length_error before anything is allocated.
  static constexpr std::int64_t kMaxCells = std::int64_t{1} << 24;

  Array2D() = default;
  // Zeros with the given bounds (no cells when a lower bound is above its
  // upper bound; the bounds are kept as given, as a host's empty array keeps
  // its own).
  Array2D(int lower1_, int upper1_, int lower2_, int upper2_)
      : lower1(lower1_), upper1(upper1_), lower2(lower2_), upper2(upper2_) {
    values.assign(checkedCells(), T{});
  }
  // From rows as they read on screen: each inner list is one row (the second
  // index), its entries run along the first index. Indices are centred, so a
  // 3 x 3 list runs -1..1 both ways; short rows are padded with zeros.
  Array2D(std::initializer_list<std::initializer_list<T>> rows) {
    int cols = 0;
    for (const auto& r : rows) cols = (std::max)(cols, static_cast<int>(r.size()));
    const int n = static_cast<int>(rows.size());
    *this = Array2D(-(cols / 2), cols - 1 - cols / 2, -(n / 2), n - 1 - n / 2);
    int j = lower2;
    for (const auto& r : rows) {
      int i = lower1;
      for (const T& v : r) (*this)(i++, j) = v;
      ++j;
    }
  }
  // The same bounds with every value converted; cells that `other` has no
  // value for are zero.
  template <class U>
  explicit Array2D(const Array2D<U>& other)
      : lower1(other.lower1), upper1(other.upper1), lower2(other.lower2), upper2(other.upper2) {
    values.assign(checkedCells(), T{});
    const std::size_t n = (std::min)(values.size(), other.values.size());
    for (std::size_t k = 0; k < n; ++k) values[k] = static_cast<T>(other.values[k]);
  }
  // A square array with bounds -r..r in both dimensions, all zero (r below 0
  // counts as 0).
  static Array2D centred(int r) {
    r = (std::max)(r, 0);
    return Array2D(-r, r, -r, r);
  }

  // Cells along each dimension (0 when a lower bound is above its upper one).
  std::int64_t extent1() const { return upper1 >= lower1 ? std::int64_t{upper1} - lower1 + 1 : 0; }
  std::int64_t extent2() const { return upper2 >= lower2 ? std::int64_t{upper2} - lower2 + 1 : 0; }
  // The same as int, for index arithmetic over arrays that exist (bounds wider
  // than an int can count saturate).
  int count1() const { return saturated(extent1()); }
  int count2() const { return saturated(extent2()); }

  // Whether (i, j) is within the bounds and has a value.
  bool contains(int i, int j) const {
    return i >= lower1 && i <= upper1 && j >= lower2 && j <= upper2 && offset(i, j) < values.size();
  }
  // Checked access; std::out_of_range outside the bounds or the values.
  T& operator()(int i, int j) { return values[index(i, j)]; }
  const T& operator()(int i, int j) const { return values[index(i, j)]; }
  T at(int i, int j) const { return values[index(i, j)]; }

 private:
  static int saturated(std::int64_t v) {
    return v > (std::numeric_limits<int>::max)() ? (std::numeric_limits<int>::max)() : static_cast<int>(v);
  }
  std::size_t checkedCells() const {
    const std::int64_t e1 = extent1(), e2 = extent2();
    if (e1 > kMaxCells || e2 > kMaxCells || e1 * e2 > kMaxCells) throw std::length_error("array too large");
    return static_cast<std::size_t>(e1 * e2);
  }
  // Only for indices within the bounds. Unsigned: the largest bounds give
  // offsets up to 2^64 - 1, which no value vector reaches.
  std::size_t offset(int i, int j) const {
    const auto di = static_cast<std::uint64_t>(std::int64_t{i} - lower1);
    const auto dj = static_cast<std::uint64_t>(std::int64_t{j} - lower2);
    return static_cast<std::size_t>(di * static_cast<std::uint64_t>(extent2()) + dj);
  }
  std::size_t index(int i, int j) const {
    if (!contains(i, j)) throw std::out_of_range("Subscript out of range");
    return offset(i, j);
  }
};

// The arrays hosts pass to the control.
using IntArray2D = Array2D<std::int16_t>;

}  // namespace qorv
