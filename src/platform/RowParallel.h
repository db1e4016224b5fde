// Splitting independent rows over a process-wide pool of worker threads.
//
// The pool holds hardware_concurrency() - 1 workers, started on the first
// split and reused for the life of the process. The calling thread always
// takes part: it claims chunks like any worker, so a split finishes even when
// every worker is busy with another caller's rows, and a call made from
// inside a chunk cannot deadlock.
#pragma once

#include <cstdint>
#include <type_traits>

namespace qorv {

// Jobs smaller than this many units of work stay on the calling thread: the
// hand-over would cost more than it saves. Callers measure work in bytes
// touched per row, or scale their own unit to it.
inline constexpr std::int64_t kParallelRowsMinWork = std::int64_t{1} << 20;

// Whether large jobs may use the pool (on by default). Process-wide; results
// are the same either way, only the time differs.
void setParallelRowsAllowed(bool allowed);
bool parallelRowsAllowed();

// How many threads a split may use: the caller plus the pool's workers (1
// when no worker could be started or the machine has a single core).
int parallelRowsThreads();

namespace row_parallel {
using Body = void (*)(void* context, std::int32_t y0, std::int32_t y1);
void run(std::int32_t first, std::int32_t last, std::int64_t workPerRow, Body body, void* context);
}  // namespace row_parallel

// Runs fn(y0, y1) over contiguous chunks that together cover rows first..last
// (inclusive) exactly once. With fewer than two rows, less than
// kParallelRowsMinWork in total, the pool switched off or not to be had, it is
// one call fn(first, last) on the calling thread. Rows must be independent:
// chunks run concurrently and in no particular order. An exception thrown by
// fn is caught where it happens; the first one is rethrown here once every
// chunk has finished (chunks not yet started are then skipped).
template <class Fn>
void parallelRows(std::int32_t first, std::int32_t last, std::int64_t workPerRow, Fn&& fn) {
  using F = std::remove_reference_t<Fn>;
  row_parallel::run(
      first, last, workPerRow,
      [](void* c, std::int32_t y0, std::int32_t y1) { (*static_cast<F*>(c))(y0, y1); },
      const_cast<void*>(static_cast<const void*>(&fn)));
}

}  // namespace qorv
