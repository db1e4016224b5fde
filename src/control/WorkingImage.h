// The pattern every image operation of the control shares: a working image
// filled from Buffer's picture, and the result committed back to Buffer with
// the view update that follows any change of picture.
#pragma once

#include <QorvPictureBox/Picture.h>

#include "processing/cDIBSection.h"

namespace qorv {

class QorvPicture;

namespace operation {

// A device bitmap holding a copy of the working image, as a picture.
PicturePtr pictureFrom(const cDIBSection& img);

// A working image holding Buffer's picture (empty when there is none).
struct Working {
  cDIBSection image;
  explicit Working(const QorvPicture& c);
};

// A result of the picture's own size becomes Buffer's
// picture and updates the view.
void commit(QorvPicture& c, const cDIBSection& result);

// A result of another size becomes Buffer's picture; the control follows it
// under AutoSize and the view is updated. False, with the picture as it was,
// when no picture of that size can be made.
bool commitResized(QorvPicture& c, const cDIBSection& result);

}  // namespace operation
}  // namespace qorv
