// The drag-and-drop data object over QMimeData.
#include <QorvPictureBox/DataObject.h>

#include <QHash>
#include <QImage>
#include <QMimeData>
#include <QPointer>
#include <QUrl>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/Picture.h>

namespace qorv {

namespace {

const QString kText = QStringLiteral("text/plain");
const QString kImage = QStringLiteral("application/x-qt-image");
const QString kFiles = QStringLiteral("text/uri-list");
const QString kRtf = QStringLiteral("text/rtf");
const QString kRtfOther = QStringLiteral("application/rtf");

[[noreturn]] void raise(std::int32_t number, const char* text) {
  throw AutomationError(number, programName() + ".DataObject", text);
}
[[noreturn]] void readOnly() {
  raise(errors::DataObjectReadOnly,
        "DataObject formats list may not be cleared or expanded outside of the OLEStartDrag event");
}

// The format number a drop target's request is reported with.
int formatNumberOf(const QString& mime) {
  if (mime == kText) return DataObject::vbCFText;
  if (mime == kImage) return DataObject::vbCFBitmap;
  if (mime == kFiles) return DataObject::vbCFFiles;
  if (mime == kRtf) return DataObject::vbCFRTF;
  return 0;
}

QStringList localFiles(const QMimeData* data) {
  QStringList files;
  if (data == nullptr || !data->hasUrls()) return files;
  for (const QUrl& u : data->urls())
    if (u.isLocalFile()) files << u.toLocalFile();
  return files;
}

QList<QUrl> urlsOf(const QStringList& files) {
  QList<QUrl> urls;
  for (const QString& f : files) urls << QUrl::fromLocalFile(f);
  return urls;
}

// Data a drag source owns: formats may be offered before they have a value,
// and are asked for when a drop target first reads them.
class OfferingMimeData : public QMimeData {
 public:
  QHash<QString, int> offered;
  std::function<void(int)> request;
  bool asking = false;

  QStringList formats() const override {
    QStringList f = QMimeData::formats();
    for (auto it = offered.cbegin(); it != offered.cend(); ++it)
      if (!f.contains(it.key())) f << it.key();
    return f;
  }
  bool hasFormat(const QString& mime) const override {
    return offered.contains(mime) || QMimeData::hasFormat(mime);
  }

 protected:
  QVariant retrieveData(const QString& mime, QMetaType type) const override {
    auto* self = const_cast<OfferingMimeData*>(this);
    const auto it = self->offered.find(mime);
    if (it != self->offered.end() && request && !self->asking) {
      // The handler fills the offered format while it is still offered; it
      // is asked once, and a handler that gives nothing leaves the target
      // with nothing.
      self->asking = true;
      request(it.value());
      self->asking = false;
      self->offered.remove(mime);
    }
    return QMimeData::retrieveData(mime, type);
  }
};

}  // namespace

struct DataObject::Impl {
  const QMimeData* view = nullptr;            // data someone else owns
  std::unique_ptr<OfferingMimeData> owned;    // ours, until a drag takes it
  QPointer<OfferingMimeData> handedOver;      // ours, now the drag's
  Access access = Access::ReadOnly;

  OfferingMimeData* writable() const { return owned ? owned.get() : handedOver.data(); }
  const QMimeData* data() const {
    if (const OfferingMimeData* w = writable()) return w;
    return view;
  }
};

DataObject::DataObject(QObject* parent)
    : QObject(parent), d_(std::make_unique<Impl>()), files_(new DataObjectFiles(*this)) {
  d_->owned = std::make_unique<OfferingMimeData>();
  d_->access = Access::Full;
}

DataObject::DataObject(const QMimeData* data, QObject* parent)
    : QObject(parent), d_(std::make_unique<Impl>()), files_(new DataObjectFiles(*this)) {
  d_->view = data;
}

DataObject::~DataObject() = default;

QString DataObject::mimeTypeOf(const QVariant& Format) {
  if (!Format.isValid()) return {};
  if (Format.typeId() == QMetaType::QString && Format.toString().contains(QLatin1Char('/')))
    return Format.toString().trimmed();
  bool ok = false;
  const int n = Format.toInt(&ok);
  if (!ok) return {};
  switch (n) {
    case vbCFText: return kText;
    case vbCFBitmap: case vbCFDIB: return kImage;
    case vbCFFiles: return kFiles;
    case vbCFRTF: return kRtf;
    default: return {};
  }
}

bool DataObject::GetFormat(const QVariant& Format) const {
  const QMimeData* data = d_->data();
  const QString mime = mimeTypeOf(Format);
  if (data == nullptr || mime.isEmpty()) return false;
  // Asking whether an offered format is there must not ask the handler for it.
  if (const OfferingMimeData* own = d_->writable(); own != nullptr && own->offered.contains(mime)) return true;
  if (mime == kFiles) return !localFiles(data).isEmpty();
  if (mime == kRtf) return data->hasFormat(kRtf) || data->hasFormat(kRtfOther);
  if (mime == kImage) return data->hasImage();
  return data->hasFormat(mime);
}

QVariant DataObject::GetData(const QVariant& Format) const {
  const QString mime = mimeTypeOf(Format);
  if (mime.isEmpty()) raise(errors::InvalidClipboardFormat, "Invalid Clipboard format");
  const QMimeData* data = d_->data();
  const auto mismatch = [] { raise(errors::FormatDoesNotMatchData, "Specified format doesn't match format of data"); };
  if (!GetFormat(Format)) mismatch();
  if (mime == kText) return data->text();
  if (mime == kFiles) return localFiles(data);
  if (mime == kRtf) return QString::fromUtf8(data->data(data->hasFormat(kRtf) ? kRtf : kRtfOther));
  if (mime == kImage) {
    const QImage image = qvariant_cast<QImage>(data->imageData());
    if (image.isNull()) mismatch();
    PicturePtr picture = Picture::fromImage(image);
    if (!picture) raise(errors::OutOfMemory, "Out of memory");
    return QVariant::fromValue(picture);
  }
  return data->data(mime);
}

void DataObject::SetData(const QVariant& Value, const QVariant& Format) {
  if (!Value.isValid() && !Format.isValid()) raise(errors::ExpectedAnArgument, "Expected at least one argument");
  OfferingMimeData* data = d_->writable();
  if (d_->access == Access::ReadOnly || data == nullptr) readOnly();
  QString mime;
  if (Format.isValid()) {
    mime = mimeTypeOf(Format);
  } else if (Value.typeId() == QMetaType::QString) {
    mime = kText;
  } else if (Value.metaType() == QMetaType::fromType<PicturePtr>()) {
    mime = kImage;
  } else if (Value.typeId() == QMetaType::QStringList) {
    mime = kFiles;
  }
  if (mime.isEmpty()) raise(errors::InvalidClipboardFormat, "Invalid Clipboard format");
  const bool known = data->offered.contains(mime) || data->QMimeData::hasFormat(mime);
  if (!Value.isValid()) {
    if (d_->access != Access::Full) readOnly();
    if (!data->QMimeData::hasFormat(mime)) {
      bool ok = false;
      const int n = Format.toInt(&ok);
      data->offered.insert(mime, ok ? n : formatNumberOf(mime));
    }
    return;
  }
  if (d_->access == Access::FillDeclared && !known) readOnly();
  const auto mismatch = [] { raise(errors::TypeMismatch, "Type mismatch"); };
  if (mime == kImage) {
    if (Value.metaType() != QMetaType::fromType<PicturePtr>()) mismatch();
    const PicturePtr p = Value.value<PicturePtr>();
    if (handleOf(p) == 0) raise(errors::InvalidPicture, "Invalid picture");
    data->setImageData(p->toImage());
  } else if (mime == kFiles) {
    if (Value.typeId() != QMetaType::QStringList && Value.typeId() != QMetaType::QString) mismatch();
    data->setUrls(urlsOf(Value.toStringList()));
  } else if (Value.metaType() == QMetaType::fromType<PicturePtr>() || Value.typeId() == QMetaType::QVariantList ||
             !Value.canConvert<QString>()) {
    mismatch();
  } else if (mime == kText) {
    data->setText(Value.toString());
  } else if (Value.typeId() == QMetaType::QByteArray) {
    data->setData(mime, Value.toByteArray());
  } else {
    data->setData(mime, Value.toString().toUtf8());
  }
  data->offered.remove(mime);
}

void DataObject::Clear() {
  OfferingMimeData* data = d_->writable();
  if (d_->access != Access::Full || data == nullptr) readOnly();
  data->clear();
  data->offered.clear();
}

DataObjectFiles* DataObject::Files() { return files_.get(); }

DataObject::Access DataObject::access() const { return d_->access; }
void DataObject::setAccess(Access a) { d_->access = a; }
const QMimeData* DataObject::mimeData() const { return d_->data(); }

bool DataObject::isEmpty() const {
  const QMimeData* data = d_->data();
  return data == nullptr || data->formats().isEmpty();
}

QMimeData* DataObject::takeMimeData() {
  if (!d_->owned) return nullptr;
  d_->handedOver = d_->owned.get();
  return d_->owned.release();
}

void DataObject::setRequestHandler(std::function<void(int)> handler) {
  if (OfferingMimeData* data = d_->writable()) data->request = std::move(handler);
}

// ----- files ------------------------------------------------------------------------

DataObjectFiles::DataObjectFiles(DataObject& owner) : owner_(owner) {}

int DataObjectFiles::Count() const { return static_cast<int>(localFiles(owner_.mimeData()).size()); }

QString DataObjectFiles::Item(int Index) const {
  const QStringList files = localFiles(owner_.mimeData());
  if (Index < 1 || Index > files.size()) raise(errors::SubscriptOutOfRange, "Subscript out of range");
  return files[Index - 1];
}

void DataObjectFiles::Add(const QString& FileName, const QVariant& Index) {
  if (owner_.access() != DataObject::Access::Full) readOnly();
  QStringList files = localFiles(owner_.mimeData());
  int at = static_cast<int>(files.size());
  if (Index.isValid()) {
    bool ok = false;
    at = Index.toInt(&ok) - 1;
    if (!ok || at < 0 || at > files.size()) raise(errors::SubscriptOutOfRange, "Subscript out of range");
  }
  files.insert(at, FileName);
  owner_.SetData(files, DataObject::vbCFFiles);
}

void DataObjectFiles::Remove(int Index) {
  if (owner_.access() != DataObject::Access::Full) readOnly();
  QStringList files = localFiles(owner_.mimeData());
  if (Index < 1 || Index > files.size()) raise(errors::SubscriptOutOfRange, "Subscript out of range");
  files.removeAt(Index - 1);
  owner_.SetData(files, DataObject::vbCFFiles);
}

void DataObjectFiles::Clear() {
  if (owner_.access() != DataObject::Access::Full) readOnly();
  owner_.SetData(QStringList(), DataObject::vbCFFiles);
}

}  // namespace qorv
