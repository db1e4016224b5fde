// Lighten through hue, lightness and saturation (processing/Hls.h): lightness
// is scaled by (Amount / 100 + 1) and kept within 0..1; channels come back
// rounded halves to even.
#include <algorithm>
#include <cstdint>

#include <QorvPictureBox/gdi.h>
#include "processing/cDIBSection.h"
#include "processing/ColumnPass.h"
#include "processing/Hls.h"

namespace qorv {

namespace {

void lightenPixel(std::uint8_t* p, double factor) {
  hls::Hls c = hls::fromRgb(p[2], p[1], p[0]);
  c.l = std::clamp(c.l * factor, 0.0, 1.0);
  const hls::Rgb out = hls::toRgb(c);
  p[0] = out.b;
  p[1] = out.g;
  p[2] = out.r;
}

}  // namespace

void cImageProcessDIB::Lighten(cDIBSection& cImage, double Amount) {
  const DibView v = cImage.View();
  if (!v.valid()) return;
  const double factor = Amount / 100.0 + 1.0;
  // A pixel costs some sixteen plain byte passes.
  runColumnPass(ColumnPass::wholePicture(v, "Lighten", 16), [&](const Strip& s) {
    for (std::int32_t y = s.y0; y <= s.y1; ++y) {
      for (std::uint8_t* p = v.row(y) + s.x0; p <= v.row(y) + s.x1; p += 3) lightenPixel(p, factor);
    }
  });
}

}  // namespace qorv
