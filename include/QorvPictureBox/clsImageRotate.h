// clsImageRotate: the library's second creatable public class, for rotating a
// bitmap in place. Like QorvPicture, its member is reachable by name through
// the meta-object system and through its own small dispatch table.
#pragma once

#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantList>

namespace qorv {

class clsImageRotate : public QObject {
  Q_OBJECT

 public:
  explicit clsImageRotate(QObject* parent = nullptr);

  // Rotates the lWidth x lHeight block at the top-left of the bitmap selected
  // into the device context hBitmapDC about the block's centre by lRadians
  // (positive: clockwise on screen), in place and at the same size. Each
  // pixel samples the turned source bilinearly between pixel centres; pixels
  // no source pixel covers become black. 24- and 32-bit bitmaps.
  //
  // Returns True when the block was turned. Otherwise nothing changes and
  // gdi::GetLastError() says why: 6 for a context that is not valid, 87 for
  // a width or height that is 0, negative or larger than the bitmap, an angle
  // that is not a finite number, or a bitmap of another depth, 8 when memory
  // for the copy of the block runs out.
  Q_INVOKABLE bool RotateBitmap(qint32 hBitmapDC, qint32 lWidth, qint32 lHeight, double lRadians);

  // Automation calls, as QorvPicture::invoke: RotateBitmap has dispatch id 1
  // and kind Method (a Function returning Boolean). Throws AutomationError
  // 438 for an unknown member or kind, 450 for a wrong number of arguments,
  // 449 for a missing one, 13 for a value of the wrong type.
  QVariant invoke(int dispid, int kind, QVariantList& args);
  QVariant invoke(const QString& name, int kind, QVariantList& args);
  // Dispatch id of a member name (case-insensitive), 0 if unknown.
  static int dispidOf(const QString& name);
};

}  // namespace qorv
