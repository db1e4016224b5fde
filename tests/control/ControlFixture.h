// Shared set-up for control tests: a recording host, a manual clock and a
// control of a known size holding a known picture.
#pragma once

#include <gtest/gtest.h>

#include <QStringList>

#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"
#include "platform/Clock.h"
#include "platform/Host.h"
#include <QorvPictureBox/Picture.h>
#include "platform/PictureBox.h"
#include "platform/Timer.h"
#include "view/StretchModel.h"

namespace qorv::testing_support {

class RecordingHost : public Host {
 public:
  void propertyChanged(QObject*, const QString& name) override { changed << name; }
  double twipsPerPixelX() override { return 15; }
  double twipsPerPixelY() override { return 15; }
  QStringList changed;
};

class ControlTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setHost(&host);
    setClock(&clock);
    setYieldHook({});
    ctl = std::make_unique<QorvPicture>();
  }
  void TearDown() override {
    ctl.reset();
    setYieldHook({});
    setClock(nullptr);
    setHost(nullptr);
  }

  // The control's internals: panes, timers, the error record, event raising.
  QorvPicturePrivate& in() const { return QorvPicturePrivate::of(*ctl); }

  // Gives the control a pane of w x h pixels.
  void sizeTo(int w, int h) {
    ctl->resize(w, h);
    in().handleResize();
  }
  PicturePtr pattern(int w, int h) { return Picture::fromImage(testmodel::patternImage(w, h)); }

  RecordingHost host;
  ManualClock clock;
  std::unique_ptr<QorvPicture> ctl;
};

// Counts emissions of a no-argument signal.
struct Counter {
  int n = 0;
  void operator()() { ++n; }
};

}  // namespace qorv::testing_support
