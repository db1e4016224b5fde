// The transparency of a picture, kept beside it: device bitmaps have no alpha
// (their fourth byte is undefined to every drawing call), so a picture that
// had one in its file carries it here, one byte a pixel, for display only.
#pragma once

#include <cstdint>
#include <vector>

#include <QorvPictureBox/gdi.h>

class QImage;

namespace qorv {

struct AlphaMask {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> alpha;  // rows top-down, `width` bytes each; 255 opaque

  bool empty() const { return alpha.empty(); }
  std::uint8_t at(int x, int y) const { return alpha[static_cast<std::size_t>(y) * width + x]; }
};

// Moves the fourth byte of a 32-bit device bitmap (where the loaders hand the
// alpha over) into a mask and sets it back to 0, what every other device
// bitmap holds. The mask is empty when the bitmap is not such a bitmap or its
// alpha says nothing: every pixel opaque, or every pixel 0, which is how
// 32-bit files without an alpha channel usually store the spare byte.
AlphaMask TakeAlphaFromSpareByte(gdi::HBITMAP hbm);

// The alpha of a QImage; empty when the image has no alpha channel or is
// opaque everywhere (a wholly transparent image keeps its mask).
AlphaMask AlphaOfImage(const QImage& image);

}  // namespace qorv
