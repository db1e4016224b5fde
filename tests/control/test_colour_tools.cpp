// Colour tools and free rotation as a host sees them: the hue dialog and its
// preview, Colourise without it, palettes from files and built in, rotation
// by any angle, and the clsImageRotate class.
#include <QImage>
#include <QMetaObject>
#include <QTemporaryDir>

#include <fstream>
#include <limits>

#include "ControlFixture.h"
#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/clsImageRotate.h>
#include <QorvPictureBox/gdi.h>
#include "platform/HueDialog.h"

namespace qorv::testing_support {
namespace {

using namespace error_record;

// Plays the user: shows the given steps as previews, then answers.
class ScriptedHueDialog : public HueDialogService {
 public:
  bool run(QWidget*, HueSettings& s, const std::function<void(const HueSettings&)>& preview) override {
    ++runs;
    for (const HueSettings& step : steps) {
      preview(step);
      seen.push_back(shown());
    }
    if (accept) s = steps.back();
    return accept;
  }
  std::function<QImage()> shown;
  std::vector<HueSettings> steps;
  bool accept = false;
  int runs = 0;
  std::vector<QImage> seen;
};

class ColourTools : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    dialog.shown = [this] { return in().Buffer().Image()->toImage().convertToFormat(QImage::Format_RGB32); };
    setHueDialogService(&dialog);
  }
  void TearDown() override {
    setHueDialogService(nullptr);
    ControlTest::TearDown();
  }
  void show(const QImage& img) {
    sizeTo(120, 90);
    ctl->setPicture(Picture::fromImage(img));
    recordEvents();
  }
  // The operation the first progress event announced.
  QString firstProcess() const {
    const std::vector<Raised> p = progress();
    return p.empty() || p[0].id != EventId::ProcessInit ? QString() : p[0].args.back().toString();
  }
  std::string write(const char* name, const std::string& bytes) {
    const std::string path = (dir.path() + u'/' + QString::fromLatin1(name)).toStdString();
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  ScriptedHueDialog dialog;
  QTemporaryDir dir;
};

TEST_F(ColourTools, TheHueDialogPreviewsAndCancelRestoresThePicture) {
  const QImage start = noise(40, 30, 1);
  show(start);
  dialog.steps = {{200, 50, 0}, {10, 90, -20}};
  ctl->Colourise();
  ASSERT_EQ(dialog.runs, 1);
  ASSERT_EQ(dialog.seen.size(), 2u);
  // Each step was shown on the control, without progress events.
  ctl->ColouriseWith(200, 50, 0);
  EXPECT_EQ(dialog.seen[0], current());
  ctl->setPicture(Picture::fromImage(start));
  EXPECT_NE(dialog.seen[1], dialog.seen[0]);
  raised.clear();
  dialog.seen.clear();
  ctl->Colourise();
  EXPECT_TRUE(progress().empty());
  EXPECT_EQ(current(), start);
  EXPECT_EQ(dialog.shown(), start);
}

TEST_F(ColourTools, TheHueDialogAppliesWhatWasChosen) {
  const QImage start = noise(40, 30, 2);
  show(start);
  dialog.steps = {{300, 20, 40}, {120, 70, -30}};
  dialog.accept = true;
  ctl->Colourise();
  const QImage chosen = current();
  EXPECT_EQ(firstProcess(), QStringLiteral("Colourise"));
  ctl->setPicture(Picture::fromImage(start));
  ctl->ColouriseWith(120, 70, -30);
  EXPECT_EQ(current(), chosen);
  EXPECT_NE(chosen, start);
  // Without a picture no dialog opens.
  ctl->setPicture(nullptr);
  ctl->Colourise();
  EXPECT_EQ(dialog.runs, 1);
}

TEST_F(ColourTools, ColouriseWithThroughAutomation) {
  QImage grey(16, 8, QImage::Format_RGB32);
  for (int x = 0; x < 16; ++x)
    for (int y = 0; y < 8; ++y) grey.setPixel(x, y, qRgb(x * 16, x * 16, x * 16));
  show(grey);
  EXPECT_EQ(invokeError("ColouriseWith", {77, 0}), 0);
  EXPECT_EQ(current(), grey);  // no saturation, no shift: greys stay
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(invokeError("ColouriseWith", {nan, 50}), errors::InvalidProcedureCall);
  EXPECT_EQ(invokeError("ColouriseWith", {10, std::numeric_limits<double>::infinity(), 0}), errors::InvalidProcedureCall);
  EXPECT_EQ(invokeError("ColouriseWith", {10}), errors::ArgumentNotOptional);
  EXPECT_EQ(current(), grey);
  // Out-of-range values are accepted; how they are taken round is the processing layer's.
  EXPECT_EQ(invokeError("ColouriseWith", {370, 250, -180}), 0);
  EXPECT_NE(current(), grey);
}

TEST_F(ColourTools, LoadPaletteFillsTheErrorRecordLikeALoad) {
  const QImage start = noise(20, 10, 3);
  show(start);
  struct Case { const char* what; std::string path; qint32 code, flag; };
  const Case cases[] = {
      // One file per way the palette reader refuses one; which files those are is its own test.
      {"missing", (dir.path() + "/none.pal").toStdString(), LoadFailed, FlagWarning},
      {"not a palette", write("text.pal", "hello"), FormatNotSupported, FlagWarning},
      {"truncated", write("short.pal", "JASC-PAL\n0100\n4\n1 2 3\n"), InvalidFileFormat, FlagCritical},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_FALSE(ctl->LoadPalette(QString::fromStdString(c.path)));
    EXPECT_EQ(ctl->LastErrorCode(), c.code);
    EXPECT_EQ(ctl->LastErrorFlag(), c.flag);
    EXPECT_FALSE(ctl->LastErrorDescription().isEmpty());
    EXPECT_EQ(current(), start);
  }
  EXPECT_TRUE(progress().empty());
  QVariantList args{QString::fromStdString(write("bw.gpl", "GIMP Palette\n0 0 0 black\n255 255 255 white\n"))};
  EXPECT_TRUE(ctl->invoke("LoadPalette", QorvPicture::Method, args).toBool());
  EXPECT_EQ(ctl->LastErrorCode(), 0);
  // Only black and white remain; which pixel takes which is the palette's own test.
  EXPECT_EQ(current().convertToFormat(QImage::Format_Mono).convertToFormat(QImage::Format_RGB32), current());
  EXPECT_NE(current(), start);
  ctl->setPicture(nullptr);
  EXPECT_FALSE(ctl->LoadPalette(args[0].toString()));
  EXPECT_EQ(ctl->LastErrorCode(), NothingToSave);
}

TEST_F(ColourTools, BuiltInPalettesByNumber) {
  const QImage start = noise(20, 10, 4);
  show(start);
  EXPECT_EQ(invokeError("ApplyBuiltInPalette", {4}), errors::InvalidProcedureCall);
  EXPECT_EQ(invokeError("ApplyBuiltInPalette", {-1, true}), errors::InvalidProcedureCall);
  EXPECT_EQ(current(), start);
  EXPECT_EQ(invokeError("ApplyBuiltInPalette", {2, true}), 0);
  EXPECT_TRUE(current().allGray());  // number 2 is the grey palette
  EXPECT_EQ(firstProcess(), QStringLiteral("Palette"));
}

TEST_F(ColourTools, RotateAngleGrowsThePictureAndFillsTheCorners) {
  const QImage start = noise(40, 20, 5);
  show(start);
  ctl->setBackColor(qorv::RGB(10, 20, 30));
  QVariantList args{30.0};
  EXPECT_TRUE(ctl->invoke("RotateAngle", QorvPicture::Method, args).toBool());
  // The box size is the processing layer's; the control must adopt it.
  EXPECT_EQ(current().size(), QSize(45, 38));
  EXPECT_EQ(ctl->OrgPictureWidth(), 45);
  EXPECT_EQ(current().pixel(0, 0), qRgb(10, 20, 30));
  ctl->setPicture(Picture::fromImage(start));
  EXPECT_TRUE(ctl->RotateAngle(-45, qorv::RGB(255, 0, 0), 0));
  EXPECT_EQ(current().pixel(0, 0), qRgb(255, 0, 0));
  // A quarter turn is Rotate's.
  ctl->setPicture(Picture::fromImage(start));
  EXPECT_TRUE(ctl->RotateAngle(90, {}, 2));
  const QImage turned = current();
  ctl->setPicture(Picture::fromImage(start));
  ctl->Rotate(true);
  EXPECT_EQ(turned, current());
  // Bad angles and qualities are refused; huge angles turn by their remainder.
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  for (const QVariantList& bad : {QVariantList{nan}, QVariantList{inf}, QVariantList{-inf}, QVariantList{30, 0, 3},
                                  QVariantList{30, 0, -1}})
    EXPECT_EQ(invokeError("RotateAngle", bad), errors::InvalidProcedureCall);
  EXPECT_EQ(current(), turned);
  EXPECT_EQ(invokeError("RotateAngle", {1e9}), 0);
  EXPECT_EQ(invokeError("RotateAngle", {-1e9}), 0);
  ctl->setPicture(nullptr);
  EXPECT_FALSE(ctl->RotateAngle(30));
}

TEST_F(ColourTools, OneByNPicturesSurviveEveryTool) {
  for (const QSize size : {QSize(1, 1), QSize(1, 9), QSize(9, 1)}) {
    show(noise(size.width(), size.height(), 6));
    ctl->ColouriseWith(10, 20, 30);
    ctl->ApplyBuiltInPalette(0, true);
    EXPECT_TRUE(ctl->RotateAngle(33.3));
    EXPECT_TRUE(ctl->RotateAngle(-90));
  }
}

TEST(ImageRotate, ReachableByNameAndRefusesBadCalls) {
  const gdi::HDC dc = gdi::CreateCompatibleDC(0);
  const gdi::HBITMAP bmp = gdi::CreateCompatibleBitmap(0, 8, 6);
  const gdi::HGDIOBJ old = gdi::SelectObject(dc, bmp);
  clsImageRotate r;
  QVariantList args{static_cast<qint32>(dc), 8, 6, 0.7};
  EXPECT_TRUE(r.invoke("rotatebitmap", QorvPicture::Method, args).toBool());
  bool done = false;
  EXPECT_TRUE(QMetaObject::invokeMethod(&r, "RotateBitmap", Q_RETURN_ARG(bool, done), Q_ARG(qint32, static_cast<qint32>(dc)),
                                        Q_ARG(qint32, 4), Q_ARG(qint32, 4), Q_ARG(double, -0.2)));
  EXPECT_TRUE(done);
  EXPECT_FALSE(r.RotateBitmap(0, 8, 6, 1));  // which arguments fail, and why, is the rotation's own test
  const auto rotateError = [&](const char* name, QVariantList a) {
    return testing_support::errorOf([&] { r.invoke(QString::fromLatin1(name), QorvPicture::Method, a); });
  };
  EXPECT_EQ(clsImageRotate::dispidOf("RotateBitmap"), 1);
  EXPECT_EQ(rotateError("Nothing", {}), errors::NotSupported);
  EXPECT_EQ(rotateError("RotateBitmap", {1, 2, 3}), errors::ArgumentNotOptional);
  EXPECT_EQ(rotateError("RotateBitmap", {1, 2, 3, 4, 5}), errors::WrongNumberOfArguments);
  EXPECT_EQ(rotateError("RotateBitmap", {QString("x"), 2, 3, 4}), errors::TypeMismatch);
  gdi::SelectObject(dc, old);
  gdi::DeleteObject(bmp);
  gdi::DeleteDC(dc);
}

}  // namespace
}  // namespace qorv::testing_support
