#include "platform/DragService.h"

#include <QDrag>
#include <QMimeData>
#include <QPixmap>
#include <QWidget>

#include "platform/Host.h"

namespace qorv {

namespace {

int effectOf(Qt::DropAction a) {
  switch (a) {
    case Qt::CopyAction: return DropEffectCopy;
    case Qt::MoveAction: case Qt::TargetMoveAction: return DropEffectMove;
    default: return DropEffectNone;
  }
}

class QtDragService final : public DragService {
 public:
  int run(QWidget* source, QMimeData* data, int allowed, const std::function<bool(int)>& feedback,
          const QPixmap& cursor) override {
    // Without a screen and a user nothing would ever end the drag loop.
    if (source == nullptr || !interactiveDesktop()) {
      delete data;
      return DropEffectNone;
    }
    Qt::DropActions actions;
    if (allowed & DropEffectCopy) actions |= Qt::CopyAction;
    if (allowed & DropEffectMove) actions |= Qt::MoveAction;
    QDrag drag(source);
    drag.setMimeData(data);
    QObject::connect(&drag, &QDrag::actionChanged, &drag, [&drag, &feedback, &cursor](Qt::DropAction a) {
      if (!feedback(effectOf(a)) && !cursor.isNull()) drag.setDragCursor(cursor, a);
    });
    const Qt::DropAction preferred = (allowed & DropEffectCopy) ? Qt::CopyAction : Qt::MoveAction;
    return effectOf(drag.exec(actions, preferred));
  }
};

DragService* installed = nullptr;

}  // namespace

DragService& dragService() {
  static QtDragService standard;
  return installed != nullptr ? *installed : standard;
}

void setDragService(DragService* s) { installed = s; }

}  // namespace qorv
