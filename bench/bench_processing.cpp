// Image processing throughput on a 6000 x 4000 picture (72 MB of pixels),
// each operation measured next to a plain memcpy of the same bytes in the
// same run, so that the figures can be read as ratios. A screen-sized picture
// (1024 x 768) shows what splitting rows costs where the work is small.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include <QorvPictureBox/gdi.h>
#include "BenchPictures.h"
#include "platform/RowParallel.h"
#include "platform/ScopedGdi.h"
#include "processing/Rotation.h"
#include "processing/cDIBSection.h"
#include "processing/cImageProcessDIB.h"

namespace {

using qorv::cDIBSection;
using qorv::cImageProcessDIB;
namespace filter = qorv::filter;

constexpr int kW = 6000;
constexpr int kH = 4000;

using bench::fillRandom;

struct Pictures {
  cDIBSection image, buffer;
  std::vector<std::uint8_t> original;  // image's first content
  Pictures(int w, int h) {
    image.Create(w, h);
    buffer.Create(w, h);
    fillRandom(image, 1);
    fillRandom(buffer, 2);
    const std::uint8_t* p = image.DIBSectionBitsPtr();
    original.assign(p, p + static_cast<std::size_t>(image.BytesPerScanLine()) * image.Height());
  }
  // Operations that work in place would otherwise feed each case the result
  // of the one before it (a grey, inverted or darkened picture).
  void restore() { std::memcpy(image.DIBSectionBitsPtr(), original.data(), original.size()); }
};

Pictures& pictures() {
  static Pictures p(kW, kH);
  return p;
}

constexpr int kSmallW = 1024;
constexpr int kSmallH = 768;

Pictures& smallPictures() {
  static Pictures p(kSmallW, kSmallH);
  return p;
}

// Every operation benchmark takes the threads as its first argument (1: the
// calling thread alone, 2: the shared row pool, which on this machine's two
// cores is the caller and one worker) and the operation's own parameter, if
// any, as its second.
void useThreads(const benchmark::State& state) { qorv::setParallelRowsAllowed(state.range(0) == 2); }

void BM_Memcpy(benchmark::State& state) {
  pictures();  // made once, outside every timing
  const std::size_t n = static_cast<std::size_t>(cDIBSection::BytesPerScanLineFor(kW)) * kH;
  std::vector<std::uint8_t> a(n, 1), b(n, 2);
  for (auto _ : state) {
    std::memcpy(b.data(), a.data(), n);
    benchmark::DoNotOptimize(b.data());
    benchmark::ClobberMemory();
  }
}

// Times op(engine, p) on a fresh engine set to `filterType` (0: left as made),
// each time on the same input: the picture is restored outside the timing.
template <class Op>
void timeOperation(benchmark::State& state, Pictures& p, Op op, std::int64_t filterType = 0) {
  useThreads(state);
  cImageProcessDIB e;
  if (filterType != 0) e.setFilterType(static_cast<std::int32_t>(filterType));
  for (auto _ : state) {
    state.PauseTiming();
    p.restore();
    state.ResumeTiming();
    op(e, p);
  }
}

const auto convolve = [](cImageProcessDIB& e, Pictures& p) { e.Convolve(p.buffer, p.image); };
const auto grayscale = [](cImageProcessDIB& e, Pictures& p) { e.Grayscale(p.image); };
const auto darken = [](cImageProcessDIB& e, Pictures& p) { e.Fade(p.image, 254); };
const auto invert = [](cImageProcessDIB& e, Pictures& p) { e.Invert(p.image); };

void BM_Convolve(benchmark::State& state) { timeOperation(state, pictures(), convolve, state.range(1)); }

void BM_ProcessImage(benchmark::State& state) {
  timeOperation(state, pictures(), [](cImageProcessDIB& e, Pictures& p) { e.ProcessImage(p.image, p.buffer); },
                state.range(1));
}

void BM_RankFilter(benchmark::State& state) {
  timeOperation(state, pictures(), [](cImageProcessDIB& e, Pictures& p) { e.RankFilter(p.buffer, p.image); },
                state.range(1));
}

void BM_Grayscale(benchmark::State& state) { timeOperation(state, pictures(), grayscale); }
void BM_Darken(benchmark::State& state) { timeOperation(state, pictures(), darken); }
void BM_Invert(benchmark::State& state) { timeOperation(state, pictures(), invert); }

void BM_Flip(benchmark::State& state) {
  const auto orientation = static_cast<std::int32_t>(state.range(1));
  timeOperation(state, pictures(), [orientation](cImageProcessDIB& e, Pictures& p) { e.Flip(p.image, orientation); });
}

void BM_BlackAndWhite(benchmark::State& state) {
  timeOperation(state, pictures(), [](cImageProcessDIB& e, Pictures& p) { e.BlackAndWhite(p.image, p.buffer); });
}

void BM_Resample(benchmark::State& state) {
  useThreads(state);
  for (auto _ : state) {
    auto out = pictures().image.Resample(static_cast<std::int32_t>(state.range(1) / 10000),
                                         static_cast<std::int32_t>(state.range(1) % 10000));
    benchmark::DoNotOptimize(out.get());
  }
}

// Small pictures: the same operations where the hand-over to other threads
// is a visible share of the time.
void BM_SmallInvert(benchmark::State& state) { timeOperation(state, smallPictures(), invert); }
void BM_SmallGrayscale(benchmark::State& state) { timeOperation(state, smallPictures(), grayscale); }
void BM_SmallDarken(benchmark::State& state) { timeOperation(state, smallPictures(), darken); }
void BM_SmallBlur(benchmark::State& state) { timeOperation(state, smallPictures(), convolve, filter::eBlur); }

// The quarter turn between two device bitmaps, as the control's panes hold them.
void BM_QuarterTurn(benchmark::State& state) {
  useThreads(state);
  const bench::QuarterTurnPanes panes(kW, kH);
  const gdi::HDC src = panes.src.get(), dst = panes.dst.get();
  gdi::BitBlt(src, 0, 0, kW, kH, pictures().image.hdc(), 0, 0, gdi::SRCCOPY);
  for (auto _ : state) qorv::rotateBlt(dst, kH / 2, kW / 2, 90, src, 0, 0, kW, kH);
}

// The 32-bit device bitmaps of a quarter turn hold 96 MB; this is their copy.
void BM_Memcpy32(benchmark::State& state) {
  const std::size_t n = static_cast<std::size_t>(kW) * kH * 4;
  std::vector<std::uint8_t> a(n, 1), b(n, 2);
  for (auto _ : state) {
    std::memcpy(b.data(), a.data(), n);
    benchmark::DoNotOptimize(b.data());
    benchmark::ClobberMemory();
  }
}

}  // namespace

BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Convolve)->ArgsProduct({{1, 2}, {filter::eBlur, filter::eSharpen, filter::eBlurMore}})->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ProcessImage)->ArgsProduct({{1, 2}, {filter::eBlur, filter::eBlurMore}})->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RankFilter)->ArgsProduct({{1, 2}, {filter::eMinimum, filter::eMaximum, filter::eMedian}})->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Grayscale)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Darken)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Invert)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Flip)->ArgsProduct({{1, 2}, {0, 1, 2}})->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SmallInvert)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_SmallGrayscale)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_SmallDarken)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_SmallBlur)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_Memcpy32)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_QuarterTurn)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_BlackAndWhite)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
// Second argument: new height * 10000 + new width.
BENCHMARK(BM_Resample)->Args({1, 2000 * 10000 + 3000})->Args({1, 6000 * 10000 + 9000})->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

BENCHMARK_MAIN();
