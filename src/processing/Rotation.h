// Quarter-turn rotation between two device contexts through the platform's
// parallelogram blit.
#pragma once

#include <array>
#include <cstdint>

#include <QorvPictureBox/gdi.h>

namespace qorv {

// Where the source's top-left, top-right and bottom-left corners land when a
// W x H rectangle centred on (centreX, centreY) turns by `angle` whole
// degrees (y pointing down, so 90 turns clockwise on screen).
std::array<gdi::POINT, 3> rotationPoints(std::int32_t centreX, std::int32_t centreY, std::int32_t angle,
                                         std::int32_t W, std::int32_t H);

// Draws the W x H area of `src` at (srcLeft, srcTop) into `dst`, turned by
// `angle` degrees about (centreX, centreY). Failures end it quietly.
void rotateBlt(gdi::HDC dst, std::int32_t centreX, std::int32_t centreY, std::int32_t angle, gdi::HDC src,
               std::int32_t srcLeft, std::int32_t srcTop, std::int32_t W, std::int32_t H);

}  // namespace qorv
