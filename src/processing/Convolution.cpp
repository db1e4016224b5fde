// Square-kernel convolution. Each channel's sum is divided by the weight,
// truncating toward zero, and clamped to a byte; pixels nearer than the kernel
// radius to an edge are not written.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <QorvPictureBox/gdi.h>
#include "platform/CpuFeatures.h"
#include "platform/PixelRows.h"
#include "processing/cDIBSection.h"
#include "processing/ColumnPass.h"

namespace qorv {

namespace {

// Below this divisor the reciprocal estimate plus one correction step is
// exact for every clamped sum (see finishFast).
constexpr std::int32_t kFastDivisorLimit = 16384;

// Sums in [0, 255 w] divided by w with a float reciprocal: the estimate is at
// most one below the true quotient (only when that quotient is whole), and
// the remainder test puts it right. Integers up to 2^24 are exact in float.
template <class Acc>
[[gnu::always_inline]] inline void finishFast(const Acc* acc, std::uint8_t* out, std::int32_t n, std::int32_t w) {
  const float fw = static_cast<float>(w);
  const float inv = 1.0f / fw;
  const std::int32_t maxSum = 255 * w;
  for (std::int32_t k = 0; k < n; ++k) {
    std::int32_t s = acc[k];
    s = s < 0 ? 0 : s;
    s = s > maxSum ? maxSum : s;
    const float fs = static_cast<float>(s);
    std::int32_t q = static_cast<std::int32_t>(fs * inv);
    q += (fs - static_cast<float>(q) * fw) >= fw ? 1 : 0;
    out[k] = static_cast<std::uint8_t>(q);
  }
}

// Exact truncating division for any weight; a weight of 0 leaves every
// quotient at its starting value, 0.
template <class Acc>
void finishExact(const Acc* acc, std::uint8_t* out, std::int32_t n, std::int32_t w) {
  for (std::int32_t k = 0; k < n; ++k) {
    const std::int64_t q = w == 0 ? 0 : static_cast<std::int64_t>(acc[k]) / w;
    out[k] = clampByte(q);
  }
}

// Sums for a kernel of fixed radius R over n consecutive bytes: rows[j]
// points at the first output byte's column in source row y + j - R. Acc is
// 16 bits when no sum can leave that range (twice the lanes per
// instruction), 32 bits otherwise.
template <int R, int B, class Acc>
[[gnu::always_inline]] inline void sumFixed(const std::uint8_t* const* rows, const std::int32_t* K, Acc* acc,
                                            std::int32_t n) {
  constexpr int S = 2 * R + 1;
  const std::uint8_t* p[S];
  Acc k[S * S];
  for (int j = 0; j < S; ++j) p[j] = rows[j] - B * R;
  for (int t = 0; t < S * S; ++t) k[t] = static_cast<Acc>(K[t]);
  for (std::int32_t x = 0; x < n; ++x) {
    Acc s = 0;
    for (int j = 0; j < S; ++j) {
      for (int i = 0; i < S; ++i) s = static_cast<Acc>(s + k[j * S + i] * static_cast<Acc>(p[j][x + B * i]));
    }
    acc[x] = s;
  }
}

// Narrow sums divided by weights below this: trunc((s + 0.5) / w) is the
// exact quotient, and the float error stays below the 0.5 / w margin.
constexpr std::int32_t kNarrowDivisorLimit = 8192;

// One output row segment with 16-bit sums and the division in the same pass.
// K holds the kernel row by row; a constant K lets the compiler drop zero
// entries and turn the unit ones into plain additions.
template <int R, int B, class Kernel>
[[gnu::always_inline]] inline void rowNarrow(const std::uint8_t* const* rows, const Kernel& K, std::uint8_t* out,
                                             std::int32_t n, std::int32_t w) {
  constexpr int S = 2 * R + 1;
  const std::uint8_t* p[S];
  for (int j = 0; j < S; ++j) p[j] = rows[j] - B * R;
  std::int16_t k[S * S];
#pragma GCC unroll 25
  for (int t = 0; t < S * S; ++t) k[t] = static_cast<std::int16_t>(K[t]);
  const float inv = 1.0f / static_cast<float>(w);
  const std::int32_t maxSum = 255 * w;
  for (std::int32_t x = 0; x < n; ++x) {
    std::int16_t sum = 0;
#pragma GCC unroll 5
    for (int j = 0; j < S; ++j) {
#pragma GCC unroll 5
      for (int i = 0; i < S; ++i) {
        sum = static_cast<std::int16_t>(sum + k[j * S + i] * static_cast<std::int16_t>(p[j][x + B * i]));
      }
    }
    std::int32_t c = sum < 0 ? 0 : sum;
    c = c > maxSum ? maxSum : c;
    out[x] = static_cast<std::uint8_t>(static_cast<std::int32_t>((static_cast<float>(c) + 0.5f) * inv));
  }
}

using RowFn16 = void (*)(const std::uint8_t* const*, const std::int32_t*, std::uint8_t*, std::int32_t, std::int32_t);
using SumFn32 = void (*)(const std::uint8_t* const*, const std::int32_t*, std::int32_t*, std::int32_t);

// B is the bytes of one pixel: 3 in a working image, 4 in a 32-bit picture.
// Each byte sums the same channel of its neighbours either way.
template <int R, int B>
void row16(const std::uint8_t* const* rows, const std::int32_t* K, std::uint8_t* out, std::int32_t n,
           std::int32_t w) {
  rowNarrow<R, B>(rows, K, out, n, w);
}
template <int R, int B>
[[gnu::target("avx2")]] void row16Avx2(const std::uint8_t* const* rows, const std::int32_t* K, std::uint8_t* out,
                                       std::int32_t n, std::int32_t w) {
  rowNarrow<R, B>(rows, K, out, n, w);
}

// The built-in kernels as constants, row by row (vertical offset outer).
constexpr std::array<std::int32_t, 9> kBlur{1, 1, 1, 1, 1, 1, 1, 1, 1};
constexpr std::array<std::int32_t, 25> kBlurMore{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
                                                 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
constexpr std::array<std::int32_t, 9> kSoften{1, 1, 1, 1, 4, 1, 1, 1, 1};
constexpr std::array<std::int32_t, 25> kSoftenMore{1, 1, 1, 1, 1, 1, 2, 2, 2, 1, 1, 2, 12,
                                                   2, 1, 1, 2, 2, 2, 1, 1, 1, 1, 1, 1};
constexpr std::array<std::int32_t, 9> kSharpen{-1, -1, -1, -1, 15, -1, -1, -1, -1};
constexpr std::array<std::int32_t, 9> kSharpenMore{0, -1, 0, -1, 5, -1, 0, -1, 0};
constexpr std::array<std::int32_t, 9> kEmboss{-1, 0, 0, 0, 0, 0, 0, 0, 1};

template <int R, int B, const auto& K>
void rowConst(const std::uint8_t* const* rows, const std::int32_t*, std::uint8_t* out, std::int32_t n,
              std::int32_t w) {
  rowNarrow<R, B>(rows, K, out, n, w);
}
template <int R, int B, const auto& K>
[[gnu::target("avx2")]] void rowConstAvx2(const std::uint8_t* const* rows, const std::int32_t*, std::uint8_t* out,
                                          std::int32_t n, std::int32_t w) {
  rowNarrow<R, B>(rows, K, out, n, w);
}

template <int R, int B, const auto& K>
bool pickConst(const std::vector<std::int32_t>& kernel, bool avx2, RowFn16& fn) {
  if (kernel.size() != K.size() || !std::equal(K.begin(), K.end(), kernel.begin())) return false;
  fn = avx2 ? &rowConstAvx2<R, B, K> : &rowConst<R, B, K>;
  return true;
}

// The narrow row function for a kernel: a constant one for the built-ins.
template <int B>
RowFn16 narrowRow(const std::vector<std::int32_t>& kernel, std::int32_t r, bool avx2) {
  RowFn16 fn = nullptr;
  if (r == 1 && (pickConst<1, B, kBlur>(kernel, avx2, fn) || pickConst<1, B, kSoften>(kernel, avx2, fn) ||
                 pickConst<1, B, kSharpen>(kernel, avx2, fn) || pickConst<1, B, kSharpenMore>(kernel, avx2, fn) ||
                 pickConst<1, B, kEmboss>(kernel, avx2, fn))) {
    return fn;
  }
  if (r == 2 && (pickConst<2, B, kBlurMore>(kernel, avx2, fn) || pickConst<2, B, kSoftenMore>(kernel, avx2, fn))) {
    return fn;
  }
  if (r == 1) return avx2 ? &row16Avx2<1, B> : &row16<1, B>;
  return avx2 ? &row16Avx2<2, B> : &row16<2, B>;
}

template <int R, int B>
void sum32(const std::uint8_t* const* rows, const std::int32_t* K, std::int32_t* acc, std::int32_t n) {
  sumFixed<R, B, std::int32_t>(rows, K, acc, n);
}
template <int R, int B>
[[gnu::target("avx2")]] void sum32Avx2(const std::uint8_t* const* rows, const std::int32_t* K, std::int32_t* acc,
                                       std::int32_t n) {
  sumFixed<R, B, std::int32_t>(rows, K, acc, n);
}
void finish32(const std::int32_t* acc, std::uint8_t* out, std::int32_t n, std::int32_t w) {
  finishFast(acc, out, n, w);
}
[[gnu::target("avx2")]] void finish32Avx2(const std::int32_t* acc, std::uint8_t* out, std::int32_t n,
                                          std::int32_t w) {
  finishFast(acc, out, n, w);
}

bool hasAvx2() { return cpuFeatures().avx2; }

// The kernel laid out row by row (vertical offset outer), with what the
// fast paths need to know about it.
struct Plan {
  std::int32_t r = 0;
  std::vector<std::int32_t> K;  // (2r+1)^2 entries, index (j+r)*(2r+1) + (i+r)
  std::int32_t w = 0;
  bool fastSums = false;   // 32-bit sums cannot overflow and a fixed radius exists
  bool narrowSums = false; // 16-bit sums cannot overflow either
  bool fastDivide = false; // the float reciprocal path is exact
};

Plan makePlan(const Kernel2D& kernel, std::int32_t r, std::int32_t weight) {
  Plan p;
  p.r = r;
  p.w = weight;
  const std::int32_t S = 2 * r + 1;
  p.K.assign(static_cast<std::size_t>(S) * static_cast<std::size_t>(S), 0);
  std::int64_t absSum = 0;
  for (std::int32_t j = -r; j <= r; ++j) {
    for (std::int32_t i = -r; i <= r; ++i) {
      // A kernel smaller than its radius (never sized) counts as zeros.
      const std::int32_t v = kernel.contains(i, j) ? kernel(i, j) : 0;
      p.K[static_cast<std::size_t>((j + r) * S + (i + r))] = v;
      absSum += std::abs(static_cast<std::int64_t>(v));
    }
  }
  const bool noOverflow = absSum * 255 <= std::numeric_limits<std::int32_t>::max();
  p.fastSums = noOverflow && (r == 1 || r == 2);
  // A negative weight is the same division with the kernel negated.
  if (p.fastSums && weight < 0 && weight > -kFastDivisorLimit) {
    for (auto& v : p.K) v = -v;
    p.w = -weight;
  }
  p.fastDivide = p.fastSums && p.w > 0 && p.w < kFastDivisorLimit;
  p.narrowSums = p.fastSums && p.w > 0 && p.w < kNarrowDivisorLimit &&
                 absSum * 255 <= std::numeric_limits<std::int16_t>::max();
  return p;
}

// Rows of one picture numbered from the bottom, as a working image numbers
// them, however they lie in memory.
struct Rows {
  std::uint8_t* bottom = nullptr;
  std::ptrdiff_t step = 0;
  std::uint8_t* row(std::int32_t y) const { return bottom + static_cast<std::ptrdiff_t>(y) * step; }
};

// A 32-bit result keeps only blue, green and red: its X bytes are 0, as
// after a 24-bit working image is turned back into a picture.
void clearXBytes(std::uint8_t* px, std::int32_t pixels) {
  constexpr std::uint32_t keep = std::endian::native == std::endian::little ? 0x00FFFFFFu : 0xFFFFFF00u;
  for (std::int32_t k = 0; k < pixels; ++k) {
    std::uint32_t v;
    std::memcpy(&v, px + 4 * k, 4);
    v &= keep;
    std::memcpy(px + 4 * k, &v, 4);
  }
}

template <int B>
void finishRow(std::uint8_t* out, std::int32_t pixels) {
  if constexpr (B == 4) clearXBytes(out, pixels);
}

// One block of the output (see Strip; its byte columns count 3-byte pixels
// whatever B is, so that both layouts split and report alike).
template <int B>
void convolveBlock(const Plan& plan, const Rows& src, const Rows& dst, const Strip& b) {
  const std::int32_t x0 = b.x0 / 3 * B, y0 = b.y0, y1 = b.y1;
  const std::int32_t r = plan.r;
  const std::int32_t S = 2 * r + 1;
  const std::int32_t pixels = b.pixels();
  const std::int32_t n = pixels * B;
  const bool avx2 = hasAvx2();
  const std::uint8_t* rows[5];
  if (plan.narrowSums) {
    const RowFn16 fn = narrowRow<B>(plan.K, r, avx2);
    for (std::int32_t y = y0; y <= y1; ++y) {
      for (std::int32_t j = 0; j < S; ++j) rows[j] = src.row(y + j - r) + x0;
      fn(rows, plan.K.data(), dst.row(y) + x0, n, plan.w);
      finishRow<B>(dst.row(y) + x0, pixels);
    }
    return;
  }
  if (plan.fastSums) {
    std::vector<std::int32_t> acc(static_cast<std::size_t>(n));
    const SumFn32 sum = r == 1 ? (avx2 ? sum32Avx2<1, B> : sum32<1, B>) : (avx2 ? sum32Avx2<2, B> : sum32<2, B>);
    for (std::int32_t y = y0; y <= y1; ++y) {
      for (std::int32_t j = 0; j < S; ++j) rows[j] = src.row(y + j - r) + x0;
      sum(rows, plan.K.data(), acc.data(), n);
      std::uint8_t* out = dst.row(y) + x0;
      if (plan.fastDivide) {
        (avx2 ? finish32Avx2 : finish32)(acc.data(), out, n, plan.w);
      } else {
        finishExact(acc.data(), out, n, plan.w);
      }
      finishRow<B>(out, pixels);
    }
    return;
  }
  // Any radius, 64-bit sums: one pass over the row per non-zero entry.
  std::vector<std::int64_t> acc(static_cast<std::size_t>(n));
  for (std::int32_t y = y0; y <= y1; ++y) {
    std::fill(acc.begin(), acc.end(), 0);
    for (std::int32_t j = -r; j <= r; ++j) {
      const std::uint8_t* row = src.row(y + j) + x0;
      for (std::int32_t i = -r; i <= r; ++i) {
        const std::int64_t kv = plan.K[static_cast<std::size_t>((j + r) * S + (i + r))];
        if (kv == 0) continue;
        const std::uint8_t* p = row + B * i;
        for (std::int32_t x = 0; x < n; ++x) acc[static_cast<std::size_t>(x)] += kv * p[x];
      }
    }
    finishExact(acc.data(), dst.row(y) + x0, n, plan.w);
    finishRow<B>(dst.row(y) + x0, pixels);
  }
}

// Copies the pixels the convolution does not write (those nearer than r to
// an edge) from src to dst, X bytes cleared.
void copyBorder(const PixelRows& src, const PixelRows& dst, std::int32_t r) {
  const std::int32_t w = src.width, h = src.height;
  if (w < 2 * r + 1 || h < 2 * r + 1) {
    copyPixelRows(src, dst);
    return;
  }
  for (std::int32_t y = 0; y < h; ++y) {
    if (y < r || y >= h - r) {
      copyPixelRow(src.row(y), 4, dst.row(y), 4, w, false);
    } else if (r > 0) {
      copyPixelRow(src.row(y), 4, dst.row(y), 4, r, false);
      copyPixelRow(src.row(y) + 4 * (w - r), 4, dst.row(y) + 4 * (w - r), 4, r, false);
    }
  }
}

Rows bottomUpRows(const PixelRows& p) { return Rows{p.row(p.height - 1), -p.step}; }

}  // namespace

bool cImageProcessDIB::Convolve(const cDIBSection& src, cDIBSection& dst) {
  const DibView s = src.View();
  const DibView d = dst.View();
  if (!s.valid() || !d.valid() || !s.sameSize(d)) return false;
  const std::int32_t r = half_;
  const Plan plan = makePlan(kernel_, r, weight_);
  // Each output row reads 2r + 1 source rows.
  runColumnPass(ColumnPass::interior(s, FilterName(type_), r, 2 * r + 1), [&](const Strip& b) {
    convolveBlock<3>(plan, Rows{s.bits, s.stride}, Rows{d.bits, d.stride}, b);
  });
  return true;
}

bool cImageProcessDIB::FiltersPixels() const {
  switch (type_) {
    case filter::eBlur:
    case filter::eBlurMore:
    case filter::eSoften:
    case filter::eSoftenMore:
    case filter::eSharpen:
    case filter::eSharpenMore:
    case filter::eCustom:
      return true;
    default:
      return false;  // the others need a second image, or do nothing
  }
}

bool cImageProcessDIB::FilterPixels(const PixelRows& src, const PixelRows& dst) {
  if (!FiltersPixels()) return false;
  if (!src.valid() || !dst.valid() || src.bytesPerPixel != 4 || dst.bytesPerPixel != 4 ||
      src.width != dst.width || src.height != dst.height)
    return false;
  const std::int32_t r = half_;
  const Plan plan = makePlan(kernel_, r, weight_);
  copyBorder(src, dst, r);
  const Rows from = bottomUpRows(src), to = bottomUpRows(dst);
  // Split and reported exactly as the working image of this size would be.
  const DibView shape{src.top, 0, src.width, src.height};
  runColumnPass(ColumnPass::interior(shape, FilterName(type_), r, 2 * r + 1),
                [&](const Strip& b) { convolveBlock<4>(plan, from, to, b); });
  return true;
}

}  // namespace qorv
