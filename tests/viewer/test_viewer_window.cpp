// qorv-view driven as a person would: actions triggered, files opened, edits
// undone and redone, the status bar read, errors shown and dismissed.
#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QStatusBar>
#include <QStatusTipEvent>

#include <tuple>

#include "ViewerFixture.h"
#include "support/TestNames.h"

namespace qorv_view::test {
namespace {

TEST_F(ViewerTest, OpensAFileAndDescribesItInTheStatusBar) {
  const QString path = writePicture("photo.png", patternImage(kW, kH));
  ASSERT_TRUE(window->openPath(path));
  EXPECT_TRUE(modals.seen.empty());
  EXPECT_EQ(shown(), patternImage(kW, kH));
  const QString status = window->status().text();
  for (const char* part : {"photo.png", "40 x 30", "PNG"})
    EXPECT_TRUE(status.contains(QLatin1String(part))) << status.toStdString();
  EXPECT_TRUE(window->windowTitle().startsWith(QStringLiteral("photo.png")));
  EXPECT_EQ(window->recentFiles(), QStringList{QFileInfo(path).absoluteFilePath()});

  // Menu status tips take the bar's temporary message, never these fields.
  QStatusTipEvent tip(QStringLiteral("Opens a picture"));
  QCoreApplication::sendEvent(window.get(), &tip);
  QStatusTipEvent none{QString()};
  QCoreApplication::sendEvent(window.get(), &none);
  const auto* file = window->statusBar()->findChild<QLabel*>(QStringLiteral("statusFile"));
  ASSERT_NE(file, nullptr);
  EXPECT_TRUE(file->isVisible());
  EXPECT_EQ(window->status().text(), status);
}

TEST_F(ViewerTest, StatusShowsTheZoomActuallyDisplayed) {
  ASSERT_TRUE(window->openPath(writePicture("big.png", patternImage(1600, 1200))));
  trigger("viewFit");
  const double fitted = window->displayedZoom();
  EXPECT_LT(fitted, 50.0);  // a 1600-pixel picture fitted into a 640-pixel window
  EXPECT_NEAR(fitted, window->control().PictureW() / 1600.0 * 100.0, 1e-9);
  EXPECT_TRUE(window->status().text().contains(QStringLiteral("%1%").arg(fitted, 0, 'f', 0)));
  trigger("viewActualSize");
  EXPECT_DOUBLE_EQ(window->displayedZoom(), 100.0);
  trigger("viewZoomIn");
  EXPECT_DOUBLE_EQ(window->displayedZoom(), 125.0);
  trigger("viewFit");
  trigger("viewZoomIn");  // continues from the fitted size, not from 100 %
  EXPECT_NEAR(window->displayedZoom(), fitted * 1.25, 1.0);
}

TEST_P(ViewerOperations, AppliesThenUndoesAndRedoesExactly) {
  const QImage original = patternImage(kW, kH);
  ASSERT_TRUE(window->openPath(writePicture("p.png", original)));
  modals.answer = GetParam().answer;
  trigger(GetParam().action);
  EXPECT_EQ(modals.seen.size(), GetParam().answer ? 1u : 0u);
  const QImage after = shown();
  EXPECT_TRUE(GetParam().holds(original, after));
  EXPECT_TRUE(window->isModified());
  EXPECT_TRUE(window->windowTitle().contains(u'*') || window->isWindowModified());

  trigger("editUndo");
  EXPECT_EQ(shown(), original);
  EXPECT_FALSE(window->action("editUndo")->isEnabled());
  trigger("editRedo");
  EXPECT_EQ(shown(), after);
}

bool sameSize(const QImage& a, const QImage& b) { return a.size() == b.size(); }

INSTANTIATE_TEST_SUITE_P(
    Viewer, ViewerOperations,
    ::testing::Values(
        OperationCase{"imageInvert",
                      [](const QImage& b, const QImage& a) {
                        return sameSize(a, b) && rgbAt(a, 3, 4) == (rgbAt(b, 3, 4) ^ 0xFFFFFFu);
                      }},
        OperationCase{"imageFlipHorizontal",
                      [](const QImage& b, const QImage& a) { return a == b.mirrored(true, false); }},
        OperationCase{"imageFlipVertical",
                      [](const QImage& b, const QImage& a) { return a == b.mirrored(false, true); }},
        OperationCase{"imageRotateRight",
                      [](const QImage& b, const QImage& a) {
                        // Clockwise: the left column becomes the top row.
                        return a.width() == b.height() && a.height() == b.width() &&
                               rgbAt(a, b.height() - 1 - 2, 5) == rgbAt(b, 5, 2);
                      }},
        OperationCase{"imageRotateLeft",
                      [](const QImage& b, const QImage& a) {
                        return a.width() == b.height() && a.height() == b.width() &&
                               rgbAt(a, 2, b.width() - 1 - 5) == rgbAt(b, 5, 2);
                      }},
        OperationCase{"imageGrayscale", changedToGrey},
        OperationCase{"imageFilterBlur", [](const QImage& b, const QImage& a) { return sameSize(a, b) && a != b; }},
        OperationCase{"imagePaletteMono", changedToBlackAndWhite},
        OperationCase{"imagePaletteGrey", changedToGrey},
        OperationCase{"imageBlackAndWhite",
                      [](const QImage& b, const QImage& a) {
                        const QRgb p = a.pixel(10, 10) & 0xFFFFFF;
                        return sameSize(a, b) && (p == 0 || p == 0xFFFFFF);
                      }}),
    [](const auto& p) { return qorv::test_support::readableName(p.param.action); });

TEST_F(ViewerTest, UndoesSeveralLevelsAndOpeningAnotherFileAsksFirst) {
  const QImage original = patternImage(kW, kH);
  ASSERT_TRUE(window->openPath(writePicture("p.png", original)));
  trigger("imageInvert");
  trigger("imageFlipVertical");
  // Stepping through the levels is the history's own; the menu names the step.
  EXPECT_EQ(window->action("editUndo")->text(), QStringLiteral("&Undo Flip Vertically"));
  trigger("editUndo");

  // Unsaved changes: Cancel keeps everything, Discard opens the other file.
  const QString other = writePicture("q.png", patternImage(10, 10));
  modals.answer = clickButton(QMessageBox::Cancel);
  EXPECT_FALSE(window->openPath(other));
  EXPECT_EQ(window->history().undoCount(), 1);
  modals.answer = clickButton(QMessageBox::Discard);
  EXPECT_TRUE(window->openPath(other));
  ASSERT_EQ(modals.seen.size(), 2u);
  EXPECT_EQ(modals.seen[0].objectName, QStringLiteral("keepChangesBox"));
  EXPECT_EQ(shown().size(), QSize(10, 10));
  EXPECT_FALSE(window->history().canUndo());
}

struct BadFileCase {
  const char* name;
  QByteArray bytes;  // empty: the file does not exist
  QMessageBox::Icon icon;
};

class ViewerBadFiles : public ViewerTest, public ::testing::WithParamInterface<BadFileCase> {};

TEST_P(ViewerBadFiles, ShowAMessageAndKeepTheWindowAndPicture) {
  const QImage original = patternImage(kW, kH);
  ASSERT_TRUE(window->openPath(writePicture("good.png", original)));
  const QString bad = dir.filePath(QString::fromLatin1(GetParam().name));
  if (!GetParam().bytes.isEmpty()) {
    QFile f(bad);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(GetParam().bytes);
  }
  modals.answer = clickButton(QMessageBox::Ok);
  EXPECT_FALSE(window->openPath(bad));
  ASSERT_EQ(modals.seen.size(), 1u);
  // The icon follows the error record's flag: 16 critical, 48 warning.
  EXPECT_EQ(std::pair(modals.seen[0].objectName, modals.seen[0].icon), std::pair(QStringLiteral("errorBox"), GetParam().icon));
  EXPECT_TRUE(modals.seen[0].text.contains(QString::fromLatin1(GetParam().name)) && !modals.seen[0].informative.isEmpty());
  EXPECT_TRUE(window->isVisible() && window->currentPath().endsWith(u"good.png"));
  EXPECT_EQ(shown(), original);
}

INSTANTIATE_TEST_SUITE_P(
    Viewer, ViewerBadFiles,
    ::testing::Values(BadFileCase{"missing.png", {}, QMessageBox::Warning},
                      BadFileCase{"corrupt.png", QByteArray("\x89PNG\r\n\x1a\n garbage that is no picture", 38),
                                  QMessageBox::Warning},
                      BadFileCase{"notes.txt", QByteArray("just some text\n"), QMessageBox::Warning},
                      BadFileCase{"broken.gif", QByteArray("GIF89a truncated"), QMessageBox::Critical}),
    [](const auto& p) { return qorv::test_support::readableName(p.param.name); });

// The order and the wrapping are the folder helpers'; the window opens a
// folder's first picture and steps from it.
TEST_F(ViewerTest, BrowsesTheFolder) {
  for (const char* n : {"img10.png", "img2.png", "img1.png"})
    writePicture(QString::fromLatin1(n), patternImage(8 + QByteArray(n).size(), 8));
  ASSERT_TRUE(window->openPath(dir.path()));
  EXPECT_TRUE(window->currentPath().endsWith(u"/img1.png"));
  trigger("filePrevious");
  EXPECT_TRUE(window->currentPath().endsWith(u"/img10.png"));
  trigger("fileNext");
  EXPECT_TRUE(window->currentPath().endsWith(u"/img1.png"));
  EXPECT_EQ(window->action("fileNext")->shortcut(), QKeySequence(Qt::Key_PageDown));
  EXPECT_EQ(window->recentFiles().size(), 2);  // each file once, the most recent first
  EXPECT_TRUE(window->recentFiles().first().endsWith(u"/img1.png"));
}

TEST_F(ViewerTest, SavesReloadsAndCloses) {
  const QImage original = patternImage(kW, kH);
  ASSERT_TRUE(window->openPath(writePicture("p.png", original)));
  trigger("imageInvert");
  const QImage inverted = shown();
  const QString saved = dir.filePath("saved.bmp");
  ASSERT_TRUE(window->saveTo(saved, 90));
  EXPECT_EQ(std::pair(window->isModified(), window->currentPath()), std::pair(false, saved));
  trigger("imageFlipVertical");
  modals.answer = clickButton(QMessageBox::Discard);
  trigger("fileReload");
  EXPECT_EQ(shown(), inverted);  // the saved file, not the edit
  trigger("fileClose");
  EXPECT_EQ(std::tuple(window->currentPath(), window->action("fileSave")->isEnabled(),
                       window->action("imageInvert")->isEnabled(), window->status().text()),
            std::tuple(QString(), false, false, QString()));

  ASSERT_TRUE(window->openPath(saved));
  modals.answer = clickButton(QMessageBox::Ok);
  EXPECT_FALSE(window->saveTo(dir.filePath("p.unknownformat"), 90));
  ASSERT_FALSE(modals.seen.empty());
  EXPECT_EQ(modals.seen.back().objectName, QStringLiteral("errorBox"));
}

TEST_F(ViewerTest, CopiesAndPastesThroughTheClipboard) {
  const QImage original = patternImage(kW, kH);
  ASSERT_TRUE(window->openPath(writePicture("p.png", original)));
  QGuiApplication::clipboard()->clear();
  trigger("editCopy");
  EXPECT_EQ(QGuiApplication::clipboard()->image().convertToFormat(QImage::Format_RGB32), original);
  trigger("editCopyPath");
  EXPECT_EQ(QGuiApplication::clipboard()->text(), QDir::toNativeSeparators(window->currentPath()));

  QImage pasted = patternImage(12, 7).mirrored(true, false);
  QGuiApplication::clipboard()->setImage(pasted);
  trigger("editPaste");
  // A pasted picture has not been saved anywhere.
  EXPECT_EQ(std::tuple(shown(), window->currentPath(), window->isModified()), std::tuple(pasted, QString(), true));
  EXPECT_TRUE(window->status().text().contains(QStringLiteral("12 x 7")));
}

TEST_F(ViewerTest, StatusShowsPicturePixelAndColourUnderTheCursor) {
  const QImage original = patternImage(kW, kH);
  ASSERT_TRUE(window->openPath(writePicture("p.png", original)));
  if (window->action("viewCentred")->isChecked()) trigger("viewCentred");
  trigger("viewActualSize");
  trigger("viewZoomIn");  // 125 %: pane pixel 10 is picture pixel 8
  QWidget* pane = window->control().childAt(10, 12);
  ASSERT_NE(pane, nullptr);
  const QPoint at = pane->mapFrom(&window->control(), QPoint(10, 12));
  QMouseEvent move(QEvent::MouseMove, at, pane->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
  QCoreApplication::sendEvent(pane, &move);
  const QRgb c = rgbAt(original, 8, 9);
  const QString expected = QStringLiteral("8, 9  |  RGB %1 %2 %3").arg(qRed(c)).arg(qGreen(c)).arg(qBlue(c));
  EXPECT_TRUE(window->status().text().contains(expected)) << window->status().text().toStdString();
}

TEST_F(ViewerTest, LongOperationsReportThrottledProgressAndFinish) {
  ASSERT_TRUE(window->openPath(writePicture("big.png", patternImage(1200, 900))));
  trigger("imageFilterBlur");
  EXPECT_EQ(window->statusBar()->currentMessage(), QStringLiteral("Blur done"));
  EXPECT_FALSE(window->status().busy());
  EXPECT_LE(window->status().progressUpdates(), 101);  // never one per column
  EXPECT_FALSE(window->statusBar()->findChild<QWidget*>(QStringLiteral("statusProgress"))->isVisible());
}

TEST_F(ViewerTest, SettingsAndRecentFilesSurviveARestart) {
  const QString path = writePicture("p.png", patternImage(kW, kH));
  ASSERT_TRUE(window->openPath(path));
  trigger("viewTiled");
  trigger("viewQualityDelete");
  const bool zoomOsd = !window->control().ZoomOSD();
  trigger("viewZoomOSD");
  window->resize(500, 410);
  ASSERT_TRUE(window->close());
  window = newWindow();
  EXPECT_EQ(window->recentFiles(), QStringList{QFileInfo(path).absoluteFilePath()});
  const qorv::QorvPicture& ctl = window->control();
  EXPECT_EQ(std::tuple(ctl.Tiled(), ctl.ZoomType(), window->action("viewQualityDelete")->isChecked(), ctl.ZoomOSD(),
                       window->action("viewZoomOSD")->isChecked(), window->size()),
            std::tuple(true, static_cast<int>(qorv::DrawPrc::DELETE_SCANS), true, zoomOsd, zoomOsd, QSize(500, 410)));
  window->action("fileRecent0")->trigger();
  EXPECT_EQ(window->currentPath(), QFileInfo(path).absoluteFilePath());

  // Reset forgets the stored view: the viewer's own look is back, and the
  // next start finds nothing of the old view either.
  window->action("resetViewSettings")->trigger();
  EXPECT_EQ(std::tuple(ctl.Tiled(), ctl.ZoomType(), window->action("viewQualityHalftone")->isChecked(),
                       ctl.AutoRotate(), ctl.OLEDropMode()),
            std::tuple(false, 4, true, true, 1));
  window = newWindow();
  EXPECT_FALSE(window->control().Tiled());

  // A recent file that was deleted is reported and leaves the list.
  window = newWindow();
  ASSERT_TRUE(QFile::remove(path));
  modals.answer = clickButton(QMessageBox::Ok);
  window->action("fileRecent0")->trigger();
  EXPECT_TRUE(window->recentFiles().isEmpty());
  EXPECT_EQ(window->action("fileRecent0"), nullptr);
}

}  // namespace
}  // namespace qorv_view::test
