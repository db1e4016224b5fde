// Saving and restoring the control's settings through the shipped stores.
#include <QSettings>
#include <QTemporaryDir>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/MemoryPropertyBag.h>
#include <QorvPictureBox/SettingsPropertyBag.h>

#include "ControlFixture.h"
#include "control/MemberTable.h"

namespace qorv {
namespace {

using testing_support::ControlTest;

// The stored format: every classic key, in the order written.
const QStringList kWrittenKeys = {
    "BackColor", "ForeColor", "Enabled", "Font", "BorderStyle", "KeepAspect", "AutoSize", "KeyboardScale", "Zoom",
    "Picture", "Centered", "Stretch", "UseBltAIP", "KeyboardZoomFactor", "KeyboarZoomMin", "KeyboardZoomMax",
    "ZoomFromOriginal", "MoveIcon", "MoveIcon", "DrawMode", "DrawStyle", "DrawWidth", "OLEDragMode", "OLEDropMode",
    "ToolTipText", "LockUpdate", "AutoSwitchToAPI", "FastLoad", "MouseZoom", "IgnoreOffsetBorder", "Tiled",
    "ZoomType", "AutoRedraw", "VisualZoom", "OSDFont", "OSDBackColor", "OSDForeColor", "ShowOffsetOSD", "ZoomOSD",
    "OSDTransparent", "OSDShaddow", "OSDShaddowColor", "OSDShaddowSize", "HQInitialDelay", "HQAutoSwitch",
    "NoLoadingHourglass", "JPEG_LOAD_QUALITY", "MousePointer", "MouseIcon", "FillStyle", "FillColor"};

// Each plain stored property: a value other than its default, and what an
// empty store gives back (ForeColor's is the pane's current colour).
struct Setting { const char* name; QVariant other, readDefault; };
const Setting kSettings[] = {
    {"BackColor", 0x123456, qint32(0x8000000F)}, {"ForeColor", 0x654321, 0x654321}, {"Enabled", false, true},
    {"BorderStyle", 1, 0}, {"KeepAspect", false, true}, {"KeyboardScale", false, true}, {"Zoom", 250, 100},
    {"Centered", false, true}, {"Stretch", false, true}, {"UseBltAIP", false, true}, {"KeyboardZoomFactor", 7, 10},
    {"KeyboarZoomMin", 5, 1}, {"KeyboardZoomMax", 900, 1000}, {"ZoomFromOriginal", true, false},
    {"DrawMode", 7, 13}, {"DrawStyle", 2, 0}, {"DrawWidth", 3, 1}, {"OLEDragMode", 1, 0}, {"OLEDropMode", 1, 0},
    {"ToolTipText", QString("tip"), QString()}, {"LockUpdate", true, false}, {"AutoSwitchToAPI", true, false},
    {"FastLoad", true, false}, {"MouseZoom", false, true}, {"IgnoreOffsetBorder", true, false},
    {"Tiled", true, false}, {"ZoomType", 4, 3}, {"AutoRedraw", false, true}, {"VisualZoom", true, false},
    {"OSDBackColor", 255, 65280}, {"OSDForeColor", 0xFF0000, 65280}, {"ShowOffsetOSD", true, false},
    {"ZoomOSD", true, false}, {"OSDTransparent", false, true}, {"OSDShaddow", false, true},
    {"OSDShaddowColor", 0x808080, 0}, {"OSDShaddowSize", 4, 2}, {"HQInitialDelay", 900, 250},
    {"HQAutoSwitch", false, true}, {"NoLoadingHourGlass", true, false}, {"JPEG_LOAD_QUALITY", 1, 2},
    {"MousePointer", 2, 0}, {"FillStyle", 0, 1}, {"FillColor", 0x00FF00, 0},
};

QString valueOf(QorvPicture& c, const char* name) {
  return c.invoke(QString::fromLatin1(name), QorvPicture::PropertyGet, QVariantList{}).toString();
}

// The stored members beyond the classic ones (all Booleans so far).
std::vector<const DispatchMember*> addedMembers() {
  std::vector<const DispatchMember*> added;
  for (std::size_t i = classicMemberCount(); i < dispatchTable().size(); ++i)
    if (dispatchTable()[i].store) added.push_back(&dispatchTable()[i]);
  return added;
}

// A store that fails on one key, as a broken file or a host error would.
class FailingBag : public MemoryPropertyBag {
 public:
  explicit FailingBag(QString key) : key_(std::move(key)) {}
  QVariant ReadProperty(const QString& name, const QVariant& def) override {
    if (name == key_) throw AutomationError(errors::PathFileAccessError, "bag", "unreadable");
    return MemoryPropertyBag::ReadProperty(name, def);
  }

 private:
  QString key_;
};

class Persistence : public ControlTest {
 protected:
  // Gives every stored property of `c` a value other than its default.
  void changeEverything(QorvPicture& c) {
    for (const Setting& s : kSettings) c.invoke(QString::fromLatin1(s.name), QorvPicture::PropertyLet, {s.other});
    for (const DispatchMember* m : addedMembers()) c.setProperty(m->name, !m->initial.toBool());
    FontPtr font = Font::create(), osd = Font::create();
    font->setName("DejaVu Serif");
    font->setSize(14);
    font->setBold(true);
    osd->setItalic(true);
    c.setFont(font);
    c.setOSDFont(osd);
    c.setMouseIcon(pattern(8, 8));
    c.setMoveIcon(pattern(16, 16));
  }
};

// A new control holds what an empty store gives back (the foreground colour
// aside), the defaults of the members beyond the classic ones, and nothing
// else: no picture, no frame, no change reported.
TEST_F(Persistence, ANewControlHasTheDefaults) {
  std::vector<std::pair<const char*, QVariant>> expected = {
      {"AutoSize", false}, {"LastErrorCode", 0}, {"LastErrorDescription", QString()}, {"LastErrorFlag", 0},
      {"CurrentFile", QString()}, {"OffsetX", 0}, {"OffsetY", 0}, {"IsZooming", false}, {"WheelZoom", true},
      {"KeepViewOnPictureChange", false}, {"DevicePixels", true}, {"IsolatedDecoding", true}, {"LoadTimeout", 10000}, {"AllowUnlistedFormats", false}, {"AutoRotate", false},
      {"SyncOnSave", true}};
  for (const Setting& s : kSettings)
    if (std::string_view(s.name) != "ForeColor") expected.emplace_back(s.name, s.readDefault);
  for (const auto& [name, value] : expected) {
    EXPECT_EQ(ctl->property(name).toString(), value.toString()) << name;
    EXPECT_EQ(valueOf(*ctl, name), value.toString()) << name;
  }
  EXPECT_EQ(ctl->MaxLoadPixels(), 225000000);
  EXPECT_EQ(ctl->OSDFont().get(), ctl->Font().get());  // the pane's own font object
  EXPECT_TRUE(host.changed.isEmpty());
  EXPECT_EQ(handleOf(ctl->Picture()), 0u);
  EXPECT_EQ(in().framesComposed(), 0);
}

// The classic keys first, then the members beyond them under their own names.
TEST_F(Persistence, WritesTheStoredKeysInTheirOrder) {
  MemoryPropertyBag bag;
  ctl->WriteProperties(bag);
  QStringList expected = kWrittenKeys;
  for (const DispatchMember* m : addedMembers()) expected << m->name;
  EXPECT_EQ(bag.Keys(), expected);
}

TEST_F(Persistence, AnEmptyStoreGivesTheReadDefaults) {
  changeEverything(*ctl);
  MemoryPropertyBag empty;
  ctl->ReadProperties(empty);
  for (const Setting& s : kSettings) EXPECT_EQ(valueOf(*ctl, s.name), s.readDefault.toString()) << s.name;
  EXPECT_EQ(ctl->OSDFont().get(), ctl->Font().get());  // the pane's own font object
  EXPECT_EQ(handleOf(ctl->MoveIcon()), 0u);
}

TEST_F(Persistence, ReadingRunsNoFollowUpsAndReportsOnlyTheMouseIcon) {
  MemoryPropertyBag bag;
  changeEverything(*ctl);
  ctl->WriteProperties(bag);
  QorvPicture other;
  host.changed.clear();
  other.ReadProperties(bag);
  EXPECT_EQ(host.changed, QStringList({"MouseIcon", "MouseIcon"}));
  EXPECT_EQ(QorvPicturePrivate::of(other).framesComposed(), 0);
}

enum class Store { Memory, Settings };

class RoundTrip : public Persistence, public ::testing::WithParamInterface<Store> {
 protected:
  // Writes `from` and reads the result into `to`, through a fresh store.
  void copy(QorvPicture& from, QorvPicture& to) {
    MemoryPropertyBag memory;
    const QString ini = dir.filePath("view.ini");
    if (GetParam() == Store::Memory) {
      from.WriteProperties(memory);
    } else {
      SettingsPropertyBag bag(ini, "viewer");
      from.WriteProperties(bag);
      bag.Sync();
    }
    SettingsPropertyBag settings(ini, "viewer");
    to.ReadProperties(GetParam() == Store::Memory ? static_cast<PropertyBag&>(memory) : settings);
  }
  QTemporaryDir dir;
};

TEST_P(RoundTrip, RestoresEveryStoredValue) {
  changeEverything(*ctl);
  ctl->setPicture(pattern(40, 30));
  QorvPicture restored;
  copy(*ctl, restored);
  for (const Setting& s : kSettings) EXPECT_EQ(valueOf(restored, s.name), valueOf(*ctl, s.name)) << s.name;
  for (const DispatchMember* m : addedMembers()) EXPECT_EQ(restored.property(m->name), ctl->property(m->name));
  for (const char* font : {"Font", "OSDFont"}) {
    const FontPtr a = ctl->property(font).value<FontPtr>(), b = restored.property(font).value<FontPtr>();
    ASSERT_TRUE(b) << font;
    EXPECT_NE(a.get(), b.get()) << font;  // never shared between controls
    for (const char* field : {"Name", "Size", "Bold", "Italic"})
      EXPECT_EQ(b->property(field), a->property(field)) << font << "." << field;
  }
  ASSERT_NE(handleOf(restored.Picture()), 0u);
  EXPECT_EQ(restored.Picture()->toImage(), ctl->Picture()->toImage());
  // The two "MoveIcon" entries, even in a store keeping one value per key:
  // the mouse icon ends as stored under "MouseIcon", the move icon as the second.
  ASSERT_TRUE(restored.MouseIcon() && restored.MoveIcon());
  EXPECT_EQ(restored.MouseIcon()->Width(), 8);
  EXPECT_EQ(restored.MoveIcon()->Width(), 16);
}

TEST_P(RoundTrip, AutoSizeTakesTheStoredPicturesSize) {
  const struct {
    bool autoSize, picture;
    QSize expected;
  } cases[] = {{true, true, {40, 30}}, {false, true, {120, 90}}, {true, false, {120, 90}}};
  for (const auto& c : cases) {
    QorvPicture source, target;
    if (c.picture) source.setPicture(pattern(40, 30));
    source.setAutoSize(c.autoSize);
    target.resize(120, 90);
    copy(source, target);
    EXPECT_EQ(target.size(), c.expected) << c.autoSize << c.picture;
  }
}

INSTANTIATE_TEST_SUITE_P(Stores, RoundTrip, ::testing::Values(Store::Memory, Store::Settings),
                         [](const ::testing::TestParamInfo<Store>& p) {
                           return std::string(p.param == Store::Memory ? "Memory" : "Settings");
                         });

TEST_F(Persistence, SettingsFileIsReadableAndKeepsOnlyWhatDiffers) {
  QTemporaryDir dir;
  ctl->setBackColor(255);
  ctl->setKeepAspect(false);
  ctl->Font()->setBold(true);
  {
    SettingsPropertyBag bag(dir.filePath("s.ini"), "ctl");
    ctl->WriteProperties(bag);
  }
  QSettings raw(dir.filePath("s.ini"), QSettings::IniFormat);
  raw.beginGroup("ctl");
  const QStringList kept = {"BackColor=255", "KeepAspect=0", "Font/Bold=-1", "OLEDragMode=0", "OLEDropMode=0"};
  for (const QString& k : kept)
    EXPECT_EQ(raw.value(k.section('=', 0, 0)).toString(), k.section('=', 1)) << k.toStdString();
  // Nothing else but the fonts, whole: every other value equals its default.
  QStringList keys = raw.childKeys() + raw.childGroups();
  keys.sort();
  EXPECT_EQ(keys.join(' ').toStdString(), "BackColor Font KeepAspect OLEDragMode OLEDropMode OSDFont");
}

// A failing key stops the read; the keys read before it stay applied.
TEST_F(Persistence, ABadValueStopsTheReadAtItsKey) {
  const struct {
    QString key, text;  // text stored in the settings file; empty: the store fails
    std::int32_t error;
  } cases[] = {{"Zoom", "", errors::PathFileAccessError},
               {"Zoom", "big", errors::TypeMismatch},
               {"Zoom", "70000", errors::Overflow},
               {"Picture", "bm90IGEgcG5n", errors::InvalidPicture}};
  ctl->setKeepAspect(false);  // read before Zoom and Picture
  ctl->setCentered(false);    // read after both
  for (const auto& c : cases) {
    QorvPicture target;
    QTemporaryDir dir;
    std::int32_t got = 0;
    try {
      FailingBag failing(c.key);
      SettingsPropertyBag bag(dir.filePath("b.ini"));
      ctl->WriteProperties(failing);
      ctl->WriteProperties(bag);
      bag.Sync();
      QSettings(dir.filePath("b.ini"), QSettings::IniFormat).setValue(c.key, c.text);
      SettingsPropertyBag reread(dir.filePath("b.ini"));
      target.ReadProperties(c.text.isEmpty() ? static_cast<PropertyBag&>(failing) : reread);
    } catch (const AutomationError& e) {
      got = e.number();
    }
    EXPECT_EQ(got, c.error) << c.key.toStdString() << "=" << c.text.toStdString();
    EXPECT_FALSE(target.KeepAspect());
    EXPECT_TRUE(target.Centered());
  }
}

}  // namespace
}  // namespace qorv
