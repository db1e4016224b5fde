// Colours, shared fonts, host services, the random generator and the program
// name: the small services every layer above relies on.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QCursor>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPalette>
#include <QScreen>
#include <QTimer>

#include <cmath>
#include <string>
#include <vector>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/Colors.h>
#include <QorvPictureBox/Font.h>
#include "platform/Host.h"
#include "platform/HostMessage.h"
#include "platform/Random.h"

namespace qorv {
namespace {

// --- colours -------------------------------------------------------------------

TEST(ColorsTest, PlainReferencesAreBlueGreenRed) {
  struct Case {
    COLORREF ref;
    int r, g, b;
  } cases[] = {{0x000000FF, 255, 0, 0}, {0x0000FF00, 0, 255, 0}, {0x00FF0000, 0, 0, 255},
               {0x00123456, 0x56, 0x34, 0x12}, {RGB(1, 2, 3), 1, 2, 3}, {0x01FF8040, 0x40, 0x80, 0xFF}};
  for (const Case& c : cases) {
    const QColor q = toQColor(c.ref);
    EXPECT_EQ(q.red(), c.r) << std::hex << c.ref;
    EXPECT_EQ(q.green(), c.g) << std::hex << c.ref;
    EXPECT_EQ(q.blue(), c.b) << std::hex << c.ref;
    EXPECT_EQ(resolveColor(c.ref), c.ref & 0xFFFFFFu);
  }
}

TEST(ColorsTest, SystemColoursFollowTheCurrentPalette) {
  const QPalette saved = QGuiApplication::palette();
  QPalette p = saved;
  p.setColor(QPalette::Active, QPalette::Button, QColor(11, 22, 33));
  p.setColor(QPalette::Active, QPalette::ButtonText, QColor(44, 55, 66));
  p.setColor(QPalette::Active, QPalette::Base, QColor(77, 88, 99));
  p.setColor(QPalette::Active, QPalette::Highlight, QColor(1, 2, 250));
  p.setColor(QPalette::Active, QPalette::ToolTipBase, QColor(250, 250, 200));
  QGuiApplication::setPalette(p);
  struct Case {
    COLORREF ref;
    COLORREF expected;
  } cases[] = {{vbButtonFace, RGB(11, 22, 33)}, {vbButtonText, RGB(44, 55, 66)}, {0x80000005, RGB(77, 88, 99)},
               {0x8000000D, RGB(1, 2, 250)}, {0x80000018, RGB(250, 250, 200)}};
  for (const Case& c : cases) EXPECT_EQ(resolveColor(c.ref), c.expected) << std::hex << c.ref;
  // Unknown system indexes resolve to black.
  for (COLORREF ref : {0x80000019u, 0x800000FFu, 0x80FFFFFFu, 0xFFFFFFFFu}) EXPECT_EQ(resolveColor(ref), 0u) << ref;
  QGuiApplication::setPalette(saved);
  EXPECT_EQ(toQColor(vbButtonFace), saved.color(QPalette::Active, QPalette::Button));
}

// --- shared fonts --------------------------------------------------------------

TEST(FontTest, HoldersShareChangesAndClonesAreIndependent) {
  FontPtr a = Font::create(QFont(QStringLiteral("DejaVu Sans"), 10));
  FontPtr b = a;  // e.g. an overlay font sharing the pane's font
  int changes = 0;
  QObject::connect(a.get(), &Font::changed, [&] { ++changes; });
  b->setBold(true);
  b->setSize(14);
  b->setItalic(true);
  EXPECT_TRUE(a->Bold());
  EXPECT_DOUBLE_EQ(a->Size(), 14.0);
  EXPECT_TRUE(a->qfont().italic());
  EXPECT_EQ(changes, 3);
  FontPtr c = a->clone();
  c->setUnderline(true);
  c->setName(QStringLiteral("DejaVu Serif"));
  EXPECT_FALSE(a->Underline());
  EXPECT_EQ(a->Name(), QStringLiteral("DejaVu Sans"));
  EXPECT_EQ(c->Name(), QStringLiteral("DejaVu Serif"));
}

TEST(FontTest, AttributesRoundTripAndSignalOnlyRealChanges) {
  Font f(QFont(QStringLiteral("DejaVu Sans"), 9));
  int changes = 0;
  QObject::connect(&f, &Font::changed, [&] { ++changes; });
  f.setStrikethrough(true);
  f.setStrikethrough(true);
  f.setUnderline(false);  // already false
  EXPECT_TRUE(f.Strikethrough());
  EXPECT_EQ(changes, 1);

  struct Case {
    int weight;
    bool bold;
    int stored;
  } cases[] = {{400, false, 400}, {700, true, 700}, {900, true, 900}, {100, false, 100}, {0, false, 1}, {5000, true, 1000}};
  for (const Case& c : cases) {
    f.setWeight(c.weight);
    EXPECT_EQ(f.Weight(), c.stored) << c.weight;
    EXPECT_EQ(f.Bold(), c.bold) << c.weight;
  }
  f.setBold(false);
  EXPECT_EQ(f.Weight(), 400);
  f.setBold(true);
  EXPECT_EQ(f.Weight(), 700);
}

TEST(FontTest, BadSizesAndNamesKeepAUsableFont) {
  Font f(QFont(QStringLiteral("DejaVu Sans"), 12));
  f.setSize(std::nan(""));
  EXPECT_DOUBLE_EQ(f.Size(), 12.0);
  f.setSize(-3);
  EXPECT_GT(f.Size(), 0.0);
  f.setSize(1e9);
  EXPECT_LE(f.Size(), 2048.0);
  f.setName(QString());
  EXPECT_EQ(f.Name(), QStringLiteral("DejaVu Sans"));
}

// --- host services ---------------------------------------------------------------

TEST(HostTest, TwipsPerPixelComeFromTheScreenDpi) {
  QScreen* s = QGuiApplication::primaryScreen();
  const double x = s != nullptr ? 1440.0 / s->logicalDotsPerInchX() : 15.0;
  const double y = s != nullptr ? 1440.0 / s->logicalDotsPerInchY() : 15.0;
  EXPECT_DOUBLE_EQ(host().twipsPerPixelX(), x);
  EXPECT_DOUBLE_EQ(host().twipsPerPixelY(), y);
}

TEST(HostTest, DefaultsOfAStandaloneHost) {
  Host& h = host();
  EXPECT_TRUE(h.userMode());
  EXPECT_EQ(h.instanceHandle(), 0);
  EXPECT_EQ(h.exeName(), QFileInfo(QCoreApplication::applicationFilePath()).completeBaseName());
  EXPECT_EQ(programName(), h.exeName().toStdString());
  EXPECT_FALSE(h.appTitle().isEmpty());
  FontPtr a = h.ambientFont();
  FontPtr b = h.ambientFont();
  ASSERT_TRUE(a && b);
  EXPECT_NE(a, b);  // a new object for each control
  EXPECT_EQ(a->qfont(), QGuiApplication::font());
}

TEST(HostTest, BusyPointerIsPushedOnceAndRestored) {
  Host& h = host();
  ASSERT_EQ(QGuiApplication::overrideCursor(), nullptr);
  h.setScreenMousePointer(11);
  ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
  h.setScreenMousePointer(11);
  EXPECT_EQ(h.screenMousePointer(), 11);
  h.setScreenMousePointer(0);
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
  EXPECT_EQ(h.screenMousePointer(), 0);
  h.setScreenMousePointer(0);
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST(HostTest, MessageBoxWithoutAVisibleScreenDoesNotBlock) {
  EXPECT_EQ(host().messageBox(QStringLiteral("headless"), 48, QString()), 1);
}

TEST(HostTest, InstalledHostReplacesTheDefault) {
  struct DesignTime : Host {
    bool userMode() override { return false; }
  } custom;
  setHost(&custom);
  EXPECT_FALSE(host().userMode());
  setHost(nullptr);
  EXPECT_TRUE(host().userMode());
}

// Pixel code reaches the host's message box without Qt: plain text, no
// flags, the application's title; a hook takes the message instead while set.
TEST(HostTest, PlainMessagesGoToTheHostsMessageBoxOrTheHook) {
  struct Recording : Host {
    int messageBox(const QString& text, int flags, const QString& title) override {
      seen.push_back({text, flags, title});
      return 6;
    }
    QString appTitle() override { return QStringLiteral("Recorder"); }
    struct Box {
      QString text;
      int flags;
      QString title;
    };
    std::vector<Box> seen;
  } recording;
  setHost(&recording);
  EXPECT_EQ(showHostMessage("caf\xC3\xA9 ready"), 6);
  std::vector<std::string> hooked;
  setHostMessageHook([&](const std::string& text) {
    hooked.push_back(text);
    return 2;
  });
  EXPECT_EQ(showHostMessage("to the hook"), 2);
  setHostMessageHook(nullptr);
  EXPECT_EQ(showHostMessage("back to the box"), 6);
  setHost(nullptr);
  ASSERT_EQ(recording.seen.size(), 2u);
  EXPECT_EQ(recording.seen[0].text, QString::fromUtf8("caf\xC3\xA9 ready"));
  EXPECT_EQ(recording.seen[0].flags, 0);
  EXPECT_EQ(recording.seen[0].title, QStringLiteral("Recorder"));
  EXPECT_EQ(recording.seen[1].text, QStringLiteral("back to the box"));
  EXPECT_EQ(hooked, std::vector<std::string>{"to the hook"});
}

TEST(HostTest, YieldRunsPendingEventsOrTheInstalledHook) {
  bool ran = false;
  QTimer::singleShot(0, [&] { ran = true; });
  yieldOnce();
  EXPECT_TRUE(ran);

  int hooked = 0;
  setYieldHook([&] { ++hooked; });
  yieldOnce();
  yieldOnce();
  EXPECT_EQ(hooked, 2);
  setYieldHook({});
  yieldOnce();
  EXPECT_EQ(hooked, 2);
}

// --- random numbers and the program name ------------------------------------------

TEST(RandomTest, DefaultGeneratorProducesTheClassicSequence) {
  resetRandom();
  const double expected[] = {0.7055475115776062, 0.5334240198135376, 0.5795186161994934, 0.289562463760376,
                             0.30194801092147827};
  for (double e : expected) EXPECT_DOUBLE_EQ(rnd(), e);
}

TEST(RandomTest, ValuesStayInUnitIntervalAndReseedingChangesTheSequence) {
  resetRandom();
  double sum = 0;
  for (int i = 0; i < 20000; ++i) {
    const double v = rnd();
    ASSERT_GE(v, 0.0);
    ASSERT_LT(v, 1.0);
    sum += v;
  }
  EXPECT_NEAR(sum / 20000, 0.5, 0.02);
  resetRandom();
  const double first = rnd();
  resetRandom();
  randomize(12345.678);
  EXPECT_NE(rnd(), first);
}

TEST(RandomTest, InstalledSourceReplacesTheGenerator) {
  double next = 0.0;
  setRandomSource([&] { return next += 0.25; });
  EXPECT_DOUBLE_EQ(rnd(), 0.25);
  EXPECT_DOUBLE_EQ(rnd(), 0.5);
  setRandomSource({});
  resetRandom();
  EXPECT_DOUBLE_EQ(rnd(), 0.7055475115776062);
}

TEST(RandomTest, TimerIsSecondsSinceMidnight) {
  const double t = timer();
  EXPECT_GE(t, 0.0);
  EXPECT_LT(t, 86401.0);
}

}  // namespace
}  // namespace qorv
