// Combining two working images into the second one. Pictures of different
// sizes combine over the part they share; the rest of the target stays.
#include <cmath>
#include <cstdint>

#include "processing/cDIBSection.h"
#include "processing/cImageProcessDIB.h"

namespace qorv {

namespace {

struct Overlap {
  std::int32_t width = 0, height = 0;
};

Overlap overlap(const DibView& a, const DibView& b) {
  if (!a.valid() || !b.valid()) return {};
  return {a.width < b.width ? a.width : b.width, a.height < b.height ? a.height : b.height};
}

// Green carries the red and green grayscale weights together; red takes no
// part in the comparison.
inline std::int32_t brightness(const std::uint8_t* px) { return 929 * px[1] + 71 * px[0]; }

template <class Pick>
void copyWhere(const cDIBSection& cImageA, cDIBSection& cImageB, Pick takeA) {
  const DibView a = cImageA.View();
  const DibView b = cImageB.View();
  const Overlap o = overlap(a, b);
  for (std::int32_t y = 0; y < o.height; ++y) {
    const std::uint8_t* pa = a.row(y);
    std::uint8_t* pb = b.row(y);
    for (std::int32_t x = 0; x < 3 * o.width; x += 3) {
      if (takeA(brightness(pa + x), brightness(pb + x))) {
        pb[x] = pa[x];
        pb[x + 1] = pa[x + 1];
        pb[x + 2] = pa[x + 2];
      }
    }
  }
}

}  // namespace

void cImageProcessDIB::AddImages(const cDIBSection& cImageA, cDIBSection& cImageB, float multA,
                                 std::int32_t offABlue, std::int32_t offAGreen, std::int32_t offARed, float multB,
                                 std::int32_t offBBlue, std::int32_t offBGreen, std::int32_t offBRed) {
  const DibView a = cImageA.View();
  const DibView b = cImageB.View();
  const Overlap o = overlap(a, b);
  const std::int64_t offA[3] = {offABlue, offAGreen, offARed};
  const std::int64_t offB[3] = {offBBlue, offBGreen, offBRed};
  const double fa = multA;
  const double fb = multB;
  for (std::int32_t y = 0; y < o.height; ++y) {
    const std::uint8_t* pa = a.row(y);
    std::uint8_t* pb = b.row(y);
    for (std::int32_t x = 0; x < 3 * o.width; x += 3) {
      for (int c = 0; c < 3; ++c) {
        const double v = std::nearbyint(static_cast<double>(pa[x + c] + offA[c]) * fa +
                                        static_cast<double>(pb[x + c] + offB[c]) * fb);
        pb[x + c] = static_cast<std::uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
      }
    }
  }
}

void cImageProcessDIB::AddLightest(const cDIBSection& cImageA, cDIBSection& cImageB) {
  copyWhere(cImageA, cImageB, [](std::int32_t ba, std::int32_t bb) { return bb < ba; });
}

void cImageProcessDIB::AddDarkest(const cDIBSection& cImageA, cDIBSection& cImageB) {
  copyWhere(cImageA, cImageB, [](std::int32_t ba, std::int32_t bb) { return ba < bb; });
}

}  // namespace qorv
