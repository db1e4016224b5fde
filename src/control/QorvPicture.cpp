// The control object: lifecycle, the wiring between the widget, the view
// engine and the filter engine, events, and the plain accessors (which go
// through the member table).
#include <QorvPictureBox/QorvPicture.h>

#include <QEvent>
#include <QResizeEvent>

#include <cmath>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/gdi.h>

#include "control/MemberTable.h"
#include "control/QorvPicturePrivate.h"
#include "imageio/modFreeImage.h"
#include "platform/Host.h"
#include "platform/PictureBox.h"
#include "platform/Timer.h"
#include "view/ViewGeometry.h"

namespace qorv {

// ----- internals -----------------------------------------------------------------

QorvPicturePrivate::QorvPicturePrivate(QorvPicture& owner) : q(owner), view(*this) {}
QorvPicturePrivate::~QorvPicturePrivate() = default;

PictureBox& QorvPicturePrivate::picPane() const { return const_cast<view::ViewEngine&>(view).panes().picPane; }
PictureBox& QorvPicturePrivate::Buffer() const { return const_cast<view::ViewEngine&>(view).panes().Buffer; }
PictureBox& QorvPicturePrivate::bBuffer() const { return const_cast<view::ViewEngine&>(view).panes().bBuffer; }
PictureBox& QorvPicturePrivate::ScalePicture() const {
  return const_cast<view::ViewEngine&>(view).panes().ScalePicture;
}
PictureBox& QorvPicturePrivate::clipPicture() const {
  return const_cast<view::ViewEngine&>(view).panes().clipPicture;
}
Timer& QorvPicturePrivate::InitTimer() const {
  return const_cast<view::ViewEngine&>(view).scheduler().initTimer();
}
Timer& QorvPicturePrivate::UpdateTimer() const {
  return const_cast<view::ViewEngine&>(view).scheduler().updateTimer();
}
cImageProcessDIB& QorvPicturePrivate::mImageProcessDIB() const {
  if (!engine) raiseObjectRequired();
  return *engine;
}

void QorvPicturePrivate::raiseObjectRequired() {
  throw AutomationError(errors::ObjectRequired, programName() + ".QorvPicture", "Object required");
}

void QorvPicturePrivate::notImplemented(const char* member) const {
  throw AutomationError(errors::NotImplemented, programName() + ".QorvPicture",
                        std::string(member) + " is not implemented yet");
}

void QorvPicturePrivate::setError(std::int32_t code, const QString& description, std::int32_t flag) {
  error = {code, description, flag};
}

void QorvPicturePrivate::reportChanged(const QString& name) {
  host().propertyChanged(&q, name);
  emit q.propertyChangedNotify(name);
  notifyQtSurface(name.toLatin1().constData(), EventId{});
}

void QorvPicturePrivate::setUseBltAIP(bool value) { q.setUseBltAIP(value); }
void QorvPicturePrivate::setZoom(std::int16_t value) { q.setZoom(value); }

namespace {
int scaled(int v, double r) { return static_cast<int>(std::lround(v * r)); }
}  // namespace

double QorvPicturePrivate::paneRatio() const {
  const double r = q.devicePixelRatioF();
  return settings.devicePixels && std::isfinite(r) && r > 1 ? r : 1.0;
}

void QorvPicturePrivate::resizeControl(int width, int height) {
  // The pane's pixels are device pixels on a high-density screen; the
  // control is sized in its own units.
  const double r = paneRatio();
  q.resize(scaled(width, 1 / r), scaled(height, 1 / r));
  // A visible widget is laid out by its resize event; a hidden one now.
  if (!q.isVisible()) handleResize();
}

void QorvPicturePrivate::handleResize() {
  showAboutOnceAtDesignTime();
  const double r = paneRatio();
  picPane().setPixelRatio(r);
  view.handleResize(scaled(q.width(), r), scaled(q.height(), r));
}

void QorvPicturePrivate::updateAccessibleText() {
  QWidget* w = picPane().widget();
  if (w == nullptr) return;
  QString name = QStringLiteral("No picture");
  QString description;
  if (handleOf(Buffer().Picture()) != 0) {
    name = QStringLiteral("Picture, %1 by %2 pixels").arg(view.orgPictureWidth()).arg(view.orgPictureHeight());
    description = QStringLiteral("Zoom %1%, shown at %2 by %3 pixels")
                      .arg(view.state().zoom)
                      .arg(view::roundHalfEven(view.pictureW()))
                      .arg(view::roundHalfEven(view.pictureH()));
  }
  // Assigning announces the change to assistive technology; only real
  // changes are announced.
  if (w->accessibleName() != name) w->setAccessibleName(name);
  if (w->accessibleDescription() != description) w->setAccessibleDescription(description);
}

namespace {
// Input arrives from Qt's event loop, where nothing may be thrown: a
// handler's failure ends that event's handling.
template <class F>
void shielded(F&& f) {
  try {
    f();
  } catch (...) {
  }
}
}  // namespace

void QorvPicturePrivate::wireInput() {
  PictureBox& pane = picPane();
  view::Navigation& nav = view.nav();
  QObject::connect(&pane, &PictureBox::MouseDown, &q, [&nav](int b, int s, float x, float y) {
    shielded([&] { nav.mouseDown(b, s, x, y); });
  });
  QObject::connect(&pane, &PictureBox::MouseMove, &q, [&nav](int b, int s, float x, float y) {
    shielded([&] { nav.mouseMove(b, s, x, y); });
  });
  QObject::connect(&pane, &PictureBox::MouseUp, &q, [&nav](int b, int s, float x, float y) {
    shielded([&] { nav.mouseUp(b, s, x, y); });
  });
  QObject::connect(&pane, &PictureBox::Click, &q, [&nav] { shielded([&] { nav.click(); }); });
  QObject::connect(&pane, &PictureBox::DblClick, &q, [&nav] { shielded([&] { nav.dblClick(); }); });
  QObject::connect(&pane, &PictureBox::KeyDown, &q, [&nav](int* code, int s) {
    if (code != nullptr) shielded([&] { nav.keyDown(*code, s); });
  });
  QObject::connect(&pane, &PictureBox::KeyPress, &q, [&nav](int* ascii) {
    if (ascii != nullptr) shielded([&] { nav.keyPress(*ascii); });
  });
  QObject::connect(&pane, &PictureBox::KeyUp, &q, [&nav](int* code, int s) {
    if (code != nullptr) shielded([&] { nav.keyUp(*code, s); });
  });
  QObject::connect(&pane, &PictureBox::MouseWheel, &q,
                   [&nav](int delta, bool touchpad, int s, float x, float y, bool* handled) {
                     shielded([&] {
                       const bool used = nav.wheel(delta, touchpad, s, x, y);
                       if (handled != nullptr) *handled = used;
                     });
                   });
  QObject::connect(&pane, &PictureBox::PinchZoom, &q, [&nav](int phase, double scale, float x, float y) {
    if (phase < 0 || phase > 2) return;
    shielded([&] { nav.pinch(static_cast<view::input::PinchPhase>(phase), scale, x, y); });
  });
}

void QorvPicturePrivate::raise(EventId id) {
  QVariantList none;
  raiseEvent(id, none);
}

// Handlers see the event first through the hook, then through the Qt signal
// (with the hook's changes); by-reference values end up back in `args`.
void QorvPicturePrivate::raiseEvent(EventId id, QVariantList& args) {
  if (hook) hook(static_cast<int>(id), args);
  auto arg = [&args](int i) { return i < args.size() ? args[i] : QVariant(); };
  auto mime = [&arg](int i) { return arg(i).value<DataObject*>(); };
  auto back = [&args](int i, const QVariant& v) {
    if (i < args.size()) args[i] = v;
  };
  switch (id) {
    case EventId::Draw:
    case EventId::Zooming:
    case EventId::PictureChanged:
    case EventId::LoadImage:
      updateAccessibleText();
      break;
    default:
      break;
  }
  switch (id) {
    case EventId::UseApiChanged: emit q.UseApiChanged(); break;
    case EventId::OLEDragDrop: {
      int effect = arg(1).toInt();
      emit q.OLEDragDrop(mime(0), &effect, arg(2).toInt(), arg(3).toInt(), arg(4).toFloat(), arg(5).toFloat());
      back(1, effect);
      break;
    }
    case EventId::OLEDragOver: {
      int effect = arg(1).toInt();
      emit q.OLEDragOver(mime(0), &effect, arg(2).toInt(), arg(3).toInt(), arg(4).toFloat(), arg(5).toFloat(),
                         arg(6).toInt());
      back(1, effect);
      break;
    }
    case EventId::Click: emit q.Click(); break;
    case EventId::DblClick: emit q.DblClick(); break;
    case EventId::KeyDown: {
      int key = arg(0).toInt();
      emit q.KeyDown(&key, arg(1).toInt());
      back(0, key);
      break;
    }
    case EventId::KeyPress: {
      int key = arg(0).toInt();
      emit q.KeyPress(&key);
      back(0, key);
      break;
    }
    case EventId::KeyUp: {
      int key = arg(0).toInt();
      emit q.KeyUp(&key, arg(1).toInt());
      back(0, key);
      break;
    }
    case EventId::MouseDown: emit q.MouseDown(arg(0).toInt(), arg(1).toInt(), arg(2).toFloat(), arg(3).toFloat()); break;
    case EventId::MouseMove: emit q.MouseMove(arg(0).toInt(), arg(1).toInt(), arg(2).toFloat(), arg(3).toFloat()); break;
    case EventId::MouseUp: emit q.MouseUp(arg(0).toInt(), arg(1).toInt(), arg(2).toFloat(), arg(3).toFloat()); break;
    case EventId::Zooming: emit q.Zooming(); break;
    case EventId::Draw: emit q.Draw(); break;
    case EventId::LoadImage: emit q.LoadImage(arg(0).toString(), arg(1).toInt()); break;
    case EventId::PictureChanged: emit q.PictureChanged(); break;
    case EventId::SaveImage: emit q.SaveImage(arg(0).toString(), arg(1).toInt()); break;
    case EventId::OffsetChanged: {
      int x = arg(0).toInt();
      int y = arg(1).toInt();
      emit q.OffsetChanged(&x, &y);
      back(0, x);
      back(1, y);
      break;
    }
    case EventId::ProcessInit: emit q.ProcessInit(arg(0).toInt(), arg(1).toString()); break;
    case EventId::Process: emit q.Process(arg(0).toInt(), arg(1).toString()); break;
    case EventId::ProcessComplete: emit q.ProcessComplete(arg(0).toString()); break;
    case EventId::FileChange: emit q.FileChange(arg(0).toString()); break;
    case EventId::OSDDraw: {
      QString text = arg(0).toString();
      bool cancel = arg(1).toBool();
      emit q.OSDDraw(&text, &cancel);
      back(0, text);
      back(1, cancel);
      break;
    }
    case EventId::OLECompleteDrag: {
      int effect = arg(0).toInt();
      emit q.OLECompleteDrag(&effect);
      back(0, effect);
      break;
    }
    case EventId::OLEGiveFeedback: {
      int effect = arg(0).toInt();
      bool def = arg(1).toBool();
      emit q.OLEGiveFeedback(&effect, &def);
      back(0, effect);
      back(1, def);
      break;
    }
    case EventId::OLESetData: {
      int fmt = arg(1).toInt();
      emit q.OLESetData(mime(0), &fmt);
      back(1, fmt);
      break;
    }
    case EventId::OLEStartDrag: {
      int allowed = arg(1).toInt();
      emit q.OLEStartDrag(mime(0), &allowed);
      back(1, allowed);
      break;
    }
    case EventId::ZoomFinished: emit q.ZoomFinished(); break;
    case EventId::ZoomBegin: emit q.ZoomBegin(); break;
  }
  if (id == EventId::ProcessInit) busy = true;
  if (id == EventId::ProcessComplete) busy = false;
  notifyQtSurface(nullptr, id);
}

// ----- lifecycle -------------------------------------------------------------------

QorvPicture::QorvPicture(QWidget* parent) : QWidget(parent), d_(std::make_unique<QorvPicturePrivate>(*this)) {
  Initialize();
  InitProperties();
}

QorvPicture::~QorvPicture() { Terminate(); }

void QorvPicture::Initialize() {
  modFreeImage::InitFreeImage();
  QorvPicturePrivate& d = *d_;
  d.engine = std::make_unique<cImageProcessDIB>();
  // The engine's elapsed time is not part of the control's event.
  d.engine->InitProgress = [&d](std::int32_t lMax, const std::string& text) {
    QVariantList a{lMax, QString::fromStdString(text)};
    d.raiseEvent(EventId::ProcessInit, a);
  };
  d.engine->Progress = [&d](std::int32_t lPosition, const std::string& text) {
    QVariantList a{lPosition, QString::fromStdString(text)};
    d.raiseEvent(EventId::Process, a);
  };
  d.engine->Complete = [&d](std::int32_t, const std::string& text) {
    QVariantList a{QString::fromStdString(text)};
    d.raiseEvent(EventId::ProcessComplete, a);
  };
  // The visible pane fills the control and takes its keyboard focus.
  QWidget* pane = d.picPane().bind(this);
  setFocusProxy(pane);
  d.picPane().setPixelRatio(d.paneRatio());
  const double r = d.picPane().PixelRatio();
  d.view.layout(scaled(width(), r), scaled(height(), r));
  d.wireInput();
  d.connectDragAndDrop();
  d.updateAccessibleText();
}

void QorvPicture::InitProperties() { storeInitialValues(*this); }

void QorvPicture::Terminate() {
  try {
    modFreeImage::DeInitFreeImage();
  } catch (...) {
    // Shutting the library down must never fail the destruction.
  }
  d_->engine.reset();
}

void QorvPicture::setEventHook(EventHook hook) { d_->hook = std::move(hook); }

qint64 QorvPicture::MaxLoadPixels() const { return d_->settings.maxLoadPixels; }
void QorvPicture::setMaxLoadPixels(qint64 v) { d_->settings.maxLoadPixels = v; }

// Resizing arrives from Qt's event loop, where no exception may escape; a
// pane that cannot grow keeps its old surface.
void QorvPicture::resizeEvent(QResizeEvent* e) {
  QWidget::resizeEvent(e);
  try {
    d_->handleResize();
  } catch (const std::exception&) {
  }
}

// Moved to a screen of another density: the pane's pixels change size.
bool QorvPicture::event(QEvent* e) {
  const bool handled = QWidget::event(e);
  if (e->type() == QEvent::ScreenChangeInternal || e->type() == QEvent::Show) {
    try {
      if (d_->picPane().PixelRatio() != d_->paneRatio()) d_->handleResize();
    } catch (const std::exception&) {
    }
  }
  return handled;
}

// ----- plain accessors, through the member table -------------------------------------

namespace {

template <class T>
T value(const QorvPicture& c, std::string_view name) {
  return readProperty(c, member(name)).value<T>();
}

void assign(QorvPicture& c, std::string_view name, const QVariant& v) { assignProperty(c, member(name), v); }

}  // namespace

qint32 QorvPicture::JPEG_LOAD_QUALITY() const { return value<qint32>(*this, "JPEG_LOAD_QUALITY"); }
void QorvPicture::setJPEG_LOAD_QUALITY(qint32 v) { assign(*this, "JPEG_LOAD_QUALITY", v); }
qint32 QorvPicture::BackColor() const { return value<qint32>(*this, "BackColor"); }
void QorvPicture::setBackColor(qint32 v) { assign(*this, "BackColor", v); }
qint32 QorvPicture::ForeColor() const { return value<qint32>(*this, "ForeColor"); }
void QorvPicture::setForeColor(qint32 v) { assign(*this, "ForeColor", v); }
bool QorvPicture::Enabled() const { return value<bool>(*this, "Enabled"); }
void QorvPicture::setEnabled(bool v) { assign(*this, "Enabled", v); }
FontPtr QorvPicture::Font() const { return value<FontPtr>(*this, "Font"); }
void QorvPicture::setFont(const FontPtr& v) { assign(*this, "Font", QVariant::fromValue(v)); }
qint32 QorvPicture::BorderStyle() const { return value<qint32>(*this, "BorderStyle"); }
void QorvPicture::setBorderStyle(qint32 v) { assign(*this, "BorderStyle", v); }
bool QorvPicture::KeepAspect() const { return value<bool>(*this, "KeepAspect"); }
void QorvPicture::setKeepAspect(bool v) { assign(*this, "KeepAspect", v); }
bool QorvPicture::AutoSize() const { return value<bool>(*this, "AutoSize"); }
void QorvPicture::setAutoSize(bool v) { assign(*this, "AutoSize", v); }
bool QorvPicture::KeyboardScale() const { return value<bool>(*this, "KeyboardScale"); }
void QorvPicture::setKeyboardScale(bool v) { assign(*this, "KeyboardScale", v); }
qint16 QorvPicture::Zoom() const { return value<qint16>(*this, "Zoom"); }
void QorvPicture::setZoom(qint16 v) { assign(*this, "Zoom", v); }
bool QorvPicture::Centered() const { return value<bool>(*this, "Centered"); }
void QorvPicture::setCentered(bool v) { assign(*this, "Centered", v); }
bool QorvPicture::Stretch() const { return value<bool>(*this, "Stretch"); }
void QorvPicture::setStretch(bool v) { assign(*this, "Stretch", v); }
bool QorvPicture::UseBltAIP() const { return value<bool>(*this, "UseBltAIP"); }
void QorvPicture::setUseBltAIP(bool v) { assign(*this, "UseBltAIP", v); }
qint16 QorvPicture::KeyboardZoomFactor() const { return value<qint16>(*this, "KeyboardZoomFactor"); }
void QorvPicture::setKeyboardZoomFactor(qint16 v) { assign(*this, "KeyboardZoomFactor", v); }
qint16 QorvPicture::KeyboarZoomMin() const { return value<qint16>(*this, "KeyboarZoomMin"); }
void QorvPicture::setKeyboarZoomMin(qint16 v) { assign(*this, "KeyboarZoomMin", v); }
qint16 QorvPicture::KeyboardZoomMax() const { return value<qint16>(*this, "KeyboardZoomMax"); }
void QorvPicture::setKeyboardZoomMax(qint16 v) { assign(*this, "KeyboardZoomMax", v); }
qint32 QorvPicture::OffsetX() const { return value<qint32>(*this, "OffsetX"); }
void QorvPicture::setOffsetX(qint32 NewOffset) { assign(*this, "OffsetX", NewOffset); }
qint32 QorvPicture::OffsetY() const { return value<qint32>(*this, "OffsetY"); }
void QorvPicture::setOffsetY(qint32 NewOffset) { assign(*this, "OffsetY", NewOffset); }
bool QorvPicture::ZoomFromOriginal() const { return value<bool>(*this, "ZoomFromOriginal"); }
void QorvPicture::setZoomFromOriginal(bool v) { assign(*this, "ZoomFromOriginal", v); }
PicturePtr QorvPicture::MoveIcon() const { return value<PicturePtr>(*this, "MoveIcon"); }
void QorvPicture::setMoveIcon(const PicturePtr& v) { assign(*this, "MoveIcon", QVariant::fromValue(v)); }
qint32 QorvPicture::DrawMode() const { return value<qint32>(*this, "DrawMode"); }
void QorvPicture::setDrawMode(qint32 v) { assign(*this, "DrawMode", v); }
qint32 QorvPicture::DrawStyle() const { return value<qint32>(*this, "DrawStyle"); }
void QorvPicture::setDrawStyle(qint32 v) { assign(*this, "DrawStyle", v); }
qint16 QorvPicture::DrawWidth() const { return value<qint16>(*this, "DrawWidth"); }
void QorvPicture::setDrawWidth(qint16 v) { assign(*this, "DrawWidth", v); }
qint32 QorvPicture::OLEDragMode() const { return value<qint32>(*this, "OLEDragMode"); }
void QorvPicture::setOLEDragMode(qint32 v) { assign(*this, "OLEDragMode", v); }
qint32 QorvPicture::OLEDropMode() const { return value<qint32>(*this, "OLEDropMode"); }
void QorvPicture::setOLEDropMode(qint32 v) { assign(*this, "OLEDropMode", v); }
QString QorvPicture::ToolTipText() const { return value<QString>(*this, "ToolTipText"); }
void QorvPicture::setToolTipText(const QString& v) { assign(*this, "ToolTipText", v); }
float QorvPicture::CurrentX() const { return value<float>(*this, "CurrentX"); }
void QorvPicture::setCurrentX(float v) { assign(*this, "CurrentX", v); }
float QorvPicture::CurrentY() const { return value<float>(*this, "CurrentY"); }
void QorvPicture::setCurrentY(float v) { assign(*this, "CurrentY", v); }
bool QorvPicture::LockUpdate() const { return value<bool>(*this, "LockUpdate"); }
void QorvPicture::setLockUpdate(bool v) { assign(*this, "LockUpdate", v); }
bool QorvPicture::AutoSwitchToAPI() const { return value<bool>(*this, "AutoSwitchToAPI"); }
void QorvPicture::setAutoSwitchToAPI(bool v) { assign(*this, "AutoSwitchToAPI", v); }
bool QorvPicture::FastLoad() const { return value<bool>(*this, "FastLoad"); }
void QorvPicture::setFastLoad(bool v) { assign(*this, "FastLoad", v); }
bool QorvPicture::MouseZoom() const { return value<bool>(*this, "MouseZoom"); }
void QorvPicture::setMouseZoom(bool v) { assign(*this, "MouseZoom", v); }
bool QorvPicture::IgnoreOffsetBorder() const { return value<bool>(*this, "IgnoreOffsetBorder"); }
void QorvPicture::setIgnoreOffsetBorder(bool v) { assign(*this, "IgnoreOffsetBorder", v); }
bool QorvPicture::Tiled() const { return value<bool>(*this, "Tiled"); }
void QorvPicture::setTiled(bool v) { assign(*this, "Tiled", v); }
qint32 QorvPicture::ZoomType() const { return value<qint32>(*this, "ZoomType"); }
void QorvPicture::setZoomType(qint32 v) { assign(*this, "ZoomType", v); }
bool QorvPicture::AutoRedraw() const { return value<bool>(*this, "AutoRedraw"); }
void QorvPicture::setAutoRedraw(bool v) { assign(*this, "AutoRedraw", v); }
bool QorvPicture::VisualZoom() const { return value<bool>(*this, "VisualZoom"); }
void QorvPicture::setVisualZoom(bool v) { assign(*this, "VisualZoom", v); }
FontPtr QorvPicture::OSDFont() const { return value<FontPtr>(*this, "OSDFont"); }
void QorvPicture::setOSDFont(const FontPtr& v) { assign(*this, "OSDFont", QVariant::fromValue(v)); }
qint32 QorvPicture::OSDBackColor() const { return value<qint32>(*this, "OSDBackColor"); }
void QorvPicture::setOSDBackColor(qint32 v) { assign(*this, "OSDBackColor", v); }
qint32 QorvPicture::OSDForeColor() const { return value<qint32>(*this, "OSDForeColor"); }
void QorvPicture::setOSDForeColor(qint32 v) { assign(*this, "OSDForeColor", v); }
bool QorvPicture::ShowOffsetOSD() const { return value<bool>(*this, "ShowOffsetOSD"); }
void QorvPicture::setShowOffsetOSD(bool v) { assign(*this, "ShowOffsetOSD", v); }
bool QorvPicture::ZoomOSD() const { return value<bool>(*this, "ZoomOSD"); }
void QorvPicture::setZoomOSD(bool v) { assign(*this, "ZoomOSD", v); }
bool QorvPicture::OSDTransparent() const { return value<bool>(*this, "OSDTransparent"); }
void QorvPicture::setOSDTransparent(bool v) { assign(*this, "OSDTransparent", v); }
bool QorvPicture::OSDShaddow() const { return value<bool>(*this, "OSDShaddow"); }
void QorvPicture::setOSDShaddow(bool v) { assign(*this, "OSDShaddow", v); }
qint32 QorvPicture::OSDShaddowColor() const { return value<qint32>(*this, "OSDShaddowColor"); }
void QorvPicture::setOSDShaddowColor(qint32 v) { assign(*this, "OSDShaddowColor", v); }
qint16 QorvPicture::OSDShaddowSize() const { return value<qint16>(*this, "OSDShaddowSize"); }
void QorvPicture::setOSDShaddowSize(qint16 v) { assign(*this, "OSDShaddowSize", v); }
qint32 QorvPicture::HQInitialDelay() const { return value<qint32>(*this, "HQInitialDelay"); }
void QorvPicture::setHQInitialDelay(qint32 v) { assign(*this, "HQInitialDelay", v); }
bool QorvPicture::HQAutoSwitch() const { return value<bool>(*this, "HQAutoSwitch"); }
void QorvPicture::setHQAutoSwitch(bool v) { assign(*this, "HQAutoSwitch", v); }
bool QorvPicture::NoLoadingHourGlass() const { return value<bool>(*this, "NoLoadingHourGlass"); }
void QorvPicture::setNoLoadingHourGlass(bool v) { assign(*this, "NoLoadingHourGlass", v); }
qint16 QorvPicture::MousePointer() const { return value<qint16>(*this, "MousePointer"); }
void QorvPicture::setMousePointer(qint16 v) { assign(*this, "MousePointer", v); }
PicturePtr QorvPicture::MouseIcon() const { return value<PicturePtr>(*this, "MouseIcon"); }
void QorvPicture::setMouseIcon(const PicturePtr& v) { assign(*this, "MouseIcon", QVariant::fromValue(v)); }
qint32 QorvPicture::FillStyle() const { return value<qint32>(*this, "FillStyle"); }
void QorvPicture::setFillStyle(qint32 v) { assign(*this, "FillStyle", v); }
qint32 QorvPicture::FillColor() const { return value<qint32>(*this, "FillColor"); }
void QorvPicture::setFillColor(qint32 v) { assign(*this, "FillColor", v); }

// ----- computed and read-only members -----------------------------------------------

void QorvPicture::Refresh(bool Initial) { d_->view.render(Initial); }

double QorvPicture::PictureW() const { return d_->view.pictureW(); }
double QorvPicture::PictureH() const { return d_->view.pictureH(); }
qint32 QorvPicture::PictureWidth() const { return view::roundHalfEven(PictureW()); }
qint32 QorvPicture::PictureHeight() const { return view::roundHalfEven(PictureH()); }
qint32 QorvPicture::OrgPictureWidth() const { return d_->view.orgPictureWidth(); }
qint32 QorvPicture::OrgPictureHeight() const { return d_->view.orgPictureHeight(); }

PicturePtr QorvPicture::Picture() const { return d_->Buffer().Picture(); }

void QorvPicture::setPicture(const PicturePtr& v) { d_->assignPicture(v, AlphaMask{}); }

void QorvPicturePrivate::assignPicture(const PicturePtr& picture, AlphaMask alpha) {
  q.ClearError();
  settings.sourceBitsPerPixel = 0;
  view.assignPicture(picture, settings.fastLoad, std::move(alpha));
  reportChanged(QStringLiteral("Picture"));
  raise(EventId::PictureChanged);
}

// Both offsets before a single render.
void QorvPicture::Offset(qint32 NewXOffset, qint32 NewYOffset) {
  d_->view.setOffsetsSilently(NewXOffset, NewYOffset);
  d_->view.render(false);
  d_->view.raiseOffsetChanged();
}

qint32 QorvPicture::hdc() const { return static_cast<qint32>(d_->picPane().hDC()); }
qint32 QorvPicture::hWnd() const { return static_cast<qint32>(d_->picPane().hWnd()); }
PicturePtr QorvPicture::Image() const { return d_->picPane().Image(); }

qint32 QorvPicture::LastErrorCode() const { return d_->error.code; }
QString QorvPicture::LastErrorDescription() const { return d_->error.description; }
qint32 QorvPicture::LastErrorFlag() const { return d_->error.flag; }
void QorvPicture::ClearError() { d_->setError(0, QString(), 0); }

QString QorvPicture::CurrentFile() const { return d_->settings.currentFile; }
qint32 QorvPicture::SourceBitsPerPixel() const { return d_->settings.sourceBitsPerPixel; }
bool QorvPicture::IsolatedDecoding() const { return value<bool>(*this, "IsolatedDecoding"); }
void QorvPicture::setIsolatedDecoding(bool v) { assign(*this, "IsolatedDecoding", v); }
qint32 QorvPicture::LoadTimeout() const { return value<qint32>(*this, "LoadTimeout"); }
void QorvPicture::setLoadTimeout(qint32 v) { assign(*this, "LoadTimeout", v); }
bool QorvPicture::AllowUnlistedFormats() const { return value<bool>(*this, "AllowUnlistedFormats"); }
void QorvPicture::setAllowUnlistedFormats(bool v) { assign(*this, "AllowUnlistedFormats", v); }
bool QorvPicture::AutoRotate() const { return value<bool>(*this, "AutoRotate"); }
void QorvPicture::setAutoRotate(bool v) { assign(*this, "AutoRotate", v); }
bool QorvPicture::SyncOnSave() const { return value<bool>(*this, "SyncOnSave"); }
void QorvPicture::setSyncOnSave(bool v) { assign(*this, "SyncOnSave", v); }
bool QorvPicture::ShowTransparency() const { return value<bool>(*this, "ShowTransparency"); }
void QorvPicture::setShowTransparency(bool v) { assign(*this, "ShowTransparency", v); }

qint32 QorvPicture::GetTicks() { return static_cast<qint32>(gdi::GetTickCount()); }

bool QorvPicture::IsZooming() const { return d_->view.nav().isZooming(); }

bool QorvPicture::WheelZoom() const { return value<bool>(*this, "WheelZoom"); }
void QorvPicture::setWheelZoom(bool v) { assign(*this, "WheelZoom", v); }
bool QorvPicture::KeepViewOnPictureChange() const { return value<bool>(*this, "KeepViewOnPictureChange"); }
void QorvPicture::setKeepViewOnPictureChange(bool v) { assign(*this, "KeepViewOnPictureChange", v); }
bool QorvPicture::DevicePixels() const { return value<bool>(*this, "DevicePixels"); }
void QorvPicture::setDevicePixels(bool v) { assign(*this, "DevicePixels", v); }

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

}  // namespace qorv
