// Dispatch of automation calls by id or name, with argument checking and
// conversion from QVariant.
#include "control/QorvDispatch.h"

#include <cmath>
#include <limits>
#include <map>

#include <QorvPictureBox/QorvPicture.h>
#include <QorvPictureBox/AutomationError.h>

namespace qorv {

namespace {

constexpr std::int32_t kOverflow = 6;
constexpr std::int32_t kNotSupported = 438;

[[noreturn]] void fail(std::int32_t number, const std::string& text) {
  throw AutomationError(number, programName() + ".QorvPicture", text);
}

[[noreturn]] void mismatch() { fail(errors::TypeMismatch, "Type mismatch"); }

bool isNumeric(const QVariant& v) {
  switch (v.typeId()) {
    case QMetaType::Int: case QMetaType::UInt: case QMetaType::Long: case QMetaType::ULong:
    case QMetaType::LongLong: case QMetaType::ULongLong: case QMetaType::Short: case QMetaType::UShort:
    case QMetaType::Char: case QMetaType::SChar: case QMetaType::UChar: case QMetaType::Double:
    case QMetaType::Float: case QMetaType::Bool:
      return true;
    default:
      return false;
  }
}

// A number from a numeric or numeric-text argument; Booleans are -1/0 as the
// automation model has them.
double toNumber(const QVariant& v) {
  if (v.typeId() == QMetaType::Bool) return v.toBool() ? -1.0 : 0.0;
  if (isNumeric(v)) return v.toDouble();
  if (v.typeId() == QMetaType::QString) {
    const QString s = v.toString().trimmed();
    if (s.compare(QLatin1String("True"), Qt::CaseInsensitive) == 0) return -1.0;
    if (s.compare(QLatin1String("False"), Qt::CaseInsensitive) == 0) return 0.0;
    bool ok = false;
    const double d = s.toDouble(&ok);
    if (ok) return d;
  }
  mismatch();
}

template <class T>
T conv(const QVariant& v);

template <>
qint32 conv<qint32>(const QVariant& v) {
  const double d = toNumber(v);
  if (!std::isfinite(d)) fail(kOverflow, "Overflow");
  const double r = std::nearbyint(d);
  if (r < std::numeric_limits<qint32>::min() || r > std::numeric_limits<qint32>::max()) fail(kOverflow, "Overflow");
  return static_cast<qint32>(r);
}
template <>
qint16 conv<qint16>(const QVariant& v) {
  const qint32 n = conv<qint32>(v);
  if (n < std::numeric_limits<qint16>::min() || n > std::numeric_limits<qint16>::max()) fail(kOverflow, "Overflow");
  return static_cast<qint16>(n);
}
template <>
bool conv<bool>(const QVariant& v) {
  return toNumber(v) != 0.0;
}
template <>
float conv<float>(const QVariant& v) {
  const double d = toNumber(v);
  if (std::isfinite(d) && std::fabs(d) > std::numeric_limits<float>::max()) fail(kOverflow, "Overflow");
  return static_cast<float>(d);
}
template <>
QString conv<QString>(const QVariant& v) {
  if (v.typeId() == QMetaType::QString) return v.toString();
  if (isNumeric(v)) {
    if (v.typeId() == QMetaType::Bool) return v.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    return v.toString();
  }
  if (v.canConvert<QString>() && v.typeId() != QMetaType::QVariantList) return v.toString();
  mismatch();
}
template <>
PicturePtr conv<PicturePtr>(const QVariant& v) {
  if (v.metaType() == QMetaType::fromType<PicturePtr>()) return v.value<PicturePtr>();
  if (v.metaType() == QMetaType::fromType<std::nullptr_t>()) return nullptr;
  mismatch();
}
template <>
FontPtr conv<FontPtr>(const QVariant& v) {
  if (v.metaType() == QMetaType::fromType<FontPtr>()) return v.value<FontPtr>();
  if (v.metaType() == QMetaType::fromType<std::nullptr_t>()) return nullptr;
  mismatch();
}

// Argument i converted, or `def` when it is missing.
template <class T>
T opt(const QVariantList& a, int i, T def = T()) {
  if (i >= a.size() || !a[i].isValid()) return def;
  return conv<T>(a[i]);
}
template <class T>
T req(const QVariantList& a, int i) {
  return conv<T>(a.value(i));
}

template <class T>
QVariant out(const T& v) {
  return QVariant::fromValue(v);
}

using Call = std::function<QVariant(QorvPicture&, int, QVariantList&)>;
using QP = QorvPicture;

// A property read with its getter and written (Let or Set) with its setter.
template <class T, class G, class S>
Call rw(G getter, S setter) {
  return [getter, setter](QP& c, int kind, QVariantList& a) -> QVariant {
    if (kind & (QP::PropertyLet | QP::PropertySet)) {
      (c.*setter)(conv<T>(a.back()));
      return {};
    }
    return out<T>((c.*getter)());
  };
}
template <class T, class G>
Call ro(G getter) {
  return [getter](QP& c, int, QVariantList&) -> QVariant { return out<T>((c.*getter)()); };
}
template <class F>
Call sub(F f) {
  return [f](QP& c, int, QVariantList& a) -> QVariant {
    f(c, a);
    return {};
  };
}

std::map<std::string, Call> makeCalls() {
  std::map<std::string, Call> m;
  m["JPEG_LOAD_QUALITY"] = rw<qint32>(&QP::JPEG_LOAD_QUALITY, &QP::setJPEG_LOAD_QUALITY);
  m["BackColor"] = rw<qint32>(&QP::BackColor, &QP::setBackColor);
  m["ForeColor"] = rw<qint32>(&QP::ForeColor, &QP::setForeColor);
  m["Enabled"] = rw<bool>(&QP::Enabled, &QP::setEnabled);
  m["Font"] = rw<FontPtr>(&QP::Font, &QP::setFont);
  m["BorderStyle"] = rw<qint32>(&QP::BorderStyle, &QP::setBorderStyle);
  m["Refresh"] = sub([](QP& c, QVariantList& a) { c.Refresh(opt<bool>(a, 0, false)); });
  m["KeepAspect"] = rw<bool>(&QP::KeepAspect, &QP::setKeepAspect);
  m["AutoSize"] = rw<bool>(&QP::AutoSize, &QP::setAutoSize);
  m["KeyboardScale"] = rw<bool>(&QP::KeyboardScale, &QP::setKeyboardScale);
  m["Zoom"] = rw<qint16>(&QP::Zoom, &QP::setZoom);
  m["PictureW"] = ro<double>(&QP::PictureW);
  m["PictureH"] = ro<double>(&QP::PictureH);
  m["Picture"] = rw<PicturePtr>(&QP::Picture, &QP::setPicture);
  m["Centered"] = rw<bool>(&QP::Centered, &QP::setCentered);
  m["Stretch"] = rw<bool>(&QP::Stretch, &QP::setStretch);
  m["UseBltAIP"] = rw<bool>(&QP::UseBltAIP, &QP::setUseBltAIP);
  m["KeyboardZoomFactor"] = rw<qint16>(&QP::KeyboardZoomFactor, &QP::setKeyboardZoomFactor);
  m["KeyboarZoomMin"] = rw<qint16>(&QP::KeyboarZoomMin, &QP::setKeyboarZoomMin);
  m["KeyboardZoomMax"] = rw<qint16>(&QP::KeyboardZoomMax, &QP::setKeyboardZoomMax);
  m["PictureWidth"] = ro<qint32>(&QP::PictureWidth);
  m["PictureHeight"] = ro<qint32>(&QP::PictureHeight);
  m["ScaledPicture"] = ro<PicturePtr>(&QP::ScaledPicture);
  m["OffsetX"] = rw<qint32>(&QP::OffsetX, &QP::setOffsetX);
  m["OffsetY"] = rw<qint32>(&QP::OffsetY, &QP::setOffsetY);
  m["ZoomFromOriginal"] = rw<bool>(&QP::ZoomFromOriginal, &QP::setZoomFromOriginal);
  m["OrgPictureWidth"] = ro<qint32>(&QP::OrgPictureWidth);
  m["OrgPictureHeight"] = ro<qint32>(&QP::OrgPictureHeight);
  m["SendToClipboard"] = [](QP& c, int, QVariantList& a) { return out(c.SendToClipboard(req<qint32>(a, 0))); };
  m["DrawLine"] = sub([](QP& c, QVariantList& a) {
    c.DrawLine(req<qint32>(a, 0), req<qint32>(a, 1), req<qint32>(a, 2), req<qint32>(a, 3), opt<qint32>(a, 4, 0));
  });
  m["DrawDot"] = sub([](QP& c, QVariantList& a) { c.DrawDot(req<qint32>(a, 0), req<qint32>(a, 1), opt<qint32>(a, 2, 0)); });
  m["DrawBox"] = sub([](QP& c, QVariantList& a) {
    c.DrawBox(req<qint32>(a, 0), req<qint32>(a, 1), req<qint32>(a, 2), req<qint32>(a, 3), opt<qint32>(a, 4, 0),
              opt<qint32>(a, 5, 0));
  });
  m["DrawCircle"] = sub([](QP& c, QVariantList& a) {
    c.DrawCircle(req<float>(a, 0), req<float>(a, 1), req<float>(a, 2), opt<qint32>(a, 3, 0));
  });
  m["RenderScaleWidth"] = ro<qint32>(&QP::RenderScaleWidth);
  m["RenderScaleHeight"] = ro<qint32>(&QP::RenderScaleHeight);
  m["RenderTextWidth"] = [](QP& c, int, QVariantList& a) { return out(c.RenderTextWidth(req<QString>(a, 0))); };
  m["RenderTextHeight"] = [](QP& c, int, QVariantList& a) { return out(c.RenderTextHeight(req<QString>(a, 0))); };
  m["MoveIcon"] = rw<PicturePtr>(&QP::MoveIcon, &QP::setMoveIcon);
  m["DrawMode"] = rw<qint32>(&QP::DrawMode, &QP::setDrawMode);
  m["DrawStyle"] = rw<qint32>(&QP::DrawStyle, &QP::setDrawStyle);
  m["DrawWidth"] = rw<qint16>(&QP::DrawWidth, &QP::setDrawWidth);
  m["hdc"] = ro<qint32>(&QP::hdc);
  m["hWnd"] = ro<qint32>(&QP::hWnd);
  m["Image"] = ro<PicturePtr>(&QP::Image);
  m["OLEDragMode"] = rw<qint32>(&QP::OLEDragMode, &QP::setOLEDragMode);
  m["OLEDropMode"] = rw<qint32>(&QP::OLEDropMode, &QP::setOLEDropMode);
  m["PaintPicture"] = sub([](QP& c, QVariantList& a) {
    c.PaintPicture(req<PicturePtr>(a, 0), req<float>(a, 1), req<float>(a, 2), a.value(3), a.value(4), a.value(5),
                   a.value(6), a.value(7), a.value(8), a.value(9));
  });
  m["ToolTipText"] = rw<QString>(&QP::ToolTipText, &QP::setToolTipText);
  m["PrintText"] = sub([](QP& c, QVariantList& a) { c.PrintText(req<QString>(a, 0)); });
  m["CurrentX"] = rw<float>(&QP::CurrentX, &QP::setCurrentX);
  m["CurrentY"] = rw<float>(&QP::CurrentY, &QP::setCurrentY);
  m["Cls"] = sub([](QP& c, QVariantList&) { c.Cls(); });
  m["LockUpdate"] = rw<bool>(&QP::LockUpdate, &QP::setLockUpdate);
  m["LoadFreeImage"] = [](QP& c, int, QVariantList& a) {
    QString path = opt<QString>(a, 0);
    QString dir = opt<QString>(a, 2);
    const bool r = c.LoadFreeImage(&path, opt<qint32>(a, 1, -1), &dir, opt<bool>(a, 3, false));
    if (a.size() > 0 && a[0].isValid()) a[0] = path;
    if (a.size() > 2 && a[2].isValid()) a[2] = dir;
    return out(r);
  };
  m["LoadVBPicture"] = [](QP& c, int, QVariantList& a) {
    QString path = opt<QString>(a, 0);
    QString dir = opt<QString>(a, 1);
    const bool r = c.LoadVBPicture(&path, &dir, opt<bool>(a, 2, false));
    if (a.size() > 0 && a[0].isValid()) a[0] = path;
    if (a.size() > 1 && a[1].isValid()) a[1] = dir;
    return out(r);
  };
  m["SaveFreeImage"] = [](QP& c, int, QVariantList& a) {
    QString path = opt<QString>(a, 0);
    const bool r = c.SaveFreeImage(&path, opt<qint32>(a, 1, 0), opt<qint32>(a, 2, -1), opt<bool>(a, 3, false));
    if (a.size() > 0 && a[0].isValid()) a[0] = path;
    return out(r);
  };
  m["FreeImageFormatCount"] = [](QP& c, int, QVariantList&) { return out(c.FreeImageFormatCount()); };
  m["FreeImageFormat"] = [](QP& c, int, QVariantList& a) { return out(c.FreeImageFormat(req<qint32>(a, 0))); };
  m["FreeImageFormatDescription"] = [](QP& c, int, QVariantList& a) {
    return out(c.FreeImageFormatDescription(req<qint32>(a, 0)));
  };
  m["FreeImageFormatExtensionsCount"] = [](QP& c, int, QVariantList& a) {
    return out(c.FreeImageFormatExtensionsCount(req<qint32>(a, 0)));
  };
  m["FreeImageFormatExtension"] = [](QP& c, int, QVariantList& a) {
    return out(c.FreeImageFormatExtension(req<qint32>(a, 0), req<qint32>(a, 1)));
  };
  m["FreeImageGetFormatExtensionIndex"] = [](QP& c, int, QVariantList& a) {
    QString ext = req<QString>(a, 1);
    const qint32 r = c.FreeImageGetFormatExtensionIndex(req<qint32>(a, 0), &ext);
    a[1] = ext;
    return out(r);
  };
  m["FreeImageFormatCanSave"] = [](QP& c, int, QVariantList& a) { return out(c.FreeImageFormatCanSave(req<qint32>(a, 0))); };
  m["FreeImageCanSetQualitySave"] = [](QP& c, int, QVariantList& a) {
    return out(c.FreeImageCanSetQualitySave(req<qint32>(a, 0)));
  };
  m["FreeImageFormatCanLoad"] = [](QP& c, int, QVariantList& a) { return out(c.FreeImageFormatCanLoad(req<qint32>(a, 0))); };
  m["FreeImageSavePattern"] = [](QP& c, int, QVariantList& a) {
    qint32 idx = opt<qint32>(a, 0, 0);
    const QString r = c.FreeImageSavePattern(&idx, opt<QString>(a, 1));
    if (a.size() > 0 && a[0].isValid()) a[0] = idx;
    return out(r);
  };
  m["FreeImageSavePatternExt"] = [](QP& c, int, QVariantList&) { return out(c.FreeImageSavePatternExt()); };
  m["FreeImageGetSaveExt"] = [](QP& c, int, QVariantList& a) { return out(c.FreeImageGetSaveExt(req<qint32>(a, 0))); };
  m["GetLoadFilterIndex"] = [](QP& c, int, QVariantList& a) { return out(c.GetLoadFilterIndex(req<QString>(a, 0))); };
  m["GetSaveFilterIndex"] = [](QP& c, int, QVariantList& a) { return out(c.GetSaveFilterIndex(req<QString>(a, 0))); };
  m["FreeImageGetFormatIndex"] = [](QP& c, int, QVariantList& a) {
    return out(c.FreeImageGetFormatIndex(req<QString>(a, 0)));
  };
  m["FreeImageLoadPattern"] = [](QP& c, int, QVariantList&) { return out(c.FreeImageLoadPattern()); };
  m["FreeImageLoadPatternExt"] = [](QP& c, int, QVariantList&) { return out(c.FreeImageLoadPatternExt()); };
  m["Invert"] = sub([](QP& c, QVariantList&) { c.Invert(); });
  m["Flip"] = sub([](QP& c, QVariantList& a) { c.Flip(req<qint32>(a, 0)); });
  m["LastErrorCode"] = ro<qint32>(&QP::LastErrorCode);
  m["LastErrorDescription"] = ro<QString>(&QP::LastErrorDescription);
  m["LastErrorFlag"] = ro<qint32>(&QP::LastErrorFlag);
  m["Dialog"] = [](QP& c, int, QVariantList& a) {
    QString pattern = req<QString>(a, 0);
    QString title = req<QString>(a, 3);
    QVariant filter = a.value(6);
    const QString r = c.Dialog(&pattern, req<qint32>(a, 1), req<QString>(a, 2), &title, opt<qint32>(a, 4, 0),
                               opt<bool>(a, 5, false), &filter, opt<QString>(a, 7));
    a[0] = pattern;
    a[3] = title;
    if (a.size() > 6 && a[6].isValid()) a[6] = filter;
    return out(r);
  };
  m["AutoSwitchToAPI"] = rw<bool>(&QP::AutoSwitchToAPI, &QP::setAutoSwitchToAPI);
  m["CurrentFile"] = ro<QString>(&QP::CurrentFile);
  m["FileExtension"] = [](QP& c, int, QVariantList& a) {
    return out(c.FileExtension(req<QString>(a, 0), opt<bool>(a, 1, false)));
  };
  m["GetFIFFormatFromExtension"] = [](QP& c, int, QVariantList& a) {
    return out(c.GetFIFFormatFromExtension(req<QString>(a, 0)));
  };
  m["FileName"] = [](QP& c, int, QVariantList& a) { return out(c.FileName(req<QString>(a, 0))); };
  m["RemoveFileExtension"] = [](QP& c, int, QVariantList& a) { return out(c.RemoveFileExtension(req<QString>(a, 0))); };
  m["FastLoad"] = rw<bool>(&QP::FastLoad, &QP::setFastLoad);
  m["MouseZoom"] = rw<bool>(&QP::MouseZoom, &QP::setMouseZoom);
  m["Offset"] = sub([](QP& c, QVariantList& a) { c.Offset(req<qint32>(a, 0), req<qint32>(a, 1)); });
  m["IgnoreOffsetBorder"] = rw<bool>(&QP::IgnoreOffsetBorder, &QP::setIgnoreOffsetBorder);
  m["ApplyFilter"] = sub([](QP& c, QVariantList& a) { c.ApplyFilter(req<qint32>(a, 0), opt<qint32>(a, 1, 0)); });
  m["Darken"] = sub([](QP& c, QVariantList& a) { c.Darken(a.value(0)); });
  m["Lighten"] = sub([](QP& c, QVariantList& a) { c.Lighten(a.value(0)); });
  m["Grayscale"] = sub([](QP& c, QVariantList&) { c.Grayscale(); });
  m["AddNoise"] = sub([](QP& c, QVariantList& a) { c.AddNoise(opt<qint32>(a, 0, 0), opt<bool>(a, 1, false)); });
  m["BlackAndWhite"] = sub([](QP& c, QVariantList&) { c.BlackAndWhite(); });
  m["Resample"] = sub([](QP& c, QVariantList& a) { c.Resample(req<qint32>(a, 0), req<qint32>(a, 1)); });
  m["Colourise"] = sub([](QP& c, QVariantList&) { c.Colourise(); });
  m["LoadPalette"] = [](QP& c, int, QVariantList& a) { return out(c.LoadPalette(req<QString>(a, 0))); };
  m["CombinePictures"] = sub([](QP& c, QVariantList& a) {
    c.CombinePictures(req<PicturePtr>(a, 0), req<PicturePtr>(a, 1), opt<qint32>(a, 2, 0), opt<float>(a, 3, 0),
                      opt<float>(a, 4, 0), opt<qint32>(a, 5, 0), opt<qint32>(a, 6, 0));
  });
  m["AddCustomFilter"] = sub([](QP& c, QVariantList& a) {
    const QVariant& v = a[0];
    if (v.typeId() != QMetaType::QVariantList) mismatch();
    const QVariantList rows = v.toList();
    for (const QVariant& row : rows) {
      if (row.typeId() != QMetaType::QVariantList) mismatch();
      for (const QVariant& e : row.toList()) (void)conv<qint16>(e);
    }
    c.AddCustomFilter(rows);
  });
  m["ShellExecute"] = [](QP& c, int, QVariantList& a) {
    return out(c.ShellExecute(req<QString>(a, 0), req<QString>(a, 1), opt<QString>(a, 2), opt<QString>(a, 3)));
  };
  m["ShowAbout"] = sub([](QP& c, QVariantList&) { c.ShowAbout(); });
  m["Tiled"] = rw<bool>(&QP::Tiled, &QP::setTiled);
  m["ZoomType"] = rw<qint32>(&QP::ZoomType, &QP::setZoomType);
  m["Rotate"] = [](QP& c, int, QVariantList& a) {
    bool cw = req<bool>(a, 0);
    const bool r = c.Rotate(&cw);
    a[0] = cw;
    return out(r);
  };
  m["AutoRedraw"] = rw<bool>(&QP::AutoRedraw, &QP::setAutoRedraw);
  m["VisualZoom"] = rw<bool>(&QP::VisualZoom, &QP::setVisualZoom);
  m["OSDFont"] = rw<FontPtr>(&QP::OSDFont, &QP::setOSDFont);
  m["OSDBackColor"] = rw<qint32>(&QP::OSDBackColor, &QP::setOSDBackColor);
  m["OSDForeColor"] = rw<qint32>(&QP::OSDForeColor, &QP::setOSDForeColor);
  m["ShowOffsetOSD"] = rw<bool>(&QP::ShowOffsetOSD, &QP::setShowOffsetOSD);
  m["ZoomOSD"] = rw<bool>(&QP::ZoomOSD, &QP::setZoomOSD);
  m["OSDTransparent"] = rw<bool>(&QP::OSDTransparent, &QP::setOSDTransparent);
  m["OSDShaddow"] = rw<bool>(&QP::OSDShaddow, &QP::setOSDShaddow);
  m["OSDShaddowColor"] = rw<qint32>(&QP::OSDShaddowColor, &QP::setOSDShaddowColor);
  m["OSDShaddowSize"] = rw<qint16>(&QP::OSDShaddowSize, &QP::setOSDShaddowSize);
  m["GetTicks"] = [](QP& c, int, QVariantList&) { return out(c.GetTicks()); };
  m["HQInitialDelay"] = rw<qint32>(&QP::HQInitialDelay, &QP::setHQInitialDelay);
  m["BitBltPicture"] = [](QP& c, int, QVariantList& a) {
    return out(c.BitBltPicture(req<qint32>(a, 0), req<qint32>(a, 1), req<qint32>(a, 2)));
  };
  m["HQAutoSwitch"] = rw<bool>(&QP::HQAutoSwitch, &QP::setHQAutoSwitch);
  m["OLEDrag"] = sub([](QP& c, QVariantList&) { c.OLEDrag(); });
  m["NoLoadingHourGlass"] = rw<bool>(&QP::NoLoadingHourGlass, &QP::setNoLoadingHourGlass);
  m["MousePointer"] = rw<qint16>(&QP::MousePointer, &QP::setMousePointer);
  m["MouseIcon"] = rw<PicturePtr>(&QP::MouseIcon, &QP::setMouseIcon);
  m["FillStyle"] = rw<qint32>(&QP::FillStyle, &QP::setFillStyle);
  m["FillColor"] = rw<qint32>(&QP::FillColor, &QP::setFillColor);
  m["IsZooming"] = ro<bool>(&QP::IsZooming);
  m["ClearError"] = sub([](QP& c, QVariantList&) { c.ClearError(); });
  return m;
}

int kindsOf(const char* kindText) {
  const QString k = QString::fromLatin1(kindText);
  int bits = 0;
  for (const QString& part : k.split(QLatin1Char('/'))) {
    if (part == QLatin1String("Get")) bits |= QP::PropertyGet | QP::Method;
    if (part == QLatin1String("Let")) bits |= QP::PropertyLet;
    if (part == QLatin1String("Set")) bits |= QP::PropertySet;
    if (part == QLatin1String("Sub")) bits |= QP::Method;
    if (part == QLatin1String("Function")) bits |= QP::Method | QP::PropertyGet;
  }
  return bits;
}

struct MetaRow {
  const char* name;
  const char* kindText;
  const char* type;
  std::vector<DispatchArg> args;
  const char* help;
};

std::vector<DispatchMember> buildTable() {
  const std::vector<MetaRow> rows = {
    {"JPEG_LOAD_QUALITY", "Let/Get", "Long", {}, ""},
    {"BackColor", "Get/Let", "Long", {}, "Returns/sets the background color used to display text and graphics in an object."},
    {"ForeColor", "Get/Let", "Long", {}, "Returns/sets the foreground color used to display text and graphics in an object."},
    {"Enabled", "Get/Let", "Boolean", {}, "Returns/sets a value that determines whether an object can respond to user-generated events."},
    {"Font", "Get/Set", "Object", {}, "Returns a Font object."},
    {"BorderStyle", "Get/Let", "Long", {}, "Returns/sets the border style for an object."},
    {"Refresh", "Sub", "", {{"Initial", "Boolean", true, false}}, "Forces a complete repaint of a object."},
    {"KeepAspect", "Get/Let", "Boolean", {}, "If enabled the picture is automatically scaled in aspect"},
    {"AutoSize", "Get/Let", "Boolean", {}, "If enabled the PictureBox will automatically scale to fit media."},
    {"KeyboardScale", "Get/Let", "Boolean", {}, "If enabled the user is allowed to zoom in and out using the num-pads + and -"},
    {"Zoom", "Get/Let", "Integer", {}, "Set picture zoom 1%...1000% Default is 100%"},
    {"PictureW", "Get", "Long", {}, ""},
    {"PictureH", "Get", "Long", {}, ""},
    {"Picture", "Get/Set", "Object", {}, ""},
    {"Centered", "Get/Let", "Boolean", {}, "If centered is set, the image will be keept centered when possible/needed."},
    {"Stretch", "Get/Let", "Boolean", {}, ""},
    {"UseBltAIP", "Get/Let", "Boolean", {}, "When BLT (BIT BLOCK TRANSFER) API is enabled performance may increase. However, some colors may be lost when using stretch mode."},
    {"KeyboardZoomFactor", "Get/Let", "Integer", {}, "Define the keyboard zoom factor. Default is 10."},
    {"KeyboarZoomMin", "Get/Let", "Integer", {}, "Defines the minimum zoom when using the keyboard."},
    {"KeyboardZoomMax", "Get/Let", "Integer", {}, "Defines the maximum zoom when using the keyboard."},
    {"PictureWidth", "Get", "Long", {}, ""},
    {"PictureHeight", "Get", "Long", {}, ""},
    {"ScaledPicture", "Get", "Object", {}, ""},
    {"OffsetX", "Let/Get", "Long", {{"NewOffset", "Long", false, true}}, ""},
    {"OffsetY", "Let/Get", "Long", {{"NewOffset", "Long", false, true}}, ""},
    {"ZoomFromOriginal", "Get/Let", "Boolean", {}, "If enabled, zoom will be done using the size of the original image. Else the usercontrols dimentions will be used as zoom cords."},
    {"OrgPictureWidth", "Get", "Long", {}, ""},
    {"OrgPictureHeight", "Get", "Long", {}, ""},
    {"SendToClipboard", "Function", "Boolean", {{"PictureType", "Long", false, false}}, ""},
    {"DrawLine", "Sub", "", {{"X1", "Long", false, false}, {"Y1", "Long", false, false}, {"X2", "Long", false, false}, {"Y2", "Long", false, false}, {"COLOR", "Long", true, false}}, ""},
    {"DrawDot", "Sub", "", {{"X1", "Long", false, false}, {"Y1", "Long", false, false}, {"COLOR", "Long", true, false}}, ""},
    {"DrawBox", "Sub", "", {{"X1", "Long", false, false}, {"Y1", "Long", false, false}, {"X2", "Long", false, false}, {"Y2", "Long", false, false}, {"COLOR", "Long", true, false}, {"Style", "Long", true, false}}, ""},
    {"DrawCircle", "Sub", "", {{"x", "Single", false, false}, {"y", "Single", false, false}, {"Radius", "Single", false, false}, {"COLOR", "Long", true, false}}, ""},
    {"RenderScaleWidth", "Get", "Long", {}, ""},
    {"RenderScaleHeight", "Get", "Long", {}, ""},
    {"RenderTextWidth", "Get", "Long", {{"strText", "String", false, false}}, ""},
    {"RenderTextHeight", "Get", "Long", {{"strText", "String", false, false}}, ""},
    {"MoveIcon", "Get/Set", "Object", {}, "Sets a custom mouse icon."},
    {"DrawMode", "Get/Let", "Long", {}, "Sets the appearance of output from graphics methods or of a Shape or Line control."},
    {"DrawStyle", "Get/Let", "Long", {}, "Determines the line style for output from graphics methods."},
    {"DrawWidth", "Get/Let", "Integer", {}, "Returns/sets the line width for output from graphics methods."},
    {"hdc", "Get", "Long", {}, ""},
    {"hWnd", "Get", "Long", {}, ""},
    {"Image", "Get", "Object", {}, "Returns a handle, provided by Microsoft Windows, to a persistent bitmap."},
    {"OLEDragMode", "Get/Let", "Long", {}, "Returns/Sets whether this object can act as an OLE drag/drop source, and whether this process is started automatically or under programmatic control."},
    {"OLEDropMode", "Get/Let", "Long", {}, "Returns/Sets whether this object can act as an OLE drop target."},
    {"PaintPicture", "Sub", "", {{"Picture", "Object", false, false}, {"X1", "Single", false, false}, {"Y1", "Single", false, false}, {"Width1", "Variant", true, false}, {"Height1", "Variant", true, false}, {"X2", "Variant", true, false}, {"Y2", "Variant", true, false}, {"Width2", "Variant", true, false}, {"Height2", "Variant", true, false}, {"Opcode", "Variant", true, false}}, "Draws the contents of a graphics file on a Form, PictureBox, or Printer object."},
    {"ToolTipText", "Get/Let", "String", {}, "Returns/sets the text displayed when the mouse is paused over the control."},
    {"PrintText", "Sub", "", {{"strText", "String", false, false}}, ""},
    {"CurrentX", "Get/Let", "Single", {}, "Returns/sets the horizontal coordinates for next print or draw method."},
    {"CurrentY", "Get/Let", "Single", {}, "Returns/sets the vertical coordinates for next print or draw method."},
    {"Cls", "Sub", "", {}, ""},
    {"LockUpdate", "Get/Let", "Boolean", {}, ""},
    {"LoadFreeImage", "Function", "Boolean", {{"StrFilePath", "String", true, true}, {"ForceType", "Long", true, false}, {"InitDir", "String", true, true}, {"DoNotRender", "Boolean", true, false}}, "QorvPictureBox"},
    {"LoadVBPicture", "Function", "Boolean", {{"StrFilePath", "String", true, true}, {"InitDir", "String", true, true}, {"DoNotRender", "Boolean", true, false}}, ""},
    {"SaveFreeImage", "Function", "Boolean", {{"StrFilePath", "String", true, true}, {"Quality", "Long", true, false}, {"FIFType", "Long", true, false}, {"UseNewFilename", "Boolean", true, false}}, ""},
    {"FreeImageFormatCount", "Function", "Long", {}, ""},
    {"FreeImageFormat", "Function", "String", {{"Index", "Long", false, false}}, ""},
    {"FreeImageFormatDescription", "Function", "String", {{"Index", "Long", false, false}}, ""},
    {"FreeImageFormatExtensionsCount", "Function", "Long", {{"FormatIndex", "Long", false, false}}, ""},
    {"FreeImageFormatExtension", "Function", "String", {{"FormatIndex", "Long", false, false}, {"ExtensionIndex", "Long", false, false}}, ""},
    {"FreeImageGetFormatExtensionIndex", "Function", "Long", {{"FormatIndex", "Long", false, false}, {"Extension", "String", false, true}}, ""},
    {"FreeImageFormatCanSave", "Function", "Boolean", {{"Index", "Long", false, false}}, ""},
    {"FreeImageCanSetQualitySave", "Function", "Boolean", {{"Index", "Long", false, false}}, ""},
    {"FreeImageFormatCanLoad", "Function", "Boolean", {{"Index", "Long", false, false}}, ""},
    {"FreeImageSavePattern", "Function", "String", {{"FindFilterIndex", "Long", true, true}, {"FileExt", "String", true, false}}, ""},
    {"FreeImageSavePatternExt", "Function", "String", {}, ""},
    {"FreeImageGetSaveExt", "Function", "String", {{"FilterIndex", "Long", false, false}}, ""},
    {"GetLoadFilterIndex", "Function", "Long", {{"StrExtension", "String", false, false}}, ""},
    {"GetSaveFilterIndex", "Function", "Long", {{"StrExtension", "String", false, false}}, ""},
    {"FreeImageGetFormatIndex", "Function", "Long", {{"StrExtension", "String", false, false}}, ""},
    {"FreeImageLoadPattern", "Function", "String", {}, ""},
    {"FreeImageLoadPatternExt", "Function", "String", {}, ""},
    {"Invert", "Sub", "", {}, ""},
    {"Flip", "Sub", "", {{"Orientation", "Long", false, false}}, ""},
    {"LastErrorCode", "Get", "Long", {}, ""},
    {"LastErrorDescription", "Get", "String", {}, ""},
    {"LastErrorFlag", "Get", "Long", {}, ""},
    {"Dialog", "Function", "String", {{"Pattern", "String", false, true}, {"hwndOwner", "Long", false, false}, {"initialDir", "String", false, false}, {"DialogTitle", "String", false, true}, {"dialogFlags", "Long", true, false}, {"SaveDialog", "Boolean", true, false}, {"FilterIndex", "Variant", true, true}, {"FileName", "String", true, false}}, ""},
    {"AutoSwitchToAPI", "Get/Let", "Boolean", {}, ""},
    {"CurrentFile", "Get", "String", {}, ""},
    {"FileExtension", "Function", "String", {{"StrFile", "String", false, false}, {"IncludeDOT", "Boolean", true, false}}, ""},
    {"GetFIFFormatFromExtension", "Function", "Long", {{"StrExtension", "String", false, false}}, ""},
    {"FileName", "Function", "String", {{"StrFilePath", "String", false, false}}, ""},
    {"RemoveFileExtension", "Function", "String", {{"StrFilename", "String", false, false}}, ""},
    {"FastLoad", "Get/Let", "Boolean", {}, ""},
    {"MouseZoom", "Get/Let", "Boolean", {}, "If enables, the user is allowed to zoom in and out using the right mouse button. (up and down)"},
    {"Offset", "Sub", "", {{"NewXOffset", "Long", false, false}, {"NewYOffset", "Long", false, false}}, ""},
    {"IgnoreOffsetBorder", "Get/Let", "Boolean", {}, "If enabled, picture offset borders are ignores when sizeing and moving image."},
    {"ApplyFilter", "Sub", "", {{"FilterType", "Long", false, false}, {"FilterWeight", "Long", true, false}}, ""},
    {"Darken", "Sub", "", {{"Amount", "Variant", true, false}}, ""},
    {"Lighten", "Sub", "", {{"Amount", "Variant", true, false}}, ""},
    {"Grayscale", "Sub", "", {}, ""},
    {"AddNoise", "Sub", "", {{"Percent", "Long", true, false}, {"bRandom", "Boolean", true, false}}, ""},
    {"BlackAndWhite", "Sub", "", {}, ""},
    {"Resample", "Sub", "", {{"lW", "Long", false, false}, {"lH", "Long", false, false}}, ""},
    {"Colourise", "Sub", "", {}, ""},
    {"LoadPalette", "Function", "Boolean", {{"StrFile", "String", false, false}}, ""},
    {"CombinePictures", "Sub", "", {{"Picture1", "Object", false, false}, {"Picture2", "Object", false, false}, {"CombinationType", "Long", true, false}, {"Multiplier1", "Single", true, false}, {"Multiplier2", "Single", true, false}, {"Offset1", "Long", true, false}, {"Offset2", "Long", true, false}}, ""},
    {"AddCustomFilter", "Sub", "", {{"Array2D", "Integer()", false, false}}, ""},
    {"ShellExecute", "Function", "Long", {{"lPath", "String", false, false}, {"InitDir", "String", false, false}, {"Parameters", "String", true, false}, {"Operation", "String", true, false}}, ""},
    {"ShowAbout", "Sub", "", {}, ""},
    {"Tiled", "Get/Let", "Boolean", {}, "If enabled, the processed image is tiled over the usercontrol area."},
    {"ZoomType", "Get/Let", "Long", {}, "Defines the ZoomQuality. Halftone gives the best quality on cost of performance. However DELETESCAN is the default."},
    {"Rotate", "Function", "Boolean", {{"ClockWise", "Boolean", false, true}}, ""},
    {"AutoRedraw", "Get/Let", "Boolean", {}, "Returns/sets the output from a graphics method to a persistent bitmap."},
    {"VisualZoom", "Get/Let", "Boolean", {}, "If enabled, the image is redrawn while zooming using the mouse."},
    {"OSDFont", "Get/Set", "Object", {}, "Sets the font property for the On Screen Display."},
    {"OSDBackColor", "Get/Let", "Long", {}, "Defines backcolor for On Screen Display."},
    {"OSDForeColor", "Get/Let", "Long", {}, "Defines forecolor for On Screen Display."},
    {"ShowOffsetOSD", "Get/Let", "Boolean", {}, "If enabled, the image offset is shown on screen while dragging image."},
    {"ZoomOSD", "Get/Let", "Boolean", {}, ""},
    {"OSDTransparent", "Get/Let", "Boolean", {}, ""},
    {"OSDShaddow", "Get/Let", "Boolean", {}, ""},
    {"OSDShaddowColor", "Get/Let", "Long", {}, ""},
    {"OSDShaddowSize", "Get/Let", "Integer", {}, ""},
    {"GetTicks", "Function", "Long", {}, ""},
    {"HQInitialDelay", "Get/Let", "Long", {}, ""},
    {"BitBltPicture", "Function", "Boolean", {{"fHDC", "Long", false, false}, {"fWidth", "Long", false, false}, {"fHeight", "Long", false, false}}, ""},
    {"HQAutoSwitch", "Let/Get", "Boolean", {}, ""},
    {"OLEDrag", "Sub", "", {}, ""},
    {"NoLoadingHourGlass", "Let/Get", "Boolean", {}, ""},
    {"MousePointer", "Get/Let", "Integer", {}, ""},
    {"MouseIcon", "Get/Set", "Object", {}, ""},
    {"FillStyle", "Get/Let", "Long", {}, "Returns/sets the fill style of a shape."},
    {"FillColor", "Get/Let", "Long", {}, "Returns/sets the color used to fill in shapes, circles, and boxes."},
    {"IsZooming", "Get", "Boolean", {}, ""},
    {"ClearError", "Sub", "", {}, ""},
  };
  const std::map<std::string, Call> calls = makeCalls();
  std::vector<DispatchMember> t;
  t.reserve(rows.size());
  int next = 1;
  for (const MetaRow& r : rows) {
    DispatchMember m;
    m.name = r.name;
    m.kindText = r.kindText;
    m.type = r.type;
    m.args = r.args;
    m.help = r.help;
    const std::string n = m.name;
    if (n == "Font") {
      m.dispid = -512;
    } else if (n == "ShowAbout") {
      m.dispid = -552;
    } else {
      m.dispid = next++;
    }
    m.kinds = kindsOf(m.kindText);
    const auto it = calls.find(n);
    if (it != calls.end()) m.call = it->second;
    t.push_back(std::move(m));
  }
  return t;
}

bool writable(const DispatchMember& m) { return (m.kinds & (QP::PropertyLet | QP::PropertySet)) != 0; }

QVariant dispatch(QP& c, const DispatchMember* m, int kind, QVariantList& args) {
  if (!m || !m->call) fail(kNotSupported, "Object doesn't support this property or method");
  if (kind == 0 || (kind & m->kinds) != kind) {
    // Hosts often ask for a method call or a property read in one go.
    if (!(kind == (QP::Method | QP::PropertyGet) && (m->kinds & QP::PropertyGet)))
      fail(kNotSupported, "Object doesn't support this property or method");
  }
  if (kind & (QP::PropertyLet | QP::PropertySet)) {
    if (!writable(*m)) fail(kNotSupported, "Object doesn't support this property or method");
    if (args.size() != 1) fail(errors::WrongNumberOfArguments, "Wrong number of arguments or invalid property assignment");
    if (!args[0].isValid()) fail(errors::ArgumentNotOptional, "Argument not optional");
    return m->call(c, kind, args);
  }
  // Read or call: a writable property's listed argument is its new value, not a parameter.
  const int total = writable(*m) ? 0 : static_cast<int>(m->args.size());
  int required = 0;
  for (int i = 0; i < total; ++i)
    if (!m->args[static_cast<std::size_t>(i)].optional) required = i + 1;
  if (args.size() > total) fail(errors::WrongNumberOfArguments, "Wrong number of arguments or invalid property assignment");
  for (int i = 0; i < required; ++i)
    if (i >= args.size() || !args[i].isValid()) fail(errors::ArgumentNotOptional, "Argument not optional");
  return m->call(c, kind, args);
}

}  // namespace

const std::vector<DispatchMember>& dispatchTable() {
  static const std::vector<DispatchMember> table = buildTable();
  return table;
}

const DispatchMember* findMember(int dispid) {
  for (const DispatchMember& m : dispatchTable())
    if (m.dispid == dispid) return &m;
  return nullptr;
}

const DispatchMember* findMember(const QString& name) {
  for (const DispatchMember& m : dispatchTable())
    if (name.compare(QLatin1String(m.name), Qt::CaseInsensitive) == 0) return &m;
  return nullptr;
}

const std::vector<EventInfo>& eventTable() {
  static const std::vector<EventInfo> events = {
      {1, "UseApiChanged", {}},
      {2, "OLEDragDrop", {"Data", "Effect", "Button", "Shift", "x", "y"}},
      {3, "OLEDragOver", {"Data", "Effect", "Button", "Shift", "x", "y", "State"}},
      {4, "Click", {}},
      {5, "DblClick", {}},
      {6, "KeyDown", {"KeyCode", "Shift"}},
      {7, "KeyPress", {"KeyAscii"}},
      {8, "KeyUp", {"KeyCode", "Shift"}},
      {9, "MouseDown", {"Button", "Shift", "x", "y"}},
      {10, "MouseMove", {"Button", "Shift", "x", "y"}},
      {11, "MouseUp", {"Button", "Shift", "x", "y"}},
      {12, "Zooming", {}},
      {13, "Draw", {}},
      {14, "LoadImage", {"StrPath", "FIFType"}},
      {15, "PictureChanged", {}},
      {16, "SaveImage", {"StrPath", "FIFType"}},
      {17, "OffsetChanged", {"NewX", "NewY"}},
      {18, "ProcessInit", {"Max", "Description"}},
      {19, "Process", {"Value", "Description"}},
      {20, "ProcessComplete", {"Description"}},
      {21, "FileChange", {"NewFile"}},
      {22, "OSDDraw", {"OSDString", "Cancel"}},
      {23, "OLECompleteDrag", {"Effect"}},
      {24, "OLEGiveFeedback", {"Effect", "DefaultCursor"}},
      {25, "OLESetData", {"Data", "DataFormat"}},
      {26, "OLEStartDrag", {"Data", "AllowedEffects"}},
      {27, "ZoomFinished", {}},
      {28, "ZoomBegin", {}},
  };
  return events;
}

QVariant QorvPicture::invoke(int dispid, int kind, QVariantList& args) {
  return dispatch(*this, findMember(dispid), kind, args);
}

QVariant QorvPicture::invoke(const QString& name, int kind, QVariantList& args) {
  return dispatch(*this, findMember(name), kind, args);
}

int QorvPicture::dispidOf(const QString& name) {
  const DispatchMember* m = findMember(name);
  return m ? m->dispid : 0;
}

}  // namespace qorv
