#include <QorvPictureBox/clsImageRotate.h>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/QorvPicture.h>
#include <QorvPictureBox/gdi.h>

#include "control/VariantConversion.h"
#include "processing/RotateBitmap.h"

namespace qorv {

namespace {

constexpr int kRotateBitmap = 1;

[[noreturn]] void raise(std::int32_t number, const char* text) {
  throw AutomationError(number, programName() + ".clsImageRotate", text);
}

}  // namespace

clsImageRotate::clsImageRotate(QObject* parent) : QObject(parent) {}

bool clsImageRotate::RotateBitmap(qint32 hBitmapDC, qint32 lWidth, qint32 lHeight, double lRadians) {
  return rotateBitmapBlock(static_cast<gdi::HDC>(hBitmapDC), lWidth, lHeight, lRadians);
}

int clsImageRotate::dispidOf(const QString& name) {
  return name.compare(QLatin1String("RotateBitmap"), Qt::CaseInsensitive) == 0 ? kRotateBitmap : 0;
}

QVariant clsImageRotate::invoke(const QString& name, int kind, QVariantList& args) {
  return invoke(dispidOf(name), kind, args);
}

QVariant clsImageRotate::invoke(int dispid, int kind, QVariantList& args) {
  const bool call = kind == QorvPicture::Method || kind == (QorvPicture::Method | QorvPicture::PropertyGet);
  if (dispid != kRotateBitmap || !call) {
    raise(errors::NotSupported, "Object doesn't support this property or method");
  }
  if (args.size() > 4) {
    raise(errors::WrongNumberOfArguments, "Wrong number of arguments or invalid property assignment");
  }
  for (int i = 0; i < 4; ++i)
    if (i >= args.size() || !args[i].isValid()) raise(errors::ArgumentNotOptional, "Argument not optional");
  return QVariant(RotateBitmap(req<qint32>(args, 0), req<qint32>(args, 1), req<qint32>(args, 2), req<double>(args, 3)));
}

}  // namespace qorv
