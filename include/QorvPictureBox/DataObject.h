// The data of a drag and drop, as the control's OLE events hand it to their
// handlers: an automation object over the drag's QMimeData.
//
// Formats are the classic clipboard numbers or, beyond them, MIME type
// names: 1 text (text/plain), 2 bitmap and 8 device-independent bitmap (an
// image; other programs see PNG and the like), 15 a list of files
// (text/uri-list), -16639 rich text (text/rtf). The metafile and palette
// formats (3, 9, 14) exist on no Linux desktop: GetFormat says False and
// GetData/SetData raise 460. A DataObject is valid only while the event that
// handed it out runs.
#pragma once

#include <functional>
#include <memory>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

class QMimeData;

namespace qorv {

class DataObject;

// The files of a DataObject, numbered from 1 as automation collections are.
class DataObjectFiles : public QObject {
  Q_OBJECT
  Q_PROPERTY(int Count READ Count)

 public:
  int Count() const;
  // Raises 9 (subscript out of range) outside 1..Count.
  Q_INVOKABLE QString Item(int Index) const;
  // Adds a file at the end, or before position Index (1-based).
  Q_INVOKABLE void Add(const QString& FileName, const QVariant& Index = QVariant());
  Q_INVOKABLE void Remove(int Index);
  Q_INVOKABLE void Clear();

 private:
  friend class DataObject;
  explicit DataObjectFiles(DataObject& owner);
  DataObject& owner_;
};

class DataObject : public QObject {
  Q_OBJECT
  Q_PROPERTY(qorv::DataObjectFiles* Files READ Files)

 public:
  enum ClipboardFormat {
    vbCFText = 1,
    vbCFBitmap = 2,
    vbCFMetafile = 3,
    vbCFDIB = 8,
    vbCFPalette = 9,
    vbCFEMF = 14,
    vbCFFiles = 15,
    vbCFRTF = -16639,
  };
  Q_ENUM(ClipboardFormat)

  // What the handler of the current event may change.
  enum class Access {
    ReadOnly,      // drops and drags over the control: read only (672 otherwise)
    FillDeclared,  // OLESetData: give values to formats already offered
    Full,          // OLEStartDrag: add, fill and clear formats
  };

  // A new, empty data object that owns its data, with full access (the
  // start of a drag).
  explicit DataObject(QObject* parent = nullptr);
  // A read-only view of data someone else owns (a drop); null is no data.
  explicit DataObject(const QMimeData* data, QObject* parent = nullptr);
  ~DataObject() override;

  // True when data of that format is there (or offered to be given on
  // request). Unknown and unavailable formats are simply not there.
  Q_INVOKABLE bool GetFormat(const QVariant& Format) const;
  // Text and rich text as a String, a bitmap as a Picture object, files as a
  // list of paths, a MIME type's data as bytes. Raises 460 for a format this
  // platform does not know and 461 when the data holds no such format.
  Q_INVOKABLE QVariant GetData(const QVariant& Format) const;
  // Stores Value under Format. Without Format the format follows from the
  // value (String: text, Picture: bitmap, list: files); without Value the
  // format is offered and asked for through OLESetData when a drop target
  // wants it. Raises 673 with neither, 672 when the event allows no such
  // change, 13 for a value of the wrong kind, 460 for an unknown format.
  Q_INVOKABLE void SetData(const QVariant& Value = QVariant(), const QVariant& Format = QVariant());
  // Removes every format (672 outside OLEStartDrag).
  Q_INVOKABLE void Clear();
  DataObjectFiles* Files();

  // --- for the control and hosts that run drags themselves -------------------
  Access access() const;
  void setAccess(Access a);
  // The data as Qt sees it (null when there is none).
  const QMimeData* mimeData() const;
  // True when no format is stored or offered.
  bool isEmpty() const;
  // Hands the data this object owns over to a drag (which deletes it when
  // done); the object keeps serving it until then. Null when it owns none.
  QMimeData* takeMimeData();
  // Called with the format number (or 0 for a MIME type) when a drop target
  // asks for an offered format that has no value yet.
  void setRequestHandler(std::function<void(int format)> handler);
  // The MIME type of a format number or name; empty when this platform has
  // no such format.
  static QString mimeTypeOf(const QVariant& Format);

 private:
  friend class DataObjectFiles;
  struct Impl;
  std::unique_ptr<Impl> d_;
  std::unique_ptr<DataObjectFiles> files_;
};

}  // namespace qorv
