#include "imageio/ImageLoad.h"

#include <QorvPictureBox/AutomationError.h>
#include <cstdio>

#include <QFile>
#include <QFileInfo>

#include "imageio/FormatTable.h"
#include "imageio/Paths.h"
#include "imageio/modFreeImage.h"
#include "platform/ScopedGdi.h"
#include <QorvPictureBox/gdi.h>

// After the platform headers: FreeImage.h defines TRUE and FALSE as macros.
#include <FreeImage.h>

namespace qorv::imageio {

void DibDeleter::operator()(FIBITMAP* dib) const {
  if (dib) FreeImage_Unload(dib);
}

namespace {

FreeImageLoader& installedLoader() {
  static FreeImageLoader loader;
  return loader;
}

// A file read through the library's I/O callbacks, remembering whether the
// reader ever asked for bytes that were not there. Several plug-ins ignore a
// short read and hand back a picture padded with garbage; for the formats
// whose readers never read past a valid file's end, such a read means the file
// is truncated.
struct TrackedFile {
  std::FILE* fp = nullptr;
  bool shortRead = false;   // fewer bytes than asked for
  bool emptyRead = false;   // nothing at all, at the end of the file
  ~TrackedFile() {
    if (fp) std::fclose(fp);
  }
};

unsigned DLL_CALLCONV trackedRead(void* buffer, unsigned size, unsigned count, fi_handle handle) {
  auto* f = static_cast<TrackedFile*>(handle);
  const std::size_t want = static_cast<std::size_t>(size) * count;
  if (want == 0) return 0;
  const std::size_t got = std::fread(buffer, 1, want, f->fp);
  if (got < want) {
    f->shortRead = true;
    if (got == 0) f->emptyRead = true;
  }
  return static_cast<unsigned>(got / size);
}

unsigned DLL_CALLCONV trackedWrite(void*, unsigned, unsigned, fi_handle) { return 0; }

int DLL_CALLCONV trackedSeek(fi_handle handle, long offset, int origin) {
  return std::fseek(static_cast<TrackedFile*>(handle)->fp, offset, origin);
}

long DLL_CALLCONV trackedTell(fi_handle handle) { return std::ftell(static_cast<TrackedFile*>(handle)->fp); }

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
      return EndOfFile::NeverShort;
    case FIF_JPEG:
      // The decoder reads in blocks, so the last block of a valid file is
      // short; only a read that finds nothing at all means the data ran out.
      return EndOfFile::BufferedNeverEmpty;
    default:
      return EndOfFile::Unchecked;
  }
}

}  // namespace

FIBITMAP* DefaultFreeImageLoad(std::int32_t fif, const char* path, std::int32_t flags) {
  TrackedFile file;
  file.fp = std::fopen(path, "rb");
  if (!file.fp) return nullptr;
  FreeImageIO io{&trackedRead, &trackedWrite, &trackedSeek, &trackedTell};
  DibPtr dib(FreeImage_LoadFromHandle(static_cast<FREE_IMAGE_FORMAT>(fif), &io, &file, flags));
  const EndOfFile rule = endOfFileRule(fif);
  if ((rule == EndOfFile::NeverShort && file.shortRead) ||
      (rule == EndOfFile::BufferedNeverEmpty && file.emptyRead))
    return nullptr;
  return dib.release();
}

namespace {

// The library itself never throws across its C interface, but an allocation
// inside a plug-in may; either way a failed load is simply "no bitmap".
FIBITMAP* callLoader(std::int32_t fif, const char* path, std::int32_t flags) {
  try {
    if (const FreeImageLoader& l = installedLoader()) return l(fif, path, flags);
    return DefaultFreeImageLoad(fif, path, flags);
  } catch (...) {
    return nullptr;
  }
}

const QString kLoadFailed = QStringLiteral("Error loading file. File may be too large or corrupted.");

void failLoad(IoOutcome& out) {
  out.code = error_record::LoadFailed;
  out.description = kLoadFailed;
  out.flag = error_record::FlagWarning;
}

bool tooLarge(std::int64_t w, std::int64_t h, std::int64_t limit) {
  return w <= 0 || h <= 0 || (limit > 0 && w * h > limit);
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

// Reads only the header where the plug-in can, so a picture declaring an absurd
// size is refused before anything the size of its pixels is allocated.
bool headerWithinLimit(std::int32_t fif, const QByteArray& native, std::int32_t flags, std::int64_t limit) {
  if (!FreeImage_FIFSupportsNoPixels(static_cast<FREE_IMAGE_FORMAT>(fif))) return true;
  DibPtr header(callLoader(fif, native.constData(), flags | FIF_LOAD_NOPIXELS));
  if (!header) return false;
  return !tooLarge(FreeImage_GetWidth(header.get()), FreeImage_GetHeight(header.get()), limit);
}

}  // namespace

void setFreeImageLoader(FreeImageLoader loader) { installedLoader() = std::move(loader); }

std::int32_t DetectFormat(const QString& path, std::int32_t forceType) {
  if (forceType != FifUnknown) return forceType;
  std::int32_t fif = FifUnknown;
  // Only regular files are probed: reading a FIFO or a device could block.
  if (QFileInfo(path).isFile())
    fif = FreeImage_GetFileType(QFile::encodeName(path).constData(), 16);
  if (fif == FifUnknown) fif = GetFIFFormatFromExtension(path);
  return fif;
}

DibPtr LoadDib(const LoadRequest& request, IoOutcome& out) {
  out = IoOutcome{};
  out.fif = DetectFormat(request.path, request.forceType);
  if (out.fif == FifUnknown) {
    out.code = error_record::FormatNotSupported;
    out.description = QStringLiteral("File format not supported (") + FileExtension(request.path) + u')';
    out.flag = error_record::FlagWarning;
    return DibPtr();
  }
  const QByteArray native = QFile::encodeName(request.path);
  const std::int32_t flags = out.fif == FIF_JPEG ? request.jpegLoadQuality : 0;
  if (out.fif < 0 || out.fif >= FreeImage_GetFIFCount() || !QFileInfo(request.path).isFile() ||
      !headerWithinLimit(out.fif, native, flags, request.maxPixels)) {
    failLoad(out);
    return DibPtr();
  }
  DibPtr raw(callLoader(out.fif, native.constData(), flags));
  if (raw) out.bitsPerPixel = static_cast<std::int32_t>(FreeImage_GetBPP(raw.get()));
  DibPtr dib = toStandard(std::move(raw));
  if (!dib || !FreeImage_HasPixels(dib.get()) ||
      tooLarge(FreeImage_GetWidth(dib.get()), FreeImage_GetHeight(dib.get()), request.maxPixels)) {
    failLoad(out);
    return DibPtr();
  }
  return dib;
}

LoadedPicture LoadPicture(const LoadRequest& request) {
  LoadedPicture out;
  DibPtr dib = LoadDib(request, out.outcome);
  if (!dib) return out;

  ScopedBitmap bitmap;
  if (!modFreeImage::FreeImage_BMP_From_DIB(dib.get(), bitmap.out())) {
    failLoad(out.outcome);
    return out;
  }
  // The library copy is no longer needed; letting it go before the caller
  // places the picture keeps the peak at two picture-sized allocations.
  dib.reset();
  out.picture = Picture::fromBitmap(bitmap.get());
  if (!out.picture) {
    failLoad(out.outcome);
    return out;
  }
  bitmap.release();  // the picture owns it now
  return out;
}

}  // namespace qorv::imageio
