// The fixed table of image formats the control offers, the dialog filter
// strings built from it, and the separate extension-to-library-format map that
// loading and saving use. The table index is not a library format number.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include <QString>

namespace qorv::imageio {

struct FormatEntry {
  std::string_view Name;
  std::array<std::string_view, 3> ExtensionSlots;  // unused slots are empty
  int ExtensionCount;
  std::string_view Description;
  bool CanSave;
  bool CanLoad;
  bool CanSetQuality;
};

inline constexpr int FormatTableUpper = 25;

// The whole table, index 0..FormatTableUpper, in dialog order.
const std::array<FormatEntry, FormatTableUpper + 1>& FormatTable();

// The library's "unknown format" number.
inline constexpr std::int32_t FifUnknown = -1;

// --- queries ------------------------------------------------------------------
// Indexes are checked: outside 0..25 (apart from the documented negative guards
// of the two capability queries) they raise AutomationError 9 "Subscript out of
// range", as an out-of-range array access does for automation clients.
std::int32_t FreeImageFormatCount();
QString FreeImageFormat(std::int32_t Index);
QString FreeImageFormatDescription(std::int32_t Index);
// The upper bound of the extension list (count - 1), not the count.
std::int32_t FreeImageFormatExtensionsCount(std::int32_t FormatIndex);
QString FreeImageFormatExtension(std::int32_t FormatIndex, std::int32_t ExtensionIndex);
// Always -1; prefixes a dot to `Extension` in place when it has none.
std::int32_t FreeImageGetFormatExtensionIndex(std::int32_t FormatIndex, QString& Extension);
bool FreeImageFormatCanSave(std::int32_t Index);
bool FreeImageCanSetQualitySave(std::int32_t Index);
bool FreeImageFormatCanLoad(std::int32_t Index);
std::int32_t FreeImageGetFormatIndex(const QString& StrExtension);

// --- dialog filter strings --------------------------------------------------------
QString FreeImageLoadPattern();
QString FreeImageLoadPatternExt();
// `FindFilterIndex` (may be null) receives the 1-based filter of `FileExt`, or -1.
QString FreeImageSavePattern(std::int32_t* FindFilterIndex = nullptr, const QString& FileExt = QString());
QString FreeImageSavePatternExt();
QString FreeImageGetSaveExt(std::int32_t FilterIndex);
std::int32_t GetLoadFilterIndex(const QString& StrExtension);
std::int32_t GetSaveFilterIndex(const QString& StrExtension);

// The library format number for a file name, path or bare extension; -1 when
// the extension is not one loading and saving know.
std::int32_t GetFIFFormatFromExtension(const QString& StrExtension);

}  // namespace qorv::imageio
