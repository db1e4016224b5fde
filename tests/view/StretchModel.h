// An independent model of the fast (colour-on-colour) stretch and of tiling,
// used to check composed frames pixel by pixel.
#pragma once

#include <QImage>

namespace qorv::testmodel {

inline QRgb patternAt(int x, int y) {
  return qRgb((x * 37 + 5) % 256, (y * 53 + 11) % 256, (x * 7 + y * 11) % 256);
}

inline QImage patternImage(int w, int h) {
  QImage img(w, h, QImage::Format_RGB32);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) img.setPixel(x, y, patternAt(x, y));
  return img;
}

// Source pixel for destination pixel j when S source pixels span D destination
// pixels: enlarging picks by centre, shrinking keeps the last pixel of a group
// horizontally and the first vertically.
inline int sourceIndex(int j, int S, int D, bool horizontal) {
  if (D >= S) {
    const long long num = (2LL * j + 1) * S;
    return static_cast<int>((num + 2LL * D - 1) / (2LL * D)) - 1;
  }
  int found = -1;
  for (int k = 0; k < S; ++k) {
    const long long num = (2LL * k + 1) * D;
    const int g = static_cast<int>((num + 2LL * S - 1) / (2LL * S)) - 1;
    if (g == j) {
      found = k;
      if (!horizontal) break;
    }
  }
  return found;
}

// The expected frame: the pattern image (sw x sh) drawn at (x0, y0) with size
// W x H (stretched or not, tiled or not) over `back`.
inline QRgb expectedPixel(int px, int py, int x0, int y0, int W, int H, int sw, int sh, bool stretch, bool tiled,
                          QRgb back) {
  int j = px - x0, i = py - y0;
  if (tiled) {
    j = ((j % W) + W) % W;
    i = ((i % H) + H) % H;
  }
  if (j < 0 || j >= W || i < 0 || i >= H) return back;
  if (!stretch) return patternAt(j, i);
  return patternAt(sourceIndex(j, sw, W, true), sourceIndex(i, sh, H, false));
}

// Number of pixels of `out` that differ from the model (reports the first few).
template <class Report>
int countMismatches(const QImage& out, int x0, int y0, int W, int H, int sw, int sh, bool stretch, bool tiled,
                    QRgb back, Report report) {
  int bad = 0;
  for (int py = 0; py < out.height(); ++py) {
    for (int px = 0; px < out.width(); ++px) {
      const QRgb want = expectedPixel(px, py, x0, y0, W, H, sw, sh, stretch, tiled, back) | 0xFF000000u;
      const QRgb got = out.pixel(px, py) | 0xFF000000u;
      if (got != want && bad++ < 3) report(px, py, got, want);
    }
  }
  return bad;
}

}  // namespace qorv::testmodel
