// Rotation of a working image by any angle into a new one that holds the
// whole turned picture (processing/FreeRotation.h has the geometry).
#include <cmath>
#include <memory>

#include "processing/ColumnPass.h"
#include "processing/FreeRotation.h"
#include "processing/cDIBSection.h"

namespace qorv {

std::unique_ptr<cDIBSection> cImageProcessDIB::RotateAngle(const cDIBSection& cImage, double Degrees,
                                                           std::uint32_t BackColor, std::int32_t Quality) {
  const DibView v = cImage.View();
  if (!v.valid() || !std::isfinite(Degrees) || Quality < 0 || Quality > 2) return nullptr;
  // Whole turns are taken off exactly first, so a huge angle turns as its
  // remainder does.
  constexpr double kPi = 3.14159265358979323846;
  const double radians = std::fmod(Degrees, 360.0) * (kPi / 180.0);
  std::int32_t W = 0, H = 0;
  if (!turnedSize(radians, v.width, v.height, W, H)) return nullptr;
  auto out = std::make_unique<cDIBSection>();
  if (!out->Create(W, H)) return nullptr;
  const DibView o = out->View();
  // Working images are stored bottom row first.
  const PixelRows src{v.row(v.height - 1), -static_cast<std::ptrdiff_t>(v.stride), v.width, v.height, 3};
  const PixelRows dst{o.row(o.height - 1), -static_cast<std::ptrdiff_t>(o.stride), o.width, o.height, 3};
  const std::string description = "Rotate";
  runOperation(description, H - 1, [&] {
    std::int32_t reported = -1;
    turnPixels(src, dst, radians, static_cast<RotationQuality>(Quality), BackColor, [&](std::int32_t lastRow) {
      while (reported < lastRow) notifyProgress(++reported, description);
    });
  });
  return out;
}

}  // namespace qorv
