#include "imageio/Paths.h"

#include <algorithm>

namespace qorv::imageio {

namespace {
bool isSeparator(QChar c) { return c == u'\\' || c == u'/'; }

qsizetype lastSeparator(const QString& s) {
  return std::max(s.lastIndexOf(u'\\'), s.lastIndexOf(u'/'));
}
}  // namespace

QString FileExtension(const QString& StrFile, bool IncludeDOT) {
  const qsizetype sep = lastSeparator(StrFile);
  const qsizetype dot = StrFile.lastIndexOf(u'.');
  if (sep > dot) return QString();
  const QString prefix = IncludeDOT ? QStringLiteral(".") : QString();
  if (dot >= 0) return prefix + StrFile.mid(dot + 1);
  return prefix + StrFile;
}

QString FileName(const QString& StrFilePath) {
  if (StrFilePath.isEmpty() || isSeparator(StrFilePath.back())) return StrFilePath;
  const qsizetype sep = lastSeparator(StrFilePath);
  if (sep < 0) return StrFilePath;
  return StrFilePath.mid(sep + 1);
}

QString FileDirectory(const QString& path) {
  if (path.isEmpty() || isSeparator(path.back())) return path;
  const qsizetype sep = lastSeparator(path);
  if (sep < 0) return path;
  return path.left(sep + 1);
}

QString RemoveFileExtension(const QString& StrFilename) {
  const qsizetype dot = StrFilename.lastIndexOf(u'.');
  if (dot < 0) return QString();
  return StrFilename.left(dot);
}

}  // namespace qorv::imageio
