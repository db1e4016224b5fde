// Plain accessors, their change notifications and the panes they forward to.
#include "ControlFixture.h"
#include "control/MemberTable.h"

namespace qorv {
namespace {

using testing_support::ControlTest;
using testing_support::ErrorRecord;

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
  EXPECT_GE(checked, 49);  // the classic Let and Set properties at least
}

TEST_F(Notifications, NoAccessorClampsOrValidates) {
  ctl->setKeyboarZoomMin(500);
  ctl->setKeyboardZoomMax(20);
  ctl->setKeyboardZoomFactor(0);
  EXPECT_EQ(std::tuple(ctl->KeyboarZoomMin(), ctl->KeyboardZoomMax(), ctl->KeyboardZoomFactor()), std::tuple(500, 20, 0));
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
  ctl->setBorderStyle(1);
  EXPECT_EQ(in().picPane().DrawWidth(), 3);
  EXPECT_EQ(in().picPane().FillColor(), 0x0000FFu);
  EXPECT_EQ(in().Buffer().BorderStyle(), in().picPane().BorderStyle());
}

TEST_F(Notifications, ErrorRecordClears) {
  using namespace error_record;
  in().setError(FormatNotSupported, "File format not supported (.xyz)", FlagWarning);
  EXPECT_EQ(error(), (ErrorRecord{FormatNotSupported, "File format not supported (.xyz)", FlagWarning}));
  ctl->ClearError();
  EXPECT_EQ(error(), (ErrorRecord{0, QString(), 0}));
  // Assigning a picture starts from a clean record too.
  in().setError(InvalidFileFormat, "x", FlagCritical);
  ctl->setPicture(nullptr);
  EXPECT_EQ(ctl->LastErrorCode(), 0);
}

}  // namespace
}  // namespace qorv
