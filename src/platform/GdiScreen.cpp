// The desktop window, its virtual screen surface, and window DCs.
#include <QGuiApplication>
#include <QScreen>

#include "platform/GdiObjects.h"

namespace gdi {

namespace detail {

void screenSize(int& width, int& height) {
  width = 1920;
  height = 1080;
  auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
  if (!app) return;
  if (QScreen* s = QGuiApplication::primaryScreen()) {
    const QSize size = s->size();
    if (size.width() > 0 && size.height() > 0) {
      width = size.width();
      height = size.height();
    }
  }
}

}  // namespace detail

using namespace detail;

HWND GetDesktopWindow() { return kDesktopWindow; }

namespace {

// The screen's pixels are allocated on first use: most processes never draw on it.
bool ensureScreen() {
  {
    auto lock = lockTable();
    if (findBitmap(kScreenBitmap)) return true;
  }
  int w = 0, h = 0;
  screenSize(w, h);
  BitmapObject bm;
  bm.width = w;
  bm.height = h;
  bm.stride = w * 4;
  bm.permanent = true;
  bm.format = defaultFormat(32);
  bm.pixels = allocatePixels(static_cast<std::int64_t>(w) * h * 4);
  if (!bm.pixels) return false;
  auto lock = lockTable();
  insertFixed(kScreenBitmap, std::move(bm));
  return true;
}

}  // namespace

HDC GetDC(HWND hwnd) {
  if (hwnd == 0) hwnd = kDesktopWindow;
  if (hwnd == kDesktopWindow && !ensureScreen()) return fail(ERROR_NOT_ENOUGH_MEMORY, HDC{0});
  auto lock = lockTable();
  if (!findWindow(hwnd)) return fail(ERROR_INVALID_HANDLE, HDC{0});
  DCObject dc;
  dc.memory = false;
  dc.window = hwnd;
  HDC h = insertObject(dc);
  return h ? h : fail(ERROR_NOT_ENOUGH_MEMORY, HDC{0});
}

int ReleaseDC(HWND /*hwnd*/, HDC hdc) {
  auto lock = lockTable();
  DCObject* dc = findDC(hdc);
  if (!dc || dc->memory) return 0;
  eraseObject(hdc);
  return 1;
}

}  // namespace gdi
