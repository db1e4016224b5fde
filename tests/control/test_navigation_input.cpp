// The interactive control as a host and a user meet it: real Qt mouse, key,
// wheel and gesture events sent to the visible pane, the control's signals
// and event hook in return, the redraw timers driven by the manual clock.
#include <QAccessible>
#include <QApplication>
#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QTemporaryDir>
#include <QWheelEvent>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/gdi.h>

#include "ControlFixture.h"

namespace qorv::testing_support {
namespace {

class InputTest : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    sizeTo(600, 400);
    ctl->setZoomFromOriginal(true);
    ctl->setPicture(pattern(1000, 800));  // overflows the pane by 400 x 400
    pane = in().picPane().widget();
    ASSERT_NE(pane, nullptr);
    recordEvents();
  }

  bool send(QEvent&& e) {
    QApplication::sendEvent(pane, &e);
    return e.isAccepted();
  }
  void press(Qt::MouseButton b, QPointF at, Qt::KeyboardModifiers m = {}) {
    send(QMouseEvent(QEvent::MouseButtonPress, at, pane->mapToGlobal(at), b, b, m));
  }
  void moveTo(QPointF at, Qt::MouseButtons held, Qt::KeyboardModifiers m = {}) {
    send(QMouseEvent(QEvent::MouseMove, at, pane->mapToGlobal(at), Qt::NoButton, held, m));
  }
  void release(Qt::MouseButton b, QPointF at, Qt::KeyboardModifiers m = {}) {
    send(QMouseEvent(QEvent::MouseButtonRelease, at, pane->mapToGlobal(at), b, Qt::NoButton, m));
  }
  void key(QEvent::Type type, int qtKey, Qt::KeyboardModifiers m, const QString& text) {
    send(QKeyEvent(type, qtKey, m, text));
  }
  bool wheel(QPointF at, int dy, Qt::KeyboardModifiers m = {}, Qt::ScrollPhase phase = Qt::NoScrollPhase) {
    return send(QWheelEvent(at, pane->mapToGlobal(at), QPoint(), QPoint(0, dy), Qt::NoButton, m, phase, false));
  }
  void gesture(Qt::NativeGestureType type, double value, QPointF at) {
    send(QNativeGestureEvent(type, QPointingDevice::primaryPointingDevice(), 2, at, at, pane->mapToGlobal(at), value,
                             QPointF()));
  }

  QWidget* pane = nullptr;
};

struct MouseArgs {
  int button, shift;
  float x, y;
  bool operator==(const MouseArgs&) const = default;
};

TEST_F(InputTest, ALeftDragPansAndTheHostHearsTheClassicArguments) {
  std::vector<MouseArgs> down, moved, up;
  QObject::connect(ctl.get(), &QorvPicture::MouseDown, [&](int b, int s, float x, float y) {
    down.push_back({b, s, x, y});
  });
  QObject::connect(ctl.get(), &QorvPicture::MouseMove, [&](int b, int s, float x, float y) {
    moved.push_back({b, s, x, y});
  });
  QObject::connect(ctl.get(), &QorvPicture::MouseUp, [&](int b, int s, float x, float y) {
    up.push_back({b, s, x, y});
  });
  std::vector<std::pair<int, int>> offsets;
  QObject::connect(ctl.get(), &QorvPicture::OffsetChanged, [&](int* x, int* y) { offsets.emplace_back(*x, *y); });
  press(Qt::LeftButton, {300, 200}, Qt::ShiftModifier);
  moveTo({250.5, 180}, Qt::LeftButton, Qt::ShiftModifier);
  release(Qt::LeftButton, {250.5, 180}, Qt::ShiftModifier);
  EXPECT_EQ(offsets, (std::vector<std::pair<int, int>>{{-50, -20}}));  // 250.5 - 300 rounds to even
  EXPECT_EQ(down, (std::vector<MouseArgs>{{1, 1, 300, 200}}));
  EXPECT_EQ(moved, (std::vector<MouseArgs>{{1, 1, 250.5f, 180}}));
  EXPECT_EQ(up, (std::vector<MouseArgs>{{1, 1, 250.5f, 180}}));
}

TEST_F(InputTest, ARightDragZoomsLiveThroughTheZoomSetter) {
  ctl->setVisualZoom(true);
  bool zoomingInside = false;
  QObject::connect(ctl.get(), &QorvPicture::Zooming, [&] { zoomingInside = zoomingInside || ctl->IsZooming(); });
  host.changed.clear();
  press(Qt::RightButton, {300, 200}, Qt::ControlModifier);
  moveTo({300, 196}, Qt::RightButton);
  moveTo({300, 190}, Qt::RightButton);
  moveTo({300, 170}, Qt::RightButton);
  EXPECT_TRUE(ctl->IsZooming());
  release(Qt::RightButton, {300, 170});
  EXPECT_FALSE(ctl->IsZooming());
  clock.advance(10);
  EXPECT_TRUE(zoomingInside);
  EXPECT_EQ(ctl->Zoom(), 130);
  EXPECT_EQ(host.changed, (QStringList{"Zoom", "Zoom"}));  // through the setter, as a host's assignment
}

TEST_F(InputTest, KeypadPlusZoomsAfterKeyDownAndOtherPlusKeysDoNot) {
  std::vector<std::pair<int, int>> keys;
  std::vector<int> typed;
  QObject::connect(ctl.get(), &QorvPicture::KeyDown, [&](int* code, int shift) { keys.emplace_back(*code, shift); });
  QObject::connect(ctl.get(), &QorvPicture::KeyPress, [&](int* ascii) { typed.push_back(*ascii); });
  raised.clear();
  key(QEvent::KeyPress, Qt::Key_Plus, Qt::KeypadModifier, "+");
  key(QEvent::KeyRelease, Qt::Key_Plus, Qt::KeypadModifier, "+");
  EXPECT_EQ(ctl->Zoom(), 110);
  EXPECT_EQ(raisedCount(EventId::KeyUp), 1);
  key(QEvent::KeyPress, Qt::Key_Plus, Qt::ShiftModifier, "+");  // the main keyboard's plus
  key(QEvent::KeyPress, Qt::Key_Minus, Qt::KeypadModifier, "-");
  EXPECT_EQ(ctl->Zoom(), 100);
  EXPECT_EQ(keys, (std::vector<std::pair<int, int>>{{107, 0}, {187, 1}, {109, 0}}));
  EXPECT_EQ(typed, (std::vector<int>{'+', '+', '-'}));
}

TEST_F(InputTest, TheWheelZoomsTowardThePointerAndTouchpadScrollsPassOn) {
  ctl->setIgnoreOffsetBorder(true);
  EXPECT_TRUE(wheel({100, 100}, 120));
  EXPECT_EQ(ctl->Zoom(), 110);
  EXPECT_EQ(QPoint(ctl->OffsetX(), ctl->OffsetY()), QPoint(20, 10));  // toward the pointer
  EXPECT_FALSE(wheel({100, 100}, 120, {}, Qt::ScrollUpdate));
  EXPECT_EQ(ctl->Zoom(), 110);
  EXPECT_TRUE(wheel({100, 100}, -120, Qt::ControlModifier, Qt::ScrollUpdate));
  EXPECT_EQ(ctl->Zoom(), 100);
  ctl->setWheelZoom(false);
  EXPECT_FALSE(wheel({100, 100}, 120));
  EXPECT_EQ(ctl->Zoom(), 100);
}

TEST_F(InputTest, APinchZoomsAroundItsCentre) {
  gesture(Qt::BeginNativeGesture, 0, {300, 200});
  gesture(Qt::ZoomNativeGesture, 0.5, {300, 200});
  gesture(Qt::EndNativeGesture, 0, {300, 200});
  EXPECT_EQ(ctl->Zoom(), 150);
  EXPECT_EQ(ctl->OffsetX(), 0);  // the pane's centre stays the picture's centre
}

TEST_F(InputTest, ADoubleClickReachesTheHostAsTheClassicSequence) {
  raised.clear();
  press(Qt::LeftButton, {10, 10});
  release(Qt::LeftButton, {10, 10});
  send(QMouseEvent(QEvent::MouseButtonDblClick, QPointF(10, 10), pane->mapToGlobal(QPointF(10, 10)), Qt::LeftButton,
                   Qt::LeftButton, {}));
  release(Qt::LeftButton, {10, 10});
  using E = EventId;
  EXPECT_EQ(raisedIds(), (std::vector<E>{E::MouseDown, E::MouseUp, E::Click, E::DblClick, E::MouseUp}));
}

// Handlers run inside Qt's event delivery: what they throw stays in the
// control, and the gesture's guard is released for the next move.
TEST_F(InputTest, AThrowingHandlerDoesNotEscapeIntoTheEventLoop) {
  onEvent = [](EventId id, QVariantList&) {
    if (id == EventId::OffsetChanged || id == EventId::KeyDown) throw AutomationError(errors::InvalidProcedureCall, "host", "handler failed");
  };
  press(Qt::LeftButton, {300, 200});
  EXPECT_NO_THROW(moveTo({280, 200}, Qt::LeftButton));
  EXPECT_NO_THROW(key(QEvent::KeyPress, Qt::Key_Plus, Qt::KeypadModifier, "+"));
  onEvent = nullptr;
  moveTo({260, 200}, Qt::LeftButton);
  EXPECT_EQ(ctl->OffsetX(), -40);
}

// A move and a release delivered while a pan's frame lets the message loop
// run: the nested move pans nothing, and the display is not drawn for a
// button already released.
TEST_F(InputTest, InputArrivingInsideAFramesYieldIsHandledOnce) {
  ctl->setShowOffsetOSD(true);
  press(Qt::LeftButton, {300, 200});
  int yields = 0;
  setYieldHook([&] {
    if (yields++ != 0) return;
    moveTo({100, 200}, Qt::LeftButton);
    release(Qt::LeftButton, {100, 200});
  });
  int osd = 0;
  QObject::connect(ctl.get(), &QorvPicture::OSDDraw, [&](QString*, bool*) { ++osd; });
  moveTo({250, 200}, Qt::LeftButton);
  setYieldHook({});
  EXPECT_EQ(ctl->OffsetX(), -50);
  EXPECT_EQ(osd, 0);
  EXPECT_EQ(raisedCount(EventId::MouseUp), 1);
  press(Qt::LeftButton, {300, 200});  // the guard is clear again: grab 350
  moveTo({200, 200}, Qt::LeftButton);
  EXPECT_EQ(ctl->OffsetX(), -150);
}

// ----- loading and the quality pass ---------------------------------------------------------

class LoadTest : public InputTest {
 protected:
  void SetUp() override {
    InputTest::SetUp();
    ASSERT_TRUE(dir.isValid());
    for (const char* name : {"a.png", "b.png"}) {
      const QString path = dir.filePath(name);
      ASSERT_TRUE(testmodel::patternImage(900, 700).save(path));
      files << path;
    }
    ctl->setZoomType(gdi::HALFTONE);
    ctl->setHQInitialDelay(200);
    ctl->setNoLoadingHourGlass(true);
    QObject::connect(ctl.get(), &QorvPicture::Draw, [this] { ++draws; });
  }
  int mode() const { return gdi::GetStretchBltMode(in().bBuffer().hDC()); }

  QTemporaryDir dir;
  QStringList files;
  int draws = 0;
};

// A load shows a fast frame and the quality pass follows after the delay
// (how repeated frames restart the delay is the render tests' concern).
TEST_F(LoadTest, LoadsShowAFastFrameAndAQualityPassAfterTheDelay) {
  ASSERT_TRUE(ctl->LoadFreeImage(files[0]));
  EXPECT_EQ(mode(), gdi::COLORONCOLOR);
  const int loaded = draws;
  clock.advance(200);
  EXPECT_EQ(draws, loaded + 1);
  EXPECT_EQ(mode(), gdi::HALFTONE);
}

TEST_F(LoadTest, KeepViewOnPictureChangeKeepsZoomAndOffsetsWithinRange) {
  ASSERT_TRUE(ctl->LoadFreeImage(files[0]));
  ctl->setZoom(150);  // 1350 x 1050 in 600 x 400: +-375 and +-325
  ctl->Offset(-300, 400);
  ASSERT_TRUE(ctl->LoadFreeImage(files[1]));
  EXPECT_EQ(ctl->OffsetX(), 0);  // the classic reset
  EXPECT_EQ(ctl->OffsetY(), 0);
  ctl->setKeepViewOnPictureChange(true);
  ctl->Offset(-300, 400);
  ASSERT_TRUE(ctl->LoadFreeImage(files[0]));
  EXPECT_EQ(ctl->Zoom(), 150);
  EXPECT_EQ(ctl->OffsetX(), -300);
  EXPECT_EQ(ctl->OffsetY(), 325);  // brought into range
  ctl->Offset(-300, 400);
  ASSERT_TRUE(ctl->LoadFreeImage(files[1], -1, QString(), true));
  EXPECT_EQ(ctl->OffsetY(), 325);
}

// ----- the rest of the surface ---------------------------------------------------------------------

TEST_F(InputTest, GetTicksFollowsTheClock) {
  const qint32 t0 = ctl->GetTicks();
  clock.advance(1234);
  EXPECT_EQ(ctl->GetTicks() - t0, 1234);
}

TEST_F(InputTest, ThePaneAnnouncesThePictureSizeAndTheZoom) {
  QAccessibleInterface* a = QAccessible::queryAccessibleInterface(pane);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->text(QAccessible::Name), "Picture, 1000 by 800 pixels");
  EXPECT_EQ(a->text(QAccessible::Description), "Zoom 100%, shown at 1000 by 800 pixels");
  key(QEvent::KeyPress, Qt::Key_Minus, Qt::KeypadModifier, "-");
  EXPECT_EQ(a->text(QAccessible::Description), "Zoom 90%, shown at 900 by 720 pixels");
  ctl->setPicture(nullptr);
  EXPECT_EQ(a->text(QAccessible::Name), "No picture");
}


// ----- high-density screens ------------------------------------------------------------------------
// The ordinary run has one device pixel per pixel; CTest runs this case once
// more with QT_SCALE_FACTOR=2, where the pane's pixels are device pixels.

struct DensityCase { const char* name; bool devicePixels; };

class DevicePixelsTest : public ControlTest, public ::testing::WithParamInterface<DensityCase> {};

TEST_P(DevicePixelsTest, PaneSizeInputAndShownPixelsFollowTheSwitch) {
  const double screen = ctl->devicePixelRatioF();
  RecordProperty("screenRatio", std::to_string(screen));
  const double r = GetParam().devicePixels ? screen : 1.0;
  ctl->setDevicePixels(GetParam().devicePixels);
  sizeTo(300, 200);
  ctl->setZoomFromOriginal(true);
  ctl->setPicture(pattern(800, 600));
  PictureBox& box = in().picPane();
  EXPECT_DOUBLE_EQ(box.ScaleWidth(), 300 * r);
  EXPECT_DOUBLE_EQ(box.ScaleHeight(), 200 * r);
  QWidget* pane = box.widget();
  ASSERT_NE(pane, nullptr);
  std::vector<std::pair<float, float>> presses;
  QObject::connect(ctl.get(), &QorvPicture::MouseDown, [&](int, int, float x, float y) { presses.emplace_back(x, y); });
  QMouseEvent e(QEvent::MouseButtonPress, QPointF(50, 40), pane->mapToGlobal(QPointF(50, 40)), Qt::LeftButton,
                Qt::LeftButton, {});
  QApplication::sendEvent(pane, &e);
  ASSERT_EQ(presses.size(), 1u);
  EXPECT_FLOAT_EQ(presses[0].first, static_cast<float>(50 * r));
  EXPECT_FLOAT_EQ(presses[0].second, static_cast<float>(40 * r));
  // What the screen gets: one pane pixel per device pixel when the pane
  // works in device pixels, each pane pixel scaled up by the screen otherwise.
  const QImage shown = pane->grab().toImage().convertToFormat(QImage::Format_RGB32);
  const QImage frame = box.imageViewRead().convertToFormat(QImage::Format_RGB32);
  ASSERT_EQ(shown.size(), QSize(qRound(300 * screen), qRound(200 * screen)));
  const double step = screen / r;  // device pixels per pane pixel
  for (int y = 0; y < frame.height(); y += 37)
    for (int x = 0; x < frame.width(); x += 23)
      ASSERT_EQ(shown.pixel(qRound(x * step), qRound(y * step)), frame.pixel(x, y)) << x << "," << y;
}

INSTANTIATE_TEST_SUITE_P(Switch, DevicePixelsTest,
                         ::testing::Values(DensityCase{"DevicePixels", true}, DensityCase{"LogicalPixels", false}),
                         [](const auto& c) { return std::string(c.param.name); });

}  // namespace
}  // namespace qorv::testing_support
