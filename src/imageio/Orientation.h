// Turns a picture upright as its camera's orientation tag says. Free of Qt:
// the decoder helper uses it too.
#pragma once

#include <cstdint>

#include "imageio/FreeImageHandle.h"

namespace qorv::imageio {

// The orientation tag of a loaded picture (1..8), 1 when it has none.
int OrientationTag(FIBITMAP* dib);

// The picture as it should be seen for tag `orientation`. A tag the library
// cannot apply to this pixel layout leaves the picture as stored.
DibPtr ApplyOrientation(DibPtr dib, int orientation);

}  // namespace qorv::imageio
