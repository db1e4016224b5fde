// Direct access to the memory behind device contexts and bitmaps, and the few
// operations the library needs beyond the classic API (window handles for
// panes, the clipboard's owner of record).
#pragma once

#include "platform/gdi.h"

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

// The surface of a bitmap handle, or of the bitmap selected into a DC.
// Returns false (last error 6) for an invalid handle.
bool BitmapSurface(HBITMAP hbm, Surface& out);
bool DCSurface(HDC hdc, Surface& out);
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
