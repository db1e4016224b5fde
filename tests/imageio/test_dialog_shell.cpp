// The classic dialog convention over the replaceable dialog service, and the
// shell call's result codes.
#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include <tuple>

#include "imageio/Dialog.h"
#include "imageio/FormatTable.h"
#include "platform/FileDialog.h"
#include "platform/Host.h"
#include "platform/Shell.h"

using namespace qorv;
using namespace qorv::imageio;

namespace {

class ScriptedDialog final : public FileDialogService {
 public:
  FileDialogResult reply;
  std::vector<FileDialogRequest> seen;
  FileDialogResult run(const FileDialogRequest& r) override {
    seen.push_back(r);
    return reply;
  }
};

// Every field of a request, for comparing whole requests.
auto fields(const FileDialogRequest& r) {
  return std::tuple(r.save, r.owner, r.descriptions, r.patterns, r.filterIndex, r.initialDir, r.title, r.flags,
                    r.fileName);
}

class DialogTest : public ::testing::Test {
 protected:
  void SetUp() override { setFileDialogService(&fake); }
  void TearDown() override { setFileDialogService(nullptr); }
  ScriptedDialog fake;
};

TEST_F(DialogTest, PatternBecomesNulSeparatedAndPairsReachTheService) {
  QString pattern = QStringLiteral("Pictures|*.png;*.bmp|All|*.*");
  QString title = QStringLiteral("Pick");
  fake.reply = {true, QStringLiteral("/x/y.png"), 1};
  EXPECT_EQ(Dialog(pattern, 7, QStringLiteral("/x"), title), QStringLiteral("/x/y.png"));
  EXPECT_EQ(pattern, QStringLiteral("Pictures%1*.png;*.bmp%1All%1*.*").arg(QChar(u'\0')));
  ASSERT_EQ(fake.seen.size(), 1u);
  EXPECT_EQ(fields(fake.seen[0]), fields({false, 7, {"Pictures", "All"}, {"*.png;*.bmp", "*.*"}, 0, "/x", "Pick", 0, {}}));
}

TEST_F(DialogTest, EmptyTitleBecomesTheApplicationTitleInTheCaller) {
  QString pattern = FreeImageSavePattern();
  QString title;
  fake.reply = {false, QString(), 3};
  std::int32_t filter = 9;
  EXPECT_EQ(Dialog(pattern, 0, QString(), title, 2, true, &filter, QStringLiteral("a.png")), QString());
  EXPECT_EQ(title, host().appTitle());
  ASSERT_EQ(fake.seen.size(), 1u);
  const FileDialogRequest& r = fake.seen[0];
  EXPECT_EQ(std::tuple(r.title, r.save, r.flags, r.filterIndex, r.fileName, r.descriptions.size()),
            std::tuple(host().appTitle(), true, 2u, 9, QStringLiteral("a.png"), 11));
  // Written back even though the user cancelled.
  EXPECT_EQ(filter, 3);
}

TEST_F(DialogTest, ResultFollowsTheFileBufferRules) {
  const QString longName = QString(254, u'n');
  const struct {
    const char* label;
    QString fileName;
    bool accepted;
    QString chosen;
    QString expected;
  } cases[] = {
      {"plain", QString(), true, QStringLiteral("/a/b.png"), QStringLiteral("/a/b.png")},
      {"cancelled", QStringLiteral("x.png"), false, QStringLiteral("/a/b.png"), QString()},
      {"tail of a longer proposed name survives", QStringLiteral("verylongname.png"), true, QStringLiteral("/x.png"),
       QStringLiteral("/x.pnggname.png")},
      // Trimming happens before the NULs go, so spaces in front of the
      // terminator survive while the padding behind it does not.
      {"outer spaces trimmed, inner ones kept", QString(), true, QStringLiteral("  /a b.png  "),
       QStringLiteral("/a b.png  ")},
      {"254 characters fit", longName, true, QStringLiteral("/p.png"), QStringLiteral("/p.png") + longName.mid(7)},
      {"a chosen path too long for the buffer fails", QString(), true, QString(255, u'q'), QString()},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    QString pattern = QStringLiteral("A|*.a");
    QString title = QStringLiteral("T");
    fake.reply = {c.accepted, c.chosen, 1};
    EXPECT_EQ(Dialog(pattern, 0, QString(), title, std::nullopt, std::nullopt, nullptr, c.fileName), c.expected);
  }
}

TEST_F(DialogTest, ProposedNameLongerThanTheBufferFailsWithoutADialog) {
  QString pattern = QStringLiteral("A|*.a");
  QString title;
  std::int32_t filter = 4;
  fake.reply = {true, QStringLiteral("/a.png"), 1};
  EXPECT_EQ(Dialog(pattern, 0, QString(), title, 0, false, &filter, QString(255, u'x')), QString());
  // The by-reference changes that precede the buffer still happened.
  EXPECT_EQ(std::tuple(fake.seen.size(), filter, title, pattern),
            std::tuple(0u, 4, host().appTitle(), QStringLiteral("A%1*.a").arg(QChar(u'\0'))));
}

class RecordingShell final : public ShellService {
 public:
  std::int32_t result = 42;
  QStringList calls;
  std::int32_t execute(std::uint32_t, const QString& op, const QString& file, const QString& params,
                       const QString& dir, int show) override {
    calls << QStringLiteral("%1|%2|%3|%4|%5").arg(op, file, params, dir).arg(show);
    return result;
  }
};

TEST(ShellExecuteCodes, FileNotFoundBecomesZeroOtherCodesPassThrough) {
  RecordingShell shell;
  setShellService(&shell);
  const std::pair<int, int> cases[] = {{2, 0}, {3, 3}, {31, 31}, {42, 42}, {33, 33}, {0, 0}};
  for (const auto& [platform, expected] : cases) {
    shell.result = platform;
    EXPECT_EQ(ShellExecute(0, QStringLiteral("/a.txt"), QStringLiteral("/"), QString(), QStringLiteral("open")),
              expected);
  }
  EXPECT_EQ(shell.calls.back(), QStringLiteral("open|/a.txt||/|1"));
  setShellService(nullptr);
}

TEST(ShellExecuteCodes, DesktopServiceReportsMissingFilesAndFolders) {
  // Only failing cases: nothing is ever launched by this test.
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  const std::tuple<QString, QString, int> cases[] = {
      {dir.filePath(QStringLiteral("missing.txt")), QString(), 0},  {dir.filePath(QStringLiteral("no/such/dir/a.txt")), QString(), 3},
      {QStringLiteral("a.txt"), dir.filePath(QStringLiteral("nodir")), 3}, {QStringLiteral("missing.txt"), dir.path(), 0},
      {QString(), dir.path(), 0}};
  for (const auto& [file, initDir, code] : cases) EXPECT_EQ(ShellExecute(0, file, initDir), code) << file.toStdString();
}

}  // namespace
