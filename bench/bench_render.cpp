// Frame cost of the control's render pipeline for a large picture in a
// full-HD control, next to a plain copy of one frame measured in the same run.
#include "FramePeer.h"
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <QApplication>

#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"
#include "platform/GdiSurface.h"
#include <QorvPictureBox/Picture.h>
#include "platform/Timer.h"
#include <QorvPictureBox/gdi.h>

namespace {

constexpr int kPicW = 6000, kPicH = 4000, kPaneW = 1920, kPaneH = 1080;

long maxRssKb() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return u.ru_maxrss;
}

qorv::PicturePtr bigPicture() {
  const gdi::HBITMAP bm = gdi::CreateCompatibleBitmap(0, kPicW, kPicH);
  gdi::Surface s;
  if (bm && gdi::BitmapSurface(bm, s)) {
    for (int y = 0; y < s.height; ++y) {
      auto* row = reinterpret_cast<std::uint32_t*>(s.row(y));
      for (int x = 0; x < s.width; ++x) row[x] = static_cast<std::uint32_t>(x * 2654435761u ^ y * 40503u);
    }
  }
  return qorv::Picture::fromBitmap(bm);
}

struct Shared {
  std::unique_ptr<qorv::QorvPicture> ctl;
  qorv::PicturePtr pic;
};

Shared& shared() {
  static Shared s;
  if (!s.ctl) {
    s.pic = bigPicture();
    s.ctl = std::make_unique<qorv::QorvPicture>();
    s.ctl->resize(kPaneW, kPaneH);
    qorv::QorvPicturePrivate::of(*s.ctl).handleResize();
    s.ctl->setPicture(s.pic);
  }
  return s;
}

void BM_MemcpyFrame(benchmark::State& st) { memcpyFrame(st, static_cast<std::size_t>(kPaneW) * kPaneH); }

void setView(qorv::QorvPicture& c, bool fromOriginal, qint16 zoom, int zoomType, int ox, int oy) {
  c.setLockUpdate(true);
  c.setZoomFromOriginal(fromOriginal);
  c.setZoom(zoom);
  c.setZoomType(zoomType);
  c.setHQInitialDelay(250);
  c.setIgnoreOffsetBorder(true);
  qorv::QorvPicturePrivate::of(c).setOffsetsSilently(ox, oy);
  c.setLockUpdate(false);
}

void BM_RenderFitHalftone(benchmark::State& st) {
  auto& c = *shared().ctl;
  setView(c, false, 100, 4, 0, 0);
  for (auto _ : st) c.Refresh(false);
}

void BM_RenderFitFast(benchmark::State& st) {
  auto& c = *shared().ctl;
  setView(c, false, 100, 4, 0, 0);
  for (auto _ : st) c.Refresh(true);  // initial frame: fast mode, quality pass pending
  qorv::QorvPicturePrivate::of(c).InitTimer().setEnabled(false);
}

void BM_Render100Offset(benchmark::State& st) {
  auto& c = *shared().ctl;
  setView(c, true, 100, 3, -1234, 567);
  for (auto _ : st) c.Refresh(false);
}

void BM_Render1000Offset(benchmark::State& st) {
  auto& c = *shared().ctl;
  setView(c, true, 1000, 3, -123456, 54321);
  for (auto _ : st) c.Refresh(false);
}

BENCHMARK(BM_MemcpyFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RenderFitHalftone)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RenderFitFast)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Render100Offset)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Render1000Offset)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  // Peak memory of showing the picture, against its own 32-bit size.
  const long before = maxRssKb();
  shared();
  const long after = maxRssKb();
  const double picMb = kPicW * static_cast<double>(kPicH) * 4 / 1048576.0;
  const double frameMb = kPaneW * static_cast<double>(kPaneH) * 4 / 1048576.0;
  std::printf("peak memory: +%.1f MB for a %.1f MB picture (budget 1.2x + 3 frames = %.1f MB)\n",
              (after - before) / 1024.0, picMb, 1.2 * picMb + 3 * frameMb);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
