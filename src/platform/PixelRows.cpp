#include "platform/PixelRows.h"

#include "platform/GdiSurface.h"
#include "platform/RowParallel.h"
#include "platform/ScopedGdi.h"

namespace qorv {

namespace {

// Destinations from this size on are written around the cache: they would
// only push out what is in it.
constexpr std::int64_t kStreamBytes = std::int64_t{8} << 20;

}  // namespace

void copyPixelRows(const PixelRows& src, const PixelRows& dst) {
  if (!src.valid() || !dst.valid()) return;
  const std::int32_t w = src.width < dst.width ? src.width : dst.width;
  const std::int32_t h = src.height < dst.height ? src.height : dst.height;
  const std::int64_t rowBytes = static_cast<std::int64_t>(w) * (src.bytesPerPixel + dst.bytesPerPixel);
  const bool stream = static_cast<std::int64_t>(w) * dst.bytesPerPixel * h >= kStreamBytes;
  const std::int32_t sb = src.bytesPerPixel, db = dst.bytesPerPixel;
  parallelRows(0, h - 1, rowBytes, [&](std::int32_t y0, std::int32_t y1) {
    for (std::int32_t y = y0; y <= y1; ++y) copyPixelRow(src.row(y), sb, dst.row(y), db, w, stream);
  });
}

gdi::HBITMAP deviceBitmapFromPixels(const PixelRows& src) {
  if (!src.valid()) {
    gdi::SetLastError(gdi::ERROR_INVALID_PARAMETER);
    return 0;
  }
  ScopedBitmap bm(gdi::CreateBitmapForOverwrite(src.width, src.height));
  gdi::Surface s;
  if (!bm || !gdi::BitmapSurface(bm.get(), s) || s.bitsPerPixel != 32 || s.bottomUp) return 0;
  copyPixelRows(src, PixelRows::topDown(s.rows, s.stride, s.width, s.height, 4));
  return bm.release();
}

}  // namespace qorv
