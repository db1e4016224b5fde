// The platform clock and the timer service behind Timer.
//
// By default time is the monotonic system clock and timers are Qt timers on the
// UI thread. Tests install a ManualClock and move time by hand: timers then
// tick only inside advance(), in due-time order, so timer-driven behaviour is
// tested without sleeping.
#pragma once

#include <cstdint>
#include <functional>

namespace qorv {

class Timer;

class Clock {
 public:
  virtual ~Clock() = default;
  // Milliseconds since an arbitrary start, wrapping at 2^32.
  virtual std::uint32_t now() = 0;
  // Starts (or restarts) the countdown of `t`, to tick after `ms` milliseconds
  // and every `ms` after that until stopped.
  virtual void start(Timer* t, int ms) = 0;
  virtual void stop(Timer* t) = 0;
};

// The clock in force (the system clock unless a test installed another).
Clock& clock();
// Installs `c` (not owned); nullptr restores the system clock.
void setClock(Clock* c);

class ManualClock : public Clock {
 public:
  ManualClock();
  ~ManualClock() override;
  std::uint32_t now() override;
  void start(Timer* t, int ms) override;
  void stop(Timer* t) override;
  // Moves time forward, firing every due tick in order (a handler may start or
  // stop timers, including its own).
  void advance(int ms);
  // Number of timers currently counting down.
  int activeTimers() const;

 private:
  struct Impl;
  Impl* d;
};

}  // namespace qorv
