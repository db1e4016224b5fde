// invoke(): automation calls by dispatch id or name, with the argument checks
// every member shares, before the member table's own call runs.
#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/QorvPicture.h>

#include "control/MemberTable.h"
#include "control/VariantConversion.h"

namespace qorv {

namespace {

using QP = QorvPicture;

[[noreturn]] void notSupported() {
  raiseControlError(errors::NotSupported, "Object doesn't support this property or method");
}
[[noreturn]] void wrongArgumentCount() {
  raiseControlError(errors::WrongNumberOfArguments, "Wrong number of arguments or invalid property assignment");
}
[[noreturn]] void notOptional() { raiseControlError(errors::ArgumentNotOptional, "Argument not optional"); }

bool writable(const DispatchMember& m) { return (m.kinds & (QP::PropertyLet | QP::PropertySet)) != 0; }

QVariant dispatch(QP& c, const DispatchMember* m, int kind, QVariantList& args) {
  if (!m || !m->call) notSupported();
  if (kind == 0 || (kind & m->kinds) != kind) {
    // Hosts often ask for a method call or a property read in one go.
    if (!(kind == (QP::Method | QP::PropertyGet) && (m->kinds & QP::PropertyGet))) notSupported();
  }
  if (kind & (QP::PropertyLet | QP::PropertySet)) {
    if (!writable(*m)) notSupported();
    if (args.size() != 1) wrongArgumentCount();
    if (!args[0].isValid()) notOptional();
    return m->call(c, kind, args);
  }
  // Read or call: a writable property's listed argument is its new value, not a parameter.
  const int total = writable(*m) ? 0 : static_cast<int>(m->args.size());
  int required = 0;
  for (int i = 0; i < total; ++i)
    if (!m->args[static_cast<std::size_t>(i)].optional) required = i + 1;
  if (args.size() > total) wrongArgumentCount();
  for (int i = 0; i < required; ++i)
    if (i >= args.size() || !args[i].isValid()) notOptional();
  return m->call(c, kind, args);
}

}  // namespace

QVariant QorvPicture::invoke(int dispid, int kind, QVariantList& args) {
  return dispatch(*this, findMember(dispid), kind, args);
}

QVariant QorvPicture::invoke(const QString& name, int kind, QVariantList& args) {
  return dispatch(*this, findMember(name), kind, args);
}

int QorvPicture::dispidOf(const QString& name) {
  const DispatchMember* m = findMember(name);
  return m ? m->dispid : 0;
}

}  // namespace qorv
