// Grayscale: 222 R + 707 G + 71 B over 1000, rounded halves to even (the
// weights sum to 1000, so a gray pixel stays as it is).
#include <cstdint>
#include <string>

#include "platform/gdi.h"
#include "processing/PixelLoops.h"
#include "processing/cDIBSection.h"
#include "processing/cImageProcessDIB.h"

#pragma GCC optimize("O3")

namespace qorv {

namespace {

// Integer form of nearbyint(n / 1000.0) for 0 <= n <= 255000.
[[gnu::always_inline]] inline std::uint32_t roundThousandth(std::uint32_t n) {
  const std::uint32_t q = n / 1000u;
  const std::uint32_t rem = n - q * 1000u;
  return q + (rem > 500u ? 1u : 0u) + (rem == 500u ? (q & 1u) : 0u);
}

[[gnu::always_inline]] inline void grayRow(std::uint8_t* p, std::int32_t pixels) {
  for (std::int32_t i = 0; i < pixels; ++i) {
    std::uint8_t* px = p + 3 * i;
    const std::uint32_t n = 71u * px[0] + 707u * px[1] + 222u * px[2];
    const auto g = static_cast<std::uint8_t>(roundThousandth(n));
    px[0] = g;
    px[1] = g;
    px[2] = g;
  }
}

void grayRowDefault(std::uint8_t* p, std::int32_t pixels) { grayRow(p, pixels); }
[[gnu::target("avx2")]] void grayRowAvx2(std::uint8_t* p, std::int32_t pixels) { grayRow(p, pixels); }

// Turns byte columns x0..x1 of every row gray.
void grayscaleBlock(const DibView& v, std::int32_t x0, std::int32_t x1) {
  static const bool avx2 = __builtin_cpu_supports("avx2");
  const std::int32_t pixels = (x1 - x0) / 3 + 1;
  detail::parallelRows(0, v.height - 1, static_cast<std::int64_t>(pixels) * 3, [&](std::int32_t y0, std::int32_t y1) {
    for (std::int32_t y = y0; y <= y1; ++y) (avx2 ? grayRowAvx2 : grayRowDefault)(v.row(y) + x0, pixels);
  });
}

}  // namespace

void cImageProcessDIB::Grayscale(cDIBSection& cImage) {
  const DibView v = cImage.View();
  if (!v.valid()) return;
  const std::uint32_t start = gdi::timeGetTime();
  const std::string desc = "Grayscale";
  notifyInit(v.width - 1, desc);
  detail::forEachColumnStrip(
      0, (v.width - 1) * 3, [&](std::int32_t x0, std::int32_t x1) { grayscaleBlock(v, x0, x1); },
      [&](std::int32_t x) { notifyProgress(x / 3, desc); });
  notifyComplete(start, desc);
}

}  // namespace qorv
