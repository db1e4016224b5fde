#include "imageio/DecodeCore.h"

#include <sys/stat.h>

#include "imageio/DeclaredSize.h"
#include "imageio/GuardedFile.h"
#include "imageio/Orientation.h"

#include <FreeImage.h>

namespace qorv::imageio {

namespace {

// How a format's reader behaves at the end of a valid file.
enum class EndOfFile { Unchecked, NeverShort, BufferedNeverEmpty };

EndOfFile endOfFileRule(std::int32_t fif) {
  switch (fif) {
    case FIF_BMP:
    case FIF_PBM:
    case FIF_PBMRAW:
    case FIF_PGM:
    case FIF_PGMRAW:
    case FIF_PPM:
    case FIF_PPMRAW:
    case FIF_WBMP:
    case FIF_PSD:
      return EndOfFile::NeverShort;
    case FIF_JPEG:
      // The decoder reads in blocks, so the last block of a valid file is
      // short; only a read that finds nothing at all means the data ran out.
      return EndOfFile::BufferedNeverEmpty;
    default:
      return EndOfFile::Unchecked;
  }
}

bool tooLarge(std::int64_t w, std::int64_t h, std::int64_t limit) {
  return w <= 0 || h <= 0 || (limit > 0 && w * h > limit);
}

FIBITMAP* guardedCall(const LibraryLoad& load, std::int32_t fif, std::int32_t flags) {
  try {
    return load(fif, flags);
  } catch (const char* message) {
    // The reader's stop (or a plug-in's own text error) that no plug-in caught.
    FreeImage_OutputMessageProc(fif, "%s", message);
    return nullptr;
  } catch (...) {
    return nullptr;
  }
}

// The declared size where this library can read it, else the plug-in's own
// header-only load where it has one. Formats with neither are decoded and
// checked after (the in-process load still refuses the result).
bool declaredSizeAcceptable(int fd, std::int32_t fif, std::int32_t flags, std::int64_t limit,
                            const LibraryLoad& load) {
  struct stat st {};
  if (::fstat(fd, &st) != 0) return false;
  if (const auto declared = ReadDeclaredSize(fd, fif))
    return JudgeDeclaredSize(*declared, st.st_size, limit) == SizeVerdict::Fits;
  if (DeclaredSizeRequired(fif)) return false;  // not even a header of its kind
  if (!FreeImage_FIFSupportsNoPixels(static_cast<FREE_IMAGE_FORMAT>(fif))) return true;
  DibPtr header(guardedCall(load, fif, flags | FIF_LOAD_NOPIXELS));
  if (!header) return false;
  return !tooLarge(FreeImage_GetWidth(header.get()), FreeImage_GetHeight(header.get()), limit);
}

// Brings any sample type the library reads (16 bits per channel, integer or
// floating-point greys, floating-point colour) to a standard bitmap the
// device-bitmap bridge understands.
DibPtr toStandard(DibPtr dib) {
  if (!dib) return dib;
  switch (FreeImage_GetImageType(dib.get())) {
    case FIT_BITMAP:
      return dib;
    case FIT_RGB16:
    case FIT_RGBA16:
      return DibPtr(FreeImage_ConvertTo24Bits(dib.get()));
    case FIT_RGBF:
    case FIT_RGBAF:
      return DibPtr(FreeImage_ToneMapping(dib.get(), FITMO_DRAGO03, 0, 0));
    case FIT_UINT16:
    case FIT_INT16:
    case FIT_UINT32:
    case FIT_INT32:
    case FIT_FLOAT:
    case FIT_DOUBLE:
      return DibPtr(FreeImage_ConvertToStandardType(dib.get(), TRUE));
    default:
      return DibPtr();
  }
}

// A transparent picture as 32-bit B,G,R,A (a palette's transparency table
// and 16-bit samples' alpha included); null when it has no alpha worth
// keeping or cannot be converted, so the standard path takes over.
DibPtr withAlpha(FIBITMAP* raw) {
  if (!raw || !FreeImage_IsTransparent(raw)) return DibPtr();
  const FREE_IMAGE_TYPE type = FreeImage_GetImageType(raw);
  if (type != FIT_BITMAP && type != FIT_RGBA16) return DibPtr();
  if (type == FIT_BITMAP && FreeImage_GetBPP(raw) == 32) return DibPtr(FreeImage_Clone(raw));
  return DibPtr(FreeImage_ConvertTo32Bits(raw));
}

}  // namespace

std::int32_t DetectOpenFile(int fd, bool allowUnlisted) {
  GuardedFile file(fd);
  if (!file.valid()) return -1;
  std::int32_t fif = -1;
  try {
    fif = FreeImage_GetFileTypeFromHandle(file.io(), file.handle(), 16);
  } catch (...) {
    return -1;
  }
  if (fif > LastListedFormat && !allowUnlisted) return -1;
  return fif;
}

FIBITMAP* LoadOpenFile(int fd, std::int32_t fif, std::int32_t flags) {
  GuardedFile file(fd);
  if (!file.valid()) return nullptr;
  DibPtr dib(FreeImage_LoadFromHandle(static_cast<FREE_IMAGE_FORMAT>(fif), file.io(), file.handle(), flags));
  const EndOfFile rule = endOfFileRule(fif);
  if ((rule == EndOfFile::NeverShort && file.shortRead()) ||
      (rule == EndOfFile::BufferedNeverEmpty && file.emptyRead()))
    return nullptr;
  return dib.release();
}

Decoded DecodeOpenFile(int fd, const DecodeRequest& request, const LibraryLoad& load) {
  Decoded out;
  out.fif = request.forceType;
  if (out.fif == -1) out.fif = DetectOpenFile(fd, request.allowUnlisted);
  if (out.fif == -1) out.fif = request.extensionFif;
  if (out.fif == -1) {
    out.status = DecodeStatus::UnknownFormat;
    return out;
  }
  const std::int32_t flags = out.fif == FIF_JPEG ? request.jpegFlags : 0;
  if (out.fif < 0 || out.fif >= FreeImage_GetFIFCount() ||
      !declaredSizeAcceptable(fd, out.fif, flags, request.maxPixels, load))
    return out;
  DibPtr raw(guardedCall(load, out.fif, flags));
  if (raw) out.bitsPerPixel = static_cast<std::int32_t>(FreeImage_GetBPP(raw.get()));
  const int orientation = request.autoRotate && raw ? OrientationTag(raw.get()) : 1;
  DibPtr dib = request.keepAlpha ? withAlpha(raw.get()) : DibPtr();
  out.hasAlpha = static_cast<bool>(dib);
  if (!dib) dib = toStandard(std::move(raw));
  raw.reset();
  if (!dib || !FreeImage_HasPixels(dib.get()) ||
      tooLarge(FreeImage_GetWidth(dib.get()), FreeImage_GetHeight(dib.get()), request.maxPixels))
    return out;
  out.dib = ApplyOrientation(std::move(dib), orientation);
  out.status = out.dib ? DecodeStatus::Ok : DecodeStatus::Failed;
  return out;
}

}  // namespace qorv::imageio
