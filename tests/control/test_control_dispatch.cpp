// The automation surface: the dispatch table, invoke() argument handling,
// Qt meta-object reachability and the event hook.
#include <QMetaMethod>
#include <QMetaProperty>
#include <QSet>

#include "ControlFixture.h"
#include "control/MemberTable.h"
#include <QorvPictureBox/AutomationError.h>

namespace qorv {
namespace {

using testing_support::ControlTest;

TEST(DispatchTable, IdsFollowInterfaceOrderWithTheTwoStandardIds) {
  // The classic surface is the first 128 members; members added beyond it
  // follow and continue the numbering.
  const auto& t = dispatchTable();
  constexpr std::size_t kClassic = 128;
  ASSERT_GE(t.size(), kClassic);
  EXPECT_STREQ(t.front().name, "JPEG_LOAD_QUALITY");
  EXPECT_EQ(t.front().dispid, 1);
  EXPECT_STREQ(t[kClassic - 1].name, "ClearError");
  EXPECT_EQ(findMember("Font")->dispid, -512);
  EXPECT_EQ(findMember("ShowAbout")->dispid, -552);
  EXPECT_EQ(findMember("BorderStyle")->dispid, 5);  // numbering skips Font
  QSet<int> ids;
  int expected = 1;
  for (const DispatchMember& m : t) {
    EXPECT_FALSE(ids.contains(m.dispid)) << m.name;
    ids.insert(m.dispid);
    if (m.dispid > 0) {
      EXPECT_EQ(m.dispid, expected++) << m.name;
    }
    EXPECT_TRUE(m.call) << m.name;
    EXPECT_NE(m.kinds, 0) << m.name;
    EXPECT_EQ(findMember(m.dispid), &m);
    EXPECT_EQ(findMember(QString::fromLatin1(m.name).toLower()), &m);
    EXPECT_EQ(QorvPicture::dispidOf(QString::fromLatin1(m.name)), m.dispid);
  }
  EXPECT_EQ(QorvPicture::dispidOf("NoSuchMember"), 0);
}

// Every table member is reachable through Qt, and nothing reachable by name
// through Qt is missing from the table, so invoke() and the meta-object never
// disagree.
TEST(DispatchTable, TableAndQtMetaObjectHoldTheSameMembers) {
  const QMetaObject& mo = QorvPicture::staticMetaObject;
  for (const DispatchMember& m : dispatchTable()) {
    const bool isProperty = (m.kinds & (QorvPicture::PropertyLet | QorvPicture::PropertySet)) ||
                            (std::string(m.kindText) == "Get" && m.args.empty());
    if (isProperty)
      EXPECT_GE(mo.indexOfProperty(m.name), 0) << m.name;
    else
      EXPECT_TRUE(testing_support::hasMethod(mo, m.name)) << m.name;
  }
  for (int i = mo.propertyOffset(); i < mo.propertyCount(); ++i) {
    if (findQtMember(mo.property(i).name())) continue;  // the Qt surface, checked with it
    const DispatchMember* m = findMember(QString::fromLatin1(mo.property(i).name()));
    ASSERT_NE(m, nullptr) << mo.property(i).name();
    EXPECT_EQ(mo.property(i).isWritable(), (m->kinds & (QorvPicture::PropertyLet | QorvPicture::PropertySet)) != 0)
        << m->name;
  }
  for (int i = mo.methodOffset(); i < mo.methodCount(); ++i) {
    const QMetaMethod mm = mo.method(i);
    if (mm.methodType() != QMetaMethod::Method || findQtMember(mm.name().constData())) continue;
    EXPECT_NE(findMember(QString::fromLatin1(mm.name())), nullptr) << mm.name().constData();
  }
}

TEST(DispatchTable, EventsHaveTheirIdsAndSignals) {
  const auto& ev = eventTable();
  ASSERT_EQ(ev.size(), 28u);
  const QMetaObject& mo = QorvPicture::staticMetaObject;
  for (const EventInfo& e : ev) {
    bool found = false;
    for (int i = mo.methodOffset(); i < mo.methodCount(); ++i) {
      const QMetaMethod mm = mo.method(i);
      if (mm.methodType() != QMetaMethod::Signal || mm.name() != e.name) continue;
      found = true;
      ASSERT_EQ(static_cast<std::size_t>(mm.parameterCount()), e.args.size()) << e.name;
      for (int a = 0; a < mm.parameterCount(); ++a) EXPECT_EQ(mm.parameterNames()[a], e.args[a]) << e.name;
    }
    EXPECT_TRUE(found) << e.name;
  }
}

using Invoke = ControlTest;

TEST_F(Invoke, BadCallsRaiseTheClassicErrors) {
  const QVariant missing;
  const struct { const char* name; int kind; QVariantList args; int error; } cases[] = {
      {"Zoom", QorvPicture::PropertyLet, {"abc"}, errors::TypeMismatch},
      {"Zoom", QorvPicture::PropertyLet, {40000}, errors::Overflow},
      {"Zoom", QorvPicture::PropertyLet, {}, errors::WrongNumberOfArguments},
      {"Zoom", QorvPicture::PropertyLet, {1, 2}, errors::WrongNumberOfArguments},
      {"Zoom", QorvPicture::PropertyLet, {missing}, errors::ArgumentNotOptional},
      {"Zoom", QorvPicture::PropertyGet, {1}, errors::WrongNumberOfArguments},
      {"Zoom", QorvPicture::PropertySet, {1}, errors::NotSupported},
      {"PictureW", QorvPicture::PropertyLet, {1}, errors::NotSupported},
      {"Refresh", QorvPicture::Method, {true, 1}, errors::WrongNumberOfArguments},
      {"Offset", QorvPicture::Method, {1}, errors::ArgumentNotOptional},
      {"Offset", QorvPicture::Method, {missing, 2}, errors::ArgumentNotOptional},
      {"Offset", QorvPicture::Method, {"x", 2}, errors::TypeMismatch},
      {"Picture", QorvPicture::PropertySet, {42}, errors::TypeMismatch},
      {"Font", QorvPicture::PropertySet, {QString("Arial")}, errors::TypeMismatch},
      {"AddCustomFilter", QorvPicture::Method, {5}, errors::TypeMismatch},
      {"NoSuchMember", QorvPicture::Method, {}, errors::NotSupported},
      {"Refresh", 0, {}, errors::NotSupported},
      {"Refresh", QorvPicture::Method, {}, 0},
      {"Refresh", QorvPicture::Method, {missing}, 0},
      {"Zoom", QorvPicture::PropertyLet, {"150"}, 0},
      {"Zoom", QorvPicture::Method | QorvPicture::PropertyGet, {}, 0},
  };
  for (const auto& c : cases) EXPECT_EQ(invokeError(c.name, c.args, c.kind), c.error) << c.name << " kind " << c.kind;
}

TEST_F(Invoke, ValuesRoundTripByIdAndName) {
  QVariantList set{250};
  ctl->invoke(findMember("Zoom")->dispid, QorvPicture::PropertyLet, set);
  EXPECT_EQ(ctl->Zoom(), 250);
  QVariantList none;
  EXPECT_EQ(ctl->invoke("zoom", QorvPicture::PropertyGet, none).toInt(), 250);
  QVariantList half{2.5};
  ctl->invoke("OffsetY", QorvPicture::PropertyLet, half);
  EXPECT_EQ(ctl->OffsetY(), 2);  // halves to even
  QVariantList font{QVariant::fromValue(Font::create())};
  ctl->invoke(-512, QorvPicture::PropertySet, font);
  EXPECT_EQ(ctl->Font().get(), font[0].value<FontPtr>().get());
  QVariantList t{QString("True")};
  ctl->invoke("Tiled", QorvPicture::PropertyLet, t);
  EXPECT_TRUE(ctl->Tiled());
}

using Events = ControlTest;

TEST_F(Events, HookRunsFirstAndHandlersChangeByReferenceArguments) {
  QStringList order;
  ctl->setEventHook([&](int id, QVariantList& a) {
    order << QString("hook %1").arg(id);
    if (id == int(EventId::OSDDraw)) a[0] = a[0].toString() + "!";
  });
  QObject::connect(ctl.get(), &QorvPicture::OSDDraw, [&](QString* text, bool* cancel) {
    order << "signal " + *text;
    *cancel = true;
  });
  QVariantList args{QString("X:1 Y:2"), false};
  in().raiseEvent(EventId::OSDDraw, args);
  EXPECT_EQ(order, (QStringList{QString("hook %1").arg(int(EventId::OSDDraw)), "signal X:1 Y:2!"}));
  EXPECT_EQ(args[0].toString(), QString("X:1 Y:2!"));
  EXPECT_TRUE(args[1].toBool());
}

TEST_F(Events, OutOfSequenceZoomIds) {
  QList<int> ids;
  ctl->setEventHook([&](int id, QVariantList&) { ids << id; });
  int finished = 0, begun = 0;
  QObject::connect(ctl.get(), &QorvPicture::ZoomFinished, [&] { ++finished; });
  QObject::connect(ctl.get(), &QorvPicture::ZoomBegin, [&] { ++begun; });
  QVariantList none;
  in().raiseEvent(EventId::ZoomFinished, none);
  EXPECT_EQ(finished, 1);
  EXPECT_EQ(begun, 0);
  in().raiseEvent(EventId::ZoomBegin, none);
  EXPECT_EQ(begun, 1);
  in().raiseEvent(static_cast<EventId>(99), none);  // unknown ids are ignored
  EXPECT_EQ(ids, (QList<int>{int(EventId::ZoomFinished), int(EventId::ZoomBegin), 99}));
}

}  // namespace
}  // namespace qorv
