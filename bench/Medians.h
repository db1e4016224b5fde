// Medians and ratios between benchmarks of one run, robust to a busy machine.
//
// Each measured case times its own iterations (wall clock, so work on the
// row pool counts in full) and reports the median as `median_ms`. Right
// after each iteration it also times the reference (set by the program:
// a memcpy of the picture), under the same load, and reports the median of
// the per-iteration ratios as `x_ref`. A case names the peers it is to be
// read against; for every peer measured earlier in the same run it reports
// `x_<peer>` = its x_ref / the peer's x_ref, so that load that comes and goes
// between two cases cancels out as far as it slows the reference too.
// Benchmarks run in the order they are registered, so peers are registered
// first.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace bench {

// The reference, timed after every iteration of every case.
inline std::function<void()>& reference() {
  static std::function<void()> f;
  return f;
}

// x_ref of every case measured so far, by key.
inline std::map<std::string, double>& relative() {
  static std::map<std::string, double> table;
  return table;
}

inline double medianOf(std::vector<double> v) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  const std::size_t n = v.size();
  return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

template <class Fn>
double timeMs(Fn&& fn) {
  const auto t0 = std::chrono::steady_clock::now();
  fn();
  const auto t1 = std::chrono::steady_clock::now();
  return std::chrono::duration<double, std::milli>(t1 - t0).count();
}

inline double referenceMs() { return reference() ? timeMs(reference()) : 0; }

// Records `ms` (one time per iteration) and `refMs` (the reference right
// after each) under `key` and reports them with the ratios to the peers.
// Without reference times, the reference is timed a few times now.
inline void report(benchmark::State& state, const std::string& key, const std::vector<double>& ms,
                   std::vector<double> refMs, const std::vector<std::string>& peers) {
  if (refMs.empty())
    for (std::size_t i = 0; i < 5 && reference(); ++i) refMs.push_back(referenceMs());
  std::vector<double> ratios;
  for (std::size_t i = 0; i < ms.size(); ++i) {
    const double r = refMs.empty() ? 0 : refMs[std::min(i, refMs.size() - 1)];
    if (r > 0) ratios.push_back(ms[i] / r);
  }
  const double x = medianOf(ratios);
  relative()[key] = x;
  state.counters["median_ms"] = medianOf(ms);
  if (x > 0) state.counters["x_ref"] = x;
  for (const std::string& p : peers) {
    const auto it = relative().find(p);
    if (it != relative().end() && it->second > 0 && x > 0) state.counters["x_" + p] = x / it->second;
  }
  state.SetLabel(key);
}

// Times op() in every iteration, after setup() outside the timing, and the
// reference right after it.
template <class Setup, class Op>
void measure(benchmark::State& state, const std::string& key, const std::vector<std::string>& peers, Setup setup,
             Op op) {
  std::vector<double> ms, refMs;
  for (auto _ : state) {
    state.PauseTiming();
    setup();
    state.ResumeTiming();
    ms.push_back(timeMs(op));
    benchmark::ClobberMemory();
    state.PauseTiming();
    refMs.push_back(referenceMs());
    state.ResumeTiming();
  }
  report(state, key, ms, refMs, peers);
}

template <class Op>
void measure(benchmark::State& state, const std::string& key, const std::vector<std::string>& peers, Op op) {
  measure(state, key, peers, [] {}, op);
}

}  // namespace bench
