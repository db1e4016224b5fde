// Pictures carrying a camera's orientation tag are shown upright when asked,
// and as stored otherwise, whether decoded isolated or in this process.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QColor>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <tuple>

#include "ImageFixtures.h"
#include "imageio/ImageLoad.h"

using namespace qorv;
using namespace qorv::imageio;

namespace {

enum Corner { TL, TR, BL, BR };
const QRgb kCornerColour[] = {qRgb(255, 0, 0), qRgb(0, 255, 0), qRgb(0, 0, 255), qRgb(255, 255, 255)};

// A 32 x 16 JPEG whose quarters are red, green / blue, white, with an EXIF
// block holding only the orientation tag.
QByteArray taggedJpeg(int orientation) {
  QImage img(32, 16, QImage::Format_RGB32);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 32; ++x) img.setPixel(x, y, kCornerColour[(y < 8 ? 0 : 2) + (x < 16 ? 0 : 1)]);
  QByteArray jpeg;
  QBuffer buf(&jpeg);
  buf.open(QIODevice::WriteOnly);
  img.save(&buf, "JPG", 95);
  // TIFF header (big-endian), one IFD entry: 0x0112 SHORT 1 = orientation.
  QByteArray tiff("MM\0\x2A\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01", 18);
  tiff.append(static_cast<char>(0)).append(static_cast<char>(orientation)).append(QByteArray(2, '\0'));
  tiff.append(QByteArray(4, '\0'));  // no next IFD
  const QByteArray exif = QByteArray("Exif\0\0", 6) + tiff;
  const int len = exif.size() + 2;
  QByteArray app1("\xFF\xE1", 2);
  app1.append(static_cast<char>(len >> 8)).append(static_cast<char>(len & 0xFF)).append(exif);
  return jpeg.left(2) + app1 + jpeg.mid(2);
}

struct OrientationCase {
  int tag;
  bool autoRotate;
  bool turned;                 // width and height swap
  Corner topLeft, topRight;    // which stored quarter shows there
};

std::string caseName(const ::testing::TestParamInfo<OrientationCase>& i) {
  return "Tag" + std::to_string(i.param.tag) + (i.param.autoRotate ? "Upright" : "AsStored");
}

class Orientation : public ::testing::TestWithParam<OrientationCase> {};

// The quarter of `img` nearest the given corner, by its (JPEG-blurred) colour.
Corner quarterAt(const QImage& img, bool right) {
  const QColor c = img.pixelColor(right ? img.width() - 3 : 2, 2);
  int best = 0;
  int bestDist = 1 << 30;
  for (int k = 0; k < 4; ++k) {
    const QColor e(kCornerColour[k]);
    const int d = std::abs(c.red() - e.red()) + std::abs(c.green() - e.green()) + std::abs(c.blue() - e.blue());
    if (d < bestDist) bestDist = d, best = k;
  }
  return static_cast<Corner>(best);
}

}  // namespace

TEST_P(Orientation, PictureIsShownAsTheTagSays) {
  iotest::ensureFreeImage();
  const OrientationCase& c = GetParam();
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  const QString path = dir.filePath(QStringLiteral("photo.jpg"));
  ASSERT_TRUE(iotest::writeAll(path, taggedJpeg(c.tag)));
  for (bool isolated : {true, false}) {
    SCOPED_TRACE(isolated ? "isolated" : "in process");
    LoadRequest r;
    r.path = path;
    r.isolated = isolated;
    r.autoRotate = c.autoRotate;
    const LoadedPicture got = LoadPicture(r);
    ASSERT_TRUE(got.outcome.ok());
    const QImage img = got.picture->toImage();
    EXPECT_EQ(std::tuple(img.size(), quarterAt(img, false), quarterAt(img, true)),
              std::tuple(c.turned ? QSize(16, 32) : QSize(32, 16), c.topLeft, c.topRight));
  }
}

INSTANTIATE_TEST_SUITE_P(ExifTags, Orientation,
                         ::testing::Values(OrientationCase{1, true, false, TL, TR},
                                           OrientationCase{2, true, false, TR, TL},
                                           OrientationCase{3, true, false, BR, BL},
                                           OrientationCase{4, true, false, BL, BR},
                                           OrientationCase{5, true, true, TL, BL},
                                           OrientationCase{6, true, true, BL, TL},
                                           OrientationCase{7, true, true, BR, TR},
                                           OrientationCase{8, true, true, TR, BR},
                                           OrientationCase{6, false, false, TL, TR}),
                         caseName);
