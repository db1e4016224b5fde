// Loading, saving, the format table queries, dialogs and path helpers of the
// control. (Placeholders until the image I/O members are written: each raises
// a clear "not implemented" automation error instead of pretending to work.)
#include "control/QorvPicture.h"

namespace qorv {

bool QorvPicture::LoadFreeImage(QString*, qint32, QString*, bool) { notImplemented("LoadFreeImage"); }
bool QorvPicture::LoadVBPicture(QString*, QString*, bool) { notImplemented("LoadVBPicture"); }
bool QorvPicture::SaveFreeImage(QString*, qint32, qint32, bool) { notImplemented("SaveFreeImage"); }
qint32 QorvPicture::FreeImageFormatCount() { notImplemented("FreeImageFormatCount"); }
QString QorvPicture::FreeImageFormat(qint32) { notImplemented("FreeImageFormat"); }
QString QorvPicture::FreeImageFormatDescription(qint32) { notImplemented("FreeImageFormatDescription"); }
qint32 QorvPicture::FreeImageFormatExtensionsCount(qint32) { notImplemented("FreeImageFormatExtensionsCount"); }
QString QorvPicture::FreeImageFormatExtension(qint32, qint32) { notImplemented("FreeImageFormatExtension"); }
qint32 QorvPicture::FreeImageGetFormatExtensionIndex(qint32, QString*) {
  notImplemented("FreeImageGetFormatExtensionIndex");
}
bool QorvPicture::FreeImageFormatCanSave(qint32) { notImplemented("FreeImageFormatCanSave"); }
bool QorvPicture::FreeImageCanSetQualitySave(qint32) { notImplemented("FreeImageCanSetQualitySave"); }
bool QorvPicture::FreeImageFormatCanLoad(qint32) { notImplemented("FreeImageFormatCanLoad"); }
QString QorvPicture::FreeImageSavePattern(qint32*, const QString&) { notImplemented("FreeImageSavePattern"); }
QString QorvPicture::FreeImageSavePatternExt() { notImplemented("FreeImageSavePatternExt"); }
QString QorvPicture::FreeImageGetSaveExt(qint32) { notImplemented("FreeImageGetSaveExt"); }
qint32 QorvPicture::GetLoadFilterIndex(const QString&) { notImplemented("GetLoadFilterIndex"); }
qint32 QorvPicture::GetSaveFilterIndex(const QString&) { notImplemented("GetSaveFilterIndex"); }
qint32 QorvPicture::FreeImageGetFormatIndex(const QString&) { notImplemented("FreeImageGetFormatIndex"); }
QString QorvPicture::FreeImageLoadPattern() { notImplemented("FreeImageLoadPattern"); }
QString QorvPicture::FreeImageLoadPatternExt() { notImplemented("FreeImageLoadPatternExt"); }
QString QorvPicture::Dialog(QString*, qint32, const QString&, QString*, qint32, bool, QVariant*, const QString&) {
  notImplemented("Dialog");
}
QString QorvPicture::FileExtension(const QString&, bool) { notImplemented("FileExtension"); }
qint32 QorvPicture::GetFIFFormatFromExtension(const QString&) { notImplemented("GetFIFFormatFromExtension"); }
QString QorvPicture::FileName(const QString&) { notImplemented("FileName"); }
QString QorvPicture::RemoveFileExtension(const QString&) { notImplemented("RemoveFileExtension"); }
qint32 QorvPicture::ShellExecute(const QString&, const QString&, const QString&, const QString&) {
  notImplemented("ShellExecute");
}

}  // namespace qorv
