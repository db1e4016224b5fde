// Fade (the control's Darken): every byte becomes byte * Amount \ 255.
#include <immintrin.h>

#include <cstdint>

#include <QorvPictureBox/gdi.h>
#include "platform/CpuFeatures.h"
#include "processing/cDIBSection.h"
#include "processing/ColumnPass.h"

namespace qorv {

namespace {

// Amounts 0..255 keep every product x within 16 bits, and for x <= 65025
// (x + 1 + (x >> 8)) >> 8 equals x / 255 exactly: two additions and two
// shifts instead of a division.
[[gnu::always_inline]] inline void fadeRow(std::uint8_t* p, std::int32_t n, std::uint16_t amount) {
  for (std::int32_t i = 0; i < n; ++i) {
    const auto x = static_cast<std::uint16_t>(p[i] * amount);
    p[i] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(x + 1u + (x >> 8)) >> 8);
  }
}
void fadeRowDefault(std::uint8_t* p, std::int32_t n, std::uint16_t amount) { fadeRow(p, n, amount); }
[[gnu::target("avx2")]] inline __m256i fade16(__m256i x, __m256i amount) {
  x = _mm256_mullo_epi16(x, amount);
  const __m256i one = _mm256_set1_epi16(1);
  return _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(x, one), _mm256_srli_epi16(x, 8)), 8);
}
[[gnu::target("avx2")]] void fadeRowAvx2(std::uint8_t* p, std::int32_t n, std::uint16_t amount) {
  const __m256i a = _mm256_set1_epi16(static_cast<std::int16_t>(amount));
  const __m256i zero = _mm256_setzero_si256();
  std::int32_t i = 0;
  for (; i + 32 <= n; i += 32) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i));
    // Unpacking and packing both work within 128-bit halves, so the byte
    // order comes back as it was.
    const __m256i lo = fade16(_mm256_unpacklo_epi8(v, zero), a);
    const __m256i hi = fade16(_mm256_unpackhi_epi8(v, zero), a);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + i), _mm256_packus_epi16(lo, hi));
  }
  fadeRow(p + i, n - i, amount);
}

}  // namespace

void cImageProcessDIB::Fade(cDIBSection& cImage, std::int32_t Amount) {
  const DibView v = cImage.View();
  if (!v.valid()) return;
  // Any other amount goes through a table of the 256 results.
  std::uint8_t table[256];
  for (int b = 0; b < 256; ++b) table[b] = clampByte(static_cast<std::int64_t>(b) * Amount / 255);
  const bool direct = Amount >= 0 && Amount <= 255;
  const auto fadeRow = cpuFeatures().avx2 ? fadeRowAvx2 : fadeRowDefault;
  runColumnPass(ColumnPass::wholePicture(v, "Fading"), [&](const Strip& s) {
    for (std::int32_t y = s.y0; y <= s.y1; ++y) {
      std::uint8_t* p = v.row(y) + s.x0;
      if (direct) {
        fadeRow(p, s.bytes(), static_cast<std::uint16_t>(Amount));
      } else {
        for (std::int32_t i = 0; i < s.bytes(); ++i) p[i] = table[p[i]];
      }
    }
  });
}

}  // namespace qorv
