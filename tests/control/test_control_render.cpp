// The render pipeline as the host sees it: frames, Draw, the delayed quality
// pass, the blit-path switch, offsets and the Picture setter.
#include <QImage>

#include "ControlFixture.h"
#include "support/TestNames.h"
#include "platform/Timer.h"
#include <QorvPictureBox/gdi.h>

namespace qorv {
namespace {

using testing_support::ControlTest;
using testing_support::Counter;

class RenderTest : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    sizeTo(300, 300);
    QObject::connect(ctl.get(), &QorvPicture::Draw, [this] { ++draws; });
  }
  void show(int w, int h) {
    ctl->setPicture(pattern(w, h));
    draws = 0;
  }
  QImage shown() const { return in().picPane().imageView().copy(); }
  int draws = 0;
};

TEST_F(RenderTest, PictureSetterShowsTheFrameAndReportsIt) {
  Counter changed;
  QObject::connect(ctl.get(), &QorvPicture::PictureChanged, std::ref(changed));
  host.changed.clear();
  ctl->setPicture(pattern(400, 200));
  EXPECT_EQ(changed.n, 1);
  EXPECT_EQ(draws, 1);
  EXPECT_TRUE(host.changed.contains("Picture"));
  EXPECT_EQ(std::tuple(ctl->OrgPictureWidth(), ctl->OrgPictureHeight(), ctl->PictureW(), ctl->PictureH()),
            std::tuple(400, 200, 300.0, 150.0));
}

TEST_F(RenderTest, LockUpdateChangesNothingUntilReleased) {
  show(400, 200);
  const QImage before = shown();
  ctl->setLockUpdate(true);
  ctl->setZoom(250);
  ctl->Refresh();
  ctl->setOffsetX(-20);
  EXPECT_EQ(draws, 0);
  EXPECT_EQ(shown(), before);
  ctl->setLockUpdate(false);
  EXPECT_EQ(draws, 1);
  EXPECT_NE(shown(), before);
}

TEST_F(RenderTest, EmptyOrSubPixelPictureDrawsNothing) {
  ctl->Refresh();
  ctl->setZoom(50);
  EXPECT_EQ(draws, 0);
  ctl->setPicture(nullptr);
  EXPECT_EQ(draws, 0);
  show(400, 200);
  const QImage back = in().bBuffer().imageView().copy();
  ctl->setZoom(0);
  ctl->setZoom(-40);
  EXPECT_EQ(draws, 0);
  EXPECT_EQ(in().bBuffer().imageView(), back);  // not even cleared
}

// A render started while a frame is being composed (here from the Draw
// handler) finds the depth counter raised and composes nothing.
TEST_F(RenderTest, RenderDuringCompositionComposesNoSecondFrame) {
  show(400, 200);
  int inner = 0;
  QObject::connect(ctl.get(), &QorvPicture::Draw, [&] {
    ++inner;
    ctl->Refresh();
  });
  const int frames = in().framesComposed();
  ctl->Refresh();
  EXPECT_EQ(inner, 1);
  EXPECT_EQ(in().framesComposed(), frames + 1);
  EXPECT_EQ(draws, 1);
  ctl->Refresh();  // the counter is reset after each full pass
  EXPECT_EQ(draws, 2);
}

// The message yield comes before the depth counter: a render run from inside
// it finishes its own frame first, then the outer one composes its frame.
TEST_F(RenderTest, RenderFromTheYieldRunsBeforeTheOuterFrame) {
  show(400, 200);
  int yields = 0;
  setYieldHook([&] {
    if (yields++ == 0) ctl->Refresh();
  });
  ctl->Refresh();
  setYieldHook({});
  EXPECT_EQ(yields, 2);
  EXPECT_EQ(draws, 2);
}

TEST_F(RenderTest, InitialRenderUsesFastModeAndArmsTheQualityPass) {
  show(400, 200);
  ctl->setZoomType(4);
  ctl->setHQInitialDelay(500);
  draws = 0;
  ctl->Refresh(true);
  EXPECT_EQ(gdi::GetStretchBltMode(in().bBuffer().hDC()), gdi::COLORONCOLOR);
  EXPECT_TRUE(in().InitTimer().Enabled());
  clock.advance(300);
  ctl->Refresh(true);  // a second initial frame restarts the full delay
  clock.advance(499);
  EXPECT_EQ(draws, 2);
  clock.advance(1);
  EXPECT_EQ(draws, 3);
  EXPECT_EQ(gdi::GetStretchBltMode(in().bBuffer().hDC()), gdi::HALFTONE);
  EXPECT_FALSE(in().InitTimer().Enabled());
  clock.advance(5000);
  EXPECT_EQ(draws, 3);
}

// Which mode each frame is drawn in is the view's choice; no pass follows
// without a delay, without the switch, or for a zoom type other than halftone.
TEST_F(RenderTest, QualityPassNeedsHalftoneADelayAndTheSwitch) {
  show(400, 200);
  const struct { bool hq; int zoomType, delay; } cases[] = {{true, 4, 0}, {false, 4, 500}, {true, 1, 500}};
  for (const auto& c : cases) {
    ctl->setHQAutoSwitch(c.hq);
    ctl->setZoomType(c.zoomType);
    ctl->setHQInitialDelay(c.delay);
    ctl->Refresh(true);
    EXPECT_FALSE(in().InitTimer().Enabled()) << c.hq << c.zoomType << c.delay;
  }
}

TEST_F(RenderTest, BlitPathSwitchesOncePerChange) {
  show(400, 200);
  Counter switched;
  QObject::connect(ctl.get(), &QorvPicture::UseApiChanged, std::ref(switched));
  ctl->setAutoSwitchToAPI(true);
  host.changed.clear();
  ctl->setZoom(100);  // 400x200 shown at 300x150: reduced
  EXPECT_EQ(switched.n, 1);
  EXPECT_FALSE(ctl->UseBltAIP());
  EXPECT_TRUE(host.changed.contains("UseBltAIP"));  // switched through the property's setter
  ctl->setZoom(100);
  EXPECT_EQ(switched.n, 1);
  ctl->setZoomFromOriginal(true);  // 1:1 again
  EXPECT_EQ(switched.n, 2);
  EXPECT_TRUE(ctl->UseBltAIP());
  ctl->setZoom(99);  // one pixel smaller in both directions
  EXPECT_EQ(switched.n, 3);
}

TEST_F(RenderTest, OffsetSettersRenderOnceAndClampOnlyOnUpdate) {
  show(1000, 100);
  ctl->setZoomFromOriginal(true);  // 1000 wide in a 300 pane: half overflow 350
  std::vector<std::pair<int, int>> offsets;
  QObject::connect(ctl.get(), &QorvPicture::OffsetChanged, [&](int* x, int* y) { offsets.emplace_back(*x, *y); });
  draws = 0;
  ctl->setOffsetX(900);
  EXPECT_EQ(ctl->OffsetX(), 900);
  ctl->Offset(-900, 7);
  EXPECT_EQ(draws, 2);
  ASSERT_EQ(offsets.size(), 2u);
  EXPECT_EQ(offsets[1], std::make_pair(-900, 7));
  ctl->setZoom(100);  // a view update clamps
  EXPECT_EQ(ctl->OffsetX(), -350);
  EXPECT_EQ(ctl->OffsetY(), 0);
  EXPECT_EQ(offsets.back(), std::make_pair(-350, 0));
}

TEST_F(RenderTest, ZoomRaisesDrawThenOffsetChangedThenZooming) {
  show(400, 200);
  QStringList order;
  QObject::connect(ctl.get(), &QorvPicture::Draw, [&] { order << "Draw"; });
  QObject::connect(ctl.get(), &QorvPicture::OffsetChanged, [&](int*, int*) { order << "OffsetChanged"; });
  QObject::connect(ctl.get(), &QorvPicture::Zooming, [&] { order << "Zooming"; });
  ctl->setZoom(150);
  EXPECT_EQ(order, (QStringList{"Draw", "OffsetChanged", "Zooming"}));
}

TEST_F(RenderTest, AutoSizeMakesTheControlThePictureSize) {
  show(123, 45);
  ctl->setAutoSize(true);
  EXPECT_EQ(ctl->width(), 123);
  EXPECT_EQ(ctl->height(), 45);
  EXPECT_EQ(in().picPane().ScaleWidth(), 123);  // the pane was laid out anew
  ctl->setPicture(pattern(77, 66));
  EXPECT_EQ(ctl->width(), 77);
  EXPECT_EQ(ctl->height(), 66);
}

// Frames compared pixel by pixel with the independent model.
struct ViewCase {
  const char* what;
  int picW, picH;
  qint16 zoom;
  bool zoomFromOriginal, centered, tiled, stretch;
  int offX, offY;
};

class ShownFrame : public RenderTest, public ::testing::WithParamInterface<ViewCase> {};

TEST_P(ShownFrame, MatchesModel) {
  const ViewCase& c = GetParam();
  ctl->setBackColor(0x00302010);
  ctl->setLockUpdate(true);
  ctl->setPicture(pattern(c.picW, c.picH));
  ctl->setZoomFromOriginal(c.zoomFromOriginal);
  ctl->setCentered(c.centered);
  ctl->setTiled(c.tiled);
  ctl->setStretch(c.stretch);
  ctl->setZoom(c.zoom);
  ctl->setIgnoreOffsetBorder(true);
  ctl->setLockUpdate(false);
  ctl->Offset(c.offX, c.offY);
  const double pw = ctl->PictureW(), ph = ctl->PictureH();
  const int W = static_cast<int>(std::nearbyint(pw)), H = static_cast<int>(std::nearbyint(ph));
  double x = c.offX, y = c.offY;
  if (c.centered) {
    x += 150 - pw / 2;
    y += 150 - ph / 2;
  }
  const int bad = testmodel::countMismatches(
      shown(), static_cast<int>(std::nearbyint(x)), static_cast<int>(std::nearbyint(y)), W, H, c.picW, c.picH,
      c.stretch, c.tiled, 0xFF102030u, [&](int px, int py, QRgb got, QRgb want) {
        ADD_FAILURE() << c.what << " (" << px << "," << py << ") " << std::hex << got << " want " << want;
      });
  EXPECT_EQ(bad, 0) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    Views, ShownFrame,
    ::testing::Values(ViewCase{"fit centred", 400, 200, 100, false, true, false, true, 0, 0},
                      ViewCase{"original 300 panned", 120, 80, 300, true, true, false, true, 40, -25},
                      ViewCase{"original 1000 uncentred", 120, 80, 1000, true, false, false, true, -555, -321},
                      ViewCase{"no stretch uncentred", 120, 80, 400, false, false, false, false, 11, 12},
                      ViewCase{"tiled centred 33", 120, 80, 33, true, true, true, true, 0, 0}),
    [](const auto& p) { return test_support::readableName(p.param.what); });

}  // namespace
}  // namespace qorv
