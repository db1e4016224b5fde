// qorv-view's command line: one picture or folder, a few options, and a clear
// refusal of anything else (an unknown option is never taken for a file name).
#pragma once

#include <QSize>
#include <QString>
#include <QStringList>

namespace qorv_view {

struct CommandLine {
  QString path;        // file or folder to open; empty for none
  QString screenshot;  // render the window to this PNG and exit
  QSize size;          // window size asked for; invalid for the saved one
  QString settings;    // INI file for the settings; empty for the user's
  bool autoRotate = true;  // photos upright by their orientation tag
  bool help = false;
  bool version = false;
  QString error;  // set when the arguments are refused
};

// `args` without the program name.
CommandLine parseCommandLine(const QStringList& args);

QString usageText();
QString versionText();

}  // namespace qorv_view
