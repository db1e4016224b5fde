#include "platform/Clock.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include <QElapsedTimer>
#include <QTimer>

#include "platform/Timer.h"

namespace qorv {

namespace {

// The system clock: a monotonic millisecond count and one Qt timer per
// platform timer, kept as the timer's child so that it dies with it.
class SystemClock final : public Clock {
 public:
  SystemClock() { elapsed_.start(); }

  std::uint32_t now() override { return static_cast<std::uint32_t>(elapsed_.elapsed()); }

  void start(Timer* t, int ms) override {
    if (t == nullptr) return;
    QTimer* q = driver(t, true);
    if (ms <= 0) {
      q->stop();
      return;
    }
    q->start(ms);  // restarts the countdown when already running
  }

  void stop(Timer* t) override {
    if (t == nullptr) return;
    if (QTimer* q = driver(t, false)) q->stop();
  }

 private:
  static QTimer* driver(Timer* t, bool create) {
    static const QString name = QStringLiteral("qorv-clock-driver");
    QTimer* q = t->findChild<QTimer*>(name, Qt::FindDirectChildrenOnly);
    if (q == nullptr && create) {
      q = new QTimer(t);
      q->setObjectName(name);
      QObject::connect(q, &QTimer::timeout, t, &Timer::fire);
    }
    return q;
  }

  QElapsedTimer elapsed_;
};

SystemClock& systemClock() {
  static SystemClock c;
  return c;
}

Clock* installed = nullptr;

}  // namespace

Clock& clock() { return installed != nullptr ? *installed : systemClock(); }

void setClock(Clock* c) { installed = c; }

// --- ManualClock ----------------------------------------------------------------

struct ManualClock::Impl {
  struct Entry {
    Timer* timer;
    std::uint64_t due;
    int interval;
    std::uint64_t order;  // start order, to break ties between equal due times
    QMetaObject::Connection onDestroyed;
  };
  std::uint64_t now = 0;
  std::uint64_t nextOrder = 0;
  std::vector<Entry> entries;

  std::vector<Entry>::iterator find(Timer* t) {
    return std::find_if(entries.begin(), entries.end(), [t](const Entry& e) { return e.timer == t; });
  }
  void remove(Timer* t) {
    auto it = find(t);
    if (it == entries.end()) return;
    QObject::disconnect(it->onDestroyed);
    entries.erase(it);
  }
};

ManualClock::ManualClock() : d(new Impl) {}

ManualClock::~ManualClock() {
  for (auto& e : d->entries) QObject::disconnect(e.onDestroyed);
  if (installed == this) installed = nullptr;
  delete d;
}

std::uint32_t ManualClock::now() { return static_cast<std::uint32_t>(d->now); }

void ManualClock::start(Timer* t, int ms) {
  if (t == nullptr) return;
  d->remove(t);
  if (ms <= 0) return;  // a zero interval never ticks
  Impl::Entry e{t, d->now + static_cast<std::uint64_t>(ms), ms, d->nextOrder++, {}};
  // A timer destroyed while counting down must not be fired afterwards.
  e.onDestroyed = QObject::connect(t, &QObject::destroyed, [impl = d, t] { impl->remove(t); });
  d->entries.push_back(std::move(e));
}

void ManualClock::stop(Timer* t) { d->remove(t); }

void ManualClock::advance(int ms) {
  if (ms < 0) return;  // time never runs backwards
  const std::uint64_t target = d->now + static_cast<std::uint64_t>(ms);
  for (;;) {
    auto next = d->entries.end();
    for (auto it = d->entries.begin(); it != d->entries.end(); ++it) {
      if (it->due > target) continue;
      if (next == d->entries.end() || it->due < next->due || (it->due == next->due && it->order < next->order))
        next = it;
    }
    if (next == d->entries.end()) break;
    d->now = next->due;
    Timer* t = next->timer;
    // Reschedule before firing: the handler may stop, restart or destroy it.
    next->due += static_cast<std::uint64_t>(next->interval);
    next->order = d->nextOrder++;
    t->fire();
  }
  d->now = target;
}

int ManualClock::activeTimers() const { return static_cast<int>(d->entries.size()); }

}  // namespace qorv
