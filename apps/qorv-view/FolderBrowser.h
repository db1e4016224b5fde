// The pictures next to the current one, in the order a person expects:
// "img2" before "img10", case ignored.
#pragma once

#include <QString>
#include <QStringList>

namespace qorv_view {

// Sorts file names naturally (digit runs compared as numbers, case ignored).
void sortNaturally(QStringList& names);

// Absolute paths of the files in `dir` whose extension (lower case, no dot) is
// in `extensions`, sorted naturally by file name.
QStringList picturesInFolder(const QString& dir, const QStringList& extensions);

// The picture `step` places away from `current` in its folder (-1 previous,
// +1 next), wrapping around; empty when the folder holds no other picture.
QString neighbourPicture(const QString& current, int step, const QStringList& extensions);

}  // namespace qorv_view
