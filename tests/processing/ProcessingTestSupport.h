// Helpers shared by the processing tests: seeded random pictures, byte
// snapshots of working images (padding included), the ways an operation can
// be made to run, and a recorder for the engine's notifications.
#pragma once

#include <cstdint>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/CpuFeatures.h"
#include "platform/RowParallel.h"
#include "processing/cDIBSection.h"
#include "processing/cImageProcessDIB.h"

namespace qorv::test_support {

// A plain copy of a working image's memory: stride-padded, bottom-up rows.
struct Bytes {
  std::int32_t width = 0, height = 0, stride = 0;
  std::vector<std::uint8_t> data;
  std::uint8_t& at(std::int32_t x, std::int32_t y) { return data[static_cast<std::size_t>(y * stride + x)]; }
  std::uint8_t at(std::int32_t x, std::int32_t y) const { return data[static_cast<std::size_t>(y * stride + x)]; }
  bool operator==(const Bytes&) const = default;
};

inline Bytes snapshot(const cDIBSection& d) {
  Bytes b{d.Width(), d.Height(), d.BytesPerScanLine(), {}};
  const std::size_t n = static_cast<std::size_t>(b.stride) * static_cast<std::size_t>(b.height);
  b.data.assign(d.DIBSectionBitsPtr(), d.DIBSectionBitsPtr() + n);
  return b;
}

inline void restore(cDIBSection& d, const Bytes& b) {
  std::copy(b.data.begin(), b.data.end(), d.DIBSectionBitsPtr());
}

// Pixel bytes random; padding bytes set to a sentinel so that writes into
// them show up.
inline constexpr std::uint8_t kPadding = 0xA5;
inline void fillRandom(cDIBSection& d, std::uint32_t seed, int lo = 0, int hi = 255) {
  std::mt19937 gen(seed);
  std::uniform_int_distribution<int> dist(lo, hi);
  for (std::int32_t y = 0; y < d.Height(); ++y) {
    std::uint8_t* row = d.DIBSectionBitsPtr() + static_cast<std::ptrdiff_t>(y) * d.BytesPerScanLine();
    for (std::int32_t x = 0; x < d.BytesPerScanLine(); ++x) {
      row[x] = x < 3 * d.Width() ? static_cast<std::uint8_t>(dist(gen)) : kPadding;
    }
  }
}

// A working image of w x h holding random pixels, padding set to the sentinel.
inline std::unique_ptr<cDIBSection> randomDib(std::int32_t w, std::int32_t h, std::uint32_t seed) {
  auto d = std::make_unique<cDIBSection>();
  EXPECT_TRUE(d->Create(w, h)) << w << "x" << h;
  fillRandom(*d, seed);
  return d;
}

inline void fillPixels(cDIBSection& d, std::uint8_t blue, std::uint8_t green, std::uint8_t red) {
  for (std::int32_t y = 0; y < d.Height(); ++y) {
    std::uint8_t* row = d.DIBSectionBitsPtr() + static_cast<std::ptrdiff_t>(y) * d.BytesPerScanLine();
    for (std::int32_t x = 0; x < d.BytesPerScanLine(); ++x) {
      row[x] = x >= 3 * d.Width() ? kPadding : (x % 3 == 0 ? blue : (x % 3 == 1 ? green : red));
    }
  }
}

inline bool paddingIntact(const Bytes& b) {
  for (std::int32_t y = 0; y < b.height; ++y) {
    for (std::int32_t x = 3 * b.width; x < b.stride; ++x) {
      if (b.at(x, y) != kPadding) return false;
    }
  }
  return true;
}

// How an operation is made to run: rows split over the pool or all on the
// caller, processor extensions used or hidden. Every way must give the same
// pixels and the same notifications.
struct Way {
  const char* name;
  bool pool, generic;
};
inline constexpr Way kWays[] = {{"pooled", true, false}, {"caller only", false, false}, {"generic paths", true, true}};

// The row pool's and the processor features' switches, put back whatever happens.
class UseWay {
 public:
  explicit UseWay(const Way& w) {
    setParallelRowsAllowed(w.pool);
    forceGenericPaths(w.generic);
  }
  ~UseWay() {
    setParallelRowsAllowed(true);
    forceGenericPaths(false);
  }
  UseWay(const UseWay&) = delete;
  UseWay& operator=(const UseWay&) = delete;
};

// Calls run(i) under kWays[i]: only the first way for small pictures, every
// way for pictures large enough to be split over the row pool.
template <class F>
void forEachWay(std::int32_t w, std::int32_t h, F&& run) {
  for (std::size_t i = 0; i < (std::int64_t{w} * h > 100000 ? std::size(kWays) : 1); ++i) {
    SCOPED_TRACE(kWays[i].name);
    const UseWay use(kWays[i]);
    run(i);
  }
}

struct Event {
  char kind;  // 'I' init, 'P' progress, 'C' complete
  std::int32_t value;
  std::string description;
  bool operator==(const Event& o) const {
    // The elapsed time of a completion is not compared.
    return kind == o.kind && description == o.description && (kind == 'C' || value == o.value);
  }
};

struct EventLog {
  std::vector<Event> events;
  void attach(cImageProcessDIB& e) {
    e.InitProgress = [this](std::int32_t v, const std::string& d) { events.push_back({'I', v, d}); };
    e.Progress = [this](std::int32_t v, const std::string& d) { events.push_back({'P', v, d}); };
    e.Complete = [this](std::int32_t v, const std::string& d) { events.push_back({'C', v, d}); };
  }
};

// The sequence a column-by-column loop produces: init(max), one progress per
// value first..last by step, complete.
inline std::vector<Event> expectedEvents(const std::string& d, std::int32_t max, std::int32_t first,
                                         std::int32_t last, std::int32_t step) {
  std::vector<Event> v{{'I', max, d}};
  for (std::int32_t x = first; x <= last; x += step) v.push_back({'P', x, d});
  v.push_back({'C', 0, d});
  return v;
}

}  // namespace qorv::test_support
