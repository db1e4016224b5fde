// Fade (the control's Darken): every byte becomes byte * Amount \ 255.
#include <cstdint>
#include <string>

#include "platform/gdi.h"
#include "processing/PixelLoops.h"
#include "processing/cDIBSection.h"
#include "processing/cImageProcessDIB.h"

#pragma GCC optimize("O3")

namespace qorv {

namespace {

// Amounts 0..255 keep every product within 16 bits, which divides fast.
[[gnu::always_inline]] inline void fadeRow(std::uint8_t* p, std::int32_t n, std::uint16_t amount) {
  for (std::int32_t i = 0; i < n; ++i) p[i] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(p[i] * amount) / 255u);
}
void fadeRowDefault(std::uint8_t* p, std::int32_t n, std::uint16_t amount) { fadeRow(p, n, amount); }
[[gnu::target("avx2")]] void fadeRowAvx2(std::uint8_t* p, std::int32_t n, std::uint16_t amount) {
  fadeRow(p, n, amount);
}

}  // namespace

void cImageProcessDIB::Fade(cDIBSection& cImage, std::int32_t Amount) {
  const DibView v = cImage.View();
  if (!v.valid()) return;
  static const bool avx2 = __builtin_cpu_supports("avx2");
  const std::uint32_t start = gdi::timeGetTime();
  const std::string desc = "Fading";
  // Any other amount goes through a table of the 256 results.
  std::uint8_t table[256];
  for (int b = 0; b < 256; ++b) table[b] = clampByte(static_cast<std::int64_t>(b) * Amount / 255);
  const bool direct = Amount >= 0 && Amount <= 255;
  notifyInit(v.width * 3 - 3, desc);
  detail::forEachColumnStrip(
      0, v.width * 3 - 3,
      [&](std::int32_t x0, std::int32_t x1) {
        const std::int32_t n = x1 - x0 + 3;
        detail::parallelRows(0, v.height - 1, n, [&](std::int32_t y0, std::int32_t y1) {
          for (std::int32_t y = y0; y <= y1; ++y) {
            std::uint8_t* p = v.row(y) + x0;
            if (direct) {
              (avx2 ? fadeRowAvx2 : fadeRowDefault)(p, n, static_cast<std::uint16_t>(Amount));
            } else {
              for (std::int32_t i = 0; i < n; ++i) p[i] = table[p[i]];
            }
          }
        });
      },
      [&](std::int32_t x) { notifyProgress(x, desc); });
  notifyComplete(start, desc);
}

}  // namespace qorv
