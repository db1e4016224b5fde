// Traversal helpers shared by the pixel operations.
//
// Operations report progress once per byte column, in column order, while the
// pixels are best visited row by row. forEachColumnStrip reconciles the two: it
// processes a strip of columns over all rows, then reports that strip's
// columns in order, so the host sees exactly the per-column sequence it would
// see from a column-by-column loop (no operation reads what a host handler
// could change between two columns).
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <thread>

#include "processing/DibView.h"

namespace qorv::detail {

// Byte width of one strip. Narrow strips (a page of each row) were measured
// two to three times slower than whole rows: the memory prefetcher follows
// long contiguous runs, not a page here and a page 18 KB further on. So a
// strip spans whole rows of any realistic picture and the reports follow the
// pixels.
inline constexpr std::int32_t kStripBytes = 3 * (1 << 18);

// Runs process(x0, x1) for consecutive strips of byte columns x0..x1 (both
// multiples of 3 apart from `first`) covering first..last in steps of 3, then
// report(x) for each column of the strip in order.
template <class Process, class Report>
void forEachColumnStrip(std::int32_t first, std::int32_t last, Process&& process, Report&& report) {
  for (std::int64_t x0 = first; x0 <= last; x0 += kStripBytes) {
    const std::int64_t end = x0 + kStripBytes - 3;
    const auto x1 = static_cast<std::int32_t>(end < last ? end : last);
    process(static_cast<std::int32_t>(x0), x1);
    for (std::int32_t x = static_cast<std::int32_t>(x0); x <= x1; x += 3) report(x);
  }
}

// Whether large operations may use a second thread (on by default).
inline std::atomic<bool>& secondThreadAllowed() {
  static std::atomic<bool> allowed{true};
  return allowed;
}

// Runs fn(y0, y1) over rows y0..y1 (inclusive), split over two threads when
// there is enough work to pay for the second one. Rows are independent in
// every caller, so the split cannot change a result.
template <class Fn>
void parallelRows(std::int32_t y0, std::int32_t y1, std::int64_t bytesPerRow, Fn&& fn) {
  if (y1 < y0) return;
  const std::int64_t rows = static_cast<std::int64_t>(y1) - y0 + 1;
  constexpr std::int64_t kMinBytes = 1 << 20;
  if (rows < 2 || rows * bytesPerRow < kMinBytes || std::thread::hardware_concurrency() < 2 ||
      !secondThreadAllowed().load(std::memory_order_relaxed)) {
    fn(y0, y1);
    return;
  }
  const auto mid = static_cast<std::int32_t>(y0 + rows / 2);
  std::thread other;
  try {
    other = std::thread([&] { fn(mid, y1); });
  } catch (...) {
    fn(y0, y1);  // no thread to be had: do it all here
    return;
  }
  fn(y0, mid - 1);
  other.join();
}

// Copies the pixel bytes of every row (padding excluded), as a SRCCOPY blit
// between two working images of one size does.
inline void copyPixels(const DibView& src, const DibView& dst) {
  const std::size_t n = static_cast<std::size_t>(src.rowBytes());
  for (std::int32_t y = 0; y < src.height; ++y) std::memcpy(dst.row(y), src.row(y), n);
}

}  // namespace qorv::detail
