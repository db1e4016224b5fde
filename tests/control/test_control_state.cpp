// Defaults of a new control, plain accessors and their change notifications.
#include <QVariant>

#include "ControlFixture.h"
#include "control/MemberTable.h"

namespace qorv {
namespace {

using testing_support::ControlTest;

class Defaults : public ControlTest {};

TEST_F(Defaults, NewControlHasThePlacementState) {
  const struct {
    const char* name;
    QVariant value;
  } expected[] = {
      {"Zoom", 100},           {"ZoomType", 3},           {"KeyboarZoomMin", 1},     {"KeyboardZoomMax", 1000},
      {"KeyboardZoomFactor", 10}, {"OSDBackColor", 65280}, {"OSDForeColor", 65280},   {"HQInitialDelay", 250},
      {"HQAutoSwitch", true},  {"UseBltAIP", true},       {"Stretch", true},         {"Centered", true},
      {"KeepAspect", true},    {"AutoSize", false},       {"KeyboardScale", true},   {"MouseZoom", true},
      {"VisualZoom", false},   {"Tiled", false},          {"IgnoreOffsetBorder", false}, {"FastLoad", false},
      {"AutoSwitchToAPI", false}, {"LockUpdate", false},  {"ZoomFromOriginal", false}, {"ShowOffsetOSD", false},
      {"ZoomOSD", false},      {"OSDTransparent", true},  {"OSDShaddow", true},      {"OSDShaddowColor", 0},
      {"OSDShaddowSize", 2},   {"NoLoadingHourGlass", false}, {"JPEG_LOAD_QUALITY", 2}, {"LastErrorCode", 0},
      {"LastErrorDescription", QString()}, {"LastErrorFlag", 0}, {"CurrentFile", QString()}, {"OffsetX", 0},
      {"OffsetY", 0},          {"ToolTipText", QString()}, {"IsZooming", false},
  };
  for (const auto& e : expected) {
    QVariantList none;
    const QVariant viaQt = ctl->property(e.name);
    const QVariant viaDispatch = ctl->invoke(QString::fromLatin1(e.name), QorvPicture::PropertyGet, none);
    EXPECT_TRUE(viaQt.isValid()) << e.name;
    EXPECT_EQ(viaQt.toString(), e.value.toString()) << e.name;
    EXPECT_EQ(viaDispatch.toString(), e.value.toString()) << e.name;
  }
}

TEST_F(Defaults, OSDFontIsThePaneFontObject) {
  ASSERT_TRUE(ctl->Font());
  EXPECT_EQ(ctl->OSDFont().get(), ctl->Font().get());
  ctl->Font()->setBold(!ctl->Font()->Bold());
  EXPECT_EQ(ctl->OSDFont()->Bold(), ctl->Font()->Bold());
}

TEST_F(Defaults, ConstructionReportsNothingAndHasNoPicture) {
  EXPECT_TRUE(host.changed.isEmpty());
  EXPECT_EQ(handleOf(ctl->Picture()), 0u);
  EXPECT_EQ(in().framesComposed(), 0);
}

class Notifications : public ControlTest {};

// Every writable property reports exactly its own name, except the three
// that report nothing.
TEST_F(Notifications, EachAssignmentReportsItsOwnName) {
  int checked = 0;
  for (const DispatchMember& m : dispatchTable()) {
    const int kind = (m.kinds & QorvPicture::PropertyLet) ? QorvPicture::PropertyLet : QorvPicture::PropertySet;
    if (!(m.kinds & kind)) continue;
    const QString name = QString::fromLatin1(m.name);
    QVariantList get;
    QVariant current = ctl->invoke(name, QorvPicture::PropertyGet, get);
    host.changed.clear();
    QStringList viaSignal;
    const auto conn = QObject::connect(ctl.get(), &QorvPicture::propertyChangedNotify,
                                       [&](const QString& n) { viaSignal << n; });
    QVariantList set{current};
    ctl->invoke(name, kind, set);
    QObject::disconnect(conn);
    const bool silent = name == "NoLoadingHourGlass" || name == "OffsetX" || name == "OffsetY";
    EXPECT_EQ(host.changed, silent ? QStringList() : QStringList{name}) << m.name;
    EXPECT_EQ(viaSignal, host.changed) << m.name;
    ++checked;
  }
  EXPECT_EQ(checked, 49 + 5 + 3 + 4 + 2);  // Let and Set properties, classic and then WheelZoom,
                                           // KeepViewOnPictureChange, DevicePixels, the four
                                           // load-safety ones, SyncOnSave and ShowTransparency
}

TEST_F(Notifications, MisspelledNameIsKept) {
  ctl->setKeyboarZoomMin(5);
  EXPECT_EQ(host.changed, QStringList{"KeyboarZoomMin"});
  host.changed.clear();
  ctl->setJPEG_LOAD_QUALITY(0);
  EXPECT_EQ(host.changed, QStringList{"JPEG_LOAD_QUALITY"});
  host.changed.clear();
  ctl->setNoLoadingHourGlass(true);
  EXPECT_TRUE(host.changed.isEmpty());
  EXPECT_TRUE(ctl->NoLoadingHourGlass());
}

TEST_F(Notifications, NoAccessorClampsOrValidates) {
  ctl->setKeyboarZoomMin(500);
  ctl->setKeyboardZoomMax(20);
  ctl->setKeyboardZoomFactor(0);
  EXPECT_EQ(ctl->KeyboarZoomMin(), 500);
  EXPECT_EQ(ctl->KeyboardZoomMax(), 20);
  EXPECT_EQ(ctl->KeyboardZoomFactor(), 0);
  for (qint16 z : {qint16(0), qint16(-5), qint16(32767), qint16(-32768)}) {
    ctl->setZoom(z);
    EXPECT_EQ(ctl->Zoom(), z);
  }
  ctl->setZoomType(9);  // outside the enumeration: stored, the renderer copes
  EXPECT_EQ(ctl->ZoomType(), 9);
  ctl->setOffsetX(123456789);
  EXPECT_EQ(ctl->OffsetX(), 123456789);  // no picture: nothing clamps it
}

TEST_F(Notifications, ColoursReachTheRightPanes) {
  ctl->setBackColor(0x00123456);
  for (PictureBox* p : {&in().picPane(), &in().Buffer(), &in().bBuffer(), &in().ScalePicture(), &in().clipPicture()})
    EXPECT_EQ(p->BackColor(), 0x00123456u) << p->objectName().toStdString();
  const COLORREF otherFore = in().bBuffer().ForeColor();
  ctl->setForeColor(0x00ABCDEF);
  EXPECT_EQ(in().picPane().ForeColor(), 0x00ABCDEFu);
  EXPECT_EQ(in().Buffer().ForeColor(), 0x00ABCDEFu);
  EXPECT_EQ(in().bBuffer().ForeColor(), otherFore);
  EXPECT_EQ(in().ScalePicture().ForeColor(), otherFore);
}

TEST_F(Notifications, ForwardedPropertiesReadBackFromThePane) {
  ctl->setDrawWidth(3);
  ctl->setFillColor(0x0000FF);
  ctl->setCurrentX(12.5f);
  ctl->setBorderStyle(1);
  EXPECT_EQ(in().picPane().DrawWidth(), 3);
  EXPECT_EQ(in().picPane().FillColor(), 0x0000FFu);
  EXPECT_FLOAT_EQ(ctl->CurrentX(), 12.5f);
  EXPECT_EQ(in().Buffer().BorderStyle(), in().picPane().BorderStyle());
  ctl->setHQInitialDelay(40);
  EXPECT_EQ(in().InitTimer().Interval(), 40);
}

TEST_F(Notifications, ErrorRecordClears) {
  in().setError(101, "File format not supported (.xyz)", 48);
  EXPECT_EQ(ctl->LastErrorCode(), 101);
  EXPECT_EQ(ctl->LastErrorFlag(), 48);
  ctl->ClearError();
  EXPECT_EQ(ctl->LastErrorCode(), 0);
  EXPECT_EQ(ctl->LastErrorDescription(), QString());
  EXPECT_EQ(ctl->LastErrorFlag(), 0);
  // Assigning a picture starts from a clean record too.
  in().setError(500, "x", 16);
  ctl->setPicture(nullptr);
  EXPECT_EQ(ctl->LastErrorCode(), 0);
}

}  // namespace
}  // namespace qorv
