#include "imageio/ImageSave.h"

#include <QorvPictureBox/AutomationError.h>
#include <QFileInfo>
#include <QSaveFile>

#include "imageio/FormatTable.h"
#include "imageio/Paths.h"
#include "imageio/modFreeImage.h"
#include "platform/GdiSurface.h"

// After the platform headers: FreeImage.h defines TRUE and FALSE as macros.
#include <FreeImage.h>

namespace qorv::imageio {

namespace {

// FreeImage writes through these callbacks into the temporary file.
QSaveFile* fileOf(fi_handle handle) { return static_cast<QSaveFile*>(handle); }

// The temporary file is write-only; no writer of a savable format reads back.
unsigned DLL_CALLCONV readProc(void*, unsigned, unsigned, fi_handle) { return 0; }

unsigned DLL_CALLCONV writeProc(void* buffer, unsigned size, unsigned count, fi_handle handle) {
  if (size == 0) return 0;
  const qint64 put = fileOf(handle)->write(static_cast<const char*>(buffer), static_cast<qint64>(size) * count);
  return put <= 0 ? 0 : static_cast<unsigned>(put / size);
}

int DLL_CALLCONV seekProc(fi_handle handle, long offset, int origin) {
  QSaveFile* f = fileOf(handle);
  qint64 base = 0;
  if (origin == SEEK_CUR) base = f->pos();
  else if (origin == SEEK_END) base = f->size();
  const qint64 target = base + offset;
  return target >= 0 && f->seek(target) ? 0 : -1;
}

long DLL_CALLCONV tellProc(fi_handle handle) { return static_cast<long>(fileOf(handle)->pos()); }

// A 32-bit device surface straight into a new 24-bit library bitmap: the same
// pixels the 32-bit bridge copy followed by the library's 24-bit conversion
// give, in one pass instead of two.
DibPtr direct24(gdi::HBITMAP picture) {
  gdi::Surface s;
  if (!gdi::BitmapSurfaceRead(picture, s) || !s.valid() || s.bitsPerPixel != 32) return DibPtr();
  DibPtr dib(FreeImage_Allocate(s.width, s.height, 24));
  if (!dib) return dib;
  const unsigned pitch = FreeImage_GetPitch(dib.get());
  BYTE* bits = FreeImage_GetBits(dib.get());
  for (int y = 0; y < s.height; ++y) {
    const std::uint8_t* in = s.row(y);
    BYTE* out = bits + static_cast<std::size_t>(s.height - 1 - y) * pitch;  // library rows run bottom-up
    for (int x = 0; x < s.width; ++x) {
      out[x * 3 + 0] = in[x * 4 + 0];
      out[x * 3 + 1] = in[x * 4 + 1];
      out[x * 3 + 2] = in[x * 4 + 2];
    }
  }
  return dib;
}

IoOutcome failure(std::int32_t code, const QString& text, std::int32_t flag, std::int32_t fif) {
  return IoOutcome{code, text, flag, fif};
}

}  // namespace

bool SaveDibAtomically(FIBITMAP* dib, std::int32_t fif, const QString& path, std::int32_t flags) {
  if (!dib || fif < 0 || fif >= FreeImage_GetFIFCount()) return false;
  // The library cannot write over a file the user may not write to; neither
  // may a save that replaces it.
  const QFileInfo target(path);
  if (target.exists() && (!target.isFile() || !target.isWritable())) return false;

  QSaveFile file(path);
  file.setDirectWriteFallback(false);
  if (!file.open(QIODevice::WriteOnly)) return false;
  FreeImageIO io{&readProc, &writeProc, &seekProc, &tellProc};
  bool ok = false;
  try {
    ok = FreeImage_SaveToHandle(static_cast<FREE_IMAGE_FORMAT>(fif), dib, &io, &file, flags) != 0;
  } catch (...) {
    ok = false;
  }
  if (!ok || file.error() != QFileDevice::NoError) {
    file.cancelWriting();
    return false;
  }
  return file.commit();
}

IoOutcome SaveBitmap(gdi::HBITMAP picture, const QString& path, std::int32_t quality, std::int32_t fifType) {
  const std::int32_t fif = fifType == FifUnknown ? GetFIFFormatFromExtension(path) : fifType;
  if (fif == FifUnknown)
    return failure(error_record::FormatNotSupported,
                   QStringLiteral("File format not supported (") + FileExtension(path) + u')',
                   error_record::FlagWarning, fif);

  DibPtr dib24 = gdi::GetObjectType(picture) == gdi::OBJ_BITMAP ? direct24(picture) : DibPtr();
  if (!dib24) {
    FIBITMAP* raw = nullptr;
    if (!modFreeImage::FreeImage_DIB_From_BMP(picture, raw))
      return failure(error_record::LoadFailed, QStringLiteral("Unable to convert bitmap to DIP section"),
                     error_record::FlagWarning, fif);
    DibPtr dib32(raw);
    dib24.reset(FreeImage_ConvertTo24Bits(dib32.get()));
  }
  if (!SaveDibAtomically(dib24.get(), fif, path, quality))
    return failure(error_record::SaveFailed, QStringLiteral("Unable to save picture, unknown error"),
                   error_record::FlagCritical, fif);
  IoOutcome ok;
  ok.fif = fif;
  return ok;
}

}  // namespace qorv::imageio
