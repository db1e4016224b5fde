// The viewer's status bar: what the picture is (file, size on disk, format,
// pixel size), how it is shown (the zoom actually displayed), what is under the
// cursor, and the progress of a running operation.
//
// Every field is a permanent widget: menu status tips replace the bar's
// temporary message, never these, so the fields survive hovering the menus.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>

class QLabel;
class QProgressBar;
class QStatusBar;

namespace qorv_view {

class StatusPanel : public QObject {
  Q_OBJECT
 public:
  explicit StatusPanel(QStatusBar* bar);

  void setPicture(const QString& fileName, int width, int height, qint64 fileBytes, const QString& format);
  void clearPicture();
  // Displayed size over the picture size, in percent.
  void setZoom(double percent);
  void setCursor(int x, int y, bool inside, unsigned rgb);

  // Progress of a long operation. Updates are shown at most every
  // kProgressIntervalMs and only when the percentage moved, so an operation
  // reporting every column costs no more than a few repaints.
  void beginProgress(int max, const QString& description);
  // Returns true when the progress shown changed (the caller may then let the
  // window repaint).
  bool progress(int value);
  void endProgress(const QString& description);
  int progressUpdates() const { return progressUpdates_; }
  bool busy() const { return busy_; }

  // All fields joined, as a person would read them left to right.
  QString text() const;

  static constexpr int kProgressIntervalMs = 100;

 private:
  QLabel* addField(QStatusBar* bar, const char* name);

  QLabel* file_;
  QLabel* size_;
  QLabel* bytes_;
  QLabel* format_;
  QLabel* zoom_;
  QLabel* cursor_;
  QLabel* colour_;
  QProgressBar* progress_;
  QStatusBar* bar_;
  QElapsedTimer sinceShown_;
  int max_ = 0;
  int shownPercent_ = -1;
  int progressUpdates_ = 0;
  bool busy_ = false;
};

// "1.5 MB", "740 KB", "12 bytes".
QString formatBytes(qint64 bytes);

}  // namespace qorv_view
