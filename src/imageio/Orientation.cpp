#include "imageio/Orientation.h"

#include <FreeImage.h>

namespace qorv::imageio {

int OrientationTag(FIBITMAP* dib) {
  FITAG* tag = nullptr;
  if (!dib || !FreeImage_GetMetadata(FIMD_EXIF_MAIN, dib, "Orientation", &tag) || !tag) return 1;
  if (FreeImage_GetTagType(tag) != FIDT_SHORT || FreeImage_GetTagCount(tag) < 1) return 1;
  const int v = *static_cast<const WORD*>(FreeImage_GetTagValue(tag));
  return v >= 1 && v <= 8 ? v : 1;
}

namespace {
// The library turns counter-clockwise for positive angles.
DibPtr rotated(DibPtr dib, double ccwDegrees) {
  DibPtr turned(FreeImage_Rotate(dib.get(), ccwDegrees));
  return turned ? std::move(turned) : std::move(dib);
}
}  // namespace

DibPtr ApplyOrientation(DibPtr dib, int orientation) {
  if (!dib) return dib;
  // Tags 2, 4, 5 and 7 are mirrored: mirror first, then turn as 1, 3, 8, 6.
  if (orientation == 2 || orientation == 4 || orientation == 5 || orientation == 7) {
    FreeImage_FlipHorizontal(dib.get());
    orientation = orientation == 2 ? 1 : orientation == 4 ? 3 : orientation == 5 ? 8 : 6;
  }
  switch (orientation) {
    case 3: return rotated(std::move(dib), 180);
    case 6: return rotated(std::move(dib), -90);
    case 8: return rotated(std::move(dib), 90);
    default: return dib;
  }
}

}  // namespace qorv::imageio
