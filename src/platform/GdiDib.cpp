// Device-independent bitmaps: DIB sections, device bitmaps made from DIB data,
// and reading a bitmap back as DIB rows.
#include <algorithm>
#include <climits>
#include <cstring>

#include "platform/GdiObjects.h"
#include "platform/PixelRows.h"

namespace gdi {

using namespace detail;

namespace {

// Pixel layout of DIB data as described by a BITMAPINFO.
struct DibLayout {
  int width = 0;
  int height = 0;
  bool bottomUp = true;
  std::int64_t stride = 0;
  PixelFormat fmt;
};

bool isDibDepth(int bpp) { return bpp == 1 || bpp == 4 || bpp == 8 || bpp == 16 || bpp == 24 || bpp == 32; }

// Reads the header, colour table or masks; false (with the last error set) for
// anything this implementation cannot describe.
bool parseInfo(const BITMAPINFO* bmi, UINT usage, DibLayout& out) {
  if (!bmi || usage != DIB_RGB_COLORS) return fail(ERROR_INVALID_PARAMETER, false);
  const BITMAPINFOHEADER& h = bmi->bmiHeader;
  if (h.biSize < sizeof(BITMAPINFOHEADER) || h.biWidth <= 0 || h.biHeight == 0 || h.biHeight == INT_MIN ||
      !isDibDepth(h.biBitCount))
    return fail(ERROR_INVALID_PARAMETER, false);
  out.width = h.biWidth;
  out.height = h.biHeight < 0 ? -h.biHeight : h.biHeight;
  out.bottomUp = h.biHeight > 0;
  out.fmt = defaultFormat(h.biBitCount);
  out.stride = dibStride(out.width, h.biBitCount);
  if (out.stride < 0 || out.stride * out.height > kMaxBitmapBytes) return fail(ERROR_NOT_ENOUGH_MEMORY, false);
  const auto* extra = reinterpret_cast<const std::uint8_t*>(bmi) + h.biSize;
  if (h.biCompression == BI_BITFIELDS) {
    if (h.biBitCount != 16 && h.biBitCount != 32) return fail(ERROR_INVALID_PARAMETER, false);
    DWORD masks[3];
    std::memcpy(masks, extra, sizeof masks);
    if (masks[0] == 0 && masks[1] == 0 && masks[2] == 0) return fail(ERROR_INVALID_PARAMETER, false);
    for (int i = 0; i < 3; ++i) out.fmt.masks[i] = masks[i];
  } else if (h.biCompression != BI_RGB) {
    return fail(ERROR_INVALID_PARAMETER, false);
  }
  if (h.biBitCount <= 8) {
    const DWORD full = DWORD{1} << h.biBitCount;
    const DWORD count = h.biClrUsed == 0 ? full : std::min(h.biClrUsed, full);
    out.fmt.palette.resize(count);
    for (DWORD i = 0; i < count; ++i) {
      RGBQUAD q;
      std::memcpy(&q, extra + i * sizeof(RGBQUAD), sizeof q);
      out.fmt.palette[i] = (static_cast<std::uint32_t>(q.rgbRed) << 16) |
                           (static_cast<std::uint32_t>(q.rgbGreen) << 8) | q.rgbBlue;
    }
  }
  return true;
}

// B, G, R rows (24 bits) or B, G, R, X rows (32 bits), which the row
// converter copies between directly.
bool plainLayout(const PixelFormat& f) { return f.bpp == 24 || f.plain32(); }

qorv::PixelRows pixelRowsOf(const Image& img) {
  return qorv::PixelRows{img.top, img.step, img.width, img.height, img.fmt.bpp / 8};
}

Image dibImage(const DibLayout& l, const void* bits) {
  Image img;
  auto* base = static_cast<std::uint8_t*>(const_cast<void*>(bits));
  img.width = l.width;
  img.height = l.height;
  img.fmt = l.fmt;
  img.step = l.bottomUp ? -static_cast<std::ptrdiff_t>(l.stride) : static_cast<std::ptrdiff_t>(l.stride);
  img.top = l.bottomUp ? base + static_cast<std::ptrdiff_t>(l.height - 1) * l.stride : base;
  return img;
}

}  // namespace

HBITMAP CreateDIBSection(HDC /*hdc*/, const BITMAPINFO* pbmi, UINT usage, void** ppvBits, HANDLE hSection,
                         DWORD offset) {
  if (ppvBits) *ppvBits = nullptr;
  if (hSection != 0 || offset != 0) return fail(ERROR_INVALID_PARAMETER, HBITMAP{0});
  DibLayout l;
  if (!parseInfo(pbmi, usage, l)) return 0;
  return createBitmap(l.width, l.height, l.fmt, l.bottomUp, true, ppvBits);
}

HBITMAP CreateDIBSectionForOverwrite(const BITMAPINFO* pbmi, void** ppvBits) {
  if (ppvBits) *ppvBits = nullptr;
  DibLayout l;
  if (!parseInfo(pbmi, DIB_RGB_COLORS, l)) return 0;
  return createBitmap(l.width, l.height, l.fmt, l.bottomUp, true, ppvBits, false);
}

HBITMAP CreateDIBitmap(HDC hdc, const BITMAPINFOHEADER* pbmih, DWORD flInit, const void* pjBits,
                       const BITMAPINFO* pbmi, UINT iUsage) {
  if (hdc != 0) {
    auto lock = lockTable();
    if (!findDC(hdc)) return fail(ERROR_INVALID_HANDLE, HBITMAP{0});
  }
  if (!pbmih || pbmih->biSize < sizeof(BITMAPINFOHEADER) || pbmih->biHeight == INT_MIN)
    return fail(ERROR_INVALID_PARAMETER, HBITMAP{0});
  DibLayout data;
  const bool init = (flInit & CBM_INIT) != 0;
  if (init) {
    if (!pjBits) return fail(ERROR_INVALID_PARAMETER, HBITMAP{0});
    if (!parseInfo(pbmi, iUsage, data)) return 0;
  }
  const int width = pbmih->biWidth;
  const int height = pbmih->biHeight < 0 ? -pbmih->biHeight : pbmih->biHeight;
  // Plain 24- and 32-bit data covering the whole bitmap is converted in one
  // pass over memory that is not cleared first.
  const bool direct = init && plainLayout(data.fmt) && data.width >= width && data.height >= height;
  void* bits = nullptr;
  const HBITMAP hbm = createBitmap(width, height, defaultFormat(32), false, false, &bits, !direct);
  if (!hbm || !init) return hbm;

  Image dst;
  dst.top = static_cast<std::uint8_t*>(bits);
  dst.step = static_cast<std::ptrdiff_t>(width) * 4;
  dst.width = width;
  dst.height = height;
  dst.fmt = defaultFormat(32);
  const Image src = dibImage(data, pjBits);
  if (direct) {
    qorv::copyPixelRows(pixelRowsOf(src), pixelRowsOf(dst));
    return hbm;
  }
  const int rows = std::min(height, data.height);
  const int cols = std::min(width, data.width);
  std::vector<std::uint32_t> line(static_cast<std::size_t>(cols));
  for (int y = 0; y < rows; ++y) {
    readRow(src, y, 0, cols, line.data());
    writeRow(dst, y, 0, cols, line.data());
  }
  return hbm;
}

int GetDIBits(HDC hdc, HBITMAP hbm, UINT start, UINT cLines, void* lpvBits, BITMAPINFO* lpbmi, UINT usage) {
  SurfaceRef bm;
  {
    auto lock = lockTable();
    if (hdc != 0 && !findDC(hdc)) return fail(ERROR_INVALID_HANDLE, 0);
    const BitmapObject* b = findBitmap(hbm);
    if (!b || !b->pixels) return fail(ERROR_INVALID_HANDLE, 0);
    makeImage(*b, bm);
  }
  if (!lpbmi || lpbmi->bmiHeader.biSize < sizeof(BITMAPINFOHEADER) || usage != DIB_RGB_COLORS)
    return fail(ERROR_INVALID_PARAMETER, 0);
  BITMAPINFOHEADER& h = lpbmi->bmiHeader;
  const Image& img = bm.image;
  if (!lpvBits) {
    h.biWidth = img.width;
    h.biHeight = img.height;
    h.biPlanes = 1;
    if (h.biBitCount == 0) h.biBitCount = static_cast<WORD>(img.fmt.bpp);
    h.biCompression = BI_RGB;
    const std::int64_t stride = dibStride(img.width, h.biBitCount);
    h.biSizeImage = stride > 0 ? static_cast<DWORD>(std::min<std::int64_t>(stride * img.height, UINT32_MAX)) : 0;
    return img.height;
  }
  if ((h.biBitCount != 24 && h.biBitCount != 32) || h.biCompression != BI_RGB || h.biWidth <= 0 ||
      h.biHeight == INT_MIN)
    return fail(ERROR_INVALID_PARAMETER, 0);
  if (start >= static_cast<UINT>(img.height) || cLines == 0) return fail(ERROR_INVALID_PARAMETER, 0);
  std::int64_t n = std::min<std::int64_t>(cLines, img.height - static_cast<std::int64_t>(start));
  if (h.biHeight != 0) n = std::min<std::int64_t>(n, h.biHeight < 0 ? -std::int64_t{h.biHeight} : h.biHeight);

  DibLayout outLayout;
  outLayout.width = h.biWidth;
  outLayout.height = static_cast<int>(n);
  outLayout.bottomUp = h.biHeight >= 0;
  outLayout.fmt = defaultFormat(h.biBitCount);
  outLayout.stride = dibStride(h.biWidth, h.biBitCount);
  if (outLayout.stride < 0) return fail(ERROR_INVALID_PARAMETER, 0);
  const Image out = dibImage(outLayout, lpvBits);
  const int cols = std::min(h.biWidth, img.width);
  if (plainLayout(img.fmt) && plainLayout(out.fmt)) {
    // Picture rows start..start+n-1 counted from the bottom, in one pass.
    Image band = img;
    band.top = img.row(img.height - static_cast<int>(start) - static_cast<int>(n));
    band.height = static_cast<int>(n);
    band.width = cols;
    qorv::copyPixelRows(pixelRowsOf(band), pixelRowsOf(out));
    return static_cast<int>(n);
  }
  std::vector<std::uint32_t> line(static_cast<std::size_t>(cols));
  // The band holds DIB rows start..start+n-1 counted from the bottom; its own
  // top row is the highest of them.
  for (int i = 0; i < static_cast<int>(n); ++i) {
    const int dibRow = static_cast<int>(start) + i;
    const int pictureRow = img.height - 1 - dibRow;
    readRow(img, pictureRow, 0, cols, line.data());
    writeRow(out, static_cast<int>(n) - 1 - i, 0, cols, line.data());
  }
  return static_cast<int>(n);
}

}  // namespace gdi
