// Undo and redo of image operations, bounded by memory rather than by a count:
// a few steps of a 100-megapixel picture cost as much as hundreds of steps of a
// thumbnail, so a fixed count is either wasteful or useless.
#pragma once

#include <QImage>
#include <QString>

#include <deque>

namespace qorv_view {

class UndoHistory {
 public:
  struct Step {
    QString label;  // the operation that replaced this picture ("Blur", "Rotate left")
    QImage picture;
  };

  explicit UndoHistory(qint64 budgetBytes = kDefaultBudget) : budget_(budgetBytes) {}

  static constexpr qint64 kDefaultBudget = qint64{512} * 1024 * 1024;

  // Records the picture as it was before `label` ran; clears the redo side.
  // Oldest steps go first when the budget is exceeded; a picture larger than
  // the whole budget is not kept at all (the history is then empty).
  void recordBefore(const QString& label, const QImage& before);

  bool canUndo() const { return !undo_.empty(); }
  bool canRedo() const { return !redo_.empty(); }
  QString undoLabel() const { return canUndo() ? undo_.back().label : QString(); }
  QString redoLabel() const { return canRedo() ? redo_.back().label : QString(); }

  // Steps back: returns the picture to show and keeps `current` for redo.
  QImage undo(const QImage& current);
  // Steps forward again: returns the picture to show and keeps `current` for undo.
  QImage redo(const QImage& current);

  void clear();
  qint64 budget() const { return budget_; }
  void setBudget(qint64 bytes);
  qint64 usedBytes() const { return used_; }
  int undoCount() const { return static_cast<int>(undo_.size()); }
  int redoCount() const { return static_cast<int>(redo_.size()); }

 private:
  static qint64 cost(const QImage& img) { return img.sizeInBytes(); }
  void push(std::deque<Step>& side, Step step);
  QImage moveStep(std::deque<Step>& from, std::deque<Step>& to, const QImage& current);
  void trim();

  qint64 budget_;
  qint64 used_ = 0;
  std::deque<Step> undo_;  // back() is the most recent
  std::deque<Step> redo_;
};

}  // namespace qorv_view
