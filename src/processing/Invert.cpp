// Invert: every channel becomes 255 - value (padding bytes untouched).
#include <cstdint>
#include <string>

#include <QorvPictureBox/gdi.h>
#include "platform/CpuFeatures.h"
#include "processing/PixelLoops.h"
#include "processing/cDIBSection.h"
#include "processing/cImageProcessDIB.h"

namespace qorv {

namespace {
[[gnu::always_inline]] inline void invertRow(std::uint8_t* p, std::int32_t n) {
  for (std::int32_t i = 0; i < n; ++i) p[i] = static_cast<std::uint8_t>(255u - p[i]);
}
void invertRowDefault(std::uint8_t* p, std::int32_t n) { invertRow(p, n); }
[[gnu::target("avx2")]] void invertRowAvx2(std::uint8_t* p, std::int32_t n) { invertRow(p, n); }
}  // namespace

void cImageProcessDIB::Invert(cDIBSection& cImage) {
  const DibView v = cImage.View();
  if (!v.valid()) return;
  const bool avx2 = cpuFeatures().avx2;
  const std::uint32_t start = gdi::timeGetTime();
  const std::string desc = "Invert";
  notifyInit(v.width * 3 - 3, desc);
  detail::forEachColumnStrip(
      0, v.width * 3 - 3,
      [&](std::int32_t x0, std::int32_t x1) {
        const std::int32_t n = x1 - x0 + 3;
        parallelRows(0, v.height - 1, n, [&](std::int32_t y0, std::int32_t y1) {
          for (std::int32_t y = y0; y <= y1; ++y) (avx2 ? invertRowAvx2 : invertRowDefault)(v.row(y) + x0, n);
        });
      },
      [&](std::int32_t x) { notifyProgress(x, desc); });
  notifyComplete(start, desc);
}

}  // namespace qorv
