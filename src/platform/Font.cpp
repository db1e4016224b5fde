#include <QorvPictureBox/Font.h>

#include <algorithm>
#include <cmath>

namespace qorv {

Font::Font(const QFont& f) : font_(f) {}

FontPtr Font::create(const QFont& f) { return std::make_shared<Font>(f); }

FontPtr Font::clone() const { return create(font_); }

QString Font::Name() const { return font_.family(); }
void Font::setName(const QString& v) {
  if (v.isEmpty() || v == font_.family()) return;  // an empty name keeps the current face
  font_.setFamily(v);
  emit changed();
}

double Font::Size() const { return font_.pointSizeF() > 0 ? font_.pointSizeF() : font_.pixelSize() * 0.75; }
void Font::setSize(double v) {
  // Sizes outside what any screen font offers are clamped rather than refused,
  // so a bad stored value still yields a readable font.
  if (!std::isfinite(v)) return;
  v = std::clamp(v, 1.0, 2048.0);
  if (v == font_.pointSizeF()) return;
  font_.setPointSizeF(v);
  emit changed();
}

bool Font::Bold() const { return font_.weight() >= QFont::DemiBold; }
void Font::setBold(bool v) {
  if (v == Bold()) return;
  font_.setWeight(v ? QFont::Bold : QFont::Normal);
  emit changed();
}

bool Font::Italic() const { return font_.italic(); }
void Font::setItalic(bool v) {
  if (v == font_.italic()) return;
  font_.setItalic(v);
  emit changed();
}

bool Font::Underline() const { return font_.underline(); }
void Font::setUnderline(bool v) {
  if (v == font_.underline()) return;
  font_.setUnderline(v);
  emit changed();
}

bool Font::Strikethrough() const { return font_.strikeOut(); }
void Font::setStrikethrough(bool v) {
  if (v == font_.strikeOut()) return;
  font_.setStrikeOut(v);
  emit changed();
}

// Qt 6 weights use the same 1..1000 scale as the automation model.
int Font::Weight() const { return static_cast<int>(font_.weight()); }
void Font::setWeight(int v) {
  v = std::clamp(v, 1, 1000);
  if (v == Weight()) return;
  font_.setWeight(static_cast<QFont::Weight>(v));
  emit changed();
}

}  // namespace qorv
