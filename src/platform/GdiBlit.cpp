// BitBlt, StretchBlt, PlgBlt and the stretch mode: handle checks and surface
// lookup; the pixels are moved by the engine in GdiStretch.
#include <cstring>

#include "platform/GdiObjects.h"
#include "platform/GdiStretch.h"

namespace gdi {

using namespace detail;

namespace {

// Resolves the surface a DC draws on, for reading (sources) or writing
// (destinations: a bitmap sharing its pixels gets a copy of its own first).
// Resolve the destination before the source so that a blit from a sharer of
// the destination still reads the memory the sharer keeps. Table lock held.
// The last error is set on failure.
bool resolveDC(HDC hdc, SurfaceRef& out, int* mode, bool forWriting) {
  const DCObject* dc = findDC(hdc);
  if (!dc) return fail(ERROR_INVALID_HANDLE, false);
  BitmapObject* bm = findBitmap(dcBitmap(*dc));
  if (!bm || !bm->pixels) return fail(ERROR_INVALID_HANDLE, false);
  if (forWriting) {
    if (!makeWritableImage(*bm, out)) return fail(ERROR_NOT_ENOUGH_MEMORY, false);
  } else {
    makeImage(*bm, out);
  }
  if (mode) *mode = dc->stretchMode;
  return true;
}

// A blit from a surface onto itself reads a snapshot, so that overlapping
// rectangles behave as if the source were copied first.
bool detachIfShared(SurfaceRef& src, const SurfaceRef& dst) {
  if (src.keep != dst.keep) return true;
  const PixelBuffer& from = *src.keep;
  auto copy = allocatePixels(static_cast<std::int64_t>(from.size), false);
  if (!copy) return false;
  std::memcpy(copy->data, from.data, from.size);
  src.image.top = copy->data + (src.image.top - from.data);
  src.keep = std::move(copy);
  return true;
}

bool extentOk(std::int64_t v) { return v >= -kMaxExtent && v <= kMaxExtent; }

// The parallelogram arithmetic is exact in 128 bits for any int coordinates;
// this bound only keeps the numbers far from its limits.
constexpr std::int64_t kMaxPlgCoordinate = std::int64_t{1} << 28;
bool plgCoordinateOk(std::int64_t v) { return v >= -kMaxPlgCoordinate && v <= kMaxPlgCoordinate; }

// Both DCs name a bitmap with pixels. Table lock held.
bool dcUsable(HDC hdc) {
  const DCObject* dc = findDC(hdc);
  const BitmapObject* bm = dc ? findBitmap(dcBitmap(*dc)) : nullptr;
  return bm && bm->pixels;
}

BOOL doStretch(HDC hdcDest, const StretchRequest& req, HDC hdcSrc, bool useDestMode) {
  SurfaceRef dst, src;
  int mode = BLACKONWHITE;
  const bool needsSource = ropNeedsSource(req.rop);
  {
    auto lock = lockTable();
    if (!dcUsable(hdcDest) || (needsSource && !dcUsable(hdcSrc))) return fail(ERROR_INVALID_HANDLE, FALSE);
  }
  if (!extentOk(req.wDest) || !extentOk(req.hDest) || !extentOk(req.wSrc) || !extentOk(req.hSrc))
    return fail(ERROR_INVALID_PARAMETER, FALSE);
  if (req.wDest == 0 || req.hDest == 0) return TRUE;
  if (needsSource && (req.wSrc == 0 || req.hSrc == 0)) return fail(ERROR_INVALID_PARAMETER, FALSE);
  // Only a blit that will draw takes the destination for writing, which may copy it.
  {
    auto lock = lockTable();
    if (!resolveDC(hdcDest, dst, &mode, true)) return FALSE;
    if (needsSource && !resolveDC(hdcSrc, src, nullptr, false)) return FALSE;
  }
  StretchRequest r = req;
  if (useDestMode) r.mode = mode;
  if (needsSource && !detachIfShared(src, dst)) return fail(ERROR_NOT_ENOUGH_MEMORY, FALSE);
  stretchImage(dst.image, needsSource ? &src.image : nullptr, r);
  return TRUE;
}

}  // namespace

BOOL BitBlt(HDC hdc, int x, int y, int cx, int cy, HDC hdcSrc, int x1, int y1, DWORD rop) {
  // Equal sizes: every stretch mode is a plain copy.
  const StretchRequest r{x, y, cx, cy, x1, y1, cx, cy, COLORONCOLOR, rop};
  return doStretch(hdc, r, hdcSrc, false);
}

BOOL StretchBlt(HDC hdcDest, int xDest, int yDest, int wDest, int hDest, HDC hdcSrc, int xSrc, int ySrc,
                int wSrc, int hSrc, DWORD rop) {
  const StretchRequest r{xDest, yDest, wDest, hDest, xSrc, ySrc, wSrc, hSrc, BLACKONWHITE, rop};
  return doStretch(hdcDest, r, hdcSrc, true);
}

int GetStretchBltMode(HDC hdc) {
  auto lock = lockTable();
  const DCObject* dc = findDC(hdc);
  if (!dc) return fail(ERROR_INVALID_HANDLE, 0);
  return dc->stretchMode;
}

int SetStretchBltMode(HDC hdc, int mode) {
  auto lock = lockTable();
  DCObject* dc = findDC(hdc);
  if (!dc) return fail(ERROR_INVALID_HANDLE, 0);
  if (mode < BLACKONWHITE || mode > HALFTONE) return fail(ERROR_INVALID_PARAMETER, 0);
  const int previous = dc->stretchMode;
  dc->stretchMode = mode;
  return previous;
}

BOOL PlgBlt(HDC hdcDest, const POINT* lpPoint, HDC hdcSrc, int xSrc, int ySrc, int width, int height,
            HBITMAP hbmMask, int /*xMask*/, int /*yMask*/) {
  SurfaceRef dst, src;
  {
    auto lock = lockTable();
    if (!dcUsable(hdcDest) || !dcUsable(hdcSrc)) return fail(ERROR_INVALID_HANDLE, FALSE);
  }
  if (!lpPoint || hbmMask != 0 || width <= 0 || height <= 0 || width > kMaxPlgCoordinate ||
      height > kMaxPlgCoordinate)
    return fail(ERROR_INVALID_PARAMETER, FALSE);
  for (int i = 0; i < 3; ++i)
    if (!plgCoordinateOk(lpPoint[i].x) || !plgCoordinateOk(lpPoint[i].y)) return fail(ERROR_INVALID_PARAMETER, FALSE);
  {
    auto lock = lockTable();
    if (!resolveDC(hdcDest, dst, nullptr, true) || !resolveDC(hdcSrc, src, nullptr, false)) return FALSE;
  }
  if (!detachIfShared(src, dst)) return fail(ERROR_NOT_ENOUGH_MEMORY, FALSE);
  if (!plgImage(dst.image, lpPoint, src.image, xSrc, ySrc, width, height))
    return fail(ERROR_INVALID_PARAMETER, FALSE);
  return TRUE;
}

}  // namespace gdi
