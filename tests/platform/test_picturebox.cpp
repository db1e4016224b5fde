// Picture boxes: the persistent image, its geometry, the classic drawing
// methods and draw modes, pictures on the pane, the bound widget's input, and
// shared pixel memory: snapshots, covering pictures and placed bitmaps share
// instead of copying, and drawing on the box never reaches the picture or
// snapshot it shares with.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDragEnterEvent>
#include <QGuiApplication>
#include <QImage>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPalette>
#include <QWidget>

#include <cmath>
#include <functional>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <QorvPictureBox/AutomationError.h>
#include "platform/GdiSurface.h"
#include "platform/PictureBox.h"
#include "platform/test_gdi_util.h"

namespace qorv {
namespace {

using gditest::pixelsOf;

constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr COLORREF kGreen = RGB(0, 255, 0);
constexpr COLORREF kBlue = RGB(0, 0, 255);
constexpr COLORREF kWhite = RGB(255, 255, 255);
constexpr COLORREF kBack = RGB(10, 20, 30);

// A box of w x h pixels without border, cleared to kBack.
struct Pane {
  Pane(int w, int h) {
    box.Move(0, 0, w, h);
    box.setBackColor(kBack);
  }
  PictureBox box;
};

// The colour of a pane pixel as a COLORREF (0x00BBGGRR).
COLORREF at(const PictureBox& box, int x, int y) {
  const QRgb p = box.imageView().pixel(x, y);
  return RGB(qRed(p), qGreen(p), qBlue(p));
}

PicturePtr solidPicture(int w, int h, QRgb colour) {
  QImage img(w, h, QImage::Format_RGB32);
  img.fill(colour);
  return Picture::fromImage(img);
}

PicturePtr noisePicture(int w, int h, unsigned seed) { return Picture::fromBitmap(gditest::randomBitmap(w, h, seed)); }


// The smallest rectangle holding every pane pixel of `colour`; empty if none.
QRect inked(const PictureBox& box, COLORREF colour) {
  QRect r;
  for (int y = 0; y < box.imageView().height(); ++y)
    for (int x = 0; x < box.imageView().width(); ++x)
      if (at(box, x, y) == colour) r |= QRect(x, y, 1, 1);
  return r;
}

// The pane's pixels (0x00RRGGBB), read without copying.
std::vector<std::uint32_t> paneOf(const PictureBox& box) { return pixelsOf(gdi::CurrentBitmap(box.hDC())); }

// --- surface and geometry --------------------------------------------------------

TEST(PictureBoxTest, NewBoxHasAMemoryDcBeforeItHasAnArea) {
  PictureBox box;
  EXPECT_TRUE(box.AutoRedraw() && box.Font());
  EXPECT_EQ(gdi::GetObjectType(box.hDC()), gdi::OBJ_MEMDC);
  // No area yet: nothing to show or snapshot, but a DC all the same.
  EXPECT_TRUE(box.ScaleWidth() == 0.0f && box.imageView().isNull() && !box.Image());
  box.Cls();
  box.Line(0, 0, 10, 10);
  box.Print(QStringLiteral("nowhere to go"));
}

TEST(PictureBoxTest, InnerSizeIsOuterSizeLessTheBorder) {
  struct Case {
    int border, w, h;
    float sw, sh;
  } cases[] = {{0, 100, 50, 100, 50}, {1, 100, 50, 96, 46}, {1, 3, 3, 0, 0}, {0, 0, 0, 0, 0},
               {0, -5, 10, 0, 10},    {1, 4, 5, 0, 1},      {0, 1, 1, 1, 1}};
  for (const Case& c : cases) {
    PictureBox box;
    box.setBorderStyle(c.border);
    box.Move(3, 4, c.w, c.h);
    EXPECT_EQ(std::pair(box.ScaleWidth(), box.ScaleHeight()), std::pair(c.sw, c.sh)) << c.border << " " << c.w << "x" << c.h;
    EXPECT_EQ(std::pair(box.Left(), box.Top()), std::pair(3, 4));
    EXPECT_EQ(box.imageView().width(), c.sw > 0 && c.sh > 0 ? static_cast<int>(c.sw) : 0);
    gdi::BITMAP bm{};
    ASSERT_EQ(gdi::GetObjectA(gdi::CurrentBitmap(box.hDC()), sizeof bm, &bm), static_cast<int>(sizeof bm));
    EXPECT_EQ(std::tuple(bm.bmWidth, bm.bmBitsPixel), std::tuple(std::max(1, static_cast<int>(c.sw)), 32));
  }
}

TEST(PictureBoxTest, ResizingKeepsTopLeftContentAndFillsNewAreaWithBackColor) {
  Pane p(20, 10);
  p.box.Line(0, 0, 19, 9, kRed, PictureBox::BoxFilled);
  p.box.PSet(19, 9, kGreen);
  int resizes = 0;
  QObject::connect(&p.box, &PictureBox::Resize, [&] { ++resizes; });

  p.box.setWidth(30);
  p.box.setHeight(15);
  EXPECT_EQ(resizes, 2);
  EXPECT_EQ(std::tuple(at(p.box, 0, 0), at(p.box, 19, 9)), std::tuple(kRed, kGreen));
  for (auto [x, y] : {std::pair{20, 9}, {29, 14}, {5, 10}}) EXPECT_EQ(at(p.box, x, y), kBack) << x << "," << y;

  p.box.Move(0, 0, 5, 5);
  EXPECT_EQ(at(p.box, 4, 4), kRed);
  p.box.Move(0, 0, 25, 12);  // what was cut off is gone
  EXPECT_EQ(at(p.box, 19, 9), kBack);
  p.box.Move(7, 7, 25, 12);  // moving alone is not a resize
  EXPECT_EQ(resizes, 4);
}

TEST(PictureBoxTest, HugeSizeFailsWithAnErrorAndKeepsTheOldSurface) {
  Pane p(8, 8);
  p.box.PSet(1, 1, kRed);
  try {
    p.box.Move(0, 0, 2000000000, 2000000000);
    ADD_FAILURE() << "an impossible surface was allocated";
  } catch (const AutomationError& e) {
    EXPECT_EQ(e.number(), 7);
  }
  EXPECT_EQ(std::pair(p.box.ScaleWidth(), at(p.box, 1, 1)), std::pair(8.0f, kRed));
}

TEST(PictureBoxTest, BackColorResolvesSystemColoursAndClears) {
  Pane p(6, 4);
  p.box.PSet(2, 2, kRed);
  const QColor face = QGuiApplication::palette().color(QPalette::Active, QPalette::Button);
  p.box.setBackColor(vbButtonFace);
  EXPECT_EQ(p.box.BackColor(), vbButtonFace);
  EXPECT_EQ(at(p.box, 2, 2), RGB(face.red(), face.green(), face.blue()));
  p.box.setBackColor(RGB(1, 2, 3));
  EXPECT_EQ(at(p.box, 5, 3), RGB(1, 2, 3));
}

// --- pictures on the pane -----------------------------------------------------------

TEST(PictureBoxTest, PaintPictureDrawsWholePartsStretchedAndInverted) {
  QImage src(4, 2, QImage::Format_RGB32);
  for (int x = 0; x < 4; ++x) {
    src.setPixel(x, 0, qRgb(x * 60, 0, 0));
    src.setPixel(x, 1, qRgb(0, x * 60, 0));
  }
  PicturePtr pic = Picture::fromImage(src);
  auto srcAt = [&](int x, int y) { return RGB(qRed(src.pixel(x, y)), qGreen(src.pixel(x, y)), qBlue(src.pixel(x, y))); };
  using F = std::optional<float>;
  const std::nullopt_t none = std::nullopt;
  struct Case {
    const char* name;
    float x, y;
    F w, h, sx, sy, sw, sh;
    gdi::DWORD rop;
    // The pane pixel (x, y) is source pixel (srcX, srcY), or kBack for -1.
    std::function<std::pair<int, int>(int, int)> from;
  } cases[] = {
      {"omitted sizes: the picture's own", 3, 4, none, none, none, none, none, none, gdi::SRCCOPY,
       [](int x, int y) { return x >= 3 && x < 7 && y >= 4 && y < 6 ? std::pair(x - 3, y - 4) : std::pair(-1, -1); }},
      {"a part at its own size", 1, 1, 2.0f, 1.0f, 2.0f, 1.0f, 2.0f, 1.0f, gdi::SRCCOPY,
       [](int x, int y) { return x >= 1 && x < 3 && y == 1 ? std::pair(x + 1, 1) : std::pair(-1, -1); }},
      {"a part stretched to the picture's size", 1, 1, none, none, 2.0f, 1.0f, 2.0f, 1.0f, gdi::SRCCOPY,
       [](int x, int y) { return x >= 1 && x < 5 && y >= 1 && y < 3 ? std::pair(2 + (x - 1) / 2, 1) : std::pair(-1, -1); }},
      {"inverted source", 0, 0, none, none, none, none, none, none, gdi::NOTSRCCOPY,
       [](int x, int y) { return x < 4 && y < 2 ? std::pair(x, y) : std::pair(-1, -1); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Pane p(10, 10);
    p.box.PaintPicture(pic, c.x, c.y, c.w, c.h, c.sx, c.sy, c.sw, c.sh, c.rop);
    const COLORREF invert = c.rop == gdi::NOTSRCCOPY ? 0xFFFFFFu : 0u;
    for (int y = 0; y < 10; ++y)
      for (int x = 0; x < 10; ++x) {
        const auto [fx, fy] = c.from(x, y);
        ASSERT_EQ(at(p.box, x, y), fx < 0 ? kBack : srcAt(fx, fy) ^ invert) << x << "," << y;
      }
  }
}

// --- lines, boxes, points, circles ------------------------------------------------------

TEST(PictureBoxTest, BoxOutlinesWhileFilledBoxCoversTheInterior) {
  struct Case {
    PictureBox::LineKind kind;
    int fillStyle;
    COLORREF interior;
  } cases[] = {{PictureBox::Box, 1, kBack}, {PictureBox::Box, 0, kGreen}, {PictureBox::BoxFilled, 1, kRed},
               {PictureBox::BoxFilled, 0, kRed}};
  for (const Case& c : cases) {
    Pane p(12, 10);
    p.box.setFillStyle(c.fillStyle);
    p.box.setFillColor(kGreen);
    p.box.Line(8, 6, 2, 2, kRed, c.kind);  // corners in either order
    for (int y = 0; y < 10; ++y)
      for (int x = 0; x < 12; ++x) {
        const bool inside = x >= 2 && x <= 8 && y >= 2 && y <= 6;
        const bool edge = inside && (x == 2 || x == 8 || y == 2 || y == 6);
        EXPECT_EQ(at(p.box, x, y), edge ? kRed : inside ? c.interior : kBack) << c.kind << " " << x << "," << y;
      }
    EXPECT_EQ(std::pair(p.box.CurrentX(), p.box.CurrentY()), std::pair(2.0f, 2.0f));
  }
}

TEST(PictureBoxTest, LinesUseForeColorUnlessGivenAndEndAtTheSecondPoint) {
  Pane p(10, 10);
  p.box.setForeColor(kBlue);
  p.box.Line(0, 3, 9, 3);
  p.box.Line(5, 0, 5, 9, kRed);
  EXPECT_EQ(std::tuple(at(p.box, 0, 3), at(p.box, 9, 3), at(p.box, 4, 2), at(p.box, 5, 0), at(p.box, 5, 9)),
            std::tuple(kBlue, kBlue, kBack, kRed, kRed));
  EXPECT_EQ(std::pair(p.box.CurrentX(), p.box.CurrentY()), std::pair(5.0f, 9.0f));
  p.box.PSet(1.4f, 7.6f, kGreen);  // rounds to the nearest pixel
  EXPECT_EQ(std::pair(at(p.box, 1, 8), p.box.CurrentX()), std::pair(kGreen, 1.4f));
}

TEST(PictureBoxTest, DrawStylesAndWidthsShapeTheLine) {
  auto drawn = [](int style, int width) {
    Pane p(40, 9);
    p.box.setDrawStyle(style);
    p.box.setDrawWidth(width);
    p.box.Line(0, 4, 39, 4, kRed);
    int onLine = 0, beside = 0;
    for (int x = 0; x < 40; ++x) {
      onLine += at(p.box, x, 4) == kRed ? 1 : 0;
      beside += at(p.box, x, 5) == kRed ? 1 : 0;
    }
    return std::pair{onLine, beside};
  };
  enum Line { Full, Gaps, None, Other };
  struct Case {
    int style, width;
    Line line;
    bool thick;
  } cases[] = {{0, 1, Full, false}, {1, 1, Gaps, false}, {2, 1, Gaps, false}, {3, 1, Gaps, false},
               {4, 1, Gaps, false}, {5, 1, None, false}, {6, 1, Full, false}, {1, 3, Full, true},
               {0, 3, Full, true},  {99, 1, Full, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.style) + "/" + std::to_string(c.width));
    const auto [onLine, beside] = drawn(c.style, c.width);
    const Line seen = onLine >= 39 ? Full : onLine > 0 && onLine < 38 ? Gaps : onLine == 0 ? None : Other;
    EXPECT_EQ(seen, c.line) << onLine;
    EXPECT_EQ(beside > 0, c.thick);
  }
}

TEST(PictureBoxTest, HatchedFillsRunInTheirDirection) {
  // Inside a box filled with `fillStyle`: whether fill and back colour both
  // show, whether every row is one colour, and whether every column is.
  auto seen = [](int fillStyle) {
    Pane p(40, 40);
    p.box.setFillStyle(fillStyle);
    p.box.setFillColor(kGreen);
    p.box.Line(0, 0, 39, 39, kRed, PictureBox::Box);
    bool green = false, back = false, rows = true, columns = true;
    for (int y = 5; y < 35; ++y)
      for (int x = 5; x < 35; ++x) {
        const COLORREF c = at(p.box, x, y);
        green = green || c == kGreen;
        back = back || c == kBack;
        rows = rows && c == at(p.box, 5, y);
        columns = columns && c == at(p.box, x, 5);
      }
    return std::tuple(green && back, rows, columns);
  };
  const std::pair<int, std::tuple<bool, bool, bool>> cases[] = {
      {1, {false, true, true}}, {2, {true, true, false}}, {3, {true, false, true}},
      {4, {true, false, false}}, {5, {true, false, false}}, {6, {true, false, false}}, {7, {true, false, false}}};
  for (const auto& [style, expected] : cases) EXPECT_EQ(seen(style), expected) << "fill style " << style;
}

TEST(PictureBoxTest, CircleIsCentredWithTheGivenRadius) {
  Pane p(21, 21);
  p.box.Circle(10, 10, 6, kRed);
  EXPECT_EQ(inked(p.box, kRed), QRect(4, 4, 13, 13));
  EXPECT_EQ(at(p.box, 10, 10), kBack);  // transparent fill
  p.box.setFillStyle(0);
  p.box.setFillColor(kBlue);
  p.box.Circle(10, 10, 6, kRed);
  EXPECT_EQ(at(p.box, 10, 10), kBlue);
  EXPECT_EQ(p.box.CurrentX(), 10.0f);
}

TEST(PictureBoxTest, BadCoordinatesAndSizesNeverCrash) {
  Pane p(10, 10);
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  PicturePtr pic = solidPicture(3, 3, qRgb(0, 0, 255));
  const float sizes[][4] = {{0, 0, 1e9f, 1e9f}, {-1e9f, -1e9f, 2e9f, 2e9f}, {0, 0, 0, 0}, {5, 5, -3, -3},
                            {nan, nan, nan, nan}, {inf, 0, -inf, 4}};
  for (const auto& c : sizes) p.box.PaintPicture(pic, c[0], c[1], c[2], c[3]);
  // A picture stretched over the whole surface colours all of it.
  p.box.Cls();
  p.box.PaintPicture(pic, 0, 0, 1e9f, 1e9f);
  EXPECT_EQ(at(p.box, 9, 9), kBlue);
  const float values[] = {nan, inf, -inf, 3e38f, -3e38f, 1e7f};
  for (float v : values) {
    p.box.Line(v, 0, 5, v);
    p.box.Line(0, v, v, 5, kRed, PictureBox::Box);
    p.box.Line(v, v, v, v, kRed, PictureBox::BoxFilled);
    p.box.PSet(v, v);
    p.box.Circle(5, 5, v);
    p.box.Circle(v, v, 3);
    p.box.setCurrentX(v);
    p.box.Print(QStringLiteral("x"));
  }
  for (int mode : {0, -1, 17, 1000}) {
    p.box.setDrawMode(mode);
    p.box.setDrawWidth(mode);
    p.box.setFillStyle(mode);
    p.box.Line(0, 0, 9, 9, kRed, PictureBox::Box);
  }
  p.box.setDrawMode(13);  // still drawing afterwards
  p.box.PSet(4, 4, kGreen);
  EXPECT_EQ(at(p.box, 4, 4), kGreen);
}

// --- draw modes ---------------------------------------------------------------------------

// The classic binary raster operation `mode` (1..16) of pen and destination,
// straight from its truth table: bit (P<<1 | D) of (mode - 1) gives the result.
COLORREF referenceRop2(int mode, COLORREF pen, COLORREF dst) {
  const unsigned table = static_cast<unsigned>(mode - 1);
  COLORREF out = 0;
  for (int bit = 0; bit < 24; ++bit) {
    const unsigned pb = (pen >> bit) & 1u, db = (dst >> bit) & 1u;
    out |= static_cast<COLORREF>((table >> (pb << 1 | db)) & 1u) << bit;
  }
  return out;
}

TEST(PictureBoxTest, EveryDrawModeFollowsItsTruthTable) {
  const COLORREF pens[] = {RGB(0xF0, 0x0F, 0x55), RGB(0, 0, 0), RGB(255, 255, 255)};
  const COLORREF dsts[] = {RGB(0xCC, 0x33, 0xA5), RGB(0x12, 0x34, 0x56)};
  for (int mode = 1; mode <= 16; ++mode)
    for (COLORREF pen : pens)
      for (COLORREF dst : dsts) {
        Pane p(5, 5);
        p.box.setBackColor(dst);
        p.box.setDrawMode(mode);
        p.box.PSet(2, 2, pen);
        p.box.Line(0, 4, 4, 4, pen);
        const COLORREF want = referenceRop2(mode, pen, dst);
        EXPECT_EQ(at(p.box, 2, 2), want) << "mode " << mode << std::hex << " pen " << pen << " dst " << dst;
        EXPECT_EQ(at(p.box, 3, 4), want) << "mode " << mode;
        EXPECT_EQ(at(p.box, 0, 0), dst) << "mode " << mode;
      }
}

TEST(PictureBoxTest, XorPenDrawnTwiceRestoresThePixels) {
  using Figure = void (*)(PictureBox&);
  const Figure figures[] = {
      [](PictureBox& b) { b.Line(1, 2, 28, 17, kRed); },
      [](PictureBox& b) { b.Line(3, 3, 20, 15, kGreen, PictureBox::Box); },
      [](PictureBox& b) { b.Line(3, 3, 20, 15, kBlue, PictureBox::BoxFilled); },
      [](PictureBox& b) { b.Circle(15, 10, 7, kWhite); },
  };
  for (int mode : {7, 6}) {
    for (Figure f : figures) {
      Pane p(30, 20);
      p.box.PaintPicture(noisePicture(30, 20, 5), 0, 0);
      const std::vector<std::uint32_t> before = paneOf(p.box);
      p.box.setDrawMode(mode);
      f(p.box);
      EXPECT_NE(paneOf(p.box), before) << "mode " << mode;
      f(p.box);
      EXPECT_EQ(paneOf(p.box), before) << "mode " << mode;
    }
  }
}

// --- text -------------------------------------------------------------------------------------

TEST(PictureBoxTest, PrintDrawsAtThePrintPositionAndMovesToTheNextLine) {
  Pane p(200, 80);
  p.box.setForeColor(kWhite);
  p.box.setCurrentX(30);
  p.box.setCurrentY(5);
  const float lineHeight = p.box.TextHeight(QStringLiteral("Hg"));
  ASSERT_GT(lineHeight, 4.0f);
  p.box.Print(QStringLiteral("HHHH"));
  EXPECT_EQ(p.box.CurrentX(), 0.0f);
  EXPECT_FLOAT_EQ(p.box.CurrentY(), 5 + lineHeight);

  // Text lies right of and below the print position, within one line.
  const QRect first = inked(p.box, kWhite);
  EXPECT_TRUE(first.width() > 10 && first.left() >= 30 && first.top() >= 5 && first.bottom() < 5 + lineHeight);
  // The second line starts at the left edge, below the first.
  p.box.Print(QStringLiteral("HHHH"));
  const QRect both = inked(p.box, kWhite);
  EXPECT_TRUE(both.left() < 30 && both.bottom() >= 5 + lineHeight && both.bottom() < 5 + 2 * lineHeight);
  EXPECT_FLOAT_EQ(p.box.CurrentY(), 5 + 2 * lineHeight);
}

// Growth with the text and line counting are checked through the control;
// here what only the box sees: multi-line widths, its shared font, no font.
TEST(PictureBoxTest, TextMetricsFollowTheLongestLineAndTheSharedFont) {
  PictureBox box;
  box.setFont(Font::create(QFont(QStringLiteral("DejaVu Sans"), 10)));
  EXPECT_FLOAT_EQ(box.TextWidth(QStringLiteral("ab\nabcd")), box.TextWidth(QStringLiteral("abcd")));
  const float small = box.TextWidth(QStringLiteral("Sample")), one = box.TextHeight(QStringLiteral("x"));
  box.Font()->setSize(20);  // the box sees changes of its shared font
  EXPECT_GT(box.TextWidth(QStringLiteral("Sample")), 1.5f * small);
  EXPECT_GT(box.TextHeight(QStringLiteral("x")), one);
  box.setFont(nullptr);  // ignored: a box always has a font
  EXPECT_TRUE(box.Font());
}

// --- handles ---------------------------------------------------------------------------------

TEST(PictureBoxTest, WindowHandleDrawsOnThePersistentImageAcrossResizes) {
  Pane p(10, 10);
  const PicturePtr blue = solidPicture(4, 4, qRgb(0, 0, 255));
  const gdi::HWND wnd = p.box.hWnd();
  ASSERT_NE(wnd, 0u);
  for (const int x : {0, 20}) {
    if (x > 0) p.box.Move(0, 0, 30, 10);
    EXPECT_EQ(p.box.hWnd(), wnd);
    const ScopedScreenDC wdc(wnd);
    EXPECT_TRUE(gdi::BitBlt(wdc.get(), x, 0, 4, 4, gditest::Selected(blue->Handle()).get(), 0, 0, gdi::SRCCOPY));
    EXPECT_EQ(at(p.box, x + 3, 3), kBlue);
  }
}

// --- the bound widget -------------------------------------------------------------------------

class BoundPaneTest : public ::testing::Test {
 protected:
  void SetUp() override {
    parent_.resize(200, 150);
    box_.setBorderStyle(1);
    box_.Move(10, 20, 64, 48);
    box_.setBackColor(kBack);
    w_ = box_.bind(&parent_);
  }
  void mouse(QEvent::Type type, Qt::MouseButton b, Qt::MouseButtons held, Qt::KeyboardModifiers mods, QPointF pos) {
    QMouseEvent e(type, pos, w_->mapToGlobal(pos), b, held, mods);
    QCoreApplication::sendEvent(w_, &e);
  }
  QWidget parent_;
  PictureBox box_;
  QWidget* w_ = nullptr;
};

TEST_F(BoundPaneTest, WidgetFollowsTheBoxAndPaintsItsImage) {
  ASSERT_NE(w_, nullptr);
  EXPECT_EQ(std::tuple(box_.widget(), w_->parentWidget(), w_->geometry()), std::tuple(w_, &parent_, QRect(10, 20, 64, 48)));
  box_.Line(0, 0, 59, 43, kRed, PictureBox::BoxFilled);
  box_.PSet(59, 43, kGreen);
  const QImage shot = w_->grab().toImage();
  ASSERT_EQ(shot.size(), QSize(64, 48));
  // Inside the two-pixel border, the image's corners, opaque.
  EXPECT_EQ(std::tuple(shot.pixel(2, 2), shot.pixel(61, 45)), std::tuple(0xFFFF0000u, 0xFF00FF00u));
  EXPECT_EQ(qAlpha(shot.pixel(30, 30)), 255);
  EXPECT_NE(shot.pixel(0, 0) & 0xFFFFFF, 0xFF0000u);  // the border itself

  box_.Move(5, 5, 100, 30);
  EXPECT_EQ(w_->geometry(), QRect(5, 5, 100, 30));
  parent_.show();
  w_->resize(120, 40);  // a layout resizing the widget resizes the box
  EXPECT_EQ(std::pair(box_.Width(), box_.ScaleHeight()), std::pair(120, 36.0f));
  box_.bind(&parent_);
  EXPECT_EQ(parent_.findChildren<QWidget*>().size(), 1);
}

TEST_F(BoundPaneTest, MouseEventsCarryClassicButtonsShiftAndInnerCoordinates) {
  using Seen = std::tuple<int, int, int, float, float>;  // down/move/up, button, shift, x, y
  std::vector<Seen> seen;
  int clicks = 0;
  QObject::connect(&box_, &PictureBox::MouseDown, [&](int b, int s, float x, float y) { seen.push_back({0, b, s, x, y}); });
  QObject::connect(&box_, &PictureBox::MouseMove, [&](int b, int s, float x, float y) { seen.push_back({1, b, s, x, y}); });
  QObject::connect(&box_, &PictureBox::MouseUp, [&](int b, int s, float x, float y) { seen.push_back({2, b, s, x, y}); });
  QObject::connect(&box_, &PictureBox::Click, [&] { ++clicks; });

  mouse(QEvent::MouseButtonPress, Qt::RightButton, Qt::RightButton, Qt::ShiftModifier | Qt::AltModifier, {12, 7});
  mouse(QEvent::MouseMove, Qt::NoButton, Qt::RightButton | Qt::MiddleButton, Qt::ControlModifier, {13, 9});
  mouse(QEvent::MouseButtonRelease, Qt::RightButton, Qt::NoButton, Qt::NoModifier, {13, 9});
  mouse(QEvent::MouseButtonPress, Qt::MiddleButton, Qt::MiddleButton, Qt::NoModifier, {2, 2});
  mouse(QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton, Qt::ControlModifier, {2, 2});
  EXPECT_EQ(seen, (std::vector<Seen>{{0, 2, 5, 10, 5}, {1, 6, 2, 11, 7}, {2, 2, 0, 11, 7}, {0, 4, 0, 0, 0}, {0, 1, 2, 0, 0}}));
  EXPECT_EQ(clicks, 0);  // only a left release completes a click
  mouse(QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton, Qt::NoModifier, {2, 2});
  EXPECT_EQ(clicks, 1);  // the double click's sequence is checked through the control
}

TEST_F(BoundPaneTest, KeysArriveAsClassicKeyCodes) {
  struct Case {
    int qtKey;
    Qt::KeyboardModifiers mods;
    QString text;
    int keyCode, shift, ascii;
  } cases[] = {// the keypad's and the main keyboard's plus and minus are checked through the control
               {Qt::Key_A, Qt::NoModifier, QStringLiteral("a"), 65, 0, 'a'},
               {Qt::Key_A, Qt::ShiftModifier, QStringLiteral("A"), 65, 1, 'A'},
               {Qt::Key_7, Qt::NoModifier, QStringLiteral("7"), 55, 0, '7'},
               {Qt::Key_7, Qt::KeypadModifier, QStringLiteral("7"), 103, 0, '7'},
               {Qt::Key_Left, Qt::ControlModifier, QString(), 37, 2, -1},
               {Qt::Key_Right, Qt::AltModifier, QString(), 39, 4, -1},
               {Qt::Key_Return, Qt::NoModifier, QStringLiteral("\r"), 13, 0, 13},
               {Qt::Key_F5, Qt::NoModifier, QString(), 116, 0, -1},
               {Qt::Key_PageDown, Qt::NoModifier, QString(), 34, 0, -1}};
  int down, up, shiftDown, ascii;
  QObject::connect(&box_, &PictureBox::KeyDown, [&](int* code, int shift) { std::tie(down, shiftDown) = std::pair(*code, shift); });
  QObject::connect(&box_, &PictureBox::KeyUp, [&](int* code, int) { up = *code; });
  QObject::connect(&box_, &PictureBox::KeyPress, [&](int* a) { ascii = *a; });
  for (const Case& c : cases) {
    down = up = shiftDown = ascii = -1;
    QKeyEvent press(QEvent::KeyPress, c.qtKey, c.mods, c.text), release(QEvent::KeyRelease, c.qtKey, c.mods, c.text);
    QCoreApplication::sendEvent(w_, &press);
    QCoreApplication::sendEvent(w_, &release);
    EXPECT_EQ(std::tuple(down, up, shiftDown, ascii), std::tuple(c.keyCode, c.keyCode, c.shift, c.ascii)) << c.qtKey;
  }
}

TEST_F(BoundPaneTest, CursorToolTipAndVisibilityFollowTheBox) {
  struct Case {
    int pointer;
    Qt::CursorShape shape;
  } cases[] = {{0, Qt::ArrowCursor}, {15, Qt::SizeAllCursor}, {11, Qt::WaitCursor}, {2, Qt::CrossCursor}, {99, Qt::ArrowCursor}};
  for (const Case& c : cases) {
    box_.setMousePointer(c.pointer);
    EXPECT_EQ(w_->cursor().shape(), c.shape) << c.pointer;
  }
  QImage icon(16, 16, QImage::Format_RGB32);
  icon.fill(Qt::red);
  box_.setMouseIcon(Picture::fromImage(icon));
  box_.setMousePointer(99);
  EXPECT_EQ(std::pair(w_->cursor().shape(), w_->cursor().pixmap().size()), std::pair(Qt::BitmapCursor, QSize(16, 16)));
  box_.setToolTipText(QStringLiteral("Zoom with the wheel"));
  EXPECT_EQ(w_->toolTip(), QStringLiteral("Zoom with the wheel"));
  for (const bool visible : {false, true}) {
    box_.setVisible(visible);
    EXPECT_EQ(w_->isHidden(), !visible);
  }
}

// The drag states and the handler's effect deciding the drop are checked
// through the control; here what the box adds: copy and move are offered,
// and the drop point is inside the border.
TEST_F(BoundPaneTest, DropsOfferCopyAndMoveAtInnerCoordinates) {
  EXPECT_FALSE(w_->acceptDrops());
  box_.setOLEDropMode(1);
  EXPECT_TRUE(w_->acceptDrops());
  QMimeData data;
  data.setText(QStringLiteral("picture.png"));
  int offered = -1;
  QObject::connect(&box_, &PictureBox::OLEDragOver,
                   [&](const QMimeData*, int* effect, int, int, float, float, int) { offered = *effect; });
  const QMimeData* droppedData = nullptr;
  float dropX = -1;
  QObject::connect(&box_, &PictureBox::OLEDragDrop, [&](const QMimeData* d, int* effect, int, int, float x, float) {
    std::tie(droppedData, dropX, *effect) = std::tuple(d, x, 2);
  });
  const Qt::DropActions both = Qt::CopyAction | Qt::MoveAction;
  QDragEnterEvent enter(QPoint(12, 12), both, &data, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(w_, &enter);
  EXPECT_EQ(offered, 3);
  QDropEvent drop(QPointF(22, 12), both, &data, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(w_, &drop);
  EXPECT_EQ(std::tuple(droppedData, dropX, drop.isAccepted(), drop.dropAction()),
            std::tuple(&data, 20.0f, true, Qt::MoveAction));
}

// --- shared pixel memory: snapshots, covering and placed pictures ----------------------

constexpr int kW = 31, kH = 19;

bool paneShares(const PictureBox& box, gdi::HBITMAP h) { return gdi::SharesPixels(h, gdi::CurrentBitmap(box.hDC())); }

// The classic result of Cls with a picture: back colour, then the picture's
// part that fits at (0, 0). Computed independently of the box.
std::vector<std::uint32_t> expectedCls(int w, int h, const PicturePtr& pic) {
  const std::uint32_t back = (kBack & 0xFFu) << 16 | (kBack & 0xFF00u) | (kBack >> 16 & 0xFFu);
  std::vector<std::uint32_t> out(static_cast<std::size_t>(w) * h, back);
  if (!pic) return out;
  const std::vector<std::uint32_t> p = pixelsOf(pic->Handle());
  for (int y = 0; y < std::min(h, pic->Height()); ++y)
    for (int x = 0; x < std::min(w, pic->Width()); ++x)
      out[static_cast<std::size_t>(y) * w + x] = p[static_cast<std::size_t>(y) * pic->Width() + x];
  return out;
}

// The box's own ways of drawing: its painter (behind every figure and text),
// its picture blits and the raw view. Blits into its DCs are device-context
// writes, whose sharing the gdi tests cover.
const std::pair<const char*, std::function<void(PictureBox&)>> kDrawings[] = {
    {"Line", [](PictureBox& b) { b.Line(0, 0, kW - 1, kH - 1, RGB(255, 0, 0)); }},
    {"PaintPicture", [](PictureBox& b) { b.PaintPicture(noisePicture(8, 8, 77), 1, 1); }},
    {"imageView", [](PictureBox& b) { b.imageView().setPixel(0, 0, 0xFF123456u); }},
};

// The pane shares its covering picture, and a snapshot shares the pane:
// neither copies, and no drawing on the pane reaches either.
TEST(SharedPanes, PictureAndSnapshotAreSharedAndNeverChangedByDrawing) {
  for (const auto& [name, draw] : kDrawings) {
    SCOPED_TRACE(name);
    Pane p(kW, kH);
    PicturePtr pic = noisePicture(kW, kH, 2);
    const std::vector<std::uint32_t> original = pixelsOf(pic->Handle());
    const std::uint64_t copies = gdi::SharedPixelCopies();
    p.box.setPicture(pic);
    PicturePtr img = p.box.Image();
    ASSERT_TRUE(img);
    EXPECT_EQ(std::tuple(paneShares(p.box, pic->Handle()), paneShares(p.box, img->Handle()), gdi::SharedPixelCopies()),
              std::tuple(true, true, copies));
    EXPECT_EQ(paneOf(p.box), expectedCls(kW, kH, pic));
    draw(p.box);
    EXPECT_NE(paneOf(p.box), original);
    EXPECT_EQ(std::pair(pixelsOf(pic->Handle()), pixelsOf(img->Handle())), std::pair(original, original));
    // Cls brings the picture back without copying it.
    const std::uint64_t drawn = gdi::SharedPixelCopies();
    p.box.Cls();
    EXPECT_EQ(std::tuple(paneOf(p.box), gdi::SharedPixelCopies(), p.box.CurrentX() + p.box.CurrentY()),
              std::tuple(original, drawn, 0.0f));
  }
  // Cls of a snapshotted pane without a picture overwrites everything: nothing to copy.
  Pane p(kW, kH);
  p.box.PaintPicture(noisePicture(kW, kH, 4), 0, 0);
  PicturePtr img = p.box.Image();
  const std::vector<std::uint32_t> shown = pixelsOf(img->Handle());
  const std::uint64_t copies = gdi::SharedPixelCopies();
  p.box.Cls();
  EXPECT_EQ(std::pair(gdi::SharedPixelCopies(), paneOf(p.box)), std::pair(copies, expectedCls(kW, kH, nullptr)));
  EXPECT_EQ(pixelsOf(img->Handle()), shown);
}

TEST(SharedPanes, ClsKeepsClassicResultsForEveryPictureFit) {
  struct Case {
    const char* name;
    int pw, ph, border;
  } cases[] = {{"exact fit", kW, kH, 0}, {"smaller", kW - 5, kH - 3, 0}, {"wider", kW + 4, kH, 0},
               {"taller", kW, kH + 1, 0}, {"one pixel", 1, 1, 0}, {"exact inner, bordered", kW - 4, kH - 4, 1},
               {"outer size, bordered", kW, kH, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PictureBox box;
    box.setBorderStyle(c.border);
    box.Move(0, 0, kW, kH);
    box.setBackColor(kBack);
    PicturePtr pic = noisePicture(c.pw, c.ph, 3);
    box.setPicture(pic);
    const int iw = static_cast<int>(box.ScaleWidth()), ih = static_cast<int>(box.ScaleHeight());
    EXPECT_EQ(paneOf(box), expectedCls(iw, ih, pic));
    box.Line(0, 0, 5, 5, RGB(255, 255, 255), PictureBox::BoxFilled);
    box.Cls();
    EXPECT_EQ(paneOf(box), expectedCls(iw, ih, pic));
    box.setBackColor(kBack);  // a new back colour clears too
    EXPECT_EQ(paneOf(box), expectedCls(iw, ih, pic));
    box.setPicture(nullptr);
    EXPECT_EQ(paneOf(box), expectedCls(iw, ih, nullptr));
  }
}

TEST(SharedPanes, AutoSizedBoxTakesThePictureSizePlusBorderAndSharesIt) {
  for (const int border : {0, 1}) {
    SCOPED_TRACE(border);
    PictureBox box;
    box.setBorderStyle(border);
    box.Move(0, 0, 5, 5);
    box.setAutoSize(true);
    PicturePtr pic = noisePicture(40, 25, 6);
    const std::vector<std::uint32_t> original = pixelsOf(pic->Handle());
    int resizes = 0;
    QObject::connect(&box, &PictureBox::Resize, [&] { ++resizes; });
    box.setPicture(pic);
    EXPECT_EQ(resizes, 1);
    EXPECT_EQ(std::tuple(box.ScaleWidth(), box.ScaleHeight(), box.Width()), std::tuple(40.0f, 25.0f, 40 + 4 * border));
    EXPECT_EQ(paneOf(box), original);
    EXPECT_TRUE(border == 1 || paneShares(box, pic->Handle()));
    box.Line(0, 0, 39, 24, RGB(255, 0, 0));
    EXPECT_EQ(pixelsOf(pic->Handle()), original);
  }
}

TEST(SharedPanes, PlaceBitmapShowsItAtItsOwnSizeWithoutCopying) {
  Pane p(10, 10);
  p.box.setPicture(noisePicture(10, 10, 7));
  p.box.setCurrentX(5);
  PicturePtr src = noisePicture(37, 21, 8);
  const std::vector<std::uint32_t> original = pixelsOf(src->Handle());
  int resizes = 0;
  QObject::connect(&p.box, &PictureBox::Resize, [&] { ++resizes; });
  const std::uint64_t copies = gdi::SharedPixelCopies();
  ASSERT_TRUE(p.box.placeBitmap(src->Handle()));
  // Size, pixels and the removed picture as placing a picture checks them.
  EXPECT_EQ(std::tuple(resizes, p.box.CurrentX(), paneOf(p.box), gdi::SharedPixelCopies()),
            std::tuple(1, 0.0f, original, copies));
  p.box.Line(0, 0, 36, 20, RGB(0, 0, 0), PictureBox::BoxFilled);
  EXPECT_EQ(pixelsOf(src->Handle()), original);
  p.box.Cls();  // without a picture, Cls is the back colour again
  EXPECT_EQ(paneOf(p.box), expectedCls(37, 21, nullptr));

  // What it cannot share is refused and changes nothing.
  const qorv::ScopedBitmap dib(gditest::dibSection(6, 6, 24));
  PicturePtr pic = noisePicture(10, 10, 9);
  p.box.setPicture(pic);
  const std::vector<std::uint32_t> before = paneOf(p.box);
  for (const gdi::HANDLE h : {gdi::HANDLE{dib.get()}, gdi::HANDLE{0}, gdi::HANDLE{p.box.hDC()}})
    EXPECT_FALSE(p.box.placeBitmap(h)) << h;
  EXPECT_EQ(p.box.Picture(), pic);
  EXPECT_EQ(paneOf(p.box), before);
  PictureBox bordered;
  bordered.setBorderStyle(1);
  EXPECT_FALSE(bordered.placeBitmap(pic->Handle()));
}

// A loaded picture is placed by sharing where the box allows it and by the
// classic clear, resize and blit where it does not (a border): both leave
// the picture removed and exactly the picture's pixels in the image.
TEST(SharedPanes, PlacePictureSharesOrDrawsToTheSamePixels) {
  PicturePtr src = noisePicture(37, 21, 11);
  for (const int border : {0, 1}) {
    SCOPED_TRACE(border);
    Pane p(10, 10);
    p.box.setBorderStyle(border);
    p.box.setPicture(noisePicture(10, 10, 12));
    const std::uint64_t copies = gdi::SharedPixelCopies();
    p.box.placePicture(src);
    EXPECT_FALSE(p.box.Picture());
    EXPECT_EQ(std::pair(p.box.Width(), p.box.Height()), std::pair(37, 21));
    // A border takes two pixels each side; the picture's top-left part shows.
    const int w = static_cast<int>(p.box.ScaleWidth()), h = static_cast<int>(p.box.ScaleHeight());
    EXPECT_EQ(w, 37 - 4 * border);
    EXPECT_EQ(paneOf(p.box), expectedCls(w, h, src));
    if (border == 0) {
      EXPECT_EQ(gdi::SharedPixelCopies(), copies) << "shared, not copied";
    }
  }
  Pane p(10, 10);
  const std::vector<std::uint32_t> before = paneOf(p.box);
  p.box.placePicture(nullptr);
  EXPECT_EQ(p.box.Width(), 10);
  EXPECT_EQ(paneOf(p.box), before);
}

TEST(SharedPanes, ReleasesEveryHandleSharedOrNot) {
  const std::size_t live = gdi::LiveObjectCount();
  {
    Pane a(kW, kH), b(kW, kH);
    (void)a.box.hWnd();
    PicturePtr pic = noisePicture(kW, kH, 10);
    a.box.setPicture(pic);
    for (int i = 0; i < 5; ++i) {
      b.box.setPicture(a.box.Image());
      a.box.Line(0, 0, i, i);
      a.box.Cls();
      b.box.Cls();
    }
    a.box.Move(0, 0, 70, 20);
    b.box.PaintPicture(a.box.Image(), 1, 1, 100.0f, 100.0f);
    ASSERT_TRUE(b.box.placeBitmap(pic->Handle()));
  }
  EXPECT_EQ(gdi::LiveObjectCount(), live);
}

}  // namespace
}  // namespace qorv
