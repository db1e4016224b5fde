// Drawing and text primitives on the visible pane, in pane pixels: no zoom or
// offset applies, so a host that marks a point of the picture converts the
// coordinates itself. None of them asks for a redraw; a host that wants its
// overlay on every frame draws it again from the Draw event.
#include <QorvPictureBox/QorvPicture.h>

#include <optional>

#include "control/QorvPicturePrivate.h"
#include "control/VariantConversion.h"
#include "platform/PictureBox.h"
#include "view/ViewGeometry.h"

namespace qorv {

namespace {

// An omitted COLOR arrives as 0 and means black, never the foreground colour.
COLORREF colourArg(qint32 COLOR) { return static_cast<COLORREF>(COLOR); }

std::optional<float> optionalSingle(const QVariant& v) {
  if (!v.isValid()) return std::nullopt;
  return conv<float>(v);
}

}  // namespace

void QorvPicture::DrawLine(qint32 X1, qint32 Y1, qint32 X2, qint32 Y2, qint32 COLOR) {
  PictureBox& pane = d_->picPane();
  d_->drawGuarded([&] {
    pane.Line(static_cast<float>(X1), static_cast<float>(Y1), static_cast<float>(X2), static_cast<float>(Y2),
              colourArg(COLOR));
  });
}

void QorvPicture::DrawDot(qint32 X1, qint32 Y1, qint32 COLOR) {
  PictureBox& pane = d_->picPane();
  d_->drawGuarded([&] { pane.PSet(static_cast<float>(X1), static_cast<float>(Y1), colourArg(COLOR)); });
}

void QorvPicture::DrawBox(qint32 X1, qint32 Y1, qint32 X2, qint32 Y2, qint32 COLOR, qint32 Style) {
  using Styles = QorvPictureBox::BoxStyles;
  if (Style != static_cast<qint32>(Styles::Outlined) && Style != static_cast<qint32>(Styles::Filled)) return;
  const PictureBox::LineKind kind =
      Style == static_cast<qint32>(Styles::Filled) ? PictureBox::BoxFilled : PictureBox::Box;
  PictureBox& pane = d_->picPane();
  d_->drawGuarded([&] {
    pane.Line(static_cast<float>(X1), static_cast<float>(Y1), static_cast<float>(X2), static_cast<float>(Y2),
              colourArg(COLOR), kind);
  });
}

void QorvPicture::DrawCircle(float x, float y, float Radius, qint32 COLOR) {
  PictureBox& pane = d_->picPane();
  d_->drawGuarded([&] { pane.Circle(x, y, Radius, colourArg(COLOR)); });
}

void QorvPicture::PrintText(const QString& strText) {
  PictureBox& pane = d_->picPane();
  d_->drawGuarded([&] { pane.Print(strText); });
}

// Every optional argument the caller left out stays out: the pane fills in
// the picture's own size, its origin and SRCCOPY.
void QorvPicture::PaintPicture(const PicturePtr& Picture, float X1, float Y1, const QVariant& Width1,
                               const QVariant& Height1, const QVariant& X2, const QVariant& Y2, const QVariant& Width2,
                               const QVariant& Height2, const QVariant& Opcode) {
  std::optional<std::uint32_t> rop;
  if (Opcode.isValid()) rop = static_cast<std::uint32_t>(conv<qint32>(Opcode));
  d_->picPane().PaintPicture(Picture, X1, Y1, optionalSingle(Width1), optionalSingle(Height1), optionalSingle(X2),
                             optionalSingle(Y2), optionalSingle(Width2), optionalSingle(Height2), rop);
}

void QorvPicture::Cls() { d_->picPane().Cls(); }

qint32 QorvPicture::RenderScaleWidth() const { return view::roundHalfEven(d_->picPane().ScaleWidth()); }
qint32 QorvPicture::RenderScaleHeight() const { return view::roundHalfEven(d_->picPane().ScaleHeight()); }

qint32 QorvPicture::RenderTextWidth(const QString& strText) const {
  return view::roundHalfEven(d_->picPane().TextWidth(strText));
}
qint32 QorvPicture::RenderTextHeight(const QString& strText) const {
  return view::roundHalfEven(d_->picPane().TextHeight(strText));
}

}  // namespace qorv
