// Shared font objects backed by QFont. Two holders of one font are the same
// object: changing Bold through one holder changes what the other draws with.
#pragma once

#include <memory>

#include <QFont>
#include <QObject>
#include <QString>

namespace qorv {

class Font;
using FontPtr = std::shared_ptr<Font>;

class Font : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString Name READ Name WRITE setName)
  Q_PROPERTY(double Size READ Size WRITE setSize)
  Q_PROPERTY(bool Bold READ Bold WRITE setBold)
  Q_PROPERTY(bool Italic READ Italic WRITE setItalic)
  Q_PROPERTY(bool Underline READ Underline WRITE setUnderline)
  Q_PROPERTY(bool Strikethrough READ Strikethrough WRITE setStrikethrough)
  Q_PROPERTY(int Weight READ Weight WRITE setWeight)

 public:
  explicit Font(const QFont& f = QFont());
  static FontPtr create(const QFont& f = QFont());
  // A new object with the same attributes (not shared).
  FontPtr clone() const;

  QString Name() const;
  void setName(const QString& v);
  double Size() const;  // points
  void setSize(double v);
  bool Bold() const;
  void setBold(bool v);
  bool Italic() const;
  void setItalic(bool v);
  bool Underline() const;
  void setUnderline(bool v);
  bool Strikethrough() const;
  void setStrikethrough(bool v);
  int Weight() const;  // 100..900, 400 normal, 700 bold
  void setWeight(int v);

  const QFont& qfont() const { return font_; }

 signals:
  void changed();

 private:
  QFont font_;
};

}  // namespace qorv
