// Noise. With bRandom set a pixel is changed only when Percent < r * 100, so
// a larger Percent gives larger noise on fewer pixels; that inversion is how
// the operation has always behaved and hosts rely on it.
#include <cmath>
#include <cstdint>

#include "platform/Random.h"
#include <QorvPictureBox/gdi.h>
#include "processing/cDIBSection.h"
#include "processing/ColumnPass.h"

namespace qorv {

void cImageProcessDIB::AddNoise(cDIBSection& cImage, std::int32_t Percent, bool bRandom) {
  const DibView v = cImage.View();
  if (!v.valid()) return;
  const std::int64_t range = static_cast<std::int64_t>(Percent) * 128 / 100;
  const std::int64_t half = range / 2;
  // Column by column, rows inner: the order in which random numbers are drawn.
  runColumnByColumn("Add noise", v.width * 3 - 3, [&](std::int32_t x) {
    for (std::int32_t y = 0; y < v.height; ++y) {
      const double r = rnd();
      const bool flag = Percent < r * 100.0;
      if (bRandom && !flag) continue;
      std::uint8_t* px = v.row(y) + x;
      for (int c = 0; c < 3; ++c) {
        const double n = std::nearbyint(rnd() * static_cast<double>(range) + static_cast<double>(px[c] - half));
        px[c] = static_cast<std::uint8_t>(n < 0 ? 0 : (n > 255 ? 255 : n));
      }
    }
  });
}

}  // namespace qorv
