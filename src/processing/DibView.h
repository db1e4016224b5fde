// A non-owning byte view over a working image's pixel memory: 24-bit rows,
// blue-green-red, bottom-up (row 0 is the bottom row of the picture), padded
// to a multiple of four bytes. Pixel loops take a row pointer once per row and
// walk bytes from there; the view never copies or frees anything.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qorv {

struct DibView {
  std::uint8_t* bits = nullptr;
  std::int32_t stride = 0;  // bytes per row, padding included
  std::int32_t width = 0;   // pixels
  std::int32_t height = 0;  // rows

  bool valid() const { return bits != nullptr && width > 0 && height > 0; }
  // Memory row y (0 = bottom row of the picture).
  std::uint8_t* row(std::int32_t y) const { return bits + static_cast<std::ptrdiff_t>(y) * stride; }
  // Byte column x (pixel column * 3 + channel, 0 blue, 1 green, 2 red) of row y.
  std::uint8_t& at(std::int32_t x, std::int32_t y) const { return row(y)[x]; }
  // Bytes of pixel data in one row (padding excluded).
  std::int32_t rowBytes() const { return width * 3; }
  bool sameSize(const DibView& o) const { return width == o.width && height == o.height; }
};

// Clamps an integer channel result to a byte.
inline std::uint8_t clampByte(std::int64_t v) {
  return static_cast<std::uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
}

}  // namespace qorv
