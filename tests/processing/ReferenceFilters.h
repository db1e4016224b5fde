// Slow reference versions of the pixel algorithms, written straight from their
// definitions one pixel at a time, with none of the fast code's shortcuts, so
// that the two can be compared on random pictures.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "ProcessingTestSupport.h"

namespace qorv::test_support::reference {

inline int clamp255(std::int64_t v) { return static_cast<int>(std::clamp<std::int64_t>(v, 0, 255)); }

// kernel(i, j): horizontal offset i, vertical (memory row) offset j.
// Returns the destination after convolving `src` into a copy of itself.
inline Bytes convolve(const Bytes& src, std::int32_t r, const std::function<std::int32_t(int, int)>& kernel,
                      std::int32_t weight) {
  Bytes dst = src;
  const int n = 2 * r + 1;
  std::vector<std::int64_t> k(static_cast<std::size_t>(n * n));
  for (int i = -r; i <= r; ++i)
    for (int j = -r; j <= r; ++j) k[static_cast<std::size_t>((i + r) * n + j + r)] = kernel(i, j);
  std::int64_t previous[3] = {0, 0, 0};
  for (std::int32_t x = 3 * r; x <= (src.width - 1) * 3 - 3 * r; x += 3) {
    for (std::int32_t y = r; y <= src.height - 1 - r; ++y) {
      for (int c = 0; c < 3; ++c) {
        std::int64_t sum = 0;
        for (int i = -r; i <= r; ++i) {
          for (int j = -r; j <= r; ++j) sum += k[static_cast<std::size_t>((i + r) * n + j + r)] * src.at(x + 3 * i + c, y + j);
        }
        if (weight != 0) previous[c] = sum / weight;  // a failed division keeps the last quotient
        dst.at(x + c, y) = static_cast<std::uint8_t>(clamp255(previous[c]));
      }
    }
  }
  return dst;
}

enum class Rank { Mean, Minimum, Maximum };

inline Bytes rankFilter(const Bytes& src, Rank rank) {
  Bytes dst = src;
  for (std::int32_t x = 3; x <= 3 * src.width - 6; x += 3) {
    for (std::int32_t y = 1; y <= src.height - 2; ++y) {
      for (int c = 0; c < 3; ++c) {
        int acc = rank == Rank::Minimum ? 255 : 0;
        for (int i = -1; i <= 1; ++i) {
          for (int j = -1; j <= 1; ++j) {
            const int v = src.at(x + 3 * i + c, y + j);
            if (rank == Rank::Mean) acc += v;
            if (rank == Rank::Minimum) acc = std::min(acc, v);
            if (rank == Rank::Maximum) acc = std::max(acc, v);
          }
        }
        if (rank == Rank::Mean) acc /= 9;
        dst.at(x + c, y) = static_cast<std::uint8_t>(clamp255(acc));
      }
    }
  }
  return dst;
}

// Bilinear resample into a newWidth x newHeight picture (pixel bytes only;
// the result's padding is left 0).
inline Bytes resample(const Bytes& src, std::int32_t newWidth, std::int32_t newHeight) {
  Bytes dst{newWidth, newHeight, ((newWidth + 1) * 3) & ~3, {}};
  dst.data.assign(static_cast<std::size_t>(dst.stride) * newHeight, 0);
  const double xScale = (src.width - 1) / static_cast<double>(newWidth);
  const double yScale = (src.height - 1) / static_cast<double>(newHeight);
  for (std::int32_t y = 0; y < newHeight; ++y) {
    const double fy = y * yScale;
    const int iy = static_cast<int>(std::floor(fy));
    const double dy = fy - iy;
    const int iy1 = std::min(iy + 1, src.height - 1);
    for (std::int32_t x = 0; x < newWidth; ++x) {
      const double fx = x * xScale;
      const int ix = static_cast<int>(std::floor(fx));
      const double dx = fx - ix;
      const int ix1 = std::min(ix + 1, src.width - 1);
      for (int c = 0; c < 3; ++c) {
        const double left = std::nearbyint((1 - dy) * src.at(3 * ix + c, iy) + dy * src.at(3 * ix + c, iy1));
        const double right = std::nearbyint((1 - dy) * src.at(3 * ix1 + c, iy) + dy * src.at(3 * ix1 + c, iy1));
        const double v = std::nearbyint((1 - dx) * left + dx * right);
        dst.at(3 * x + c, y) = static_cast<std::uint8_t>(std::clamp(v, 0.0, 255.0));
      }
    }
  }
  return dst;
}

inline Bytes grayscale(const Bytes& src) {
  Bytes dst = src;
  for (std::int32_t y = 0; y < src.height; ++y) {
    for (std::int32_t x = 0; x < src.width; ++x) {
      const double g = std::nearbyint((222.0 * src.at(3 * x + 2, y) + 707.0 * src.at(3 * x + 1, y) +
                                       71.0 * src.at(3 * x, y)) / 1000.0);
      for (int c = 0; c < 3; ++c) dst.at(3 * x + c, y) = static_cast<std::uint8_t>(g);
    }
  }
  return dst;
}

// Error diffusion of a (already gray) picture `a` into `b`; both change.
inline void blackAndWhite(Bytes& a, Bytes& b) {
  auto add = [&](int x, int y, int delta) {
    const auto v = static_cast<std::uint8_t>(clamp255(a.at(x, y) + delta));
    a.at(x, y) = a.at(x + 1, y) = a.at(x + 2, y) = v;
  };
  const int lastX = a.width * 3 - 3;
  for (int x = 0; x <= lastX; x += 3) {
    for (int y = 0; y < a.height; ++y) {
      const int value = a.at(x, y);
      int error;
      if (value > 128) {
        b.at(x, y) = b.at(x + 1, y) = b.at(x + 2, y) = 255;
        error = 127 - value;
      } else {
        b.at(x, y) = b.at(x + 1, y) = b.at(x + 2, y) = 0;
        error = value <= 16 ? 0 : value;
      }
      if (x != lastX) add(x + 3, y, error * 7 / 16);
      if (y != a.height - 1) {
        if (x != 0 && x != lastX) add(x - 3, y + 1, error * 3 / 16);
        add(x, y + 1, error * 5 / 16);
        if (x != 0 && x != lastX) add(x + 3, y + 1, error * 1 / 16);
      }
    }
  }
}

}  // namespace qorv::test_support::reference
