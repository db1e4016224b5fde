// A timer with Interval (ms) and Enabled that ticks on the UI thread.
// Interval 0 means it never ticks; changing the interval of an enabled timer
// restarts its countdown.
#pragma once

#include <QObject>

namespace qorv {

class Timer : public QObject {
  Q_OBJECT
 public:
  explicit Timer(QObject* parent = nullptr);
  ~Timer() override;

  int Interval() const { return interval_; }
  void setInterval(int ms);
  bool Enabled() const { return enabled_; }
  void setEnabled(bool on);

  // Called by the clock when the countdown ends.
  void fire();

 signals:
  void tick();

 private:
  void restart();
  int interval_ = 0;
  bool enabled_ = false;
};

}  // namespace qorv
