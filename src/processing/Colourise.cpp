// Colourise: every pixel takes one hue and one saturation and keeps its own
// lightness, moved by a shift, all through the HLS module. With hue and
// saturation fixed a pixel's result depends only on its largest and smallest
// channel, so the conversions are done once into a table and each pixel is a
// lookup: a table of 511 entries keyed by largest + smallest when the results
// allow it (they nearly always do), else one keyed by the pair itself.
#include <immintrin.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "platform/CpuFeatures.h"
#include "processing/ColumnPass.h"
#include "processing/Hls.h"
#include "processing/cDIBSection.h"

namespace qorv {

namespace {

// A positive shift moves lightness that share of the way to white, a negative
// one that share of the way to black: 100 gives white, -100 black, 0 keeps it.
double shiftedLightness(double l, double shiftPercent) {
  const double k = shiftPercent / 100.0;
  const double moved = k >= 0.0 ? l + (1.0 - l) * k : l * (1.0 + k);
  return std::clamp(moved, 0.0, 1.0);
}

// Blue, green, red in the low three bytes.
using Packed = std::uint32_t;

Packed pack(const hls::Rgb& c) { return Packed{c.b} | (Packed{c.g} << 8) | (Packed{c.r} << 16); }

struct ColourTable {
  bool bySum = false;
  std::vector<Packed> entries;  // by largest + smallest (511), or by largest * 256 + smallest
};

ColourTable buildTable(double hue, double saturation, double shift) {
  std::vector<Packed> byPair(256 * 256, 0);
  for (int maxc = 0; maxc < 256; ++maxc) {
    for (int minc = 0; minc <= maxc; ++minc) {
      const double l = hls::lightness(static_cast<std::uint8_t>(maxc), static_cast<std::uint8_t>(minc));
      byPair[static_cast<std::size_t>(maxc * 256 + minc)] =
          pack(hls::toRgb({hue, shiftedLightness(l, shift), saturation}));
    }
  }
  ColourTable t;
  t.entries.assign(511, 0);
  std::vector<bool> seen(511, false);
  t.bySum = true;
  for (int maxc = 0; maxc < 256 && t.bySum; ++maxc) {
    for (int minc = 0; minc <= maxc; ++minc) {
      const auto sum = static_cast<std::size_t>(maxc + minc);
      const Packed v = byPair[static_cast<std::size_t>(maxc * 256 + minc)];
      if (!seen[sum]) {
        seen[sum] = true;
        t.entries[sum] = v;
      } else if (t.entries[sum] != v) {
        t.bySum = false;  // two pairs of one sum disagree in the last bit
        break;
      }
    }
  }
  if (!t.bySum) t.entries = std::move(byPair);
  return t;
}

[[gnu::always_inline]] inline void store(std::uint8_t* p, Packed v) {
  p[0] = static_cast<std::uint8_t>(v);
  p[1] = static_cast<std::uint8_t>(v >> 8);
  p[2] = static_cast<std::uint8_t>(v >> 16);
}

template <bool BySum>
[[gnu::always_inline]] inline void colouriseRow(std::uint8_t* p, std::int32_t pixels, const Packed* table) {
  for (std::int32_t i = 0; i < pixels; ++i, p += 3) {
    const std::uint8_t maxc = std::max({p[0], p[1], p[2]});
    const std::uint8_t minc = std::min({p[0], p[1], p[2]});
    store(p, table[BySum ? maxc + minc : maxc * 256 + minc]);
  }
}

template <bool BySum>
void colouriseRowDefault(std::uint8_t* p, std::int32_t pixels, const Packed* table) {
  colouriseRow<BySum>(p, pixels, table);
}

// Eight pixels at a time: the first four from a load at the block's start,
// the other four from a load eight bytes on (so nothing past the eighth
// pixel is read), each channel spread into 32-bit lanes by a byte shuffle,
// the index computed there, the eight entries gathered and packed back to 24
// bytes.
template <bool BySum>
[[gnu::target("avx2")]] void colouriseRowAvx2(std::uint8_t* p, std::int32_t pixels, const Packed* table) {
  const __m256i pickB = _mm256_setr_epi8(0, -1, -1, -1, 3, -1, -1, -1, 6, -1, -1, -1, 9, -1, -1, -1,  //
                                         4, -1, -1, -1, 7, -1, -1, -1, 10, -1, -1, -1, 13, -1, -1, -1);
  const __m256i pickG = _mm256_setr_epi8(1, -1, -1, -1, 4, -1, -1, -1, 7, -1, -1, -1, 10, -1, -1, -1,  //
                                         5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1, 14, -1, -1, -1);
  const __m256i pickR = _mm256_setr_epi8(2, -1, -1, -1, 5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1,  //
                                         6, -1, -1, -1, 9, -1, -1, -1, 12, -1, -1, -1, 15, -1, -1, -1);
  const __m256i keep3 = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,
                                         0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
  const __m256i order = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
  std::int32_t i = 0;
  for (; i + 8 <= pixels; i += 8) {
    std::uint8_t* px = p + 3 * i;
    const __m256i bytes = _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(px))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(px + 8)), 1);
    const __m256i b = _mm256_shuffle_epi8(bytes, pickB);
    const __m256i g = _mm256_shuffle_epi8(bytes, pickG);
    const __m256i r = _mm256_shuffle_epi8(bytes, pickR);
    const __m256i maxc = _mm256_max_epi32(_mm256_max_epi32(b, g), r);
    const __m256i minc = _mm256_min_epi32(_mm256_min_epi32(b, g), r);
    const __m256i index =
        BySum ? _mm256_add_epi32(maxc, minc) : _mm256_add_epi32(_mm256_slli_epi32(maxc, 8), minc);
    const __m256i out = _mm256_i32gather_epi32(reinterpret_cast<const int*>(table), index, 4);
    // 12 bytes from each half, then the two halves' 12 bytes side by side.
    const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(out, keep3), order);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(px), _mm256_castsi256_si128(packed));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(px + 16), _mm256_extracti128_si256(packed, 1));
  }
  colouriseRow<BySum>(p + 3 * i, pixels - i, table);
}

}  // namespace

void cImageProcessDIB::Colourise(cDIBSection& cImage, double Hue, double Saturation, double Lightness) {
  const DibView v = cImage.View();
  if (!v.valid()) return;
  if (!std::isfinite(Hue) || !std::isfinite(Saturation) || !std::isfinite(Lightness)) return;
  const double hue = Hue / 360.0 - std::floor(Hue / 360.0);
  const double saturation = std::clamp(Saturation, 0.0, 100.0) / 100.0;
  const double shift = std::clamp(Lightness, -100.0, 100.0);
  const ColourTable table = buildTable(hue, saturation, shift);
  using Row = void (*)(std::uint8_t*, std::int32_t, const Packed*);
  const bool avx2 = cpuFeatures().avx2;
  const Row row = table.bySum ? (avx2 ? colouriseRowAvx2<true> : colouriseRowDefault<true>)
                              : (avx2 ? colouriseRowAvx2<false> : colouriseRowDefault<false>);
  runColumnPass(ColumnPass::wholePicture(v, "Colourise", 3), [&](const Strip& s) {
    for (std::int32_t y = s.y0; y <= s.y1; ++y) row(v.row(y) + s.x0, s.pixels(), table.entries.data());
  });
}

}  // namespace qorv
