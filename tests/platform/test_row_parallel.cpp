// The shared row splitter and the processor feature switch: every row is
// visited exactly once whatever the split, small jobs and switched-off jobs
// stay on the caller, failures come back to the caller, and the pool survives
// nesting, concurrent callers and exceptions.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/CpuFeatures.h"
#include "platform/RowParallel.h"

namespace qorv {
namespace {

// The pool's switch as it was, put back after a test that turns it off.
struct SwitchGuard {
  const bool was = parallelRowsAllowed();
  ~SwitchGuard() { setParallelRowsAllowed(was); }
};

// Everything one split did: the chunks it ran and on which thread.
struct Trace {
  struct Chunk {
    std::int32_t y0, y1;
    std::thread::id thread;
  };
  std::mutex mutex;
  std::vector<Chunk> chunks;
  std::vector<std::atomic<int>> visits;

  Trace(std::int32_t first, std::int32_t last) : visits(last >= first ? static_cast<std::size_t>(last - first + 1) : 0) {}
};

Trace& split(Trace& t, std::int32_t first, std::int32_t last, std::int64_t workPerRow) {
  parallelRows(first, last, workPerRow, [&](std::int32_t y0, std::int32_t y1) {
    for (std::int32_t y = y0; y <= y1; ++y) t.visits[static_cast<std::size_t>(y - first)].fetch_add(1);
    std::lock_guard<std::mutex> lock(t.mutex);
    t.chunks.push_back({y0, y1, std::this_thread::get_id()});
  });
  return t;
}

struct CoverCase {
  std::string name;
  std::int32_t first, last;
  std::int64_t workPerRow;
};

class RowsCovered : public ::testing::TestWithParam<CoverCase> {};

TEST_P(RowsCovered, EveryRowOnceInContiguousChunks) {
  const CoverCase& c = GetParam();
  Trace t(c.first, c.last);
  split(t, c.first, c.last, c.workPerRow);
  for (std::size_t i = 0; i < t.visits.size(); ++i) EXPECT_EQ(t.visits[i].load(), 1) << "row " << c.first + static_cast<std::int32_t>(i);
  if (c.last < c.first) {
    EXPECT_TRUE(t.chunks.empty());
    return;
  }
  // Sorted by start, the chunks must tile first..last with no gap or overlap.
  std::sort(t.chunks.begin(), t.chunks.end(), [](const auto& a, const auto& b) { return a.y0 < b.y0; });
  std::int32_t expected = c.first;
  for (const auto& ch : t.chunks) {
    EXPECT_EQ(ch.y0, expected);
    EXPECT_LE(ch.y0, ch.y1);
    expected = ch.y1 + 1;
  }
  EXPECT_EQ(expected, c.last + 1);
}

INSTANTIATE_TEST_SUITE_P(
    Ranges, RowsCovered,
    ::testing::Values(CoverCase{"Empty", 5, 4, kParallelRowsMinWork}, CoverCase{"OneRow", 7, 7, kParallelRowsMinWork},
                      CoverCase{"TwoLargeRows", 0, 1, kParallelRowsMinWork},
                      CoverCase{"JustBelowThreshold", 0, 1023, 1023}, CoverCase{"AtThreshold", 0, 1023, 1024},
                      CoverCase{"NegativeStart", -500, 499, 4096}, CoverCase{"OddCount", 3, 1003, 1 << 16},
                      CoverCase{"ManyRowsLittleEach", 0, 99999, 64},
                      CoverCase{"WorkOverflowsAProduct", 0, 999, std::numeric_limits<std::int64_t>::max()},
                      CoverCase{"NegativeWork", 0, 999, -1}),
    [](const auto& p) { return p.param.name; });

// Small jobs and switched-off jobs run in one piece on the calling thread;
// large ones are split over at most the pool's threads.
TEST(RowParallel, OnlyLargeJobsWithThePoolSwitchedOnAreSplit) {
  const SwitchGuard guard;
  struct Case {
    const char* name;
    std::int32_t last;
    std::int64_t workPerRow;
    bool allowed, split;
  } cases[] = {{"small job", 99, kParallelRowsMinWork / 100 - 1, true, false},
               {"switched off", 3999, 1 << 20, false, false},
               {"large job", 3999, 1 << 20, true, parallelRowsThreads() >= 2}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    setParallelRowsAllowed(c.allowed);
    EXPECT_EQ(parallelRowsAllowed(), c.allowed);
    Trace t(0, c.last);
    split(t, 0, c.last, c.workPerRow);
    if (c.split) {
      EXPECT_GE(t.chunks.size(), 2u);
      EXPECT_LE(t.chunks.size(), static_cast<std::size_t>(parallelRowsThreads()));
    } else {
      ASSERT_EQ(t.chunks.size(), 1u);
      EXPECT_EQ(std::tuple(t.chunks[0].y0, t.chunks[0].y1, t.chunks[0].thread),
                std::tuple(0, c.last, std::this_thread::get_id()));
    }
  }
}

TEST(RowParallel, ExceptionsInChunksReachTheCallerOnce) {
  const SwitchGuard guard;
  for (const bool pooled : {true, false}) {
    setParallelRowsAllowed(pooled);
    std::atomic<int> ran{0};
    try {
      parallelRows(0, 1999, 1 << 20, [&](std::int32_t, std::int32_t y1) {
        ran.fetch_add(1);
        if (y1 == 1999) throw std::runtime_error("last rows failed");
      });
      ADD_FAILURE() << "no exception, pooled=" << pooled;
    } catch (const std::runtime_error& e) {
      EXPECT_STREQ(e.what(), "last rows failed");
    }
    EXPECT_GE(ran.load(), 1);
    // The pool is still whole afterwards.
    Trace t(0, 1999);
    split(t, 0, 1999, 1 << 20);
    for (const auto& v : t.visits) EXPECT_EQ(v.load(), 1);
  }
  // Every chunk throwing still reports one exception.
  EXPECT_THROW(parallelRows(0, 4999, 1 << 20, [](std::int32_t, std::int32_t) { throw std::logic_error("each"); }),
               std::logic_error);
}

TEST(RowParallel, ASplitInsideAChunkFinishes) {
  std::atomic<std::int64_t> cells{0};
  parallelRows(0, 63, 1 << 20, [&](std::int32_t y0, std::int32_t y1) {
    for (std::int32_t y = y0; y <= y1; ++y)
      parallelRows(0, 255, 1 << 16, [&](std::int32_t x0, std::int32_t x1) { cells.fetch_add(x1 - x0 + 1); });
  });
  EXPECT_EQ(cells.load(), 64 * 256);
}

TEST(RowParallel, ConcurrentCallersEachGetTheirOwnRows) {
  constexpr int kCallers = 4;
  std::vector<std::unique_ptr<Trace>> traces;
  for (int i = 0; i < kCallers; ++i) traces.push_back(std::make_unique<Trace>(0, 2999));
  std::vector<std::thread> callers;
  for (int i = 0; i < kCallers; ++i) {
    callers.emplace_back([&, i] {
      for (int round = 0; round < 5; ++round) split(*traces[static_cast<std::size_t>(i)], 0, 2999, 1 << 20);
    });
  }
  for (std::thread& th : callers) th.join();
  for (const auto& t : traces)
    for (const auto& v : t->visits) EXPECT_EQ(v.load(), 5);
}

TEST(CpuFeatures, ForcingGenericPathsHidesEveryExtensionUntilUndone) {
  const CpuFeatures detected = cpuFeatures();
  forceGenericPaths(true);
  const CpuFeatures generic = cpuFeatures();
  forceGenericPaths(false);
  EXPECT_FALSE(generic.avx2 || generic.fma);
  const CpuFeatures again = cpuFeatures();
  EXPECT_EQ(std::pair(again.avx2, again.fma), std::pair(detected.avx2, detected.fma));
}

}  // namespace
}  // namespace qorv
