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

// Every error number the library reports, by name. Automation errors are
// raised as AutomationError with one of these numbers.
namespace errors {
inline constexpr std::int32_t InvalidProcedureCall = 5;
inline constexpr std::int32_t Overflow = 6;
inline constexpr std::int32_t OutOfMemory = 7;
inline constexpr std::int32_t SubscriptOutOfRange = 9;
inline constexpr std::int32_t TypeMismatch = 13;
inline constexpr std::int32_t PathFileAccessError = 75;
inline constexpr std::int32_t InvalidFileFormat = 321;
inline constexpr std::int32_t ObjectRequired = 424;
inline constexpr std::int32_t NotSupported = 438;  // no such property or method
inline constexpr std::int32_t ArgumentNotOptional = 449;
inline constexpr std::int32_t WrongNumberOfArguments = 450;
inline constexpr std::int32_t InvalidClipboardFormat = 460;
inline constexpr std::int32_t FormatDoesNotMatchData = 461;
inline constexpr std::int32_t InvalidPicture = 481;
// Drag and drop data objects.
inline constexpr std::int32_t DataObjectReadOnly = 672;  // formats changed outside OLEStartDrag
inline constexpr std::int32_t ExpectedAnArgument = 673;
inline constexpr std::int32_t RecursiveDrag = 674;
inline constexpr std::int32_t NotImplemented = static_cast<std::int32_t>(0x80004001);
// The filter engine's own numbers.
inline constexpr std::int32_t FilterSizeMustBeOdd = static_cast<std::int32_t>(0x80040519);
inline constexpr std::int32_t FilterInvalidValue = static_cast<std::int32_t>(0x8004051A);
}  // namespace errors

// What loading and saving leave in the control's error record
// (LastErrorCode, LastErrorFlag) instead of raising.
namespace error_record {
inline constexpr std::int32_t FormatNotSupported = 101;
inline constexpr std::int32_t LoadFailed = 170;  // also: the picture could not be read for saving
inline constexpr std::int32_t NothingToSave = 400;
inline constexpr std::int32_t InvalidFileFormat = 500;
inline constexpr std::int32_t SaveFailed = 900;
// Message-box icon styles that tell a host how to present the failure.
inline constexpr std::int32_t FlagWarning = 48;
inline constexpr std::int32_t FlagCritical = 16;
}  // namespace error_record

// The running program's name, used as the first part of error sources
// ("<program>.cImageProcess"). Qt-free so that pixel code can use it.
std::string programName();

}  // namespace qorv
