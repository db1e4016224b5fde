// Scoped owners for device contexts, bitmaps and selections: the one place
// every layer takes its gdi handles from, so that each exit path gives back
// what it took and no caller writes its own release sequence.
//
// Owners are movable, not copyable. A handle of 0 owns nothing. Releasing never
// throws: a handle someone else already freed makes the release call fail
// quietly, as the handle table promises for stale handles.
#pragma once

#include <utility>

#include <QorvPictureBox/gdi.h>

namespace qorv {

// A handle owner whose release call is Traits::release(handle).
template <class Traits>
class ScopedGdi {
 public:
  using Handle = typename Traits::Handle;

  ScopedGdi() = default;
  explicit ScopedGdi(Handle h) noexcept : h_(h) {}
  ~ScopedGdi() { reset(); }
  ScopedGdi(const ScopedGdi&) = delete;
  ScopedGdi& operator=(const ScopedGdi&) = delete;
  ScopedGdi(ScopedGdi&& other) noexcept : h_(other.release()) {}
  ScopedGdi& operator=(ScopedGdi&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }

  Handle get() const noexcept { return h_; }
  explicit operator bool() const noexcept { return h_ != 0; }
  // Gives the handle up without releasing it.
  Handle release() noexcept { return std::exchange(h_, Handle{0}); }
  // Releases the current handle (unless it is `h` itself) and takes `h`.
  void reset(Handle h = 0) noexcept {
    const Handle old = std::exchange(h_, h);
    if (old != 0 && old != h) Traits::release(old);
  }
  // For calls that hand a new handle back through a reference: releases what
  // is held and lends the slot.
  Handle& out() noexcept {
    reset();
    return h_;
  }

 private:
  Handle h_ = 0;
};

namespace scoped_gdi {
struct BitmapTraits {
  using Handle = gdi::HBITMAP;
  static void release(Handle h) noexcept { gdi::DeleteObject(h); }
};
struct MemDCTraits {
  using Handle = gdi::HDC;
  static void release(Handle h) noexcept { gdi::DeleteDC(h); }
};
// The working image has always given its memory context back with
// DeleteObject, which the platform accepts for a context; DeleteDC is the
// fallback for a platform that would refuse it.
struct WorkingDCTraits {
  using Handle = gdi::HDC;
  static void release(Handle h) noexcept {
    if (!gdi::DeleteObject(h)) gdi::DeleteDC(h);
  }
};
}  // namespace scoped_gdi

// A bitmap deleted with DeleteObject.
using ScopedBitmap = ScopedGdi<scoped_gdi::BitmapTraits>;
// A memory context from CreateCompatibleDC, deleted with DeleteDC.
using ScopedMemDC = ScopedGdi<scoped_gdi::MemDCTraits>;
// The working image's memory context: deleted with DeleteObject (see above).
using ScopedWorkingDC = ScopedGdi<scoped_gdi::WorkingDCTraits>;

// A window's context from GetDC, given back with ReleaseDC. The default is
// the desktop window's (the screen).
class ScopedScreenDC {
 public:
  ScopedScreenDC() : ScopedScreenDC(gdi::GetDesktopWindow()) {}
  explicit ScopedScreenDC(gdi::HWND hwnd) : hwnd_(hwnd), h_(gdi::GetDC(hwnd)) {}
  ~ScopedScreenDC() { reset(); }
  ScopedScreenDC(const ScopedScreenDC&) = delete;
  ScopedScreenDC& operator=(const ScopedScreenDC&) = delete;
  gdi::HDC get() const noexcept { return h_; }
  explicit operator bool() const noexcept { return h_ != 0; }
  void reset() noexcept {
    if (h_ != 0) gdi::ReleaseDC(hwnd_, h_);
    h_ = 0;
  }

 private:
  gdi::HWND hwnd_;
  gdi::HDC h_;
};

// Selects objects into one context and, when it goes, selects back what the
// context held before its first selection. Further selections through the same
// guard replace the object in between without losing that original.
class ScopedSelect {
 public:
  ScopedSelect() = default;
  ScopedSelect(gdi::HDC dc, gdi::HGDIOBJ obj) { select(dc, obj); }
  ~ScopedSelect() { restore(); }
  ScopedSelect(const ScopedSelect&) = delete;
  ScopedSelect& operator=(const ScopedSelect&) = delete;

  // Selects `obj` into `dc` (which must be this guard's context once one is
  // held). Returns what SelectObject returned: the previous object, 0 on failure.
  gdi::HGDIOBJ select(gdi::HDC dc, gdi::HGDIOBJ obj) {
    if (dc == 0) return 0;
    const gdi::HGDIOBJ previous = gdi::SelectObject(dc, obj);
    if (previous != 0 && original_ == 0) {
      dc_ = dc;
      original_ = previous;
    }
    return previous;
  }
  // Whether a selection is held (the first select succeeded).
  bool ok() const noexcept { return original_ != 0; }
  // The object the context held before the first selection.
  gdi::HGDIOBJ original() const noexcept { return original_; }
  // Selects the original back now; nothing happens on destruction afterwards.
  void restore() noexcept {
    if (original_ != 0) gdi::SelectObject(dc_, original_);
    original_ = 0;
    dc_ = 0;
  }

 private:
  gdi::HDC dc_ = 0;
  gdi::HGDIOBJ original_ = 0;
};

}  // namespace qorv
