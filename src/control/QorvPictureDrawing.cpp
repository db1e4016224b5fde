// Drawing and text primitives on the visible pane, in pane pixels.
#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"

namespace qorv {

void QorvPicture::DrawLine(qint32, qint32, qint32, qint32, qint32) { d_->notImplemented("DrawLine"); }
void QorvPicture::DrawDot(qint32, qint32, qint32) { d_->notImplemented("DrawDot"); }
void QorvPicture::DrawBox(qint32, qint32, qint32, qint32, qint32, qint32) { d_->notImplemented("DrawBox"); }
void QorvPicture::DrawCircle(float, float, float, qint32) { d_->notImplemented("DrawCircle"); }
qint32 QorvPicture::RenderScaleWidth() const { d_->notImplemented("RenderScaleWidth"); }
qint32 QorvPicture::RenderScaleHeight() const { d_->notImplemented("RenderScaleHeight"); }
qint32 QorvPicture::RenderTextWidth(const QString&) const { d_->notImplemented("RenderTextWidth"); }
qint32 QorvPicture::RenderTextHeight(const QString&) const { d_->notImplemented("RenderTextHeight"); }
void QorvPicture::PaintPicture(const PicturePtr&, float, float, const QVariant&, const QVariant&, const QVariant&,
                               const QVariant&, const QVariant&, const QVariant&, const QVariant&) {
  d_->notImplemented("PaintPicture");
}
void QorvPicture::PrintText(const QString&) { d_->notImplemented("PrintText"); }
void QorvPicture::Cls() { d_->notImplemented("Cls"); }

}  // namespace qorv
