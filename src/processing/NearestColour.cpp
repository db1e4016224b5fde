#include "processing/NearestColour.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace qorv {

namespace {

// A box of colours lo..hi (inclusive) in each channel.
struct Box {
  int lo[3], hi[3];
};

// Squared distances from a colour to the nearest and the farthest colour of a box.
void reach(const int c[3], const Box& box, std::int32_t& nearest, std::int32_t& farthest) {
  nearest = farthest = 0;
  for (int k = 0; k < 3; ++k) {
    const int below = box.lo[k] - c[k], above = c[k] - box.hi[k];
    const int in = below > 0 ? below : (above > 0 ? above : 0);
    const int out = std::max(std::abs(c[k] - box.lo[k]), std::abs(c[k] - box.hi[k]));
    nearest += in * in;
    farthest += out * out;
  }
}

// The colours among `from` that can be nearest somewhere in `box`, in the order given.
void candidatesFor(const Box& box, const std::vector<int>& from, const std::vector<std::uint8_t>& r,
                   const std::vector<std::uint8_t>& g, const std::vector<std::uint8_t>& b, std::vector<int>& out) {
  out.clear();
  std::int32_t bound = INT32_MAX;
  thread_local std::vector<std::int32_t> nearest;
  nearest.resize(from.size());
  for (std::size_t i = 0; i < from.size(); ++i) {
    const auto e = static_cast<std::size_t>(from[i]);
    const int c[3] = {r[e], g[e], b[e]};
    std::int32_t n, f;
    reach(c, box, n, f);
    nearest[i] = n;
    bound = std::min(bound, f);
  }
  // Colours whose nearest approach is beyond `bound` lose everywhere in the box
  // (strictly), so dropping them changes no answer, ties included.
  for (std::size_t i = 0; i < from.size(); ++i)
    if (nearest[i] <= bound) out.push_back(from[i]);
}

}  // namespace

NearestColour::NearestColour(const cPalette& palette) {
  const int n = palette.Count();
  for (int i = 0; i < n; ++i) {
    const std::uint32_t c = palette.Color(i);
    red_.push_back(static_cast<std::uint8_t>(c));
    green_.push_back(static_cast<std::uint8_t>(c >> 8));
    blue_.push_back(static_cast<std::uint8_t>(c >> 16));
  }
  if (n == 0) return;
  // A repeated colour never wins (the first of equals does), so only first
  // occurrences take part.
  std::vector<int> all;
  for (int i = 0; i < n; ++i) {
    bool repeat = false;
    for (const int j : all) repeat = repeat || palette.Color(j) == palette.Color(i);
    if (!repeat) all.push_back(i);
  }

  cells_.assign(32 * 32 * 32, 0);
  candidates_.reserve(32 * 32 * 32 * 2);
  std::vector<int> coarse, fine;
  for (int cr = 0; cr < 8; ++cr) {
    for (int cg = 0; cg < 8; ++cg) {
      for (int cb = 0; cb < 8; ++cb) {
        const Box outer{{cr * 32, cg * 32, cb * 32}, {cr * 32 + 31, cg * 32 + 31, cb * 32 + 31}};
        candidatesFor(outer, all, red_, green_, blue_, coarse);
        for (int fr = cr * 4; fr < cr * 4 + 4; ++fr) {
          for (int fg = cg * 4; fg < cg * 4 + 4; ++fg) {
            for (int fb = cb * 4; fb < cb * 4 + 4; ++fb) {
              const Box inner{{fr * 8, fg * 8, fb * 8}, {fr * 8 + 7, fg * 8 + 7, fb * 8 + 7}};
              candidatesFor(inner, coarse, red_, green_, blue_, fine);
              const auto start = static_cast<std::uint32_t>(candidates_.size());
              for (const int i : fine) candidates_.push_back(static_cast<std::uint8_t>(i));
              cells_[static_cast<std::size_t>(fr << 10 | fg << 5 | fb)] =
                  start << 9 | static_cast<std::uint32_t>(fine.size());
            }
          }
        }
      }
    }
  }
}

int NearestColour::search(std::uint32_t start, std::uint32_t count, std::uint8_t r, std::uint8_t g,
                          std::uint8_t b) const {
  int best = -1;
  std::int32_t bestDistance = INT32_MAX;
  for (std::uint32_t k = start; k < start + count; ++k) {
    const int i = candidates_[k];
    const std::int32_t dr = red_[static_cast<std::size_t>(i)] - r;
    const std::int32_t dg = green_[static_cast<std::size_t>(i)] - g;
    const std::int32_t db = blue_[static_cast<std::size_t>(i)] - b;
    const std::int32_t d = dr * dr + dg * dg + db * db;
    // Candidates are in index order: a later one must be strictly nearer.
    if (d < bestDistance) {
      best = i;
      bestDistance = d;
    }
  }
  return best;
}

}  // namespace qorv
