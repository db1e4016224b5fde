// Black and white by error diffusion, scanning column by column. The error of
// a white pixel is 127 - value rather than value - 255; both that and the
// column order are part of the look of the result.
//
// Column by column, a 6000-pixel-wide picture is walked down its rows 6000
// times, one pixel of each row at a time: every step is a cache miss. The same
// arithmetic is done here in blocks of columns instead. Within a block, pixel
// (i, y) is visited at step y + 2i, which keeps every dependency of the column
// order: a pixel receives its left neighbours' errors (steps y + 2i - 2 and
// y + 2i - 1) and the one above it (y + 2i - 1) before it is read (y + 2i),
// and its right neighbour's error to the pixel below-left (y + 2i + 2) only
// after; the additions to each pixel, each clamped, happen in the same order.
// One block covers a few cache lines of each row, so the rows stay in the
// cache while the block passes down them.
//
// Blocks are claimed in order by the threads of the row pool; a block keeps
// behind its left neighbour by the steps the dependencies above need, so two
// threads work on neighbouring blocks at once. The result is the same bytes
// on one thread or two.
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

#include <QorvPictureBox/gdi.h>
#include "platform/RowParallel.h"
#include "processing/ColumnPass.h"
#include "processing/cDIBSection.h"

namespace qorv {

namespace {

inline void addError(std::uint8_t* px, std::int32_t delta) {
  const std::uint8_t v = clampByte(static_cast<std::int32_t>(px[0]) + delta);
  px[0] = v;
  px[1] = v;
  px[2] = v;
}

// 64 pixels: 192 bytes, three cache lines of each row.
constexpr std::int32_t kBlockPixels = 64;

struct Diffusion {
  DibView a, b;
  std::int32_t lastX = 0, lastY = 0;

  // The pixel at byte column x of row y, and its error to its neighbours.
  void pixel(std::int32_t x, std::int32_t y) const {
    std::uint8_t* pa = a.row(y) + x;
    std::uint8_t* pb = b.row(y) + x;
    const std::int32_t value = pa[0];
    std::int32_t error;
    if (value > 128) {
      pb[0] = pb[1] = pb[2] = 255;
      error = 127 - value;
    } else {
      pb[0] = pb[1] = pb[2] = 0;
      error = value <= 16 ? 0 : value;
    }
    if (error == 0) return;
    if (x < lastX) addError(pa + 3, error * 7 / 16);
    if (y < lastY) {
      const bool inner = x > 0 && x < lastX;
      std::uint8_t* below = a.row(y + 1) + x;
      if (inner) addError(below - 3, error * 3 / 16);
      addError(below, error * 5 / 16);
      if (inner) addError(below + 3, error * 1 / 16);
    }
  }

  std::int32_t blocks() const { return (lastX / 3) / kBlockPixels + 1; }
  std::int32_t firstPixel(std::int32_t k) const { return k * kBlockPixels; }
  std::int32_t pixelsOf(std::int32_t k) const {
    return std::min(kBlockPixels, lastX / 3 + 1 - firstPixel(k));
  }
  // Steps of block k: step s visits (i, s - 2i) for every i with that row in the picture.
  std::int32_t stepsOf(std::int32_t k) const { return lastY + 1 + 2 * (pixelsOf(k) - 1); }

  // Runs step s of block k.
  void step(std::int32_t k, std::int32_t s) const {
    const std::int32_t n = pixelsOf(k);
    const std::int32_t iLo = s > lastY ? (s - lastY + 1) / 2 : 0;
    const std::int32_t iHi = std::min(n - 1, s / 2);
    const std::int32_t x0 = 3 * firstPixel(k);
    for (std::int32_t i = iLo; i <= iHi; ++i) pixel(x0 + 3 * i, s - 2 * i);
  }
};

// Shared by the threads: the next block to claim, and how many steps of each
// block are done.
struct Wavefront {
  explicit Wavefront(std::int32_t blocks) : done(new std::atomic<std::int32_t>[static_cast<std::size_t>(blocks)]) {
    for (std::int32_t k = 0; k < blocks; ++k) done[static_cast<std::size_t>(k)].store(0, std::memory_order_relaxed);
  }
  std::atomic<std::int32_t> next{0};
  std::unique_ptr<std::atomic<std::int32_t>[]> done;
};

// Claims blocks in order until none is left. A block's step s waits until its
// left neighbour has done every step up to s + 2n - 1 (n: the neighbour's
// width): the pixels it needs are written by then and the neighbour has read
// every pixel this step writes into. Blocks are claimed in order and the
// lowest unfinished block never waits, so neither thread waits for ever.
void runBlocks(const Diffusion& d, Wavefront& w) {
  const std::int32_t blocks = d.blocks();
  for (std::int32_t k = w.next.fetch_add(1); k < blocks; k = w.next.fetch_add(1)) {
    const std::int32_t steps = d.stepsOf(k);
    std::atomic<std::int32_t>* left = k > 0 ? &w.done[static_cast<std::size_t>(k - 1)] : nullptr;
    const std::int32_t leftSteps = k > 0 ? d.stepsOf(k - 1) : 0;
    const std::int32_t lead = k > 0 ? 2 * d.pixelsOf(k - 1) : 0;
    std::int32_t known = k > 0 ? left->load(std::memory_order_acquire) : 0;
    std::atomic<std::int32_t>& mine = w.done[static_cast<std::size_t>(k)];
    for (std::int32_t s = 0; s < steps; ++s) {
      if (left) {
        const std::int32_t need = std::min(s + lead, leftSteps);
        for (int spins = 0; known < need; ++spins) {
          if (spins > 64) std::this_thread::yield();
          known = left->load(std::memory_order_acquire);
        }
      }
      d.step(k, s);
      mine.store(s + 1, std::memory_order_release);
    }
  }
}

}  // namespace

void cImageProcessDIB::BlackAndWhite(cDIBSection& cImageA, cDIBSection& cImageB) {
  const DibView a = cImageA.View();
  const DibView b = cImageB.View();
  if (!a.valid() || !b.valid() || !a.sameSize(b)) return;
  Grayscale(cImageA);
  Diffusion d{a, b, a.width * 3 - 3, a.height - 1};
  // Every column is done before the first is reported; the reports follow in
  // column order, as a column-by-column loop gives them.
  runOperation("Black & White", d.lastX, [&] {
    Wavefront w(d.blocks());
    const std::int32_t threads = d.blocks() > 1 ? parallelRowsThreads() : 1;
    const std::int64_t perThread = static_cast<std::int64_t>(a.rowBytes()) * a.height * 8 / threads;
    parallelRows(0, threads - 1, perThread, [&](std::int32_t, std::int32_t) { runBlocks(d, w); });
    for (std::int32_t x = 0; x <= d.lastX; x += 3) notifyProgress(x, "Black & White");
  });
}

}  // namespace qorv
