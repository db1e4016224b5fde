// The on-screen display as drawn on the pane: centred, boxed unless
// transparent, the shadow under the text, the pane's own drawing state left
// as it was, and the host's say through OSDDraw.
#include <gtest/gtest.h>

#include <QImage>

#include <QorvPictureBox/Colors.h>
#include <QorvPictureBox/Font.h>
#include <QorvPictureBox/Picture.h>

#include "FakeViewHost.h"
#include "platform/Clock.h"
#include "view/ViewGeometry.h"

namespace qorv::view {
namespace {

using testing::FakeHost;

constexpr COLORREF kFore = RGB(255, 0, 0);
constexpr COLORREF kShadow = RGB(0, 0, 255);
constexpr COLORREF kBack = RGB(0, 255, 0);

QRgb rgbOf(COLORREF c) { return qRgb(c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF); }

// The smallest rectangle holding every pixel of one of `colours`.
QRect boundsOf(const QImage& img, std::initializer_list<COLORREF> colours) {
  QRect r;
  for (int y = 0; y < img.height(); ++y)
    for (int x = 0; x < img.width(); ++x)
      for (COLORREF c : colours)
        if ((img.pixel(x, y) & 0xFFFFFF) == (rgbOf(c) & 0xFFFFFF)) r |= QRect(x, y, 1, 1);
  return r;
}

class OnScreenDisplayTest : public testing::EngineFixture {
 protected:
  void SetUp() override {
    EngineFixture::SetUp();
    QImage black(400, 300, QImage::Format_RGB32);
    black.fill(Qt::black);
    engine.assignPicture(Picture::fromImage(black), false);
    OsdSettings& o = engine.osd();
    o.foreColor = kFore;
    o.shadowColor = kShadow;
    o.backColor = kBack;
    o.transparent = true;
    o.shadow = false;
    host.events.clear();
  }
  PictureBox& pane() { return engine.panes().picPane; }
  QImage shown() { return pane().imageView().copy(); }
};

// The shadow lies its size right of and below the text and is drawn first:
// at size 0 the text covers it entirely.
TEST_F(OnScreenDisplayTest, TheShadowLiesItsSizeBesideAndUnderTheText) {
  engine.osd().shadow = true;
  for (std::int16_t size : {2, 0}) {
    engine.osd().shadowSize = size;
    engine.display().draw("150.0%");
    const QImage img = shown();
    const QRect text = boundsOf(img, {kFore});
    const QRect shadow = boundsOf(img, {kShadow});
    ASSERT_FALSE(text.isEmpty());
    if (size == 0) {
      EXPECT_TRUE(shadow.isEmpty());
    } else {
      EXPECT_EQ(shadow.right(), text.right() + size);
      EXPECT_EQ(shadow.bottom(), text.bottom() + size);
    }
  }
}

TEST_F(OnScreenDisplayTest, TheBoxIsCentredAndHoldsTheText) {
  engine.osd().transparent = false;
  const QString text = "X:-12 Y:40";
  engine.display().draw(text);
  const double tw = pane().TextWidth(text);
  const double th = pane().TextHeight(text);
  const int x = roundHalfEven(150 - tw / 2);
  const int y = roundHalfEven(100 - th / 2);
  const QImage img = shown();
  EXPECT_EQ(boundsOf(img, {kBack, kFore}), QRect(QPoint(x, y), QPoint(roundHalfEven(x + tw), roundHalfEven(y + th))));
  EXPECT_TRUE(boundsOf(img, {kBack}).contains(boundsOf(img, {kFore})));
  const OnScreenDisplay::Box& box = engine.display().lastBox();
  EXPECT_EQ(std::tuple(box.left, box.top, box.width), std::tuple(x, y, roundHalfEven(tw)));
}

TEST_F(OnScreenDisplayTest, TransparentDisplaysDrawNoBox) {
  engine.osd().shadow = true;
  engine.display().draw("X:0 Y:0");
  const QImage img = shown();
  EXPECT_TRUE(boundsOf(img, {kBack}).isEmpty());
  EXPECT_FALSE(boundsOf(img, {kFore}).isEmpty());
  EXPECT_EQ(engine.display().lastBox().left, 0);  // nothing recorded for covering
}

TEST_F(OnScreenDisplayTest, ANewDisplayWipesThePreviousOneAndKeepsTheFrame) {
  engine.display().draw("WWWWWWWWWWWWWWWWWWWW");
  const QRect wide = boundsOf(shown(), {kFore});
  engine.display().draw(".");
  const QRect narrow = boundsOf(shown(), {kFore});
  EXPECT_LT(narrow.width(), wide.width() / 4);
  // Everything else is the black frame again.
  const QImage img = shown();
  EXPECT_EQ(img.pixel(wide.left(), wide.center().y()) & 0xFFFFFF, 0u);
  EXPECT_EQ(engine.display().lastText(), ".");
}

TEST_F(OnScreenDisplayTest, TheDisplaysFontIsUsedAndThePanesStateIsRestored) {
  const QRect small = [&] {
    engine.display().draw("150.0%");
    return boundsOf(shown(), {kFore});
  }();
  const FontPtr big = Font::create();
  big->setSize(40);
  engine.osd().font = big;
  const FontPtr own = pane().Font();
  pane().setDrawMode(7);
  pane().setForeColor(RGB(1, 2, 3));
  engine.display().draw("150.0%");
  EXPECT_GT(boundsOf(shown(), {kFore}).height(), small.height() * 2);
  EXPECT_EQ(pane().Font(), own);
  EXPECT_EQ(pane().DrawMode(), 7);
  EXPECT_EQ(pane().ForeColor(), RGB(1, 2, 3));
}

TEST_F(OnScreenDisplayTest, TheHostMayReplaceOrCancelTheText) {
  host.handler = [](EventId id, QVariantList& a) {
    if (id != EventId::OSDDraw) return;
    if (a[0].toString() == "cancel me")
      a[1] = true;
    else
      a[0] = QStringLiteral("Zoom: ") + a[0].toString();
  };
  const QImage before = shown();
  EXPECT_FALSE(engine.display().show("cancel me"));
  EXPECT_EQ(shown(), before);
  EXPECT_TRUE(engine.display().lastText().isEmpty());
  EXPECT_TRUE(engine.display().show("150.0%"));
  EXPECT_EQ(engine.display().lastText(), "Zoom: 150.0%");
  EXPECT_EQ(host.count(EventId::OSDDraw), 2);
}

TEST_F(OnScreenDisplayTest, DrawingLiftsTheSuspensionOfFrames) {
  engine.nav().setSuspended(true);
  engine.display().draw("150.0%");
  EXPECT_FALSE(engine.nav().suspended());
}

TEST_F(OnScreenDisplayTest, ExtremeShadowSizesAndEmptyTextsDrawWithoutFailing) {
  engine.osd().transparent = false;
  engine.osd().shadow = true;
  for (std::int16_t size : {std::int16_t{-32768}, std::int16_t{32767}, std::int16_t{0}}) {
    engine.osd().shadowSize = size;
    engine.display().draw("X:1 Y:1");
    engine.display().draw("");
  }
  engine.layout(0, 0);
  engine.display().draw("X:1 Y:1");
  EXPECT_EQ(engine.display().lastText(), "X:1 Y:1");
}

}  // namespace
}  // namespace qorv::view
