#include "FolderBrowser.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace qorv_view {

namespace {

// Compares digit runs by value and everything else case-insensitively, so
// "img2" < "img10" < "IMG11" whatever the locale offers.
int compareNaturally(const QString& a, const QString& b) {
  qsizetype i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    if (a[i].isDigit() && b[j].isDigit()) {
      qsizetype ei = i, ej = j;
      while (ei < a.size() && a[ei].isDigit()) ++ei;
      while (ej < b.size() && b[ej].isDigit()) ++ej;
      // Leading zeros do not make a number larger.
      qsizetype si = i, sj = j;
      while (si + 1 < ei && a[si] == u'0') ++si;
      while (sj + 1 < ej && b[sj] == u'0') ++sj;
      if (ei - si != ej - sj) return ei - si < ej - sj ? -1 : 1;
      if (const int c = QStringView(a).sliced(si, ei - si).compare(QStringView(b).sliced(sj, ej - sj)); c != 0)
        return c;
      i = ei;
      j = ej;
      continue;
    }
    const QChar ca = a[i].toCaseFolded(), cb = b[j].toCaseFolded();
    if (ca != cb) return ca < cb ? -1 : 1;
    ++i;
    ++j;
  }
  if (i < a.size()) return 1;
  if (j < b.size()) return -1;
  return 0;
}

}  // namespace

void sortNaturally(QStringList& names) {
  std::stable_sort(names.begin(), names.end(), [](const QString& a, const QString& b) {
    const int c = compareNaturally(a, b);
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
