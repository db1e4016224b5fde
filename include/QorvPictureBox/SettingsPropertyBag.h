// A property store over QSettings, normally a human-readable INI file:
// numbers (colours included) as decimal numbers, Booleans as -1 and 0, text
// as text, a font as a group of its fields (Name, Size, Bold, Italic,
// Underline, Strikethrough, Weight) and a picture as its PNG bytes in base64.
//
// It keeps one value per key. A value that reads back as its default is
// removed rather than written, so a key written twice in one save ends up
// with the last value even when that one is the default.
#pragma once

#include <memory>

#include <QorvPictureBox/PropertyBag.h>

class QSettings;

namespace qorv {

class SettingsPropertyBag : public PropertyBag {
 public:
  // Over `settings` (not owned), under `group` (empty: the top level).
  explicit SettingsPropertyBag(QSettings& settings, const QString& group = QString());
  // Over an INI file of its own at `iniPath`, created on the first write.
  explicit SettingsPropertyBag(const QString& iniPath, const QString& group = QString());
  ~SettingsPropertyBag() override;
  SettingsPropertyBag(const SettingsPropertyBag&) = delete;
  SettingsPropertyBag& operator=(const SettingsPropertyBag&) = delete;

  // Decodes the stored text into the type of `defaultValue` (a number, a
  // Boolean, a font, a picture); text that is not of that type comes back as
  // text for the caller to reject. Raises AutomationError 321 when the file
  // is not a valid INI file and 481 for picture data that is no picture.
  QVariant ReadProperty(const QString& name, const QVariant& defaultValue = QVariant()) override;
  void WriteProperty(const QString& name, const QVariant& value, const QVariant& defaultValue = QVariant()) override;

  // Removes every key of the group.
  void Clear();
  // Writes pending changes out; raises AutomationError 75 when the file
  // cannot be written.
  void Sync();

 private:
  struct Impl;
  std::unique_ptr<Impl> d_;
};

}  // namespace qorv
