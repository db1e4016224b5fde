#include "processing/FreeRotation.h"

#include <immintrin.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "platform/CpuFeatures.h"
#include "platform/RowParallel.h"

namespace qorv {

namespace {

constexpr std::int64_t kOne = std::int64_t{1} << 32;
constexpr std::int64_t kHalf = std::int64_t{1} << 31;

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {  // b > 0
  const std::int64_t q = a / b;
  return (a % b != 0 && a < 0) ? q - 1 : q;
}
std::int64_t ceilDiv(std::int64_t a, std::int64_t b) {  // b > 0
  const std::int64_t q = a / b;
  return (a % b != 0 && a > 0) ? q + 1 : q;
}

// Keeps x0..x1 to the X for which lo <= base + X * step < hi.
void restrict(std::int64_t base, std::int64_t step, std::int64_t lo, std::int64_t hi, std::int64_t& x0,
              std::int64_t& x1) {
  if (step == 0) {
    if (base < lo || base >= hi) x1 = x0 - 1;
    return;
  }
  std::int64_t first, last;
  if (step > 0) {
    first = ceilDiv(lo - base, step);
    last = ceilDiv(hi - base, step) - 1;
  } else {
    first = floorDiv(base - hi, -step) + 1;
    last = floorDiv(base - lo, -step);
  }
  x0 = std::max(x0, first);
  x1 = std::min(x1, last);
}

// ----- sampling ---------------------------------------------------------------------

struct Sampler {
  const PixelRows& src;
  std::int32_t maxX, maxY;  // w - 1, h - 1

  template <int Bpp>
  const std::uint8_t* at(std::int32_t x, std::int32_t y) const {
    return src.row(y) + static_cast<std::ptrdiff_t>(x) * Bpp;
  }
  std::int32_t cx(std::int64_t x) const { return static_cast<std::int32_t>(std::clamp<std::int64_t>(x, 0, maxX)); }
  std::int32_t cy(std::int64_t y) const { return static_cast<std::int32_t>(std::clamp<std::int64_t>(y, 0, maxY)); }
};

template <int Bpp>
[[gnu::always_inline]] inline void nearest(const Sampler& s, std::int64_t U, std::int64_t V, std::uint8_t out[3]) {
  const std::uint8_t* p = s.at<Bpp>(s.cx((U + kHalf) >> 32), s.cy((V + kHalf) >> 32));
  out[0] = p[0];
  out[1] = p[1];
  out[2] = p[2];
}

template <int Bpp>
[[gnu::always_inline]] inline void bilinear(const Sampler& s, std::int64_t U, std::int64_t V, std::uint8_t out[3]) {
  const std::int64_t ix = U >> 32, iy = V >> 32;
  const std::int32_t fx = static_cast<std::int32_t>((U >> 25) & 127), fy = static_cast<std::int32_t>((V >> 25) & 127);
  const std::int32_t w00 = (128 - fx) * (128 - fy), w10 = fx * (128 - fy), w01 = (128 - fx) * fy, w11 = fx * fy;
  const std::int32_t x0 = s.cx(ix), x1 = s.cx(ix + 1), y0 = s.cy(iy), y1 = s.cy(iy + 1);
  const std::uint8_t* p00 = s.at<Bpp>(x0, y0);
  const std::uint8_t* p10 = s.at<Bpp>(x1, y0);
  const std::uint8_t* p01 = s.at<Bpp>(x0, y1);
  const std::uint8_t* p11 = s.at<Bpp>(x1, y1);
  for (int c = 0; c < 3; ++c) {
    out[c] = static_cast<std::uint8_t>((p00[c] * w00 + p10[c] * w10 + p01[c] * w01 + p11[c] * w11 + 8192) >> 14);
  }
}

// Catmull-Rom weights of the taps at -1, 0, 1, 2 for the 128 phases, in 1/1024.
using CubicTable = std::array<std::array<std::int32_t, 4>, 128>;
const CubicTable& cubicWeights() {
  static const CubicTable table = [] {
    CubicTable t{};
    for (int k = 0; k < 128; ++k) {
      const double x = k / 128.0, x2 = x * x, x3 = x2 * x;
      const double w[4] = {(-x3 + 2 * x2 - x) / 2, (3 * x3 - 5 * x2 + 2) / 2, (-3 * x3 + 4 * x2 + x) / 2,
                           (x3 - x2) / 2};
      int sum = 0, largest = 0;
      for (int i = 0; i < 4; ++i) {
        t[static_cast<std::size_t>(k)][static_cast<std::size_t>(i)] = static_cast<std::int32_t>(std::lround(w[i] * 1024));
        sum += t[static_cast<std::size_t>(k)][static_cast<std::size_t>(i)];
        if (w[i] > w[largest]) largest = i;
      }
      t[static_cast<std::size_t>(k)][static_cast<std::size_t>(largest)] += 1024 - sum;
    }
    return t;
  }();
  return table;
}

template <int Bpp>
[[gnu::always_inline]] inline void bicubic(const Sampler& s, std::int64_t U, std::int64_t V, std::uint8_t out[3]) {
  const CubicTable& t = cubicWeights();
  const std::int64_t ix = U >> 32, iy = V >> 32;
  const auto& wx = t[static_cast<std::size_t>((U >> 25) & 127)];
  const auto& wy = t[static_cast<std::size_t>((V >> 25) & 127)];
  std::int32_t xs[4];
  for (int i = 0; i < 4; ++i) xs[i] = s.cx(ix - 1 + i);
  std::int32_t sum[3] = {0, 0, 0};
  for (int j = 0; j < 4; ++j) {
    const std::uint8_t* row = s.src.row(s.cy(iy - 1 + j));
    std::int32_t line[3] = {0, 0, 0};
    for (int i = 0; i < 4; ++i) {
      const std::uint8_t* p = row + static_cast<std::ptrdiff_t>(xs[i]) * Bpp;
      for (int c = 0; c < 3; ++c) line[c] += wx[static_cast<std::size_t>(i)] * p[c];
    }
    for (int c = 0; c < 3; ++c) sum[c] += wy[static_cast<std::size_t>(j)] * line[c];
  }
  for (int c = 0; c < 3; ++c) out[c] = static_cast<std::uint8_t>(std::clamp((sum[c] + (1 << 19)) >> 20, 0, 255));
}

template <int Bpp>
[[gnu::always_inline]] inline void put(std::uint8_t* p, const std::uint8_t c[3]) {
  p[0] = c[0];
  p[1] = c[1];
  p[2] = c[2];
  if constexpr (Bpp == 4) p[3] = 0;
}

template <int Bpp>
void fill(std::uint8_t* p, std::int32_t n, const std::uint8_t c[3]) {
  for (std::int32_t i = 0; i < n; ++i, p += Bpp) put<Bpp>(p, c);
}

// ----- rows --------------------------------------------------------------------------

struct RowJob {
  const TurnGeometry& g;
  const Sampler& s;
  const PixelRows& dst;
  std::uint8_t background[3];
};

// The covered span of row Y, the uncovered ends filled.
template <int DB>
bool prepareRow(const RowJob& job, std::int32_t Y, std::int32_t& x0, std::int32_t& x1) {
  job.g.span(Y, x0, x1);
  std::uint8_t* out = job.dst.row(Y);
  if (x0 > x1) {
    fill<DB>(out, job.dst.width, job.background);
    return false;
  }
  fill<DB>(out, x0, job.background);
  fill<DB>(out + static_cast<std::ptrdiff_t>(x1 + 1) * DB, job.dst.width - 1 - x1, job.background);
  return true;
}

template <int SB, int DB, RotationQuality Q>
void turnRow(const RowJob& job, std::int32_t Y) {
  std::int32_t x0, x1;
  if (!prepareRow<DB>(job, Y, x0, x1)) return;
  std::int64_t U = job.g.u(x0, Y), V = job.g.v(x0, Y);
  std::uint8_t* out = job.dst.row(Y) + static_cast<std::ptrdiff_t>(x0) * DB;
  for (std::int32_t X = x0; X <= x1; ++X, U += job.g.C, V -= job.g.S, out += DB) {
    std::uint8_t c[3];
    if constexpr (Q == RotationQuality::Nearest) {
      nearest<SB>(job.s, U, V, c);
    } else if constexpr (Q == RotationQuality::Bilinear) {
      bilinear<SB>(job.s, U, V, c);
    } else {
      bicubic<SB>(job.s, U, V, c);
    }
    put<DB>(out, c);
  }
}

// Bilinear with 128-bit vectors, one pixel at a time: the four source pixels
// go into one register, their bytes are paired (top-left with top-right,
// bottom-left with bottom-right) and widened, and two multiply-adds give each
// channel's weighted sum. Pixels whose four neighbours are not all inside the
// source take the generic path above, so reads never leave the picture.
inline std::uint32_t load4(const std::uint8_t* p) {
  std::uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}
// Source pixel and its right-hand neighbour, as two 32-bit lanes; a 3-byte
// source reads its second pixel from one byte earlier, so nothing past the
// pair's last byte is touched.
template <int SB>
[[gnu::target("avx2")]] inline __m128i pair(const std::uint8_t* p) {
  if constexpr (SB == 4) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
  } else {
    return _mm_setr_epi32(static_cast<int>(load4(p)), static_cast<int>(load4(p + 2) >> 8), 0, 0);
  }
}

template <int SB, int DB>
[[gnu::target("avx2")]] void turnRowBilinearAvx2(const RowJob& job, std::int32_t Y) {
  std::int32_t x0, x1;
  if (!prepareRow<DB>(job, Y, x0, x1)) return;
  const Sampler& s = job.s;
  const std::int64_t C = job.g.C, S = job.g.S;
  std::int64_t U = job.g.u(x0, Y), V = job.g.v(x0, Y);
  std::uint8_t* out = job.dst.row(Y) + static_cast<std::ptrdiff_t>(x0) * DB;
  const std::uint64_t innerX = static_cast<std::uint64_t>(s.maxX) - 1;  // ix in 0..w-2
  const std::uint64_t innerY = static_cast<std::uint64_t>(s.maxY) - 1;
  // Bytes B, G, R, X of the first pair's lanes interleaved: (a.B, b.B, a.G, b.G, ...).
  const __m128i interleave = _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
  const __m128i round = _mm_set1_epi32(8192);
  const bool narrow = s.maxX < 1 || s.maxY < 1;
  for (std::int32_t X = x0; X <= x1; ++X, U += C, V -= S, out += DB) {
    const std::int64_t ix = U >> 32, iy = V >> 32;
    if (narrow || static_cast<std::uint64_t>(ix) > innerX || static_cast<std::uint64_t>(iy) > innerY) {
      std::uint8_t c[3];
      bilinear<SB>(s, U, V, c);
      put<DB>(out, c);
      continue;
    }
    const std::int32_t fx = static_cast<std::int32_t>((U >> 25) & 127), fy = static_cast<std::int32_t>((V >> 25) & 127);
    const std::int32_t top = 128 - fy;
    const std::uint8_t* p = s.src.row(static_cast<std::int32_t>(iy)) + ix * SB;
    const __m128i both = _mm_unpacklo_epi64(pair<SB>(p), pair<SB>(p + s.src.step));
    const __m128i mixed = _mm_shuffle_epi8(both, interleave);
    const __m128i upper = _mm_cvtepu8_epi16(mixed);
    const __m128i lower = _mm_cvtepu8_epi16(_mm_srli_si128(mixed, 8));
    const __m128i wu = _mm_set1_epi32(((128 - fx) * top) | ((fx * top) << 16));
    const __m128i wl = _mm_set1_epi32(((128 - fx) * fy) | ((fx * fy) << 16));
    const __m128i sum = _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(upper, wu), _mm_madd_epi16(lower, wl)), round);
    const __m128i bytes = _mm_srli_epi32(sum, 14);
    const __m128i packed = _mm_packus_epi16(_mm_packs_epi32(bytes, bytes), _mm_setzero_si128());
    const std::uint32_t v = static_cast<std::uint32_t>(_mm_cvtsi128_si32(packed));
    if constexpr (DB == 4) {
      const std::uint32_t bgr = v & 0x00FFFFFFu;
      std::memcpy(out, &bgr, 4);
    } else {
      out[0] = static_cast<std::uint8_t>(v);
      out[1] = static_cast<std::uint8_t>(v >> 8);
      out[2] = static_cast<std::uint8_t>(v >> 16);
    }
  }
}

using RowFn = void (*)(const RowJob&, std::int32_t);

template <int SB, int DB>
RowFn pickFor(RotationQuality q, bool avx2) {
  switch (q) {
    case RotationQuality::Nearest: return turnRow<SB, DB, RotationQuality::Nearest>;
    case RotationQuality::Bicubic: return turnRow<SB, DB, RotationQuality::Bicubic>;
    default: return avx2 ? turnRowBilinearAvx2<SB, DB> : turnRow<SB, DB, RotationQuality::Bilinear>;
  }
}

RowFn pick(int sb, int db, RotationQuality q, bool avx2) {
  if (sb == 3) return db == 3 ? pickFor<3, 3>(q, avx2) : pickFor<3, 4>(q, avx2);
  return db == 3 ? pickFor<4, 3>(q, avx2) : pickFor<4, 4>(q, avx2);
}

}  // namespace

TurnGeometry TurnGeometry::make(double radians, std::int32_t w, std::int32_t h, std::int32_t W, std::int32_t H) {
  TurnGeometry g;
  g.C = std::llround(std::cos(radians) * static_cast<double>(kOne));
  g.S = std::llround(std::sin(radians) * static_cast<double>(kOne));
  g.w = w;
  g.h = h;
  g.W = W;
  g.H = H;
  return g;
}

void TurnGeometry::span(std::int32_t Y, std::int32_t& x0, std::int32_t& x1) const {
  std::int64_t first = 0, last = std::int64_t{W} - 1;
  restrict(u(0, Y), C, -kHalf, (2 * std::int64_t{w} - 1) * kHalf, first, last);
  restrict(v(0, Y), -S, -kHalf, (2 * std::int64_t{h} - 1) * kHalf, first, last);
  // The bounds are exact; these only guard the ends against a slip.
  while (first <= last && !covered(u(first, Y), v(first, Y))) ++first;
  while (first <= last && !covered(u(last, Y), v(last, Y))) --last;
  x0 = static_cast<std::int32_t>(first);
  x1 = static_cast<std::int32_t>(first <= last ? last : first - 1);
}

bool turnedSize(double radians, std::int32_t w, std::int32_t h, std::int32_t& W, std::int32_t& H) {
  if (!std::isfinite(radians) || w <= 0 || h <= 0) return false;
  const double c = std::fabs(std::cos(radians)), s = std::fabs(std::sin(radians));
  const double bw = w * c + h * s, bh = w * s + h * c;
  // Rounding error of a few parts in 1e12 must not add a column of background.
  const double slack = 1e-9 * (w + h);
  const double cw = std::ceil(bw - slack), ch = std::ceil(bh - slack);
  constexpr double kMax = 1 << 24;
  if (!(cw <= kMax && ch <= kMax)) return false;
  W = std::max(1, static_cast<std::int32_t>(cw));
  H = std::max(1, static_cast<std::int32_t>(ch));
  return true;
}

void turnPixels(const PixelRows& src, const PixelRows& dst, double radians, RotationQuality quality,
                std::uint32_t background, const std::function<void(std::int32_t)>& bandDone) {
  if (!src.valid() || !dst.valid() || !std::isfinite(radians)) return;
  const TurnGeometry g = TurnGeometry::make(radians, src.width, src.height, dst.width, dst.height);
  const Sampler s{src, src.width - 1, src.height - 1};
  const RowJob job{g, s, dst,
                   {static_cast<std::uint8_t>(background >> 16), static_cast<std::uint8_t>(background >> 8),
                    static_cast<std::uint8_t>(background)}};
  const RowFn row = pick(src.bytesPerPixel, dst.bytesPerPixel, quality, cpuFeatures().avx2);
  // Bands of rows keep the reports coming while each band is still split
  // over the pool; a row's cost is some eight plain passes over its bytes.
  constexpr std::int32_t kBand = 128;
  const std::int64_t workPerRow = std::int64_t{dst.width} * dst.bytesPerPixel * (quality == RotationQuality::Bicubic ? 40 : 8);
  for (std::int32_t y0 = 0; y0 < dst.height; y0 += kBand) {
    const std::int32_t y1 = std::min(dst.height - 1, y0 + kBand - 1);
    parallelRows(y0, y1, workPerRow, [&](std::int32_t a, std::int32_t b) {
      for (std::int32_t y = a; y <= b; ++y) row(job, y);
    });
    if (bandDone) bandDone(y1);
  }
}

}  // namespace qorv
