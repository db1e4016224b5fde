// A property store in memory: every entry kept in the order written, for
// hosts that serialise the settings themselves and for copying the settings
// of one control to another.
#pragma once

#include <vector>

#include <QHash>
#include <QStringList>

#include <QorvPictureBox/PropertyBag.h>

namespace qorv {

class MemoryPropertyBag : public PropertyBag {
 public:
  // The n-th read of a key gives the n-th value written under it; reads go
  // round to the first value again after the last, so one full read of a
  // control's settings leaves the bag ready for the next.
  QVariant ReadProperty(const QString& name, const QVariant& defaultValue = QVariant()) override;
  // Keeps every value, defaults included. Fonts are kept as copies and each
  // read hands out a copy of its own, so that no two controls end up sharing
  // one font object through the bag; pictures are shared as they are.
  void WriteProperty(const QString& name, const QVariant& value, const QVariant& defaultValue = QVariant()) override;

  // Entries in the order written (a key appears once per write).
  QStringList Keys() const;
  int Count() const { return static_cast<int>(entries_.size()); }
  // The value of the entry at `index` (0-based), invalid outside the range.
  QVariant Value(int index) const;
  // Forgets every entry.
  void Clear();
  // Starts every key's reads at its first value again.
  void Rewind() { reads_.clear(); }

 private:
  struct Entry {
    QString name;
    QVariant value;
  };
  std::vector<Entry> entries_;
  QHash<QString, int> reads_;
};

}  // namespace qorv
