// The keyed store a host keeps a control's settings in between sessions. The
// control writes every setting with WriteProperties and takes them back with
// ReadProperties; the store decides how the values are kept.
//
// Values cross as QVariant in the control's own types: Booleans as bool,
// Integer members as qint16, Long members (colours included) as qint32,
// String as QString, fonts as qorv::FontPtr and pictures as qorv::PicturePtr.
// A store may hand back other types (text, wider numbers): the control
// converts them, and a value it cannot convert stops the read with an
// automation error (13 type mismatch, 6 overflow).
#pragma once

#include <QString>
#include <QVariant>

namespace qorv {

class PropertyBag {
 public:
  virtual ~PropertyBag() = default;

  // The value stored under `name`, or `defaultValue` when the key is absent.
  // A store that cannot read throws; the control passes the error on.
  virtual QVariant ReadProperty(const QString& name, const QVariant& defaultValue = QVariant()) = 0;
  // Stores `value` under `name`. A value that CanOmit() says reads back as
  // `defaultValue` need not be kept. A key may be written more than once in
  // one save ("MoveIcon" is): the n-th read of the key should give the n-th
  // value written, and a store keeping one value per key must keep the last.
  virtual void WriteProperty(const QString& name, const QVariant& value, const QVariant& defaultValue = QVariant()) = 0;

  // Whether a store may drop `value` because reading the absent key gives
  // `defaultValue` back: plain values equal to their default (compared as
  // numbers, Booleans or text) and "no picture" against a picture default.
  // An invalid default (none) never allows it, and font objects are always
  // kept: a font default is the control's current font, which a later read
  // would not know.
  static bool CanOmit(const QVariant& value, const QVariant& defaultValue);
};

}  // namespace qorv
