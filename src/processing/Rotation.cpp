#include "processing/Rotation.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "platform/GdiSurface.h"
#include "platform/RowParallel.h"

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
// A quarter turn maps pixel centres onto pixel centres, so the parallelogram
// blit reduces to a permutation: destination (X, Y) takes source column
// sx(Y) and row sy(X), each a linear function with slope +-1. This does that
// permutation directly, tile by tile, for the 32-bit surfaces the panes use;
// it gives exactly the blit's pixels (colour bytes copied, the fourth byte 0).
// Returns false when the case is not one it handles.
bool quarterTurnDirect(gdi::HDC dstDC, const std::array<gdi::POINT, 3>& pts, gdi::HDC srcDC, std::int32_t xSrc,
                       std::int32_t ySrc, std::int32_t W, std::int32_t H) {
  gdi::Surface dst, src;
  if (!gdi::DCSurface(dstDC, dst) || !gdi::DCSurfaceRead(srcDC, src) || !dst.valid() || !src.valid()) return false;
  if (dst.bitsPerPixel != 32 || src.bitsPerPixel != 32 || dst.rows == src.rows || W <= 0 || H <= 0) return false;
  const std::int64_t p0x = pts[0].x, p0y = pts[0].y;
  const std::int64_t ax = pts[1].x - p0x, ay = pts[1].y - p0y;
  const std::int64_t bx = pts[2].x - p0x, by = pts[2].y - p0y;
  // Only a quarter turn: the top edge runs vertically, the left edge horizontally.
  if (ax != 0 || by != 0 || (ay != W && ay != -W) || (bx != H && bx != -H)) return false;

  // Source rectangle clipped to the source surface, in offsets from (xSrc, ySrc).
  const std::int64_t uLo = std::max<std::int64_t>(0, -std::int64_t{xSrc});
  const std::int64_t uHi = std::min<std::int64_t>(W, std::int64_t{src.width} - xSrc);
  const std::int64_t vLo = std::max<std::int64_t>(0, -std::int64_t{ySrc});
  const std::int64_t vHi = std::min<std::int64_t>(H, std::int64_t{src.height} - ySrc);
  if (uLo >= uHi || vLo >= vHi) return true;
  // sx = Y - p0y (ay > 0) or p0y - 1 - Y; sy = X - p0x (bx > 0) or p0x - 1 - X.
  const std::int64_t yA = ay > 0 ? p0y + uLo : p0y - uHi;
  const std::int64_t yB = ay > 0 ? p0y + uHi : p0y - uLo;
  const std::int64_t xA = bx > 0 ? p0x + vLo : p0x - vHi;
  const std::int64_t xB = bx > 0 ? p0x + vHi : p0x - vLo;
  const auto Y0 = static_cast<std::int32_t>(std::clamp<std::int64_t>(yA, 0, dst.height));
  const auto Y1 = static_cast<std::int32_t>(std::clamp<std::int64_t>(yB, 0, dst.height));
  const auto X0 = static_cast<std::int32_t>(std::clamp<std::int64_t>(xA, 0, dst.width));
  const auto X1 = static_cast<std::int32_t>(std::clamp<std::int64_t>(xB, 0, dst.width));
  if (X0 >= X1 || Y0 >= Y1) return true;

  constexpr std::int32_t kTile = 64;
  parallelRows(0, (Y1 - Y0 - 1) / kTile, std::int64_t{kTile} * (X1 - X0) * 4,
                       [&](std::int32_t t0, std::int32_t t1) {
    for (std::int32_t ty = Y0 + t0 * kTile; ty < Y0 + (t1 + 1) * kTile && ty < Y1; ty += kTile) {
      const std::int32_t tyEnd = std::min(ty + kTile, Y1);
      for (std::int32_t tx = X0; tx < X1; tx += kTile) {
        const std::int32_t txEnd = std::min(tx + kTile, X1);
        // The source rows this tile's columns read, found once per tile.
        const std::uint8_t* srcRows[kTile];
        for (std::int32_t X = tx; X < txEnd; ++X) {
          const std::int64_t sy = ySrc + (bx > 0 ? X - p0x : p0x - 1 - X);
          srcRows[X - tx] = src.row(static_cast<int>(sy));
        }
        const std::int32_t count = txEnd - tx;
        for (std::int32_t Y = ty; Y < tyEnd; ++Y) {
          const std::int64_t sx = xSrc + (ay > 0 ? Y - p0y : p0y - 1 - Y);
          std::uint8_t* out = dst.row(Y) + static_cast<std::ptrdiff_t>(tx) * 4;
          const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(sx) * 4;
          for (std::int32_t k = 0; k < count; ++k) {
            std::uint32_t v;
            std::memcpy(&v, srcRows[k] + offset, 4);
            v &= 0x00FFFFFFu;
            std::memcpy(out + static_cast<std::ptrdiff_t>(k) * 4, &v, 4);
          }
        }
      }
    }
  });
  return true;
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
  if (quarterTurnDirect(dst, pts, src, srcLeft, srcTop, W, H)) return;
  // The blit's result is deliberately ignored.
  (void)gdi::PlgBlt(dst, pts.data(), src, srcLeft, srcTop, W, H, 0, 0, 0);
}

}  // namespace qorv
