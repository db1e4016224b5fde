// The file-writing half of saving a picture: format choice, conversion of the
// shown device bitmap to a 24-bit library bitmap and the library save. The file
// is written beside the target under a temporary name and moved into place
// only once the library reports success, so a failed save never damages an
// existing file and leaves nothing behind.
#pragma once

#include <cstdint>

#include <QString>

#include "imageio/ImageLoad.h"
#include <QorvPictureBox/gdi.h>

namespace qorv::imageio {

// Whether the new file is flushed to the disk before it takes the target's
// name. With it, a crash right after the save leaves the old file or the new
// one, never an empty one; without it (for batch work that can simply run
// again) the system writes the data back in its own time.
enum class SaveSync { Flush, NoFlush };

// `fifType` -1 picks the format by the path's extension; `quality` goes to the
// library unchanged as its save flags.
IoOutcome SaveBitmap(gdi::HBITMAP picture, const QString& path, std::int32_t quality = 0,
                     std::int32_t fifType = -1, SaveSync sync = SaveSync::Flush);

// Writes a library bitmap as `fif` with `flags`, atomically as above.
bool SaveDibAtomically(FIBITMAP* dib, std::int32_t fif, const QString& path, std::int32_t flags,
                       SaveSync sync = SaveSync::Flush);

}  // namespace qorv::imageio
