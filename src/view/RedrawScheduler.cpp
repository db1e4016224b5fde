#include "view/RedrawScheduler.h"

#include <QorvPictureBox/gdi.h>

#include "view/ViewEngine.h"

namespace qorv::view {

namespace {
constexpr int kSettleDelayMs = 10;
constexpr int kDefaultHqDelayMs = 250;
}  // namespace

RedrawScheduler::RedrawScheduler(ViewEngine& engine) : engine_(engine) {
  initTimer_.setEnabled(false);
  initTimer_.setInterval(kDefaultHqDelayMs);
  updateTimer_.setEnabled(false);
  updateTimer_.setInterval(kSettleDelayMs);
  QObject::connect(&initTimer_, &Timer::tick, &initTimer_, [this] { onInitTick(); });
  QObject::connect(&updateTimer_, &Timer::tick, &updateTimer_, [this] { onUpdateTick(); });
}

// Setting the interval to 0 and back makes the full delay count from now even
// when the timer was already running.
void RedrawScheduler::restart(Timer& t, int interval) {
  t.setEnabled(false);
  t.setInterval(0);
  t.setInterval(interval);
  t.setEnabled(true);
}

void RedrawScheduler::afterRender(bool initial) {
  const ViewState& s = engine_.state();
  if (initial && s.hqAutoSwitch && s.zoomType == gdi::HALFTONE && initTimer_.Interval() >= 1)
    restart(initTimer_, initTimer_.Interval());
}

void RedrawScheduler::armSettleRedraw() { restart(updateTimer_, kSettleDelayMs); }

// Not initial and no drag: the render applies ZoomType, the quality pass, and
// does not re-arm the timer. While the right button is held the pass is
// skipped; the settle redraw after the button is released takes its place.
void RedrawScheduler::onInitTick() {
  initTimer_.setEnabled(false);
  if (!engine_.nav().rightDragging()) engine_.render(false);
}

// The gesture has come to rest: frames resume, the on-screen display goes,
// the frame is drawn with the quality mode, and a zoom that was not drawn
// while it happened is announced once more.
void RedrawScheduler::onUpdateTick() {
  updateTimer_.setEnabled(false);
  Navigation& nav = engine_.nav();
  nav.setSuspended(false);
  PictureBox& pane = engine_.panes().picPane;
  pane.Cls();
  pane.Refresh();
  engine_.render(false);
  if (!engine_.navigation().visualZoom && nav.zoomPending()) engine_.raise(EventId::Zooming);
  nav.clearZoomPending();
}

}  // namespace qorv::view
