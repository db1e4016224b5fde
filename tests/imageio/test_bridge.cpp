// The bridge between library bitmaps and device bitmaps: results, pixels and
// every error text.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <tuple>

#include "ImageFixtures.h"

using namespace qorv::modFreeImage;
using iotest::ensureFreeImage;

namespace {

class Bridge : public ::testing::Test {
 protected:
  void SetUp() override {
    ensureFreeImage();
    startObjects = gdi::LiveObjectCount();
  }
  void TearDown() override { EXPECT_EQ(gdi::LiveObjectCount(), startObjects) << "handles leaked"; }
  std::size_t startObjects = 0;
};

TEST_F(Bridge, LibraryBitmapBecomesADeviceBitmapWithTheSamePixels) {
  // A 24-bit pattern, and an 8-bit picture whose palette is not grey.
  FIBITMAP* paletted = FreeImage_Allocate(4, 2, 8);
  std::vector<std::uint32_t> palettedWant;
  for (int i = 0; i < 256; ++i) FreeImage_GetPalette(paletted)[i] = RGBQUAD{BYTE(i), BYTE(255 - i), BYTE(i / 2), 0};
  for (unsigned y = 0; y < 2; ++y)
    for (unsigned x = 0; x < 4; ++x) {
      const unsigned i = x * 60 + (1 - y);  // library rows are bottom-up
      FreeImage_GetScanLine(paletted, 1 - y)[x] = static_cast<BYTE>(i);
      palettedWant.push_back((i / 2) << 16 | (255 - i) << 8 | i);
    }
  const std::tuple<const char*, FIBITMAP*, std::vector<std::uint32_t>> cases[] = {
      {"24-bit", iotest::makePatternDib(13, 7), iotest::patternPixels(13, 7)}, {"paletted", paletted, palettedWant}};
  for (const auto& [label, dib, want] : cases) {
    SCOPED_TRACE(label);
    qorv::ScopedBitmap bm;
    ASSERT_TRUE(FreeImage_BMP_From_DIB(dib, bm.out()));
    EXPECT_EQ(LastBridgeError(), QString());
    gdi::Surface s;
    ASSERT_TRUE(gdi::BitmapSurface(bm.get(), s));
    EXPECT_EQ(iotest::surfacePixels(s), want);
    EXPECT_EQ(std::pair(FreeImage_GetBitmapWidth(bm.get()), FreeImage_GetBitmapHeight(bm.get())),
              std::pair(static_cast<int>(FreeImage_GetWidth(dib)), static_cast<int>(FreeImage_GetHeight(dib))));
    FreeImage_Unload(dib);  // the dib stays the caller's
  }
}

TEST_F(Bridge, StaleOutputBitmapIsReleasedBeforeAnyCheck) {
  gdi::HBITMAP bm = iotest::makePatternBitmap(2, 2).release();
  const gdi::HBITMAP old = bm;
  EXPECT_FALSE(FreeImage_BMP_From_DIB(nullptr, bm));
  EXPECT_EQ(bm, 0u);
  EXPECT_EQ(gdi::GetObjectType(old), 0u);
  EXPECT_EQ(LastBridgeError(), QStringLiteral("[FreeImage_BMP_From_DIB] No DIB specified to convert"));
}

TEST_F(Bridge, DeviceBitmapBecomesA32BitLibraryBitmap) {
  for (const int bits : {32, 8, 24}) {
    SCOPED_TRACE(bits);
    std::vector<std::uint32_t> want = bits == 32 ? iotest::patternPixels(9, 5) : std::vector<std::uint32_t>();
    const qorv::ScopedBitmap bm = bits == 32 ? iotest::makePatternBitmap(9, 5) : iotest::makePatternSection(9, 5, bits, want);
    ASSERT_TRUE(bm);
    FIBITMAP* dib = nullptr;
    ASSERT_TRUE(FreeImage_DIB_From_BMP(bm.get(), dib));
    EXPECT_EQ(FreeImage_GetBPP(dib), 32u);
    EXPECT_EQ(iotest::dibPixels(dib), want);
    // A non-null output is released and replaced.
    ASSERT_TRUE(FreeImage_DIB_From_BMP(bm.get(), dib));
    EXPECT_EQ(FreeImage_GetWidth(dib), 9u);
    FreeImage_Unload(dib);
  }
}

TEST_F(Bridge, RenderDrawsWholeOrPartAndInverts) {
  const qorv::ScopedBitmap src = iotest::makePatternBitmap(6, 4);
  const qorv::ScopedBitmap target(gdi::CreateCompatibleBitmap(qorv::ScopedScreenDC().get(), 8, 8));
  const qorv::ScopedMemDC dc(gdi::CreateCompatibleDC(0));
  const qorv::ScopedSelect selected(dc.get(), target.get());

  const struct {
    const char* label;
    int x, y, w, h;
    bool invert;
    int drawnW, drawnH;
  } cases[] = {
      {"zero size draws all", 0, 0, 0, 0, false, 6, 4},
      {"negative size draws all", 1, 2, -1, -1, false, 6, 4},
      {"explicit part", 2, 1, 3, 2, false, 3, 2},
      {"inverted", 0, 0, 0, 0, true, 6, 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    gdi::Surface blank;
    ASSERT_TRUE(gdi::BitmapSurface(target.get(), blank));
    for (int y = 0; y < 8; ++y) std::fill_n(blank.row(y), 8 * 4, std::uint8_t{0});
    ASSERT_TRUE(FreeImage_RenderBitmap(src.get(), dc.get(), c.x, c.y, c.w, c.h, c.invert));
    EXPECT_EQ(LastBridgeError(), QString());
    gdi::Surface s;
    ASSERT_TRUE(gdi::BitmapSurface(target.get(), s));
    const auto px = iotest::surfacePixels(s);
    for (int y = 0; y < 8; ++y)
      for (int x = 0; x < 8; ++x) {
        const bool inside = x >= c.x && x < c.x + c.drawnW && y >= c.y && y < c.y + c.drawnH;
        std::uint32_t want = 0;
        if (inside) want = iotest::patternRGB(x - c.x, y - c.y) ^ (c.invert ? 0xFFFFFFu : 0u);
        ASSERT_EQ(px[static_cast<std::size_t>(y * 8 + x)], want) << x << "," << y;
      }
  }
  // The caller's bitmap survives, and a window DC is as good a target.
  EXPECT_EQ(gdi::GetObjectType(src.get()), gdi::OBJ_BITMAP);
  EXPECT_TRUE(FreeImage_RenderBitmap(src.get(), qorv::ScopedScreenDC().get(), 0, 0, 0, 0, false));
}

TEST_F(Bridge, FailureTexts) {
  const qorv::ScopedBitmap owned = iotest::makePatternBitmap(2, 2);
  const qorv::ScopedMemDC ownedDc(gdi::CreateCompatibleDC(0));
  const gdi::HBITMAP bm = owned.get();
  const gdi::HDC dc = ownedDc.get();
  FIBITMAP* dib = nullptr;
  const struct {
    const char* label;
    std::function<bool()> call;
    QString text;
  } cases[] = {
      {"convert no bitmap", [&] { return FreeImage_DIB_From_BMP(0, dib); },
       QStringLiteral("[FreeImage_DIB_From_BMP] No bitmap specified to convert")},
      {"convert a stale bitmap", [&] { return FreeImage_DIB_From_BMP(0x7ffffff0u, dib); },
       QStringLiteral("[FreeImage_DIB_From_BMP] GetObjectAPI failed with error code 6")},
      {"render no bitmap", [&] { return FreeImage_RenderBitmap(0, dc, 0, 0, 0, 0, false); },
       QStringLiteral("[FreeImage_RenderBitmap] No bitmap specified to render")},
      {"DC as bitmap", [&] { return FreeImage_RenderBitmap(dc, dc, 0, 0, 0, 0, false); },
       QStringLiteral("[FreeImage_RenderBitmap] Handle specified is not a valid BITMAP")},
      {"bitmap as DC", [&] { return FreeImage_RenderBitmap(bm, bm, 0, 0, 0, 0, false); },
       QStringLiteral("[FreeImage_RenderBitmap] DC specified is not valid")},
      {"stale DC", [&] { return FreeImage_RenderBitmap(bm, 0x7ffffff0u, 0, 0, 0, 0, false); },
       QStringLiteral("[FreeImage_RenderBitmap] DC specified is not valid")},
      {"width of nothing", [&] { return FreeImage_GetBitmapWidth(0) != 0; },
       QStringLiteral("[FreeImage_GetBitmapWidth] No bitmap specified to get the info for")},
      {"width of a DC", [&] { return FreeImage_GetBitmapWidth(dc) != 0; },
       QStringLiteral("[FreeImage_GetBitmapWidth] Handle specified is not a valid BITMAP")},
      {"height of nothing", [&] { return FreeImage_GetBitmapHeight(0) != 0; },
       QStringLiteral("[FreeImage_GetBitmapHeight] No bitmap specified to get the info for")},
      {"height of a DC", [&] { return FreeImage_GetBitmapHeight(dc) != 0; },
       QStringLiteral("[FreeImage_GetBitmapHeight] Handle specified is not a valid BITMAP")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    SetBridgeError(QStringLiteral("left over"), false);
    EXPECT_FALSE(c.call());
    EXPECT_EQ(LastBridgeError(), c.text);
  }
  EXPECT_EQ(dib, nullptr);
}

TEST_F(Bridge, FirstErrorWinsAndLibraryMessagesReplace) {
  SetBridgeError(QString(), false);
  SetBridgeError(QStringLiteral("first"), true);
  SetBridgeError(QStringLiteral("second"), true);
  EXPECT_EQ(LastBridgeError(), QStringLiteral("first"));
  SetBridgeError(QStringLiteral("forced"), false);
  EXPECT_EQ(LastBridgeError(), QStringLiteral("forced"));
  OnFreeImageMessage(13, "library says no");
  EXPECT_EQ(LastBridgeError(), QStringLiteral("library says no"));
  OnFreeImageMessage(13, nullptr);
  EXPECT_EQ(LastBridgeError(), QString());
  // The library's own reports arrive through the registered callback.
  FreeImage_OutputMessageProc(FIF_PNG, "from the library %d", 7);
  EXPECT_EQ(LastBridgeError(), QStringLiteral("from the library 7"));
}

TEST_F(Bridge, WorkDCLifecycle) {
  gdi::HDC dc = 0;
  ASSERT_TRUE(CreateWorkDC(dc));
  EXPECT_EQ(gdi::GetObjectType(dc), gdi::OBJ_MEMDC);
  gdi::HBITMAP none = 0;
  EXPECT_TRUE(DestroyWorkDC(dc, none) && dc == 0u);

  // With a previous bitmap: it is selected back and what it displaces is deleted.
  ASSERT_TRUE(CreateWorkDC(dc));
  const gdi::HBITMAP mine = iotest::makePatternBitmap(3, 3).release();  // the work DC's to delete
  gdi::HBITMAP old = gdi::SelectObject(dc, mine);
  ASSERT_NE(old, 0u);
  EXPECT_TRUE(DestroyWorkDC(dc, old));
  EXPECT_EQ(std::tuple(old, dc, gdi::GetObjectType(mine)), std::tuple(0u, 0u, 0u));

  gdi::HDC stale = 0x7ffffff0u;
  EXPECT_FALSE(DestroyWorkDC(stale, none));
  EXPECT_EQ(stale, 0x7ffffff0u);
}

}  // namespace
