// The bridge between FreeImage bitmaps and the platform's device bitmaps, and
// the library's start-up and shut-down. Kept in a namespace of its own so that
// its names cannot collide with FreeImage's own symbols.
//
// No bridge function throws. Each reports by its result and leaves a bracketed
// text naming the failing step in LastBridgeError(), ending with the platform's
// last-error code in decimal where the platform failed.
#pragma once

#include <cstdint>

#include <QString>

#include <QorvPictureBox/gdi.h>

struct FIBITMAP;  // FreeImage's bitmap, declared here to keep FreeImage.h out of the headers

namespace qorv::modFreeImage {

// Starts FreeImage (local plug-ins not restricted) and registers the message
// callback; failures are ignored.
void InitFreeImage();
// Shuts FreeImage down; failures are ignored.
void DeInitFreeImage();

// The library's message callback: the newest message replaces whatever the
// bridge recorded before.
void OnFreeImageMessage(std::int32_t format, const char* message);

// Stores `text` unless `keepFirst` and a text is already recorded, so the first
// failure of a call is the one reported.
void SetBridgeError(const QString& text, bool keepFirst);

// The bridge's last error text (empty when the last bridge call succeeded).
QString LastBridgeError();

// Library bitmap to device bitmap. A non-zero `hBitmap` is deleted first. The
// dib stays the caller's.
bool FreeImage_BMP_From_DIB(FIBITMAP* dib, gdi::HBITMAP& hBitmap);
// Device bitmap to a 32-bit library bitmap. A non-null `dib` is unloaded first.
bool FreeImage_DIB_From_BMP(gdi::HBITMAP hBitmap, FIBITMAP*& dib);
// Draws the bitmap into `hDC` at (X, Y); a width or height below 1 means the
// bitmap's own. The caller's bitmap is never deleted.
bool FreeImage_RenderBitmap(gdi::HBITMAP hBitmap, gdi::HDC hDC, std::int32_t X, std::int32_t Y,
                            std::int32_t Width, std::int32_t Height, bool Invert);
// 0 on failure.
std::int32_t FreeImage_GetBitmapWidth(gdi::HBITMAP hBitmap);
std::int32_t FreeImage_GetBitmapHeight(gdi::HBITMAP hBitmap);

// A memory DC compatible with the screen.
bool CreateWorkDC(gdi::HDC& hDC);
// Selects `hOldBitmap` back (deleting what that deselects) when non-zero, then
// deletes the DC.
bool DestroyWorkDC(gdi::HDC& hDC, gdi::HBITMAP& hOldBitmap);

}  // namespace qorv::modFreeImage
