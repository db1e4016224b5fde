// Shared set-up for control tests: a recording host, a manual clock and a
// control of a known size holding a known picture.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>

#include <QImage>
#include <QMetaMethod>
#include <QStringList>

#include <ostream>
#include <vector>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"
#include "platform/Clock.h"
#include "platform/Host.h"
#include <QorvPictureBox/Picture.h>
#include "platform/PictureBox.h"
#include "platform/Timer.h"
#include "view/StretchModel.h"

namespace qorv::testing_support {

class RecordingHost : public Host {
 public:
  void propertyChanged(QObject*, const QString& name) override { changed << name; }
  double twipsPerPixelX() override { return 15; }
  double twipsPerPixelY() override { return 15; }
  QStringList changed;
};

// The automation error number a call raises; 0 when it returns.
template <class Call>
std::int32_t errorOf(Call&& call) {
  try {
    call();
  } catch (const AutomationError& e) {
    return e.number();
  }
  return 0;
}

// Whether `mo` has an invokable method of that name.
inline bool hasMethod(const QMetaObject& mo, const char* name) {
  for (int i = mo.methodOffset(); i < mo.methodCount(); ++i)
    if (mo.method(i).name() == name && mo.method(i).methodType() == QMetaMethod::Method) return true;
  return false;
}

// Pseudo-random opaque pixels: every channel differs between neighbours.
inline QImage noise(int w, int h, unsigned seed) {
  QImage img(w, h, QImage::Format_RGB32);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      seed = seed * 1103515245u + 12345u;
      img.setPixel(x, y, 0xFF000000u | (seed >> 8));
    }
  return img;
}

// An event as the control raised it, with its arguments as the handlers left them.
struct Raised {
  EventId id;
  QVariantList args;
  bool operator==(const Raised&) const = default;
};

// What the control's error record holds.
struct ErrorRecord {
  qint32 code;
  QString text;
  qint32 flag;
  bool operator==(const ErrorRecord&) const = default;
};
inline void PrintTo(const ErrorRecord& e, std::ostream* os) {
  *os << "{" << e.code << ", \"" << e.text.toStdString() << "\", " << e.flag << "}";
}

class ControlTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setHost(&host);
    setClock(&clock);
    setYieldHook({});
    ctl = std::make_unique<QorvPicture>();
  }
  void TearDown() override {
    ctl.reset();
    setYieldHook({});
    setClock(nullptr);
    setHost(nullptr);
  }

  // The control's internals: panes, timers, the error record, event raising.
  QorvPicturePrivate& in() const { return QorvPicturePrivate::of(*ctl); }

  // Gives the control a pane of w x h pixels.
  void sizeTo(int w, int h) {
    ctl->resize(w, h);
    in().handleResize();
  }
  PicturePtr pattern(int w, int h) { return Picture::fromImage(testmodel::patternImage(w, h)); }
  // The control's picture as plain RGB pixels.
  QImage current() const { return ctl->Picture()->toImage().convertToFormat(QImage::Format_RGB32); }
  ErrorRecord error() const { return {ctl->LastErrorCode(), ctl->LastErrorDescription(), ctl->LastErrorFlag()}; }
  // The automation error number of a call by name; 0 when it succeeds.
  std::int32_t invokeError(const char* name, QVariantList args, int kind = QorvPicture::Method) {
    return errorOf([&] { ctl->invoke(QString::fromLatin1(name), kind, args); });
  }

  // Records into `raised` every event the control raises from now on, after
  // `onEvent` (when set) has played the host's handler.
  void recordEvents() {
    ctl->setEventHook([this](int id, QVariantList& a) {
      if (onEvent) onEvent(static_cast<EventId>(id), a);
      raised.push_back({static_cast<EventId>(id), a});
    });
  }
  // The recorded events among `only` (all when empty), in order.
  std::vector<Raised> raisedOf(const std::vector<EventId>& only = {}) const {
    std::vector<Raised> out;
    for (const Raised& r : raised)
      if (only.empty() || std::find(only.begin(), only.end(), r.id) != only.end()) out.push_back(r);
    return out;
  }
  std::vector<EventId> raisedIds(const std::vector<EventId>& only = {}) const {
    std::vector<EventId> ids;
    for (const Raised& r : raisedOf(only)) ids.push_back(r.id);
    return ids;
  }
  int raisedCount(EventId id) const { return static_cast<int>(raisedOf({id}).size()); }
  // The pane's pixels of the colour `rgb` (alpha aside).
  int paneCount(QRgb rgb) const {
    const QImage img = in().picPane().imageViewRead();
    int n = 0;
    for (int y = 0; y < img.height(); ++y)
      for (int x = 0; x < img.width(); ++x) n += (img.pixel(x, y) | 0xFF000000u) == (rgb | 0xFF000000u);
    return n;
  }
  // The progress events of image operations.
  std::vector<Raised> progress() const {
    return raisedOf({EventId::ProcessInit, EventId::Process, EventId::ProcessComplete});
  }
  // The arguments of the last recorded `id`; empty when it was not raised.
  QVariantList lastArgs(EventId id) const {
    for (auto it = raised.rbegin(); it != raised.rend(); ++it)
      if (it->id == id) return it->args;
    return {};
  }

  RecordingHost host;
  ManualClock clock;
  std::unique_ptr<QorvPicture> ctl;
  std::vector<Raised> raised;
  std::function<void(EventId, QVariantList&)> onEvent;
};

// Counts emissions of a no-argument signal.
struct Counter {
  int n = 0;
  void operator()() { ++n; }
};

}  // namespace qorv::testing_support
