// Bilinear resampling: per channel, vertically between two source rows, each
// rounded (halves to even), then horizontally between two of those, rounded
// again. The results are those of double-precision arithmetic in that order
// on every path (see ResampleRows.h for how the vector paths keep to them).
//
// The vertical step depends only on the destination row and the source
// column: where the result is at least half as wide as the source, each
// destination row first interpolates the whole pair of source rows once (a
// source column serves up to four destination pixels), then reads those
// values for its pixels. Much narrower results interpolate per pixel.
#include <cmath>
#include <cstring>
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

// Where destination row y reads.
struct RowTap {
  std::int32_t iy, iy1;
  double w0, w1;
};

RowTap rowTap(std::int32_t y, double yScale, std::int32_t height) {
  const double fy = y * yScale;
  std::int32_t iy = static_cast<std::int32_t>(std::floor(fy));
  if (iy > height - 1) iy = height - 1;
  const std::int32_t iy1 = iy + 1 < height ? iy + 1 : iy;
  const double dy = fy - iy;
  return RowTap{iy, iy1, 1.0 - dy, dy};
}

// --- per pixel: for results much narrower than the source --------------------------

// N bytes per destination pixel: 3 (B, G, R) or 4 (B, G, R, 0).
template <int N>
void rowPerPixel(const std::uint8_t* r0, const std::uint8_t* r1, const RowTap& t, const resample::ColumnTaps& taps,
                 std::uint8_t* o, std::int32_t n) {
  for (std::int32_t x = 0; x < n; ++x) {
    const std::size_t i = static_cast<std::size_t>(x);
    const std::int32_t l = taps.left[i], r = taps.right[i];
    for (int c = 0; c < 3; ++c) {
      const double left = roundHalfEven(t.w0 * r0[l + c] + t.w1 * r1[l + c]);
      const double right = roundHalfEven(t.w0 * r0[r + c] + t.w1 * r1[r + c]);
      o[N * x + c] = toByte(roundHalfEven(taps.w0[i] * left + taps.w1[i] * right));
    }
    if constexpr (N == 4) o[4 * x + 3] = 0;
  }
}

// --- the whole source row at once ---------------------------------------------------

void verticalRowDouble(const std::uint8_t* r0, const std::uint8_t* r1, double w0, double w1, float* v,
                       std::int32_t bytes) {
  for (std::int32_t k = 0; k < bytes; ++k) v[k] = static_cast<float>(roundHalfEven(w0 * r0[k] + w1 * r1[k]));
}

template <int N>
void horizontalRowDouble(const float* v, const resample::ColumnTaps& taps, std::uint8_t* o, std::int32_t x0,
                         std::int32_t n) {
  for (std::int32_t x = x0; x < n; ++x) {
    const std::size_t i = static_cast<std::size_t>(x);
    const float* l = v + taps.left[i];
    const float* r = v + taps.right[i];
    for (int c = 0; c < 3; ++c)
      o[N * x + c] = toByte(roundHalfEven(taps.w0[i] * double{l[c]} + taps.w1[i] * double{r[c]}));
    if constexpr (N == 4) o[4 * x + 3] = 0;
  }
}

#ifdef QORV_RESAMPLE_AVX2
// Sums within this distance of a half are computed again in double precision.
constexpr float kDoubtful = 0.5f - 1.0f / 16384;

// The rounded sums, and in `doubt` a mask of the lanes that might round
// differently in double precision (none when `exact`).
[[gnu::target("avx2"), gnu::always_inline]] inline __m256 roundedSum(__m256 w0, __m256 a, __m256 w1, __m256 b,
                                                                    bool exact, int& doubt) {
  const __m256 s = _mm256_add_ps(_mm256_mul_ps(w0, a), _mm256_mul_ps(w1, b));
  const __m256 r = _mm256_round_ps(s, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
  if (exact) {
    doubt = 0;
  } else {
    const __m256 off = _mm256_andnot_ps(_mm256_set1_ps(-0.0f), _mm256_sub_ps(s, r));
    doubt = _mm256_movemask_ps(_mm256_cmp_ps(off, _mm256_set1_ps(kDoubtful), _CMP_GE_OQ));
  }
  return r;
}

[[gnu::target("avx2")]] void verticalRowAvx2(const std::uint8_t* r0, const std::uint8_t* r1, double w0, double w1,
                                             float* v, std::int32_t bytes) {
  const bool exact = resample::exactPair(w0, w1);
  const __m256 a = _mm256_set1_ps(static_cast<float>(w0));
  const __m256 b = _mm256_set1_ps(static_cast<float>(w1));
  std::int32_t k = 0;
  for (; k + 8 <= bytes; k += 8) {
    const __m256 x0 = _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(r0 + k))));
    const __m256 x1 = _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(r1 + k))));
    int doubt;
    _mm256_storeu_ps(v + k, roundedSum(a, x0, b, x1, exact, doubt));
    if (doubt) verticalRowDouble(r0 + k, r1 + k, w0, w1, v + k, 8);
  }
  verticalRowDouble(r0 + k, r1 + k, w0, w1, v + k, bytes - k);
}

// Blue, green and red of pixel x in lanes 0-2 and of pixel x + 1 in lanes
// 4-6 (lanes 3 and 7 hold values no one uses), rounded; `doubt` as above.
[[gnu::target("avx2"), gnu::always_inline]] inline __m256i pixelPair(const float* v, const resample::ColumnTaps& taps,
                                                                    std::size_t x, int& doubt) {
  const __m256 l = _mm256_loadu2_m128(v + taps.left[x + 1], v + taps.left[x]);
  const __m256 r = _mm256_loadu2_m128(v + taps.right[x + 1], v + taps.right[x]);
  const __m256 w0 = _mm256_loadu_ps(&taps.w0f[4 * x]);
  const __m256 w1 = _mm256_loadu_ps(&taps.w1f[4 * x]);
  const __m256i q = _mm256_cvtps_epi32(roundedSum(w0, l, w1, r, taps.exact, doubt));
  doubt &= 0x77;
  return q;
}

// Four destination pixels per step, packed to twelve bytes and stored as
// sixteen: the last four land on the next two pixels, written next. Steps
// with a doubtful sum are done again in double precision.
[[gnu::target("avx2")]] void horizontalRowAvx2(const float* v, const resample::ColumnTaps& taps, std::uint8_t* o,
                                               std::int32_t n) {
  const __m128i compact = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
  std::int32_t x = 0;
  for (; x + 6 <= n; x += 4) {
    const auto i = static_cast<std::size_t>(x);
    int doubtA, doubtB;
    const __m256i a = pixelPair(v, taps, i, doubtA);      // pixels x, x + 1
    const __m256i b = pixelPair(v, taps, i + 2, doubtB);  // pixels x + 2, x + 3
    if (doubtA | doubtB) {
      horizontalRowDouble<3>(v, taps, o, x, x + 4);
      continue;
    }
    // Bytes: lane 0 holds x then x + 2, lane 1 holds x + 1 then x + 3.
    const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_setzero_si256());
    const __m128i ordered =
        _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 3 * x), _mm_shuffle_epi8(ordered, compact));
  }
  // The last pixels write their own three bytes only.
  horizontalRowDouble<3>(v, taps, o, x, n);
}

// As above with four bytes a pixel: the unused lanes become the X bytes (0),
// and four pixels fill sixteen bytes exactly, so no store overlaps the next.
[[gnu::target("avx2")]] void horizontalRow4Avx2(const float* v, const resample::ColumnTaps& taps, std::uint8_t* o,
                                                std::int32_t n) {
  std::int32_t x = 0;
  for (; x + 4 <= n; x += 4) {
    const auto i = static_cast<std::size_t>(x);
    int doubtA, doubtB;
    const __m256i a = _mm256_blend_epi32(pixelPair(v, taps, i, doubtA), _mm256_setzero_si256(), 0x88);
    const __m256i b = _mm256_blend_epi32(pixelPair(v, taps, i + 2, doubtB), _mm256_setzero_si256(), 0x88);
    if (doubtA | doubtB) {
      horizontalRowDouble<4>(v, taps, o, x, x + 4);
      continue;
    }
    const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_setzero_si256());
    const __m128i ordered =
        _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 4 * x), ordered);
  }
  horizontalRowDouble<4>(v, taps, o, x, n);
}
#endif

}  // namespace

namespace resample {

bool exactPair(double w0, double w1) {
  constexpr double kUnit = 32768.0;  // 2^15
  return w0 * kUnit == std::floor(w0 * kUnit) && w1 * kUnit == std::floor(w1 * kUnit);
}

void ColumnTaps::resize(std::size_t n) {
  left.resize(n);
  right.resize(n);
  w0.resize(n);
  w1.resize(n);
  w0f.resize(4 * n + 4);
  w1f.resize(4 * n + 4);
  exact = true;
}

void ColumnTaps::set(std::size_t i, std::int32_t l, std::int32_t r, double a, double b) {
  left[i] = l;
  right[i] = r;
  w0[i] = a;
  w1[i] = b;
  for (std::size_t k = 0; k < 4; ++k) {
    w0f[4 * i + k] = static_cast<float>(a);
    w1f[4 * i + k] = static_cast<float>(b);
  }
  exact = exact && exactPair(a, b);
}

void verticalRow(const std::uint8_t* r0, const std::uint8_t* r1, double w0, double w1, float* v,
                 std::int32_t bytes) {
#ifdef QORV_RESAMPLE_AVX2
  if (cpuFeatures().avx2) return verticalRowAvx2(r0, r1, w0, w1, v, bytes);
#endif
  verticalRowDouble(r0, r1, w0, w1, v, bytes);
}

void horizontalRow(const float* v, const ColumnTaps& taps, std::uint8_t* o, std::int32_t n) {
#ifdef QORV_RESAMPLE_AVX2
  if (cpuFeatures().avx2) return horizontalRowAvx2(v, taps, o, n);
#endif
  horizontalRowDouble<3>(v, taps, o, 0, n);
}

void horizontalRow4(const float* v, const ColumnTaps& taps, std::uint8_t* o, std::int32_t n) {
#ifdef QORV_RESAMPLE_AVX2
  if (cpuFeatures().avx2) return horizontalRow4Avx2(v, taps, o, n);
#endif
  horizontalRowDouble<4>(v, taps, o, 0, n);
}

}  // namespace resample

namespace {

// Writes src scaled to w x h into the rows at dstBottom, dstBottom + step,
// ... (memory row y, 0 = the bottom row, as src's), N bytes a pixel.
template <int N>
void resampleInto(const DibView& src, std::uint8_t* dstBottom, std::ptrdiff_t step, std::int32_t lNewWidth,
                  std::int32_t lNewHeight) {
  // Sizes minus one keep the right and upper neighbours inside the picture;
  // a one-pixel axis has no neighbour at all, so it is clamped.
  const double xScale = static_cast<double>(src.width - 1) / lNewWidth;
  const double yScale = static_cast<double>(src.height - 1) / lNewHeight;

  resample::ColumnTaps taps;
  taps.resize(static_cast<std::size_t>(lNewWidth));
  for (std::int32_t x = 0; x < lNewWidth; ++x) {
    const double fx = x * xScale;
    std::int32_t ix = static_cast<std::int32_t>(std::floor(fx));
    if (ix > src.width - 1) ix = src.width - 1;
    const std::int32_t ix1 = ix + 1 < src.width ? ix + 1 : ix;
    const double d = fx - ix;
    taps.set(static_cast<std::size_t>(x), 3 * ix, 3 * ix1, 1.0 - d, d);
  }

  const bool wholeRows = 2 * static_cast<std::int64_t>(lNewWidth) >= src.width;
  // Rows are independent: large pictures are split over the row pool.
  parallelRows(0, lNewHeight - 1, static_cast<std::int64_t>(lNewWidth) * 24,
               [&](std::int32_t yFirst, std::int32_t yLast) {
    std::vector<float> v(wholeRows ? static_cast<std::size_t>(src.rowBytes()) + 1 : 0);
    for (std::int32_t y = yFirst; y <= yLast; ++y) {
      const RowTap t = rowTap(y, yScale, src.height);
      const std::uint8_t* r0 = src.row(t.iy);
      const std::uint8_t* r1 = src.row(t.iy1);
      std::uint8_t* o = dstBottom + static_cast<std::ptrdiff_t>(y) * step;
      if (!wholeRows) {
        rowPerPixel<N>(r0, r1, t, taps, o, lNewWidth);
        continue;
      }
      resample::verticalRow(r0, r1, t.w0, t.w1, v.data(), src.rowBytes());
      if constexpr (N == 4)
        resample::horizontalRow4(v.data(), taps, o, lNewWidth);
      else
        resample::horizontalRow(v.data(), taps, o, lNewWidth);
    }
  });
}

}  // namespace

std::unique_ptr<cDIBSection> cDIBSection::Resample(std::int32_t lNewHeight, std::int32_t lNewWidth) const {
  auto out = std::make_unique<cDIBSection>();
  const DibView src = View();
  // With a picture to scale every result pixel is written below.
  if (!(src.valid() ? out->createForOverwrite(lNewWidth, lNewHeight) : out->Create(lNewWidth, lNewHeight)))
    return nullptr;
  if (!src.valid()) return out;  // nothing to scale: a black picture of the new size
  if (lNewWidth == src.width && lNewHeight == src.height) {
    out->LoadPictureBlt(hdc(), 0, 0, -1, -1, gdi::SRCCOPY);
    return out;
  }
  const DibView dst = out->View();
  resampleInto<3>(src, dst.row(0), dst.stride, lNewWidth, lNewHeight);
  return out;
}

bool cDIBSection::ResampleInto(const PixelRows& dst) const {
  const DibView src = View();
  if (!src.valid() || !dst.valid() || dst.bytesPerPixel != 4) return false;
  // Same size: the pixels as they are, as Resample copies them.
  if (dst.width == src.width && dst.height == src.height) {
    copyPixelRows(PixelRows::bottomUp(src.bits, src.stride, src.width, src.height, 3), dst);
    return true;
  }
  // dst's rows run top first; the scaling walks memory rows from the bottom.
  resampleInto<4>(src, dst.row(dst.height - 1), -dst.step, dst.width, dst.height);
  return true;
}

}  // namespace qorv
