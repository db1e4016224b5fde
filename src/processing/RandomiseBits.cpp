#include <cmath>

#include "platform/Random.h"
#include "processing/cDIBSection.h"

namespace qorv {

namespace {
std::uint8_t randomByte() { return static_cast<std::uint8_t>(std::nearbyint(rnd() * 255.0)); }
}  // namespace

void cDIBSection::RandomiseBits(bool bGray) {
  const DibView v = View();
  if (!v.valid()) return;
  randomize(timer());
  // Padding bytes after the last pixel of a row are never written.
  const std::int32_t lastByte = 3 * v.width - 3;
  if (bGray) {
    for (std::int32_t y = 0; y < v.height; ++y) {
      std::uint8_t* p = v.row(y);
      for (std::int32_t x = 0; x <= lastByte; x += 3) {
        const std::uint8_t g = randomByte();
        p[x] = g;
        p[x + 1] = g;
        p[x + 2] = g;
      }
    }
  } else {
    // Column by column; blue stays 0 in colour noise.
    for (std::int32_t x = 0; x <= lastByte; x += 3) {
      for (std::int32_t y = 0; y < v.height; ++y) {
        std::uint8_t* p = v.row(y) + x;
        p[0] = 0;
        p[1] = randomByte();
        p[2] = randomByte();
      }
    }
  }
}

}  // namespace qorv
