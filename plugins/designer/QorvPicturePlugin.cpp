#include "QorvPicturePlugin.h"

#include <QAction>
#include <QDesignerFormEditorInterface>
#include <QExtensionManager>
#include <QMessageBox>
#include <QPainter>
#include <QPixmap>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/QorvPicture.h>

namespace qorv {

QorvPicturePlugin::QorvPicturePlugin(QObject* parent) : QObject(parent) {}

QString QorvPicturePlugin::name() const { return QStringLiteral("qorv::QorvPicture"); }
QString QorvPicturePlugin::group() const { return QStringLiteral("Display Widgets"); }
QString QorvPicturePlugin::toolTip() const { return QStringLiteral("QorvPicture: picture viewer and editor"); }
QString QorvPicturePlugin::whatsThis() const {
  return QStringLiteral("Shows a picture with zoom, panning, fitting and tiling, applies filters and draws "
                        "overlays; loads and saves some twenty image formats.");
}
QString QorvPicturePlugin::includeFile() const { return QStringLiteral("QorvPictureBox/QorvPicture.h"); }
bool QorvPicturePlugin::isContainer() const { return false; }
bool QorvPicturePlugin::isInitialized() const { return initialized_; }

// Drawn rather than shipped as a file: a framed landscape, legible at 16 px.
QIcon QorvPicturePlugin::icon() const {
  QPixmap pm(32, 32);
  pm.fill(Qt::transparent);
  QPainter p(&pm);
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(QPen(QColor(60, 60, 60), 2));
  p.setBrush(QColor(170, 210, 250));
  p.drawRect(3, 5, 26, 22);
  p.setPen(Qt::NoPen);
  p.setBrush(QColor(250, 200, 40));
  p.drawEllipse(QPointF(21, 12), 3, 3);
  p.setBrush(QColor(60, 150, 70));
  p.drawPolygon(QPolygonF({QPointF(4, 26), QPointF(13, 14), QPointF(20, 22), QPointF(28, 26)}));
  return QIcon(pm);
}

QWidget* QorvPicturePlugin::createWidget(QWidget* parent) { return new QorvPicture(parent); }

void QorvPicturePlugin::initialize(QDesignerFormEditorInterface* core) {
  if (initialized_) return;
  initialized_ = true;
  if (core == nullptr || core->extensionManager() == nullptr) return;
  QExtensionManager* manager = core->extensionManager();
  manager->registerExtensions(new QorvPictureTaskMenuFactory(manager), Q_TYPEID(QDesignerTaskMenuExtension));
}

QString QorvPicturePlugin::domXml() const {
  return QStringLiteral(
      "<ui language=\"c++\">\n"
      " <widget class=\"qorv::QorvPicture\" name=\"picture\">\n"
      "  <property name=\"geometry\"><rect><x>0</x><y>0</y><width>320</width><height>240</height></rect>"
      "</property>\n"
      " </widget>\n"
      "</ui>\n");
}

QorvPictureTaskMenu::QorvPictureTaskMenu(QorvPicture* picture, QObject* parent)
    : QObject(parent), picture_(picture), about_(new QAction(QStringLiteral("About QorvPictureBox…"), this)) {
  connect(about_, &QAction::triggered, this, [this] {
    if (!picture_) return;
    // Designer's event loop must never see an exception from the control.
    try {
      picture_->ShowAbout();
    } catch (const AutomationError& e) {
      QMessageBox::warning(picture_, QStringLiteral("QorvPictureBox"), QString::fromStdString(e.description()));
    }
  });
}

QAction* QorvPictureTaskMenu::preferredEditAction() const { return about_; }
QList<QAction*> QorvPictureTaskMenu::taskActions() const { return {about_}; }

QorvPictureTaskMenuFactory::QorvPictureTaskMenuFactory(QExtensionManager* parent) : QExtensionFactory(parent) {}

QObject* QorvPictureTaskMenuFactory::createExtension(QObject* object, const QString& iid, QObject* parent) const {
  auto* picture = qobject_cast<QorvPicture*>(object);
  if (picture == nullptr || iid != Q_TYPEID(QDesignerTaskMenuExtension)) return nullptr;
  return new QorvPictureTaskMenu(picture, parent);
}

}  // namespace qorv
