#include "imageio/modFreeImage.h"

#include <FreeImage.h>

namespace qorv::modFreeImage {

namespace {
QString& lastError() {
  static QString text;
  return text;
}

// FreeImage reports through this callback; the newest message replaces
// whatever the bridge recorded before.
void OnFreeImageMessage(FREE_IMAGE_FORMAT /*fif*/, const char* message) {
  lastError() = message ? QString::fromLocal8Bit(message) : QString();
}
}  // namespace

void InitFreeImage() {
  FreeImage_Initialise(FALSE);
  FreeImage_SetOutputMessage(&OnFreeImageMessage);
}

void DeInitFreeImage() { FreeImage_DeInitialise(); }

QString LastBridgeError() { return lastError(); }

}  // namespace qorv::modFreeImage
