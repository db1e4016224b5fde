#include "imageio/modFreeImage.h"

// gdi.h before FreeImage.h: the latter defines TRUE and FALSE as macros.
#include <QorvPictureBox/gdi.h>

#include "imageio/FreeImageHandle.h"
#include "platform/GdiSurface.h"
#include "platform/ScopedGdi.h"

#include <FreeImage.h>

#include <cstring>

namespace qorv::modFreeImage {

namespace {
QString& lastError() {
  static QString text;
  return text;
}

void libraryMessage(FREE_IMAGE_FORMAT fif, const char* message) {
  OnFreeImageMessage(static_cast<std::int32_t>(fif), message);
}

QString code() { return QString::number(gdi::GetLastError()); }

void fail(const char* text) { SetBridgeError(QString::fromLatin1(text), true); }
void failWithCode(const char* text) { SetBridgeError(QString::fromLatin1(text) + code(), true); }

static_assert(sizeof(::BITMAPINFOHEADER) == sizeof(gdi::BITMAPINFOHEADER),
              "FreeImage and the platform must share the DIB header layout");
}  // namespace

void InitFreeImage() {
  FreeImage_Initialise(FALSE);
  FreeImage_SetOutputMessage(&libraryMessage);
}

void DeInitFreeImage() { FreeImage_DeInitialise(); }

void OnFreeImageMessage(std::int32_t /*format*/, const char* message) {
  if (!message) {
    lastError().clear();
    return;
  }
  const std::size_t n = std::strlen(message);
  lastError() = QString::fromLocal8Bit(message, static_cast<qsizetype>(n));
}

void SetBridgeError(const QString& text, bool keepFirst) {
  if (keepFirst && !lastError().isEmpty()) return;
  lastError() = text;
}

QString LastBridgeError() { return lastError(); }

bool FreeImage_BMP_From_DIB(FIBITMAP* dib, gdi::HBITMAP& hBitmap) {
  if (hBitmap) {
    gdi::DeleteObject(hBitmap);
    hBitmap = 0;
  }
  lastError().clear();
  if (!dib) {
    fail("[FreeImage_BMP_From_DIB] No DIB specified to convert");
    return false;
  }
  const ::BITMAPINFOHEADER* header = FreeImage_GetInfoHeader(dib);
  if (!header) {
    fail("[FreeImage_BMP_From_DIB] FreeImage_GetInfoHeader failed to get the DIB header");
    return false;
  }
  const ::BITMAPINFO* info = FreeImage_GetInfo(dib);
  if (!info) {
    fail("[FreeImage_BMP_From_DIB] FreeImage_GetInfo failed to get the DIB info");
    return false;
  }
  const BYTE* bits = FreeImage_GetBits(dib);
  if (!bits) {
    fail("[FreeImage_BMP_From_DIB] FreeImage_GetBits failed to get the DIB's bits");
    return false;
  }
  const ScopedScreenDC desktop;
  if (!desktop.get()) {
    failWithCode("[FreeImage_BMP_From_DIB] GetDC failed to get the DC to work with reporting error code ");
    return false;
  }
  // Plain 24/32-bit pictures convert in one pass, split over the row pool,
  // into memory that is not cleared first (the platform's own fast path).
  ScopedBitmap made(gdi::CreateDIBitmap(desktop.get(), reinterpret_cast<const gdi::BITMAPINFOHEADER*>(header),
                                        gdi::CBM_INIT, bits, reinterpret_cast<const gdi::BITMAPINFO*>(info),
                                        gdi::DIB_RGB_COLORS));
  if (!made) {
    failWithCode(
        "[FreeImage_BMP_From_DIB] CreateDIBitmap failed to create the BITMAP from the DIB reporting error code ");
    return false;
  }
  hBitmap = made.release();
  return true;
}

bool FreeImage_DIB_From_BMP(gdi::HBITMAP hBitmap, FIBITMAP*& dib) {
  if (dib) {
    FreeImage_Unload(dib);
    dib = nullptr;
  }
  lastError().clear();
  if (!hBitmap) {
    fail("[FreeImage_DIB_From_BMP] No bitmap specified to convert");
    return false;
  }
  gdi::BITMAP bm{};
  if (!gdi::GetObjectA(hBitmap, sizeof(bm), &bm)) {
    failWithCode("[FreeImage_DIB_From_BMP] GetObjectAPI failed with error code ");
    return false;
  }
  const ScopedScreenDC desktop;
  if (!desktop.get()) {
    failWithCode("[FreeImage_DIB_From_BMP] GetDC failed to get a DC to work with reporting error code ");
    return false;
  }
  imageio::DibPtr fresh(FreeImage_Allocate(bm.bmWidth, bm.bmHeight, 32, 0, 0, 0));
  if (!fresh) {
    fail("[FreeImage_DIB_From_BMP] FreeImage_Allocate failed to create a DIB to work with");
    return false;
  }
  ::BITMAPINFO* info = FreeImage_GetInfo(fresh.get());
  if (!info) {
    fail("[FreeImage_DIB_From_BMP] FreeImage_GetInfo failed to get the DIB info");
    return false;
  }
  BYTE* bits = FreeImage_GetBits(fresh.get());
  if (!bits) {
    fail("[FreeImage_DIB_From_BMP] FreeImage_GetBits failed to get the DIB bits");
    return false;
  }
  // A 32-bit device surface already has the library's pixel layout; only
  // the row order differs. Everything else goes through the platform.
  gdi::Surface surface;
  int rows = 0;
  if (gdi::BitmapSurfaceRead(hBitmap, surface) && surface.valid() && surface.bitsPerPixel == 32 &&
      surface.width == bm.bmWidth && surface.height == bm.bmHeight) {
    const unsigned pitch = FreeImage_GetPitch(fresh.get());
    for (int y = 0; y < surface.height; ++y)
      std::memcpy(bits + static_cast<std::size_t>(surface.height - 1 - y) * pitch, surface.row(y),
                  static_cast<std::size_t>(surface.width) * 4);
    rows = surface.height;
  } else {
    rows = gdi::GetDIBits(desktop.get(), hBitmap, 0, static_cast<gdi::UINT>(bm.bmHeight), bits,
                          reinterpret_cast<gdi::BITMAPINFO*>(info), gdi::DIB_RGB_COLORS);
  }
  if (!rows) {
    failWithCode("[FreeImage_DIB_From_BMP] GetDIBits failed to get the DIB's bits reporting error code ");
    return false;
  }
  dib = fresh.release();
  return true;
}

bool FreeImage_RenderBitmap(gdi::HBITMAP hBitmap, gdi::HDC hDC, std::int32_t X, std::int32_t Y,
                            std::int32_t Width, std::int32_t Height, bool Invert) {
  lastError().clear();
  if (!hBitmap) {
    fail("[FreeImage_RenderBitmap] No bitmap specified to render");
    return false;
  }
  if (gdi::GetObjectType(hBitmap) != gdi::OBJ_BITMAP) {
    fail("[FreeImage_RenderBitmap] Handle specified is not a valid BITMAP");
    return false;
  }
  const gdi::DWORD dcType = gdi::GetObjectType(hDC);
  if (dcType != gdi::OBJ_MEMDC && dcType != gdi::OBJ_DC) {
    fail("[FreeImage_RenderBitmap] DC specified is not valid");
    return false;
  }
  if (Width < 1) {
    Width = FreeImage_GetBitmapWidth(hBitmap);
    if (Width < 1) {
      fail("[FreeImage_RenderBitmap] Could not get bitmap's width");
      return false;
    }
  }
  if (Height < 1) {
    Height = FreeImage_GetBitmapHeight(hBitmap);
    if (Height < 1) {
      fail("[FreeImage_RenderBitmap] Could not get bitmap's height");
      return false;
    }
  }
  ScopedMemDC work;
  if (!CreateWorkDC(work.out())) {
    fail("[FreeImage_RenderBitmap] Coult not create a DC to work with");
    return false;
  }
  const ScopedSelect selected(work.get(), hBitmap);
  const bool ok =
      gdi::BitBlt(hDC, X, Y, Width, Height, work.get(), 0, 0, Invert ? gdi::NOTSRCCOPY : gdi::SRCCOPY) != 0;
  if (!ok) failWithCode("[FreeImage_RenderBitmap] BitBlt failed to render the BITMAP to the DC with error code ");
  return ok;
}

namespace {
// The two size queries differ only in their name and the field they return.
std::int32_t bitmapField(gdi::HBITMAP hBitmap, const char* name, gdi::LONG gdi::BITMAP::*field) {
  lastError().clear();
  const QString prefix = QStringLiteral("[%1] ").arg(QLatin1String(name));
  if (!hBitmap) {
    SetBridgeError(prefix + QStringLiteral("No bitmap specified to get the info for"), true);
    return 0;
  }
  if (gdi::GetObjectType(hBitmap) != gdi::OBJ_BITMAP) {
    SetBridgeError(prefix + QStringLiteral("Handle specified is not a valid BITMAP"), true);
    return 0;
  }
  gdi::BITMAP bm{};
  if (!gdi::GetObjectA(hBitmap, sizeof(bm), &bm)) {
    SetBridgeError(prefix + QStringLiteral("GetObjectAPI failed with error code ") + code(), true);
    return 0;
  }
  return bm.*field;
}
}  // namespace

std::int32_t FreeImage_GetBitmapWidth(gdi::HBITMAP hBitmap) {
  return bitmapField(hBitmap, "FreeImage_GetBitmapWidth", &gdi::BITMAP::bmWidth);
}

std::int32_t FreeImage_GetBitmapHeight(gdi::HBITMAP hBitmap) {
  return bitmapField(hBitmap, "FreeImage_GetBitmapHeight", &gdi::BITMAP::bmHeight);
}

bool CreateWorkDC(gdi::HDC& hDC) {
  hDC = 0;
  const ScopedScreenDC desktop;
  if (!desktop.get()) return false;
  hDC = gdi::CreateCompatibleDC(desktop.get());
  return hDC != 0;
}

bool DestroyWorkDC(gdi::HDC& hDC, gdi::HBITMAP& hOldBitmap) {
  if (hOldBitmap) {
    const gdi::HGDIOBJ deselected = gdi::SelectObject(hDC, hOldBitmap);
    if (deselected) gdi::DeleteObject(deselected);
    hOldBitmap = 0;
  }
  if (!gdi::DeleteDC(hDC)) return false;
  hDC = 0;
  return true;
}

}  // namespace qorv::modFreeImage
