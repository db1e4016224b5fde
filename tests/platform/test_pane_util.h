// Helpers shared by the picture box tests: a plain pane and pictures to show.
#pragma once

#include <QImage>

#include <random>

#include <QorvPictureBox/Picture.h>
#include "platform/PictureBox.h"

namespace panetest {

using qorv::COLORREF;
using qorv::PictureBox;
using qorv::PicturePtr;
using qorv::RGB;

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
inline COLORREF at(const PictureBox& box, int x, int y) {
  const QRgb p = box.imageView().pixel(x, y);
  return RGB(qRed(p), qGreen(p), qBlue(p));
}

inline PicturePtr solidPicture(int w, int h, QRgb colour) {
  QImage img(w, h, QImage::Format_RGB32);
  img.fill(colour);
  return qorv::Picture::fromImage(img);
}

inline PicturePtr noisePicture(int w, int h, unsigned seed) {
  QImage img(w, h, QImage::Format_RGB32);
  std::mt19937 rng(seed);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) img.setPixel(x, y, 0xFF000000u | (rng() & 0xFFFFFFu));
  return qorv::Picture::fromImage(img);
}

}  // namespace panetest
