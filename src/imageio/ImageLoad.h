// The file-reading half of loading a picture: format detection, the library
// load and conversion to a device bitmap. The control places the picture and
// adds the dialog, the busy cursor and the hand-over.
#pragma once

#include <cstdint>
#include <functional>

#include <QString>

#include "imageio/FreeImageHandle.h"
#include <QorvPictureBox/Picture.h>

namespace qorv::imageio {

// Pictures declaring more pixels than this are refused before their pixels are
// allocated (256 megapixels; a 32-bit copy of one is 1 GiB).
inline constexpr std::int64_t DefaultMaxLoadPixels = 268435456;

// The outcome of a load or save in the terms of the control's error record:
// code 0 is success; otherwise code, description and message-box flag.
struct IoOutcome {
  std::int32_t code = 0;
  QString description;
  std::int32_t flag = 0;
  std::int32_t fif = -1;  // the library format used (or detected)
  std::int32_t bitsPerPixel = 0;  // as stored in the file, before any conversion
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
// `forceType` other than -1 is taken as it is.
std::int32_t DetectFormat(const QString& path, std::int32_t forceType);

struct LoadRequest {
  QString path;
  std::int32_t forceType = -1;
  std::int32_t jpegLoadQuality = 0;  // load flags, for JPEG files only
  std::int64_t maxPixels = DefaultMaxLoadPixels;
};

// Reads the file into a standard library bitmap (1/4/8/16/24/32 bits per pixel,
// whatever the file's sample type). On failure returns null and fills `out`.
DibPtr LoadDib(const LoadRequest& request, IoOutcome& out);

// A load's outcome and, when it succeeded, the picture: a 32-bit top-down
// device bitmap held by a shared Picture. The caller places it without a copy
// (PictureBox::placePicture) and keeps it as the current picture.
struct LoadedPicture {
  IoOutcome outcome;
  PicturePtr picture;  // null unless outcome.ok()
};

// Loads the file as a device bitmap. Nothing but the library's own state
// changes; a failure comes back as the outcome with no picture.
LoadedPicture LoadPicture(const LoadRequest& request);

}  // namespace qorv::imageio
