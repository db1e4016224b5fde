// The working image: layout, creation limits, lifecycle, copies in and out,
// noise, resampling and the clipboard.
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <tuple>

#include <QString>

#include "ProcessingTestSupport.h"
#include "ReferenceFilters.h"
#include "platform/GdiSurface.h"
#include "platform/Host.h"
#include "platform/Random.h"
#include "platform/ScopedGdi.h"

namespace qorv {
namespace {

using test_support::Bytes;

TEST(DibLayout, BytesPerScanLinePadsToFourBytes) {
  const std::pair<std::int32_t, std::int32_t> cases[] = {{1, 4}, {2, 8}, {3, 12}, {4, 12}, {5, 16}, {7, 24}, {8, 24}};
  for (auto [w, stride] : cases) {
    cDIBSection d;
    ASSERT_TRUE(d.Create(w, 2));
    EXPECT_EQ(std::tuple(d.BytesPerScanLine(), cDIBSection::BytesPerScanLineFor(w), d.Width(), d.Height()),
              std::tuple(stride, stride, w, 2));
  }
}

TEST(DibLayout, RowsAreBottomUpBlueGreenRed) {
  cDIBSection d;
  ASSERT_TRUE(d.Create(2, 3));
  test_support::fillPixels(d, 0, 0, 0);
  // Pixel (1, 0) of memory row 0 is the bottom-right pixel of the picture.
  d.View().at(3, 0) = 10;  // blue
  d.View().at(5, 0) = 30;  // red
  gdi::Surface s;
  ASSERT_TRUE(gdi::BitmapSurface(d.hDib(), s));
  EXPECT_EQ(std::tuple(s.bottomUp, s.bitsPerPixel, s.row(2)[3], s.row(2)[5]), std::tuple(true, 24, 10, 30));
  EXPECT_EQ(gdi::GetObjectType(d.hdc()), gdi::OBJ_MEMDC);
  EXPECT_EQ(gdi::CurrentBitmap(d.hdc()), d.hDib());
}

TEST(DibLifecycle, BadSizesFailCleanly) {
  const std::pair<std::int32_t, std::int32_t> cases[] = {
      {0, 0}, {0, 5}, {5, 0}, {-1, 4}, {4, -1}, {-7, -7}, {2147483647, 1}, {1, 2147483647}, {100000, 100000}, {65536, 32768}};
  const std::size_t live = gdi::LiveObjectCount();
  for (auto [w, h] : cases) {
    cDIBSection d;
    EXPECT_FALSE(d.Create(w, h)) << w << "x" << h;
    EXPECT_EQ(std::tuple(d.IsEmpty(), d.hdc(), d.hDib(), d.Width(), d.Height()), std::tuple(true, 0u, 0u, 0, 0));
  }
  EXPECT_EQ(gdi::LiveObjectCount(), live);
}

TEST(DibLifecycle, RecreateAndClearUpReleaseEverything) {
  const std::size_t live = gdi::LiveObjectCount();
  {
    cDIBSection d;
    d.ClearUp();  // empty: nothing to do
    ASSERT_TRUE(d.Create(10, 10));
    ASSERT_TRUE(d.Create(3, 7));  // re-created at another size
    EXPECT_EQ(d.Width(), 3);
    EXPECT_GT(gdi::LiveObjectCount(), live);
    d.ClearUp();
    d.ClearUp();
    EXPECT_TRUE(d.IsEmpty());
    EXPECT_EQ(gdi::LiveObjectCount(), live);
    ASSERT_TRUE(d.Create(4, 4));
  }
  EXPECT_EQ(gdi::LiveObjectCount(), live);
}

TEST(DibCopies, PictureInAndOutRoundTrips) {
  const std::size_t live = gdi::LiveObjectCount();
  cDIBSection src;
  ASSERT_TRUE(src.Create(7, 5));
  test_support::fillRandom(src, 11);
  {
    // A device bitmap (32-bit, top-down) as a picture would hold.
    const ScopedBitmap bmp(gdi::CreateCompatibleBitmap(0, 7, 5));
    const ScopedMemDC dc(gdi::CreateCompatibleDC(0));
    ScopedSelect selection(dc.get(), bmp.get());
    src.PaintPicture(dc.get());
    // Selected into a context of its own or not, the bitmap copies in.
    for (const bool selected : {true, false}) {
      if (!selected) selection.restore();
      cDIBSection copy;
      copy.CreateFromPicture(bmp.get());
      ASSERT_EQ(std::pair(copy.Width(), copy.Height()), std::pair(7, 5));
      for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 21; ++x) EXPECT_EQ(copy.View().at(x, y), src.View().at(x, y));
    }
  }
  cDIBSection none;
  none.CreateFromPicture(0);
  EXPECT_EQ(none.Width(), 0);
  none.CreateFromPicture(src.hdc());  // not a bitmap
  EXPECT_EQ(none.Width(), 0);
  src.ClearUp();
  EXPECT_EQ(gdi::LiveObjectCount(), live);
}

TEST(DibNoise, ColourNoiseKeepsBlueZeroAndPaddingIntact) {
  for (bool gray : {false, true}) {
    for (std::int32_t w : {1, 2, 3, 5, 9}) {
      cDIBSection d;
      ASSERT_TRUE(d.Create(w, 6));
      test_support::fillPixels(d, 77, 77, 77);
      d.RandomiseBits(gray);
      const Bytes b = test_support::snapshot(d);
      EXPECT_TRUE(test_support::paddingIntact(b));
      bool varied = false;
      for (int y = 0; y < 6; ++y)
        for (int x = 0; x < w; ++x) {
          const int blue = b.at(3 * x, y), green = b.at(3 * x + 1, y), red = b.at(3 * x + 2, y);
          // Grey noise has three equal channels; colour noise leaves blue 0.
          EXPECT_EQ(std::pair(blue, red), gray ? std::pair(green, green) : std::pair(0, red)) << x << "," << y;
          varied = varied || green != b.at(1, 0);
        }
      EXPECT_TRUE(varied || w < 3);
    }
  }
}

TEST(DibNoise, UsesTheGeneratorRoundedToNearest) {
  std::vector<double> seq = {0.5 / 255, 1.5 / 255, 0.999999, 0.0};
  std::size_t i = 0;
  setRandomSource([&] { return seq[i++ % seq.size()]; });
  cDIBSection d;
  d.Create(2, 1);
  d.RandomiseBits(true);
  setRandomSource({});
  // 0.5 rounds to 0, 1.5 to 2 (halves to even).
  EXPECT_EQ(std::pair(d.View().at(0, 0), d.View().at(3, 0)), std::pair(std::uint8_t{0}, std::uint8_t{2}));
}

// The bilinear reference, except that the same size is an exact copy.
Bytes expectedResample(const Bytes& src, std::int32_t nw, std::int32_t nh) {
  Bytes out = test_support::reference::resample(src, nw, nh);
  if (nw == src.width && nh == src.height)
    for (int y = 0; y < nh; ++y)
      for (int x = 0; x < 3 * nw; ++x) out.at(x, y) = src.at(x, y);
  return out;
}

// Fixed sizes from and to awkward shapes, random ones for both ways of
// interpolating (whole source rows, or per pixel for results much narrower
// than the source) and every row tail of the vector code, and a large one
// split over the row pool.
TEST(DibResample, MatchesTheReference) {
  std::vector<std::array<std::int32_t, 4>> cases = {{6, 5, 6, 5}, {700, 500, 1000, 800}, {701, 523, 498, 620}};
  for (auto [w, h] : {std::pair{1, 1}, {2, 2}, {1, 6}, {6, 1}, {5, 3}, {9, 7}, {16, 12}})
    for (auto [nw, nh] : {std::pair{1, 1}, {4, 4}, {3, 8}, {7, 2}, {2, 5}, {13, 9}, {31, 1}}) cases.push_back({w, h, nw, nh});
  std::mt19937 rng(23);
  for (int i = 0; i < 40; ++i) {
    const auto w = static_cast<std::int32_t>(1 + rng() % 90), h = static_cast<std::int32_t>(1 + rng() % 40);
    cases.push_back({w, h, static_cast<std::int32_t>(1 + rng() % 200), static_cast<std::int32_t>(1 + rng() % 60)});
  }
  for (const auto& [w, h, nw, nh] : cases) {
    SCOPED_TRACE(::testing::Message() << w << "x" << h << " -> " << nw << "x" << nh);
    const auto src = test_support::randomDib(w, h, static_cast<std::uint32_t>(w * 10 + h + nw));
    const Bytes before = test_support::snapshot(*src), expect = expectedResample(before, nw, nh);
    test_support::forEachWay(w, h, [&](std::size_t) {
      auto out = src->Resample(nh, nw);  // height first
      ASSERT_TRUE(out);
      EXPECT_TRUE(test_support::snapshot(*out) == expect);
    });
    EXPECT_TRUE(test_support::snapshot(*src) == before);  // the source is left as it was
  }
}

TEST(DibResample, BadSizesGiveNoResult) {
  cDIBSection src;
  src.Create(4, 4);
  const std::size_t live = gdi::LiveObjectCount();
  for (auto [w, h] : {std::pair{0, 0}, {0, 4}, {4, 0}, {-3, 5}, {5, -3}, {2147483647, 2}, {100000, 100000}})
    EXPECT_EQ(src.Resample(h, w), nullptr) << w << "x" << h;
  EXPECT_EQ(gdi::LiveObjectCount(), live);
}

class RecordingHost : public Host {
 public:
  int messageBox(const QString& text, int flags, const QString& title) override {
    texts.push_back(text);
    lastFlags = flags;
    (void)title;
    return 1;
  }
  std::vector<QString> texts;
  int lastFlags = -1;
};

TEST(DibClipboard, AsDibShowsItsMessageAndLeavesTheClipboard) {
  RecordingHost h;
  setHost(&h);
  cDIBSection d;
  d.Create(3, 3);
  test_support::fillPixels(d, 1, 2, 3);
  EXPECT_FALSE(d.CopyToClipboard(true));
  setHost(nullptr);
  ASSERT_EQ(h.texts.size(), 1u);
  EXPECT_EQ(h.texts[0], QStringLiteral("I don't know how to put a DIB on the clipboard! Copy as bitmap instead!!!"));
  EXPECT_EQ(h.lastFlags, 0);
}

TEST(DibClipboard, AsBitmapPutsTheImageThere) {
  cDIBSection d;
  d.Create(3, 2);
  test_support::fillPixels(d, 10, 20, 30);
  ASSERT_TRUE(d.CopyToClipboard(false));
  ASSERT_TRUE(gdi::OpenClipboard(0));
  const gdi::HANDLE bmp = gdi::GetClipboardData(gdi::CF_BITMAP);
  gdi::Surface s;
  ASSERT_TRUE(gdi::BitmapSurface(bmp, s));
  EXPECT_EQ(std::tuple(s.width, s.height, s.row(0)[0], s.row(1)[2]), std::tuple(3, 2, 10, 30));
  gdi::CloseClipboard();
}

}  // namespace
}  // namespace qorv
