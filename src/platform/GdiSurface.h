// Direct access to the memory behind device contexts and bitmaps, and the few
// operations the library needs beyond the classic API (window handles for
// panes, the clipboard's owner of record).
#pragma once

#include <QorvPictureBox/gdi.h>

namespace gdi {

// A view of a bitmap's pixel memory. Rows run from `rows` with `stride` bytes
// between consecutive rows *in memory*; `bottomUp` says whether the first row in
// memory is the bottom row of the picture. `bitsPerPixel` is 1, 4, 8, 16, 24 or 32
// (device bitmaps are always 32: B, G, R, X).
struct Surface {
  std::uint8_t* rows = nullptr;
  int width = 0;
  int height = 0;
  int stride = 0;
  int bitsPerPixel = 0;
  bool bottomUp = false;

  // Pointer to the first byte of picture row y (0 = top), whatever the layout.
  std::uint8_t* row(int y) const {
    return rows + static_cast<std::ptrdiff_t>(bottomUp ? height - 1 - y : y) * stride;
  }
  bool valid() const { return rows != nullptr && width > 0 && height > 0; }
};

// The surface of a bitmap handle, or of the bitmap selected into a DC, for
// writing: a bitmap sharing its pixels with others (ShareBitmap) first gets a
// copy of its own, so the pointer may be written through. Returns false (last
// error 6) for an invalid handle, (last error 8) when that copy cannot be had.
// The pointer stays valid until the bitmap is deleted or resized; a later
// ShareBitmap of the same bitmap makes writes through it visible to the new
// sharer, so take the surface again after sharing.
bool BitmapSurface(HBITMAP hbm, Surface& out);
bool DCSurface(HDC hdc, Surface& out);
// The same for reading only: never copies. Writing through these pointers
// would change every bitmap sharing the memory.
bool BitmapSurfaceRead(HBITMAP hbm, Surface& out);
bool DCSurfaceRead(HDC hdc, Surface& out);

// A new bitmap object (own handle, not selected anywhere) over the same pixel
// memory as `src`, in O(1). The first write to either bitmap gives the written
// one a copy of its own, so neither ever sees the other's later drawing. A DIB
// section's memory is written through the pointer CreateDIBSection gave out,
// which no copy-on-write can see: for one the result is a copy (32-bit device
// bitmap when the section is 32-bit top-down, else the section's layout).
// 0 for an invalid handle (last error 6) or when memory runs out (8).
HBITMAP ShareBitmap(HBITMAP src);
// Detaches `hbm` from memory it shares WITHOUT copying the pixels, for a caller
// about to overwrite every pixel: the content is undefined afterwards. No-op
// for a bitmap that shares nothing. False for an invalid handle or no memory.
bool DiscardBitmap(HBITMAP hbm);
// A 32-bit device bitmap like CreateCompatibleBitmap's whose pixels are left
// undefined, for callers that write them all straight away.
HBITMAP CreateBitmapForOverwrite(int cx, int cy);
// A 32-bit device bitmap (B,G,R,X rows, top-down, `cx * 4` bytes each) over
// memory the caller hands over, such as a mapping of pixels decoded elsewhere:
// no copy is made. On success the bitmap owns the memory and gives it back
// through `release` when the last bitmap using it goes; on failure (0, last
// error 87 or 8) the memory stays the caller's.
HBITMAP CreateBitmapOverMemory(int cx, int cy, std::uint8_t* data, std::size_t size,
                               void (*release)(std::uint8_t* data, std::size_t size));
// A DIB section like CreateDIBSection's whose pixels are left undefined, for
// callers that write them all straight away (padding included).
HBITMAP CreateDIBSectionForOverwrite(const BITMAPINFO* pbmi, void** ppvBits);
// Whether two bitmaps currently use the same pixel memory.
bool SharesPixels(HBITMAP a, HBITMAP b);
// Number of times a write had to copy shared pixels, since the process started.
std::uint64_t SharedPixelCopies();
// The bitmap currently selected into a DC (memory DC or window DC), 0 if none.
HBITMAP CurrentBitmap(HDC hdc);

// A window handle whose GetDC gives a DC (OBJ_DC) drawing on `surfaceBitmap`
// (a pane's persistent image). The bitmap stays owned by the caller, which must
// destroy the window handle before deleting the bitmap; RebindWindow points an
// existing window at a new bitmap (after a resize).
HWND CreateWindowHandle(HBITMAP surfaceBitmap);
bool RebindWindow(HWND hwnd, HBITMAP surfaceBitmap);
bool DestroyWindowHandle(HWND hwnd);

// Number of live objects in the handle table (for leak tests).
std::size_t LiveObjectCount();

}  // namespace gdi
