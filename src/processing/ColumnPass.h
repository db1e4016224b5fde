// The skeleton every pixel operation shares: the timing, the init and
// completion notifications, and progress reported once per column in column
// order while the pixels are visited row by row on the shared row pool. An
// operation file only checks its input, picks its row functions and says what
// to do with a block of rows; the order of events a host sees is decided here.
//
// Reports and pixels are reconciled in strips: a strip of byte columns is
// processed over all its rows, then that strip's columns are reported in
// order. The host sees exactly the per-column sequence a column-by-column
// loop would give (no operation reads what a host handler could change
// between two columns).
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include <QorvPictureBox/gdi.h>
#include "platform/RowParallel.h"
#include "processing/DibView.h"
#include "processing/cImageProcessDIB.h"

namespace qorv {

// A block of work handed to an operation: byte columns x0..x1 (each the first
// byte of a pixel, so the block ends at x1 + 2) of rows y0..y1.
struct Strip {
  std::int32_t x0, x1, y0, y1;
  // Bytes of one row of the block.
  std::int32_t bytes() const { return x1 - x0 + 3; }
  std::int32_t pixels() const { return bytes() / 3; }
};

// What one pass visits and how it reports.
struct ColumnPass {
  std::string description;
  // Byte columns firstByte..lastByte in steps of 3; progress reports one per
  // column, the init notification announces lastByte.
  std::int32_t firstByte = 0;
  std::int32_t lastByte = -3;
  // Rows handed to the blocks (none when lastRow < firstRow; the columns are
  // reported all the same).
  std::int32_t firstRow = 0;
  std::int32_t lastRow = -1;
  // Cost of one byte of a row relative to a plain pass over it, for the
  // decision to split rows over threads.
  std::int64_t workPerByte = 1;
  // Report pixel columns (byte column / 3) instead of byte columns.
  bool reportPixels = false;

  // Every pixel of `v`.
  static ColumnPass wholePicture(const DibView& v, std::string description, std::int64_t workPerByte = 1) {
    ColumnPass p;
    p.description = std::move(description);
    p.lastByte = v.width * 3 - 3;
    p.lastRow = v.height - 1;
    p.workPerByte = workPerByte;
    return p;
  }
  // The pixels of `v` at least r pixels from every edge (a neighbourhood of
  // radius r around each stays inside the picture).
  static ColumnPass interior(const DibView& v, std::string description, std::int32_t r, std::int64_t workPerByte) {
    ColumnPass p;
    p.description = std::move(description);
    p.firstByte = 3 * r;
    p.lastByte = (v.width - 1) * 3 - 3 * r;
    p.firstRow = r;
    p.lastRow = v.height - 1 - r;
    p.workPerByte = workPerByte;
    return p;
  }

  std::int32_t reported(std::int32_t byteColumn) const { return reportPixels ? byteColumn / 3 : byteColumn; }
};

namespace detail {

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

}  // namespace detail

template <class Body>
void cImageProcessDIB::runOperation(const std::string& description, std::int32_t max, Body&& body) {
  const std::uint32_t start = gdi::timeGetTime();
  notifyInit(max, description);
  body();
  notifyComplete(start, description);
}

template <class Block>
void cImageProcessDIB::runColumnPass(const ColumnPass& pass, Block&& block) {
  runOperation(pass.description, pass.reported(pass.lastByte), [&] {
    detail::forEachColumnStrip(
        pass.firstByte, pass.lastByte,
        [&](std::int32_t x0, std::int32_t x1) {
          const std::int64_t work = static_cast<std::int64_t>(x1 - x0 + 3) * pass.workPerByte;
          parallelRows(pass.firstRow, pass.lastRow, work,
                       [&](std::int32_t y0, std::int32_t y1) { block(Strip{x0, x1, y0, y1}); });
        },
        [&](std::int32_t x) { notifyProgress(pass.reported(x), pass.description); });
  });
}

template <class Rows>
void cImageProcessDIB::runRowPass(const std::string& description, std::int32_t lastByte, Rows&& rows) {
  runOperation(description, lastByte, [&] {
    rows();
    // Every column changed at once; the per-column reports follow in order.
    for (std::int32_t x = 0; x <= lastByte; x += 3) notifyProgress(x, description);
  });
}

template <class Column>
void cImageProcessDIB::runColumnByColumn(const std::string& description, std::int32_t lastByte, Column&& column) {
  runOperation(description, lastByte, [&] {
    for (std::int32_t x = 0; x <= lastByte; x += 3) {
      column(x);
      notifyProgress(x, description);
    }
  });
}

}  // namespace qorv
