// Conversion of automation arguments (QVariant) to the C++ types of the
// control's members, with the classic errors: 13 type mismatch, 6 overflow.
// Booleans are -1/0 as the automation model has them.
#pragma once

#include <string>

#include <QString>
#include <QVariant>
#include <QVariantList>

#include <QorvPictureBox/Font.h>
#include <QorvPictureBox/Picture.h>

namespace qorv {

[[noreturn]] void raiseControlError(std::int32_t number, const std::string& text);
[[noreturn]] void raiseTypeMismatch();

template <class T>
T conv(const QVariant& v);
template <>
qint32 conv<qint32>(const QVariant& v);
template <>
qint16 conv<qint16>(const QVariant& v);
template <>
bool conv<bool>(const QVariant& v);
template <>
float conv<float>(const QVariant& v);
template <>
double conv<double>(const QVariant& v);
template <>
QString conv<QString>(const QVariant& v);
template <>
PicturePtr conv<PicturePtr>(const QVariant& v);
template <>
FontPtr conv<FontPtr>(const QVariant& v);

// Argument i converted, or `def` when it is missing (absent or invalid).
template <class T>
T opt(const QVariantList& a, int i, T def = T()) {
  if (i >= a.size() || !a[i].isValid()) return def;
  return conv<T>(a[i]);
}
// Argument i converted; the caller has checked that it is present.
template <class T>
T req(const QVariantList& a, int i) {
  return conv<T>(a.value(i));
}

// A Variant amount as a number; missing or non-numeric is a type mismatch.
double numericAmount(const QVariant& v);
// A Variant amount as a 32-bit whole number, rounded halves to even.
std::int32_t wholeAmount(const QVariant& v);

}  // namespace qorv
