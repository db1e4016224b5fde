// Loading, saving, the format table queries, dialogs and path helpers of the
// control: the order of the steps a host can observe (error record, busy
// cursor, events) lives here; the file work is the image I/O layer's.
#include <QorvPictureBox/QorvPicture.h>

#include <QImage>
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

  if (path.isEmpty() && !askForLoadPath(path, initDir, imageio::FreeImageLoadPattern())) return false;

  // These never reach the image library: the platform's own loader reads them.
  const QString ext = imageio::FileExtension(path, true).toLower();
  if (ext == u".gif" || ext == u".wmf" || ext == u".ico" || ext == u".cur")
    return LoadVBPicture(&path, &initDir, DoNotRender);

  PointerRestore pointer;
  if (!noLoadingHourGlass_) showBusy();

  imageio::LoadRequest request;
  request.path = path;
  request.forceType = ForceType;
  request.jpegLoadQuality = jpegLoadQuality_;
  request.maxPixels = maxLoadPixels_;
  gdi::HBITMAP drawn = 0;
  const imageio::IoOutcome outcome = imageio::LoadIntoBuffer(request, Buffer(), &drawn);
  if (!outcome.ok()) {
    setError(outcome.code, outcome.description, outcome.flag);
    return false;
  }
  // The bitmap that was drawn holds exactly what Buffer shows now.
  PicturePtr drawnPicture = Picture::fromBitmap(drawn);
  if (!drawnPicture && drawn) gdi::DeleteObject(drawn);

  // The bitmap drawn into Buffer becomes the current picture.
  if (!drawnPicture) drawnPicture = Buffer().Image();
  completeLoad(path, outcome.fif, DoNotRender, std::move(drawnPicture));
  return true;
}

bool QorvPicture::LoadVBPicture(QString* StrFilePath, QString* InitDir, bool DoNotRender) {
  QString localPath;
  QString localDir;
  QString& path = StrFilePath ? *StrFilePath : localPath;
  QString& initDir = InitDir ? *InitDir : localDir;
  ClearError();

  if (path.isEmpty() && !askForLoadPath(path, initDir, kVBPattern)) return false;

  static const QStringList accepted = {QStringLiteral(".bmp"), QStringLiteral(".ico"), QStringLiteral(".gif"),
                                       QStringLiteral(".jpg"), QStringLiteral(".jpeg"), QStringLiteral(".wmf"),
                                       QStringLiteral(".cur")};
  if (!accepted.contains(imageio::FileExtension(path, true).toLower())) {
    setError(101, QStringLiteral("File format not supported (") + imageio::FileExtension(path) + u')', 48);
    return false;
  }

  PointerRestore pointer;
  if (!noLoadingHourGlass_) showBusy();

  const PicturePtr pic = Picture::load(path);
  if (!pic) {
    setError(500, QStringLiteral("Invalid file format!"), 16);
    return false;
  }

  PictureBox& buffer = Buffer();
  buffer.setPicture(PicturePtr());
  buffer.Cls();
  buffer.setPicture(pic);
  completeLoad(path, imageio::GetFIFFormatFromExtension(path), DoNotRender, nullptr);
  return true;
}

bool QorvPicture::askForLoadPath(QString& path, QString& initDir, const QString& pattern) {
  if (!currentFile_.isEmpty()) initDir = imageio::FileDirectory(currentFile_);
  QString filterPattern = pattern;
  QString title = QStringLiteral("Load Picture...");
  std::int32_t filter = 1;  // the all-supported filter
  const QString chosen = imageio::Dialog(filterPattern, static_cast<std::uint32_t>(hWnd()), initDir, title, 0,
                                         false, &filter, QString());
  if (chosen.isEmpty()) return false;
  path = chosen;
  return true;
}

void QorvPicture::completeLoad(const QString& path, qint32 fif, bool DoNotRender, PicturePtr placed) {
  PictureBox& buffer = Buffer();
  currentFile_ = path;
  if (autoSize_) applyAutoSize();
  setOffsetsSilently(0, 0);
  // Buffer ends up holding what was drawn on it as its picture; the
  // normalisation also makes sure frames can be composed from it directly.
  if (placed) buffer.setPicture(placed);
  placed.reset();
  if (!fastLoad_) normalizePicture();
  if (handleOf(buffer.Picture()) == 0) buffer.setPicture(standbyPicture());
  if (!DoNotRender) UpdateView(true, true);
  UpdatePanCursor();
  raiseOffsetChanged();
  host().setScreenMousePointer(kDefaultPointer);
  raiseLoadImage(currentFile_, fif);
  raiseFileChange(currentFile_);
}

// ----- saving -------------------------------------------------------------------

bool QorvPicture::SaveFreeImage(QString* StrFilePath, qint32 Quality, qint32 FIFType, bool UseNewFilename) {
  QString localPath;
  QString& path = StrFilePath ? *StrFilePath : localPath;
  const gdi::HBITMAP picture = handleOf(Buffer().Picture());
  if (picture == 0) {
    setError(400, QStringLiteral("There is no picture to save"), 48);
    return false;
  }

  if (path.isEmpty()) {
    std::int32_t filter = imageio::GetSaveFilterIndex(imageio::FileExtension(currentFile_));
    QString pattern = imageio::FreeImageSavePattern();
    QString title = QStringLiteral("Save Picture...");
    QString chosen = imageio::Dialog(pattern, static_cast<std::uint32_t>(hWnd()), QString(), title,
                                     static_cast<std::int32_t>(OFN_OVERWRITEPROMPT), true, &filter,
                                     imageio::FileName(currentFile_));
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
      outcome = imageio::SaveBitmap(picture, path, Quality, FIFType);
    } catch (...) {
      // An unexpected failure ends the save quietly, as if nothing was asked.
      return false;
    }
    if (!outcome.ok()) {
      setError(outcome.code, outcome.description, outcome.flag);
      return false;
    }
    if (UseNewFilename) {
      currentFile_ = path;
      raiseFileChange(path);
    }
  }
  raiseSaveImage(path, outcome.fif);
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
      throw AutomationError(errors::TypeMismatch, programName() + ".QorvPicture", "Type mismatch");
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
