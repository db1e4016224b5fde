// Blit engine timings, each against its peer on the same pixels in the same run:
// HALFTONE / COLORONCOLOR shrinks against QImage::scaled, 137 % and 1000 % zooms
// clipped to a screen-sized surface against 100 %, and BitBlt against memcpy.
#include <benchmark/benchmark.h>

#include <QImage>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "platform/GdiSurface.h"

namespace {

constexpr int kSrcW = 6000, kSrcH = 4000;
constexpr int kDstW = 1920, kDstH = 1080;

// A memory DC with a device bitmap selected, for the lifetime of the process.
struct Dc {
  gdi::HDC dc = 0;
  gdi::HBITMAP bmp = 0;
  gdi::Surface s;
  Dc(int w, int h) {
    dc = gdi::CreateCompatibleDC(0);
    bmp = gdi::CreateCompatibleBitmap(dc, w, h);
    gdi::SelectObject(dc, bmp);
    gdi::BitmapSurface(bmp, s);
  }
};

// Smooth gradients with a little noise, like a photograph.
Dc& photo() {
  static Dc* d = [] {
    auto* p = new Dc(kSrcW, kSrcH);
    std::mt19937 rng(1);
    for (int y = 0; y < kSrcH; ++y) {
      auto* row = reinterpret_cast<std::uint32_t*>(p->s.row(y));
      for (int x = 0; x < kSrcW; ++x) {
        const double fx = x / double(kSrcW), fy = y / double(kSrcH);
        const int n = static_cast<int>(rng() % 17) - 8;
        auto ch = [&](double v) { return static_cast<std::uint32_t>(std::clamp(static_cast<int>(v) + n, 0, 255)); };
        const std::uint32_t r = ch(128 + 120 * std::sin(fx * 7 + fy * 3));
        const std::uint32_t g = ch(255 * fy);
        const std::uint32_t b = ch(128 + 100 * std::cos(fx * 11 - fy * 5));
        row[x] = (r << 16) | (g << 8) | b;
      }
    }
    return p;
  }();
  return *d;
}

Dc& screen() {
  static Dc* d = new Dc(kDstW, kDstH);
  return *d;
}

QImage photoImage() {
  Dc& p = photo();
  return QImage(p.s.rows, kSrcW, kSrcH, p.s.stride, QImage::Format_RGB32);
}

void stretch(benchmark::State& state, int mode, int x, int y, int w, int h, int sx, int sy, int sw, int sh) {
  Dc& src = photo();
  Dc& dst = screen();
  gdi::SetStretchBltMode(dst.dc, mode);
  for (auto _ : state) {
    gdi::StretchBlt(dst.dc, x, y, w, h, src.dc, sx, sy, sw, sh, gdi::SRCCOPY);
    benchmark::ClobberMemory();
  }
}

void BM_HalftoneShrink(benchmark::State& s) { stretch(s, gdi::HALFTONE, 0, 0, 1600, 1067, 0, 0, kSrcW, kSrcH); }
void BM_QtSmoothShrink(benchmark::State& state) {
  const QImage img = photoImage();
  for (auto _ : state) {
    QImage out = img.scaled(1600, 1067, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    benchmark::DoNotOptimize(out.constBits());
  }
}
// A size sharing no factor with the source, so no weight reduces.
void BM_HalftoneShrinkOddSize(benchmark::State& s) {
  stretch(s, gdi::HALFTONE, 0, 0, 1437, 959, 0, 0, kSrcW, kSrcH);
}
void BM_QtSmoothShrinkOddSize(benchmark::State& state) {
  const QImage img = photoImage();
  for (auto _ : state) {
    QImage out = img.scaled(1437, 959, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    benchmark::DoNotOptimize(out.constBits());
  }
}
void BM_ColorOnColorShrink(benchmark::State& s) {
  stretch(s, gdi::COLORONCOLOR, 0, 0, 1600, 1067, 0, 0, kSrcW, kSrcH);
}
void BM_QtFastShrink(benchmark::State& state) {
  const QImage img = photoImage();
  for (auto _ : state) {
    QImage out = img.scaled(1600, 1067, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    benchmark::DoNotOptimize(out.constBits());
  }
}

// 100 %: the picture at an offset, clipped to the screen (a plain copy).
void BM_ColorOnColor100(benchmark::State& s) {
  stretch(s, gdi::COLORONCOLOR, -2000, -1500, kSrcW, kSrcH, 0, 0, kSrcW, kSrcH);
}
void BM_Halftone100(benchmark::State& s) { stretch(s, gdi::HALFTONE, -2000, -1500, kSrcW, kSrcH, 0, 0, kSrcW, kSrcH); }
// 1000 %: a 60000 x 40000 destination clipped to the same screen.
void BM_ColorOnColor1000(benchmark::State& s) {
  stretch(s, gdi::COLORONCOLOR, -20000, -15000, kSrcW * 10, kSrcH * 10, 0, 0, kSrcW, kSrcH);
}
void BM_Halftone1000(benchmark::State& s) {
  stretch(s, gdi::HALFTONE, -20000, -15000, kSrcW * 10, kSrcH * 10, 0, 0, kSrcW, kSrcH);
}
// 137 %: an enlargement whose weights keep a large divisor.
void BM_Halftone137(benchmark::State& s) {
  stretch(s, gdi::HALFTONE, -2000, -1500, kSrcW * 137 / 100, kSrcH * 137 / 100, 0, 0, kSrcW, kSrcH);
}
// The visible part alone: 192 x 108 source pixels enlarged ten times.
void BM_Halftone1000VisiblePart(benchmark::State& s) {
  stretch(s, gdi::HALFTONE, 0, 0, kDstW, kDstH, 2000, 1500, kDstW / 10, kDstH / 10);
}

void BM_BitBltCopy(benchmark::State& state) {
  Dc& src = photo();
  Dc& dst = screen();
  for (auto _ : state) {
    gdi::BitBlt(dst.dc, 0, 0, kDstW, kDstH, src.dc, 100, 100, gdi::SRCCOPY);
    benchmark::ClobberMemory();
  }
}
void BM_Memcpy(benchmark::State& state) {
  Dc& src = photo();
  Dc& dst = screen();
  for (auto _ : state) {
    for (int y = 0; y < kDstH; ++y)
      std::memcpy(dst.s.row(y), src.s.row(y + 100) + 400, static_cast<std::size_t>(kDstW) * 4);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(BM_HalftoneShrink)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QtSmoothShrink)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HalftoneShrinkOddSize)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QtSmoothShrinkOddSize)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ColorOnColorShrink)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QtFastShrink)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ColorOnColor100)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ColorOnColor1000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Halftone100)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Halftone1000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Halftone137)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Halftone1000VisiblePart)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BitBltCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
