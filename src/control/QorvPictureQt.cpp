// The Qt surface of QorvPicture: Qt value types over the classic members, the
// NOTIFY signals driven by the Qt surface table, and file access without
// dialogs or exceptions.
#include <algorithm>
#include <limits>

#include <QMetaMethod>
#include <QMetaProperty>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/Colors.h>
#include <QorvPictureBox/QorvPicture.h>

#include "control/MemberTable.h"
#include "control/QorvPicturePrivate.h"
#include "platform/PictureBox.h"

namespace qorv {

namespace {

const QtMember& qtMember(std::string_view name) {
  const QtMember* m = findQtMember(name);
  if (m == nullptr || !*m->classic) std::abort();  // a programming error, loud in every build
  return *m;
}

// Through the classic member's dispatch, so the value is read, converted,
// reported and followed up exactly as automation would do it.
QColor colourOf(const QorvPicture& c, std::string_view name) {
  QVariantList none;
  const QVariant v = const_cast<QorvPicture&>(c).invoke(QString::fromLatin1(qtMember(name).classic),
                                                       QorvPicture::PropertyGet, none);
  return toQColor(static_cast<COLORREF>(v.value<qint32>()));
}

void setColour(QorvPicture& c, std::string_view name, const QColor& colour) {
  if (!colour.isValid()) return;
  const QColor rgb = colour.toRgb();
  QVariantList value{static_cast<qint32>(RGB(rgb.red(), rgb.green(), rgb.blue()))};
  c.invoke(QString::fromLatin1(qtMember(name).classic), QorvPicture::PropertyLet, value);
}

QString errorText(std::int32_t code, const QString& description) {
  return QStringLiteral("error %1: %2").arg(code).arg(description);
}

}  // namespace

void QorvPicturePrivate::notifyQtSurface(const char* classic, EventId id) {
  const std::vector<QtMember>& table = qtSurfaceTable();
  const QMetaObject* mo = q.metaObject();
  qtNotified.resize(table.size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    const QtMember& m = table[i];
    const bool touched = classic ? std::string_view(classic) == m.classic
                                 : std::find(m.notifyAfter.begin(), m.notifyAfter.end(), id) != m.notifyAfter.end();
    if (!touched) continue;
    const QMetaProperty p = mo->property(mo->indexOfProperty(m.name));
    if (!p.hasNotifySignal()) continue;
    const QMetaMethod signal = p.notifySignal();
    if (signal.parameterCount() == 0) {
      // A value too costly to compare (the picture): every possible change is sent.
      signal.invoke(&q, Qt::DirectConnection);
      continue;
    }
    QVariant value = p.read(&q);
    if (qtNotified[i] == value) continue;
    qtNotified[i] = value;
    signal.invoke(&q, Qt::DirectConnection, QGenericArgument(p.typeName(), value.constData()));
  }
}

QColor QorvPicture::backgroundColor() const { return colourOf(*this, "backgroundColor"); }
void QorvPicture::setBackgroundColor(const QColor& color) { setColour(*this, "backgroundColor", color); }
QColor QorvPicture::foregroundColor() const { return colourOf(*this, "foregroundColor"); }
void QorvPicture::setForegroundColor(const QColor& color) { setColour(*this, "foregroundColor", color); }
QColor QorvPicture::shapeFillColor() const { return colourOf(*this, "shapeFillColor"); }
void QorvPicture::setShapeFillColor(const QColor& color) { setColour(*this, "shapeFillColor", color); }
QColor QorvPicture::osdBackgroundColor() const { return colourOf(*this, "osdBackgroundColor"); }
void QorvPicture::setOsdBackgroundColor(const QColor& color) { setColour(*this, "osdBackgroundColor", color); }
QColor QorvPicture::osdForegroundColor() const { return colourOf(*this, "osdForegroundColor"); }
void QorvPicture::setOsdForegroundColor(const QColor& color) { setColour(*this, "osdForegroundColor", color); }
QColor QorvPicture::osdShadowColor() const { return colourOf(*this, "osdShadowColor"); }
void QorvPicture::setOsdShadowColor(const QColor& color) { setColour(*this, "osdShadowColor", color); }

int QorvPicture::zoomPercent() const { return Zoom(); }
void QorvPicture::setZoomPercent(int percent) {
  QVariantList value{static_cast<qint32>(
      std::clamp<int>(percent, std::numeric_limits<qint16>::min(), std::numeric_limits<qint16>::max()))};
  invoke(QString::fromLatin1(qtMember("zoomPercent").classic), PropertyLet, value);
}

QPoint QorvPicture::offset() const { return {OffsetX(), OffsetY()}; }
void QorvPicture::setOffset(const QPoint& offset) { Offset(offset.x(), offset.y()); }

QImage QorvPicture::image() const {
  const PicturePtr p = Picture();
  QImage img = p ? p->toImage() : QImage();
  const AlphaMask* alpha = d_->view.state().showTransparency ? d_->view.pictureAlpha() : nullptr;
  if (!alpha || img.isNull() || img.width() != alpha->width || img.height() != alpha->height) return img;
  img = img.convertToFormat(QImage::Format_ARGB32);
  for (int y = 0; y < img.height(); ++y) {
    auto* row = reinterpret_cast<QRgb*>(img.scanLine(y));
    for (int x = 0; x < img.width(); ++x) row[x] = qRgba(qRed(row[x]), qGreen(row[x]), qBlue(row[x]), alpha->at(x, y));
  }
  return img;
}

void QorvPicture::setImage(const QImage& image) {
  // Converting to RGB32 makes every pixel opaque without blending; the
  // alpha, when it is to be shown, is kept beside the picture.
  if (image.isNull()) {
    setPicture(PicturePtr());
    return;
  }
  d_->assignPicture(Picture::fromImage(image.convertToFormat(QImage::Format_RGB32)),
                    d_->view.state().showTransparency ? AlphaOfImage(image) : AlphaMask{});
}

bool QorvPicture::isBusy() const { return d_->busy; }

bool QorvPicture::openFile(const QString& path) {
  ClearError();
  if (path.isEmpty()) {
    d_->setError(error_record::LoadFailed, QStringLiteral("No file name given"), error_record::FlagWarning);
    return false;
  }
  try {
    return LoadFreeImage(path);
  } catch (const AutomationError& e) {
    d_->setError(e.number(), QString::fromStdString(e.description()), error_record::FlagCritical);
    return false;
  }
}

bool QorvPicture::saveFile(const QString& path, int quality) {
  ClearError();
  if (path.isEmpty()) {
    d_->setError(error_record::SaveFailed, QStringLiteral("No file name given"), error_record::FlagWarning);
    return false;
  }
  try {
    return SaveFreeImage(path, std::max(quality, 0));
  } catch (const AutomationError& e) {
    d_->setError(e.number(), QString::fromStdString(e.description()), error_record::FlagCritical);
    return false;
  }
}

QString QorvPicture::errorString() const {
  return d_->error.code == 0 ? QString() : errorText(d_->error.code, d_->error.description);
}

}  // namespace qorv
