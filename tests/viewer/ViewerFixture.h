// A viewer window on the offscreen platform, with pictures written to a
// temporary folder and every modal dialog answered by the test.
#pragma once

#include <gtest/gtest.h>

#include <QAction>
#include <QAbstractButton>
#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QMessageBox>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

#include <QorvPictureBox/QorvPicture.h>

#include "ViewerWindow.h"

namespace qorv_view::test {

// What a modal dialog showed before the test answered it.
struct ModalSeen {
  QString objectName;
  QString text;
  QString informative;
  QMessageBox::Icon icon = QMessageBox::NoIcon;
};

// Polls for modal dialogs while the code under test runs its own event loop
// in exec(), records each one and answers it. Without an answer set, a dialog
// is rejected, so an unexpected one never hangs a test.
class ModalAnswerer {
 public:
  using Answer = std::function<void(QWidget*)>;
  ModalAnswerer() {
    timer_.setInterval(5);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
      QWidget* w = QApplication::activeModalWidget();
      if (!w || w == last_) return;
      last_ = w;
      ModalSeen s{w->objectName(), {}, {}, QMessageBox::NoIcon};
      if (auto* box = qobject_cast<QMessageBox*>(w)) {
        s.text = box->text();
        s.informative = box->informativeText();
        s.icon = box->icon();
      }
      seen.push_back(s);
      // Answer after the dialog has finished opening. The dialog counts as
      // seen until the answer returns: an answer that lets events run (a
      // preview computed while a slider moves) must not see it a second time.
      QTimer::singleShot(0, w, [this, w] {
        if (answer)
          answer(w);
        else if (auto* d = qobject_cast<QDialog*>(w))
          d->reject();
        last_ = nullptr;
      });
    });
    timer_.start();
  }
  Answer answer;
  std::vector<ModalSeen> seen;

 private:
  QTimer timer_;
  QWidget* last_ = nullptr;
};

inline ModalAnswerer::Answer clickButton(QMessageBox::StandardButton b) {
  return [b](QWidget* w) {
    if (auto* box = qobject_cast<QMessageBox*>(w)) box->button(b)->click();
  };
}

// A picture whose every pixel differs from its neighbours, so that a flip,
// rotation or shift shows in any pixel.
inline QImage patternImage(int w, int h) {
  QImage img(w, h, QImage::Format_RGB32);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) img.setPixel(x, y, qRgb((x * 37) & 255, (y * 53) & 255, ((x + y) * 11) & 255));
  return img;
}

inline QRgb rgbAt(const QImage& img, int x, int y) { return img.pixel(x, y) & 0xFFFFFF; }

constexpr int kW = 40, kH = 30;  // the usual test picture's size

// Checks of an operation's result: same size, changed, and then grey at a
// probe pixel, or nothing but black and white anywhere.
inline bool changedToGrey(const QImage& before, const QImage& after) {
  const QRgb p = after.pixel(7, 9);
  return after.size() == before.size() && after != before && qRed(p) == qGreen(p) && qGreen(p) == qBlue(p);
}
inline bool changedToBlackAndWhite(const QImage& before, const QImage& after) {
  for (int y = 0; y < after.height(); ++y)
    for (int x = 0; x < after.width(); ++x)
      if (rgbAt(after, x, y) != 0 && rgbAt(after, x, y) != 0xFFFFFF) return false;
  return after.size() == before.size() && after != before;
}

class ViewerTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    QStandardPaths::setTestModeEnabled(true);
    // Widget dialogs that the test can fill in, whatever the desktop offers.
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  }

  void SetUp() override {
    ASSERT_TRUE(dir.isValid());
    window = newWindow();
    window->resize(640, 480);
    window->show();
    QCoreApplication::processEvents();
  }

  void TearDown() override { window.reset(); }

  // A window keeping its settings in this test's own folder: ctest runs the
  // cases as parallel processes, which must not share the user's INI file.
  std::unique_ptr<ViewerWindow> newWindow() {
    return std::make_unique<ViewerWindow>(nullptr, dir.filePath(QStringLiteral("qorv-view.ini")));
  }

  QString writePicture(const QString& name, const QImage& img) {
    const QString path = dir.filePath(name);
    EXPECT_TRUE(img.save(path)) << path.toStdString();
    return path;
  }

  QImage shown() const {
    const qorv::PicturePtr p = window->control().Picture();
    return p ? p->toImage() : QImage();
  }

  void trigger(const char* name) {
    QAction* a = window->action(QString::fromLatin1(name));
    ASSERT_NE(a, nullptr) << name;
    ASSERT_TRUE(a->isEnabled()) << name;
    a->trigger();
    QCoreApplication::processEvents();
  }

  QTemporaryDir dir;
  ModalAnswerer modals;
  std::unique_ptr<ViewerWindow> window;
};

// An image operation run from its menu action on a kW x kH pattern.
struct OperationCase {
  const char* action;
  // True when `after` is what the operation must make of `before`.
  std::function<bool(const QImage& before, const QImage& after)> holds;
  // How its dialog is answered; none when the operation asks nothing.
  ModalAnswerer::Answer answer = {};
};

class ViewerOperations : public ViewerTest, public ::testing::WithParamInterface<OperationCase> {};

}  // namespace qorv_view::test
