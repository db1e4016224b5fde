#include "processing/cDIBSection.h"

#include <cstring>
#include <limits>

#include "platform/GdiSurface.h"
#include "platform/PixelRows.h"

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
// into a context of ours (it is already selected into another one). False
// for a layout other than 24 or 32 bits, which only a blit can read.
bool copyFromSurface(const gdi::Surface& s, const DibView& dst) {
  if (s.bitsPerPixel != 24 && s.bitsPerPixel != 32) return false;
  const PixelRows from{s.row(0), s.bottomUp ? -static_cast<std::ptrdiff_t>(s.stride) : s.stride, s.width, s.height,
                       s.bitsPerPixel / 8};
  copyPixelRows(from, PixelRows::bottomUp(dst.bits, dst.stride, dst.width, dst.height, 3));
  return true;
}

}  // namespace

cDIBSection::~cDIBSection() { ClearUp(); }

bool cDIBSection::Create(std::int32_t lWidth, std::int32_t lHeight) { return createSection(lWidth, lHeight, true); }

bool cDIBSection::createForOverwrite(std::int32_t lWidth, std::int32_t lHeight) {
  if (!createSection(lWidth, lHeight, false)) return false;
  clearPadding();
  return true;
}

bool cDIBSection::createSection(std::int32_t lWidth, std::int32_t lHeight, bool cleared) {
  ClearUp();
  if (!addressable(lWidth, lHeight)) return false;
  dc_.reset(gdi::CreateCompatibleDC(0));
  if (!dc_) return false;
  const bool made = makeSection(dc_.get(), lWidth, lHeight, cleared, dib_.out());
  if (made && selected_.select(dc_.get(), dib_.get()) != 0) return true;
  ClearUp();  // leave nothing half-made behind
  return false;
}

void cDIBSection::clearPadding() {
  const std::int32_t used = 3 * Width();
  const std::int32_t pad = BytesPerScanLine() - used;
  if (pad <= 0) return;
  for (std::int32_t y = 0; y < Height(); ++y)
    std::memset(bits_ + static_cast<std::ptrdiff_t>(y) * BytesPerScanLine() + used, 0, static_cast<std::size_t>(pad));
}

bool cDIBSection::CreateDIB(gdi::HDC lHDC, std::int32_t lWidth, std::int32_t lHeight, gdi::HBITMAP& hDib) {
  hDib = 0;
  if (!addressable(lWidth, lHeight)) return false;
  return makeSection(lHDC, lWidth, lHeight, true, hDib);
}

bool cDIBSection::makeSection(gdi::HDC lHDC, std::int32_t lWidth, std::int32_t lHeight, bool cleared,
                              gdi::HBITMAP& hDib) {
  hDib = 0;
  gdi::BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(gdi::BITMAPINFOHEADER);
  info.bmiHeader.biWidth = lWidth;
  info.bmiHeader.biHeight = lHeight;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = gdi::BI_RGB;
  info.bmiHeader.biSizeImage = static_cast<gdi::DWORD>(BytesPerScanLineFor(lWidth)) * static_cast<gdi::DWORD>(lHeight);
  void* bits = nullptr;
  ScopedBitmap made(cleared ? gdi::CreateDIBSection(lHDC, &info, gdi::DIB_RGB_COLORS, &bits, 0, 0)
                            : gdi::CreateDIBSectionForOverwrite(&info, &bits));
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
  // Every pixel is copied in below; memory that is not cleared first is not
  // faulted in twice. Whatever the copy cannot reach is cleared after all.
  if (!createForOverwrite(bm.bmWidth, bm.bmHeight)) return;

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
      // LoadPictureBlt (mem, 0, 0, -1, -1, SRCCOPY), with its result kept.
      if (gdi::BitBlt(dc_.get(), 0, 0, Width(), Height(), mem.get(), 0, 0, gdi::SRCCOPY)) return;
      clearPixels();
      return;
    }
  }
  gdi::Surface s;
  if (gdi::BitmapSurfaceRead(picHandle, s) && s.valid() && s.width >= Width() && s.height >= Height() &&
      copyFromSurface(s, View()))
    return;
  clearPixels();
}

void cDIBSection::clearPixels() {
  std::memset(bits_, 0, static_cast<std::size_t>(BytesPerScanLine()) * static_cast<std::size_t>(Height()));
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
