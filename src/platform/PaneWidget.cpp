#include "platform/PaneWidget.h"

#include <QApplication>
#include <QCursor>
#include <QDragEnterEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QWheelEvent>
#include <QPainter>
#include <QPixmap>

#include <cmath>

#include "platform/PictureBox.h"

namespace qorv {

namespace {

Qt::CursorShape cursorShapeFor(int pointer) {
  switch (pointer) {
    case 2: return Qt::CrossCursor;
    case 3: return Qt::IBeamCursor;
    case 5: case 15: return Qt::SizeAllCursor;
    case 6: return Qt::SizeBDiagCursor;
    case 7: return Qt::SizeVerCursor;
    case 8: return Qt::SizeFDiagCursor;
    case 9: return Qt::SizeHorCursor;
    case 10: return Qt::UpArrowCursor;
    case 11: return Qt::WaitCursor;
    case 12: return Qt::ForbiddenCursor;
    case 13: return Qt::BusyCursor;
    case 14: return Qt::WhatsThisCursor;
    default: return Qt::ArrowCursor;
  }
}

// Drop effects: none 0, copy 1, move 2.
int effectsOf(Qt::DropActions actions) {
  return (actions.testFlag(Qt::CopyAction) ? 1 : 0) | (actions.testFlag(Qt::MoveAction) ? 2 : 0);
}

void applyEffect(QDropEvent* e, int effect) {
  if ((effect & 1) != 0 && e->possibleActions().testFlag(Qt::CopyAction)) {
    e->setDropAction(Qt::CopyAction);
    e->accept();
  } else if ((effect & 2) != 0 && e->possibleActions().testFlag(Qt::MoveAction)) {
    e->setDropAction(Qt::MoveAction);
    e->accept();
  } else {
    e->ignore();
  }
}

}  // namespace

PaneWidget::PaneWidget(PictureBox* box, QWidget* parent) : QWidget(parent), box_(box) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
}

void PaneWidget::syncFromBox() {
  const int pointer = box_->MousePointer();
  const PicturePtr icon = box_->MouseIcon();
  if (pointer == 99 && icon) {
    const QImage img = icon->toImage();
    if (!img.isNull())
      setCursor(QCursor(QPixmap::fromImage(img)));
    else
      unsetCursor();
  } else if (pointer == 0 || pointer == 1 || pointer == 99) {
    unsetCursor();
  } else {
    setCursor(cursorShapeFor(pointer));
  }
  setToolTip(box_->ToolTipText());
  setAcceptDrops(box_->OLEDropMode() == 1);
  setVisible(box_->Visible());
}

int PaneWidget::shiftState(Qt::KeyboardModifiers mods) {
  return (mods.testFlag(Qt::ShiftModifier) ? 1 : 0) | (mods.testFlag(Qt::ControlModifier) ? 2 : 0) |
         (mods.testFlag(Qt::AltModifier) ? 4 : 0);
}

int PaneWidget::buttonState(Qt::MouseButtons buttons) {
  return (buttons.testFlag(Qt::LeftButton) ? 1 : 0) | (buttons.testFlag(Qt::RightButton) ? 2 : 0) |
         (buttons.testFlag(Qt::MiddleButton) ? 4 : 0);
}

int PaneWidget::virtualKey(int key, Qt::KeyboardModifiers mods) {
  const bool keypad = mods.testFlag(Qt::KeypadModifier);
  if (key >= Qt::Key_0 && key <= Qt::Key_9) return keypad ? 96 + (key - Qt::Key_0) : key;
  if (key >= Qt::Key_A && key <= Qt::Key_Z) return key;  // upper-case ASCII, as the classic codes
  if (key >= Qt::Key_F1 && key <= Qt::Key_F24) return 112 + (key - Qt::Key_F1);
  switch (key) {
    case Qt::Key_Backspace: return 8;
    case Qt::Key_Tab: case Qt::Key_Backtab: return 9;
    case Qt::Key_Clear: return 12;
    case Qt::Key_Return: case Qt::Key_Enter: return 13;
    case Qt::Key_Shift: return 16;
    case Qt::Key_Control: return 17;
    case Qt::Key_Alt: return 18;
    case Qt::Key_Pause: return 19;
    case Qt::Key_CapsLock: return 20;
    case Qt::Key_Escape: return 27;
    case Qt::Key_Space: return 32;
    case Qt::Key_PageUp: return 33;
    case Qt::Key_PageDown: return 34;
    case Qt::Key_End: return 35;
    case Qt::Key_Home: return 36;
    case Qt::Key_Left: return 37;
    case Qt::Key_Up: return 38;
    case Qt::Key_Right: return 39;
    case Qt::Key_Down: return 40;
    case Qt::Key_Print: return 44;
    case Qt::Key_Insert: return 45;
    case Qt::Key_Delete: return 46;
    case Qt::Key_Help: return 47;
    case Qt::Key_Asterisk: return keypad ? 106 : 56;
    case Qt::Key_Plus: return keypad ? 107 : 187;
    case Qt::Key_Minus: return keypad ? 109 : 189;
    case Qt::Key_Period: return keypad ? 110 : 190;
    case Qt::Key_Slash: return keypad ? 111 : 191;
    case Qt::Key_Comma: return 188;
    case Qt::Key_Equal: return 187;
    case Qt::Key_Semicolon: return 186;
    case Qt::Key_QuoteLeft: return 192;
    case Qt::Key_BracketLeft: return 219;
    case Qt::Key_Backslash: return 220;
    case Qt::Key_BracketRight: return 221;
    case Qt::Key_Apostrophe: return 222;
    case Qt::Key_NumLock: return 144;
    case Qt::Key_ScrollLock: return 145;
    case Qt::Key_Menu: return 93;
    default: return 0;
  }
}

// Widget positions become the box's own pixels: scaled by the box's pixel
// ratio, less the border.
QPointF PaneWidget::inner(const QPointF& p) const {
  const double b = box_->BorderStyle() == 1 ? 2.0 : 0.0;
  const double r = box_->PixelRatio();
  return {p.x() * r - b, p.y() * r - b};
}

void PaneWidget::paintEvent(QPaintEvent* e) {
  QPainter p(this);
  const int b = box_->BorderStyle() == 1 ? 2 : 0;
  const double ratio = box_->PixelRatio();
  p.fillRect(e->rect(), palette().color(QPalette::Window));
  const QImage view = box_->imageViewRead();
  if (!view.isNull()) {
    // The exposed rectangle in image pixels.
    const QRectF exposed(e->rect().x() * ratio - b, e->rect().y() * ratio - b, e->rect().width() * ratio,
                         e->rect().height() * ratio);
    const QRect part = exposed.toAlignedRect().intersected(view.rect());
    if (!part.isEmpty()) {
      // Device bitmaps leave the fourth byte to chance; the copy makes the
      // exposed part opaque before it reaches a backing store that may care.
      QImage opaque = view.copy(part);
      for (int y = 0; y < opaque.height(); ++y) {
        auto* row = reinterpret_cast<QRgb*>(opaque.scanLine(y));
        for (int x = 0; x < opaque.width(); ++x) row[x] |= 0xFF000000u;
      }
      // One image pixel per device pixel: Qt does not scale it up.
      opaque.setDevicePixelRatio(ratio);
      p.drawImage(QPointF((part.x() + b) / ratio, (part.y() + b) / ratio), opaque);
    }
  }
  if (b != 0) {
    // A sunken two-pixel frame: shadow outside, dark shadow inside.
    const QRect r = rect();
    const QPalette& pal = palette();
    p.setPen(pal.color(QPalette::Dark));
    p.drawLine(r.left(), r.top(), r.right() - 1, r.top());
    p.drawLine(r.left(), r.top(), r.left(), r.bottom() - 1);
    p.setPen(pal.color(QPalette::Light));
    p.drawLine(r.left(), r.bottom(), r.right(), r.bottom());
    p.drawLine(r.right(), r.top(), r.right(), r.bottom());
    p.setPen(pal.color(QPalette::Shadow));
    p.drawLine(r.left() + 1, r.top() + 1, r.right() - 2, r.top() + 1);
    p.drawLine(r.left() + 1, r.top() + 1, r.left() + 1, r.bottom() - 2);
    p.setPen(pal.color(QPalette::Midlight));
    p.drawLine(r.left() + 1, r.bottom() - 1, r.right() - 1, r.bottom() - 1);
    p.drawLine(r.right() - 1, r.top() + 1, r.right() - 1, r.bottom() - 1);
  }
}

void PaneWidget::resizeEvent(QResizeEvent* e) {
  QWidget::resizeEvent(e);
  // A layout may size the widget; the box (and its image) follows. Sizes
  // that round to this widget's size already match, so the box is not moved
  // back and forth by the rounding of a fractional pixel ratio.
  const double r = box_->PixelRatio();
  if (std::lround(box_->Width() / r) != width() || std::lround(box_->Height() / r) != height())
    box_->Move(static_cast<int>(std::lround(x() * r)), static_cast<int>(std::lround(y() * r)),
               static_cast<int>(std::lround(width() * r)), static_cast<int>(std::lround(height() * r)));
}

void PaneWidget::mousePressEvent(QMouseEvent* e) {
  suppressClick_ = false;
  dragArmed_ = e->button() == Qt::LeftButton && box_->OLEDragMode() == 1;
  pressAt_ = e->position().toPoint();
  const QPointF at = inner(e->position());
  emit box_->MouseDown(buttonState(e->button()), shiftState(e->modifiers()), static_cast<float>(at.x()),
                       static_cast<float>(at.y()));
}

void PaneWidget::mouseMoveEvent(QMouseEvent* e) {
  if (dragArmed_ && e->buttons().testFlag(Qt::LeftButton) &&
      (e->position().toPoint() - pressAt_).manhattanLength() >= QApplication::startDragDistance()) {
    dragArmed_ = false;
    emit box_->AutomaticDrag();
    return;
  }
  const QPointF at = inner(e->position());
  emit box_->MouseMove(buttonState(e->buttons()), shiftState(e->modifiers()), static_cast<float>(at.x()),
                       static_cast<float>(at.y()));
}

void PaneWidget::mouseReleaseEvent(QMouseEvent* e) {
  dragArmed_ = false;
  const QPointF at = inner(e->position());
  emit box_->MouseUp(buttonState(e->button()), shiftState(e->modifiers()), static_cast<float>(at.x()),
                     static_cast<float>(at.y()));
  // The release that ends a double click is not another click.
  if (e->button() == Qt::LeftButton && !suppressClick_ && rect().contains(e->position().toPoint())) emit box_->Click();
  suppressClick_ = false;
}

void PaneWidget::mouseDoubleClickEvent(QMouseEvent* e) {
  if (e->button() != Qt::LeftButton) {
    mousePressEvent(e);
    return;
  }
  suppressClick_ = true;
  emit box_->DblClick();
}

void PaneWidget::keyPressEvent(QKeyEvent* e) {
  int code = virtualKey(e->key(), e->modifiers());
  if (code != 0) emit box_->KeyDown(&code, shiftState(e->modifiers()));
  const QString text = e->text();
  if (text.size() == 1 && text.at(0).unicode() != 0 && text.at(0).unicode() < 256) {
    int ascii = text.at(0).unicode();
    emit box_->KeyPress(&ascii);
  }
  e->accept();
}

void PaneWidget::keyReleaseEvent(QKeyEvent* e) {
  int code = virtualKey(e->key(), e->modifiers());
  if (code != 0) emit box_->KeyUp(&code, shiftState(e->modifiers()));
  e->accept();
}

void PaneWidget::wheelEvent(QWheelEvent* e) {
  const QPointF at = inner(e->position());
  // Touchpads scroll in phases; a wheel turns in notches without them.
  const bool touchpad = e->phase() != Qt::NoScrollPhase ||
                        (e->device() != nullptr && e->device()->type() == QInputDevice::DeviceType::TouchPad);
  bool handled = false;
  emit box_->MouseWheel(e->angleDelta().y(), touchpad, shiftState(e->modifiers()), static_cast<float>(at.x()),
                        static_cast<float>(at.y()), &handled);
  if (handled)
    e->accept();
  else
    e->ignore();  // a scroll area around the control may use it
}

bool PaneWidget::event(QEvent* e) {
  if (e->type() != QEvent::NativeGesture) return QWidget::event(e);
  auto* g = static_cast<QNativeGestureEvent*>(e);
  const QPointF at = inner(g->position());
  const auto x = static_cast<float>(at.x());
  const auto y = static_cast<float>(at.y());
  switch (g->gestureType()) {
    case Qt::BeginNativeGesture: emit box_->PinchZoom(0, 0.0, x, y); break;
    case Qt::ZoomNativeGesture: emit box_->PinchZoom(1, g->value(), x, y); break;
    case Qt::EndNativeGesture: emit box_->PinchZoom(2, 0.0, x, y); break;
    default: return QWidget::event(e);
  }
  e->accept();
  return true;
}

void PaneWidget::dragEnterEvent(QDragEnterEvent* e) {
  int effect = effectsOf(e->possibleActions());
  const QPointF at = inner(e->position());
  emit box_->OLEDragOver(e->mimeData(), &effect, buttonState(e->buttons()), shiftState(e->modifiers()),
                         static_cast<float>(at.x()), static_cast<float>(at.y()), 0);
  applyEffect(e, effect);
  // Entering is always accepted so that the handler is asked again while the
  // drag moves over the pane, even after refusing it here.
  e->accept();
  if (effect == 0) e->setDropAction(Qt::IgnoreAction);
}

void PaneWidget::dragMoveEvent(QDragMoveEvent* e) {
  int effect = effectsOf(e->possibleActions());
  const QPointF at = inner(e->position());
  emit box_->OLEDragOver(e->mimeData(), &effect, buttonState(e->buttons()), shiftState(e->modifiers()),
                         static_cast<float>(at.x()), static_cast<float>(at.y()), 2);
  applyEffect(e, effect);
}

void PaneWidget::dragLeaveEvent(QDragLeaveEvent* e) {
  int effect = 0;
  const QPointF at = inner(mapFromGlobal(QCursor::pos()));
  emit box_->OLEDragOver(nullptr, &effect, buttonState(QGuiApplication::mouseButtons()),
                         shiftState(QGuiApplication::keyboardModifiers()), static_cast<float>(at.x()),
                         static_cast<float>(at.y()), 1);
  e->accept();
}

void PaneWidget::dropEvent(QDropEvent* e) {
  int effect = effectsOf(e->possibleActions());
  const QPointF at = inner(e->position());
  emit box_->OLEDragDrop(e->mimeData(), &effect, buttonState(e->buttons()), shiftState(e->modifiers()),
                         static_cast<float>(at.x()), static_cast<float>(at.y()));
  applyEffect(e, effect);
}

}  // namespace qorv
