// Running a drag from a widget, as a replaceable service: the default is a
// Qt drag; tests and hosts install their own so that no drag loop waits for
// a mouse that never comes.
#pragma once

#include <functional>

class QMimeData;
class QPixmap;
class QWidget;

namespace qorv {

// Drop effects, as the classic drag events number them.
inline constexpr int DropEffectNone = 0;
inline constexpr int DropEffectCopy = 1;
inline constexpr int DropEffectMove = 2;
inline constexpr int DropEffectScroll = static_cast<int>(0x80000000u);

class DragService {
 public:
  virtual ~DragService() = default;
  // Drags `data` (the service takes ownership) from `source`, offering the
  // effects in `allowed` (copy and/or move). `feedback` is called with the
  // effect the target under the pointer would take whenever it changes; when
  // it returns false the drag shows `cursor` (if not null) instead of the
  // standard cursor for that effect. Returns the effect taken (0: none).
  virtual int run(QWidget* source, QMimeData* data, int allowed, const std::function<bool(int effect)>& feedback,
                  const QPixmap& cursor) = 0;
};

DragService& dragService();
// Installs `s` (not owned); nullptr restores the default.
void setDragService(DragService* s);

}  // namespace qorv
