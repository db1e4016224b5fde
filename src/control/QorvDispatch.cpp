// Dispatch of automation calls by id or name.
#include "control/QorvPicture.h"
#include "platform/AutomationError.h"

namespace qorv {

QVariant QorvPicture::invoke(int, int, QVariantList&) {
  throw AutomationError(errors::InvalidProcedureCall, programName() + ".QorvPicture", "Dispatch is not available yet");
}
QVariant QorvPicture::invoke(const QString&, int, QVariantList&) {
  throw AutomationError(errors::InvalidProcedureCall, programName() + ".QorvPicture", "Dispatch is not available yet");
}
int QorvPicture::dispidOf(const QString&) { return 0; }

}  // namespace qorv
