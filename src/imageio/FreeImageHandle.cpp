#include "imageio/FreeImageHandle.h"

#include <FreeImage.h>

namespace qorv::imageio {

void DibDeleter::operator()(FIBITMAP* dib) const {
  if (dib) FreeImage_Unload(dib);
}

}  // namespace qorv::imageio
