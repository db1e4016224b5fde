// Commands that ask before acting, answered the way a person would: the
// control's file dialogs, the value, size, kernel and combine dialogs.
#include <QComboBox>
#include <QDropEvent>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QMimeData>
#include <QSpinBox>
#include <QTableWidget>
#include <QUrl>

#include "ViewerFixture.h"
#include "control/AboutBox.h"
#include "support/TestNames.h"

namespace qorv_view::test {
namespace {

// Answers a file dialog with `path`, a value dialog with `value`, and any
// other dialog by letting `fill` set its fields before accepting it.
ModalAnswerer::Answer fillAndAccept(std::function<void(QDialog*)> fill) {
  return [fill](QWidget* w) {
    auto* d = qobject_cast<QDialog*>(w);
    if (!d) return;
    fill(d);
    d->accept();
  };
}

ModalAnswerer::Answer chooseFile(const QString& path) {
  return [path](QWidget* w) {
    auto* f = qobject_cast<QFileDialog*>(w);
    ASSERT_NE(f, nullptr);
    // Typed as a person would; straight to the result then, since the
    // dialog's own checks wait for its file list, filled asynchronously.
    f->setDirectory(QFileInfo(path).absolutePath());
    auto* name = f->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    ASSERT_NE(name, nullptr);
    name->setText(QFileInfo(path).fileName());
    static_cast<QDialog*>(f)->done(QDialog::Accepted);
  };
}

TEST_F(ViewerTest, OpensAndSavesAsThroughTheControlsDialogs) {
  const QString path = writePicture("photo.png", patternImage(kW, kH));
  modals.answer = chooseFile(path);
  trigger("fileOpen");
  EXPECT_EQ(window->currentPath(), path);

  // Save As: the file dialog, then the quality a JPEG takes.
  const QString out = dir.filePath("copy.jpg");
  int step = 0;
  modals.answer = [&](QWidget* w) {
    if (step++ == 0) return chooseFile(out)(w);
    auto* q = qobject_cast<QInputDialog*>(w);
    ASSERT_NE(q, nullptr);
    q->setIntValue(35);
    q->accept();
  };
  trigger("fileSaveAs");
  EXPECT_EQ(step, 2);
  EXPECT_EQ(window->currentPath(), out);
  ASSERT_TRUE(QFileInfo::exists(out));
  const QImage saved(out);
  EXPECT_EQ(saved.size(), QSize(kW, kH));

  // A file dropped on the picture opens like any other, through the
  // control's own drop events.
  const QString dropped = writePicture("dropped.png", patternImage(9, 9));
  // The picture's pane is the control's child that takes drops.
  QWidget* pane = nullptr;
  for (QWidget* w : window->control().findChildren<QWidget*>())
    if (w->acceptDrops()) pane = w;
  ASSERT_NE(pane, nullptr);
  QMimeData mime;
  mime.setUrls({QUrl::fromLocalFile(dropped)});
  QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &mime, Qt::NoButton, Qt::NoModifier);
  QCoreApplication::sendEvent(pane, &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &mime, Qt::NoButton, Qt::NoModifier);
  QCoreApplication::sendEvent(pane, &drop);
  EXPECT_EQ(window->currentPath(), dropped);
}

// Files the dialogs choose, written once per process (CTest runs cases in
// parallel processes) in a folder of their own, removed at exit: the second
// picture Combine reads and a black-and-white palette.
QString sharedFile(const char* name) {
  static QTemporaryDir folder;
  const QString p = folder.filePath(QString::fromLatin1(name));
  if (QFileInfo::exists(p)) return p;
  if (QByteArray(name).endsWith(".png")) {
    QImage white(kW, kH, QImage::Format_RGB32);
    white.fill(Qt::white);
    white.save(p);
  } else {
    QFile f(p);
    if (f.open(QIODevice::WriteOnly)) f.write("GIMP Palette\nName: mono\n#\n  0   0   0 black\n255 255 255 white\n");
  }
  return p;
}

INSTANTIATE_TEST_SUITE_P(
    Dialogs, ViewerOperations,
    ::testing::Values(
        OperationCase{"imageRotateAngle",
                   [](const QImage& b, const QImage& a) {
                     // A right angle is an exact quarter turn clockwise.
                     return a.width() == b.height() && a.height() == b.width() &&
                            rgbAt(a, b.height() - 1 - 2, 5) == rgbAt(b, 5, 2);
                   },
                   fillAndAccept([](QDialog* d) { static_cast<QInputDialog*>(d)->setIntValue(90); })},
        OperationCase{"imageDarken",
                   [](const QImage& b, const QImage& a) {
                     // Every channel scaled by 128/255, truncated.
                     return qRed(a.pixel(5, 3)) == qRed(b.pixel(5, 3)) * 128 / 255 &&
                            qBlue(a.pixel(9, 9)) == qBlue(b.pixel(9, 9)) * 128 / 255;
                   },
                   fillAndAccept([](QDialog* d) { static_cast<QInputDialog*>(d)->setIntValue(128); })},
        OperationCase{"imageResample",
                   [](const QImage&, const QImage& a) { return a.size() == QSize(20, 15); },
                   fillAndAccept([](QDialog* d) {
                     // The height follows the width while the aspect is kept.
                     d->findChild<QSpinBox*>(QStringLiteral("width"))->setValue(20);
                   })},
        OperationCase{"imageFilterCustom",
                   [](const QImage& b, const QImage& a) {
                     // A one-cell corner kernel moves the picture by one pixel
                     // diagonally (which diagonal depends on the engine's row order).
                     const QRgb p = rgbAt(a, 10, 10);
                     return a != b && (p == rgbAt(b, 9, 9) || p == rgbAt(b, 11, 11) || p == rgbAt(b, 9, 11) ||
                                       p == rgbAt(b, 11, 9));
                   },
                   fillAndAccept([](QDialog* d) {
                     auto* grid = d->findChild<QTableWidget*>();
                     grid->item(1, 1)->setText(QStringLiteral("0"));
                     grid->item(0, 0)->setText(QStringLiteral("1"));
                   })},
        OperationCase{"imageCombine",
                   [](const QImage& b, const QImage& a) {
                     return a.size() == b.size() && rgbAt(a, 4, 4) == 0xFFFFFFu && rgbAt(a, 30, 20) == 0xFFFFFFu;
                   },
                   fillAndAccept([](QDialog* d) {
                     d->findChild<QLineEdit*>()->setText(sharedFile("white.png"));
                     auto* type = d->findChild<QComboBox*>();
                     type->setCurrentIndex(type->findData(2));  // lightest
                   })},
        // The control's own hue dialog: saturation 0 leaves only greys.
        OperationCase{"imageColourise", changedToGrey,
                   fillAndAccept([](QDialog* d) { d->findChildren<QSpinBox*>().at(1)->setValue(0); })},
        OperationCase{"imagePaletteFile", changedToBlackAndWhite, chooseFile(sharedFile("mono.gpl"))}),
    [](const auto& p) { return qorv::test_support::readableName(p.param.action); });

TEST_F(ViewerTest, PreferencesShowAndSetTheUndoBudget) {
  ASSERT_TRUE(window->openPath(writePicture("p.png", patternImage(kW, kH))));
  int shownBudget = -1;
  modals.answer = fillAndAccept([&](QDialog* d) {
    auto* budget = d->findChild<QSpinBox*>(QStringLiteral("undoBudget"));
    shownBudget = budget->value();
    budget->setValue(0);
  });
  trigger("editPreferences");
  EXPECT_EQ(shownBudget, 512);
  EXPECT_EQ(window->history().budget(), 0);
  trigger("imageInvert");  // nothing fits in no memory: the edit cannot be undone
  EXPECT_FALSE(window->action("editUndo")->isEnabled());
  EXPECT_TRUE(window->isModified());
}

TEST_F(ViewerTest, AnOperationThatChangesNothingIsNoUndoStep) {
  QImage grey(kW, kH, QImage::Format_RGB32);
  grey.fill(qRgb(90, 90, 90));
  ASSERT_TRUE(window->openPath(writePicture("grey.png", grey)));
  trigger("imageGrayscale");
  trigger("imageColourise");  // its dialog cancelled: the preview is taken back
  ASSERT_EQ(modals.seen.size(), 1u);
  EXPECT_EQ(shown(), grey);
  EXPECT_FALSE(window->action("editUndo")->isEnabled());
  EXPECT_FALSE(window->isModified());
}

// The control's About box goes through its service, which the test replaces
// so nothing waits; the viewer's own is a message box.
class RecordingAbout : public qorv::AboutService {
 public:
  void show(QWidget* parent) override { parents.push_back(parent); }
  std::vector<QWidget*> parents;
};

TEST_F(ViewerTest, HelpShowsTheControlsAboutBoxAndTheViewersOwn) {
  RecordingAbout about;
  qorv::setAboutService(&about);
  trigger("helpAboutControl");
  qorv::setAboutService(nullptr);
  EXPECT_EQ(about.parents, std::vector<QWidget*>{&window->control()});
  EXPECT_TRUE(modals.seen.empty());
  trigger("helpAbout");
  ASSERT_EQ(modals.seen.size(), 1u);
  EXPECT_TRUE(modals.seen[0].text.contains(QStringLiteral("qorv-view"))) << modals.seen[0].text.toStdString();
}

}  // namespace
}  // namespace qorv_view::test
