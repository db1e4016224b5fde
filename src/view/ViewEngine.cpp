#include "view/ViewEngine.h"

#include <algorithm>

#include <QorvPictureBox/gdi.h>

#include "platform/GdiSurface.h"
#include "platform/Host.h"
#include "platform/ScopedGdi.h"
#include "view/RenderFrame.h"
#include "view/ViewGeometry.h"

namespace qorv::view {

ViewEngine::ViewEngine(ViewHost& host)
    : host_(host), panes_(std::make_unique<ViewPanes>()), scheduler_(*this), nav_(*this, host), display_(*this, host) {
  // Buffer and ScalePicture take the size of whatever picture they are given.
  panes_->Buffer.setAutoSize(true);
  panes_->ScalePicture.setAutoSize(true);
}

ViewEngine::~ViewEngine() = default;

// ----- geometry -------------------------------------------------------------------

namespace {
GeometryInput geometryOf(const ViewPanes& p, const ViewState& s) {
  GeometryInput g;
  g.bufferScaleW = p.Buffer.ScaleWidth();
  g.bufferScaleH = p.Buffer.ScaleHeight();
  g.paneScaleW = p.picPane.ScaleWidth();
  g.paneScaleH = p.picPane.ScaleHeight();
  g.zoom = s.zoom;
  g.stretch = s.stretch;
  g.keepAspect = s.keepAspect;
  g.zoomFromOriginal = s.zoomFromOriginal;
  return g;
}
}  // namespace

double ViewEngine::pictureW() const { return PictureW(geometryOf(*panes_, state_)); }
double ViewEngine::pictureH() const { return PictureH(geometryOf(*panes_, state_)); }
ViewEngine::Size ViewEngine::pictureSizeAt(std::int16_t zoom) const {
  GeometryInput g = geometryOf(*panes_, state_);
  g.zoom = zoom;
  return {PictureW(g), PictureH(g)};
}
std::int32_t ViewEngine::orgPictureWidth() const { return roundHalfEven(panes_->Buffer.ScaleWidth()); }
std::int32_t ViewEngine::orgPictureHeight() const { return roundHalfEven(panes_->Buffer.ScaleHeight()); }

// ----- events -----------------------------------------------------------------------

void ViewEngine::raise(EventId id) {
  QVariantList none;
  host_.raiseEvent(id, none);
}

void ViewEngine::raiseOffsetChanged() {
  QVariantList a{state_.offsetX, state_.offsetY};
  host_.raiseEvent(EventId::OffsetChanged, a);
  state_.offsetX = a.value(0).toInt();
  state_.offsetY = a.value(1).toInt();
}

void ViewEngine::setOffsetsSilently(std::int32_t x, std::int32_t y) {
  state_.offsetX = x;
  state_.offsetY = y;
}

// ----- view update ----------------------------------------------------------------

void ViewEngine::updatePanCursor() {
  PictureBox& pane = panes_->picPane;
  const bool custom = handleOf(pane.MouseIcon()) != 0;
  pane.setMousePointer(PanCursor(pictureW(), pictureH(), pane.ScaleWidth(), pane.ScaleHeight(), custom));
}

void ViewEngine::clampOffsets() {
  ClampOffsets(state_.ignoreOffsetBorder, panes_->picPane.ScaleWidth(), panes_->picPane.ScaleHeight(), pictureW(),
               pictureH(), state_.offsetX, state_.offsetY);
}

void ViewEngine::updateView(bool redraw, bool notifyOffset, bool initial) {
  clampOffsets();
  if (state_.autoSwitchToApi) {
    // Reducing in either direction loses colours through the blit path.
    const bool reduce = orgPictureWidth() > pictureW() || orgPictureHeight() > pictureH();
    if (reduce == state_.useBlt) {
      host_.setUseBltAIP(!reduce);
      raise(EventId::UseApiChanged);
    }
  }
  if (redraw) render(initial);
  updatePanCursor();
  if (notifyOffset) raiseOffsetChanged();
}

void ViewEngine::layout(int width, int height) {
  ViewPanes& p = *panes_;
  p.picPane.Move(0, 0, width, height);
  p.bBuffer.Move(p.bBuffer.Left(), p.bBuffer.Top(), static_cast<int>(p.picPane.ScaleWidth()),
                 static_cast<int>(p.picPane.ScaleHeight()));
}

void ViewEngine::handleResize(int width, int height) {
  layout(width, height);
  updateView(true, true);
}

void ViewEngine::applyAutoSize() {
  PictureBox& b = panes_->Buffer;
  if (handleOf(b.Picture()) == 0) return;
  // The host sizes controls in twips; the widget's pixel size follows from it.
  const double tx = host().twipsPerPixelX();
  const double ty = host().twipsPerPixelY();
  const int w = tx > 0 ? roundHalfEven(tx * b.Width() / tx) : b.Width();
  const int h = ty > 0 ? roundHalfEven(ty * b.Height() / ty) : b.Height();
  host_.resizeControl(std::max(0, w), std::max(0, h));
}

void ViewEngine::normalizePicture() {
  PictureBox& b = panes_->Buffer;
  const PicturePtr pic = b.Picture();
  const gdi::HBITMAP src = handleOf(pic);
  if (src == 0) return;
  gdi::Surface s;
  if (gdi::BitmapSurfaceRead(src, s) && s.bitsPerPixel == 32 && !s.bottomUp) return;  // already what frames need
  // Any other layout becomes a 32-bit device bitmap of the same size.
  const ScopedMemDC srcDC(gdi::CreateCompatibleDC(0));
  const ScopedMemDC dstDC(gdi::CreateCompatibleDC(0));
  ScopedBitmap dst(gdi::CreateCompatibleBitmap(0, pic->Width(), pic->Height()));
  if (!srcDC || !dstDC || !dst) return;
  {
    // Both bitmaps leave their contexts before the copy is handed over.
    const ScopedSelect selSrc(srcDC.get(), src);
    const ScopedSelect selDst(dstDC.get(), dst.get());
    gdi::BitBlt(dstDC.get(), 0, 0, pic->Width(), pic->Height(), srcDC.get(), 0, 0, gdi::SRCCOPY);
  }
  PicturePtr copy = Picture::fromBitmap(dst.get());
  if (!copy) return;
  dst.release();  // the picture owns it now
  b.setPicture(copy);
}

void ViewEngine::assignPicture(const PicturePtr& picture, bool fastLoad, AlphaMask alpha) {
  ViewPanes& p = *panes_;
  transparency_.clear();
  p.bBuffer.setPicture(nullptr);
  p.Buffer.setPicture(nullptr);
  // The visible pane holds the last frame as its background picture, which
  // its Cls would paint again: without a new picture it must show nothing.
  p.picPane.setPicture(nullptr);
  p.bBuffer.Cls();
  p.Buffer.Cls();
  p.picPane.Cls();
  p.Buffer.setPicture(picture);
  if (state_.autoSize) applyAutoSize();
  if (handleOf(p.Buffer.Picture()) == 0) return;
  if (!fastLoad) normalizePicture();
  setPictureAlpha(std::move(alpha));
  updateView(true, true);
}

// ----- render -----------------------------------------------------------------------

namespace {
// Whether composing a covering frame writes every back-buffer pixel: stretched
// placements always do; a placement at the picture's own size only when the
// picture is at least as large as the placed size.
bool frameWritesEveryPixel(const PictureBox& source, bool stretched, int width, int height) {
  const int sw = roundHalfEven(source.ScaleWidth());
  const int sh = roundHalfEven(source.ScaleHeight());
  if (sw < 1 || sh < 1) return false;
  return stretched || (sw >= width && sh >= height);
}
}  // namespace

void ViewEngine::render(bool initial) {
  if (state_.lockUpdate || drawingGuard_) return;
  ViewPanes& p = *panes_;
  if (handleOf(p.Buffer.Picture()) == 0) return;
  host_.yield();
  // A zoom gesture without live redraw keeps its frame until it settles.
  if (nav_.suspended()) return;
  // A render started from inside the yield above (a timer tick, an input
  // event) finds the depth at 2 and leaves the frame to this one.
  if (++renderDepth_ >= 2) return;
  try {
    if (handleOf(p.Buffer.Picture()) != 0) composeAndShow(initial);
  } catch (...) {
    // A failed drawing call ends the frame; nothing is reported.
  }
  scheduler_.afterRender(initial);
  renderDepth_ = 0;
}

void ViewEngine::composeAndShow(bool initial) {
  ViewPanes& p = *panes_;
  const double pw = pictureW();
  const double ph = pictureH();
  const Point2 tl = TopLeft(state_.centered, state_.offsetX, state_.offsetY, p.picPane.ScaleWidth(),
                            p.picPane.ScaleHeight(), pw, ph);
  const int W = roundHalfEven(pw);
  const int H = roundHalfEven(ph);
  if (W < 1 || H < 1) return;
  // Clearing is only visible where the image leaves the back buffer
  // uncovered; a covering frame skips one full-frame pass.
  const double bw = p.bBuffer.ScaleWidth();
  const double bh = p.bBuffer.ScaleHeight();
  const double lx = roundHalfEven(tl.x);
  const double ty = roundHalfEven(tl.y);
  const bool covers = state_.tiled || (lx <= 0 && ty <= 0 && lx + W >= bw && ty + H >= bh);
  const bool plainCopy = state_.zoom == 100 && state_.zoomFromOriginal;
  if (!covers || handleOf(p.bBuffer.Picture()) != 0) {
    p.bBuffer.Cls();
  } else if (frameWritesEveryPixel(p.Buffer, state_.useBlt ? state_.stretch : !plainCopy, W, H)) {
    // The last frame's memory is still shown by picPane; this frame
    // overwrites all of it, so it takes fresh memory instead of a copy.
    gdi::DiscardBitmap(gdi::CurrentBitmap(p.bBuffer.hDC()));
  }
  if (state_.useBlt) {
    const gdi::HDC dc = p.bBuffer.hDC();
    gdi::GetStretchBltMode(dc);
    gdi::SetStretchBltMode(dc, chooseStretchMode(state_.hqAutoSwitch, nav_.dragging(), initial,
                                                 scheduler_.initTimer().Interval(), state_.zoomType));
  }
  FrameParams fp;
  fp.x = tl.x;
  fp.y = tl.y;
  fp.width = W;
  fp.height = H;
  fp.tiled = state_.tiled;
  fp.useBlt = state_.useBlt;
  fp.stretch = state_.stretch;
  fp.plainCopy = plainCopy;
  if (state_.showTransparency && pictureAlpha() != nullptr) {
    transparency_.compose(p.Buffer, p.bBuffer, fp);
  } else {
    composeFrame(p.Buffer, p.bBuffer, fp);
  }
  p.picPane.setPicture(p.bBuffer.Image());
  p.picPane.Refresh();
  ++framesComposed_;
  raise(EventId::Draw);
}

}  // namespace qorv::view
