// The peer every frame figure is measured against: copying one frame's
// 32-bit pixels, the least any way of showing a frame has to do.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

inline void memcpyFrame(benchmark::State& st, std::size_t pixels) {
  std::vector<std::uint32_t> a(pixels, 1), b(a.size());
  for (auto _ : st) {
    std::memcpy(b.data(), a.data(), a.size() * 4);
    benchmark::DoNotOptimize(b.data());
    benchmark::ClobberMemory();
  }
}
