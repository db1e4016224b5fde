// The helper's pixels reach the control intact whatever their layout and size
// (rows converted in chunks, rows wider than a chunk), and the control may
// draw on the picture it gets without touching any other load. The helper
// reuses its hand-over memory from load to load: pictures handed out earlier
// never change with it.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <string>
#include <vector>

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

// The pattern saved as `c` says, in `dir`; empty on failure.
QString savePattern(const QTemporaryDir& dir, const Handover& c) {
  iotest::ensureFreeImage();
  const QString path = dir.filePath(QLatin1String(c.name) + QLatin1String(c.bpp == 24 ? ".bmp" : ".png"));
  return iotest::savePattern(path, c.bpp == 24 ? FIF_BMP : FIF_PNG, c.w, c.h, 0, static_cast<int>(c.bpp)) ? path
                                                                                                        : QString();
}

LoadRequest isolatedLoad(const QString& path) {
  LoadRequest r;
  r.path = path;
  r.isolated = true;
  return r;
}

class IsolatedHandover : public ::testing::TestWithParam<Handover> {};

TEST_P(IsolatedHandover, PixelsArriveIntactAndTheCopyIsWritable) {
  const Handover c = GetParam();
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  const QString path = savePattern(dir, c);
  ASSERT_FALSE(path.isEmpty());
  const LoadRequest r = isolatedLoad(path);
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
  EXPECT_TRUE(iotest::picturePixels(again.picture) == iotest::patternPixels(c.w, c.h));
}

// Larger, smaller, then larger again than any before (the hand-over memory
// grows twice and is reused once in between), widths all different, so that
// a picture still over the reused memory would show another load's rows.
TEST(IsolatedHandoverReuse, EachLoadIsRightAndEarlierPicturesStayAsTheyWere) {
  const Handover loads[] = {{"First", 700, 400, 24}, {"Smaller", 130, 70, 32}, {"Largest", 1001, 600, 24}};
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  std::vector<LoadedPicture> kept;
  for (const Handover& c : loads) {
    SCOPED_TRACE(c.name);
    const QString path = savePattern(dir, c);
    ASSERT_FALSE(path.isEmpty());
    kept.push_back(LoadPicture(isolatedLoad(path)));
    ASSERT_TRUE(kept.back().outcome.ok());
    EXPECT_TRUE(iotest::picturePixels(kept.back().picture) == iotest::patternPixels(c.w, c.h));
  }
  for (std::size_t i = 0; i < kept.size(); ++i) {
    SCOPED_TRACE(loads[i].name);
    EXPECT_TRUE(iotest::picturePixels(kept[i].picture) == iotest::patternPixels(loads[i].w, loads[i].h));
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, IsolatedHandover,
                         ::testing::Values(Handover{"ManyChunks24", 2003, 150, 24},
                                           Handover{"ManyChunks32", 1001, 301, 32},
                                           Handover{"RowWiderThanAChunk", 70001, 3, 24}),
                         [](const ::testing::TestParamInfo<Handover>& i) { return std::string(i.param.name); });

}  // namespace
