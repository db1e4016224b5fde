#include "view/ViewGeometry.h"

#include <cmath>
#include <cstdlib>
#include <limits>

namespace qorv::view {

std::int32_t roundHalfEven(double v) {
  // Out-of-range and NaN results would be undefined for a plain conversion.
  if (!(v == v)) return 0;
  constexpr double lo = std::numeric_limits<std::int32_t>::min();
  constexpr double hi = std::numeric_limits<std::int32_t>::max();
  const double r = std::nearbyint(v);
  if (r <= lo) return std::numeric_limits<std::int32_t>::min();
  if (r >= hi) return std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(r);
}

void FitSize(double W, double H, double BoxW, double BoxH, double& outW, double& outH, bool KeepSmall) {
  if (!KeepSmall && BoxW >= W && BoxH >= H) {
    outW = W;
    outH = H;
    return;
  }
  if (BoxW / BoxH >= W / H) {
    outW = BoxH / H * W;
    outH = BoxH;
  } else {
    outH = BoxW / W * H;
    outW = BoxW;
  }
}

namespace {

// The fitted size for Stretch with KeepAspect; both axes come from one call.
void fitted(const GeometryInput& g, double& w, double& h) {
  const double z = g.zoom / 100.0;
  double rw = 0;
  double rh = 0;
  if (g.zoomFromOriginal) {
    rw = roundHalfEven(g.bufferScaleW);
    rh = roundHalfEven(g.bufferScaleH);
  } else {
    rw = g.paneScaleW;
    rh = g.paneScaleH;
  }
  FitSize(z * g.bufferScaleW, z * g.bufferScaleH, z * rw, z * rh, w, h, g.stretch);
}

// One axis of the displayed size: `buffer` and `pane` are that axis's scale
// sizes; with KeepAspect both axes come from one fit and `vertical` picks one.
double displayed(const GeometryInput& g, double buffer, double pane, bool vertical) {
  if (!g.stretch) return buffer;
  if (!g.keepAspect) {
    const double r = g.zoomFromOriginal ? static_cast<double>(roundHalfEven(buffer)) : pane;
    return g.zoom / 100.0 * r;
  }
  double w = 0;
  double h = 0;
  fitted(g, w, h);
  return vertical ? h : w;
}

}  // namespace

double PictureW(const GeometryInput& g) { return displayed(g, g.bufferScaleW, g.paneScaleW, false); }

double PictureH(const GeometryInput& g) { return displayed(g, g.bufferScaleH, g.paneScaleH, true); }

namespace {

std::int32_t clampAxis(double pane, double picture, std::int32_t offset) {
  const double half = (picture - pane) / 2;
  if (picture <= pane) return 0;
  if (offset <= half) {
    if (std::fabs(static_cast<double>(offset)) <= std::fabs(half)) return offset;
    return roundHalfEven(-half);
  }
  return roundHalfEven(half);
}

}  // namespace

bool ClampOffsets(bool ignoreOffsetBorder, double paneW, double paneH, double pictureW, double pictureH,
                  std::int32_t& offsetX, std::int32_t& offsetY) {
  if (ignoreOffsetBorder) return false;
  const std::int32_t nx = clampAxis(paneW, pictureW, offsetX);
  const std::int32_t ny = clampAxis(paneH, pictureH, offsetY);
  if (nx == offsetX && ny == offsetY) return false;
  offsetX = nx;
  offsetY = ny;
  return true;
}

Point2 TopLeft(bool centered, std::int32_t offsetX, std::int32_t offsetY, float paneW, float paneH, double pictureW,
               double pictureH) {
  if (!centered) return {static_cast<double>(offsetX), static_cast<double>(offsetY)};
  return {offsetX + static_cast<double>(paneW / 2.0f) - pictureW / 2,
          offsetY + static_cast<double>(paneH / 2.0f) - pictureH / 2};
}

int PanCursor(double pictureW, double pictureH, float paneW, float paneH, bool hasCustomIcon) {
  if (pictureW > paneW || pictureH > paneH) return hasCustomIcon ? 99 : 15;
  return 0;
}

}  // namespace qorv::view
