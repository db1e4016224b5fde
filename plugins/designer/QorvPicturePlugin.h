// Qt Designer integration of QorvPicture: the widget-box entry and a task-menu
// entry that shows the control's About box.
#pragma once

#include <QtUiPlugin/QDesignerCustomWidgetInterface>
#include <QDesignerTaskMenuExtension>
#include <QExtensionFactory>
#include <QObject>
#include <QPointer>

namespace qorv {

class QorvPicture;

class QorvPicturePlugin : public QObject, public QDesignerCustomWidgetInterface {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID "org.qt-project.Qt.QDesignerCustomWidgetInterface")
  Q_INTERFACES(QDesignerCustomWidgetInterface)

 public:
  explicit QorvPicturePlugin(QObject* parent = nullptr);

  QString name() const override;
  QString group() const override;
  QString toolTip() const override;
  QString whatsThis() const override;
  QString includeFile() const override;
  QIcon icon() const override;
  bool isContainer() const override;
  QWidget* createWidget(QWidget* parent) override;
  bool isInitialized() const override;
  void initialize(QDesignerFormEditorInterface* core) override;
  QString domXml() const override;

 private:
  bool initialized_ = false;
};

// "About QorvPictureBox…" on the control's context menu in a form.
class QorvPictureTaskMenu : public QObject, public QDesignerTaskMenuExtension {
  Q_OBJECT
  Q_INTERFACES(QDesignerTaskMenuExtension)

 public:
  QorvPictureTaskMenu(QorvPicture* picture, QObject* parent);
  QAction* preferredEditAction() const override;
  QList<QAction*> taskActions() const override;

 private:
  QPointer<QorvPicture> picture_;
  QAction* about_;
};

class QorvPictureTaskMenuFactory : public QExtensionFactory {
  Q_OBJECT

 public:
  explicit QorvPictureTaskMenuFactory(QExtensionManager* parent = nullptr);

 protected:
  QObject* createExtension(QObject* object, const QString& iid, QObject* parent) const override;
};

}  // namespace qorv
