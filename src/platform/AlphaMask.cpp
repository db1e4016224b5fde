#include "platform/AlphaMask.h"

#include <QImage>

#include "platform/GdiSurface.h"

namespace qorv {

namespace {

// An all-opaque mask carries nothing worth drawing; nor does an all-clear one
// when it came from a spare byte that files without alpha leave at 0.
AlphaMask meaningfulOrEmpty(AlphaMask m, bool allClearMeansNone) {
  bool anyClear = false;
  bool anySeen = !allClearMeansNone;
  for (const std::uint8_t a : m.alpha) {
    anyClear = anyClear || a != 255;
    anySeen = anySeen || a != 0;
    if (anyClear && anySeen) return m;
  }
  return {};
}

}  // namespace

AlphaMask TakeAlphaFromSpareByte(gdi::HBITMAP hbm) {
  gdi::Surface s;
  if (!gdi::BitmapSurface(hbm, s) || !s.valid() || s.bitsPerPixel != 32) return {};
  AlphaMask m;
  m.width = s.width;
  m.height = s.height;
  m.alpha.resize(static_cast<std::size_t>(s.width) * s.height);
  for (int y = 0; y < s.height; ++y) {
    std::uint8_t* row = s.row(y);
    std::uint8_t* out = m.alpha.data() + static_cast<std::size_t>(y) * s.width;
    for (int x = 0; x < s.width; ++x) {
      out[x] = row[x * 4 + 3];
      row[x * 4 + 3] = 0;
    }
  }
  return meaningfulOrEmpty(std::move(m), true);
}

AlphaMask AlphaOfImage(const QImage& image) {
  if (image.isNull() || !image.hasAlphaChannel()) return {};
  const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
  if (argb.isNull()) return {};
  AlphaMask m;
  m.width = argb.width();
  m.height = argb.height();
  m.alpha.resize(static_cast<std::size_t>(m.width) * m.height);
  for (int y = 0; y < m.height; ++y) {
    const auto* row = reinterpret_cast<const QRgb*>(argb.constScanLine(y));
    std::uint8_t* out = m.alpha.data() + static_cast<std::size_t>(y) * m.width;
    for (int x = 0; x < m.width; ++x) out[x] = static_cast<std::uint8_t>(qAlpha(row[x]));
  }
  return meaningfulOrEmpty(std::move(m), false);
}

}  // namespace qorv
