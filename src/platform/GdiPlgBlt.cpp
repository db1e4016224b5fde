// PlgBlt: maps each destination pixel centre back into the source parallelogram.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/GdiPixels.h"
#include "platform/GdiStretch.h"
#include "platform/GdiStretchInternal.h"

namespace gdi::detail {

// --- parallelogram blit ----------------------------------------------------------

namespace {

i128 floorDiv(i128 a, i128 b) {  // b > 0
  i128 q = a / b;
  if ((a % b) != 0 && a < 0) --q;
  return q;
}

// floor(num / den) tracked exactly while num grows by a fixed step.
struct Stepper {
  i128 q = 0, r = 0, dq = 0, dr = 0, den = 1;
  void init(i128 num, i128 step, i128 d) {
    den = d;
    q = floorDiv(num, d);
    r = num - q * d;
    dq = floorDiv(step, d);
    dr = step - dq * d;
  }
  void advance() {
    q += dq;
    r += dr;
    if (r >= den) {
      r -= den;
      ++q;
    }
  }
};

}  // namespace

bool plgImage(const Image& dst, const POINT* pts, const Image& src, int xSrc, int ySrc, int width, int height) {
  const i64 p0x = pts[0].x, p0y = pts[0].y;
  const i64 ax = static_cast<i64>(pts[1].x) - p0x, ay = static_cast<i64>(pts[1].y) - p0y;
  const i64 bx = static_cast<i64>(pts[2].x) - p0x, by = static_cast<i64>(pts[2].y) - p0y;
  i128 det = static_cast<i128>(ax) * by - static_cast<i128>(ay) * bx;
  if (det == 0 || width <= 0 || height <= 0) return false;
  if (!dst.top || !src.top) return true;
  const int sign = det < 0 ? -1 : 1;
  const i128 den = 2 * det * sign;

  const i64 xs[4] = {p0x, p0x + ax, p0x + bx, p0x + ax + bx};
  const i64 ys[4] = {p0y, p0y + ay, p0y + by, p0y + ay + by};
  const i64 minX = *std::min_element(xs, xs + 4), maxX = *std::max_element(xs, xs + 4);
  const i64 minY = *std::min_element(ys, ys + 4), maxY = *std::max_element(ys, ys + 4);
  // A pixel centre X + 0.5 inside [minX, maxX] means minX <= X < maxX.
  const int X0 = static_cast<int>(std::clamp<i64>(minX, 0, dst.width));
  const int X1 = static_cast<int>(std::clamp<i64>(maxX, 0, dst.width));
  const int Y0 = static_cast<int>(std::clamp<i64>(minY, 0, dst.height));
  const int Y1 = static_cast<int>(std::clamp<i64>(maxY, 0, dst.height));
  if (X0 >= X1 || Y0 >= Y1) return true;

  // Source column and row of each destination centre, in exact integers: for the
  // doubled offset q2 of the centre from P0, u = W (q2x by - q2y bx) / 2det and
  // v = H (ax q2y - ay q2x) / 2det.
  const i64 uLo = std::max<i64>(0, -static_cast<i64>(xSrc));
  const i64 uHi = std::min<i64>(width, static_cast<i64>(src.width) - xSrc);
  const i64 vLo = std::max<i64>(0, -static_cast<i64>(ySrc));
  const i64 vHi = std::min<i64>(height, static_cast<i64>(src.height) - ySrc);
  if (uLo >= uHi || vLo >= vHi) return true;

  const std::size_t n = static_cast<std::size_t>(X1 - X0);
  std::vector<std::uint32_t> run(n), tmp(n);
  const i128 stepU = static_cast<i128>(sign) * width * 2 * by;
  const i128 stepV = static_cast<i128>(sign) * height * -2 * ay;
  for (int Y = Y0; Y < Y1; ++Y) {
    const i128 qx2 = 2 * static_cast<i128>(X0) + 1 - 2 * static_cast<i128>(p0x);
    const i128 qy2 = 2 * static_cast<i128>(Y) + 1 - 2 * static_cast<i128>(p0y);
    Stepper u, v;
    u.init(static_cast<i128>(sign) * width * (qx2 * by - qy2 * bx), stepU, den);
    v.init(static_cast<i128>(sign) * height * (qy2 * ax - qx2 * ay), stepV, den);
    int runStart = -1, runLen = 0;
    auto flush = [&] {
      if (runLen > 0) kStores[0xC](dst, Y, runStart, runLen, run.data(), tmp.data());
      runLen = 0;
    };
    for (int X = X0; X < X1; ++X) {
      if (u.q >= uLo && u.q < uHi && v.q >= vLo && v.q < vHi) {
        if (runLen == 0) runStart = X;
        const int sx = xSrc + static_cast<int>(u.q), sy = ySrc + static_cast<int>(v.q);
        std::uint32_t px;
        readRow(src, sy, sx, 1, &px);
        run[static_cast<std::size_t>(runLen++)] = px;
      } else {
        flush();
      }
      u.advance();
      v.advance();
    }
    flush();
  }
  return true;
}

}  // namespace gdi::detail
