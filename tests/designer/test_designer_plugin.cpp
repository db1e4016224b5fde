// The built Designer plugin loads as Designer loads it and offers the control
// with the Qt surface Designer's property editor works with.
#include <gtest/gtest.h>

#include <QtUiPlugin/QDesignerCustomWidgetInterface>
#include <QMetaProperty>
#include <QPluginLoader>
#include <QWidget>

#include <QorvPictureBox/QorvPicture.h>

namespace {

TEST(DesignerPlugin, LoadsAndCreatesTheControl) {
  QPluginLoader loader(QStringLiteral(QORV_DESIGNER_PLUGIN));
  QObject* instance = loader.instance();
  ASSERT_NE(instance, nullptr) << loader.errorString().toStdString();
  auto* plugin = qobject_cast<QDesignerCustomWidgetInterface*>(instance);
  ASSERT_NE(plugin, nullptr);

  EXPECT_EQ(plugin->name(), QStringLiteral("qorv::QorvPicture"));
  EXPECT_EQ(plugin->group(), QStringLiteral("Display Widgets"));
  EXPECT_EQ(plugin->includeFile(), QStringLiteral("QorvPictureBox/QorvPicture.h"));
  EXPECT_FALSE(plugin->icon().isNull());
  EXPECT_FALSE(plugin->isContainer());
  EXPECT_TRUE(plugin->domXml().contains(QStringLiteral("class=\"qorv::QorvPicture\"")));
  plugin->initialize(nullptr);
  EXPECT_TRUE(plugin->isInitialized());

  QWidget parent;
  QWidget* w = plugin->createWidget(&parent);
  auto* picture = qobject_cast<qorv::QorvPicture*>(w);
  ASSERT_NE(picture, nullptr);
  EXPECT_EQ(w->parent(), &parent);
  // Designer offers a colour picker for QColor properties and a check box for bool ones.
  const QMetaObject* mo = picture->metaObject();
  EXPECT_EQ(mo->property(mo->indexOfProperty("backgroundColor")).metaType(), QMetaType::fromType<QColor>());
  EXPECT_EQ(mo->property(mo->indexOfProperty("Stretch")).metaType(), QMetaType::fromType<bool>());
}

}  // namespace
