// The two row steps of bilinear resampling, apart from the picture so that
// each can be checked on its own over every pair of values it can meet.
//
// Each step rounds (halves to even) a weighted sum of two bytes, w0 * a +
// w1 * b with w0 = 1 - w1, computed in double precision: that is what the
// results are made of. The vector paths compute a + w1 * (b - a) in single
// precision with one fused multiply-add, eight lanes at a time, and give the
// same integer wherever that is certain: the float weight is within 2^-25
// of the double one, so the product moves by at most 255 * 2^-25 < 2^-16,
// and the one rounding of a sum below 256 adds at most 2^-17; the double
// sum itself is within 2^-43 of the exact one. A single-precision sum
// farther than 2^-15 from the nearest half therefore rounds to the same
// integer as the double one. Most weights can never put a sum that close
// (the sum's fraction is that of w1 * (b - a), for 510 values of b - a), and
// are used unchecked; with the others, sums closer than 2^-15 to a half are
// computed again in double precision. Where the weight is a multiple of
// 2^-15, both sums are exact (the product needs at most 24 bits, the sum
// 23), so a true half rounds the same way in both and needs no check.
//
// Rows hold whole pixels of 3 (B, G, R) or 4 (B, G, R, X) bytes; the X byte
// of a source is never read and that of a result is 0.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/PixelRows.h"

namespace qorv::resample {

// Readable bytes a vertical row must have past its last value: the
// horizontal step loads whole windows of it.
inline constexpr std::int32_t kRowSlack = 32;

// doubtful[i] = whether a sum a + w1[i] * (b - a) of bytes may lie within
// 2^-15 of a half, where single precision could round it differently.
void markDoubtful(const double* w1, std::size_t n, std::uint8_t* doubtful);
bool doubtful(double w1);

// Where each destination pixel of a row reads, and the same facts laid out
// for the vector path.
class ColumnTaps {
 public:
  // `pixels` destination pixels of `outBytes` (3 or 4) bytes each.
  ColumnTaps(std::int32_t pixels, std::int32_t outBytes);

  // Pixel i reads the source pixels starting at byte offsets `left` and
  // `right` of the vertical row, weighted 1 - w1 and w1.
  void set(std::int32_t i, std::int32_t left, std::int32_t right, double w1);
  // Lays the taps out for the vector path once every pixel is set.
  void finish();

  std::int32_t pixels() const { return static_cast<std::int32_t>(left_.size()); }
  std::int32_t outBytes() const { return outBytes_; }

  // A whole row straight from source rows r0 and r1 (weighted 1 - w1 and
  // w1), pixel by pixel: for results much narrower than the source, where
  // interpolating every source column first would waste most of the work.
  void perPixel(const std::uint8_t* r0, const std::uint8_t* r1, double w1, std::uint8_t* o) const;

 private:
  friend void horizontalRow(const std::uint8_t* v, const ColumnTaps& taps, std::uint8_t* o);

  std::int32_t outBytes_;
  std::vector<std::int32_t> left_, right_;
  std::vector<double> w1_;
  // A row's values (channel j % 3 of pixel j / 3) come in blocks of eight,
  // three blocks (eight pixels) a vector step. Block k reads the 32 bytes of
  // the vertical row from base_[k]; its 128 bytes of pick_ select, by byte
  // shuffles that leave each value in the low byte of its own 32-bit lane,
  // the left values from the first 16 of those bytes, the right values from
  // them, then both from the second 16; a selection with its top bit set
  // picks nothing (0). weight_ holds the second weight of every value;
  // check_ whether each step has a doubtful weight.
  std::vector<std::int32_t> base_;
  std::vector<std::uint8_t> pick_;
  std::vector<float> weight_;
  std::vector<double> exactWeight_;  // weight_ in double precision
  std::vector<std::uint8_t> check_;
  bool oneWindow_ = true;  // no block selects from the second half
};

// v[k] = RNE(w0 * r0[k] + w1 * r1[k]) for k < bytes, w0 = 1 - w1; `check`
// must be doubtful(w1).
void verticalRow(const std::uint8_t* r0, const std::uint8_t* r1, double w1, bool check, std::uint8_t* v,
                 std::int32_t bytes);

// Every output byte of one row from the vertical values `v`, which must have
// kRowSlack readable bytes past the last one the taps read.
void horizontalRow(const std::uint8_t* v, const ColumnTaps& taps, std::uint8_t* o);

// `src` scaled bilinearly to `dst`'s size, into `dst` (rows of 3 or 4 bytes
// a pixel on either side). The vertical step is applied first: memory row y
// of the result, counted from the bottom as the picture's rows are stored,
// reads source rows at y * (height - 1) / newHeight, also from the bottom.
// The same size copies the pixels as they are.
void resampleRows(const PixelRows& src, const PixelRows& dst);

}  // namespace qorv::resample
