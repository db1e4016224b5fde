// The Qt surface beside the classic one: QColor properties over the classic
// colour references, NOTIFY signals, QImage access and dialog-free file access.
#include <QMetaProperty>
#include <QPalette>
#include <QTemporaryDir>

#include "ControlFixture.h"
#include "control/MemberTable.h"
#include "support/TestNames.h"

namespace qorv {
namespace {

using testing_support::ControlTest;

qint32 classicValue(QorvPicture& c, const char* name) {
  QVariantList none;
  return c.invoke(QString::fromLatin1(name), QorvPicture::PropertyGet, none).value<qint32>();
}

TEST(QtSurfaceTable, EveryMemberIsInTheMetaObjectBesideTheClassicOnes) {
  const QMetaObject& mo = QorvPicture::staticMetaObject;
  for (const QtMember& m : qtSurfaceTable()) {
    // Qt names are matched exactly; automation lookups ignore case, so a Qt
    // name may look like a classic one but must never be one.
    const DispatchMember* same = findMember(QString::fromLatin1(m.name));
    EXPECT_TRUE(same == nullptr || std::string_view(same->name) != m.name) << m.name;
    if (*m.classic) {
      EXPECT_NE(findMember(QString::fromLatin1(m.classic)), nullptr) << m.classic;
    }
    const int p = mo.indexOfProperty(m.name);
    if (p >= 0) {
      EXPECT_TRUE(mo.property(p).hasNotifySignal()) << m.name;
      continue;
    }
    EXPECT_TRUE(testing_support::hasMethod(mo, m.name)) << m.name;
  }
}

struct ColourCase {
  const char* qtName;
  const char* classic;
  QColor (QorvPicture::*get)() const;
  void (QorvPicture::*set)(const QColor&);
  void (QorvPicture::*notify)(const QColor&);
};
void PrintTo(const ColourCase& c, std::ostream* os) { *os << c.qtName; }

class QtColour : public ControlTest, public ::testing::WithParamInterface<ColourCase> {};

TEST_P(QtColour, GoesThroughTheClassicReferenceAndNotifiesChangesOnly) {
  const ColourCase& c = GetParam();
  QList<QColor> sent;
  QObject::connect(ctl.get(), c.notify, [&](const QColor& v) { sent << v; });

  (ctl.get()->*c.set)(QColor(255, 0, 0));
  EXPECT_EQ(classicValue(*ctl, c.classic), 0x0000FF) << "0x00BBGGRR, red in the low byte";
  EXPECT_EQ((ctl.get()->*c.get)(), QColor(255, 0, 0));
  EXPECT_TRUE(host.changed.contains(QString::fromLatin1(c.classic)));
  (ctl.get()->*c.set)(QColor(255, 0, 0, 10));  // same colour, alpha ignored
  (ctl.get()->*c.set)(QColor());               // invalid: ignored
  EXPECT_EQ(sent, QList<QColor>{QColor(255, 0, 0)});

  // A classic assignment of a system colour reads back resolved, and notifies.
  QVariantList buttonFace{static_cast<qint32>(vbButtonFace)};
  ctl->invoke(QString::fromLatin1(c.classic), QorvPicture::PropertyLet, buttonFace);
  EXPECT_EQ((ctl.get()->*c.get)(), QPalette().color(QPalette::Button));
  EXPECT_EQ(sent.size(), 2);
}

INSTANTIATE_TEST_SUITE_P(
    Colours, QtColour,
    ::testing::Values(
        ColourCase{"backgroundColor", "BackColor", &QorvPicture::backgroundColor, &QorvPicture::setBackgroundColor,
                   &QorvPicture::backgroundColorChanged},
        ColourCase{"foregroundColor", "ForeColor", &QorvPicture::foregroundColor, &QorvPicture::setForegroundColor,
                   &QorvPicture::foregroundColorChanged},
        ColourCase{"shapeFillColor", "FillColor", &QorvPicture::shapeFillColor, &QorvPicture::setShapeFillColor,
                   &QorvPicture::shapeFillColorChanged},
        ColourCase{"osdBackgroundColor", "OSDBackColor", &QorvPicture::osdBackgroundColor,
                   &QorvPicture::setOsdBackgroundColor, &QorvPicture::osdBackgroundColorChanged},
        ColourCase{"osdForegroundColor", "OSDForeColor", &QorvPicture::osdForegroundColor,
                   &QorvPicture::setOsdForegroundColor, &QorvPicture::osdForegroundColorChanged},
        ColourCase{"osdShadowColor", "OSDShaddowColor", &QorvPicture::osdShadowColor,
                   &QorvPicture::setOsdShadowColor, &QorvPicture::osdShadowColorChanged}),
    [](const auto& c) { return test_support::readableName(c.param.qtName); });

using QtSurface = ControlTest;

TEST_F(QtSurface, ZoomAndOffsetNotifyTheirNewValuesOnce) {
  sizeTo(50, 50);
  ctl->setPicture(pattern(400, 300));
  QList<int> zooms;
  QList<QPoint> offsets;
  QObject::connect(ctl.get(), &QorvPicture::zoomChanged, [&](int z) { zooms << z; });
  QObject::connect(ctl.get(), &QorvPicture::offsetChanged, [&](const QPoint& p) { offsets << p; });

  ctl->setZoom(200);          // classic setter
  ctl->setZoomPercent(200);   // unchanged: no signal
  ctl->setZoomPercent(1 << 20);  // clamped, never an exception
  EXPECT_EQ(zooms, (QList<int>{200, ctl->zoomPercent()}));
  EXPECT_EQ(ctl->zoomPercent(), ctl->Zoom());

  offsets.clear();
  ctl->setOffset(QPoint(10, 20));
  ASSERT_FALSE(offsets.isEmpty());
  EXPECT_EQ(offsets.last(), ctl->offset());
  EXPECT_EQ(ctl->offset(), QPoint(ctl->OffsetX(), ctl->OffsetY()));
}

TEST_F(QtSurface, ImageRoundTripDropsAlphaAndNotifies) {
  int changes = 0;
  int classicChanges = 0;
  QObject::connect(ctl.get(), &QorvPicture::pictureChanged, [&] { ++changes; });
  QObject::connect(ctl.get(), &QorvPicture::PictureChanged, [&] { ++classicChanges; });
  QImage translucent(3, 2, QImage::Format_ARGB32);
  translucent.fill(qRgba(255, 0, 0, 0));
  ctl->setImage(translucent);
  EXPECT_EQ(ctl->image().pixel(1, 1), qRgb(255, 0, 0));
  EXPECT_EQ(std::pair(changes, classicChanges), std::pair(1, 1));
}

TEST_F(QtSurface, BusyWhileAFilterRunsAndPictureChangedOnceItsResultIsIn) {
  ctl->setPicture(pattern(40, 30));
  const QImage before = ctl->image();
  QList<QImage> seen;
  QObject::connect(ctl.get(), &QorvPicture::pictureChanged, [&] { seen << ctl->image(); });
  QList<bool> states;
  bool busyInside = false;
  QObject::connect(ctl.get(), &QorvPicture::busyChanged, [&](bool b) { states << b; });
  QObject::connect(ctl.get(), &QorvPicture::Process, [&](int, const QString&) { busyInside |= ctl->isBusy(); });
  ctl->Grayscale();
  EXPECT_EQ(states, (QList<bool>{true, false}));
  EXPECT_TRUE(busyInside);
  EXPECT_FALSE(ctl->isBusy());
  ASSERT_EQ(seen.size(), 1);
  EXPECT_NE(seen.first(), before);
  EXPECT_EQ(seen.first(), ctl->image());
}

TEST_F(QtSurface, FilesOpenAndSaveWithoutDialogsOrExceptions) {
  QTemporaryDir dir;
  const QString path = dir.filePath(QStringLiteral("picture.png"));
  EXPECT_FALSE(ctl->saveFile(path));
  EXPECT_TRUE(ctl->errorString().startsWith(QString("error %1: ").arg(error_record::NothingToSave))) << ctl->errorString().toStdString();
  EXPECT_FALSE(ctl->openFile(QString()));
  EXPECT_FALSE(ctl->errorString().isEmpty());
  EXPECT_FALSE(ctl->openFile(dir.filePath(QStringLiteral("missing.png"))));
  EXPECT_TRUE(ctl->errorString().startsWith(QString("error %1: ").arg(error_record::LoadFailed))) << ctl->errorString().toStdString();

  ctl->setImage(testmodel::patternImage(7, 5));
  ASSERT_TRUE(ctl->saveFile(path));
  ctl->setImage(QImage());
  int changes = 0;
  QObject::connect(ctl.get(), &QorvPicture::pictureChanged, [&] { ++changes; });
  ASSERT_TRUE(ctl->openFile(path)) << ctl->errorString().toStdString();
  EXPECT_TRUE(ctl->errorString().isEmpty());
  EXPECT_EQ(ctl->image(), testmodel::patternImage(7, 5).convertToFormat(QImage::Format_RGB32));
  EXPECT_GE(changes, 1);
}

}  // namespace
}  // namespace qorv
