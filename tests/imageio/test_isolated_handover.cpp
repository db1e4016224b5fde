// The helper's pixels reach the control intact whatever their layout and size
// (rows converted in chunks, rows wider than a chunk), and the control may
// draw on the picture it gets: its pages become its own on the first write.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <string>

#include "ImageFixtures.h"
#include "imageio/ImageLoad.h"

#include <FreeImage.h>

using namespace qorv;
using namespace qorv::imageio;

namespace {

struct Handover {
  const char* name;
  int w, h;
  unsigned bpp;  // of the picture saved: 24 (as BMP) or 32 (as PNG)
};

class IsolatedHandover : public ::testing::TestWithParam<Handover> {};

TEST_P(IsolatedHandover, PixelsArriveIntactAndTheCopyIsWritable) {
  iotest::ensureFreeImage();
  const Handover c = GetParam();
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  const QString path = dir.filePath(QLatin1String(c.bpp == 24 ? "a.bmp" : "a.png"));
  FIBITMAP* dib = iotest::makePatternDib(c.w, c.h);
  if (c.bpp == 32) {
    FIBITMAP* wide = FreeImage_ConvertTo32Bits(dib);
    FreeImage_Unload(dib);
    dib = wide;
  }
  ASSERT_TRUE(FreeImage_Save(c.bpp == 24 ? FIF_BMP : FIF_PNG, dib, QFile::encodeName(path).constData(), 0));
  FreeImage_Unload(dib);

  LoadRequest r;
  r.path = path;
  r.isolated = true;
  const LoadedPicture got = LoadPicture(r);
  ASSERT_TRUE(got.outcome.ok());
  gdi::Surface s;
  ASSERT_TRUE(gdi::BitmapSurface(handleOf(got.picture), s));
  EXPECT_TRUE(iotest::surfacePixels(s) == iotest::patternPixels(c.w, c.h));

  // Drawing on the last pixel of the last row: the write lands, and a second
  // load of the file is not affected by it.
  std::uint8_t* last = s.row(c.h - 1) + 4 * (c.w - 1);
  last[0] = static_cast<std::uint8_t>(last[0] ^ 0xFF);
  EXPECT_NE(iotest::surfacePixels(s).back(), iotest::patternRGB(c.w - 1, c.h - 1));
  const LoadedPicture again = LoadPicture(r);
  ASSERT_TRUE(again.outcome.ok());
  gdi::Surface s2;
  ASSERT_TRUE(gdi::BitmapSurface(handleOf(again.picture), s2));
  EXPECT_EQ(iotest::surfacePixels(s2).back(), iotest::patternRGB(c.w - 1, c.h - 1));
}

INSTANTIATE_TEST_SUITE_P(Layouts, IsolatedHandover,
                         ::testing::Values(Handover{"ManyChunks24", 2003, 150, 24},
                                           Handover{"ManyChunks32", 1001, 301, 32},
                                           Handover{"RowWiderThanAChunk", 70001, 3, 24}),
                         [](const ::testing::TestParamInfo<Handover>& i) { return std::string(i.param.name); });

}  // namespace
