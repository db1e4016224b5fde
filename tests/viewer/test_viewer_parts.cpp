// The viewer's parts that need no window: command line, natural order of a
// folder, the memory-bounded undo history, the status panel's progress.
#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QStatusBar>
#include <QTemporaryDir>

#include <tuple>

#include "CommandLine.h"
#include "FolderBrowser.h"
#include "StatusPanel.h"
#include "UndoHistory.h"
#include "support/TestNames.h"

namespace qorv_view {
namespace {

struct CommandCase {
  const char* name;
  QStringList args;
  QString path;
  bool help;
  bool version;
  bool refused;
};

class CommandLineCases : public ::testing::TestWithParam<CommandCase> {};

TEST_P(CommandLineCases, ParsesOrRefuses) {
  const CommandCase& c = GetParam();
  const CommandLine cl = parseCommandLine(c.args);
  EXPECT_EQ(std::tuple(cl.path, cl.help, cl.version, !cl.error.isEmpty()), std::tuple(c.path, c.help, c.version, c.refused))
      << cl.error.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Viewer, CommandLineCases,
    ::testing::Values(CommandCase{"nothing", {}, {}, false, false, false},
                      CommandCase{"a file", {"a.png"}, "a.png", false, false, false},
                      CommandCase{"help", {"--help"}, {}, true, false, false},
                      CommandCase{"short help", {"-h"}, {}, true, false, false},
                      CommandCase{"version", {"--version"}, {}, false, true, false},
                      CommandCase{"unknown option is not a file", {"--bogus"}, {}, false, false, true},
                      CommandCase{"unknown short option", {"-x", "a.png"}, {}, false, false, true},
                      CommandCase{"dash dash takes a dashed name", {"--", "-odd.png"}, "-odd.png", false, false, false},
                      CommandCase{"two pictures", {"a.png", "b.png"}, "a.png", false, false, true},
                      CommandCase{"screenshot without a name", {"--screenshot"}, {}, false, false, true},
                      CommandCase{"size", {"--size", "320x200", "a.png"}, "a.png", false, false, false},
                      CommandCase{"settings file and no auto rotation",
                                  {"--settings", "v.ini", "--no-auto-rotate", "a.png"}, "a.png", false, false, false},
                      CommandCase{"settings without a name", {"--settings"}, {}, false, false, true},
                      CommandCase{"size of zero", {"--size", "0x200"}, {}, false, false, true},
                      CommandCase{"size not a number", {"--size", "wide"}, {}, false, false, true}),
    [](const auto& p) { return qorv::test_support::readableName(p.param.name); });

TEST(ViewerCommandLine, HelpAndVersionEndWithANewline) {
  // What they say is checked end to end by the command-line script.
  EXPECT_TRUE(usageText().endsWith(u'\n') && versionText().endsWith(u'\n'));
  const CommandLine all = parseCommandLine(
      {"--screenshot", "out.png", "--size", "320x200", "--settings", "v.ini", "--no-auto-rotate", "a.png"});
  EXPECT_EQ(std::tuple(all.screenshot, all.size, all.settings, all.autoRotate),
            std::tuple(QStringLiteral("out.png"), QSize(320, 200), QStringLiteral("v.ini"), false));
  EXPECT_TRUE(parseCommandLine({}).autoRotate);
}

TEST(ViewerFolder, SortsNaturallyAndBrowsesWrappingAround) {
  QStringList names{"img10.png", "IMG2.png", "img1.png", "b.png", "img2a.png"};
  sortNaturally(names);
  EXPECT_EQ(names, QStringList({"b.png", "img1.png", "IMG2.png", "img2a.png", "img10.png"}));

  QTemporaryDir dir;
  for (const char* n : {"p10.png", "p2.png", "p1.PNG", "notes.txt"}) {
    QFile f(dir.filePath(QString::fromLatin1(n)));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  }
  const QStringList exts{"png"};
  const QStringList all = picturesInFolder(dir.path(), exts);
  QStringList found;
  for (const QString& p : all) found << QFileInfo(p).fileName();
  ASSERT_EQ(found, QStringList({"p1.PNG", "p2.png", "p10.png"}));  // the text file is not a picture
  EXPECT_EQ(std::tuple(neighbourPicture(all[0], 1, exts), neighbourPicture(all[2], 1, exts), neighbourPicture(all[0], -1, exts)),
            std::tuple(all[1], all[0], all[2]));
}

QImage filled(int w, int h, QRgb c) {
  QImage img(w, h, QImage::Format_RGB32);
  img.fill(c);
  return img;
}

TEST(ViewerUndo, StepsBackAndForthThroughEveryLevel) {
  UndoHistory h;
  const QImage a = filled(4, 4, 0xff0000), b = filled(4, 4, 0x00ff00), c = filled(2, 8, 0x0000ff);
  h.recordBefore("one", a);
  h.recordBefore("two", b);
  EXPECT_EQ(h.undoLabel(), QStringLiteral("two"));
  EXPECT_EQ(h.undo(c), b);
  EXPECT_EQ(h.undo(b), a);
  EXPECT_FALSE(h.canUndo());
  EXPECT_EQ(h.redo(a), b);
  EXPECT_EQ(h.redo(b), c);
  EXPECT_FALSE(h.canRedo());
  // A new operation after undoing forgets what could be redone.
  h.undo(c);
  h.recordBefore("three", b);
  EXPECT_FALSE(h.canRedo());
  EXPECT_EQ(h.usedBytes(), 2 * a.sizeInBytes());
}

TEST(ViewerUndo, TheBudgetNotACountBoundsTheHistory) {
  const QImage small = filled(16, 16, 0x123456);  // 1 KiB
  const QImage big = filled(64, 64, 0x654321);    // 16 KiB
  UndoHistory h(3 * small.sizeInBytes());
  for (int i = 0; i < 10; ++i) h.recordBefore(QString::number(i), small);
  EXPECT_EQ(h.undoCount(), 3);  // the oldest went first
  EXPECT_EQ(h.undoLabel(), QStringLiteral("9"));
  h.recordBefore("big", big);  // larger than the whole budget: not kept
  EXPECT_EQ(h.undoCount(), 0);
  EXPECT_LE(h.usedBytes(), h.budget());
  h.setBudget(qint64{1} << 30);
  for (int i = 0; i < 50; ++i) h.recordBefore(QString::number(i), big);
  EXPECT_EQ(h.undoCount(), 50);
  h.setBudget(10 * big.sizeInBytes());  // lowering it in Preferences trims at once
  EXPECT_EQ(h.undoCount(), 10);
}

TEST(ViewerStatus, ProgressIsThrottledAndFieldsFormatted) {
  QStatusBar bar;
  StatusPanel panel(&bar);
  panel.setPicture("a.png", 640, 480, 1536, "PNG 24-bit");
  panel.setZoom(75.4);
  EXPECT_EQ(panel.text(), QStringLiteral("a.png  |  640 x 480  |  2 KB  |  PNG 24-bit  |  75%"));
  panel.setCursor(3, 4, true, 0xff8000);
  EXPECT_TRUE(panel.text().endsWith(QStringLiteral("3, 4  |  RGB 255 128 0 #FF8000")));

  QElapsedTimer clock;
  clock.start();
  panel.beginProgress(100000, "Blur");
  for (int v = 0; v <= 100000; ++v) panel.progress(v);
  const qint64 elapsed = clock.elapsed();
  // One update per interval at most, however often the operation reports.
  EXPECT_LE(panel.progressUpdates(), elapsed / StatusPanel::kProgressIntervalMs + 1);
  EXPECT_TRUE(panel.busy());
  panel.endProgress("Blur");
  EXPECT_FALSE(panel.busy());
  EXPECT_EQ(formatBytes(12), QStringLiteral("12 bytes"));
  EXPECT_EQ(formatBytes(3 * 1024 * 1024 / 2), QStringLiteral("1.5 MB"));
}

}  // namespace
}  // namespace qorv_view
