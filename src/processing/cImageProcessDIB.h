// The filter engine: convolution kernels, rank filters and the per-pixel
// operations on cDIBSection working images. It reports progress through three
// notifications that the control re-raises as its own events.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <QorvPictureBox/IntArray2D.h>

namespace qorv {

class cDIBSection;
class cPalette;
struct PixelRows;
struct ColumnPass;

// The engine's kernels: 32-bit entries, horizontal offset first.
using Kernel2D = Array2D<std::int32_t>;

// Filter type numbers as the engine stores them (a plain 32-bit value, so that
// out-of-range numbers can reach the checks and be refused).
namespace filter {
inline constexpr std::int32_t _Min = 0;
inline constexpr std::int32_t eBlur = 1;
inline constexpr std::int32_t eBlurMore = 2;
inline constexpr std::int32_t eSoften = 3;
inline constexpr std::int32_t eSoftenMore = 4;
inline constexpr std::int32_t eSharpen = 5;
inline constexpr std::int32_t eSharpenMore = 6;
inline constexpr std::int32_t eUnSharp = 7;
inline constexpr std::int32_t eEmboss = 8;
inline constexpr std::int32_t eMedian = 9;
inline constexpr std::int32_t eMinimum = 10;
inline constexpr std::int32_t eMaximum = 11;
inline constexpr std::int32_t eCount = 12;
inline constexpr std::int32_t eCustom = 13;
inline constexpr std::int32_t _Max = 14;
}  // namespace filter

// Flip orientations (any other number flips nothing).
namespace flip {
inline constexpr std::int32_t Horizontal = 0;
inline constexpr std::int32_t Verticle = 1;
inline constexpr std::int32_t Hor_And_Vert = 2;
}  // namespace flip

class cImageProcessDIB {
 public:
  cImageProcessDIB();
  ~cImageProcessDIB();
  cImageProcessDIB(const cImageProcessDIB&) = delete;
  cImageProcessDIB& operator=(const cImageProcessDIB&) = delete;

  // Notifications: raised synchronously from inside the loops.
  std::function<void(std::int32_t lMax, const std::string& lDescription)> InitProgress;
  std::function<void(std::int32_t lPosition, const std::string& lDescription)> Progress;
  std::function<void(std::int32_t lTimeMs, const std::string& lDescription)> Complete;

  // --- filter settings (raise AutomationError on invalid values) ---------------
  std::int32_t FilterType() const { return type_; }
  // Stores the type and, unless it is eCustom, rebuilds kernel and weight.
  void setFilterType(std::int32_t value);
  std::int32_t FilterArraySize() const { return size_; }
  // Odd sizes 1..99; clears the kernel.
  void setFilterArraySize(std::int32_t value);
  // Kernel entry at horizontal offset IX and vertical offset iY (each -r..r);
  // error 9 "Subscript out of range" outside.
  std::int32_t FilterValue(std::int32_t IX, std::int32_t iY) const;
  void setFilterValue(std::int32_t IX, std::int32_t iY, std::int32_t value);
  std::int32_t FilterWeight() const { return weight_; }
  void setFilterWeight(std::int32_t value) { weight_ = value; }
  const Kernel2D& Kernel() const { return kernel_; }
  // Sizes the kernel from the array's first upper bound and copies every
  // element in; neither the type nor the weight changes.
  void AddCustomFilter(const Kernel2D& Array2D);

  // Applies the current filter type to cImage, with cBuffer (same size) as
  // the second surface. False when no filter ran (eCount, empty or mismatched
  // images).
  bool ProcessImage(cDIBSection& cImage, cDIBSection& cBuffer);
  // The two neighbourhood passes, reading src and writing only dst's interior.
  bool Convolve(const cDIBSection& src, cDIBSection& dst);
  bool RankFilter(const cDIBSection& src, cDIBSection& dst);
  // The plain convolutions (blur, soften, sharpen and their stronger kinds,
  // custom) straight from one 32-bit picture into another of its size: dst
  // ends with the pixels ProcessImage leaves in a working image filled from
  // src, X bytes 0, after the same notifications. False, with nothing done or
  // raised, for the other types (they need a second working image) and for
  // anything but two 32-bit pictures of one size.
  bool FilterPixels(const PixelRows& src, const PixelRows& dst);
  // Whether the current type is a plain convolution: the types FilterPixels
  // applies, and those ProcessImage convolves in one pass.
  bool FiltersPixels() const;

  // --- per-pixel operations ---------------------------------------------------------
  void Grayscale(cDIBSection& cImage);
  // Error diffusion of cImageA (turned gray in place) into cImageB.
  void BlackAndWhite(cDIBSection& cImageA, cDIBSection& cImageB);
  void AddNoise(cDIBSection& cImage, std::int32_t Percent, bool bRandom);
  void Fade(cDIBSection& cImage, std::int32_t Amount);
  // Lightness scaled by (Amount / 100 + 1), through hue-lightness-saturation.
  void Lighten(cDIBSection& cImage, double Amount);
  // Every pixel takes hue Hue (degrees, taken round the circle) and
  // saturation Saturation (percent, held within 0..100) and keeps its own
  // lightness, moved Lightness percent (held within -100..100) of the way
  // towards white (positive) or black (negative). A value that is not a
  // finite number changes nothing and raises no notification.
  void Colourise(cDIBSection& cImage, double Hue, double Saturation, double Lightness);
  // Every pixel becomes the palette colour nearest to it (cPalette::ClosestIndex),
  // or, with dither, Floyd-Steinberg error diffusion in serpentine order picks
  // the colours. Progress: byte columns directly, rows (0 = top) when
  // dithering. An empty palette or picture changes nothing.
  void ApplyPalette(cDIBSection& cImage, const cPalette& palette, bool dither);
  // cImageB = round((A + offsA) * multA + (B + offsB) * multB) per channel,
  // clamped; offsets are given per channel in blue, green, red order.
  void AddImages(const cDIBSection& cImageA, cDIBSection& cImageB, float multA, std::int32_t offABlue,
                 std::int32_t offAGreen, std::int32_t offARed, float multB, std::int32_t offBBlue,
                 std::int32_t offBGreen, std::int32_t offBRed);
  // Copy A's pixel into B where it is strictly brighter / darker than B's.
  void AddLightest(const cDIBSection& cImageA, cDIBSection& cImageB);
  void AddDarkest(const cDIBSection& cImageA, cDIBSection& cImageB);
  void Invert(cDIBSection& cImage);
  void Flip(cDIBSection& cImage, std::int32_t Orientation);
  // Bilinear resample (height first, as cDIBSection::Resample) with progress.
  std::unique_ptr<cDIBSection> Resample(const cDIBSection& cImage, std::int32_t lNewHeight,
                                        std::int32_t lNewWidth);
  // The same from `src` into `dst` (3 or 4 bytes a pixel on either side) at
  // dst's size, with the same progress: a 32-bit picture is scaled straight
  // into another, with no 24-bit image on either side. False, with no
  // notification, when either is unusable.
  bool ResamplePixels(const PixelRows& src, const PixelRows& dst);

  // A new working image holding cImage turned by Degrees (clockwise as seen),
  // sized to the turned picture's bounding box, uncovered corners in
  // BackColor (0x00BBGGRR); Quality 0 nearest, 1 bilinear, 2 bicubic
  // (processing/FreeRotation.h). Progress reports the new image's rows, top
  // first. Null, with no notification, for an empty image, an angle that is
  // not finite, another Quality, or a result too large to create.
  std::unique_ptr<cDIBSection> RotateAngle(const cDIBSection& cImage, double Degrees, std::uint32_t BackColor,
                                           std::int32_t Quality);

  // Type names as the convolution reports them ("Blur" ... "Custom").
  static std::string FilterName(std::int32_t type);

 private:
  [[noreturn]] static void raise(std::int32_t number, const std::string& description);
  void rebuildKernel();
  void notifyInit(std::int32_t max, const std::string& d) {
    if (InitProgress) InitProgress(max, d);
  }
  void notifyProgress(std::int32_t pos, const std::string& d) {
    if (Progress) Progress(pos, d);
  }
  void notifyComplete(std::uint32_t startMs, const std::string& d);

  // The operation skeleton, defined in processing/ColumnPass.h. runOperation
  // times body() between the init and completion notifications;
  // runColumnPass hands blocks of the pass's rows to block(Strip) and reports
  // each column in order; runRowPass runs rows() over the whole picture and
  // reports every column after it; runColumnByColumn runs column(x) and
  // reports it, one column at a time.
  template <class Body>
  void runOperation(const std::string& description, std::int32_t max, Body&& body);
  template <class Block>
  void runColumnPass(const ColumnPass& pass, Block&& block);
  template <class Rows>
  void runRowPass(const std::string& description, std::int32_t lastByte, Rows&& rows);
  template <class Column>
  void runColumnByColumn(const std::string& description, std::int32_t lastByte, Column&& column);

  std::int32_t size_ = 0;
  std::int32_t half_ = 0;
  Kernel2D kernel_;
  std::int32_t weight_ = 0;
  std::int32_t type_ = 0;
};

}  // namespace qorv
