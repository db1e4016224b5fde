// Detection and decoding of an already-open image file, the part of loading
// that runs the image library on untrusted bytes. The same code runs in the
// control's process (for hosts that trust their files) and in the decoder
// helper, so it is free of Qt and takes a descriptor, never a path.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "imageio/FreeImageHandle.h"

namespace qorv::imageio {

// The last format of the control's own enumeration. Newer library formats
// (PICT, EXR, XBM, DDS, SGI, HDR, camera raw...) are not formats of this
// control: detecting one counts as detecting nothing unless a host opts in.
inline constexpr std::int32_t LastListedFormat = 21;  // FIF_CUT

struct DecodeRequest {
  std::int32_t forceType = -1;     // taken as it is when not -1
  std::int32_t extensionFif = -1;  // the extension map's answer, used when detection finds nothing
  std::int32_t jpegFlags = 0;      // load flags for JPEG files only
  std::int64_t maxPixels = 0;      // 0 or less: no limit
  bool allowUnlisted = false;
  bool autoRotate = false;
  // Pictures with transparency come back as 32-bit bitmaps whose fourth byte
  // is the alpha (hasAlpha set) instead of losing it to the standard layout.
  bool keepAlpha = false;
};

enum class DecodeStatus : std::int32_t { Ok = 0, UnknownFormat = 1, Failed = 2 };

struct Decoded {
  DecodeStatus status = DecodeStatus::Failed;
  std::int32_t fif = -1;
  std::int32_t bitsPerPixel = 0;  // as stored in the file
  bool hasAlpha = false;          // dib is 32-bit and its fourth byte is alpha
  DibPtr dib;                     // a standard bitmap when status is Ok
};

// The library's load of the open file in format `fif` with `flags`.
using LibraryLoad = std::function<FIBITMAP*(std::int32_t fif, std::int32_t flags)>;

// The library's content detection over the open file, with unlisted formats
// reported as -1 unless allowed.
std::int32_t DetectOpenFile(int fd, bool allowUnlisted);

// The library's load of the open file through the guarded reader: a reader
// that came up short where the format's valid files never do, or kept reading
// past the end, gives no bitmap.
FIBITMAP* LoadOpenFile(int fd, std::int32_t fif, std::int32_t flags);

// Detects, checks the declared size, decodes and brings the picture to a
// standard bitmap (upright when asked). `load` is the library call, normally
// LoadOpenFile on the same descriptor; any exception it lets out is a failure.
Decoded DecodeOpenFile(int fd, const DecodeRequest& request, const LibraryLoad& load);

}  // namespace qorv::imageio
