// Pixel formats of the software device contexts and row conversion between
// them. Every pixel is carried between formats as 0x00RRGGBB, which is the
// B, G, R, X byte order of 32-bit rows on a little-endian machine, so the
// common 32-bit case needs no conversion at all.
//
// Internal to the gdi implementation; no Qt here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace gdi::detail {

inline constexpr std::uint32_t kColourBits = 0x00FFFFFFu;

struct PixelFormat {
  int bpp = 32;  // 1, 4, 8, 16, 24 or 32
  // Colour table of the paletted formats, entries as 0x00RRGGBB.
  std::vector<std::uint32_t> palette;
  // Channel masks of the 16- and 32-bit formats: red, green, blue.
  std::uint32_t masks[3] = {0x00FF0000u, 0x0000FF00u, 0x000000FFu};

  // 32-bit rows in B, G, R, X order (device bitmaps and plain 32-bit DIBs).
  bool plain32() const {
    return bpp == 32 && masks[0] == 0x00FF0000u && masks[1] == 0x0000FF00u && masks[2] == 0x000000FFu;
  }
};

// The format of `bpp` with its default masks (16 bits: 5-5-5) and no palette.
PixelFormat defaultFormat(int bpp);

// Bytes per row of a DIB of `width` pixels: rounded up to 4 bytes. Returns -1
// when the row would not fit in an int.
std::int64_t dibStride(std::int64_t width, int bpp);

// A picture in memory: row(0) is the top row whatever the memory order.
struct Image {
  std::uint8_t* top = nullptr;
  std::ptrdiff_t step = 0;  // bytes from one picture row to the next below it
  int width = 0;
  int height = 0;
  PixelFormat fmt;

  std::uint8_t* row(int y) const { return top + static_cast<std::ptrdiff_t>(y) * step; }
};

// Field of `mask` in `v`, widened or narrowed to 8 bits (narrow fields repeat
// their high bits, so full scale maps to 255).
std::uint32_t maskToByte(std::uint32_t v, std::uint32_t mask);
std::uint32_t byteToMask(std::uint32_t c, std::uint32_t mask);

// Index of the palette entry nearest to `c` (squared distance; first wins).
int nearestPaletteIndex(const std::vector<std::uint32_t>& palette, std::uint32_t c);

// Reads pixels x0..x0+n-1 of picture row y as 0x00RRGGBB. The caller keeps the
// range inside the image.
void readRow(const Image& img, int y, int x0, int n, std::uint32_t* out);
// Writes pixels x0..x0+n-1 of row y from 0x00RRGGBB values (the top byte of the
// input is ignored; 32-bit rows get an X byte of 0).
void writeRow(const Image& img, int y, int x0, int n, const std::uint32_t* in);

}  // namespace gdi::detail
