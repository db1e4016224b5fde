// Drag and drop: the DataObject over QMimeData, drops on the pane, OLEDrag.
#include <QApplication>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/DataObject.h>

#include "ControlFixture.h"
#include "platform/DragService.h"

namespace qorv {
namespace {

using testing_support::ControlTest;
using testing_support::errorOf;

// What a drop from another program carries.
std::unique_ptr<QMimeData> foreignData() {
  auto m = std::make_unique<QMimeData>();
  m->setText("hello");
  m->setUrls({QUrl::fromLocalFile("/tmp/a.png"), QUrl::fromLocalFile("/tmp/b.jpg")});
  m->setData("text/rtf", "{\\rtf1 hi}");
  m->setData("application/x-custom", "raw");
  return m;
}

TEST(DataObjectFormats, EachFormatReadsItsKindOfData) {
  const std::unique_ptr<QMimeData> mime = foreignData();
  DataObject data(mime.get());
  const struct {
    QVariant format;
    bool present;
    QVariant value;  // invalid: only the error is checked
    std::int32_t error;
  } cases[] = {
      {1, true, QString("hello"), 0},
      {15, true, QStringList({"/tmp/a.png", "/tmp/b.jpg"}), 0},
      {DataObject::vbCFRTF, true, QString("{\\rtf1 hi}"), 0},
      {2, false, {}, errors::FormatDoesNotMatchData},
      {3, false, {}, errors::InvalidClipboardFormat},  // no metafiles here
      {12345, false, {}, errors::InvalidClipboardFormat},
      {QString("text/plain"), true, QString("hello"), 0},  // a MIME type names a format too
      {QString("application/x-custom"), true, QByteArray("raw"), 0},
  };
  for (const auto& c : cases) {
    const std::string label = c.format.toString().toStdString();
    EXPECT_EQ(data.GetFormat(c.format), c.present) << label;
    QVariant got;
    EXPECT_EQ(errorOf([&] { got = data.GetData(c.format); }), c.error) << label;
    if (c.value.isValid()) {
      EXPECT_EQ(got, c.value) << label << " gave " << got.toString().toStdString();
    }
  }
  EXPECT_EQ(data.Files()->Count(), 2);
  EXPECT_EQ(data.Files()->Item(2), "/tmp/b.jpg");
  EXPECT_EQ(errorOf([&] { data.Files()->Item(0); }), errors::SubscriptOutOfRange);
}

TEST(DataObjectFormats, ChangesFollowTheEventsAccess) {
  const std::unique_ptr<QMimeData> mime = foreignData();
  DataObject dropped(mime.get());
  DataObject started;
  const struct {
    const char* label;
    std::function<void()> call;
    std::int32_t error;
  } cases[] = {
      {"DropIsReadOnly", [&] { dropped.SetData("x", 1); }, errors::DataObjectReadOnly},
      {"DropClear", [&] { dropped.Clear(); }, errors::DataObjectReadOnly},
      {"NeitherArgument", [&] { started.SetData(); }, errors::ExpectedAnArgument},
      {"TextAsPicture", [&] { started.SetData("x", 2); }, errors::TypeMismatch},
      {"EmptyPicture", [&] { started.SetData(QVariant::fromValue(PicturePtr()), 2); }, errors::InvalidPicture},
      {"UnknownFormat", [&] { started.SetData("x", 3); }, errors::InvalidClipboardFormat},
      {"Text", [&] { started.SetData("typed"); }, 0},
  };
  for (const auto& c : cases) EXPECT_EQ(errorOf(c.call), c.error) << c.label;
  EXPECT_EQ(started.GetData(1).toString(), "typed");
  started.SetData(QVariant::fromValue(Picture::fromImage(QImage(4, 3, QImage::Format_RGB32))));
  EXPECT_TRUE(started.GetFormat(8));
  EXPECT_EQ(started.GetData(2).value<PicturePtr>()->Width(), 4);
  started.Clear();
  EXPECT_TRUE(started.isEmpty());
}

// A drag service that records what it is given instead of running a drag.
class FakeDrag : public DragService {
 public:
  int run(QWidget*, QMimeData* data, int allowed, const std::function<bool(int)>& feedback, const QPixmap&) override {
    ++runs;
    offered = allowed;
    formats = data->formats();
    text = data->text();  // asks for offered text as a drop target would
    feedbackSaidDefault = feedback(result);
    delete data;
    return result;
  }
  int runs = 0;
  int offered = 0;
  int result = 1;
  bool feedbackSaidDefault = false;
  QStringList formats;
  QString text;
};

class DragDrop : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    setDragService(&drag);
    sizeTo(100, 80);
    ctl->setPicture(pattern(20, 10));
    recordEvents();
  }
  void TearDown() override {
    setDragService(nullptr);
    ControlTest::TearDown();
  }
  QWidget* pane() const { return in().picPane().widget(); }
  bool send(QEvent&& e) const {
    QApplication::sendEvent(pane(), &e);
    return e.isAccepted();
  }
  FakeDrag drag;
};

TEST_F(DragDrop, OLEDragCarriesThePictureThroughItsEvents) {
  QObject::connect(ctl.get(), &QorvPicture::OLEStartDrag, [](DataObject* data, int* allowed) {
    EXPECT_TRUE(data->GetFormat(2));
    data->SetData(QVariant(), 1);  // offered, given on request
    *allowed = 3;
  });
  QObject::connect(ctl.get(), &QorvPicture::OLESetData, [](DataObject* data, int* format) {
    EXPECT_EQ(*format, 1);
    data->SetData("asked for", *format);
  });
  QObject::connect(ctl.get(), &QorvPicture::OLEGiveFeedback, [](int* effect, bool* defaultCursor) {
    EXPECT_EQ(*effect, 1);
    *defaultCursor = false;
  });
  int completed = -1;
  QObject::connect(ctl.get(), &QorvPicture::OLECompleteDrag, [&](int* effect) { completed = *effect; });
  ctl->OLEDrag();
  EXPECT_EQ(drag.runs, 1);
  EXPECT_EQ(drag.offered, 3);
  EXPECT_TRUE(drag.formats.contains("application/x-qt-image"));
  EXPECT_EQ(drag.text, "asked for");
  EXPECT_FALSE(drag.feedbackSaidDefault);
  EXPECT_EQ(completed, 1);
  using E = EventId;
  EXPECT_EQ(raisedIds(), (std::vector<E>{E::OLEStartDrag, E::OLESetData, E::OLEGiveFeedback, E::OLECompleteDrag}));
}

// The start handler may refuse every effect, which ends the drag before it
// runs; a drag started from inside a drag is refused.
TEST_F(DragDrop, StartHandlerCanEndTheDragAndCannotNestOne) {
  std::int32_t inner = 0;
  QObject::connect(ctl.get(), &QorvPicture::OLEStartDrag, [&](DataObject*, int* allowed) {
    inner = errorOf([&] { ctl->OLEDrag(); });
    *allowed = 0;
  });
  int completed = -1;
  QObject::connect(ctl.get(), &QorvPicture::OLECompleteDrag, [&](int* effect) { completed = *effect; });
  ctl->OLEDrag();
  EXPECT_EQ(inner, errors::RecursiveDrag);
  EXPECT_EQ(drag.runs, 0);
  EXPECT_EQ(completed, 0);
}

TEST_F(DragDrop, AutomaticModeStartsADragFromALeftDrag) {
  for (const int mode : {0, 1}) {
    ctl->setOLEDragMode(mode);
    const QPointF from(10, 10);
    const QPointF to(10 + QApplication::startDragDistance() + 2, 10);
    send(QMouseEvent(QEvent::MouseButtonPress, from, from, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier));
    send(QMouseEvent(QEvent::MouseMove, to, to, Qt::NoButton, Qt::LeftButton, Qt::NoModifier));
    send(QMouseEvent(QEvent::MouseButtonRelease, to, to, Qt::LeftButton, Qt::NoButton, Qt::NoModifier));
    EXPECT_EQ(drag.runs, mode) << mode;
  }
}

// Drops reach the handlers only in manual drop mode; the handler's Effect
// decides the drop's action.
TEST_F(DragDrop, DropsRaiseTheEventsWithTheirStateAndTakeTheHandlersEffect) {
  ctl->setOLEDropMode(1);
  QList<int> states;
  int handlerEffect = 1;
  QObject::connect(ctl.get(), &QorvPicture::OLEDragOver,
                   [&](DataObject*, int* effect, int, int, float, float, int state) {
                     states << state;
                     *effect = handlerEffect;
                   });
  QStringList dropped;
  QObject::connect(ctl.get(), &QorvPicture::OLEDragDrop, [&](DataObject* data, int* effect, int, int, float, float) {
    for (int i = 1; i <= data->Files()->Count(); ++i) dropped << data->Files()->Item(i);
    *effect = handlerEffect;
  });
  const std::unique_ptr<QMimeData> mime = foreignData();
  const Qt::DropActions both = Qt::CopyAction | Qt::MoveAction;
  send(QDragEnterEvent(QPoint(5, 5), both, mime.get(), Qt::LeftButton, Qt::NoModifier));
  handlerEffect = 2;
  QDragMoveEvent over(QPoint(6, 6), both, mime.get(), Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(pane(), &over);
  EXPECT_TRUE(over.isAccepted());
  EXPECT_EQ(over.dropAction(), Qt::MoveAction);
  send(QDragLeaveEvent());
  EXPECT_EQ(states, QList<int>({0, 2, 1}));

  // A drop follows the drag entering the pane.
  const auto dropWith = [&](int effect) {
    handlerEffect = effect;
    send(QDragEnterEvent(QPoint(6, 6), both, mime.get(), Qt::LeftButton, Qt::NoModifier));
    QDropEvent drop(QPointF(6, 6), both, mime.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(pane(), &drop);
    return drop.isAccepted() ? drop.dropAction() : Qt::IgnoreAction;
  };
  EXPECT_EQ(dropWith(0), Qt::IgnoreAction);
  EXPECT_EQ(dropWith(1), Qt::CopyAction);
  EXPECT_EQ(dropped, QStringList({"/tmp/a.png", "/tmp/b.jpg", "/tmp/a.png", "/tmp/b.jpg"}));

  ctl->setOLEDropMode(0);
  EXPECT_FALSE(pane()->acceptDrops());
}

TEST_F(DragDrop, AFailingDropHandlerRefusesTheDrop) {
  ctl->setOLEDropMode(1);
  QObject::connect(ctl.get(), &QorvPicture::OLEDragDrop, [](DataObject* data, int* effect, int, int, float, float) {
    *effect = 1;
    data->GetData(2);  // no bitmap in this drop: raises
  });
  const std::unique_ptr<QMimeData> mime = foreignData();
  send(QDragEnterEvent(QPoint(6, 6), Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier));
  EXPECT_FALSE(send(QDropEvent(QPointF(6, 6), Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier)));
}

}  // namespace
}  // namespace qorv
