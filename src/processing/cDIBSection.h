// The working image of every image operation: a 24-bit bottom-up DIB section
// selected into its own memory device context, so that its pixel memory can be
// addressed directly and it can still be blitted to and from any other context.
#pragma once

#include <cstdint>
#include <memory>

#include <QorvPictureBox/gdi.h>
#include "platform/ScopedGdi.h"
#include "processing/DibView.h"

namespace qorv {

struct PixelRows;

class cDIBSection {
 public:
  cDIBSection() = default;
  ~cDIBSection();
  cDIBSection(const cDIBSection&) = delete;
  cDIBSection& operator=(const cDIBSection&) = delete;

  // Releases any previous contents and creates a lWidth x lHeight section in a
  // new memory context. False (and empty) when either cannot be created,
  // including sizes that are 0, negative or too large to address.
  bool Create(std::int32_t lWidth, std::int32_t lHeight);
  // Creates the section for `lHDC` and returns it through `hDib`; true when
  // the handle is not 0.
  bool CreateDIB(gdi::HDC lHDC, std::int32_t lWidth, std::int32_t lHeight, gdi::HBITMAP& hDib);
  // Creates a buffer of the bitmap's size and copies the bitmap in. Callers
  // judge success by Width() and Height() (0 when the handle is not a bitmap).
  void CreateFromPicture(gdi::HBITMAP picHandle);

  // Copies from `lHDC` at (lSrcLeft, lSrcTop) into this buffer at (0, 0); a
  // negative width or height stands for this buffer's own.
  void LoadPictureBlt(gdi::HDC lHDC, std::int32_t lSrcLeft = 0, std::int32_t lSrcTop = 0,
                      std::int32_t lSrcWidth = -1, std::int32_t lSrcHeight = -1,
                      gdi::DWORD eRop = gdi::SRCCOPY);
  // Copies this buffer (from lSrcLeft, lSrcTop) into `lHDC`; a negative width
  // or height stands for this buffer's own. No stretching.
  void PaintPicture(gdi::HDC lHDC, std::int32_t lDestLeft = 0, std::int32_t lDestTop = 0,
                    std::int32_t lDestWidth = -1, std::int32_t lDestHeight = -1, std::int32_t lSrcLeft = 0,
                    std::int32_t lSrcTop = 0, gdi::DWORD eRop = gdi::SRCCOPY) const;

  std::int32_t BytesPerScanLine() const { return BytesPerScanLineFor(header_.biWidth); }
  static std::int32_t BytesPerScanLineFor(std::int32_t width) { return ((width + 1) * 3) & ~3; }
  std::int32_t Width() const { return header_.biWidth; }
  std::int32_t Height() const { return header_.biHeight; }
  gdi::HDC hdc() const { return dc_.get(); }
  gdi::HBITMAP hDib() const { return dib_.get(); }
  std::uint8_t* DIBSectionBitsPtr() const { return bits_; }
  bool IsEmpty() const { return bits_ == nullptr; }

  // The borrowed byte view of the pixels (invalid when empty).
  DibView View() const { return DibView{bits_, BytesPerScanLine(), Width(), Height()}; }

  // Copies the picture to the clipboard as a device bitmap. Asking for a
  // device-independent copy shows a message and returns false.
  bool CopyToClipboard(bool bAsDIB = false) const;
  // Fills the picture with noise: gray, or green and red with blue left 0.
  void RandomiseBits(bool bGray = false);
  // A new buffer of lNewWidth x lNewHeight holding this picture scaled
  // bilinearly (note: height first); null when it cannot be created.
  std::unique_ptr<cDIBSection> Resample(std::int32_t lNewHeight, std::int32_t lNewWidth) const;

  // Releases the section and the context; harmless when already empty.
  void ClearUp();

 private:
  // Create() for a caller about to write every pixel: the pixel memory is
  // not cleared first (the row padding is).
  bool createForOverwrite(std::int32_t lWidth, std::int32_t lHeight);
  bool createSection(std::int32_t lWidth, std::int32_t lHeight, bool cleared);
  bool makeSection(gdi::HDC lHDC, std::int32_t lWidth, std::int32_t lHeight, bool cleared, gdi::HBITMAP& hDib);
  void clearPadding();
  void clearPixels();

  // Released in reverse: the section is selected out, deleted, then the context goes.
  ScopedWorkingDC dc_;
  ScopedBitmap dib_;
  ScopedSelect selected_;
  std::uint8_t* bits_ = nullptr;
  gdi::BITMAPINFOHEADER header_{};
};

}  // namespace qorv
