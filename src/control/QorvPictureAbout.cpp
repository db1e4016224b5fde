// The About box: on request, and once per user at design time.
#include <QorvPictureBox/QorvPicture.h>

#include "control/AboutBox.h"
#include "control/QorvPicturePrivate.h"
#include "platform/Host.h"

namespace qorv {

void QorvPicture::ShowAbout() { aboutService().show(this); }

// The first resize in a form editor introduces the library once per user.
// The flag is stored before the box shows, so that closing the editor while
// it is open still counts as shown.
void QorvPicturePrivate::showAboutOnceAtDesignTime() {
  Host& h = host();
  if (h.userMode()) return;
  const QString app = frmAbout::libraryTitle();
  const QString section = QStringLiteral("General");
  const QString key = QStringLiteral("About");
  if (!h.getSetting(app, section, key).isEmpty()) return;
  h.saveSetting(app, section, key, QStringLiteral("1"));
  q.ShowAbout();
}

}  // namespace qorv
