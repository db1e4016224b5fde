// The rendered window checked at a few pixels: the picture where the view puts
// it, the control's background around it, and nothing left of a closed one.
#include <QMenuBar>
#include <QToolBar>

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

// The checkerboard itself is the control's; the viewer turns it on and
// View > Show Transparency takes it off again, repainting the stored colour.
TEST_F(ViewerTest, ShowTransparencyIsOnAndTheMenuTurnsItOff) {
  QImage clear(200, 100, QImage::Format_ARGB32);
  clear.fill(qRgba(30, 60, 220, 0));
  ASSERT_TRUE(window->openPath(writePicture("clear.png", clear)));
  trigger("viewFit");
  EXPECT_TRUE(window->control().ShowTransparency() && window->action("viewTransparency")->isChecked());
  trigger("viewTransparency");
  EXPECT_FALSE(window->control().ShowTransparency());
  QWidget& control = window->control();
  const QPoint centre = control.mapTo(window.get(), control.rect().center());
  EXPECT_TRUE(near(window->grab().toImage().pixel(centre), qRgb(30, 60, 220)));
}

}  // namespace
}  // namespace qorv_view::test
