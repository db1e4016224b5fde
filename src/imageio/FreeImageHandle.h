// Ownership of FreeImage bitmaps and device bitmaps inside the I/O layer.
#pragma once

#include <memory>

#include <QorvPictureBox/gdi.h>

struct FIBITMAP;

namespace qorv::imageio {

struct DibDeleter {
  void operator()(FIBITMAP* dib) const;  // FreeImage_Unload
};
using DibPtr = std::unique_ptr<FIBITMAP, DibDeleter>;

// A device bitmap deleted when the holder goes.
class OwnedBitmap {
 public:
  OwnedBitmap() = default;
  explicit OwnedBitmap(gdi::HBITMAP h) : h_(h) {}
  ~OwnedBitmap() { reset(); }
  OwnedBitmap(const OwnedBitmap&) = delete;
  OwnedBitmap& operator=(const OwnedBitmap&) = delete;
  gdi::HBITMAP& ref() { return h_; }
  gdi::HBITMAP get() const { return h_; }
  void reset() {
    if (h_) gdi::DeleteObject(h_);
    h_ = 0;
  }

 private:
  gdi::HBITMAP h_ = 0;
};

}  // namespace qorv::imageio
