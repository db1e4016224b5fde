#include "platform/GdiStretch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numeric>
#include <thread>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif
#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#endif

namespace gdi::detail {

namespace {

using i64 = std::int64_t;
using u64 = std::uint64_t;
__extension__ typedef __int128 i128;

// --- per-axis footprints ------------------------------------------------------

// First source pixel of the group of destination pixel j when shrinking (D < S):
// source pixel k belongs to destination pixel ceil((2k+1)D / 2S) - 1, so the
// group of j starts at the smallest k with (2k+1)D > 2jS.
i64 groupStart(i64 j, i64 D, i64 S) {
  if (j <= 0) return 0;
  if (j >= D) return S;
  return (2 * j * S - D) / (2 * D) + 1;
}

struct Tap {
  i64 first = 0;
  i64 len = 1;
  std::array<std::uint32_t, 2> w{};  // the two weights of an enlarging halftone tap
};

// The footprint of logical destination pixel j in logical source indices. For
// a shrinking halftone axis the weights are produced by `shrinkWeight`.
Tap tapFor(i64 j, i64 D, i64 S, Footprint kind) {
  Tap t;
  if (D == S) {
    t.first = j;
    t.w[0] = 1;
    return t;
  }
  if (D > S) {
    if (kind != Footprint::Weights) {
      // ceil((2j+1)S / 2D) - 1
      t.first = static_cast<i64>((static_cast<u64>(2 * j + 1) * static_cast<u64>(S) - 1) / static_cast<u64>(2 * D));
      return t;
    }
    // Centre of destination pixel j in source pixel-centre coordinates is
    // ((2j+1)S - D) / 2D; interpolate between its two neighbours, edges clamped.
    const i64 den = 2 * D;
    const i64 num = (2 * j + 1) * S - D;
    if (num <= 0) {
      t.first = 0;
      t.w[0] = static_cast<std::uint32_t>(den);
    } else if (num / den >= S - 1) {
      t.first = S - 1;
      t.w[0] = static_cast<std::uint32_t>(den);
    } else {
      t.first = num / den;
      const i64 frac = num % den;
      t.w[0] = static_cast<std::uint32_t>(den - frac);
      if (frac != 0) {
        t.len = 2;
        t.w[1] = static_cast<std::uint32_t>(frac);
      }
    }
    return t;
  }
  if (kind == Footprint::Weights) {
    // Destination pixel j covers [jS, (j+1)S) in units of 1/D of a source pixel.
    t.first = j * S / D;
    t.len = ((j + 1) * S - 1) / D - t.first + 1;
    return t;
  }
  const i64 a = groupStart(j, D, S);
  const i64 b = groupStart(j + 1, D, S) - 1;
  if (kind == Footprint::PickFirst) {
    t.first = a;
  } else if (kind == Footprint::PickLast) {
    t.first = b;
  } else {
    t.first = a;
    t.len = b - a + 1;
  }
  return t;
}

// Weight of logical source pixel k in shrinking destination pixel j (units 1/D).
std::uint32_t shrinkWeight(i64 j, i64 k, i64 D, i64 S) {
  const i64 lo = std::max(k * D, j * S);
  const i64 hi = std::min((k + 1) * D, (j + 1) * S);
  return hi > lo ? static_cast<std::uint32_t>(hi - lo) : 0;
}

}  // namespace

void buildAxis(i64 dOrigin, i64 D, i64 sOrigin, i64 S, bool mirror, int clipLo, int clipHi, int srcLimit,
               Footprint kind, AxisMap& out) {
  out.start = clipLo;
  out.count = 0;
  out.first.clear();
  out.len.clear();
  out.wofs.clear();
  out.w.clear();
  out.den = 1;
  out.shrinking = D < S;
  if (clipHi <= clipLo || D <= 0 || S <= 0) return;
  if (kind == Footprint::Weights) out.den = D == S ? 1 : D > S ? static_cast<u64>(2 * D) : static_cast<u64>(S);

  auto logical = [&](int X) { return mirror ? dOrigin + D - 1 - X : X - dOrigin; };
  auto valid = [&](int X) {
    const Tap t = tapFor(logical(X), D, S, kind);
    const i64 f = sOrigin + t.first;
    return f >= 0 && f + t.len <= srcLimit;
  };
  // Footprints move monotonically with X, so the readable part is one interval.
  int lo = clipLo, hi = clipHi;
  while (lo < hi && !valid(lo)) ++lo;
  while (hi > lo && !valid(hi - 1)) --hi;
  out.start = lo;
  out.count = hi - lo;
  out.first.reserve(static_cast<std::size_t>(out.count));
  out.len.reserve(static_cast<std::size_t>(out.count));
  if (kind == Footprint::Weights) out.wofs.reserve(static_cast<std::size_t>(out.count));
  for (int X = lo; X < hi; ++X) {
    const i64 j = logical(X);
    const Tap t = tapFor(j, D, S, kind);
    out.first.push_back(static_cast<std::int32_t>(sOrigin + t.first));
    out.len.push_back(static_cast<std::int32_t>(t.len));
    if (kind != Footprint::Weights) continue;
    out.wofs.push_back(static_cast<std::uint32_t>(out.w.size()));
    if (D < S) {
      for (i64 k = t.first; k < t.first + t.len; ++k) out.w.push_back(shrinkWeight(j, k, D, S));
    } else {
      for (i64 k = 0; k < t.len; ++k) out.w.push_back(t.w[static_cast<std::size_t>(k)]);
    }
  }
}

namespace {

// --- raster operations ----------------------------------------------------------

template <unsigned N>
inline std::uint32_t ropApply(std::uint32_t s, std::uint32_t d) {
  std::uint32_t r = 0;
  if constexpr ((N & 8u) != 0) r |= s & d;
  if constexpr ((N & 4u) != 0) r |= s & ~d;
  if constexpr ((N & 2u) != 0) r |= ~s & d;
  if constexpr ((N & 1u) != 0) r |= ~s & ~d;
  return r & kColourBits;
}

// d = (s ^ flip) & colour bits. Source and destination never overlap (a blit
// onto its own surface reads a snapshot), which lets this run as vector code.
__attribute__((optimize("O3"))) void maskedCopy(std::uint32_t* __restrict d, const std::uint32_t* __restrict s, int n,
                                                std::uint32_t flip) {
  for (int i = 0; i < n; ++i) d[i] = (s[i] ^ flip) & kColourBits;
}

#ifdef __SSE2__
// Long rows are written with streaming stores: a destination line is then not
// read before being overwritten, which is most of the cost of a large copy.
void streamRow(std::uint32_t* d, const std::uint32_t* s, int n, std::uint32_t flip) {
  int i = 0;
  for (; i < n && (reinterpret_cast<std::uintptr_t>(d + i) & 15u) != 0; ++i) d[i] = (s[i] ^ flip) & kColourBits;
  const __m128i mask = _mm_set1_epi32(static_cast<int>(kColourBits));
  const __m128i f = _mm_set1_epi32(static_cast<int>(flip));
  for (; i + 4 <= n; i += 4) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    _mm_stream_si128(reinterpret_cast<__m128i*>(d + i), _mm_and_si128(_mm_xor_si128(v, f), mask));
  }
  for (; i < n; ++i) d[i] = (s[i] ^ flip) & kColourBits;
  _mm_sfence();
}
#endif

void copyRow(std::uint32_t* d, const std::uint32_t* s, int n, std::uint32_t flip) {
#ifdef __SSE2__
  if (n >= 1024) {
    streamRow(d, s, n, flip);
    return;
  }
#endif
  maskedCopy(d, s, n, flip);
}

using StoreFn = void (*)(const Image& dst, int y, int x0, int n, const std::uint32_t* s, std::uint32_t* tmp);

// Writes n pixels of a finished source row through the raster operation.
template <unsigned N>
void storeRow(const Image& dst, int y, int x0, int n, const std::uint32_t* s, std::uint32_t* tmp) {
  if (dst.fmt.plain32()) {
    auto* d = reinterpret_cast<std::uint32_t*>(dst.row(y)) + x0;
    if constexpr (N == 0xCu) {
      copyRow(d, s, n, 0);
    } else if constexpr (N == 0x3u) {
      copyRow(d, s, n, kColourBits);
    } else {
      for (int i = 0; i < n; ++i) d[i] = ropApply<N>(s[i], d[i]);
    }
    return;
  }
  if constexpr (N == 0xCu) {
    writeRow(dst, y, x0, n, s);
  } else {
    readRow(dst, y, x0, n, tmp);
    for (int i = 0; i < n; ++i) tmp[i] = ropApply<N>(s[i], tmp[i]);
    writeRow(dst, y, x0, n, tmp);
  }
}

template <std::size_t... I>
constexpr std::array<StoreFn, sizeof...(I)> makeStores(std::index_sequence<I...>) {
  return {&storeRow<static_cast<unsigned>(I)>...};
}
constexpr auto kStores = makeStores(std::make_index_sequence<16>{});

// --- source rows -------------------------------------------------------------------

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

void columnRange(const AxisMap& a, int& c0, int& n) {
  int lo = a.first.front(), hi = a.first.front() + a.len.front();
  for (int i : {0, a.count - 1}) {
    lo = std::min(lo, a.first[static_cast<std::size_t>(i)]);
    hi = std::max(hi, a.first[static_cast<std::size_t>(i)] + a.len[static_cast<std::size_t>(i)]);
  }
  c0 = lo;
  n = hi - lo;
}

bool allSingle(const AxisMap& a) {
  return std::all_of(a.len.begin(), a.len.end(), [](std::int32_t l) { return l == 1; });
}

// Runs body(from, to) over [0, total) rows, split between this thread and one
// helper when the job is large enough to pay for the thread. Each part writes
// its own destination rows, so the result does not depend on the split.
template <typename Body>
void splitRows(int total, std::int64_t pixelsPerRow, Body body) {
  const std::int64_t work = pixelsPerRow * total;
  if (total < 2 || work < (std::int64_t{1} << 17) || std::thread::hardware_concurrency() < 2) {
    body(0, total);
    return;
  }
  const int half = total / 2;
  std::thread helper;
  try {
    helper = std::thread([&] { body(half, total); });
  } catch (...) {
    body(0, total);  // no thread to be had: do it all here
    return;
  }
  body(0, half);
  helper.join();
}

bool contiguousColumns(const AxisMap& ax) {
  for (std::size_t x = 1; x < ax.first.size(); ++x)
    if (ax.first[x] != ax.first[x - 1] + 1) return false;
  return true;
}

void pickPath(const Image& dst, const Image& src, const AxisMap& ax, const AxisMap& ay, StoreFn store, int i0,
              int i1) {
  int c0 = 0, cn = 0;
  columnRange(ax, c0, cn);
  RowSource rows(src, c0, cn);
  const int n = ax.count;
  std::vector<std::uint32_t> out(static_cast<std::size_t>(n)), tmp(static_cast<std::size_t>(n));
  const bool contiguous = contiguousColumns(ax);
  // Column offsets relative to the fetched span, once per call.
  std::vector<std::int32_t> col(static_cast<std::size_t>(n));
  for (std::size_t x = 0; x < col.size(); ++x) col[x] = ax.first[x] - c0;
  int lastRow = -1;
  for (int i = i0; i < i1; ++i) {
    const int sy = ay.first[static_cast<std::size_t>(i)];
    const std::uint32_t* s = rows.get(sy);
    const std::uint32_t* line = nullptr;
    if (contiguous) {
      line = s + (ax.first[0] - c0);
    } else {
      if (sy != lastRow) {
        const std::int32_t* c = col.data();
        std::uint32_t* o = out.data();
        for (int x = 0; x < n; ++x) o[x] = s[c[x]];
        lastRow = sy;
      }
      line = out.data();
    }
    store(dst, ay.start + i, ax.start, n, line, tmp.data());
  }
}

void groupPath(const Image& dst, const Image& src, const AxisMap& ax, const AxisMap& ay, bool andMode,
               StoreFn store, int i0, int i1) {
  int c0 = 0, cn = 0;
  columnRange(ax, c0, cn);
  RowSource rows(src, c0, cn);
  const int n = ax.count;
  std::vector<std::uint32_t> acc(static_cast<std::size_t>(n)), tmp(static_cast<std::size_t>(n));
  const std::uint32_t init = andMode ? 0xFFFFFFFFu : 0u;
  for (int i = i0; i < i1; ++i) {
    std::fill(acc.begin(), acc.end(), init);
    const int y0 = ay.first[static_cast<std::size_t>(i)];
    for (int sy = y0; sy < y0 + ay.len[static_cast<std::size_t>(i)]; ++sy) {
      const std::uint32_t* s = rows.get(sy);
      for (int x = 0; x < n; ++x) {
        const std::uint32_t* p = s + (ax.first[static_cast<std::size_t>(x)] - c0);
        const int len = ax.len[static_cast<std::size_t>(x)];
        std::uint32_t v = p[0];
        if (andMode) {
          for (int k = 1; k < len; ++k) v &= p[k];
          acc[static_cast<std::size_t>(x)] &= v;
        } else {
          for (int k = 1; k < len; ++k) v |= p[k];
          acc[static_cast<std::size_t>(x)] |= v;
        }
      }
    }
    store(dst, ay.start + i, ax.start, n, acc.data(), tmp.data());
  }
}

// Rounded quotient by a fixed divisor without a hardware division per pixel: a
// floating estimate is within one of the truth and is then corrected exactly.
struct RoundingDivider {
  u64 den;
  u64 half;
  double inv;
  explicit RoundingDivider(u64 d) : den(d), half(d / 2), inv(1.0 / static_cast<double>(d)) {}
  std::uint32_t operator()(u64 n) const {
    n += half;  // below 2^62: the signed conversions are exact enough and cheaper
    u64 q = static_cast<u64>(static_cast<i64>(static_cast<double>(static_cast<i64>(n)) * inv));
    if (q * den > n) {
      --q;
    } else if ((q + 1) * den <= n) {
      ++q;
    }
    return static_cast<std::uint32_t>(q);
  }
};

// acc = w * h and acc += w * h over n entries: widening 32x32->64 products,
// which the compiler turns into vector code.
__attribute__((optimize("O3"))) void accumulateFirst(u64* __restrict acc, const std::uint32_t* __restrict h,
                                                     std::uint32_t w, std::size_t n) {
  for (std::size_t k = 0; k < n; ++k) acc[k] = static_cast<u64>(w) * h[k];
}
__attribute__((optimize("O3"))) void accumulate(u64* __restrict acc, const std::uint32_t* __restrict h,
                                                std::uint32_t w, std::size_t n) {
  for (std::size_t k = 0; k < n; ++k) acc[k] += static_cast<u64>(w) * h[k];
}

#ifdef __SSE2__
// Horizontal weighted sums two taps at a time: the channels of two pixels are
// paired as 16-bit values and multiplied by their weights with one madd. Needs
// every weight below 2^15.
void horizontalSse2(const std::uint32_t* s, const std::int32_t* col, const AxisMap& ax, std::uint32_t* hb,
                    std::uint32_t* hg, std::uint32_t* hr, std::size_t n) {
  const __m128i zero = _mm_setzero_si128();
  alignas(16) std::uint32_t lanes[4];
  for (std::size_t x = 0; x < n; ++x) {
    const std::uint32_t* p = s + col[x];
    const std::uint32_t* w = &ax.w[ax.wofs[x]];
    const int len = ax.len[x];
    __m128i acc = zero;
    int k = 0;
    for (; k + 1 < len; k += 2) {
      const __m128i two = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + k)), zero);
      const __m128i paired = _mm_unpacklo_epi16(two, _mm_srli_si128(two, 8));  // b0 b1 g0 g1 r0 r1 x0 x1
      const __m128i ww = _mm_set1_epi32(static_cast<int>(w[k] | (w[k + 1] << 16)));
      acc = _mm_add_epi32(acc, _mm_madd_epi16(paired, ww));
    }
    if (k < len) {
      const __m128i one = _mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int>(p[k])), zero);
      const __m128i spread = _mm_unpacklo_epi16(one, zero);  // b 0 g 0 r 0 x 0
      acc = _mm_add_epi32(acc, _mm_madd_epi16(spread, _mm_set1_epi32(static_cast<int>(w[k]))));
    }
    _mm_store_si128(reinterpret_cast<__m128i*>(lanes), acc);
    hb[x] = lanes[0];
    hg[x] = lanes[1];
    hr[x] = lanes[2];
  }
}
#endif

void weightsPath(const Image& dst, const Image& src, const AxisMap& ax, const AxisMap& ay, StoreFn store, int i0,
                 int i1) {
  int c0 = 0, cn = 0;
  columnRange(ax, c0, cn);
  RowSource rows(src, c0, cn);
  const int n = ax.count;
  const std::size_t un = static_cast<std::size_t>(n);
  // Horizontal sums of recently used source rows, planar per channel. Source
  // rows are visited in order and one destination row needs at most `maxLen`
  // consecutive ones, so a ring of maxLen+1 slots never evicts a row in use.
  int maxLen = 1;
  for (int i = i0; i < i1; ++i) maxLen = std::max(maxLen, ay.len[static_cast<std::size_t>(i)]);
  const int slots = maxLen + 1;
  std::vector<std::uint32_t> ring(static_cast<std::size_t>(slots) * 3 * un);
  std::vector<int> ringKey(static_cast<std::size_t>(slots), -1);
  std::vector<std::int32_t> col(un);
  for (std::size_t x = 0; x < un; ++x) col[x] = ax.first[x] - c0;
  // A row's sums stay below 255 * den <= 2^32 (see kMaxExtent).
  const bool smallWeights = ax.den < 32768;
  auto horizontal = [&](int sy) -> const std::uint32_t* {
    const std::size_t slot = static_cast<std::size_t>(sy % slots);
    std::uint32_t* h = &ring[slot * 3 * un];
    if (ringKey[slot] == sy) return h;
    ringKey[slot] = sy;
    const std::uint32_t* s = rows.get(sy);
    std::uint32_t* hb = h;
    std::uint32_t* hg = h + un;
    std::uint32_t* hr = h + 2 * un;
#ifdef __SSE2__
    if (smallWeights) {
      horizontalSse2(s, col.data(), ax, hb, hg, hr, un);
      return h;
    }
#endif
    for (std::size_t x = 0; x < un; ++x) {
      const std::uint32_t* p = s + col[x];
      const std::uint32_t* w = &ax.w[ax.wofs[x]];
      std::uint32_t b = 0, g = 0, r = 0;
      for (int k = 0; k < ax.len[x]; ++k) {
        const std::uint32_t v = p[k];
        b += w[k] * (v & 0xFFu);
        g += w[k] * ((v >> 8) & 0xFFu);
        r += w[k] * ((v >> 16) & 0xFFu);
      }
      hb[x] = b;
      hg[x] = g;
      hr[x] = r;
    }
    return h;
  };
  std::vector<u64> acc(3 * un);
  std::vector<std::uint32_t> out(un), tmp(un);
  const RoundingDivider divide(static_cast<u64>(ax.den) * ay.den);
  for (int i = i0; i < i1; ++i) {
    const std::size_t yi = static_cast<std::size_t>(i);
    const int len = ay.len[yi];
    const std::uint32_t* wy = &ay.w[ay.wofs[yi]];
    accumulateFirst(acc.data(), horizontal(ay.first[yi]), wy[0], 3 * un);
    for (int t = 1; t < len; ++t) accumulate(acc.data(), horizontal(ay.first[yi] + t), wy[t], 3 * un);
    for (std::size_t x = 0; x < un; ++x)
      out[x] = divide(acc[x]) | (divide(acc[un + x]) << 8) | (divide(acc[2 * un + x]) << 16);
    store(dst, ay.start + i, ax.start, n, out.data(), tmp.data());
  }
}

// Shrinking vertically, the source rows of one destination row are first
// summed column by column (weighted), then the single row of column sums is
// reduced horizontally: every source pixel is touched about once, in order.
void addWeightedRow(std::uint32_t* __restrict sums, const std::uint32_t* __restrict s, std::uint32_t w, int n) {
  int x = 0;
#ifdef __SSE2__
  if (w < 32768) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i ww = _mm_set1_epi32(static_cast<int>(w));
    for (; x + 2 <= n; x += 2) {
      const __m128i two = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(s + x)), zero);
      auto* d = reinterpret_cast<__m128i*>(sums + 4 * x);
      const __m128i lo = _mm_madd_epi16(_mm_unpacklo_epi16(two, zero), ww);
      const __m128i hi = _mm_madd_epi16(_mm_unpackhi_epi16(two, zero), ww);
      _mm_storeu_si128(d, _mm_add_epi32(_mm_loadu_si128(d), lo));
      _mm_storeu_si128(d + 1, _mm_add_epi32(_mm_loadu_si128(d + 1), hi));
    }
  }
#endif
  for (; x < n; ++x) {
    const std::uint32_t v = s[x];
    std::uint32_t* d = sums + 4 * x;
    d[0] += w * (v & 0xFFu);
    d[1] += w * ((v >> 8) & 0xFFu);
    d[2] += w * ((v >> 16) & 0xFFu);
  }
}

#ifdef __SSE2__
// Column sums of all of a destination row's source rows in one pass, kept in
// registers per pair of columns: the sums are written once instead of being
// read and written back for every source row. Every weight must be below 2^15.
void addWeightedRows(std::uint32_t* __restrict sums, const std::uint32_t* const* rowPtrs, const std::uint32_t* w,
                     int len, int n) {
  const __m128i zero = _mm_setzero_si128();
  __m128i ww[64];
  for (int t = 0; t < len; ++t) ww[t] = _mm_set1_epi32(static_cast<int>(w[t]));
  int x = 0;
  for (; x + 4 <= n; x += 4) {
    __m128i a = zero, b = zero, c = zero, d = zero;
    for (int t = 0; t < len; ++t) {
      const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rowPtrs[t] + x));
      const __m128i lo8 = _mm_unpacklo_epi8(four, zero), hi8 = _mm_unpackhi_epi8(four, zero);
      a = _mm_add_epi32(a, _mm_madd_epi16(_mm_unpacklo_epi16(lo8, zero), ww[t]));
      b = _mm_add_epi32(b, _mm_madd_epi16(_mm_unpackhi_epi16(lo8, zero), ww[t]));
      c = _mm_add_epi32(c, _mm_madd_epi16(_mm_unpacklo_epi16(hi8, zero), ww[t]));
      d = _mm_add_epi32(d, _mm_madd_epi16(_mm_unpackhi_epi16(hi8, zero), ww[t]));
    }
    auto* out = reinterpret_cast<__m128i*>(sums + 4 * x);
    _mm_storeu_si128(out, a);
    _mm_storeu_si128(out + 1, b);
    _mm_storeu_si128(out + 2, c);
    _mm_storeu_si128(out + 3, d);
  }
  for (; x + 2 <= n; x += 2) {
    __m128i lo = zero, hi = zero;
    for (int t = 0; t < len; ++t) {
      const __m128i two = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(rowPtrs[t] + x)), zero);
      lo = _mm_add_epi32(lo, _mm_madd_epi16(_mm_unpacklo_epi16(two, zero), ww[t]));
      hi = _mm_add_epi32(hi, _mm_madd_epi16(_mm_unpackhi_epi16(two, zero), ww[t]));
    }
    auto* d = reinterpret_cast<__m128i*>(sums + 4 * x);
    _mm_storeu_si128(d, lo);
    _mm_storeu_si128(d + 1, hi);
  }
  for (; x < n; ++x) {
    std::uint32_t b = 0, g = 0, r = 0;
    for (int t = 0; t < len; ++t) {
      const std::uint32_t v = rowPtrs[t][x];
      b += w[t] * (v & 0xFFu);
      g += w[t] * ((v >> 8) & 0xFFu);
      r += w[t] * ((v >> 16) & 0xFFu);
    }
    sums[4 * x] = b;
    sums[4 * x + 1] = g;
    sums[4 * x + 2] = r;
  }
}
#endif

void weightsPathColumnsFirst(const Image& dst, const Image& src, const AxisMap& ax, const AxisMap& ay,
                             StoreFn store, int i0, int i1) {
  int c0 = 0, cn = 0;
  columnRange(ax, c0, cn);
  RowSource rows(src, c0, cn);
  const std::size_t un = static_cast<std::size_t>(ax.count);
  std::vector<std::uint32_t> sums(4 * static_cast<std::size_t>(cn));  // b, g, r, unused per column
  std::vector<std::uint32_t> out(un), tmp(un);
  const RoundingDivider divide(static_cast<u64>(ax.den) * ay.den);
  // Whole source rows can be held at once only when they are read in place.
  [[maybe_unused]] const bool direct = src.fmt.plain32();
  for (int i = i0; i < i1; ++i) {
    const std::size_t yi = static_cast<std::size_t>(i);
    const int len = ay.len[yi];
    const std::uint32_t* wy = &ay.w[ay.wofs[yi]];
#ifdef __SSE2__
    if (direct && len <= 64 && ay.den < 32768) {
      const std::uint32_t* rowPtrs[64];
      for (int t = 0; t < len; ++t) rowPtrs[t] = rows.get(ay.first[yi] + t);
      addWeightedRows(sums.data(), rowPtrs, wy, len, cn);
    } else
#endif
    {
      std::fill(sums.begin(), sums.end(), 0u);
      for (int t = 0; t < len; ++t) addWeightedRow(sums.data(), rows.get(ay.first[yi] + t), wy[t], cn);
    }
    for (std::size_t x = 0; x < un; ++x) {
      const std::uint32_t* p = &sums[4 * static_cast<std::size_t>(ax.first[x] - c0)];
      const std::uint32_t* w = &ax.w[ax.wofs[x]];
      u64 b = 0, g = 0, r = 0;
      for (int k = 0; k < ax.len[x]; ++k, p += 4) {
        b += static_cast<u64>(w[k]) * p[0];
        g += static_cast<u64>(w[k]) * p[1];
        r += static_cast<u64>(w[k]) * p[2];
      }
      out[x] = divide(b) | (divide(g) << 8) | (divide(r) << 16);
    }
    store(dst, ay.start + i, ax.start, ax.count, out.data(), tmp.data());
  }
}


// --- AVX2 halftone ------------------------------------------------------------------
//
// Same sums as the paths above, with the last step done in double precision:
// every partial sum is an integer below 2^53, so it is held exactly, and for a
// divisor below 2^40 the truncated product (sum + den/2 + 1/2) * (1/den) is
// exactly the rounded quotient (its error stays far below the 1/(2 den) gap
// between that value and the nearest integer).

#if defined(__x86_64__) && defined(__GNUC__)
#define QORV_HALFTONE_AVX2 1

bool haveAvx2() {
  static const bool yes = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  return yes;
}

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
#endif  // x86-64

}  // namespace

void stretchImage(const Image& dst, const Image* src, const StretchRequest& r) {
  if (!dst.top || dst.width <= 0 || dst.height <= 0) return;
  const unsigned nib = ropNibble(r.rop);
  const StoreFn store = kStores[nib];
  const bool usesSource = (nib & 3u) != ((nib >> 2) & 3u);
  const i64 DW = r.wDest < 0 ? -r.wDest : r.wDest;
  const i64 DH = r.hDest < 0 ? -r.hDest : r.hDest;
  if (DW == 0 || DH == 0) return;
  const i64 dx0 = r.wDest < 0 ? r.xDest + r.wDest + 1 : r.xDest;
  const i64 dy0 = r.hDest < 0 ? r.yDest + r.hDest + 1 : r.yDest;
  const int cx0 = static_cast<int>(std::clamp<i64>(dx0, 0, dst.width));
  const int cx1 = static_cast<int>(std::clamp<i64>(dx0 + DW, 0, dst.width));
  const int cy0 = static_cast<int>(std::clamp<i64>(dy0, 0, dst.height));
  const int cy1 = static_cast<int>(std::clamp<i64>(dy0 + DH, 0, dst.height));
  if (cx0 >= cx1 || cy0 >= cy1) return;

  if (!usesSource || !src || !src->top) {
    if (usesSource) return;
    const std::size_t n = static_cast<std::size_t>(cx1 - cx0);
    std::vector<std::uint32_t> zeros(n), tmp(n);
    for (int y = cy0; y < cy1; ++y) store(dst, y, cx0, cx1 - cx0, zeros.data(), tmp.data());
    return;
  }

  const i64 SW = r.wSrc < 0 ? -r.wSrc : r.wSrc;
  const i64 SH = r.hSrc < 0 ? -r.hSrc : r.hSrc;
  if (SW == 0 || SH == 0) return;
  const i64 sx0 = r.wSrc < 0 ? r.xSrc + r.wSrc + 1 : r.xSrc;
  const i64 sy0 = r.hSrc < 0 ? r.ySrc + r.hSrc + 1 : r.ySrc;
  const bool mirrorX = (r.wDest < 0) != (r.wSrc < 0);
  const bool mirrorY = (r.hDest < 0) != (r.hSrc < 0);

  Footprint kx = Footprint::Group, ky = Footprint::Group;
  if (r.mode == HALFTONE) {
    kx = ky = Footprint::Weights;
  } else if (r.mode == COLORONCOLOR) {
    kx = Footprint::PickLast;
    ky = Footprint::PickFirst;
  }
  AxisMap ax, ay;
  buildAxis(dx0, DW, sx0, SW, mirrorX, cx0, cx1, src->width, kx, ax);
  if (ax.count == 0) return;
  buildAxis(dy0, DH, sy0, SH, mirrorY, cy0, cy1, src->height, ky, ay);
  if (ay.count == 0) return;

  const Image& source = *src;
  if (allSingle(ax) && allSingle(ay)) {
    // A straight row copy is bound by memory bandwidth: a second thread only adds its start-up.
    const std::int64_t perRow = contiguousColumns(ax) && store == kStores[0xC] ? 0 : ax.count;
    splitRows(ay.count, perRow, [&](int a, int b) { pickPath(dst, source, ax, ay, store, a, b); });
  } else if (r.mode == HALFTONE) {
#ifdef QORV_HALFTONE_AVX2
    if (haveAvx2() && (ay.shrinking ? shrinkFitsAvx2(source, ax, ay) : enlargeFitsAvx2(ax, ay))) {
      const bool shrink = ay.shrinking;
      splitRows(ay.count, ax.count * 4, [&](int a, int b) {
        if (shrink)
          shrinkAvx2(dst, source, ax, ay, store, a, b);
        else
          enlargeAvx2(dst, source, ax, ay, store, a, b);
      });
      return;
    }
#endif
    if (ay.shrinking) {
      splitRows(ay.count, ax.count * 4,
                [&](int a, int b) { weightsPathColumnsFirst(dst, source, ax, ay, store, a, b); });
    } else {
      splitRows(ay.count, ax.count * 4, [&](int a, int b) { weightsPath(dst, source, ax, ay, store, a, b); });
    }
  } else {
    const bool andMode = r.mode != WHITEONBLACK;
    splitRows(ay.count, ax.count * 2, [&](int a, int b) { groupPath(dst, source, ax, ay, andMode, store, a, b); });
  }
}

// --- parallelogram blit ----------------------------------------------------------

namespace {

i128 floorDiv(i128 a, i128 b) {  // b > 0
  i128 q = a / b;
  if ((a % b) != 0 && a < 0) --q;
  return q;
}

// floor(num / den) tracked exactly while num grows by a fixed step.
struct Stepper {
  i128 q = 0, r = 0, dq = 0, dr = 0, den = 1;
  void init(i128 num, i128 step, i128 d) {
    den = d;
    q = floorDiv(num, d);
    r = num - q * d;
    dq = floorDiv(step, d);
    dr = step - dq * d;
  }
  void advance() {
    q += dq;
    r += dr;
    if (r >= den) {
      r -= den;
      ++q;
    }
  }
};

}  // namespace

bool plgImage(const Image& dst, const POINT* pts, const Image& src, int xSrc, int ySrc, int width, int height) {
  const i64 p0x = pts[0].x, p0y = pts[0].y;
  const i64 ax = static_cast<i64>(pts[1].x) - p0x, ay = static_cast<i64>(pts[1].y) - p0y;
  const i64 bx = static_cast<i64>(pts[2].x) - p0x, by = static_cast<i64>(pts[2].y) - p0y;
  i128 det = static_cast<i128>(ax) * by - static_cast<i128>(ay) * bx;
  if (det == 0 || width <= 0 || height <= 0) return false;
  if (!dst.top || !src.top) return true;
  const int sign = det < 0 ? -1 : 1;
  const i128 den = 2 * det * sign;

  const i64 xs[4] = {p0x, p0x + ax, p0x + bx, p0x + ax + bx};
  const i64 ys[4] = {p0y, p0y + ay, p0y + by, p0y + ay + by};
  const i64 minX = *std::min_element(xs, xs + 4), maxX = *std::max_element(xs, xs + 4);
  const i64 minY = *std::min_element(ys, ys + 4), maxY = *std::max_element(ys, ys + 4);
  // A pixel centre X + 0.5 inside [minX, maxX] means minX <= X < maxX.
  const int X0 = static_cast<int>(std::clamp<i64>(minX, 0, dst.width));
  const int X1 = static_cast<int>(std::clamp<i64>(maxX, 0, dst.width));
  const int Y0 = static_cast<int>(std::clamp<i64>(minY, 0, dst.height));
  const int Y1 = static_cast<int>(std::clamp<i64>(maxY, 0, dst.height));
  if (X0 >= X1 || Y0 >= Y1) return true;

  // Source column and row of each destination centre, in exact integers: for the
  // doubled offset q2 of the centre from P0, u = W (q2x by - q2y bx) / 2det and
  // v = H (ax q2y - ay q2x) / 2det.
  const i64 uLo = std::max<i64>(0, -static_cast<i64>(xSrc));
  const i64 uHi = std::min<i64>(width, static_cast<i64>(src.width) - xSrc);
  const i64 vLo = std::max<i64>(0, -static_cast<i64>(ySrc));
  const i64 vHi = std::min<i64>(height, static_cast<i64>(src.height) - ySrc);
  if (uLo >= uHi || vLo >= vHi) return true;

  const std::size_t n = static_cast<std::size_t>(X1 - X0);
  std::vector<std::uint32_t> run(n), tmp(n);
  const i128 stepU = static_cast<i128>(sign) * width * 2 * by;
  const i128 stepV = static_cast<i128>(sign) * height * -2 * ay;
  for (int Y = Y0; Y < Y1; ++Y) {
    const i128 qx2 = 2 * static_cast<i128>(X0) + 1 - 2 * static_cast<i128>(p0x);
    const i128 qy2 = 2 * static_cast<i128>(Y) + 1 - 2 * static_cast<i128>(p0y);
    Stepper u, v;
    u.init(static_cast<i128>(sign) * width * (qx2 * by - qy2 * bx), stepU, den);
    v.init(static_cast<i128>(sign) * height * (qy2 * ax - qx2 * ay), stepV, den);
    int runStart = -1, runLen = 0;
    auto flush = [&] {
      if (runLen > 0) kStores[0xC](dst, Y, runStart, runLen, run.data(), tmp.data());
      runLen = 0;
    };
    for (int X = X0; X < X1; ++X) {
      if (u.q >= uLo && u.q < uHi && v.q >= vLo && v.q < vHi) {
        if (runLen == 0) runStart = X;
        const int sx = xSrc + static_cast<int>(u.q), sy = ySrc + static_cast<int>(v.q);
        std::uint32_t px;
        readRow(src, sy, sx, 1, &px);
        run[static_cast<std::size_t>(runLen++)] = px;
      } else {
        flush();
      }
      u.advance();
      v.advance();
    }
    flush();
  }
  return true;
}

}  // namespace gdi::detail
