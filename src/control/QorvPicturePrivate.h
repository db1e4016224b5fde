// The control's internals: what the implementation files of QorvPicture and
// the library's own tests build on. Hosts never include this; they use the
// public header only.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <QString>
#include <QVariantList>

#include <QorvPictureBox/QorvEnums.h>
#include <QorvPictureBox/QorvPicture.h>

#include "imageio/ImageLoad.h"
#include "processing/cImageProcessDIB.h"
#include "view/ViewEngine.h"
#include "view/ViewHost.h"

namespace qorv {

class PictureBox;
class Timer;

// Settings the control holds itself (the view's live in the view engine).
struct ControlSettings {
  bool noLoadingHourGlass = false;
  bool fastLoad = false;
  std::int32_t jpegLoadQuality = 0;
  QString toolTipText;
  PicturePtr moveIcon;
  QString currentFile;
  std::int32_t sourceBitsPerPixel = 0;
  std::int64_t maxLoadPixels = imageio::DefaultMaxLoadPixels;
  bool syncOnSave = true;
  // Loading a picture keeps the offsets (clamped) instead of resetting them.
  bool keepViewOnPictureChange = false;
  // On a high-density screen the pane works in device pixels.
  bool devicePixels = true;
  bool isolatedDecoding = true;
  std::int32_t loadTimeout = imageio::DefaultLoadTimeoutMs;
  bool allowUnlistedFormats = false;
  bool autoRotate = false;
};

// The error record that loading and saving fill instead of raising.
struct ErrorRecord {
  std::int32_t code = 0;
  QString description;
  std::int32_t flag = 0;
};

class QorvPicturePrivate final : public view::ViewHost {
 public:
  explicit QorvPicturePrivate(QorvPicture& q);
  ~QorvPicturePrivate() override;

  static QorvPicturePrivate& of(QorvPicture& c) { return *c.d_; }
  static const QorvPicturePrivate& of(const QorvPicture& c) { return *c.d_; }

  QorvPicture& q;
  view::ViewEngine view;
  ControlSettings settings;
  ErrorRecord error;
  std::unique_ptr<cImageProcessDIB> engine;
  QorvPicture::EventHook hook;

  // --- panes and timers (owned by the view engine) ---------------------------------
  PictureBox& picPane() const;
  PictureBox& Buffer() const;
  PictureBox& bBuffer() const;
  PictureBox& ScalePicture() const;
  PictureBox& clipPicture() const;
  Timer& InitTimer() const;
  Timer& UpdateTimer() const;
  // The filter engine whose notifications become ProcessInit/Process/ProcessComplete.
  cImageProcessDIB& mImageProcessDIB() const;

  // --- error record and events --------------------------------------------------------
  // Writes the whole error record at once (flag 48 warning, 16 critical).
  void setError(std::int32_t code, const QString& description, std::int32_t flag);
  // Raises an event through the hook and then the Qt signal; by-reference
  // values changed by handlers are left in `args`.
  void raiseEvent(EventId id, QVariantList& args) override;
  void raise(EventId id);
  void raiseOffsetChanged() { view.raiseOffsetChanged(); }
  // Reports a property as changed to the host, under its own name.
  void reportChanged(const QString& name);
  // Emits the NOTIFY signals of the Qt surface members that a report of the
  // classic member `classic` (or, with `classic` null, the event `id`) may
  // have changed; see QtMember.
  void notifyQtSurface(const char* classic, EventId id);
  // An operation replaced the picture in place (no classic event reports
  // that): the Qt surface's picture members hear it as PictureChanged.
  // Whatever alpha was kept for the old picture does not fit the new one.
  void pictureProcessed() {
    view.dropPictureAlpha();
    notifyQtSurface(nullptr, EventId::PictureChanged);
  }
  // The Picture property's assignment, with the alpha to show for it.
  void assignPicture(const PicturePtr& picture, AlphaMask alpha);
  bool busy = false;                  // a filter is running
  std::vector<QVariant> qtNotified;  // last value sent per Qt surface member
  // Throws the automation error for a member this build does not offer yet.
  [[noreturn]] void notImplemented(const char* member) const;
  [[noreturn]] static void raiseObjectRequired();

  // --- drawing primitives -----------------------------------------------------------------
  // Runs one drawing call on picPane with the drawing guard set, so that a
  // redraw started from inside it paints nothing over the half-drawn figure.
  // A call that fails leaves the guard set: the view stays still until the
  // next primitive completes.
  template <class Draw>
  void drawGuarded(Draw&& draw) {
    view.setDrawingGuard(true);
    draw();
    view.setDrawingGuard(false);
  }

  // --- drag and drop ------------------------------------------------------------------------
  // Turns picPane's drop notifications and automatic drags into the control's events.
  void connectDragAndDrop();
  bool dragging = false;  // an OLEDrag is running

  // --- view entry points --------------------------------------------------------------
  // The control's resize handling: the About box's design-time introduction,
  // then laying the panes out for the control's current size and the view update.
  void handleResize();
  void showAboutOnceAtDesignTime();
  // Device pixels per pane pixel: the screen's ratio when DevicePixels is
  // set, else 1.
  double paneRatio() const;
  // The pane's accessible name and description follow the picture's size and
  // the zoom.
  void updateAccessibleText();
  // Connects the visible pane's input to the navigation handlers.
  void wireInput();
  void setOffsetsSilently(std::int32_t x, std::int32_t y) { view.setOffsetsSilently(x, y); }
  int framesComposed() const { return view.framesComposed(); }

  // --- ViewHost -----------------------------------------------------------------------
  void setUseBltAIP(bool value) override;
  void setZoom(std::int16_t value) override;
  void resizeControl(int width, int height) override;

  // --- loading ---------------------------------------------------------------------------
  // Both loaders: ask for a path when none was given (false: cancelled), and
  // hand a picture placed in Buffer over to the view with its events.
  bool askForLoadPath(QString& path, QString& initDir, const QString& pattern);
  void completeLoad(const QString& path, std::int32_t fif, std::int32_t bitsPerPixel, bool doNotRender,
                    PicturePtr placed, AlphaMask alpha);
};

}  // namespace qorv
