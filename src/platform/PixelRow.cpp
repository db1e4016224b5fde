#include "platform/PixelRow.h"

#include <cstring>

#include "platform/CpuFeatures.h"

#ifdef __SSE2__
#include <immintrin.h>
#endif

namespace qorv {

namespace {

// --- one pixel at a time: the heads and tails of rows, and processors
// without vector code -----------------------------------------------------------

inline void expandPixels(const std::uint8_t* s, std::uint8_t* d, std::int32_t n) {
  for (std::int32_t i = 0; i < n; ++i, s += 3, d += 4) {
    d[0] = s[0];
    d[1] = s[1];
    d[2] = s[2];
    d[3] = 0;
  }
}

inline void packPixels(const std::uint8_t* s, std::uint8_t* d, std::int32_t n) {
  for (std::int32_t i = 0; i < n; ++i, s += 4, d += 3) {
    d[0] = s[0];
    d[1] = s[1];
    d[2] = s[2];
  }
}

// 32 to 32 bits: the X byte is cleared, as every device bitmap holds it.
void clearX(const std::uint8_t* s, std::uint8_t* d, std::int32_t n, bool stream) {
  std::int32_t i = 0;
#ifdef __SSE2__
  if (stream) {
    for (; i < n && (reinterpret_cast<std::uintptr_t>(d + 4 * i) & 15u) != 0; ++i) expandPixels(s + 4 * i, d + 4 * i, 1);
    if ((reinterpret_cast<std::uintptr_t>(d + 4 * i) & 15u) == 0) {
      const __m128i mask = _mm_set1_epi32(0x00FFFFFF);
      for (; i + 4 <= n; i += 4) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 4 * i));
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + 4 * i), _mm_and_si128(v, mask));
      }
      _mm_sfence();
    }
  }
#else
  (void)stream;
#endif
  for (; i < n; ++i) {
    std::uint32_t v;
    std::memcpy(&v, s + 4 * i, 4);
    v &= 0x00FFFFFFu;
    std::memcpy(d + 4 * i, &v, 4);
  }
}

#ifdef __SSE2__

// --- sixteen pixels at a time ---------------------------------------------------
//
// 24 to 32 bits: three 16-byte loads hold sixteen pixels; each group of four
// (12 bytes) is moved to the bottom of a register and spread to 16 bytes.
// 32 to 24 bits: four loads; each is packed to 12 bytes and the four are
// joined into three stores. The spreading and packing are the only steps that
// differ between the baseline and the shuffle instructions of newer
// processors, so they are template parameters.

struct SpreadSse2 {
  // b0 g0 r0 b1 g1 r1 b2 g2 r2 b3 g3 r3 .. -> b0 g0 r0 0 b1 g1 r1 0 ...
  static __m128i spread(__m128i g) {
    const __m128i m0 = _mm_setr_epi32(0x00FFFFFF, 0, 0, 0);
    const __m128i m1 = _mm_setr_epi32(static_cast<int>(0xFF000000u), 0xFFFF, 0, 0);
    const __m128i m2 = _mm_setr_epi32(0, static_cast<int>(0xFFFF0000u), 0xFF, 0);
    const __m128i m3 = _mm_setr_epi32(0, 0, static_cast<int>(0xFFFFFF00u), 0);
    __m128i out = _mm_and_si128(g, m0);
    out = _mm_or_si128(out, _mm_slli_si128(_mm_and_si128(g, m1), 1));
    out = _mm_or_si128(out, _mm_slli_si128(_mm_and_si128(g, m2), 2));
    return _mm_or_si128(out, _mm_slli_si128(_mm_and_si128(g, m3), 3));
  }
  // b0 g0 r0 x0 b1 g1 r1 x1 ... -> b0 g0 r0 b1 g1 r1 ... (12 bytes, then zeros)
  static __m128i pack(__m128i v) {
    const __m128i m0 = _mm_setr_epi32(0x00FFFFFF, 0, 0, 0);
    const __m128i m1 = _mm_setr_epi32(0, 0x00FFFFFF, 0, 0);
    const __m128i m2 = _mm_setr_epi32(0, 0, 0x00FFFFFF, 0);
    const __m128i m3 = _mm_setr_epi32(0, 0, 0, 0x00FFFFFF);
    __m128i out = _mm_and_si128(v, m0);
    out = _mm_or_si128(out, _mm_srli_si128(_mm_and_si128(v, m1), 1));
    out = _mm_or_si128(out, _mm_srli_si128(_mm_and_si128(v, m2), 2));
    return _mm_or_si128(out, _mm_srli_si128(_mm_and_si128(v, m3), 3));
  }
};

struct SpreadShuffle {
  [[gnu::target("avx2")]] static __m128i spread(__m128i g) {
    return _mm_shuffle_epi8(g, _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
  }
  [[gnu::target("avx2")]] static __m128i pack(__m128i v) {
    return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
  }
};

template <bool Stream>
[[gnu::always_inline]] inline void put(std::uint8_t* d, __m128i v) {
  if constexpr (Stream) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(d), v);
  } else {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d), v);
  }
}

template <class S, bool Stream>
[[gnu::always_inline]] inline void expandBlocks(const std::uint8_t* s, std::uint8_t* d, std::int32_t blocks) {
  for (std::int32_t b = 0; b < blocks; ++b, s += 48, d += 64) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
    const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16));
    const __m128i z = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 32));
    put<Stream>(d, S::spread(x));
    put<Stream>(d + 16, S::spread(_mm_or_si128(_mm_srli_si128(x, 12), _mm_slli_si128(y, 4))));
    put<Stream>(d + 32, S::spread(_mm_or_si128(_mm_srli_si128(y, 8), _mm_slli_si128(z, 8))));
    put<Stream>(d + 48, S::spread(_mm_srli_si128(z, 4)));
  }
}

template <class S, bool Stream>
[[gnu::always_inline]] inline void packBlocks(const std::uint8_t* s, std::uint8_t* d, std::int32_t blocks) {
  for (std::int32_t b = 0; b < blocks; ++b, s += 64, d += 48) {
    const __m128i a = S::pack(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s)));
    const __m128i c1 = S::pack(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16)));
    const __m128i c2 = S::pack(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 32)));
    const __m128i c3 = S::pack(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 48)));
    put<Stream>(d, _mm_or_si128(a, _mm_slli_si128(c1, 12)));
    put<Stream>(d + 16, _mm_or_si128(_mm_srli_si128(c1, 4), _mm_slli_si128(c2, 8)));
    put<Stream>(d + 32, _mm_or_si128(_mm_srli_si128(c2, 8), _mm_slli_si128(c3, 4)));
  }
}

// Pixels before the destination reaches a 16-byte boundary (streamed stores
// need one); -1 when it never does.
std::int32_t headToAlign(const std::uint8_t* d, std::int32_t dstBytes) {
  const auto a = static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(d) & 15u);
  if (a == 0) return 0;
  for (std::int32_t h = 1; h < 16; ++h)
    if ((a + h * dstBytes) % 16 == 0) return h;
  return -1;
}

// One row either way: whole pixels up to the first 16-byte boundary of the
// destination (streamed stores need one), blocks of sixteen pixels, then the
// tail pixel by pixel. C names the bytes a pixel has on either side and the
// pixel and block steps.
template <class S>
struct Expand {
  static constexpr std::int32_t kIn = 3, kOut = 4;
  [[gnu::always_inline]] static void pixels(const std::uint8_t* s, std::uint8_t* d, std::int32_t n) {
    expandPixels(s, d, n);
  }
  template <bool Stream>
  [[gnu::always_inline]] static void blocks(const std::uint8_t* s, std::uint8_t* d, std::int32_t n) {
    expandBlocks<S, Stream>(s, d, n);
  }
};

template <class S>
struct Pack {
  static constexpr std::int32_t kIn = 4, kOut = 3;
  [[gnu::always_inline]] static void pixels(const std::uint8_t* s, std::uint8_t* d, std::int32_t n) {
    packPixels(s, d, n);
  }
  template <bool Stream>
  [[gnu::always_inline]] static void blocks(const std::uint8_t* s, std::uint8_t* d, std::int32_t n) {
    packBlocks<S, Stream>(s, d, n);
  }
};

template <class C>
[[gnu::always_inline]] inline void convertRow(const std::uint8_t* s, std::uint8_t* d, std::int32_t n, bool stream) {
  std::int32_t head = stream ? headToAlign(d, C::kOut) : 0;
  if (head < 0 || head > n) {
    head = 0;
    stream = false;
  }
  C::pixels(s, d, head);
  s += C::kIn * head;
  d += C::kOut * head;
  n -= head;
  const std::int32_t blocks = n / 16;
  if (stream) {
    C::template blocks<true>(s, d, blocks);
    _mm_sfence();
  } else {
    C::template blocks<false>(s, d, blocks);
  }
  C::pixels(s + 16 * C::kIn * blocks, d + 16 * C::kOut * blocks, n - 16 * blocks);
}

void expandRowSse2(const std::uint8_t* s, std::uint8_t* d, std::int32_t n, bool stream) {
  convertRow<Expand<SpreadSse2>>(s, d, n, stream);
}
[[gnu::target("avx2")]] void expandRowShuffle(const std::uint8_t* s, std::uint8_t* d, std::int32_t n, bool stream) {
  convertRow<Expand<SpreadShuffle>>(s, d, n, stream);
}
void packRowSse2(const std::uint8_t* s, std::uint8_t* d, std::int32_t n, bool stream) {
  convertRow<Pack<SpreadSse2>>(s, d, n, stream);
}
[[gnu::target("avx2")]] void packRowShuffle(const std::uint8_t* s, std::uint8_t* d, std::int32_t n, bool stream) {
  convertRow<Pack<SpreadShuffle>>(s, d, n, stream);
}

#endif  // __SSE2__

}  // namespace

void copyPixelRow(const std::uint8_t* src, std::int32_t srcBytesPerPixel, std::uint8_t* dst,
                  std::int32_t dstBytesPerPixel, std::int32_t n, bool stream) {
  if (n <= 0) return;
  if (srcBytesPerPixel == 3 && dstBytesPerPixel == 3) {
    std::memcpy(dst, src, static_cast<std::size_t>(n) * 3);
    return;
  }
  if (srcBytesPerPixel == 4 && dstBytesPerPixel == 4) {
    clearX(src, dst, n, stream);
    return;
  }
#ifdef __SSE2__
  const bool shuffle = cpuFeatures().avx2;
  if (srcBytesPerPixel == 3) {
    (shuffle ? expandRowShuffle : expandRowSse2)(src, dst, n, stream);
  } else {
    (shuffle ? packRowShuffle : packRowSse2)(src, dst, n, stream);
  }
#else
  (void)stream;
  if (srcBytesPerPixel == 3) {
    expandPixels(src, dst, n);
  } else {
    packPixels(src, dst, n);
  }
#endif
}

}  // namespace qorv
