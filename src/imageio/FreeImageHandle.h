// Ownership of FreeImage bitmaps inside the I/O layer. Device bitmaps and
// contexts have their owners in platform/ScopedGdi.h, which knows nothing of
// the library.
#pragma once

#include <memory>

struct FIBITMAP;

namespace qorv::imageio {

struct DibDeleter {
  void operator()(FIBITMAP* dib) const;  // FreeImage_Unload
};
using DibPtr = std::unique_ptr<FIBITMAP, DibDeleter>;

}  // namespace qorv::imageio
