// The control object: panes, timers, lifecycle, plain accessors, events and
// the view update / render entry points.
#include <QorvPictureBox/QorvPicture.h>

#include <algorithm>
#include <cmath>

#include <QMimeData>
#include <QResizeEvent>

#include "imageio/modFreeImage.h"
#include <QorvPictureBox/AutomationError.h>
#include "platform/GdiSurface.h"
#include "platform/Host.h"
#include "platform/PictureBox.h"
#include "platform/Timer.h"
#include <QorvPictureBox/gdi.h>
#include "processing/cImageProcessDIB.h"
#include "view/RenderFrame.h"
#include "view/ViewGeometry.h"

namespace qorv {

IntArray2D IntArray2D::centred(int r) {
  IntArray2D a;
  if (r < 0) r = 0;
  a.lower1 = a.lower2 = -r;
  a.upper1 = a.upper2 = r;
  a.values.assign(static_cast<std::size_t>(a.count1()) * static_cast<std::size_t>(a.count2()), 0);
  return a;
}

struct QorvPicture::Panes {
  PictureBox picPane{QStringLiteral("picPane")};
  PictureBox Buffer{QStringLiteral("Buffer")};
  PictureBox bBuffer{QStringLiteral("bBuffer")};
  PictureBox ScalePicture{QStringLiteral("ScalePicture")};
  PictureBox clipPicture{QStringLiteral("clipPicture")};
  Timer InitTimer;
  Timer UpdateTimer;
};

// ----- lifecycle ----------------------------------------------------------------

QorvPicture::QorvPicture(QWidget* parent) : QWidget(parent), panes_(std::make_unique<Panes>()) {
  Initialize();
  InitProperties();
}

QorvPicture::~QorvPicture() {
  Terminate();
}

void QorvPicture::Initialize() {
  modFreeImage::InitFreeImage();
  engine_ = std::make_unique<cImageProcessDIB>();
  // The engine's elapsed time is not part of the control's event.
  engine_->InitProgress = [this](std::int32_t lMax, const std::string& d) {
    QVariantList a{lMax, QString::fromStdString(d)};
    raiseEvent(18, a);
  };
  engine_->Progress = [this](std::int32_t lPosition, const std::string& d) {
    QVariantList a{lPosition, QString::fromStdString(d)};
    raiseEvent(19, a);
  };
  engine_->Complete = [this](std::int32_t, const std::string& d) {
    QVariantList a{QString::fromStdString(d)};
    raiseEvent(20, a);
  };

  // View initialisation: the visible pane fills the control; Buffer takes the
  // size of whatever picture it is given.
  Panes& p = *panes_;
  p.picPane.bind(this);
  p.Buffer.setAutoSize(true);
  p.ScalePicture.setAutoSize(true);
  p.picPane.Move(0, 0, width(), height());
  p.bBuffer.Move(p.bBuffer.Left(), p.bBuffer.Top(), static_cast<int>(p.picPane.ScaleWidth()),
                 static_cast<int>(p.picPane.ScaleHeight()));
  p.InitTimer.setEnabled(false);
  p.InitTimer.setInterval(250);
  p.UpdateTimer.setEnabled(false);
  p.UpdateTimer.setInterval(10);
  connect(&p.InitTimer, &Timer::tick, this, [this] { onInitTimer(); });
  connect(&p.UpdateTimer, &Timer::tick, this, [this] { onUpdateTimer(); });
}

void QorvPicture::InitProperties() {
  panes_->picPane.setFont(host().ambientFont());
  zoomFromOriginal_ = false;
  keyboarZoomMin_ = 1;
  keyboardZoomMax_ = 1000;
  keyboardZoomFactor_ = 10;
  useBltAIP_ = true;
  stretch_ = true;
  centered_ = true;
  keepAspect_ = true;
  autoSize_ = false;
  keyboardScale_ = true;
  zoom_ = 100;
  toolTipText_.clear();
  visualZoom_ = false;
  zoomType_ = 3;
  tiled_ = false;
  ignoreOffsetBorder_ = false;
  mouseZoom_ = true;
  fastLoad_ = false;
  autoSwitchToAPI_ = false;
  lockUpdate_ = false;
  osdFont_ = panes_->picPane.Font();  // shared, not copied
  osdBackColor_ = 0x00FF00;
  osdForeColor_ = 0x00FF00;
  showOffsetOSD_ = false;
  zoomOSD_ = false;
  osdTransparent_ = true;
  osdShaddow_ = true;
  osdShaddowColor_ = 0;
  osdShaddowSize_ = 2;
  hqAutoSwitch_ = true;
  noLoadingHourGlass_ = false;
  jpegLoadQuality_ = 2;
}

void QorvPicture::Terminate() {
  try {
    modFreeImage::DeInitFreeImage();
  } catch (...) {
    // Shutting the library down must never fail the destruction.
  }
  engine_.reset();
}

// ----- services -----------------------------------------------------------------

PictureBox& QorvPicture::picPane() const { return panes_->picPane; }
PictureBox& QorvPicture::Buffer() const { return panes_->Buffer; }
PictureBox& QorvPicture::bBuffer() const { return panes_->bBuffer; }
PictureBox& QorvPicture::ScalePicture() const { return panes_->ScalePicture; }
PictureBox& QorvPicture::clipPicture() const { return panes_->clipPicture; }
Timer& QorvPicture::InitTimer() const { return panes_->InitTimer; }
Timer& QorvPicture::UpdateTimer() const { return panes_->UpdateTimer; }
cImageProcessDIB& QorvPicture::mImageProcessDIB() const {
  if (!engine_) throw AutomationError(errors::ObjectRequired, programName() + ".QorvPicture", "Object required");
  return *engine_;
}

void QorvPicture::notImplemented(const char* member) const {
  throw AutomationError(errors::NotImplemented, programName() + ".QorvPicture",
                        std::string(member) + " is not implemented yet");
}

void QorvPicture::reportChanged(const char* name) {
  const QString n = QString::fromLatin1(name);
  host().propertyChanged(this, n);
  emit propertyChangedNotify(n);
}

void QorvPicture::setError(qint32 code, const QString& description, qint32 flag) {
  lastErrorCode_ = code;
  lastErrorDescription_ = description;
  lastErrorFlag_ = flag;
}

void QorvPicture::setCurrentFile(const QString& path) { currentFile_ = path; }

void QorvPicture::setOffsetsSilently(qint32 x, qint32 y) {
  offsetX_ = x;
  offsetY_ = y;
}

void QorvPicture::setEventHook(EventHook hook) { hook_ = std::move(hook); }

// ----- events -------------------------------------------------------------------

// Handlers see the event first through the hook, then through the Qt signal
// (with the hook's changes); by-reference values end up back in `args`.
void QorvPicture::raiseEvent(int id, QVariantList& args) {
  if (hook_) hook_(id, args);
  auto arg = [&args](int i) { return i < args.size() ? args[i] : QVariant(); };
  auto mime = [&arg](int i) { return arg(i).value<const QMimeData*>(); };
  switch (id) {
    case 1: emit UseApiChanged(); break;
    case 2: {
      int effect = arg(1).toInt();
      emit OLEDragDrop(mime(0), &effect, arg(2).toInt(), arg(3).toInt(), arg(4).toFloat(), arg(5).toFloat());
      if (args.size() > 1) args[1] = effect;
      break;
    }
    case 3: {
      int effect = arg(1).toInt();
      emit OLEDragOver(mime(0), &effect, arg(2).toInt(), arg(3).toInt(), arg(4).toFloat(), arg(5).toFloat(),
                       arg(6).toInt());
      if (args.size() > 1) args[1] = effect;
      break;
    }
    case 4: emit Click(); break;
    case 5: emit DblClick(); break;
    case 6: {
      int key = arg(0).toInt();
      emit KeyDown(&key, arg(1).toInt());
      if (!args.isEmpty()) args[0] = key;
      break;
    }
    case 7: {
      int key = arg(0).toInt();
      emit KeyPress(&key);
      if (!args.isEmpty()) args[0] = key;
      break;
    }
    case 8: {
      int key = arg(0).toInt();
      emit KeyUp(&key, arg(1).toInt());
      if (!args.isEmpty()) args[0] = key;
      break;
    }
    case 9: emit MouseDown(arg(0).toInt(), arg(1).toInt(), arg(2).toFloat(), arg(3).toFloat()); break;
    case 10: emit MouseMove(arg(0).toInt(), arg(1).toInt(), arg(2).toFloat(), arg(3).toFloat()); break;
    case 11: emit MouseUp(arg(0).toInt(), arg(1).toInt(), arg(2).toFloat(), arg(3).toFloat()); break;
    case 12: emit Zooming(); break;
    case 13: emit Draw(); break;
    case 14: emit LoadImage(arg(0).toString(), arg(1).toInt()); break;
    case 15: emit PictureChanged(); break;
    case 16: emit SaveImage(arg(0).toString(), arg(1).toInt()); break;
    case 17: {
      int x = arg(0).toInt();
      int y = arg(1).toInt();
      emit OffsetChanged(&x, &y);
      if (args.size() > 1) {
        args[0] = x;
        args[1] = y;
      }
      break;
    }
    case 18: emit ProcessInit(arg(0).toInt(), arg(1).toString()); break;
    case 19: emit Process(arg(0).toInt(), arg(1).toString()); break;
    case 20: emit ProcessComplete(arg(0).toString()); break;
    case 21: emit FileChange(arg(0).toString()); break;
    case 22: {
      QString text = arg(0).toString();
      bool cancel = arg(1).toBool();
      emit OSDDraw(&text, &cancel);
      if (args.size() > 1) {
        args[0] = text;
        args[1] = cancel;
      }
      break;
    }
    case 23: {
      int effect = arg(0).toInt();
      emit OLECompleteDrag(&effect);
      if (!args.isEmpty()) args[0] = effect;
      break;
    }
    case 24: {
      int effect = arg(0).toInt();
      bool def = arg(1).toBool();
      emit OLEGiveFeedback(&effect, &def);
      if (args.size() > 1) {
        args[0] = effect;
        args[1] = def;
      }
      break;
    }
    case 25: {
      int fmt = arg(1).toInt();
      emit OLESetData(mime(0), &fmt);
      if (args.size() > 1) args[1] = fmt;
      break;
    }
    case 26: {
      int allowed = arg(1).toInt();
      emit OLEStartDrag(mime(0), &allowed);
      if (args.size() > 1) args[1] = allowed;
      break;
    }
    case 27: emit ZoomFinished(); break;
    case 28: emit ZoomBegin(); break;
    default: break;
  }
}

// The offsets travel by reference: a handler that changes them moves the view.
void QorvPicture::raiseOffsetChanged() {
  QVariantList a{offsetX_, offsetY_};
  raiseEvent(17, a);
  offsetX_ = a.value(0).toInt();
  offsetY_ = a.value(1).toInt();
}

void QorvPicture::raiseLoadImage(const QString& path, qint32 fif) {
  QVariantList a{path, fif};
  raiseEvent(14, a);
}

void QorvPicture::raiseFileChange(const QString& path) {
  QVariantList a{path};
  raiseEvent(21, a);
}

void QorvPicture::raiseSaveImage(const QString& path, qint32 fif) {
  QVariantList a{path, fif};
  raiseEvent(16, a);
}

namespace {
void raiseSimple(QorvPicture& c, int id) {
  QVariantList none;
  c.raiseEvent(id, none);
}
}  // namespace

// ----- plain accessors ----------------------------------------------------------

qint32 QorvPicture::JPEG_LOAD_QUALITY() const { return jpegLoadQuality_; }
void QorvPicture::setJPEG_LOAD_QUALITY(qint32 v) {
  jpegLoadQuality_ = v;
  reportChanged("JPEG_LOAD_QUALITY");
}

qint32 QorvPicture::BackColor() const { return static_cast<qint32>(picPane().BackColor()); }
void QorvPicture::setBackColor(qint32 v) {
  Panes& p = *panes_;
  p.picPane.setBackColor(static_cast<COLORREF>(v));
  const COLORREF c = p.picPane.BackColor();
  p.bBuffer.setBackColor(c);
  p.clipPicture.setBackColor(c);
  p.Buffer.setBackColor(c);
  p.ScalePicture.setBackColor(c);
  reportChanged("BackColor");
}

qint32 QorvPicture::ForeColor() const { return static_cast<qint32>(picPane().ForeColor()); }
void QorvPicture::setForeColor(qint32 v) {
  picPane().setForeColor(static_cast<COLORREF>(v));
  Buffer().setForeColor(picPane().ForeColor());
  reportChanged("ForeColor");
}

bool QorvPicture::Enabled() const { return isEnabled(); }
void QorvPicture::setEnabled(bool v) {
  QWidget::setEnabled(v);
  reportChanged("Enabled");
}

FontPtr QorvPicture::Font() const { return picPane().Font(); }
void QorvPicture::setFont(const FontPtr& v) {
  picPane().setFont(v);
  reportChanged("Font");
}

qint32 QorvPicture::BorderStyle() const { return picPane().BorderStyle(); }
void QorvPicture::setBorderStyle(qint32 v) {
  picPane().setBorderStyle(v);
  Buffer().setBorderStyle(picPane().BorderStyle());
  reportChanged("BorderStyle");
}

void QorvPicture::Refresh(bool Initial) { Render(Initial); }

bool QorvPicture::KeepAspect() const { return keepAspect_; }
void QorvPicture::setKeepAspect(bool v) {
  keepAspect_ = v;
  reportChanged("KeepAspect");
  Render(false);
}

bool QorvPicture::AutoSize() const { return autoSize_; }
void QorvPicture::setAutoSize(bool v) {
  autoSize_ = v;
  reportChanged("AutoSize");
  if (!autoSize_) return;
  applyAutoSize();
  Render(false);
}

bool QorvPicture::KeyboardScale() const { return keyboardScale_; }
void QorvPicture::setKeyboardScale(bool v) {
  keyboardScale_ = v;
  reportChanged("KeyboardScale");
}

qint16 QorvPicture::Zoom() const { return zoom_; }
void QorvPicture::setZoom(qint16 v) {
  zoom_ = v;
  reportChanged("Zoom");
  UpdateView(true, true);
  raiseSimple(*this, 12);
}

namespace {
view::GeometryInput geometryOf(const PictureBox& buffer, const PictureBox& pane, qint16 zoom, bool stretch,
                               bool keepAspect, bool zoomFromOriginal) {
  view::GeometryInput g;
  g.bufferScaleW = buffer.ScaleWidth();
  g.bufferScaleH = buffer.ScaleHeight();
  g.paneScaleW = pane.ScaleWidth();
  g.paneScaleH = pane.ScaleHeight();
  g.zoom = zoom;
  g.stretch = stretch;
  g.keepAspect = keepAspect;
  g.zoomFromOriginal = zoomFromOriginal;
  return g;
}
}  // namespace

double QorvPicture::PictureW() const {
  return view::PictureW(geometryOf(Buffer(), picPane(), zoom_, stretch_, keepAspect_, zoomFromOriginal_));
}
double QorvPicture::PictureH() const {
  return view::PictureH(geometryOf(Buffer(), picPane(), zoom_, stretch_, keepAspect_, zoomFromOriginal_));
}

PicturePtr QorvPicture::Picture() const { return Buffer().Picture(); }

void QorvPicture::setPicture(const PicturePtr& v) {
  ClearError();
  Panes& p = *panes_;
  p.bBuffer.setPicture(nullptr);
  p.Buffer.setPicture(nullptr);
  p.bBuffer.Cls();
  p.Buffer.Cls();
  p.picPane.Cls();
  p.Buffer.setPicture(v);
  if (autoSize_) applyAutoSize();
  if (handleOf(p.Buffer.Picture()) != 0) {
    if (!fastLoad_) normalizePicture();
    UpdateView(true, true);
  }
  reportChanged("Picture");
  raiseSimple(*this, 15);
}

bool QorvPicture::Centered() const { return centered_; }
void QorvPicture::setCentered(bool v) {
  centered_ = v;
  reportChanged("Centered");
  Render(false);
}

bool QorvPicture::Stretch() const { return stretch_; }
void QorvPicture::setStretch(bool v) {
  stretch_ = v;
  reportChanged("Stretch");
  Render(false);
}

bool QorvPicture::UseBltAIP() const { return useBltAIP_; }
void QorvPicture::setUseBltAIP(bool v) {
  useBltAIP_ = v;
  reportChanged("UseBltAIP");
  Render(false);
}

qint16 QorvPicture::KeyboardZoomFactor() const { return keyboardZoomFactor_; }
void QorvPicture::setKeyboardZoomFactor(qint16 v) {
  keyboardZoomFactor_ = v;
  reportChanged("KeyboardZoomFactor");
}
qint16 QorvPicture::KeyboarZoomMin() const { return keyboarZoomMin_; }
void QorvPicture::setKeyboarZoomMin(qint16 v) {
  keyboarZoomMin_ = v;
  reportChanged("KeyboarZoomMin");
}
qint16 QorvPicture::KeyboardZoomMax() const { return keyboardZoomMax_; }
void QorvPicture::setKeyboardZoomMax(qint16 v) {
  keyboardZoomMax_ = v;
  reportChanged("KeyboardZoomMax");
}

qint32 QorvPicture::PictureWidth() const { return view::roundHalfEven(PictureW()); }
qint32 QorvPicture::PictureHeight() const { return view::roundHalfEven(PictureH()); }

qint32 QorvPicture::OffsetX() const { return offsetX_; }
void QorvPicture::setOffsetX(qint32 NewOffset) {
  offsetX_ = NewOffset;
  Render(false);
  raiseOffsetChanged();
}
qint32 QorvPicture::OffsetY() const { return offsetY_; }
void QorvPicture::setOffsetY(qint32 NewOffset) {
  offsetY_ = NewOffset;
  Render(false);
  raiseOffsetChanged();
}

void QorvPicture::Offset(qint32 NewXOffset, qint32 NewYOffset) {
  offsetX_ = NewXOffset;
  offsetY_ = NewYOffset;
  Render(false);
  raiseOffsetChanged();
}

bool QorvPicture::ZoomFromOriginal() const { return zoomFromOriginal_; }
void QorvPicture::setZoomFromOriginal(bool v) {
  zoomFromOriginal_ = v;
  reportChanged("ZoomFromOriginal");
  UpdateView(true, false);
}

qint32 QorvPicture::OrgPictureWidth() const { return view::roundHalfEven(Buffer().ScaleWidth()); }
qint32 QorvPicture::OrgPictureHeight() const { return view::roundHalfEven(Buffer().ScaleHeight()); }

PicturePtr QorvPicture::MoveIcon() const { return moveIcon_; }
void QorvPicture::setMoveIcon(const PicturePtr& v) {
  moveIcon_ = v;
  reportChanged("MoveIcon");
}

qint32 QorvPicture::DrawMode() const { return picPane().DrawMode(); }
void QorvPicture::setDrawMode(qint32 v) {
  picPane().setDrawMode(v);
  reportChanged("DrawMode");
}
qint32 QorvPicture::DrawStyle() const { return picPane().DrawStyle(); }
void QorvPicture::setDrawStyle(qint32 v) {
  picPane().setDrawStyle(v);
  reportChanged("DrawStyle");
}
qint16 QorvPicture::DrawWidth() const { return static_cast<qint16>(picPane().DrawWidth()); }
void QorvPicture::setDrawWidth(qint16 v) {
  picPane().setDrawWidth(v);
  reportChanged("DrawWidth");
}

qint32 QorvPicture::hdc() const { return static_cast<qint32>(picPane().hDC()); }
qint32 QorvPicture::hWnd() const { return static_cast<qint32>(picPane().hWnd()); }
PicturePtr QorvPicture::Image() const { return picPane().Image(); }

qint32 QorvPicture::OLEDragMode() const { return picPane().OLEDragMode(); }
void QorvPicture::setOLEDragMode(qint32 v) {
  picPane().setOLEDragMode(v);
  reportChanged("OLEDragMode");
}
qint32 QorvPicture::OLEDropMode() const { return picPane().OLEDropMode(); }
void QorvPicture::setOLEDropMode(qint32 v) {
  picPane().setOLEDropMode(v);
  reportChanged("OLEDropMode");
}

QString QorvPicture::ToolTipText() const { return toolTipText_; }
void QorvPicture::setToolTipText(const QString& v) {
  toolTipText_ = v;
  reportChanged("ToolTipText");
}

float QorvPicture::CurrentX() const { return picPane().CurrentX(); }
void QorvPicture::setCurrentX(float v) {
  picPane().setCurrentX(v);
  reportChanged("CurrentX");
}
float QorvPicture::CurrentY() const { return picPane().CurrentY(); }
void QorvPicture::setCurrentY(float v) {
  picPane().setCurrentY(v);
  reportChanged("CurrentY");
}

bool QorvPicture::LockUpdate() const { return lockUpdate_; }
void QorvPicture::setLockUpdate(bool v) {
  lockUpdate_ = v;
  reportChanged("LockUpdate");
  if (!lockUpdate_) Render(false);
}

qint32 QorvPicture::LastErrorCode() const { return lastErrorCode_; }
QString QorvPicture::LastErrorDescription() const { return lastErrorDescription_; }
qint32 QorvPicture::LastErrorFlag() const { return lastErrorFlag_; }

bool QorvPicture::AutoSwitchToAPI() const { return autoSwitchToAPI_; }
void QorvPicture::setAutoSwitchToAPI(bool v) {
  autoSwitchToAPI_ = v;
  reportChanged("AutoSwitchToAPI");
}

QString QorvPicture::CurrentFile() const { return currentFile_; }

bool QorvPicture::FastLoad() const { return fastLoad_; }
void QorvPicture::setFastLoad(bool v) {
  fastLoad_ = v;
  reportChanged("FastLoad");
}
bool QorvPicture::MouseZoom() const { return mouseZoom_; }
void QorvPicture::setMouseZoom(bool v) {
  mouseZoom_ = v;
  reportChanged("MouseZoom");
}
bool QorvPicture::IgnoreOffsetBorder() const { return ignoreOffsetBorder_; }
void QorvPicture::setIgnoreOffsetBorder(bool v) {
  ignoreOffsetBorder_ = v;
  reportChanged("IgnoreOffsetBorder");
}

bool QorvPicture::Tiled() const { return tiled_; }
void QorvPicture::setTiled(bool v) {
  tiled_ = v;
  reportChanged("Tiled");
  Render(false);
}

// Held as a 16-bit value: wider values keep their low 16 bits.
qint32 QorvPicture::ZoomType() const { return zoomType_; }
void QorvPicture::setZoomType(qint32 v) {
  zoomType_ = static_cast<qint16>(v);
  reportChanged("ZoomType");
  Render(false);
}

bool QorvPicture::AutoRedraw() const { return picPane().AutoRedraw(); }
void QorvPicture::setAutoRedraw(bool v) {
  picPane().setAutoRedraw(v);
  reportChanged("AutoRedraw");
  if (picPane().AutoRedraw()) handleResize();
}

bool QorvPicture::VisualZoom() const { return visualZoom_; }
void QorvPicture::setVisualZoom(bool v) {
  visualZoom_ = v;
  reportChanged("VisualZoom");
}

FontPtr QorvPicture::OSDFont() const { return osdFont_; }
void QorvPicture::setOSDFont(const FontPtr& v) {
  osdFont_ = v;
  reportChanged("OSDFont");
}
qint32 QorvPicture::OSDBackColor() const { return osdBackColor_; }
void QorvPicture::setOSDBackColor(qint32 v) {
  osdBackColor_ = v;
  reportChanged("OSDBackColor");
}
qint32 QorvPicture::OSDForeColor() const { return osdForeColor_; }
void QorvPicture::setOSDForeColor(qint32 v) {
  osdForeColor_ = v;
  reportChanged("OSDForeColor");
}
bool QorvPicture::ShowOffsetOSD() const { return showOffsetOSD_; }
void QorvPicture::setShowOffsetOSD(bool v) {
  showOffsetOSD_ = v;
  reportChanged("ShowOffsetOSD");
}
bool QorvPicture::ZoomOSD() const { return zoomOSD_; }
void QorvPicture::setZoomOSD(bool v) {
  zoomOSD_ = v;
  reportChanged("ZoomOSD");
}
bool QorvPicture::OSDTransparent() const { return osdTransparent_; }
void QorvPicture::setOSDTransparent(bool v) {
  osdTransparent_ = v;
  reportChanged("OSDTransparent");
}
bool QorvPicture::OSDShaddow() const { return osdShaddow_; }
void QorvPicture::setOSDShaddow(bool v) {
  osdShaddow_ = v;
  reportChanged("OSDShaddow");
}
qint32 QorvPicture::OSDShaddowColor() const { return osdShaddowColor_; }
void QorvPicture::setOSDShaddowColor(qint32 v) {
  osdShaddowColor_ = v;
  reportChanged("OSDShaddowColor");
}
qint16 QorvPicture::OSDShaddowSize() const { return osdShaddowSize_; }
void QorvPicture::setOSDShaddowSize(qint16 v) {
  osdShaddowSize_ = v;
  reportChanged("OSDShaddowSize");
}

qint32 QorvPicture::GetTicks() { return static_cast<qint32>(gdi::GetTickCount()); }

qint32 QorvPicture::HQInitialDelay() const { return InitTimer().Interval(); }
void QorvPicture::setHQInitialDelay(qint32 v) {
  InitTimer().setInterval(v);
  reportChanged("HQInitialDelay");
}

bool QorvPicture::HQAutoSwitch() const { return hqAutoSwitch_; }
void QorvPicture::setHQAutoSwitch(bool v) {
  hqAutoSwitch_ = v;
  reportChanged("HQAutoSwitch");
}

// Changing it alone must not mark the host's form as modified.
bool QorvPicture::NoLoadingHourGlass() const { return noLoadingHourGlass_; }
void QorvPicture::setNoLoadingHourGlass(bool v) { noLoadingHourGlass_ = v; }

qint16 QorvPicture::MousePointer() const { return static_cast<qint16>(picPane().MousePointer()); }
void QorvPicture::setMousePointer(qint16 v) {
  picPane().setMousePointer(v);
  reportChanged("MousePointer");
}
PicturePtr QorvPicture::MouseIcon() const { return picPane().MouseIcon(); }
void QorvPicture::setMouseIcon(const PicturePtr& v) {
  picPane().setMouseIcon(v);
  reportChanged("MouseIcon");
}
qint32 QorvPicture::FillStyle() const { return picPane().FillStyle(); }
void QorvPicture::setFillStyle(qint32 v) {
  picPane().setFillStyle(v);
  reportChanged("FillStyle");
}
qint32 QorvPicture::FillColor() const { return static_cast<qint32>(picPane().FillColor()); }
void QorvPicture::setFillColor(qint32 v) {
  picPane().setFillColor(static_cast<COLORREF>(v));
  reportChanged("FillColor");
}

bool QorvPicture::IsZooming() const { return zooming_; }

void QorvPicture::ClearError() { setError(0, QString(), 0); }

// ----- value forms of the by-reference members ------------------------------------

bool QorvPicture::LoadFreeImage(QString StrFilePath, qint32 ForceType, QString InitDir, bool DoNotRender) {
  return LoadFreeImage(&StrFilePath, ForceType, &InitDir, DoNotRender);
}
bool QorvPicture::LoadVBPicture(QString StrFilePath, QString InitDir, bool DoNotRender) {
  return LoadVBPicture(&StrFilePath, &InitDir, DoNotRender);
}
bool QorvPicture::SaveFreeImage(QString StrFilePath, qint32 Quality, qint32 FIFType, bool UseNewFilename) {
  return SaveFreeImage(&StrFilePath, Quality, FIFType, UseNewFilename);
}
qint32 QorvPicture::FreeImageGetFormatExtensionIndex(qint32 FormatIndex, QString Extension) {
  return FreeImageGetFormatExtensionIndex(FormatIndex, &Extension);
}
QString QorvPicture::FreeImageSavePattern(qint32 FindFilterIndex, QString FileExt) {
  return FreeImageSavePattern(&FindFilterIndex, FileExt);
}
QString QorvPicture::Dialog(QString Pattern, qint32 hwndOwner, QString initialDir, QString DialogTitle,
                            qint32 dialogFlags, bool SaveDialog, QVariant FilterIndex, QString FileName) {
  return Dialog(&Pattern, hwndOwner, initialDir, &DialogTitle, dialogFlags, SaveDialog, &FilterIndex, FileName);
}
bool QorvPicture::Rotate(bool ClockWise) { return Rotate(&ClockWise); }

void QorvPicture::AddCustomFilter(const QVariantList& Array2D) {
  // A list of rows, as a kernel reads on screen: each inner list is one row
  // (the vertical offset), its entries run along the horizontal offset. Both
  // run from -n/2 upwards, so a 3 x 3 list covers -1..1 each way; a ragged or
  // non-square list keeps its own bounds and meets the engine's size checks.
  const int rows = static_cast<int>(Array2D.size());
  int cols = 0;
  for (const QVariant& row : Array2D) cols = std::max(cols, static_cast<int>(row.toList().size()));
  IntArray2D a;
  a.lower1 = -(cols / 2);
  a.upper1 = cols - 1 - cols / 2;
  a.lower2 = -(rows / 2);
  a.upper2 = rows - 1 - rows / 2;
  // No kernel is wider than 99: a larger list goes to the engine's checks by its
  // bounds alone, without building an array of its size.
  if (a.count1() > 99 || a.count2() > 99) return AddCustomFilter(a);
  a.values.assign(static_cast<std::size_t>(a.count1()) * static_cast<std::size_t>(a.count2()), 0);
  for (int j = 0; j < rows; ++j) {
    const QVariantList row = Array2D[j].toList();
    for (int i = 0; i < row.size(); ++i) {
      a.values[static_cast<std::size_t>(i * a.count2() + j)] = static_cast<std::int16_t>(row[i].toInt());
    }
  }
  AddCustomFilter(a);
}

// ----- view --------------------------------------------------------------------

void QorvPicture::resizeEvent(QResizeEvent* e) {
  QWidget::resizeEvent(e);
  handleResize();
}

void QorvPicture::handleResize() {
  Panes& p = *panes_;
  p.picPane.Move(0, 0, width(), height());
  p.bBuffer.Move(p.bBuffer.Left(), p.bBuffer.Top(), static_cast<int>(p.picPane.ScaleWidth()),
                 static_cast<int>(p.picPane.ScaleHeight()));
  UpdateView(true, true);
}

void QorvPicture::applyAutoSize() {
  PictureBox& b = Buffer();
  if (handleOf(b.Picture()) == 0) return;
  // The host sizes controls in twips; the widget's pixel size follows from it.
  const double tx = host().twipsPerPixelX();
  const double ty = host().twipsPerPixelY();
  const double twW = tx * b.Width();
  const double twH = ty * b.Height();
  const int w = tx > 0 ? view::roundHalfEven(twW / tx) : b.Width();
  const int h = ty > 0 ? view::roundHalfEven(twH / ty) : b.Height();
  resize(std::max(0, w), std::max(0, h));
  if (!isVisible()) handleResize();
}

void QorvPicture::normalizePicture() {
  PictureBox& b = Buffer();
  const PicturePtr pic = b.Picture();
  const gdi::HBITMAP src = handleOf(pic);
  if (src == 0) return;
  gdi::Surface s;
  if (gdi::BitmapSurfaceRead(src, s) && s.bitsPerPixel == 32 && !s.bottomUp) return;  // already what frames need
  // Any other layout becomes a 32-bit device bitmap of the same size.
  gdi::HDC srcDC = gdi::CreateCompatibleDC(0);
  gdi::HDC dstDC = gdi::CreateCompatibleDC(0);
  gdi::HBITMAP dst = gdi::CreateCompatibleBitmap(0, pic->Width(), pic->Height());
  PicturePtr copy;
  if (srcDC && dstDC && dst) {
    const gdi::HGDIOBJ oldSrc = gdi::SelectObject(srcDC, src);
    const gdi::HGDIOBJ oldDst = gdi::SelectObject(dstDC, dst);
    gdi::BitBlt(dstDC, 0, 0, pic->Width(), pic->Height(), srcDC, 0, 0, gdi::SRCCOPY);
    gdi::SelectObject(srcDC, oldSrc);
    gdi::SelectObject(dstDC, oldDst);
    copy = qorv::Picture::fromBitmap(dst);
    if (copy) dst = 0;
  }
  if (dst) gdi::DeleteObject(dst);
  if (srcDC) gdi::DeleteDC(srcDC);
  if (dstDC) gdi::DeleteDC(dstDC);
  if (copy) b.setPicture(copy);
}

void QorvPicture::UpdatePanCursor() {
  const bool custom = handleOf(MouseIcon()) != 0;
  picPane().setMousePointer(
      view::PanCursor(PictureW(), PictureH(), picPane().ScaleWidth(), picPane().ScaleHeight(), custom));
}

void QorvPicture::UpdateView(bool Redraw, bool NotifyOffset) {
  view::ClampOffsets(ignoreOffsetBorder_, picPane().ScaleWidth(), picPane().ScaleHeight(), PictureW(), PictureH(),
                     offsetX_, offsetY_);
  if (autoSwitchToAPI_) {
    const bool reduce = OrgPictureWidth() > PictureW() || OrgPictureHeight() > PictureH();
    if (reduce && useBltAIP_) {
      setUseBltAIP(false);
      raiseSimple(*this, 1);
    } else if (!reduce && !useBltAIP_) {
      setUseBltAIP(true);
      raiseSimple(*this, 1);
    }
  }
  if (Redraw) Render(false);
  UpdatePanCursor();
  if (NotifyOffset) raiseOffsetChanged();
}

namespace {
// Whether composing a covering frame writes every back-buffer pixel: stretched
// placements always do; a placement at the picture's own size only when the
// picture is at least as large as the placed size.
bool frameWritesEveryPixel(const PictureBox& source, bool stretched, int width, int height) {
  const int sw = view::roundHalfEven(source.ScaleWidth());
  const int sh = view::roundHalfEven(source.ScaleHeight());
  if (sw < 1 || sh < 1) return false;
  return stretched || (sw >= width && sh >= height);
}
}  // namespace

void QorvPicture::Render(bool Initial) {
  if (lockUpdate_ || drawingGuard_) return;
  Panes& p = *panes_;
  if (handleOf(p.Buffer.Picture()) == 0) return;
  yieldOnce();
  rendering_ = true;
  if (suspend_) return;
  if (++renderDepth_ >= 2) return;
  if (handleOf(p.Buffer.Picture()) != 0) {
    const double pw = PictureW();
    const double ph = PictureH();
    const view::Point2 tl =
        view::TopLeft(centered_, offsetX_, offsetY_, p.picPane.ScaleWidth(), p.picPane.ScaleHeight(), pw, ph);
    const int W = view::roundHalfEven(pw);
    const int H = view::roundHalfEven(ph);
    if (W >= 1 && H >= 1) {
      // Clearing is only visible where the image leaves the back buffer
      // uncovered; a covering frame skips one full-frame pass.
      const double bw = p.bBuffer.ScaleWidth();
      const double bh = p.bBuffer.ScaleHeight();
      const double lx = view::roundHalfEven(tl.x);
      const double ty = view::roundHalfEven(tl.y);
      const bool covers = tiled_ || (lx <= 0 && ty <= 0 && lx + W >= bw && ty + H >= bh);
      if (!covers || handleOf(p.bBuffer.Picture()) != 0) {
        p.bBuffer.Cls();
      } else if (frameWritesEveryPixel(p.Buffer, useBltAIP_ ? stretch_ : !(zoom_ == 100 && zoomFromOriginal_), W,
                                       H)) {
        // The last frame's memory is still shown by picPane; this frame
        // overwrites all of it, so it takes fresh memory instead of a copy.
        gdi::DiscardBitmap(gdi::CurrentBitmap(p.bBuffer.hDC()));
      }
      if (useBltAIP_) {
        const gdi::HDC dc = p.bBuffer.hDC();
        gdi::GetStretchBltMode(dc);
        gdi::SetStretchBltMode(dc, view::chooseStretchMode(hqAutoSwitch_, leftDrag_ || rightDrag_, Initial,
                                                           p.InitTimer.Interval(), zoomType_));
      }
      view::FrameParams fp;
      fp.x = tl.x;
      fp.y = tl.y;
      fp.width = W;
      fp.height = H;
      fp.tiled = tiled_;
      fp.useBlt = useBltAIP_;
      fp.stretch = stretch_;
      fp.plainCopy = zoom_ == 100 && zoomFromOriginal_;
      view::composeFrame(p.Buffer, p.bBuffer, fp);
      p.picPane.setPicture(p.bBuffer.Image());
      p.picPane.Refresh();
      ++framesComposed_;
      raiseSimple(*this, 13);
    }
  }
  rendering_ = false;
  if (hqAutoSwitch_ && zoomType_ == 4 && p.InitTimer.Interval() >= 1 && Initial) {
    const int saved = p.InitTimer.Interval();
    p.InitTimer.setEnabled(false);
    p.InitTimer.setInterval(0);
    p.InitTimer.setInterval(saved);
    p.InitTimer.setEnabled(true);
  }
  renderDepth_ = 0;
}

void QorvPicture::onInitTimer() {
  InitTimer().setEnabled(false);
  if (!rightDrag_) Render(false);
}

void QorvPicture::onUpdateTimer() {
  UpdateTimer().setEnabled(false);
  suspend_ = false;
  picPane().Cls();
  Render(false);
  if (!visualZoom_ && zoomPending_) raiseSimple(*this, 12);
  zoomPending_ = false;
}

}  // namespace qorv
