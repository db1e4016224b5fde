#include <QorvPictureBox/Colors.h>

#include <array>

#include <QGuiApplication>
#include <QPalette>

namespace qorv {

namespace {

// The classic system colour indexes (low byte of 0x800000nn) and the palette
// entry that plays the same part in a Qt desktop. `fallback` is the classic
// default, used when no GUI application (hence no palette) exists.
struct SystemColour {
  QPalette::ColorGroup group;
  QPalette::ColorRole role;
  COLORREF fallback;
};

constexpr std::array<SystemColour, 25> kSystemColours{{
    {QPalette::Active, QPalette::Button, RGB(200, 200, 200)},            // scroll bar
    {QPalette::Active, QPalette::Dark, RGB(0, 128, 128)},                // desktop
    {QPalette::Active, QPalette::Highlight, RGB(0, 0, 128)},             // active caption
    {QPalette::Inactive, QPalette::Highlight, RGB(128, 128, 128)},       // inactive caption
    {QPalette::Active, QPalette::Window, RGB(212, 208, 200)},            // menu bar
    {QPalette::Active, QPalette::Base, RGB(255, 255, 255)},              // window background
    {QPalette::Active, QPalette::Shadow, RGB(0, 0, 0)},                  // window frame
    {QPalette::Active, QPalette::WindowText, RGB(0, 0, 0)},              // menu text
    {QPalette::Active, QPalette::Text, RGB(0, 0, 0)},                    // window text
    {QPalette::Active, QPalette::HighlightedText, RGB(255, 255, 255)},   // caption text
    {QPalette::Active, QPalette::Window, RGB(212, 208, 200)},            // active border
    {QPalette::Inactive, QPalette::Window, RGB(212, 208, 200)},          // inactive border
    {QPalette::Active, QPalette::Dark, RGB(128, 128, 128)},              // application workspace
    {QPalette::Active, QPalette::Highlight, RGB(10, 36, 106)},           // highlight
    {QPalette::Active, QPalette::HighlightedText, RGB(255, 255, 255)},   // highlight text
    {QPalette::Active, QPalette::Button, RGB(212, 208, 200)},            // button face
    {QPalette::Active, QPalette::Dark, RGB(128, 128, 128)},              // button shadow
    {QPalette::Disabled, QPalette::Text, RGB(128, 128, 128)},            // grey (disabled) text
    {QPalette::Active, QPalette::ButtonText, RGB(0, 0, 0)},              // button text
    {QPalette::Inactive, QPalette::HighlightedText, RGB(212, 208, 200)}, // inactive caption text
    {QPalette::Active, QPalette::Light, RGB(255, 255, 255)},             // button highlight
    {QPalette::Active, QPalette::Shadow, RGB(64, 64, 64)},               // 3-D dark shadow
    {QPalette::Active, QPalette::Midlight, RGB(212, 208, 200)},          // 3-D light
    {QPalette::Active, QPalette::ToolTipText, RGB(0, 0, 0)},             // tool-tip text
    {QPalette::Active, QPalette::ToolTipBase, RGB(255, 255, 225)},       // tool-tip background
}};

COLORREF fromQColor(const QColor& c) { return RGB(c.red(), c.green(), c.blue()); }

}  // namespace

COLORREF resolveColor(COLORREF c) {
  if ((c & 0x80000000u) == 0) return c & 0x00FFFFFFu;  // other flag bytes carry no colour
  const std::uint32_t index = c & 0x00FFFFFFu;
  // An index the system does not define draws black rather than failing the
  // drawing call that uses it.
  if (index >= kSystemColours.size()) return 0;
  const SystemColour& s = kSystemColours[index];
  if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) == nullptr) return s.fallback;
  return fromQColor(QGuiApplication::palette().color(s.group, s.role));
}

QColor toQColor(COLORREF c) {
  const COLORREF v = resolveColor(c);
  return QColor(static_cast<int>(v & 0xFF), static_cast<int>((v >> 8) & 0xFF), static_cast<int>((v >> 16) & 0xFF));
}

}  // namespace qorv
