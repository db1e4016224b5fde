// The property stores the library ships: in memory, and over QSettings.
#include <QorvPictureBox/MemoryPropertyBag.h>
#include <QorvPictureBox/PropertyBag.h>
#include <QorvPictureBox/SettingsPropertyBag.h>

#include <cmath>
#include <limits>
#include <optional>

#include <QBuffer>
#include <QImage>
#include <QSettings>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/Font.h>
#include <QorvPictureBox/Picture.h>

namespace qorv {

namespace {

bool isFont(const QVariant& v) { return v.metaType() == QMetaType::fromType<FontPtr>(); }
bool isPicture(const QVariant& v) { return v.metaType() == QMetaType::fromType<PicturePtr>(); }

bool isPlain(const QVariant& v) {
  switch (v.typeId()) {
    case QMetaType::Bool: case QMetaType::Short: case QMetaType::UShort: case QMetaType::Int:
    case QMetaType::UInt: case QMetaType::Long: case QMetaType::ULong: case QMetaType::LongLong:
    case QMetaType::ULongLong: case QMetaType::Float: case QMetaType::Double: case QMetaType::QString:
      return true;
    default:
      return false;
  }
}

[[noreturn]] void raiseBagError(std::int32_t number, const char* text) {
  throw AutomationError(number, programName() + ".PropertyBag", text);
}

QVariant copyOfFont(const QVariant& v) {
  const FontPtr f = v.value<FontPtr>();
  return QVariant::fromValue(f ? f->clone() : FontPtr());
}

}  // namespace

bool PropertyBag::CanOmit(const QVariant& value, const QVariant& defaultValue) {
  if (!defaultValue.isValid() || !value.isValid()) return false;
  if (isPicture(defaultValue)) return isPicture(value) && handleOf(value.value<PicturePtr>()) == 0 &&
                                      handleOf(defaultValue.value<PicturePtr>()) == 0;
  if (!isPlain(value) || !isPlain(defaultValue)) return false;
  // Text equals text only; a Boolean equals a Boolean only (True is -1, not 1).
  const bool textual = value.typeId() == QMetaType::QString;
  if (textual != (defaultValue.typeId() == QMetaType::QString)) return false;
  if (textual) return value.toString() == defaultValue.toString();
  const auto number = [](const QVariant& v) { return v.typeId() == QMetaType::Bool ? (v.toBool() ? -1.0 : 0.0) : v.toDouble(); };
  return number(value) == number(defaultValue);
}

// ----- in memory --------------------------------------------------------------------

QVariant MemoryPropertyBag::ReadProperty(const QString& name, const QVariant& defaultValue) {
  std::vector<const Entry*> values;
  for (const Entry& e : entries_)
    if (e.name == name) values.push_back(&e);
  if (values.empty()) return defaultValue;
  int& n = reads_[name];
  const QVariant& v = values[static_cast<std::size_t>(n) % values.size()]->value;
  n = static_cast<int>((static_cast<std::size_t>(n) + 1) % values.size());
  return isFont(v) ? copyOfFont(v) : v;
}

void MemoryPropertyBag::WriteProperty(const QString& name, const QVariant& value, const QVariant&) {
  entries_.push_back({name, isFont(value) ? copyOfFont(value) : value});
}

QStringList MemoryPropertyBag::Keys() const {
  QStringList keys;
  for (const Entry& e : entries_) keys << e.name;
  return keys;
}

QVariant MemoryPropertyBag::Value(int index) const {
  if (index < 0 || index >= Count()) return {};
  const QVariant& v = entries_[static_cast<std::size_t>(index)].value;
  return isFont(v) ? copyOfFont(v) : v;
}

void MemoryPropertyBag::Clear() {
  entries_.clear();
  reads_.clear();
}

// ----- over QSettings ------------------------------------------------------------------

namespace {

// A font's fields under its key, in the order they are written.
const char* const kFontFields[] = {"Name", "Size", "Bold", "Italic", "Underline", "Strikethrough", "Weight"};

QString encodeBool(bool b) { return b ? QStringLiteral("-1") : QStringLiteral("0"); }

std::optional<bool> decodeBool(const QString& text) {
  const QString t = text.trimmed();
  if (t.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0) return true;
  if (t.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0) return false;
  bool ok = false;
  const double d = t.toDouble(&ok);
  if (!ok) return std::nullopt;
  return d != 0.0;
}

// Text as a number of the default's type when it is one and fits; otherwise
// the text itself, so that the caller reports the mismatch or the overflow.
QVariant decodeNumber(const QString& text, const QVariant& def) {
  bool ok = false;
  const double d = text.trimmed().toDouble(&ok);
  if (!ok) return text;
  const auto fits = [d](auto lo, auto hi) {
    return std::isfinite(d) && d == std::nearbyint(d) && d >= static_cast<double>(lo) && d <= static_cast<double>(hi);
  };
  switch (def.typeId()) {
    case QMetaType::Short:
      if (fits(std::numeric_limits<qint16>::min(), std::numeric_limits<qint16>::max()))
        return QVariant::fromValue(static_cast<qint16>(d));
      return text;
    case QMetaType::Int:
      if (fits(std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::max()))
        return QVariant::fromValue(static_cast<qint32>(d));
      return text;
    case QMetaType::LongLong:
      if (fits(-9.0e15, 9.0e15)) return QVariant::fromValue(static_cast<qint64>(d));
      return text;
    case QMetaType::Float:
      return QVariant::fromValue(static_cast<float>(d));
    default:
      return QVariant::fromValue(d);
  }
}

QString encodePicture(const PicturePtr& p) {
  if (handleOf(p) == 0) return QString();
  QByteArray png;
  QBuffer out(&png);
  out.open(QIODevice::WriteOnly);
  if (!p->toImage().save(&out, "PNG")) raiseBagError(errors::InvalidPicture, "Invalid picture");
  return QString::fromLatin1(png.toBase64());
}

PicturePtr decodePicture(const QString& text) {
  if (text.trimmed().isEmpty()) return nullptr;
  const QByteArray::FromBase64Result bytes =
      QByteArray::fromBase64Encoding(text.trimmed().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
  QImage image;
  if (!bytes || !image.loadFromData(*bytes, "PNG")) raiseBagError(errors::InvalidPicture, "Invalid picture");
  PicturePtr p = Picture::fromImage(image);
  if (!p) raiseBagError(errors::OutOfMemory, "Out of memory");
  return p;
}

}  // namespace

struct SettingsPropertyBag::Impl {
  std::unique_ptr<QSettings> owned;
  QSettings* settings = nullptr;
  QString group;

  // Runs `f` inside the bag's group.
  template <class F>
  auto inGroup(F&& f) {
    if (!group.isEmpty()) settings->beginGroup(group);
    struct Leave {
      Impl* self;
      ~Leave() {
        if (!self->group.isEmpty()) self->settings->endGroup();
      }
    } leave{this};
    return f(*settings);
  }

  void checkReadable() const {
    if (settings->status() == QSettings::FormatError)
      raiseBagError(errors::InvalidFileFormat, "Invalid file format");
  }
};

SettingsPropertyBag::SettingsPropertyBag(QSettings& settings, const QString& group) : d_(std::make_unique<Impl>()) {
  d_->settings = &settings;
  d_->group = group;
}

SettingsPropertyBag::SettingsPropertyBag(const QString& iniPath, const QString& group)
    : d_(std::make_unique<Impl>()) {
  d_->owned = std::make_unique<QSettings>(iniPath, QSettings::IniFormat);
  d_->settings = d_->owned.get();
  d_->group = group;
}

SettingsPropertyBag::~SettingsPropertyBag() {
  // A destructor cannot report a failed write; Sync() is the call that does.
  if (d_->owned) d_->owned->sync();
}

QVariant SettingsPropertyBag::ReadProperty(const QString& name, const QVariant& defaultValue) {
  d_->checkReadable();
  return d_->inGroup([&](QSettings& s) -> QVariant {
    if (isFont(defaultValue) || (!s.contains(name) && s.childGroups().contains(name))) {
      if (!s.childGroups().contains(name)) return defaultValue;
      const FontPtr base = defaultValue.value<FontPtr>();
      const FontPtr f = base ? base->clone() : Font::create();
      s.beginGroup(name);
      for (const char* field : kFontFields) {
        const QString key = QString::fromLatin1(field);
        if (!s.contains(key)) continue;
        const QString text = s.value(key).toString();
        QVariant v;
        if (key == QLatin1String("Name")) {
          v = text;
        } else if (key == QLatin1String("Size") || key == QLatin1String("Weight")) {
          bool ok = false;
          const double d = text.toDouble(&ok);
          if (ok && std::isfinite(d) && d > 0 && d < 100000) v = d;
        } else if (const std::optional<bool> b = decodeBool(text)) {
          v = *b;
        }
        if (!v.isValid()) {
          s.endGroup();
          raiseBagError(errors::TypeMismatch, "Type mismatch");
        }
        f->setProperty(field, key == QLatin1String("Weight") ? QVariant(static_cast<int>(v.toDouble())) : v);
      }
      s.endGroup();
      return QVariant::fromValue(f);
    }
    if (!s.contains(name)) return defaultValue;
    const QVariant stored = s.value(name);
    if (isPicture(defaultValue)) return QVariant::fromValue(decodePicture(stored.toString()));
    if (stored.typeId() != QMetaType::QString) return stored;  // a host's own value type
    const QString text = stored.toString();
    switch (defaultValue.typeId()) {
      case QMetaType::Bool:
        if (const std::optional<bool> b = decodeBool(text)) return *b;
        return text;
      case QMetaType::Short: case QMetaType::Int: case QMetaType::LongLong: case QMetaType::Float:
      case QMetaType::Double:
        return decodeNumber(text, defaultValue);
      default:
        return text;
    }
  });
}

void SettingsPropertyBag::WriteProperty(const QString& name, const QVariant& value, const QVariant& defaultValue) {
  d_->inGroup([&](QSettings& s) {
    s.remove(name);  // the plain value and, for a font, its group of fields
    if (CanOmit(value, defaultValue)) return;
    if (isFont(value)) {
      const FontPtr f = value.value<FontPtr>();
      if (!f) return;
      s.beginGroup(name);
      s.setValue(QStringLiteral("Name"), f->Name());
      s.setValue(QStringLiteral("Size"), f->Size());
      s.setValue(QStringLiteral("Bold"), encodeBool(f->Bold()));
      s.setValue(QStringLiteral("Italic"), encodeBool(f->Italic()));
      s.setValue(QStringLiteral("Underline"), encodeBool(f->Underline()));
      s.setValue(QStringLiteral("Strikethrough"), encodeBool(f->Strikethrough()));
      s.setValue(QStringLiteral("Weight"), f->Weight());
      s.endGroup();
    } else if (isPicture(value)) {
      s.setValue(name, encodePicture(value.value<PicturePtr>()));
    } else if (value.typeId() == QMetaType::Bool) {
      s.setValue(name, encodeBool(value.toBool()));
    } else if (isPlain(value)) {
      s.setValue(name, value.toString());
    } else {
      s.setValue(name, value);
    }
  });
}

void SettingsPropertyBag::Clear() {
  d_->inGroup([](QSettings& s) { s.remove(QString()); });
}

void SettingsPropertyBag::Sync() {
  d_->settings->sync();
  if (d_->settings->status() == QSettings::AccessError)
    raiseBagError(errors::PathFileAccessError, "Path/File access error");
}

}  // namespace qorv
