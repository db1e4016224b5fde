#include "platform/GdiPixels.h"

#include <bit>
#include <climits>
#include <cstring>

namespace gdi::detail {

PixelFormat defaultFormat(int bpp) {
  PixelFormat f;
  f.bpp = bpp;
  if (bpp == 16) {
    f.masks[0] = 0x7C00u;
    f.masks[1] = 0x03E0u;
    f.masks[2] = 0x001Fu;
  }
  return f;
}

std::int64_t dibStride(std::int64_t width, int bpp) {
  if (width <= 0 || bpp <= 0) return -1;
  const std::int64_t bytes = ((width * bpp + 31) / 32) * 4;
  return bytes > INT_MAX ? -1 : bytes;
}

std::uint32_t maskToByte(std::uint32_t v, std::uint32_t mask) {
  if (mask == 0) return 0;
  const int shift = std::countr_zero(mask);
  const int bits = std::popcount(mask);
  const std::uint32_t field = (v & mask) >> shift;
  if (bits >= 8) return (field >> (bits - 8)) & 0xFFu;
  std::uint32_t r = 0;
  for (int s = 8 - bits; s > -bits; s -= bits) r |= s >= 0 ? field << s : field >> -s;
  return r & 0xFFu;
}

std::uint32_t byteToMask(std::uint32_t c, std::uint32_t mask) {
  if (mask == 0) return 0;
  const int shift = std::countr_zero(mask);
  const int bits = std::popcount(mask);
  const std::uint32_t field = bits >= 8 ? c << (bits - 8) : c >> (8 - bits);
  return (field << shift) & mask;
}

int nearestPaletteIndex(const std::vector<std::uint32_t>& palette, std::uint32_t c) {
  int best = 0;
  std::int64_t bestDist = INT64_MAX;
  const int r = static_cast<int>((c >> 16) & 0xFF), g = static_cast<int>((c >> 8) & 0xFF),
            b = static_cast<int>(c & 0xFF);
  for (std::size_t i = 0; i < palette.size(); ++i) {
    const std::uint32_t p = palette[i];
    const int dr = static_cast<int>((p >> 16) & 0xFF) - r, dg = static_cast<int>((p >> 8) & 0xFF) - g,
              db = static_cast<int>(p & 0xFF) - b;
    const std::int64_t d = dr * dr + dg * dg + db * db;
    if (d < bestDist) {
      bestDist = d;
      best = static_cast<int>(i);
      if (d == 0) break;
    }
  }
  return best;
}

namespace {

std::uint32_t paletteAt(const PixelFormat& f, unsigned idx) {
  return idx < f.palette.size() ? f.palette[idx] & kColourBits : 0u;
}

std::uint32_t decodeMasked(const PixelFormat& f, std::uint32_t v) {
  return (maskToByte(v, f.masks[0]) << 16) | (maskToByte(v, f.masks[1]) << 8) | maskToByte(v, f.masks[2]);
}

std::uint32_t encodeMasked(const PixelFormat& f, std::uint32_t c) {
  return byteToMask((c >> 16) & 0xFF, f.masks[0]) | byteToMask((c >> 8) & 0xFF, f.masks[1]) |
         byteToMask(c & 0xFF, f.masks[2]);
}

// Sub-byte paletted rows: pixels are packed from the most significant bits.
template <int Bits>
void readPacked(const std::uint8_t* p, const PixelFormat& f, int x0, int n, std::uint32_t* out) {
  constexpr int perByte = 8 / Bits;
  constexpr unsigned mask = (1u << Bits) - 1;
  for (int i = 0; i < n; ++i) {
    const int x = x0 + i;
    const unsigned shift = static_cast<unsigned>((perByte - 1 - x % perByte) * Bits);
    out[i] = paletteAt(f, (p[x / perByte] >> shift) & mask);
  }
}

template <int Bits>
void writePacked(std::uint8_t* p, const PixelFormat& f, int x0, int n, const std::uint32_t* in) {
  constexpr int perByte = 8 / Bits;
  constexpr unsigned mask = (1u << Bits) - 1;
  std::uint32_t lastColour = 0;
  int lastIndex = -1;
  for (int i = 0; i < n; ++i) {
    const std::uint32_t c = in[i] & kColourBits;
    if (lastIndex < 0 || c != lastColour) {
      lastColour = c;
      lastIndex = nearestPaletteIndex(f.palette, c);
    }
    const int x = x0 + i;
    const unsigned shift = static_cast<unsigned>((perByte - 1 - x % perByte) * Bits);
    std::uint8_t& b = p[x / perByte];
    b = static_cast<std::uint8_t>((b & ~(mask << shift)) | ((static_cast<unsigned>(lastIndex) & mask) << shift));
  }
}

}  // namespace

void readRow(const Image& img, int y, int x0, int n, std::uint32_t* out) {
  const std::uint8_t* p = img.row(y);
  const PixelFormat& f = img.fmt;
  switch (f.bpp) {
    case 32:
      if (f.plain32()) {
        const std::uint8_t* s = p + static_cast<std::ptrdiff_t>(x0) * 4;
        for (int i = 0; i < n; ++i) {
          std::uint32_t v;
          std::memcpy(&v, s + static_cast<std::ptrdiff_t>(i) * 4, 4);
          out[i] = v & kColourBits;
        }
      } else {
        for (int i = 0; i < n; ++i) {
          std::uint32_t v;
          std::memcpy(&v, p + static_cast<std::ptrdiff_t>(x0 + i) * 4, 4);
          out[i] = decodeMasked(f, v);
        }
      }
      break;
    case 24: {
      const std::uint8_t* s = p + static_cast<std::ptrdiff_t>(x0) * 3;
      for (int i = 0; i < n; ++i, s += 3)
        out[i] = static_cast<std::uint32_t>(s[0]) | (static_cast<std::uint32_t>(s[1]) << 8) |
                 (static_cast<std::uint32_t>(s[2]) << 16);
      break;
    }
    case 16:
      for (int i = 0; i < n; ++i) {
        const std::uint8_t* s = p + static_cast<std::ptrdiff_t>(x0 + i) * 2;
        out[i] = decodeMasked(f, static_cast<std::uint32_t>(s[0]) | (static_cast<std::uint32_t>(s[1]) << 8));
      }
      break;
    case 8:
      for (int i = 0; i < n; ++i) out[i] = paletteAt(f, p[x0 + i]);
      break;
    case 4:
      readPacked<4>(p, f, x0, n, out);
      break;
    case 1:
      readPacked<1>(p, f, x0, n, out);
      break;
    default:
      for (int i = 0; i < n; ++i) out[i] = 0;
      break;
  }
}

void writeRow(const Image& img, int y, int x0, int n, const std::uint32_t* in) {
  std::uint8_t* p = img.row(y);
  const PixelFormat& f = img.fmt;
  switch (f.bpp) {
    case 32:
      if (f.plain32()) {
        std::uint8_t* d = p + static_cast<std::ptrdiff_t>(x0) * 4;
        for (int i = 0; i < n; ++i) {
          const std::uint32_t v = in[i] & kColourBits;
          std::memcpy(d + static_cast<std::ptrdiff_t>(i) * 4, &v, 4);
        }
      } else {
        for (int i = 0; i < n; ++i) {
          const std::uint32_t v = encodeMasked(f, in[i]);
          std::memcpy(p + static_cast<std::ptrdiff_t>(x0 + i) * 4, &v, 4);
        }
      }
      break;
    case 24: {
      std::uint8_t* d = p + static_cast<std::ptrdiff_t>(x0) * 3;
      for (int i = 0; i < n; ++i, d += 3) {
        d[0] = static_cast<std::uint8_t>(in[i]);
        d[1] = static_cast<std::uint8_t>(in[i] >> 8);
        d[2] = static_cast<std::uint8_t>(in[i] >> 16);
      }
      break;
    }
    case 16:
      for (int i = 0; i < n; ++i) {
        const std::uint32_t v = encodeMasked(f, in[i]);
        std::uint8_t* d = p + static_cast<std::ptrdiff_t>(x0 + i) * 2;
        d[0] = static_cast<std::uint8_t>(v);
        d[1] = static_cast<std::uint8_t>(v >> 8);
      }
      break;
    case 8: {
      std::uint32_t lastColour = 0;
      int lastIndex = -1;
      for (int i = 0; i < n; ++i) {
        const std::uint32_t c = in[i] & kColourBits;
        if (lastIndex < 0 || c != lastColour) {
          lastColour = c;
          lastIndex = nearestPaletteIndex(f.palette, c);
        }
        p[x0 + i] = static_cast<std::uint8_t>(lastIndex);
      }
      break;
    }
    case 4:
      writePacked<4>(p, f, x0, n, in);
      break;
    case 1:
      writePacked<1>(p, f, x0, n, in);
      break;
    default:
      break;
  }
}

}  // namespace gdi::detail
