// Invert: every channel becomes 255 - value (padding bytes untouched).
#include <cstdint>

#include <QorvPictureBox/gdi.h>
#include "platform/CpuFeatures.h"
#include "processing/cDIBSection.h"
#include "processing/ColumnPass.h"

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
  const auto invertRow = cpuFeatures().avx2 ? invertRowAvx2 : invertRowDefault;
  runColumnPass(ColumnPass::wholePicture(v, "Invert"), [&](const Strip& s) {
    for (std::int32_t y = s.y0; y <= s.y1; ++y) invertRow(v.row(y) + s.x0, s.bytes());
  });
}

}  // namespace qorv
