#include "processing/RotateBitmap.h"

#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "platform/GdiSurface.h"
#include "processing/FreeRotation.h"

namespace qorv {

bool rotateBitmapBlock(gdi::HDC hdc, std::int32_t width, std::int32_t height, double radians) {
  gdi::Surface surface;
  // Checked before the surface is taken for writing, so that a refused call
  // never makes a shared bitmap take a copy of its own.
  if (!gdi::DCSurfaceRead(hdc, surface) || !surface.valid()) {
    gdi::SetLastError(gdi::ERROR_INVALID_HANDLE);
    return false;
  }
  const int bpp = surface.bitsPerPixel / 8;
  if (width <= 0 || height <= 0 || width > surface.width || height > surface.height || !std::isfinite(radians) ||
      (surface.bitsPerPixel != 24 && surface.bitsPerPixel != 32)) {
    gdi::SetLastError(gdi::ERROR_INVALID_PARAMETER);
    return false;
  }
  std::vector<std::uint8_t> copy;
  const std::size_t rowBytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(bpp);
  try {
    copy.resize(rowBytes * static_cast<std::size_t>(height));
  } catch (const std::bad_alloc&) {
    gdi::SetLastError(gdi::ERROR_NOT_ENOUGH_MEMORY);
    return false;
  }
  if (!gdi::DCSurface(hdc, surface)) return false;  // the last error says why
  for (std::int32_t y = 0; y < height; ++y) {
    std::memcpy(copy.data() + rowBytes * static_cast<std::size_t>(y), surface.row(y), rowBytes);
  }
  const PixelRows src{copy.data(), static_cast<std::ptrdiff_t>(rowBytes), width, height, bpp};
  const std::ptrdiff_t step = surface.bottomUp ? -static_cast<std::ptrdiff_t>(surface.stride) : surface.stride;
  const PixelRows dst{surface.row(0), step, width, height, bpp};
  turnPixels(src, dst, radians, RotationQuality::Bilinear, 0);
  return true;
}

}  // namespace qorv
