#include "platform/HostMessage.h"
#include "platform/ScopedGdi.h"
#include "processing/cDIBSection.h"

namespace qorv {

bool cDIBSection::CopyToClipboard(bool bAsDIB) const {
  ScopedScreenDC screen;
  if (!screen) return false;
  // This context goes back with DeleteDC, unlike the working image's own.
  const ScopedMemDC m(gdi::CreateCompatibleDC(screen.get()));
  if (!m) return false;

  if (bAsDIB) {
    // A device-independent copy is deliberately not offered.
    showHostMessage("I don't know how to put a DIB on the clipboard! Copy as bitmap instead!!!");
    return false;
  }

  ScopedBitmap bmp(gdi::CreateCompatibleBitmap(screen.get(), Width(), Height()));
  if (!bmp) return false;
  {
    const ScopedSelect sel(m.get(), bmp.get());
    if (!sel.ok()) return false;
    PaintPicture(m.get(), 0, 0, -1, -1, 0, 0, gdi::SRCCOPY);
  }
  bool result = false;
  if (gdi::OpenClipboard(0)) {
    gdi::EmptyClipboard();
    result = gdi::SetClipboardData(gdi::CF_BITMAP, bmp.get()) != 0;
    gdi::CloseClipboard();
  }
  // The clipboard owns the bitmap only when it accepted it.
  if (result) bmp.release();
  return result;
}

}  // namespace qorv
