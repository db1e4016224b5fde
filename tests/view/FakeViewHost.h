// A host for the view engine without a control or a widget: it records the
// events raised, lets a test play the host's handlers, and forwards the
// property setters the engine calls back to the engine the way the control's
// setters do.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Clock.h"
#include "view/ViewEngine.h"

namespace qorv::view::testing {

class FakeHost : public ViewHost {
 public:
  void raiseEvent(EventId id, QVariantList& args) override {
    events.push_back(id);
    if (handler) handler(id, args);
  }
  // As the control's setter does: store, then the setter's own redraw.
  void setUseBltAIP(bool value) override {
    engine->state().useBlt = value;
    engine->render(false);
  }
  // As the control's Zoom setter does: store, view update, then Zooming.
  void setZoom(std::int16_t value) override {
    zoomCalls.push_back(value);
    engine->state().zoom = value;
    engine->updateView(true, true);
    QVariantList none;
    raiseEvent(EventId::Zooming, none);
  }
  void resizeControl(int width, int height) override { engine->handleResize(width, height); }
  void yield() override {}  // no message loop to run here
  int count(EventId id) const { return static_cast<int>(std::count(events.begin(), events.end(), id)); }

  ViewEngine* engine = nullptr;
  std::vector<EventId> events;
  std::vector<std::int16_t> zoomCalls;
  // Plays the host's event handlers; may change by-reference arguments.
  std::function<void(EventId, QVariantList&)> handler;
};

// A view engine on a FakeHost, laid out at the given size, with the clock
// under the test's control for as long as the test runs.
class EngineFixture : public ::testing::Test {
 protected:
  explicit EngineFixture(int width = 300, int height = 200) : width_(width), height_(height) {}
  void SetUp() override {
    setClock(&clock);
    host.engine = &engine;
    engine.layout(width_, height_);
  }
  void TearDown() override { setClock(nullptr); }

  ManualClock clock;
  FakeHost host;
  ViewEngine engine{host};

 private:
  int width_;
  int height_;
};

}  // namespace qorv::view::testing
