// The control's image operations: filters, pixel operations, flips, rotation,
// resampling and combining. (Placeholders until the processing members are
// written: each raises a clear "not implemented" automation error.)
#include "control/QorvPicture.h"

namespace qorv {

void QorvPicture::Invert() { notImplemented("Invert"); }
void QorvPicture::Flip(qint32) { notImplemented("Flip"); }
void QorvPicture::ApplyFilter(qint32, qint32) { notImplemented("ApplyFilter"); }
void QorvPicture::AddCustomFilter(const IntArray2D&) { notImplemented("AddCustomFilter"); }
void QorvPicture::Darken(const QVariant&) { notImplemented("Darken"); }
void QorvPicture::Lighten(const QVariant&) { notImplemented("Lighten"); }
void QorvPicture::Grayscale() { notImplemented("Grayscale"); }
void QorvPicture::AddNoise(qint32, bool) { notImplemented("AddNoise"); }
void QorvPicture::BlackAndWhite() { notImplemented("BlackAndWhite"); }
void QorvPicture::Resample(qint32, qint32) { notImplemented("Resample"); }
void QorvPicture::CombinePictures(const PicturePtr&, const PicturePtr&, qint32, float, float, qint32, qint32) {
  notImplemented("CombinePictures");
}
bool QorvPicture::Rotate(bool*) { notImplemented("Rotate"); }

}  // namespace qorv
