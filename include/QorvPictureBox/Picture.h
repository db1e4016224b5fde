// Shared picture objects: a bitmap handle with its size.
//
// Pictures are passed by reference (PicturePtr) as the automation model does:
// assigning a picture to two panes shares one object. A picture owns its bitmap
// and deletes it when the last holder lets go.
#pragma once

#include <memory>

#include <QString>

#include <QorvPictureBox/gdi.h>

class QImage;

namespace qorv {

class Picture;
using PicturePtr = std::shared_ptr<Picture>;

class Picture {
 public:
  // Picture types, as the automation model numbers them.
  enum Type { None = 0, Bitmap = 1, Metafile = 2, Icon = 3 };

  ~Picture();
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  // Takes ownership of `hbm` (a device bitmap or DIB section not selected into
  // any DC). Returns null when `hbm` is not a bitmap.
  static PicturePtr fromBitmap(gdi::HBITMAP hbm, Type type = Bitmap);
  // Copies `image` into a new 32-bit device bitmap. Null for a null image or
  // when the bitmap cannot be allocated.
  static PicturePtr fromImage(const QImage& image, Type type = Bitmap);
  // The platform picture loader: bmp, ico, cur, gif (first frame), jpg/jpeg
  // through Qt's image reader. Null on failure, with a reason in `error`
  // ("wmf" reports itself unsupported on this platform).
  static PicturePtr load(const QString& path, QString* error = nullptr);

  gdi::HBITMAP Handle() const { return handle_; }
  int Width() const { return width_; }    // pixels
  int Height() const { return height_; }  // pixels
  int Type() const { return type_; }

  // A deep copy of the pixels as Format_RGB32 (null image when empty).
  QImage toImage() const;

 private:
  Picture(gdi::HBITMAP h, int w, int hgt, int type);
  gdi::HBITMAP handle_ = 0;
  int width_ = 0;
  int height_ = 0;
  int type_ = None;
};

// Handle of a picture, 0 for none.
inline gdi::HBITMAP handleOf(const PicturePtr& p) { return p ? p->Handle() : 0; }

}  // namespace qorv
