// Bilinear resampling: per channel, vertically between two source rows, each
// rounded (halves to even), then horizontally between two of those, rounded
// again. Every product and sum is the same double-precision operation in the
// same order on every path, so every path gives the same bytes.
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
#include "platform/RowParallel.h"
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

// Where destination column x reads: the byte offsets of source pixels ix and
// ix + 1 (clamped) and the weights 1 - d and d.
struct Taps {
  std::vector<std::int32_t> left, right;
  std::vector<double> w0, w1;
};

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

void rowPerPixel(const std::uint8_t* r0, const std::uint8_t* r1, const RowTap& t, const Taps& taps,
                 std::uint8_t* o, std::int32_t n) {
  for (std::int32_t x = 0; x < n; ++x) {
    const std::size_t i = static_cast<std::size_t>(x);
    const std::int32_t l = taps.left[i], r = taps.right[i];
    for (int c = 0; c < 3; ++c) {
      const double left = roundHalfEven(t.w0 * r0[l + c] + t.w1 * r1[l + c]);
      const double right = roundHalfEven(t.w0 * r0[r + c] + t.w1 * r1[r + c]);
      o[3 * x + c] = toByte(roundHalfEven(taps.w0[i] * left + taps.w1[i] * right));
    }
  }
}

// --- the whole source row at once ---------------------------------------------------

// v[k] = the vertical value of source byte k, for k < bytes.
void verticalRow(const std::uint8_t* r0, const std::uint8_t* r1, double w0, double w1, std::int32_t* v,
                 std::int32_t bytes) {
  for (std::int32_t k = 0; k < bytes; ++k)
    v[k] = static_cast<std::int32_t>(roundHalfEven(w0 * r0[k] + w1 * r1[k]));
}

// Destination pixels x0..n-1 of one row.
void horizontalRow(const std::int32_t* v, const Taps& taps, std::uint8_t* o, std::int32_t x0, std::int32_t n) {
  for (std::int32_t x = x0; x < n; ++x) {
    const std::size_t i = static_cast<std::size_t>(x);
    const std::int32_t* l = v + taps.left[i];
    const std::int32_t* r = v + taps.right[i];
    for (int c = 0; c < 3; ++c) o[3 * x + c] = toByte(roundHalfEven(taps.w0[i] * l[c] + taps.w1[i] * r[c]));
  }
}

#ifdef QORV_RESAMPLE_AVX2
// Four bytes (or values) at a time in double lanes: the same multiplications
// and additions as above, and a rounding instruction that rounds to nearest,
// halves to even, as the scalar addition does.
[[gnu::target("avx2")]] void verticalRowAvx2(const std::uint8_t* r0, const std::uint8_t* r1, double w0, double w1,
                                             std::int32_t* v, std::int32_t bytes) {
  const __m256d a = _mm256_set1_pd(w0);
  const __m256d b = _mm256_set1_pd(w1);
  std::int32_t k = 0;
  for (; k + 4 <= bytes; k += 4) {
    std::int32_t p0, p1;
    std::memcpy(&p0, r0 + k, 4);
    std::memcpy(&p1, r1 + k, 4);
    const __m256d x0 = _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(p0)));
    const __m256d x1 = _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(p1)));
    const __m256d s = _mm256_add_pd(_mm256_mul_pd(a, x0), _mm256_mul_pd(b, x1));
    const __m256d r = _mm256_round_pd(s, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(v + k), _mm256_cvtpd_epi32(r));
  }
  verticalRow(r0 + k, r1 + k, w0, w1, v + k, bytes - k);
}

// One destination pixel per step: blue, green and red (and a fourth value
// that is thrown away) in one register. `v` holds one value more than the
// source row so that the fourth lane never reads outside it.
[[gnu::target("avx2")]] void horizontalRowAvx2(const std::int32_t* v, const Taps& taps, std::uint8_t* o,
                                               std::int32_t n) {
  std::int32_t x = 0;
  for (; x + 1 < n; ++x) {
    const std::size_t i = static_cast<std::size_t>(x);
    const __m256d l = _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(v + taps.left[i])));
    const __m256d r = _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(v + taps.right[i])));
    const __m256d s =
        _mm256_add_pd(_mm256_mul_pd(_mm256_set1_pd(taps.w0[i]), l), _mm256_mul_pd(_mm256_set1_pd(taps.w1[i]), r));
    const __m128i q = _mm256_cvtpd_epi32(_mm256_round_pd(s, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(q, q), _mm_setzero_si128());
    // Four bytes: the fourth lands on the next pixel's blue, written next.
    const std::int32_t four = _mm_cvtsi128_si32(bytes);
    std::memcpy(o + 3 * x, &four, 4);
  }
  // The last pixel writes its own three bytes only.
  horizontalRow(v, taps, o, x, n);
}
#endif

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
  // Sizes minus one keep the right and upper neighbours inside the picture;
  // a one-pixel axis has no neighbour at all, so it is clamped.
  const double xScale = static_cast<double>(src.width - 1) / lNewWidth;
  const double yScale = static_cast<double>(src.height - 1) / lNewHeight;

  Taps taps;
  const auto n = static_cast<std::size_t>(lNewWidth);
  taps.left.resize(n);
  taps.right.resize(n);
  taps.w0.resize(n);
  taps.w1.resize(n);
  for (std::int32_t x = 0; x < lNewWidth; ++x) {
    const double fx = x * xScale;
    std::int32_t ix = static_cast<std::int32_t>(std::floor(fx));
    if (ix > src.width - 1) ix = src.width - 1;
    const std::int32_t ix1 = ix + 1 < src.width ? ix + 1 : ix;
    const double d = fx - ix;
    const auto i = static_cast<std::size_t>(x);
    taps.left[i] = 3 * ix;
    taps.right[i] = 3 * ix1;
    taps.w0[i] = 1.0 - d;
    taps.w1[i] = d;
  }

  const bool wholeRows = 2 * static_cast<std::int64_t>(lNewWidth) >= src.width;
#ifdef QORV_RESAMPLE_AVX2
  const bool avx2 = cpuFeatures().avx2;
#endif
  // Rows are independent: large pictures are split over the row pool.
  parallelRows(0, lNewHeight - 1, static_cast<std::int64_t>(lNewWidth) * 24,
               [&](std::int32_t yFirst, std::int32_t yLast) {
    std::vector<std::int32_t> v(wholeRows ? static_cast<std::size_t>(src.rowBytes()) + 1 : 0);
    for (std::int32_t y = yFirst; y <= yLast; ++y) {
      const RowTap t = rowTap(y, yScale, src.height);
      const std::uint8_t* r0 = src.row(t.iy);
      const std::uint8_t* r1 = src.row(t.iy1);
      std::uint8_t* o = dst.row(y);
      if (!wholeRows) {
        rowPerPixel(r0, r1, t, taps, o, lNewWidth);
        continue;
      }
#ifdef QORV_RESAMPLE_AVX2
      if (avx2) {
        verticalRowAvx2(r0, r1, t.w0, t.w1, v.data(), src.rowBytes());
        horizontalRowAvx2(v.data(), taps, o, lNewWidth);
        continue;
      }
#endif
      verticalRow(r0, r1, t.w0, t.w1, v.data(), src.rowBytes());
      horizontalRow(v.data(), taps, o, 0, lNewWidth);
    }
  });
  return out;
}

}  // namespace qorv
