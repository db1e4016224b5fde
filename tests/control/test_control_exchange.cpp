// Pictures leaving and entering the control: clipboard, zoomed copy, any DC.
#include <thread>

#include <QImage>

#include <QorvPictureBox/gdi.h>

#include "ControlFixture.h"
#include "platform/ScopedGdi.h"

namespace qorv {
namespace {

using testing_support::ControlTest;

class Exchange : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    sizeTo(200, 150);
    ctl->setZoomFromOriginal(true);  // the zoom applies to the picture's own size
    ctl->setPicture(pattern(40, 30));
  }
  // The clipboard's bitmap as an image; null when it holds none.
  static QImage clipboardImage() {
    if (!gdi::OpenClipboard(0)) return {};
    const auto hbm = static_cast<gdi::HBITMAP>(gdi::GetClipboardData(gdi::CF_BITMAP));
    QImage image;
    if (const PicturePtr copy = hbm ? Picture::fromBitmap(hbm) : nullptr) image = copy->toImage();
    gdi::CloseClipboard();
    return image;
  }
  static void emptyClipboard() {
    gdi::OpenClipboard(0);
    gdi::EmptyClipboard();
    gdi::CloseClipboard();
  }
};

// 0 is the original; any other kind is the zoomed picture.
TEST_F(Exchange, SendToClipboardCopiesTheOriginalOrTheZoomedPicture) {
  ctl->setZoom(200);
  const struct { qint32 kind; QSize size; } cases[] = {{0, {40, 30}}, {1, {80, 60}}, {5, {80, 60}}, {-1, {80, 60}}};
  for (const auto& c : cases) {
    emptyClipboard();
    EXPECT_TRUE(ctl->SendToClipboard(c.kind)) << c.kind;
    const QImage copied = clipboardImage();
    EXPECT_EQ(copied.size(), c.size) << c.kind;
    if (c.kind == 0) {
      EXPECT_EQ(copied, ctl->Picture()->toImage());
    }
    EXPECT_EQ(handleOf(in().clipPicture().Picture()), 0u) << c.kind << ": staging pane emptied";
  }
}

TEST_F(Exchange, AClipboardHeldElsewhereCopiesNothing) {
  emptyClipboard();
  std::thread holder([] { gdi::OpenClipboard(0); });  // opens and never closes
  holder.join();
  EXPECT_FALSE(ctl->SendToClipboard(1));
  EXPECT_EQ(handleOf(in().clipPicture().Picture()), 0u);
  // The holding thread is gone: release its claim for the other tests.
  std::thread([] { gdi::CloseClipboard(); }).join();
}

TEST_F(Exchange, ScaledPictureHasTheDisplayedSizeOnBothPaths) {
  const struct {
    bool useBlt;
    qint16 zoom;
    QSize size;
  } cases[] = {{true, 100, {40, 30}}, {false, 100, {40, 30}}, {true, 50, {20, 15}}, {false, 250, {100, 75}}};
  for (const auto& c : cases) {
    ctl->setUseBltAIP(c.useBlt);
    ctl->setZoom(c.zoom);
    const PicturePtr scaled = ctl->ScaledPicture();
    ASSERT_TRUE(scaled) << c.useBlt << c.zoom;
    EXPECT_EQ(QSize(scaled->Width(), scaled->Height()), c.size) << c.useBlt << c.zoom;
    if (c.zoom == 100) {
      EXPECT_EQ(scaled->toImage(), ctl->Picture()->toImage()) << c.useBlt;
    }
    EXPECT_EQ(handleOf(in().ScalePicture().Picture()), 0u);
  }
}

TEST_F(Exchange, ImageIsThePaneWithItsOverlay) {
  ctl->DrawDot(3, 4, 0x00FF00);
  const QImage image = ctl->Image()->toImage();
  EXPECT_EQ(image.size(), QSize(200, 150));
  EXPECT_EQ(image.pixel(3, 4), 0xFF00FF00);
}

TEST_F(Exchange, BitBltPictureTakesABlockOfAnyDeviceContext) {
  const PicturePtr source = pattern(64, 48);
  const ScopedMemDC dc(gdi::CreateCompatibleDC(0));
  const ScopedSelect sel(dc.get(), handleOf(source));
  ASSERT_TRUE(sel.ok());
  const struct {
    const char* label;
    qint32 hdc;
    qint32 w, h;
    bool result;
    QSize size;  // empty: no picture
  } cases[] = {
      {"Block", static_cast<qint32>(dc.get()), 20, 10, true, {20, 10}},
      {"ZeroWidth", static_cast<qint32>(dc.get()), 0, 10, true, {}},
      {"ZeroBoth", static_cast<qint32>(dc.get()), 0, 0, true, {}},
      {"BadHandle", 0x7FFF1234, 20, 10, false, {}},
      {"Negative", static_cast<qint32>(dc.get()), -5, -5, true, {}},  // as an empty block
      {"Huge", static_cast<qint32>(dc.get()), 100000, 100000, false, {}},
  };
  for (const auto& c : cases) {
    ctl->setPicture(pattern(5, 5));
    int offsetEvents = 0;
    const QMetaObject::Connection conn =
        QObject::connect(ctl.get(), &QorvPicture::OffsetChanged, [&] { ++offsetEvents; });
    EXPECT_EQ(ctl->BitBltPicture(c.hdc, c.w, c.h), c.result) << c.label;
    QObject::disconnect(conn);
    if (!c.result) continue;
    EXPECT_EQ(offsetEvents, 1) << c.label << ": the view is laid out";
    if (c.size.isEmpty()) {
      EXPECT_EQ(handleOf(ctl->Picture()), 0u) << c.label;
    } else {
      ASSERT_NE(handleOf(ctl->Picture()), 0u) << c.label;
      EXPECT_EQ(ctl->Picture()->toImage(), source->toImage().copy(0, 0, c.w, c.h)) << c.label;
    }
  }
}

}  // namespace
}  // namespace qorv
