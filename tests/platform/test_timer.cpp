// Timers driven by a hand-moved clock: every behaviour the view's delayed
// redraw depends on, checked without sleeping.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <memory>
#include <vector>

#include "platform/Clock.h"
#include "platform/Timer.h"

namespace qorv {
namespace {

class ManualTimerTest : public ::testing::Test {
 protected:
  void SetUp() override { setClock(&clock_); }
  void TearDown() override { setClock(nullptr); }

  // A timer whose ticks are counted (and stamped with the clock's time).
  std::unique_ptr<Timer> counted(int interval, bool enabled) {
    auto t = std::make_unique<Timer>();
    Timer* raw = t.get();
    QObject::connect(raw, &Timer::tick, [this, raw] { ticks_.push_back({raw, clock_.now()}); });
    t->setInterval(interval);
    t->setEnabled(enabled);
    return t;
  }
  int ticksOf(const Timer* t) const {
    int n = 0;
    for (const auto& k : ticks_) n += k.timer == t ? 1 : 0;
    return n;
  }

  struct Tick {
    const Timer* timer;
    std::uint32_t at;
  };
  ManualClock clock_;
  std::vector<Tick> ticks_;
};

TEST_F(ManualTimerTest, TicksRepeatEveryIntervalUntilStopped) {
  struct Case {
    int interval;
    int advance;
    int expected;
  } cases[] = {{100, 99, 0}, {100, 100, 1}, {100, 350, 3}, {10, 1000, 100}, {250, 249, 0}, {1, 5, 5}};
  for (const Case& c : cases) {
    ticks_.clear();
    auto t = counted(c.interval, true);
    clock_.advance(c.advance);
    EXPECT_EQ(ticksOf(t.get()), c.expected) << "interval " << c.interval << " advance " << c.advance;
  }
}

TEST_F(ManualTimerTest, ZeroNegativeOrDisabledNeverTicksAndDisablingStops) {
  for (const auto& [interval, enabled] : {std::pair{0, true}, {-5, true}, {50, false}}) {
    ticks_.clear();
    auto t = counted(interval, enabled);
    clock_.advance(100000);
    EXPECT_EQ(ticksOf(t.get()), 0) << interval;
    EXPECT_EQ(t->Interval(), std::max(interval, 0)) << interval;
    EXPECT_EQ(clock_.activeTimers(), 0);
  }
  auto on = counted(50, true);
  clock_.advance(120);
  EXPECT_EQ(ticksOf(on.get()), 2);
  on->setEnabled(false);
  clock_.advance(1000);
  EXPECT_EQ(ticksOf(on.get()), 2);
  EXPECT_EQ(clock_.activeTimers(), 0);
}

// Every way of re-arming an enabled timer restarts a full countdown from now:
// re-enabling, a new interval, and the redraw scheduler's 0-and-back reset.
TEST_F(ManualTimerTest, ReArmingRestartsTheCountdownFromNow) {
  struct Case {
    const char* label;
    int first, elapsed, second;
    bool viaEnable, viaZero;
  } cases[] = {{"re-enable", 100, 80, 100, true, false}, {"same interval", 100, 90, 100, false, false},
               {"shorter", 100, 90, 50, false, false},   {"longer", 40, 30, 200, false, false},
               {"zero and back", 500, 400, 500, true, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    ticks_.clear();
    auto t = counted(c.first, true);
    clock_.advance(c.elapsed);
    if (c.viaEnable) t->setEnabled(false);
    if (c.viaZero) t->setInterval(0);
    if (c.viaEnable) clock_.advance(50);
    t->setInterval(c.second);
    if (c.viaEnable) t->setEnabled(true);
    const std::uint32_t armed = clock_.now();
    clock_.advance(c.second - 1);
    EXPECT_EQ(ticksOf(t.get()), 0);
    clock_.advance(1);
    ASSERT_EQ(ticksOf(t.get()), 1);
    EXPECT_EQ(ticks_.back().at, armed + static_cast<std::uint32_t>(c.second));
  }
}

TEST_F(ManualTimerTest, HandlerMayStopItsOwnTimerAndStartAnother) {
  auto second = counted(30, false);
  Timer first;
  int n = 0;
  QObject::connect(&first, &Timer::tick, [&] {
    ++n;
    first.setEnabled(false);
    second->setEnabled(true);
  });
  first.setInterval(20);
  first.setEnabled(true);
  clock_.advance(100);  // first at 20, second at 50 and 80
  EXPECT_EQ(n, 1);
  EXPECT_FALSE(first.Enabled());
  EXPECT_EQ(ticksOf(second.get()), 2);
}

TEST_F(ManualTimerTest, TimersFireInDueOrder) {
  auto slow = counted(30, true);
  auto fast = counted(20, true);
  clock_.advance(60);
  // fast 20, slow 30, fast 40, then 60: both due, slow was armed first
  const std::vector<std::pair<const Timer*, std::uint32_t>> expected = {
      {fast.get(), 20}, {slow.get(), 30}, {fast.get(), 40}, {slow.get(), 60}, {fast.get(), 60}};
  std::vector<std::pair<const Timer*, std::uint32_t>> got;
  for (const Tick& k : ticks_) got.emplace_back(k.timer, k.at);
  EXPECT_EQ(got, expected);
}

TEST_F(ManualTimerTest, DestroyedTimerIsForgotten) {
  {
    auto t = counted(10, true);
    EXPECT_EQ(clock_.activeTimers(), 1);
  }
  EXPECT_EQ(clock_.activeTimers(), 0);
  clock_.advance(100);  // must not touch the destroyed timer
  EXPECT_TRUE(ticks_.empty());
}

TEST_F(ManualTimerTest, ClockTimeMovesOnlyForward) {
  const std::uint32_t t0 = clock().now();
  clock_.advance(1234);
  EXPECT_EQ(clock().now(), t0 + 1234);
  clock_.advance(-50);
  EXPECT_EQ(clock().now(), t0 + 1234);
}

TEST(SystemTimerTest, TicksOnTheEventLoop) {
  setClock(nullptr);
  Timer t;
  int n = 0;
  QObject::connect(&t, &Timer::tick, [&] {
    ++n;
    t.setEnabled(false);
  });
  t.setInterval(1);
  t.setEnabled(true);
  QElapsedTimer guard;
  guard.start();
  while (n == 0 && guard.elapsed() < 5000) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
  EXPECT_EQ(n, 1);
}

}  // namespace
}  // namespace qorv
