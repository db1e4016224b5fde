// The nearest palette colour of any RGB colour, exactly as
// cPalette::ClosestIndex gives it (squared distance, lowest index on a tie),
// but without comparing against every palette colour for every pixel.
//
// The colour cube is cut into 32 x 32 x 32 cells of 8 x 8 x 8 colours. Each
// cell keeps, in index order, only the palette colours that can be nearest to
// some colour inside it: a colour is dropped when even its closest approach to
// the cell is farther than the farthest reach of some other colour, so it
// loses to that one everywhere in the cell. Most cells keep a single colour,
// which is then the answer without any arithmetic; the others compare a few.
// The cells are found from coarser ones (32 x 32 x 32 colours), so building
// costs a fraction of one pass over a large picture.
#pragma once

#include <cstdint>
#include <vector>

#include "processing/cPalette.h"

namespace qorv {

class NearestColour {
 public:
  explicit NearestColour(const cPalette& palette);

  bool empty() const { return red_.empty(); }

  // Index of the nearest palette colour; the palette must not be empty.
  [[gnu::always_inline]] int index(std::uint8_t r, std::uint8_t g, std::uint8_t b) const {
    const std::uint32_t cell = static_cast<std::uint32_t>((r >> 3) << 10 | (g >> 3) << 5 | (b >> 3));
    const std::uint32_t info = cells_[cell];
    const std::uint32_t start = info >> 9, count = info & 511u;
    if (count == 1) return candidates_[start];
    return search(start, count, r, g, b);
  }

  // Palette colour i's channels.
  std::uint8_t red(int i) const { return red_[static_cast<std::size_t>(i)]; }
  std::uint8_t green(int i) const { return green_[static_cast<std::size_t>(i)]; }
  std::uint8_t blue(int i) const { return blue_[static_cast<std::size_t>(i)]; }

 private:
  int search(std::uint32_t start, std::uint32_t count, std::uint8_t r, std::uint8_t g, std::uint8_t b) const;

  std::vector<std::uint8_t> red_, green_, blue_;
  // Per cell: first candidate's position in candidates_ (upper 23 bits) and
  // the number of candidates (lower 9 bits).
  std::vector<std::uint32_t> cells_;
  std::vector<std::uint8_t> candidates_;
};

}  // namespace qorv
