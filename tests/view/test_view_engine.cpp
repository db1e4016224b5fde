// The view engine driven through its host interface alone, without a
// control or a widget: what it raises, when it renders, how it calls back.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include <QorvPictureBox/Picture.h>
#include <QorvPictureBox/gdi.h>

#include "platform/Clock.h"
#include "platform/Host.h"
#include "view/StretchModel.h"
#include "view/ViewEngine.h"
#include "FakeViewHost.h"

namespace qorv::view {
namespace {

using testing::FakeHost;

class ViewEngineTest : public testing::EngineFixture {
 protected:
  void place(int w, int h) {
    engine.assignPicture(Picture::fromImage(testmodel::patternImage(w, h)), false);
    host.events.clear();
  }
};

TEST_F(ViewEngineTest, RendersOnlyWithAPictureAndRaisesDrawThroughTheHost) {
  engine.render(false);
  EXPECT_EQ(engine.framesComposed(), 0);
  EXPECT_EQ(host.count(EventId::Draw), 0);
  place(400, 100);
  engine.render(false);
  EXPECT_EQ(engine.framesComposed(), 2);  // the placement's view update, then this one
  EXPECT_EQ(host.count(EventId::Draw), 1);
}

// A Draw handler that asks for another frame runs while the first is still
// being shown: the depth counter keeps it from composing a second one.
TEST_F(ViewEngineTest, ARenderFromInsideAFrameComposesNothing) {
  place(100, 100);
  const int before = engine.framesComposed();
  host.onDraw = [&] { engine.render(false); };
  engine.render(false);
  EXPECT_EQ(engine.framesComposed(), before + 1);
  host.onDraw = nullptr;
  engine.render(false);  // the depth was reset: the next render composes again
  EXPECT_EQ(engine.framesComposed(), before + 2);
}

TEST_F(ViewEngineTest, LockAndDrawingGuardStopEveryFrame) {
  place(100, 100);
  const int before = engine.framesComposed();
  engine.state().lockUpdate = true;
  engine.render(false);
  engine.state().lockUpdate = false;
  engine.setDrawingGuard(true);
  engine.render(false);
  EXPECT_EQ(engine.framesComposed(), before);
  engine.setDrawingGuard(false);
  engine.render(false);
  EXPECT_EQ(engine.framesComposed(), before + 1);
}

TEST_F(ViewEngineTest, AutoSwitchGoesThroughTheHostsSetterOnceAndRaisesUseApiChanged) {
  engine.state().autoSwitchToApi = true;
  place(600, 400);  // fitted into 300 x 200: shown reduced
  host.useBltCalls.clear();
  engine.updateView(false, false);
  EXPECT_EQ(host.useBltCalls, std::vector<bool>{});  // already switched by the placement
  EXPECT_FALSE(engine.state().useBlt);
  engine.state().zoomFromOriginal = true;  // now 1:1, no reduction
  engine.updateView(false, false);
  EXPECT_EQ(host.useBltCalls, std::vector<bool>{true});
  EXPECT_EQ(host.count(EventId::UseApiChanged), 1);
  engine.updateView(false, false);
  EXPECT_EQ(host.count(EventId::UseApiChanged), 1);
}

TEST_F(ViewEngineTest, OffsetsChangedByAnOffsetChangedHandlerMoveTheView) {
  place(100, 100);
  host.moveTo = std::make_pair(7, -3);
  engine.raiseOffsetChanged();
  EXPECT_EQ(engine.state().offsetX, 7);
  EXPECT_EQ(engine.state().offsetY, -3);
}

TEST_F(ViewEngineTest, AutoSizeAsksTheHostForThePicturesSize) {
  engine.state().autoSize = true;
  place(123, 45);
  EXPECT_EQ(host.resized, std::make_pair(123, 45));
  EXPECT_EQ(engine.panes().picPane.ScaleWidth(), 123);
}

TEST_F(ViewEngineTest, AnInitialFrameSchedulesOneQualityPassAfterTheDelay) {
  place(600, 400);
  engine.state().zoomType = gdi::HALFTONE;
  engine.scheduler().setHqInitialDelay(200);
  engine.render(true);
  EXPECT_EQ(gdi::GetStretchBltMode(engine.panes().bBuffer.hDC()), gdi::COLORONCOLOR);
  const int fast = engine.framesComposed();
  clock.advance(199);
  EXPECT_EQ(engine.framesComposed(), fast);
  clock.advance(1);
  EXPECT_EQ(engine.framesComposed(), fast + 1);
  EXPECT_EQ(gdi::GetStretchBltMode(engine.panes().bBuffer.hDC()), gdi::HALFTONE);
  clock.advance(1000);
  EXPECT_EQ(engine.framesComposed(), fast + 1);
}

}  // namespace
}  // namespace qorv::view
