#include "platform/Shell.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QUrl>

namespace qorv {

namespace {

bool looksLikeUrl(const QString& s) {
  const QUrl url(s, QUrl::StrictMode);
  return url.isValid() && url.scheme().size() > 1 && !url.isLocalFile();
}

class DesktopShellService final : public ShellService {
 public:
  std::int32_t execute(std::uint32_t /*owner*/, const QString& operation, const QString& file,
                       const QString& parameters, const QString& directory, int /*showCmd*/) override {
    const QString verb = operation.trimmed().toLower();
    if (!directory.isEmpty() && !QFileInfo(directory).isDir()) return SE_ERR_PNF;
    if (file.isEmpty()) return SE_ERR_FNF;

    if (looksLikeUrl(file)) {
      if (!verb.isEmpty() && verb != u"open") return SE_ERR_NOASSOC;
      return QDesktopServices::openUrl(QUrl(file)) ? SE_SUCCESS : SE_ERR_NOASSOC;
    }

    QFileInfo info(file);
    if (info.isRelative() && !directory.isEmpty()) info = QFileInfo(QDir(directory), file);
    if (!info.exists()) {
      // A missing folder on the way is a different failure from a missing file.
      return info.absoluteDir().exists() ? SE_ERR_FNF : SE_ERR_PNF;
    }

    const QString path = info.absoluteFilePath();
    if (verb.isEmpty() || verb == u"open") {
      if (info.isFile() && info.isExecutable()) {
        const QString cwd = directory.isEmpty() ? info.absolutePath() : directory;
        return QProcess::startDetached(path, QProcess::splitCommand(parameters), cwd) ? SE_SUCCESS
                                                                                      : SE_ERR_OOM;
      }
      return QDesktopServices::openUrl(QUrl::fromLocalFile(path)) ? SE_SUCCESS : SE_ERR_NOASSOC;
    }
    if (verb == u"explore" && info.isDir())
      return QDesktopServices::openUrl(QUrl::fromLocalFile(path)) ? SE_SUCCESS : SE_ERR_NOASSOC;
    return SE_ERR_NOASSOC;
  }
};

ShellService*& installed() {
  static ShellService* s = nullptr;
  return s;
}

}  // namespace

ShellService& shellService() {
  static DesktopShellService standard;
  ShellService* s = installed();
  return s ? *s : standard;
}

void setShellService(ShellService* s) { installed() = s; }

}  // namespace qorv
