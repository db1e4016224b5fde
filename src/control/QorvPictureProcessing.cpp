// The control's image operations: filters, pixel operations, flips, rotation,
// resampling and combining.
//
// Every operation follows one pattern: a working image is filled from
// Buffer's picture, the engine works on it (raising ProcessInit, Process and
// ProcessComplete through the control), and the result is painted back into
// Buffer. Buffer's picture is then replaced by the result, so that the next
// operation, Picture, saving and the clipboard all see the processed image,
// and the view is updated as after any change of picture.
#include <algorithm>
#include <cmath>
#include <limits>

#include <QorvPictureBox/QorvPicture.h>
#include <QorvPictureBox/AutomationError.h>
#include "platform/PictureBox.h"
#include "processing/Kernel2D.h"
#include "processing/Rotation.h"
#include "processing/cDIBSection.h"
#include "processing/cImageProcessDIB.h"

namespace qorv {

namespace {

// A device bitmap holding a copy of the working image, as a picture.
PicturePtr pictureFrom(const cDIBSection& img) {
  if (img.IsEmpty()) return nullptr;
  const gdi::HBITMAP bmp = gdi::CreateCompatibleBitmap(0, img.Width(), img.Height());
  if (bmp == 0) return nullptr;
  const gdi::HDC dc = gdi::CreateCompatibleDC(0);
  if (dc == 0) {
    gdi::DeleteObject(bmp);
    return nullptr;
  }
  const gdi::HGDIOBJ old = gdi::SelectObject(dc, bmp);
  if (old != 0) {
    img.PaintPicture(dc, 0, 0, -1, -1, 0, 0, gdi::SRCCOPY);
    gdi::SelectObject(dc, old);
  }
  gdi::DeleteDC(dc);
  PicturePtr pic = old != 0 ? Picture::fromBitmap(bmp) : nullptr;
  if (!pic) gdi::DeleteObject(bmp);
  return pic;
}

// Fills `img` (already created) with `pic` at (0, 0), as far as both reach.
void fillFrom(cDIBSection& img, const PicturePtr& pic) {
  if (img.IsEmpty() || handleOf(pic) == 0) return;
  cDIBSection source;
  source.CreateFromPicture(pic->Handle());
  if (source.IsEmpty()) return;
  img.LoadPictureBlt(source.hdc(), 0, 0, std::min(img.Width(), source.Width()),
                     std::min(img.Height(), source.Height()), gdi::SRCCOPY);
}

[[noreturn]] void typeMismatch() {
  throw AutomationError(errors::TypeMismatch, programName() + ".QorvPicture", "Type mismatch");
}

// A Variant amount as a number; missing or non-numeric is a type mismatch.
double numericAmount(const QVariant& v) {
  if (!v.isValid() || v.isNull()) typeMismatch();
  bool ok = false;
  const double d = v.toDouble(&ok);
  if (!ok || !std::isfinite(d)) typeMismatch();
  return d;
}

// A Variant amount as a 32-bit whole number, rounded halves to even.
std::int32_t wholeAmount(const QVariant& v) {
  const double r = std::nearbyint(numericAmount(v));
  if (r < std::numeric_limits<std::int32_t>::min() || r > std::numeric_limits<std::int32_t>::max()) {
    throw AutomationError(6, programName() + ".QorvPicture", "Overflow");
  }
  return static_cast<std::int32_t>(r);
}

}  // namespace

// ----- the common pattern ----------------------------------------------------

namespace {

struct Working {
  cDIBSection image;
  explicit Working(const QorvPicture& c) { image.CreateFromPicture(handleOf(c.Buffer().Picture())); }
};

// Paints the result into Buffer, makes it Buffer's picture and updates the view.
void commit(QorvPicture& c, const cDIBSection& result) {
  if (result.IsEmpty()) return;
  PictureBox& buffer = c.Buffer();
  result.PaintPicture(buffer.hDC(), 0, 0, -1, -1, 0, 0, gdi::SRCCOPY);
  if (PicturePtr pic = pictureFrom(result)) buffer.setPicture(pic);
  c.UpdateView(true, true);
}

}  // namespace

void QorvPicture::Invert() {
  Working w(*this);
  mImageProcessDIB().Invert(w.image);
  commit(*this, w.image);
}

void QorvPicture::Flip(qint32 Orientation) {
  Working w(*this);
  mImageProcessDIB().Flip(w.image, Orientation);
  commit(*this, w.image);
}

void QorvPicture::ApplyFilter(qint32 FilterType, qint32 FilterWeight) {
  Working w(*this);
  cDIBSection buffer;
  buffer.Create(w.image.Width(), w.image.Height());
  cImageProcessDIB& engine = mImageProcessDIB();
  // The weight first: a built-in type then overwrites it with its own, so
  // only eCustom uses the caller's weight.
  engine.setFilterWeight(FilterWeight);
  engine.setFilterType(FilterType);
  engine.ProcessImage(w.image, buffer);
  commit(*this, w.image);
}

void QorvPicture::AddCustomFilter(const IntArray2D& Array2D) {
  cImageProcessDIB& engine = mImageProcessDIB();
  const std::int64_t extent1 = std::int64_t{Array2D.upper1} - Array2D.lower1 + 1;
  const std::int64_t extent2 = std::int64_t{Array2D.upper2} - Array2D.lower2 + 1;
  if (extent1 > 99 || extent2 > 99) {
    // No kernel holds that many entries: the size check or the copy fails,
    // without building the array first.
    const std::int64_t size = 2 * std::int64_t{Array2D.upper1} + 1;
    engine.setFilterArraySize(size >= 0 && size < 100 ? static_cast<std::int32_t>(size) : -1);
    throw AutomationError(errors::SubscriptOutOfRange, programName() + ".cImageProcess", "Subscript out of range");
  }
  Kernel2D k(Array2D.lower1, Array2D.upper1, Array2D.lower2, Array2D.upper2);
  for (int i = Array2D.lower1; i <= Array2D.upper1; ++i) {
    for (int j = Array2D.lower2; j <= Array2D.upper2; ++j) {
      const auto idx = static_cast<std::size_t>((i - Array2D.lower1) * extent2 + (j - Array2D.lower2));
      if (idx < Array2D.values.size()) k(i, j) = Array2D.values[idx];
    }
  }
  engine.AddCustomFilter(k);
}

void QorvPicture::Darken(const QVariant& Amount) {
  const std::int32_t amount = wholeAmount(Amount);
  Working w(*this);
  mImageProcessDIB().Fade(w.image, amount);
  commit(*this, w.image);
}

void QorvPicture::Lighten(const QVariant& Amount) {
  const double amount = numericAmount(Amount);
  Working w(*this);
  mImageProcessDIB().Lighten(w.image, amount);
  commit(*this, w.image);
}

void QorvPicture::Grayscale() {
  Working w(*this);
  mImageProcessDIB().Grayscale(w.image);
  commit(*this, w.image);
}

void QorvPicture::AddNoise(qint32 Percent, bool bRandom) {
  Working w(*this);
  mImageProcessDIB().AddNoise(w.image, Percent, bRandom);
  commit(*this, w.image);
}

void QorvPicture::BlackAndWhite() {
  Working w(*this);
  cDIBSection result;
  result.Create(w.image.Width(), w.image.Height());
  mImageProcessDIB().BlackAndWhite(w.image, result);
  commit(*this, result);
}

void QorvPicture::Resample(qint32 lW, qint32 lH) {
  Working w(*this);
  if (w.image.IsEmpty()) return;
  const std::unique_ptr<cDIBSection> out = mImageProcessDIB().Resample(w.image, lH, lW);
  if (!out) return;  // no buffer of that size: the picture stays as it was
  PicturePtr pic = pictureFrom(*out);
  if (!pic) return;
  // Buffer takes the new size with its new picture.
  Buffer().setPicture(pic);
  out->PaintPicture(Buffer().hDC(), 0, 0, -1, -1, 0, 0, gdi::SRCCOPY);
  if (AutoSize()) applyAutoSize();
  UpdateView(true, true);
}

void QorvPicture::CombinePictures(const PicturePtr& Picture1, const PicturePtr& Picture2, qint32 CombinationType,
                                  float Multiplier1, float Multiplier2, qint32 Offset1, qint32 Offset2) {
  // Both pictures are laid at (0, 0) over images of Buffer's size: larger
  // ones are cut, smaller ones leave black where they do not reach.
  const PicturePtr current = Buffer().Picture();
  if (handleOf(current) == 0) return;
  cDIBSection first, second;
  if (!first.Create(current->Width(), current->Height())) return;
  if (!second.Create(current->Width(), current->Height())) return;
  fillFrom(first, Picture1);
  fillFrom(second, Picture2);
  cImageProcessDIB& engine = mImageProcessDIB();
  switch (CombinationType) {
    case static_cast<qint32>(ECombinationTypeConstants::eAdd):
      engine.AddImages(first, second, Multiplier1, Offset1, Offset1, Offset1, Multiplier2, Offset2, Offset2, Offset2);
      break;
    case static_cast<qint32>(ECombinationTypeConstants::eLightest):
      engine.AddLightest(first, second);
      break;
    case static_cast<qint32>(ECombinationTypeConstants::eDarkest):
      engine.AddDarkest(first, second);
      break;
    default:
      return;  // no combination: the picture is left as it is
  }
  commit(*this, second);
}

bool QorvPicture::Rotate(bool* ClockWise) {
  PictureBox& buffer = Buffer();
  PictureBox& back = bBuffer();
  if (handleOf(buffer.Picture()) == 0) return false;
  back.Cls();
  back.setWidth(static_cast<int>(buffer.ScaleHeight()));
  back.setHeight(static_cast<int>(buffer.ScaleWidth()));
  const bool clockwise = ClockWise != nullptr && *ClockWise;
  const std::int32_t angle = clockwise ? 90 : -90;
  const auto W = static_cast<std::int32_t>(std::nearbyint(buffer.ScaleWidth()));
  const auto H = static_cast<std::int32_t>(std::nearbyint(buffer.ScaleHeight()));
  rotateBlt(back.hDC(), H / 2, W / 2, angle, buffer.hDC(), 0, 0, W, H);
  buffer.setPicture(back.Image());
  buffer.Refresh();
  handleResize();
  // The result has never been reported as True; hosts do not rely on it.
  return false;
}

}  // namespace qorv
