// The delayed redraws: InitTimer runs the quality pass one full
// HQInitialDelay after an initial (fast) frame; UpdateTimer runs a short
// settle redraw after a gesture. Both are platform timers, so tests drive
// them with a manual clock instead of sleeping.
#pragma once

#include "platform/Timer.h"

namespace qorv::view {

class ViewEngine;

class RedrawScheduler {
 public:
  explicit RedrawScheduler(ViewEngine& engine);
  RedrawScheduler(const RedrawScheduler&) = delete;
  RedrawScheduler& operator=(const RedrawScheduler&) = delete;

  Timer& initTimer() { return initTimer_; }
  const Timer& initTimer() const { return initTimer_; }
  Timer& updateTimer() { return updateTimer_; }
  const Timer& updateTimer() const { return updateTimer_; }

  // HQInitialDelay is InitTimer's interval itself.
  int hqInitialDelay() const { return initTimer_.Interval(); }
  void setHqInitialDelay(int ms) { initTimer_.setInterval(ms); }

  // Called at the end of every render that got past its early checks: an
  // initial frame restarts the full delay of the quality pass when that pass
  // is wanted (HQAutoSwitch, ZoomType HALFTONE, a delay of at least 1 ms).
  void afterRender(bool initial);
  // Re-arms the settle redraw 10 ms from now.
  void armSettleRedraw();

 private:
  static void restart(Timer& t, int interval);
  void onInitTick();
  void onUpdateTick();

  ViewEngine& engine_;
  Timer initTimer_;
  Timer updateTimer_;
};

}  // namespace qorv::view
