// Generates the bundled sample picture: a detailed, colourful test pattern
// whose fine structure (gratings, checkerboards, small text, a zone plate)
// shows at a glance how well a view scales, and whose gradients and colour
// wheel show colour handling.
//   make-sample [OUT.png] [WIDTH HEIGHT]
#include <QColor>
#include <QConicalGradient>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QRadialGradient>
#include <QString>
#include <QTextStream>

#include <cmath>
#include <cstdio>
#include <numbers>

namespace {

void fineGratings(QPainter& p, const QRect& area) {
  // Columns of vertical, horizontal and diagonal lines with periods 2..5 pixels.
  const int cols = 4;
  const int w = area.width() / cols;
  const int h = area.height() / 3;
  for (int c = 0; c < cols; ++c) {
    const int period = c + 2;
    const QRect v(area.left() + c * w, area.top(), w - 6, h - 6);
    const QRect hz(area.left() + c * w, area.top() + h, w - 6, h - 6);
    const QRect dg(area.left() + c * w, area.top() + 2 * h, w - 6, h - 6);
    p.fillRect(v, Qt::white);
    p.fillRect(hz, Qt::white);
    p.fillRect(dg, Qt::white);
    p.setPen(QPen(Qt::black, 1));
    for (int x = v.left(); x <= v.right(); x += period) p.drawLine(x, v.top(), x, v.bottom());
    for (int y = hz.top(); y <= hz.bottom(); y += period) p.drawLine(hz.left(), y, hz.right(), y);
    p.save();
    p.setClipRect(dg);
    for (int k = -dg.height(); k <= dg.width(); k += period)
      p.drawLine(dg.left() + k, dg.bottom(), dg.left() + k + dg.height(), dg.top());
    p.restore();
  }
}

void checkerboards(QPainter& p, const QRect& area) {
  const int sizes[] = {1, 2, 4, 8, 16};
  const int w = area.width() / 5;
  for (int i = 0; i < 5; ++i) {
    const QRect r(area.left() + i * w, area.top(), w - 6, area.height());
    for (int y = r.top(); y <= r.bottom(); y += sizes[i])
      for (int x = r.left(); x <= r.right(); x += sizes[i]) {
        const bool dark = (((x - r.left()) / sizes[i]) + ((y - r.top()) / sizes[i])) % 2 != 0;
        const QRect cell = QRect(x, y, sizes[i], sizes[i]).intersected(r);
        p.fillRect(cell, dark ? QColor(20, 20, 20) : QColor(235, 235, 235));
      }
  }
}

void zonePlate(QImage& img, const QRect& area) {
  // Concentric rings whose frequency rises outward: any resampling fault shows
  // up as false rings (moire).
  const double cx = area.center().x() + 0.5;
  const double cy = area.center().y() + 0.5;
  const double k = std::numbers::pi / (2.0 * area.width());
  for (int y = area.top(); y <= area.bottom(); ++y) {
    auto* row = reinterpret_cast<QRgb*>(img.scanLine(y));
    for (int x = area.left(); x <= area.right(); ++x) {
      const double r2 = (x - cx) * (x - cx) + (y - cy) * (y - cy);
      const int v = static_cast<int>(std::lround(127.5 + 127.5 * std::cos(k * r2)));
      row[x] = qRgb(v, v, v);
    }
  }
}

void colourWheel(QPainter& p, const QPointF& c, double radius) {
  QConicalGradient hue(c, 0);
  for (int i = 0; i <= 6; ++i) hue.setColorAt(i / 6.0, QColor::fromHsv((i * 60) % 360, 255, 255));
  p.setPen(Qt::NoPen);
  p.setBrush(hue);
  p.drawEllipse(c, radius, radius);
  QRadialGradient white(c, radius);
  white.setColorAt(0, QColor(255, 255, 255, 255));
  white.setColorAt(1, QColor(255, 255, 255, 0));
  p.setBrush(white);
  p.drawEllipse(c, radius, radius);
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(Qt::black, 2));
  p.drawEllipse(c, radius, radius);
}

void gradients(QPainter& p, const QRect& area) {
  const int band = area.height() / 5;
  const QColor ends[][2] = {{Qt::black, Qt::red}, {Qt::black, Qt::green}, {Qt::black, Qt::blue},
                            {Qt::black, Qt::white}};
  for (int i = 0; i < 4; ++i) {
    QLinearGradient g(area.left(), 0, area.right(), 0);
    g.setColorAt(0, ends[i][0]);
    g.setColorAt(1, ends[i][1]);
    p.fillRect(QRect(area.left(), area.top() + i * band, area.width(), band - 4), g);
  }
  // A stepped grey wedge: 16 flat steps, easy to check for banding.
  const int steps = 16;
  const int sw = area.width() / steps;
  for (int s = 0; s < steps; ++s) {
    const int v = s * 255 / (steps - 1);
    p.fillRect(QRect(area.left() + s * sw, area.top() + 4 * band, sw, band - 4), QColor(v, v, v));
  }
}

void circles(QPainter& p, const QPointF& c, double radius) {
  for (int i = 1; i * 6 <= radius; ++i) {
    p.setPen(QPen(QColor::fromHsv((i * 23) % 360, 200, 230), i % 3 == 0 ? 2 : 1));
    p.drawEllipse(c, i * 6.0, i * 6.0);
  }
  p.setPen(QPen(Qt::white, 1));
  p.drawLine(QPointF(c.x() - radius, c.y()), QPointF(c.x() + radius, c.y()));
  p.drawLine(QPointF(c.x(), c.y() - radius), QPointF(c.x(), c.y() + radius));
}

void text(QPainter& p, const QRect& area, const QString& line) {
  const int sizes[] = {6, 8, 10, 12, 16, 20, 28, 40};
  p.save();
  p.setClipRect(area);
  int y = area.top();
  for (int s : sizes) {
    QFont f(QStringLiteral("DejaVu Sans"));
    f.setPixelSize(s + s / 3);
    p.setFont(f);
    p.setPen(QColor::fromHsv((s * 37) % 360, 160, 255));
    y += QFontMetrics(f).height();
    if (y > area.bottom()) break;
    p.drawText(area.left(), y, QStringLiteral("%1 px  %2").arg(s + s / 3).arg(line));
  }
  p.restore();
}

void colourBars(QPainter& p, const QRect& area) {
  const QColor bars[] = {Qt::white, Qt::yellow, Qt::cyan, Qt::green, Qt::magenta, Qt::red, Qt::blue, Qt::black};
  const int w = area.width() / 8;
  for (int i = 0; i < 8; ++i) p.fillRect(QRect(area.left() + i * w, area.top(), w, area.height()), bars[i]);
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("qorv-sample.png");
  const int width = argc > 3 ? std::atoi(argv[2]) : 1600;
  const int height = argc > 3 ? std::atoi(argv[3]) : 1200;
  if (width < 400 || height < 300 || width > 8000 || height > 8000) {
    std::fprintf(stderr, "make-sample: size must be 400x300 .. 8000x8000\n");
    return 2;
  }

  QImage img(width, height, QImage::Format_RGB32);
  img.fill(QColor(40, 44, 52));
  const int w3 = width / 3;
  const int h3 = height / 3;
  {
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing, true);
    gradients(p, QRect(20, 20, w3 - 40, h3 - 40));
    colourWheel(p, QPointF(w3 + w3 / 2.0, h3 / 2.0), std::min(w3, h3) / 2.0 - 24);
    circles(p, QPointF(2 * w3 + w3 / 2.0, h3 / 2.0), std::min(w3, h3) / 2.0 - 24);
    p.setRenderHint(QPainter::Antialiasing, false);
    fineGratings(p, QRect(20, h3 + 10, w3 - 20, h3 - 20));
    checkerboards(p, QRect(w3 + 20, h3 + 10, w3 - 20, h3 / 2 - 20));
    p.setRenderHint(QPainter::Antialiasing, true);
    text(p, QRect(w3 + 20, h3 + h3 / 2, w3 - 40, h3 / 2 - 10), QStringLiteral("Aa Bb Cc 0123"));
    p.end();
  }
  const int zp = std::min(w3, h3) - 40;
  zonePlate(img, QRect(2 * w3 + (w3 - zp) / 2, h3 + 10, zp, zp));
  {
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing, true);
    const QRect textArea(20, 2 * h3 + 10, 2 * w3 - 40, (h3 - 20) * 2 / 3);
    text(p, textArea, QStringLiteral("The quick brown fox jumps over the lazy dog"));
    colourBars(p, QRect(20, textArea.bottom() + 10, 2 * w3 - 40, height - textArea.bottom() - 40));
    QFont title(QStringLiteral("DejaVu Sans"));
    title.setPixelSize(std::max(16, width / 32));
    title.setBold(true);
    p.setFont(title);
    p.setPen(Qt::white);
    p.drawText(QRect(2 * w3, 2 * h3 + 10, w3 - 20, h3 - 40), Qt::AlignCenter, QStringLiteral("QorvPictureBox"));
    p.setPen(QPen(QColor(255, 200, 0), 3));
    p.setBrush(Qt::NoBrush);
    p.drawRect(QRect(1, 1, width - 3, height - 3));
  }
  if (!img.save(out, "PNG")) {
    std::fprintf(stderr, "make-sample: cannot write %s\n", qPrintable(out));
    return 1;
  }
  QTextStream(stdout) << "wrote " << out << " (" << width << "x" << height << ")\n";
  return 0;
}
