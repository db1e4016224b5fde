// Loading and saving through the control against the bare library calls on
// the same 6000 x 4000 files, in the same run, and the peak memory of a load.
//
// Peers: Load/Control/* vs Load/Bare/*, Save/Control/* vs Save/Bare/*.
// Load/Control takes (input, render, isolated) and reports x_bare, its time
// over the bare library load of the same file measured in the same run; a
// small 640 x 480 JPEG shows the fixed cost of the isolated round trip.
// Memory: Load/PeakMemory/* (input, isolated) reports peak_x32, the growth of
// the host's peak resident set during one load divided by the picture's
// 32-bit size (an isolated decode's own memory is the helper's).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

#include <QApplication>
#include <QDir>
#include <QFile>

#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"

#include <FreeImage.h>

namespace {

constexpr int kW = 6000;
constexpr int kH = 4000;

QString workDir() {
  static const QString d = [] {
    const QString p = QDir::tempPath() + QStringLiteral("/qorv_bench_imageio");
    QDir().mkpath(p);
    return p;
  }();
  return d;
}

QByteArray native(const QString& name) { return QFile::encodeName(workDir() + u'/' + name); }

// A photo-like picture: smooth gradients with fine texture, so that both
// encoders work as they would on real content.
void makeInputs() {
  static bool done = false;
  if (done) return;
  done = true;
  FreeImage_Initialise(FALSE);
  FIBITMAP* dib = FreeImage_Allocate(kW, kH, 24);
  unsigned seed = 12345;
  for (int y = 0; y < kH; ++y) {
    BYTE* row = FreeImage_GetScanLine(dib, static_cast<unsigned>(y));
    for (int x = 0; x < kW; ++x) {
      seed = seed * 1103515245u + 12345u;
      const int noise = static_cast<int>((seed >> 16) & 15u) - 8;
      auto clamp = [](int v) { return static_cast<BYTE>(v < 0 ? 0 : v > 255 ? 255 : v); };
      row[x * 3 + FI_RGBA_RED] = clamp(x * 255 / kW + noise);
      row[x * 3 + FI_RGBA_GREEN] = clamp(y * 255 / kH + noise);
      row[x * 3 + FI_RGBA_BLUE] = clamp(((x + y) / 16) % 256 + noise);
    }
  }
  FreeImage_Save(FIF_JPEG, dib, native(QStringLiteral("in.jpg")).constData(), 90);
  FreeImage_Save(FIF_PNG, dib, native(QStringLiteral("in.png")).constData(), PNG_Z_BEST_SPEED);
  FIBITMAP* small = FreeImage_Rescale(dib, 640, 480, FILTER_BILINEAR);
  FreeImage_Save(FIF_JPEG, small, native(QStringLiteral("small.jpg")).constData(), 90);
  FreeImage_Unload(small);
  FreeImage_Unload(dib);
}

struct Input {
  const char* file;
  FREE_IMAGE_FORMAT fif;
  int flags;  // what the control passes: JPEG_LOAD_QUALITY (2 by default) for JPEG, 0 otherwise
};
const Input kInputs[] = {{"in.jpg", FIF_JPEG, 2}, {"in.png", FIF_PNG, 0}, {"small.jpg", FIF_JPEG, 2}};

double bareLoadSeconds(const Input& in) {
  const QByteArray path = native(QString::fromLatin1(in.file));
  constexpr int kRuns = 3;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kRuns; ++i) FreeImage_Unload(FreeImage_Load(in.fif, path.constData(), in.flags));
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / kRuns;
}

void LoadBare(benchmark::State& state) {
  makeInputs();
  const Input& in = kInputs[state.range(0)];
  const QByteArray path = native(QString::fromLatin1(in.file));
  for (auto _ : state) {
    FIBITMAP* dib = FreeImage_Load(in.fif, path.constData(), in.flags);
    benchmark::DoNotOptimize(dib);
    FreeImage_Unload(dib);
  }
  state.SetLabel(in.file);
}

void LoadControl(benchmark::State& state) {
  makeInputs();
  const Input& in = kInputs[state.range(0)];
  const bool render = state.range(1) != 0;
  const bool isolated = state.range(2) != 0;
  const QString path = workDir() + u'/' + QString::fromLatin1(in.file);
  qorv::QorvPicture control;
  control.setIsolatedDecoding(isolated);
  control.resize(800, 600);
  qorv::QorvPicturePrivate::of(control).handleResize();
  control.LoadFreeImage(path, -1, QString(), true);  // the helper is started once, as in a viewer
  const double bare = bareLoadSeconds(in);
  double spent = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    if (!control.LoadFreeImage(path, -1, QString(), !render)) state.SkipWithError("load failed");
    spent += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  state.counters["x_bare"] = spent / static_cast<double>(state.iterations()) / bare;
  state.counters["bare_ms"] = bare * 1000.0;
  state.SetLabel(QStringLiteral("%1%2%3")
                     .arg(QLatin1String(in.file), render ? QStringLiteral(" +frame") : QString(),
                          isolated ? QStringLiteral(" isolated") : QStringLiteral(" in-process"))
                     .toStdString());
}

long residentKiB(const char* field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  const std::size_t n = std::strlen(field);
  while (std::getline(status, line))
    if (line.compare(0, n, field) == 0) return std::stol(line.substr(n + 1));
  return -1;
}

// Linux resets the peak resident set to the current one on request.
bool resetPeak() {
  std::ofstream f("/proc/self/clear_refs");
  f << "5";
  return static_cast<bool>(f);
}

void LoadPeakMemory(benchmark::State& state) {
  makeInputs();
  const Input& in = kInputs[state.range(0)];
  const bool isolated = state.range(1) != 0;
  const QString path = workDir() + u'/' + QString::fromLatin1(in.file);
  double worst = 0;
  for (auto _ : state) {
    state.PauseTiming();
    auto control = std::make_unique<qorv::QorvPicture>();
    control->setIsolatedDecoding(isolated);
    control->resize(800, 600);
    qorv::QorvPicturePrivate::of(*control).handleResize();
    const long before = residentKiB("VmRSS:");
    if (!resetPeak()) state.SkipWithError("cannot reset the peak resident set");
    state.ResumeTiming();
    control->LoadFreeImage(path, -1, QString(), false);
    state.PauseTiming();
    const long peak = residentKiB("VmHWM:");
    worst = std::max(worst, static_cast<double>(peak - before) * 1024.0 / (4.0 * kW * kH));
    control.reset();
    state.ResumeTiming();
  }
  state.counters["peak_x32"] = worst;
  state.SetLabel(std::string(in.file) + (isolated ? " isolated" : " in-process"));
}

struct Output {
  const char* file;
  FREE_IMAGE_FORMAT fif;
};
const Output kOutputs[] = {{"out.bmp", FIF_BMP}, {"out.jpg", FIF_JPEG}};

void SaveBare(benchmark::State& state) {
  makeInputs();
  const Output& o = kOutputs[state.range(0)];
  FIBITMAP* dib = FreeImage_Load(FIF_JPEG, native(QStringLiteral("in.jpg")).constData(), 2);
  const QByteArray path = native(QStringLiteral("bare_") + QString::fromLatin1(o.file));
  for (auto _ : state) {
    if (!FreeImage_Save(o.fif, dib, path.constData(), 0)) state.SkipWithError("save failed");
  }
  FreeImage_Unload(dib);
  state.SetLabel(o.file);
}

void SaveControl(benchmark::State& state) {
  makeInputs();
  const Output& o = kOutputs[state.range(0)];
  qorv::QorvPicture control;
  control.resize(800, 600);
  qorv::QorvPicturePrivate::of(control).handleResize();
  control.LoadFreeImage(workDir() + QStringLiteral("/in.jpg"), -1, QString(), true);
  const QString path = workDir() + QStringLiteral("/ctl_") + QString::fromLatin1(o.file);
  for (auto _ : state) {
    if (!control.SaveFreeImage(path, 0, -1, false)) state.SkipWithError("save failed");
  }
  state.SetLabel(o.file);
}

BENCHMARK(LoadBare)->Name("Load/Bare")->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(LoadControl)
    ->Name("Load/Control")
    ->ArgsProduct({{0, 1}, {0, 1}, {0, 1}})
    ->Args({2, 0, 0})
    ->Args({2, 0, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()  // an isolated decode runs in another process
    ->Iterations(5);
BENCHMARK(LoadPeakMemory)
    ->Name("Load/PeakMemory")
    ->ArgsProduct({{0, 1}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(2);
BENCHMARK(SaveBare)->Name("Save/Bare")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(SaveControl)->Name("Save/Control")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
