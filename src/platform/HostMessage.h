// Telling the user something from code that knows nothing of Qt (the pixel
// code of the processing layer). By default the message goes to the installed
// host's message box, titled with the application's title and with an OK
// button; a hook may take it instead.
#pragma once

#include <functional>
#include <string>

namespace qorv {

// Shows `text` (UTF-8); returns the button pressed (1 = OK).
int showHostMessage(const std::string& text);

// Sends every later message to `hook` instead; an empty function restores
// the host's message box.
void setHostMessageHook(std::function<int(const std::string& text)> hook);

}  // namespace qorv
