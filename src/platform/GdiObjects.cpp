// The handle table and the object functions: creation, selection, deletion and
// description of bitmaps and DCs, window handles, surfaces and the last error.
#include "platform/GdiObjects.h"

#include <atomic>
#include <cstring>
#include <new>
#include <unordered_map>

#include <sys/mman.h>

#include "platform/Clock.h"

namespace gdi {

namespace {

thread_local DWORD t_lastError = ERROR_SUCCESS;

struct Table {
  std::mutex mutex;
  std::unordered_map<HANDLE, detail::Object> objects;
  // Handles count upwards and are not reused until the 32-bit space wraps, so a
  // stale handle keeps failing instead of reaching a newer object.
  HANDLE next = 0x100;

  Table() {
    detail::BitmapObject stock;
    stock.width = 1;
    stock.height = 1;
    stock.stride = 4;
    stock.permanent = true;
    stock.format = detail::defaultFormat(1);
    stock.format.palette = {0x000000u, 0xFFFFFFu};
    stock.pixels = detail::allocatePixels(4);
    if (stock.pixels) stock.pixels->owners = 1;
    objects.emplace(detail::kStockBitmap, std::move(stock));
    detail::WindowObject desktop;
    desktop.permanent = true;
    desktop.bitmap = detail::kScreenBitmap;  // allocated by the first GetDC
    objects.emplace(detail::kDesktopWindow, desktop);
  }
};

Table& table() {
  static Table* t = new Table;  // never destroyed: other statics may release handles at exit
  return *t;
}

std::atomic<std::uint64_t> g_sharedCopies{0};

// Recently freed pixel memory kept for the next request of the same size. A
// rendered frame is freed and a new one of the same size allocated at every
// frame, and an image operation on a picture frees the working image and the
// old picture that the next operation on it asks for again; handing the old
// blocks back saves the system unmapping them and then faulting and zeroing
// the pages of fresh ones (for a 24-megapixel picture, more time than the
// operation itself). Three blocks at most: the picture, the working image
// and a second image of an operation. A picture-sized request (8 MB and
// more) that none of them fits releases them all first, so that the cache
// never adds to the peak of a process that moves on to other sizes; smaller
// ones (a rendered frame of the view) leave them be.
class BlockCache {
 public:
  static constexpr std::size_t kMinBlock = std::size_t{256} << 10;
  static constexpr std::size_t kMaxTotal = std::size_t{256} << 20;
  static constexpr int kSlots = 3;
  static constexpr std::size_t kTrimFrom = std::size_t{8} << 20;

  void* take(std::size_t size) {
    std::unique_lock<std::mutex> g(mutex_);
    for (Slot& s : slots_) {
      if (s.data && s.size == size) {
        void* p = s.data;
        s.data = nullptr;
        total_ -= size;
        return p;
      }
    }
    if (size < kTrimFrom || total_ == 0) return nullptr;
    void* release[kSlots] = {};
    for (int i = 0; i < kSlots; ++i) {
      release[i] = slots_[i].data;
      slots_[i].data = nullptr;
    }
    total_ = 0;
    g.unlock();
    for (void* p : release) std::free(p);
    return nullptr;
  }

  // Keeps `p` if there is room, else frees it.
  void give(void* p, std::size_t size) {
    if (!p) return;
    if (size >= kMinBlock && size <= kMaxTotal) {
      std::lock_guard<std::mutex> g(mutex_);
      if (total_ + size <= kMaxTotal) {
        for (Slot& s : slots_) {
          if (!s.data) {
            s.data = p;
            s.size = size;
            total_ += size;
            return;
          }
        }
      }
    }
    std::free(p);
  }

 private:
  struct Slot {
    void* data = nullptr;
    std::size_t size = 0;
  };
  std::mutex mutex_;
  Slot slots_[kSlots];
  std::size_t total_ = 0;
};

// Large pictures are mapped afresh by the allocator, and their first writes
// fault the pages in one by one; in pages of 2 MB that costs a few hundred
// faults instead of tens of thousands, and the system zeroes them as fast as
// memory allows. Only a hint: where the system says no, nothing changes.
void adviseLargePages(void* p, std::size_t n) {
#ifdef MADV_HUGEPAGE
  constexpr std::size_t kLarge = std::size_t{4} << 20;
  constexpr std::uintptr_t kPage = 4096;
  if (n < kLarge) return;
  const auto begin = (reinterpret_cast<std::uintptr_t>(p) + kPage - 1) & ~(kPage - 1);
  const auto end = (reinterpret_cast<std::uintptr_t>(p) + n) & ~(kPage - 1);
  if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
  (void)p;
  (void)n;
#endif
}

BlockCache& blockCache() {
  static BlockCache* c = new BlockCache;  // never destroyed, like the table
  return *c;
}

}  // namespace

namespace detail {

std::unique_lock<std::mutex> lockTable() { return std::unique_lock<std::mutex>(table().mutex); }

Object* findObject(HANDLE h) {
  if (h == 0) return nullptr;
  auto& objs = table().objects;
  auto it = objs.find(h);
  return it == objs.end() ? nullptr : &it->second;
}

BitmapObject* findBitmap(HANDLE h) {
  Object* o = findObject(h);
  return o ? std::get_if<BitmapObject>(o) : nullptr;
}

DCObject* findDC(HANDLE h) {
  Object* o = findObject(h);
  return o ? std::get_if<DCObject>(o) : nullptr;
}

WindowObject* findWindow(HANDLE h) {
  Object* o = findObject(h);
  return o ? std::get_if<WindowObject>(o) : nullptr;
}

HANDLE insertObject(Object&& obj) {
  Table& t = table();
  for (std::uint64_t tries = 0; tries < 0x100000000ull; ++tries) {
    HANDLE h = t.next++;
    if (t.next < 0x100) t.next = 0x100;
    if (h < 0x100 || t.objects.count(h)) continue;
    if (auto* bm = std::get_if<BitmapObject>(&obj); bm && bm->pixels) ++bm->pixels->owners;
    t.objects.emplace(h, std::move(obj));
    return h;
  }
  return 0;
}

void insertFixed(HANDLE h, Object&& obj) {
  if (auto* bm = std::get_if<BitmapObject>(&obj); bm && bm->pixels) ++bm->pixels->owners;
  table().objects.emplace(h, std::move(obj));
}

void eraseObject(HANDLE h) {
  auto& objs = table().objects;
  auto it = objs.find(h);
  if (it == objs.end()) return;
  if (auto* bm = std::get_if<BitmapObject>(&it->second); bm && bm->pixels) --bm->pixels->owners;
  objs.erase(it);
}

HBITMAP dcBitmap(const DCObject& dc) {
  if (dc.memory) return dc.bitmap;
  const WindowObject* w = findWindow(dc.window);
  return w ? w->bitmap : 0;
}

PixelBuffer::~PixelBuffer() {
  if (release) release(data, size);
  else blockCache().give(data, size);
}

std::shared_ptr<PixelBuffer> allocatePixels(std::int64_t bytes, bool zeroed) {
  if (bytes <= 0 || bytes > kMaxBitmapBytes) return nullptr;
  std::shared_ptr<PixelBuffer> buf;
  try {
    buf = std::make_shared<PixelBuffer>();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  const auto n = static_cast<std::size_t>(bytes);
  void* p = blockCache().take(n);
  if (p && zeroed) std::memset(p, 0, n);
  if (!p) p = zeroed ? std::calloc(n, 1) : std::malloc(n);
  if (!p) return nullptr;
  adviseLargePages(p, n);
  buf->data = static_cast<std::uint8_t*>(p);
  buf->size = n;
  return buf;
}

bool makeWritable(BitmapObject& bm, bool keepContent) {
  if (!bm.pixels || bm.pixels->owners <= 1) return true;
  auto fresh = allocatePixels(static_cast<std::int64_t>(bm.pixels->size), false);
  if (!fresh) return false;
  if (keepContent) {
    std::memcpy(fresh->data, bm.pixels->data, bm.pixels->size);
    g_sharedCopies.fetch_add(1, std::memory_order_relaxed);
  }
  --bm.pixels->owners;
  fresh->owners = 1;
  bm.pixels = std::move(fresh);
  return true;
}

bool makeWritableImage(BitmapObject& bm, SurfaceRef& out) {
  if (!makeWritable(bm, true)) return false;
  makeImage(bm, out);
  return true;
}

void makeImage(const BitmapObject& bm, SurfaceRef& out) {
  out.keep = bm.pixels;
  Image& img = out.image;
  img.width = bm.width;
  img.height = bm.height;
  img.fmt = bm.format;
  if (!bm.pixels || !bm.pixels->data) {
    img.top = nullptr;
    img.step = 0;
    return;
  }
  img.top = bm.bottomUp ? bm.pixels->data + static_cast<std::ptrdiff_t>(bm.height - 1) * bm.stride
                        : bm.pixels->data;
  img.step = bm.bottomUp ? -static_cast<std::ptrdiff_t>(bm.stride) : bm.stride;
}

HBITMAP createBitmap(int width, int height, PixelFormat fmt, bool bottomUp, bool dibSection, void** bits,
                     bool zeroed) {
  if (bits) *bits = nullptr;
  if (width <= 0 || height <= 0) return fail(ERROR_INVALID_PARAMETER, HBITMAP{0});
  const std::int64_t stride = dibStride(width, fmt.bpp);
  if (stride < 0 || stride * height > kMaxBitmapBytes) return fail(ERROR_NOT_ENOUGH_MEMORY, HBITMAP{0});
  BitmapObject bm;
  bm.pixels = allocatePixels(stride * height, zeroed);
  if (!bm.pixels) return fail(ERROR_NOT_ENOUGH_MEMORY, HBITMAP{0});
  bm.width = width;
  bm.height = height;
  bm.stride = static_cast<int>(stride);
  bm.bottomUp = bottomUp;
  bm.dibSection = dibSection;
  bm.format = std::move(fmt);
  void* p = bm.pixels->data;
  auto lock = lockTable();
  HBITMAP h = insertObject(std::move(bm));
  if (h == 0) return fail(ERROR_NOT_ENOUGH_MEMORY, HBITMAP{0});
  if (bits) *bits = p;
  return h;
}

}  // namespace detail

using namespace detail;

DWORD GetLastError() { return t_lastError; }
void SetLastError(DWORD code) { t_lastError = code; }

DWORD GetTickCount() { return qorv::clock().now(); }
DWORD timeGetTime() { return qorv::clock().now(); }

HDC CreateCompatibleDC(HDC hdc) {
  auto lock = lockTable();
  if (hdc != 0 && !findDC(hdc)) return fail(ERROR_INVALID_HANDLE, HDC{0});
  DCObject dc;
  dc.memory = true;
  dc.bitmap = kStockBitmap;
  HDC h = insertObject(dc);
  return h ? h : fail(ERROR_NOT_ENOUGH_MEMORY, HDC{0});
}

HBITMAP CreateCompatibleBitmap(HDC hdc, int cx, int cy) {
  {
    auto lock = lockTable();
    if (hdc != 0 && !findDC(hdc)) return fail(ERROR_INVALID_HANDLE, HBITMAP{0});
  }
  return createBitmap(cx, cy, defaultFormat(32), false, false, nullptr);
}

HGDIOBJ SelectObject(HDC hdc, HGDIOBJ h) {
  auto lock = lockTable();
  DCObject* dc = findDC(hdc);
  if (!dc) return fail(ERROR_INVALID_HANDLE, HGDIOBJ{0});
  BitmapObject* bm = findBitmap(h);
  if (!bm) return fail(findObject(h) ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE, HGDIOBJ{0});
  if (!dc->memory) return fail(ERROR_INVALID_PARAMETER, HGDIOBJ{0});
  if (dc->bitmap == h) return h;
  if (h != kStockBitmap && bm->selectedIn != 0 && bm->selectedIn != hdc)
    return fail(ERROR_INVALID_PARAMETER, HGDIOBJ{0});
  const HBITMAP previous = dc->bitmap;
  if (BitmapObject* old = findBitmap(previous); old && old->selectedIn == hdc) old->selectedIn = 0;
  if (h != kStockBitmap) bm->selectedIn = hdc;
  dc->bitmap = h;
  return previous;
}

namespace {

// Removes a DC and gives its bitmap back. Table lock held.
void destroyDC(HDC hdc, DCObject& dc) {
  if (dc.memory) {
    if (BitmapObject* bm = findBitmap(dc.bitmap); bm && bm->selectedIn == hdc) bm->selectedIn = 0;
  }
  eraseObject(hdc);
}

}  // namespace

BOOL DeleteObject(HGDIOBJ ho) {
  auto lock = lockTable();
  Object* o = findObject(ho);
  if (!o) return fail(ERROR_INVALID_HANDLE, FALSE);
  if (auto* bm = std::get_if<BitmapObject>(o)) {
    // The stock bitmap and the screen are shared by everyone: deleting them is
    // accepted and ignored, as the classic model does with stock objects.
    if (bm->permanent) return TRUE;
    if (bm->selectedIn != 0) return fail(ERROR_INVALID_PARAMETER, FALSE);
    // A window left pointing at a deleted bitmap draws nowhere rather than on freed memory.
    for (auto& [handle, obj] : table().objects)
      if (auto* w = std::get_if<WindowObject>(&obj); w && w->bitmap == ho) w->bitmap = 0;
    eraseObject(ho);
    return TRUE;
  }
  // Deleting a DC through DeleteObject is accepted: some callers pair
  // CreateCompatibleDC with DeleteObject.
  if (auto* dc = std::get_if<DCObject>(o)) {
    destroyDC(ho, *dc);
    return TRUE;
  }
  return fail(ERROR_INVALID_HANDLE, FALSE);
}

BOOL DeleteDC(HDC hdc) {
  auto lock = lockTable();
  DCObject* dc = findDC(hdc);
  if (!dc) return fail(ERROR_INVALID_HANDLE, FALSE);
  destroyDC(hdc, *dc);
  return TRUE;
}

int GetObjectA(HANDLE h, int c, void* pv) {
  auto lock = lockTable();
  const BitmapObject* bm = findBitmap(h);
  if (!bm) return fail(ERROR_INVALID_HANDLE, 0);
  if (!pv) return static_cast<int>(sizeof(BITMAP));
  if (c < static_cast<int>(sizeof(BITMAP))) return fail(ERROR_INVALID_PARAMETER, 0);
  BITMAP out{};
  out.bmType = 0;
  out.bmWidth = bm->width;
  out.bmHeight = bm->height;
  out.bmWidthBytes = bm->stride;
  out.bmPlanes = 1;
  out.bmBitsPixel = static_cast<WORD>(bm->format.bpp);
  out.bmBits = 0;
  std::memcpy(pv, &out, sizeof out);
  return static_cast<int>(sizeof(BITMAP));
}

DWORD GetObjectType(HGDIOBJ h) {
  auto lock = lockTable();
  Object* o = findObject(h);
  if (!o) return fail(ERROR_INVALID_HANDLE, DWORD{0});
  if (std::holds_alternative<BitmapObject>(*o)) return OBJ_BITMAP;
  if (auto* dc = std::get_if<DCObject>(o)) return dc->memory ? OBJ_MEMDC : OBJ_DC;
  return fail(ERROR_INVALID_HANDLE, DWORD{0});  // windows are not drawing objects
}

namespace {

void fillSurface(const BitmapObject& bm, Surface& out) {
  out.rows = bm.pixels ? bm.pixels->data : nullptr;
  out.width = bm.width;
  out.height = bm.height;
  out.stride = bm.stride;
  out.bitsPerPixel = bm.format.bpp;
  out.bottomUp = bm.bottomUp;
}

// The bitmap a surface request names, either directly or through a DC.
// Table lock held.
BitmapObject* surfaceBitmap(HANDLE h, bool viaDC) {
  if (!viaDC) return findBitmap(h);
  const DCObject* dc = findDC(h);
  return dc ? findBitmap(dcBitmap(*dc)) : nullptr;
}

bool surfaceOf(HANDLE h, bool viaDC, bool forWriting, Surface& out) {
  auto lock = lockTable();
  BitmapObject* bm = surfaceBitmap(h, viaDC);
  if (!bm || !bm->pixels) return fail(ERROR_INVALID_HANDLE, false);
  if (forWriting && !makeWritable(*bm, true)) return fail(ERROR_NOT_ENOUGH_MEMORY, false);
  fillSurface(*bm, out);
  return true;
}

}  // namespace

bool BitmapSurface(HBITMAP hbm, Surface& out) { return surfaceOf(hbm, false, true, out); }
bool DCSurface(HDC hdc, Surface& out) { return surfaceOf(hdc, true, true, out); }
bool BitmapSurfaceRead(HBITMAP hbm, Surface& out) { return surfaceOf(hbm, false, false, out); }
bool DCSurfaceRead(HDC hdc, Surface& out) { return surfaceOf(hdc, true, false, out); }

HBITMAP ShareBitmap(HBITMAP src) {
  SurfaceRef from;
  BitmapObject copy;
  {
    auto lock = lockTable();
    const BitmapObject* bm = findBitmap(src);
    if (!bm || !bm->pixels) return fail(ERROR_INVALID_HANDLE, HBITMAP{0});
    copy.width = bm->width;
    copy.height = bm->height;
    copy.stride = bm->stride;
    copy.bottomUp = bm->bottomUp;
    copy.format = bm->format;
    if (!bm->dibSection) {
      copy.pixels = bm->pixels;
      const HBITMAP h = insertObject(std::move(copy));
      return h ? h : fail(ERROR_NOT_ENOUGH_MEMORY, HBITMAP{0});
    }
    makeImage(*bm, from);
  }
  // A DIB section: a copy of its own, made outside the lock.
  auto pixels = allocatePixels(static_cast<std::int64_t>(from.keep->size), false);
  if (!pixels) return fail(ERROR_NOT_ENOUGH_MEMORY, HBITMAP{0});
  std::memcpy(pixels->data, from.keep->data, from.keep->size);
  copy.pixels = std::move(pixels);
  auto lock = lockTable();
  const HBITMAP h = insertObject(std::move(copy));
  return h ? h : fail(ERROR_NOT_ENOUGH_MEMORY, HBITMAP{0});
}

bool DiscardBitmap(HBITMAP hbm) {
  auto lock = lockTable();
  BitmapObject* bm = findBitmap(hbm);
  if (!bm || !bm->pixels) return fail(ERROR_INVALID_HANDLE, false);
  return makeWritable(*bm, false) ? true : fail(ERROR_NOT_ENOUGH_MEMORY, false);
}

HBITMAP CreateBitmapForOverwrite(int cx, int cy) {
  return createBitmap(cx, cy, defaultFormat(32), false, false, nullptr, false);
}

HBITMAP CreateBitmapOverMemory(int cx, int cy, std::uint8_t* data, std::size_t size,
                               void (*release)(std::uint8_t*, std::size_t)) {
  if (cx <= 0 || cy <= 0 || !data || !release) return fail(ERROR_INVALID_PARAMETER, HBITMAP{0});
  const std::int64_t stride = std::int64_t{cx} * 4;
  if (stride * cy > kMaxBitmapBytes || static_cast<std::uint64_t>(stride * cy) > size)
    return fail(ERROR_INVALID_PARAMETER, HBITMAP{0});
  BitmapObject bm;
  try {
    bm.pixels = std::make_shared<PixelBuffer>();
  } catch (const std::bad_alloc&) {
    return fail(ERROR_NOT_ENOUGH_MEMORY, HBITMAP{0});
  }
  bm.width = cx;
  bm.height = cy;
  bm.stride = static_cast<int>(stride);
  bm.format = defaultFormat(32);
  auto lock = lockTable();
  const HBITMAP h = insertObject(std::move(bm));
  if (h == 0) return fail(ERROR_NOT_ENOUGH_MEMORY, HBITMAP{0});
  // Only now does the bitmap own the memory: a failure above leaves it the caller's.
  PixelBuffer& pixels = *findBitmap(h)->pixels;
  pixels.data = data;
  pixels.size = size;
  pixels.release = release;
  return h;
}

bool SharesPixels(HBITMAP a, HBITMAP b) {
  auto lock = lockTable();
  const BitmapObject* x = findBitmap(a);
  const BitmapObject* y = findBitmap(b);
  return x && y && x->pixels && x->pixels == y->pixels;
}

std::uint64_t SharedPixelCopies() { return g_sharedCopies.load(std::memory_order_relaxed); }

HBITMAP CurrentBitmap(HDC hdc) {
  auto lock = lockTable();
  const DCObject* dc = findDC(hdc);
  if (!dc) return fail(ERROR_INVALID_HANDLE, HBITMAP{0});
  const HBITMAP h = dcBitmap(*dc);
  return findBitmap(h) ? h : 0;
}

HWND CreateWindowHandle(HBITMAP surfaceBitmap) {
  auto lock = lockTable();
  if (!findBitmap(surfaceBitmap)) return fail(ERROR_INVALID_HANDLE, HWND{0});
  WindowObject w;
  w.bitmap = surfaceBitmap;
  HWND h = insertObject(w);
  return h ? h : fail(ERROR_NOT_ENOUGH_MEMORY, HWND{0});
}

bool RebindWindow(HWND hwnd, HBITMAP surfaceBitmap) {
  auto lock = lockTable();
  WindowObject* w = findWindow(hwnd);
  if (!w || w->permanent || !findBitmap(surfaceBitmap)) return fail(ERROR_INVALID_HANDLE, false);
  w->bitmap = surfaceBitmap;
  return true;
}

bool DestroyWindowHandle(HWND hwnd) {
  auto lock = lockTable();
  WindowObject* w = findWindow(hwnd);
  if (!w || w->permanent) return fail(ERROR_INVALID_HANDLE, false);
  eraseObject(hwnd);
  return true;
}

std::size_t LiveObjectCount() {
  auto lock = lockTable();
  std::size_t n = 0;
  for (const auto& [h, o] : table().objects) {
    const bool permanent = std::visit(
        [](const auto& obj) {
          if constexpr (std::is_same_v<std::decay_t<decltype(obj)>, DCObject>)
            return false;
          else
            return obj.permanent;
        },
        o);
    if (!permanent) ++n;
  }
  return n;
}

}  // namespace gdi
