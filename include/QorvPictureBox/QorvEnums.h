// The public enumerations and records of the QorvPictureBox type library.
// They live in a namespace of their own so that an enumeration may share its
// name with a property of the control (`JPEG_LOAD_QUALITY` is both), and are
// reflectable by name through Qt's meta-object system.
#pragma once

#include <QObject>

#include <QorvPictureBox/gdi.h>

namespace qorv {
namespace QorvPictureBox {
Q_NAMESPACE

enum class DropModes { None = 0, Manual = 1 };
Q_ENUM_NS(DropModes)

// The stretch-blit modes used for scaling (`ZoomType`).
enum class DrawPrc { ADN_SCAN = 1, OR_SCANS = 2, DELETE_SCANS = 3, HALFTONE = 4 };
Q_ENUM_NS(DrawPrc)

enum class PictureTypes { OrginalImage = 0, ProcessedImage = 1 };
Q_ENUM_NS(PictureTypes)

enum class BoxStyles { Outlined = 0, Filled = 1 };
Q_ENUM_NS(BoxStyles)

enum class FlipOrientations { Horizontal = 0, Verticle = 1, Hor_And_Vert = 2 };
Q_ENUM_NS(FlipOrientations)

// FreeImage's own format numbers (the LBM and IFF names share one value).
enum class FREE_IMAGE_FORMAT {
  FIF_UNKNOWN = -1,
  FIF_BMP = 0,
  FIF_ICO = 1,
  FIF_JPEG = 2,
  FIF_JNG = 3,
  FIF_KOALA = 4,
  FIF_LBM = 5,
  FIF_IFF = 5,
  FIF_MNG = 6,
  FIF_PBM = 7,
  FIF_PBMRAW = 8,
  FIF_PCD = 9,
  FIF_PCX = 10,
  FIF_PGM = 11,
  FIF_PGMRAW = 12,
  FIF_PNG = 13,
  FIF_PPM = 14,
  FIF_PPMRAW = 15,
  FIF_RAS = 16,
  FIF_TARGA = 17,
  FIF_TIFF = 18,
  FIF_WBMP = 19,
  FIF_PSD = 20,
  FIF_CUT = 21
};
Q_ENUM_NS(FREE_IMAGE_FORMAT)

// Member names keep their published spelling, leading underscores included.
enum class gEFilterTypes {
  _Min = 0,
  eBlur = 1,
  eBlurMore = 2,
  eSoften = 3,
  eSoftenMore = 4,
  eSharpen = 5,
  eSharpenMore = 6,
  eUnSharp = 7,
  eEmboss = 8,
  eMedian = 9,
  eMinimum = 10,
  eMaximum = 11,
  eCount = 12,
  eCustom = 13,
  _Max = 14
};
Q_ENUM_NS(gEFilterTypes)

enum class JPEG_LOAD_QUALITY { STANDARD = 0, FAST = 1, ACCURATE = 2 };
Q_ENUM_NS(JPEG_LOAD_QUALITY)

enum class BorderStyleEnum { NoBorder = 0, NormalBorder = 1 };
Q_ENUM_NS(BorderStyleEnum)

enum class ECombinationTypeConstants { eAdd = 1, eLightest = 2, eDarkest = 3 };
Q_ENUM_NS(ECombinationTypeConstants)

}  // namespace QorvPictureBox

using QorvPictureBox::BorderStyleEnum;
using QorvPictureBox::BoxStyles;
using QorvPictureBox::DrawPrc;
using QorvPictureBox::DropModes;
using QorvPictureBox::ECombinationTypeConstants;
using QorvPictureBox::FlipOrientations;
using QorvPictureBox::FREE_IMAGE_FORMAT;
using QorvPictureBox::gEFilterTypes;
using QorvPictureBox::JPEG_LOAD_QUALITY;
using QorvPictureBox::PictureTypes;

// The platform's bitmap description, as the type library declares it.
using BITMAP = gdi::BITMAP;

}  // namespace qorv
