// Composition of one frame: the picture held by a source pane drawn into a
// back-buffer pane at a position and size, plain, stretched or tiled. The
// control's Render owns the flags, events and timers around it.
#pragma once

#include <cstdint>

namespace qorv {
class PictureBox;
}

namespace qorv::view {

struct FrameParams {
  double x = 0;  // top-left corner of the image in the target (pane pixels)
  double y = 0;
  int width = 0;  // drawn size, already rounded; nothing is drawn below 1
  int height = 0;
  bool tiled = false;
  bool useBlt = true;     // platform blits (true) or the pane's picture painting
  bool stretch = true;    // false: copy at the picture's own size
  bool plainCopy = false; // picture painting path at exactly 1:1 of the original
};

// Draws `source`'s image into `target` (which the caller has cleared). Blits
// clip to the target first, so the cost follows the target's size, not the
// drawn size.
//
// Tiles: the first tile sits at the image's own top-left corner (x, y) and
// copies repeat from there in every direction until the target is covered;
// tiles cut by the target's edges are clipped, not shrunk.
void composeFrame(PictureBox& source, PictureBox& target, const FrameParams& p);

// The stretch mode a frame uses: COLORONCOLOR (3) while the user drags or when
// an initial frame will be followed by a delayed quality pass, else zoomType.
int chooseStretchMode(bool hqAutoSwitch, bool dragging, bool initial, int initTimerInterval, int zoomType);

}  // namespace qorv::view
