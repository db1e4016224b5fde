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
// Pairs of rows are claimed in order by the threads of the row pool; each
// thread walks its two rows together, the lower two pixels behind, and a pair
// keeps behind the pair before it by a chunk of pixels, so two threads walk
// neighbouring pairs at once. The result is the same bytes on one thread or
// two.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
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

// What a row hands to the next: the value each of its pixels was judged by
// (index x + 1 for pixel x, so that the first and last pixel have
// neighbours' slots); the next row looks the shares up. 0 (no error) before
// the first row.
struct Handover {
  std::vector<std::uint8_t> value;
  explicit Handover(std::int32_t width) : value(static_cast<std::size_t>(width) + 2) {}
};

// Pixels a row walks before it tells the next row how far it is.
constexpr std::int32_t kChunk = 1024;

// One row under way: its pixels, the values the row before was judged by
// (`in`), this row's (`out`), and the right-hand share carried from one pixel
// to the next.
struct RowWalk {
  std::uint8_t* pa;
  std::uint8_t* pb;
  const std::uint8_t* in;
  std::uint8_t* out;
  std::int32_t right = 0;
};

// Pixel x of a row. Each result goes out in one four-byte store whose fourth
// byte lands on the next pixel's first, written by that pixel in turn (the
// last pixel stores its three bytes one by one). The working image's first
// byte of the next pixel is therefore not read: its second, equal after the
// grayscale and untouched until then, is.
[[gnu::always_inline]] inline void pixel(RowWalk& r, std::int32_t x, std::int32_t lastPixel, const Spread* spread) {
  const std::uint8_t* above = r.in + x;  // pixels x - 1, x, x + 1
  // The first and the last column spread straight down only.
  const std::int32_t belowRight = x >= 2 && x <= lastPixel ? spread[above[0]].belowRight : 0;
  const std::int32_t belowLeft = x + 2 <= lastPixel ? spread[above[2]].belowLeft : 0;
  std::int32_t v = r.pa[3 * x + 1];
  v = clamp255(v + belowRight);
  v = clamp255(v + r.right);
  v = clamp255(v + spread[above[1]].below);
  const Spread& s = spread[v];
  const auto final = static_cast<std::uint8_t>(clamp255(v + belowLeft));
  r.right = s.right;
  r.out[x + 1] = static_cast<std::uint8_t>(v);
  std::uint8_t* pa = r.pa + 3 * x;
  std::uint8_t* pb = r.pb + 3 * x;
  if (x < lastPixel) {
    const std::uint32_t a4 = final * 0x01010101u;
    const std::uint32_t b4 = s.out * 0x01010101u;
    std::memcpy(pa, &a4, 4);
    std::memcpy(pb, &b4, 4);
  } else {
    pa[0] = pa[1] = pa[2] = final;
    pb[0] = pb[1] = pb[2] = s.out;
  }
}

struct Diffusion {
  DibView a, b;
  std::int32_t width = 0, lastPixel = 0;
  std::array<Spread, 256> spread = spreadTable();

  // The walks keep their state in locals: every byte they store could
  // otherwise be the state itself, as far as the compiler knows, and would
  // force it back to memory at each pixel.
  void walk(RowWalk& row, std::int32_t x0, std::int32_t x1) const {
    RowWalk r = row;
    const std::int32_t last = lastPixel;
    const Spread* table = spread.data();
    for (std::int32_t x = x0; x < x1; ++x) pixel(r, x, last, table);
    row = r;
  }

  // Pixels x0..x1-1 of the upper row and x0-2..x1-3 of the lower one: the
  // lower row's pixel needs the upper row's up to one to its right, done by
  // then. The two rows' chains of dependent steps are independent of each
  // other, so the processor overlaps them.
  void walkPair(RowWalk& upper, RowWalk& lower, std::int32_t x0, std::int32_t x1) const {
    RowWalk up = upper, low = lower;
    const std::int32_t last = lastPixel;
    const Spread* table = spread.data();
    std::int32_t x = x0;
    for (; x < x1 && x < 2; ++x) pixel(up, x, last, table);
    for (; x < x1; ++x) {
      pixel(up, x, last, table);
      pixel(low, x - 2, last, table);
    }
    upper = up;
    lower = low;
  }
};

// Shared by the threads: the next pair of rows to claim, how many pixels of
// each row are done, and the hand-over buffers: row y reads buffer y and
// writes buffer y + 1, modulo their count, two per thread and two more, so
// that a buffer is written again only by a row claimed after the row that
// read it has finished.
struct Wavefront {
  Wavefront(std::int32_t rows, std::int32_t width, std::int32_t threads)
      : progress(new Progress[static_cast<std::size_t>(rows)]) {
    for (std::int32_t k = 0; k < 2 * threads + 2; ++k) buffers.emplace_back(width);
  }
  std::atomic<std::int32_t> next{0};
  // Each row's count on a cache line of its own: the other thread polls it.
  struct alignas(64) Progress {
    std::atomic<std::int32_t> pixels{0};
  };
  std::unique_ptr<Progress[]> progress;
  std::atomic<std::int32_t>& done(std::int32_t y) { return progress[static_cast<std::size_t>(y)].pixels; }
  std::vector<Handover> buffers;
};

// Polls of the row above before a waiting row sleeps.
constexpr int kSpins = 64;

inline void pauseBriefly() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

// Tells a waiting row how far this one is.
void publish(std::atomic<std::int32_t>& done, std::int32_t pixels) {
  done.store(pixels, std::memory_order_release);
  done.notify_all();
}

// Claims pairs of rows in order until none is left. Pixels up to x1 - 1 of
// a pair's upper row wait until the row before has done pixel x1 (its
// below-left share to x1 - 1 is handed over then). The lowest unfinished pair
// never waits, so no thread waits for ever.
void runRows(const Diffusion& d, Wavefront& w) {
  const std::int32_t rows = d.a.height;
  const auto ring = static_cast<std::int32_t>(w.buffers.size());
  auto walkOf = [&](std::int32_t y) {
    return RowWalk{d.a.row(y), d.b.row(y), w.buffers[static_cast<std::size_t>(y % ring)].value.data(),
                   w.buffers[static_cast<std::size_t>((y + 1) % ring)].value.data()};
  };
  for (std::int32_t y = 2 * w.next.fetch_add(1); y < rows; y = 2 * w.next.fetch_add(1)) {
    const bool pair = y + 1 < rows;
    RowWalk up = walkOf(y);
    RowWalk low = pair ? walkOf(y + 1) : up;
    std::atomic<std::int32_t>* before = y > 0 ? &w.done(y - 1) : nullptr;
    std::int32_t known = before ? before->load(std::memory_order_acquire) : d.width;
    for (std::int32_t x0 = 0; x0 < d.width; x0 += kChunk) {
      const std::int32_t x1 = std::min(x0 + kChunk, d.width);
      const std::int32_t need = std::min(x1 + 1, d.width);
      // A short spin covers a wait that is about to end; beyond it the
      // thread sleeps until the row before moves on, leaving the core to
      // whatever it is waiting for on a busy machine.
      for (int spins = 0; known < need; ++spins) {
        if (spins < kSpins) pauseBriefly();
        else before->wait(known, std::memory_order_acquire);
        known = before->load(std::memory_order_acquire);
      }
      if (pair) {
        d.walkPair(up, low, x0, x1);
        publish(w.done(y + 1), std::max(0, x1 - 2));
      } else {
        d.walk(up, x0, x1);
      }
      publish(w.done(y), x1);
    }
    if (pair) {
      d.walk(low, std::max(0, d.width - 2), d.width);
      publish(w.done(y + 1), d.width);
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
