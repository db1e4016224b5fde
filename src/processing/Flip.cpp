// Flip: mirror left-right (0), top-bottom (1) or both (2); any other
// orientation leaves the picture alone and reports nothing.
#include <immintrin.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include <QorvPictureBox/gdi.h>
#include "platform/CpuFeatures.h"
#include "processing/cDIBSection.h"
#include "processing/ColumnPass.h"
#include "platform/RowParallel.h"

namespace qorv {

namespace {

[[gnu::always_inline]] inline void mirrorRow(std::uint8_t* p, std::int32_t width) {
  std::uint8_t* l = p;
  std::uint8_t* r = p + 3 * (width - 1);
  while (l < r) {
    const std::uint8_t b = l[0], g = l[1], red = l[2];
    l[0] = r[0];
    l[1] = r[1];
    l[2] = r[2];
    r[0] = b;
    r[1] = g;
    r[2] = red;
    l += 3;
    r -= 3;
  }
}
void mirrorRowDefault(std::uint8_t* p, std::int32_t width) { mirrorRow(p, width); }

inline void store12(std::uint8_t* at, __m128i v) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(at), v);
  const std::int32_t tail = _mm_cvtsi128_si32(_mm_srli_si128(v, 8));
  std::memcpy(at + 8, &tail, 4);
}

// Four pixels from each end per step, reversed with one shuffle each; both
// loads stay inside the row (the right one ends where its four pixels end)
// and both happen before either store.
[[gnu::target("avx2")]] void mirrorRowAvx2(std::uint8_t* p, std::int32_t width) {
  const __m128i revLeft = _mm_setr_epi8(9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1, 2, -1, -1, -1, -1);
  const __m128i revRight = _mm_setr_epi8(13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, -1, -1, -1, -1);
  std::int32_t i = 0;
  for (; 2 * i + 8 <= width; i += 4) {
    std::uint8_t* left = p + 3 * i;
    std::uint8_t* rightEnd = p + 3 * (width - i);
    const __m128i l = _mm_loadu_si128(reinterpret_cast<const __m128i*>(left));
    const __m128i r = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rightEnd - 16));
    store12(rightEnd - 12, _mm_shuffle_epi8(l, revLeft));
    store12(left, _mm_shuffle_epi8(r, revRight));
  }
  mirrorRow(p + 3 * i, width - 2 * i);
}

}  // namespace

void cImageProcessDIB::Flip(cDIBSection& cImage, std::int32_t Orientation) {
  const DibView v = cImage.View();
  if (!v.valid()) return;
  const bool horizontal = Orientation == flip::Horizontal || Orientation == flip::Hor_And_Vert;
  const bool vertical = Orientation == flip::Verticle || Orientation == flip::Hor_And_Vert;
  if (!horizontal && !vertical) return;
  const auto mirrorRow = cpuFeatures().avx2 ? mirrorRowAvx2 : mirrorRowDefault;
  const std::int32_t n = v.rowBytes();
  runRowPass("Flip", v.width * 3 - 3, [&] {
    if (!vertical) {
      parallelRows(0, v.height - 1, n, [&](std::int32_t y0, std::int32_t y1) {
        for (std::int32_t y = y0; y <= y1; ++y) mirrorRow(v.row(y), v.width);
      });
      return;
    }
    // Swap row y with its mirror; pairs are independent of each other.
    parallelRows(0, v.height / 2 - 1, 2 * static_cast<std::int64_t>(n), [&](std::int32_t y0, std::int32_t y1) {
      std::vector<std::uint8_t> tmp(static_cast<std::size_t>(n));
      for (std::int32_t y = y0; y <= y1; ++y) {
        std::uint8_t* a = v.row(y);
        std::uint8_t* b = v.row(v.height - 1 - y);
        std::memcpy(tmp.data(), a, tmp.size());
        std::memcpy(a, b, tmp.size());
        std::memcpy(b, tmp.data(), tmp.size());
        if (horizontal) {
          mirrorRow(a, v.width);
          mirrorRow(b, v.width);
        }
      }
    });
    if (horizontal && v.height % 2 == 1) mirrorRow(v.row(v.height / 2), v.width);
  });
}

}  // namespace qorv
