// The control's automation surface described once: one row per member, in
// interface order, with its dispatch id, kind, arguments and help string and,
// for properties, where the value is stored, its InitProperties default,
// whether an assignment reports a change and what it does next. Dispatch
// (invoke), the typed C++ accessors and InitProperties all read this table.
//
// Dispatch ids: `Font` has the standard font id -512 and `ShowAbout` the
// standard about-box id -552; every other member is numbered from 1 in
// interface order, skipping those two. Members added beyond the classic
// surface follow the classic ones and continue the numbering.
#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <QVariantList>

#include <QorvPictureBox/QorvEnums.h>

namespace qorv {

class QorvPicture;

struct DispatchArg {
  const char* name;
  const char* type;  // Long, Integer, Boolean, Single, String, Variant, Object, Integer()
  bool optional;
  bool byRef;
};

// What a property assignment runs after storing the value and reporting it.
enum class FollowUp {
  None,
  Render,           // the full redraw, as Refresh runs it
  RenderWhenFalse,  // LockUpdate: redraw once the lock is released
  UpdateView,       // view update with redraw, without OffsetChanged
  Zoom,             // view update with redraw and OffsetChanged, then Zooming
  Offset,           // redraw, then OffsetChanged
  AutoSize,         // when now True: size the control to the picture, redraw
  ResizeWhenTrue,   // AutoRedraw: when now True, the control's resize handling
  Resize,           // the control's resize handling (the pane's units changed)
};

using PropertyGet = QVariant (*)(const QorvPicture&);
using PropertyStore = void (*)(QorvPicture&, const QVariant&);
using MemberCall = std::function<QVariant(QorvPicture&, int kind, QVariantList& args)>;
using InitialValue = QVariant (*)(QorvPicture&);
// A default handed to the property store with a value: fixed, computed from
// the control at that moment, or none at all (an invalid QVariant: the value
// is always written).
struct StoredDefault {
  QVariant value;
  InitialValue from = nullptr;
  QVariant of(QorvPicture& c) const { return from ? from(c) : value; }
};

// How a value read back from the property store reaches the control.
enum class ReadInto {
  Store,   // stored directly: no change report, no follow-up
  Setter,  // through the property's own assignment, which reports the change
};

// One entry of the property store: a member may have several (MouseIcon is
// written under "MoveIcon" and under "MouseIcon").
struct PersistedKey {
  const char* key;
  int writeOrder;  // 1-based position among the written keys
  int readOrder;   // 1-based position among the read keys
  StoredDefault writeDefault;
  StoredDefault readDefault;
  ReadInto into = ReadInto::Store;
  // Where a read value goes when it is not the member's own store.
  PropertyStore target = nullptr;
};

struct DispatchMember {
  const char* name = "";
  const char* kindText = "";  // "Get/Let", "Sub", "Function", ...
  const char* type = "";      // result or property type as published; empty for a Sub
  std::vector<DispatchArg> args;
  const char* help = "";      // empty when the member has none
  int dispid = 0;
  int kinds = 0;  // QorvPicture::InvokeKind bits accepted
  // Called with arguments already checked for count and presence.
  MemberCall call;

  // Properties whose value the table stores: `get` reads it (as the C++
  // getter's type), `store` writes it without reporting or follow-up (what
  // InitProperties and reading saved settings need).
  PropertyGet get = nullptr;
  PropertyStore store = nullptr;
  // An automation value converted to the property's own type (13 type
  // mismatch, 6 overflow); set for every writable property.
  QVariant (*convert)(const QVariant&) = nullptr;
  bool reportsChange = true;
  FollowUp followUp = FollowUp::None;
  QVariant initial;                    // InitProperties value (invalid: none)
  InitialValue initialFrom = nullptr;  // ... or computed when the control is placed

  // Its entries in the host's property store. Empty for members that are not
  // stored; writable members beyond the classic surface get one entry under
  // their own name after the classic keys (see persistencePlan).
  std::vector<PersistedKey> persisted;
};

// The table in interface order.
const std::vector<DispatchMember>& dispatchTable();
// Member by dispatch id or by name (case-insensitive); nullptr if none.
const DispatchMember* findMember(int dispid);
const DispatchMember* findMember(const QString& name);
// Member by its exact name, for the control's own accessors; a name missing
// from the table is a programming error and aborts loudly in every build.
const DispatchMember& member(std::string_view name);

// Reads a stored property.
QVariant readProperty(const QorvPicture& c, const DispatchMember& m);
// Assigns a stored property the way every plain setter does: store, report
// the change under the member's name (unless it is one that does not), then
// run its follow-up.
void assignProperty(QorvPicture& c, const DispatchMember& m, const QVariant& value);
// Stores every InitProperties default, in table order, with no report and no
// follow-up.
void storeInitialValues(QorvPicture& c);

// The Qt-idiomatic surface beside the classic one: Qt meta-object members
// (never automation members, so invoke() does not see them) under names that
// hide no QWidget member. A property that mirrors a classic member reads and
// writes through that member's dispatch, so it converts, reports and follows
// up exactly as the classic one does. Its NOTIFY signal, when it has one, is
// emitted after a report of `classic` or after any event in `notifyAfter`,
// and only when the value differs from the one last notified.
struct QtMember {
  const char* name;
  const char* classic = "";              // classic member it goes through; "" none
  std::vector<EventId> notifyAfter = {};  // events after which it may have changed
  const char* help = "";
};
// In the order the meta-object declares them, after the classic members.
const std::vector<QtMember>& qtSurfaceTable();
// Member by its exact (case-sensitive) Qt name; nullptr if none.
const QtMember* findQtMember(std::string_view name);

// A member's entry in the property store, resolved against a table.
struct PersistenceStep {
  const DispatchMember* member;
  PersistedKey entry;
};
// The entries of `table` in write order (`reading` false) or read order
// (`reading` true). Classic entries keep their own positions; each writable
// member beyond them (after the last classic row) that names no entry of its
// own is stored under its name, with its InitProperties value as both
// defaults, in table order after all classic entries.
std::vector<PersistenceStep> persistencePlan(const std::vector<DispatchMember>& table, bool reading);
// Number of classic rows in the table (the members beyond them follow).
std::size_t classicMemberCount();

struct EventInfo {
  int id;
  const char* name;
  std::vector<QByteArray> args;  // argument names, from the event's signal
};
// The 28 events by id, named by EventId.
const std::vector<EventInfo>& eventTable();

}  // namespace qorv
