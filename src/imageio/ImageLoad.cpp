#include "imageio/ImageLoad.h"

#include <QorvPictureBox/AutomationError.h>
#include <fcntl.h>
#include <cstring>
#include <sys/stat.h>

#include <QFile>
#include <QFileInfo>

#include "imageio/DecodeCore.h"
#include "imageio/FormatTable.h"
#include "imageio/IsolatedDecoder.h"
#include "imageio/Paths.h"
#include "imageio/UniqueFd.h"
#include "imageio/modFreeImage.h"
#include "platform/GdiSurface.h"
#include "platform/ScopedGdi.h"
#include <QorvPictureBox/gdi.h>

// After the platform headers: FreeImage.h defines TRUE and FALSE as macros.
#include <FreeImage.h>

namespace qorv::imageio {

namespace {

FreeImageLoader& installedLoader() {
  static FreeImageLoader loader;
  return loader;
}

const QString kLoadFailed = QStringLiteral("Error loading file. File may be too large or corrupted.");

// Opens only regular files, and without blocking: a FIFO or a device named as
// a picture must not stall the load.
UniqueFd openRegular(const QByteArray& native) {
  UniqueFd fd(::open(native.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat st {};
  if (!fd || ::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return UniqueFd();
  return fd;
}

}  // namespace

void failLoad(IoOutcome& out) {
  out.code = error_record::LoadFailed;
  out.description = kLoadFailed;
  out.flag = error_record::FlagWarning;
}

void failUnknownFormat(IoOutcome& out, const QString& path) {
  out.code = error_record::FormatNotSupported;
  out.description = QStringLiteral("File format not supported (") + FileExtension(path) + u')';
  out.flag = error_record::FlagWarning;
}

FIBITMAP* DefaultFreeImageLoad(std::int32_t fif, const char* path, std::int32_t flags) {
  const UniqueFd fd = openRegular(QByteArray(path));
  return fd ? LoadOpenFile(fd.get(), fif, flags) : nullptr;
}

void setFreeImageLoader(FreeImageLoader loader) { installedLoader() = std::move(loader); }

std::int32_t DetectFormat(const QString& path, std::int32_t forceType, bool allowUnlisted) {
  if (forceType != FifUnknown) return forceType;
  std::int32_t fif = FifUnknown;
  if (const UniqueFd fd = openRegular(QFile::encodeName(path))) fif = DetectOpenFile(fd.get(), allowUnlisted);
  if (fif == FifUnknown) fif = GetFIFFormatFromExtension(path);
  return fif;
}

DecodeRequest ToDecodeRequest(const LoadRequest& request) {
  DecodeRequest d;
  d.forceType = request.forceType;
  d.extensionFif = GetFIFFormatFromExtension(request.path);
  d.jpegFlags = request.jpegLoadQuality;
  d.maxPixels = request.maxPixels;
  d.allowUnlisted = request.allowUnlisted;
  d.autoRotate = request.autoRotate;
  d.keepAlpha = request.keepAlpha;
  return d;
}

DibPtr LoadDib(const LoadRequest& request, IoOutcome& out) {
  out = IoOutcome{};
  const QByteArray native = QFile::encodeName(request.path);
  const DecodeRequest decode = ToDecodeRequest(request);
  const UniqueFd fd = openRegular(native);
  if (!fd) {
    // Nothing to read: the format is the caller's or the extension's.
    out.fif = decode.forceType != FifUnknown ? decode.forceType : decode.extensionFif;
    if (out.fif == FifUnknown) failUnknownFormat(out, request.path);
    else failLoad(out);
    return DibPtr();
  }
  const LibraryLoad load = [&](std::int32_t fif, std::int32_t flags) -> FIBITMAP* {
    if (const FreeImageLoader& hook = installedLoader()) return hook(fif, native.constData(), flags);
    return LoadOpenFile(fd.get(), fif, flags);
  };
  Decoded decoded = DecodeOpenFile(fd.get(), decode, load);
  out.fif = decoded.fif;
  out.hasAlpha = decoded.hasAlpha;
  out.bitsPerPixel = decoded.bitsPerPixel;
  if (decoded.status == DecodeStatus::UnknownFormat) failUnknownFormat(out, request.path);
  else if (decoded.status != DecodeStatus::Ok) failLoad(out);
  return std::move(decoded.dib);
}

namespace {

// A 32-bit library bitmap as a device bitmap that keeps the fourth byte (the
// bridge clears it, as device bitmaps have no alpha).
gdi::HBITMAP deviceBitmapKeepingAlpha(FIBITMAP* dib) {
  const int w = static_cast<int>(FreeImage_GetWidth(dib));
  const int h = static_cast<int>(FreeImage_GetHeight(dib));
  ScopedBitmap bm(gdi::CreateBitmapForOverwrite(w, h));
  gdi::Surface s;
  if (!bm || !gdi::BitmapSurface(bm.get(), s) || s.bitsPerPixel != 32) return 0;
  for (int y = 0; y < h; ++y)  // library rows run bottom-up
    std::memcpy(s.row(y), FreeImage_GetScanLine(dib, h - 1 - y), static_cast<std::size_t>(w) * 4);
  return bm.release();
}

LoadedPicture loadInProcess(const LoadRequest& request) {
  LoadedPicture out;
  DibPtr dib = LoadDib(request, out.outcome);
  if (!dib) return out;

  ScopedBitmap bitmap;
  if (out.outcome.hasAlpha) {
    bitmap.reset(deviceBitmapKeepingAlpha(dib.get()));
    if (!bitmap) {
      failLoad(out.outcome);
      return out;
    }
  } else if (!modFreeImage::FreeImage_BMP_From_DIB(dib.get(), bitmap.out())) {
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

}  // namespace

LoadedPicture LoadPicture(const LoadRequest& request) {
  LoadedPicture out = request.isolated ? LoadPictureIsolated(request) : loadInProcess(request);
  // Both decoders hand the alpha over in the device bitmap's spare byte; it
  // moves to the mask before anything shares the pixels.
  if (out.picture && out.outcome.hasAlpha) out.alpha = TakeAlphaFromSpareByte(out.picture->Handle());
  return out;
}

}  // namespace qorv::imageio
