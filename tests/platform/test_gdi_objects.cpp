// Handle lifetimes, object descriptions and bad input of the software DCs, the
// clipboard, and the scoped owners of handles.
#include <gtest/gtest.h>

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>

#include <functional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>
#include <utility>

#include "platform/GdiSurface.h"
#include "platform/ScopedGdi.h"
#include "platform/test_gdi_util.h"

using namespace gdi;

namespace {

BITMAP describe(HANDLE h) {
  BITMAP bm{};
  EXPECT_EQ(GetObjectA(h, sizeof bm, &bm), static_cast<int>(sizeof bm));
  return bm;
}

using gditest::dibInfo;

}  // namespace

// Device bitmaps are described in the DIB tests, for every layout they are made from.
TEST(GdiObjects, DibSectionDescriptionPadsRowsAndPointsAtTheBottomRow) {
  void* bits = nullptr;
  HBITMAP dib = gditest::dibSection(5, 3, 24, &bits);
  ASSERT_NE(dib, 0u);
  EXPECT_NE(bits, nullptr);
  const BITMAP bm = describe(dib);  // rows of 15 bytes padded to 16
  EXPECT_EQ(std::tuple(bm.bmWidth, bm.bmHeight, bm.bmWidthBytes, bm.bmBitsPixel), std::tuple(5, 3, 16, 24));
  Surface s;
  ASSERT_TRUE(BitmapSurface(dib, s));
  EXPECT_EQ(std::tuple(s.rows, s.bottomUp, s.stride), std::tuple(static_cast<std::uint8_t*>(bits), true, 16));
  EXPECT_EQ(s.row(2), static_cast<std::uint8_t*>(bits));  // the bottom row is first in memory
  EXPECT_EQ(GetObjectA(dib, 0, nullptr), 24);  // size query
  EXPECT_EQ(DeleteObject(dib), TRUE);
}

TEST(GdiObjects, SelectionRules) {
  const std::size_t before = LiveObjectCount();
  HDC a = CreateCompatibleDC(0), b = CreateCompatibleDC(0);
  HBITMAP bmp = CreateCompatibleBitmap(a, 4, 4);
  ASSERT_TRUE(a && b && bmp);
  EXPECT_EQ(GetObjectType(a), OBJ_MEMDC);
  // A new memory DC holds the shared 1 x 1 monochrome stock bitmap: deleting
  // it is accepted and changes nothing.
  const HGDIOBJ stock = SelectObject(a, bmp);
  const BITMAP bm = describe(stock);
  EXPECT_EQ(std::tuple(bm.bmWidth, bm.bmHeight, bm.bmPlanes, bm.bmBitsPixel), std::tuple(1, 1, 1, 1));
  EXPECT_EQ(DeleteObject(stock), TRUE);
  EXPECT_EQ(GetObjectType(stock), OBJ_BITMAP);
  EXPECT_EQ(CurrentBitmap(a), bmp);
  // Selected elsewhere or deleted while selected: the bad input table.
  EXPECT_EQ(SelectObject(a, bmp), bmp);  // reselecting into the same DC is harmless
  // Selecting the previous bitmap back frees it.
  EXPECT_EQ(SelectObject(a, stock), bmp);
  EXPECT_NE(SelectObject(b, bmp), 0u);
  // Deleting the DC, by DeleteDC or DeleteObject, releases the selection.
  EXPECT_EQ(DeleteDC(b), TRUE);
  EXPECT_NE(SelectObject(a, bmp), 0u);
  EXPECT_EQ(DeleteObject(a), TRUE);
  EXPECT_EQ(GetObjectType(a), 0u);
  EXPECT_EQ(DeleteObject(bmp), TRUE);
  EXPECT_EQ(LiveObjectCount(), before);
}

TEST(GdiObjects, StaleHandlesFailAndAreNotReused) {
  HBITMAP bmp = CreateCompatibleBitmap(0, 2, 2);
  HDC dc = CreateCompatibleDC(0);
  ASSERT_TRUE(bmp && dc);
  ASSERT_EQ(DeleteObject(bmp), TRUE);
  ASSERT_EQ(DeleteDC(dc), TRUE);
  // Fresh objects never take the old numbers.
  for (int i = 0; i < 50; ++i) {
    HBITMAP again = CreateCompatibleBitmap(0, 1, 1);
    EXPECT_NE(again, bmp);
    EXPECT_NE(again, dc);
    DeleteObject(again);
  }
  gditest::expectFailure("type", [&] { return GetObjectType(bmp); }, 0, ERROR_INVALID_HANDLE);
  gditest::expectFailure("delete", [&] { return DeleteObject(bmp); }, FALSE, ERROR_INVALID_HANDLE);
  gditest::expectFailure("DeleteDC", [&] { return DeleteDC(dc); }, FALSE, ERROR_INVALID_HANDLE);
}

// Every bad input gives the classic failure value and the documented error.
TEST(GdiObjects, BadInputTable) {
  HDC mem = CreateCompatibleDC(0);
  HBITMAP bmp = CreateCompatibleBitmap(0, 3, 3);
  HBITMAP other = CreateCompatibleBitmap(0, 3, 3);
  HDC holder = CreateCompatibleDC(0);
  SelectObject(holder, other);
  HDC screen = GetDC(0);
  HBITMAP stale = CreateCompatibleBitmap(0, 1, 1);
  DeleteObject(stale);
  HDC staleDc = CreateCompatibleDC(0);
  DeleteDC(staleDc);
  BITMAPINFO bi24 = dibInfo(4, 4, 24), badDepth = dibInfo(4, 4, 7), zeroWide = dibInfo(0, 4, 24),
             zeroHigh = dibInfo(4, 0, 24), huge = dibInfo(100000, 100000, 24);
  BITMAP out{};
  Surface surface;
  POINT pts[3] = {{0, 0}, {2, 0}, {0, 2}}, flat[3] = {{0, 0}, {2, 0}, {4, 0}};
  void* bits = nullptr;

  struct Case {
    std::string name;
    std::function<std::int64_t()> call;
    DWORD error;
  };
  constexpr DWORD kHandle = ERROR_INVALID_HANDLE, kParam = ERROR_INVALID_PARAMETER, kMemory = ERROR_NOT_ENOUGH_MEMORY;
  const Case cases[] = {
      {"CompatibleDC of stale DC", [&] { return CreateCompatibleDC(staleDc); }, kHandle},
      {"CompatibleDC of a bitmap", [&] { return CreateCompatibleDC(bmp); }, kHandle},
      {"bitmap 0x0", [&] { return CreateCompatibleBitmap(0, 0, 0); }, kParam},
      {"bitmap negative", [&] { return CreateCompatibleBitmap(0, -5, 5); }, kParam},
      {"bitmap huge", [&] { return CreateCompatibleBitmap(0, 100000, 100000); }, kMemory},
      {"bitmap max int", [&] { return CreateCompatibleBitmap(0, 0x7FFFFFFF, 0x7FFFFFFF); }, kMemory},
      {"bitmap on stale DC", [&] { return CreateCompatibleBitmap(staleDc, 2, 2); }, kHandle},
      {"DIB section depth 7", [&] { return CreateDIBSection(0, &badDepth, 0, &bits, 0, 0); }, kParam},
      {"DIB section width 0", [&] { return CreateDIBSection(0, &zeroWide, 0, &bits, 0, 0); }, kParam},
      {"DIB section height 0", [&] { return CreateDIBSection(0, &zeroHigh, 0, &bits, 0, 0); }, kParam},
      {"DIB section huge", [&] { return CreateDIBSection(0, &huge, 0, &bits, 0, 0); }, kMemory},
      {"DIB section with section", [&] { return CreateDIBSection(0, &bi24, 0, &bits, 5, 0); }, kParam},
      {"select into 0", [&] { return SelectObject(0, bmp); }, kHandle},
      {"select stale bitmap", [&] { return SelectObject(mem, stale); }, kHandle},
      {"select a DC", [&] { return SelectObject(mem, holder); }, kParam},
      {"select bitmap held elsewhere", [&] { return SelectObject(mem, other); }, kParam},
      {"select into screen DC", [&] { return SelectObject(screen, bmp); }, kParam},
      {"delete 0", [&] { return DeleteObject(0); }, kHandle},
      {"delete selected bitmap", [&] { return DeleteObject(other); }, kParam},
      {"DeleteDC of a bitmap", [&] { return DeleteDC(bmp); }, kHandle},
      {"GetObject of 0", [&] { return GetObjectA(0, sizeof out, &out); }, kHandle},
      {"GetObject of a DC", [&] { return GetObjectA(mem, sizeof out, &out); }, kHandle},
      {"GetObject short buffer", [&] { return GetObjectA(bmp, 10, &out); }, kParam},
      {"object type of 0", [&] { return GetObjectType(0); }, kHandle},
      {"BitBlt to 0", [&] { return BitBlt(0, 0, 0, 1, 1, mem, 0, 0, SRCCOPY); }, kHandle},
      {"BitBlt from stale", [&] { return BitBlt(mem, 0, 0, 1, 1, staleDc, 0, 0, SRCCOPY); }, kHandle},
      {"StretchBlt zero source", [&] { return StretchBlt(mem, 0, 0, 1, 1, holder, 0, 0, 0, 1, SRCCOPY); }, kParam},
      {"StretchBlt huge extent",
       [&] { return StretchBlt(mem, 0, 0, 0x7FFFFFFF, 1, holder, 0, 0, 1, 1, SRCCOPY); }, kParam},
      {"StretchBlt min int extent",
       [&] { return StretchBlt(mem, 0, 0, INT32_MIN, INT32_MIN, holder, 0, 0, 1, 1, SRCCOPY); }, kParam},
      {"mode of stale DC", [&] { return GetStretchBltMode(staleDc); }, kHandle},
      {"set mode 0", [&] { return SetStretchBltMode(mem, 0); }, kParam},
      {"set mode 5", [&] { return SetStretchBltMode(mem, 5); }, kParam},
      {"set mode on stale", [&] { return SetStretchBltMode(staleDc, 3); }, kHandle},
      {"PlgBlt null points", [&] { return PlgBlt(mem, nullptr, holder, 0, 0, 2, 2, 0, 0, 0); }, kParam},
      {"PlgBlt with mask", [&] { return PlgBlt(mem, pts, holder, 0, 0, 2, 2, bmp, 0, 0); }, kParam},
      {"PlgBlt flat", [&] { return PlgBlt(mem, flat, holder, 0, 0, 2, 2, 0, 0, 0); }, kParam},
      {"PlgBlt stale", [&] { return PlgBlt(staleDc, pts, holder, 0, 0, 2, 2, 0, 0, 0); }, kHandle},
      {"GetDC of stale window", [&] { return GetDC(stale); }, kHandle},
      {"ReleaseDC of memory DC", [&] { return ReleaseDC(0, mem); }, 0},
      {"surface of stale", [&] { return BitmapSurface(stale, surface) ? 1 : 0; }, kHandle},
      {"window of stale bitmap", [&] { return CreateWindowHandle(stale); }, kHandle},
      {"destroy desktop window", [&] { return DestroyWindowHandle(GetDesktopWindow()) ? 1 : 0; }, kHandle},
  };
  // The header checks both DIB makers share are listed with CreateDIBitmap's.
  for (const Case& c : cases) gditest::expectFailure(c.name, c.call, 0, c.error);
  EXPECT_EQ(bits, nullptr);
  EXPECT_EQ(ReleaseDC(0, screen), 1);
  EXPECT_EQ(DeleteDC(holder), TRUE);
  EXPECT_EQ(DeleteObject(other), TRUE);
  EXPECT_EQ(DeleteObject(bmp), TRUE);
  EXPECT_EQ(DeleteDC(mem), TRUE);
}

TEST(GdiObjects, DesktopDcsShowOneScreenAndReleaseOnce) {
  const std::size_t before = LiveObjectCount();
  HWND desk = GetDesktopWindow();
  EXPECT_NE(desk, 0u);
  EXPECT_EQ(GetDesktopWindow(), desk);
  HDC s1 = GetDC(desk), s2 = GetDC(0);
  ASSERT_TRUE(s1 && s2);
  EXPECT_EQ(GetObjectType(s1), OBJ_DC);
  Surface a, b;
  ASSERT_TRUE(DCSurface(s1, a) && DCSurface(s2, b));
  EXPECT_EQ(a.rows, b.rows);  // one screen
  EXPECT_TRUE(a.width > 0 && a.bitsPerPixel == 32);
  EXPECT_EQ(GetStretchBltMode(s1), BLACKONWHITE);
  EXPECT_EQ(ReleaseDC(desk, s1), 1);
  EXPECT_EQ(ReleaseDC(desk, s1), 0);  // already released
  EXPECT_EQ(ReleaseDC(0, s2), 1);

  // Window DCs drawing on a pane, following it to a new bitmap and being
  // released with it are checked through the picture box.
  EXPECT_EQ(LiveObjectCount(), before);
}

TEST(GdiObjects, DeletingAWindowBitmapLeavesTheWindowDrawingNowhere) {
  HBITMAP surf = CreateCompatibleBitmap(0, 4, 4);
  HWND wnd = CreateWindowHandle(surf);
  HDC wdc = GetDC(wnd);
  HDC src = CreateCompatibleDC(0);
  ASSERT_EQ(DeleteObject(surf), TRUE);
  EXPECT_EQ(CurrentBitmap(wdc), 0u);
  gditest::expectFailure("blit", [&] { return BitBlt(wdc, 0, 0, 4, 4, src, 0, 0, SRCCOPY); }, FALSE, ERROR_INVALID_HANDLE);
  ReleaseDC(wnd, wdc);
  DestroyWindowHandle(wnd);
  DeleteDC(src);
}

TEST(GdiObjects, LastErrorIsPerThread) {
  SetLastError(1234);
  DWORD seen = 0;
  std::thread t([&] {
    DeleteObject(0);
    seen = GetLastError();
  });
  t.join();
  EXPECT_EQ(seen, ERROR_INVALID_HANDLE);
  EXPECT_EQ(GetLastError(), 1234u);
}

TEST(GdiObjects, ConcurrentCreationAndDeletionKeepsTheTableConsistent) {
  const std::size_t before = LiveObjectCount();
  auto worker = [] {
    for (int i = 0; i < 500; ++i) {
      HDC dc = CreateCompatibleDC(0);
      HBITMAP b = CreateCompatibleBitmap(dc, 3, 3);
      HGDIOBJ old = SelectObject(dc, b);
      BitBlt(dc, 0, 0, 3, 3, dc, 1, 1, SRCCOPY);
      SelectObject(dc, old);
      DeleteObject(b);
      DeleteDC(dc);
    }
  };
  std::thread t1(worker), t2(worker);
  t1.join();
  t2.join();
  EXPECT_EQ(LiveObjectCount(), before);
}

// --- the clipboard: open/close rules, bitmap ownership, the system clipboard ---

namespace {

HBITMAP filledBitmap(int w, int h, std::uint32_t colour) {
  return gditest::deviceBitmap(w, h, [colour](int, int) { return colour; });
}

// Leaves the clipboard closed and empty whatever a test did.
class Clipboard : public ::testing::Test {
 protected:
  void TearDown() override {
    if (OpenClipboard(0)) {
      EmptyClipboard();
      CloseClipboard();
    }
  }
};

TEST_F(Clipboard, CallsNeedAnOpenClipboard) {
  const HBITMAP hbm = filledBitmap(2, 2, 0x010203);
  gditest::expectFailure("empty", [] { return EmptyClipboard(); }, FALSE, ERROR_CLIPBOARD_NOT_OPEN);
  gditest::expectFailure("set", [&] { return SetClipboardData(CF_BITMAP, hbm); }, 0, ERROR_CLIPBOARD_NOT_OPEN);
  gditest::expectFailure("get", [] { return GetClipboardData(CF_BITMAP); }, 0, ERROR_CLIPBOARD_NOT_OPEN);
  gditest::expectFailure("close", [] { return CloseClipboard(); }, FALSE, ERROR_CLIPBOARD_NOT_OPEN);
  // Opening twice from one thread is allowed; one close closes it (a braced list runs in order).
  EXPECT_EQ((std::vector<BOOL>{OpenClipboard(0), OpenClipboard(0), CloseClipboard(), CloseClipboard()}),
            (std::vector<BOOL>{TRUE, TRUE, TRUE, FALSE}));
  EXPECT_EQ(DeleteObject(hbm), TRUE);
}

TEST_F(Clipboard, TakesOwnershipAndDeletesOnNextEmpty) {
  const std::size_t live = LiveObjectCount();
  const HBITMAP hbm = filledBitmap(3, 2, 0x00ABCDEF);
  ASSERT_EQ(OpenClipboard(0), TRUE);
  ASSERT_EQ(EmptyClipboard(), TRUE);
  EXPECT_EQ(SetClipboardData(CF_BITMAP, hbm), hbm);
  EXPECT_EQ(CloseClipboard(), TRUE);
  EXPECT_EQ(GetObjectType(hbm), OBJ_BITMAP);  // still alive, owned by the clipboard
  ASSERT_EQ(OpenClipboard(0), TRUE);
  EXPECT_EQ(GetClipboardData(CF_BITMAP), hbm);
  EXPECT_EQ(EmptyClipboard(), TRUE);
  EXPECT_EQ(std::pair(GetObjectType(hbm), LiveObjectCount()), std::pair(DWORD{0}, live));  // deleted by the clipboard
  EXPECT_EQ(CloseClipboard(), TRUE);
}

TEST_F(Clipboard, RejectsWhatItCannotOwn) {
  const qorv::ScopedBitmap owned(filledBitmap(1, 1, 0));
  const HBITMAP hbm = owned.get();
  const gditest::Selected selected(hbm);
  const HDC dc = selected.get();
  HBITMAP stale = CreateCompatibleBitmap(0, 1, 1);
  DeleteObject(stale);
  ASSERT_EQ(OpenClipboard(0), TRUE);
  const struct {
    const char* name;
    UINT format;
    HANDLE h;
    DWORD error;
  } cases[] = {
      {"text format", 1, hbm, ERROR_INVALID_PARAMETER},
      {"selected bitmap", CF_BITMAP, hbm, ERROR_INVALID_PARAMETER},
      {"stale bitmap", CF_BITMAP, stale, ERROR_INVALID_HANDLE},
      {"a DC", CF_BITMAP, dc, ERROR_INVALID_HANDLE},
  };
  for (const auto& c : cases) gditest::expectFailure(c.name, [&] { return SetClipboardData(c.format, c.h); }, 0, c.error);
  CloseClipboard();
}

TEST_F(Clipboard, ReachesTheSystemClipboardAndComesBack) {
  auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
  if (!app) GTEST_SKIP() << "no GUI application";
  const HBITMAP hbm = filledBitmap(4, 3, 0x00102030);
  ASSERT_EQ(OpenClipboard(0), TRUE);
  EmptyClipboard();
  ASSERT_EQ(SetClipboardData(CF_BITMAP, hbm), hbm);
  CloseClipboard();
  const QImage seen = QGuiApplication::clipboard()->image();
  ASSERT_EQ(seen.size(), QSize(4, 3));
  EXPECT_EQ(seen.pixel(2, 1) & 0xFFFFFFu, 0x102030u);

  // Another program's image appears as a clipboard-owned bitmap.
  ASSERT_EQ(OpenClipboard(0), TRUE);
  EmptyClipboard();
  QImage other(5, 2, QImage::Format_RGB32);
  other.fill(QColor(0x40, 0x50, 0x60));
  QGuiApplication::clipboard()->setImage(other);
  const HANDLE got = GetClipboardData(CF_BITMAP);
  ASSERT_NE(got, 0u);
  BITMAP bm{};
  ASSERT_EQ(GetObjectA(got, sizeof bm, &bm), 24);
  EXPECT_EQ(std::pair(bm.bmWidth, bm.bmHeight), std::pair(5, 2));
  EXPECT_EQ(gditest::pixelsOf(got)[5 + 3], 0x405060u);
  EXPECT_EQ(GetClipboardData(CF_BITMAP), got);  // one bitmap, owned by the clipboard
  EXPECT_EQ(EmptyClipboard(), TRUE);
  EXPECT_EQ(GetObjectType(got), 0u);
  CloseClipboard();
}

}  // namespace

// --- scoped owners: each gives its handle back once, or hands it over ----------

namespace qorv {
namespace {

bool alive(gdi::HANDLE h) { return gdi::GetObjectType(h) != 0; }

gdi::HBITMAP newBitmap() { return gdi::CreateBitmapForOverwrite(4, 3); }
gdi::HDC newMemDC() { return gdi::CreateCompatibleDC(0); }

TEST(ScopedGdi, EveryOwnerKindReleasesItsHandleWhenTheScopeEnds) {
  const gdi::HANDLE bitmap = newBitmap(), memory = newMemDC(), working = newMemDC();
  {
    const ScopedBitmap b(bitmap);
    const ScopedMemDC m(memory);
    const ScopedWorkingDC w(working);
    EXPECT_EQ(std::tuple(b.get(), m.get(), w.get()), std::tuple(bitmap, memory, working));
    EXPECT_TRUE(alive(bitmap) && alive(memory) && alive(working));
  }
  for (const gdi::HANDLE h : {bitmap, memory, working}) EXPECT_FALSE(alive(h)) << h;
}

// Handing over (release, move) never deletes; replacing (reset, out) deletes
// the old handle once, unless it is the same handle again.
TEST(ScopedGdi, HandOverKeepsTheHandleAndReplacingDeletesTheOldOne) {
  const gdi::HBITMAP first = newBitmap(), second = newBitmap();
  ScopedBitmap outer;
  {
    ScopedBitmap inner(first);
    outer = std::move(inner);
  }
  ScopedBitmap b(std::move(outer));
  EXPECT_TRUE(alive(first)) << "a moved-from owner deleted the bitmap";
  b.reset(first);
  EXPECT_TRUE(alive(first));
  b.reset(second);
  EXPECT_FALSE(alive(first));
  gdi::HBITMAP& slot = b.out();
  EXPECT_EQ(std::pair(alive(second), slot), std::pair(false, gdi::HBITMAP{0}));
  slot = newBitmap();
  const gdi::HBITMAP kept = b.release();
  EXPECT_EQ(std::pair(b.get(), alive(kept)), std::pair(gdi::HBITMAP{0}, true));
  EXPECT_TRUE(gdi::DeleteObject(kept));
}

TEST(ScopedScreenDC, GivesTheScreenContextBack) {
  gdi::HDC h = 0;
  {
    const ScopedScreenDC screen;
    ASSERT_TRUE(screen);
    h = screen.get();
    EXPECT_EQ(gdi::GetObjectType(h), gdi::OBJ_DC);
  }
  EXPECT_FALSE(alive(h));
  const ScopedScreenDC none(0xFFFFFFF0u);  // no such window
  EXPECT_FALSE(none);
}

TEST(ScopedSelect, PutsTheOriginalBackOnceAfterSeveralSelectionsOrEarly) {
  const ScopedMemDC dc(newMemDC());
  const gdi::HBITMAP stock = gdi::CurrentBitmap(dc.get());
  const ScopedBitmap a(newBitmap()), b(newBitmap());
  {
    ScopedSelect sel(dc.get(), a.get());
    ASSERT_TRUE(sel.ok());
    EXPECT_EQ(sel.original(), stock);
    EXPECT_EQ(sel.select(dc.get(), b.get()), a.get());
    EXPECT_EQ(gdi::CurrentBitmap(dc.get()), b.get());
    EXPECT_EQ(sel.original(), stock);
  }
  EXPECT_EQ(gdi::CurrentBitmap(dc.get()), stock);
  // Restored early, once: the bitmap is free to be selected elsewhere.
  ScopedSelect sel(dc.get(), a.get());
  sel.restore();
  EXPECT_EQ(std::pair(gdi::CurrentBitmap(dc.get()), sel.ok()), std::pair(stock, false));
  const ScopedMemDC other(newMemDC());
  EXPECT_TRUE(ScopedSelect(other.get(), a.get()).ok());
}

TEST(ScopedSelect, AFailedSelectionRestoresNothing) {
  const ScopedMemDC holder(newMemDC()), dc(newMemDC());
  const ScopedBitmap a(newBitmap());
  const ScopedSelect held(holder.get(), a.get());
  ASSERT_TRUE(held.ok());
  const gdi::HBITMAP before = gdi::CurrentBitmap(dc.get());
  {
    const ScopedSelect sel(dc.get(), a.get());  // selected elsewhere: refused
    EXPECT_FALSE(sel.ok());
    const ScopedSelect noContext(0, a.get());
    EXPECT_FALSE(noContext.ok());
  }
  EXPECT_EQ(gdi::CurrentBitmap(dc.get()), before);
  EXPECT_EQ(gdi::CurrentBitmap(holder.get()), a.get());
}

}  // namespace
}  // namespace qorv
