// Lighten through hue, lightness and saturation: the classic double-hexcone
// model with every component in 0..1 (lightness is the mean of the largest
// and smallest channel). Lightness is scaled by (Amount / 100 + 1) and kept
// within 0..1; channels come back rounded halves to even.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include <QorvPictureBox/gdi.h>
#include "processing/cDIBSection.h"
#include "processing/ColumnPass.h"

namespace qorv {

namespace {

struct Hls {
  double h, l, s;
};

Hls toHls(double r, double g, double b) {
  const double maxc = std::max({r, g, b});
  const double minc = std::min({r, g, b});
  const double l = (minc + maxc) / 2.0;
  if (minc == maxc) return {0.0, l, 0.0};
  const double span = maxc - minc;
  const double s = l <= 0.5 ? span / (maxc + minc) : span / (2.0 - maxc - minc);
  const double rc = (maxc - r) / span;
  const double gc = (maxc - g) / span;
  const double bc = (maxc - b) / span;
  double h;
  if (r == maxc) {
    h = bc - gc;
  } else if (g == maxc) {
    h = 2.0 + rc - bc;
  } else {
    h = 4.0 + gc - rc;
  }
  h /= 6.0;
  h -= std::floor(h);
  return {h, l, s};
}

double hueChannel(double m1, double m2, double hue) {
  hue -= std::floor(hue);
  if (hue < 1.0 / 6.0) return m1 + (m2 - m1) * hue * 6.0;
  if (hue < 0.5) return m2;
  if (hue < 2.0 / 3.0) return m1 + (m2 - m1) * (2.0 / 3.0 - hue) * 6.0;
  return m1;
}

std::uint8_t toByte(double v) {
  const double n = std::nearbyint(v * 255.0);
  return static_cast<std::uint8_t>(n < 0 ? 0 : (n > 255 ? 255 : n));
}

void lightenPixel(std::uint8_t* p, double factor) {
  Hls c = toHls(p[2] / 255.0, p[1] / 255.0, p[0] / 255.0);
  c.l = std::clamp(c.l * factor, 0.0, 1.0);
  if (c.s == 0.0) {
    p[0] = p[1] = p[2] = toByte(c.l);
    return;
  }
  const double m2 = c.l <= 0.5 ? c.l * (1.0 + c.s) : c.l + c.s - c.l * c.s;
  const double m1 = 2.0 * c.l - m2;
  p[2] = toByte(hueChannel(m1, m2, c.h + 1.0 / 3.0));
  p[1] = toByte(hueChannel(m1, m2, c.h));
  p[0] = toByte(hueChannel(m1, m2, c.h - 1.0 / 3.0));
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
