#include "view/Transparency.h"

#include <algorithm>

#include <QorvPictureBox/gdi.h>

#include "platform/GdiSurface.h"
#include "platform/PictureBox.h"
#include "platform/ScopedGdi.h"
#include "view/ViewGeometry.h"

namespace qorv::view {

namespace {

constexpr COLORREF kOpaque = 0xFFFFFF;  // alpha 255 in every channel

// A device bitmap of the mask's size whose pixels `fill(x, y, pixel)` writes.
template <class Fill>
PicturePtr makePicture(const AlphaMask& m, Fill&& fill) {
  ScopedBitmap bm(gdi::CreateBitmapForOverwrite(m.width, m.height));
  gdi::Surface s;
  if (!bm || !gdi::BitmapSurface(bm.get(), s) || s.bitsPerPixel != 32) return nullptr;
  for (int y = 0; y < m.height; ++y) {
    std::uint8_t* row = s.row(y);
    for (int x = 0; x < m.width; ++x) fill(x, y, row + x * 4);
  }
  PicturePtr pic = Picture::fromBitmap(bm.get());
  if (pic) bm.release();  // the picture owns it now
  return pic;
}

std::uint8_t times(std::uint8_t c, std::uint8_t a) { return static_cast<std::uint8_t>((c * a + 127) / 255); }

}  // namespace

TransparencyLayer::TransparencyLayer() = default;
TransparencyLayer::~TransparencyLayer() = default;

void TransparencyLayer::set(const PicturePtr& owner, AlphaMask mask) {
  clear();
  if (!owner || mask.empty() || mask.width != owner->Width() || mask.height != owner->Height()) return;
  owner_ = owner;
  mask_ = std::move(mask);
}

void TransparencyLayer::clear() {
  owner_.reset();
  mask_ = AlphaMask{};
  sourcesReady_ = false;
  premultiplied_.reset();
  alpha_.reset();
  alphaFrame_.reset();
}

const AlphaMask* TransparencyLayer::maskFor(const PicturePtr& current) const {
  if (mask_.empty() || !current || owner_.lock() != current) return nullptr;
  return &mask_;
}

void TransparencyLayer::prepareSources(PictureBox& source) {
  if (sourcesReady_) return;
  gdi::Surface colour;
  if (!gdi::DCSurfaceRead(source.hDC(), colour) || colour.bitsPerPixel != 32 || colour.width != mask_.width ||
      colour.height != mask_.height)
    return;
  const PicturePtr premultiplied = makePicture(mask_, [&](int x, int y, std::uint8_t* out) {
    const std::uint8_t* in = colour.row(y) + x * 4;
    const std::uint8_t a = mask_.at(x, y);
    out[0] = times(in[0], a);
    out[1] = times(in[1], a);
    out[2] = times(in[2], a);
    out[3] = 0;
  });
  const PicturePtr alpha = makePicture(mask_, [&](int x, int y, std::uint8_t* out) {
    const std::uint8_t a = mask_.at(x, y);
    out[0] = out[1] = out[2] = a;
    out[3] = 0;
  });
  if (!premultiplied || !alpha) return;
  premultiplied_ = std::make_unique<PictureBox>();
  alpha_ = std::make_unique<PictureBox>();
  alphaFrame_ = std::make_unique<PictureBox>();
  premultiplied_->setAutoSize(true);
  alpha_->setAutoSize(true);
  premultiplied_->placePicture(premultiplied);
  alpha_->placePicture(alpha);
  alphaFrame_->setBackColor(kOpaque);
  sourcesReady_ = true;
}

void TransparencyLayer::compose(PictureBox& source, PictureBox& target, const FrameParams& p) {
  prepareSources(source);
  if (!sourcesReady_) {
    composeFrame(source, target, p);  // shown opaque rather than not at all
    return;
  }
  const int tw = roundHalfEven(target.ScaleWidth());
  const int th = roundHalfEven(target.ScaleHeight());
  if (roundHalfEven(alphaFrame_->ScaleWidth()) != tw || roundHalfEven(alphaFrame_->ScaleHeight()) != th)
    alphaFrame_->Move(0, 0, tw, th);
  // Outside the picture the alpha frame stays opaque: the target's own
  // pixels (the back colour) show there.
  alphaFrame_->Cls();
  gdi::SetStretchBltMode(alphaFrame_->hDC(), gdi::GetStretchBltMode(target.hDC()));
  composeFrame(*premultiplied_, target, p);
  composeFrame(*alpha_, *alphaFrame_, p);

  gdi::Surface out;
  gdi::Surface cover;
  if (!gdi::DCSurface(target.hDC(), out) || !gdi::DCSurfaceRead(alphaFrame_->hDC(), cover) ||
      out.bitsPerPixel != 32 || cover.bitsPerPixel != 32)
    return;
  const int w = std::min(out.width, cover.width);
  const int h = std::min(out.height, cover.height);
  for (int y = 0; y < h; ++y) {
    std::uint8_t* row = out.row(y);
    const std::uint8_t* a = cover.row(y);
    for (int x = 0; x < w; ++x) {
      const int clear = 255 - a[x * 4];
      if (clear == 0) continue;
      const int backdrop = (checkerAt(x, y) * clear + 127) / 255;
      for (int c = 0; c < 3; ++c) row[x * 4 + c] = static_cast<std::uint8_t>(std::min(255, row[x * 4 + c] + backdrop));
    }
  }
}

}  // namespace qorv::view
