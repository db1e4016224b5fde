#include "platform/Host.h"
#include "platform/HostMessage.h"

#include <cstdio>

#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMessageBox>
#include <QScreen>
#include <QSettings>

#include <QorvPictureBox/AutomationError.h>

namespace qorv {

namespace {

QGuiApplication* guiApp() { return qobject_cast<QGuiApplication*>(QCoreApplication::instance()); }

double twipsPerPixel(bool horizontal) {
  QGuiApplication* app = guiApp();
  QScreen* screen = app != nullptr ? QGuiApplication::primaryScreen() : nullptr;
  if (screen == nullptr) return 15.0;
  const double dpi = horizontal ? screen->logicalDotsPerInchX() : screen->logicalDotsPerInchY();
  return dpi > 0 ? 1440.0 / dpi : 15.0;
}

Host* installedHost = nullptr;
std::function<void()> yieldHook;

}  // namespace

FontPtr Host::ambientFont() { return Font::create(guiApp() != nullptr ? QGuiApplication::font() : QFont()); }

bool Host::userMode() { return true; }

void Host::propertyChanged(QObject* /*control*/, const QString& /*name*/) {}

double Host::twipsPerPixelX() { return twipsPerPixel(true); }
double Host::twipsPerPixelY() { return twipsPerPixel(false); }

QString Host::appTitle() {
  const QString name = QCoreApplication::instance() != nullptr ? QCoreApplication::applicationName() : QString();
  return name.isEmpty() ? exeName() : name;
}

std::intptr_t Host::instanceHandle() { return 0; }

QString Host::exeName() { return QString::fromStdString(programName()); }

void Host::setScreenMousePointer(int pointer) {
  const bool wasBusy = screenPointer_ == 11;
  const bool busy = pointer == 11;
  screenPointer_ = pointer;
  if (wasBusy == busy || guiApp() == nullptr) return;
  // Pushed once and popped once, so repeated assignments never stack cursors.
  if (busy)
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
  else
    QGuiApplication::restoreOverrideCursor();
}

int Host::screenMousePointer() { return screenPointer_; }

int Host::messageBox(const QString& text, int flags, const QString& title) {
  const QString caption = title.isEmpty() ? appTitle() : title;
  // A dialog on a platform nobody can see would wait forever.
  if (!interactiveDesktop()) {
    std::fprintf(stderr, "%s: %s\n", qPrintable(caption), qPrintable(text));
    return 1;
  }
  QMessageBox::Icon icon = QMessageBox::NoIcon;
  switch (flags & 0x70) {
    case 16: icon = QMessageBox::Critical; break;
    case 32: icon = QMessageBox::Question; break;
    case 48: icon = QMessageBox::Warning; break;
    case 64: icon = QMessageBox::Information; break;
    default: break;
  }
  QMessageBox::StandardButtons buttons = QMessageBox::Ok;
  switch (flags & 0x0F) {
    case 1: buttons = QMessageBox::Ok | QMessageBox::Cancel; break;
    case 2: buttons = QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore; break;
    case 3: buttons = QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel; break;
    case 4: buttons = QMessageBox::Yes | QMessageBox::No; break;
    case 5: buttons = QMessageBox::Retry | QMessageBox::Cancel; break;
    default: break;
  }
  QMessageBox box(icon, caption, text, buttons);
  switch (box.exec()) {
    case QMessageBox::Cancel: return 2;
    case QMessageBox::Abort: return 3;
    case QMessageBox::Retry: return 4;
    case QMessageBox::Ignore: return 5;
    case QMessageBox::Yes: return 6;
    case QMessageBox::No: return 7;
    default: return 1;
  }
}

QString Host::getSetting(const QString& app, const QString& section, const QString& key) {
  QSettings store(QSettings::IniFormat, QSettings::UserScope, app);
  return store.value(section + u'/' + key).toString();
}

void Host::saveSetting(const QString& app, const QString& section, const QString& key, const QString& value) {
  QSettings store(QSettings::IniFormat, QSettings::UserScope, app);
  store.setValue(section + u'/' + key, value);
}

bool interactiveDesktop() {
  if (qobject_cast<QApplication*>(QCoreApplication::instance()) == nullptr) return false;
  const QString platform = QGuiApplication::platformName();
  return platform != QLatin1String("offscreen") && platform != QLatin1String("minimal");
}

Host& host() {
  static Host defaultHost;
  return installedHost != nullptr ? *installedHost : defaultHost;
}

void setHost(Host* h) { installedHost = h; }

void yieldOnce() {
  if (yieldHook) {
    yieldHook();
    return;
  }
  if (QCoreApplication::instance() != nullptr) QCoreApplication::processEvents();
}

void setYieldHook(std::function<void()> hook) { yieldHook = std::move(hook); }

namespace {
std::function<int(const std::string&)>& messageHook() {
  static std::function<int(const std::string&)> hook;
  return hook;
}
}  // namespace

int showHostMessage(const std::string& text) {
  if (messageHook()) return messageHook()(text);
  return host().messageBox(QString::fromStdString(text), 0, host().appTitle());
}

void setHostMessageHook(std::function<int(const std::string& text)> hook) { messageHook() = std::move(hook); }

}  // namespace qorv
