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

QImage UndoHistory::undo(const QImage& current) {
  if (undo_.empty()) return QImage();
  Step step = std::move(undo_.back());
  undo_.pop_back();
  used_ -= cost(step.picture);
  QImage shown = step.picture;
  step.picture = current;
  push(redo_, std::move(step));
  return shown;
}

QImage UndoHistory::redo(const QImage& current) {
  if (redo_.empty()) return QImage();
  Step step = std::move(redo_.back());
  redo_.pop_back();
  used_ -= cost(step.picture);
  QImage shown = step.picture;
  step.picture = current;
  push(undo_, std::move(step));
  return shown;
}

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
