#include "processing/cDIBSection.h"

#include <cstring>
#include <limits>

#include "platform/GdiSurface.h"

namespace qorv {

namespace {

// The image size is kept in a 32-bit signed field; anything larger cannot be
// described by the header and is refused before the platform is asked.
bool addressable(std::int32_t w, std::int32_t h) {
  if (w <= 0 || h <= 0) return false;
  const std::int64_t stride = ((static_cast<std::int64_t>(w) + 1) * 3) & ~std::int64_t{3};
  return stride * h <= std::numeric_limits<std::int32_t>::max();
}

// Copies a bitmap's pixels straight from its memory when it cannot be selected
// into a context of ours (it is already selected into another one).
void copyFromSurface(const gdi::Surface& s, const DibView& dst) {
  const int w = s.width < dst.width ? s.width : dst.width;
  const int h = s.height < dst.height ? s.height : dst.height;
  if (s.bitsPerPixel != 24 && s.bitsPerPixel != 32) return;
  const int bpp = s.bitsPerPixel / 8;
  for (int y = 0; y < h; ++y) {
    // Picture row y from the top is memory row height-1-y of the working image.
    const std::uint8_t* src = s.row(y);
    std::uint8_t* out = dst.row(dst.height - 1 - y);
    if (bpp == 3) {
      std::memcpy(out, src, static_cast<std::size_t>(w) * 3);
    } else {
      for (int x = 0; x < w; ++x) {
        out[3 * x] = src[4 * x];
        out[3 * x + 1] = src[4 * x + 1];
        out[3 * x + 2] = src[4 * x + 2];
      }
    }
  }
}

}  // namespace

cDIBSection::~cDIBSection() { ClearUp(); }

bool cDIBSection::Create(std::int32_t lWidth, std::int32_t lHeight) {
  ClearUp();
  if (!addressable(lWidth, lHeight)) return false;
  dc_.reset(gdi::CreateCompatibleDC(0));
  if (!dc_) return false;
  if (CreateDIB(dc_.get(), lWidth, lHeight, dib_.out()) && selected_.select(dc_.get(), dib_.get()) != 0) return true;
  ClearUp();  // leave nothing half-made behind
  return false;
}

bool cDIBSection::CreateDIB(gdi::HDC lHDC, std::int32_t lWidth, std::int32_t lHeight, gdi::HBITMAP& hDib) {
  hDib = 0;
  if (!addressable(lWidth, lHeight)) return false;
  gdi::BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(gdi::BITMAPINFOHEADER);
  info.bmiHeader.biWidth = lWidth;
  info.bmiHeader.biHeight = lHeight;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = gdi::BI_RGB;
  info.bmiHeader.biSizeImage = static_cast<gdi::DWORD>(BytesPerScanLineFor(lWidth)) * static_cast<gdi::DWORD>(lHeight);
  void* bits = nullptr;
  ScopedBitmap made(gdi::CreateDIBSection(lHDC, &info, gdi::DIB_RGB_COLORS, &bits, 0, 0));
  if (!made || bits == nullptr) return false;
  header_ = info.bmiHeader;
  bits_ = static_cast<std::uint8_t*>(bits);
  hDib = made.release();
  return true;
}

void cDIBSection::CreateFromPicture(gdi::HBITMAP picHandle) {
  gdi::BITMAP bm{};
  if (gdi::GetObjectType(picHandle) != gdi::OBJ_BITMAP ||
      gdi::GetObjectA(picHandle, static_cast<int>(sizeof bm), &bm) == 0) {
    ClearUp();
    return;
  }
  if (!Create(bm.bmWidth, bm.bmHeight)) return;

  // Given back like the working image's own context.
  ScopedWorkingDC mem;
  {
    // The screen context is only needed to make a compatible one.
    ScopedScreenDC screen;
    if (screen) mem.reset(gdi::CreateCompatibleDC(screen.get()));
  }
  if (mem) {
    ScopedSelect sel(mem.get(), picHandle);
    if (sel.ok()) {
      LoadPictureBlt(mem.get(), 0, 0, -1, -1, gdi::SRCCOPY);
      return;
    }
  }
  gdi::Surface s;
  if (gdi::BitmapSurfaceRead(picHandle, s) && s.valid()) copyFromSurface(s, View());
}

void cDIBSection::LoadPictureBlt(gdi::HDC lHDC, std::int32_t lSrcLeft, std::int32_t lSrcTop, std::int32_t lSrcWidth,
                                 std::int32_t lSrcHeight, gdi::DWORD eRop) {
  if (lSrcWidth < 0) lSrcWidth = Width();
  if (lSrcHeight < 0) lSrcHeight = Height();
  gdi::BitBlt(dc_.get(), 0, 0, lSrcWidth, lSrcHeight, lHDC, lSrcLeft, lSrcTop, eRop);
}

void cDIBSection::PaintPicture(gdi::HDC lHDC, std::int32_t lDestLeft, std::int32_t lDestTop, std::int32_t lDestWidth,
                               std::int32_t lDestHeight, std::int32_t lSrcLeft, std::int32_t lSrcTop,
                               gdi::DWORD eRop) const {
  if (lDestWidth < 0) lDestWidth = Width();
  if (lDestHeight < 0) lDestHeight = Height();
  gdi::BitBlt(lHDC, lDestLeft, lDestTop, lDestWidth, lDestHeight, dc_.get(), lSrcLeft, lSrcTop, eRop);
}

void cDIBSection::ClearUp() {
  selected_.restore();
  dib_.reset();
  dc_.reset();
  bits_ = nullptr;
  header_ = {};
}

}  // namespace qorv
