// Bitmaps sharing pixel memory: sharing must be invisible. Whatever is drawn on
// one sharer, through whichever write path, never shows in another; reads never
// copy; deleting a sharer leaves the others intact.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <QImage>

#include "platform/GdiSurface.h"
#include "platform/test_gdi_util.h"
#include <QorvPictureBox/Picture.h>
#include <QorvPictureBox/gdi.h>

namespace {

using namespace gdi;
using gditest::pixelsOf;
using gditest::randomBitmap;
using gditest::Selected;

constexpr int kW = 23, kH = 17;

// Runs `blit` with `dst` and `src` each selected in a DC of its own.
void blit(HBITMAP dst, HBITMAP src, const std::function<void(HDC, HDC)>& f) {
  const Selected d(dst), s(src);
  f(d.get(), s.get());
}

void fillThrough(const Surface& s, int byte) {
  for (int y = 0; y < s.height; ++y) std::memset(s.row(y), byte, static_cast<std::size_t>(s.width) * 4);
}

// Every way of writing into a bitmap (blits of any kind share one way to
// their destination); each changes the random content almost everywhere.
// `other` is the bitmap it shares with.
struct WritePath {
  const char* name;
  std::function<void(HBITMAP target, HBITMAP other)> write;
};

std::vector<WritePath> writePaths() {
  return {
      {"BitBlt destination", [](HBITMAP t, HBITMAP) {
         const qorv::ScopedBitmap src(randomBitmap(kW, kH, 99));
         blit(t, src.get(), [](HDC d, HDC s) { EXPECT_TRUE(BitBlt(d, 2, 3, 10, 8, s, 0, 0, SRCCOPY)); });
       }},
      {"PlgBlt destination", [](HBITMAP t, HBITMAP) {
         const qorv::ScopedBitmap src(randomBitmap(kH, kW, 99));
         const POINT pts[3] = {{kW, 0}, {kW, kH}, {0, 0}};  // a quarter turn
         blit(t, src.get(), [&](HDC d, HDC s) { EXPECT_TRUE(PlgBlt(d, pts, s, 0, 0, kH, kW, 0, 0, 0)); });
       }},
      {"blit from the other sharer", [](HBITMAP t, HBITMAP other) {
         blit(t, other, [](HDC d, HDC s) { EXPECT_TRUE(BitBlt(d, 3, 1, kW, kH, s, 0, 0, NOTSRCCOPY)); });
       }},
      {"overlapping blit onto itself", [](HBITMAP t, HBITMAP) {
         const Selected d(t);
         EXPECT_TRUE(BitBlt(d.get(), 2, 2, kW - 2, kH - 2, d.get(), 0, 0, SRCCOPY));
       }},
      {"BitmapSurface", [](HBITMAP t, HBITMAP) {
         Surface s;
         ASSERT_TRUE(BitmapSurface(t, s));
         fillThrough(s, 0x5A);
       }},
      {"DCSurface", [](HBITMAP t, HBITMAP) {
         const Selected d(t);
         Surface s;
         ASSERT_TRUE(DCSurface(d.get(), s));
         fillThrough(s, 0xA5);
       }},
  };
}

TEST(SharedBitmaps, ShareIsANewHandleOverTheSameMemory) {
  const HBITMAP a = randomBitmap(kW, kH, 1);
  const std::size_t live = LiveObjectCount();
  const std::uint64_t copies = SharedPixelCopies();
  const HBITMAP b = ShareBitmap(a);
  ASSERT_NE(b, 0u);
  EXPECT_EQ(std::tuple(b != a, LiveObjectCount(), SharesPixels(a, b), SharedPixelCopies()),
            std::tuple(true, live + 1, true, copies));
  EXPECT_EQ(pixelsOf(b), pixelsOf(a));
  BITMAP ba{}, bb{};
  ASSERT_EQ(GetObjectA(a, sizeof ba, &ba) + GetObjectA(b, sizeof bb, &bb), static_cast<int>(2 * sizeof ba));
  EXPECT_EQ(std::memcmp(&ba, &bb, sizeof ba), 0);
  {  // Selection is per object: both can be selected at once, each in its own DC.
    const Selected sa(a), sb(b);
    EXPECT_EQ(std::pair(CurrentBitmap(sa.get()), CurrentBitmap(sb.get())), std::pair(a, b));
  }
  EXPECT_TRUE(DeleteObject(a));
  EXPECT_TRUE(DeleteObject(b));
  EXPECT_EQ(LiveObjectCount(), live - 1);
}

TEST(SharedBitmaps, WritingEitherSharerLeavesTheOtherUnchanged) {
  for (const WritePath& path : writePaths()) {
    for (const bool writeOriginal : {true, false}) {
      SCOPED_TRACE(std::string(path.name) + (writeOriginal ? " into the original" : " into the sharer"));
      // The same drawing on an unshared bitmap gives the expected result.
      const HBITMAP plain = randomBitmap(kW, kH, 11), plainOther = randomBitmap(kW, kH, 11);
      path.write(plain, plainOther);
      const HBITMAP a = randomBitmap(kW, kH, 11);
      const HBITMAP b = ShareBitmap(a);
      ASSERT_NE(b, 0u);
      const std::vector<std::uint32_t> before = pixelsOf(a);
      const HBITMAP target = writeOriginal ? a : b, other = writeOriginal ? b : a;
      const std::uint64_t copies = SharedPixelCopies();
      path.write(target, other);
      EXPECT_EQ(pixelsOf(other), before);
      EXPECT_EQ(pixelsOf(target), pixelsOf(plain));
      EXPECT_NE(pixelsOf(target), before);
      EXPECT_FALSE(SharesPixels(a, b));
      EXPECT_EQ(SharedPixelCopies(), copies + 1);
      path.write(target, other);  // once apart, further writes copy nothing
      EXPECT_EQ(SharedPixelCopies(), copies + 1);
      for (HBITMAP h : {plain, plainOther, a, b}) DeleteObject(h);
    }
  }
}

TEST(SharedBitmaps, ReadsNeverCopy) {
  // Blits with the bitmap as source into a new bitmap of dw x dh.
  auto from = [](HBITMAP h, int dw, int dh, const std::function<void(HDC, HDC)>& f) {
    const qorv::ScopedBitmap dst(CreateCompatibleBitmap(0, dw, dh));
    blit(dst.get(), h, f);
  };
  const std::pair<const char*, std::function<void(HBITMAP)>> reads[] = {
      {"BitBlt source", [&](HBITMAP h) {
         from(h, kW, kH, [](HDC d, HDC s) { EXPECT_TRUE(BitBlt(d, 0, 0, kW, kH, s, 0, 0, SRCCOPY)); });
       }},
      {"PlgBlt source", [&](HBITMAP h) {
         const POINT pts[3] = {{kH, 0}, {kH, kW}, {0, 0}};
         from(h, kH, kW, [&](HDC d, HDC s) { EXPECT_TRUE(PlgBlt(d, pts, s, 0, 0, kW, kH, 0, 0, 0)); });
       }},
      {"a blit that draws nothing", [](HBITMAP h) {
         const Selected d(h);
         EXPECT_TRUE(BitBlt(d.get(), 0, 0, 0, 5, d.get(), 0, 0, SRCCOPY));
         EXPECT_FALSE(BitBlt(d.get(), 0, 0, 5, 5, 0xDEAD, 0, 0, SRCCOPY));
       }},
      {"GetDIBits", [](HBITMAP h) {
         BITMAPINFO bi = gditest::dibInfo(kW, kH, 24);
         std::vector<std::uint8_t> bits(static_cast<std::size_t>((kW * 3 + 3) / 4 * 4) * kH);
         EXPECT_EQ(GetDIBits(0, h, 0, kH, bits.data(), &bi, DIB_RGB_COLORS), kH);
       }},
      {"Picture::toImage", [](HBITMAP h) {
         qorv::PicturePtr pic = qorv::Picture::fromBitmap(ShareBitmap(h));
         EXPECT_EQ(pic->toImage().pixel(4, 5) & 0xFFFFFFu, pixelsOf(h)[5 * kW + 4]);
       }},
  };
  for (const auto& [name, read] : reads) {
    SCOPED_TRACE(name);
    const HBITMAP a = randomBitmap(kW, kH, 3);
    const HBITMAP b = ShareBitmap(a);
    const std::uint64_t copies = SharedPixelCopies();
    read(a);
    read(b);
    EXPECT_TRUE(SharesPixels(a, b));
    EXPECT_EQ(SharedPixelCopies(), copies);
    DeleteObject(a);
    DeleteObject(b);
  }
}

TEST(SharedBitmaps, DeletingOrDiscardingOneSharerKeepsTheOthersPixels) {
  for (const bool deleteOriginal : {true, false}) {
    SCOPED_TRACE(deleteOriginal ? "original deleted" : "sharer deleted");
    const HBITMAP a = randomBitmap(kW, kH, 4), b = ShareBitmap(a), c = ShareBitmap(b);
    const std::vector<std::uint32_t> before = pixelsOf(a);
    EXPECT_TRUE(DeleteObject(deleteOriginal ? a : b));
    const HBITMAP kept = deleteOriginal ? b : a;
    EXPECT_EQ(pixelsOf(kept), before);
    EXPECT_EQ(pixelsOf(c), before);
    // Two sharers left: writing one still copies, and the last one alone does not.
    const std::uint64_t copies = SharedPixelCopies();
    Surface s;
    ASSERT_TRUE(BitmapSurface(kept, s));
    EXPECT_EQ(SharedPixelCopies(), copies + 1);
    ASSERT_TRUE(BitmapSurface(c, s));
    EXPECT_EQ(SharedPixelCopies(), copies + 1);
    DeleteObject(kept);
    DeleteObject(c);
  }
  // Discarding detaches without copying; a bitmap sharing nothing keeps its content.
  const HBITMAP a = randomBitmap(kW, kH, 6), b = ShareBitmap(a);
  const std::vector<std::uint32_t> before = pixelsOf(a);
  const std::uint64_t copies = SharedPixelCopies();
  EXPECT_TRUE(DiscardBitmap(b));
  EXPECT_FALSE(SharesPixels(a, b));
  EXPECT_EQ(SharedPixelCopies(), copies);
  EXPECT_EQ(pixelsOf(a), before);
  EXPECT_TRUE(DiscardBitmap(a));
  EXPECT_EQ(pixelsOf(a), before);
  DeleteObject(a);
  DeleteObject(b);
}

TEST(SharedBitmaps, ADibSectionIsCopiedNotShared) {
  // Its memory is written through the pointer it was created with, which a
  // copy-on-write cannot see.
  for (const int height : {kH, -kH}) {
    void* bits = nullptr;
    const qorv::ScopedBitmap dib(gditest::dibSection(kW, height, 32, &bits));
    ASSERT_TRUE(dib);
    std::memset(bits, 0x33, static_cast<std::size_t>(kW) * kH * 4);
    const qorv::ScopedBitmap copy(ShareBitmap(dib.get()));
    ASSERT_TRUE(copy);
    EXPECT_FALSE(SharesPixels(dib.get(), copy.get()));
    std::memset(bits, 0x77, static_cast<std::size_t>(kW) * kH * 4);
    Surface s;
    ASSERT_TRUE(BitmapSurfaceRead(copy.get(), s));
    EXPECT_EQ(s.row(3)[5], 0x33);
    EXPECT_EQ(s.bottomUp, height > 0);
  }
}

TEST(SharedBitmaps, BadHandlesFailCleanly) {
  const HDC dc = CreateCompatibleDC(0);
  const HBITMAP gone = CreateCompatibleBitmap(0, 2, 2);
  DeleteObject(gone);
  for (const HANDLE h : {HANDLE{0}, HANDLE{dc}, HANDLE{gone}, HANDLE{0xFFFFFFF0u}}) {
    SCOPED_TRACE(h);
    gditest::expectFailure("share", [&] { return ShareBitmap(h); }, 0, ERROR_INVALID_HANDLE);
    gditest::expectFailure("discard", [&] { return DiscardBitmap(h); }, FALSE, ERROR_INVALID_HANDLE);
    Surface s;
    EXPECT_FALSE(BitmapSurfaceRead(h, s));
    EXPECT_FALSE(SharesPixels(h, h));
  }
  Surface s;
  EXPECT_FALSE(DCSurfaceRead(gone, s));
  DeleteDC(dc);
  // Sizes the classic creation refuses are refused here too.
  for (const int v : {0, -1, 1 << 30}) EXPECT_EQ(CreateBitmapForOverwrite(v, 4), 0u);
}

int g_released = 0;
void countRelease(std::uint8_t* data, std::size_t) {
  ++g_released;
  delete[] data;
}

// Memory handed to a bitmap (decoded pixels mapped from elsewhere) is used as
// it is, shared like any other, and given back once, when its last user goes;
// a refused hand-over leaves it with the caller.
TEST(AdoptedMemory, IsUsedInPlaceAndReleasedOnceByTheLastSharer) {
  g_released = 0;
  auto* data = new std::uint8_t[4 * 3 * 2];
  for (int i = 0; i < 24; ++i) data[i] = static_cast<std::uint8_t>(i);
  const HBITMAP a = CreateBitmapOverMemory(3, 2, data, 24, &countRelease);
  ASSERT_NE(a, 0u);
  Surface s;
  ASSERT_TRUE(BitmapSurfaceRead(a, s));
  EXPECT_EQ(s.row(0), data) << "no copy";
  EXPECT_EQ(s.row(1)[0], 12);
  const HBITMAP b = ShareBitmap(a);
  ASSERT_TRUE(BitmapSurface(b, s));
  s.row(0)[0] = 99;  // b gets memory of its own; a still shows the original
  EXPECT_EQ(data[0], 0);
  EXPECT_TRUE(DeleteObject(a));
  EXPECT_EQ(g_released, 1) << "b no longer uses the adopted memory";
  EXPECT_TRUE(DeleteObject(b));
  std::uint8_t small[8] = {};
  EXPECT_EQ(CreateBitmapOverMemory(3, 2, small, sizeof small, &countRelease), 0u);  // too small for 3 x 2
  EXPECT_EQ(CreateBitmapOverMemory(0, 2, small, sizeof small, &countRelease), 0u);
  EXPECT_EQ(g_released, 1);
}

}  // namespace
