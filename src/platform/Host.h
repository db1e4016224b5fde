// Services the hosting application provides to a control, with a standalone
// default good for any Qt application. Tests and hosts may install their own.
#pragma once

#include <cstdint>
#include <functional>

#include <QString>

#include <QorvPictureBox/Font.h>

class QObject;

namespace qorv {

class Host {
 public:
  virtual ~Host() = default;
  // The font a newly placed control starts with (a new object each call).
  virtual FontPtr ambientFont();
  // False at design time (in a form editor), True when the host runs.
  virtual bool userMode();
  // A control reports a changed property so that the host can mark its form
  // modified. The default does nothing.
  virtual void propertyChanged(QObject* control, const QString& name);
  // Twips (1/1440 inch) per screen pixel: 1440 / logical DPI.
  virtual double twipsPerPixelX();
  virtual double twipsPerPixelY();
  // The application's title (the executable's name without a host) and
  // instance handle (0).
  virtual QString appTitle();
  virtual std::intptr_t instanceHandle();
  // The running executable's file name without extension.
  virtual QString exeName();
  // The screen-wide mouse pointer: 0 default, 11 hourglass (busy cursor).
  virtual void setScreenMousePointer(int pointer);
  virtual int screenMousePointer();
  // A message box; returns the button pressed (1 = OK). The default shows a
  // QMessageBox when a GUI application runs, otherwise writes to stderr.
  virtual int messageBox(const QString& text, int flags, const QString& title);
  // The per-user application settings store: the text kept for `app`,
  // `section`, `key`, empty when none. The default keeps it in the user's
  // configuration directory (an INI file named after `app`).
  virtual QString getSetting(const QString& app, const QString& section, const QString& key);
  virtual void saveSetting(const QString& app, const QString& section, const QString& key, const QString& value);

 private:
  int screenPointer_ = 0;
};

// True when a user can see and answer windows: a widgets application on a
// platform with a screen (not the offscreen or minimal platform). Modal
// windows and drags are only started then; otherwise nobody could end them.
bool interactiveDesktop();

Host& host();
// Installs `h` (not owned); nullptr restores the default.
void setHost(Host* h);

// Lets pending window messages run once (timer ticks and input included).
// Tests may replace it; an empty function restores the default.
void yieldOnce();
void setYieldHook(std::function<void()> hook);

}  // namespace qorv
