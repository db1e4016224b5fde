// The view engine: the five panes, the view state and the routines that lay
// the picture out and draw it (view update, render, resize, picture
// normalisation), plus the redraw scheduler. It knows the control only
// through ViewHost, so it is driven and tested without a widget.
//
// Panes: picPane is the visible surface (bound to a widget by the control);
// Buffer holds the picture at its own size, the source of every frame and the
// target of every image operation; bBuffer is the back buffer frames are
// composed in; ScalePicture and clipPicture are work panes of picture
// exchange. All work in pixels.
#pragma once

#include <cstdint>
#include <memory>

#include <QorvPictureBox/Picture.h>

#include "platform/PictureBox.h"
#include "view/Navigation.h"
#include "view/OnScreenDisplay.h"
#include "view/RedrawScheduler.h"
#include "view/Transparency.h"
#include "view/ViewHost.h"
#include "view/ViewState.h"

namespace qorv::view {

struct ViewPanes {
  PictureBox picPane{QStringLiteral("picPane")};
  PictureBox Buffer{QStringLiteral("Buffer")};
  PictureBox bBuffer{QStringLiteral("bBuffer")};
  PictureBox ScalePicture{QStringLiteral("ScalePicture")};
  PictureBox clipPicture{QStringLiteral("clipPicture")};
};

class ViewEngine {
 public:
  explicit ViewEngine(ViewHost& host);
  ~ViewEngine();
  ViewEngine(const ViewEngine&) = delete;
  ViewEngine& operator=(const ViewEngine&) = delete;

  ViewState& state() { return state_; }
  const ViewState& state() const { return state_; }
  NavigationSettings& navigation() { return navigation_; }
  const NavigationSettings& navigation() const { return navigation_; }
  OsdSettings& osd() { return osd_; }
  const OsdSettings& osd() const { return osd_; }
  ViewPanes& panes() { return *panes_; }
  const ViewPanes& panes() const { return *panes_; }
  RedrawScheduler& scheduler() { return scheduler_; }
  // The pane's gesture handlers and state.
  Navigation& nav() { return nav_; }
  const Navigation& nav() const { return nav_; }
  OnScreenDisplay& display() { return display_; }

  // --- geometry ------------------------------------------------------------------
  // Displayed size of the picture in pane pixels (doubles, unrounded).
  double pictureW() const;
  double pictureH() const;
  struct Size {
    double w = 0;
    double h = 0;
  };
  // The displayed size the picture would have at `zoom`, all else unchanged.
  Size pictureSizeAt(std::int16_t zoom) const;
  // The picture's own size: Buffer's scale size rounded.
  std::int32_t orgPictureWidth() const;
  std::int32_t orgPictureHeight() const;

  // --- the routines every view change ends in --------------------------------------
  // Clamp the offsets, switch the blit path when AutoSwitchToAPI asks for it,
  // optionally redraw, update the pan cursor, optionally raise OffsetChanged.
  // `initial` makes the redraw an initial frame (a freshly loaded picture).
  void updateView(bool redraw, bool notifyOffset, bool initial = false);
  // Brings the offsets into range without drawing or raising anything.
  void clampOffsets();
  // Composes one frame from Buffer into bBuffer and shows it in picPane.
  // Initial frames use the fast stretch mode when a quality pass is due and
  // schedule that pass.
  void render(bool initial);
  // Pan cursor: size-all (or the custom icon) while the view can be panned.
  void updatePanCursor();
  // The control is now `width` x `height`: lay the panes out, update the view.
  void handleResize(int width, int height);
  // Only the pane layout of handleResize: picPane fills the control and the
  // back buffer takes picPane's inner size.
  void layout(int width, int height);
  // Resizes the control to Buffer's picture when one is held.
  void applyAutoSize();
  // Makes Buffer hold a 32-bit top-down device bitmap of its picture, the
  // layout frames are composed from directly.
  void normalizePicture();
  // The view's part of assigning a picture: the old one removed and the
  // panes cleared (the visible one showing only the back colour), the new one
  // placed in Buffer with `alpha` (and the control sized to it under
  // AutoSize), normalised unless `fastLoad`, and the view updated.
  void assignPicture(const PicturePtr& picture, bool fastLoad, AlphaMask alpha = {});

  // The alpha of Buffer's current picture, for display while
  // showTransparency is set. It goes with the picture: once Buffer holds
  // another one (or dropPictureAlpha is called, for a picture changed in
  // place) frames are opaque again.
  void setPictureAlpha(AlphaMask mask) { transparency_.set(panes_->Buffer.Picture(), std::move(mask)); }
  void dropPictureAlpha() { transparency_.clear(); }
  // Buffer's pixels were drawn over while it keeps its picture (a preview):
  // the kept alpha still applies to them.
  void pictureRepainted() { transparency_.refreshColours(); }
  const AlphaMask* pictureAlpha() const { return transparency_.maskFor(panes_->Buffer.Picture()); }

  // Stores both offsets without rendering, clamping or raising anything.
  void setOffsetsSilently(std::int32_t x, std::int32_t y);
  // Raises OffsetChanged with the current offsets; a handler that changes
  // them (they travel by reference) moves the view.
  void raiseOffsetChanged();
  void raise(EventId id);

  // Set by the drawing primitives; while set, render returns at once so a
  // repaint from inside a primitive cannot paint over a half-drawn figure.
  void setDrawingGuard(bool on) { drawingGuard_ = on; }
  bool drawingGuard() const { return drawingGuard_; }

  // Frames composed so far, for hosts and tests that watch the pipeline.
  int framesComposed() const { return framesComposed_; }

 private:
  void composeAndShow(bool initial);

  ViewHost& host_;
  std::unique_ptr<ViewPanes> panes_;
  ViewState state_;
  NavigationSettings navigation_;
  OsdSettings osd_;
  RedrawScheduler scheduler_;
  Navigation nav_;
  OnScreenDisplay display_;
  TransparencyLayer transparency_;
  int renderDepth_ = 0;
  bool drawingGuard_ = false;
  int framesComposed_ = 0;
};

}  // namespace qorv::view
