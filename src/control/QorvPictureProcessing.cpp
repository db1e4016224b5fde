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
#include <optional>

#include <QorvPictureBox/Colors.h>
#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"
#include "control/VariantConversion.h"
#include "control/WorkingImage.h"
#include <QorvPictureBox/AutomationError.h>
#include "platform/GdiSurface.h"
#include "platform/PictureBox.h"
#include "platform/PixelRows.h"
#include "platform/ScopedGdi.h"
#include "processing/Rotation.h"
#include "processing/cDIBSection.h"
#include "processing/cImageProcessDIB.h"

namespace qorv {

namespace {

// Hosts pass filter types and flip orientations as plain numbers, which reach
// the engine unchanged; the public enumerations must name the engine's values.
template <class E>
constexpr std::int32_t number(E e) {
  return static_cast<std::int32_t>(e);
}
static_assert(number(gEFilterTypes::_Min) == filter::_Min && number(gEFilterTypes::eBlur) == filter::eBlur &&
              number(gEFilterTypes::eBlurMore) == filter::eBlurMore &&
              number(gEFilterTypes::eSoften) == filter::eSoften &&
              number(gEFilterTypes::eSoftenMore) == filter::eSoftenMore &&
              number(gEFilterTypes::eSharpen) == filter::eSharpen &&
              number(gEFilterTypes::eSharpenMore) == filter::eSharpenMore &&
              number(gEFilterTypes::eUnSharp) == filter::eUnSharp &&
              number(gEFilterTypes::eEmboss) == filter::eEmboss &&
              number(gEFilterTypes::eMedian) == filter::eMedian &&
              number(gEFilterTypes::eMinimum) == filter::eMinimum &&
              number(gEFilterTypes::eMaximum) == filter::eMaximum &&
              number(gEFilterTypes::eCount) == filter::eCount &&
              number(gEFilterTypes::eCustom) == filter::eCustom && number(gEFilterTypes::_Max) == filter::_Max,
              "filter type numbers differ between the public enumeration and the engine");
static_assert(number(FlipOrientations::Horizontal) == flip::Horizontal &&
                  number(FlipOrientations::Verticle) == flip::Verticle &&
                  number(FlipOrientations::Hor_And_Vert) == flip::Hor_And_Vert,
              "flip orientation numbers differ between the public enumeration and the engine");

// Fills `img` (already created) with `pic` at (0, 0), as far as both reach.
void fillFrom(cDIBSection& img, const PicturePtr& pic) {
  if (img.IsEmpty() || handleOf(pic) == 0) return;
  cDIBSection source;
  source.CreateFromPicture(pic->Handle());
  if (source.IsEmpty()) return;
  img.LoadPictureBlt(source.hdc(), 0, 0, std::min(img.Width(), source.Width()),
                     std::min(img.Height(), source.Height()), gdi::SRCCOPY);
}

}  // namespace

// ----- the common pattern ----------------------------------------------------

namespace operation {

// A device bitmap holding a copy of the working image, as a picture: the
// same pixels a blit into a new device bitmap gives, in one converting pass
// into memory that is not cleared first.
PicturePtr pictureFrom(const cDIBSection& img) {
  if (img.IsEmpty()) return nullptr;
  ScopedBitmap bmp(deviceBitmapFromPixels(
      PixelRows::bottomUp(img.DIBSectionBitsPtr(), img.BytesPerScanLine(), img.Width(), img.Height(), 3)));
  if (!bmp) return nullptr;
  PicturePtr pic = Picture::fromBitmap(bmp.get());
  if (pic) bmp.release();  // the picture owns it now
  return pic;
}

Working::Working(const QorvPicture& c) {
  image.CreateFromPicture(handleOf(QorvPicturePrivate::of(c).Buffer().Picture()));
}

// Makes `pic` Buffer's picture and updates the view. Buffer sizes itself to
// its picture and shows exactly that picture's pixels, which is what painting
// the result into it first would leave there.
void commitPicture(QorvPicture& c, const PicturePtr& pic) {
  QorvPicturePrivate& d = QorvPicturePrivate::of(c);
  d.Buffer().setPicture(pic);
  d.view.updateView(true, true);
  d.pictureProcessed();
}

// Only when no picture can be made is the result painted, so that it is at
// least shown.
void commit(QorvPicture& c, const cDIBSection& result) {
  if (result.IsEmpty()) return;
  if (PicturePtr pic = pictureFrom(result)) return commitPicture(c, pic);
  QorvPicturePrivate& d = QorvPicturePrivate::of(c);
  result.PaintPicture(d.Buffer().hDC(), 0, 0, -1, -1, 0, 0, gdi::SRCCOPY);
  d.view.updateView(true, true);
  d.pictureProcessed();
}

PixelRows pictureRows(const PicturePtr& pic) {
  gdi::Surface s;
  if (handleOf(pic) == 0 || !gdi::BitmapSurfaceRead(pic->Handle(), s) || !s.valid() || s.bitsPerPixel != 32)
    return {};
  const std::ptrdiff_t step = s.bottomUp ? -static_cast<std::ptrdiff_t>(s.stride) : s.stride;
  return PixelRows{s.row(0), step, s.width, s.height, 4};
}

Direct::Direct(const QorvPicture& c)
    : source(QorvPicturePrivate::of(c).Buffer().Picture()), from(pictureRows(source)) {
  if (!from.valid()) return;
  result.reset(gdi::CreateBitmapForOverwrite(from.width, from.height));
  gdi::Surface r;
  if (!result || !gdi::BitmapSurface(result.get(), r) || r.bitsPerPixel != 32 || r.bottomUp) {
    from = {};
    return;
  }
  to = PixelRows::topDown(r.rows, r.stride, r.width, r.height, 4);
}

void Direct::commit(QorvPicture& c) {
  if (PicturePtr pic = Picture::fromBitmap(result.get())) {
    result.release();  // the picture owns it now
    return commitPicture(c, pic);
  }
  // As with a working image: without a picture the result is at least shown.
  QorvPicturePrivate& d = QorvPicturePrivate::of(c);
  const ScopedMemDC dc(gdi::CreateCompatibleDC(0));
  const ScopedSelect sel(dc.get(), result.get());
  if (sel.ok()) gdi::BitBlt(d.Buffer().hDC(), 0, 0, to.width, to.height, dc.get(), 0, 0, gdi::SRCCOPY);
  d.view.updateView(true, true);
  d.pictureProcessed();
}

bool commitResized(QorvPicture& c, const cDIBSection& result) { return commitResized(c, pictureFrom(result)); }

bool commitResized(QorvPicture& c, ScopedBitmap result) {
  PicturePtr pic = Picture::fromBitmap(result.get());
  if (pic) result.release();  // the picture owns it now
  return commitResized(c, pic);
}

bool commitResized(QorvPicture& c, const PicturePtr& pic) {
  if (!pic) return false;
  // Buffer takes the new size with its new picture, and with it the
  // picture's pixels.
  QorvPicturePrivate& d = QorvPicturePrivate::of(c);
  d.Buffer().setPicture(pic);
  if (c.AutoSize()) d.view.applyAutoSize();
  d.view.updateView(true, true);
  d.pictureProcessed();
  return true;
}

}  // namespace operation

using operation::commit;
using operation::pictureFrom;
using operation::Working;

void QorvPicture::Invert() {
  Working w(*this);
  d_->mImageProcessDIB().Invert(w.image);
  commit(*this, w.image);
}

void QorvPicture::Flip(qint32 Orientation) {
  Working w(*this);
  d_->mImageProcessDIB().Flip(w.image, Orientation);
  commit(*this, w.image);
}

void QorvPicture::ApplyFilter(qint32 FilterType, qint32 FilterWeight) {
  cImageProcessDIB& engine = d_->mImageProcessDIB();
  // The weight first: a built-in type then overwrites it with its own, so
  // only eCustom uses the caller's weight.
  engine.setFilterWeight(FilterWeight);
  engine.setFilterType(FilterType);
  // A convolution reads the picture and writes its result in one pass, with
  // no working image; the other filters, and pictures that are not 32-bit,
  // take the working image.
  if (engine.FiltersPixels()) {
    operation::Direct direct(*this);
    if (direct.ready() && engine.FilterPixels(direct.from, direct.to)) return direct.commit(*this);
  }
  Working w(*this);
  cDIBSection buffer;
  buffer.Create(w.image.Width(), w.image.Height());
  engine.ProcessImage(w.image, buffer);
  buffer.ClearUp();  // released before the result's picture is made, to keep the peak down
  commit(*this, w.image);
}

void QorvPicture::AddCustomFilter(const IntArray2D& Array2D) {
  cImageProcessDIB& engine = d_->mImageProcessDIB();
  const std::int64_t extent1 = std::int64_t{Array2D.upper1} - Array2D.lower1 + 1;
  const std::int64_t extent2 = std::int64_t{Array2D.upper2} - Array2D.lower2 + 1;
  if (extent1 > 99 || extent2 > 99) {
    // No kernel holds that many entries: the size check or the copy fails,
    // without building the array first.
    const std::int64_t size = 2 * std::int64_t{Array2D.upper1} + 1;
    engine.setFilterArraySize(size >= 0 && size < 100 ? static_cast<std::int32_t>(size) : -1);
    throw AutomationError(errors::SubscriptOutOfRange, programName() + ".cImageProcess", "Subscript out of range");
  }
  engine.AddCustomFilter(Kernel2D(Array2D));
}

void QorvPicture::Darken(const QVariant& Amount) {
  const std::int32_t amount = wholeAmount(Amount);
  Working w(*this);
  d_->mImageProcessDIB().Fade(w.image, amount);
  commit(*this, w.image);
}

void QorvPicture::Lighten(const QVariant& Amount) {
  const double amount = numericAmount(Amount);
  Working w(*this);
  d_->mImageProcessDIB().Lighten(w.image, amount);
  commit(*this, w.image);
}

void QorvPicture::Grayscale() {
  Working w(*this);
  d_->mImageProcessDIB().Grayscale(w.image);
  commit(*this, w.image);
}

void QorvPicture::AddNoise(qint32 Percent, bool bRandom) {
  Working w(*this);
  d_->mImageProcessDIB().AddNoise(w.image, Percent, bRandom);
  commit(*this, w.image);
}

void QorvPicture::BlackAndWhite() {
  Working w(*this);
  cDIBSection result;
  result.Create(w.image.Width(), w.image.Height());
  d_->mImageProcessDIB().BlackAndWhite(w.image, result);
  w.image.ClearUp();  // no longer needed: the picture made from the result need not share memory with it
  commit(*this, result);
}

void QorvPicture::Resample(qint32 lW, qint32 lH) {
  // A 32-bit picture is read as it is (and held, like a direct operation's
  // source, for the operation's length); any other needs a working image.
  const PicturePtr source = d_->Buffer().Picture();
  PixelRows from = operation::pictureRows(source);
  std::optional<Working> w;
  if (!from.valid()) {
    w.emplace(*this);
    if (w->image.IsEmpty()) return;
    const DibView v = w->image.View();
    from = PixelRows::bottomUp(v.bits, v.stride, v.width, v.height, 3);
  }
  // The scaled rows go straight into the new 32-bit picture, with no 24-bit
  // result to convert afterwards; only where that picture cannot be had does
  // the working result (which then fails the same way, or is shown) follow.
  if (lW > 0 && lH > 0) {
    ScopedBitmap result(gdi::CreateBitmapForOverwrite(lW, lH));
    gdi::Surface r;
    if (result && gdi::BitmapSurface(result.get(), r) && r.bitsPerPixel == 32 && !r.bottomUp &&
        d_->mImageProcessDIB().ResamplePixels(from, PixelRows::topDown(r.rows, r.stride, r.width, r.height, 4))) {
      operation::commitResized(*this, std::move(result));
      return;
    }
  }
  if (!w) w.emplace(*this);
  const std::unique_ptr<cDIBSection> out = d_->mImageProcessDIB().Resample(w->image, lH, lW);
  if (!out) return;  // no buffer of that size: the picture stays as it was
  operation::commitResized(*this, *out);
}

void QorvPicture::CombinePictures(const PicturePtr& Picture1, const PicturePtr& Picture2, qint32 CombinationType,
                                  float Multiplier1, float Multiplier2, qint32 Offset1, qint32 Offset2) {
  // Both pictures are laid at (0, 0) over images of Buffer's size: larger
  // ones are cut, smaller ones leave black where they do not reach.
  const PicturePtr current = d_->Buffer().Picture();
  if (handleOf(current) == 0) return;
  cDIBSection first, second;
  if (!first.Create(current->Width(), current->Height())) return;
  if (!second.Create(current->Width(), current->Height())) return;
  fillFrom(first, Picture1);
  fillFrom(second, Picture2);
  cImageProcessDIB& engine = d_->mImageProcessDIB();
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

namespace {

// A quarter turn of Buffer's W x H image straight into a new H x W picture.
// An even-sized turn writes every pixel, so no back buffer is sized and
// cleared first; an odd size can leave an edge row or column uncovered in
// the back buffer's colour, and that route (or a bordered back buffer) stays
// with the caller. Null when this route does not apply.
PicturePtr quarterTurned(PictureBox& buffer, const PictureBox& back, std::int32_t angle, std::int32_t W,
                         std::int32_t H) {
  if (back.BorderStyle() != 0 || W <= 0 || H <= 0 || (W % 2) != 0 || (H % 2) != 0) return nullptr;
  ScopedBitmap turned(gdi::CreateBitmapForOverwrite(H, W));
  const ScopedMemDC dc(gdi::CreateCompatibleDC(0));
  if (!turned || !dc) return nullptr;
  {
    const ScopedSelect sel(dc.get(), turned.get());
    if (!sel.ok()) return nullptr;
    rotateBlt(dc.get(), H / 2, W / 2, angle, buffer.hDC(), 0, 0, W, H);
  }
  PicturePtr pic = Picture::fromBitmap(turned.get());
  if (pic) turned.release();  // the picture owns it now
  return pic;
}

}  // namespace

bool QorvPicture::Rotate(bool* ClockWise) {
  PictureBox& buffer = d_->Buffer();
  PictureBox& back = d_->bBuffer();
  if (handleOf(buffer.Picture()) == 0) return false;
  const bool clockwise = ClockWise != nullptr && *ClockWise;
  const std::int32_t angle = clockwise ? 90 : -90;
  const auto W = static_cast<std::int32_t>(std::nearbyint(buffer.ScaleWidth()));
  const auto H = static_cast<std::int32_t>(std::nearbyint(buffer.ScaleHeight()));
  if (PicturePtr pic = quarterTurned(buffer, back, angle, W, H)) {
    buffer.setPicture(pic);
  } else {
    back.Cls();
    back.setWidth(static_cast<int>(buffer.ScaleHeight()));
    back.setHeight(static_cast<int>(buffer.ScaleWidth()));
    rotateBlt(back.hDC(), H / 2, W / 2, angle, buffer.hDC(), 0, 0, W, H);
    buffer.setPicture(back.Image());
  }
  buffer.Refresh();
  d_->handleResize();
  d_->pictureProcessed();
  // The result has never been reported as True; hosts do not rely on it.
  return false;
}

bool QorvPicture::RotateAngle(double Degrees, const QVariant& BackColor, qint32 Quality) {
  if (!std::isfinite(Degrees) || Quality < 0 || Quality > 2) {
    raiseControlError(errors::InvalidProcedureCall, "Invalid procedure call or argument");
  }
  const COLORREF back = resolveColor(static_cast<COLORREF>(BackColor.isValid() ? conv<qint32>(BackColor) : this->BackColor()));
  Working w(*this);
  if (w.image.IsEmpty()) return false;
  const std::unique_ptr<cDIBSection> out = d_->mImageProcessDIB().RotateAngle(w.image, Degrees, back, Quality);
  return out && operation::commitResized(*this, *out);
}

void QorvPicture::AddCustomFilter(const QVariantList& Array2D) {
  // A list of rows, as a kernel reads on screen: each inner list is one row
  // (the vertical offset), its entries run along the horizontal offset. Both
  // run from -n/2 upwards, so a 3 x 3 list covers -1..1 each way; a ragged or
  // non-square list keeps its own bounds and meets the engine's size checks.
  const int rows = static_cast<int>(Array2D.size());
  int cols = 0;
  for (const QVariant& row : Array2D) cols = std::max(cols, static_cast<int>(row.toList().size()));
  IntArray2D a;
  a.lower1 = -(cols / 2);
  a.upper1 = cols - 1 - cols / 2;
  a.lower2 = -(rows / 2);
  a.upper2 = rows - 1 - rows / 2;
  // No kernel is wider than 99: a larger list goes to the engine's checks by its
  // bounds alone, without building an array of its size.
  if (a.count1() > 99 || a.count2() > 99) return AddCustomFilter(a);
  a.values.assign(static_cast<std::size_t>(a.count1()) * static_cast<std::size_t>(a.count2()), 0);
  for (int j = 0; j < rows; ++j) {
    const QVariantList row = Array2D[j].toList();
    for (int i = 0; i < row.size(); ++i) {
      a.values[static_cast<std::size_t>(i * a.count2() + j)] = static_cast<std::int16_t>(row[i].toInt());
    }
  }
  AddCustomFilter(a);
}

}  // namespace qorv
