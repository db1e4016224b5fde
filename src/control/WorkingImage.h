// The pattern every image operation of the control shares: a working image
// filled from Buffer's picture, and the result committed back to Buffer with
// the view update that follows any change of picture.
#pragma once

#include <QorvPictureBox/Picture.h>

#include "platform/PixelRows.h"
#include "platform/ScopedGdi.h"
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

// The rows of a 32-bit picture, top first; invalid for any other picture.
// Only for reading: the picture may share its memory.
PixelRows pictureRows(const PicturePtr& pic);

// `pic` becomes Buffer's picture and the view is updated.
void commitPicture(QorvPicture& c, const PicturePtr& pic);

// An operation straight from Buffer's picture into a new one of its size,
// where the picture is 32-bit: no working image, one pass over the pixels.
// The source picture is held for the operation's length, so that a handler
// replacing Buffer's picture from an event leaves the rows being read alone.
struct Direct {
  PicturePtr source;
  PixelRows from;     // the picture's rows (B, G, R, X), top first
  PixelRows to;       // the result's rows, top first
  ScopedBitmap result;
  explicit Direct(const QorvPicture& c);
  bool ready() const { return from.valid() && to.valid(); }
  // The result becomes Buffer's picture, as commit() makes it.
  void commit(QorvPicture& c);
};

// A result of the picture's own size becomes Buffer's
// picture and updates the view.
void commit(QorvPicture& c, const cDIBSection& result);

// A result of another size becomes Buffer's picture; the control follows it
// under AutoSize and the view is updated. False, with the picture as it was,
// when no picture of that size can be made.
bool commitResized(QorvPicture& c, const cDIBSection& result);
// The same for a finished picture, or a 32-bit device bitmap that becomes one.
bool commitResized(QorvPicture& c, const PicturePtr& pic);
bool commitResized(QorvPicture& c, ScopedBitmap result);

}  // namespace operation
}  // namespace qorv
