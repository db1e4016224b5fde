// The control's image operations as a host sees them: the picture afterwards,
// the forwarded progress events, and the errors of bad arguments.
#include <QImage>

#include "ControlFixture.h"
#include <QorvPictureBox/AutomationError.h>
#include "processing/cImageProcessDIB.h"

namespace qorv::testing_support {
namespace {

QImage solid(int w, int h, QRgb c) {
  QImage img(w, h, QImage::Format_RGB32);
  img.fill(c);
  return img;
}

QImage rgb(const QImage& i) { return i.convertToFormat(QImage::Format_RGB32); }

class ProcessingMethods : public ControlTest {
 protected:
  void show(const QImage& img) {
    sizeTo(120, 90);
    ctl->setPicture(Picture::fromImage(img));
  }
};

TEST_F(ProcessingMethods, BuiltInFiltersIgnoreTheGivenWeight) {
  show(solid(5, 5, qRgb(100, 100, 100)));
  ctl->ApplyFilter(static_cast<qint32>(gEFilterTypes::eSharpen), 100);
  EXPECT_EQ(in().mImageProcessDIB().FilterWeight(), 7);
  // A flat picture sharpened with weight 7 stays flat (7 v / 7).
  EXPECT_EQ(current(), solid(5, 5, qRgb(100, 100, 100)));
}

// What a custom kernel and its weight compute is compared with the engine
// by the direct-route tests; an unknown filter is the control's to refuse.
TEST_F(ProcessingMethods, UnknownFilterIsRefusedAndChangesNothing) {
  show(noise(5, 5, 2));
  const QImage before = current();
  EXPECT_THROW(ctl->ApplyFilter(14), AutomationError);
  EXPECT_EQ(current(), before);
}

TEST_F(ProcessingMethods, AutomationRowsRunAlongTheHorizontalOffset) {
  // Each inner list is one row on screen: its entries are horizontal offsets,
  // the list's own position is the vertical offset.
  struct Case {
    QVariantList rows;
    int i, j;  // where the single 1 must land
  };
  const Case cases[] = {
      {{QVariantList{0, 0, 0}, QVariantList{0, 0, 1}, QVariantList{0, 0, 0}}, 1, 0},
      {{QVariantList{0, 0, 0}, QVariantList{0, 0, 0}, QVariantList{0, 1, 0}}, 0, 1},
      {{QVariantList{1, 0, 0}, QVariantList{0, 0, 0}, QVariantList{0, 0, 0}}, -1, -1},
  };
  for (const Case& c : cases) {
    ctl->invoke(QStringLiteral("AddCustomFilter"), QorvPicture::Method, QVariantList{QVariant(c.rows)});
    cImageProcessDIB& e = in().mImageProcessDIB();
    ASSERT_EQ(e.FilterArraySize(), 3);
    for (int j = -1; j <= 1; ++j) {
      for (int i = -1; i <= 1; ++i) EXPECT_EQ(e.FilterValue(i, j), i == c.i && j == c.j ? 1 : 0) << i << "," << j;
    }
  }
}

TEST_F(ProcessingMethods, HugeOrShapelessKernelArraysFailCleanly) {
  struct Case { int lower1, upper1, lower2, upper2; std::int32_t number; };
  const Case cases[] = {
      {-1000000, 1000000, -1, 1, errors::FilterInvalidValue},       // size far above 99
      {-200, 10, -1, 1, errors::SubscriptOutOfRange},               // fits the size, not the copy
      {-1, 1, -2000000000, 2000000000, errors::SubscriptOutOfRange},
      {-3, -1, 0, 0, errors::FilterInvalidValue},                   // size -1
  };
  for (const Case& c : cases) {
    IntArray2D a;
    a.lower1 = c.lower1;
    a.upper1 = c.upper1;
    a.lower2 = c.lower2;
    a.upper2 = c.upper2;  // no values at all: never read
    EXPECT_EQ(errorOf([&] { ctl->AddCustomFilter(a); }), c.number) << c.lower1 << ".." << c.upper1;
  }
}

TEST_F(ProcessingMethods, DarkenAndLightenNeedANumber) {
  show(solid(3, 2, qRgb(200, 100, 255)));
  for (const QVariant& bad : {QVariant(), QVariant(QStringLiteral("abc")), QVariant(QStringLiteral(""))}) {
    EXPECT_EQ(errorOf([&] { ctl->Darken(bad); }), errors::TypeMismatch) << bad.toString().toStdString();
    EXPECT_EQ(errorOf([&] { ctl->Lighten(bad); }), errors::TypeMismatch) << bad.toString().toStdString();
  }
  EXPECT_EQ(invokeError("Darken", {QStringLiteral("abc")}), errors::TypeMismatch);
  try {
    ctl->Darken(QVariant());
  } catch (const AutomationError& e) {
    EXPECT_EQ(e.description(), "Type mismatch");
  }
  EXPECT_EQ(current(), solid(3, 2, qRgb(200, 100, 255)));
  ctl->Darken(QStringLiteral("128"));
  EXPECT_EQ(current(), solid(3, 2, qRgb(100, 50, 128)));
}

TEST_F(ProcessingMethods, OperationsChainOnTheProcessedPicture) {
  const QImage start = noise(7, 5, 3);
  show(start);
  ctl->Invert();
  QImage inverted = start;
  inverted.invertPixels();
  EXPECT_EQ(current(), rgb(inverted));
  ctl->Invert();
  EXPECT_EQ(current(), rgb(start));
  ctl->Flip(static_cast<qint32>(FlipOrientations::Verticle));
  EXPECT_EQ(current(), rgb(start.mirrored(false, true)));
  ctl->Flip(static_cast<qint32>(FlipOrientations::Hor_And_Vert));
  EXPECT_EQ(current(), rgb(start.mirrored(true, false)));
  // The exact grey and threshold are the processing layer's; here only that
  // each method reaches its own operation and replaces the picture.
  ctl->Grayscale();
  EXPECT_TRUE(current().allGray());
  ctl->BlackAndWhite();
  EXPECT_EQ(current().convertToFormat(QImage::Format_Mono).convertToFormat(QImage::Format_RGB32), current());
}

TEST_F(ProcessingMethods, RotateTurnsTheBufferAQuarter) {
  const QImage start = noise(400, 200, 9);
  show(start);
  bool cw = true;
  EXPECT_FALSE(ctl->Rotate(&cw));
  const QImage once = current();
  ASSERT_EQ(once.size(), QSize(200, 400));
  EXPECT_EQ(once.pixel(0, 0), start.pixel(0, 199));
  EXPECT_EQ(once.pixel(199, 399), start.pixel(399, 0));
  EXPECT_EQ(ctl->OrgPictureWidth(), 200);
  show(start);
  ctl->Rotate(false);
  EXPECT_EQ(current().pixel(0, 0), start.pixel(399, 0));
}

TEST_F(ProcessingMethods, ResampleChangesTheSizeOrNothing) {
  const QImage start = noise(6, 4, 5);
  show(start);
  for (auto [w, h] : {std::pair{0, 0}, {-1, 5}, {5, -1}, {100000, 100000}, {2147483647, 3}}) {
    ctl->Resample(w, h);
    EXPECT_EQ(current(), rgb(start)) << w << "x" << h;
  }
  ctl->Resample(6, 4);
  EXPECT_EQ(current(), rgb(start));
  ctl->Resample(12, 3);
  EXPECT_EQ(current().size(), QSize(12, 3));
  EXPECT_EQ(ctl->OrgPictureWidth(), 12);
}

TEST_F(ProcessingMethods, CombinePicturesOfOtherSizesOrNone) {
  show(solid(4, 3, qRgb(9, 9, 9)));
  const PicturePtr big = Picture::fromImage(solid(6, 6, qRgb(255, 255, 255)));
  const PicturePtr small = Picture::fromImage(solid(2, 2, qRgb(100, 100, 100)));
  const PicturePtr mid = Picture::fromImage(solid(4, 3, qRgb(50, 60, 70)));
  // Unknown combination: nothing changes.
  ctl->CombinePictures(big, mid, 0, 1, 1, 0, 0);
  EXPECT_EQ(current(), solid(4, 3, qRgb(9, 9, 9)));
  // Picture1 (cut to Buffer's size) is lighter everywhere than the missing Picture2.
  ctl->CombinePictures(big, nullptr, static_cast<qint32>(ECombinationTypeConstants::eLightest));
  EXPECT_EQ(current(), solid(4, 3, qRgb(255, 255, 255)));
  // Picture1 covers only the top-left 2 x 2.
  ctl->CombinePictures(small, mid, static_cast<qint32>(ECombinationTypeConstants::eAdd), 1.0f, 1.0f, 0, 10);
  QImage expect = solid(4, 3, qRgb(60, 70, 80));
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 2; ++x) expect.setPixel(x, y, qRgb(160, 170, 180));
  }
  EXPECT_EQ(current(), expect);
  // A missing Picture1 is black, darker than all of Picture2.
  ctl->CombinePictures(nullptr, mid, static_cast<qint32>(ECombinationTypeConstants::eDarkest));
  EXPECT_EQ(current(), solid(4, 3, qRgb(0, 0, 0)));
}

TEST_F(ProcessingMethods, WithoutAPictureNothingHappens) {
  sizeTo(50, 50);
  recordEvents();
  ctl->Invert();
  ctl->Flip(0);
  ctl->ApplyFilter(static_cast<qint32>(gEFilterTypes::eBlur));
  ctl->Grayscale();
  ctl->BlackAndWhite();
  ctl->AddNoise(50, true);
  ctl->Darken(3);
  ctl->Lighten(3);
  ctl->Resample(10, 10);
  ctl->Rotate(true);
  ctl->CombinePictures(nullptr, nullptr, 1);
  EXPECT_EQ(handleOf(ctl->Picture()), 0u);
  EXPECT_TRUE(progress().empty());
}

}  // namespace
}  // namespace qorv::testing_support
