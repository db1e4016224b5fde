#include <cmath>
#include <vector>

#include "platform/RowParallel.h"
#include "processing/cDIBSection.h"

namespace qorv {

namespace {
// nearbyint for 0 <= v < 2^51: adding 2^52 leaves no fraction bits, so the
// addition itself rounds (to nearest, halves to even, in the default mode).
// A plain library call would cost more than the interpolation around it.
inline double roundHalfEven(double v) {
  constexpr double kShift = 4503599627370496.0;  // 2^52
  return (v + kShift) - kShift;
}
}  // namespace

std::unique_ptr<cDIBSection> cDIBSection::Resample(std::int32_t lNewHeight, std::int32_t lNewWidth) const {
  auto out = std::make_unique<cDIBSection>();
  if (!out->Create(lNewWidth, lNewHeight)) return nullptr;
  const DibView src = View();
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

  struct Tap {
    std::int32_t left;   // byte offset of pixel ix
    std::int32_t right;  // byte offset of pixel ix + 1 (clamped)
    double d;
  };
  std::vector<Tap> taps(static_cast<std::size_t>(lNewWidth));
  for (std::int32_t x = 0; x < lNewWidth; ++x) {
    const double fx = x * xScale;
    std::int32_t ix = static_cast<std::int32_t>(std::floor(fx));
    if (ix > src.width - 1) ix = src.width - 1;
    const std::int32_t ix1 = ix + 1 < src.width ? ix + 1 : ix;
    taps[static_cast<std::size_t>(x)] = Tap{3 * ix, 3 * ix1, fx - ix};
  }

  // Rows are independent: large pictures are split over the row pool.
  parallelRows(0, lNewHeight - 1, static_cast<std::int64_t>(lNewWidth) * 24,
                       [&](std::int32_t yFirst, std::int32_t yLast) {
    for (std::int32_t y = yFirst; y <= yLast; ++y) {
      const double fy = y * yScale;
      std::int32_t iy = static_cast<std::int32_t>(std::floor(fy));
      if (iy > src.height - 1) iy = src.height - 1;
      const std::int32_t iy1 = iy + 1 < src.height ? iy + 1 : iy;
      const double dy = fy - iy;
      const std::uint8_t* r0 = src.row(iy);
      const std::uint8_t* r1 = src.row(iy1);
      std::uint8_t* o = dst.row(y);
      for (std::int32_t x = 0; x < lNewWidth; ++x) {
        const Tap& t = taps[static_cast<std::size_t>(x)];
        for (int c = 0; c < 3; ++c) {
          // Vertical first, per channel, like with like; then horizontal.
          const double left = roundHalfEven((1.0 - dy) * r0[t.left + c] + dy * r1[t.left + c]);
          const double right = roundHalfEven((1.0 - dy) * r0[t.right + c] + dy * r1[t.right + c]);
          const double v = roundHalfEven((1.0 - t.d) * left + t.d * right);
          o[3 * x + c] = static_cast<std::uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
        }
      }
    }
  });
  return out;
}

}  // namespace qorv
