// The HALFTONE stretch paths for CPUs with AVX2 and FMA.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include "platform/CpuFeatures.h"
#include "platform/GdiStretchInternal.h"

#ifdef QORV_HALFTONE_AVX2
#include <immintrin.h>
#endif

namespace gdi::detail {

// --- AVX2 halftone ------------------------------------------------------------------
//
// Same sums as the paths in GdiStretch.cpp, with the last step done in double precision:
// every partial sum is an integer below 2^53, so it is held exactly, and for a
// divisor below 2^40 the truncated product (sum + den/2 + 1/2) * (1/den) is
// exactly the rounded quotient (its error stays far below the 1/(2 den) gap
// between that value and the nearest integer).

#ifdef QORV_HALFTONE_AVX2

bool haveAvx2() {
  const qorv::CpuFeatures cpu = qorv::cpuFeatures();
  return cpu.avx2 && cpu.fma;
}

namespace {

constexpr u64 kMaxExactDen = u64{1} << 40;

struct Finisher {
  double bias;
  double inv;
  explicit Finisher(u64 den) : bias(static_cast<double>(den / 2) + 0.5), inv(1.0 / static_cast<double>(den)) {}
  float biasf() const { return static_cast<float>(bias); }
  float invf() const { return static_cast<float>(inv); }
};

// Two finished pixels from their b, g, r, x sums.
__attribute__((target("avx2,fma"))) inline std::uint64_t finishTwo(const Finisher& f, __m256d s0, __m256d s1) {
  const __m256d bias = _mm256_set1_pd(f.bias), inv = _mm256_set1_pd(f.inv);
  const __m128i q0 = _mm256_cvttpd_epi32(_mm256_mul_pd(_mm256_add_pd(s0, bias), inv));
  const __m128i q1 = _mm256_cvttpd_epi32(_mm256_mul_pd(_mm256_add_pd(s1, bias), inv));
  const __m128i w16 = _mm_packus_epi32(q0, q1);
  return static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(w16, w16))) & 0x00FFFFFF00FFFFFFull;
}
__attribute__((target("avx2,fma"))) inline std::uint32_t finishOne(const Finisher& f, __m256d s) {
  return static_cast<std::uint32_t>(finishTwo(f, s, s));
}

// The b, g, r, x sums at quadruple x as doubles.
__attribute__((target("avx2,fma"))) inline __m256d sumsAt(const std::int32_t* p, int x) {
  return _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 4 * x)));
}

// Weighted sum of `len` consecutive b, g, r, x quadruples of 32-bit sums.
__attribute__((target("avx2,fma"))) inline __m256d tapSum(const std::int32_t* p, const double* w, int len) {
  __m256d acc = _mm256_mul_pd(_mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))),
                              _mm256_broadcast_sd(w));
  for (int k = 1; k < len; ++k)
    acc = _mm256_fmadd_pd(_mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 4 * k))),
                          _mm256_broadcast_sd(w + k), acc);
  return acc;
}

// The same when the taps between the first and the last share one weight (the
// fully covered columns of a shrink): those are added as integers first.
__attribute__((target("avx2,fma"))) inline __m256d tapSumEqualMiddle(const std::int32_t* p, const double* w,
                                                                     int len) {
  __m128i mid = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 4));
  for (int k = 2; k + 1 < len; ++k)
    mid = _mm_add_epi32(mid, _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 4 * k)));
  __m256d acc = _mm256_mul_pd(sumsAt(p, 0), _mm256_broadcast_sd(w));
  acc = _mm256_fmadd_pd(_mm256_cvtepi32_pd(mid), _mm256_broadcast_sd(w + 1), acc);
  return _mm256_fmadd_pd(sumsAt(p, len - 1), _mm256_broadcast_sd(w + len - 1), acc);
}

// Per-destination-column taps of the horizontal axis, relative to column c0.
struct ColumnTaps {
  int c0 = 0, span = 0;
  std::vector<std::int32_t> col;
  std::vector<double> w;
  std::vector<std::uint8_t> equalMiddle;  // three or more taps, the inner ones of one weight
  ColumnTaps(const AxisMap& ax, u64 maxColumnSum) : col(ax.first.size()), w(ax.w.begin(), ax.w.end()) {
    columnRange(ax, c0, span);
    for (std::size_t x = 0; x < col.size(); ++x) col[x] = ax.first[x] - c0;
    // The inner columns' integer total must stay below 2^31.
    const u64 maxLen = static_cast<u64>(*std::max_element(ax.len.begin(), ax.len.end()));
    if (maxLen * maxColumnSum >= (u64{1} << 31)) return;
    equalMiddle.reserve(col.size());
    for (std::size_t x = 0; x < col.size(); ++x) {
      const std::uint32_t* wx = &ax.w[ax.wofs[x]];
      const int len = ax.len[x];
      bool equal = len >= 3;
      for (int k = 2; equal && k + 1 < len; ++k) equal = wx[k] == wx[1];
      equalMiddle.push_back(equal ? 1 : 0);
    }
  }
};

// Reduces one row of per-column sums (b, g, r, x each) to destination pixels.
__attribute__((target("avx2,fma"))) void horizontalAvx2(const std::int32_t* sums, const ColumnTaps& taps,
                                                        const AxisMap& ax, const Finisher& f, std::uint32_t* out) {
  const std::int32_t* col = taps.col.data();
  const std::int32_t* len = ax.len.data();
  const std::uint32_t* wofs = ax.wofs.data();
  const double* w = taps.w.data();
  const std::uint8_t* eq = taps.equalMiddle.empty() ? nullptr : taps.equalMiddle.data();
  const int n = ax.count;
  auto one = [&](int x) __attribute__((target("avx2,fma"))) {
    const std::int32_t* p = sums + 4 * col[x];
    return eq && eq[x] ? tapSumEqualMiddle(p, w + wofs[x], len[x]) : tapSum(p, w + wofs[x], len[x]);
  };
  int x = 0;
  for (; x + 2 <= n; x += 2) {
    const std::uint64_t two = finishTwo(f, one(x), one(x + 1));
    std::memcpy(out + x, &two, sizeof two);
  }
  if (x < n) out[x] = finishOne(f, one(x));
}

// Column sums (b, g, r, x per column) of `len` whole source rows, two rows per
// multiply: their bytes are interleaved as 16-bit pairs and multiplied by the
// matching weight pair with one madd. Every weight must be below 2^15 and
// 255 times their total below 2^31.
__attribute__((target("avx2,fma"))) void verticalPairsAvx2(std::int32_t* __restrict sums,
                                                           const std::uint32_t* const* rowPtrs,
                                                           const std::uint32_t* w, int len, int n) {
  constexpr int kMaxPairs = 32;
  const std::uint32_t* a[kMaxPairs];
  const std::uint32_t* b[kMaxPairs];
  __m256i wp[kMaxPairs];
  int pairs = 0;
  for (int t = 0; t < len; t += 2, ++pairs) {
    const bool odd = t + 1 == len;
    a[pairs] = rowPtrs[t];
    b[pairs] = odd ? rowPtrs[t] : rowPtrs[t + 1];
    wp[pairs] = _mm256_set1_epi32(static_cast<int>(w[t] | ((odd ? 0u : w[t + 1]) << 16)));
  }
  const __m256i zero = _mm256_setzero_si256();
  int x = 0;
  for (; x + 8 <= n; x += 8) {
    __m256i s0 = zero, s1 = zero, s2 = zero, s3 = zero;
    for (int p = 0; p < pairs; ++p) {
      const __m256i A = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a[p] + x));
      const __m256i B = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b[p] + x));
      const __m256i lo = _mm256_unpacklo_epi8(A, B);  // pixels 0, 1 | 4, 5
      const __m256i hi = _mm256_unpackhi_epi8(A, B);  // pixels 2, 3 | 6, 7
      s0 = _mm256_add_epi32(s0, _mm256_madd_epi16(_mm256_unpacklo_epi8(lo, zero), wp[p]));
      s1 = _mm256_add_epi32(s1, _mm256_madd_epi16(_mm256_unpackhi_epi8(lo, zero), wp[p]));
      s2 = _mm256_add_epi32(s2, _mm256_madd_epi16(_mm256_unpacklo_epi8(hi, zero), wp[p]));
      s3 = _mm256_add_epi32(s3, _mm256_madd_epi16(_mm256_unpackhi_epi8(hi, zero), wp[p]));
    }
    auto* o = reinterpret_cast<__m256i*>(sums + 4 * x);
    _mm256_storeu_si256(o, _mm256_permute2x128_si256(s0, s1, 0x20));
    _mm256_storeu_si256(o + 1, _mm256_permute2x128_si256(s2, s3, 0x20));
    _mm256_storeu_si256(o + 2, _mm256_permute2x128_si256(s0, s1, 0x31));
    _mm256_storeu_si256(o + 3, _mm256_permute2x128_si256(s2, s3, 0x31));
  }
  for (; x < n; ++x) {
    std::int32_t c[4] = {0, 0, 0, 0};
    for (int t = 0; t < len; ++t) {
      const std::uint32_t v = rowPtrs[t][x];
      for (int k = 0; k < 4; ++k) c[k] += static_cast<std::int32_t>(w[t] * ((v >> (8 * k)) & 0xFFu));
    }
    std::memcpy(sums + 4 * x, c, sizeof c);
  }
}

}  // namespace

bool shrinkFitsAvx2(const Image& src, const AxisMap& ax, const AxisMap& ay) {
  if (!src.fmt.plain32() || ax.den * ay.den > kMaxExactDen || ay.den * 255 >= (u64{1} << 31)) return false;
  if (*std::max_element(ay.len.begin(), ay.len.end()) > 64) return false;
  return *std::max_element(ay.w.begin(), ay.w.end()) < 32768u;
}

bool enlargeFitsAvx2(const AxisMap& ax, const AxisMap& ay) {
  return ax.den * ay.den <= kMaxExactDen && ax.den * 255 < (u64{1} << 31);
}

void shrinkAvx2(const Image& dst, const Image& src, const AxisMap& ax, const AxisMap& ay, StoreFn store, int i0,
                int i1) {
  const ColumnTaps taps(ax, 255 * ay.den);
  RowSource rows(src, taps.c0, taps.span);
  const std::size_t un = static_cast<std::size_t>(ax.count);
  std::vector<std::int32_t> sums(4 * static_cast<std::size_t>(taps.span));
  std::vector<std::uint32_t> out(un), tmp(un);
  const Finisher fin(ax.den * ay.den);
  const std::uint32_t* rowPtrs[64];
  for (int i = i0; i < i1; ++i) {
    const std::size_t yi = static_cast<std::size_t>(i);
    const int len = ay.len[yi];
    for (int t = 0; t < len; ++t) rowPtrs[t] = rows.get(ay.first[yi] + t);
    verticalPairsAvx2(sums.data(), rowPtrs, &ay.w[ay.wofs[yi]], len, taps.span);
    horizontalAvx2(sums.data(), taps, ax, fin, out.data());
    store(dst, ay.start + i, ax.start, ax.count, out.data(), tmp.data());
  }
}

namespace {

// One source row's horizontal sums (b, g, r, x per destination column).
// Taps of one or two pixels with weights below 2^15 take one madd: the
// pixels' channels are paired as 16-bit values and `pairW` holds both weights.
__attribute__((target("avx2,fma"))) void horizontalRowAvx2(const std::uint32_t* s, const AxisMap& ax,
                                                           const std::int32_t* col, const std::uint32_t* weights,
                                                           const std::uint32_t* pairW, std::int32_t* h) {
  const __m128i zero = _mm_setzero_si128();
  for (int x = 0; x < ax.count; ++x) {
    const std::uint32_t* p = s + col[x];
    const int len = ax.len[static_cast<std::size_t>(x)];
    __m128i acc;
    if (pairW && len <= 2) {
      const __m128i px = len == 2 ? _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))
                                  : _mm_cvtsi32_si128(static_cast<int>(p[0]));
      const __m128i two = _mm_unpacklo_epi8(px, zero);
      const __m128i paired = _mm_unpacklo_epi16(two, _mm_srli_si128(two, 8));  // b0 b1 g0 g1 r0 r1 x0 x1
      acc = _mm_madd_epi16(paired, _mm_set1_epi32(static_cast<int>(pairW[x])));
    } else {
      const std::uint32_t* w = weights + ax.wofs[static_cast<std::size_t>(x)];
      acc = _mm_mullo_epi32(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(static_cast<int>(p[0]))),
                            _mm_set1_epi32(static_cast<int>(w[0])));
      for (int k = 1; k < len; ++k)
        acc = _mm_add_epi32(acc, _mm_mullo_epi32(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(static_cast<int>(p[k]))),
                                                 _mm_set1_epi32(static_cast<int>(w[k]))));
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(h + 4 * x), acc);
  }
}

// Blends the horizontal sums of a destination row's source rows.
__attribute__((target("avx2,fma"))) void blendRowsAvx2(const std::int32_t* const* h, const double* w, int len,
                                                       const Finisher& f, std::uint32_t* out, int n) {
  const __m256d w0 = _mm256_broadcast_sd(w);
  int x = 0;
  if (len == 2) {
    const __m256d w1 = _mm256_broadcast_sd(w + 1);
    for (; x + 2 <= n; x += 2) {
      const __m256d s0 = _mm256_fmadd_pd(sumsAt(h[1], x), w1, _mm256_mul_pd(sumsAt(h[0], x), w0));
      const __m256d s1 = _mm256_fmadd_pd(sumsAt(h[1], x + 1), w1, _mm256_mul_pd(sumsAt(h[0], x + 1), w0));
      const std::uint64_t two = finishTwo(f, s0, s1);
      std::memcpy(out + x, &two, sizeof two);
    }
  } else if (len == 1) {
    for (; x + 2 <= n; x += 2) {
      const std::uint64_t two = finishTwo(f, _mm256_mul_pd(sumsAt(h[0], x), w0), _mm256_mul_pd(sumsAt(h[0], x + 1), w0));
      std::memcpy(out + x, &two, sizeof two);
    }
  }
  for (; x < n; ++x) {
    __m256d s = _mm256_mul_pd(sumsAt(h[0], x), w0);
    for (int t = 1; t < len; ++t) s = _mm256_fmadd_pd(sumsAt(h[t], x), _mm256_broadcast_sd(w + t), s);
    out[x] = finishOne(f, s);
  }
}

// Single precision, for small divisors: sums below 2^22 are exact, and the
// truncated product is the rounded quotient while the divisor stays below 2^14.
constexpr u64 kMaxFloatDen = u64{1} << 14;

// Between source rows h0 and h1 the two weights always add up to the axis
// divisor W, so w0 h0 + w1 h1 = W h0 + w1 (h1 - h0): the first term (with the
// rounding bias) and the difference are prepared once per pair of source rows
// and every destination row between them costs one multiply-add.
__attribute__((target("avx2,fma"))) void prepareRowPair(const std::int32_t* h0, const std::int32_t* h1, float W,
                                                        float bias, float* base, float* diff, int n) {
  const __m256 w = _mm256_set1_ps(W), b = _mm256_set1_ps(bias);
  int k = 0;
  for (; k + 8 <= 4 * n; k += 8) {
    const __m256 a = _mm256_cvtepi32_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(h0 + k)));
    _mm256_storeu_ps(base + k, _mm256_fmadd_ps(a, w, b));
    const __m256 c = h1 ? _mm256_cvtepi32_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(h1 + k))) : a;
    _mm256_storeu_ps(diff + k, _mm256_sub_ps(c, a));
  }
  for (; k < 4 * n; ++k) {
    base[k] = static_cast<float>(h0[k]) * W + bias;
    diff[k] = h1 ? static_cast<float>(h1[k] - h0[k]) : 0.0f;
  }
}

__attribute__((target("avx2,fma"))) void blendPreparedAvx2(const float* base, const float* diff, float w1, float inv,
                                                           std::uint32_t* out, int n) {
  const __m256 w = _mm256_set1_ps(w1), iv = _mm256_set1_ps(inv);
  auto pair = [&](int x) __attribute__((target("avx2,fma"))) {
    const __m256 t = _mm256_fmadd_ps(_mm256_loadu_ps(diff + 4 * x), w, _mm256_loadu_ps(base + 4 * x));
    return _mm256_cvttps_epi32(_mm256_mul_ps(t, iv));
  };
  const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 0, 0, 0, 0);
  int x = 0;
  for (; x + 4 <= n; x += 4) {
    const __m256i w16 = _mm256_packus_epi32(pair(x), pair(x + 2));  // 0, 2 | 1, 3
    const __m256i b8 = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(w16, w16), order);
    const __m128i four = _mm_and_si128(_mm256_castsi256_si128(b8), _mm_set1_epi32(0x00FFFFFF));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), four);
  }
  for (; x < n; ++x) {
    std::uint32_t v = 0;
    for (int c = 0; c < 3; ++c) {
      const float t = std::fma(diff[4 * x + c], w1, base[4 * x + c]) * inv;
      v |= static_cast<std::uint32_t>(t) << (8 * c);
    }
    out[x] = v;
  }
}

// The same in double precision, one pixel per vector, for any divisor the
// finisher accepts.
__attribute__((target("avx2,fma"))) void prepareRowPair(const std::int32_t* h0, const std::int32_t* h1, double W,
                                                        double bias, double* base, double* diff, int n) {
  const __m256d w = _mm256_set1_pd(W), b = _mm256_set1_pd(bias);
  for (int x = 0; x < n; ++x) {
    const __m256d a = sumsAt(h0, x);
    _mm256_storeu_pd(base + 4 * x, _mm256_fmadd_pd(a, w, b));
    _mm256_storeu_pd(diff + 4 * x, h1 ? _mm256_sub_pd(sumsAt(h1, x), a) : _mm256_setzero_pd());
  }
}

__attribute__((target("avx2,fma"))) void blendPreparedAvx2(const double* base, const double* diff, double w1,
                                                           double inv, std::uint32_t* out, int n) {
  const __m256d w = _mm256_set1_pd(w1), iv = _mm256_set1_pd(inv);
  auto one = [&](int x) __attribute__((target("avx2,fma"))) {
    return _mm256_mul_pd(_mm256_fmadd_pd(_mm256_loadu_pd(diff + 4 * x), w, _mm256_loadu_pd(base + 4 * x)), iv);
  };
  auto finish = [](__m256d t0, __m256d t1) __attribute__((target("avx2,fma"))) {
    const __m128i w16 = _mm_packus_epi32(_mm256_cvttpd_epi32(t0), _mm256_cvttpd_epi32(t1));
    return static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(w16, w16))) & 0x00FFFFFF00FFFFFFull;
  };
  int x = 0;
  for (; x + 2 <= n; x += 2) {
    const std::uint64_t two = finish(one(x), one(x + 1));
    std::memcpy(out + x, &two, sizeof two);
  }
  if (x < n) out[x] = static_cast<std::uint32_t>(finish(one(x), one(x)));
}

u64 commonFactor(u64 den, const std::vector<std::uint32_t>& w) {
  u64 g = den;
  for (std::uint32_t v : w) g = std::gcd(g, static_cast<u64>(v));
  return g == 0 ? 1 : g;
}

}  // namespace

void enlargeAvx2(const Image& dst, const Image& src, const AxisMap& ax, const AxisMap& ay, StoreFn store, int i0,
                 int i1) {
  const ColumnTaps taps(ax, u64{1} << 31);  // only its columns are used here
  RowSource rows(src, taps.c0, taps.span);
  const std::size_t un = static_cast<std::size_t>(ax.count);
  // Every weight and the divisor share the common factor of the two lengths;
  // dividing it out leaves the same rounded quotients with smaller sums.
  const u64 gx = commonFactor(ax.den, ax.w), gy = commonFactor(ay.den, ay.w);
  std::vector<std::uint32_t> wx(ax.w.size());
  for (std::size_t k = 0; k < wx.size(); ++k) wx[k] = static_cast<std::uint32_t>(ax.w[k] / gx);
  std::vector<std::uint32_t> pairW;
  if (!wx.empty() && *std::max_element(wx.begin(), wx.end()) < 32768u) {
    pairW.reserve(un);
    for (std::size_t x = 0; x < un; ++x) {
      const std::uint32_t* w = &wx[ax.wofs[x]];
      pairW.push_back(ax.len[x] >= 2 ? w[0] | (w[1] << 16) : w[0]);
    }
  }
  const u64 den = ax.den / gx * (ay.den / gy);
  const u64 rowDen = ay.den / gy;
  const bool single = den < kMaxFloatDen;
  // Source rows are visited in order and one destination row needs at most
  // maxLen consecutive ones, so a ring of maxLen+1 slots never evicts a row in use.
  int maxLen = 1;
  for (int i = i0; i < i1; ++i) maxLen = std::max(maxLen, ay.len[static_cast<std::size_t>(i)]);
  const int slots = maxLen + 1;
  std::vector<std::int32_t> ring(static_cast<std::size_t>(slots) * 4 * un);
  std::vector<int> ringKey(static_cast<std::size_t>(slots), -1);
  std::vector<std::uint32_t> out(un), tmp(un);
  std::vector<double> wy;
  std::vector<const std::int32_t*> h(static_cast<std::size_t>(maxLen));
  std::vector<float> base, diff;
  std::vector<double> baseD, diffD;
  if (single) {
    base.resize(4 * un);
    diff.resize(4 * un);
  } else {
    baseD.resize(4 * un);
    diffD.resize(4 * un);
  }
  int pairFirst = -1, pairLen = 0;
  double pairWeight = 0;
  const Finisher fin(den);
  auto blendPrepared = [&](double w1) {
    if (single)
      blendPreparedAvx2(base.data(), diff.data(), static_cast<float>(w1), fin.invf(), out.data(), ax.count);
    else
      blendPreparedAvx2(baseD.data(), diffD.data(), w1, fin.inv, out.data(), ax.count);
  };
  for (int i = i0; i < i1; ++i) {
    const std::size_t yi = static_cast<std::size_t>(i);
    const int len = ay.len[yi];
    const int first = ay.first[yi];
    wy.clear();
    for (int t = 0; t < len; ++t) wy.push_back(static_cast<double>(ay.w[ay.wofs[yi] + static_cast<std::size_t>(t)] / gy));
    // Preparing pays off only when several destination rows share the pair.
    int run = 1;
    while (run < 3 && i + run < i1 && ay.first[yi + static_cast<std::size_t>(run)] == first) ++run;
    const bool prepared =
        (run >= 3 || first == pairFirst) && (len == 1 || (len == 2 && static_cast<u64>(wy[0] + wy[1]) == rowDen));
    if (prepared && first == pairFirst && len == pairLen && (len == 2 || wy[0] == pairWeight)) {
      blendPrepared(len == 2 ? wy[1] : 0.0);
      store(dst, ay.start + i, ax.start, ax.count, out.data(), tmp.data());
      continue;
    }
    for (int t = 0; t < len; ++t) {
      const int sy = first + t;
      const std::size_t slot = static_cast<std::size_t>(sy % slots);
      std::int32_t* row = &ring[slot * 4 * un];
      if (ringKey[slot] != sy) {
        horizontalRowAvx2(rows.get(sy), ax, taps.col.data(), wx.data(), pairW.empty() ? nullptr : pairW.data(), row);
        ringKey[slot] = sy;
      }
      h[static_cast<std::size_t>(t)] = row;
    }
    if (prepared) {
      // A lone row carries the whole divisor as its weight.
      const std::int32_t* h1 = len == 2 ? h[1] : nullptr;
      const double W = len == 2 ? static_cast<double>(rowDen) : wy[0];
      if (single)
        prepareRowPair(h[0], h1, static_cast<float>(W), fin.biasf(), base.data(), diff.data(), ax.count);
      else
        prepareRowPair(h[0], h1, W, fin.bias, baseD.data(), diffD.data(), ax.count);
      pairFirst = first;
      pairLen = len;
      pairWeight = wy[0];
      blendPrepared(len == 2 ? wy[1] : 0.0);
    } else {
      blendRowsAvx2(h.data(), wy.data(), len, fin, out.data(), ax.count);
    }
    store(dst, ay.start + i, ax.start, ax.count, out.data(), tmp.data());
  }
}
#endif  // QORV_HALFTONE_AVX2

}  // namespace gdi::detail
