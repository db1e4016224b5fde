// Picture boxes over shared pixel memory: snapshots, covering pictures and
// placed bitmaps share instead of copying, and drawing on the box never
// reaches the picture or snapshot it shares with.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/GdiSurface.h"
#include "platform/test_gdi_util.h"
#include "platform/test_pane_util.h"
#include <QorvPictureBox/gdi.h>

namespace {

using namespace panetest;
using gditest::pixelsOf;

constexpr int kW = 31, kH = 19;

std::vector<std::uint32_t> paneOf(const PictureBox& box) { return pixelsOf(gdi::CurrentBitmap(box.hDC())); }
bool paneShares(const PictureBox& box, gdi::HBITMAP h) { return gdi::SharesPixels(h, gdi::CurrentBitmap(box.hDC())); }

// The classic result of Cls with a picture: back colour, then the picture's
// part that fits at (0, 0). Computed independently of the box.
std::vector<std::uint32_t> expectedCls(int w, int h, const PicturePtr& pic) {
  const std::uint32_t back = (kBack & 0xFFu) << 16 | (kBack & 0xFF00u) | (kBack >> 16 & 0xFFu);
  std::vector<std::uint32_t> out(static_cast<std::size_t>(w) * h, back);
  if (!pic) return out;
  const std::vector<std::uint32_t> p = pixelsOf(pic->Handle());
  for (int y = 0; y < std::min(h, pic->Height()); ++y)
    for (int x = 0; x < std::min(w, pic->Width()); ++x)
      out[static_cast<std::size_t>(y) * w + x] = p[static_cast<std::size_t>(y) * pic->Width() + x];
  return out;
}

// Everything that draws on a box. Each changes at least one pixel.
const std::pair<const char*, std::function<void(PictureBox&)>> kDrawings[] = {
    {"Line", [](PictureBox& b) { b.Line(0, 0, kW - 1, kH - 1, RGB(255, 0, 0)); }},
    {"filled box", [](PictureBox& b) { b.Line(2, 2, 9, 9, RGB(0, 255, 0), PictureBox::BoxFilled); }},
    {"PSet", [](PictureBox& b) { b.PSet(3, 4, RGB(1, 2, 3)); }},
    {"Circle", [](PictureBox& b) { b.Circle(10, 10, 6, RGB(0, 0, 255)); }},
    {"Print", [](PictureBox& b) {
       b.setForeColor(RGB(255, 255, 0));
       b.Print(QStringLiteral("XW"));
     }},
    {"PaintPicture", [](PictureBox& b) { b.PaintPicture(noisePicture(8, 8, 77), 1, 1); }},
    {"BitBlt into hDC", [](PictureBox& b) { gdi::BitBlt(b.hDC(), 0, 0, kW, kH, 0, 0, 0, gdi::DSTINVERT); }},
    {"GetDC of hWnd", [](PictureBox& b) {
       const gdi::HDC dc = gdi::GetDC(b.hWnd());
       gdi::BitBlt(dc, 0, 0, 5, 5, 0, 0, 0, gdi::BLACKNESS);
       gdi::ReleaseDC(b.hWnd(), dc);
     }},
    {"imageView", [](PictureBox& b) { b.imageView().setPixel(0, 0, 0xFF123456u); }},
};

TEST(SharedPanes, ImageIsASnapshotThatDrawingOnThePaneNeverChanges) {
  for (const auto& [name, draw] : kDrawings) {
    SCOPED_TRACE(name);
    Pane p(kW, kH);
    p.box.PaintPicture(noisePicture(kW, kH, 1), 0, 0);
    const std::vector<std::uint32_t> shown = paneOf(p.box);
    const std::uint64_t copies = gdi::SharedPixelCopies();
    PicturePtr img = p.box.Image();
    ASSERT_TRUE(img);
    EXPECT_TRUE(paneShares(p.box, img->Handle()));
    EXPECT_EQ(gdi::SharedPixelCopies(), copies);
    draw(p.box);
    EXPECT_NE(paneOf(p.box), shown);
    EXPECT_EQ(pixelsOf(img->Handle()), shown);
  }
  // Cls of a snapshotted pane overwrites everything: nothing to copy.
  Pane p(kW, kH);
  p.box.PaintPicture(noisePicture(kW, kH, 4), 0, 0);
  PicturePtr img = p.box.Image();
  const std::vector<std::uint32_t> shown = pixelsOf(img->Handle());
  const std::uint64_t copies = gdi::SharedPixelCopies();
  p.box.Cls();
  EXPECT_EQ(gdi::SharedPixelCopies(), copies);
  EXPECT_EQ(paneOf(p.box), expectedCls(kW, kH, nullptr));
  EXPECT_EQ(pixelsOf(img->Handle()), shown);
}

TEST(SharedPanes, ACoveringPictureIsSharedAndNeverChangedByDrawing) {
  for (const auto& [name, draw] : kDrawings) {
    SCOPED_TRACE(name);
    Pane p(kW, kH);
    PicturePtr pic = noisePicture(kW, kH, 2);
    const std::vector<std::uint32_t> original = pixelsOf(pic->Handle());
    p.box.setPicture(pic);
    EXPECT_TRUE(paneShares(p.box, pic->Handle()));
    EXPECT_EQ(paneOf(p.box), expectedCls(kW, kH, pic));
    // A window DC follows the pane to its new image.
    const gdi::HDC wdc = gdi::GetDC(p.box.hWnd());
    EXPECT_EQ(gdi::CurrentBitmap(wdc), gdi::CurrentBitmap(p.box.hDC()));
    gdi::ReleaseDC(p.box.hWnd(), wdc);
    draw(p.box);
    EXPECT_EQ(pixelsOf(pic->Handle()), original);
    EXPECT_NE(paneOf(p.box), original);
    // Cls brings the picture back without copying it.
    const std::uint64_t copies = gdi::SharedPixelCopies();
    p.box.Cls();
    EXPECT_EQ(paneOf(p.box), original);
    EXPECT_EQ(gdi::SharedPixelCopies(), copies);
    EXPECT_EQ(p.box.CurrentX() + p.box.CurrentY(), 0.0f);
  }
}

TEST(SharedPanes, ClsKeepsClassicResultsForEveryPictureFit) {
  struct Case {
    const char* name;
    int pw, ph, border;
  } cases[] = {{"exact fit", kW, kH, 0}, {"smaller", kW - 5, kH - 3, 0}, {"wider", kW + 4, kH, 0},
               {"taller", kW, kH + 1, 0}, {"one pixel", 1, 1, 0}, {"exact inner, bordered", kW - 4, kH - 4, 1},
               {"outer size, bordered", kW, kH, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PictureBox box;
    box.setBorderStyle(c.border);
    box.Move(0, 0, kW, kH);
    box.setBackColor(kBack);
    PicturePtr pic = noisePicture(c.pw, c.ph, 3);
    box.setPicture(pic);
    const int iw = static_cast<int>(box.ScaleWidth()), ih = static_cast<int>(box.ScaleHeight());
    EXPECT_EQ(paneOf(box), expectedCls(iw, ih, pic));
    box.Line(0, 0, 5, 5, RGB(255, 255, 255), PictureBox::BoxFilled);
    box.Cls();
    EXPECT_EQ(paneOf(box), expectedCls(iw, ih, pic));
    box.setBackColor(kBack);  // a new back colour clears too
    EXPECT_EQ(paneOf(box), expectedCls(iw, ih, pic));
    box.setPicture(nullptr);
    EXPECT_EQ(paneOf(box), expectedCls(iw, ih, nullptr));
  }
}

TEST(SharedPanes, SnapshotShownInAnotherPaneSurvivesBothPanesDrawing) {
  // The render path: a frame's snapshot becomes another pane's picture.
  Pane back(kW, kH), shown(kW, kH);
  back.box.PaintPicture(noisePicture(kW, kH, 5), 0, 0);
  const std::vector<std::uint32_t> frame = paneOf(back.box);
  shown.box.setPicture(back.box.Image());
  EXPECT_EQ(paneOf(shown.box), frame);
  EXPECT_TRUE(paneShares(shown.box, gdi::CurrentBitmap(back.box.hDC())));
  shown.box.Print(QStringLiteral("overlay"));
  back.box.Cls();
  EXPECT_EQ(paneOf(back.box), expectedCls(kW, kH, nullptr));
  shown.box.Cls();
  EXPECT_EQ(paneOf(shown.box), frame);
  EXPECT_EQ(pixelsOf(shown.box.Picture()->Handle()), frame);
}

TEST(SharedPanes, AutoSizedBoxSharesThePictureItIsSizedTo) {
  PictureBox box;
  box.setAutoSize(true);
  PicturePtr pic = noisePicture(40, 25, 6);
  const std::vector<std::uint32_t> original = pixelsOf(pic->Handle());
  int resizes = 0;
  QObject::connect(&box, &PictureBox::Resize, [&] { ++resizes; });
  box.setPicture(pic);
  EXPECT_EQ(resizes, 1);
  EXPECT_TRUE(paneShares(box, pic->Handle()));
  EXPECT_EQ(paneOf(box), original);
  box.Line(0, 0, 39, 24, RGB(255, 0, 0));
  EXPECT_EQ(pixelsOf(pic->Handle()), original);
}

TEST(SharedPanes, PlaceBitmapShowsItAtItsOwnSizeWithoutCopying) {
  Pane p(10, 10);
  p.box.setPicture(noisePicture(10, 10, 7));
  p.box.setCurrentX(5);
  PicturePtr src = noisePicture(37, 21, 8);
  const std::vector<std::uint32_t> original = pixelsOf(src->Handle());
  int resizes = 0;
  QObject::connect(&p.box, &PictureBox::Resize, [&] { ++resizes; });
  const std::uint64_t copies = gdi::SharedPixelCopies();
  ASSERT_TRUE(p.box.placeBitmap(src->Handle()));
  EXPECT_EQ(resizes, 1);
  EXPECT_FALSE(p.box.Picture());
  EXPECT_EQ(std::pair(p.box.Width(), p.box.Height()), std::pair(37, 21));
  EXPECT_EQ(p.box.CurrentX(), 0.0f);
  EXPECT_EQ(paneOf(p.box), original);
  EXPECT_EQ(gdi::SharedPixelCopies(), copies);
  p.box.Line(0, 0, 36, 20, RGB(0, 0, 0), PictureBox::BoxFilled);
  EXPECT_EQ(pixelsOf(src->Handle()), original);
  p.box.Cls();  // without a picture, Cls is the back colour again
  EXPECT_EQ(paneOf(p.box), expectedCls(37, 21, nullptr));

  // What it cannot share is refused and changes nothing.
  const gdi::BITMAPINFO bi = gditest::dibInfo(6, 6, 24);
  void* bits = nullptr;
  const qorv::ScopedBitmap dib(gdi::CreateDIBSection(0, &bi, gdi::DIB_RGB_COLORS, &bits, 0, 0));
  PicturePtr pic = noisePicture(10, 10, 9);
  p.box.setPicture(pic);
  const std::vector<std::uint32_t> before = paneOf(p.box);
  for (const gdi::HANDLE h : {gdi::HANDLE{dib.get()}, gdi::HANDLE{0}, gdi::HANDLE{p.box.hDC()}})
    EXPECT_FALSE(p.box.placeBitmap(h)) << h;
  EXPECT_EQ(p.box.Picture(), pic);
  EXPECT_EQ(paneOf(p.box), before);
  PictureBox bordered;
  bordered.setBorderStyle(1);
  EXPECT_FALSE(bordered.placeBitmap(pic->Handle()));
}

// A loaded picture is placed by sharing where the box allows it and by the
// classic clear, resize and blit where it does not (a border): both leave
// the picture removed and exactly the picture's pixels in the image.
TEST(SharedPanes, PlacePictureSharesOrDrawsToTheSamePixels) {
  PicturePtr src = noisePicture(37, 21, 11);
  for (const int border : {0, 1}) {
    SCOPED_TRACE(border);
    Pane p(10, 10);
    p.box.setBorderStyle(border);
    p.box.setPicture(noisePicture(10, 10, 12));
    const std::uint64_t copies = gdi::SharedPixelCopies();
    p.box.placePicture(src);
    EXPECT_FALSE(p.box.Picture());
    EXPECT_EQ(std::pair(p.box.Width(), p.box.Height()), std::pair(37, 21));
    // A border takes two pixels each side; the picture's top-left part shows.
    const int w = static_cast<int>(p.box.ScaleWidth()), h = static_cast<int>(p.box.ScaleHeight());
    EXPECT_EQ(w, 37 - 4 * border);
    EXPECT_EQ(paneOf(p.box), expectedCls(w, h, src));
    if (border == 0) {
      EXPECT_EQ(gdi::SharedPixelCopies(), copies) << "shared, not copied";
    }
  }
  Pane p(10, 10);
  const std::vector<std::uint32_t> before = paneOf(p.box);
  p.box.placePicture(nullptr);
  EXPECT_EQ(p.box.Width(), 10);
  EXPECT_EQ(paneOf(p.box), before);
}

TEST(SharedPanes, NoHandlesLeakThroughSharing) {
  const std::size_t live = gdi::LiveObjectCount();
  {
    Pane a(kW, kH), b(kW, kH);
    PicturePtr pic = noisePicture(kW, kH, 10);
    a.box.setPicture(pic);
    for (int i = 0; i < 5; ++i) {
      b.box.setPicture(a.box.Image());
      a.box.Line(0, 0, i, i);
      a.box.Cls();
      b.box.Cls();
    }
    ASSERT_TRUE(b.box.placeBitmap(pic->Handle()));
  }
  EXPECT_EQ(gdi::LiveObjectCount(), live);
}

}  // namespace
