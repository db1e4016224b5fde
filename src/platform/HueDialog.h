// The hue dialog behind Colourise as a replaceable service. The default shows
// a modal Qt dialog with three sliders; tests and hosts that must never block
// install their own.
#pragma once

#include <functional>

class QWidget;

namespace qorv {

// What the dialog edits: hue in degrees 0..359, saturation in percent 0..100,
// a lightness shift in percent -100..100.
struct HueSettings {
  int hue = 30;
  int saturation = 40;
  int lightness = 0;
  bool operator==(const HueSettings&) const = default;
};

class HueDialogService {
 public:
  virtual ~HueDialogService() = default;
  // Runs the dialog modally over `owner`, starting from `settings`. `preview`
  // is called with the settings shown whenever they change (once at the
  // start too), so the owner can show the result while the user decides.
  // Returns true with the chosen settings in `settings` on OK, false on Cancel.
  virtual bool run(QWidget* owner, HueSettings& settings, const std::function<void(const HueSettings&)>& preview) = 0;
};

HueDialogService& hueDialogService();
// Installs `s` (not owned); nullptr restores the default.
void setHueDialogService(HueDialogService* s);

}  // namespace qorv
