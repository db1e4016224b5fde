// Readable, stable names for parameterised test cases, made from a case's own
// description: "1:1 at origin" becomes "1_1AtOrigin", "original at 50%"
// becomes "OriginalAt50". GoogleTest accepts only letters, digits and
// underscores, and a name generator keeps CTest from listing byte dumps.
#pragma once

#include <cctype>
#include <string>
#include <string_view>

namespace qorv::test_support {

inline std::string readableName(std::string_view description) {
  std::string out;
  bool wordStart = true;
  for (const char ch : description) {
    const auto c = static_cast<unsigned char>(ch);
    if (!std::isalnum(c)) {
      wordStart = true;
      continue;
    }
    // Two numbers in a row stay apart: "1:1" is "1_1", not "11".
    if (wordStart && std::isdigit(c) && !out.empty() && std::isdigit(static_cast<unsigned char>(out.back())))
      out += '_';
    out += wordStart ? static_cast<char>(std::toupper(c)) : static_cast<char>(c);
    wordStart = false;
  }
  return out.empty() ? std::string("Unnamed") : out;
}

}  // namespace qorv::test_support
