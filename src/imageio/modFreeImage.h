// The bridge between FreeImage bitmaps and the platform's device bitmaps, and
// the library's start-up and shut-down. Kept in a namespace of its own so that
// its names cannot collide with FreeImage's own symbols.
#pragma once

#include <QString>

namespace qorv::modFreeImage {

// Starts FreeImage (local plug-ins not restricted) and registers the message
// callback; failures are ignored.
void InitFreeImage();
// Shuts FreeImage down; failures are ignored.
void DeInitFreeImage();

// The bridge's last error text (empty when the last bridge call succeeded).
QString LastBridgeError();

}  // namespace qorv::modFreeImage
