// Software device contexts with the classic drawing-interface names.
//
// The control's logic is written against this small API; it is implemented in
// software over plain memory so that it behaves the same on every Linux desktop
// and headless. Hosts may call it too (the control exposes its `hdc`).
//
// Every function keeps its classic signature and failure value. A failing call
// sets the calling thread's last-error code (ERROR_INVALID_HANDLE 6,
// ERROR_INVALID_PARAMETER 87, ERROR_NOT_ENOUGH_MEMORY 8) and never throws.
// All functions may be called from any thread, but one device context must not
// be used by two threads at once.
#pragma once

#include <cstddef>
#include <cstdint>

// Other headers define TRUE, FALSE and BOOL as macros (GLib, FreeImage, the
// classic system headers); here they are the library's own names, so the
// macros step aside for this header and come back after it.
#pragma push_macro("TRUE")
#pragma push_macro("FALSE")
#pragma push_macro("BOOL")
#undef TRUE
#undef FALSE
#undef BOOL

namespace gdi {

using BOOL = std::int32_t;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using UINT = std::uint32_t;
using COLORREF = std::uint32_t;  // 0x00BBGGRR

// Handles are non-zero 32-bit values from one handle table; 0 means "none".
using HANDLE = std::uint32_t;
using HGDIOBJ = HANDLE;
using HDC = HANDLE;
using HBITMAP = HANDLE;
using HWND = HANDLE;

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;

// Last-error codes.
inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_CLIPBOARD_NOT_OPEN = 1418;

// GetObjectType results.
inline constexpr DWORD OBJ_DC = 3;
inline constexpr DWORD OBJ_BITMAP = 7;
inline constexpr DWORD OBJ_MEMDC = 10;

// Raster operations (ternary, by truth table; these two have fast paths).
inline constexpr DWORD SRCCOPY = 0x00CC0020;
inline constexpr DWORD NOTSRCCOPY = 0x00330008;
inline constexpr DWORD SRCPAINT = 0x00EE0086;
inline constexpr DWORD SRCAND = 0x008800C6;
inline constexpr DWORD SRCINVERT = 0x00660046;
inline constexpr DWORD BLACKNESS = 0x00000042;
inline constexpr DWORD WHITENESS = 0x00FF0062;
inline constexpr DWORD DSTINVERT = 0x00550009;

// Stretch modes.
inline constexpr int BLACKONWHITE = 1;
inline constexpr int WHITEONBLACK = 2;
inline constexpr int COLORONCOLOR = 3;
inline constexpr int HALFTONE = 4;

// DIB constants.
inline constexpr UINT DIB_RGB_COLORS = 0;
inline constexpr DWORD CBM_INIT = 4;
inline constexpr DWORD BI_RGB = 0;
inline constexpr DWORD BI_BITFIELDS = 3;

// Clipboard formats.
inline constexpr UINT CF_BITMAP = 2;

#pragma pack(push, 4)
// The classic 24-byte bitmap description. `bmBits` is a 32-bit field, as in the
// classic record; it is 0 for device bitmaps and for DIB sections (a 64-bit
// address does not fit). Use BitmapSurface() for direct pixel access.
struct BITMAP {
  LONG bmType;
  LONG bmWidth;
  LONG bmHeight;
  LONG bmWidthBytes;
  WORD bmPlanes;
  WORD bmBitsPixel;
  LONG bmBits;
};
#pragma pack(pop)
static_assert(sizeof(BITMAP) == 24, "BITMAP must keep its classic 24-byte layout");

struct BITMAPINFOHEADER {
  DWORD biSize;  // 40
  LONG biWidth;
  LONG biHeight;  // positive: bottom-up rows; negative: top-down
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
};
static_assert(sizeof(BITMAPINFOHEADER) == 40);

struct RGBQUAD {
  BYTE rgbBlue;
  BYTE rgbGreen;
  BYTE rgbRed;
  BYTE rgbReserved;
};

// Followed in memory by the colour table (paletted formats) or by three DWORD
// masks (BI_BITFIELDS); FreeImage hands over exactly this layout.
struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
};

struct POINT {
  LONG x;
  LONG y;
};

// --- objects ----------------------------------------------------------------

// A memory DC compatible with `hdc` (0: the screen). It starts with a 1x1
// monochrome stock bitmap selected.
HDC CreateCompatibleDC(HDC hdc);
// A device-dependent bitmap: 32-bit B,G,R,X rows, top-down, zero-filled.
// (Unlike the classic model, a memory DC's stock bitmap does not make the result
// monochrome: every compatible bitmap has colour.) A size <= 0 fails with
// ERROR_INVALID_PARAMETER rather than giving the classic 1x1 monochrome bitmap;
// more than 2 GiB of pixels fails with ERROR_NOT_ENOUGH_MEMORY.
HBITMAP CreateCompatibleBitmap(HDC hdc, int cx, int cy);
// A DIB section with the layout of `pbmi` (1, 4, 8, 16, 24 or 32 bits; positive
// height is bottom-up). `*ppvBits` receives the first byte of pixel memory.
// `hSection` must be 0.
HBITMAP CreateDIBSection(HDC hdc, const BITMAPINFO* pbmi, UINT usage, void** ppvBits, HANDLE hSection,
                         DWORD offset);
// A device-dependent bitmap of the header's size, filled from DIB data when
// `flInit` has CBM_INIT (1/4/8 bpp paletted, 16 bpp BI_RGB or BI_BITFIELDS,
// 24 and 32 bpp).
HBITMAP CreateDIBitmap(HDC hdc, const BITMAPINFOHEADER* pbmih, DWORD flInit, const void* pjBits,
                       const BITMAPINFO* pbmi, UINT iUsage);
// Copies `cLines` rows starting at DIB row `start` of `hbm` into `lpvBits` in
// the 24- or 32-bit layout described by `lpbmi` (bottom-up or top-down by the
// sign of biHeight). With `lpvBits` null, fills in the header only. Returns the
// number of rows copied, 0 on failure.
int GetDIBits(HDC hdc, HBITMAP hbm, UINT start, UINT cLines, void* lpvBits, BITMAPINFO* lpbmi, UINT usage);
// Selects a bitmap into a memory DC and returns the previous one (0 on failure).
// A bitmap can be selected into one DC at a time.
HGDIOBJ SelectObject(HDC hdc, HGDIOBJ h);
// Fails (FALSE, ERROR_INVALID_PARAMETER) for a bitmap that is selected into a
// DC. The stock bitmap is shared: deleting it returns TRUE and does nothing. A
// DC handle is deleted as DeleteDC would. A window bound to a deleted bitmap
// draws nowhere (its DCs fail with ERROR_INVALID_HANDLE) until rebound.
BOOL DeleteObject(HGDIOBJ ho);
// Deletes a memory DC (giving its bitmap back) or a DC from GetDC.
BOOL DeleteDC(HDC hdc);
// Fills a BITMAP (c >= 24) for a bitmap handle; returns the bytes written.
int GetObjectA(HANDLE h, int c, void* pv);
// OBJ_BITMAP, OBJ_DC, OBJ_MEMDC, or 0 for an invalid handle.
DWORD GetObjectType(HGDIOBJ h);

// --- blits ------------------------------------------------------------------
// Blits clip to the destination first and then to the source: destination
// pixels whose source pixels lie outside the source surface are left alone.
// A negative extent w at x covers x+w+1 .. x; when the destination and source
// signs differ the result is mirrored (the unmirrored result drawn reversed).
// 32-bit destinations get an X byte of 0. Extents beyond +-2^23 fail with
// ERROR_INVALID_PARAMETER, as does a zero source extent; a zero destination
// extent draws nothing and succeeds. HALFTONE is exact integer arithmetic,
// rounding halves up. A blit onto its own surface reads a snapshot.

BOOL BitBlt(HDC hdc, int x, int y, int cx, int cy, HDC hdcSrc, int x1, int y1, DWORD rop);
BOOL StretchBlt(HDC hdcDest, int xDest, int yDest, int wDest, int hDest, HDC hdcSrc, int xSrc, int ySrc,
                int wSrc, int hSrc, DWORD rop);
int GetStretchBltMode(HDC hdc);
// Returns the previous mode, 0 on failure (invalid handle or mode outside 1..4).
int SetStretchBltMode(HDC hdc, int mode);
// lpPoint[0..2]: where the source's top-left, top-right and bottom-left corners
// land. Only hbmMask == 0 is supported. Collinear points, or coordinates beyond
// +-2^28, fail with ERROR_INVALID_PARAMETER.
BOOL PlgBlt(HDC hdcDest, const POINT* lpPoint, HDC hdcSrc, int xSrc, int ySrc, int width, int height,
            HBITMAP hbmMask, int xMask, int yMask);

// --- windows and the screen ---------------------------------------------------

// The desktop window; GetDC of it (or of 0) gives a DC (OBJ_DC) on a virtual
// screen surface of the primary screen's size (1920x1080 without a screen).
HWND GetDesktopWindow();
HDC GetDC(HWND hwnd);
int ReleaseDC(HWND hwnd, HDC hdc);

// --- clipboard ----------------------------------------------------------------

// Opening again on the same thread succeeds; while another thread has it open,
// fails with ERROR_ACCESS_DENIED (5).
BOOL OpenClipboard(HWND hwnd);
BOOL EmptyClipboard();
// CF_BITMAP only: the clipboard takes ownership of the bitmap, and the image
// also reaches the system clipboard when a Qt GUI application is running.
HANDLE SetClipboardData(UINT format, HANDLE hMem);
// CF_BITMAP: a bitmap owned by the clipboard (from the system clipboard's image
// when it holds one that this process did not put there).
HANDLE GetClipboardData(UINT format);
BOOL CloseClipboard();

// --- errors and time -----------------------------------------------------------

DWORD GetLastError();
void SetLastError(DWORD code);
// Milliseconds from the platform clock (replaceable in tests, see platform/Clock.h).
DWORD GetTickCount();
DWORD timeGetTime();

}  // namespace gdi

#pragma pop_macro("BOOL")
#pragma pop_macro("FALSE")
#pragma pop_macro("TRUE")
