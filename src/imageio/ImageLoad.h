// The file-reading half of loading a picture: format detection, the library
// load and conversion to a device bitmap. The control places the picture and
// adds the dialog, the busy cursor and the hand-over.
#pragma once

#include <cstdint>
#include <functional>

#include <QString>

#include "imageio/DecodeCore.h"
#include "imageio/FreeImageHandle.h"
#include "platform/AlphaMask.h"
#include <QorvPictureBox/Picture.h>

namespace qorv::imageio {

// Pictures declaring more pixels than this are refused before their pixels are
// allocated. 225 megapixels: the largest single-shot camera files (about 200
// megapixels, 16320 x 12240) open with room to spare, while a file declaring
// 16384 x 16384 or more, the usual shape of a decompression bomb, does not; a
// 32-bit copy of a picture at the limit is 900 MB.
inline constexpr std::int64_t DefaultMaxLoadPixels = 225000000;
// How long an isolated decode may take before the decoder is stopped.
inline constexpr std::int32_t DefaultLoadTimeoutMs = 10000;

// The outcome of a load or save in the terms of the control's error record:
// code 0 is success; otherwise code, description and message-box flag.
struct IoOutcome {
  std::int32_t code = 0;
  QString description;
  std::int32_t flag = 0;
  std::int32_t fif = -1;  // the library format used (or detected)
  std::int32_t bitsPerPixel = 0;  // as stored in the file, before any conversion
  bool hasAlpha = false;          // loads only: the decoder kept a transparent picture's alpha
  bool ok() const { return code == 0; }
};

// The library's load call, replaceable so tests can watch which flags reach
// it. An empty function restores FreeImage_Load.
using FreeImageLoader = std::function<FIBITMAP*(std::int32_t fif, const char* path, std::int32_t flags)>;
void setFreeImageLoader(FreeImageLoader loader);
// The standard loader: the library's load over a file handle that also
// refuses files found truncated (which some plug-ins would pad silently).
FIBITMAP* DefaultFreeImageLoad(std::int32_t fif, const char* path, std::int32_t flags);

// The library format of a file: the content first, then the extension map;
// `forceType` other than -1 is taken as it is. Content detected as a format
// newer than the control's enumeration counts as nothing unless allowed.
std::int32_t DetectFormat(const QString& path, std::int32_t forceType, bool allowUnlisted = false);

struct LoadRequest {
  QString path;
  std::int32_t forceType = -1;
  std::int32_t jpegLoadQuality = 0;  // load flags, for JPEG files only
  std::int64_t maxPixels = DefaultMaxLoadPixels;
  bool allowUnlisted = false;  // formats newer than the control's enumeration
  bool autoRotate = false;     // turn pictures upright by their orientation tag
  bool isolated = false;       // decode in the helper process
  bool keepAlpha = false;      // a transparent picture's alpha comes back in LoadedPicture::alpha
  std::int32_t timeoutMs = DefaultLoadTimeoutMs;  // isolated decodes only
};

// The decode half of a request; the extension map's format is resolved here,
// where the format table lives.
DecodeRequest ToDecodeRequest(const LoadRequest& request);

// The error record of a failed read (170) and of a file of no known format (101).
void failLoad(IoOutcome& out);
void failUnknownFormat(IoOutcome& out, const QString& path);

// Reads the file into a standard library bitmap (1/4/8/16/24/32 bits per pixel,
// whatever the file's sample type). On failure returns null and fills `out`.
DibPtr LoadDib(const LoadRequest& request, IoOutcome& out);

// A load's outcome and, when it succeeded, the picture: a 32-bit top-down
// device bitmap held by a shared Picture. The caller places it without a copy
// (PictureBox::placePicture) and keeps it as the current picture.
struct LoadedPicture {
  IoOutcome outcome;
  PicturePtr picture;  // null unless outcome.ok()
  AlphaMask alpha;     // empty unless asked for and the picture has transparency
};

// Loads the file as a device bitmap, in this process or (request.isolated) in
// the decoder helper. Nothing but the library's own state changes; a failure
// comes back as the outcome with no picture.
LoadedPicture LoadPicture(const LoadRequest& request);

}  // namespace qorv::imageio
