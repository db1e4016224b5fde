// Pictures leaving and entering the control other than through files: the
// clipboard, the zoomed picture, a block of any device context, drag and drop.
#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"

namespace qorv {

PicturePtr QorvPicture::ScaledPicture() { d_->notImplemented("ScaledPicture"); }
bool QorvPicture::SendToClipboard(qint32) { d_->notImplemented("SendToClipboard"); }
bool QorvPicture::BitBltPicture(qint32, qint32, qint32) { d_->notImplemented("BitBltPicture"); }
void QorvPicture::OLEDrag() { d_->notImplemented("OLEDrag"); }

}  // namespace qorv
