#include "imageio/Dialog.h"

#include <QStringList>

#include "platform/FileDialog.h"
#include "platform/Host.h"
#include "platform/Shell.h"

namespace qorv::imageio {

namespace {
constexpr qsizetype kFileBufferChars = 254;  // the terminating NUL makes 255

// Leading and trailing spaces only, as the classic Trim does.
QString trimSpaces(const QString& s) {
  qsizetype b = 0;
  qsizetype e = s.size();
  while (b < e && s[b] == u' ') ++b;
  while (e > b && s[e - 1] == u' ') --e;
  return s.mid(b, e - b);
}
}  // namespace

QString Dialog(QString& Pattern, std::uint32_t hwndOwner, const QString& initialDir, QString& DialogTitle,
               std::optional<std::int32_t> dialogFlags, std::optional<bool> SaveDialog,
               std::int32_t* FilterIndex, const QString& FileName) {
  const std::uint32_t flags = static_cast<std::uint32_t>(dialogFlags.value_or(0));
  if (DialogTitle.isEmpty()) DialogTitle = host().appTitle();
  Pattern.replace(u'|', QChar(u'\0'));

  if (FileName.size() > kFileBufferChars) return QString();
  QString buffer = FileName + QString(kFileBufferChars - FileName.size(), u' ');

  FileDialogRequest req;
  req.save = SaveDialog.value_or(false);
  req.owner = hwndOwner;
  const QStringList parts = Pattern.split(QChar(u'\0'));
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    req.descriptions << parts[i];
    req.patterns << parts[i + 1];
  }
  req.filterIndex = FilterIndex ? *FilterIndex : 0;
  req.initialDir = initialDir;
  req.title = DialogTitle;
  req.flags = flags;
  req.fileName = FileName;

  const FileDialogResult res = fileDialogService().run(req);
  if (FilterIndex) *FilterIndex = res.filterIndex;
  // A path that does not fit the buffer makes the dialog call fail.
  if (!res.accepted || res.path.size() > kFileBufferChars) return QString();

  // The dialog writes the path and its NUL over the start of the buffer; what
  // stood behind stays.
  buffer.replace(0, res.path.size() + 1, res.path + QChar(u'\0'));
  buffer.truncate(kFileBufferChars);
  QString out = trimSpaces(buffer);
  out.remove(QChar(u'\0'));
  return out;
}

std::int32_t ShellExecute(std::uint32_t hwnd, const QString& lPath, const QString& InitDir,
                          const QString& Parameters, const QString& Operation) {
  const std::int32_t r = shellService().execute(hwnd, Operation, lPath, Parameters, InitDir, 1);
  return r == SE_ERR_FNF ? 0 : r;
}

}  // namespace qorv::imageio
