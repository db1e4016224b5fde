// Pieces of the stretch engine shared by its source files (GdiStretch.cpp,
// GdiHalftoneAvx2.cpp, GdiPlgBlt.cpp). Internal to the gdi implementation.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "platform/GdiPixels.h"
#include "platform/GdiStretch.h"

#if defined(__x86_64__) && defined(__GNUC__)
#define QORV_HALFTONE_AVX2 1
#endif

namespace gdi::detail {

using i64 = std::int64_t;
using u64 = std::uint64_t;
__extension__ typedef __int128 i128;

using StoreFn = void (*)(const Image& dst, int y, int x0, int n, const std::uint32_t* s, std::uint32_t* tmp);

// Row writers indexed by ropNibble(): each stores a finished source row
// through that raster operation.
extern const std::array<StoreFn, 16> kStores;

// Source pixels of columns [c0, c0+n) of any row as 0x??RRGGBB (the top byte
// may hold the X byte of 32-bit rows; every consumer ignores it).
class RowSource {
 public:
  RowSource(const Image& img, int c0, int n) : img_(img), c0_(c0), n_(n), direct_(img.fmt.plain32()) {
    if (!direct_) buf_.resize(static_cast<std::size_t>(n));
  }
  const std::uint32_t* get(int y) {
    if (direct_) return reinterpret_cast<const std::uint32_t*>(img_.row(y)) + c0_;
    if (y != cached_) {
      readRow(img_, y, c0_, n_, buf_.data());
      cached_ = y;
    }
    return buf_.data();
  }

 private:
  const Image& img_;
  int c0_;
  int n_;
  bool direct_;
  int cached_ = -1;
  std::vector<std::uint32_t> buf_;
};

// The span of source columns [c0, c0+n) read by the horizontal axis.
void columnRange(const AxisMap& a, int& c0, int& n);

#ifdef QORV_HALFTONE_AVX2
// The AVX2 halftone paths (GdiHalftoneAvx2.cpp): whether the CPU has them,
// whether a shrink / an enlargement fits their exact arithmetic, and the row
// loops themselves over destination rows [i0, i1).
bool haveAvx2();
bool shrinkFitsAvx2(const Image& src, const AxisMap& ax, const AxisMap& ay);
bool enlargeFitsAvx2(const AxisMap& ax, const AxisMap& ay);
void shrinkAvx2(const Image& dst, const Image& src, const AxisMap& ax, const AxisMap& ay, StoreFn store, int i0,
                int i1);
void enlargeAvx2(const Image& dst, const Image& src, const AxisMap& ax, const AxisMap& ay, StoreFn store, int i0,
                 int i1);
#endif

}  // namespace gdi::detail
