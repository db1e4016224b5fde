// Medians and ratios between benchmarks of one run.
//
// Each measured case times its own iterations (wall clock, so work on the
// row pool counts in full) and reports the median as `median_ms`. A case
// names the peers it is to be read against; for every peer measured earlier
// in the same run it reports `x_<peer>` = its median / the peer's median.
// Benchmarks run in the order they are registered, so peers are registered
// first.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace bench {

inline std::map<std::string, double>& medians() {
  static std::map<std::string, double> table;
  return table;
}

inline double medianOf(std::vector<double> v) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  const std::size_t n = v.size();
  return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

// Records `ms` (one time per iteration) under `key` and reports it with its
// ratios to the named peers.
inline void report(benchmark::State& state, const std::string& key, const std::vector<double>& ms,
                   const std::vector<std::string>& peers) {
  const double m = medianOf(ms);
  medians()[key] = m;
  state.counters["median_ms"] = m;
  for (const std::string& p : peers) {
    const auto it = medians().find(p);
    if (it != medians().end() && it->second > 0) state.counters["x_" + p] = m / it->second;
  }
  state.SetLabel(key);
}

// Times op() in every iteration, after setup() outside the timing.
template <class Setup, class Op>
void measure(benchmark::State& state, const std::string& key, const std::vector<std::string>& peers, Setup setup,
             Op op) {
  std::vector<double> ms;
  for (auto _ : state) {
    state.PauseTiming();
    setup();
    state.ResumeTiming();
    const auto t0 = std::chrono::steady_clock::now();
    op();
    const auto t1 = std::chrono::steady_clock::now();
    ms.push_back(std::chrono::duration<double, std::milli>(t1 - t0).count());
    benchmark::ClobberMemory();
  }
  report(state, key, ms, peers);
}

template <class Op>
void measure(benchmark::State& state, const std::string& key, const std::vector<std::string>& peers, Op op) {
  measure(state, key, peers, [] {}, op);
}

}  // namespace bench
