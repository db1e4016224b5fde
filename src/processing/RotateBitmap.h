// Turning a block of the bitmap selected into a device context in place,
// behind the public clsImageRotate.
#pragma once

#include <cstdint>

#include <QorvPictureBox/gdi.h>

namespace qorv {

// Turns the width x height block at the top-left of the bitmap selected into
// `hdc` about the block's centre by `radians` (positive: clockwise as seen),
// sampling bilinearly between pixel centres; pixels no source pixel covers
// become black. The block keeps its place and size. Works on 24- and 32-bit
// bitmaps (a 32-bit one's fourth byte is written 0 in the block).
//
// False, with nothing changed and the thread's last-error code set, when:
// the context is not a valid one or holds no bitmap (ERROR_INVALID_HANDLE);
// a size is 0 or negative or larger than the bitmap, the angle is not a
// finite number, or the bitmap has another depth (ERROR_INVALID_PARAMETER);
// no memory can be had for the copy of the block (ERROR_NOT_ENOUGH_MEMORY).
bool rotateBitmapBlock(gdi::HDC hdc, std::int32_t width, std::int32_t height, double radians);

}  // namespace qorv
