// Black and white by error diffusion, scanning column by column. The error of
// a white pixel is 127 - value rather than value - 255; both that and the
// column order are part of the look of the result.
#include <cstdint>

#include <QorvPictureBox/gdi.h>
#include "processing/cDIBSection.h"
#include "processing/ColumnPass.h"

namespace qorv {

namespace {

inline void addError(std::uint8_t* px, std::int32_t delta) {
  const std::uint8_t v = clampByte(static_cast<std::int32_t>(px[0]) + delta);
  px[0] = v;
  px[1] = v;
  px[2] = v;
}

}  // namespace

void cImageProcessDIB::BlackAndWhite(cDIBSection& cImageA, cDIBSection& cImageB) {
  const DibView a = cImageA.View();
  const DibView b = cImageB.View();
  if (!a.valid() || !b.valid() || !a.sameSize(b)) return;
  Grayscale(cImageA);
  const std::int32_t lastX = a.width * 3 - 3;
  const std::int32_t lastY = a.height - 1;
  runColumnByColumn("Black & White", lastX, [&](std::int32_t x) {
    const bool inner = x > 0 && x < lastX;
    for (std::int32_t y = 0; y <= lastY; ++y) {
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
      if (error == 0) continue;
      if (x < lastX) addError(pa + 3, error * 7 / 16);
      if (y < lastY) {
        std::uint8_t* below = a.row(y + 1) + x;
        if (inner) addError(below - 3, error * 3 / 16);
        addError(below, error * 5 / 16);
        if (inner) addError(below + 3, error * 1 / 16);
      }
    }
  });
}

}  // namespace qorv
