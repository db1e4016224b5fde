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
// does not re-arm the timer.
void RedrawScheduler::onInitTick() {
  initTimer_.setEnabled(false);
  engine_.render(false);
}


void RedrawScheduler::onUpdateTick() {
  updateTimer_.setEnabled(false);
  engine_.panes().picPane.Cls();
  engine_.render(false);
}

}  // namespace qorv::view
