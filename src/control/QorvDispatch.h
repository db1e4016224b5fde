// The control's dispatch table: every automation member with its dispatch id,
// kind, type, arguments and help string, in interface order.
//
// Dispatch ids: `Font` has the standard font id -512 and `ShowAbout` the
// standard about-box id -552; every other member is numbered from 1 in
// interface order, skipping those two. Event ids are 1..28 as the signals of
// QorvPicture are declared (ZoomFinished 27, ZoomBegin 28).
#pragma once

#include <functional>
#include <vector>

#include <QString>
#include <QVariant>
#include <QVariantList>

namespace qorv {

class QorvPicture;

struct DispatchArg {
  const char* name;
  const char* type;  // Long, Integer, Boolean, Single, String, Variant, Object, Integer()
  bool optional;
  bool byRef;
};

struct DispatchMember {
  const char* name = "";
  const char* kindText = "";  // "Get/Let", "Sub", "Function", ...
  const char* type = "";      // result or property type; empty for a Sub
  std::vector<DispatchArg> args;
  const char* help = "";      // empty when the member has none
  int dispid = 0;
  int kinds = 0;         // QorvPicture::InvokeKind bits accepted
  // Called with arguments already checked for count and presence.
  std::function<QVariant(QorvPicture&, int kind, QVariantList& args)> call;
};

// The table in interface order.
const std::vector<DispatchMember>& dispatchTable();
// Member by dispatch id or by name (case-insensitive); nullptr if none.
const DispatchMember* findMember(int dispid);
const DispatchMember* findMember(const QString& name);

struct EventInfo {
  int id;
  const char* name;
  std::vector<const char*> args;
};
// The 28 events by id.
const std::vector<EventInfo>& eventTable();

}  // namespace qorv
