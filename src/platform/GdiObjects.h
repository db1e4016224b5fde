// The handle table behind every gdi handle, shared by the gdi implementation
// files. Internal; callers outside the gdi implementation use gdi.h and
// GdiSurface.h.
#pragma once

#include <cstdlib>
#include <memory>
#include <mutex>
#include <variant>

#include "platform/GdiPixels.h"
#include "platform/GdiSurface.h"

namespace gdi::detail {

// Sets the calling thread's last error; returns `failValue` for brevity at call sites.
template <typename T>
T fail(DWORD code, T failValue) {
  SetLastError(code);
  return failValue;
}

// Pixel memory. Several bitmap objects may draw on one buffer (ShareBitmap);
// `owners` counts them and is what decides whether a write must first give
// its bitmap memory of its own. The shared_ptr count is not used for that:
// a blit in progress also holds a reference, only to keep the memory alive if
// another thread deletes the bitmap meanwhile.
struct PixelBuffer {
  std::uint8_t* data = nullptr;
  std::size_t size = 0;
  int owners = 0;  // bitmap objects in the table using this memory (table lock)
  // Memory that came from elsewhere (CreateBitmapOverMemory) goes back through
  // this; null for memory of the table's own.
  void (*release)(std::uint8_t* data, std::size_t size) = nullptr;
  PixelBuffer() = default;
  PixelBuffer(const PixelBuffer&) = delete;
  PixelBuffer& operator=(const PixelBuffer&) = delete;
  ~PixelBuffer();
};

struct BitmapObject {
  std::shared_ptr<PixelBuffer> pixels;
  int width = 0;
  int height = 0;
  int stride = 0;
  bool bottomUp = false;
  bool dibSection = false;
  bool permanent = false;  // stock bitmap and the virtual screen: never deleted
  HDC selectedIn = 0;
  PixelFormat format;
};

struct DCObject {
  bool memory = true;     // memory DC (OBJ_MEMDC) or window DC (OBJ_DC)
  HBITMAP bitmap = 0;     // memory DC: the selected bitmap
  HWND window = 0;        // window DC: draws on the window's bitmap
  int stretchMode = BLACKONWHITE;
};

struct WindowObject {
  HBITMAP bitmap = 0;
  bool permanent = false;
};

using Object = std::variant<BitmapObject, DCObject, WindowObject>;

// Fixed handles of the permanent objects.
inline constexpr HANDLE kDesktopWindow = 0x10;
inline constexpr HANDLE kStockBitmap = 0x11;
inline constexpr HANDLE kScreenBitmap = 0x12;

// The table lock; hold it around every call below.
std::unique_lock<std::mutex> lockTable();
Object* findObject(HANDLE h);
BitmapObject* findBitmap(HANDLE h);
DCObject* findDC(HANDLE h);
WindowObject* findWindow(HANDLE h);
// Adds an object under a fresh handle (0 when the table is exhausted).
HANDLE insertObject(Object&& obj);
// Adds a permanent object under its fixed handle (no-op if present).
void insertFixed(HANDLE h, Object&& obj);
void eraseObject(HANDLE h);

// The bitmap a DC draws on (0 if none or stale).
HBITMAP dcBitmap(const DCObject& dc);

// Pixel memory of `bytes` bytes, zero-filled unless `zeroed` is false (for
// callers that write every byte before anyone reads); null when it cannot be had.
std::shared_ptr<PixelBuffer> allocatePixels(std::int64_t bytes, bool zeroed = true);

// Before a write: gives `bm` memory no other bitmap object uses. With
// `keepContent` the pixels are copied over; without, the new memory holds
// garbage the caller is about to overwrite. False when memory cannot be had.
// Table lock held.
bool makeWritable(BitmapObject& bm, bool keepContent);

// A surface taken out of the table for drawing, kept alive by `keep`.
struct SurfaceRef {
  std::shared_ptr<PixelBuffer> keep;
  Image image;
};
void makeImage(const BitmapObject& bm, SurfaceRef& out);
// The same for a surface about to be written: the bitmap is detached from any
// memory it shares first. False when that needs memory that cannot be had.
// Table lock held.
bool makeWritableImage(BitmapObject& bm, SurfaceRef& out);

// Largest pixel memory of one bitmap (bytes); larger requests fail with
// ERROR_NOT_ENOUGH_MEMORY.
inline constexpr std::int64_t kMaxBitmapBytes = std::int64_t{1} << 31;

// Creates a bitmap object of the given layout with zeroed memory (left as it
// comes when `zeroed` is false). On failure sets the last error and returns 0.
// Table lock must NOT be held.
HBITMAP createBitmap(int width, int height, PixelFormat fmt, bool bottomUp, bool dibSection, void** bits,
                     bool zeroed = true);

// The virtual screen's size (primary screen when a GUI application runs).
void screenSize(int& width, int& height);

}  // namespace gdi::detail
