// CreateDIBitmap from every supported DIB layout and GetDIBits back into 24 and
// 32 bits, bottom-up and top-down.
#include <gtest/gtest.h>

#include <bit>
#include <functional>
#include <random>
#include <string>
#include <tuple>

#include "platform/test_gdi_util.h"

using namespace gdi;

namespace {

struct Layout {
  std::string name;
  int bpp;
  DWORD compression;
  DWORD masks[3];  // red, green, blue
  int colours;     // palette entries for the paletted layouts
  bool topDown;
};

// Expands a 5-, 6- or 8-bit channel to 8 bits by repeating its high bits.
std::uint32_t widen(std::uint32_t v, int bits) { return bits == 8 ? v : (v << (8 - bits)) | (v >> (2 * bits - 8)); }

// DIB data with random content, and the colour every pixel must come out as
// (top row first).
struct DibData {
  std::vector<std::uint8_t> info;  // header + colour table or masks
  std::vector<std::uint8_t> bits;
  std::vector<std::uint32_t> expected;
  const BITMAPINFO* bmi() const { return reinterpret_cast<const BITMAPINFO*>(info.data()); }
};

DibData makeDib(const Layout& l, int w, int h, std::mt19937& rng) {
  DibData d;
  BITMAPINFOHEADER hdr = gditest::dibInfo(w, l.topDown ? -h : h, l.bpp).bmiHeader;
  hdr.biCompression = l.compression;
  hdr.biClrUsed = l.bpp <= 8 && l.colours < (1 << l.bpp) ? static_cast<DWORD>(l.colours) : 0;
  d.info.resize(sizeof hdr);
  std::memcpy(d.info.data(), &hdr, sizeof hdr);
  std::vector<std::uint32_t> palette;
  if (l.bpp <= 8) {
    for (int i = 0; i < l.colours; ++i) {
      const std::uint32_t c = rng() & 0xFFFFFFu;
      palette.push_back(c);
      const RGBQUAD q{static_cast<BYTE>(c), static_cast<BYTE>(c >> 8), static_cast<BYTE>(c >> 16), 0};
      const auto* qb = reinterpret_cast<const std::uint8_t*>(&q);
      d.info.insert(d.info.end(), qb, qb + 4);
    }
  } else if (l.compression == BI_BITFIELDS) {
    const auto* mb = reinterpret_cast<const std::uint8_t*>(l.masks);
    d.info.insert(d.info.end(), mb, mb + 12);
  }
  const int stride = ((w * l.bpp + 31) / 32) * 4;
  d.bits.assign(static_cast<std::size_t>(stride) * h, 0);
  d.expected.assign(static_cast<std::size_t>(w) * h, 0);
  for (int y = 0; y < h; ++y) {
    const int memRow = l.topDown ? y : h - 1 - y;
    std::uint8_t* row = d.bits.data() + static_cast<std::size_t>(memRow) * stride;
    for (int x = 0; x < w; ++x) {
      std::uint32_t colour = 0;
      if (l.bpp <= 8) {
        const unsigned idx = static_cast<unsigned>(rng() % static_cast<unsigned>(l.colours));
        colour = palette[idx];
        const int bitPos = x * l.bpp;
        row[bitPos / 8] |= static_cast<std::uint8_t>(idx << (8 - l.bpp - bitPos % 8));
      } else if (l.bpp == 16 || (l.bpp == 32 && l.compression == BI_BITFIELDS)) {
        const std::uint32_t v = l.bpp == 16 ? rng() & 0xFFFFu : static_cast<std::uint32_t>(rng());
        for (int c = 0; c < 3; ++c) {
          const std::uint32_t field = (v & l.masks[c]) >> std::countr_zero(l.masks[c]);
          colour |= widen(field, std::popcount(l.masks[c])) << (16 - 8 * c);
        }
        for (int b = 0; b < l.bpp / 8; ++b) row[x * (l.bpp / 8) + b] = static_cast<std::uint8_t>(v >> (8 * b));
      } else {
        const std::uint32_t v = static_cast<std::uint32_t>(rng());
        colour = v & 0xFFFFFFu;
        for (int b = 0; b < l.bpp / 8; ++b) row[x * (l.bpp / 8) + b] = static_cast<std::uint8_t>(v >> (8 * b));
      }
      d.expected[static_cast<std::size_t>(y) * w + x] = colour;
    }
  }
  return d;
}

// Rows are turned over by one stride sign for every layout: a top-down row
// for the layouts copied directly and a few of those converted pixel by pixel.
const Layout kLayouts[] = {
    {"1bpp", 1, BI_RGB, {}, 2, false},
    {"4bpp", 4, BI_RGB, {}, 16, false},
    {"4bpp short table top-down", 4, BI_RGB, {}, 5, true},
    {"8bpp", 8, BI_RGB, {}, 256, false},
    {"8bpp short table top-down", 8, BI_RGB, {}, 37, true},
    {"16bpp 5-5-5", 16, BI_RGB, {0x7C00, 0x03E0, 0x001F}, 0, false},
    {"16bpp 5-6-5 bitfields", 16, BI_BITFIELDS, {0xF800, 0x07E0, 0x001F}, 0, false},
    {"16bpp 5-5-5 bitfields top-down", 16, BI_BITFIELDS, {0x7C00, 0x03E0, 0x001F}, 0, true},
    {"24bpp", 24, BI_RGB, {}, 0, false},
    {"24bpp top-down", 24, BI_RGB, {}, 0, true},
    {"32bpp", 32, BI_RGB, {}, 0, false},
    {"32bpp swapped bitfields", 32, BI_BITFIELDS, {0x000000FF, 0x0000FF00, 0x00FF0000}, 0, false},
};

// Reads rows of a GetDIBits result back as colours, top row first.
std::vector<std::uint32_t> decodeRows(const std::vector<std::uint8_t>& buf, int w, int rows, int bpp, bool topDown) {
  const int stride = ((w * bpp + 31) / 32) * 4;
  std::vector<std::uint32_t> out;
  for (int y = 0; y < rows; ++y) {
    const int memRow = topDown ? y : rows - 1 - y;
    const std::uint8_t* p = buf.data() + static_cast<std::size_t>(memRow) * stride;
    for (int x = 0; x < w; ++x) {
      const std::uint8_t* q = p + x * (bpp / 8);
      out.push_back(q[0] | (q[1] << 8) | (static_cast<std::uint32_t>(q[2]) << 16));
      if (bpp == 32) {
        EXPECT_EQ(q[3], 0) << "X byte";
      }
    }
  }
  return out;
}

// Every layout makes a 32-bit top-down device bitmap of the data's colours with
// X 0 (a header smaller than the data: its top-left part), read back alike in
// every layout GetDIBits writes. Wide enough for the converter's vector blocks.
TEST(CreateDIBitmap, EveryLayoutRoundTripsThroughGetDIBits) {
  std::mt19937 rng(42);
  HDC screen = GetDC(GetDesktopWindow());
  ASSERT_NE(screen, 0u);
  const std::size_t live = LiveObjectCount();
  for (const Layout& l : kLayouts) {
    SCOPED_TRACE(l.name);
    const int w = 37, h = 5;
    const DibData d = makeDib(l, w, h, rng);
    const HBITMAP hbm = CreateDIBitmap(screen, &d.bmi()->bmiHeader, CBM_INIT, d.bits.data(), d.bmi(), DIB_RGB_COLORS);
    ASSERT_NE(hbm, 0u);
    BITMAP bm{};
    ASSERT_EQ(GetObjectA(hbm, sizeof bm, &bm), 24);
    EXPECT_EQ(std::tuple(bm.bmWidth, bm.bmHeight, bm.bmBitsPixel, bm.bmWidthBytes), std::tuple(w, h, 32, w * 4));
    Surface s;
    ASSERT_TRUE(BitmapSurface(hbm, s));
    EXPECT_FALSE(s.bottomUp);
    EXPECT_EQ(gditest::pixelsOf(hbm), d.expected);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) ASSERT_EQ(s.row(y)[4 * x + 3], 0) << "X byte at " << x << "," << y;
    BITMAPINFOHEADER part = d.bmi()->bmiHeader;
    part.biWidth = w - 5;
    part.biHeight = l.topDown ? 2 - h : h - 2;
    const qorv::ScopedBitmap small(CreateDIBitmap(screen, &part, CBM_INIT, d.bits.data(), d.bmi(), DIB_RGB_COLORS));
    std::vector<std::uint32_t> topLeft;
    for (int y = 0; y < h - 2; ++y)
      topLeft.insert(topLeft.end(), d.expected.begin() + y * w, d.expected.begin() + y * w + w - 5);
    EXPECT_EQ(gditest::pixelsOf(small.get()), topLeft);
    for (int bpp : {24, 32}) {
      for (bool topDown : {false, true}) {
        BITMAPINFO bi = gditest::dibInfo(w, topDown ? -h : h, bpp);
        std::vector<std::uint8_t> buf(static_cast<std::size_t>(((w * bpp + 31) / 32) * 4) * h, 0xEE);
        ASSERT_EQ(GetDIBits(screen, hbm, 0, h, buf.data(), &bi, DIB_RGB_COLORS), h);
        EXPECT_EQ(decodeRows(buf, w, h, bpp, topDown), d.expected) << "into " << bpp << (topDown ? " top-down" : "");
      }
    }
    EXPECT_EQ(DeleteObject(hbm), TRUE);
  }
  EXPECT_EQ(LiveObjectCount(), live);
  ReleaseDC(GetDesktopWindow(), screen);
}

// A band of rows counted from the bottom, as the classic call numbers them,
// wide enough for the row converter's vector blocks; row padding is left alone.
TEST(GetDIBits, BandsAreCountedFromTheBottom) {
  std::mt19937 rng(7);
  gditest::Canvas c(45, 8);
  c.randomise(rng);
  constexpr int kStride = (45 * 3 + 3) & ~3;
  struct Band {
    UINT start, lines;
    int copied;
  };
  for (const Band b : {Band{0, 8, 8}, Band{1, 2, 2}, Band{5, 10, 3}, Band{7, 1, 1}}) {
    for (bool topDown : {false, true}) {
      const int lines = static_cast<int>(b.lines);
      BITMAPINFO bi = gditest::dibInfo(45, topDown ? -lines : lines, 24);
      std::vector<std::uint8_t> buf(static_cast<std::size_t>(kStride) * b.lines, 0xEE);
      ASSERT_EQ(GetDIBits(0, c.bitmap(), b.start, b.lines, buf.data(), &bi, DIB_RGB_COLORS), b.copied);
      const auto rows = decodeRows(buf, 45, b.copied, 24, topDown);
      // Band row 0 (its top) is DIB row start+copied-1, i.e. picture row 8-start-copied.
      for (int r = 0; r < b.copied; ++r) {
        for (int x = 0; x < 45; ++x)
          ASSERT_EQ(rows[static_cast<std::size_t>(r) * 45 + x], c.at(x, 8 - static_cast<int>(b.start) - b.copied + r))
              << "start " << b.start << " row " << r << (topDown ? " top-down" : "");
        EXPECT_EQ(buf[static_cast<std::size_t>(r * kStride + 135)], 0xEE) << "padding untouched";
      }
    }
  }
}

// Without data a bitmap is zero-filled, X byte included; a header-only
// GetDIBits describes it.
TEST(CreateDIBitmap, WithoutInitIsZeroFilledAndAHeaderQueryDescribesIt) {
  const BITMAPINFO bi = gditest::dibInfo(10, -4, 24);
  const qorv::ScopedBitmap hbm(CreateDIBitmap(0, &bi.bmiHeader, 0, nullptr, nullptr, DIB_RGB_COLORS));
  ASSERT_TRUE(hbm);
  Surface s;
  ASSERT_TRUE(BitmapSurface(hbm.get(), s));
  ASSERT_EQ(std::tuple(s.width, s.height, s.stride), std::tuple(10, 4, 40));
  for (int i = 0; i < 160; ++i) ASSERT_EQ(s.rows[i], 0) << i;
  BITMAPINFO query{};
  query.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
  EXPECT_NE(GetDIBits(0, hbm.get(), 0, 4, nullptr, &query, DIB_RGB_COLORS), 0);
  const BITMAPINFOHEADER& h = query.bmiHeader;
  EXPECT_EQ(std::tuple(h.biWidth, h.biHeight, h.biBitCount, h.biSizeImage), std::tuple(10, 4, 32, 160u));
}

TEST(CreateDIBitmap, BadInputTable) {
  std::mt19937 rng(1);
  const DibData good = makeDib(kLayouts[8], 4, 4, rng);
  BITMAPINFOHEADER zeroWidth = good.bmi()->bmiHeader;
  zeroWidth.biWidth = 0;
  BITMAPINFOHEADER huge = good.bmi()->bmiHeader;
  huge.biWidth = 100000;
  huge.biHeight = 100000;
  DibData badDepth = good;
  reinterpret_cast<BITMAPINFOHEADER*>(badDepth.info.data())->biBitCount = 12;
  DibData rle = good;
  reinterpret_cast<BITMAPINFOHEADER*>(rle.info.data())->biCompression = 1;
  DibData noMasks = makeDib(kLayouts[6], 4, 4, rng);
  std::memset(noMasks.info.data() + sizeof(BITMAPINFOHEADER), 0, 12);
  HDC stale = CreateCompatibleDC(0);
  DeleteDC(stale);
  const auto* hdr = &good.bmi()->bmiHeader;
  const void* bits = good.bits.data();
  constexpr DWORD kHandle = ERROR_INVALID_HANDLE, kParam = ERROR_INVALID_PARAMETER;
  const std::tuple<const char*, std::function<HBITMAP()>, DWORD> cases[] = {
      {"null header", [&] { return CreateDIBitmap(0, nullptr, CBM_INIT, bits, good.bmi(), 0); }, kParam},
      {"init without bits", [&] { return CreateDIBitmap(0, hdr, CBM_INIT, nullptr, good.bmi(), 0); }, kParam},
      {"init without info", [&] { return CreateDIBitmap(0, hdr, CBM_INIT, bits, nullptr, 0); }, kParam},
      {"palette usage", [&] { return CreateDIBitmap(0, hdr, CBM_INIT, bits, good.bmi(), 1); }, kParam},
      {"zero width", [&] { return CreateDIBitmap(0, &zeroWidth, 0, nullptr, nullptr, 0); }, kParam},
      {"huge", [&] { return CreateDIBitmap(0, &huge, 0, nullptr, nullptr, 0); }, ERROR_NOT_ENOUGH_MEMORY},
      {"12 bits", [&] { return CreateDIBitmap(0, hdr, CBM_INIT, bits, badDepth.bmi(), 0); }, kParam},
      {"compressed", [&] { return CreateDIBitmap(0, hdr, CBM_INIT, bits, rle.bmi(), 0); }, kParam},
      {"empty masks", [&] { return CreateDIBitmap(0, hdr, CBM_INIT, noMasks.bits.data(), noMasks.bmi(), 0); }, kParam},
      {"stale DC", [&] { return CreateDIBitmap(stale, hdr, CBM_INIT, bits, good.bmi(), 0); }, kHandle},
  };
  for (const auto& [name, call, error] : cases) gditest::expectFailure(name, call, 0, error);
}

TEST(GetDIBits, BadInputTable) {
  const qorv::ScopedBitmap hbm(CreateCompatibleBitmap(0, 4, 4));
  const HBITMAP stale = CreateCompatibleBitmap(0, 1, 1);
  DeleteObject(stale);
  std::vector<std::uint8_t> buf(256);
  BITMAPINFO bi32 = gditest::dibInfo(4, 4, 32), bi8 = gditest::dibInfo(4, 4, 8);
  auto get = [&](HBITMAP h, UINT start, UINT lines, BITMAPINFO* bi) {
    return [=, &buf] { return GetDIBits(0, h, start, lines, buf.data(), bi, DIB_RGB_COLORS); };
  };
  const std::tuple<const char*, std::function<int()>, DWORD> cases[] = {
      {"stale bitmap", get(stale, 0, 4, &bi32), ERROR_INVALID_HANDLE},
      {"bitmap 0", get(0, 0, 4, &bi32), ERROR_INVALID_HANDLE},
      {"null info", get(hbm.get(), 0, 4, nullptr), ERROR_INVALID_PARAMETER},
      {"8 bits out", get(hbm.get(), 0, 4, &bi8), ERROR_INVALID_PARAMETER},
      {"start past the end", get(hbm.get(), 4, 1, &bi32), ERROR_INVALID_PARAMETER},
      {"no lines", get(hbm.get(), 0, 0, &bi32), ERROR_INVALID_PARAMETER},
  };
  for (const auto& [name, call, error] : cases) gditest::expectFailure(name, call, 0, error);
}

}  // namespace
