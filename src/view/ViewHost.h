// What the view engine needs from the control that hosts it: raising the
// control's events, reporting property changes, assigning properties through
// the control's own setters and resizing the control. Tests implement it to
// drive the engine without a widget.
#pragma once

#include <cstdint>

#include <QVariantList>

#include <QorvPictureBox/QorvEnums.h>

#include "platform/Host.h"

namespace qorv::view {

class ViewHost {
 public:
  virtual ~ViewHost() = default;
  // Raises an event; handlers may change by-reference values in `args`.
  virtual void raiseEvent(EventId id, QVariantList& args) = 0;
  // The automatic blit-path switch goes through the control's property
  // setter, so the host sees the change and the setter's own redraw happens.
  virtual void setUseBltAIP(bool value) = 0;
  // The keypad, the mouse and the wheel zoom through the control's Zoom
  // setter, so the host sees "Zoom" reported and the setter's view update,
  // OffsetChanged and Zooming happen as for a host's own assignment.
  virtual void setZoom(std::int16_t value) = 0;
  // Resizes the control (its outer size, pixels); the engine is told of the
  // new size through handleResize once the control has it.
  virtual void resizeControl(int width, int height) = 0;
  // Lets pending messages run once; a render does this before composing.
  virtual void yield() { yieldOnce(); }
};

}  // namespace qorv::view
