// Writes the automation member reference (Markdown) from the member table, so
// the page listing dispatch ids and help strings cannot drift from the code.
//   member-table-doc OUT.md
#include <cstdio>

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

#include "control/MemberTable.h"

namespace {

QString cell(QString text) { return text.replace(u'|', QStringLiteral("\\|")); }
QString cell(const char* text) { return cell(QString::fromUtf8(text)); }

QString arguments(const qorv::DispatchMember& m) {
  QStringList out;
  for (const qorv::DispatchArg& a : m.args)
    out << QStringLiteral("%1%2%3 As %4%5")
               .arg(a.optional ? QStringLiteral("[") : QString(), a.byRef ? QStringLiteral("ByRef ") : QString(),
                    QString::fromLatin1(a.name), QString::fromLatin1(a.type),
                    a.optional ? QStringLiteral("]") : QString());
  return out.join(QStringLiteral(", "));
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  if (argc != 2) {
    std::fputs("usage: member-table-doc OUT.md\n", stderr);
    return 2;
  }
  QFile file(QString::fromLocal8Bit(argv[1]));
  if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
    std::fprintf(stderr, "member-table-doc: cannot write %s\n", argv[1]);
    return 1;
  }
  QTextStream out(&file);
  out << "# Automation members {#automation_members}\n\n"
         "Every member of the classic surface, in interface order, then the members added after it: "
         "the dispatch id `invoke()` takes, the kind, the arguments, the type and the help string. "
         "Generated from the control's member table.\n\n"
         "| id | member | kind | arguments | type | help |\n|---:|---|---|---|---|---|\n";
  for (const qorv::DispatchMember& m : qorv::dispatchTable())
    out << "| " << m.dispid << " | `" << m.name << "` | " << m.kindText << " | " << cell(arguments(m))
        << " | " << m.type << " | " << cell(m.help) << " |\n";
  out << "\n## Qt surface\n\n"
         "Meta-object members beside the classic ones (not reachable through `invoke()`); each property "
         "goes through the classic member named.\n\n| member | through | help |\n|---|---|---|\n";
  for (const qorv::QtMember& m : qorv::qtSurfaceTable())
    out << "| `" << m.name << "` | " << (*m.classic ? QStringLiteral("`%1`").arg(QString::fromLatin1(m.classic))
                                                     : QStringLiteral("—"))
        << " | " << cell(m.help) << " |\n";
  return out.status() == QTextStream::Ok ? 0 : 1;
}
