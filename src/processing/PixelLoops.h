// Traversal helpers shared by the pixel operations.
//
// Operations report progress once per byte column, in column order, while the
// pixels are best visited row by row. forEachColumnStrip reconciles the two: it
// processes a strip of columns over all rows, then reports that strip's
// columns in order, so the host sees exactly the per-column sequence it would
// see from a column-by-column loop (no operation reads what a host handler
// could change between two columns).
#pragma once

#include <cstdint>
#include <cstring>

#include "platform/RowParallel.h"
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

// Copies the pixel bytes of every row (padding excluded), as a SRCCOPY blit
// between two working images of one size does.
inline void copyPixels(const DibView& src, const DibView& dst) {
  const std::size_t n = static_cast<std::size_t>(src.rowBytes());
  for (std::int32_t y = 0; y < src.height; ++y) std::memcpy(dst.row(y), src.row(y), n);
}

}  // namespace qorv::detail
