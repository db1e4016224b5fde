// 3 x 3 rank filters: minimum, maximum, and the mean that carries the name
// "Median" (a sorted middle value was never what it computed).
#include <cstdint>

#include <QorvPictureBox/gdi.h>
#include "platform/CpuFeatures.h"
#include "processing/cDIBSection.h"
#include "processing/ColumnPass.h"

namespace qorv {

namespace {

enum class Rank { Mean, Minimum, Maximum };

// One output row segment of n bytes; a, b, c point at the row below, the row
// itself and the row above, at the first output byte.
template <Rank K>
[[gnu::always_inline]] inline void rankRow(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c,
                                           std::uint8_t* out, std::int32_t n) {
  for (std::int32_t x = 0; x < n; ++x) {
    if constexpr (K == Rank::Mean) {
      const unsigned s = 0u + a[x - 3] + a[x] + a[x + 3] + b[x - 3] + b[x] + b[x + 3] + c[x - 3] + c[x] + c[x + 3];
      out[x] = static_cast<std::uint8_t>(s / 9u);
    } else {
      std::uint8_t m = a[x - 3];
      const std::uint8_t v[8] = {a[x], a[x + 3], b[x - 3], b[x], b[x + 3], c[x - 3], c[x], c[x + 3]};
      for (int i = 0; i < 8; ++i) {
        if constexpr (K == Rank::Minimum) {
          m = v[i] < m ? v[i] : m;
        } else {
          m = v[i] > m ? v[i] : m;
        }
      }
      out[x] = m;
    }
  }
}

template <Rank K>
void rankRowDefault(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c, std::uint8_t* out,
                    std::int32_t n) {
  rankRow<K>(a, b, c, out, n);
}
template <Rank K>
[[gnu::target("avx2")]] void rankRowAvx2(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c,
                                         std::uint8_t* out, std::int32_t n) {
  rankRow<K>(a, b, c, out, n);
}

using RowFn = void (*)(const std::uint8_t*, const std::uint8_t*, const std::uint8_t*, std::uint8_t*, std::int32_t);

template <Rank K>
RowFn pick() {
  const bool avx2 = cpuFeatures().avx2;
  return avx2 ? &rankRowAvx2<K> : &rankRowDefault<K>;
}

}  // namespace

bool cImageProcessDIB::RankFilter(const cDIBSection& src, cDIBSection& dst) {
  const DibView s = src.View();
  const DibView d = dst.View();
  if (!s.valid() || !d.valid() || !s.sameSize(d)) return false;
  const RowFn fn = type_ == filter::eMinimum   ? pick<Rank::Minimum>()
                   : type_ == filter::eMaximum ? pick<Rank::Maximum>()
                                               : pick<Rank::Mean>();
  // Three source rows are read for each row written.
  runColumnPass(ColumnPass::interior(s, "Rank Filter", 1, 3), [&](const Strip& b) {
    for (std::int32_t y = b.y0; y <= b.y1; ++y) {
      fn(s.row(y - 1) + b.x0, s.row(y) + b.x0, s.row(y + 1) + b.x0, d.row(y) + b.x0, b.bytes());
    }
  });
  return true;
}

}  // namespace qorv
