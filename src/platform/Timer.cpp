#include "platform/Timer.h"

#include "platform/Clock.h"

namespace qorv {

Timer::Timer(QObject* parent) : QObject(parent) {}

Timer::~Timer() { clock().stop(this); }

void Timer::setInterval(int ms) {
  // A negative interval cannot count down; it behaves as 0 (never ticks).
  interval_ = ms < 0 ? 0 : ms;
  restart();
}

void Timer::setEnabled(bool on) {
  if (on == enabled_) return;
  enabled_ = on;
  restart();
}

void Timer::fire() {
  if (!enabled_ || interval_ <= 0) return;
  emit tick();
}

void Timer::restart() {
  clock().stop(this);
  if (enabled_ && interval_ > 0) clock().start(this, interval_);
}

}  // namespace qorv
