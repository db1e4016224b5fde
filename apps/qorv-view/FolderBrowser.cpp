#include "FolderBrowser.h"

#include <QCollator>
#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace qorv_view {

void sortNaturally(QStringList& names) {
  QCollator collator;
  collator.setNumericMode(true);
  collator.setCaseSensitivity(Qt::CaseInsensitive);
  std::stable_sort(names.begin(), names.end(), [&collator](const QString& a, const QString& b) {
    const int c = collator.compare(a, b);
    // Names equal but for case still get a stable, repeatable order.
    return c != 0 ? c < 0 : a < b;
  });
}

QStringList picturesInFolder(const QString& dir, const QStringList& extensions) {
  QStringList names;
  const QFileInfoList entries = QDir(dir).entryInfoList(QDir::Files | QDir::Readable);
  for (const QFileInfo& fi : entries)
    if (extensions.contains(fi.suffix().toLower())) names << fi.fileName();
  sortNaturally(names);
  QStringList paths;
  paths.reserve(names.size());
  for (const QString& n : names) paths << QDir(dir).absoluteFilePath(n);
  return paths;
}

QString neighbourPicture(const QString& current, int step, const QStringList& extensions) {
  const QFileInfo fi(current);
  const QStringList all = picturesInFolder(fi.absolutePath(), extensions);
  if (all.isEmpty()) return QString();
  const qsizetype at = all.indexOf(fi.absoluteFilePath());
  if (at < 0) return all.first();  // the current file was removed: start over
  if (all.size() == 1) return QString();
  const qsizetype n = all.size();
  return all[((at + step) % n + n) % n];
}

}  // namespace qorv_view
