// Opening a document or starting a program through the desktop, as a
// replaceable service. Results follow the classic shell convention: a value
// above 32 is success; 2 file not found, 3 path not found, 31 no application
// associated, 8 out of memory / could not start.
#pragma once

#include <cstdint>

#include <QString>

namespace qorv {

inline constexpr std::int32_t SE_ERR_FNF = 2;
inline constexpr std::int32_t SE_ERR_PNF = 3;
inline constexpr std::int32_t SE_ERR_OOM = 8;
inline constexpr std::int32_t SE_ERR_NOASSOC = 31;
inline constexpr std::int32_t SE_SUCCESS = 42;

class ShellService {
 public:
  virtual ~ShellService() = default;
  // `operation` empty or "open" opens the document (or starts the program);
  // "explore" opens a folder; other verbs are not associated on this platform.
  virtual std::int32_t execute(std::uint32_t owner, const QString& operation, const QString& file,
                               const QString& parameters, const QString& directory, int showCmd) = 0;
};

ShellService& shellService();
// Installs `s` (not owned); nullptr restores the default.
void setShellService(ShellService* s);

}  // namespace qorv
