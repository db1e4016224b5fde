// Path helpers shared by loading, saving and the control's users. Both "\" and
// "/" separate path components, so paths written either way split the same.
// None of them fails: odd input gives what the rules below make of it.
#pragma once

#include <QString>

namespace qorv::imageio {

// The text after the last "." of the last component ("." included when
// `IncludeDOT`); empty when the last separator follows the last dot. A text with
// neither dot nor separator is taken as a bare extension and returned whole.
QString FileExtension(const QString& StrFile, bool IncludeDOT = false);
// The last path component; the input unchanged when it ends in a separator or
// has none.
QString FileName(const QString& StrFilePath);
// Everything up to and including the last separator; the input unchanged when it
// ends in a separator or has none.
QString FileDirectory(const QString& path);
// The text before the last "." anywhere in the input (directory names included);
// empty when there is no dot at all.
QString RemoveFileExtension(const QString& StrFilename);

}  // namespace qorv::imageio
