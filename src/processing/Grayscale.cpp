// Grayscale: 222 R + 707 G + 71 B over 1000, rounded halves to even (the
// weights sum to 1000, so a gray pixel stays as it is).
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include <QorvPictureBox/gdi.h>
#include "platform/CpuFeatures.h"
#include "processing/cDIBSection.h"
#include "processing/ColumnPass.h"

namespace qorv {

namespace {

// nearbyint(n / 1000.0) for 0 <= n <= 255000. The float quotient is correctly
// rounded, so an exact half stays an exact half (k + 0.5 is representable)
// and anything else is at least 1/1000 away from one; the half then goes to
// the even neighbour.
[[gnu::always_inline]] inline std::int32_t roundThousandth(std::int32_t n) {
  const float up = static_cast<float>(n) / 1000.0f + 0.5f;
  std::int32_t t = static_cast<std::int32_t>(up);
  const std::int32_t tie = static_cast<float>(t) == up ? 1 : 0;
  return t - (tie & t);  // an odd result of a tie steps down to even
}

[[gnu::always_inline]] inline void grayRow(std::uint8_t* p, std::int32_t pixels) {
  for (std::int32_t i = 0; i < pixels; ++i) {
    std::uint8_t* px = p + 3 * i;
    const std::int32_t n = 71 * px[0] + 707 * px[1] + 222 * px[2];
    const auto g = static_cast<std::uint8_t>(roundThousandth(n));
    px[0] = g;
    px[1] = g;
    px[2] = g;
  }
}

void grayRowDefault(std::uint8_t* p, std::int32_t pixels) { grayRow(p, pixels); }

[[gnu::target("avx2")]] inline void store12(std::uint8_t* at, __m128i v) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(at), v);
  const std::int32_t tail = _mm_extract_epi32(v, 2);
  std::memcpy(at + 8, &tail, 4);
}

// Eight pixels at a time, four in each 128-bit half (loaded 12 bytes apart):
// the channels are spread into 16-bit pairs so that one multiply-add gives
// 71 B + 707 G and another 222 R; the float quotient by 1000 is correctly
// rounded, so an exact half stays an exact half and the conversion (round to
// nearest, halves to even under the default rounding mode) gives exactly the
// scalar result. Only the 24 bytes of the eight pixels are written.
[[gnu::target("avx2")]] void grayRowAvx2(std::uint8_t* p, std::int32_t pixels) {
  const __m256i bg = _mm256_setr_epi8(0, -1, 1, -1, 3, -1, 4, -1, 6, -1, 7, -1, 9, -1, 10, -1,
                                      0, -1, 1, -1, 3, -1, 4, -1, 6, -1, 7, -1, 9, -1, 10, -1);
  const __m256i r0 = _mm256_setr_epi8(2, -1, -1, -1, 5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1,
                                      2, -1, -1, -1, 5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1);
  const __m256i wBG = _mm256_setr_epi16(71, 707, 71, 707, 71, 707, 71, 707, 71, 707, 71, 707, 71, 707, 71, 707);
  const __m256i wR = _mm256_setr_epi16(222, 0, 222, 0, 222, 0, 222, 0, 222, 0, 222, 0, 222, 0, 222, 0);
  const __m256 thousand = _mm256_set1_ps(1000.0f);
  const __m256i spread = _mm256_setr_epi8(0, 0, 0, 4, 4, 4, 8, 8, 8, 12, 12, 12, -1, -1, -1, -1,
                                          0, 0, 0, 4, 4, 4, 8, 8, 8, 12, 12, 12, -1, -1, -1, -1);
  std::int32_t i = 0;
  // The second 16-byte load ends 28 bytes in: keep it within this segment.
  for (; i + 10 <= pixels; i += 8) {
    std::uint8_t* px = p + 3 * i;
    const __m256i v = _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(px))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(px + 12)), 1);
    const __m256i n = _mm256_add_epi32(_mm256_madd_epi16(_mm256_shuffle_epi8(v, bg), wBG),
                                       _mm256_madd_epi16(_mm256_shuffle_epi8(v, r0), wR));
    const __m256i g = _mm256_cvtps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(n), thousand));
    const __m256i out = _mm256_shuffle_epi8(g, spread);
    store12(px, _mm256_castsi256_si128(out));
    store12(px + 12, _mm256_extracti128_si256(out, 1));
  }
  grayRow(p + 3 * i, pixels - i);
}

}  // namespace

void cImageProcessDIB::Grayscale(cDIBSection& cImage) {
  const DibView v = cImage.View();
  if (!v.valid()) return;
  const auto grayRow = cpuFeatures().avx2 ? grayRowAvx2 : grayRowDefault;
  // Progress counts pixel columns here.
  ColumnPass pass = ColumnPass::wholePicture(v, "Grayscale");
  pass.reportPixels = true;
  runColumnPass(pass, [&](const Strip& s) {
    for (std::int32_t y = s.y0; y <= s.y1; ++y) grayRow(v.row(y) + s.x0, s.pixels());
  });
}

}  // namespace qorv
