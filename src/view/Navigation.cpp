#include "view/Navigation.h"

#include <algorithm>
#include <cmath>

#include "platform/PictureBox.h"
#include "view/OnScreenDisplay.h"
#include "view/ViewEngine.h"
#include "view/ViewGeometry.h"

namespace qorv::view {

namespace {

// Clears a flag when the scope ends, also when a handler throws.
class FlagScope {
 public:
  explicit FlagScope(bool& flag) : flag_(flag) { flag_ = true; }
  ~FlagScope() { flag_ = false; }
  FlagScope(const FlagScope&) = delete;
  FlagScope& operator=(const FlagScope&) = delete;

 private:
  bool& flag_;
};

// One axis of a pan: `c` is where the pointer would put the offset. A
// centred view moves within half the overflow either way; an uncentred one
// between the full overflow to the left and 0, so that a picture larger than
// the pane never uncovers it.
std::int32_t panAxis(double c, double picture, double pane, bool centered) {
  if (!(picture > pane)) return 0;
  const double overflow = picture - pane;
  const double upper = centered ? overflow / 2 : 0.0;
  const double lower = centered ? overflow / 2 : overflow;
  if (c > upper) return roundHalfEven(upper);
  if (std::fabs(c) > lower) return -roundHalfEven(lower);
  return roundHalfEven(c);
}

// A zoom pulled into the keyboard limits: the maximum first, then the
// minimum, so that crossed limits give the minimum.
std::int16_t withinLimits(std::int64_t zoom, std::int16_t min, std::int16_t max) {
  if (zoom > max) zoom = max;
  if (zoom < min) zoom = min;
  return static_cast<std::int16_t>(zoom);
}

// The whole offset whose frame puts the picture's left (or top) edge nearest
// to `edge`: the renderer rounds the offset plus `centring` once more, so of
// the two whole numbers around the exact offset the one that lands closer wins.
std::int32_t offsetForEdge(double edge, double centring) {
  const double exact = edge - centring;
  const std::int32_t lo = roundHalfEven(std::floor(exact));
  const std::int32_t hi = roundHalfEven(std::ceil(exact));
  const double errLo = std::fabs(roundHalfEven(lo + centring) - edge);
  const double errHi = std::fabs(roundHalfEven(hi + centring) - edge);
  return errHi < errLo ? hi : lo;
}

}  // namespace

Navigation::Navigation(ViewEngine& engine, ViewHost& host) : engine_(engine), host_(host) {}

QString Navigation::zoomText(std::int16_t zoom) {
  return QString::number(static_cast<double>(zoom), 'f', 1) + QLatin1Char('%');
}

QString Navigation::offsetText(std::int32_t x, std::int32_t y) {
  return QStringLiteral("X:%1 Y:%2").arg(x).arg(y);
}

void Navigation::raiseMouse(EventId id, int button, int shift, float x, float y) {
  QVariantList a{button, shift, x, y};
  host_.raiseEvent(id, a);
}

// ----- keyboard -----------------------------------------------------------------------

void Navigation::keyDown(int& keyCode, int shift) {
  QVariantList a{keyCode, shift};
  host_.raiseEvent(EventId::KeyDown, a);
  keyCode = a.value(0).toInt();
  const NavigationSettings& n = engine_.navigation();
  if (!n.keyboardScale) return;
  const std::int16_t zoom = engine_.state().zoom;
  // Integer arithmetic, as the property is: a sum past 32767 wraps.
  if (keyCode == input::KeypadPlus) {
    const auto sum = static_cast<std::int16_t>(zoom + n.keyboardZoomFactor);
    host_.setZoom(sum <= n.keyboardZoomMax ? sum : n.keyboardZoomMax);
  } else if (keyCode == input::KeypadMinus) {
    const auto difference = static_cast<std::int16_t>(zoom - n.keyboardZoomFactor);
    host_.setZoom(difference >= n.keyboardZoomMin ? difference : n.keyboardZoomMin);
  }
}

void Navigation::keyPress(int& keyAscii) {
  QVariantList a{keyAscii};
  host_.raiseEvent(EventId::KeyPress, a);
  keyAscii = a.value(0).toInt();
}

void Navigation::keyUp(int& keyCode, int shift) {
  QVariantList a{keyCode, shift};
  host_.raiseEvent(EventId::KeyUp, a);
  keyCode = a.value(0).toInt();
}

void Navigation::click() { engine_.raise(EventId::Click); }
void Navigation::dblClick() { engine_.raise(EventId::DblClick); }

// ----- mouse --------------------------------------------------------------------------

void Navigation::mouseDown(int button, int shift, float x, float y) {
  // A position that is not a number starts no gesture; the host still hears
  // of the press as it came.
  const bool placed = !std::isnan(x) && !std::isnan(y);
  if (placed && button == input::LeftButton) {
    const ViewState& s = engine_.state();
    grabX_ = roundHalfEven(static_cast<double>(x) - s.offsetX);
    grabY_ = roundHalfEven(static_cast<double>(y) - s.offsetY);
    leftDrag_ = true;
    panned_ = false;
  } else if (placed && button == input::RightButton) {
    rightDrag_ = true;
    zoomAtPress_ = engine_.state().zoom;
    pressY_ = roundHalfEven(y);
    lastY_ = pressY_;
  }
  raiseMouse(EventId::MouseDown, button, shift, x, y);
}

void Navigation::mouseMove(int button, int shift, float x, float y) {
  if (!std::isnan(x) && !std::isnan(y)) {
    if (leftDrag_) {
      if (!panGuard_) {
        FlagScope guard(panGuard_);
        pan(x, y);
      }
    } else if (rightDrag_ &&
               (std::fabs(static_cast<double>(lastY_) - y) >= input::ZoomStartThreshold || zoomStarted_)) {
      zoomMove(y);
    }
  }
  // The host hears no moves while the mouse zooms.
  if (!zooming_) raiseMouse(EventId::MouseMove, button, shift, x, y);
}

void Navigation::pan(double x, double y) {
  const PictureBox& pane = engine_.panes().picPane;
  const ViewState& s = engine_.state();
  const std::int32_t nx = panAxis(x - grabX_, engine_.pictureW(), pane.ScaleWidth(), s.centered);
  const std::int32_t ny = panAxis(y - grabY_, engine_.pictureH(), pane.ScaleHeight(), s.centered);
  if (nx == s.offsetX && ny == s.offsetY) return;
  panned_ = true;
  engine_.setOffsetsSilently(nx, ny);
  engine_.render(false);
  // The frame yields to the message loop: the button may be up by now.
  if (engine_.osd().showOffset && leftDrag_) engine_.display().show(offsetText(nx, ny));
  engine_.raiseOffsetChanged();
}

// The zoom display's help text promises it "always" with ZoomOSD and
// otherwise whenever VisualZoom is off: without live redraw the text is the
// only sign that the drag is zooming at all, so it is shown then too.
bool Navigation::zoomDisplayWanted() const { return engine_.osd().showZoom || !engine_.navigation().visualZoom; }

void Navigation::zoomMove(double y) {
  if (!zooming_) engine_.raise(EventId::ZoomBegin);
  zoomStarted_ = true;
  zooming_ = true;
  zoomPending_ = true;
  const NavigationSettings& n = engine_.navigation();
  if (n.mouseZoom) {
    // One percent per pixel; moving up zooms in.
    const std::int64_t wanted = zoomAtPress_ + static_cast<std::int64_t>(roundHalfEven(pressY_ - y));
    const std::int16_t zoom = withinLimits(wanted, n.keyboardZoomMin, n.keyboardZoomMax);
    if (n.visualZoom) {
      host_.setZoom(zoom);
    } else {
      // Without live redraw nothing may show the new zoom before the
      // gesture settles, not even a frame a host's Zooming handler or the
      // automatic blit switch asks for: frames are suspended until the
      // on-screen display or the settle redraw clears the flag.
      suspended_ = true;
      engine_.state().zoom = zoom;
      engine_.updatePanCursor();
      engine_.updateView(false, false);
      engine_.raise(EventId::Zooming);
    }
  }
  if (rightDrag_ && zoomDisplayWanted()) engine_.display().show(zoomText(engine_.state().zoom));
}

// Beside the two display switches, mouse-up reads one more condition: whether
// the pane still shows something only a settle frame replaces. That is so
// when the zoom was stored without a frame (VisualZoom off, which also shows
// the zoom text), when the live frames were drawn with the fast stretch mode
// (HQAutoSwitch) and when frames are still suspended. Without it a zoom
// gesture could end on a stale or fast frame for good.
bool Navigation::owesSettleFrame() const {
  return suspended_ || !engine_.navigation().visualZoom || engine_.state().hqAutoSwitch;
}

void Navigation::mouseUp(int button, int shift, float x, float y) {
  if (button == input::LeftButton) {
    leftDrag_ = false;
  } else if (button == input::RightButton) {
    zoomStarted_ = false;
    rightDrag_ = false;
  }
  const OsdSettings& o = engine_.osd();
  if (((o.showOffset || o.showZoom || owesSettleFrame()) && zooming_) || panned_) {
    engine_.scheduler().armSettleRedraw();
  } else {
    PictureBox& pane = engine_.panes().picPane;
    pane.Cls();
    pane.Refresh();
  }
  panned_ = false;
  if (zooming_) {
    zooming_ = false;
    engine_.raise(EventId::ZoomFinished);
  }
  raiseMouse(EventId::MouseUp, button, shift, x, y);
}

// ----- wheel and pinch ------------------------------------------------------------------

bool Navigation::wheel(int delta, bool touchpad, int shift, float x, float y) {
  const NavigationSettings& n = engine_.navigation();
  if (!n.wheelZoom || (touchpad && (shift & input::CtrlMask) == 0)) return false;
  // A drag owns the view until its button is up; the turn is used up.
  if (dragging() || std::isnan(x) || std::isnan(y)) return true;
  // High-resolution wheels send parts of a notch; they add up to steps. A
  // turn the other way starts afresh.
  if ((delta > 0 && wheelRemainder_ < 0) || (delta < 0 && wheelRemainder_ > 0)) wheelRemainder_ = 0;
  const std::int64_t total = static_cast<std::int64_t>(wheelRemainder_) + delta;
  const std::int64_t steps = total / input::WheelNotch;
  wheelRemainder_ = static_cast<int>(total - steps * input::WheelNotch);
  if (steps == 0) return true;
  const std::int16_t zoom = engine_.state().zoom;
  const std::int64_t target = zoom + steps * n.keyboardZoomFactor;
  // The keypad's limits, as the keypad applies them to its own direction.
  std::int64_t next = 0;
  if (steps > 0)
    next = target <= n.keyboardZoomMax ? target : n.keyboardZoomMax;
  else
    next = target >= n.keyboardZoomMin ? target : n.keyboardZoomMin;
  // Pulled into 16 bits: a factor large enough to leave them reaches the limit.
  next = std::clamp<std::int64_t>(next, INT16_MIN, INT16_MAX);
  if (next != zoom) zoomToward(static_cast<std::int16_t>(next), x, y);
  return true;
}

void Navigation::pinch(input::PinchPhase phase, double scale, float x, float y) {
  const NavigationSettings& n = engine_.navigation();
  if (phase == input::PinchPhase::End) {
    pinching_ = false;
    return;
  }
  if (phase == input::PinchPhase::Begin || !pinching_) {
    pinching_ = true;
    pinchScale_ = 1.0;
    zoomAtPinch_ = engine_.state().zoom;
    if (phase == input::PinchPhase::Begin) return;
  }
  if (!n.wheelZoom || dragging() || std::isnan(x) || std::isnan(y)) return;
  const double factor = 1.0 + scale;
  if (!std::isfinite(factor) || factor <= 0) return;
  // The whole pinch scales the zoom it started from, so rounding to whole
  // percents does not pile up over many small updates.
  pinchScale_ = std::clamp(pinchScale_ * factor, 1e-6, 1e6);
  const std::int16_t zoom = withinLimits(roundHalfEven(zoomAtPinch_ * pinchScale_), n.keyboardZoomMin,
                                         n.keyboardZoomMax);
  if (zoom != engine_.state().zoom) zoomToward(zoom, x, y);
}

void Navigation::zoomToward(std::int16_t newZoom, double x, double y) {
  const ViewState& s = engine_.state();
  const PictureBox& pane = engine_.panes().picPane;
  const double paneW = pane.ScaleWidth();
  const double paneH = pane.ScaleHeight();
  const double pw0 = engine_.pictureW();
  const double ph0 = engine_.pictureH();
  const ViewEngine::Size after = engine_.pictureSizeAt(newZoom);
  // Drawn sizes are whole pixels; the picture point under the pointer is
  // where the current frame actually put it.
  const double w0 = roundHalfEven(pw0);
  const double h0 = roundHalfEven(ph0);
  const double w1 = roundHalfEven(after.w);
  const double h1 = roundHalfEven(after.h);
  if (std::isfinite(x) && std::isfinite(y) && w0 >= 1 && h0 >= 1 && w1 >= 1 && h1 >= 1) {
    const Point2 tl = TopLeft(s.centered, s.offsetX, s.offsetY, pane.ScaleWidth(), pane.ScaleHeight(), pw0, ph0);
    const double u = (x - roundHalfEven(tl.x)) / w0;
    const double v = (y - roundHalfEven(tl.y)) / h0;
    // The renderer puts the corner at offset + pane / 2 - size / 2 when centred.
    const double cx = s.centered ? static_cast<double>(static_cast<float>(paneW) / 2.0f) - after.w / 2 : 0.0;
    const double cy = s.centered ? static_cast<double>(static_cast<float>(paneH) / 2.0f) - after.h / 2 : 0.0;
    engine_.setOffsetsSilently(offsetForEdge(x - u * w1, cx), offsetForEdge(y - v * h1, cy));
  }
  // The setter's view update clamps the offsets, draws, and raises
  // OffsetChanged and Zooming.
  host_.setZoom(newZoom);
}

}  // namespace qorv::view
