// Colour references: 0x00BBGGRR, or a system colour when the top bit is set
// (0x8000000F button face, 0x80000012 button text, ...), resolved through the
// current Qt palette.
#pragma once

#include <cstdint>

#include <QColor>

// RGB is a function-like macro in the classic system headers; the library's
// RGB is a constexpr function, shielded from the macro here.
#pragma push_macro("RGB")
#undef RGB

namespace qorv {

using COLORREF = std::uint32_t;

inline constexpr COLORREF vbButtonFace = 0x8000000F;
inline constexpr COLORREF vbButtonText = 0x80000012;

// The RGB colour a reference stands for now (system colours follow the palette).
QColor toQColor(COLORREF c);
// The 0x00BBGGRR value a reference stands for now.
COLORREF resolveColor(COLORREF c);
inline constexpr COLORREF RGB(int r, int g, int b) {
  return static_cast<COLORREF>((r & 0xFF) | ((g & 0xFF) << 8) | ((b & 0xFF) << 16));
}

}  // namespace qorv

#pragma pop_macro("RGB")
