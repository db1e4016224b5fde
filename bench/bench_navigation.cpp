// The interactive view's cost as the user feels it: a 6000 x 4000 picture in a
// 1920 x 1080 control, synthetic Qt input events sent to the visible pane and
// the frame they show. Peers in the same run: a memcpy of one frame and Qt's
// own smooth scaling. Ratios are reported as counters ("x_memcpy",
// "x_qt_smooth"); a right-drag zoom gesture reports frames per second.
#include "FramePeer.h"
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <vector>

#include <QApplication>
#include <QImage>
#include <QMouseEvent>

#include <QorvPictureBox/Picture.h>
#include <QorvPictureBox/QorvPicture.h>
#include <QorvPictureBox/gdi.h>

#include "control/QorvPicturePrivate.h"
#include "platform/GdiSurface.h"
#include "platform/PictureBox.h"
#include "platform/Timer.h"

namespace {

using qorv::QorvPicture;
using qorv::QorvPicturePrivate;

constexpr int kPicW = 6000, kPicH = 4000, kPaneW = 1920, kPaneH = 1080;

QImage noiseImage() {
  QImage img(kPicW, kPicH, QImage::Format_RGB32);
  for (int y = 0; y < kPicH; ++y) {
    auto* row = reinterpret_cast<std::uint32_t*>(img.scanLine(y));
    for (int x = 0; x < kPicW; ++x) row[x] = 0xFF000000u | static_cast<std::uint32_t>(x * 2654435761u ^ y * 40503u);
  }
  return img;
}

struct Shared {
  QImage image;
  std::unique_ptr<QorvPicture> ctl;
  QWidget* pane = nullptr;
};

Shared& shared() {
  static Shared s;
  if (!s.ctl) {
    s.image = noiseImage();
    s.ctl = std::make_unique<QorvPicture>();
    s.ctl->resize(kPaneW, kPaneH);
    QorvPicturePrivate::of(*s.ctl).handleResize();
    s.ctl->setHQInitialDelay(250);
    s.ctl->setPicture(qorv::Picture::fromImage(s.image));
    s.pane = QorvPicturePrivate::of(*s.ctl).picPane().widget();
  }
  return s;
}

using Clock = std::chrono::steady_clock;

double since(Clock::time_point t0) { return std::chrono::duration<double>(Clock::now() - t0).count(); }

// Mean seconds of one memcpy of a 1920 x 1080 x 4 frame over `n` copies.
double memcpyFrameSeconds(int n) {
  static std::vector<std::uint32_t> a(static_cast<std::size_t>(kPaneW) * kPaneH, 1), b(a.size());
  const auto t0 = Clock::now();
  for (int i = 0; i < n; ++i) {
    std::memcpy(b.data(), a.data(), a.size() * 4);
    benchmark::DoNotOptimize(b.data());
    benchmark::ClobberMemory();
  }
  return since(t0) / n;
}

// A ratio to a peer measured right after the timed loop, under the same load
// of the machine: the loop's mean real time over the peer's.
void reportRatio(benchmark::State& st, const char* name, double loopSeconds, double peerSeconds) {
  const double per = loopSeconds / static_cast<double>(std::max<benchmark::IterationCount>(st.iterations(), 1));
  st.counters[name] = per / peerSeconds;
}

int peerRuns(const benchmark::State& st, int most) {
  return static_cast<int>(std::clamp<benchmark::IterationCount>(st.iterations(), 1, most));
}

void send(QWidget* w, QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons held, QPointF at) {
  QMouseEvent e(type, at, w->mapToGlobal(at), button, held, Qt::NoModifier);
  QApplication::sendEvent(w, &e);
}

// Zoom (from the original size when `fromOriginal`, else of the fitted size),
// the fast stretch mode for frames while a button is down, the quality mode
// otherwise, and a centred view.
void setView(QorvPicture& c, bool fromOriginal, qint16 zoom) {
  c.setLockUpdate(true);
  c.setVisualZoom(true);
  c.setZoomFromOriginal(fromOriginal);
  c.setZoom(zoom);
  c.setZoomType(gdi::HALFTONE);
  QorvPicturePrivate::of(c).setOffsetsSilently(0, 0);
  c.setLockUpdate(false);
}

void settle(QorvPicture& c) {
  QorvPicturePrivate& d = QorvPicturePrivate::of(c);
  d.UpdateTimer().setEnabled(false);
  d.InitTimer().setEnabled(false);
}

void BM_MemcpyFrame(benchmark::State& st) { memcpyFrame(st, static_cast<std::size_t>(kPaneW) * kPaneH); }

// One left-drag move in, one fast frame out. At fit nothing overflows the
// pane, so a move pans nothing: the figure there is the fast frame a drag
// shows (the control's Refresh while the button is down).
void BM_PanMove(benchmark::State& st) {
  Shared& s = shared();
  QorvPicture& c = *s.ctl;
  const bool fit = st.range(0) == 0;
  setView(c, !fit, fit ? 100 : static_cast<qint16>(st.range(0)));
  const QPointF centre(kPaneW / 2.0, kPaneH / 2.0);
  send(s.pane, QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton, centre);
  int i = 0;
  const auto t0 = Clock::now();
  for (auto _ : st) {
    if (fit) {
      c.Refresh(false);
    } else {
      // Four points around the centre: every move changes both offsets.
      const int k = i++;
      const QPointF to = centre + QPointF((k & 1) != 0 ? 7 : -7, (k & 2) != 0 ? 5 : -5);
      send(s.pane, QEvent::MouseMove, Qt::NoButton, Qt::LeftButton, to);
    }
  }
  const double loop = since(t0);
  send(s.pane, QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton, centre);
  settle(c);
  reportRatio(st, "x_memcpy", loop, memcpyFrameSeconds(peerRuns(st, 200)));
}

// Where a fit fast frame's time goes: the COLORONCOLOR shrink of the whole
// picture into the back buffer alone, and the clear of the back buffer alone;
// the rest of BM_PanMove/zoom:0 is handing the frame to the pane.
void BM_FitFramePart(benchmark::State& st) {
  QorvPicture& c = *shared().ctl;
  setView(c, false, 100);
  QorvPicturePrivate& d = QorvPicturePrivate::of(c);
  const bool shrink = st.range(0) == 0;
  const int w = qRound(c.PictureW());
  const int h = qRound(c.PictureH());
  const gdi::HDC dst = d.bBuffer().hDC();
  const gdi::HDC src = d.Buffer().hDC();
  gdi::SetStretchBltMode(dst, gdi::COLORONCOLOR);
  const auto t0 = Clock::now();
  for (auto _ : st) {
    if (shrink)
      gdi::StretchBlt(dst, (kPaneW - w) / 2, (kPaneH - h) / 2, w, h, src, 0, 0, kPicW, kPicH, gdi::SRCCOPY);
    else
      d.bBuffer().Cls();
  }
  reportRatio(st, "x_memcpy", since(t0), memcpyFrameSeconds(peerRuns(st, 200)));
}

// The quality pass InitTimer runs after a load: a HALFTONE frame at fit,
// next to Qt's smooth scaling of the same picture to the same size.
QImage qtSmoothFit(const QImage& image) {
  const QSize fitted = image.size().scaled(kPaneW, kPaneH, Qt::KeepAspectRatio);
  return image.scaled(fitted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

void BM_QualityPassFit(benchmark::State& st) {
  QorvPicture& c = *shared().ctl;
  setView(c, false, 100);
  const auto t0 = Clock::now();
  for (auto _ : st) c.Refresh(false);
  const double loop = since(t0);
  const int n = peerRuns(st, 10);
  const auto p0 = Clock::now();
  for (int i = 0; i < n; ++i) {
    QImage out = qtSmoothFit(shared().image);
    benchmark::DoNotOptimize(out.constBits());
  }
  reportRatio(st, "x_qt_smooth", loop, since(p0) / n);
}

void BM_QtSmoothScaledFit(benchmark::State& st) {
  Shared& s = shared();
  for (auto _ : st) {
    QImage out = qtSmoothFit(s.image);
    benchmark::DoNotOptimize(out.constBits());
  }
}

// A whole right-drag zoom gesture with live redraw: press, 100 moves of two
// pixels upward (one frame each), release.
void BM_ZoomGesture(benchmark::State& st) {
  Shared& s = shared();
  QorvPicture& c = *s.ctl;
  constexpr int kMoves = 100;
  const QPointF start(kPaneW / 2.0, kPaneH - 100.0);
  for (auto _ : st) {
    st.PauseTiming();
    setView(c, true, 50);
    st.ResumeTiming();
    send(s.pane, QEvent::MouseButtonPress, Qt::RightButton, Qt::RightButton, start);
    for (int m = 1; m <= kMoves; ++m)
      send(s.pane, QEvent::MouseMove, Qt::NoButton, Qt::RightButton, start - QPointF(0, 2.0 * m));
    send(s.pane, QEvent::MouseButtonRelease, Qt::RightButton, Qt::NoButton, start - QPointF(0, 2.0 * kMoves));
    settle(c);
  }
  st.counters["frames_per_s"] = benchmark::Counter(kMoves, benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK(BM_MemcpyFrame)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PanMove)->ArgName("zoom")->Arg(0)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FitFramePart)->ArgName("clear")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_QualityPassFit)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_QtSmoothScaledFit)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ZoomGesture)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  shared();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
