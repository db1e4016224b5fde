#include "platform/GdiStretch.h"
#include "platform/GdiStretchInternal.h"
#include "platform/PixelRows.h"
#include "platform/RowParallel.h"

#include <algorithm>
#include <array>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace gdi::detail {

namespace {

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

}  // namespace

constexpr std::array<StoreFn, 16> kStores = makeStores(std::make_index_sequence<16>{});

// --- source rows -------------------------------------------------------------------

void columnRange(const AxisMap& a, int& c0, int& n) {
  int lo = a.first.front(), hi = a.first.front() + a.len.front();
  for (int i : {0, a.count - 1}) {
    lo = std::min(lo, a.first[static_cast<std::size_t>(i)]);
    hi = std::max(hi, a.first[static_cast<std::size_t>(i)] + a.len[static_cast<std::size_t>(i)]);
  }
  c0 = lo;
  n = hi - lo;
}

namespace {

bool allSingle(const AxisMap& a) {
  return std::all_of(a.len.begin(), a.len.end(), [](std::int32_t l) { return l == 1; });
}

// Runs body(from, to) over [0, total) rows on the shared row pool. Each part
// writes its own destination rows, so the result does not depend on the
// split. Work is counted in weighted pixels, eight to the pool's unit: a job
// goes to the pool from 2^17 of them.
template <typename Body>
void splitRows(int total, std::int64_t pixelsPerRow, Body body) {
  constexpr std::int64_t kUnitsPerPixel = qorv::kParallelRowsMinWork >> 17;
  qorv::parallelRows(0, total - 1, pixelsPerRow * kUnitsPerPixel,
                     [&](std::int32_t a, std::int32_t b) { body(a, b + 1); });
}

// Rows whose pixels are plain B, G, R (24 bits) or B, G, R, X (32 bits), which
// the row converter copies between directly.
bool plainLayout(const Image& img) { return img.fmt.bpp == 24 || img.fmt.plain32(); }

// Destinations from this size on are written around the cache.
constexpr i64 kStreamBytes = i64{8} << 20;

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
        // A shrink reads rows far apart, each a fresh run of memory the
        // hardware only starts fetching on the first miss: asking for the
        // next row while this one is gathered hides most of that wait (about
        // a fifth of a fit frame's shrink of a large picture).
        if (src.fmt.plain32() && i + 1 < i1) {
          const int ny = ay.first[static_cast<std::size_t>(i + 1)];
          if (ny != sy) {
            const char* next = reinterpret_cast<const char*>(src.row(ny)) + static_cast<std::ptrdiff_t>(c0) * 4;
            for (int k = 0; k < cn * 4; k += 64) __builtin_prefetch(next + k);
          }
        }
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
    const bool straight = contiguousColumns(ax) && store == kStores[0xC];
    if (straight && plainLayout(dst) && plainLayout(source) && !(dst.fmt.bpp == 32 && source.fmt.bpp == 32)) {
      // Between 24- and 32-bit rows: one converting pass, on both threads.
      const int sb = source.fmt.bpp / 8, db = dst.fmt.bpp / 8;
      const bool stream = static_cast<i64>(ax.count) * db * ay.count >= kStreamBytes;
      splitRows(ay.count, ax.count, [&](int a, int b) {
        for (int i = a; i < b; ++i) {
          const std::uint8_t* s = source.row(ay.first[static_cast<std::size_t>(i)]) +
                                  static_cast<std::ptrdiff_t>(ax.first[0]) * sb;
          std::uint8_t* d = dst.row(ay.start + i) + static_cast<std::ptrdiff_t>(ax.start) * db;
          qorv::copyPixelRow(s, sb, d, db, ax.count, stream);
        }
      });
      return;
    }
    // A straight 32-bit row copy is bound by memory bandwidth: more threads only add their hand-over.
    const std::int64_t perRow = straight ? 0 : ax.count;
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

}  // namespace gdi::detail
