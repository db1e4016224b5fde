// Resampling's row steps give exactly the bytes of the plain double-precision
// computation, over every pair of values they can meet.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "processing/ResampleRows.h"

namespace qorv {
namespace {

// The second weight d of a pair (the first is 1 - d, as the resampling
// computes them), in sets that meet every way of rounding.
struct WeightSet {
  const char* name;
  std::function<std::vector<double>()> make;
};

std::string weightSetName(const ::testing::TestParamInfo<WeightSet>& p) { return p.param.name; }

// The fractions the rows of a resampling from `from` to `to` pixels read at.
std::vector<double> fractionsOf(std::int32_t from, std::int32_t to, std::int32_t count) {
  std::vector<double> d;
  const double scale = static_cast<double>(from - 1) / to;
  for (std::int32_t y = 0; y < count; ++y) d.push_back(y * scale - std::floor(y * scale));
  return d;
}

// RNE(w0 * a + w1 * b) in double precision, clamped to a byte.
int expected(double d, int a, int b) {
  return static_cast<int>(std::clamp(std::nearbyint((1.0 - d) * a + d * b), 0.0, 255.0));
}

class ResampleRowSteps : public ::testing::TestWithParam<WeightSet> {};

TEST_P(ResampleRowSteps, RoundEveryPairAsDoublePrecisionDoes) {
  // Value k of a row pairs a = k % 256 with b = k / 256: all 65536 pairs.
  std::vector<std::uint8_t> r0(65536), r1(65536);
  for (int k = 0; k < 65536; ++k) {
    r0[static_cast<std::size_t>(k)] = static_cast<std::uint8_t>(k & 255);
    r1[static_cast<std::size_t>(k)] = static_cast<std::uint8_t>(k >> 8);
  }
  // Vertical values j at pixel j, so that pixel k of a row reads a and b.
  std::vector<float> v(3 * 256 + 1);
  for (int j = 0; j < 3 * 256; ++j) v[static_cast<std::size_t>(j)] = static_cast<float>(j / 3);
  std::vector<float> vertical(65536);
  std::vector<std::uint8_t> pixels(3 * 65536);
  int wrongVertical = 0, wrongHorizontal = 0;
  for (const double d : GetParam().make()) {
    resample::verticalRow(r0.data(), r1.data(), 1.0 - d, d, vertical.data(), 65536);
    resample::ColumnTaps taps;
    taps.resize(65536);
    for (std::size_t k = 0; k < 65536; ++k)
      taps.set(k, 3 * static_cast<std::int32_t>(k & 255), 3 * static_cast<std::int32_t>(k >> 8), 1.0 - d, d);
    resample::horizontalRow(v.data(), taps, pixels.data(), 65536);
    for (int k = 0; k < 65536; ++k) {
      const int want = expected(d, k & 255, k >> 8);
      const auto i = static_cast<std::size_t>(k);
      wrongVertical += vertical[i] != static_cast<float>(want);
      for (std::size_t c = 0; c < 3; ++c) wrongHorizontal += pixels[3 * i + c] != want;
    }
    ASSERT_EQ(wrongVertical + wrongHorizontal, 0) << "d = " << d;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Weights, ResampleRowSteps,
    ::testing::Values(
        // Exact in single precision: true halves meet the ties.
        WeightSet{"Dyadic", [] { return std::vector<double>{0, 0.5, 0.25, 0.75, 0.125, 3.0 / 32768, 1 - 1.0 / 32768}; }},
        // Sums a hair from a half: single precision cannot tell the side.
        WeightSet{"NextToDyadic",
                  [] {
                    return std::vector<double>{std::nextafter(0.5, 0.0), std::nextafter(0.5, 1.0), 0.25 + 1e-12,
                                               0.75 - 1e-12, 1e-12, std::nextafter(1.0, 0.0)};
                  }},
        WeightSet{"Enlarging4000To6000", [] { return fractionsOf(4000, 6000, 60); }},
        WeightSet{"Reducing6000To4001", [] { return fractionsOf(6000, 4001, 60); }},
        WeightSet{"Random",
                  [] {
                    std::mt19937_64 rng(41);
                    std::uniform_real_distribution<double> u(0.0, 1.0);
                    std::vector<double> d(80);
                    for (double& x : d) x = u(rng);
                    return d;
                  }}),
    weightSetName);

}  // namespace
}  // namespace qorv
