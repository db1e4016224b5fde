// A picture box: a persistent image surface with its own memory DC, a
// background picture, colours, a font, drawing state and the classic drawing
// methods. One class serves every pane of the control; only a pane bound to a
// widget (bind()) is visible, hidden panes need no window at all.
//
// Units are pixels throughout (ScaleWidth/ScaleHeight, CurrentX/CurrentY, the
// drawing methods, TextWidth/TextHeight).
//
// Failures: negative sizes make an empty box; a surface that cannot be
// allocated raises AutomationError 7 ("Out of memory") and keeps the old one;
// PaintPicture of no picture raises 481 ("Invalid picture"). Out-of-range draw
// settings draw as their defaults; non-finite coordinates draw nothing useful
// but never fail.
#pragma once

#include <optional>

#include <QObject>
#include <QString>

#include <QorvPictureBox/Colors.h>
#include <QorvPictureBox/Font.h>
#include <QorvPictureBox/Picture.h>
#include <QorvPictureBox/gdi.h>

class QWidget;
class QImage;
class QMimeData;

namespace qorv {

class PaneWidget;

class PictureBox : public QObject {
  Q_OBJECT

 public:
  // Flags of Line(): a plain line, an outlined box, or a filled box.
  enum LineKind { PlainLine = 0, Box = 1, BoxFilled = 2 };

  explicit PictureBox(const QString& name = QString(), QObject* parent = nullptr);
  ~PictureBox() override;

  // Makes the pane visible as a child of `parent` that paints the persistent
  // image and forwards mouse, keyboard and drag-and-drop input as the signals
  // below. Returns the child widget (owned by `parent`).
  QWidget* bind(QWidget* parent);
  QWidget* widget() const;

  // --- surface ----------------------------------------------------------------
  // Memory DC holding the persistent image (a 32-bit device bitmap of
  // ScaleWidth x ScaleHeight). Never 0 while the box exists.
  gdi::HDC hDC() const;
  // A window handle whose GetDC draws on the persistent image.
  gdi::HWND hWnd() const;
  // The persistent image as a QImage sharing its memory (Format_RGB32), for
  // drawing on: memory the image shares with a snapshot or picture is copied
  // first. Valid until the next resize, Cls or picture assignment.
  QImage imageView() const;
  // The same pixels for reading only: taking it never unshares the image from
  // a picture it shares memory with.
  QImage imageViewRead() const;

  // --- geometry (pixels) --------------------------------------------------------
  int Left() const;
  int Top() const;
  int Width() const;  // outer size, border included
  int Height() const;
  void setWidth(int w);
  void setHeight(int h);
  void Move(int left, int top, int width, int height);
  // Inner size: outer size minus the border (2 pixels a side when BorderStyle 1).
  float ScaleWidth() const;
  float ScaleHeight() const;
  // When True, assigning a picture sizes the box to it.
  bool AutoSize() const;
  void setAutoSize(bool v);
  // Device pixels per pixel of the bound widget (1 by default). With r > 1 the
  // box's own sizes and coordinates are device pixels: its widget is 1/r of
  // them in the widget's units, paints the image one image pixel per device
  // pixel, and reports input positions multiplied by r. Non-finite or
  // non-positive ratios count as 1.
  double PixelRatio() const;
  void setPixelRatio(double r);

  // --- pictures -------------------------------------------------------------------
  // Background picture. Assigning it clears the persistent image to BackColor and
  // draws the picture at (0, 0); an empty PicturePtr removes it.
  PicturePtr Picture() const;
  void setPicture(const PicturePtr& p);
  // A snapshot of the persistent image as a new Picture (the view as painted,
  // overlays included). Null when the box has no area. O(1): the picture
  // shares the image's pixels until either is drawn on.
  PicturePtr Image() const;
  // Shows `hbm` as the image at its own size with no background picture: the
  // same result as setPicture(nullptr), Cls(), resizing the box to the bitmap
  // and blitting it at (0, 0), but the image shares the bitmap's pixels instead
  // of copying them (later drawing on the box never changes `hbm`). Returns
  // false, changing nothing, when the bitmap cannot be shared that way (not a
  // 32-bit top-down bitmap, or a border would shrink the image); also false,
  // with the picture already removed, when memory runs out.
  bool placeBitmap(gdi::HBITMAP hbm);
  // Shows `pic` as the image at its own size with no background picture:
  // shared through placeBitmap when it can be, otherwise the picture removed,
  // the image cleared, the box resized to the picture and the picture blitted
  // at (0, 0). Either way the image then holds exactly the picture's pixels.
  // Nothing happens for a null picture.
  void placePicture(const PicturePtr& pic);

  // --- appearance and drawing state ---------------------------------------------
  COLORREF BackColor() const;
  // As with the classic box, a new back colour clears the image (Cls).
  void setBackColor(COLORREF c);
  COLORREF ForeColor() const;
  void setForeColor(COLORREF c);
  FontPtr Font() const;
  void setFont(const FontPtr& f);
  int BorderStyle() const;  // 0 none, 1 fixed single
  void setBorderStyle(int v);
  // 1..16, default 13 (copy pen): the binary raster operations of pen and
  // destination (1 black, 6 invert, 7 xor pen, 11 no-op, 16 white, ...), each
  // drawn with the matching QPainter raster-op composition mode. Text ignores it.
  int DrawMode() const;
  void setDrawMode(int v);
  int DrawStyle() const;  // 0..6, default 0 (solid)
  void setDrawStyle(int v);
  int DrawWidth() const;  // default 1
  void setDrawWidth(int v);
  int FillStyle() const;  // 0 solid, 1 transparent (default), 2..7 hatches
  void setFillStyle(int v);
  COLORREF FillColor() const;
  void setFillColor(COLORREF c);
  float CurrentX() const;
  void setCurrentX(float v);
  float CurrentY() const;
  void setCurrentY(float v);
  int MousePointer() const;  // 0 default, 15 size-all, 11 hourglass, 99 custom
  void setMousePointer(int v);
  PicturePtr MouseIcon() const;
  void setMouseIcon(const PicturePtr& p);
  bool AutoRedraw() const;
  void setAutoRedraw(bool v);
  int OLEDragMode() const;
  void setOLEDragMode(int v);
  int OLEDropMode() const;
  void setOLEDropMode(int v);
  bool Visible() const;
  void setVisible(bool v);
  QString ToolTipText() const;
  void setToolTipText(const QString& t);

  // --- drawing ------------------------------------------------------------------------
  // Fills the persistent image with BackColor, redraws the background picture and
  // resets CurrentX/CurrentY to 0.
  void Cls();
  // Omitted colours use ForeColor. Moves CurrentX/CurrentY to (x2, y2).
  void Line(float x1, float y1, float x2, float y2, std::optional<COLORREF> color = std::nullopt,
            LineKind kind = PlainLine);
  void PSet(float x, float y, std::optional<COLORREF> color = std::nullopt);
  void Circle(float x, float y, float radius, std::optional<COLORREF> color = std::nullopt);
  // Draws at (CurrentX, CurrentY) in Font and ForeColor, then moves the print
  // position to the start of the next line.
  void Print(const QString& text);
  // Draws `pic` (or its part x2, y2, w2, h2) at (x1, y1) with size (w1, h1).
  // Omitted sizes are the picture's own; negative sizes mirror. `opcode` is a
  // raster operation (default SRCCOPY).
  void PaintPicture(const PicturePtr& pic, float x1, float y1, std::optional<float> w1 = std::nullopt,
                    std::optional<float> h1 = std::nullopt, std::optional<float> x2 = std::nullopt,
                    std::optional<float> y2 = std::nullopt, std::optional<float> w2 = std::nullopt,
                    std::optional<float> h2 = std::nullopt, std::optional<std::uint32_t> opcode = std::nullopt);
  float TextWidth(const QString& text) const;
  float TextHeight(const QString& text) const;
  // Repaints the bound widget from the persistent image (no-op when hidden).
  void Refresh();

 signals:
  void Resize();
  void Click();
  void DblClick();
  // By-reference arguments arrive as pointers so that a handler may change them.
  void KeyDown(int* KeyCode, int Shift);
  void KeyPress(int* KeyAscii);
  void KeyUp(int* KeyCode, int Shift);
  void MouseDown(int Button, int Shift, float X, float Y);
  void MouseMove(int Button, int Shift, float X, float Y);
  void MouseUp(int Button, int Shift, float X, float Y);
  // Beyond the classic events: a wheel turn in eighths of a degree (120 per
  // notch, positive away from the user), whether it came from a touchpad, and
  // where; a handler that uses it sets *Handled so that it is not passed on to
  // the widget's parents.
  void MouseWheel(int Delta, bool Touchpad, int Shift, float X, float Y, bool* Handled);
  // A touchpad pinch: Phase 0 begins, 1 scales by (1 + Scale), 2 ends.
  void PinchZoom(int Phase, double Scale, float X, float Y);
  void OLEDragDrop(const QMimeData* Data, int* Effect, int Button, int Shift, float X, float Y);
  void OLEDragOver(const QMimeData* Data, int* Effect, int Button, int Shift, float X, float Y, int State);
  // With OLEDragMode 1 (automatic): the left button was pressed on the pane
  // and the mouse has moved far enough to count as a drag. The move that
  // starts it is not reported as MouseMove.
  void AutomaticDrag();

 private:
  friend class PaneWidget;
  struct Impl;
  Impl* d;
};

}  // namespace qorv
