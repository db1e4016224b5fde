// Black and white by error diffusion, scanning column by column. The error of
// a white pixel is 127 - value rather than value - 255; both that and the
// column order are part of the look of the result.
//
// Walking a 6000-pixel-wide picture column by column is a cache miss per
// pixel. The column order is kept here without walking it, row by row. In the
// column order a pixel (x, y) receives, each addition clamped:
//   1/16 of the error of (x-1, y-1) (its below-right), then
//   7/16 of the error of (x-1, y)   (its right), then
//   5/16 of the error of (x, y-1)   (its below),
// and is then read; only after that, 3/16 of the error of (x+1, y-1) (its
// below-left) arrives, which no longer changes the result but does change the
// working image's final value. All four come from the pixel's own row and the
// row before it, so a row can be walked left to right once the row before has
// passed x + 1. The additions from the row before are kept apart per kind in a
// small buffer and applied in the column order's sequence, so every pixel of
// both images ends with the same bytes as the column-by-column walk gives.
//
// Rows are claimed in order by the threads of the row pool; a row keeps behind
// the row before it by a chunk of pixels, so two threads walk neighbouring
// rows at once. The result is the same bytes on one thread or two.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include <QorvPictureBox/gdi.h>
#include "platform/RowParallel.h"
#include "processing/ColumnPass.h"
#include "processing/cDIBSection.h"

namespace qorv {

namespace {

// What a pixel of each value does: its result and the shares of its error.
struct Spread {
  std::uint8_t out;
  std::int16_t right, below, belowRight, belowLeft;
};

std::array<Spread, 256> spreadTable() {
  std::array<Spread, 256> t{};
  for (std::int32_t v = 0; v < 256; ++v) {
    const bool white = v > 128;
    const std::int32_t error = white ? 127 - v : (v <= 16 ? 0 : v);
    // Integer division truncates towards zero, negative errors included.
    t[static_cast<std::size_t>(v)] = Spread{static_cast<std::uint8_t>(white ? 255 : 0),
                                           static_cast<std::int16_t>(error * 7 / 16),
                                           static_cast<std::int16_t>(error * 5 / 16),
                                           static_cast<std::int16_t>(error * 1 / 16),
                                           static_cast<std::int16_t>(error * 3 / 16)};
  }
  return t;
}

inline std::int32_t clamp255(std::int32_t v) { return v < 0 ? 0 : (v > 255 ? 255 : v); }

// The additions a row hands to the next, by kind. Index x + 1 holds pixel x,
// so that the neighbours of the first and last pixel have a slot.
struct Handover {
  std::vector<std::int16_t> belowRight, below, belowLeft;
  explicit Handover(std::int32_t width)
      : belowRight(static_cast<std::size_t>(width) + 2), below(belowRight.size()), belowLeft(belowRight.size()) {}
};

// Pixels a row walks before it tells the next row how far it is.
constexpr std::int32_t kChunk = 256;

struct Diffusion {
  DibView a, b;
  std::int32_t width = 0, lastPixel = 0;
  std::array<Spread, 256> spread = spreadTable();

  // Pixels x0..x1-1 of row y; `in` holds what the row before handed over,
  // `out` receives what this row hands to the next. `right` carries the
  // right-hand share from one pixel to the next.
  void walk(std::int32_t y, std::int32_t x0, std::int32_t x1, const Handover& in, Handover& out,
            std::int32_t& right) const {
    std::uint8_t* pa = a.row(y);
    std::uint8_t* pb = b.row(y);
    for (std::int32_t x = x0; x < x1; ++x) {
      const auto i = static_cast<std::size_t>(x) + 1;
      std::int32_t v = pa[3 * x];
      v = clamp255(v + in.belowRight[i]);
      v = clamp255(v + right);
      v = clamp255(v + in.below[i]);
      const Spread& s = spread[static_cast<std::size_t>(v)];
      pb[3 * x] = pb[3 * x + 1] = pb[3 * x + 2] = s.out;
      const auto final = static_cast<std::uint8_t>(clamp255(v + in.belowLeft[i]));
      pa[3 * x] = pa[3 * x + 1] = pa[3 * x + 2] = final;
      right = s.right;
      // The first and the last column spread straight down only.
      const bool inner = x > 0 && x < lastPixel;
      out.below[i] = s.below;
      out.belowRight[i + 1] = inner ? s.belowRight : 0;
      out.belowLeft[i - 1] = inner ? s.belowLeft : 0;
    }
  }
};

// Shared by the threads: the next row to claim, how many pixels of each row
// are done, and one hand-over buffer more than there are threads (row y reads
// buffer y and writes buffer y + 1, modulo the count: a buffer is written
// again only by a row claimed after the row that read it has finished).
struct Wavefront {
  Wavefront(std::int32_t rows, std::int32_t width, std::int32_t threads)
      : done(new std::atomic<std::int32_t>[static_cast<std::size_t>(rows)]) {
    for (std::int32_t y = 0; y < rows; ++y) done[static_cast<std::size_t>(y)].store(0, std::memory_order_relaxed);
    for (std::int32_t k = 0; k <= threads; ++k) buffers.emplace_back(width);
  }
  std::atomic<std::int32_t> next{0};
  std::unique_ptr<std::atomic<std::int32_t>[]> done;
  std::vector<Handover> buffers;
};

// Claims rows in order until none is left. Pixels up to x1 - 1 of a row wait
// until the row before has done pixel x1 (its below-left share to x1 - 1 is
// handed over then). The lowest unfinished row never waits, so no thread
// waits for ever.
void runRows(const Diffusion& d, Wavefront& w) {
  const std::int32_t rows = d.a.height;
  const auto ring = static_cast<std::int32_t>(w.buffers.size());
  for (std::int32_t y = w.next.fetch_add(1); y < rows; y = w.next.fetch_add(1)) {
    const Handover& in = w.buffers[static_cast<std::size_t>(y % ring)];
    Handover& out = w.buffers[static_cast<std::size_t>((y + 1) % ring)];
    std::atomic<std::int32_t>* before = y > 0 ? &w.done[static_cast<std::size_t>(y - 1)] : nullptr;
    std::atomic<std::int32_t>& mine = w.done[static_cast<std::size_t>(y)];
    std::int32_t known = before ? before->load(std::memory_order_acquire) : d.width;
    std::int32_t right = 0;
    for (std::int32_t x0 = 0; x0 < d.width; x0 += kChunk) {
      const std::int32_t x1 = std::min(x0 + kChunk, d.width);
      const std::int32_t need = std::min(x1 + 1, d.width);
      for (int spins = 0; known < need; ++spins) {
        if (spins > 64) std::this_thread::yield();
        known = before->load(std::memory_order_acquire);
      }
      d.walk(y, x0, x1, in, out, right);
      mine.store(x1, std::memory_order_release);
    }
  }
}

}  // namespace

void cImageProcessDIB::BlackAndWhite(cDIBSection& cImageA, cDIBSection& cImageB) {
  const DibView a = cImageA.View();
  const DibView b = cImageB.View();
  if (!a.valid() || !b.valid() || !a.sameSize(b)) return;
  Grayscale(cImageA);
  Diffusion d{a, b, a.width, a.width - 1};
  const std::int32_t lastByte = a.width * 3 - 3;
  // Every column is done before the first is reported; the reports follow in
  // column order, as a column-by-column loop gives them.
  runOperation("Black & White", lastByte, [&] {
    const std::int32_t threads = a.height > 1 ? parallelRowsThreads() : 1;
    Wavefront w(a.height, a.width, threads);
    const std::int64_t perThread = static_cast<std::int64_t>(a.rowBytes()) * a.height * 8 / threads;
    parallelRows(0, threads - 1, perThread, [&](std::int32_t, std::int32_t) { runRows(d, w); });
    for (std::int32_t x = 0; x <= lastByte; x += 3) notifyProgress(x, "Black & White");
  });
}

}  // namespace qorv
