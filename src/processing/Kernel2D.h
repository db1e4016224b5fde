// A two-dimensional array of kernel entries whose indices run between
// explicit lower and upper bounds in each dimension (normally -r..r). The first
// index is the horizontal offset, the second the vertical one.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <vector>

namespace qorv {

class Kernel2D {
 public:
  Kernel2D() = default;
  // An array of zeros with the given bounds (no elements when a lower bound
  // is above its upper bound; the bounds are kept as given, as a host's empty
  // array keeps its own). std::length_error beyond kMaxCells.
  static constexpr std::int64_t kMaxCells = std::int64_t{1} << 24;
  Kernel2D(std::int32_t lower1, std::int32_t upper1, std::int32_t lower2, std::int32_t upper2)
      : lo1_(lower1), hi1_(upper1), lo2_(lower2), hi2_(upper2) {
    const std::int64_t e1 = std::int64_t{upper1} - lower1 + 1;
    const std::int64_t e2 = std::int64_t{upper2} - lower2 + 1;
    if (e1 > 0 && e2 > 0) {
      if (e1 > kMaxCells || e2 > kMaxCells || e1 * e2 > kMaxCells) throw std::length_error("kernel too large");
      cells_.assign(static_cast<std::size_t>(e1 * e2), 0);
    }
  }
  // From rows as they read on screen: each inner list is one row (the second
  // index), its entries run along the first index. Indices are centred, so a
  // 3 x 3 list runs -1..1 both ways.
  Kernel2D(std::initializer_list<std::initializer_list<std::int32_t>> rows) {
    std::int32_t cols = 0;
    for (const auto& r : rows) cols = std::max<std::int32_t>(cols, static_cast<std::int32_t>(r.size()));
    const auto n = static_cast<std::int32_t>(rows.size());
    *this = Kernel2D(-(cols / 2), cols - 1 - cols / 2, -(n / 2), n - 1 - n / 2);
    std::int32_t j = lo2_;
    for (const auto& r : rows) {
      std::int32_t i = lo1_;
      for (std::int32_t v : r) (*this)(i++, j) = v;
      ++j;
    }
  }

  std::int32_t lower1() const { return lo1_; }
  std::int32_t upper1() const { return hi1_; }
  std::int32_t lower2() const { return lo2_; }
  std::int32_t upper2() const { return hi2_; }
  bool contains(std::int32_t i, std::int32_t j) const {
    return !cells_.empty() && i >= lo1_ && i <= hi1_ && j >= lo2_ && j <= hi2_;
  }

  // Bounds-checked access; std::out_of_range outside the bounds.
  std::int32_t& operator()(std::int32_t i, std::int32_t j) { return cells_[index(i, j)]; }
  std::int32_t operator()(std::int32_t i, std::int32_t j) const { return cells_[index(i, j)]; }

 private:
  std::int64_t extent1() const { return std::int64_t{hi1_} - lo1_ + 1; }
  std::size_t index(std::int32_t i, std::int32_t j) const {
    if (!contains(i, j)) throw std::out_of_range("Subscript out of range");
    return static_cast<std::size_t>(j - lo2_) * static_cast<std::size_t>(extent1()) +
           static_cast<std::size_t>(i - lo1_);
  }

  std::int32_t lo1_ = 0, hi1_ = -1, lo2_ = 0, hi2_ = -1;
  std::vector<std::int32_t> cells_;
};

}  // namespace qorv
