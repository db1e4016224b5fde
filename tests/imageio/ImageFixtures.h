// Helpers shared by the image I/O tests: a deterministic test pattern made
// directly with FreeImage or with the device-bitmap API (never through the
// code under test), and readers for the pixels that land in a picture box.
#pragma once

#include <cstdint>
#include <vector>

#include <QByteArray>
#include <QFile>
#include <QString>

#include "platform/GdiSurface.h"
#include "platform/PictureBox.h"
#include "platform/ScopedGdi.h"
#include "imageio/modFreeImage.h"

#include <FreeImage.h>

namespace iotest {

inline void ensureFreeImage() {
  static const bool started = [] {
    qorv::modFreeImage::InitFreeImage();
    return true;
  }();
  (void)started;
}

// 0x00RRGGBB of the pattern at (x, y), y counted from the top.
inline std::uint32_t patternRGB(int x, int y) {
  const unsigned r = static_cast<unsigned>(x * 37 + y * 11) & 255u;
  const unsigned g = static_cast<unsigned>(x * 5 + y * 29) & 255u;
  const unsigned b = static_cast<unsigned>(x * x + 3 * y) & 255u;
  return (r << 16) | (g << 8) | b;
}

// A 24-bit FreeImage bitmap holding the pattern (FreeImage rows are bottom-up).
inline FIBITMAP* makePatternDib(int w, int h) {
  FIBITMAP* dib = FreeImage_Allocate(w, h, 24);
  for (int y = 0; y < h; ++y) {
    BYTE* row = FreeImage_GetScanLine(dib, static_cast<unsigned>(h - 1 - y));
    for (int x = 0; x < w; ++x) {
      const std::uint32_t c = patternRGB(x, y);
      row[x * 3 + FI_RGBA_RED] = static_cast<BYTE>(c >> 16);
      row[x * 3 + FI_RGBA_GREEN] = static_cast<BYTE>(c >> 8);
      row[x * 3 + FI_RGBA_BLUE] = static_cast<BYTE>(c);
    }
  }
  return dib;
}

// A 32-bit device bitmap holding the pattern.
inline qorv::ScopedBitmap makePatternBitmap(int w, int h) {
  qorv::ScopedBitmap bm(gdi::CreateCompatibleBitmap(qorv::ScopedScreenDC().get(), w, h));
  gdi::Surface s;
  if (!bm || !gdi::BitmapSurface(bm.get(), s)) return bm;
  for (int y = 0; y < h; ++y) {
    std::uint8_t* row = s.row(y);
    for (int x = 0; x < w; ++x) {
      const std::uint32_t c = patternRGB(x, y);
      row[x * 4 + 0] = static_cast<std::uint8_t>(c);
      row[x * 4 + 1] = static_cast<std::uint8_t>(c >> 8);
      row[x * 4 + 2] = static_cast<std::uint8_t>(c >> 16);
      row[x * 4 + 3] = 0;
    }
  }
  return bm;
}

// A bottom-up DIB section of 8 or 24 bits holding the pattern. At 8 bits a
// pixel's index is the pattern's blue, through a palette that is not grey;
// `shown` receives the colours the section shows, top row first.
inline qorv::ScopedBitmap makePatternSection(int w, int h, int bitCount, std::vector<std::uint32_t>& shown) {
  struct {
    gdi::BITMAPINFOHEADER h;
    gdi::RGBQUAD pal[256];
  } bi{};
  bi.h = {40, w, h, 1, static_cast<gdi::WORD>(bitCount), gdi::BI_RGB, 0, 0, 0, 0, 0};
  for (int i = 0; i < 256; ++i) bi.pal[i] = {gdi::BYTE(255 - i), gdi::BYTE(i), gdi::BYTE(i ^ 0x55), 0};
  void* bits = nullptr;
  qorv::ScopedBitmap bm(gdi::CreateDIBSection(0, reinterpret_cast<gdi::BITMAPINFO*>(&bi), gdi::DIB_RGB_COLORS, &bits, 0, 0));
  gdi::Surface s;
  if (!bm || !gdi::BitmapSurface(bm.get(), s)) return bm;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const std::uint32_t rgb = patternRGB(x, y), i = rgb & 255u;
      if (bitCount == 8) {
        s.row(y)[x] = static_cast<std::uint8_t>(i);
        shown.push_back((i ^ 0x55) << 16 | i << 8 | (255 - i));
      } else {
        for (int c = 0; c < 3; ++c) s.row(y)[x * 3 + c] = static_cast<std::uint8_t>(rgb >> (8 * c));
        shown.push_back(rgb);
      }
    }
  return bm;
}

// Pixels of a surface as 0x00RRGGBB, top row first (32-bit surfaces only).
inline std::vector<std::uint32_t> surfacePixels(const gdi::Surface& s) {
  std::vector<std::uint32_t> out;
  if (!s.valid() || s.bitsPerPixel != 32) return out;
  out.reserve(static_cast<std::size_t>(s.width) * static_cast<std::size_t>(s.height));
  for (int y = 0; y < s.height; ++y) {
    const std::uint8_t* row = s.row(y);
    for (int x = 0; x < s.width; ++x)
      out.push_back((std::uint32_t{row[x * 4 + 2]} << 16) | (std::uint32_t{row[x * 4 + 1]} << 8) | row[x * 4]);
  }
  return out;
}

inline std::vector<std::uint32_t> panePixels(qorv::PictureBox& pane) {
  gdi::Surface s;
  if (!gdi::DCSurface(pane.hDC(), s)) return {};
  return surfacePixels(s);
}

// Pixels of a loaded picture (empty when it has none).
inline std::vector<std::uint32_t> picturePixels(const qorv::PicturePtr& picture) {
  gdi::Surface s;
  return gdi::BitmapSurfaceRead(qorv::handleOf(picture), s) ? surfacePixels(s) : std::vector<std::uint32_t>{};
}
// Pixels of any FreeImage bitmap (converted to 24 bits), top row first.
inline std::vector<std::uint32_t> dibPixels(FIBITMAP* dib) {
  std::vector<std::uint32_t> out;
  FIBITMAP* d24 = FreeImage_ConvertTo24Bits(dib);
  if (!d24) return out;
  const int w = static_cast<int>(FreeImage_GetWidth(d24));
  const int h = static_cast<int>(FreeImage_GetHeight(d24));
  for (int y = 0; y < h; ++y) {
    const BYTE* row = FreeImage_GetScanLine(d24, static_cast<unsigned>(h - 1 - y));
    for (int x = 0; x < w; ++x)
      out.push_back((std::uint32_t{row[x * 3 + FI_RGBA_RED]} << 16) |
                    (std::uint32_t{row[x * 3 + FI_RGBA_GREEN]} << 8) | row[x * 3 + FI_RGBA_BLUE]);
  }
  FreeImage_Unload(d24);
  return out;
}

// The pattern saved by FreeImage itself, bypassing the code under test, as
// 24 or 32 bits per pixel.
inline bool savePattern(const QString& path, FREE_IMAGE_FORMAT fif, int w, int h, int flags = 0, int bpp = 24) {
  FIBITMAP* dib = makePatternDib(w, h);
  if (bpp == 32) {
    FIBITMAP* wide = FreeImage_ConvertTo32Bits(dib);
    FreeImage_Unload(dib);
    dib = wide;
  }
  const bool ok = FreeImage_Save(fif, dib, QFile::encodeName(path).constData(), flags);
  FreeImage_Unload(dib);
  return ok;
}

// The pixels of a file as FreeImage itself reads them (empty when it cannot).
inline std::vector<std::uint32_t> filePixels(const QString& path) {
  const QByteArray name = QFile::encodeName(path);
  FIBITMAP* dib = FreeImage_Load(FreeImage_GetFileType(name.constData(), 0), name.constData(), 0);
  if (!dib) return {};
  std::vector<std::uint32_t> out = dibPixels(dib);
  FreeImage_Unload(dib);
  return out;
}

inline QByteArray readAll(const QString& path) {
  QFile f(path);
  return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

inline bool writeAll(const QString& path, const QByteArray& data) {
  QFile f(path);
  return f.open(QIODevice::WriteOnly) && f.write(data) == data.size();
}

inline std::vector<std::uint32_t> patternPixels(int w, int h) {
  std::vector<std::uint32_t> out;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) out.push_back(patternRGB(x, y));
  return out;
}

// Mean absolute per-channel difference (for lossy formats).
inline double meanChannelDiff(const std::vector<std::uint32_t>& a, const std::vector<std::uint32_t>& b) {
  if (a.size() != b.size() || a.empty()) return 256;
  double sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    for (int shift : {0, 8, 16}) {
      const int d = static_cast<int>((a[i] >> shift) & 255u) - static_cast<int>((b[i] >> shift) & 255u);
      sum += d < 0 ? -d : d;
    }
  return sum / (3.0 * static_cast<double>(a.size()));
}

}  // namespace iotest
