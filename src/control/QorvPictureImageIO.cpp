// Loading, saving, the format table queries, dialogs and path helpers of the
// control: the order of the steps a host can observe (error record, busy
// cursor, events) lives here; the file work is the image I/O layer's.
#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"
#include "control/VariantConversion.h"

#include <QImage>
#include <QImageReader>
#include <QPainter>

#include "imageio/Dialog.h"
#include "imageio/FormatTable.h"
#include "imageio/ImageLoad.h"
#include "imageio/ImageSave.h"
#include "imageio/Paths.h"
#include <QorvPictureBox/AutomationError.h>
#include "platform/FileDialog.h"
#include "platform/Host.h"
#include "platform/PictureBox.h"
#include "platform/PictureLoad.h"

namespace qorv {

namespace {

constexpr int kHourglass = 11;
constexpr int kDefaultPointer = 0;

const QString kVBPattern = QStringLiteral(
    "All Supported files|*.bmp;*.ico;*.gif;*.jpg;*.jpeg;*.wmf;*.cur;|Windows Bitmap (*.bmp)|*.bmp|Windows Icon "
    "(*.ico)|*.ico|GIF File (*.gif)|*.gif|JPEG File (*.jpg,*.jpeg)|*.jpg;*.jpeg|Windows Metafile (*.wmf)|*.wmf|"
    "Cursor File|*.cur");

// The screen pointer goes back to the default however an operation ends.
class PointerRestore {
 public:
  PointerRestore() = default;
  ~PointerRestore() { host().setScreenMousePointer(kDefaultPointer); }
  PointerRestore(const PointerRestore&) = delete;
  PointerRestore& operator=(const PointerRestore&) = delete;
};

void showBusy() {
  host().setScreenMousePointer(kHourglass);
  yieldOnce();  // lets the pointer show before the work starts
}

// What Buffer shows when a load produced no picture at all: a small grey tile
// with a red cross, unmistakably not the user's picture.
PicturePtr standbyPicture() {
  QImage img(32, 32, QImage::Format_RGB32);
  img.fill(QColor(192, 192, 192));
  QPainter p(&img);
  p.setPen(QPen(QColor(200, 0, 0), 3));
  p.drawLine(6, 6, 25, 25);
  p.drawLine(25, 6, 6, 25);
  p.end();
  return Picture::fromImage(img);
}

}  // namespace

// ----- loading ------------------------------------------------------------------

bool QorvPicture::LoadFreeImage(QString* StrFilePath, qint32 ForceType, QString* InitDir, bool DoNotRender) {
  QString localPath;
  QString localDir;
  QString& path = StrFilePath ? *StrFilePath : localPath;
  QString& initDir = InitDir ? *InitDir : localDir;
  ClearError();

  if (path.isEmpty() && !d_->askForLoadPath(path, initDir, imageio::FreeImageLoadPattern())) return false;

  // These never reach the image library: the platform's own loader reads them.
  const QString ext = imageio::FileExtension(path, true).toLower();
  if (ext == u".gif" || ext == u".wmf" || ext == u".ico" || ext == u".cur")
    return LoadVBPicture(&path, &initDir, DoNotRender);

  PointerRestore pointer;
  if (!d_->settings.noLoadingHourGlass) showBusy();

  imageio::LoadRequest request;
  request.path = path;
  request.forceType = ForceType;
  request.jpegLoadQuality = d_->settings.jpegLoadQuality;
  request.maxPixels = d_->settings.maxLoadPixels;
  request.isolated = d_->settings.isolatedDecoding;
  request.timeoutMs = d_->settings.loadTimeout > 0 ? d_->settings.loadTimeout : imageio::DefaultLoadTimeoutMs;
  request.allowUnlisted = d_->settings.allowUnlistedFormats;
  request.autoRotate = d_->settings.autoRotate;
  request.keepAlpha = d_->view.state().showTransparency;
  imageio::LoadedPicture loaded = imageio::LoadPicture(request);
  if (!loaded.outcome.ok()) {
    d_->setError(loaded.outcome.code, loaded.outcome.description, loaded.outcome.flag);
    return false;
  }
  // Buffer shows the loaded picture, sharing its pixels, and the picture
  // becomes the current one.
  d_->Buffer().placePicture(loaded.picture);
  d_->completeLoad(path, loaded.outcome.fif, loaded.outcome.bitsPerPixel, DoNotRender, std::move(loaded.picture),
                   std::move(loaded.alpha));
  return true;
}

bool QorvPicture::LoadVBPicture(QString* StrFilePath, QString* InitDir, bool DoNotRender) {
  QString localPath;
  QString localDir;
  QString& path = StrFilePath ? *StrFilePath : localPath;
  QString& initDir = InitDir ? *InitDir : localDir;
  ClearError();

  if (path.isEmpty() && !d_->askForLoadPath(path, initDir, kVBPattern)) return false;

  static const QStringList accepted = {QStringLiteral(".bmp"), QStringLiteral(".ico"), QStringLiteral(".gif"),
                                       QStringLiteral(".jpg"), QStringLiteral(".jpeg"), QStringLiteral(".wmf"),
                                       QStringLiteral(".cur")};
  if (!accepted.contains(imageio::FileExtension(path, true).toLower())) {
    d_->setError(error_record::FormatNotSupported,
                 QStringLiteral("File format not supported (") + imageio::FileExtension(path) + u')',
                 error_record::FlagWarning);
    return false;
  }

  PointerRestore pointer;
  if (!d_->settings.noLoadingHourGlass) showBusy();

  AlphaMask alpha;
  const PicturePtr pic = LoadPlatformPicture(path, nullptr, d_->view.state().showTransparency ? &alpha : nullptr);
  if (!pic) {
    d_->setError(error_record::InvalidFileFormat, QStringLiteral("Invalid file format!"), error_record::FlagCritical);
    return false;
  }

  PictureBox& buffer = d_->Buffer();
  buffer.setPicture(PicturePtr());
  buffer.Cls();
  buffer.setPicture(pic);
  // The platform loader converts as it reads; the file's own depth comes from
  // its header.
  const int depth = QImage::toPixelFormat(QImageReader(path).imageFormat()).bitsPerPixel();
  d_->completeLoad(path, imageio::GetFIFFormatFromExtension(path), depth, DoNotRender, nullptr, std::move(alpha));
  return true;
}

bool QorvPicturePrivate::askForLoadPath(QString& path, QString& initDir, const QString& pattern) {
  if (!settings.currentFile.isEmpty()) initDir = imageio::FileDirectory(settings.currentFile);
  QString filterPattern = pattern;
  QString title = QStringLiteral("Load Picture...");
  std::int32_t filter = 1;  // the all-supported filter
  const QString chosen = imageio::Dialog(filterPattern, static_cast<std::uint32_t>(q.hWnd()), initDir, title, 0,
                                         false, &filter, QString());
  if (chosen.isEmpty()) return false;
  path = chosen;
  return true;
}

void QorvPicturePrivate::completeLoad(const QString& path, std::int32_t fif, std::int32_t bitsPerPixel,
                                      bool doNotRender, PicturePtr placed, AlphaMask alpha) {
  PictureBox& buffer = Buffer();
  settings.currentFile = path;
  settings.sourceBitsPerPixel = bitsPerPixel;
  if (view.state().autoSize) view.applyAutoSize();
  if (!settings.keepViewOnPictureChange) setOffsetsSilently(0, 0);
  // Buffer ends up holding what was drawn on it as its picture; the
  // normalisation also makes sure frames can be composed from it directly.
  if (placed) buffer.setPicture(placed);
  placed.reset();
  if (!settings.fastLoad) view.normalizePicture();
  if (handleOf(buffer.Picture()) == 0) buffer.setPicture(standbyPicture());
  view.setPictureAlpha(std::move(alpha));
  // The loaded picture's first frame is an initial one: drawn fast when a
  // quality pass is due, which follows one full HQInitialDelay later.
  if (!doNotRender)
    view.updateView(true, true, true);
  else if (settings.keepViewOnPictureChange)
    view.clampOffsets();
  view.updatePanCursor();
  raiseOffsetChanged();
  host().setScreenMousePointer(kDefaultPointer);
  QVariantList loaded{settings.currentFile, fif};
  raiseEvent(EventId::LoadImage, loaded);
  QVariantList changed{settings.currentFile};
  raiseEvent(EventId::FileChange, changed);
}

// ----- saving -------------------------------------------------------------------

bool QorvPicture::SaveFreeImage(QString* StrFilePath, qint32 Quality, qint32 FIFType, bool UseNewFilename) {
  QString localPath;
  QString& path = StrFilePath ? *StrFilePath : localPath;
  const gdi::HBITMAP picture = handleOf(d_->Buffer().Picture());
  if (picture == 0) {
    d_->setError(error_record::NothingToSave, QStringLiteral("There is no picture to save"),
                 error_record::FlagWarning);
    return false;
  }

  if (path.isEmpty()) {
    std::int32_t filter = imageio::GetSaveFilterIndex(imageio::FileExtension(d_->settings.currentFile));
    QString pattern = imageio::FreeImageSavePattern();
    QString title = QStringLiteral("Save Picture...");
    QString chosen = imageio::Dialog(pattern, static_cast<std::uint32_t>(hWnd()), QString(), title,
                                     static_cast<std::int32_t>(OFN_OVERWRITEPROMPT), true, &filter,
                                     imageio::FileName(d_->settings.currentFile));
    if (chosen.isEmpty()) return false;
    // The format of the filter left selected wins: its extension is added
    // whenever the typed name does not already end in it.
    const QString saveExt = imageio::FreeImageGetSaveExt(filter);
    if (imageio::FileExtension(chosen).toLower() != saveExt.toLower()) chosen += u'.' + saveExt;
    path = chosen;
  }

  imageio::IoOutcome outcome;
  {
    PointerRestore pointer;
    host().setScreenMousePointer(kHourglass);
    try {
      outcome = imageio::SaveBitmap(picture, path, Quality, FIFType,
                                    d_->settings.syncOnSave ? imageio::SaveSync::Flush : imageio::SaveSync::NoFlush);
    } catch (...) {
      // An unexpected failure ends the save quietly, as if nothing was asked.
      return false;
    }
    if (!outcome.ok()) {
      d_->setError(outcome.code, outcome.description, outcome.flag);
      return false;
    }
    if (UseNewFilename) {
      d_->settings.currentFile = path;
      QVariantList changed{path};
      d_->raiseEvent(EventId::FileChange, changed);
    }
  }
  QVariantList saved{path, outcome.fif};
  d_->raiseEvent(EventId::SaveImage, saved);
  return true;
}

// ----- format table -------------------------------------------------------------

qint32 QorvPicture::FreeImageFormatCount() { return imageio::FreeImageFormatCount(); }
QString QorvPicture::FreeImageFormat(qint32 Index) { return imageio::FreeImageFormat(Index); }
QString QorvPicture::FreeImageFormatDescription(qint32 Index) { return imageio::FreeImageFormatDescription(Index); }
qint32 QorvPicture::FreeImageFormatExtensionsCount(qint32 FormatIndex) {
  return imageio::FreeImageFormatExtensionsCount(FormatIndex);
}
QString QorvPicture::FreeImageFormatExtension(qint32 FormatIndex, qint32 ExtensionIndex) {
  return imageio::FreeImageFormatExtension(FormatIndex, ExtensionIndex);
}
qint32 QorvPicture::FreeImageGetFormatExtensionIndex(qint32 FormatIndex, QString* Extension) {
  QString local;
  return imageio::FreeImageGetFormatExtensionIndex(FormatIndex, Extension ? *Extension : local);
}
bool QorvPicture::FreeImageFormatCanSave(qint32 Index) { return imageio::FreeImageFormatCanSave(Index); }
bool QorvPicture::FreeImageCanSetQualitySave(qint32 Index) { return imageio::FreeImageCanSetQualitySave(Index); }
bool QorvPicture::FreeImageFormatCanLoad(qint32 Index) { return imageio::FreeImageFormatCanLoad(Index); }
QString QorvPicture::FreeImageSavePattern(qint32* FindFilterIndex, const QString& FileExt) {
  return imageio::FreeImageSavePattern(FindFilterIndex, FileExt);
}
QString QorvPicture::FreeImageSavePatternExt() { return imageio::FreeImageSavePatternExt(); }
QString QorvPicture::FreeImageGetSaveExt(qint32 FilterIndex) { return imageio::FreeImageGetSaveExt(FilterIndex); }
qint32 QorvPicture::GetLoadFilterIndex(const QString& StrExtension) {
  return imageio::GetLoadFilterIndex(StrExtension);
}
qint32 QorvPicture::GetSaveFilterIndex(const QString& StrExtension) {
  return imageio::GetSaveFilterIndex(StrExtension);
}
qint32 QorvPicture::FreeImageGetFormatIndex(const QString& StrExtension) {
  return imageio::FreeImageGetFormatIndex(StrExtension);
}
QString QorvPicture::FreeImageLoadPattern() { return imageio::FreeImageLoadPattern(); }
QString QorvPicture::FreeImageLoadPatternExt() { return imageio::FreeImageLoadPatternExt(); }

// ----- dialogs, paths, shell --------------------------------------------------------

QString QorvPicture::Dialog(QString* Pattern, qint32 hwndOwner, const QString& initialDir, QString* DialogTitle,
                            qint32 dialogFlags, bool SaveDialog, QVariant* FilterIndex, const QString& FileName) {
  QString localPattern;
  QString localTitle;
  std::int32_t filter = 0;
  if (FilterIndex && FilterIndex->isValid() && !FilterIndex->isNull()) {
    bool ok = false;
    filter = FilterIndex->toInt(&ok);
    if (!ok)
      raiseTypeMismatch();
  }
  const QString result =
      imageio::Dialog(Pattern ? *Pattern : localPattern, static_cast<std::uint32_t>(hwndOwner), initialDir,
                      DialogTitle ? *DialogTitle : localTitle, dialogFlags, SaveDialog, &filter, FileName);
  if (FilterIndex) *FilterIndex = QVariant(static_cast<qint32>(filter));
  return result;
}

QString QorvPicture::FileExtension(const QString& StrFile, bool IncludeDOT) {
  return imageio::FileExtension(StrFile, IncludeDOT);
}
qint32 QorvPicture::GetFIFFormatFromExtension(const QString& StrExtension) {
  return imageio::GetFIFFormatFromExtension(StrExtension);
}
QString QorvPicture::FileName(const QString& StrFilePath) { return imageio::FileName(StrFilePath); }
QString QorvPicture::RemoveFileExtension(const QString& StrFilename) {
  return imageio::RemoveFileExtension(StrFilename);
}
qint32 QorvPicture::ShellExecute(const QString& lPath, const QString& InitDir, const QString& Parameters,
                                 const QString& Operation) {
  return imageio::ShellExecute(static_cast<std::uint32_t>(hWnd()), lPath, InitDir, Parameters, Operation);
}

}  // namespace qorv
