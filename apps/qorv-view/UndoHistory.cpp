#include "UndoHistory.h"

#include <utility>

namespace qorv_view {

void UndoHistory::push(std::deque<Step>& side, Step step) {
  used_ += cost(step.picture);
  side.push_back(std::move(step));
  trim();
}

void UndoHistory::trim() {
  // Redo steps are the least likely to be wanted once the budget is tight,
  // then the oldest undo steps.
  while (used_ > budget_ && !redo_.empty()) {
    used_ -= cost(redo_.front().picture);
    redo_.pop_front();
  }
  while (used_ > budget_ && !undo_.empty()) {
    used_ -= cost(undo_.front().picture);
    undo_.pop_front();
  }
}

void UndoHistory::recordBefore(const QString& label, const QImage& before) {
  for (const Step& s : redo_) used_ -= cost(s.picture);
  redo_.clear();
  if (before.isNull()) return;
  push(undo_, Step{label, before});
}

// Undo and redo are the same move in opposite directions: the step leaves one
// side, shows its picture, and goes to the other side holding what was shown.
QImage UndoHistory::moveStep(std::deque<Step>& from, std::deque<Step>& to, const QImage& current) {
  if (from.empty()) return QImage();
  Step moved = std::move(from.back());
  from.pop_back();
  used_ -= cost(moved.picture);
  QImage shown = std::move(moved.picture);
  moved.picture = current;
  push(to, std::move(moved));
  return shown;
}

QImage UndoHistory::undo(const QImage& current) { return moveStep(undo_, redo_, current); }

QImage UndoHistory::redo(const QImage& current) { return moveStep(redo_, undo_, current); }

void UndoHistory::clear() {
  undo_.clear();
  redo_.clear();
  used_ = 0;
}

void UndoHistory::setBudget(qint64 bytes) {
  budget_ = bytes < 0 ? 0 : bytes;
  trim();
}

}  // namespace qorv_view
