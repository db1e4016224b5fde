// The error raised through the automation surface: a number, a source and a
// description, as automation clients expect. Pure C++ so that every layer may
// raise it.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace qorv {

class AutomationError : public std::runtime_error {
 public:
  AutomationError(std::int32_t number, std::string source, std::string description)
      : std::runtime_error(description), number_(number), source_(std::move(source)),
        description_(std::move(description)) {}

  std::int32_t number() const { return number_; }
  const std::string& source() const { return source_; }
  const std::string& description() const { return description_; }

 private:
  std::int32_t number_;
  std::string source_;
  std::string description_;
};

// Classic automation error numbers used by the control.
namespace errors {
inline constexpr std::int32_t TypeMismatch = 13;
inline constexpr std::int32_t SubscriptOutOfRange = 9;
inline constexpr std::int32_t InvalidProcedureCall = 5;
inline constexpr std::int32_t ArgumentNotOptional = 449;
inline constexpr std::int32_t WrongNumberOfArguments = 450;
inline constexpr std::int32_t ObjectRequired = 424;
inline constexpr std::int32_t NotImplemented = static_cast<std::int32_t>(0x80004001);
}  // namespace errors

// The running program's name, used as the first part of error sources
// ("<program>.cImageProcess"). Qt-free so that pixel code can use it.
std::string programName();

}  // namespace qorv
