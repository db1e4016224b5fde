// The settings the view engine works from: where and how the picture is
// placed and drawn, how the user may navigate it, and how the on-screen
// display looks. The control's properties store straight into these; the
// engine only reads them (except the offsets, which clamping and panning move).
#pragma once

#include <cstdint>

#include <QorvPictureBox/Colors.h>
#include <QorvPictureBox/Font.h>

namespace qorv::view {

struct ViewState {
  std::int16_t zoom = 100;  // percent, stored as given (any 16-bit value)
  std::int32_t offsetX = 0;  // pane pixels; relative to the centred position when `centered`
  std::int32_t offsetY = 0;
  bool stretch = true;  // false: always the picture's own size
  bool keepAspect = true;
  bool zoomFromOriginal = false;  // zoom reference: the picture (true) or the pane
  bool centered = true;
  bool ignoreOffsetBorder = false;  // offsets never clamped
  bool autoSize = false;            // the control takes the picture's size
  bool tiled = false;
  std::int16_t zoomType = 3;        // stretch mode of the quality pass, 1..4
  bool useBlt = true;               // platform blits (true) or picture painting
  bool autoSwitchToApi = false;     // the view update switches useBlt by itself
  bool hqAutoSwitch = true;         // fast frames first, quality pass later
  bool lockUpdate = false;          // no frame at all while set
  bool showTransparency = false;    // a picture's kept alpha shown over a checkerboard
};

// How the user may zoom with the keypad and the right mouse button.
struct NavigationSettings {
  bool keyboardScale = true;
  std::int16_t keyboardZoomFactor = 10;
  std::int16_t keyboardZoomMin = 1;
  std::int16_t keyboardZoomMax = 1000;
  bool mouseZoom = true;
  bool visualZoom = false;  // redraw continuously while zooming with the mouse
  bool wheelZoom = true;    // the wheel (and a touchpad pinch) zooms toward the pointer
};

// The look of the offset and zoom texts drawn over the view.
struct OsdSettings {
  FontPtr font;  // shared with the pane at first placement, not copied
  COLORREF backColor = 0x00FF00;
  COLORREF foreColor = 0x00FF00;
  bool showOffset = false;
  bool showZoom = false;
  bool transparent = true;
  bool shadow = true;
  COLORREF shadowColor = 0;
  std::int16_t shadowSize = 2;
};

}  // namespace qorv::view
