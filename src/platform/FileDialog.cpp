#include "platform/FileDialog.h"

#include <QApplication>
#include <QFileDialog>
#include <QSet>

namespace qorv {

namespace {

// "Desc" and "*.BMP;*.JPG;" become "Desc (*.BMP *.bmp *.JPG *.jpg)": Qt matches
// name filters case-sensitively on Linux, while the table's patterns are
// meant to match either case.
QString qtFilter(const QString& description, const QString& pattern) {
  QStringList globs;
  QSet<QString> seen;
  for (const QString& raw : pattern.split(u';', Qt::SkipEmptyParts)) {
    const QString p = raw.trimmed();
    for (const QString& v : {p, p.toLower(), p.toUpper()}) {
      if (!v.isEmpty() && !seen.contains(v)) {
        seen.insert(v);
        globs << v;
      }
    }
  }
  if (globs.isEmpty()) globs << QStringLiteral("*");
  return description + QStringLiteral(" (") + globs.join(u' ') + u')';
}

class QtFileDialogService final : public FileDialogService {
 public:
  FileDialogResult run(const FileDialogRequest& r) override {
    FileDialogResult out;
    out.filterIndex = r.filterIndex;
    if (!qobject_cast<QApplication*>(QCoreApplication::instance())) return out;

    QFileDialog dlg(nullptr, r.title, r.initialDir);
    dlg.setAcceptMode(r.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dlg.setFileMode(r.save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    if (r.save && !(r.flags & OFN_OVERWRITEPROMPT)) dlg.setOption(QFileDialog::DontConfirmOverwrite);
    QStringList filters;
    const qsizetype n = std::min(r.descriptions.size(), r.patterns.size());
    for (qsizetype i = 0; i < n; ++i) filters << qtFilter(r.descriptions[i], r.patterns[i]);
    if (!filters.isEmpty()) {
      dlg.setNameFilters(filters);
      const qsizetype sel = r.filterIndex >= 1 && r.filterIndex <= filters.size() ? r.filterIndex - 1 : 0;
      dlg.selectNameFilter(filters[sel]);
    }
    if (!r.fileName.isEmpty()) dlg.selectFile(r.fileName);
    if (dlg.exec() != QDialog::Accepted || dlg.selectedFiles().isEmpty()) return out;

    out.accepted = true;
    out.path = dlg.selectedFiles().constFirst();
    const qsizetype chosen = filters.indexOf(dlg.selectedNameFilter());
    if (chosen >= 0) out.filterIndex = static_cast<std::int32_t>(chosen + 1);
    return out;
  }
};

FileDialogService*& installed() {
  static FileDialogService* s = nullptr;
  return s;
}

}  // namespace

FileDialogService& fileDialogService() {
  static QtFileDialogService standard;
  FileDialogService* s = installed();
  return s ? *s : standard;
}

void setFileDialogService(FileDialogService* s) { installed() = s; }

}  // namespace qorv
