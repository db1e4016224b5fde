// Pictures and panes the benchmark programs share, so that every program
// times its operations on the same kind of input.
#pragma once

#include <cstdint>
#include <cstring>
#include <random>

#include <QorvPictureBox/gdi.h>
#include "platform/ScopedGdi.h"
#include "processing/cDIBSection.h"

namespace bench {

// Random bytes over the whole working image: no operation meets a flat
// picture it could shortcut.
inline void fillRandom(qorv::cDIBSection& d, std::uint32_t seed) {
  std::mt19937 gen(seed);
  const std::size_t n = static_cast<std::size_t>(d.BytesPerScanLine()) * d.Height();
  std::uint8_t* p = d.DIBSectionBitsPtr();
  for (std::size_t i = 0; i < n; i += 4) {
    const std::uint32_t v = gen();
    std::memcpy(p + i, &v, n - i < 4 ? n - i : 4);
  }
}

// Two device bitmaps selected into their own DCs, w x h and h x w, as the
// control's panes hold a picture before and after a quarter turn.
struct QuarterTurnPanes {
  QuarterTurnPanes(int w, int h)
      : src(gdi::CreateCompatibleDC(0)),
        dst(gdi::CreateCompatibleDC(0)),
        a(gdi::CreateCompatibleBitmap(0, w, h)),
        b(gdi::CreateCompatibleBitmap(0, h, w)),
        selA(src.get(), a.get()),
        selB(dst.get(), b.get()) {}
  qorv::ScopedMemDC src, dst;
  qorv::ScopedBitmap a, b;
  qorv::ScopedSelect selA, selB;
};

}  // namespace bench
