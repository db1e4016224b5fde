#include "platform/PictureBox.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <QFontMetricsF>
#include <QImage>
#include <QPainter>
#include <QPointer>

#include <QorvPictureBox/AutomationError.h>
#include "platform/GdiSurface.h"
#include "platform/PaneWidget.h"
#include "platform/ScopedGdi.h"

namespace qorv {

namespace {

// Coordinates far outside any surface are pulled in before they reach the
// rasteriser, whose fixed-point arithmetic cannot represent them; drawing is
// clipped to the surface long before this limit matters.
constexpr double kCoordLimit = 1 << 22;

int toPixel(double v) {
  if (!std::isfinite(v)) return 0;
  return static_cast<int>(std::clamp(std::nearbyint(v), -kCoordLimit, kCoordLimit));
}

// An optional size or position argument: the given value rounded, else `fallback`.
int argOr(const std::optional<float>& v, int fallback) { return v ? toPixel(*v) : fallback; }

std::uint32_t pixelOf(COLORREF c) {
  const COLORREF v = resolveColor(c);
  return 0xFF000000u | ((v & 0xFFu) << 16) | (v & 0xFF00u) | ((v >> 16) & 0xFFu);
}

void fillSurface(const gdi::Surface& s, int w, int h, std::uint32_t px) {
  for (int y = 0; y < h; ++y) {
    auto* row = reinterpret_cast<std::uint32_t*>(s.row(y));
    std::fill(row, row + w, px);
  }
}

// Draw modes are the sixteen binary raster operations of pen P and
// destination D. Qt has a composition mode for each of them.
QPainter::CompositionMode compositionFor(int drawMode) {
  switch (drawMode) {
    case 1: return QPainter::RasterOp_ClearDestination;            // black
    case 2: return QPainter::RasterOp_NotSourceAndNotDestination;  // not (P or D)
    case 3: return QPainter::RasterOp_NotSourceAndDestination;     // (not P) and D
    case 4: return QPainter::RasterOp_NotSource;                   // not P
    case 5: return QPainter::RasterOp_SourceAndNotDestination;     // P and not D
    case 6: return QPainter::RasterOp_NotDestination;              // not D
    case 7: return QPainter::RasterOp_SourceXorDestination;        // P xor D
    case 8: return QPainter::RasterOp_NotSourceOrNotDestination;   // not (P and D)
    case 9: return QPainter::RasterOp_SourceAndDestination;        // P and D
    case 10: return QPainter::RasterOp_NotSourceXorDestination;    // not (P xor D)
    case 11: return QPainter::CompositionMode_Destination;         // D unchanged
    case 12: return QPainter::RasterOp_NotSourceOrDestination;     // (not P) or D
    case 14: return QPainter::RasterOp_SourceOrNotDestination;     // P or not D
    case 15: return QPainter::RasterOp_SourceOrDestination;        // P or D
    case 16: return QPainter::RasterOp_SetDestination;             // white
    default: return QPainter::CompositionMode_SourceOver;          // 13, copy pen (colours are opaque)
  }
}

Qt::BrushStyle brushFor(int fillStyle) {
  switch (fillStyle) {
    case 0: return Qt::SolidPattern;
    case 2: return Qt::HorPattern;
    case 3: return Qt::VerPattern;
    case 4: return Qt::BDiagPattern;  // upward diagonal: lower left to upper right
    case 5: return Qt::FDiagPattern;  // downward diagonal
    case 6: return Qt::CrossPattern;
    case 7: return Qt::DiagCrossPattern;
    default: return Qt::NoBrush;  // 1 transparent
  }
}

QFont drawingFont(const FontPtr& f) {
  QFont font = f ? f->qfont() : QFont();
  // Text on the persistent image is drawn aliased like the other figures, so
  // that it is the same on every machine and XOR-style modes stay reversible.
  font.setStyleStrategy(QFont::NoAntialias);
  return font;
}

const QImage& metricsDevice() {
  // Metrics are taken on an image so they match what drawing on the persistent
  // image produces, whatever the screen's resolution.
  static const QImage probe(1, 1, QImage::Format_RGB32);
  return probe;
}

int lineCount(const QString& text) { return static_cast<int>(text.count(QLatin1Char('\n'))) + 1; }

}  // namespace

struct PictureBox::Impl {
  explicit Impl(PictureBox* box) : q(box) {}

  PictureBox* q;
  QString name;
  // Released in reverse: the image is selected out and deleted, then the context.
  ScopedMemDC dc;
  ScopedBitmap bitmap;
  ScopedSelect selected;
  mutable gdi::HWND hwnd = 0;
  int bmWidth = 0;  // size of the bitmap behind the image (at least 1x1)
  int bmHeight = 0;
  // While set, a reallocation to exactly this bitmap's size shares its pixels
  // instead of allocating, filling and copying (a picture about to cover the
  // whole image).
  gdi::HBITMAP pendingShare = 0;

  int left = 0, top = 0, width = 0, height = 0;
  double pixelRatio = 1.0;
  bool autoSize = false;
  PicturePtr picture;
  COLORREF backColor = vbButtonFace;
  COLORREF foreColor = vbButtonText;
  FontPtr font;
  int borderStyle = 0;
  int drawMode = 13;
  int drawStyle = 0;
  int drawWidth = 1;
  int fillStyle = 1;
  COLORREF fillColor = 0;
  float currentX = 0;
  float currentY = 0;
  int mousePointer = 0;
  PicturePtr mouseIcon;
  bool autoRedraw = true;
  int oleDragMode = 0;
  int oleDropMode = 0;
  bool visible = true;
  QString toolTip;
  QPointer<PaneWidget> widget;

  int border() const { return borderStyle == 1 ? 2 : 0; }
  int innerWidth() const { return std::max(0, width - 2 * border()); }
  int innerHeight() const { return std::max(0, height - 2 * border()); }

  [[noreturn]] static void outOfMemory() {
    throw AutomationError(errors::OutOfMemory, programName(), "Out of memory");
  }

  // Whether `hbm` has exactly the persistent image's layout at size w x h, so
  // that the image can simply share its pixels.
  static bool sameLayout(gdi::HBITMAP hbm, int w, int h) {
    gdi::Surface s;
    return hbm != 0 && gdi::BitmapSurfaceRead(hbm, s) && s.bitsPerPixel == 32 && !s.bottomUp && s.width == w &&
           s.height == h;
  }

  // Whether the background picture hides every pixel of the persistent image.
  bool pictureCovers() const {
    return picture && sameLayout(picture->Handle(), bmWidth, bmHeight) && innerWidth() == bmWidth &&
           innerHeight() == bmHeight;
  }

  // Makes `nb` the persistent image, releasing the previous one.
  void install(gdi::HBITMAP nb, int w, int h) {
    selected.select(dc.get(), nb);
    bitmap.reset(nb);
    bmWidth = w;
    bmHeight = h;
    if (hwnd != 0) gdi::RebindWindow(hwnd, bitmap.get());
  }

  // The persistent image becomes a sharer of `src`'s pixels (same layout and
  // size), without copying. False when no handle can be had.
  bool shareFrom(gdi::HBITMAP src, int w, int h) {
    if (bitmap && gdi::SharesPixels(bitmap.get(), src)) return true;
    const gdi::HBITMAP nb = gdi::ShareBitmap(src);
    if (nb == 0) return false;
    install(nb, w, h);
    return true;
  }

  // Gives the persistent image the current inner size, keeping the top-left
  // content and filling new area with the back colour.
  void reallocate() {
    const int w = std::max(1, innerWidth());
    const int h = std::max(1, innerHeight());
    if (bitmap && w == bmWidth && h == bmHeight) return;
    if (pendingShare != 0 && w == innerWidth() && h == innerHeight() && sameLayout(pendingShare, w, h) &&
        shareFrom(pendingShare, w, h))
      return;
    // Every pixel is written below: the fill and the kept content.
    ScopedBitmap nb(gdi::CreateBitmapForOverwrite(w, h));
    gdi::Surface ns;
    if (!nb || !gdi::BitmapSurface(nb.get(), ns)) outOfMemory();
    fillSurface(ns, w, h, pixelOf(backColor));
    gdi::Surface os;
    if (bitmap && gdi::BitmapSurfaceRead(bitmap.get(), os)) {
      const int cw = std::min(w, os.width);
      const int ch = std::min(h, os.height);
      for (int y = 0; y < ch; ++y) std::memcpy(ns.row(y), os.row(y), static_cast<std::size_t>(cw) * 4);
    }
    install(nb.release(), w, h);
  }

  // Applies a new outer geometry; the surface follows the inner size.
  void setGeometry(int l, int t, int w, int h) {
    w = std::max(0, w);  // a negative size cannot be drawn on; it is an empty box
    h = std::max(0, h);
    const bool resized = w != width || h != height;
    const int oldW = width, oldH = height;
    left = l;
    top = t;
    width = w;
    height = h;
    try {
      reallocate();
    } catch (...) {
      width = oldW;
      height = oldH;
      throw;
    }
    placeWidget();
    if (resized) emit q->Resize();
  }

  // The widget covers the box's rectangle in its own (logical) units.
  void placeWidget() {
    if (!widget) return;
    const double r = pixelRatio;
    widget->setGeometry(static_cast<int>(std::lround(left / r)), static_cast<int>(std::lround(top / r)),
                        static_cast<int>(std::lround(width / r)), static_cast<int>(std::lround(height / r)));
  }

  QPen pen(COLORREF colour, bool box) const {
    QPen p(toQColor(colour));
    const int w = std::clamp(drawWidth, 1, 32767);
    p.setWidth(w == 1 ? 0 : w);
    p.setCapStyle(box ? Qt::SquareCap : Qt::RoundCap);
    p.setJoinStyle(box ? Qt::MiterJoin : Qt::RoundJoin);
    switch (drawStyle) {
      // Broken styles exist only for one-pixel pens; wider pens draw solid.
      case 1: p.setStyle(w == 1 ? Qt::DashLine : Qt::SolidLine); break;
      case 2: p.setStyle(w == 1 ? Qt::DotLine : Qt::SolidLine); break;
      case 3: p.setStyle(w == 1 ? Qt::DashDotLine : Qt::SolidLine); break;
      case 4: p.setStyle(w == 1 ? Qt::DashDotDotLine : Qt::SolidLine); break;
      case 5: p.setStyle(Qt::NoPen); break;
      default: p.setStyle(Qt::SolidLine); break;
    }
    return p;
  }

  QBrush fillBrush() const {
    const Qt::BrushStyle s = brushFor(fillStyle);
    return s == Qt::NoBrush ? QBrush() : QBrush(toQColor(fillColor), s);
  }

  // Runs `draw` with a painter on the persistent image in the current draw mode.
  template <typename F>
  void paint(F&& draw, bool useDrawMode = true) {
    QImage view = q->imageView();
    if (view.isNull()) return;
    QPainter p(&view);
    p.setRenderHint(QPainter::Antialiasing, false);
    p.setRenderHint(QPainter::TextAntialiasing, false);
    p.setCompositionMode(useDrawMode ? compositionFor(drawMode) : QPainter::CompositionMode_SourceOver);
    draw(p);
  }

  void drawPictureAtOrigin() {
    if (!picture || picture->Handle() == 0) return;
    blit(picture, 0, 0, picture->Width(), picture->Height(), 0, 0, picture->Width(), picture->Height(), gdi::SRCCOPY);
  }

  // Draws part of `pic` through the device-context blits (which clip to the
  // surface and honour the stretch mode of this box's DC).
  void blit(const PicturePtr& pic, int x1, int y1, int w1, int h1, int x2, int y2, int w2, int h2, gdi::DWORD rop) {
    const ScopedMemDC src(gdi::CreateCompatibleDC(dc.get()));
    const ScopedSelect sel(src.get(), pic->Handle());
    if (sel.ok()) {
      if (w1 == w2 && h1 == h2 && w1 > 0 && h1 > 0)
        gdi::BitBlt(dc.get(), x1, y1, w1, h1, src.get(), x2, y2, rop);
      else
        gdi::StretchBlt(dc.get(), x1, y1, w1, h1, src.get(), x2, y2, w2, h2, rop);
    } else {
      // The bitmap is selected elsewhere (a DC may hold it); draw from a copy.
      const QImage img = pic->toImage();
      if (!img.isNull() && w1 != 0 && h1 != 0 && w2 != 0 && h2 != 0) {
        paint([&](QPainter& p) {
          p.setRenderHint(QPainter::SmoothPixmapTransform, false);
          p.setCompositionMode(QPainter::CompositionMode_Source);
          p.drawImage(QRect(x1, y1, w1, h1), img, QRect(x2, y2, w2, h2));
        });
      }
    }
  }
};

PictureBox::PictureBox(const QString& name, QObject* parent) : QObject(parent), d(new Impl(this)) {
  setObjectName(name);
  d->name = name;
  d->font = Font::create();
  d->dc.reset(gdi::CreateCompatibleDC(0));
  if (!d->dc) {
    delete d;
    Impl::outOfMemory();
  }
  try {
    d->reallocate();
  } catch (...) {
    delete d;
    throw;
  }
}

PictureBox::~PictureBox() {
  delete d->widget.data();
  if (d->hwnd != 0) gdi::DestroyWindowHandle(d->hwnd);
  delete d;  // selects the stock bitmap back, deletes the image, then the context
}

QWidget* PictureBox::bind(QWidget* parent) {
  PaneWidget* w = d->widget.data();
  if (w == nullptr) {
    w = new PaneWidget(this, parent);
    d->widget = w;
  } else if (w->parentWidget() != parent) {
    w->setParent(parent);
  }
  d->placeWidget();
  w->syncFromBox();
  return w;
}

QWidget* PictureBox::widget() const { return d->widget.data(); }

gdi::HDC PictureBox::hDC() const { return d->dc.get(); }

gdi::HWND PictureBox::hWnd() const {
  if (d->hwnd == 0) d->hwnd = gdi::CreateWindowHandle(d->bitmap.get());
  return d->hwnd;
}

QImage PictureBox::imageView() const {
  const int w = d->innerWidth();
  const int h = d->innerHeight();
  gdi::Surface s;
  if (w <= 0 || h <= 0 || !gdi::BitmapSurface(d->bitmap.get(), s) || s.bitsPerPixel != 32 || s.bottomUp) return {};
  return QImage(s.rows, w, h, s.stride, QImage::Format_RGB32);
}

QImage PictureBox::imageViewRead() const {
  const int w = d->innerWidth();
  const int h = d->innerHeight();
  gdi::Surface s;
  if (w <= 0 || h <= 0 || !gdi::BitmapSurfaceRead(d->bitmap.get(), s) || s.bitsPerPixel != 32 || s.bottomUp) return {};
  return QImage(static_cast<const uchar*>(s.rows), w, h, s.stride, QImage::Format_RGB32);
}

// --- geometry ---------------------------------------------------------------------

int PictureBox::Left() const { return d->left; }
int PictureBox::Top() const { return d->top; }
int PictureBox::Width() const { return d->width; }
int PictureBox::Height() const { return d->height; }
void PictureBox::setWidth(int w) { d->setGeometry(d->left, d->top, w, d->height); }
void PictureBox::setHeight(int h) { d->setGeometry(d->left, d->top, d->width, h); }
void PictureBox::Move(int left, int top, int width, int height) { d->setGeometry(left, top, width, height); }
double PictureBox::PixelRatio() const { return d->pixelRatio; }
void PictureBox::setPixelRatio(double r) {
  // Ratios beyond what any screen has would only make the widget vanish.
  const double v = std::isfinite(r) && r > 0 ? std::clamp(r, 0.25, 16.0) : 1.0;
  if (v == d->pixelRatio) return;
  d->pixelRatio = v;
  d->placeWidget();
  if (d->widget) d->widget->update();
}
float PictureBox::ScaleWidth() const { return static_cast<float>(d->innerWidth()); }
float PictureBox::ScaleHeight() const { return static_cast<float>(d->innerHeight()); }
bool PictureBox::AutoSize() const { return d->autoSize; }
void PictureBox::setAutoSize(bool v) {
  d->autoSize = v;
  if (v && d->picture)
    d->setGeometry(d->left, d->top, d->picture->Width() + 2 * d->border(), d->picture->Height() + 2 * d->border());
}

// --- pictures -----------------------------------------------------------------------

PicturePtr PictureBox::Picture() const { return d->picture; }

void PictureBox::setPicture(const PicturePtr& p) {
  d->picture = p;
  if (d->autoSize && p) {
    // A picture the box is sized to covers it: the new image can share its
    // pixels rather than be allocated, cleared and then overwritten.
    d->pendingShare = p->Handle();
    try {
      d->setGeometry(d->left, d->top, p->Width() + 2 * d->border(), p->Height() + 2 * d->border());
    } catch (...) {
      d->pendingShare = 0;
      throw;
    }
    d->pendingShare = 0;
  }
  Cls();
  Refresh();
}

bool PictureBox::placeBitmap(gdi::HBITMAP hbm) {
  gdi::Surface s;
  if (d->border() != 0 || !gdi::BitmapSurfaceRead(hbm, s) || s.bitsPerPixel != 32 || s.bottomUp) return false;
  d->picture.reset();
  d->pendingShare = hbm;
  try {
    d->setGeometry(d->left, d->top, s.width, s.height);
  } catch (...) {
    d->pendingShare = 0;
    throw;
  }
  d->pendingShare = 0;
  if (!d->shareFrom(hbm, s.width, s.height)) return false;
  d->currentX = 0;
  d->currentY = 0;
  Refresh();
  return true;
}

void PictureBox::placePicture(const PicturePtr& pic) {
  if (!pic || pic->Handle() == 0 || placeBitmap(pic->Handle())) return;
  setPicture(PicturePtr());
  Cls();
  Move(Left(), Top(), pic->Width(), pic->Height());
  d->blit(pic, 0, 0, pic->Width(), pic->Height(), 0, 0, pic->Width(), pic->Height(), gdi::SRCCOPY);
}

PicturePtr PictureBox::Image() const {
  if (d->innerWidth() <= 0 || d->innerHeight() <= 0) return nullptr;
  // The snapshot shares the image's pixels; whichever is drawn on next gets a
  // copy of its own then, so the snapshot never changes.
  ScopedBitmap snapshot(gdi::ShareBitmap(d->bitmap.get()));
  if (!snapshot) Impl::outOfMemory();
  PicturePtr p = qorv::Picture::fromBitmap(snapshot.get());
  if (!p) Impl::outOfMemory();
  snapshot.release();  // the picture owns it now
  return p;
}

// --- appearance and drawing state ---------------------------------------------------

COLORREF PictureBox::BackColor() const { return d->backColor; }
void PictureBox::setBackColor(COLORREF c) {
  // As with the classic box, a new back colour clears the image.
  d->backColor = c;
  Cls();
  Refresh();
}
COLORREF PictureBox::ForeColor() const { return d->foreColor; }
void PictureBox::setForeColor(COLORREF c) { d->foreColor = c; }
FontPtr PictureBox::Font() const { return d->font; }
void PictureBox::setFont(const FontPtr& f) {
  if (f) d->font = f;
}
int PictureBox::BorderStyle() const { return d->borderStyle; }
void PictureBox::setBorderStyle(int v) {
  if (v == d->borderStyle) return;
  const int before = d->innerWidth() * 65536 + d->innerHeight();
  d->borderStyle = v;
  try {
    d->reallocate();
  } catch (...) {
    d->borderStyle = v == 1 ? 0 : 1;
    throw;
  }
  if (d->widget) d->widget->update();
  if (before != d->innerWidth() * 65536 + d->innerHeight()) emit Resize();
}
int PictureBox::DrawMode() const { return d->drawMode; }
void PictureBox::setDrawMode(int v) { d->drawMode = v; }
int PictureBox::DrawStyle() const { return d->drawStyle; }
void PictureBox::setDrawStyle(int v) { d->drawStyle = v; }
int PictureBox::DrawWidth() const { return d->drawWidth; }
void PictureBox::setDrawWidth(int v) { d->drawWidth = v; }
int PictureBox::FillStyle() const { return d->fillStyle; }
void PictureBox::setFillStyle(int v) { d->fillStyle = v; }
COLORREF PictureBox::FillColor() const { return d->fillColor; }
void PictureBox::setFillColor(COLORREF c) { d->fillColor = c; }
float PictureBox::CurrentX() const { return d->currentX; }
void PictureBox::setCurrentX(float v) { d->currentX = v; }
float PictureBox::CurrentY() const { return d->currentY; }
void PictureBox::setCurrentY(float v) { d->currentY = v; }
int PictureBox::MousePointer() const { return d->mousePointer; }
void PictureBox::setMousePointer(int v) {
  d->mousePointer = v;
  if (d->widget) d->widget->syncFromBox();
}
PicturePtr PictureBox::MouseIcon() const { return d->mouseIcon; }
void PictureBox::setMouseIcon(const PicturePtr& p) {
  d->mouseIcon = p;
  if (d->widget) d->widget->syncFromBox();
}
bool PictureBox::AutoRedraw() const { return d->autoRedraw; }
void PictureBox::setAutoRedraw(bool v) { d->autoRedraw = v; }
int PictureBox::OLEDragMode() const { return d->oleDragMode; }
void PictureBox::setOLEDragMode(int v) { d->oleDragMode = v; }
int PictureBox::OLEDropMode() const { return d->oleDropMode; }
void PictureBox::setOLEDropMode(int v) {
  d->oleDropMode = v;
  if (d->widget) d->widget->syncFromBox();
}
bool PictureBox::Visible() const { return d->visible; }
void PictureBox::setVisible(bool v) {
  d->visible = v;
  if (d->widget) d->widget->syncFromBox();
}
QString PictureBox::ToolTipText() const { return d->toolTip; }
void PictureBox::setToolTipText(const QString& t) {
  d->toolTip = t;
  if (d->widget) d->widget->syncFromBox();
}

// --- drawing ----------------------------------------------------------------------------

void PictureBox::Cls() {
  d->currentX = 0;
  d->currentY = 0;
  // Back colour then a picture that hides all of it is just the picture.
  if (d->pictureCovers() && d->shareFrom(d->picture->Handle(), d->bmWidth, d->bmHeight)) return;
  // The fill overwrites every pixel: memory shared with a snapshot is given
  // up, not copied.
  gdi::DiscardBitmap(d->bitmap.get());
  gdi::Surface s;
  if (gdi::BitmapSurface(d->bitmap.get(), s)) fillSurface(s, s.width, s.height, pixelOf(d->backColor));
  d->drawPictureAtOrigin();
}

void PictureBox::Line(float x1, float y1, float x2, float y2, std::optional<COLORREF> color, LineKind kind) {
  const COLORREF c = color.value_or(d->foreColor);
  const int ax = toPixel(x1), ay = toPixel(y1), bx = toPixel(x2), by = toPixel(y2);
  const int l = std::min(ax, bx), r = std::max(ax, bx), t = std::min(ay, by), b = std::max(ay, by);
  d->paint([&](QPainter& p) {
    if (kind == BoxFilled) {
      p.fillRect(QRect(QPoint(l, t), QPoint(r, b)), toQColor(c));
    } else if (kind == Box) {
      QPen pen = d->pen(c, true);
      QRectF rect(l, t, r - l, b - t);
      if (d->drawStyle == 6 && pen.width() > 1) {
        // Inside solid: the outline stays within the box's bounds.
        const double inset = pen.width() / 2.0;
        rect.adjust(inset, inset, -inset, -inset);
      }
      p.setPen(pen);
      p.setBrush(d->fillBrush());
      p.drawRect(rect);
    } else {
      p.setPen(d->pen(c, false));
      p.drawLine(ax, ay, bx, by);
    }
  });
  d->currentX = x2;
  d->currentY = y2;
}

void PictureBox::PSet(float x, float y, std::optional<COLORREF> color) {
  const COLORREF c = color.value_or(d->foreColor);
  d->paint([&](QPainter& p) {
    QPen pen = d->pen(c, false);
    pen.setStyle(Qt::SolidLine);  // a dot has no dashes
    p.setPen(pen);
    p.drawPoint(toPixel(x), toPixel(y));
  });
  d->currentX = x;
  d->currentY = y;
}

void PictureBox::Circle(float x, float y, float radius, std::optional<COLORREF> color) {
  const COLORREF c = color.value_or(d->foreColor);
  const double rad = std::isfinite(radius) ? std::clamp(std::fabs(static_cast<double>(radius)), 0.0, kCoordLimit) : 0.0;
  d->paint([&](QPainter& p) {
    p.setPen(d->pen(c, false));
    p.setBrush(d->fillBrush());
    p.drawEllipse(QPointF(toPixel(x), toPixel(y)), rad, rad);
  });
  d->currentX = x;
  d->currentY = y;
}

void PictureBox::Print(const QString& text) {
  const QFont font = drawingFont(d->font);
  d->paint(
      [&](QPainter& p) {
        p.setFont(font);
        p.setPen(toQColor(d->foreColor));
        const QPointF at(toPixel(d->currentX), toPixel(d->currentY));
        p.drawText(QRectF(at, QSizeF(kCoordLimit, kCoordLimit)),
                   Qt::AlignLeft | Qt::AlignTop | Qt::TextDontClip | Qt::TextExpandTabs, text);
      },
      false);
  d->currentX = 0;
  d->currentY += TextHeight(text);
}

void PictureBox::PaintPicture(const PicturePtr& pic, float x1, float y1, std::optional<float> w1,
                              std::optional<float> h1, std::optional<float> x2, std::optional<float> y2,
                              std::optional<float> w2, std::optional<float> h2, std::optional<std::uint32_t> opcode) {
  if (!pic || pic->Handle() == 0) throw AutomationError(errors::InvalidPicture, programName(), "Invalid picture");
  const int sx = argOr(x2, 0);
  const int sy = argOr(y2, 0);
  const int sw = argOr(w2, pic->Width() - sx);
  const int sh = argOr(h2, pic->Height() - sy);
  const int dw = argOr(w1, pic->Width());
  const int dh = argOr(h1, pic->Height());
  d->blit(pic, toPixel(x1), toPixel(y1), dw, dh, sx, sy, sw, sh, opcode.value_or(gdi::SRCCOPY));
}

float PictureBox::TextWidth(const QString& text) const {
  const QFontMetricsF fm(drawingFont(d->font), &metricsDevice());
  double widest = 0;
  for (const QString& line : text.split(QLatin1Char('\n'))) widest = std::max(widest, fm.horizontalAdvance(line));
  return static_cast<float>(widest);
}

float PictureBox::TextHeight(const QString& text) const {
  const QFontMetricsF fm(drawingFont(d->font), &metricsDevice());
  return static_cast<float>(fm.height() * lineCount(text));
}

void PictureBox::Refresh() {
  if (d->widget) d->widget->update();
}

}  // namespace qorv
