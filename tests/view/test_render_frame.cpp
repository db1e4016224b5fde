// Composition of frames into a back buffer, checked pixel by pixel against an
// independent model of the fast stretch mode and of tiling.
#include <gtest/gtest.h>

#include <QImage>

#include <QorvPictureBox/Picture.h>
#include "platform/PictureBox.h"
#include <QorvPictureBox/gdi.h>
#include "support/TestNames.h"
#include "view/RenderFrame.h"
#include "view/StretchModel.h"

namespace qorv::view {
namespace {

using testmodel::patternImage;

constexpr QRgb kBack = 0xFF102030u;  // what the cleared target holds

struct Scene {
  PictureBox source{QStringLiteral("src")};
  PictureBox target{QStringLiteral("dst")};
  int sw, sh;

  Scene(int srcW, int srcH, int dstW, int dstH) : sw(srcW), sh(srcH) {
    const QImage img = patternImage(srcW, srcH);
    source.setAutoSize(true);
    source.setPicture(Picture::fromImage(img));
    target.Move(0, 0, dstW, dstH);
    target.setBackColor(0x302010);  // 0x00BBGGRR of kBack
    target.Cls();
    gdi::SetStretchBltMode(target.hDC(), gdi::COLORONCOLOR);
  }

  // Compares the whole target with the model.
  void check(const FrameParams& p, const char* what) const {
    const int bad = testmodel::countMismatches(
        target.imageView(), static_cast<int>(p.x), static_cast<int>(p.y), p.width, p.height, sw, sh, p.stretch,
        p.tiled, kBack, [&](int px, int py, QRgb got, QRgb want) {
          ADD_FAILURE() << what << ": pixel (" << px << "," << py << ") is " << std::hex << got << " want " << want;
        });
    EXPECT_EQ(bad, 0) << what;
  }
};

struct FrameCase { const char* what; double x, y; int w, h; bool tiled, useBlt, stretch; };

class ComposedFrame : public ::testing::TestWithParam<FrameCase> {};

TEST_P(ComposedFrame, MatchesModel) {
  const FrameCase& c = GetParam();
  Scene s(40, 30, 60, 50);
  FrameParams p;
  p.x = c.x;
  p.y = c.y;
  p.width = c.w;
  p.height = c.h;
  p.tiled = c.tiled;
  p.useBlt = c.useBlt;
  p.stretch = c.stretch;
  composeFrame(s.source, s.target, p);
  s.check(p, c.what);
}

INSTANTIATE_TEST_SUITE_P(
    Placements, ComposedFrame,
    ::testing::Values(FrameCase{"1:1 offset", 7, 9, 40, 30, false, true, true},
                      FrameCase{"enlarged, clipped top-left", -10, -5, 80, 60, false, true, true},
                      FrameCase{"shrunk", 7, 9, 20, 15, false, true, true},
                      FrameCase{"mixed axes", -30, 12, 100, 25, false, true, true},
                      FrameCase{"mostly outside", 50, 40, 13, 47, false, true, true},
                      FrameCase{"far outside", 5000, -7000, 40, 30, false, true, true},
                      FrameCase{"1000 percent crop", -1234, -777, 400, 300, false, true, true},
                      FrameCase{"plain copy", -5, 3, 40, 30, false, true, false},
                      FrameCase{"picture painting path", 3, -4, 70, 20, false, false, true},
                      FrameCase{"tiled shrunk", 7, 9, 20, 15, true, true, true},
                      FrameCase{"tiled enlarged", -10, -5, 80, 60, true, true, true},
                      FrameCase{"tiled far left", -1003, 2, 17, 11, true, true, true},
                      FrameCase{"tiled unscaled", 4, 4, 40, 30, true, true, false},
                      FrameCase{"tiled by painting", 1, 2, 9, 8, true, false, true}),
    [](const auto& p) { return test_support::readableName(p.param.what); });

TEST(ComposedFrame, SubPixelSizeDrawsNothing) {
  Scene s(40, 30, 20, 20);
  const QImage before = s.target.imageView().copy();
  for (const auto& wh : {std::pair{0, 10}, std::pair{10, 0}, std::pair{-5, 10}}) {
    FrameParams p;
    p.width = wh.first;
    p.height = wh.second;
    p.tiled = true;
    composeFrame(s.source, s.target, p);
    EXPECT_EQ(s.target.imageView(), before);
  }
}

TEST(StretchModeChoice, FastOnlyWhenAQualityPassFollows) {
  const struct { bool hq, drag, initial; int interval, zoomType, want; } cases[] = {
      {true, false, false, 250, 4, 4}, {true, true, false, 250, 4, 3},  {true, false, true, 250, 4, 3},
      {true, false, true, 0, 4, 4},    {false, true, true, 250, 4, 4}, {true, false, true, 250, 1, 3},
      {true, false, false, 0, 2, 2},
  };
  for (const auto& c : cases)
    EXPECT_EQ(chooseStretchMode(c.hq, c.drag, c.initial, c.interval, c.zoomType), c.want)
        << c.hq << c.drag << c.initial << c.interval << c.zoomType;
}

}  // namespace
}  // namespace qorv::view
