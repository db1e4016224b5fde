// Hue, lightness and saturation in the double-hexcone model, every component
// in 0..1: lightness is the mean of the largest and the smallest channel,
// saturation the spread of the channels relative to how far lightness allows
// them to spread, hue the position on the colour circle (0 red, 1/3 green,
// 2/3 blue). Lighten and Colourise both convert through here, so a colour
// taken apart and put back together is the colour it was, whoever does it.
//
// Inline: the pixel loops call these once per pixel.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qorv::hls {

struct Hls {
  double h, l, s;
};

struct Rgb {
  std::uint8_t r, g, b;
  bool operator==(const Rgb&) const = default;
};

// Lightness of a colour whose largest channel is maxc and smallest minc.
// Every other conversion uses exactly this value, so a table of results keyed
// by (maxc, minc) agrees with the per-pixel conversion bit for bit.
inline double lightness(std::uint8_t maxc, std::uint8_t minc) {
  return (minc / 255.0 + maxc / 255.0) / 2.0;
}

inline Hls fromRgb(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
  const double r = red / 255.0, g = green / 255.0, b = blue / 255.0;
  const double maxc = std::max({r, g, b});
  const double minc = std::min({r, g, b});
  const double l = lightness(std::max({red, green, blue}), std::min({red, green, blue}));
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

namespace detail {

inline double hueChannel(double m1, double m2, double hue) {
  hue -= std::floor(hue);
  if (hue < 1.0 / 6.0) return m1 + (m2 - m1) * hue * 6.0;
  if (hue < 0.5) return m2;
  if (hue < 2.0 / 3.0) return m1 + (m2 - m1) * (2.0 / 3.0 - hue) * 6.0;
  return m1;
}

// A channel in 0..1 as a byte, rounded halves to even and kept within 0..255.
inline std::uint8_t toByte(double v) {
  const double n = std::nearbyint(v * 255.0);
  return static_cast<std::uint8_t>(n < 0 ? 0 : (n > 255 ? 255 : n));
}

}  // namespace detail

// Back to bytes. Lightness and saturation are expected within 0..1 (callers
// clamp what they computed); any hue is taken round the circle.
inline Rgb toRgb(const Hls& c) {
  if (c.s == 0.0) {
    const std::uint8_t v = detail::toByte(c.l);
    return {v, v, v};
  }
  const double m2 = c.l <= 0.5 ? c.l * (1.0 + c.s) : c.l + c.s - c.l * c.s;
  const double m1 = 2.0 * c.l - m2;
  return {detail::toByte(detail::hueChannel(m1, m2, c.h + 1.0 / 3.0)),
          detail::toByte(detail::hueChannel(m1, m2, c.h)),
          detail::toByte(detail::hueChannel(m1, m2, c.h - 1.0 / 3.0))};
}

}  // namespace qorv::hls
