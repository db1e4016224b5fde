// The About box: its contents, the system-information button, and the
// once-per-user introduction at design time.
#include <QFile>
#include <QHash>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>

#include "ControlFixture.h"
#include "control/AboutBox.h"
#include "platform/Shell.h"

namespace qorv {
namespace {

using testing_support::RecordingHost;

// A host in a form editor with a settings store of its own.
class DesignHost : public RecordingHost {
 public:
  bool userMode() override { return runMode; }
  QString getSetting(const QString& app, const QString& section, const QString& key) override {
    return settings.value(app + '/' + section + '/' + key);
  }
  void saveSetting(const QString& app, const QString& section, const QString& key, const QString& value) override {
    settings[app + '/' + section + '/' + key] = value;
  }
  int messageBox(const QString& text, int, const QString&) override {
    messages << text;
    return 1;
  }
  bool runMode = false;
  QHash<QString, QString> settings;
  QStringList messages;
};

// Records each showing and what the settings held at that moment.
class RecordingAbout : public AboutService {
 public:
  explicit RecordingAbout(DesignHost& h) : host_(h) {}
  void show(QWidget*) override { shownWith << host_.getSetting("QorvPictureBox", "General", "About"); }
  QStringList shownWith;

 private:
  DesignHost& host_;
};

class RecordingShell : public ShellService {
 public:
  std::int32_t execute(std::uint32_t, const QString&, const QString& file, const QString&, const QString&,
                       int) override {
    started << file;
    return SE_SUCCESS;
  }
  QStringList started;
};

class About : public ::testing::Test {
 protected:
  void SetUp() override {
    setHost(&host);
    setAboutService(&about);
    setShellService(&shell);
  }
  void TearDown() override {
    setShellService(nullptr);
    setAboutService(nullptr);
    setHost(nullptr);
  }
  DesignHost host;
  RecordingAbout about{host};
  RecordingShell shell;
};

TEST_F(About, BoxShowsTitleVersionAndLink) {
  frmAbout box;
  EXPECT_EQ(box.windowTitle(), "About QorvPictureBox");
  EXPECT_EQ(box.lblTitle->text(), "QorvPictureBox");
  EXPECT_TRUE(box.lblVersion->text().contains(QRegularExpression("^Version \\d+\\.\\d+\\.\\d+$")))
      << box.lblVersion->text().toStdString();
  EXPECT_TRUE(box.lblLink->text().contains("href=")) << box.lblLink->text().toStdString();
  box.show();
  box.cmdOK->click();
  EXPECT_EQ(box.result(), QDialog::Accepted);
  EXPECT_FALSE(box.isVisible());
}

TEST_F(About, SystemInformationStartsAToolOrSaysItIsUnavailable) {
  QTemporaryDir bin;
  const QByteArray savedPath = qgetenv("PATH");
  qputenv("PATH", bin.path().toLocal8Bit());
  frmAbout box;
  box.cmdSysInfo->click();
  EXPECT_EQ(host.messages, QStringList("System Information Is Unavailable At This Time"));
  EXPECT_TRUE(shell.started.isEmpty());

  QFile tool(bin.filePath(frmAbout::systemInformationPrograms().last()));
  ASSERT_TRUE(tool.open(QIODevice::WriteOnly));
  tool.setPermissions(QFile::ExeOwner | QFile::ReadOwner);
  tool.close();
  box.cmdSysInfo->click();
  EXPECT_EQ(shell.started, QStringList(tool.fileName()));
  EXPECT_EQ(host.messages.size(), 1);
  qputenv("PATH", savedPath);
}

TEST_F(About, ShowAboutIsDispatchIdMinus552) {
  QorvPicture ctl;
  host.runMode = true;
  ctl.invoke(-552, QorvPicture::Method, QVariantList{});
  ctl.ShowAbout();
  EXPECT_EQ(about.shownWith.size(), 2);
}

// The first design-time resize on a fresh profile introduces the library,
// after recording that it did; later resizes and later sessions do not.
TEST_F(About, ShowsOnceAtDesignTime) {
  {
    host.runMode = true;
    QorvPicture running;
    running.resize(50, 40);
    QorvPicturePrivate::of(running).handleResize();
  }
  EXPECT_TRUE(about.shownWith.isEmpty());
  host.runMode = false;
  for (int session = 0; session < 2; ++session) {
    QorvPicture ctl;
    for (const int w : {60, 70}) {
      ctl.resize(w, 40);
      QorvPicturePrivate::of(ctl).handleResize();
    }
  }
  EXPECT_EQ(about.shownWith, QStringList("1"));
}

}  // namespace
}  // namespace qorv
