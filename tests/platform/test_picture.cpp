// Picture objects: conversion to and from images, ownership of the bitmap,
// and the platform picture loader's formats and failures.
#include <gtest/gtest.h>

#include <QColor>
#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QTemporaryDir>

#include "platform/GdiSurface.h"
#include "platform/test_gdi_util.h"
#include <QorvPictureBox/Picture.h>

#include <tuple>
#include <vector>

namespace qorv {
namespace {

// Distinct channels everywhere and smooth, so that lossy formats stay close.
QImage smooth(int w, int h) {
  QImage img(w, h, QImage::Format_RGB32);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) img.setPixel(x, y, qRgb(x * 5, y * 7, 120 + x + y));
  return img;
}

// Largest channel difference between two equally sized images (alpha ignored).
int maxDifference(const QImage& a, const QImage& b) {
  int worst = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x) {
      const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
      worst = std::max({worst, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)), std::abs(qBlue(p) - qBlue(q))});
    }
  return worst;
}

TEST(PictureTest, ImageRoundTripKeepsEveryPixel) {
  const QImage base = smooth(23, 17);
  // Its own row layout is copied as it is; any other is converted first.
  const QImage::Format formats[] = {QImage::Format_RGB32, QImage::Format_RGB888};
  std::vector<std::uint32_t> bgr;  // the device bitmap's B, G, R bytes read as one word
  for (int y = 0; y < 17; ++y)
    for (int x = 0; x < 23; ++x) bgr.push_back(base.pixel(x, y) & 0xFFFFFFu);
  for (QImage::Format f : formats) {
    const QImage src = base.convertToFormat(f);
    PicturePtr p = Picture::fromImage(src);
    ASSERT_TRUE(p) << f;
    EXPECT_EQ(std::tuple(p->Width(), p->Height(), p->Type()), std::tuple(23, 17, Picture::Bitmap));
    EXPECT_EQ(gditest::pixelsOf(p->Handle()), bgr) << f;
    const QImage back = p->toImage();
    ASSERT_EQ(back.format(), QImage::Format_RGB32);
    ASSERT_EQ(back.size(), base.size());
    EXPECT_EQ(maxDifference(back, base), 0) << f;
  }
}

TEST(PictureTest, NullImageAndNonBitmapHandlesGiveNoPicture) {
  EXPECT_FALSE(Picture::fromImage(QImage()));
  EXPECT_FALSE(Picture::fromBitmap(0));
  const gdi::HDC dc = gdi::CreateCompatibleDC(0);
  EXPECT_FALSE(Picture::fromBitmap(dc));  // a DC is not a bitmap
  gdi::DeleteDC(dc);
  EXPECT_FALSE(Picture::fromBitmap(dc));  // stale
  EXPECT_FALSE(Picture::fromBitmap(0x7FFFFFF0u));
  EXPECT_EQ(handleOf(nullptr), 0u);
}

TEST(PictureTest, OwnsItsBitmapAndDeletesItWithTheLastHolder) {
  const std::size_t before = gdi::LiveObjectCount();
  const gdi::HBITMAP hbm = gdi::CreateCompatibleBitmap(0, 5, 4);
  ASSERT_NE(hbm, 0u);
  {
    PicturePtr p = Picture::fromBitmap(hbm, Picture::Icon);
    ASSERT_TRUE(p);
    EXPECT_EQ(std::tuple(p->Width(), p->Height(), p->Type()), std::tuple(5, 4, Picture::Icon));
    PicturePtr shared = p;
    p.reset();
    EXPECT_EQ(gdi::GetObjectType(hbm), gdi::OBJ_BITMAP);  // still held
  }
  EXPECT_EQ(gdi::GetObjectType(hbm), 0u);
  EXPECT_EQ(gdi::LiveObjectCount(), before);
}

TEST(PictureTest, ToImageReadsBottomUpDibSections) {
  void* bits = nullptr;
  const gdi::HBITMAP hbm = gditest::dibSection(3, 2, 24, &bits);  // bottom-up
  ASSERT_NE(hbm, 0u);
  static_cast<std::uint8_t*>(bits)[2] = 255;  // the first row in memory is the bottom row: its first pixel red
  PicturePtr p = Picture::fromBitmap(hbm);
  ASSERT_TRUE(p);
  const QImage img = p->toImage();
  ASSERT_EQ(img.size(), QSize(3, 2));
  EXPECT_EQ(std::pair(img.pixel(0, 1) & 0xFFFFFF, img.pixel(0, 0) & 0xFFFFFF), std::pair(0xFF0000u, 0u));
}

class PictureLoadTest : public ::testing::Test {
 protected:
  QString path(const QString& name) const { return dir_.filePath(name); }
  QString write(const QString& name, const QByteArray& bytes) const {
    QFile f(path(name));
    EXPECT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(bytes);
    return path(name);
  }
  QTemporaryDir dir_;
};

TEST_F(PictureLoadTest, ReadsClassicFormatsWrittenByQt) {
  const QImage src = smooth(40, 30);
  struct Case {
    const char* file;
    const char* format;
    int tolerance;
    int type;
  } cases[] = {{"a.bmp", "bmp", 0, Picture::Bitmap},
               {"b.jpg", "jpg", 16, Picture::Bitmap},
               {"really-a-bitmap.jpg", "bmp", 0, Picture::Bitmap},  // the content decides
               {"d.ico", "ico", 0, Picture::Icon}};
  for (const Case& c : cases) {
    if (!QImageWriter::supportedImageFormats().contains(c.format)) continue;
    ASSERT_TRUE(src.save(path(c.file), c.format, 95)) << c.file;
    QString error = QStringLiteral("stale");
    PicturePtr p = Picture::load(path(c.file), &error);
    ASSERT_TRUE(p && error.isEmpty()) << c.file << ": " << error.toStdString();
    EXPECT_EQ(p->Type(), c.type) << c.file;
    const QImage got = p->toImage();
    ASSERT_EQ(got.size(), src.size()) << c.file;
    EXPECT_LE(maxDifference(got, src), c.tolerance) << c.file;
  }
}

TEST_F(PictureLoadTest, FailuresGiveNoPictureAndAReason) {
  ASSERT_TRUE(smooth(8, 8).save(path("modern.png"), "png"));
  write(QStringLiteral("garbage.bmp"), QByteArray("BM this is not a bitmap at all", 30));
  write(QStringLiteral("empty.jpg"), QByteArray());
  write(QStringLiteral("drawing.wmf"), QByteArray(64, '\x01'));
  write(QStringLiteral("drawing.EMF"), QByteArray(64, '\x01'));
  struct Case {
    QString path;
    const char* mustMention;
  } cases[] = {{path("missing.bmp"), "not found"},
               {QString(), "not found"},
               {dir_.path(), "read"},
               {path("garbage.bmp"), "Invalid picture"},
               {path("empty.jpg"), "Invalid picture"},
               {path("modern.png"), "Invalid picture"},
               {path("drawing.wmf"), "not supported"},
               {path("drawing.EMF"), "not supported"}};
  for (const Case& c : cases) {
    QString error;
    PicturePtr p = Picture::load(c.path, &error);
    EXPECT_FALSE(p) << c.path.toStdString();
    EXPECT_TRUE(error.contains(QLatin1String(c.mustMention), Qt::CaseInsensitive))
        << c.path.toStdString() << " -> " << error.toStdString();
    EXPECT_FALSE(Picture::load(c.path));  // no error sink: still no crash
  }
}

}  // namespace
}  // namespace qorv
