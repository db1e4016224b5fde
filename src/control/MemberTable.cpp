// The member table: every automation member of QorvPicture, in interface
// order. Properties name where their value lives; methods name the call.
#include "control/MemberTable.h"

#include <algorithm>

#include <QHash>
#include <QMetaEnum>
#include <QMetaMethod>
#include <QWidget>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"
#include "control/VariantConversion.h"
#include "platform/Host.h"
#include "platform/PictureBox.h"

namespace qorv {

namespace {

using QP = QorvPicture;
using view::NavigationSettings;
using view::OsdSettings;
using view::ViewState;

QorvPicturePrivate& priv(const QP& c) { return QorvPicturePrivate::of(const_cast<QP&>(c)); }
PictureBox& pane(const QP& c) { return priv(c).picPane(); }

// ----- values -----------------------------------------------------------------------
// Colour references are unsigned inside and Long (signed 32-bit) outside.

template <class T>
QVariant boxed(const T& v) {
  if constexpr (std::is_same_v<T, COLORREF>)
    return QVariant::fromValue(static_cast<qint32>(v));
  else
    return QVariant::fromValue(v);
}
template <class T>
T unboxed(const QVariant& v) {
  if constexpr (std::is_same_v<T, COLORREF>)
    return static_cast<COLORREF>(v.value<qint32>());
  else
    return v.value<T>();
}

// The automation type a property converts its assigned value to.
template <class T>
struct Automation {
  using type = T;
};
template <>
struct Automation<COLORREF> {
  using type = qint32;
};

// ----- where a value lives ------------------------------------------------------------

struct Access {
  PropertyGet get;
  PropertyStore store;
  QVariant (*convert)(const QVariant&);
};

template <class S>
S& part(QorvPicturePrivate& d);
template <>
ViewState& part<ViewState>(QorvPicturePrivate& d) {
  return d.view.state();
}
template <>
NavigationSettings& part<NavigationSettings>(QorvPicturePrivate& d) {
  return d.view.navigation();
}
template <>
OsdSettings& part<OsdSettings>(QorvPicturePrivate& d) {
  return d.view.osd();
}
template <>
ControlSettings& part<ControlSettings>(QorvPicturePrivate& d) {
  return d.settings;
}

template <class>
struct FieldOf;
template <class S, class T>
struct FieldOf<T S::*> {
  using Struct = S;
  using Value = T;
};

template <class T>
QVariant convertTo(const QVariant& v) {
  return QVariant::fromValue(conv<typename Automation<T>::type>(v));
}

// A value held in one of the settings structs.
template <auto F>
Access field() {
  using S = typename FieldOf<decltype(F)>::Struct;
  using T = typename FieldOf<decltype(F)>::Value;
  return {[](const QP& c) { return boxed<T>(part<S>(priv(c)).*F); },
          [](QP& c, const QVariant& v) { part<S>(priv(c)).*F = unboxed<T>(v); }, &convertTo<T>};
}

// A value forwarded to the visible pane (and, for some, copied to others).
template <class T, class Get, class Store>
Access forwarded(Get get, Store store) {
  static_assert(std::is_convertible_v<Get, QVariant (*)(const QP&)>);
  static_assert(std::is_convertible_v<Store, void (*)(QP&, const QVariant&)>);
  return {get, store, &convertTo<T>};
}

// A read-only value computed by the control's own getter.
template <auto G>
PropertyGet via() {
  return [](const QP& c) -> QVariant { return boxed((const_cast<QP&>(c).*G)()); };
}

void copyBackColorFromPane(QorvPicturePrivate& d) {
  const COLORREF c = d.picPane().BackColor();
  d.bBuffer().setBackColor(c);
  d.clipPicture().setBackColor(c);
  d.Buffer().setBackColor(c);
  d.ScalePicture().setBackColor(c);
}

// ----- rows ----------------------------------------------------------------------------

DispatchMember property(const char* name, const char* kind, const char* type, Access a, FollowUp f,
                        QVariant initial = {}, const char* help = "") {
  DispatchMember m;
  m.name = name;
  m.kindText = kind;
  m.type = type;
  m.help = help;
  m.get = a.get;
  m.store = a.store;
  m.convert = a.convert;
  m.followUp = f;
  m.initial = std::move(initial);
  return m;
}

DispatchMember readOnly(const char* name, const char* type, PropertyGet get, const char* help = "") {
  DispatchMember m;
  m.name = name;
  m.kindText = "Get";
  m.type = type;
  m.help = help;
  m.get = get;
  return m;
}

DispatchMember method(const char* name, const char* kind, const char* type, std::vector<DispatchArg> args,
                      MemberCall call, const char* help = "") {
  DispatchMember m;
  m.name = name;
  m.kindText = kind;
  m.type = type;
  m.args = std::move(args);
  m.help = help;
  m.call = std::move(call);
  return m;
}

DispatchMember silent(DispatchMember m) {
  m.reportsChange = false;
  return m;
}
DispatchMember computedDefault(DispatchMember m, InitialValue f) {
  m.initialFrom = f;
  return m;
}

template <class F>
MemberCall sub(F f) {
  return [f](QP& c, int, QVariantList& a) -> QVariant {
    f(c, a);
    return {};
  };
}

constexpr DispatchArg in(const char* name, const char* type) { return {name, type, false, false}; }
constexpr DispatchArg optIn(const char* name, const char* type) { return {name, type, true, false}; }
constexpr DispatchArg ref(const char* name, const char* type) { return {name, type, false, true}; }
constexpr DispatchArg optRef(const char* name, const char* type) { return {name, type, true, true}; }

// ----- property-store entries ------------------------------------------------------------

StoredDefault fixed(QVariant v) { return {std::move(v), nullptr}; }
// "None": the value is written whatever it is.
const StoredDefault alwaysWritten{};
const StoredDefault noPicture{QVariant::fromValue(PicturePtr()), nullptr};
// The pane's font object at the moment of writing or reading.
const StoredDefault paneFont{{}, [](QP& c) { return QVariant::fromValue(pane(c).Font()); }};
const StoredDefault paneForeColor{{}, [](QP& c) { return boxed(pane(c).ForeColor()); }};

PersistedKey key(const char* name, int writeOrder, int readOrder, StoredDefault onWrite, StoredDefault onRead) {
  return {name, writeOrder, readOrder, std::move(onWrite), std::move(onRead), ReadInto::Store, nullptr};
}
PersistedKey key(const char* name, int order, StoredDefault onWrite, StoredDefault onRead) {
  return key(name, order, order, std::move(onWrite), std::move(onRead));
}
PersistedKey key(const char* name, int order, const StoredDefault& both) { return key(name, order, both, both); }
PersistedKey throughSetter(PersistedKey k) {
  k.into = ReadInto::Setter;
  return k;
}
DispatchMember persist(DispatchMember m, std::vector<PersistedKey> keys) {
  m.persisted = std::move(keys);
  return m;
}

constexpr FollowUp None = FollowUp::None;
constexpr FollowUp Render = FollowUp::Render;

std::vector<DispatchMember> classicMembers() {
  using FU = FollowUp;
  return {
      persist(property("JPEG_LOAD_QUALITY", "Let/Get", "Long", field<&ControlSettings::jpegLoadQuality>(), None, 2),
              {key("JPEG_LOAD_QUALITY", 47, 46, fixed(qint32{2}), fixed(qint32{2}))}),
      persist(property("BackColor", "Get/Let", "Long",
               forwarded<qint32>([](const QP& c) { return boxed(pane(c).BackColor()); },
                                 [](QP& c, const QVariant& v) {
                                   pane(c).setBackColor(unboxed<COLORREF>(v));
                                   copyBackColorFromPane(priv(c));
                                 }),
               None, {}, "Returns/sets the background color used to display text and graphics in an object."),
              {key("BackColor", 1, alwaysWritten, fixed(qint32(vbButtonFace)))}),
      persist(property("ForeColor", "Get/Let", "Long",
               forwarded<qint32>([](const QP& c) { return boxed(pane(c).ForeColor()); },
                                 [](QP& c, const QVariant& v) {
                                   pane(c).setForeColor(unboxed<COLORREF>(v));
                                   priv(c).Buffer().setForeColor(pane(c).ForeColor());
                                 }),
               None, {}, "Returns/sets the foreground color used to display text and graphics in an object."),
              {key("ForeColor", 2, fixed(qint32(vbButtonText)), paneForeColor)}),
      persist(property("Enabled", "Get/Let", "Boolean",
               forwarded<bool>([](const QP& c) { return QVariant(c.isEnabled()); },
                               [](QP& c, const QVariant& v) { static_cast<QWidget&>(c).setEnabled(v.toBool()); }),
               None, {}, "Returns/sets a value that determines whether an object can respond to user-generated events."),
              {key("Enabled", 3, fixed(true))}),
      computedDefault(
          persist(property("Font", "Get/Set", "Object",
                   forwarded<FontPtr>([](const QP& c) { return boxed(pane(c).Font()); },
                                      [](QP& c, const QVariant& v) { pane(c).setFont(v.value<FontPtr>()); }),
                   None, {}, "Returns a Font object."), {key("Font", 4, paneFont)}),
          [](QP&) { return QVariant::fromValue(host().ambientFont()); }),
      persist(property("BorderStyle", "Get/Let", "Long",
               forwarded<qint32>([](const QP& c) { return boxed<qint32>(pane(c).BorderStyle()); },
                                 [](QP& c, const QVariant& v) {
                                   pane(c).setBorderStyle(v.value<qint32>());
                                   priv(c).Buffer().setBorderStyle(pane(c).BorderStyle());
                                 }),
               None, {}, "Returns/sets the border style for an object."), {key("BorderStyle", 5, fixed(qint32{0}))}),
      method("Refresh", "Sub", "", {optIn("Initial", "Boolean")},
             sub([](QP& c, QVariantList& a) { c.Refresh(opt<bool>(a, 0, false)); }),
             "Forces a complete repaint of a object."),
      persist(property("KeepAspect", "Get/Let", "Boolean", field<&ViewState::keepAspect>(), Render, true,
               "If enabled the picture is automatically scaled in aspect"), {key("KeepAspect", 6, fixed(true))}),
      persist(property("AutoSize", "Get/Let", "Boolean", field<&ViewState::autoSize>(), FU::AutoSize, false,
               "If enabled the PictureBox will automatically scale to fit media."), {key("AutoSize", 7, fixed(false))}),
      persist(property("KeyboardScale", "Get/Let", "Boolean", field<&NavigationSettings::keyboardScale>(), None, true,
               "If enabled the user is allowed to zoom in and out using the num-pads + and -"),
              {key("KeyboardScale", 8, fixed(true))}),
      persist(property("Zoom", "Get/Let", "Integer", field<&ViewState::zoom>(), FU::Zoom, qint16{100},
               "Set picture zoom 1%...1000% Default is 100%"), {key("Zoom", 9, fixed(qint16{100}))}),
      readOnly("PictureW", "Long", via<&QP::PictureW>()),
      readOnly("PictureH", "Long", via<&QP::PictureH>()),
      [] {
        DispatchMember m = readOnly("Picture", "Object", via<&QP::Picture>());
        m.kindText = "Get/Set";
        m.convert = &convertTo<PicturePtr>;
        // Restored straight into Buffer; under AutoSize the control takes its size.
        PersistedKey k = key("Picture", 10, noPicture);
        k.target = [](QP& c, const QVariant& v) {
          QorvPicturePrivate& d = priv(c);
          d.Buffer().setPicture(v.value<PicturePtr>());
          if (d.view.state().autoSize) d.view.applyAutoSize();
        };
        m.persisted = {k};
        m.call = [](QP& c, int kind, QVariantList& a) -> QVariant {
          if (kind & (QP::PropertyLet | QP::PropertySet)) {
            c.setPicture(conv<PicturePtr>(a.back()));
            return {};
          }
          return boxed(c.Picture());
        };
        return m;
      }(),
      persist(property("Centered", "Get/Let", "Boolean", field<&ViewState::centered>(), Render, true,
               "If centered is set, the image will be keept centered when possible/needed."),
              {key("Centered", 11, 12, fixed(true), fixed(true))}),
      persist(property("Stretch", "Get/Let", "Boolean", field<&ViewState::stretch>(), Render, true),
              {key("Stretch", 12, 13, fixed(true), fixed(true))}),
      persist(property("UseBltAIP", "Get/Let", "Boolean", field<&ViewState::useBlt>(), Render, true,
               "When BLT (BIT BLOCK TRANSFER) API is enabled performance may increase. However, some colors may "
               "be lost when using stretch mode."), {key("UseBltAIP", 13, 14, fixed(true), fixed(true))}),
      persist(property("KeyboardZoomFactor", "Get/Let", "Integer", field<&NavigationSettings::keyboardZoomFactor>(), None,
               qint16{10}, "Define the keyboard zoom factor. Default is 10."),
              {key("KeyboardZoomFactor", 14, 15, fixed(qint16{10}), fixed(qint16{10}))}),
      persist(property("KeyboarZoomMin", "Get/Let", "Integer", field<&NavigationSettings::keyboardZoomMin>(), None,
               qint16{1}, "Defines the minimum zoom when using the keyboard."),
              {key("KeyboarZoomMin", 15, 16, fixed(qint16{1}), fixed(qint16{1}))}),
      persist(property("KeyboardZoomMax", "Get/Let", "Integer", field<&NavigationSettings::keyboardZoomMax>(), None,
               qint16{1000}, "Defines the maximum zoom when using the keyboard."),
              {key("KeyboardZoomMax", 16, 17, fixed(qint16{1000}), fixed(qint16{1000}))}),
      readOnly("PictureWidth", "Long", via<&QP::PictureWidth>()),
      readOnly("PictureHeight", "Long", via<&QP::PictureHeight>()),
      readOnly("ScaledPicture", "Object", via<&QP::ScaledPicture>()),
      [] {
        DispatchMember m = silent(property("OffsetX", "Let/Get", "Long", field<&ViewState::offsetX>(), FU::Offset));
        m.args = {ref("NewOffset", "Long")};
        return m;
      }(),
      [] {
        DispatchMember m = silent(property("OffsetY", "Let/Get", "Long", field<&ViewState::offsetY>(), FU::Offset));
        m.args = {ref("NewOffset", "Long")};
        return m;
      }(),
      persist(property("ZoomFromOriginal", "Get/Let", "Boolean", field<&ViewState::zoomFromOriginal>(), FU::UpdateView,
               false,
               "If enabled, zoom will be done using the size of the original image. Else the usercontrols "
               "dimentions will be used as zoom cords."),
              {key("ZoomFromOriginal", 17, 18, fixed(false), fixed(false))}),
      readOnly("OrgPictureWidth", "Long", via<&QP::OrgPictureWidth>()),
      readOnly("OrgPictureHeight", "Long", via<&QP::OrgPictureHeight>()),
      method("SendToClipboard", "Function", "Boolean", {in("PictureType", "Long")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.SendToClipboard(req<qint32>(a, 0))); }),
      method("DrawLine", "Sub", "",
             {in("X1", "Long"), in("Y1", "Long"), in("X2", "Long"), in("Y2", "Long"), optIn("COLOR", "Long")},
             sub([](QP& c, QVariantList& a) {
               c.DrawLine(req<qint32>(a, 0), req<qint32>(a, 1), req<qint32>(a, 2), req<qint32>(a, 3),
                          opt<qint32>(a, 4, 0));
             })),
      method("DrawDot", "Sub", "", {in("X1", "Long"), in("Y1", "Long"), optIn("COLOR", "Long")},
             sub([](QP& c, QVariantList& a) {
               c.DrawDot(req<qint32>(a, 0), req<qint32>(a, 1), opt<qint32>(a, 2, 0));
             })),
      method("DrawBox", "Sub", "",
             {in("X1", "Long"), in("Y1", "Long"), in("X2", "Long"), in("Y2", "Long"), optIn("COLOR", "Long"),
              optIn("Style", "Long")},
             sub([](QP& c, QVariantList& a) {
               c.DrawBox(req<qint32>(a, 0), req<qint32>(a, 1), req<qint32>(a, 2), req<qint32>(a, 3),
                         opt<qint32>(a, 4, 0), opt<qint32>(a, 5, 0));
             })),
      method("DrawCircle", "Sub", "",
             {in("x", "Single"), in("y", "Single"), in("Radius", "Single"), optIn("COLOR", "Long")},
             sub([](QP& c, QVariantList& a) {
               c.DrawCircle(req<float>(a, 0), req<float>(a, 1), req<float>(a, 2), opt<qint32>(a, 3, 0));
             })),
      readOnly("RenderScaleWidth", "Long", via<&QP::RenderScaleWidth>()),
      readOnly("RenderScaleHeight", "Long", via<&QP::RenderScaleHeight>()),
      method("RenderTextWidth", "Get", "Long", {in("strText", "String")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.RenderTextWidth(req<QString>(a, 0))); }),
      method("RenderTextHeight", "Get", "Long", {in("strText", "String")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.RenderTextHeight(req<QString>(a, 0))); }),
      persist(property("MoveIcon", "Get/Set", "Object", field<&ControlSettings::moveIcon>(), None, {},
               "Sets a custom mouse icon."), {key("MoveIcon", 19, noPicture)}),
      persist(property("DrawMode", "Get/Let", "Long",
               forwarded<qint32>([](const QP& c) { return boxed<qint32>(pane(c).DrawMode()); },
                                 [](QP& c, const QVariant& v) { pane(c).setDrawMode(v.value<qint32>()); }),
               None, {}, "Sets the appearance of output from graphics methods or of a Shape or Line control."),
              {key("DrawMode", 20, fixed(qint32{13}))}),
      persist(property("DrawStyle", "Get/Let", "Long",
               forwarded<qint32>([](const QP& c) { return boxed<qint32>(pane(c).DrawStyle()); },
                                 [](QP& c, const QVariant& v) { pane(c).setDrawStyle(v.value<qint32>()); }),
               None, {}, "Determines the line style for output from graphics methods."),
              {key("DrawStyle", 21, fixed(qint32{0}))}),
      persist(property("DrawWidth", "Get/Let", "Integer",
               forwarded<qint16>([](const QP& c) { return boxed(static_cast<qint16>(pane(c).DrawWidth())); },
                                 [](QP& c, const QVariant& v) { pane(c).setDrawWidth(v.value<qint16>()); }),
               None, {}, "Returns/sets the line width for output from graphics methods."),
              {key("DrawWidth", 22, fixed(qint16{1}))}),
      readOnly("hdc", "Long", via<&QP::hdc>()),
      readOnly("hWnd", "Long", via<&QP::hWnd>()),
      readOnly("Image", "Object", via<&QP::Image>(),
               "Returns a handle, provided by Microsoft Windows, to a persistent bitmap."),
      persist(property("OLEDragMode", "Get/Let", "Long",
               forwarded<qint32>([](const QP& c) { return boxed<qint32>(pane(c).OLEDragMode()); },
                                 [](QP& c, const QVariant& v) { pane(c).setOLEDragMode(v.value<qint32>()); }),
               None, {},
               "Returns/Sets whether this object can act as an OLE drag/drop source, and whether this process is "
               "started automatically or under programmatic control."),
              {key("OLEDragMode", 23, alwaysWritten, fixed(qint32{0}))}),
      persist(property("OLEDropMode", "Get/Let", "Long",
               forwarded<qint32>([](const QP& c) { return boxed<qint32>(pane(c).OLEDropMode()); },
                                 [](QP& c, const QVariant& v) { pane(c).setOLEDropMode(v.value<qint32>()); }),
               None, {}, "Returns/Sets whether this object can act as an OLE drop target."),
              {key("OLEDropMode", 24, alwaysWritten, fixed(qint32{0}))}),
      method("PaintPicture", "Sub", "",
             {in("Picture", "Object"), in("X1", "Single"), in("Y1", "Single"), optIn("Width1", "Variant"),
              optIn("Height1", "Variant"), optIn("X2", "Variant"), optIn("Y2", "Variant"),
              optIn("Width2", "Variant"), optIn("Height2", "Variant"), optIn("Opcode", "Variant")},
             sub([](QP& c, QVariantList& a) {
               c.PaintPicture(req<PicturePtr>(a, 0), req<float>(a, 1), req<float>(a, 2), a.value(3), a.value(4),
                              a.value(5), a.value(6), a.value(7), a.value(8), a.value(9));
             }),
             "Draws the contents of a graphics file on a Form, PictureBox, or Printer object."),
      persist(property("ToolTipText", "Get/Let", "String", field<&ControlSettings::toolTipText>(), None, QString(),
               "Returns/sets the text displayed when the mouse is paused over the control."),
              {key("ToolTipText", 25, fixed(QString()))}),
      method("PrintText", "Sub", "", {in("strText", "String")},
             sub([](QP& c, QVariantList& a) { c.PrintText(req<QString>(a, 0)); })),
      property("CurrentX", "Get/Let", "Single",
               forwarded<float>([](const QP& c) { return boxed(pane(c).CurrentX()); },
                                [](QP& c, const QVariant& v) { pane(c).setCurrentX(v.value<float>()); }),
               None, {}, "Returns/sets the horizontal coordinates for next print or draw method."),
      property("CurrentY", "Get/Let", "Single",
               forwarded<float>([](const QP& c) { return boxed(pane(c).CurrentY()); },
                                [](QP& c, const QVariant& v) { pane(c).setCurrentY(v.value<float>()); }),
               None, {}, "Returns/sets the vertical coordinates for next print or draw method."),
      method("Cls", "Sub", "", {}, sub([](QP& c, QVariantList&) { c.Cls(); })),
      persist(property("LockUpdate", "Get/Let", "Boolean", field<&ViewState::lockUpdate>(), FU::RenderWhenFalse, false),
              {key("LockUpdate", 26, fixed(false))}),
      method("LoadFreeImage", "Function", "Boolean",
             {optRef("StrFilePath", "String"), optIn("ForceType", "Long"), optRef("InitDir", "String"),
              optIn("DoNotRender", "Boolean")},
             [](QP& c, int, QVariantList& a) {
               QString path = opt<QString>(a, 0);
               QString dir = opt<QString>(a, 2);
               const bool r = c.LoadFreeImage(&path, opt<qint32>(a, 1, -1), &dir, opt<bool>(a, 3, false));
               if (a.size() > 0 && a[0].isValid()) a[0] = path;
               if (a.size() > 2 && a[2].isValid()) a[2] = dir;
               return QVariant(r);
             },
             "QorvPictureBox"),
      method("LoadVBPicture", "Function", "Boolean",
             {optRef("StrFilePath", "String"), optRef("InitDir", "String"), optIn("DoNotRender", "Boolean")},
             [](QP& c, int, QVariantList& a) {
               QString path = opt<QString>(a, 0);
               QString dir = opt<QString>(a, 1);
               const bool r = c.LoadVBPicture(&path, &dir, opt<bool>(a, 2, false));
               if (a.size() > 0 && a[0].isValid()) a[0] = path;
               if (a.size() > 1 && a[1].isValid()) a[1] = dir;
               return QVariant(r);
             }),
      method("SaveFreeImage", "Function", "Boolean",
             {optRef("StrFilePath", "String"), optIn("Quality", "Long"), optIn("FIFType", "Long"),
              optIn("UseNewFilename", "Boolean")},
             [](QP& c, int, QVariantList& a) {
               QString path = opt<QString>(a, 0);
               const bool r =
                   c.SaveFreeImage(&path, opt<qint32>(a, 1, 0), opt<qint32>(a, 2, -1), opt<bool>(a, 3, false));
               if (a.size() > 0 && a[0].isValid()) a[0] = path;
               return QVariant(r);
             }),
      method("FreeImageFormatCount", "Function", "Long", {},
             [](QP& c, int, QVariantList&) { return QVariant(c.FreeImageFormatCount()); }),
      method("FreeImageFormat", "Function", "String", {in("Index", "Long")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.FreeImageFormat(req<qint32>(a, 0))); }),
      method("FreeImageFormatDescription", "Function", "String", {in("Index", "Long")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.FreeImageFormatDescription(req<qint32>(a, 0))); }),
      method("FreeImageFormatExtensionsCount", "Function", "Long", {in("FormatIndex", "Long")},
             [](QP& c, int, QVariantList& a) {
               return QVariant(c.FreeImageFormatExtensionsCount(req<qint32>(a, 0)));
             }),
      method("FreeImageFormatExtension", "Function", "String",
             {in("FormatIndex", "Long"), in("ExtensionIndex", "Long")},
             [](QP& c, int, QVariantList& a) {
               return QVariant(c.FreeImageFormatExtension(req<qint32>(a, 0), req<qint32>(a, 1)));
             }),
      method("FreeImageGetFormatExtensionIndex", "Function", "Long",
             {in("FormatIndex", "Long"), ref("Extension", "String")},
             [](QP& c, int, QVariantList& a) {
               QString ext = req<QString>(a, 1);
               const qint32 r = c.FreeImageGetFormatExtensionIndex(req<qint32>(a, 0), &ext);
               a[1] = ext;
               return QVariant(r);
             }),
      method("FreeImageFormatCanSave", "Function", "Boolean", {in("Index", "Long")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.FreeImageFormatCanSave(req<qint32>(a, 0))); }),
      method("FreeImageCanSetQualitySave", "Function", "Boolean", {in("Index", "Long")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.FreeImageCanSetQualitySave(req<qint32>(a, 0))); }),
      method("FreeImageFormatCanLoad", "Function", "Boolean", {in("Index", "Long")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.FreeImageFormatCanLoad(req<qint32>(a, 0))); }),
      method("FreeImageSavePattern", "Function", "String", {optRef("FindFilterIndex", "Long"), optIn("FileExt", "String")},
             [](QP& c, int, QVariantList& a) {
               qint32 idx = opt<qint32>(a, 0, 0);
               const QString r = c.FreeImageSavePattern(&idx, opt<QString>(a, 1));
               if (a.size() > 0 && a[0].isValid()) a[0] = idx;
               return QVariant(r);
             }),
      method("FreeImageSavePatternExt", "Function", "String", {},
             [](QP& c, int, QVariantList&) { return QVariant(c.FreeImageSavePatternExt()); }),
      method("FreeImageGetSaveExt", "Function", "String", {in("FilterIndex", "Long")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.FreeImageGetSaveExt(req<qint32>(a, 0))); }),
      method("GetLoadFilterIndex", "Function", "Long", {in("StrExtension", "String")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.GetLoadFilterIndex(req<QString>(a, 0))); }),
      method("GetSaveFilterIndex", "Function", "Long", {in("StrExtension", "String")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.GetSaveFilterIndex(req<QString>(a, 0))); }),
      method("FreeImageGetFormatIndex", "Function", "Long", {in("StrExtension", "String")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.FreeImageGetFormatIndex(req<QString>(a, 0))); }),
      method("FreeImageLoadPattern", "Function", "String", {},
             [](QP& c, int, QVariantList&) { return QVariant(c.FreeImageLoadPattern()); }),
      method("FreeImageLoadPatternExt", "Function", "String", {},
             [](QP& c, int, QVariantList&) { return QVariant(c.FreeImageLoadPatternExt()); }),
      method("Invert", "Sub", "", {}, sub([](QP& c, QVariantList&) { c.Invert(); })),
      method("Flip", "Sub", "", {in("Orientation", "Long")},
             sub([](QP& c, QVariantList& a) { c.Flip(req<qint32>(a, 0)); })),
      readOnly("LastErrorCode", "Long", via<&QP::LastErrorCode>()),
      readOnly("LastErrorDescription", "String", via<&QP::LastErrorDescription>()),
      readOnly("LastErrorFlag", "Long", via<&QP::LastErrorFlag>()),
      method("Dialog", "Function", "String",
             {ref("Pattern", "String"), in("hwndOwner", "Long"), in("initialDir", "String"),
              ref("DialogTitle", "String"), optIn("dialogFlags", "Long"), optIn("SaveDialog", "Boolean"),
              optRef("FilterIndex", "Variant"), optIn("FileName", "String")},
             [](QP& c, int, QVariantList& a) {
               QString pattern = req<QString>(a, 0);
               QString title = req<QString>(a, 3);
               QVariant filter = a.value(6);
               const QString r = c.Dialog(&pattern, req<qint32>(a, 1), req<QString>(a, 2), &title,
                                          opt<qint32>(a, 4, 0), opt<bool>(a, 5, false), &filter, opt<QString>(a, 7));
               a[0] = pattern;
               a[3] = title;
               if (a.size() > 6 && a[6].isValid()) a[6] = filter;
               return QVariant(r);
             }),
      persist(property("AutoSwitchToAPI", "Get/Let", "Boolean", field<&ViewState::autoSwitchToApi>(), None, false),
              {key("AutoSwitchToAPI", 27, fixed(false))}),
      readOnly("CurrentFile", "String", via<&QP::CurrentFile>()),
      method("FileExtension", "Function", "String", {in("StrFile", "String"), optIn("IncludeDOT", "Boolean")},
             [](QP& c, int, QVariantList& a) {
               return QVariant(c.FileExtension(req<QString>(a, 0), opt<bool>(a, 1, false)));
             }),
      method("GetFIFFormatFromExtension", "Function", "Long", {in("StrExtension", "String")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.GetFIFFormatFromExtension(req<QString>(a, 0))); }),
      method("FileName", "Function", "String", {in("StrFilePath", "String")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.FileName(req<QString>(a, 0))); }),
      method("RemoveFileExtension", "Function", "String", {in("StrFilename", "String")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.RemoveFileExtension(req<QString>(a, 0))); }),
      persist(property("FastLoad", "Get/Let", "Boolean", field<&ControlSettings::fastLoad>(), None, false),
              {key("FastLoad", 28, fixed(false))}),
      persist(property("MouseZoom", "Get/Let", "Boolean", field<&NavigationSettings::mouseZoom>(), None, true,
               "If enables, the user is allowed to zoom in and out using the right mouse button. (up and down)"),
              {key("MouseZoom", 29, fixed(true))}),
      method("Offset", "Sub", "", {in("NewXOffset", "Long"), in("NewYOffset", "Long")},
             sub([](QP& c, QVariantList& a) { c.Offset(req<qint32>(a, 0), req<qint32>(a, 1)); })),
      persist(property("IgnoreOffsetBorder", "Get/Let", "Boolean", field<&ViewState::ignoreOffsetBorder>(), None, false,
               "If enabled, picture offset borders are ignores when sizeing and moving image."),
              {key("IgnoreOffsetBorder", 30, fixed(false))}),
      method("ApplyFilter", "Sub", "", {in("FilterType", "Long"), optIn("FilterWeight", "Long")},
             sub([](QP& c, QVariantList& a) { c.ApplyFilter(req<qint32>(a, 0), opt<qint32>(a, 1, 0)); })),
      method("Darken", "Sub", "", {optIn("Amount", "Variant")},
             sub([](QP& c, QVariantList& a) { c.Darken(a.value(0)); })),
      method("Lighten", "Sub", "", {optIn("Amount", "Variant")},
             sub([](QP& c, QVariantList& a) { c.Lighten(a.value(0)); })),
      method("Grayscale", "Sub", "", {}, sub([](QP& c, QVariantList&) { c.Grayscale(); })),
      method("AddNoise", "Sub", "", {optIn("Percent", "Long"), optIn("bRandom", "Boolean")},
             sub([](QP& c, QVariantList& a) { c.AddNoise(opt<qint32>(a, 0, 0), opt<bool>(a, 1, false)); })),
      method("BlackAndWhite", "Sub", "", {}, sub([](QP& c, QVariantList&) { c.BlackAndWhite(); })),
      method("Resample", "Sub", "", {in("lW", "Long"), in("lH", "Long")},
             sub([](QP& c, QVariantList& a) { c.Resample(req<qint32>(a, 0), req<qint32>(a, 1)); })),
      method("Colourise", "Sub", "", {}, sub([](QP& c, QVariantList&) { c.Colourise(); })),
      method("LoadPalette", "Function", "Boolean", {in("StrFile", "String")},
             [](QP& c, int, QVariantList& a) { return QVariant(c.LoadPalette(req<QString>(a, 0))); }),
      method("CombinePictures", "Sub", "",
             {in("Picture1", "Object"), in("Picture2", "Object"), optIn("CombinationType", "Long"),
              optIn("Multiplier1", "Single"), optIn("Multiplier2", "Single"), optIn("Offset1", "Long"),
              optIn("Offset2", "Long")},
             sub([](QP& c, QVariantList& a) {
               c.CombinePictures(req<PicturePtr>(a, 0), req<PicturePtr>(a, 1), opt<qint32>(a, 2, 0),
                                 opt<float>(a, 3, 0), opt<float>(a, 4, 0), opt<qint32>(a, 5, 0), opt<qint32>(a, 6, 0));
             })),
      method("AddCustomFilter", "Sub", "", {in("Array2D", "Integer()")},
             sub([](QP& c, QVariantList& a) {
               const QVariant& v = a[0];
               if (v.typeId() != QMetaType::QVariantList) raiseTypeMismatch();
               const QVariantList rows = v.toList();
               for (const QVariant& row : rows) {
                 if (row.typeId() != QMetaType::QVariantList) raiseTypeMismatch();
                 for (const QVariant& e : row.toList()) (void)conv<qint16>(e);
               }
               c.AddCustomFilter(rows);
             })),
      method("ShellExecute", "Function", "Long",
             {in("lPath", "String"), in("InitDir", "String"), optIn("Parameters", "String"),
              optIn("Operation", "String")},
             [](QP& c, int, QVariantList& a) {
               return QVariant(
                   c.ShellExecute(req<QString>(a, 0), req<QString>(a, 1), opt<QString>(a, 2), opt<QString>(a, 3)));
             }),
      method("ShowAbout", "Sub", "", {}, sub([](QP& c, QVariantList&) { c.ShowAbout(); })),
      persist(property("Tiled", "Get/Let", "Boolean", field<&ViewState::tiled>(), Render, false,
               "If enabled, the processed image is tiled over the usercontrol area."),
              {key("Tiled", 31, fixed(false))}),
      // Held in 16 bits: wider values keep their low 16 bits.
      persist(property("ZoomType", "Get/Let", "Long",
               forwarded<qint32>(
                   [](const QP& c) { return boxed<qint32>(priv(c).view.state().zoomType); },
                   [](QP& c, const QVariant& v) {
                     priv(c).view.state().zoomType = static_cast<std::int16_t>(v.value<qint32>());
                   }),
               Render, 3,
               "Defines the ZoomQuality. Halftone gives the best quality on cost of performance. However "
               "DELETESCAN is the default."), {key("ZoomType", 32, fixed(qint32{3}))}),
      method("Rotate", "Function", "Boolean", {ref("ClockWise", "Boolean")},
             [](QP& c, int, QVariantList& a) {
               bool cw = req<bool>(a, 0);
               const bool r = c.Rotate(&cw);
               a[0] = cw;
               return QVariant(r);
             }),
      persist(property("AutoRedraw", "Get/Let", "Boolean",
               forwarded<bool>([](const QP& c) { return QVariant(pane(c).AutoRedraw()); },
                               [](QP& c, const QVariant& v) { pane(c).setAutoRedraw(v.toBool()); }),
               FU::ResizeWhenTrue, {}, "Returns/sets the output from a graphics method to a persistent bitmap."),
              {key("AutoRedraw", 33, fixed(true))}),
      persist(property("VisualZoom", "Get/Let", "Boolean", field<&NavigationSettings::visualZoom>(), None, false,
               "If enabled, the image is redrawn while zooming using the mouse."),
              {key("VisualZoom", 34, fixed(false))}),
      // The on-screen display starts with the pane's own font object, shared.
      persist(computedDefault(property("OSDFont", "Get/Set", "Object", field<&OsdSettings::font>(), None, {},
                               "Sets the font property for the On Screen Display."),
                      [](QP& c) { return QVariant::fromValue(pane(c).Font()); }), {key("OSDFont", 35, paneFont)}),
      persist(property("OSDBackColor", "Get/Let", "Long", field<&OsdSettings::backColor>(), None, qint32{0x00FF00},
               "Defines backcolor for On Screen Display."), {key("OSDBackColor", 36, fixed(qint32{0x00FF00}))}),
      persist(property("OSDForeColor", "Get/Let", "Long", field<&OsdSettings::foreColor>(), None, qint32{0x00FF00},
               "Defines forecolor for On Screen Display."), {key("OSDForeColor", 37, fixed(qint32{0x00FF00}))}),
      persist(property("ShowOffsetOSD", "Get/Let", "Boolean", field<&OsdSettings::showOffset>(), None, false,
               "If enabled, the image offset is shown on screen while dragging image."),
              {key("ShowOffsetOSD", 38, fixed(false))}),
      persist(property("ZoomOSD", "Get/Let", "Boolean", field<&OsdSettings::showZoom>(), None, false),
              {key("ZoomOSD", 39, fixed(false))}),
      persist(property("OSDTransparent", "Get/Let", "Boolean", field<&OsdSettings::transparent>(), None, true),
              {key("OSDTransparent", 40, fixed(true))}),
      persist(property("OSDShaddow", "Get/Let", "Boolean", field<&OsdSettings::shadow>(), None, true),
              {key("OSDShaddow", 41, fixed(true))}),
      persist(property("OSDShaddowColor", "Get/Let", "Long", field<&OsdSettings::shadowColor>(), None, qint32{0}),
              {key("OSDShaddowColor", 42, fixed(qint32{0}))}),
      persist(property("OSDShaddowSize", "Get/Let", "Integer", field<&OsdSettings::shadowSize>(), None, qint16{2}),
              {key("OSDShaddowSize", 43, fixed(qint16{2}))}),
      method("GetTicks", "Function", "Long", {}, [](QP& c, int, QVariantList&) { return QVariant(c.GetTicks()); }),
      // Held as InitTimer's interval; the timer starts at 250 ms.
      persist(property("HQInitialDelay", "Get/Let", "Long",
               forwarded<qint32>(
                   [](const QP& c) { return boxed<qint32>(priv(c).view.scheduler().hqInitialDelay()); },
                   [](QP& c, const QVariant& v) { priv(c).view.scheduler().setHqInitialDelay(v.value<qint32>()); }),
               None), {key("HQInitialDelay", 44, 47, fixed(qint32{250}), fixed(qint32{250}))}),
      method("BitBltPicture", "Function", "Boolean", {in("fHDC", "Long"), in("fWidth", "Long"), in("fHeight", "Long")},
             [](QP& c, int, QVariantList& a) {
               return QVariant(c.BitBltPicture(req<qint32>(a, 0), req<qint32>(a, 1), req<qint32>(a, 2)));
             }),
      persist(property("HQAutoSwitch", "Let/Get", "Boolean", field<&ViewState::hqAutoSwitch>(), None, true),
              {key("HQAutoSwitch", 45, 44, fixed(true), fixed(true))}),
      method("OLEDrag", "Sub", "", {}, sub([](QP& c, QVariantList&) { c.OLEDrag(); })),
      // Changing it alone must not mark the host's form as modified.
      persist(silent(property("NoLoadingHourGlass", "Let/Get", "Boolean", field<&ControlSettings::noLoadingHourGlass>(),
                      None, false)), {key("NoLoadingHourglass", 46, 45, fixed(false), fixed(false))}),
      persist(property("MousePointer", "Get/Let", "Integer",
               forwarded<qint16>([](const QP& c) { return boxed(static_cast<qint16>(pane(c).MousePointer())); },
                                 [](QP& c, const QVariant& v) { pane(c).setMousePointer(v.value<qint16>()); }),
               None), {key("MousePointer", 48, fixed(qint16{0}))}),
      persist(property("MouseIcon", "Get/Set", "Object",
               forwarded<PicturePtr>([](const QP& c) { return boxed(pane(c).MouseIcon()); },
                                     [](QP& c, const QVariant& v) { pane(c).setMouseIcon(v.value<PicturePtr>()); }),
               None),
              {throughSetter(key("MoveIcon", 18, 11, noPicture, noPicture)), throughSetter(key("MouseIcon", 49, noPicture))}),
      persist(property("FillStyle", "Get/Let", "Long",
               forwarded<qint32>([](const QP& c) { return boxed<qint32>(pane(c).FillStyle()); },
                                 [](QP& c, const QVariant& v) { pane(c).setFillStyle(v.value<qint32>()); }),
               None, {}, "Returns/sets the fill style of a shape."), {key("FillStyle", 50, fixed(qint32{1}))}),
      persist(property("FillColor", "Get/Let", "Long",
               forwarded<qint32>([](const QP& c) { return boxed(pane(c).FillColor()); },
                                 [](QP& c, const QVariant& v) { pane(c).setFillColor(unboxed<COLORREF>(v)); }),
               None, {}, "Returns/sets the color used to fill in shapes, circles, and boxes."),
              {key("FillColor", 51, fixed(qint32{0}))}),
      readOnly("IsZooming", "Boolean", via<&QP::IsZooming>()),
      method("ClearError", "Sub", "", {}, sub([](QP& c, QVariantList&) { c.ClearError(); })),
  };
}

// Members beyond the classic surface: appended, numbered after it, and never
// changing what a classic member does.
std::vector<DispatchMember> extensionMembers() {
  return {
      readOnly("SourceBitsPerPixel", "Long", via<&QP::SourceBitsPerPixel>(),
               "Bits per pixel stored in the file the picture was last loaded from; 0 when it came from elsewhere."),
      property("WheelZoom", "Get/Let", "Boolean", field<&NavigationSettings::wheelZoom>(), None, true,
               "If enabled, the mouse wheel zooms in and out toward the mouse pointer."),
      property("KeepViewOnPictureChange", "Get/Let", "Boolean",
               field<&ControlSettings::keepViewOnPictureChange>(), None, false,
               "If enabled, loading a picture keeps the zoom and the offsets."),
      property("DevicePixels", "Get/Let", "Boolean", field<&ControlSettings::devicePixels>(), FollowUp::Resize, true,
               "If enabled, the picture is drawn in device pixels on high-density screens."),
      property("IsolatedDecoding", "Let/Get", "Boolean", field<&ControlSettings::isolatedDecoding>(), None, true,
               "Decode files in a separate, confined process, so a hostile file cannot harm the host."),
      property("LoadTimeout", "Let/Get", "Long", field<&ControlSettings::loadTimeout>(), None,
               imageio::DefaultLoadTimeoutMs,
               "Milliseconds an isolated decode may take before it fails (0 or less: the default)."),
      property("AllowUnlistedFormats", "Let/Get", "Boolean", field<&ControlSettings::allowUnlistedFormats>(), None,
               false, "Read formats the image library knows beyond the control's own format list."),
      property("AutoRotate", "Let/Get", "Boolean", field<&ControlSettings::autoRotate>(), None, false,
               "Show JPEG and TIFF pictures upright as their orientation tag says."),
      property("SyncOnSave", "Get/Let", "Boolean", field<&ControlSettings::syncOnSave>(), None, true,
               "Whether SaveFreeImage flushes the new file to the disk before it replaces the old one."),
      method("ColouriseWith", "Sub", "",
             {in("Hue", "Double"), in("Saturation", "Double"), optIn("Lightness", "Double")},
             sub([](QP& c, QVariantList& a) {
               c.ColouriseWith(req<double>(a, 0), req<double>(a, 1), opt<double>(a, 2, 0.0));
             }),
             "Gives every pixel one hue (0-359) and saturation (0-100 %) and shifts its lightness (-100..100 %)."),
      method("ApplyBuiltInPalette", "Sub", "", {in("Index", "Long"), optIn("Dither", "Boolean")},
             sub([](QP& c, QVariantList& a) { c.ApplyBuiltInPalette(req<qint32>(a, 0), opt<bool>(a, 1, false)); }),
             "Maps the picture to a built-in palette: 0 web-safe, 1 EGA, 2 greys, 3 black and white."),
      method("ApplyPaletteFile", "Function", "Boolean", {in("StrFile", "String"), optIn("Dither", "Boolean")},
             [](QP& c, int, QVariantList& a) {
               return QVariant(c.ApplyPaletteFile(req<QString>(a, 0), opt<bool>(a, 1, false)));
             },
             "Maps the picture to the palette in a file, optionally with error diffusion."),
      method("RotateAngle", "Function", "Boolean",
             {in("Degrees", "Double"), optIn("BackColor", "Long"), optIn("Quality", "Long")},
             [](QP& c, int, QVariantList& a) {
               return QVariant(c.RotateAngle(req<double>(a, 0), a.value(1), opt<qint32>(a, 2, 1)));
             },
             "Rotates the picture by any angle, clockwise for positive degrees; the picture grows to hold it."),
      property("ShowTransparency", "Get/Let", "Boolean", field<&ViewState::showTransparency>(), Render, false,
               "If enabled, pictures loaded with transparency show it over a checkerboard."),
  };
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

std::size_t classicCount() {
  static const std::size_t n = classicMembers().size();
  return n;
}

std::vector<DispatchMember> buildTable() {
  std::vector<DispatchMember> t = classicMembers();
  for (DispatchMember& m : extensionMembers()) t.push_back(std::move(m));
  int next = 1;
  for (std::size_t i = 0; i < t.size(); ++i) {
    DispatchMember& m = t[i];
    const std::string_view n = m.name;
    m.dispid = n == "Font" ? -512 : n == "ShowAbout" ? -552 : next++;
    m.kinds = kindsOf(m.kindText);
    if (m.call) continue;
    // Stored and read-only properties are called through the table itself.
    m.call = [i](QP& c, int kind, QVariantList& a) -> QVariant {
      const DispatchMember& self = dispatchTable()[i];
      if (kind & (QP::PropertyLet | QP::PropertySet)) {
        assignProperty(c, self, self.convert(a.back()));
        return {};
      }
      return readProperty(c, self);
    };
  }
  return t;
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
  static const QHash<QString, const DispatchMember*> byName = [] {
    QHash<QString, const DispatchMember*> h;
    for (const DispatchMember& m : dispatchTable()) h.insert(QString::fromLatin1(m.name).toLower(), &m);
    return h;
  }();
  return byName.value(name.toLower(), nullptr);
}

const DispatchMember& member(std::string_view name) {
  const DispatchMember* m = findMember(QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size())));
  if (m == nullptr || name != m->name) std::abort();
  return *m;
}

QVariant readProperty(const QorvPicture& c, const DispatchMember& m) { return m.get(c); }

void assignProperty(QorvPicture& c, const DispatchMember& m, const QVariant& value) {
  QorvPicturePrivate& d = priv(c);
  m.store(c, value);
  if (m.reportsChange) d.reportChanged(QString::fromLatin1(m.name));
  view::ViewEngine& v = d.view;
  switch (m.followUp) {
    case FollowUp::None:
      break;
    case FollowUp::Render:
      v.render(false);
      break;
    case FollowUp::RenderWhenFalse:
      if (!m.get(c).toBool()) v.render(false);
      break;
    case FollowUp::UpdateView:
      v.updateView(true, false);
      break;
    case FollowUp::Zoom:
      v.updateView(true, true);
      d.raise(EventId::Zooming);
      break;
    case FollowUp::Offset:
      v.render(false);
      v.raiseOffsetChanged();
      break;
    case FollowUp::AutoSize:
      if (!m.get(c).toBool()) break;
      v.applyAutoSize();
      v.render(false);
      break;
    case FollowUp::ResizeWhenTrue:
      if (m.get(c).toBool()) d.handleResize();
      break;
    case FollowUp::Resize:
      d.handleResize();
      break;
  }
}

void storeInitialValues(QorvPicture& c) {
  for (const DispatchMember& m : dispatchTable()) {
    if (!m.store) continue;
    if (m.initialFrom)
      m.store(c, m.initialFrom(c));
    else if (m.initial.isValid())
      m.store(c, m.initial);
  }
}

const std::vector<QtMember>& qtSurfaceTable() {
  using E = EventId;
  static const std::vector<QtMember> table = {
      {"backgroundColor", "BackColor", {}, "The background colour as a QColor (system colours resolved)."},
      {"foregroundColor", "ForeColor", {}, "The colour text and drawing use, as a QColor."},
      // `fillColor` would overload the classic setFillColor(qint32).
      {"shapeFillColor", "FillColor", {}, "The colour filled boxes and circles use, as a QColor."},
      {"osdBackgroundColor", "OSDBackColor", {}, "The on-screen display's background colour, as a QColor."},
      {"osdForegroundColor", "OSDForeColor", {}, "The on-screen display's text colour, as a QColor."},
      {"osdShadowColor", "OSDShaddowColor", {}, "The on-screen display's shadow colour, as a QColor."},
      {"zoomPercent", "Zoom", {E::Zooming}, "The zoom in percent; zoomChanged follows every change."},
      {"offset", "", {E::OffsetChanged}, "The view offset; offsetChanged follows every change."},
      {"image", "", {E::PictureChanged, E::LoadImage},
       "The picture as a QImage (alpha dropped on assignment); pictureChanged follows loads, assignments "
       "and operations."},
      {"busy", "", {E::ProcessInit, E::ProcessComplete}, "True while a filter runs; busyChanged reports it."},
      {"openFile", "", {}, "Loads a file without a dialog; false on failure, with errorString()."},
      {"saveFile", "", {}, "Saves to a file (type from its extension) without a dialog; false on failure."},
      {"errorString", "", {}, "The last load or save error as text, empty when the last one succeeded."},
  };
  return table;
}

const QtMember* findQtMember(std::string_view name) {
  for (const QtMember& m : qtSurfaceTable())
    if (name == m.name) return &m;
  return nullptr;
}

std::size_t classicMemberCount() { return classicCount(); }

std::vector<PersistenceStep> persistencePlan(const std::vector<DispatchMember>& table, bool reading) {
  std::vector<PersistenceStep> steps;
  int lastClassic = 0;
  for (std::size_t i = 0; i < table.size() && i < classicCount(); ++i)
    for (const PersistedKey& k : table[i].persisted) {
      steps.push_back({&table[i], k});
      lastClassic = std::max({lastClassic, k.writeOrder, k.readOrder});
    }
  const auto position = [reading](const PersistenceStep& s) { return reading ? s.entry.readOrder : s.entry.writeOrder; };
  std::stable_sort(steps.begin(), steps.end(),
                   [&](const PersistenceStep& a, const PersistenceStep& b) { return position(a) < position(b); });
  // Members beyond the classic surface follow under their own names, in
  // table order, so that adding one never moves a classic key.
  int next = lastClassic;
  for (std::size_t i = classicCount(); i < table.size(); ++i) {
    const DispatchMember& m = table[i];
    std::vector<PersistedKey> keys = m.persisted;
    if (keys.empty() && m.store) {
      StoredDefault def;
      def.value = m.initial;
      def.from = m.initialFrom;
      keys.push_back(key(m.name, 0, def));
    }
    for (PersistedKey& k : keys) {
      ++next;
      k.writeOrder = k.readOrder = next;
      steps.push_back({&m, k});
    }
  }
  return steps;
}

const std::vector<EventInfo>& eventTable() {
  static const std::vector<EventInfo> events = [] {
    std::vector<EventInfo> v;
    const QMetaEnum ids = QMetaEnum::fromType<EventId>();
    const QMetaObject& mo = QorvPicture::staticMetaObject;
    for (int k = 0; k < ids.keyCount(); ++k) {
      EventInfo e{ids.value(k), ids.key(k), {}};
      for (int i = mo.methodOffset(); i < mo.methodCount(); ++i) {
        const QMetaMethod mm = mo.method(i);
        if (mm.methodType() == QMetaMethod::Signal && mm.name() == e.name) {
          const QList<QByteArray> names = mm.parameterNames();
          e.args.assign(names.begin(), names.end());
        }
      }
      v.push_back(std::move(e));
    }
    return v;
  }();
  return events;
}

}  // namespace qorv
