// The control's loading, saving and dialog members: what a host observes
// (return values, error record, current file, offsets, busy pointer, events).
#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include "ControlFixture.h"
#include "imageio/ImageLoad.h"
#include "imageio/IsolatedDecoder.h"
#include "imageio/modFreeImage.h"
#include <QorvPictureBox/AutomationError.h>
#include "platform/FileDialog.h"

#include <FreeImage.h>

namespace qorv::testing_support {
namespace {

class PointerHost : public RecordingHost {
 public:
  void setScreenMousePointer(int p) override {
    pointers.push_back(p);
    RecordingHost::setScreenMousePointer(p);
  }
  std::vector<int> pointers;
};

class ScriptedDialog final : public FileDialogService {
 public:
  std::vector<FileDialogResult> replies;
  std::vector<FileDialogRequest> seen;
  FileDialogResult run(const FileDialogRequest& r) override {
    seen.push_back(r);
    if (replies.empty()) return {};
    FileDialogResult next = replies.front();
    replies.erase(replies.begin());
    return next;
  }
};

// Reads a file with FreeImage directly, independently of the control.
QImage readWithLibrary(const QString& path) {
  const QByteArray native = QFile::encodeName(path);
  FIBITMAP* dib = FreeImage_Load(FreeImage_GetFileType(native.constData(), 0), native.constData(), 0);
  if (!dib) return QImage();
  FIBITMAP* d32 = FreeImage_ConvertTo32Bits(dib);
  FreeImage_Unload(dib);
  const int w = static_cast<int>(FreeImage_GetWidth(d32));
  const int h = static_cast<int>(FreeImage_GetHeight(d32));
  QImage img(w, h, QImage::Format_RGB32);
  for (int y = 0; y < h; ++y) {
    const auto* row = reinterpret_cast<const quint32*>(FreeImage_GetScanLine(d32, static_cast<unsigned>(h - 1 - y)));
    for (int x = 0; x < w; ++x) img.setPixel(x, y, row[x] | 0xFF000000u);
  }
  FreeImage_Unload(d32);
  return img;
}

constexpr int kHourglass = 11;  // the busy pointer while a file loads
constexpr int kDefaultPointer = 0;
using E = EventId;
using namespace error_record;
const QString kLoadFailed = QStringLiteral("Error loading file. File may be too large or corrupted.");

class ImageIOMethods : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    setHost(&pointerHost);
    setFileDialogService(&dialog);
    ASSERT_TRUE(dir.isValid());
    sizeTo(120, 90);
    recordEvents();
  }
  void TearDown() override {
    imageio::setFreeImageLoader(nullptr);
    imageio::SetDecoderTestAction(imageio::DecoderTestAction::None);
    setFileDialogService(nullptr);
    ControlTest::TearDown();
  }

  // A picture file written by Qt (not by the code under test).
  QString writeImage(const QString& name, int w, int h, const char* format) {
    const QString p = dir.filePath(name);
    return testmodel::patternImage(w, h).save(p, format) ? p : QString();
  }

  // Ids of the load/save events only (frames raise their own events too).
  std::vector<E> ioEvents() const { return raisedIds({E::LoadImage, E::SaveImage, E::OffsetChanged, E::FileChange}); }

  PointerHost pointerHost;
  ScriptedDialog dialog;
  QTemporaryDir dir;
};

TEST_F(ImageIOMethods, SuccessfulLoadHandsOverAndRaisesEventsInOrder) {
  const QString png = writeImage(QStringLiteral("a.png"), 40, 30, "PNG");
  in().setOffsetsSilently(7, 9);
  QString path = png;
  const int frames = in().framesComposed();
  ASSERT_TRUE(ctl->LoadFreeImage(&path, -1, nullptr, true));  // without rendering
  EXPECT_EQ(in().framesComposed(), frames);
  EXPECT_FALSE(in().InitTimer().Enabled());
  EXPECT_EQ(ctl->CurrentFile(), png);
  EXPECT_EQ(QPoint(ctl->OffsetX(), ctl->OffsetY()), QPoint(0, 0));
  EXPECT_EQ(ctl->LastErrorCode(), 0);
  ASSERT_NE(ctl->Picture(), nullptr);
  EXPECT_EQ(current(), testmodel::patternImage(40, 30));
  EXPECT_EQ(ioEvents(), (std::vector<E>{E::OffsetChanged, E::LoadImage, E::FileChange}));
  EXPECT_EQ(lastArgs(E::LoadImage), (QVariantList{png, int(FIF_PNG)}));
  EXPECT_EQ(lastArgs(E::FileChange), (QVariantList{png}));
  EXPECT_EQ(pointerHost.pointers.front(), kHourglass);
  EXPECT_EQ(pointerHost.pointers.back(), kDefaultPointer);
}

// Which files fail, and how, is the loader's table; here one per way in.
TEST_F(ImageIOMethods, FailuresKeepStateAndRaiseNothing) {
  const QString good = writeImage(QStringLiteral("good.bmp"), 16, 12, "BMP");
  ASSERT_TRUE(ctl->LoadFreeImage(good));
  in().setOffsetsSilently(3, 4);
  const gdi::HBITMAP shown = handleOf(ctl->Picture());
  QFile junk(dir.filePath(QStringLiteral("junk.png")));
  ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
  junk.write("definitely not a picture");
  junk.close();
  const QString png = writeImage(QStringLiteral("c.png"), 20, 10, "PNG");
  const struct { QString file; ErrorRecord error; qint32 maxPixels = 225000000; } cases[] = {
      {junk.fileName(), {LoadFailed, kLoadFailed, FlagWarning}},
      {dir.filePath(QStringLiteral("x.png")), {FormatNotSupported, "File format not supported (png)", FlagWarning}},
      {png, {LoadFailed, kLoadFailed, FlagWarning}, 199},  // one pixel under its 200
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const auto& c = cases[i];
    SCOPED_TRACE(c.file.toStdString());
    raised.clear();
    ctl->setMaxLoadPixels(c.maxPixels);
    // The second case goes through the platform loader, which takes only its own formats.
    EXPECT_FALSE(i == 1 ? ctl->LoadVBPicture(c.file) : ctl->LoadFreeImage(c.file));
    EXPECT_EQ(error(), c.error);
    EXPECT_EQ(ctl->CurrentFile(), good);
    EXPECT_EQ(QPoint(ctl->OffsetX(), ctl->OffsetY()), QPoint(3, 4));
    EXPECT_EQ(handleOf(ctl->Picture()), shown);
    EXPECT_TRUE(raised.empty());
    EXPECT_EQ(pointerHost.pointers.back(), kDefaultPointer);
  }
  // The limit is inclusive, and the next load starts from a clean record.
  ctl->setMaxLoadPixels(200);
  ASSERT_TRUE(ctl->LoadFreeImage(png));
  EXPECT_EQ(ctl->LastErrorCode(), 0);
  EXPECT_EQ(ctl->LastErrorDescription(), QString());
}

// A decoder that crashes, hangs, runs out of memory, tries to open a file
// (what an exploit would do first) or hands over fewer pixels than it
// announces costs one failed load:
// the host lives, keeps its picture, hears no event and learns why from the
// bridge's text; the next load gets a fresh decoder.
TEST_F(ImageIOMethods, DecoderDeathIsAnOrdinaryFailedLoad) {
  const QString good = writeImage(QStringLiteral("good.png"), 16, 12, "PNG");
  const QString other = writeImage(QStringLiteral("other.png"), 30, 20, "PNG");
  ASSERT_TRUE(ctl->LoadFreeImage(good));
  const gdi::HBITMAP shown = handleOf(ctl->Picture());
  const struct {
    imageio::DecoderTestAction action;
    const char* detail;
  } cases[] = {{imageio::DecoderTestAction::Crash, "signal 11"},
               {imageio::DecoderTestAction::Hang, "no answer within 300 ms"},
               {imageio::DecoderTestAction::Allocate, "out of memory"},
               {imageio::DecoderTestAction::Escape, "signal 31"},  // the filter kills an open()
               {imageio::DecoderTestAction::ShortPixels, "fewer pixels than it announced"}};
  ctl->setLoadTimeout(300);
  ctl->setMaxLoadPixels(1000000);  // a small address-space limit for the helper
  for (const auto& c : cases) {
    SCOPED_TRACE(c.detail);
    imageio::SetDecoderTestAction(c.action);
    raised.clear();
    EXPECT_FALSE(ctl->LoadFreeImage(other));
    EXPECT_EQ(error(), (ErrorRecord{LoadFailed, kLoadFailed, FlagWarning}));
    EXPECT_THAT(modFreeImage::LastBridgeError().toStdString(), ::testing::HasSubstr(c.detail));
    EXPECT_EQ(ctl->CurrentFile(), good);
    EXPECT_EQ(handleOf(ctl->Picture()), shown);
    EXPECT_TRUE(raised.empty());
  }
  imageio::SetDecoderTestAction(imageio::DecoderTestAction::None);
  ASSERT_TRUE(ctl->LoadFreeImage(other));
  EXPECT_EQ(ctl->Picture()->Width(), 30);
}

TEST_F(ImageIOMethods, UnlistedFormatsNeedTheHostsConsent) {
  const QString xpm = dir.filePath(QStringLiteral("icon.png"));
  FIBITMAP* dib = FreeImage_Allocate(9, 7, 24);
  ASSERT_TRUE(FreeImage_Save(FIF_XPM, dib, QFile::encodeName(xpm).constData(), 0));
  FreeImage_Unload(dib);
  for (bool isolated : {true, false}) {
    SCOPED_TRACE(isolated);
    ctl->setIsolatedDecoding(isolated);
    ctl->setAllowUnlistedFormats(false);
    EXPECT_FALSE(ctl->LoadFreeImage(xpm));
    EXPECT_EQ(ctl->LastErrorCode(), LoadFailed);
    ctl->setAllowUnlistedFormats(true);
    ASSERT_TRUE(ctl->LoadFreeImage(xpm));
    EXPECT_EQ(lastArgs(E::LoadImage), (QVariantList{xpm, int(FIF_XPM)}));
  }
}

TEST_F(ImageIOMethods, NoLoadingHourGlassKeepsTheBusyPointerAway) {
  const QString png = writeImage(QStringLiteral("d.png"), 8, 8, "PNG");
  ctl->setNoLoadingHourGlass(true);
  pointerHost.pointers.clear();
  ASSERT_TRUE(ctl->LoadFreeImage(png));
  EXPECT_EQ(std::count(pointerHost.pointers.begin(), pointerHost.pointers.end(), kHourglass), 0);
}

// Which formats take the flag is the loader's concern; here only that the
// property reaches it.
TEST_F(ImageIOMethods, JpegQualityPropertyReachesTheLibrary) {
  const QString jpg = writeImage(QStringLiteral("e.jpg"), 16, 16, "JPG");
  std::vector<int> flagsSeen;
  imageio::setFreeImageLoader([&](std::int32_t fif, const char* p, std::int32_t flags) {
    flagsSeen.push_back(flags & ~FIF_LOAD_NOPIXELS);
    return imageio::DefaultFreeImageLoad(fif, p, flags);
  });
  ctl->setIsolatedDecoding(false);  // the library call is watched in this process
  ctl->setJPEG_LOAD_QUALITY(1);
  ASSERT_TRUE(ctl->LoadFreeImage(jpg));
  ASSERT_FALSE(flagsSeen.empty());
  EXPECT_EQ(flagsSeen, std::vector<int>(flagsSeen.size(), 1));
}

TEST_F(ImageIOMethods, PlatformFormatsBypassTheImageLibrary) {
  // BMP data under a .gif name: only the platform loader (which reads content)
  // accepts it, whatever type is forced.
  const QString bmp = writeImage(QStringLiteral("photo.bmp"), 12, 6, "BMP");
  const QString gif = dir.filePath(QStringLiteral("photo.gif"));
  ASSERT_TRUE(QFile::copy(bmp, gif));
  bool libraryCalled = false;
  imageio::setFreeImageLoader([&](std::int32_t, const char*, std::int32_t) {
    libraryCalled = true;
    return static_cast<FIBITMAP*>(nullptr);
  });
  ASSERT_TRUE(ctl->LoadFreeImage(gif, FIF_JPEG));
  EXPECT_FALSE(libraryCalled);
  EXPECT_EQ(ctl->CurrentFile(), gif);
  EXPECT_EQ(ctl->Picture()->Width(), 12);
  EXPECT_EQ(lastArgs(E::LoadImage), (QVariantList{gif, int(FIF_UNKNOWN)}));

  // A format the platform loader cannot read.
  QFile wmf(dir.filePath(QStringLiteral("drawing.wmf")));
  ASSERT_TRUE(wmf.open(QIODevice::WriteOnly));
  wmf.write("not really a metafile");
  wmf.close();
  EXPECT_FALSE(ctl->LoadFreeImage(wmf.fileName()));
  EXPECT_EQ(error(), (ErrorRecord{InvalidFileFormat, "Invalid file format!", FlagCritical}));
  EXPECT_EQ(ctl->CurrentFile(), gif);
}

TEST_F(ImageIOMethods, LoadDialogIsAskedWhenThePathIsEmpty) {
  const QString png = writeImage(QStringLiteral("f.png"), 10, 10, "PNG");
  ASSERT_TRUE(ctl->LoadFreeImage(png));
  const QString second = writeImage(QStringLiteral("g.png"), 11, 9, "PNG");
  dialog.replies = {{true, second, 14}, {false, QString(), 1}};

  QString path;
  QString initDir = QStringLiteral("/somewhere/else");
  ASSERT_TRUE(ctl->LoadFreeImage(&path, -1, &initDir, false));
  EXPECT_EQ(path, second);
  EXPECT_EQ(initDir, QDir(dir.path()).path() + u'/');
  ASSERT_EQ(dialog.seen.size(), 1u);
  const FileDialogRequest& r = dialog.seen[0];
  EXPECT_EQ(std::tuple(r.title, r.filterIndex, r.save, r.initialDir, r.descriptions.value(0)),
            std::tuple(QStringLiteral("Load Picture..."), 1, false, initDir, QStringLiteral("All Supported formats")));
  EXPECT_EQ(ctl->CurrentFile(), second);

  // Cancelled: nothing recorded, nothing raised, the picture stays.
  raised.clear();
  const gdi::HBITMAP shown = handleOf(ctl->Picture());
  QString none;
  EXPECT_FALSE(ctl->LoadFreeImage(&none));
  EXPECT_TRUE(none.isEmpty());
  EXPECT_TRUE(raised.empty());
  EXPECT_EQ(ctl->LastErrorCode(), 0);
  EXPECT_EQ(handleOf(ctl->Picture()), shown);
  EXPECT_EQ(ctl->CurrentFile(), second);
}

TEST_F(ImageIOMethods, SaveRaisesItsEventsAndUpdatesTheCurrentFileOnRequest) {
  const QString png = writeImage(QStringLiteral("h.png"), 21, 13, "PNG");
  ASSERT_TRUE(ctl->LoadFreeImage(png));
  struct Case {
    const char* name;
    int fifType;
    bool useNew;
    int fif;
    std::vector<E> ids;
    bool sync;  // SyncOnSave: the same file and events either way
  };
  const Case cases[] = {
      {"out.bmp", -1, false, FIF_BMP, {E::SaveImage}, true},
      {"out.tif", -1, true, FIF_TIFF, {E::FileChange, E::SaveImage}, false},
      {"png-data.jpg", FIF_PNG, false, FIF_PNG, {E::SaveImage}, false},
  };
  EXPECT_TRUE(ctl->SyncOnSave());  // flushed unless a host opts out
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ctl->setSyncOnSave(c.sync);
    raised.clear();
    const QString before = ctl->CurrentFile();
    QString target = dir.filePath(QString::fromLatin1(c.name));
    ASSERT_TRUE(ctl->SaveFreeImage(&target, 0, c.fifType, c.useNew));
    EXPECT_EQ(ioEvents(), c.ids);
    EXPECT_EQ(lastArgs(E::SaveImage), (QVariantList{target, c.fif}));
    EXPECT_EQ(ctl->CurrentFile(), c.useNew ? target : before);
    EXPECT_EQ(readWithLibrary(target), testmodel::patternImage(21, 13));
  }
  EXPECT_EQ(pointerHost.pointers.back(), kDefaultPointer);
}

TEST_F(ImageIOMethods, SaveFailuresRecordErrorsThatLaterSavesDoNotClear) {
  QString target = dir.filePath(QStringLiteral("nothing.png"));
  EXPECT_FALSE(ctl->SaveFreeImage(&target));
  EXPECT_EQ(error(), (ErrorRecord{NothingToSave, "There is no picture to save", FlagWarning}));
  EXPECT_FALSE(QFile::exists(target));

  // Which saves fail, and with what, is the writer's own test; the control
  // records its outcome whole and raises nothing.
  ASSERT_TRUE(ctl->LoadFreeImage(writeImage(QStringLiteral("i.png"), 9, 9, "PNG")));
  raised.clear();
  QString missingDir = dir.filePath(QStringLiteral("no/dir/a.png"));
  EXPECT_FALSE(ctl->SaveFreeImage(&missingDir));
  EXPECT_EQ(error(), (ErrorRecord{SaveFailed, "Unable to save picture, unknown error", FlagCritical}));
  EXPECT_TRUE(raised.empty());

  QString fine = dir.filePath(QStringLiteral("fine.png"));
  ASSERT_TRUE(ctl->SaveFreeImage(&fine));
  EXPECT_EQ(ctl->LastErrorCode(), SaveFailed);
}

TEST_F(ImageIOMethods, SaveDialogAppendsTheSelectedFiltersExtension) {
  const QString png = writeImage(QStringLiteral("photo.png"), 8, 8, "PNG");
  ASSERT_TRUE(ctl->LoadFreeImage(png));
  struct Case { QString typed; int filterLeft; QString saved; };
  const QString d = dir.path() + u'/';
  const Case cases[] = {
      {d + QStringLiteral("photo.png"), 9, d + QStringLiteral("photo.png.JPG")},
      {d + QStringLiteral("photo"), 9, d + QStringLiteral("photo.JPG")},
      {d + QStringLiteral("copy.png"), 10, d + QStringLiteral("copy.png")},
      {d + QStringLiteral("copy.TIF"), 11, d + QStringLiteral("copy.TIF")},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.typed.toStdString());
    dialog.seen.clear();
    dialog.replies = {{true, c.typed, c.filterLeft}};
    QString path;
    ASSERT_TRUE(ctl->SaveFreeImage(&path));
    EXPECT_EQ(path, c.saved);
    EXPECT_TRUE(QFile::exists(c.saved));
    ASSERT_EQ(dialog.seen.size(), 1u);
    // The current file is a PNG: its filter and name are proposed.
    const FileDialogRequest& r = dialog.seen[0];
    EXPECT_EQ(std::tuple(r.title, r.save, r.flags, r.filterIndex, r.fileName),
              std::tuple(QStringLiteral("Save Picture..."), true, 2u, 10, QStringLiteral("photo.png")));
  }
  // Cancelled: no error, no event.
  raised.clear();
  dialog.replies = {{false, QString(), 10}};
  QString path;
  ctl->ClearError();
  EXPECT_FALSE(ctl->SaveFreeImage(&path));
  EXPECT_EQ(ctl->LastErrorCode(), 0);
  EXPECT_TRUE(raised.empty());
}

TEST_F(ImageIOMethods, DialogMemberWritesItsByReferenceArgumentsBack) {
  dialog.replies = {{true, QStringLiteral("/tmp/x.png"), 3}};
  QString pattern = QStringLiteral("A|*.a|B|*.b|C|*.c");
  QString title;
  QVariant filter = QStringLiteral("2");
  EXPECT_EQ(ctl->Dialog(&pattern, 0, QString(), &title, 0, false, &filter, QString()), QStringLiteral("/tmp/x.png"));
  EXPECT_EQ(dialog.seen.at(0).filterIndex, 2);
  EXPECT_EQ(filter.toInt(), 3);

  QVariant bad = QStringLiteral("two");
  EXPECT_THROW(ctl->Dialog(&pattern, 0, QString(), &title, 0, false, &bad, QString()), AutomationError);

  // Through the dispatch table, by name.
  dialog.replies = {{false, QString(), 2}};
  QVariantList args{QStringLiteral("A|*.a"), 0, QString(), QString(), QVariant(), QVariant(), 1, QVariant()};
  EXPECT_EQ(ctl->invoke(QStringLiteral("Dialog"), QorvPicture::Method, args).toString(), QString());
  EXPECT_EQ(args[2 + 1].toString(), qorv::host().appTitle());
  EXPECT_EQ(args[6].toInt(), 2);
}

}  // namespace
}  // namespace qorv::testing_support
