// Drawing and text primitives on the visible pane.
#include <functional>

#include <QImage>

#include <QorvPictureBox/AutomationError.h>

#include "ControlFixture.h"

namespace qorv {
namespace {

using testing_support::ControlTest;

constexpr QRgb kBlack = 0xFF000000;
constexpr QRgb kWhite = 0xFFFFFFFF;

class Drawing : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    sizeTo(80, 60);
    ctl->setBackColor(0xFFFFFF);
    ctl->setForeColor(0x0000FF);  // red: an omitted COLOR must still give black
    ctl->Cls();
  }
  QRgb at(int x, int y) const { return in().picPane().imageView().pixel(x, y); }
};

// Each primitive at pane coordinates, with the COLOR argument left at its
// default: the pixels it must have painted black and those it must not.
TEST_F(Drawing, PrimitivesDrawBlackWithoutColourInPanePixels) {
  const struct {
    const char* label;
    std::function<void(QorvPicture&)> draw;
    QPoint painted;
    QPoint untouched;
  } cases[] = {
      {"Line", [](QorvPicture& c) { c.DrawLine(2, 5, 40, 5); }, {20, 5}, {20, 6}},
      {"Dot", [](QorvPicture& c) { c.DrawDot(7, 9); }, {7, 9}, {8, 9}},
      {"Outline", [](QorvPicture& c) { c.DrawBox(10, 10, 30, 30); }, {10, 20}, {20, 20}},
      {"Filled", [](QorvPicture& c) { c.DrawBox(10, 10, 30, 30, 0, 1); }, {20, 20}, {31, 20}},
      {"Circle", [](QorvPicture& c) { c.DrawCircle(40, 30, 10); }, {50, 30}, {40, 30}},
  };
  for (const auto& c : cases) {
    ctl->Cls();
    // The view's zoom and offsets never move what the primitives draw.
    ctl->setZoom(300);
    in().setOffsetsSilently(-7, -3);
    const int frames = in().framesComposed();
    c.draw(*ctl);
    EXPECT_EQ(at(c.painted.x(), c.painted.y()), kBlack) << c.label;
    EXPECT_EQ(at(c.untouched.x(), c.untouched.y()), kWhite) << c.label;
    EXPECT_EQ(paneCount(0xFFFF0000), 0) << c.label;  // the foreground colour is not used
    EXPECT_EQ(in().framesComposed(), frames) << c.label << ": no redraw requested";
  }
  ctl->DrawLine(0, 0, 79, 0, 0x00FF00);
  EXPECT_EQ(at(40, 0), 0xFF00FF00);
}

TEST_F(Drawing, BoxStylesOtherThanOutlinedAndFilledDrawNothing) {
  for (const qint32 style : {2, -1, 99}) {
    ctl->DrawBox(5, 5, 50, 50, 0, style);
    EXPECT_EQ(paneCount(kWhite), 80 * 60) << style;
  }
}

TEST_F(Drawing, PrintTextMovesToTheNextLineAndMeasuresInPanePixels) {
  ctl->setCurrentX(5);
  ctl->setCurrentY(4);
  ctl->PrintText("Hi");
  EXPECT_EQ(ctl->CurrentX(), 0.0f);
  EXPECT_NEAR(ctl->CurrentY(), 4.0f + static_cast<float>(ctl->RenderTextHeight("Hi")), 0.5f);
  EXPECT_LT(paneCount(kWhite), 80 * 60);
  EXPECT_GT(paneCount(0xFFFF0000), 0);  // text takes the foreground colour
  EXPECT_EQ(ctl->RenderTextHeight("a\nb"), 2 * ctl->RenderTextHeight("a"));
  EXPECT_GT(ctl->RenderTextWidth(QString(100, QLatin1Char('x'))), ctl->RenderTextWidth("x"));
  EXPECT_EQ(ctl->RenderTextWidth(QString()), 0);
  EXPECT_EQ(ctl->RenderScaleWidth(), 80);
  EXPECT_EQ(ctl->RenderScaleHeight(), 60);
  EXPECT_EQ(ctl->hdc(), static_cast<qint32>(in().picPane().hDC()));
  ctl->Cls();
  EXPECT_EQ(paneCount(kWhite), 80 * 60);
  EXPECT_EQ(ctl->CurrentY(), 0.0f);
}

TEST_F(Drawing, PaintPictureLeavesOmittedArgumentsToThePane) {
  ctl->PaintPicture(pattern(10, 8), 5, 5);
  const QImage src = pattern(10, 8)->toImage();
  EXPECT_EQ(at(14, 12), src.pixel(9, 7));  // the picture's own size
  EXPECT_EQ(at(15, 13), kWhite);
  ctl->PaintPicture(pattern(10, 8), 40, 40, 20, 16);
  EXPECT_NE(at(59, 55), kWhite);
  EXPECT_THROW(ctl->PaintPicture(nullptr, 0, 0), AutomationError);
}

// A host that repeats its overlay in the Draw event sees it on every frame.
TEST_F(Drawing, OverlayDrawnFromTheDrawEventSurvivesRedraws) {
  ctl->setPicture(pattern(20, 20));
  QObject::connect(ctl.get(), &QorvPicture::Draw, [this] { ctl->DrawLine(0, 50, 79, 50, 0x00FF00); });
  for (const qint16 zoom : {100, 200}) {
    ctl->setZoom(zoom);
    ctl->Refresh();
    EXPECT_EQ(at(40, 50), 0xFF00FF00) << zoom;
  }
}

// While a primitive draws, a redraw started from inside it (the pane's paint
// notification) paints nothing; a failed drawing call leaves the view still
// until the next primitive completes.
TEST_F(Drawing, GuardKeepsTheViewFromPaintingOverAFigure) {
  ctl->setPicture(pattern(20, 20));
  int inside = -1;
  const int before = in().framesComposed();
  in().drawGuarded([&] {
    ctl->Refresh();
    inside = in().framesComposed();
  });
  EXPECT_EQ(inside, before);
  EXPECT_THROW(in().drawGuarded([] { throw AutomationError(errors::InvalidProcedureCall, "pane", "failed"); }), AutomationError);
  ctl->Refresh();
  EXPECT_EQ(in().framesComposed(), before);
  ctl->DrawDot(0, 0);
  ctl->Refresh();
  EXPECT_EQ(in().framesComposed(), before + 1);
}

}  // namespace
}  // namespace qorv
