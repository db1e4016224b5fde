// The About box.
#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"

namespace qorv {

void QorvPicture::ShowAbout() { d_->notImplemented("ShowAbout"); }

}  // namespace qorv
