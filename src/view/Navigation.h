// Mouse and keyboard navigation of the visible pane: the handlers of its
// input events and the gesture state they keep between events. Dragging with
// the left button pans, dragging up or down with the right button zooms, the
// keypad's plus and minus zoom in steps, and the wheel (or a touchpad pinch)
// zooms toward the pointer. Every classic input event is passed on to the
// host as the control's own event.
//
// Coordinates are the pane's pixels as single-precision floats; buttons and
// shift states are the classic bit sets (button 1 left, 2 right, 4 middle;
// shift 1, ctrl 2, alt 4); key codes are the classic virtual-key codes.
#pragma once

#include <cstdint>

#include <QString>

#include <QorvPictureBox/QorvEnums.h>

namespace qorv::view {

class ViewEngine;
class ViewHost;

namespace input {
constexpr int LeftButton = 1;
constexpr int RightButton = 2;
constexpr int CtrlMask = 2;
constexpr int KeypadPlus = 107;
constexpr int KeypadMinus = 109;
// Wheel turn of one notch, in eighths of a degree.
constexpr int WheelNotch = 120;
// Vertical distance a right-button drag must cover before it zooms.
constexpr int ZoomStartThreshold = 5;
enum class PinchPhase { Begin = 0, Update = 1, End = 2 };
}  // namespace input

class Navigation {
 public:
  Navigation(ViewEngine& engine, ViewHost& host);
  Navigation(const Navigation&) = delete;
  Navigation& operator=(const Navigation&) = delete;

  // --- classic pane events ----------------------------------------------------------
  // KeyCode and KeyAscii travel by reference: what the host's handler leaves
  // in them is what the keypad zoom reads and what the pane gets back.
  void keyDown(int& keyCode, int shift);
  void keyPress(int& keyAscii);
  void keyUp(int& keyCode, int shift);
  void click();
  void dblClick();
  void mouseDown(int button, int shift, float x, float y);
  void mouseMove(int button, int shift, float x, float y);
  void mouseUp(int button, int shift, float x, float y);

  // --- beyond the classic control ---------------------------------------------------------
  // A wheel turn of `delta` eighths of a degree at (x, y). Returns whether it
  // was used: a touchpad's scroll zooms only with Ctrl held, and nothing
  // zooms while a button drag owns the view or WheelZoom is off.
  bool wheel(int delta, bool touchpad, int shift, float x, float y);
  // A touchpad pinch around (x, y); `scale` is the relative change of an update.
  void pinch(input::PinchPhase phase, double scale, float x, float y);

  // --- state read by the renderer and the scheduler -----------------------------------------
  // A mouse zoom gesture has begun and its ZoomFinished is owed.
  bool isZooming() const { return zooming_; }
  // A button is down: frames use the fast stretch mode.
  bool dragging() const { return leftDrag_ || rightDrag_; }
  bool rightDragging() const { return rightDrag_; }
  // While set, render returns at once: a zoom gesture without live redraw
  // keeps the frame it started from until the settle redraw.
  bool suspended() const { return suspended_; }
  void setSuspended(bool on) { suspended_ = on; }
  // Zooming is still owed to the settle redraw after a zoom without live redraw.
  bool zoomPending() const { return zoomPending_; }
  void clearZoomPending() { zoomPending_ = false; }

  // The zoom text of the on-screen display: one decimal and a percent sign.
  static QString zoomText(std::int16_t zoom);
  static QString offsetText(std::int32_t x, std::int32_t y);

 private:
  void pan(double x, double y);
  void zoomMove(double y);
  // Sets Zoom through the host's setter with the offsets moved first, so
  // that the picture point under (x, y) stays under it.
  void zoomToward(std::int16_t newZoom, double x, double y);
  // Whether mouse-up owes the pane a settle redraw beside the on-screen displays.
  bool owesSettleFrame() const;
  bool zoomDisplayWanted() const;
  void raiseMouse(EventId id, int button, int shift, float x, float y);

  ViewEngine& engine_;
  ViewHost& host_;

  std::int32_t grabX_ = 0;  // pointer minus the offsets at the left press
  std::int32_t grabY_ = 0;
  bool leftDrag_ = false;
  bool panned_ = false;
  bool rightDrag_ = false;
  std::int16_t zoomAtPress_ = 100;
  std::int32_t pressY_ = 0;
  std::int32_t lastY_ = 0;
  bool zoomStarted_ = false;
  bool zooming_ = false;
  bool zoomPending_ = false;
  bool suspended_ = false;
  // Set while a pan move is being handled: a move delivered while that
  // move's frame yields to the message loop does not pan a second time. It is
  // cleared where the move's handling ends (also when a handler throws), not
  // at mouse-up: a guard left set by one move would silently stop the rest of
  // the drag, and the next real move pans to where the pointer is anyway.
  bool panGuard_ = false;

  int wheelRemainder_ = 0;  // eighths of a degree not yet worth a step
  double pinchScale_ = 1.0;
  std::int16_t zoomAtPinch_ = 100;
  bool pinching_ = false;
};

}  // namespace qorv::view
