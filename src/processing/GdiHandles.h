// Scoped owners for the short-lived device contexts and selections the
// processing layer makes, so that every exit path releases what it took.
#pragma once

#include <QorvPictureBox/gdi.h>

namespace qorv::detail {

// A memory context released with DeleteObject first (the pairing the working
// image has always used) and DeleteDC when the platform refuses that.
class ScopedMemDC {
 public:
  explicit ScopedMemDC(gdi::HDC h) : h_(h) {}
  ~ScopedMemDC() { reset(); }
  ScopedMemDC(const ScopedMemDC&) = delete;
  ScopedMemDC& operator=(const ScopedMemDC&) = delete;
  gdi::HDC get() const { return h_; }
  explicit operator bool() const { return h_ != 0; }
  void reset() {
    if (h_ != 0 && !gdi::DeleteObject(h_)) gdi::DeleteDC(h_);
    h_ = 0;
  }

 private:
  gdi::HDC h_;
};

// A screen context obtained with GetDC and released with DeleteDC (ReleaseDC
// when the platform does not accept that).
class ScopedScreenDC {
 public:
  ScopedScreenDC() : hwnd_(gdi::GetDesktopWindow()), h_(gdi::GetDC(hwnd_)) {}
  ~ScopedScreenDC() { reset(); }
  ScopedScreenDC(const ScopedScreenDC&) = delete;
  ScopedScreenDC& operator=(const ScopedScreenDC&) = delete;
  gdi::HDC get() const { return h_; }
  explicit operator bool() const { return h_ != 0; }
  void reset() {
    if (h_ != 0 && !gdi::DeleteDC(h_)) gdi::ReleaseDC(hwnd_, h_);
    h_ = 0;
  }

 private:
  gdi::HWND hwnd_;
  gdi::HDC h_;
};

// Selects an object into a context and selects the previous one back.
class ScopedSelect {
 public:
  ScopedSelect(gdi::HDC dc, gdi::HGDIOBJ obj) : dc_(dc), old_(dc != 0 ? gdi::SelectObject(dc, obj) : 0) {}
  ~ScopedSelect() {
    if (old_ != 0) gdi::SelectObject(dc_, old_);
  }
  ScopedSelect(const ScopedSelect&) = delete;
  ScopedSelect& operator=(const ScopedSelect&) = delete;
  bool ok() const { return old_ != 0; }

 private:
  gdi::HDC dc_;
  gdi::HGDIOBJ old_;
};

}  // namespace qorv::detail
