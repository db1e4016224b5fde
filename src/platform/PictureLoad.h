// The platform picture loader behind Picture::load, for the control's own
// use: it can also hand back the alpha the picture had in its file.
#pragma once

#include <QString>

#include <QorvPictureBox/Picture.h>

#include "platform/AlphaMask.h"

namespace qorv {

// Picture::load; with `alpha` given, it receives the file's transparency
// (empty when the picture is opaque).
PicturePtr LoadPlatformPicture(const QString& path, QString* error, AlphaMask* alpha);

}  // namespace qorv
