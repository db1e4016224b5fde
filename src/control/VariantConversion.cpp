#include "control/VariantConversion.h"

#include <cmath>
#include <limits>

#include <QorvPictureBox/AutomationError.h>

namespace qorv {

void raiseControlError(std::int32_t number, const std::string& text) {
  throw AutomationError(number, programName() + ".QorvPicture", text);
}

void raiseTypeMismatch() { raiseControlError(errors::TypeMismatch, "Type mismatch"); }

namespace {

bool isNumeric(const QVariant& v) {
  switch (v.typeId()) {
    case QMetaType::Int: case QMetaType::UInt: case QMetaType::Long: case QMetaType::ULong:
    case QMetaType::LongLong: case QMetaType::ULongLong: case QMetaType::Short: case QMetaType::UShort:
    case QMetaType::Char: case QMetaType::SChar: case QMetaType::UChar: case QMetaType::Double:
    case QMetaType::Float: case QMetaType::Bool:
      return true;
    default:
      return false;
  }
}

// A number from a numeric or numeric-text argument.
double toNumber(const QVariant& v) {
  if (v.typeId() == QMetaType::Bool) return v.toBool() ? -1.0 : 0.0;
  if (isNumeric(v)) return v.toDouble();
  if (v.typeId() == QMetaType::QString) {
    const QString s = v.toString().trimmed();
    if (s.compare(QLatin1String("True"), Qt::CaseInsensitive) == 0) return -1.0;
    if (s.compare(QLatin1String("False"), Qt::CaseInsensitive) == 0) return 0.0;
    bool ok = false;
    const double d = s.toDouble(&ok);
    if (ok) return d;
  }
  raiseTypeMismatch();
}

[[noreturn]] void overflow() { raiseControlError(errors::Overflow, "Overflow"); }

}  // namespace

template <>
qint32 conv<qint32>(const QVariant& v) {
  const double d = toNumber(v);
  if (!std::isfinite(d)) overflow();
  const double r = std::nearbyint(d);
  if (r < std::numeric_limits<qint32>::min() || r > std::numeric_limits<qint32>::max()) overflow();
  return static_cast<qint32>(r);
}
template <>
qint16 conv<qint16>(const QVariant& v) {
  const qint32 n = conv<qint32>(v);
  if (n < std::numeric_limits<qint16>::min() || n > std::numeric_limits<qint16>::max()) overflow();
  return static_cast<qint16>(n);
}
template <>
bool conv<bool>(const QVariant& v) {
  return toNumber(v) != 0.0;
}
template <>
float conv<float>(const QVariant& v) {
  const double d = toNumber(v);
  if (std::isfinite(d) && std::fabs(d) > std::numeric_limits<float>::max()) overflow();
  return static_cast<float>(d);
}
template <>
double conv<double>(const QVariant& v) {
  return toNumber(v);
}
template <>
QString conv<QString>(const QVariant& v) {
  if (v.typeId() == QMetaType::QString) return v.toString();
  if (isNumeric(v)) {
    if (v.typeId() == QMetaType::Bool) return v.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    return v.toString();
  }
  if (v.canConvert<QString>() && v.typeId() != QMetaType::QVariantList) return v.toString();
  raiseTypeMismatch();
}
template <>
PicturePtr conv<PicturePtr>(const QVariant& v) {
  if (v.metaType() == QMetaType::fromType<PicturePtr>()) return v.value<PicturePtr>();
  if (v.metaType() == QMetaType::fromType<std::nullptr_t>()) return nullptr;
  raiseTypeMismatch();
}
template <>
FontPtr conv<FontPtr>(const QVariant& v) {
  if (v.metaType() == QMetaType::fromType<FontPtr>()) return v.value<FontPtr>();
  if (v.metaType() == QMetaType::fromType<std::nullptr_t>()) return nullptr;
  raiseTypeMismatch();
}

double numericAmount(const QVariant& v) {
  if (!v.isValid() || v.isNull()) raiseTypeMismatch();
  bool ok = false;
  const double d = v.toDouble(&ok);
  if (!ok || !std::isfinite(d)) raiseTypeMismatch();
  return d;
}

std::int32_t wholeAmount(const QVariant& v) {
  const double r = std::nearbyint(numericAmount(v));
  if (r < std::numeric_limits<std::int32_t>::min() || r > std::numeric_limits<std::int32_t>::max()) overflow();
  return static_cast<std::int32_t>(r);
}

}  // namespace qorv
