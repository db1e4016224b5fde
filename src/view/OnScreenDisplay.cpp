#include "view/OnScreenDisplay.h"

#include <exception>

#include <QVariantList>

#include "platform/PictureBox.h"
#include "view/Navigation.h"
#include "view/ViewEngine.h"
#include "view/ViewGeometry.h"

namespace qorv::view {

namespace {

constexpr int kCopyPen = 13;

// Puts the pane's font, draw mode and foreground colour back however the
// drawing ends.
class PaneStateRestore {
 public:
  explicit PaneStateRestore(PictureBox& pane)
      : pane_(pane), font_(pane.Font()), drawMode_(pane.DrawMode()), foreColor_(pane.ForeColor()) {}
  ~PaneStateRestore() {
    pane_.setFont(font_);
    pane_.setDrawMode(drawMode_);
    pane_.setForeColor(foreColor_);
  }
  PaneStateRestore(const PaneStateRestore&) = delete;
  PaneStateRestore& operator=(const PaneStateRestore&) = delete;

 private:
  PictureBox& pane_;
  FontPtr font_;
  int drawMode_;
  COLORREF foreColor_;
};

}  // namespace

OnScreenDisplay::OnScreenDisplay(ViewEngine& engine, ViewHost& host) : engine_(engine), host_(host) {}

bool OnScreenDisplay::show(const QString& text) {
  QVariantList a{text, false};
  host_.raiseEvent(EventId::OSDDraw, a);
  if (a.value(1).toBool()) return false;
  draw(a.value(0).toString());
  return true;
}

void OnScreenDisplay::draw(const QString& text) {
  PictureBox& pane = engine_.panes().picPane;
  const OsdSettings& o = engine_.osd();
  // The display is drawn over the frame shown now: it is what frames were
  // suspended for.
  engine_.nav().setSuspended(false);
  try {
    // The frame is the pane's picture, so clearing keeps it and only wipes
    // the previous display.
    pane.Cls();
    PaneStateRestore restore(pane);
    if (o.font) pane.setFont(o.font);
    pane.setDrawMode(kCopyPen);
    const double tw = pane.TextWidth(text);
    const double th = pane.TextHeight(text);
    const std::int32_t x = roundHalfEven(pane.ScaleWidth() / 2.0 - tw / 2);
    const std::int32_t y = roundHalfEven(pane.ScaleHeight() / 2.0 - th / 2);
    const double shadow = o.shadowSize;
    if (!o.transparent) {
      if (last_.left >= 1 && last_.top >= 1)
        pane.Line(static_cast<float>(last_.left), static_cast<float>(last_.top),
                  static_cast<float>(last_.left + last_.width + shadow),
                  static_cast<float>(last_.top + last_.height + shadow), o.backColor, PictureBox::BoxFilled);
      // The box is recorded at the size of the text drawn now: that is the
      // box the next display has to cover, shadow included.
      last_ = {x, y, roundHalfEven(tw), roundHalfEven(th)};
      pane.Line(static_cast<float>(x), static_cast<float>(y), static_cast<float>(x + tw), static_cast<float>(y + th),
                o.backColor, PictureBox::BoxFilled);
    }
    // The shadow first, so that the text covers it.
    if (o.shadow) {
      pane.setForeColor(o.shadowColor);
      pane.setCurrentX(static_cast<float>(x + shadow));
      pane.setCurrentY(static_cast<float>(y + shadow));
      pane.Print(text);
    }
    pane.setForeColor(o.foreColor);
    pane.setCurrentX(static_cast<float>(x));
    pane.setCurrentY(static_cast<float>(y));
    pane.Print(text);
    lastText_ = text;
  } catch (const std::exception&) {
    // A drawing call that fails ends the display; the gesture goes on.
  }
  pane.Refresh();
}

}  // namespace qorv::view
