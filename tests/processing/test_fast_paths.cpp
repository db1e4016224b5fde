// Resampling's row steps give exactly the bytes of the plain double-precision
// computation, over every pair of values they can meet.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <ostream>
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
void PrintTo(const WeightSet& w, std::ostream* os) { *os << w.name; }

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

// A row in which each value and the next make every pair of bytes (a, b)
// once: the cyclic sequence of all 65536 pairs, its first value repeated at
// the end.
std::vector<std::uint8_t> everyPairInTurn() {
  std::vector<std::uint8_t> s;
  for (int i = 0; i < 256; ++i) {
    s.push_back(static_cast<std::uint8_t>(i));
    for (int j = i + 1; j < 256; ++j) {
      s.push_back(static_cast<std::uint8_t>(i));
      s.push_back(static_cast<std::uint8_t>(j));
    }
  }
  s.push_back(s.front());
  return s;
}

class ResampleRowSteps : public ::testing::TestWithParam<WeightSet> {};

TEST_P(ResampleRowSteps, RoundEveryPairAsDoublePrecisionDoes) {
  const std::vector<std::uint8_t> pairs = everyPairInTurn();
  constexpr std::int32_t kPairs = 65536;
  std::vector<std::uint8_t> vertical(kPairs), out(4 * kPairs);
  // Output pixel k reads the pair (pairs[k], pairs[k + 1]) from source
  // pixels `spacing` apart: neighbours (as when enlarging: one window of the
  // vector path) or every other one (as when halving: two windows).
  std::vector<std::uint8_t> v[3];
  for (const std::int32_t spacing : {1, 2}) {
    v[spacing].assign(static_cast<std::size_t>(3 * spacing * (kPairs + 1) + resample::kRowSlack), 0);
    for (std::int32_t k = 0; k < kPairs; ++k)
      for (std::int32_t c = 0; c < 3; ++c) {
        v[spacing][static_cast<std::size_t>(3 * spacing * k + c)] = pairs[static_cast<std::size_t>(k)];
        v[spacing][static_cast<std::size_t>(3 * spacing * k + 3 + c)] = pairs[static_cast<std::size_t>(k + 1)];
      }
  }
  for (const double d : GetParam().make()) {
    resample::verticalRow(pairs.data(), pairs.data() + 1, d, resample::doubtful(d), vertical.data(), kPairs);
    int wrong = 0;
    for (std::int32_t k = 0; k < kPairs; ++k)
      wrong += vertical[static_cast<std::size_t>(k)] != expected(d, pairs[static_cast<std::size_t>(k)],
                                                               pairs[static_cast<std::size_t>(k + 1)]);
    ASSERT_EQ(wrong, 0) << "vertical, d = " << d;
    for (const std::int32_t spacing : {1, 2})
      for (const std::int32_t outBytes : {3, 4}) {
        resample::ColumnTaps taps(kPairs, outBytes);
        for (std::int32_t k = 0; k < kPairs; ++k) taps.set(k, 3 * spacing * k, 3 * spacing * k + 3, d);
        taps.finish();
        resample::horizontalRow(v[spacing].data(), taps, out.data());
        for (std::int32_t k = 0; k < kPairs; ++k) {
          const int want = expected(d, pairs[static_cast<std::size_t>(k)], pairs[static_cast<std::size_t>(k + 1)]);
          for (std::int32_t c = 0; c < outBytes; ++c)
            wrong += out[static_cast<std::size_t>(outBytes * k + c)] != (c == 3 ? 0 : want);
        }
        ASSERT_EQ(wrong, 0) << "horizontal, pixels " << spacing << " apart, " << outBytes << " bytes out, d = " << d;
      }
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
