// Members whose behaviour is not available in this build yet: drawing
// primitives, clipboard and picture exchange, drag-and-drop, palette and hue
// tools and the About box. Each raises a clear "not implemented" automation
// error rather than silently doing nothing.
#include <QorvPictureBox/QorvPicture.h>

namespace qorv {

PicturePtr QorvPicture::ScaledPicture() { notImplemented("ScaledPicture"); }
bool QorvPicture::SendToClipboard(qint32) { notImplemented("SendToClipboard"); }
void QorvPicture::DrawLine(qint32, qint32, qint32, qint32, qint32) { notImplemented("DrawLine"); }
void QorvPicture::DrawDot(qint32, qint32, qint32) { notImplemented("DrawDot"); }
void QorvPicture::DrawBox(qint32, qint32, qint32, qint32, qint32, qint32) { notImplemented("DrawBox"); }
void QorvPicture::DrawCircle(float, float, float, qint32) { notImplemented("DrawCircle"); }
qint32 QorvPicture::RenderScaleWidth() const { notImplemented("RenderScaleWidth"); }
qint32 QorvPicture::RenderScaleHeight() const { notImplemented("RenderScaleHeight"); }
qint32 QorvPicture::RenderTextWidth(const QString&) const { notImplemented("RenderTextWidth"); }
qint32 QorvPicture::RenderTextHeight(const QString&) const { notImplemented("RenderTextHeight"); }
void QorvPicture::PaintPicture(const PicturePtr&, float, float, const QVariant&, const QVariant&, const QVariant&,
                               const QVariant&, const QVariant&, const QVariant&, const QVariant&) {
  notImplemented("PaintPicture");
}
void QorvPicture::PrintText(const QString&) { notImplemented("PrintText"); }
void QorvPicture::Cls() { notImplemented("Cls"); }
void QorvPicture::Colourise() { notImplemented("Colourise"); }
bool QorvPicture::LoadPalette(const QString&) { notImplemented("LoadPalette"); }
void QorvPicture::ShowAbout() { notImplemented("ShowAbout"); }
bool QorvPicture::BitBltPicture(qint32, qint32, qint32) { notImplemented("BitBltPicture"); }
void QorvPicture::OLEDrag() { notImplemented("OLEDrag"); }

}  // namespace qorv
