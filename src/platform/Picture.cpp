#include <QorvPictureBox/Picture.h>

#include <cstring>

#include <QFileInfo>
#include <QImage>
#include <QImageReader>

#include "platform/GdiSurface.h"
#include "platform/PictureLoad.h"
#include "platform/ScopedGdi.h"

namespace qorv {

namespace {

// Copies rows of 32-bit pixels, forcing the unused fourth byte to 0xFF so that
// the result is a well-formed Format_RGB32 image whatever the source held there.
void copyRows32(const gdi::Surface& src, QImage& dst) {
  const int w = src.width;
  for (int y = 0; y < src.height; ++y) {
    const auto* s = reinterpret_cast<const std::uint32_t*>(src.row(y));
    auto* d = reinterpret_cast<std::uint32_t*>(dst.scanLine(y));
    for (int x = 0; x < w; ++x) d[x] = s[x] | 0xFF000000u;
  }
}

QImage viaDIBits(gdi::HBITMAP hbm, int w, int h) {
  QImage img(w, h, QImage::Format_RGB32);
  if (img.isNull()) return {};
  gdi::BITMAPINFO bmi{};
  bmi.bmiHeader.biSize = sizeof(gdi::BITMAPINFOHEADER);
  bmi.bmiHeader.biWidth = w;
  bmi.bmiHeader.biHeight = -h;  // top-down, like QImage
  bmi.bmiHeader.biPlanes = 1;
  bmi.bmiHeader.biBitCount = 32;
  bmi.bmiHeader.biCompression = gdi::BI_RGB;
  const ScopedScreenDC screen(0);
  const int rows =
      gdi::GetDIBits(screen.get(), hbm, 0, static_cast<gdi::UINT>(h), img.bits(), &bmi, gdi::DIB_RGB_COLORS);
  if (rows != h) return {};
  for (int y = 0; y < h; ++y) {
    auto* d = reinterpret_cast<std::uint32_t*>(img.scanLine(y));
    for (int x = 0; x < w; ++x) d[x] |= 0xFF000000u;
  }
  return img;
}

}  // namespace

Picture::Picture(gdi::HBITMAP h, int w, int hgt, int type) : handle_(h), width_(w), height_(hgt), type_(type) {}

Picture::~Picture() {
  if (handle_ != 0) gdi::DeleteObject(handle_);
}

PicturePtr Picture::fromBitmap(gdi::HBITMAP hbm, enum Type type) {
  if (hbm == 0 || gdi::GetObjectType(hbm) != gdi::OBJ_BITMAP) return nullptr;
  gdi::BITMAP bm{};
  if (gdi::GetObjectA(hbm, sizeof bm, &bm) < static_cast<int>(sizeof bm)) return nullptr;
  return PicturePtr(new Picture(hbm, bm.bmWidth, bm.bmHeight < 0 ? -bm.bmHeight : bm.bmHeight, type));
}

PicturePtr Picture::fromImage(const QImage& image, enum Type type) {
  if (image.isNull()) return nullptr;
  const QImage src = image.format() == QImage::Format_RGB32 ? image : image.convertToFormat(QImage::Format_RGB32);
  if (src.isNull()) return nullptr;
  ScopedBitmap hbm(gdi::CreateBitmapForOverwrite(src.width(), src.height()));
  gdi::Surface s;
  if (!hbm || !gdi::BitmapSurface(hbm.get(), s) || s.bitsPerPixel != 32) return nullptr;
  const std::size_t rowBytes = static_cast<std::size_t>(src.width()) * 4;
  for (int y = 0; y < src.height(); ++y) std::memcpy(s.row(y), src.constScanLine(y), rowBytes);
  PicturePtr p(new Picture(hbm.get(), src.width(), src.height(), type));
  hbm.release();  // the picture owns it now
  return p;
}

PicturePtr Picture::load(const QString& path, QString* error) { return LoadPlatformPicture(path, error, nullptr); }

PicturePtr LoadPlatformPicture(const QString& path, QString* error, AlphaMask* alpha) {
  auto failWith = [error](const QString& why) -> PicturePtr {
    if (error != nullptr) *error = why;
    return nullptr;
  };
  const QFileInfo info(path);
  const QString ext = info.suffix().toLower();
  if (ext == QLatin1String("wmf") || ext == QLatin1String("emf"))
    return failWith(QStringLiteral("Metafile pictures (%1) are not supported on this platform").arg(ext));
  if (path.isEmpty() || !info.exists()) return failWith(QStringLiteral("File not found: %1").arg(path));
  if (!info.isFile() || !info.isReadable()) return failWith(QStringLiteral("Cannot read file: %1").arg(path));

  QImageReader reader(path);
  reader.setDecideFormatFromContent(true);
  reader.setAutoTransform(false);
  const QByteArray format = reader.format();
  // The formats the classic picture loader reads; anything else is not a picture to it.
  static const QByteArray accepted[] = {"bmp", "ico", "cur", "gif", "jpg", "jpeg"};
  bool known = false;
  for (const QByteArray& a : accepted) known = known || format == a;
  if (format.isEmpty() || !known) return failWith(QStringLiteral("Invalid picture: %1").arg(path));
  const QImage image = reader.read();  // the first frame of an animation
  if (image.isNull()) return failWith(QStringLiteral("Invalid picture: %1 (%2)").arg(path, reader.errorString()));
  const auto type = (format == "ico" || format == "cur") ? Picture::Icon : Picture::Bitmap;
  PicturePtr p = Picture::fromImage(image, type);
  if (!p) return failWith(QStringLiteral("Out of memory loading %1").arg(path));
  if (error != nullptr) error->clear();
  if (alpha != nullptr) *alpha = AlphaOfImage(image);
  return p;
}

QImage Picture::toImage() const {
  if (handle_ == 0 || width_ <= 0 || height_ <= 0) return {};
  gdi::Surface s;
  if (!gdi::BitmapSurfaceRead(handle_, s) || !s.valid()) return {};
  if (s.bitsPerPixel != 32) return viaDIBits(handle_, s.width, s.height);
  QImage img(s.width, s.height, QImage::Format_RGB32);
  if (img.isNull()) return {};
  copyRows32(s, img);
  return img;
}

}  // namespace qorv
