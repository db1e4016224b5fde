// The clipboard calls: open/close rules, ownership of the bitmap, and the
// bridge to the system clipboard.
#include <gtest/gtest.h>

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>

#include <thread>

#include "platform/test_gdi_util.h"

using namespace gdi;

namespace {

HBITMAP filledBitmap(int w, int h, std::uint32_t colour) {
  const HBITMAP hbm = CreateCompatibleBitmap(0, w, h);
  Surface s;
  EXPECT_TRUE(BitmapSurface(hbm, s));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) std::memcpy(s.row(y) + 4 * x, &colour, 4);
  return hbm;
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
  SetLastError(0);
  EXPECT_EQ(EmptyClipboard(), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_CLIPBOARD_NOT_OPEN);
  SetLastError(0);
  EXPECT_EQ(SetClipboardData(CF_BITMAP, hbm), 0u);
  EXPECT_EQ(GetLastError(), ERROR_CLIPBOARD_NOT_OPEN);
  SetLastError(0);
  EXPECT_EQ(GetClipboardData(CF_BITMAP), 0u);
  EXPECT_EQ(GetLastError(), ERROR_CLIPBOARD_NOT_OPEN);
  SetLastError(0);
  EXPECT_EQ(CloseClipboard(), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_CLIPBOARD_NOT_OPEN);
  // Opening twice from one thread is allowed; one close closes it.
  EXPECT_EQ(OpenClipboard(0), TRUE);
  EXPECT_EQ(OpenClipboard(0), TRUE);
  EXPECT_EQ(CloseClipboard(), TRUE);
  EXPECT_EQ(CloseClipboard(), FALSE);
  EXPECT_EQ(DeleteObject(hbm), TRUE);
}

TEST_F(Clipboard, AnotherThreadCannotUseItWhileOpen) {
  ASSERT_EQ(OpenClipboard(0), TRUE);
  BOOL opened = TRUE, emptied = TRUE;
  std::thread t([&] {
    opened = OpenClipboard(0);
    emptied = EmptyClipboard();
  });
  t.join();
  EXPECT_EQ(opened, FALSE);
  EXPECT_EQ(emptied, FALSE);
  EXPECT_EQ(CloseClipboard(), TRUE);
}

TEST_F(Clipboard, TakesOwnershipAndDeletesOnNextEmpty) {
  const std::size_t live = LiveObjectCount();
  const HBITMAP hbm = filledBitmap(3, 2, 0x00ABCDEF);
  ASSERT_EQ(OpenClipboard(0), TRUE);
  ASSERT_EQ(EmptyClipboard(), TRUE);
  EXPECT_EQ(SetClipboardData(CF_BITMAP, hbm), hbm);
  EXPECT_EQ(GetClipboardData(CF_BITMAP), hbm);
  EXPECT_EQ(CloseClipboard(), TRUE);
  EXPECT_EQ(GetObjectType(hbm), OBJ_BITMAP);  // still alive, owned by the clipboard
  ASSERT_EQ(OpenClipboard(0), TRUE);
  EXPECT_EQ(GetClipboardData(CF_BITMAP), hbm);
  EXPECT_EQ(EmptyClipboard(), TRUE);
  EXPECT_EQ(GetObjectType(hbm), 0u);  // deleted by the clipboard
  EXPECT_EQ(CloseClipboard(), TRUE);
  EXPECT_EQ(LiveObjectCount(), live);
}

TEST_F(Clipboard, RejectsWhatItCannotOwn) {
  const HBITMAP hbm = filledBitmap(1, 1, 0);
  HDC dc = CreateCompatibleDC(0);
  HGDIOBJ old = SelectObject(dc, hbm);
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
  for (const auto& c : cases) {
    SetLastError(0);
    EXPECT_EQ(SetClipboardData(c.format, c.h), 0u) << c.name;
    EXPECT_EQ(GetLastError(), c.error) << c.name;
  }
  CloseClipboard();
  SelectObject(dc, old);
  DeleteDC(dc);
  DeleteObject(hbm);
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
  EXPECT_EQ(bm.bmWidth, 5);
  EXPECT_EQ(bm.bmHeight, 2);
  Surface s;
  ASSERT_TRUE(BitmapSurface(got, s));
  std::uint32_t v;
  std::memcpy(&v, s.row(1) + 4 * 3, 4);
  EXPECT_EQ(v & 0xFFFFFFu, 0x405060u);
  EXPECT_EQ(GetClipboardData(CF_BITMAP), got);  // one bitmap, owned by the clipboard
  EXPECT_EQ(EmptyClipboard(), TRUE);
  EXPECT_EQ(GetObjectType(got), 0u);
  CloseClipboard();
}

}  // namespace
