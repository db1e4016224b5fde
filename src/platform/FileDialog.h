// The open/save file dialog as a replaceable service. The default shows a
// QFileDialog; tests and hosts install their own so that no real dialog opens.
#pragma once

#include <cstdint>

#include <QString>
#include <QStringList>

namespace qorv {

struct FileDialogRequest {
  bool save = false;
  std::uint32_t owner = 0;  // window handle of the owner, 0 for none
  // Description/pattern pairs; a pattern is "*.a;*.b" (trailing ";" allowed).
  QStringList descriptions;
  QStringList patterns;
  std::int32_t filterIndex = 0;  // 1-based; 0 selects the first filter
  QString initialDir;
  QString title;
  std::uint32_t flags = 0;  // 2: ask before overwriting an existing file
  QString fileName;         // the name proposed in the dialog
};

struct FileDialogResult {
  bool accepted = false;
  QString path;                  // the chosen path when accepted
  std::int32_t filterIndex = 0;  // the filter left selected (1-based)
};

class FileDialogService {
 public:
  virtual ~FileDialogService() = default;
  virtual FileDialogResult run(const FileDialogRequest& request) = 0;
};

inline constexpr std::uint32_t OFN_OVERWRITEPROMPT = 2;

FileDialogService& fileDialogService();
// Installs `s` (not owned); nullptr restores the default.
void setFileDialogService(FileDialogService* s);

}  // namespace qorv
