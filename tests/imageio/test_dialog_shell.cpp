// The classic dialog convention over the replaceable dialog service, and the
// shell call's result codes.
#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

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
  const FileDialogRequest& r = fake.seen[0];
  EXPECT_EQ(r.descriptions, (QStringList{"Pictures", "All"}));
  EXPECT_EQ(r.patterns, (QStringList{"*.png;*.bmp", "*.*"}));
  EXPECT_EQ(r.owner, 7u);
  EXPECT_EQ(r.initialDir, QStringLiteral("/x"));
  EXPECT_EQ(r.title, QStringLiteral("Pick"));
  EXPECT_FALSE(r.save);
  EXPECT_EQ(r.flags, 0u);
  EXPECT_EQ(r.filterIndex, 0);
}

TEST_F(DialogTest, EmptyTitleBecomesTheApplicationTitleInTheCaller) {
  QString pattern = FreeImageSavePattern();
  QString title;
  fake.reply = {false, QString(), 3};
  std::int32_t filter = 9;
  EXPECT_EQ(Dialog(pattern, 0, QString(), title, 2, true, &filter, QStringLiteral("a.png")), QString());
  EXPECT_EQ(title, host().appTitle());
  EXPECT_EQ(fake.seen.at(0).title, host().appTitle());
  EXPECT_TRUE(fake.seen[0].save);
  EXPECT_EQ(fake.seen[0].flags, 2u);
  EXPECT_EQ(fake.seen[0].filterIndex, 9);
  EXPECT_EQ(fake.seen[0].fileName, QStringLiteral("a.png"));
  EXPECT_EQ(fake.seen[0].descriptions.size(), 11);
  // Written back even though the user cancelled.
  EXPECT_EQ(filter, 3);
}

TEST_F(DialogTest, ResultFollowsTheFileBufferRules) {
  const QString longName = QString(254, u'n');
  struct Case {
    const char* label;
    QString fileName;
    bool accepted;
    QString chosen;
    QString expected;
  };
  const Case cases[] = {
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
  for (const Case& c : cases) {
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
  EXPECT_TRUE(fake.seen.empty());
  EXPECT_EQ(filter, 4);
  // The by-reference changes that precede the buffer still happened.
  EXPECT_EQ(title, host().appTitle());
  EXPECT_EQ(pattern, QStringLiteral("A%1*.a").arg(QChar(u'\0')));
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
  EXPECT_EQ(ShellExecute(0, dir.filePath(QStringLiteral("missing.txt")), QString()), 0);
  EXPECT_EQ(ShellExecute(0, dir.filePath(QStringLiteral("no/such/dir/a.txt")), QString()), 3);
  EXPECT_EQ(ShellExecute(0, QStringLiteral("a.txt"), dir.filePath(QStringLiteral("nodir"))), 3);
  EXPECT_EQ(ShellExecute(0, QStringLiteral("missing.txt"), dir.path()), 0);
  EXPECT_EQ(ShellExecute(0, QString(), dir.path()), 0);
}

}  // namespace
