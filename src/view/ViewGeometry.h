// Where and how large the picture is shown in the pane: displayed size, fit,
// offset clamping and the top-left corner of the drawn image. Pure arithmetic,
// shared by the control and its tests.
#pragma once

#include <cstdint>

namespace qorv::view {

// Whole number nearest to v, halves to even.
std::int32_t roundHalfEven(double v);

// Scales (W, H) into the box (BoxW, BoxH) keeping the aspect ratio. Unless
// KeepSmall, a picture that already fits is left at its size. A tie of the two
// ratios takes the width-from-height branch. Zero sizes follow plain double
// arithmetic (infinities or NaN), unchecked.
void FitSize(double W, double H, double BoxW, double BoxH, double& outW, double& outH, bool KeepSmall);

// What the displayed size depends on.
struct GeometryInput {
  float bufferScaleW = 0;  // the picture's size as Buffer holds it
  float bufferScaleH = 0;
  float paneScaleW = 0;    // picPane's inner size
  float paneScaleH = 0;
  std::int16_t zoom = 100;  // percent, any value (unclamped)
  bool stretch = true;
  bool keepAspect = true;
  bool zoomFromOriginal = false;
};

double PictureW(const GeometryInput& g);
double PictureH(const GeometryInput& g);

// Brings the offsets into [-half, +half] of the overflow on each axis (0 when
// the picture fits). Returns true when it changed them.
bool ClampOffsets(bool ignoreOffsetBorder, double paneW, double paneH, double pictureW, double pictureH,
                  std::int32_t& offsetX, std::int32_t& offsetY);

// Top-left corner of the drawn image in the pane.
struct Point2 {
  double x = 0;
  double y = 0;
};
Point2 TopLeft(bool centered, std::int32_t offsetX, std::int32_t offsetY, float paneW, float paneH, double pictureW,
               double pictureH);

// Mouse pointer for the pan state: 15 (size-all) or 99 (custom icon) when the
// view can be panned, 0 when it fits.
int PanCursor(double pictureW, double pictureH, float paneW, float paneH, bool hasCustomIcon);

}  // namespace qorv::view
