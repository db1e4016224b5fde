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
#include "support/TestNames.h"

namespace qorv_view::test {
namespace {

constexpr int kW = 40, kH = 30;

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

struct DialogCase {
  const char* action;
  ModalAnswerer::Answer answer;
  std::function<bool(const QImage& before, const QImage& after)> holds;
};

class ViewerDialogOperations : public ViewerTest, public ::testing::WithParamInterface<DialogCase> {};

TEST_P(ViewerDialogOperations, ApplyWhatTheDialogSetAndUndo) {
  const QImage original = patternImage(kW, kH);
  ASSERT_TRUE(window->openPath(writePicture("p.png", original)));
  modals.answer = GetParam().answer;
  trigger(GetParam().action);
  ASSERT_EQ(modals.seen.size(), 1u);
  EXPECT_TRUE(GetParam().holds(original, shown()));
  trigger("editUndo");
  EXPECT_EQ(shown(), original);
}

// Combine reads its second picture from here; written once per process (CTest
// runs cases in parallel processes) and removed at exit.
QString whitePicture() {
  static QTemporaryDir folder;
  static const QString path = [] {
    const QString p = folder.filePath(QStringLiteral("white.png"));
    QImage white(kW, kH, QImage::Format_RGB32);
    white.fill(Qt::white);
    white.save(p);
    return p;
  }();
  return path;
}

INSTANTIATE_TEST_SUITE_P(
    Viewer, ViewerDialogOperations,
    ::testing::Values(
        DialogCase{"imageRotateAngle",
                   fillAndAccept([](QDialog* d) { static_cast<QInputDialog*>(d)->setIntValue(90); }),
                   [](const QImage& b, const QImage& a) {
                     // A right angle is an exact quarter turn clockwise.
                     return a.width() == b.height() && a.height() == b.width() &&
                            rgbAt(a, b.height() - 1 - 2, 5) == rgbAt(b, 5, 2);
                   }},
        DialogCase{"imageDarken",
                   fillAndAccept([](QDialog* d) { static_cast<QInputDialog*>(d)->setIntValue(128); }),
                   [](const QImage& b, const QImage& a) {
                     // Every channel scaled by 128/255, truncated.
                     return qRed(a.pixel(5, 3)) == qRed(b.pixel(5, 3)) * 128 / 255 &&
                            qBlue(a.pixel(9, 9)) == qBlue(b.pixel(9, 9)) * 128 / 255;
                   }},
        DialogCase{"imageResample",
                   fillAndAccept([](QDialog* d) {
                     // The height follows the width while the aspect is kept.
                     d->findChild<QSpinBox*>(QStringLiteral("width"))->setValue(20);
                   }),
                   [](const QImage&, const QImage& a) { return a.size() == QSize(20, 15); }},
        DialogCase{"imageFilterCustom",
                   fillAndAccept([](QDialog* d) {
                     auto* grid = d->findChild<QTableWidget*>();
                     grid->item(1, 1)->setText(QStringLiteral("0"));
                     grid->item(0, 0)->setText(QStringLiteral("1"));
                   }),
                   [](const QImage& b, const QImage& a) {
                     // A one-cell corner kernel moves the picture by one pixel
                     // diagonally (which diagonal depends on the engine's row order).
                     const QRgb p = rgbAt(a, 10, 10);
                     return a != b && (p == rgbAt(b, 9, 9) || p == rgbAt(b, 11, 11) || p == rgbAt(b, 9, 11) ||
                                       p == rgbAt(b, 11, 9));
                   }},
        DialogCase{"imageCombine",
                   fillAndAccept([](QDialog* d) {
                     d->findChild<QLineEdit*>()->setText(whitePicture());
                     auto* type = d->findChild<QComboBox*>();
                     type->setCurrentIndex(type->findData(2));  // lightest
                   }),
                   [](const QImage& b, const QImage& a) {
                     return a.size() == b.size() && rgbAt(a, 4, 4) == 0xFFFFFFu && rgbAt(a, 30, 20) == 0xFFFFFFu;
                   }}),
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
  EXPECT_EQ(shown(), grey);
  EXPECT_FALSE(window->action("editUndo")->isEnabled());
  EXPECT_FALSE(window->isModified());
}

}  // namespace
}  // namespace qorv_view::test
