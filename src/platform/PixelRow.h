// One row of pixels from 24 to 32 bits or back (or 32 to 32, the X byte
// cleared), vector code where the processor has it. Plain memory only: the
// decoder helper, which has neither the platform's objects nor threads, uses
// it as the rest of the library does.
#pragma once

#include <cstdint>

namespace qorv {

// Copies the first n pixels of one row, 3 or 4 bytes a pixel on either side;
// 32-bit results get an X byte of 0. `stream` writes around the cache, for
// destinations too large to stay in it. The rows must not overlap.
void copyPixelRow(const std::uint8_t* src, std::int32_t srcBytesPerPixel, std::uint8_t* dst,
                  std::int32_t dstBytesPerPixel, std::int32_t n, bool stream);

}  // namespace qorv
