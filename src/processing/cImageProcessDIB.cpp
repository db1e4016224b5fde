#include "processing/cImageProcessDIB.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/gdi.h>
#include "platform/PixelRows.h"
#include "processing/ColumnPass.h"
#include "processing/ResampleRows.h"
#include "processing/cDIBSection.h"

namespace qorv {

cImageProcessDIB::cImageProcessDIB() = default;
cImageProcessDIB::~cImageProcessDIB() = default;

void cImageProcessDIB::raise(std::int32_t number, const std::string& description) {
  throw AutomationError(number, programName() + ".cImageProcess", description);
}

void cImageProcessDIB::notifyComplete(std::uint32_t startMs, const std::string& d) {
  if (Complete) Complete(static_cast<std::int32_t>(gdi::timeGetTime() - startMs), d);
}

std::string cImageProcessDIB::FilterName(std::int32_t type) {
  static const char* const names[] = {"Blur",   "Blur More", "Soften",  "Soften More", "Sharpen",
                                      "Sharpen More", "Un Sharp", "Emboss", "Median", "Minimum",
                                      "Maximum", "Count", "Custom"};
  if (type < filter::eBlur || type > filter::eCustom) return std::string();
  return names[type - 1];
}

void cImageProcessDIB::setFilterType(std::int32_t value) {
  if (value < filter::eBlur || value >= filter::_Max) raise(errors::FilterInvalidValue, "Invalid filter types.");
  type_ = value;
  if (value != filter::eCustom) rebuildKernel();
}

void cImageProcessDIB::setFilterArraySize(std::int32_t value) {
  if (value % 2 == 0) raise(errors::FilterSizeMustBeOdd, "Size must be an odd number");
  if (value < 0 || value >= 100) {
    raise(errors::FilterInvalidValue, "Invalid size.  Size should be an odd number from 3 to 9");
  }
  size_ = value;
  half_ = value / 2;
  kernel_ = Kernel2D(-half_, half_, -half_, half_);
}

std::int32_t cImageProcessDIB::FilterValue(std::int32_t IX, std::int32_t iY) const {
  if (!kernel_.contains(IX, iY)) raise(errors::SubscriptOutOfRange, "Subscript out of range");
  return kernel_(IX, iY);
}

void cImageProcessDIB::setFilterValue(std::int32_t IX, std::int32_t iY, std::int32_t value) {
  if (!kernel_.contains(IX, iY)) raise(errors::SubscriptOutOfRange, "Subscript out of range");
  kernel_(IX, iY) = value;
}

void cImageProcessDIB::AddCustomFilter(const Kernel2D& Array2D) {
  // Sized from the first dimension's upper bound alone: an array that is not
  // symmetric about 0 runs into the bounds check during the copy.
  const std::int64_t size = 2 * std::int64_t{Array2D.upper1} + 1;
  if (size < std::numeric_limits<std::int32_t>::min() || size > std::numeric_limits<std::int32_t>::max()) {
    raise(errors::FilterInvalidValue, "Invalid size.  Size should be an odd number from 3 to 9");
  }
  setFilterArraySize(static_cast<std::int32_t>(size));
  for (std::int32_t i = Array2D.lower1; i <= Array2D.upper1; ++i) {
    for (std::int32_t j = Array2D.lower2; j <= Array2D.upper2; ++j) setFilterValue(i, j, Array2D(i, j));
  }
}

void cImageProcessDIB::rebuildKernel() {
  weight_ = 0;
  std::int32_t size = 0;
  switch (type_) {
    case filter::eBlur: size = 3; break;
    case filter::eBlurMore: size = 5; break;
    case filter::eSoften: size = 3; break;
    case filter::eSoftenMore: size = 5; break;
    case filter::eSharpen:
    case filter::eSharpenMore:
    case filter::eEmboss: size = 3; break;
    default: return;  // no kernel of its own: the array stays as it was
  }
  setFilterArraySize(size);
  const std::int32_t r = half_;
  for (std::int32_t j = -r; j <= r; ++j) {
    for (std::int32_t i = -r; i <= r; ++i) {
      const std::int32_t d = std::max(std::abs(i), std::abs(j));
      std::int32_t v = 0;
      switch (type_) {
        case filter::eBlur:
        case filter::eBlurMore: v = 1; break;
        case filter::eSoften:
        case filter::eSoftenMore:
          v = d == 0 ? static_cast<std::int32_t>(std::nearbyint(size * size / 2.0)) : r - d + 1;
          break;
        case filter::eSharpen: v = d == 0 ? 15 : -1; break;
        case filter::eSharpenMore: v = d == 0 ? 5 : (i == 0 || j == 0 ? -1 : 0); break;
        case filter::eEmboss: v = (i == -1 && j == -1) ? -1 : (i == 1 && j == 1 ? 1 : 0); break;
        default: break;
      }
      kernel_(i, j) = v;
      weight_ += v;
    }
  }
  // The emboss entries cancel out; its divisor is set directly.
  if (type_ == filter::eEmboss) weight_ = 1;
}

bool cImageProcessDIB::ProcessImage(cDIBSection& cImage, cDIBSection& cBuffer) {
  const DibView img = cImage.View();
  const DibView buf = cBuffer.View();
  if (!img.valid() || !buf.valid() || !img.sameSize(buf)) return false;
  if (FiltersPixels()) {
    // The buffer takes the original and the filter writes straight back:
    // the image ends exactly as after convolving into the buffer and
    // copying it back, without the second copy.
    detail::copyPixels(img, buf);
    return Convolve(cBuffer, cImage);
  }
  switch (type_) {
    case filter::eUnSharp: {
      setFilterType(filter::eBlur);
      detail::copyPixels(img, buf);
      Convolve(cImage, cBuffer);
      AddImages(cBuffer, cImage, -1.0f, 0, 0, 0, 2.0f, 0, 0, 0);
      setFilterType(filter::eUnSharp);
      return true;
    }
    case filter::eEmboss:
      // Clamped by the convolution first, offset afterwards: flat areas
      // come out as 127 and nothing falls below it.
      detail::copyPixels(img, buf);
      Convolve(cImage, cBuffer);
      AddImages(cBuffer, cImage, 1.0f, 127, 127, 127, 0.0f, 0, 0, 0);
      return true;
    case filter::eMedian:
    case filter::eMinimum:
    case filter::eMaximum:
      detail::copyPixels(img, buf);
      return RankFilter(cBuffer, cImage);
    default:
      return false;  // eCount and unset types do nothing
  }
}

std::unique_ptr<cDIBSection> cImageProcessDIB::Resample(const cDIBSection& cImage, std::int32_t lNewHeight,
                                                        std::int32_t lNewWidth) {
  std::unique_ptr<cDIBSection> out;
  const std::string desc = "Resample";
  runOperation(desc, lNewHeight > 0 ? lNewHeight - 1 : 0, [&] {
    out = cImage.Resample(lNewHeight, lNewWidth);
    if (!out) return;
    for (std::int32_t y = 0; y < lNewHeight; ++y) notifyProgress(y, desc);
  });
  return out;
}

bool cImageProcessDIB::ResamplePixels(const PixelRows& src, const PixelRows& dst) {
  if (!src.valid() || !dst.valid()) return false;
  const std::string desc = "Resample";
  runOperation(desc, dst.height - 1, [&] {
    resample::resampleRows(src, dst);
    for (std::int32_t y = 0; y < dst.height; ++y) notifyProgress(y, desc);
  });
  return true;
}

}  // namespace qorv
