#include "StatusPanel.h"

#include <QLabel>
#include <QProgressBar>
#include <QStatusBar>

#include <algorithm>
#include <cmath>

namespace qorv_view {

QString formatBytes(qint64 bytes) {
  if (bytes < 1024) return QStringLiteral("%1 bytes").arg(bytes);
  if (bytes < 1024 * 1024) return QStringLiteral("%1 KB").arg(std::lround(double(bytes) / 1024.0));
  return QStringLiteral("%1 MB").arg(double(bytes) / (1024.0 * 1024.0), 0, 'f', 1);
}

StatusPanel::StatusPanel(QStatusBar* bar) : QObject(bar), bar_(bar) {
  file_ = addField(bar, "statusFile");
  size_ = addField(bar, "statusSize");
  bytes_ = addField(bar, "statusBytes");
  format_ = addField(bar, "statusFormat");
  zoom_ = addField(bar, "statusZoom");
  cursor_ = addField(bar, "statusCursor");
  colour_ = addField(bar, "statusColour");
  progress_ = new QProgressBar(bar);
  progress_->setObjectName(QStringLiteral("statusProgress"));
  progress_->setMaximumWidth(160);
  progress_->setTextVisible(true);
  progress_->hide();
  bar->addPermanentWidget(progress_);
  file_->setMinimumWidth(120);
}

QLabel* StatusPanel::addField(QStatusBar* bar, const char* name) {
  auto* l = new QLabel(bar);
  l->setObjectName(QString::fromLatin1(name));
  bar->addPermanentWidget(l);
  return l;
}

void StatusPanel::setPicture(const QString& fileName, int width, int height, qint64 fileBytes,
                             const QString& format) {
  file_->setText(fileName);
  size_->setText(QStringLiteral("%1 x %2").arg(width).arg(height));
  bytes_->setText(fileBytes >= 0 ? formatBytes(fileBytes) : QString());
  format_->setText(format);
}

void StatusPanel::clearPicture() {
  for (QLabel* l : {file_, size_, bytes_, format_, zoom_, cursor_, colour_}) l->clear();
}

void StatusPanel::setZoom(double percent) {
  zoom_->setText(percent > 0 ? QStringLiteral("%1%").arg(percent, 0, 'f', percent < 10 ? 1 : 0) : QString());
}

void StatusPanel::setCursor(int x, int y, bool inside, unsigned rgb) {
  if (!inside) {
    cursor_->clear();
    colour_->clear();
    return;
  }
  cursor_->setText(QStringLiteral("%1, %2").arg(x).arg(y));
  const unsigned r = (rgb >> 16) & 0xFF, g = (rgb >> 8) & 0xFF, b = rgb & 0xFF;
  colour_->setText(QStringLiteral("RGB %1 %2 %3 #%4")
                       .arg(r)
                       .arg(g)
                       .arg(b)
                       .arg(QString::number(rgb & 0xFFFFFF, 16).rightJustified(6, QLatin1Char('0')).toUpper()));
}

void StatusPanel::beginProgress(int max, const QString& description) {
  busy_ = true;
  max_ = max;
  shownPercent_ = 0;
  progressUpdates_ = 0;
  progress_->setRange(0, 100);
  progress_->setValue(0);
  progress_->setFormat(description + QStringLiteral(" %p%"));
  progress_->show();
  sinceShown_.start();
}

bool StatusPanel::progress(int value) {
  if (!busy_ || max_ <= 0) return false;
  const int percent = static_cast<int>(std::clamp<qint64>(qint64{value} * 100 / max_, 0, 100));
  if (percent == shownPercent_ || sinceShown_.elapsed() < kProgressIntervalMs) return false;
  shownPercent_ = percent;
  progress_->setValue(percent);
  ++progressUpdates_;
  sinceShown_.restart();
  return true;
}

void StatusPanel::endProgress(const QString& description) {
  busy_ = false;
  progress_->hide();
  if (!description.isEmpty()) bar_->showMessage(description + QStringLiteral(" done"), 3000);
}

QString StatusPanel::text() const {
  QStringList parts;
  for (const QLabel* l : {file_, size_, bytes_, format_, zoom_, cursor_, colour_})
    if (!l->text().isEmpty()) parts << l->text();
  return parts.join(QStringLiteral("  |  "));
}

}  // namespace qorv_view
