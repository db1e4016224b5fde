// The common open/save dialog with the classic calling convention, and the
// shell's open-a-document call. Both go through the replaceable platform
// services, so tests never see a real dialog or a launched program.
#pragma once

#include <cstdint>
#include <optional>

#include <QString>

namespace qorv::imageio {

// Shows the dialog and returns the chosen path, or an empty string when the
// user cancels or the call fails.
// - `Pattern`: "desc|pattern|desc|pattern"; every "|" becomes NUL in the
//   caller's variable as well.
// - `DialogTitle`: an empty title becomes the application's title, in the
//   caller's variable as well.
// - `FilterIndex` (may be null): 1-based filter in, the filter left selected
//   out (written back whether or not the user confirmed).
// - `FileName`: proposed name; the file buffer holds 254 characters, so a longer
//   name fails without showing anything. Characters of the proposed name
//   beyond the chosen path's end survive in the result, as callers expect.
QString Dialog(QString& Pattern, std::uint32_t hwndOwner, const QString& initialDir, QString& DialogTitle,
               std::optional<std::int32_t> dialogFlags = std::nullopt, std::optional<bool> SaveDialog = std::nullopt,
               std::int32_t* FilterIndex = nullptr, const QString& FileName = QString());

// Opens a document or starts a program. Above 32 is success; "file not found"
// (2) is reported as 0, every other code as the platform gives it.
std::int32_t ShellExecute(std::uint32_t hwnd, const QString& lPath, const QString& InitDir,
                          const QString& Parameters = QString(), const QString& Operation = QString());

}  // namespace qorv::imageio
