#include <QString>

#include "platform/Host.h"
#include "processing/GdiHandles.h"
#include "processing/cDIBSection.h"

namespace qorv {

bool cDIBSection::CopyToClipboard(bool bAsDIB) const {
  detail::ScopedScreenDC screen;
  if (!screen) return false;
  const gdi::HDC m = gdi::CreateCompatibleDC(screen.get());
  if (m == 0) return false;
  // Both contexts go back with DeleteDC here, unlike the working image's own.
  struct DeleteDCOnExit {
    gdi::HDC h;
    ~DeleteDCOnExit() { gdi::DeleteDC(h); }
  } memRelease{m};

  if (bAsDIB) {
    // A device-independent copy is deliberately not offered.
    host().messageBox(QStringLiteral("I don't know how to put a DIB on the clipboard! Copy as bitmap instead!!!"), 0,
                      host().appTitle());
    return false;
  }

  const gdi::HBITMAP bmp = gdi::CreateCompatibleBitmap(screen.get(), Width(), Height());
  if (bmp == 0) return false;
  {
    detail::ScopedSelect sel(m, bmp);
    if (!sel.ok()) {
      gdi::DeleteObject(bmp);
      return false;
    }
    PaintPicture(m, 0, 0, -1, -1, 0, 0, gdi::SRCCOPY);
  }
  bool result = false;
  if (gdi::OpenClipboard(0)) {
    gdi::EmptyClipboard();
    result = gdi::SetClipboardData(gdi::CF_BITMAP, bmp) != 0;
    gdi::CloseClipboard();
  }
  // The clipboard owns the bitmap only when it accepted it.
  if (!result) gdi::DeleteObject(bmp);
  return result;
}

}  // namespace qorv
