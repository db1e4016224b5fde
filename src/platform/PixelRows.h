// Moving pixels between the two layouts every picture passes through: 24-bit
// rows (blue, green, red) as working images, library bitmaps and files hold
// them, and 32-bit rows (blue, green, red, X) as device bitmaps and panes
// hold them. One pass per picture, vector code where the processor has it,
// rows split over the row pool; the result is the same bytes a pixel-by-pixel
// copy gives, on every path.
//
// The description is plain memory, so any source of pixels can use it: a
// library bitmap, a decoder's buffer, a block of shared memory.
#pragma once

#include <cstddef>
#include <cstdint>

#include <QorvPictureBox/gdi.h>
#include "platform/PixelRow.h"

namespace qorv {

// Rows of pixels in memory. Row y (0 = the top row of the picture) starts at
// top + y * step; a negative step walks rows stored bottom-up.
struct PixelRows {
  std::uint8_t* top = nullptr;
  std::ptrdiff_t step = 0;
  std::int32_t width = 0;   // pixels
  std::int32_t height = 0;  // rows
  std::int32_t bytesPerPixel = 0;  // 3: B, G, R; 4: B, G, R, X

  std::uint8_t* row(std::int32_t y) const { return top + static_cast<std::ptrdiff_t>(y) * step; }
  bool valid() const {
    return top != nullptr && width > 0 && height > 0 && (bytesPerPixel == 3 || bytesPerPixel == 4);
  }

  // Rows laid out bottom-up from `bits` (the first row in memory is the
  // bottom row of the picture), as DIBs and library bitmaps store them.
  static PixelRows bottomUp(std::uint8_t* bits, std::ptrdiff_t stride, std::int32_t width, std::int32_t height,
                            std::int32_t bytesPerPixel) {
    return PixelRows{bits + (height > 0 ? height - 1 : 0) * stride, -stride, width, height, bytesPerPixel};
  }
  static PixelRows topDown(std::uint8_t* bits, std::ptrdiff_t stride, std::int32_t width, std::int32_t height,
                           std::int32_t bytesPerPixel) {
    return PixelRows{bits, stride, width, height, bytesPerPixel};
  }
};

// Copies every pixel of `src` into `dst` at the same place (the smaller of
// the two sizes); bytes past each row's last pixel are left alone. Large
// pictures are split over the row pool and written around the cache.
void copyPixelRows(const PixelRows& src, const PixelRows& dst);

// A new 32-bit device bitmap (top-down, B, G, R, 0) holding `src`, written in
// one pass without zeroing it first. 0 when `src` is not a 24- or 32-bit
// description or the bitmap cannot be had (last error set by the platform).
gdi::HBITMAP deviceBitmapFromPixels(const PixelRows& src);

}  // namespace qorv
