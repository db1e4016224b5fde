// The picture size a file declares in its header, read by this library
// itself for the formats whose plug-ins cannot stop after the header, so a
// file declaring a huge picture is refused before its pixels are allocated.
// Free of Qt: the decoder helper uses it too.
#pragma once

#include <cstdint>
#include <optional>

namespace qorv::imageio {

struct DeclaredSize {
  std::int64_t width = 0;
  std::int64_t height = 0;
  // Bytes the pixel data needs when the file stores it uncompressed; 0 when
  // the data is compressed or its size cannot be told from the header.
  std::int64_t uncompressedBytes = 0;
  std::int64_t dataOffset = 0;  // where that data starts
  bool truncated = false;       // compressed data found to end before the picture does
};

// The size declared by the open file `fd` read as library format `fif`;
// nothing when this library does not parse that format's header (the plug-in's
// own header-only load then decides) or the header is unreadable.
std::optional<DeclaredSize> ReadDeclaredSize(int fd, std::int32_t fif);

// Whether a file of format `fif` whose header this library cannot read is
// refused outright: true for every format parsed here except BMP, whose older
// header variants are left to the plug-in's header-only load.
bool DeclaredSizeRequired(std::int32_t fif);

enum class SizeVerdict { Fits, TooLarge, TooShort };

// Whether a declared picture may be decoded: `maxPixels` 0 or less lifts the
// pixel limit; a file shorter than its uncompressed data cannot be a picture.
SizeVerdict JudgeDeclaredSize(const DeclaredSize& size, std::int64_t fileSize, std::int64_t maxPixels);

}  // namespace qorv::imageio
