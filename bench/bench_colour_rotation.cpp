// Colour tools and rotation by any angle on a 6000 x 4000 picture, each next
// to its peer in the same run: Colourise and palette mapping against a plain
// memcpy of the picture's bytes, rotation by 30 degrees (bilinear) against
// OpenCV's warpAffine with INTER_LINEAR when the benchmark build finds it,
// and against QImage::transformed with smooth transformation in any case.
//
// Each operation's counters ("x_memcpy", "x_opencv_linear", "x_qt_smooth")
// are its time over the peer's, the peer timed in every iteration right after
// the operation so that both see the same machine load.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include <QImage>
#include <QTransform>

#ifdef QORV_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include "BenchPictures.h"
#include "platform/RowParallel.h"
#include "processing/cDIBSection.h"
#include "processing/cImageProcessDIB.h"
#include "processing/cPalette.h"

namespace {

using qorv::cDIBSection;
using qorv::cImageProcessDIB;
using qorv::cPalette;
using Clock = std::chrono::steady_clock;

constexpr int kW = 6000;
constexpr int kH = 4000;
constexpr double kAngle = 30.0;

using bench::fillRandom;

cDIBSection& picture() {
  static cDIBSection* d = [] {
    auto* x = new cDIBSection;  // lives as long as the program
    x->Create(kW, kH);
    fillRandom(*x, 1);
    return x;
  }();
  return *d;
}

// 256 random colours: the case the nearest-colour cache must keep exact.
const cPalette& palette256() {
  static const cPalette p = [] {
    std::mt19937 gen(5);
    cPalette q;
    for (int i = 0; i < 256; ++i)
      q.AddColor(static_cast<std::uint8_t>(gen()), static_cast<std::uint8_t>(gen()), static_cast<std::uint8_t>(gen()));
    return q;
  }();
  return p;
}

// A plain copy of the picture's bytes, the peer of the per-pixel operations.
struct MemcpyPeer {
  std::vector<std::uint8_t> a, b;
  MemcpyPeer() {
    const std::size_t n = static_cast<std::size_t>(cDIBSection::BytesPerScanLineFor(kW)) * kH;
    a.assign(n, 1);
    b.assign(n, 2);
  }
  void operator()() {
    std::memcpy(b.data(), a.data(), a.size());
    benchmark::DoNotOptimize(b.data());
    benchmark::ClobberMemory();
  }
};

template <class F>
double seconds(F& f) {
  const auto t0 = Clock::now();
  f();
  return std::chrono::duration<double>(Clock::now() - t0).count();
}

// Times `op` per iteration, and the peer (outside the reported time) right
// after it, so that both see the same load; `counter` is the sum of the
// operation's times over the sum of the peer's. `prepare` runs untimed first.
template <class Op, class Peer, class Prepare>
void timedAgainst(benchmark::State& state, const char* counter, Op op, Peer peer, Prepare prepare) {
  double opTotal = 0, peerTotal = 0;
  for (auto _ : state) {
    state.PauseTiming();
    prepare();
    state.ResumeTiming();
    opTotal += seconds(op);
    state.PauseTiming();
    peerTotal += seconds(peer);
    state.ResumeTiming();
  }
  state.counters[counter] = opTotal / peerTotal;
}

void useThreads(const benchmark::State& state) { qorv::setParallelRowsAllowed(state.range(0) == 2); }

void BM_Colourise(benchmark::State& state) {
  useThreads(state);
  cDIBSection& d = picture();
  cImageProcessDIB e;
  timedAgainst(state, "x_memcpy", [&] { e.Colourise(d, 30, 40, 10); }, MemcpyPeer(), [] {});
}

void BM_PaletteNearest256(benchmark::State& state) {
  useThreads(state);
  cDIBSection work;
  work.Create(kW, kH);
  cImageProcessDIB e;
  const std::size_t n = static_cast<std::size_t>(work.BytesPerScanLine()) * kH;
  const bool dither = state.range(1) != 0;
  timedAgainst(
      state, "x_memcpy", [&] { e.ApplyPalette(work, palette256(), dither); }, MemcpyPeer(),
      // A fresh picture each time: a mapped one would be all palette colours.
      [&] { std::memcpy(work.DIBSectionBitsPtr(), picture().DIBSectionBitsPtr(), n); });
}

void BM_RotateAngle(benchmark::State& state) {
  useThreads(state);
  cImageProcessDIB e;
  const auto quality = static_cast<std::int32_t>(state.range(1));
  auto run = [&] {
    auto out = e.RotateAngle(picture(), kAngle, 0, quality);
    benchmark::DoNotOptimize(out.get());
  };
  // The picture as the peers hold it: 32-bit for Qt's fastest path, 24-bit
  // for OpenCV, which works on the same bytes as ours.
  QImage q(kW, kH, QImage::Format_RGB32);
  for (int y = 0; y < kH; ++y) {
    const std::uint8_t* s = picture().View().row(kH - 1 - y);
    auto* line = reinterpret_cast<QRgb*>(q.scanLine(y));
    for (int x = 0; x < kW; ++x) line[x] = qRgb(s[3 * x + 2], s[3 * x + 1], s[3 * x]);
  }
  const auto qt = [&] {
    const QImage r = q.transformed(QTransform().rotate(kAngle), Qt::SmoothTransformation);
    benchmark::DoNotOptimize(r.constBits());
  };
#ifdef QORV_BENCH_OPENCV
  cv::setNumThreads(state.range(0) == 2 ? 2 : 1);
  const cv::Mat src(kH, kW, CV_8UC3, picture().DIBSectionBitsPtr(), static_cast<std::size_t>(picture().BytesPerScanLine()));
  const double c = std::fabs(std::cos(kAngle * CV_PI / 180)), s = std::fabs(std::sin(kAngle * CV_PI / 180));
  const cv::Size box(static_cast<int>(std::ceil(kW * c + kH * s)), static_cast<int>(std::ceil(kW * s + kH * c)));
  cv::Mat m = cv::getRotationMatrix2D(cv::Point2f(kW / 2.0f, kH / 2.0f), -kAngle, 1.0);
  m.at<double>(0, 2) += box.width / 2.0 - kW / 2.0;
  m.at<double>(1, 2) += box.height / 2.0 - kH / 2.0;
  cv::Mat dst;
  const auto opencv = [&] { cv::warpAffine(src, dst, m, box, cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar()); };
  double opTotal = 0, qtTotal = 0, cvTotal = 0;
  for (auto _ : state) {
    opTotal += seconds(run);
    state.PauseTiming();
    qtTotal += seconds(qt);
    cvTotal += seconds(opencv);
    state.ResumeTiming();
  }
  state.counters["x_opencv_linear"] = opTotal / cvTotal;
  state.counters["x_qt_smooth"] = opTotal / qtTotal;
#else
  timedAgainst(state, "x_qt_smooth", run, qt, [] {});
#endif
}

}  // namespace

BENCHMARK(BM_Colourise)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
// Second argument: 1 with Floyd-Steinberg diffusion.
BENCHMARK(BM_PaletteNearest256)->ArgsProduct({{1, 2}, {0}})->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PaletteNearest256)->Args({1, 1})->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);
// Second argument: quality 0 nearest, 1 bilinear, 2 bicubic.
BENCHMARK(BM_RotateAngle)->ArgsProduct({{1, 2}, {1}})->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_RotateAngle)->Args({2, 0})->Args({2, 2})->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

BENCHMARK_MAIN();
