// Bilinear resampling: per channel, vertically between two source rows, each
// rounded (halves to even), then horizontally between two of those, rounded
// again. The results are those of double-precision arithmetic in that order
// on every path (see ResampleRows.h for how the vector paths keep to them).
//
// The vertical step depends only on the destination row and the source
// column: where the result is at least half as wide as the source, each
// destination row first interpolates the whole pair of source rows once (a
// source column serves up to four destination pixels), then picks those
// values for its pixels. Much narrower results interpolate per pixel.
#include <algorithm>
#include <cmath>
#include <vector>

#include "platform/CpuFeatures.h"
#include "platform/PixelRows.h"
#include "platform/RowParallel.h"
#include "processing/ResampleRows.h"
#include "processing/cDIBSection.h"

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#define QORV_RESAMPLE_AVX2 1
#endif

namespace qorv {

namespace {

// nearbyint for 0 <= v < 2^51: adding 2^52 leaves no fraction bits, so the
// addition itself rounds (to nearest, halves to even, in the default mode).
// A plain library call would cost more than the interpolation around it.
inline double roundHalfEven(double v) {
  constexpr double kShift = 4503599627370496.0;  // 2^52
  return (v + kShift) - kShift;
}

inline std::uint8_t toByte(double v) { return static_cast<std::uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// RNE(w0 * a + w1 * b) with w0 = 1 - w1, in double precision: the reference
// every path gives.
inline std::uint8_t lerp(double w1, std::uint8_t a, std::uint8_t b) {
  return toByte(roundHalfEven((1.0 - w1) * a + w1 * b));
}

// Where destination row y reads.
struct RowTap {
  std::int32_t iy, iy1;
  double w1;
};

RowTap rowTap(std::int32_t y, double yScale, std::int32_t height) {
  const double fy = y * yScale;
  std::int32_t iy = static_cast<std::int32_t>(std::floor(fy));
  if (iy > height - 1) iy = height - 1;
  const std::int32_t iy1 = iy + 1 < height ? iy + 1 : iy;
  return RowTap{iy, iy1, fy - iy};
}

void verticalRowDouble(const std::uint8_t* r0, const std::uint8_t* r1, double w1, std::uint8_t* v,
                       std::int32_t bytes) {
  for (std::int32_t k = 0; k < bytes; ++k) v[k] = lerp(w1, r0[k], r1[k]);
}

#ifdef QORV_RESAMPLE_AVX2
// Sums within 2^-15 of a half are computed again in double precision.
constexpr float kDoubtful = 0.5f - 1.0f / 32768;

// The eight bytes at p as floats.
[[gnu::target("avx2"), gnu::always_inline]] inline __m256 floatsAt(const std::uint8_t* p) {
  return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
}

// a + w * (b - a) rounded to an integer (the conversion rounds halves to
// even in the default mode, as the double path's rounding does); in `doubt`
// the lanes whose sum lies within 2^-15 of a half, where double precision
// might round the other way, when `kCheck`.
template <bool kCheck>
[[gnu::target("avx2,fma"), gnu::always_inline]] inline __m256i lerpRounded(__m256 a, __m256 b, __m256 w,
                                                                          __m256& doubt) {
  const __m256 s = _mm256_fmadd_ps(w, _mm256_sub_ps(b, a), a);
  const __m256i q = _mm256_cvtps_epi32(s);
  if constexpr (kCheck) {
    const __m256 off = _mm256_andnot_ps(_mm256_set1_ps(-0.0f), _mm256_sub_ps(s, _mm256_cvtepi32_ps(q)));
    doubt = _mm256_cmp_ps(off, _mm256_set1_ps(kDoubtful), _CMP_GE_OQ);
  }
  return q;
}

// RNE((1 - w1) * a + w1 * b) in double precision for eight lanes, four at a
// time: the reference itself, for lanes whose single-precision sum was too
// close to a half to trust. (The processing layer is built without fused
// multiply-adds, so these round as written.)
[[gnu::target("avx2"), gnu::always_inline]] inline __m128i lerpHalf(__m128 a, __m128 b, __m256d w1) {
  const __m256d s = _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(_mm256_set1_pd(1.0), w1), _mm256_cvtps_pd(a)),
                                  _mm256_mul_pd(w1, _mm256_cvtps_pd(b)));
  return _mm256_cvtpd_epi32(s);
}
[[gnu::target("avx2"), gnu::always_inline]] inline __m256i lerpExact(__m256 a, __m256 b, __m256d w1Lo,
                                                                    __m256d w1Hi) {
  return _mm256_set_m128i(lerpHalf(_mm256_extractf128_ps(a, 1), _mm256_extractf128_ps(b, 1), w1Hi),
                          lerpHalf(_mm256_castps256_ps128(a), _mm256_castps256_ps128(b), w1Lo));
}

// Sixteen values in 0..255, eight in each argument, as bytes in order.
[[gnu::target("avx2"), gnu::always_inline]] inline __m128i packBytes(__m256i lo, __m256i hi) {
  const __m256i words = _mm256_packs_epi32(lo, hi);
  // Per half: lo's four, hi's four (as 16-bit words); as bytes, each half's
  // first two dwords are lo 0-3, hi 0-3 (low half) and lo 4-7, hi 4-7.
  const __m256i bytes = _mm256_packus_epi16(words, words);
  return _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 0, 0, 0, 0)));
}

template <bool kCheck>
[[gnu::target("avx2,fma")]] void verticalRowAvx2(const std::uint8_t* r0, const std::uint8_t* r1, double w1,
                                                 std::uint8_t* v, std::int32_t bytes) {
  const __m256 w = _mm256_set1_ps(static_cast<float>(w1));
  const __m256d wd = _mm256_set1_pd(w1);
  std::int32_t k = 0;
  for (; k + 16 <= bytes; k += 16) {
    const __m256 a0 = floatsAt(r0 + k), b0 = floatsAt(r1 + k), a1 = floatsAt(r0 + k + 8), b1 = floatsAt(r1 + k + 8);
    __m256 doubtLo, doubtHi;
    __m256i lo = lerpRounded<kCheck>(a0, b0, w, doubtLo);
    __m256i hi = lerpRounded<kCheck>(a1, b1, w, doubtHi);
    if constexpr (kCheck) {
      if (_mm256_movemask_ps(doubtLo)) lo = lerpExact(a0, b0, wd, wd);
      if (_mm256_movemask_ps(doubtHi)) hi = lerpExact(a1, b1, wd, wd);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(v + k), packBytes(lo, hi));
  }
  verticalRowDouble(r0 + k, r1 + k, w1, v + k, bytes - k);
}
#endif

}  // namespace

namespace resample {

namespace {

// Eight 32-bit lanes, written as vectors so that the compiler neither has
// to find the parallelism nor gets to reshape the loop around them.
using Lanes = std::uint32_t __attribute__((vector_size(32)));

// The fraction of w1 * k for k = b - a in 1..255 (a negative k mirrors it
// about a half) is followed for eight weights at once in 32-bit fixed
// point, where wrapping around drops the whole part for free: within 2^-25
// of the exact one after 255 steps. A fraction closer than 2^-15 + 2^-24 to
// a half marks the weight.
inline void markEight(const double* w1, std::size_t m, std::uint8_t* doubtful) {
  constexpr std::uint32_t kBand = (1u << 17) + (1u << 8);  // 2^-15 + 2^-24 of one
  Lanes step{};
  for (std::size_t l = 0; l < m; ++l) step[l] = static_cast<std::uint32_t>(std::llround(w1[l] * 4294967296.0));
  // The fraction minus a half plus the band: under twice the band near a half.
  Lanes at = step - step + (kBand - 0x80000000u), hit{};
  for (int k = 1; k < 256; ++k) {
    at += step;
    hit |= static_cast<Lanes>(at < 2 * kBand);
  }
  // Weights that are multiples of 2^-15 make every sum exact: a true half
  // then rounds the same way in both precisions.
  constexpr double kUnit = 32768.0;  // 2^15
  for (std::size_t l = 0; l < m; ++l)
    doubtful[l] = hit[l] != 0 && w1[l] * kUnit != std::floor(w1[l] * kUnit);
}

void markAll(const double* w1, std::size_t n, std::uint8_t* doubtful) {
  for (std::size_t i = 0; i < n; i += 8) markEight(w1 + i, std::min<std::size_t>(8, n - i), doubtful + i);
}

#ifdef QORV_RESAMPLE_AVX2
[[gnu::target("avx2")]] void markAllAvx2(const double* w1, std::size_t n, std::uint8_t* doubtful) {
  for (std::size_t i = 0; i < n; i += 8) markEight(w1 + i, std::min<std::size_t>(8, n - i), doubtful + i);
}
#endif

}  // namespace

void markDoubtful(const double* w1, std::size_t n, std::uint8_t* doubtful) {
#ifdef QORV_RESAMPLE_AVX2
  if (cpuFeatures().avx2) return markAllAvx2(w1, n, doubtful);
#endif
  markAll(w1, n, doubtful);
}

bool doubtful(double w1) {
  std::uint8_t d = 0;
  markDoubtful(&w1, 1, &d);
  return d != 0;
}

ColumnTaps::ColumnTaps(std::int32_t pixels, std::int32_t outBytes)
    : outBytes_(outBytes),
      left_(static_cast<std::size_t>(pixels)),
      right_(static_cast<std::size_t>(pixels)),
      w1_(static_cast<std::size_t>(pixels)) {}

void ColumnTaps::set(std::int32_t i, std::int32_t left, std::int32_t right, double w1) {
  const auto k = static_cast<std::size_t>(i);
  left_[k] = left;
  right_[k] = right;
  w1_[k] = w1;
}

void ColumnTaps::finish() {
  // Eight pixels a vector step: 24 values, three blocks of eight, whatever
  // the result's bytes a pixel (the X bytes are added as the step stores).
  const std::int32_t steps = pixels() / 8;
  const std::int32_t used = 3 * steps;
  base_.assign(static_cast<std::size_t>(used), 0);
  pick_.assign(128 * static_cast<std::size_t>(used), 0x80);
  weight_.assign(8 * static_cast<std::size_t>(used), 0.0f);
  exactWeight_.assign(8 * static_cast<std::size_t>(used), 0.0);
  check_.assign(static_cast<std::size_t>(steps), 0);
  std::vector<std::uint8_t> doubtfulColumn(w1_.size());
  markDoubtful(w1_.data(), w1_.size(), doubtfulColumn.data());
  oneWindow_ = true;
  for (std::int32_t block = 0; block < used; ++block) {
    // Value j of a row is channel j % 3 of pixel j / 3.
    const std::int32_t first = 8 * block;
    std::int32_t base = left_[static_cast<std::size_t>(first / 3)] + first % 3;
    for (std::int32_t j = first; j < first + 8; ++j)
      base = std::min(base, left_[static_cast<std::size_t>(j / 3)] + j % 3);
    base_[static_cast<std::size_t>(block)] = base;
    std::uint8_t* picks = &pick_[128 * static_cast<std::size_t>(block)];
    for (std::int32_t i = 0; i < 8; ++i) {
      const std::int32_t j = first + i, c = j % 3;
      const auto k = static_cast<std::size_t>(j / 3);
      weight_[static_cast<std::size_t>(j)] = static_cast<float>(w1_[k]);
      exactWeight_[static_cast<std::size_t>(j)] = w1_[k];
      check_[static_cast<std::size_t>(block / 3)] |= doubtfulColumn[k];
      const std::int32_t offsets[2] = {left_[k] + c - base, right_[k] + c - base};
      for (int side = 0; side < 2; ++side) {
        const std::int32_t off = offsets[side];
        if (off >= 32) {
          // Only results under half the source's width read so far apart,
          // and those interpolate per pixel; the vector path stands down.
          base_.clear();
          return;
        }
        // Value i lands in the low byte of 32-bit lane i: byte 4 * i of the
        // side's selections from the first window, or from the second.
        picks[(off < 16 ? 0 : 64) + 32 * side + 4 * i] = static_cast<std::uint8_t>(off & 15);
        oneWindow_ = oneWindow_ && off < 16;
      }
    }
  }
}

namespace {

// The vertical sums stay unclamped doubles on their way into the
// horizontal one: they are whole numbers within 0..255 already.
template <int N>
void perPixelRow(const std::uint8_t* r0, const std::uint8_t* r1, double w1, const std::int32_t* left,
                 const std::int32_t* right, const double* w1x, std::size_t n, std::uint8_t* o) {
  const double w0 = 1.0 - w1;
  for (std::size_t x = 0; x < n; ++x) {
    const std::int32_t l = left[x], r = right[x];
    const double b0 = 1.0 - w1x[x], b1 = w1x[x];
    for (int c = 0; c < 3; ++c) {
      const double a = roundHalfEven(w0 * r0[l + c] + w1 * r1[l + c]);
      const double b = roundHalfEven(w0 * r0[r + c] + w1 * r1[r + c]);
      o[N * x + c] = toByte(roundHalfEven(b0 * a + b1 * b));
    }
    if constexpr (N == 4) o[4 * x + 3] = 0;
  }
}

}  // namespace

void ColumnTaps::perPixel(const std::uint8_t* r0, const std::uint8_t* r1, double w1, std::uint8_t* o) const {
  (outBytes_ == 4 ? perPixelRow<4> : perPixelRow<3>)(r0, r1, w1, left_.data(), right_.data(), w1_.data(),
                                                     left_.size(), o);
}

#ifdef QORV_RESAMPLE_AVX2
// Block k's left and right values as floats: both halves of a vector hold
// the 16 bytes of the vertical row from its base, and one byte shuffle per
// side puts each value in the low byte of its own 32-bit lane (two when the
// block reads more than 16 bytes apart).
template <bool kOneWindow>
[[gnu::target("avx2"), gnu::always_inline]] inline void pickBlock(const std::uint8_t* v, const std::int32_t* base,
                                                                 const std::uint8_t* pick, std::int32_t k,
                                                                 __m256& left, __m256& right) {
  const std::uint8_t* at = v + base[k];
  const std::uint8_t* p = pick + 128 * static_cast<std::ptrdiff_t>(k);
  const __m256i window = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)));
  __m256i l = _mm256_shuffle_epi8(window, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
  __m256i r = _mm256_shuffle_epi8(window, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 32)));
  if constexpr (!kOneWindow) {
    const __m256i next = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at + 16)));
    l = _mm256_or_si256(l, _mm256_shuffle_epi8(next, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 64))));
    r = _mm256_or_si256(r, _mm256_shuffle_epi8(next, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 96))));
  }
  left = _mm256_cvtepi32_ps(l);
  right = _mm256_cvtepi32_ps(r);
}

// Eight pixels (three blocks) per step. Steps whose weights may put a sum
// near a half are checked, and eight lanes with such a sum are done again
// in double precision. The 24 bytes are stored as they are, or spread to
// four bytes a pixel with X bytes of 0.
template <bool kOneWindow, int N>
[[gnu::target("avx2,fma")]] void horizontalRowAvx2(const std::uint8_t* v, const std::int32_t* base,
                                                   const std::uint8_t* pick, const float* weight,
                                                   const double* exactWeight, const std::uint8_t* check,
                                                   std::int32_t steps, std::uint8_t* o) {
  const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                          0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
  for (std::int32_t s = 0; s < steps; ++s) {
    const std::int32_t k = 3 * s;
    __m256 l[3], r[3];
    __m256i q[3];
    for (int b = 0; b < 3; ++b) pickBlock<kOneWindow>(v, base, pick, k + b, l[b], r[b]);
    if (check[s]) {
      for (int b = 0; b < 3; ++b) {
        __m256 doubt;
        q[b] = lerpRounded<true>(l[b], r[b], _mm256_loadu_ps(weight + 8 * (k + b)), doubt);
        if (_mm256_movemask_ps(doubt)) {
          const double* wd = exactWeight + 8 * (k + b);
          q[b] = lerpExact(l[b], r[b], _mm256_loadu_pd(wd), _mm256_loadu_pd(wd + 4));
        }
      }
    } else {
      __m256 unused;
      for (int b = 0; b < 3; ++b) q[b] = lerpRounded<false>(l[b], r[b], _mm256_loadu_ps(weight + 8 * (k + b)), unused);
    }
    const __m128i first = packBytes(q[0], q[1]), last = packBytes(q[2], q[2]);
    if constexpr (N == 3) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 24 * s), first);
      _mm_storel_epi64(reinterpret_cast<__m128i*>(o + 24 * s + 16), last);
    } else {
      // Pixels 0-3 (bytes 0-11) to the low half, 4-7 (bytes 12-23) to the high one.
      const __m256i halves =
          _mm256_permutevar8x32_epi32(_mm256_set_m128i(last, first), _mm256_setr_epi32(0, 1, 2, 0, 3, 4, 5, 0));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + 32 * s), _mm256_shuffle_epi8(halves, spread));
    }
  }
}
#endif

void verticalRow(const std::uint8_t* r0, const std::uint8_t* r1, double w1, bool check, std::uint8_t* v,
                 std::int32_t bytes) {
#ifdef QORV_RESAMPLE_AVX2
  const CpuFeatures cpu = cpuFeatures();
  if (cpu.avx2 && cpu.fma)
    return check ? verticalRowAvx2<true>(r0, r1, w1, v, bytes) : verticalRowAvx2<false>(r0, r1, w1, v, bytes);
#else
  (void)check;
#endif
  verticalRowDouble(r0, r1, w1, v, bytes);
}

void horizontalRow(const std::uint8_t* v, const ColumnTaps& taps, std::uint8_t* o) {
  const std::int32_t n = taps.pixels(), out = taps.outBytes_;
  std::int32_t done = 0;
#ifdef QORV_RESAMPLE_AVX2
  const CpuFeatures cpu = cpuFeatures();
  if (cpu.avx2 && cpu.fma && !taps.base_.empty()) {
    const auto steps = static_cast<std::int32_t>(taps.check_.size());
    const auto run = taps.oneWindow_ ? (out == 4 ? horizontalRowAvx2<true, 4> : horizontalRowAvx2<true, 3>)
                                     : (out == 4 ? horizontalRowAvx2<false, 4> : horizontalRowAvx2<false, 3>);
    run(v, taps.base_.data(), taps.pick_.data(), taps.weight_.data(), taps.exactWeight_.data(), taps.check_.data(),
        steps, o);
    done = 8 * steps;
  }
#endif
  for (std::int32_t x = done; x < n; ++x) {
    const auto k = static_cast<std::size_t>(x);
    for (std::int32_t c = 0; c < 3; ++c)
      o[out * x + c] = lerp(taps.w1_[k], v[taps.left_[k] + c], v[taps.right_[k] + c]);
    if (out == 4) o[4 * x + 3] = 0;
  }
}

void resampleRows(const PixelRows& src, const PixelRows& dst) {
  if (!src.valid() || !dst.valid()) return;
  if (dst.width == src.width && dst.height == src.height) return copyPixelRows(src, dst);
  const std::int32_t in = src.bytesPerPixel;
  // Sizes minus one keep the right and upper neighbours inside the picture;
  // a one-pixel axis has no neighbour at all, so it is clamped.
  const double xScale = static_cast<double>(src.width - 1) / dst.width;
  const double yScale = static_cast<double>(src.height - 1) / dst.height;

  ColumnTaps taps(dst.width, dst.bytesPerPixel);
  for (std::int32_t x = 0; x < dst.width; ++x) {
    const double fx = x * xScale;
    std::int32_t ix = static_cast<std::int32_t>(std::floor(fx));
    if (ix > src.width - 1) ix = src.width - 1;
    const std::int32_t ix1 = ix + 1 < src.width ? ix + 1 : ix;
    taps.set(x, in * ix, in * ix1, fx - ix);
  }
  const bool wholeRows = 2 * static_cast<std::int64_t>(dst.width) >= src.width;
  // Which rows' weights may put a vertical sum near a half.
  std::vector<std::uint8_t> checkRow;
  if (wholeRows) {
    taps.finish();
    std::vector<double> w1(static_cast<std::size_t>(dst.height));
    for (std::int32_t y = 0; y < dst.height; ++y) w1[static_cast<std::size_t>(y)] = rowTap(y, yScale, src.height).w1;
    checkRow.resize(w1.size());
    markDoubtful(w1.data(), w1.size(), checkRow.data());
  }

  // Rows are numbered from the bottom, as the pictures store them.
  const auto srcRow = [&](std::int32_t y) { return src.row(src.height - 1 - y); };
  const std::int32_t rowBytes = in * src.width;
  // Rows are independent: large pictures are split over the row pool.
  parallelRows(0, dst.height - 1, static_cast<std::int64_t>(dst.width) * 24,
               [&](std::int32_t yFirst, std::int32_t yLast) {
    std::vector<std::uint8_t> v(wholeRows ? static_cast<std::size_t>(rowBytes + kRowSlack) : 0);
    for (std::int32_t y = yFirst; y <= yLast; ++y) {
      const RowTap t = rowTap(y, yScale, src.height);
      std::uint8_t* o = dst.row(dst.height - 1 - y);
      if (!wholeRows) {
        taps.perPixel(srcRow(t.iy), srcRow(t.iy1), t.w1, o);
        continue;
      }
      verticalRow(srcRow(t.iy), srcRow(t.iy1), t.w1, checkRow[static_cast<std::size_t>(y)] != 0, v.data(), rowBytes);
      horizontalRow(v.data(), taps, o);
    }
  });
}

}  // namespace resample

std::unique_ptr<cDIBSection> cDIBSection::Resample(std::int32_t lNewHeight, std::int32_t lNewWidth) const {
  auto out = std::make_unique<cDIBSection>();
  const DibView src = View();
  // With a picture to scale every result pixel is written below.
  if (!(src.valid() ? out->createForOverwrite(lNewWidth, lNewHeight) : out->Create(lNewWidth, lNewHeight)))
    return nullptr;
  if (!src.valid()) return out;  // nothing to scale: a black picture of the new size
  const DibView dst = out->View();
  resample::resampleRows(PixelRows::bottomUp(src.bits, src.stride, src.width, src.height, 3),
                         PixelRows::bottomUp(dst.bits, dst.stride, dst.width, dst.height, 3));
  return out;
}

}  // namespace qorv
