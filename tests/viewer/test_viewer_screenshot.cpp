// The rendered window checked at a few pixels: the picture where the view puts
// it, the control's background around it, and nothing left of a closed one.
#include <QMenuBar>
#include <QToolBar>

#include <set>

#include "ViewerFixture.h"

namespace qorv_view::test {
namespace {

constexpr QRgb kBackground = 0x282C34;  // the viewer's dark backdrop, RGB(40, 44, 52)

// A colour is "near" when every channel is within a few levels: scaling
// blends only at the edges, which the probes avoid.
bool near(QRgb a, QRgb b, int tolerance = 6) {
  return std::abs(qRed(a) - qRed(b)) <= tolerance && std::abs(qGreen(a) - qGreen(b)) <= tolerance &&
         std::abs(qBlue(a) - qBlue(b)) <= tolerance;
}

TEST_F(ViewerTest, ScreenshotShowsTheFittedPictureOnTheBackdrop) {
  QImage halves(200, 100, QImage::Format_RGB32);
  halves.fill(qRgb(220, 30, 30));
  for (int y = 0; y < 100; ++y)
    for (int x = 100; x < 200; ++x) halves.setPixel(x, y, qRgb(30, 60, 220));
  ASSERT_TRUE(window->openPath(writePicture("halves.png", halves)));
  if (!window->action("viewCentred")->isChecked()) trigger("viewCentred");
  trigger("viewFit");
  QCoreApplication::processEvents();

  const QImage shot = window->grab().toImage();
  QWidget& control = window->control();
  const QRect area(control.mapTo(window.get(), QPoint(0, 0)), control.size());
  ASSERT_TRUE(QRect(QPoint(0, 0), shot.size()).contains(area));
  // Fitted and centred: a 2:1 picture fills the width of a wider-than-tall
  // area, with backdrop above and below.
  const int cy = area.center().y();
  EXPECT_TRUE(near(shot.pixel(area.left() + area.width() / 4, cy), qRgb(220, 30, 30)));
  EXPECT_TRUE(near(shot.pixel(area.left() + area.width() * 3 / 4, cy), qRgb(30, 60, 220)));
  const int pictureHeight = static_cast<int>(window->control().PictureH());
  EXPECT_NEAR(pictureHeight, area.width() / 2, 2);
  EXPECT_TRUE(near(shot.pixel(area.center().x(), area.top() + 3), kBackground));
  EXPECT_TRUE(near(shot.pixel(area.center().x(), area.bottom() - 3), kBackground));
  // The menus and toolbar sit above the picture.
  EXPECT_LT(window->menuBar()->geometry().bottom(), area.top());

  trigger("fileClose");
  QCoreApplication::processEvents();
  const QImage closed = window->grab().toImage();
  EXPECT_TRUE(near(closed.pixel(area.left() + area.width() / 4, cy), kBackground))
      << std::hex << closed.pixel(area.left() + area.width() / 4, cy);
}

// A picture with transparency shows the checkerboard through its transparent
// half (the viewer turns the control's ShowTransparency on), and its stored
// colour once View > Show Transparency is off.
TEST_F(ViewerTest, ScreenshotShowsACheckerboardThroughTransparentPixels) {
  QImage halves(200, 100, QImage::Format_ARGB32);
  halves.fill(qRgba(220, 30, 30, 255));
  for (int y = 0; y < 100; ++y)
    for (int x = 100; x < 200; ++x) halves.setPixel(x, y, qRgba(30, 60, 220, 0));
  ASSERT_TRUE(window->openPath(writePicture("clear.png", halves)));
  trigger("viewFit");
  ASSERT_TRUE(window->action("viewTransparency")->isChecked());
  QWidget& control = window->control();
  const QRect area(control.mapTo(window.get(), QPoint(0, 0)), control.size());
  const QPoint left(area.left() + area.width() / 4, area.center().y());
  const QPoint right(area.left() + area.width() * 3 / 4, area.center().y());
  // Both greys of the checkerboard appear in the transparent half, and only they.
  const QImage shot = window->grab().toImage();
  std::set<QRgb> greys;
  for (int dx = 0; dx < 16; ++dx) greys.insert(shot.pixel(right + QPoint(dx, 0)) & 0xFFFFFF);
  EXPECT_EQ(greys, (std::set<QRgb>{0xCCCCCC, 0xFFFFFF}));
  EXPECT_TRUE(near(shot.pixel(left), qRgb(220, 30, 30)));

  trigger("viewTransparency");
  const QImage opaque = window->grab().toImage();
  EXPECT_TRUE(near(opaque.pixel(right), qRgb(30, 60, 220))) << std::hex << opaque.pixel(right);
}

}  // namespace
}  // namespace qorv_view::test
