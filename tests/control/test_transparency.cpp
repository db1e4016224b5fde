// What the visible pane shows of a picture's transparency, and what it shows
// once the picture is taken away.
#include <functional>

#include <QColor>
#include <QImage>
#include <QTemporaryDir>

#include "ControlFixture.h"
#include "platform/HueDialog.h"
#include "view/Transparency.h"

namespace qorv {
namespace {

using testing_support::ControlTest;

constexpr QRgb kOpaqueRed = 0xFFFF0000;
constexpr QRgb kClearBlue = 0x000000FF;  // fully transparent; its colour is blue
constexpr QRgb kHalfGreen = 0x8000FF00;

// 32 x 32: the left half opaque red, columns 16..23 fully transparent blue,
// columns 24..31 half-transparent green.
QImage transparentPicture(QImage::Format format = QImage::Format_ARGB32) {
  QImage img(32, 32, QImage::Format_ARGB32);
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 32; ++x) img.setPixel(x, y, x < 16 ? kOpaqueRed : x < 24 ? kClearBlue : kHalfGreen);
  return img.convertToFormat(format);
}

struct Source {
  const char* name;
  // Gives the control the picture; false when it could not.
  std::function<bool(QorvPicture&, const QString& dir)> give;
  bool halfAlpha;  // the file keeps partial alpha (Qt's palette conversion keeps only on/off)
};

bool loadFile(QorvPicture& c, const QString& path, const QImage& img, const char* format, bool isolated) {
  if (!img.save(path, format)) return false;
  c.setIsolatedDecoding(isolated);
  return c.LoadFreeImage(path);
}

const Source kSources[] = {
    {"PngRgbaIsolated",
     [](QorvPicture& c, const QString& d) {
       return loadFile(c, d + "/a.png", transparentPicture(), "PNG", true);
     },
     true},
    {"PngRgbaInProcess",
     [](QorvPicture& c, const QString& d) {
       return loadFile(c, d + "/a.png", transparentPicture(), "PNG", false);
     },
     true},
    {"PngPaletteWithTransparencyTable",
     [](QorvPicture& c, const QString& d) {
       return loadFile(c, d + "/p.png", transparentPicture(QImage::Format_Indexed8), "PNG", true);
     },
     false},
    {"IconThroughPlatformLoader",
     [](QorvPicture& c, const QString& d) {
       return loadFile(c, d + "/i.ico", transparentPicture(), "ICO", true);
     },
     true},
    {"SetImage",
     [](QorvPicture& c, const QString&) {
       c.setImage(transparentPicture());
       return true;
     },
     true},
};

class TransparencyTest : public ControlTest, public ::testing::WithParamInterface<Source> {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    ASSERT_TRUE(dir.isValid());
    sizeTo(64, 64);
    // The picture 1:1 at the pane's top-left corner, so pane pixels are picture pixels.
    ctl->setCentered(false);
    ctl->setZoomFromOriginal(true);
    ctl->setZoom(100);
    ctl->setBackColor(0x00101010);
  }
  QRgb shown(int x, int y) { return in().picPane().imageViewRead().pixel(x, y) | 0xFF000000; }
  static QRgb grey(int v) { return qRgb(v, v, v); }
  // Gives the control the picture; `stored` is then the colour the picture
  // holds at (20, 2), where it is fully transparent.
  void give() {
    ASSERT_TRUE(GetParam().give(*ctl, dir.path())) << ctl->errorString().toStdString();
    stored = ctl->Picture()->toImage().pixel(20, 2) | 0xFF000000;
  }
  QRgb stored = 0;

  QTemporaryDir dir;
};

TEST_P(TransparencyTest, ShownOverTheCheckerboardOnlyWhileTurnedOn) {
  ctl->setShowTransparency(true);
  give();
  // (20, 2) lies in a light square, (20, 10) in a dark one.
  EXPECT_EQ(shown(2, 2), kOpaqueRed);
  EXPECT_EQ(shown(20, 2), grey(view::CheckerLight));
  EXPECT_EQ(shown(20, 10), grey(view::CheckerDark));
  if (GetParam().halfAlpha) {
    // Half of the green, half of the checkerboard's grey.
    const QColor half = QColor::fromRgb(shown(26, 2));
    EXPECT_NEAR(half.green(), 128 + view::checkerAt(26, 2) * 127 / 255, 2);
    EXPECT_NEAR(half.red(), view::checkerAt(26, 2) * 127 / 255, 2);
  }
  EXPECT_EQ(shown(40, 40), 0xFF101010u) << "outside the picture: the back colour";
  EXPECT_EQ(qAlpha(ctl->image().pixel(20, 2)), 0) << "image() gives the kept alpha";

  // Turned off, the same picture shows as the opaque colours it holds.
  ctl->setShowTransparency(false);
  EXPECT_EQ(shown(20, 2), stored);
  EXPECT_EQ(ctl->image().format(), QImage::Format_RGB32);
  ctl->setShowTransparency(true);
  EXPECT_EQ(shown(20, 10), grey(view::CheckerDark)) << "the alpha was kept while hidden";
}

TEST_P(TransparencyTest, PictureStaysOpaqueAndAsWithoutIt) {
  give();
  const QImage without = ctl->Picture()->toImage();
  EXPECT_EQ(shown(20, 2), stored) << "off by default: the classic opaque view";
  ctl->setShowTransparency(true);
  give();
  EXPECT_EQ(ctl->Picture()->toImage(), without);
}

TEST_P(TransparencyTest, ChangingThePictureDropsTheAlpha) {
  ctl->setShowTransparency(true);
  give();
  ctl->Invert();
  EXPECT_EQ(shown(20, 2), stored ^ 0x00FFFFFFu) << "inverted, no checkerboard";
  EXPECT_EQ(ctl->image().format(), QImage::Format_RGB32);
  give();
  ctl->setPicture(pattern(32, 32));
  EXPECT_NE(qRed(shown(20, 2)), view::CheckerLight);
}

INSTANTIATE_TEST_SUITE_P(Sources, TransparencyTest, ::testing::ValuesIn(kSources),
                         [](const auto& p) { return std::string(p.param.name); });

// The hue dialog previews on the picture itself: the preview keeps the
// transparency, and Cancel brings back the picture with it.
class PreviewingHueDialog : public HueDialogService {
 public:
  bool run(QWidget*, HueSettings& s, const std::function<void(const HueSettings&)>& preview) override {
    s.saturation = 0;
    preview(s);
    duringPreview = check();
    return false;
  }
  std::function<std::pair<QRgb, QRgb>()> check;
  std::pair<QRgb, QRgb> duringPreview;
};

class TransparencyPreview : public TransparencyTest {};

TEST_F(TransparencyPreview, ColourisePreviewKeepsTheTransparency) {
  ctl->setShowTransparency(true);
  ctl->setImage(transparentPicture());
  PreviewingHueDialog dialog;
  dialog.check = [this] { return std::pair{shown(2, 2), shown(20, 10)}; };
  setHueDialogService(&dialog);
  ctl->Colourise();
  setHueDialogService(nullptr);
  const QColor previewed = QColor::fromRgb(dialog.duringPreview.first);
  EXPECT_TRUE(previewed.red() == previewed.green() && previewed.green() == previewed.blue()) << "the preview shows";
  EXPECT_EQ(dialog.duringPreview.second, grey(view::CheckerDark));
  EXPECT_EQ(shown(2, 2), kOpaqueRed);
  EXPECT_EQ(shown(20, 10), grey(view::CheckerDark));
}

// Every way of taking the picture away leaves the pane showing the back
// colour, not the last frame.
struct Emptying {
  const char* name;
  std::function<void(QorvPicture&)> empty;
};

const Emptying kEmptyings[] = {
    {"PictureNothing", [](QorvPicture& c) { c.setPicture(nullptr); }},
    {"SetImageNull", [](QorvPicture& c) { c.setImage(QImage()); }},
    {"PictureSetByDispatch",
     [](QorvPicture& c) {
       QVariantList v{QVariant::fromValue(PicturePtr())};
       c.invoke("Picture", QorvPicture::PropertySet, v);
     }},
};

class EmptyPictureTest : public ControlTest, public ::testing::WithParamInterface<Emptying> {};

TEST_P(EmptyPictureTest, PaneShowsTheBackColour) {
  sizeTo(40, 30);
  ctl->setBackColor(0x00336699);
  ctl->setPicture(pattern(40, 30));
  GetParam().empty(*ctl);
  EXPECT_EQ(paneCount(0xFF996633), 40 * 30);
  EXPECT_EQ(ctl->Picture(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Ways, EmptyPictureTest, ::testing::ValuesIn(kEmptyings),
                         [](const auto& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace qorv
