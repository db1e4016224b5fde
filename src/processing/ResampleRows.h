// The two row steps of bilinear resampling, apart from the picture so that
// each can be checked on its own over every pair of values it can meet.
//
// Each step rounds (halves to even) a weighted sum of two values, w0 * a +
// w1 * b, computed in double precision: that is what the results are made
// of. The vector paths compute the sum in single precision, eight lanes at a
// time, and give the same integer wherever that is certain: a single-
// precision sum lies within 4e-5 of the double one (weights in [0, 1] are
// within 2^-25 of their float, and each product and the sum round by at most
// 2^-17 below 256), so a sum farther than 2^-14 from the nearest half rounds
// to the same integer either way. The few sums closer than that to a half
// are computed again in double precision. Where both weights are multiples
// of 2^-15 every float product and sum is exact, as is the double one, so no
// sum needs a second look.
#pragma once

#include <cstdint>
#include <vector>

namespace qorv::resample {

// Whether both weights of a pair are multiples of 2^-15: the single-precision
// sums are then exact.
bool exactPair(double w0, double w1);

// Where each destination pixel of a row reads: the offsets (in values) of
// source pixels ix and ix + 1 in the vertical row, and their weights.
struct ColumnTaps {
  std::vector<std::int32_t> left, right;
  std::vector<double> w0, w1;
  // The weights in single precision, four copies each (pixel i's from
  // 4 * i on), so that one load gives two neighbouring pixels theirs.
  std::vector<float> w0f, w1f;
  bool exact = true;  // every pair exactPair()

  void resize(std::size_t n);
  // Sets pixel i's taps (resize() first).
  void set(std::size_t i, std::int32_t left, std::int32_t right, double w0, double w1);
};

// v[k] = RNE(w0 * r0[k] + w1 * r1[k]) for k < bytes.
void verticalRow(const std::uint8_t* r0, const std::uint8_t* r1, double w0, double w1, float* v,
                 std::int32_t bytes);

// Destination pixels 0..n-1 (blue, green, red) of one row from the vertical
// values `v`, which hold one value past the last one read (any number).
void horizontalRow(const float* v, const ColumnTaps& taps, std::uint8_t* o, std::int32_t n);
// The same values with four bytes a pixel (blue, green, red, 0), as 32-bit
// pictures hold them.
void horizontalRow4(const float* v, const ColumnTaps& taps, std::uint8_t* o, std::int32_t n);

}  // namespace qorv::resample
