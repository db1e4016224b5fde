// Colour tools: the hue dialog behind Colourise and palette mapping.
#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"

namespace qorv {

void QorvPicture::Colourise() { d_->notImplemented("Colourise"); }
bool QorvPicture::LoadPalette(const QString&) { d_->notImplemented("LoadPalette"); }

}  // namespace qorv
