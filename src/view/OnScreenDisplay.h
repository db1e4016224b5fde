// The on-screen display: a short text (the offsets while panning, the zoom
// while zooming with the mouse) drawn centred over the frame the pane shows.
// The host sees each text first through OSDDraw and may replace or cancel
// it. The text lives on the pane's drawing surface only, so the next frame or
// the pane's clear removes it while the frame itself stays.
#pragma once

#include <cstdint>

#include <QString>

namespace qorv::view {

class ViewEngine;
class ViewHost;

class OnScreenDisplay {
 public:
  OnScreenDisplay(ViewEngine& engine, ViewHost& host);
  OnScreenDisplay(const OnScreenDisplay&) = delete;
  OnScreenDisplay& operator=(const OnScreenDisplay&) = delete;

  // Raises OSDDraw with the text and, unless a handler cancelled it, draws
  // the text the handler left. Returns whether it drew.
  bool show(const QString& text);
  // Draws `text` in the display's font and colours, centred in the pane.
  void draw(const QString& text);

  // The box of the last display drawn with a background, for covering it
  // with the next one (left and top 0 until then).
  struct Box {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
  };
  const Box& lastBox() const { return last_; }
  const QString& lastText() const { return lastText_; }

 private:
  ViewEngine& engine_;
  ViewHost& host_;
  Box last_;
  QString lastText_;
};

}  // namespace qorv::view
