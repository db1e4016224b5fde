// The clipboard: one owned CF_BITMAP, mirrored to the system clipboard when a
// Qt GUI application is running.
#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QThread>

#include <thread>

#include "platform/GdiObjects.h"

namespace gdi {

using namespace detail;

namespace {

inline constexpr DWORD kErrorAccessDenied = 5;

struct ClipboardState {
  std::mutex mutex;
  bool open = false;
  std::thread::id owner;
  HBITMAP bitmap = 0;  // owned: deleted by the next EmptyClipboard
};

ClipboardState& clip() {
  static ClipboardState* s = new ClipboardState;
  return *s;
}

QGuiApplication* guiApp() { return qobject_cast<QGuiApplication*>(QCoreApplication::instance()); }

bool onGuiThread() {
  QGuiApplication* app = guiApp();
  return app && QThread::currentThread() == app->thread();
}

bool openedByMe(const ClipboardState& s) { return s.open && s.owner == std::this_thread::get_id(); }

// A copy of a bitmap's pixels as an opaque Qt image (null if unreadable).
QImage bitmapImage(HBITMAP hbm) {
  SurfaceRef ref;
  {
    auto lock = lockTable();
    const BitmapObject* bm = findBitmap(hbm);
    if (!bm || !bm->pixels) return {};
    makeImage(*bm, ref);
  }
  const Image& img = ref.image;
  QImage out(img.width, img.height, QImage::Format_RGB32);
  if (out.isNull()) return {};
  for (int y = 0; y < img.height; ++y) {
    auto* line = reinterpret_cast<std::uint32_t*>(out.scanLine(y));
    readRow(img, y, 0, img.width, line);
    for (int x = 0; x < img.width; ++x) line[x] |= 0xFF000000u;
  }
  return out;
}

HBITMAP imageBitmap(const QImage& image) {
  const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
  if (rgb.isNull()) return 0;
  void* bits = nullptr;
  const HBITMAP hbm = createBitmap(rgb.width(), rgb.height(), defaultFormat(32), false, false, &bits, false);
  if (!hbm) return 0;
  auto* dst = static_cast<std::uint8_t*>(bits);
  const std::size_t rowBytes = static_cast<std::size_t>(rgb.width()) * 4;
  for (int y = 0; y < rgb.height(); ++y) {
    auto* d = reinterpret_cast<std::uint32_t*>(dst + static_cast<std::size_t>(y) * rowBytes);
    const auto* s = reinterpret_cast<const std::uint32_t*>(rgb.constScanLine(y));
    for (int x = 0; x < rgb.width(); ++x) d[x] = s[x] & kColourBits;
  }
  return hbm;
}

void publish(const QImage& image) {
  QGuiApplication* app = guiApp();
  if (!app || image.isNull()) return;
  if (onGuiThread()) {
    QGuiApplication::clipboard()->setImage(image);
  } else {
    QMetaObject::invokeMethod(app, [image] { QGuiApplication::clipboard()->setImage(image); }, Qt::QueuedConnection);
  }
}

}  // namespace

BOOL OpenClipboard(HWND /*hwnd*/) {
  ClipboardState& s = clip();
  std::lock_guard<std::mutex> g(s.mutex);
  if (s.open && s.owner != std::this_thread::get_id()) return fail(kErrorAccessDenied, FALSE);
  s.open = true;
  s.owner = std::this_thread::get_id();
  return TRUE;
}

BOOL EmptyClipboard() {
  ClipboardState& s = clip();
  HBITMAP old = 0;
  {
    std::lock_guard<std::mutex> g(s.mutex);
    if (!openedByMe(s)) return fail(ERROR_CLIPBOARD_NOT_OPEN, FALSE);
    old = s.bitmap;
    s.bitmap = 0;
  }
  if (old) {
    const DWORD saved = GetLastError();
    DeleteObject(old);  // may already be gone if someone else deleted it
    SetLastError(saved);
  }
  return TRUE;
}

HANDLE SetClipboardData(UINT format, HANDLE hMem) {
  ClipboardState& s = clip();
  {
    std::lock_guard<std::mutex> g(s.mutex);
    if (!openedByMe(s)) return fail(ERROR_CLIPBOARD_NOT_OPEN, HANDLE{0});
  }
  if (format != CF_BITMAP) return fail(ERROR_INVALID_PARAMETER, HANDLE{0});
  {
    auto lock = lockTable();
    const BitmapObject* bm = findBitmap(hMem);
    if (!bm) return fail(ERROR_INVALID_HANDLE, HANDLE{0});
    // The clipboard will delete it, which a DC selection would forbid.
    if (bm->selectedIn != 0 || bm->permanent) return fail(ERROR_INVALID_PARAMETER, HANDLE{0});
  }
  HBITMAP old = 0;
  {
    std::lock_guard<std::mutex> g(s.mutex);
    old = s.bitmap == hMem ? 0 : s.bitmap;
    s.bitmap = hMem;
  }
  if (old) DeleteObject(old);
  publish(bitmapImage(hMem));
  return hMem;
}

HANDLE GetClipboardData(UINT format) {
  ClipboardState& s = clip();
  {
    std::lock_guard<std::mutex> g(s.mutex);
    if (!openedByMe(s)) return fail(ERROR_CLIPBOARD_NOT_OPEN, HANDLE{0});
    if (format != CF_BITMAP) return fail(ERROR_INVALID_PARAMETER, HANDLE{0});
    if (s.bitmap != 0) {
      auto lock = lockTable();
      if (findBitmap(s.bitmap)) return s.bitmap;
      s.bitmap = 0;
    }
  }
  // Nothing of our own: take what another program put on the system clipboard.
  if (!onGuiThread()) return 0;
  const QImage image = QGuiApplication::clipboard()->image();
  if (image.isNull()) return 0;
  const HBITMAP hbm = imageBitmap(image);
  if (!hbm) return 0;
  std::lock_guard<std::mutex> g(s.mutex);
  s.bitmap = hbm;
  return hbm;
}

BOOL CloseClipboard() {
  ClipboardState& s = clip();
  std::lock_guard<std::mutex> g(s.mutex);
  if (!openedByMe(s)) return fail(ERROR_CLIPBOARD_NOT_OPEN, FALSE);
  s.open = false;
  s.owner = std::thread::id();
  return TRUE;
}

}  // namespace gdi
