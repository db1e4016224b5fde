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

// The control's 28 events by name. Each is a Qt signal of QorvPicture under
// the same name and reaches an installed event hook first under this id. The
// ids are part of the automation contract: note ZoomFinished 27 and ZoomBegin
// 28, out of the order in which a zoom happens.
enum class EventId : int {
  UseApiChanged = 1,
  OLEDragDrop = 2,
  OLEDragOver = 3,
  Click = 4,
  DblClick = 5,
  KeyDown = 6,
  KeyPress = 7,
  KeyUp = 8,
  MouseDown = 9,
  MouseMove = 10,
  MouseUp = 11,
  Zooming = 12,
  Draw = 13,
  LoadImage = 14,
  PictureChanged = 15,
  SaveImage = 16,
  OffsetChanged = 17,
  ProcessInit = 18,
  Process = 19,
  ProcessComplete = 20,
  FileChange = 21,
  OSDDraw = 22,
  OLECompleteDrag = 23,
  OLEGiveFeedback = 24,
  OLESetData = 25,
  OLEStartDrag = 26,
  ZoomFinished = 27,
  ZoomBegin = 28,
};
Q_ENUM_NS(EventId)

}  // namespace QorvPictureBox

using QorvPictureBox::BorderStyleEnum;
using QorvPictureBox::BoxStyles;
using QorvPictureBox::DrawPrc;
using QorvPictureBox::DropModes;
using QorvPictureBox::ECombinationTypeConstants;
using QorvPictureBox::EventId;
using QorvPictureBox::FlipOrientations;
using QorvPictureBox::FREE_IMAGE_FORMAT;
using QorvPictureBox::gEFilterTypes;
using QorvPictureBox::JPEG_LOAD_QUALITY;
using QorvPictureBox::PictureTypes;

inline constexpr int EventCount = 28;

// The platform's bitmap description, as the type library declares it.
using BITMAP = gdi::BITMAP;

}  // namespace qorv
