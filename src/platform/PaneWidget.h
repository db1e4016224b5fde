// The visible face of a bound picture box: paints the persistent image (and
// the border) and turns Qt input into the box's classic events.
#pragma once

#include <QWidget>

namespace qorv {

class PictureBox;

class PaneWidget : public QWidget {
 public:
  PaneWidget(PictureBox* box, QWidget* parent);

  // Re-reads cursor, tool-tip, drop mode and visibility from the box.
  void syncFromBox();

  // Classic virtual-key code of a Qt key event (0 when it has none).
  static int virtualKey(int qtKey, Qt::KeyboardModifiers mods);
  // Classic Shift argument: 1 shift, 2 ctrl, 4 alt.
  static int shiftState(Qt::KeyboardModifiers mods);
  // Classic Button argument: 1 left, 2 right, 4 middle.
  static int buttonState(Qt::MouseButtons buttons);

 protected:
  void paintEvent(QPaintEvent* e) override;
  void resizeEvent(QResizeEvent* e) override;
  void mousePressEvent(QMouseEvent* e) override;
  void mouseMoveEvent(QMouseEvent* e) override;
  void mouseReleaseEvent(QMouseEvent* e) override;
  void mouseDoubleClickEvent(QMouseEvent* e) override;
  void keyPressEvent(QKeyEvent* e) override;
  void keyReleaseEvent(QKeyEvent* e) override;
  void wheelEvent(QWheelEvent* e) override;
  bool event(QEvent* e) override;
  void dragEnterEvent(QDragEnterEvent* e) override;
  void dragMoveEvent(QDragMoveEvent* e) override;
  void dragLeaveEvent(QDragLeaveEvent* e) override;
  void dropEvent(QDropEvent* e) override;

 private:
  QPointF inner(const QPointF& p) const;
  PictureBox* box_;
  bool suppressClick_ = false;
  // A left press on a pane in automatic drag mode, until it moves far enough
  // to start a drag or is released.
  bool dragArmed_ = false;
  QPoint pressAt_;
};

}  // namespace qorv
