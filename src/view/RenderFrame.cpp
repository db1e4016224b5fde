#include "view/RenderFrame.h"

#include <cmath>

#include "platform/PictureBox.h"
#include <QorvPictureBox/gdi.h>
#include "view/ViewGeometry.h"

namespace qorv::view {

namespace {

// One placement of the whole source image at (x, y) with size (w, h).
void drawImage(PictureBox& source, PictureBox& target, int x, int y, const FrameParams& p) {
  const int sw = roundHalfEven(source.ScaleWidth());
  const int sh = roundHalfEven(source.ScaleHeight());
  if (p.useBlt) {
    if (!p.stretch) {
      gdi::BitBlt(target.hDC(), x, y, p.width, p.height, source.hDC(), 0, 0, gdi::SRCCOPY);
    } else {
      gdi::StretchBlt(target.hDC(), x, y, p.width, p.height, source.hDC(), 0, 0, sw, sh, gdi::SRCCOPY);
    }
    return;
  }
  if (p.plainCopy) {
    gdi::BitBlt(target.hDC(), x, y, p.width, p.height, source.hDC(), 0, 0, gdi::SRCCOPY);
    return;
  }
  // The pane's picture painting scales the whole source with the target's
  // current stretch mode. It reads the source pane's live surface rather than
  // its background picture, so image operations painted into the source show.
  gdi::StretchBlt(target.hDC(), x, y, p.width, p.height, source.hDC(), 0, 0, sw, sh, gdi::SRCCOPY);
}

// First tile origin <= 0 on an axis, congruent to `pos` modulo `size`.
long long firstTile(long long pos, long long size) {
  long long r = pos % size;
  if (r > 0) r -= size;
  return r;
}

}  // namespace

void composeFrame(PictureBox& source, PictureBox& target, const FrameParams& p) {
  if (p.width < 1 || p.height < 1) return;
  const int x = roundHalfEven(p.x);
  const int y = roundHalfEven(p.y);
  if (!p.tiled) {
    drawImage(source, target, x, y, p);
    return;
  }
  const long long tw = roundHalfEven(target.ScaleWidth());
  const long long th = roundHalfEven(target.ScaleHeight());
  const long long x0 = firstTile(x, p.width);
  const long long y0 = firstTile(y, p.height);
  for (long long ty = y0; ty < th; ty += p.height) {
    for (long long tx = x0; tx < tw; tx += p.width) {
      drawImage(source, target, static_cast<int>(tx), static_cast<int>(ty), p);
    }
  }
}

int chooseStretchMode(bool hqAutoSwitch, bool dragging, bool initial, int initTimerInterval, int zoomType) {
  if (hqAutoSwitch && (dragging || (initial && initTimerInterval > 0))) return gdi::COLORONCOLOR;
  return zoomType;
}

}  // namespace qorv::view
