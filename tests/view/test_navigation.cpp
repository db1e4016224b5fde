// Mouse and keyboard navigation driven through the engine's handlers with a
// recording host: panning and its limits, the right-button zoom and its
// threshold, the keypad, the wheel toward the pointer, the settle redraw and
// the events a host sees, in order.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <QorvPictureBox/Picture.h>
#include <QorvPictureBox/gdi.h>

#include "FakeViewHost.h"
#include "support/TestNames.h"
#include "platform/Clock.h"
#include "view/StretchModel.h"
#include "view/ViewGeometry.h"

namespace qorv::view {
namespace {

using testing::FakeHost;
constexpr int L = input::LeftButton;
constexpr int R = input::RightButton;

class NavigationTest : public testing::EngineFixture {
 protected:
  NavigationTest() : EngineFixture(600, 400) {}
  // A picture shown at its own size.
  void place(int w, int h) {
    engine.state().zoomFromOriginal = true;
    engine.assignPicture(Picture::fromImage(testmodel::patternImage(w, h)), false);
    forget();
  }
  void forget() {
    host.events.clear();
    host.zoomCalls.clear();
  }
  Navigation& nav() { return engine.nav(); }
  ViewState& state() { return engine.state(); }
  // Press, one move by (dx, dy), release.
  void drag(int button, float dx, float dy, float x = 300, float y = 200) {
    nav().mouseDown(button, 0, x, y);
    nav().mouseMove(button, 0, x + dx, y + dy);
    nav().mouseUp(button, 0, x + dx, y + dy);
  }
  std::vector<EventId> without(EventId skipped) const {
    std::vector<EventId> v;
    for (EventId e : host.events)
      if (e != skipped) v.push_back(e);
    return v;
  }
};

// Cases are named after their own description.
constexpr auto caseName = [](const auto& info) { return test_support::readableName(info.param.name); };

// ----- panning ----------------------------------------------------------------------------

struct PanCase { const char* name; bool centered; int pictureWidth; float dx; int expectedX; };

class Pan : public NavigationTest, public ::testing::WithParamInterface<PanCase> {};

// A 1000-wide picture in a 600 pane overflows by 400: centred it pans within
// +-200, uncentred within -400..0; a narrower picture does not pan.
TEST_P(Pan, StopsAtTheOverflowBounds) {
  const PanCase& c = GetParam();
  state().centered = c.centered;
  place(c.pictureWidth, 300);
  const int frames = engine.framesComposed();
  nav().mouseDown(L, 0, 300, 200);
  nav().mouseMove(L, 0, 300 + c.dx, 200);
  EXPECT_EQ(state().offsetX, c.expectedX);
  EXPECT_EQ(state().offsetY, 0);
  const bool moved = c.expectedX != 0;
  EXPECT_EQ(host.count(EventId::OffsetChanged), moved ? 1 : 0);
  EXPECT_EQ(engine.framesComposed(), frames + (moved ? 1 : 0));
  nav().mouseUp(L, 0, 300 + c.dx, 200);
  EXPECT_EQ(engine.scheduler().updateTimer().Enabled(), moved);
}

INSTANTIATE_TEST_SUITE_P(
    Bounds, Pan,
    ::testing::Values(PanCase{"centred far right", true, 1000, 1000, 200},
                      PanCase{"centred far left", true, 1000, -1000, -200},
                      PanCase{"centred just inside", true, 1000, -199.6f, -200},
                      PanCase{"uncentred far right", false, 1000, 1000, 0},
                      PanCase{"uncentred far left", false, 1000, -1000, -400},
                      PanCase{"uncentred within", false, 1000, -150, -150},
                      PanCase{"narrower picture", true, 500, 300, 0},
                      PanCase{"infinitely right", true, 1000, std::numeric_limits<float>::infinity(), 200},
                      PanCase{"infinitely left uncentred", false, 1000, -std::numeric_limits<float>::infinity(),
                              -400}),
    caseName);

TEST_F(NavigationTest, APictureSmallerThanThePaneIsCorrectedOnceThenStays) {
  place(300, 200);
  engine.setOffsetsSilently(25, -10);  // unclamped, as the setters leave them
  nav().mouseDown(L, 0, 100, 100);
  nav().mouseMove(L, 0, 150, 120);
  EXPECT_EQ(state().offsetX, 0);
  EXPECT_EQ(state().offsetY, 0);
  nav().mouseMove(L, 0, 250, 180);
  nav().mouseMove(L, 0, 10, 5);
  EXPECT_EQ(host.count(EventId::OffsetChanged), 1);
}

TEST_F(NavigationTest, OffsetChangedHandlerSeesTheNewOffsetsAndMayMoveThem) {
  place(1000, 300);
  QVariantList seen;
  host.handler = [&](EventId id, QVariantList& a) {
    if (id != EventId::OffsetChanged) return;
    seen = a;
    a = {-7, 5};
  };
  drag(L, -120, 0);
  EXPECT_EQ(seen, (QVariantList{-120, 0}));
  EXPECT_EQ(std::pair(state().offsetX, state().offsetY), std::pair(-7, 5));
}

// The pan pointer (or the host's own icon) shows exactly while the picture overflows the pane.
TEST_F(NavigationTest, EachViewUpdateChoosesThePanPointer) {
  place(400, 300);
  const PictureBox& pane = engine.panes().picPane;
  EXPECT_EQ(pane.MousePointer(), 0);
  state().zoom = 200;
  engine.updateView(false, false);
  EXPECT_EQ(pane.MousePointer(), 15);
  engine.panes().picPane.setMouseIcon(Picture::fromImage(testmodel::patternImage(8, 8)));
  engine.updateView(false, false);
  EXPECT_EQ(pane.MousePointer(), 99);
}

// ----- right-button zoom ----------------------------------------------------------------------

struct MouseZoomCase {
  const char* name;
  std::vector<float> moves;  // vertical distances from the press, in order
  int zoomBegins;
  int zoomings;
  int mouseMoves;
  int finalZoom;
  bool mouseZoom = true;
  std::int16_t min = 1, max = 1000;
};

class MouseZoom : public NavigationTest, public ::testing::WithParamInterface<MouseZoomCase> {};

// The zoom starts five pixels from the press and stays within the limits.
TEST_P(MouseZoom, StartsAtFivePixelsWithinTheLimits) {
  const MouseZoomCase& c = GetParam();
  place(400, 300);
  engine.navigation().mouseZoom = c.mouseZoom;
  engine.navigation().keyboardZoomMin = c.min;
  engine.navigation().keyboardZoomMax = c.max;
  nav().mouseDown(R, 0, 300, 200);
  for (float dy : c.moves) nav().mouseMove(R, 0, 300, 200 + dy);
  EXPECT_EQ(std::tuple(host.count(EventId::ZoomBegin), host.count(EventId::Zooming), host.count(EventId::MouseMove),
                       int{state().zoom}, nav().isZooming()),
            std::tuple(c.zoomBegins, c.zoomings, c.mouseMoves, c.finalZoom, c.zoomBegins > 0));
  nav().mouseUp(R, 0, 300, 200);
  EXPECT_EQ(std::tuple(host.count(EventId::ZoomFinished), int{state().zoom}, nav().isZooming()),
            std::tuple(c.zoomBegins, c.finalZoom, false));
}

INSTANTIATE_TEST_SUITE_P(
    Moves, MouseZoom,
    ::testing::Values(MouseZoomCase{"four pixels up raise nothing", {-4}, 0, 0, 1, 100},
                      MouseZoomCase{"four and a half pixels raise nothing", {-4.5f}, 0, 0, 1, 100},
                      MouseZoomCase{"five pixels up begin", {-5}, 1, 1, 0, 105},
                      MouseZoomCase{"five pixels down begin", {5}, 1, 1, 0, 95},
                      MouseZoomCase{"each later move zooms", {-5, -6, -7}, 1, 3, 0, 107},
                      MouseZoomCase{"back inside the threshold still zooms", {-6, -2}, 1, 2, 0, 102},
                      MouseZoomCase{"moves before the start reach the host", {-1, -3, -8}, 1, 1, 2, 108},
                      // Without MouseZoom the gesture still begins and finishes but keeps the zoom.
                      MouseZoomCase{"mouse zoom off", {-40}, 1, 0, 0, 100, false},
                      MouseZoomCase{"far up stops at the maximum", {-5000}, 1, 1, 0, 1000},
                      MouseZoomCase{"far down stops at the minimum", {5000}, 1, 1, 0, 1},
                      MouseZoomCase{"low maximum", {-80}, 1, 1, 0, 150, true, 1, 150},
                      MouseZoomCase{"high minimum", {30}, 1, 1, 0, 90, true, 90, 1000},
                      MouseZoomCase{"crossed limits give the minimum", {-50}, 1, 1, 0, 300, true, 300, 200}),
    caseName);

TEST_F(NavigationTest, VisualZoomRedrawsEveryMoveThroughTheSetter) {
  place(400, 300);
  engine.navigation().visualZoom = true;
  const int frames = engine.framesComposed();
  nav().mouseDown(R, 0, 300, 200);
  for (int dy : {-10, -20, -30}) nav().mouseMove(R, 0, 300, 200.0f + dy);
  EXPECT_EQ(host.zoomCalls, (std::vector<std::int16_t>{110, 120, 130}));
  EXPECT_EQ(engine.framesComposed(), frames + 3);
  // Frames drawn while a button is down use the fast mode.
  EXPECT_EQ(gdi::GetStretchBltMode(engine.panes().bBuffer.hDC()), gdi::COLORONCOLOR);
}

TEST_F(NavigationTest, WithoutVisualZoomTheFrameWaitsForTheSettleRedraw) {
  place(400, 300);
  state().zoomType = gdi::HALFTONE;
  // No display is drawn, so nothing but the settle redraw lifts the suspension.
  host.handler = [](EventId id, QVariantList& a) {
    if (id == EventId::OSDDraw) a[1] = true;
  };
  const int frames = engine.framesComposed();
  nav().mouseDown(R, 0, 300, 200);
  nav().mouseMove(R, 0, 300, 150);
  EXPECT_EQ(state().zoom, 150);
  EXPECT_TRUE(host.zoomCalls.empty());  // stored directly, not through the setter
  EXPECT_TRUE(nav().suspended());
  engine.render(false);  // e.g. a host's Zooming handler refreshing
  nav().mouseUp(R, 0, 300, 150);
  EXPECT_EQ(engine.framesComposed(), frames);
  forget();
  clock.advance(9);
  EXPECT_EQ(engine.framesComposed(), frames);
  clock.advance(1);
  EXPECT_EQ(engine.framesComposed(), frames + 1);
  EXPECT_FALSE(nav().suspended());
  EXPECT_EQ(gdi::GetStretchBltMode(engine.panes().bBuffer.hDC()), gdi::HALFTONE);
  // The zoom that was not drawn while it happened is announced once more.
  EXPECT_EQ(without(EventId::Draw), (std::vector<EventId>{EventId::Zooming}));
}

// Whole gestures as the host sees them: a right drag with the defaults
// (VisualZoom off, so the zoom text shows), then a left drag with the offset display.
TEST_F(NavigationTest, DragsRaiseTheirEventsInOrder) {
  using E = EventId;
  place(400, 300);
  nav().mouseDown(R, 2, 300, 200);
  for (float y : {197.0f, 190.0f, 188.0f}) nav().mouseMove(R, 2, 300, y);
  nav().mouseUp(R, 2, 300, 188);
  clock.advance(10);
  EXPECT_EQ(host.events, (std::vector<E>{E::MouseDown, E::MouseMove, E::ZoomBegin, E::Zooming, E::OSDDraw, E::Zooming,
                                         E::OSDDraw, E::ZoomFinished, E::MouseUp, E::Draw, E::Zooming}));
  EXPECT_EQ(state().zoom, 112);

  place(1000, 300);
  engine.osd().showOffset = true;
  drag(L, -20, 0);
  clock.advance(10);
  EXPECT_EQ(host.events, (std::vector<E>{E::MouseDown, E::Draw, E::OSDDraw, E::OffsetChanged, E::MouseMove,
                                         E::MouseUp, E::Draw}));
}

// ----- which gestures settle, and when the zoom display shows ----------------------------------

enum class Gesture { Click, Pan, Zoom };

struct SettleCase {
  const char* name;
  Gesture gesture;
  bool showOffset;
  bool showZoom;
  bool visualZoom;
  bool hqAutoSwitch;
  bool settles;
  bool zoomShown;  // ZoomOSD always shows the zoom, otherwise only without live redraw
};

class Settle : public NavigationTest, public ::testing::WithParamInterface<SettleCase> {};

TEST_P(Settle, MouseUpArmsTheSettleRedrawOrClearsTheOverlay) {
  const SettleCase& c = GetParam();
  place(1000, 800);
  engine.osd().showOffset = c.showOffset;
  engine.osd().showZoom = c.showZoom;
  engine.navigation().visualZoom = c.visualZoom;
  state().hqAutoSwitch = c.hqAutoSwitch;
  QStringList zoomTexts;
  host.handler = [&](EventId id, QVariantList& a) {
    if (id == EventId::OSDDraw && a[0].toString().endsWith(u'%')) zoomTexts << a[0].toString();
  };
  const int button = c.gesture == Gesture::Zoom ? R : L;
  nav().mouseDown(button, 0, 300, 200);
  if (c.gesture != Gesture::Click) nav().mouseMove(button, 0, 280, 180);
  nav().mouseUp(button, 0, 280, 180);
  EXPECT_EQ(engine.scheduler().updateTimer().Enabled(), c.settles);
  EXPECT_EQ(engine.scheduler().updateTimer().Interval(), 10);
  EXPECT_EQ(zoomTexts, c.zoomShown ? QStringList{"120.0%"} : QStringList{});
}

INSTANTIATE_TEST_SUITE_P(
    Gestures, Settle,
    ::testing::Values(
        SettleCase{"a click clears at once", Gesture::Click, true, true, false, true, false, false},
        SettleCase{"a pan settles", Gesture::Pan, false, false, true, false, true, false},
        SettleCase{"a zoom without live redraw settles", Gesture::Zoom, false, false, false, false, true, true},
        SettleCase{"ZoomOSD without live redraw", Gesture::Zoom, false, true, false, false, true, true},
        SettleCase{"a live fast zoom settles", Gesture::Zoom, false, false, true, true, true, false},
        SettleCase{"a live quality zoom without display clears", Gesture::Zoom, false, false, true, false, false,
                   false},
        SettleCase{"a live quality zoom with its display settles", Gesture::Zoom, false, true, true, false, true,
                   true},
        SettleCase{"the offset display makes a zoom settle", Gesture::Zoom, true, false, true, false, true, false}),
    caseName);

TEST_F(NavigationTest, DisplayTextsAreFormattedAsTheHostExpects) {
  EXPECT_EQ(Navigation::offsetText(-12, 40), "X:-12 Y:40");
  EXPECT_EQ(Navigation::offsetText(0, -2147483647 - 1), "X:0 Y:-2147483648");
  EXPECT_EQ(Navigation::zoomText(150), "150.0%");
  EXPECT_EQ(Navigation::zoomText(-5), "-5.0%");
}

// Cancelling the display suppresses only the drawing: the offsets still
// change and OffsetChanged is still raised.
TEST_F(NavigationTest, CancelledOffsetDisplayStillPans) {
  place(1000, 300);
  engine.osd().showOffset = true;
  engine.osd().transparent = false;
  host.handler = [](EventId id, QVariantList& a) {
    if (id == EventId::OSDDraw) a[1] = true;
  };
  nav().mouseDown(L, 0, 300, 200);
  nav().mouseMove(L, 0, 250, 200);
  EXPECT_EQ(state().offsetX, -50);
  EXPECT_EQ(host.count(EventId::OSDDraw), 1);
  EXPECT_EQ(host.count(EventId::OffsetChanged), 1);
}

// ----- redraw scheduling -------------------------------------------------------------------------

TEST_F(NavigationTest, QualityPassIsSkippedWhileTheRightButtonIsHeld) {
  place(1000, 800);
  state().zoomType = gdi::HALFTONE;
  engine.scheduler().setHqInitialDelay(200);
  engine.render(true);
  const int frames = engine.framesComposed();
  nav().mouseDown(R, 0, 300, 200);
  clock.advance(200);
  EXPECT_EQ(engine.framesComposed(), frames);
  EXPECT_FALSE(engine.scheduler().initTimer().Enabled());
  // A left button alone does not hold the pass back.
  nav().mouseUp(R, 0, 300, 200);
  engine.render(true);
  nav().mouseDown(L, 0, 300, 200);
  clock.advance(200);
  EXPECT_EQ(engine.framesComposed(), frames + 2);
}

TEST_F(NavigationTest, SettleRedrawClearsTheDisplayAndDrawsInQuality) {
  place(1000, 300);
  state().zoomType = gdi::HALFTONE;
  engine.osd().showOffset = true;
  engine.osd().transparent = false;
  drag(L, -100, 0);
  EXPECT_NE(engine.panes().picPane.imageView(), engine.panes().bBuffer.imageView());  // the display is up
  EXPECT_EQ(gdi::GetStretchBltMode(engine.panes().bBuffer.hDC()), gdi::COLORONCOLOR);
  clock.advance(10);
  EXPECT_EQ(engine.panes().picPane.imageView(), engine.panes().bBuffer.imageView());
  EXPECT_EQ(gdi::GetStretchBltMode(engine.panes().bBuffer.hDC()), gdi::HALFTONE);
  EXPECT_FALSE(engine.scheduler().updateTimer().Enabled());
}

// ----- keypad ---------------------------------------------------------------------------------------

struct KeyCase {
  const char* name;
  bool keyboardScale;
  std::int16_t zoom;
  std::int16_t factor;
  std::int16_t min;
  std::int16_t max;
  int key;
  int expected;
  bool setterRuns;
};

class Keypad : public NavigationTest, public ::testing::WithParamInterface<KeyCase> {};

TEST_P(Keypad, ZoomsInSixteenBitSteps) {
  const KeyCase& c = GetParam();
  place(400, 300);
  NavigationSettings& n = engine.navigation();
  n.keyboardScale = c.keyboardScale;
  n.keyboardZoomFactor = c.factor;
  n.keyboardZoomMin = c.min;
  n.keyboardZoomMax = c.max;
  state().zoom = c.zoom;
  int key = c.key;
  nav().keyDown(key, 0);
  EXPECT_EQ(state().zoom, c.expected);
  EXPECT_EQ(host.zoomCalls.size(), c.setterRuns ? 1u : 0u);
  ASSERT_FALSE(host.events.empty());
  EXPECT_EQ(host.events.front(), EventId::KeyDown);  // before the zoom
}

INSTANTIATE_TEST_SUITE_P(
    Keys, Keypad,
    ::testing::Values(KeyCase{"plus adds the factor", true, 100, 10, 1, 1000, 107, 110, true},
                      KeyCase{"plus stops at the maximum", true, 95, 10, 1, 100, 107, 100, true},
                      KeyCase{"minus subtracts the factor", true, 100, 10, 1, 1000, 109, 90, true},
                      KeyCase{"minus stops at the minimum", true, 15, 10, 10, 1000, 109, 10, true},
                      KeyCase{"other keys only raise the event", true, 100, 10, 1, 1000, 65, 100, false},
                      KeyCase{"keyboard scale off", false, 100, 10, 1, 1000, 107, 100, false},
                      KeyCase{"the sum wraps in sixteen bits", true, 32767, 10, 1, 1000, 107, -32759, true},
                      KeyCase{"the difference wraps in sixteen bits", true, -32768, 1, -32768, 1000, 109, 32767,
                              true},
                      KeyCase{"a negative factor turns plus round", true, 100, -10, 1, 1000, 107, 90, true},
                      KeyCase{"crossed limits", true, 250, 10, 300, 200, 107, 200, true}),
    caseName);

// KeyCode travels by reference: a handler that changes it changes what the
// keypad zoom reads, and the pane gets the changed code back.
TEST_F(NavigationTest, AKeyDownHandlerCanRedirectOrSwallowTheKey) {
  place(400, 300);
  host.handler = [](EventId id, QVariantList& a) {
    if (id == EventId::KeyDown && a[0].toInt() == 107) a[0] = 109;
    if (id == EventId::KeyDown && a[0].toInt() == 65) a[0] = 0;
    if (id == EventId::KeyPress) a[0] = 0;
  };
  int key = 107;
  nav().keyDown(key, 0);
  EXPECT_EQ(key, 109);
  EXPECT_EQ(state().zoom, 90);
  int ascii = 'a';
  nav().keyPress(ascii);
  EXPECT_EQ(ascii, 0);
  int up = 65;
  nav().keyDown(up, 0);
  EXPECT_EQ(up, 0);
}

// ----- wheel and pinch ----------------------------------------------------------------------------

// Where the picture point under (x, y) is drawn now, as a fraction of the
// drawn picture, and where that fraction is drawn after a change.
struct Placement { double left, top, w, h; };
Placement placement(const ViewEngine& e) {
  const ViewState& s = e.state();
  const PictureBox& pane = e.panes().picPane;
  const Point2 tl = TopLeft(s.centered, s.offsetX, s.offsetY, pane.ScaleWidth(), pane.ScaleHeight(), e.pictureW(),
                            e.pictureH());
  return {static_cast<double>(roundHalfEven(tl.x)), static_cast<double>(roundHalfEven(tl.y)),
          static_cast<double>(roundHalfEven(e.pictureW())), static_cast<double>(roundHalfEven(e.pictureH()))};
}

// The picture point under the pointer stays under it within a pixel, for
// random pointers, zoom steps and both placements.
TEST_F(NavigationTest, WheelZoomKeepsThePointUnderThePointer) {
  place(800, 600);
  state().ignoreOffsetBorder = true;  // nothing pulls the view back here
  std::mt19937 rng(20240917);
  std::uniform_real_distribution<float> px(0, 600), py(0, 400);
  std::uniform_int_distribution<int> notches(-3, 3), factor(1, 60), flag(0, 1);
  int zoomed = 0;
  for (int i = 0; i < 300; ++i) {
    state().centered = flag(rng) == 1;
    state().zoomFromOriginal = flag(rng) == 1;
    engine.navigation().keyboardZoomFactor = static_cast<std::int16_t>(factor(rng));
    const float x = px(rng), y = py(rng);
    const Placement before = placement(engine);
    const double u = (x - before.left) / before.w;
    const double v = (y - before.top) / before.h;
    const std::int16_t zoom = state().zoom;
    nav().wheel(notches(rng) * input::WheelNotch, false, 0, x, y);
    if (state().zoom == zoom) continue;
    ++zoomed;
    const Placement after = placement(engine);
    EXPECT_LE(std::fabs(after.left + u * after.w - x), 1.0) << "step " << i;
    EXPECT_LE(std::fabs(after.top + v * after.h - y), 1.0) << "step " << i;
  }
  EXPECT_GT(zoomed, 150);
}

TEST_F(NavigationTest, WheelZoomNeverPullsThePictureOffThePane) {
  place(1200, 900);
  // Zoomed in on the bottom-right corner, then out with the pointer there.
  nav().wheel(5 * input::WheelNotch, false, 0, 590, 390);
  nav().wheel(-3 * input::WheelNotch, false, 0, 5, 5);
  const double half = (engine.pictureW() - 600) / 2;
  EXPECT_LE(std::abs(state().offsetX), half + 0.5);
  EXPECT_GE(host.count(EventId::OffsetChanged), 2);
  EXPECT_EQ(host.count(EventId::Zooming), 2);
}

struct WheelCase {
  const char* name;
  bool wheelZoom;
  bool touchpad;
  int shift;
  std::vector<int> deltas;
  bool used;
  int expected;
  bool dragging = false;  // a left drag owns the view
};

class Wheel : public NavigationTest, public ::testing::WithParamInterface<WheelCase> {};

TEST_P(Wheel, ZoomsInKeypadSteps) {
  const WheelCase& c = GetParam();
  place(800, 600);
  engine.navigation().wheelZoom = c.wheelZoom;
  engine.navigation().keyboardZoomMax = 125;
  if (c.dragging) nav().mouseDown(L, 0, 300, 200);
  bool used = true;
  for (int d : c.deltas) used = nav().wheel(d, c.touchpad, c.shift, 300, 200) && used;
  EXPECT_EQ(used, c.used);
  EXPECT_EQ(state().zoom, c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Turns, Wheel,
    ::testing::Values(WheelCase{"one notch away zooms in", true, false, 0, {120}, true, 110},
                      WheelCase{"one notch back zooms out", true, false, 0, {-120}, true, 90},
                      WheelCase{"two notches at once", true, false, 0, {240}, true, 120},
                      WheelCase{"parts of a notch add up", true, false, 0, {30, 30, 30, 30}, true, 110},
                      WheelCase{"a turn back starts afresh", true, false, 0, {90, -90, 90}, true, 100},
                      WheelCase{"stops at the maximum", true, false, 0, {120, 120, 120, 120}, true, 125},
                      WheelCase{"touchpad scroll alone is left to others", true, true, 0, {120}, false, 100},
                      WheelCase{"touchpad scroll with ctrl zooms", true, true, 2, {120}, true, 110},
                      WheelCase{"wheel zoom off", false, false, 0, {120}, false, 100},
                      WheelCase{"waits while a drag owns the view", true, false, 0, {120}, true, 100, true}),
    caseName);

TEST_F(NavigationTest, PinchScalesTheZoomItStartedFrom) {
  place(800, 600);
  using P = input::PinchPhase;
  nav().pinch(P::Begin, 0, 300, 200);
  for (int i = 0; i < 10; ++i) nav().pinch(P::Update, 0.01, 300, 200);  // 1.01^10 = 1.1046
  EXPECT_EQ(state().zoom, 110);
  nav().pinch(P::Update, -0.5, 300, 200);
  EXPECT_EQ(state().zoom, 55);
  nav().pinch(P::Update, std::numeric_limits<double>::quiet_NaN(), 300, 200);
  nav().pinch(P::Update, -1.0, 300, 200);  // a factor of 0 is no scale
  EXPECT_EQ(state().zoom, 55);
  nav().pinch(P::End, 0, 300, 200);
  // An update without a beginning starts from the zoom it finds.
  nav().pinch(P::Update, 1.0, 300, 200);
  EXPECT_EQ(state().zoom, 110);
}

// ----- hostile input ---------------------------------------------------------------------------------

struct HostileCase { const char* name; float x; float y; };

class HostileInput : public NavigationTest, public ::testing::WithParamInterface<HostileCase> {};

TEST_P(HostileInput, GesturesStayWithinTheirBounds) {
  const HostileCase& c = GetParam();
  place(1000, 800);
  for (int button : {L, R, L | R, 4}) {
    nav().mouseDown(button, 0, 300, 200);
    nav().mouseMove(button, 0, c.x, c.y);
    nav().mouseMove(button, 0, c.y, c.x);
    nav().mouseUp(button, 0, c.x, c.y);
    nav().mouseDown(button, 0, c.x, c.y);
    nav().mouseMove(button, 0, 300, 200);
    nav().mouseUp(button, 0, 300, 200);
    nav().wheel(c.x > 0 ? 120 : -120, false, 0, c.x, c.y);
    nav().pinch(input::PinchPhase::Update, 0.5, c.x, c.y);
  }
  clock.advance(100);
  const NavigationSettings& n = engine.navigation();
  EXPECT_GE(state().zoom, n.keyboardZoomMin);
  EXPECT_LE(state().zoom, n.keyboardZoomMax);
  EXPECT_LE(std::abs(state().offsetX), std::abs(roundHalfEven(engine.pictureW())));
  EXPECT_LE(std::abs(state().offsetY), std::abs(roundHalfEven(engine.pictureH())));
  EXPECT_FALSE(nav().isZooming());
  EXPECT_FALSE(nav().dragging());
  EXPECT_FALSE(nav().suspended());
}

INSTANTIATE_TEST_SUITE_P(
    Coordinates, HostileInput,
    ::testing::Values(HostileCase{"not a number", std::numeric_limits<float>::quiet_NaN(), 10},
                      HostileCase{"infinity", std::numeric_limits<float>::infinity(), 10},
                      HostileCase{"minus huge", -1e30f, -1e30f},
                      HostileCase{"largest float", std::numeric_limits<float>::max(), 0}),
    caseName);

TEST_F(NavigationTest, ANaNPressStartsNoGestureButReachesTheHost) {
  place(1000, 800);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  nav().mouseDown(L, 0, nan, 10);
  EXPECT_FALSE(nav().dragging());
  EXPECT_EQ(host.count(EventId::MouseDown), 1);
}

TEST_F(NavigationTest, NoPictureOrNoPaneMeansNoFramesAndNoFailure) {
  // No picture at all.
  drag(L, -50, 0);
  drag(R, 0, -50);
  int key = 107;
  nav().keyDown(key, 0);
  nav().wheel(120, false, 0, 10, 10);
  clock.advance(20);
  EXPECT_EQ(engine.framesComposed(), 0);
  // A picture in a pane of no size.
  place(100, 100);
  engine.layout(0, 0);
  drag(L, -50, 0);
  drag(R, 0, -50);
  nav().wheel(120, false, 0, 0, 0);
  clock.advance(20);
  EXPECT_LE(std::abs(state().offsetX), roundHalfEven(engine.pictureW() / 2) + 1);
}

}  // namespace
}  // namespace qorv::view
