#include "processing/Rotation.h"

#include <cmath>

namespace qorv {

namespace {
// A little below pi / 180; the corners it gives are the ones hosts have
// always seen, so it is kept as it is.
constexpr double kDegreesToRadians = 0.01745329251322222;

gdi::LONG roundLong(double v) {
  const double r = std::nearbyint(v);
  if (!(r >= -2147483648.0 && r <= 2147483647.0)) return 0;  // out of range or NaN: no sensible corner
  return static_cast<gdi::LONG>(r);
}
}  // namespace

std::array<gdi::POINT, 3> rotationPoints(std::int32_t centreX, std::int32_t centreY, std::int32_t angle,
                                         std::int32_t W, std::int32_t H) {
  const gdi::LONG x0 = roundLong(-static_cast<double>(W) * 0.5);
  const gdi::LONG y0 = roundLong(-static_cast<double>(H) * 0.5);
  const std::int64_t corners[3][2] = {{x0, y0}, {static_cast<std::int64_t>(x0) + W, y0},
                                      {x0, static_cast<std::int64_t>(y0) + H}};
  // Single precision, as the corners have always been computed.
  const float s = static_cast<float>(std::sin(angle * kDegreesToRadians));
  const float c = static_cast<float>(std::cos(angle * kDegreesToRadians));
  std::array<gdi::POINT, 3> pts{};
  for (int k = 0; k < 3; ++k) {
    const double x = static_cast<double>(corners[k][0]);
    const double y = static_cast<double>(corners[k][1]);
    pts[static_cast<std::size_t>(k)].x = roundLong(x * c - y * s + centreX);
    pts[static_cast<std::size_t>(k)].y = roundLong(x * s + y * c + centreY);
  }
  return pts;
}

void rotateBlt(gdi::HDC dst, std::int32_t centreX, std::int32_t centreY, std::int32_t angle, gdi::HDC src,
               std::int32_t srcLeft, std::int32_t srcTop, std::int32_t W, std::int32_t H) {
  const auto pts = rotationPoints(centreX, centreY, angle, W, H);
  // The blit's result is deliberately ignored.
  (void)gdi::PlgBlt(dst, pts.data(), src, srcLeft, srcTop, W, H, 0, 0, 0);
}

}  // namespace qorv
