#include "imageio/ImageSave.h"

#include <QorvPictureBox/AutomationError.h>
#include <QFileInfo>
#include <QSaveFile>

#include "imageio/FormatTable.h"
#include "imageio/Paths.h"
#include "imageio/modFreeImage.h"
#include "platform/GdiSurface.h"
#include "platform/PixelRows.h"
#include "platform/ScopedGdi.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

// After the platform headers: FreeImage.h defines TRUE and FALSE as macros.
#include <FreeImage.h>

namespace qorv::imageio {

namespace {

// FreeImage writes through these callbacks into the temporary file.
QFileDevice* fileOf(fi_handle handle) { return static_cast<QFileDevice*>(handle); }

// The temporary file is write-only; no writer of a savable format reads back.
unsigned DLL_CALLCONV readProc(void*, unsigned, unsigned, fi_handle) { return 0; }

unsigned DLL_CALLCONV writeProc(void* buffer, unsigned size, unsigned count, fi_handle handle) {
  if (size == 0) return 0;
  const qint64 put = fileOf(handle)->write(static_cast<const char*>(buffer), static_cast<qint64>(size) * count);
  return put <= 0 ? 0 : static_cast<unsigned>(put / size);
}

int DLL_CALLCONV seekProc(fi_handle handle, long offset, int origin) {
  QFileDevice* f = fileOf(handle);
  qint64 base = 0;
  if (origin == SEEK_CUR) base = f->pos();
  else if (origin == SEEK_END) base = f->size();
  const qint64 target = base + offset;
  return target >= 0 && f->seek(target) ? 0 : -1;
}

long DLL_CALLCONV tellProc(fi_handle handle) { return static_cast<long>(fileOf(handle)->pos()); }

// A 32-bit device surface as a 24-bit library bitmap: the same pixels the
// 32-bit bridge copy followed by the library's 24-bit conversion give, in one
// converting pass split over the row pool. The rows live in a DIB section of
// the platform (its memory comes from the pixel pool and is not cleared
// first, only the row padding is); the library bitmap only points at them.
struct Rows24 {
  ScopedBitmap section;
  DibPtr dib;
};

Rows24 direct24(gdi::HBITMAP picture) {
  Rows24 out;
  gdi::Surface s;
  if (!gdi::BitmapSurfaceRead(picture, s) || !s.valid() || s.bitsPerPixel != 32) return out;
  gdi::BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(gdi::BITMAPINFOHEADER);
  info.bmiHeader.biWidth = s.width;
  info.bmiHeader.biHeight = s.height;  // bottom-up, as the library keeps its rows
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = gdi::BI_RGB;
  void* bits = nullptr;
  out.section.reset(gdi::CreateDIBSectionForOverwrite(&info, &bits));
  if (!out.section || !bits) return Rows24{};
  const int pitch = ((s.width * 3) + 3) & ~3;
  auto* rows = static_cast<std::uint8_t*>(bits);
  const int used = s.width * 3;
  // Writers of some formats store whole rows, padding included.
  if (pitch > used)
    for (int y = 0; y < s.height; ++y) std::memset(rows + static_cast<std::ptrdiff_t>(y) * pitch + used, 0, static_cast<std::size_t>(pitch - used));
  const PixelRows from{s.row(0), s.bottomUp ? -static_cast<std::ptrdiff_t>(s.stride) : s.stride, s.width, s.height, 4};
  copyPixelRows(from, PixelRows::bottomUp(rows, pitch, s.width, s.height, 3));
  out.dib.reset(FreeImage_ConvertFromRawBitsEx(FALSE, rows, FIT_BITMAP, s.width, s.height, pitch, 24,
                                               FI_RGBA_RED_MASK, FI_RGBA_GREEN_MASK, FI_RGBA_BLUE_MASK, FALSE));
  if (!out.dib) return Rows24{};
  return out;
}

// Writes through the library into `file`; false when the library or the file says so.
bool writeDib(QFileDevice& file, FIBITMAP* dib, std::int32_t fif, std::int32_t flags) {
  FreeImageIO io{&readProc, &writeProc, &seekProc, &tellProc};
  bool ok = false;
  try {
    ok = FreeImage_SaveToHandle(static_cast<FREE_IMAGE_FORMAT>(fif), dib, &io, &file, flags) != 0;
  } catch (...) {
    ok = false;
  }
  return ok && file.error() == QFileDevice::NoError;
}

// Puts `temp` in place of `finalName` in one step. Renaming over an existing
// file makes some file systems (ext4) write the new file out at once, as
// though it had been synced: the very cost a save without the flush is asked
// to leave out. Exchanging the two names has the same all-or-nothing effect
// for anyone looking at the target name without that write-out; the old file,
// now under the temporary name, is then removed (should that fail, it stays
// there, as a temporary file does after a crash). Where exchanging is not
// supported (or the target does not exist) it is a plain rename.
bool replaceWithoutFlush(const QByteArray& temp, const QByteArray& finalName) {
#ifdef RENAME_EXCHANGE
  if (::renameat2(AT_FDCWD, temp.constData(), AT_FDCWD, finalName.constData(), RENAME_EXCHANGE) == 0) {
    ::unlink(temp.constData());  // the old file
    return true;
  }
#endif
  return ::rename(temp.constData(), finalName.constData()) == 0;
}

// The same temporary-file-and-rename as QSaveFile without its flush: the
// temporary name beside the target, the target's permissions (a new file
// gets the usual 0666 less the umask), and nothing left behind on failure.
bool saveWithoutFlush(FIBITMAP* dib, std::int32_t fif, const QString& path, std::int32_t flags) {
  const QFileInfo target(path);
  const QByteArray finalName = QFile::encodeName(target.absoluteFilePath());
  QByteArray temp = finalName + ".XXXXXX";
  const int fd = mkstemp(temp.data());
  if (fd < 0) return false;
  mode_t mode = 0666;
  struct stat st {};
  if (::stat(finalName.constData(), &st) == 0) {
    mode = st.st_mode & 07777;
  } else {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    mode &= ~mask;
  }
  bool ok = ::fchmod(fd, mode) == 0;
  {
    QFile file;
    ok = ok && file.open(fd, QIODevice::WriteOnly, QFileDevice::DontCloseHandle) && writeDib(file, dib, fif, flags);
    if (file.isOpen()) ok = file.flush() && ok;
  }
  ok = ::close(fd) == 0 && ok;
  if (ok && replaceWithoutFlush(temp, finalName)) return true;
  ::unlink(temp.constData());
  return false;
}

IoOutcome failure(std::int32_t code, const QString& text, std::int32_t flag, std::int32_t fif) {
  return IoOutcome{code, text, flag, fif};
}

}  // namespace

bool SaveDibAtomically(FIBITMAP* dib, std::int32_t fif, const QString& path, std::int32_t flags, SaveSync sync) {
  if (!dib || fif < 0 || fif >= FreeImage_GetFIFCount()) return false;
  // The library cannot write over a file the user may not write to; neither
  // may a save that replaces it.
  const QFileInfo target(path);
  if (target.exists() && (!target.isFile() || !target.isWritable())) return false;

  if (sync == SaveSync::NoFlush) return saveWithoutFlush(dib, fif, path, flags);
  QSaveFile file(path);
  file.setDirectWriteFallback(false);
  if (!file.open(QIODevice::WriteOnly)) return false;
  if (!writeDib(file, dib, fif, flags)) {
    file.cancelWriting();
    return false;
  }
  return file.commit();  // flushes to the disk, then renames
}

IoOutcome SaveBitmap(gdi::HBITMAP picture, const QString& path, std::int32_t quality, std::int32_t fifType,
                     SaveSync sync) {
  const std::int32_t fif = fifType == FifUnknown ? GetFIFFormatFromExtension(path) : fifType;
  if (fif == FifUnknown)
    return failure(error_record::FormatNotSupported,
                   QStringLiteral("File format not supported (") + FileExtension(path) + u')',
                   error_record::FlagWarning, fif);

  Rows24 rows = gdi::GetObjectType(picture) == gdi::OBJ_BITMAP ? direct24(picture) : Rows24{};
  DibPtr dib24 = std::move(rows.dib);
  if (!dib24) {
    FIBITMAP* raw = nullptr;
    if (!modFreeImage::FreeImage_DIB_From_BMP(picture, raw))
      return failure(error_record::LoadFailed, QStringLiteral("Unable to convert bitmap to DIP section"),
                     error_record::FlagWarning, fif);
    DibPtr dib32(raw);
    dib24.reset(FreeImage_ConvertTo24Bits(dib32.get()));
  }
  if (!SaveDibAtomically(dib24.get(), fif, path, quality, sync))
    return failure(error_record::SaveFailed, QStringLiteral("Unable to save picture, unknown error"),
                   error_record::FlagCritical, fif);
  IoOutcome ok;
  ok.fif = fif;
  return ok;
}

}  // namespace qorv::imageio
