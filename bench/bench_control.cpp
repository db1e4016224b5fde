// Image operations through the control on a 6000 x 4000 picture, each next to
// its peers in the same run: the engine alone on the working image, memcpy of
// the 96 MB picture, and OpenCV and Pillow where the benchmark build found
// them. Every case starts from the same picture, assigned outside the timing;
// the row pool has both threads. Read x_ref (the median ratio to a memcpy of
// the 96 MB picture timed right after each iteration) and x_<peer> (the
// ratio of the two cases' x_ref), see Medians.h.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <QApplication>
#include <QDir>
#include <QFile>

#include <QorvPictureBox/QorvPicture.h>
#include <QorvPictureBox/gdi.h>

#include "Medians.h"
#include "control/QorvPicturePrivate.h"
#include "platform/GdiSurface.h"
#include "BenchPictures.h"
#include "platform/RowParallel.h"
#include "platform/ScopedGdi.h"
#include "processing/Rotation.h"
#include "processing/cDIBSection.h"
#include "processing/cImageProcessDIB.h"

// After the platform headers: FreeImage.h defines TRUE and FALSE as macros.
#include <FreeImage.h>

#ifdef QORV_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using bench::measure;

constexpr int kW = 6000;
constexpr int kH = 4000;
constexpr int kResampleW = 9000;
constexpr int kResampleH = 6000;
constexpr std::size_t kBytes32 = std::size_t{kW} * kH * 4;

// A photograph-like picture: smooth colour gradients with fine noise, so that
// black and white spreads real errors and no operation meets a flat image.
std::uint32_t photoPixel(int x, int y, std::uint32_t& seed) {
  seed = seed * 1103515245u + 12345u;
  const int n = static_cast<int>((seed >> 16) & 15u) - 8;
  auto ch = [n](double v) {
    const int c = static_cast<int>(v) + n;
    return static_cast<std::uint32_t>(c < 0 ? 0 : c > 255 ? 255 : c);
  };
  const double fx = x / double(kW), fy = y / double(kH);
  const std::uint32_t r = ch(128 + 120 * std::sin(fx * 7 + fy * 3));
  const std::uint32_t g = ch(255 * fy);
  const std::uint32_t b = ch(128 + 100 * std::cos(fx * 11 - fy * 5));
  return (r << 16) | (g << 8) | b;
}

const qorv::PicturePtr& photo() {
  static const qorv::PicturePtr pic = [] {
    const gdi::HBITMAP bm = gdi::CreateCompatibleBitmap(0, kW, kH);
    gdi::Surface s;
    std::uint32_t seed = 7;
    if (bm && gdi::BitmapSurface(bm, s)) {
      for (int y = 0; y < kH; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(s.row(y));
        for (int x = 0; x < kW; ++x) row[x] = photoPixel(x, y, seed);
      }
    }
    return qorv::Picture::fromBitmap(bm);
  }();
  return pic;
}

// The photo as a 24-bit working image (bottom-up rows).
void fillWorking(qorv::cDIBSection& d) { d.CreateFromPicture(photo()->Handle()); }

void bothThreads() { qorv::setParallelRowsAllowed(true); }

// Files the cases write and read, in one temporary directory.
QString benchDir() {
  const QString dir = QDir::tempPath() + QStringLiteral("/qorv_bench_control");
  QDir().mkpath(dir);
  return dir;
}
std::string benchFile(const char* name) {
  return QFile::encodeName(benchDir() + u'/' + QLatin1String(name)).toStdString();
}

// --- peers: memory bandwidth ----------------------------------------------------

// The reference every case is timed against right after each iteration.
void copyPicture() {
  static std::vector<std::uint8_t> a(kBytes32, 1), b(kBytes32, 2);
  std::memcpy(b.data(), a.data(), kBytes32);
  benchmark::DoNotOptimize(b.data());
}

void Memcpy96(benchmark::State& state) { measure(state, "memcpy96", {}, copyPicture); }

// --- peers: the engine alone on the working image ---------------------------------

void EngineSharpen(benchmark::State& state) {
  bothThreads();
  qorv::cDIBSection image, buffer;
  buffer.Create(kW, kH);
  qorv::cImageProcessDIB engine;
  engine.setFilterType(qorv::filter::eSharpen);
  measure(state, "engine_sharpen", {}, [&] { fillWorking(image); },
          [&] { engine.ProcessImage(image, buffer); });
}

void EngineGrayscale(benchmark::State& state) {
  bothThreads();
  qorv::cDIBSection image;
  qorv::cImageProcessDIB engine;
  measure(state, "engine_grayscale", {}, [&] { fillWorking(image); }, [&] { engine.Grayscale(image); });
}

void EngineQuarterTurn(benchmark::State& state) {
  bothThreads();
  const bench::QuarterTurnPanes panes(kW, kH);
  const gdi::HDC src = panes.src.get(), dst = panes.dst.get();
  const qorv::ScopedMemDC pic(gdi::CreateCompatibleDC(0));
  {
    const qorv::ScopedSelect selPic(pic.get(), photo()->Handle());
    gdi::BitBlt(src, 0, 0, kW, kH, pic.get(), 0, 0, gdi::SRCCOPY);
  }
  measure(state, "engine_quarter_turn", {},
          [&] { qorv::rotateBlt(dst, kH / 2, kW / 2, 90, src, 0, 0, kW, kH); });
}

void EngineResample(benchmark::State& state) {
  bothThreads();
  qorv::cDIBSection image;
  fillWorking(image);
  measure(state, "engine_resample", {}, [&] {
    auto out = image.Resample(kResampleH, kResampleW);
    benchmark::DoNotOptimize(out.get());
  });
}

void EngineBlackAndWhite(benchmark::State& state) {
  bothThreads();
  qorv::cDIBSection image, result;
  result.Create(kW, kH);
  qorv::cImageProcessDIB engine;
  measure(state, "engine_bw", {}, [&] { fillWorking(image); },
          [&] { engine.BlackAndWhite(image, result); });
}

// The format-converting copies every image operation starts and ends with.
void Blit32To24(benchmark::State& state) {
  bothThreads();
  qorv::cDIBSection image;
  image.Create(kW, kH);
  const qorv::ScopedMemDC pic(gdi::CreateCompatibleDC(0));
  const qorv::ScopedSelect sel(pic.get(), photo()->Handle());
  measure(state, "blit_32_to_24", {},
          [&] { gdi::BitBlt(image.hdc(), 0, 0, kW, kH, pic.get(), 0, 0, gdi::SRCCOPY); });
}

void Blit24To32(benchmark::State& state) {
  bothThreads();
  qorv::cDIBSection image;
  fillWorking(image);
  const qorv::ScopedMemDC dc(gdi::CreateCompatibleDC(0));
  const qorv::ScopedBitmap bm(gdi::CreateCompatibleBitmap(0, kW, kH));
  const qorv::ScopedSelect sel(dc.get(), bm.get());
  measure(state, "blit_24_to_32", {},
          [&] { gdi::BitBlt(dc.get(), 0, 0, kW, kH, image.hdc(), 0, 0, gdi::SRCCOPY); });
}

// --- peers: OpenCV, two threads, destinations reused across iterations ---------------

#ifdef QORV_BENCH_OPENCV
cv::Mat photoMat(int type) {
  cv::Mat m(kH, kW, type);
  gdi::Surface s;
  gdi::BitmapSurfaceRead(photo()->Handle(), s);
  for (int y = 0; y < kH; ++y) {
    const std::uint8_t* in = s.row(y);
    std::uint8_t* out = m.ptr<std::uint8_t>(y);
    const int n = m.channels();
    for (int x = 0; x < kW; ++x)
      for (int c = 0; c < n; ++c) out[x * n + c] = c < 3 ? in[x * 4 + c] : 0;
  }
  return m;
}

void OpenCvFilter2D(benchmark::State& state) {
  cv::setNumThreads(2);
  const cv::Mat src = photoMat(CV_8UC3);
  cv::Mat dst;
  cv::Mat kernel(3, 3, CV_32F, cv::Scalar(-1.0f / 7));
  kernel.at<float>(1, 1) = 15.0f / 7;
  measure(state, "cv_filter2d", {}, [&] { cv::filter2D(src, dst, -1, kernel); });
}

void OpenCvGrayPair(benchmark::State& state) {
  cv::setNumThreads(2);
  const cv::Mat src = photoMat(CV_8UC3);
  cv::Mat gray, dst;
  measure(state, "cv_cvtcolor_pair", {}, [&] {
    cv::cvtColor(src, gray, cv::COLOR_BGR2GRAY);
    cv::cvtColor(gray, dst, cv::COLOR_GRAY2BGR);
  });
}

void OpenCvRotate(benchmark::State& state) {
  cv::setNumThreads(2);
  const cv::Mat src = photoMat(CV_8UC4);
  cv::Mat dst;
  measure(state, "cv_rotate", {}, [&] { cv::rotate(src, dst, cv::ROTATE_90_CLOCKWISE); });
}

void OpenCvResize(benchmark::State& state) {
  cv::setNumThreads(2);
  const cv::Mat src = photoMat(CV_8UC3);
  cv::Mat dst;
  measure(state, "cv_resize_linear", {},
          [&] { cv::resize(src, dst, cv::Size(kResampleW, kResampleH), 0, 0, cv::INTER_LINEAR); });
}
#endif

// --- peer: Pillow's Floyd-Steinberg, timed by the script in the same run ------------

void PillowFloydSteinberg(benchmark::State& state) {
  const QString file = benchDir() + QStringLiteral("/photo.bmp");
  if (!QFile::exists(file) && !photo()->toImage().save(file)) {
    state.SkipWithError("cannot write the picture for Pillow");
    return;
  }
  // Debian's Pillow belongs to the system's interpreter, whatever else is first on the path.
  const std::string python = QFile::exists(QStringLiteral("/usr/bin/python3")) ? "/usr/bin/python3" : "python3";
  const std::string cmd = python + " '" + QORV_BENCH_SOURCE_DIR + "/pillow_peer.py' '" +
                          QFile::encodeName(file).toStdString() + "' 5 2>/dev/null";
  std::vector<double> ms;
  for (auto _ : state) {
    std::FILE* p = popen(cmd.c_str(), "r");
    if (!p) break;
    double v = 0;
    while (std::fscanf(p, "%lf", &v) == 1) ms.push_back(v);
    pclose(p);
  }
  if (ms.empty()) {
    state.SkipWithError("Pillow is not installed (python3-pil)");
    return;
  }
  bench::report(state, "pillow_fs", ms, {}, {});
}

// --- peers: bare FreeImage on the same files --------------------------------------------


// The photo as a 24-bit library bitmap, as files hold it.
FIBITMAP* photoDib() {
  static FIBITMAP* dib = [] {
    FIBITMAP* d = FreeImage_Allocate(kW, kH, 24);
    gdi::Surface s;
    if (d && gdi::BitmapSurfaceRead(photo()->Handle(), s)) {
      for (int y = 0; y < kH; ++y) {
        const std::uint8_t* in = s.row(y);
        BYTE* out = FreeImage_GetScanLine(d, kH - 1 - y);
        for (int x = 0; x < kW; ++x) std::memcpy(out + 3 * x, in + 4 * x, 3);
      }
    }
    return d;
  }();
  return dib;
}

// The photo written once as `name`, for the loads.
const std::string& photoFile(FREE_IMAGE_FORMAT fif, const char* name) {
  static std::map<std::string, std::string> made;
  std::string& path = made[name];
  if (path.empty()) {
    path = benchFile(name);
    FreeImage_Save(fif, photoDib(), path.c_str(), 0);
  }
  return path;
}

void FreeImageLoad(benchmark::State& state, FREE_IMAGE_FORMAT fif, const char* name, const std::string& key) {
  const std::string& path = photoFile(fif, name);
  measure(state, key, {}, [&] {
    FIBITMAP* d = FreeImage_Load(fif, path.c_str(), 0);
    benchmark::DoNotOptimize(d);
    FreeImage_Unload(d);
  });
}
void FreeImageLoadJpeg(benchmark::State& s) { FreeImageLoad(s, FIF_JPEG, "photo.jpg", "fi_load_jpeg"); }
void FreeImageLoadPng(benchmark::State& s) { FreeImageLoad(s, FIF_PNG, "photo.png", "fi_load_png"); }

void FreeImageSave(benchmark::State& state, FREE_IMAGE_FORMAT fif, const char* name, const std::string& key) {
  const std::string path = benchFile(name);
  measure(state, key, {}, [&] { FreeImage_Save(fif, photoDib(), path.c_str(), 0); });
}
void FreeImageSaveJpeg(benchmark::State& s) { FreeImageSave(s, FIF_JPEG, "bare.jpg", "fi_save_jpeg"); }
void FreeImageSaveBmp(benchmark::State& s) { FreeImageSave(s, FIF_BMP, "bare.bmp", "fi_save_bmp"); }

// --- the control ---------------------------------------------------------------------

struct Control {
  qorv::QorvPicture control;
  Control() {
    control.resize(800, 600);
    qorv::QorvPicturePrivate::of(control).handleResize();
  }
  void reset() { control.setPicture(photo()); }
};

template <class Op>
void throughControl(benchmark::State& state, const std::string& key, const std::vector<std::string>& peers,
                    Op op) {
  bothThreads();
  Control c;
  measure(state, key, peers, [&] { c.reset(); }, [&] { op(c.control); });
}

void ControlGrayscale(benchmark::State& s) {
  throughControl(s, "control_grayscale", {"engine_grayscale", "cv_cvtcolor_pair"},
                 [](qorv::QorvPicture& c) { c.Grayscale(); });
}
void ControlInvert(benchmark::State& s) {
  throughControl(s, "control_invert", {}, [](qorv::QorvPicture& c) { c.Invert(); });
}
void ControlDarken(benchmark::State& s) {
  throughControl(s, "control_darken", {}, [](qorv::QorvPicture& c) { c.Darken(QVariant(200)); });
}
void ControlSharpen(benchmark::State& s) {
  throughControl(s, "control_sharpen", {"engine_sharpen", "cv_filter2d"},
                 [](qorv::QorvPicture& c) { c.ApplyFilter(qorv::filter::eSharpen, 0); });
}
void ControlRotate(benchmark::State& s) {
  throughControl(s, "control_rotate", {"engine_quarter_turn", "cv_rotate"},
                 [](qorv::QorvPicture& c) { c.Rotate(true); });
}
void ControlResample(benchmark::State& s) {
  throughControl(s, "control_resample", {"engine_resample", "cv_resize_linear"},
                 [](qorv::QorvPicture& c) { c.Resample(kResampleW, kResampleH); });
}
void ControlBlackAndWhite(benchmark::State& s) {
  throughControl(s, "control_bw", {"engine_bw", "pillow_fs"},
                 [](qorv::QorvPicture& c) { c.BlackAndWhite(); });
}

// Loads as the command-line tool does (DoNotRender), and as a viewer does:
// rendered into the view at once. By default the file is decoded in the
// confined helper process; the in-process cases show what that costs.
void ControlLoad(benchmark::State& state, FREE_IMAGE_FORMAT fif, const char* name, const std::string& key,
                 const std::string& peer, bool render = false, bool isolated = true) {
  bothThreads();
  const QString path = QFile::decodeName(QByteArray::fromStdString(photoFile(fif, name)));
  Control c;
  c.control.setIsolatedDecoding(isolated);
  measure(state, key, {peer}, [&] { c.control.LoadFreeImage(path, -1, QString(), !render); });
}
void ControlLoadJpeg(benchmark::State& s) { ControlLoad(s, FIF_JPEG, "photo.jpg", "control_load_jpeg", "fi_load_jpeg"); }
void ControlLoadPng(benchmark::State& s) { ControlLoad(s, FIF_PNG, "photo.png", "control_load_png", "fi_load_png"); }
void ControlLoadJpegInProcess(benchmark::State& s) {
  ControlLoad(s, FIF_JPEG, "photo.jpg", "control_load_jpeg_in_process", "fi_load_jpeg", false, false);
}
void ControlLoadPngInProcess(benchmark::State& s) {
  ControlLoad(s, FIF_PNG, "photo.png", "control_load_png_in_process", "fi_load_png", false, false);
}
void ControlLoadJpegShown(benchmark::State& s) {
  ControlLoad(s, FIF_JPEG, "photo.jpg", "control_load_jpeg_shown", "fi_load_jpeg", true);
}

// Saves with the flush before the rename, and without it (SyncOnSave off).
void ControlSave(benchmark::State& state, const char* name, bool sync, const std::string& key,
                 const std::string& peer) {
  bothThreads();
  const QString path = benchDir() + u'/' + QLatin1String(name);
  Control c;
  c.reset();
  c.control.setSyncOnSave(sync);
  measure(state, key, {peer}, [&] { c.control.SaveFreeImage(path); });
}
void ControlSaveJpeg(benchmark::State& s) { ControlSave(s, "control.jpg", false, "control_save_jpeg", "fi_save_jpeg"); }
void ControlSaveBmp(benchmark::State& s) { ControlSave(s, "control.bmp", false, "control_save_bmp", "fi_save_bmp"); }
void ControlSaveJpegSynced(benchmark::State& s) {
  ControlSave(s, "control.jpg", true, "control_save_jpeg_sync", "fi_save_jpeg");
}
void ControlSaveBmpSynced(benchmark::State& s) {
  ControlSave(s, "control.bmp", true, "control_save_bmp_sync", "fi_save_bmp");
}

#define QORV_CASE(fn, n) BENCHMARK(fn)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(n)

QORV_CASE(Memcpy96, 15);
QORV_CASE(EngineSharpen, 9);
QORV_CASE(EngineGrayscale, 9);
QORV_CASE(EngineQuarterTurn, 9);
QORV_CASE(EngineResample, 5);
QORV_CASE(EngineBlackAndWhite, 5);
QORV_CASE(Blit32To24, 9);
QORV_CASE(Blit24To32, 9);
#ifdef QORV_BENCH_OPENCV
QORV_CASE(OpenCvFilter2D, 9);
QORV_CASE(OpenCvGrayPair, 9);
QORV_CASE(OpenCvRotate, 9);
QORV_CASE(OpenCvResize, 5);
#endif
QORV_CASE(PillowFloydSteinberg, 1);
QORV_CASE(FreeImageLoadJpeg, 5);
QORV_CASE(FreeImageLoadPng, 5);
QORV_CASE(FreeImageSaveJpeg, 5);
QORV_CASE(FreeImageSaveBmp, 5);
QORV_CASE(ControlGrayscale, 9);
QORV_CASE(ControlInvert, 9);
QORV_CASE(ControlDarken, 9);
QORV_CASE(ControlSharpen, 9);
QORV_CASE(ControlRotate, 9);
QORV_CASE(ControlResample, 5);
QORV_CASE(ControlBlackAndWhite, 5);
QORV_CASE(ControlLoadJpeg, 5);
QORV_CASE(ControlLoadPng, 5);
QORV_CASE(ControlLoadJpegInProcess, 5);
QORV_CASE(ControlLoadPngInProcess, 5);
QORV_CASE(ControlLoadJpegShown, 5);
QORV_CASE(ControlSaveJpeg, 5);
QORV_CASE(ControlSaveBmp, 5);
QORV_CASE(ControlSaveJpegSynced, 5);
QORV_CASE(ControlSaveBmpSynced, 5);

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  bench::reference() = copyPicture;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
