// The blit engine behind BitBlt, StretchBlt and PlgBlt, working on Images.
// Internal to the gdi implementation; no Qt here.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/GdiPixels.h"
#include <QorvPictureBox/gdi.h>

namespace gdi::detail {

// Largest extent (either sign) a stretch accepts on any axis. It keeps a row's
// exact halftone sums inside 32 bits (255 * 2 * extent < 2^32) and every
// product of the two axes inside 64 bits.
inline constexpr std::int64_t kMaxExtent = std::int64_t{1} << 23;

// The raster operation as a function of source and destination bits, the
// pattern (the DC's white brush) being all ones: bit (S << 1 | D) of the result.
inline unsigned ropNibble(DWORD rop) { return ((rop >> 16) & 0xFFu) >> 4; }
// Whether the classic operation reads the source at all (its pattern/source/
// destination truth table depends on S).
inline bool ropNeedsSource(DWORD rop) {
  const unsigned r = (rop >> 16) & 0xFFu;
  return (((r >> 2) ^ r) & 0x33u) != 0;
}

struct StretchRequest {
  std::int64_t xDest = 0, yDest = 0, wDest = 0, hDest = 0;
  std::int64_t xSrc = 0, ySrc = 0, wSrc = 0, hSrc = 0;
  int mode = BLACKONWHITE;
  DWORD rop = SRCCOPY;
};

// How one destination coordinate reads the source along one axis.
enum class Footprint {
  PickFirst,  // the first source pixel of the group
  PickLast,   // the last one
  Group,      // all of them (AND / OR modes)
  Weights,    // weighted (halftone)
};

// Per-axis mapping for the visible destination range only: destination
// coordinate start+i reads source coordinates first[i] .. first[i]+len[i]-1
// (absolute), with weights w[wofs[i]..] over `den` for Weights.
struct AxisMap {
  int start = 0;
  int count = 0;
  std::vector<std::int32_t> first;
  std::vector<std::int32_t> len;
  std::vector<std::uint32_t> wofs;
  std::vector<std::uint32_t> w;
  std::uint64_t den = 1;
  bool shrinking = false;  // fewer destination than source pixels
};

// Builds the map of destination coordinates [clipLo, clipHi) for a destination
// span of D pixels at dOrigin reading S source pixels at sOrigin (mirrored:
// logical pixel j is drawn at dOrigin + D - 1 - j). Entries whose footprint
// leaves [0, srcLimit) are trimmed off the ends.
void buildAxis(std::int64_t dOrigin, std::int64_t D, std::int64_t sOrigin, std::int64_t S, bool mirror,
               int clipLo, int clipHi, int srcLimit, Footprint kind, AxisMap& out);

// Draws the request onto `dst`; `src` may be null when the operation does not
// read the source. The caller has checked extents (non-zero source, within
// kMaxExtent).
void stretchImage(const Image& dst, const Image* src, const StretchRequest& r);

// Parallelogram blit: pts are where the source rectangle's top-left, top-right
// and bottom-left corners land. Returns false for a degenerate parallelogram.
bool plgImage(const Image& dst, const POINT* pts, const Image& src, int xSrc, int ySrc, int width, int height);

}  // namespace gdi::detail
