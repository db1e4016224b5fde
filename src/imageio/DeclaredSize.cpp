#include "imageio/DeclaredSize.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include <FreeImage.h>

namespace qorv::imageio {

namespace {

// Reads `n` bytes at `offset`; false when the file ends before.
bool readAt(int fd, std::int64_t offset, void* out, std::size_t n) {
  auto* p = static_cast<unsigned char*>(out);
  while (n > 0) {
    const ssize_t got = ::pread(fd, p, n, static_cast<off_t>(offset));
    if (got <= 0) return false;
    p += got;
    offset += got;
    n -= static_cast<std::size_t>(got);
  }
  return true;
}

std::uint32_t be16(const unsigned char* p) { return static_cast<std::uint32_t>(p[0] << 8 | p[1]); }
std::uint32_t le16(const unsigned char* p) { return static_cast<std::uint32_t>(p[1] << 8 | p[0]); }
std::uint32_t be32(const unsigned char* p) { return be16(p) << 16 | be16(p + 2); }
std::uint32_t le32(const unsigned char* p) { return le16(p + 2) << 16 | le16(p); }

// a * b for sizes read from a file, saturating far above any real picture
// instead of overflowing.
std::int64_t product(std::int64_t a, std::int64_t b) {
  std::int64_t r = 0;
  constexpr std::int64_t kHuge = std::int64_t{1} << 60;
  if (a < 0 || b < 0) return kHuge;
  return __builtin_mul_overflow(a, b, &r) || r > kHuge ? kHuge : r;
}

std::optional<DeclaredSize> sized(std::int64_t w, std::int64_t h) { return DeclaredSize{w, h, 0, 0}; }

// Every start-of-frame marker (baseline, extended, progressive, lossless,
// arithmetic) carries the frame size; the other segments are skipped.
std::optional<DeclaredSize> jpeg(int fd) {
  unsigned char b[9];
  if (!readAt(fd, 0, b, 2) || b[0] != 0xFF || b[1] != 0xD8) return std::nullopt;
  std::int64_t at = 2;
  for (int segments = 0; segments < 4096; ++segments) {
    if (!readAt(fd, at, b, 4)) return std::nullopt;
    if (b[0] != 0xFF) return std::nullopt;
    const unsigned marker = b[1];
    if (marker == 0xFF) {  // fill byte
      ++at;
      continue;
    }
    const bool sof = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (sof) {
      if (!readAt(fd, at + 4, b, 5)) return std::nullopt;
      return sized(be16(b + 3), be16(b + 1));
    }
    if (marker == 0xD9 || marker == 0xDA) return std::nullopt;  // no frame before the data
    at += 2 + be16(b + 2);
  }
  return std::nullopt;
}

// The first frame header of PNG, MNG and JNG streams alike.
std::optional<DeclaredSize> pngFamily(int fd, const char* chunk) {
  unsigned char b[24];
  if (!readAt(fd, 0, b, sizeof b) || std::memcmp(b + 12, chunk, 4) != 0) return std::nullopt;
  return sized(be32(b + 16), be32(b + 20));
}

// The logical screen and the first frame: the reader allocates for the frame,
// and for the screen when it composes frames.
std::optional<DeclaredSize> gif(int fd) {
  unsigned char b[13];
  if (!readAt(fd, 0, b, 13) || std::memcmp(b, "GIF8", 4) != 0) return std::nullopt;
  DeclaredSize s{le16(b + 6), le16(b + 8), 0, 0};
  std::int64_t at = 13 + ((b[10] & 0x80) ? 3 * (2 << (b[10] & 7)) : 0);
  for (int blocks = 0; blocks < 4096; ++blocks) {
    if (!readAt(fd, at, b, 1)) return s;
    if (b[0] == 0x2C) {
      if (!readAt(fd, at, b, 10)) return s;
      s.width = std::max<std::int64_t>(s.width, le16(b + 5));
      s.height = std::max<std::int64_t>(s.height, le16(b + 7));
      return s;
    }
    if (b[0] != 0x21) return s;
    at += 2;  // introducer and label, then sub-blocks up to an empty one
    for (;;) {
      if (!readAt(fd, at, b, 1)) return s;
      at += 1 + b[0];
      if (b[0] == 0) break;
    }
  }
  return s;
}

// WBMP: type 0, a fixed header byte (high bit: extension bytes follow, up
// to one without its high bit), then width and height as multi-byte integers
// (seven bits a byte, high bit set on all but the last).
std::optional<DeclaredSize> wbmp(int fd) {
  unsigned char b[64];
  const ssize_t got = ::pread(fd, b, sizeof b, 0);
  if (got < 4 || b[0] != 0) return std::nullopt;
  std::size_t at = 2;
  if (b[1] & 0x80) {
    while (at < static_cast<std::size_t>(got) && (b[at] & 0x80)) ++at;
    ++at;
  }
  std::int64_t dims[2] = {0, 0};
  for (std::int64_t& d : dims) {
    for (int k = 0;; ++k) {
      if (at >= static_cast<std::size_t>(got) || k > 3) return std::nullopt;
      const unsigned char c = b[at++];
      d = d << 7 | (c & 0x7F);
      if (!(c & 0x80)) break;
    }
  }
  DeclaredSize s{dims[0], dims[1], product((dims[0] + 7) / 8, dims[1]), static_cast<std::int64_t>(at)};
  return s;
}

// IFF/LBM: a FORM of ILBM or PBM whose BMHD chunk gives the size.
std::optional<DeclaredSize> iff(int fd) {
  unsigned char b[12];
  if (!readAt(fd, 0, b, 12) || std::memcmp(b, "FORM", 4) != 0) return std::nullopt;
  std::int64_t at = 12;
  for (int chunks = 0; chunks < 1024; ++chunks) {
    if (!readAt(fd, at, b, 12)) return std::nullopt;
    if (std::memcmp(b, "BMHD", 4) == 0) return sized(be16(b + 8), be16(b + 10));
    at += 8 + ((be32(b + 4) + 1) & ~1u);
  }
  return std::nullopt;
}

std::optional<DeclaredSize> bmp(int fd) {
  unsigned char b[34];
  if (!readAt(fd, 0, b, sizeof b) || b[0] != 'B' || b[1] != 'M' || le32(b + 14) < 40) return std::nullopt;
  const auto w = static_cast<std::int32_t>(le32(b + 18));
  const auto h = static_cast<std::int32_t>(le32(b + 22));
  const std::int64_t bpp = le16(b + 28);
  const std::uint32_t compression = le32(b + 30);
  DeclaredSize s{w < 0 ? -static_cast<std::int64_t>(w) : w, h < 0 ? -static_cast<std::int64_t>(h) : h, 0, le32(b + 10)};
  if (compression == 0 || compression == 3) s.uncompressedBytes = product((product(s.width, bpp) + 31) / 32 * 4, s.height);
  return s;
}

// Whether the run-length packets from `at` cover `pixels` pixels of `bytes`
// bytes each before the file ends: the reader pads a short file silently.
bool targaPacketsComplete(int fd, std::int64_t at, std::int64_t pixels, std::int64_t bytes) {
  unsigned char buf[65536];
  std::int64_t bufStart = 0;
  std::int64_t bufLen = 0;
  while (pixels > 0) {
    if (at < bufStart || at >= bufStart + bufLen) {
      const ssize_t got = ::pread(fd, buf, sizeof buf, static_cast<off_t>(at));
      if (got <= 0) return false;
      bufStart = at;
      bufLen = got;
    }
    const unsigned char head = buf[at - bufStart];
    const std::int64_t count = (head & 0x7F) + 1;
    at += 1 + ((head & 0x80) ? bytes : count * bytes);
    pixels -= count;
  }
  struct stat st {};
  return ::fstat(fd, &st) == 0 && at <= st.st_size;
}

std::optional<DeclaredSize> targa(int fd) {
  unsigned char b[18];
  if (!readAt(fd, 0, b, sizeof b)) return std::nullopt;
  const std::int64_t palette = b[1] == 1 ? static_cast<std::int64_t>(le16(b + 5)) * ((b[7] + 7) / 8) : 0;
  DeclaredSize s{le16(b + 12), le16(b + 14), 0, 18 + static_cast<std::int64_t>(b[0]) + palette};
  const unsigned type = b[2];
  const std::int64_t pixelBytes = (b[16] + 7) / 8;
  if (type >= 1 && type <= 3) s.uncompressedBytes = product(product(s.width, s.height), pixelBytes);
  // Walked only for pictures within any sensible limit: a bomb is refused by
  // its size before this.
  if (type >= 9 && type <= 11 && s.width * s.height <= (std::int64_t{1} << 28) && pixelBytes > 0)
    s.truncated = !targaPacketsComplete(fd, s.dataOffset, s.width * s.height, pixelBytes);
  return s;
}

std::optional<DeclaredSize> ras(int fd) {
  unsigned char b[32];
  if (!readAt(fd, 0, b, sizeof b) || be32(b) != 0x59A66A95u) return std::nullopt;
  DeclaredSize s{be32(b + 4), be32(b + 8), 0, 32 + static_cast<std::int64_t>(be32(b + 28))};
  const std::int64_t depth = be32(b + 12);
  if (be32(b + 20) != 2 /* byte-run encoded */)
    s.uncompressedBytes = product((product(s.width, depth) + 15) / 16 * 2, s.height);
  return s;
}

std::optional<DeclaredSize> psd(int fd) {
  unsigned char b[26];
  if (!readAt(fd, 0, b, sizeof b) || std::memcmp(b, "8BPS", 4) != 0) return std::nullopt;
  return sized(be32(b + 18), be32(b + 14));
}

std::optional<DeclaredSize> pcx(int fd) {
  unsigned char b[12];
  if (!readAt(fd, 0, b, sizeof b) || b[0] != 0x0A) return std::nullopt;
  return sized(static_cast<std::int64_t>(le16(b + 8)) - le16(b + 4) + 1,
               static_cast<std::int64_t>(le16(b + 10)) - le16(b + 6) + 1);
}

std::optional<DeclaredSize> cut(int fd) {
  unsigned char b[4];
  if (!readAt(fd, 0, b, sizeof b)) return std::nullopt;
  return sized(le16(b), le16(b + 2));
}

}  // namespace

std::optional<DeclaredSize> ReadDeclaredSize(int fd, std::int32_t fif) {
  switch (fif) {
    case FIF_JPEG: return jpeg(fd);
    case FIF_PNG: return pngFamily(fd, "IHDR");
    case FIF_MNG: return pngFamily(fd, "MHDR");
    case FIF_JNG: return pngFamily(fd, "JHDR");
    case FIF_GIF: return gif(fd);
    case FIF_WBMP: return wbmp(fd);
    case FIF_LBM: return iff(fd);
    case FIF_BMP: return bmp(fd);
    case FIF_TARGA: return targa(fd);
    case FIF_RAS: return ras(fd);
    case FIF_PSD: return psd(fd);
    case FIF_PCX: return pcx(fd);
    case FIF_CUT: return cut(fd);
    default: return std::nullopt;
  }
}

bool DeclaredSizeRequired(std::int32_t fif) {
  switch (fif) {
    case FIF_JPEG: case FIF_PNG: case FIF_MNG: case FIF_JNG: case FIF_GIF: case FIF_WBMP: case FIF_LBM:
    case FIF_TARGA: case FIF_RAS: case FIF_PSD: case FIF_PCX: case FIF_CUT:
      return true;
    default:
      return false;
  }
}

SizeVerdict JudgeDeclaredSize(const DeclaredSize& size, std::int64_t fileSize, std::int64_t maxPixels) {
  // No reader allocates more than 2^31 rows or columns; past that the
  // product below could not even be formed.
  constexpr std::int64_t kSide = std::int64_t{1} << 31;
  if (size.width <= 0 || size.height <= 0 || size.width > kSide || size.height > kSide) return SizeVerdict::TooLarge;
  if (maxPixels > 0 && size.width * size.height > maxPixels) return SizeVerdict::TooLarge;
  if (size.truncated || (size.uncompressedBytes > 0 && size.uncompressedBytes > fileSize - size.dataOffset))
    return SizeVerdict::TooShort;
  return SizeVerdict::Fits;
}

}  // namespace qorv::imageio
