// Helpers shared by the gdi tests: DCs with a bitmap selected, pixel access,
// random content and the classic failure check.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "platform/GdiSurface.h"
#include "platform/ScopedGdi.h"

namespace gditest {

// The header of an uncompressed DIB: a positive height is bottom-up.
inline gdi::BITMAPINFO dibInfo(int w, int h, int bpp) {
  gdi::BITMAPINFO bi{};
  bi.bmiHeader.biSize = sizeof(gdi::BITMAPINFOHEADER);
  bi.bmiHeader.biWidth = w;
  bi.bmiHeader.biHeight = h;
  bi.bmiHeader.biPlanes = 1;
  bi.bmiHeader.biBitCount = static_cast<gdi::WORD>(bpp);
  return bi;
}

// An uncompressed DIB section; `bits` receives its pixel memory.
inline gdi::HBITMAP dibSection(int w, int h, int bpp, void** bits = nullptr) {
  const gdi::BITMAPINFO bi = dibInfo(w, h, bpp);
  void* unused = nullptr;
  return gdi::CreateDIBSection(0, &bi, gdi::DIB_RGB_COLORS, bits != nullptr ? bits : &unused, 0, 0);
}

// A memory DC holding a 32-bit device bitmap or a 24/32-bit DIB section.
class Canvas {
 public:
  enum Kind { Device32, Dib24, Dib32, Dib24TopDown };

  Canvas(int w, int h, Kind kind = Device32) : w_(w), h_(h), dc_(gdi::CreateCompatibleDC(0)) {
    bmp_.reset(kind == Device32 ? gdi::CreateCompatibleBitmap(dc_.get(), w, h)
                                : dibSection(w, kind == Dib24TopDown ? -h : h, kind == Dib32 ? 32 : 24));
    sel_.select(dc_.get(), bmp_.get());
    EXPECT_TRUE(gdi::BitmapSurface(bmp_.get(), s_));
  }

  gdi::HDC dc() const { return dc_.get(); }
  gdi::HBITMAP bitmap() const { return bmp_.get(); }
  int width() const { return w_; }
  int height() const { return h_; }

  std::uint32_t at(int x, int y) const {
    const std::uint8_t* p = s_.row(y) + x * (s_.bitsPerPixel / 8);
    return p[0] | (p[1] << 8) | (static_cast<std::uint32_t>(p[2]) << 16);
  }
  // The whole 32-bit word of a 32-bit surface, X byte included.
  std::uint32_t raw32(int x, int y) const {
    std::uint32_t v;
    std::memcpy(&v, s_.row(y) + x * 4, 4);
    return v;
  }
  void set(int x, int y, std::uint32_t v) {
    std::uint8_t* p = s_.row(y) + x * (s_.bitsPerPixel / 8);
    p[0] = static_cast<std::uint8_t>(v);
    p[1] = static_cast<std::uint8_t>(v >> 8);
    p[2] = static_cast<std::uint8_t>(v >> 16);
    if (s_.bitsPerPixel == 32) p[3] = static_cast<std::uint8_t>(v >> 24);
  }
  void fill(std::uint32_t v) {
    for (int y = 0; y < h_; ++y)
      for (int x = 0; x < w_; ++x) set(x, y, v);
  }
  // Random colours; on 32-bit surfaces a random X byte too, which must never matter.
  void randomise(std::mt19937& rng) {
    for (int y = 0; y < h_; ++y)
      for (int x = 0; x < w_; ++x) set(x, y, static_cast<std::uint32_t>(rng()));
  }
  std::vector<std::uint32_t> pixels() const {
    std::vector<std::uint32_t> v;
    v.reserve(static_cast<std::size_t>(w_) * h_);
    for (int y = 0; y < h_; ++y)
      for (int x = 0; x < w_; ++x) v.push_back(at(x, y));
    return v;
  }

 private:
  int w_, h_;
  qorv::ScopedMemDC dc_;
  qorv::ScopedBitmap bmp_;
  qorv::ScopedSelect sel_;
  gdi::Surface s_;
};

// Colour bits of `v` (0x00RRGGBB).
inline std::uint32_t rgb(std::uint32_t v) { return v & 0x00FFFFFFu; }

// The colour bits of every pixel of a 32-bit bitmap, read without copying.
inline std::vector<std::uint32_t> pixelsOf(gdi::HBITMAP hbm) {
  gdi::Surface s;
  std::vector<std::uint32_t> out;
  if (!gdi::BitmapSurfaceRead(hbm, s) || s.bitsPerPixel != 32) return out;
  for (int y = 0; y < s.height; ++y)
    for (int x = 0; x < s.width; ++x) out.push_back(rgb(reinterpret_cast<const std::uint32_t*>(s.row(y))[x]));
  return out;
}

// A 32-bit device bitmap whose pixel (x, y) is the word `pixel(x, y)` gives.
template <class Pixel>
gdi::HBITMAP deviceBitmap(int w, int h, Pixel pixel) {
  const gdi::HBITMAP hbm = gdi::CreateCompatibleBitmap(0, w, h);
  gdi::Surface s;
  EXPECT_TRUE(gdi::BitmapSurface(hbm, s));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) reinterpret_cast<std::uint32_t*>(s.row(y))[x] = static_cast<std::uint32_t>(pixel(x, y));
  return hbm;
}

// A 32-bit device bitmap of random colours, the same for the same seed.
inline gdi::HBITMAP randomBitmap(int w, int h, unsigned seed) {
  std::mt19937 rng(seed);
  return deviceBitmap(w, h, [&](int, int) { return rng(); });
}

// A memory DC with an existing bitmap selected while the object lives.
struct Selected {
  explicit Selected(gdi::HBITMAP hbm) { sel.select(dc.get(), hbm); }
  gdi::HDC get() const { return dc.get(); }
  qorv::ScopedMemDC dc{gdi::CreateCompatibleDC(0)};
  qorv::ScopedSelect sel;  // declared last: put back before the DC goes
};

// A call that must fail: the classic failure value and the error it leaves.
template <class Call>
void expectFailure(const std::string& name, Call call, std::int64_t failed, gdi::DWORD error) {
  gdi::SetLastError(0);
  EXPECT_EQ(static_cast<std::int64_t>(call()), failed) << name;
  EXPECT_EQ(gdi::GetLastError(), error) << name;
}

}  // namespace gditest
