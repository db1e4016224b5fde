// Turning a picture by any angle about its centre.
//
// Geometry. A destination pixel (X, Y) of a W x H picture stands for its
// centre (X + 0.5, Y + 0.5); turned back about the destination's centre by
// the angle (positive: clockwise as seen, rows running downwards) and moved
// to the source's centre, it lands on a point (u, v) of the w x h source, in
// units where source pixel (i, j) has its centre at (i, j). The pixel is
// covered when that point lies inside the source's area, -0.5 <= u < w - 0.5
// and -0.5 <= v < h - 0.5; uncovered pixels take the background colour.
//
// Arithmetic. cos and sin are rounded once to 32 fractional bits, and u and v
// are computed exactly from them in 64-bit integers:
//   u(X, Y) = ((C (2X + 1 - W) + S (2Y + 1 - H)) >> 1) + (w - 1) 2^31
//   v(X, Y) = ((C (2Y + 1 - H) - S (2X + 1 - W)) >> 1) + (h - 1) 2^31
// (C = round(cos 2^32), S = round(sin 2^32), >> rounding down), so every
// pixel's sample point is reproducible and independent of the order pixels
// are visited in. Sampling then uses the top 7 fractional bits of u and v:
//   nearest:  source pixel (u + 0.5, v + 0.5) rounded down;
//   bilinear: the four pixels around (u, v), weights (128 - fx)(128 - fy),
//             fx (128 - fy), (128 - fx) fy, fx fy; result (sum + 8192) >> 14;
//   bicubic:  the 4 x 4 pixels around (u, v) with Catmull-Rom weights rounded
//             to 1/1024 (each set adjusted to sum to exactly 1024 on its
//             largest weight); result (sum + 2^19) >> 20 held within 0..255.
// Pixels beyond the source's edges read as the nearest edge pixel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace qorv {

enum class RotationQuality { Nearest = 0, Bilinear = 1, Bicubic = 2 };

// Pixel rows as the picture is seen: row 0 at the top.
struct PixelRows {
  std::uint8_t* top = nullptr;  // first byte of the top row
  std::ptrdiff_t step = 0;      // bytes from a row to the one below it (negative for bottom-up memory)
  std::int32_t width = 0, height = 0;
  int bytesPerPixel = 3;  // 3: B, G, R; 4: B, G, R, X (X written 0)

  std::uint8_t* row(std::int32_t y) const { return top + step * y; }
  bool valid() const {
    return top != nullptr && width > 0 && height > 0 && (bytesPerPixel == 3 || bytesPerPixel == 4);
  }
};

// The exact sample point of every destination pixel.
struct TurnGeometry {
  std::int64_t C = 0, S = 0;  // cos and sin in 32 fractional bits
  std::int32_t w = 0, h = 0, W = 0, H = 0;

  static TurnGeometry make(double radians, std::int32_t w, std::int32_t h, std::int32_t W, std::int32_t H);
  std::int64_t u(std::int64_t X, std::int64_t Y) const {
    return ((C * (2 * X + 1 - W) + S * (2 * Y + 1 - H)) >> 1) + (std::int64_t{w} - 1) * (std::int64_t{1} << 31);
  }
  std::int64_t v(std::int64_t X, std::int64_t Y) const {
    return ((C * (2 * Y + 1 - H) - S * (2 * X + 1 - W)) >> 1) + (std::int64_t{h} - 1) * (std::int64_t{1} << 31);
  }
  bool covered(std::int64_t U, std::int64_t V) const {
    constexpr std::int64_t half = std::int64_t{1} << 31;
    return U >= -half && U < (2 * std::int64_t{w} - 1) * half && V >= -half && V < (2 * std::int64_t{h} - 1) * half;
  }
  // Destination columns x0..x1 of row Y that are covered (x0 > x1: none).
  void span(std::int32_t Y, std::int32_t& x0, std::int32_t& x1) const;
};

// The size of the smallest whole-pixel box that holds a w x h picture turned
// by `radians` (a hair of rounding error never adds a pixel). False when the
// angle is not finite or the box would exceed 2^24 pixels a side.
bool turnedSize(double radians, std::int32_t w, std::int32_t h, std::int32_t& W, std::int32_t& H);

// Draws `src` turned by `radians` about its centre into the whole of `dst`
// (centred there), uncovered pixels in `background` (a colour reference,
// 0x00BBGGRR). The two must not overlap. Rows are split over
// the row pool in bands; after each band, `bandDone(lastRowOfBand)` is called
// on the calling thread, bands in order.
void turnPixels(const PixelRows& src, const PixelRows& dst, double radians, RotationQuality quality,
                std::uint32_t background, const std::function<void(std::int32_t)>& bandDone = {});

}  // namespace qorv
