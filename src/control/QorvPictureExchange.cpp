// Pictures leaving and entering the control other than through files: the
// clipboard, the zoomed picture, a block of any device context, drag and drop.
#include <QorvPictureBox/QorvPicture.h>

#include <QImage>
#include <QMimeData>
#include <QPixmap>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/DataObject.h>
#include <QorvPictureBox/gdi.h>

#include "control/QorvPicturePrivate.h"
#include "platform/DragService.h"
#include "platform/PictureBox.h"
#include "platform/ScopedGdi.h"
#include "view/ViewGeometry.h"

namespace qorv {

namespace {

// A failed platform call counts as an error of the copy.
struct CopyFailed {};
void check(bool ok) {
  if (!ok) throw CopyFailed{};
}

// Copies what `pane` shows (its inner area) to the clipboard as a device
// bitmap; false when any step fails, in which case nothing is copied.
bool copyPaneToClipboard(PictureBox& pane) {
  try {
    const ScopedMemDC mem(gdi::CreateCompatibleDC(pane.hDC()));
    check(mem.get() != 0);
    const int width = view::roundHalfEven(pane.ScaleWidth());
    const int height = view::roundHalfEven(pane.ScaleHeight());
    ScopedBitmap bitmap(gdi::CreateCompatibleBitmap(pane.hDC(), width, height));
    check(bitmap.get() != 0);
    {
      // The bitmap leaves the memory context before the clipboard takes it.
      const ScopedSelect selected(mem.get(), bitmap.get());
      check(selected.ok());
      check(gdi::BitBlt(mem.get(), 0, 0, width, height, pane.hDC(), 0, 0, gdi::SRCCOPY) != 0);
    }
    // No owner window: while another program holds the clipboard open this
    // fails and nothing is copied.
    check(gdi::OpenClipboard(0) != 0);
    const bool copied = gdi::EmptyClipboard() != 0 && gdi::SetClipboardData(gdi::CF_BITMAP, bitmap.get()) != 0;
    if (copied) bitmap.release();  // the clipboard owns it now
    gdi::CloseClipboard();
    return copied;
  } catch (const CopyFailed&) {
    return false;
  } catch (const AutomationError&) {
    return false;
  }
}

}  // namespace

bool QorvPicture::SendToClipboard(qint32 PictureType) {
  QorvPicturePrivate& d = *d_;
  PictureBox& staging = d.clipPicture();
  bool result = false;
  try {
    if (PictureType == static_cast<qint32>(QorvPictureBox::PictureTypes::OrginalImage)) {
      result = copyPaneToClipboard(d.Buffer());
    } else {
      // Any other kind is the zoomed picture. The staging pane takes the
      // picture's size so that the whole of it is copied.
      const PicturePtr scaled = ScaledPicture();
      staging.Move(staging.Left(), staging.Top(), scaled ? scaled->Width() : 0, scaled ? scaled->Height() : 0);
      staging.setPicture(scaled);
      result = copyPaneToClipboard(staging);
    }
  } catch (const AutomationError&) {
    result = false;
  }
  try {
    staging.setPicture(nullptr);
  } catch (const AutomationError&) {
  }
  return result;
}

PicturePtr QorvPicture::ScaledPicture() {
  QorvPicturePrivate& d = *d_;
  PictureBox& scale = d.ScalePicture();
  PictureBox& buffer = d.Buffer();
  const int width = view::roundHalfEven(PictureW());
  const int height = view::roundHalfEven(PictureH());
  scale.Move(scale.Left(), scale.Top(), width, height);
  const int sourceW = view::roundHalfEven(buffer.ScaleWidth());
  const int sourceH = view::roundHalfEven(buffer.ScaleHeight());
  if (UseBltAIP()) {
    gdi::SetStretchBltMode(scale.hDC(), ZoomType());
    gdi::StretchBlt(scale.hDC(), 0, 0, width, height, buffer.hDC(), 0, 0, sourceW, sourceH, gdi::SRCCOPY);
  } else {
    scale.PaintPicture(buffer.Picture(), 0, 0, static_cast<float>(width), static_cast<float>(height), 0, 0,
                       static_cast<float>(sourceW), static_cast<float>(sourceH));
  }
  PicturePtr result = scale.Image();
  scale.setPicture(nullptr);
  return result;
}

bool QorvPicture::BitBltPicture(qint32 fHDC, qint32 fWidth, qint32 fHeight) {
  QorvPicturePrivate& d = *d_;
  PictureBox& buffer = d.Buffer();
  try {
    buffer.Move(buffer.Left(), buffer.Top(), fWidth, fHeight);
    buffer.Cls();
    buffer.setPicture(nullptr);
    const int width = std::max(0, fWidth);
    const int height = std::max(0, fHeight);
    if (width > 0 && height > 0) {
      const gdi::DWORD kind = gdi::GetObjectType(static_cast<gdi::HDC>(fHDC));
      if (kind != gdi::OBJ_DC && kind != gdi::OBJ_MEMDC) return false;
      if (!gdi::BitBlt(buffer.hDC(), 0, 0, width, height, static_cast<gdi::HDC>(fHDC), 0, 0, gdi::SRCCOPY))
        return false;
    }
    // The copied pixels become the picture; an empty block leaves none.
    buffer.setPicture(buffer.Image());
    d.view.updateView(true, true);
    return true;
  } catch (const AutomationError&) {
    return false;
  }
}

// ----- drag and drop -------------------------------------------------------------------

void QorvPicture::OLEDrag() {
  QorvPicturePrivate& d = *d_;
  if (d.dragging)
    throw AutomationError(errors::RecursiveDrag, programName() + ".QorvPicture",
                          "Illegal recursive invocation of OLE drag and drop");
  d.dragging = true;
  struct Done {
    bool& flag;
    ~Done() { flag = false; }
  } done{d.dragging};

  DataObject dragData;
  // The picture travels with every drag the pane starts; handlers may
  // replace it or add to it.
  if (const PicturePtr picture = Picture(); handleOf(picture) != 0)
    dragData.SetData(QVariant::fromValue(picture), DataObject::vbCFBitmap);
  QVariantList start{QVariant::fromValue(&dragData), DropEffectCopy};
  d.raiseEvent(EventId::OLEStartDrag, start);
  const int allowed = start.value(1).toInt() & (DropEffectCopy | DropEffectMove);

  int effect = DropEffectNone;
  if (allowed != 0 && !dragData.isEmpty()) {
    dragData.setAccess(DataObject::Access::FillDeclared);
    // Both run inside the drag loop, where no exception may escape.
    dragData.setRequestHandler([&d, &dragData](int format) {
      QVariantList a{QVariant::fromValue(&dragData), format};
      try {
        d.raiseEvent(EventId::OLESetData, a);
      } catch (const std::exception&) {
      }
    });
    const auto feedback = [&d](int shown) {
      QVariantList a{shown, true};
      try {
        d.raiseEvent(EventId::OLEGiveFeedback, a);
      } catch (const std::exception&) {
      }
      return a.value(1).toBool();
    };
    QPixmap cursor;
    if (const PicturePtr icon = d.picPane().MouseIcon(); handleOf(icon) != 0) cursor = QPixmap::fromImage(icon->toImage());
    effect = dragService().run(d.picPane().widget(), dragData.takeMimeData(), allowed, feedback, cursor);
  }
  QVariantList complete{effect};
  d.raiseEvent(EventId::OLECompleteDrag, complete);
}

namespace {

// Passes one of the pane's drop notifications on as the control's event with
// the data wrapped for the handler; the handler's Effect goes back to the
// pane's drop. Runs in Qt's event loop: a failing handler refuses the drop.
void forwardDrop(QorvPicturePrivate& d, EventId id, const QMimeData* mime, int* effect, QVariantList rest) {
  DataObject data(mime);
  QVariantList args{QVariant::fromValue(&data), *effect};
  args.append(rest);
  try {
    d.raiseEvent(id, args);
    *effect = args.value(1).toInt();
  } catch (const std::exception&) {
    *effect = DropEffectNone;
  }
}

}  // namespace

void QorvPicturePrivate::connectDragAndDrop() {
  PictureBox& pane = picPane();
  QObject::connect(&pane, &PictureBox::OLEDragOver, &q,
                   [this](const QMimeData* mime, int* effect, int button, int shift, float x, float y, int state) {
                     forwardDrop(*this, EventId::OLEDragOver, mime, effect, {button, shift, x, y, state});
                   });
  QObject::connect(&pane, &PictureBox::OLEDragDrop, &q,
                   [this](const QMimeData* mime, int* effect, int button, int shift, float x, float y) {
                     forwardDrop(*this, EventId::OLEDragDrop, mime, effect, {button, shift, x, y});
                   });
  QObject::connect(&pane, &PictureBox::AutomaticDrag, &q, [this] {
    try {
      q.OLEDrag();
    } catch (const std::exception&) {
      // Started by the mouse, not by a caller who could be told.
    }
  });
}

}  // namespace qorv
