// Saving and restoring the control's settings in a host's property store.
// Keys, their order, defaults and where each value goes are facts of the
// member table's rows; this file only walks them.
#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/PropertyBag.h>
#include <QorvPictureBox/QorvPicture.h>

#include "control/MemberTable.h"
#include "control/QorvPicturePrivate.h"

namespace qorv {

namespace {

// The store's or the conversion's error, with the key it stopped at.
[[noreturn]] void raiseAt(const AutomationError& e, const char* key) {
  throw AutomationError(e.number(), e.source(), e.description() + " (property \"" + key + "\")");
}

}  // namespace

void QorvPicture::WriteProperties(PropertyBag& PropBag) {
  for (const PersistenceStep& step : persistencePlan(dispatchTable(), false)) {
    const QVariant value = readProperty(*this, *step.member);
    PropBag.WriteProperty(QString::fromLatin1(step.entry.key), value, step.entry.writeDefault.of(*this));
  }
}

void QorvPicture::ReadProperties(PropertyBag& PropBag) {
  for (const PersistenceStep& step : persistencePlan(dispatchTable(), true)) {
    const DispatchMember& m = *step.member;
    const PersistedKey& k = step.entry;
    try {
      const QVariant stored = PropBag.ReadProperty(QString::fromLatin1(k.key), k.readDefault.of(*this));
      // Converted before anything is applied, so a bad value changes nothing.
      const QVariant value = m.convert(stored);
      if (k.target)
        k.target(*this, value);
      else if (k.into == ReadInto::Setter)
        assignProperty(*this, m, value);
      else
        m.store(*this, value);
    } catch (const AutomationError& e) {
      raiseAt(e, k.key);
    }
  }
}

}  // namespace qorv
