// Showing a picture's transparency: the picture composed over a checkerboard
// where its alpha lets the background through. The picture itself (Buffer)
// stays an opaque device bitmap, the source of every image operation; the
// alpha is kept beside it and serves display only.
#pragma once

#include <cstdint>
#include <memory>

#include <QorvPictureBox/Picture.h>

#include "platform/AlphaMask.h"
#include "view/RenderFrame.h"

namespace qorv {
class PictureBox;
}

namespace qorv::view {

// The checkerboard: squares of this many pane pixels, anchored at the pane's
// top-left corner, in two light greys that no picture colour is mistaken for.
inline constexpr int CheckerSquare = 8;
inline constexpr std::uint8_t CheckerLight = 0xFF;
inline constexpr std::uint8_t CheckerDark = 0xCC;
// The grey of the checkerboard at pane pixel (x, y).
inline std::uint8_t checkerAt(int x, int y) {
  return ((x / CheckerSquare + y / CheckerSquare) & 1) ? CheckerDark : CheckerLight;
}

class TransparencyLayer {
 public:
  TransparencyLayer();
  ~TransparencyLayer();
  TransparencyLayer(const TransparencyLayer&) = delete;
  TransparencyLayer& operator=(const TransparencyLayer&) = delete;

  // The alpha of `owner` (which Buffer holds); an empty mask or one of
  // another size than the picture means none.
  void set(const PicturePtr& owner, AlphaMask mask);
  void clear();
  // The owner's pixels were painted over in place (a preview): the scaled
  // sources are made again from them at the next frame; the alpha stays.
  void refreshColours() { sourcesReady_ = false; }
  // The mask while `current` is still the picture it was kept for, else
  // null: any picture put in its place has no alpha.
  const AlphaMask* maskFor(const PicturePtr& current) const;

  // Composes a frame of `source` (the pane holding the owner's pixels) into
  // `target`, which the caller has cleared and given its stretch mode: the
  // same placement composeFrame makes, with every picture pixel blended over
  // the checkerboard by its alpha. Pane pixels outside the picture keep
  // what the target held.
  void compose(PictureBox& source, PictureBox& target, const FrameParams& p);

 private:
  void prepareSources(PictureBox& source);

  std::weak_ptr<Picture> owner_;
  AlphaMask mask_;
  bool sourcesReady_ = false;
  // Scaled like the picture, frame by frame: its colour premultiplied by the
  // alpha (so averaging stretch modes mix only what is visible) and the alpha
  // itself as a grey picture; the frame's alpha lands in alphaFrame_.
  std::unique_ptr<PictureBox> premultiplied_;
  std::unique_ptr<PictureBox> alpha_;
  std::unique_ptr<PictureBox> alphaFrame_;
};

}  // namespace qorv::view
