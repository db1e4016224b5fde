#include <QorvPictureBox/AutomationError.h>

#include <unistd.h>

#include <array>

namespace qorv {

namespace {

std::string readProgramName() {
  std::array<char, 4096> buf{};
  const ssize_t n = ::readlink("/proc/self/exe", buf.data(), buf.size() - 1);
  if (n <= 0) return "QorvPictureBox";
  std::string path(buf.data(), static_cast<std::size_t>(n));
  // A replaced executable reads as "/path/name (deleted)".
  constexpr std::string_view deleted = " (deleted)";
  if (path.size() > deleted.size() && path.ends_with(deleted)) path.resize(path.size() - deleted.size());
  std::string base = path.substr(path.find_last_of('/') + 1);
  const auto dot = base.find_last_of('.');
  if (dot != std::string::npos && dot > 0) base.resize(dot);
  return base.empty() ? std::string("QorvPictureBox") : base;
}

}  // namespace

std::string programName() {
  static const std::string name = readProgramName();
  return name;
}

}  // namespace qorv
