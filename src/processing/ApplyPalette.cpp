// Palette mapping: every pixel becomes its nearest palette colour, either
// directly or with Floyd-Steinberg error diffusion.
//
// The diffusion runs down the picture as it is seen (top row first) in
// serpentine order: left to right on the first row, right to left on the
// next, and so on, so that the error never piles up along one side. Errors
// are carried in sixteenths: a pixel's wanted colour is its own plus the
// error that reached it (rounded, (e + 8) >> 4) held within 0..255; the
// difference between wanted and chosen colour goes 7/16 to the next pixel
// along the row, 3/16 below and behind, 5/16 below, 1/16 below and ahead.
// Error that would leave the picture is dropped.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "processing/cPalette.h"

#include "processing/ColumnPass.h"
#include "processing/NearestColour.h"
#include "processing/cDIBSection.h"

namespace qorv {

namespace {

void mapRow(std::uint8_t* p, std::int32_t pixels, const NearestColour& nc) {
  for (std::int32_t i = 0; i < pixels; ++i, p += 3) {
    const int k = nc.index(p[2], p[1], p[0]);
    p[0] = nc.blue(k);
    p[1] = nc.green(k);
    p[2] = nc.red(k);
  }
}

}  // namespace

void cImageProcessDIB::ApplyPalette(cDIBSection& cImage, const cPalette& palette, bool dither) {
  const DibView v = cImage.View();
  if (!v.valid() || palette.Count() == 0) return;
  const NearestColour nc(palette);
  const std::string description = "Palette";
  if (!dither) {
    runColumnPass(ColumnPass::wholePicture(v, description, 4), [&](const Strip& s) {
      for (std::int32_t y = s.y0; y <= s.y1; ++y) mapRow(v.row(y) + s.x0, s.pixels(), nc);
    });
    return;
  }
  // The error flows down the picture, so this pass goes row by row on one
  // thread and reports rows (0 = top) as it finishes them.
  runOperation(description, v.height - 1, [&] {
    const std::size_t span = 3 * (static_cast<std::size_t>(v.width) + 2);
    std::vector<std::int32_t> a(span, 0), b(span, 0);
    // Index 3 * x + channel for x = -1 .. width: the margins take what falls off.
    std::int32_t* here = a.data() + 3;
    std::int32_t* below = b.data() + 3;
    for (std::int32_t row = 0; row < v.height; ++row) {
      std::uint8_t* line = v.row(v.height - 1 - row);
      const bool rightwards = row % 2 == 0;
      const std::int32_t step = rightwards ? 3 : -3;
      std::fill(below - 3, below - 3 + span, 0);
      for (std::int32_t i = 0; i < v.width; ++i) {
        const std::int32_t x = 3 * (rightwards ? i : v.width - 1 - i);
        std::uint8_t* p = line + x;
        int want[3];
        for (int c = 0; c < 3; ++c) want[c] = std::clamp(p[c] + ((here[x + c] + 8) >> 4), 0, 255);
        const int k = nc.index(static_cast<std::uint8_t>(want[2]), static_cast<std::uint8_t>(want[1]),
                               static_cast<std::uint8_t>(want[0]));
        const std::uint8_t chosen[3] = {nc.blue(k), nc.green(k), nc.red(k)};
        for (int c = 0; c < 3; ++c) {
          const std::int32_t e = want[c] - chosen[c];
          here[x + step + c] += 7 * e;
          below[x - step + c] += 3 * e;
          below[x + c] += 5 * e;
          below[x + step + c] += e;
          p[c] = chosen[c];
        }
      }
      std::swap(here, below);
      notifyProgress(row, description);
    }
  });
}

}  // namespace qorv
