// Palettes: files in every format read back, malformed files refused whole,
// the exact nearest colour (ties to the lowest index) and palette mapping with
// and without error diffusion against slow references.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <fstream>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <QFile>
#include <QTemporaryDir>

#include "ProcessingTestSupport.h"
#include "processing/NearestColour.h"
#include "processing/cPalette.h"
#include "support/TestNames.h"

namespace qorv {
namespace {

using test_support::Bytes;
using Rgb = std::vector<std::uint32_t>;  // colour references 0x00BBGGRR

std::uint32_t ref(int r, int g, int b) { return static_cast<std::uint32_t>(r | g << 8 | b << 16); }

Rgb colours(const cPalette& p) {
  Rgb out;
  for (int i = 0; i < p.Count(); ++i) out.push_back(p.Color(i));
  return out;
}

class PaletteFiles : public ::testing::Test {
 protected:
  std::string write(const std::string& name, const std::string& bytes) {
    const std::string p = path(name);
    std::ofstream(p, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return p;
  }
  std::string path(const std::string& name) const { return dir_.filePath(QString::fromStdString(name)).toStdString(); }
  QTemporaryDir dir_;
};

std::string le16(int v) { return {static_cast<char>(v & 255), static_cast<char>(v >> 8 & 255)}; }
std::string le32(std::uint32_t v) { return le16(static_cast<int>(v & 0xFFFF)) + le16(static_cast<int>(v >> 16)); }

std::string riff(const std::vector<std::uint32_t>& cs, int declared) {
  std::string data = le16(0x300) + le16(declared);
  for (const std::uint32_t c : cs) data += std::string{char(c & 255), char(c >> 8 & 255), char(c >> 16 & 255), 0};
  const std::string chunk = "data" + le32(static_cast<std::uint32_t>(data.size())) + data;
  // An unrelated chunk first: readers must skip what they do not know.
  const std::string other = "junk" + le32(3) + "abc" + std::string(1, '\0');
  return "RIFF" + le32(static_cast<std::uint32_t>(4 + other.size() + chunk.size())) + "PAL " + other + chunk;
}

std::string act(const std::vector<std::uint32_t>& cs, int tail) {
  std::string b(768, '\0');
  for (std::size_t i = 0; i < cs.size(); ++i) {
    b[3 * i] = static_cast<char>(cs[i] & 255);
    b[3 * i + 1] = static_cast<char>(cs[i] >> 8 & 255);
    b[3 * i + 2] = static_cast<char>(cs[i] >> 16 & 255);
  }
  if (tail >= 0) b += std::string{static_cast<char>(tail >> 8), static_cast<char>(tail & 255), '\xFF', '\xFF'};
  return b;
}

TEST_F(PaletteFiles, EveryFormatIsReadByContent) {
  const Rgb three{ref(255, 0, 0), ref(0, 128, 7), ref(1, 2, 255)};
  Rgb full256 = three;
  full256.resize(256, 0);
  const std::tuple<const char*, std::string, Rgb> cases[] = {
      {"jasc crlf", "JASC-PAL\r\n0100\r\n3\r\n255 0 0\r\n0 128 7\r\n1 2 255\r\n", three},
      {"jasc lf with bom and trailing lines", "\xEF\xBB\xBFJASC-PAL\n0100\n3\n255 0 0\n0  128\t7\n1 2 255\nextra\n",
       three},
      {"gimp", "GIMP Palette\nName: Test\nColumns: 4\n# comment\n\n255   0   0\tRed\n  0 128   7 Some green\n1 2 255\n",
       three},
      {"riff", riff(three, 3), three},
      {"act 768", act(three, -1), full256},
      {"act 772 with count", act(three, 3), three},
  };
  for (const auto& [what, bytes, expected] : cases) {
    // The extension says nothing: every file is named alike.
    cPalette p;
    EXPECT_TRUE(p.LoadFromFile(write("palette.txt", bytes))) << what;
    EXPECT_EQ(p.LastLoadStatus(), cPalette::LoadStatus::Ok) << what;
    EXPECT_EQ(colours(p), expected) << what;
  }
}

TEST_F(PaletteFiles, BadFilesAreRefusedAndLeaveThePaletteAsItWas) {
  using S = cPalette::LoadStatus;
  std::string many = "JASC-PAL\n0100\n100000\n";
  std::string gimpMany = "GIMP Palette\n";
  for (int i = 0; i < 100000; ++i) {
    many += "1 2 3\n";
    gimpMany += "1 2 3\n";
  }
  const std::string riffFull = riff({ref(1, 2, 3), ref(4, 5, 6)}, 2);
  const std::tuple<const char*, std::string, S> cases[] = {
      {"empty", "", S::UnknownFormat},
      {"unknown text", "hello\n", S::UnknownFormat},
      {"jasc truncated", "JASC-PAL\n0100\n3\n1 2 3\n4 5 6\n", S::Malformed},
      {"jasc header only", "JASC-PAL\n", S::Malformed},
      {"jasc zero entries", "JASC-PAL\n0100\n0\n", S::Malformed},
      {"jasc 100000 entries", many, S::Malformed},
      {"jasc non numeric", "JASC-PAL\n0100\n1\n1 x 3\n", S::Malformed},
      {"jasc above 255", "JASC-PAL\n0100\n1\n1 256 3\n", S::Malformed},
      {"jasc negative", "JASC-PAL\n0100\n1\n-1 2 3\n", S::Malformed},
      {"jasc two channels", "JASC-PAL\n0100\n1\n1 2\n", S::Malformed},
      {"jasc fractional", "JASC-PAL\n0100\n1\n1 2.5 3\n", S::Malformed},
      {"gimp no colours", "GIMP Palette\nName: x\n", S::Malformed},
      {"gimp 100000 entries", gimpMany, S::Malformed},
      {"gimp above 255", "GIMP Palette\n300 0 0 x\n", S::Malformed},
      {"riff truncated", riffFull.substr(0, riffFull.size() - 3), S::Malformed},
      {"riff zero entries", riff({}, 0), S::Malformed},
      {"riff count beyond data", riff({ref(1, 2, 3)}, 5), S::Malformed},
      {"act count zero", act({}, 0), S::Malformed},
      {"act count 300", act({}, 300), S::Malformed},
  };
  for (const auto& [what, bytes, status] : cases) {
    cPalette p = cPalette::FromBuiltIn(cPalette::BuiltIn::Ega);
    EXPECT_FALSE(p.LoadFromFile(write("bad.pal", bytes))) << what;
    EXPECT_EQ(p.LastLoadStatus(), status) << what;
    EXPECT_EQ(p, cPalette::FromBuiltIn(cPalette::BuiltIn::Ega)) << what;
  }
  for (const std::string& unreadable : {dir_.path().toStdString(), path("missing.pal"), std::string()}) {
    cPalette p = cPalette::FromBuiltIn(cPalette::BuiltIn::BlackAndWhite);
    EXPECT_FALSE(p.LoadFromFile(unreadable)) << unreadable;
    EXPECT_EQ(p.LastLoadStatus(), S::Unreadable) << unreadable;
    EXPECT_EQ(p.Count(), 2);
  }
}

TEST_F(PaletteFiles, SavedPalettesAreJascTextAndReadBack) {
  cPalette p;
  p.AddColor(255, 0, 0);
  p.AddColor(0, 128, 7);
  ASSERT_TRUE(p.SaveToFile(path("out.pal")));
  QFile saved(QString::fromStdString(path("out.pal")));
  ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
  EXPECT_EQ(saved.readAll().toStdString(), "JASC-PAL\r\n0100\r\n2\r\n255 0 0\r\n0 128 7\r\n");
  cPalette back;
  ASSERT_TRUE(back.LoadFromFile(path("out.pal")));
  EXPECT_EQ(back, p);
  EXPECT_FALSE(cPalette().SaveToFile(path("empty.pal")));
  EXPECT_FALSE(p.SaveToFile(dir_.path().toStdString()));
}

TEST(Palette, BuiltInPalettes) {
  const struct {
    cPalette::BuiltIn which;
    int count;
    int index;
    std::uint32_t colour;
  } cases[] = {{cPalette::BuiltIn::WebSafe, 216, 1, ref(0, 0, 51)},
                        {cPalette::BuiltIn::WebSafe, 216, 215, ref(255, 255, 255)},
                        {cPalette::BuiltIn::Ega, 16, 6, ref(170, 85, 0)},
                        {cPalette::BuiltIn::Greys, 256, 77, ref(77, 77, 77)},
                        {cPalette::BuiltIn::BlackAndWhite, 2, 1, ref(255, 255, 255)}};
  for (const auto& c : cases) {
    const cPalette p = cPalette::FromBuiltIn(c.which);
    EXPECT_EQ(std::pair(p.Count(), p.Color(c.index)), std::pair(c.count, c.colour));
  }
  EXPECT_EQ(cPalette::FromBuiltIn(-1).Count(), 0);
  EXPECT_EQ(cPalette::FromBuiltIn(cPalette::BuiltInCount).Count(), 0);
  cPalette full = cPalette::FromBuiltIn(cPalette::BuiltIn::Greys);
  EXPECT_FALSE(full.AddColor(1, 2, 3));
  EXPECT_EQ(full.Color(256), 0u);
}

TEST(Palette, ClosestIndexTakesTheLowestOfEqualDistances) {
  cPalette p;
  p.AddColor(10, 10, 10);  // 0
  p.AddColor(12, 10, 10);  // 1: as far from (11, 10, 10) as 0 is
  p.AddColor(12, 10, 10);  // 2: a repeat of 1
  p.AddColor(200, 0, 0);   // 3
  EXPECT_EQ(std::tuple(p.ClosestIndex(11, 10, 10), p.ClosestIndex(12, 10, 10), p.ClosestIndex(255, 0, 0),
                       cPalette().ClosestIndex(1, 2, 3)),
            std::tuple(0, 1, 3, -1));
}

// Random palettes of several sizes; some are built to have many ties
// (few distinct values per channel, repeats).
cPalette randomPalette(std::mt19937& gen, int count, bool coarse) {
  std::uniform_int_distribution<int> any(0, 255), step(0, 4);
  cPalette p;
  for (int i = 0; i < count; ++i) {
    const auto pick = [&] { return static_cast<std::uint8_t>(coarse ? 64 * step(gen) - (step(gen) == 4) : any(gen)); };
    p.AddColor(pick(), pick(), pick());
  }
  return p;
}

TEST(Palette, NearestColourCacheAgreesWithTheFullSearch) {
  std::mt19937 gen(11);
  for (const int count : {1, 2, 16, 100, 256}) {
    for (const bool coarse : {false, true}) {
      const cPalette p = randomPalette(gen, count, coarse);
      const NearestColour nc(p);
      // Every colour whose channels are multiples of 3, plus the odd ones
      // around the coarse palette's values where ties lie.
      int wrong = 0;
      for (const auto& [first, step, start] : {std::tuple{0, 3, 0}, {31, 32, 1}})
        for (int r = first; r < 256; r += step)
          for (int g = 0; g < 256; g += step)
            for (int b = start; b < 256; b += step) {
              const auto R = std::uint8_t(r), G = std::uint8_t(g), B = std::uint8_t(b);
              wrong += nc.index(R, G, B) != p.ClosestIndex(R, G, B);
            }
      EXPECT_EQ(wrong, 0) << count << (coarse ? " coarse" : "");
    }
  }
}

// Floyd-Steinberg written the plain way: a whole-picture array of errors in
// sixteenths, rows top to bottom, even rows rightwards, odd rows leftwards.
Bytes ditheredReference(Bytes b, const cPalette& p) {
  const int w = b.width, h = b.height;
  std::vector<int> err(static_cast<std::size_t>(w * h * 3), 0);
  const auto at = [&](int x, int y, int c) -> int& { return err[static_cast<std::size_t>((y * w + x) * 3 + c)]; };
  // Error that would leave the picture is dropped.
  const auto add = [&](int x, int y, int c, int v) {
    if (x >= 0 && x < w && y < h) at(x, y, c) += v;
  };
  for (int y = 0; y < h; ++y) {
    const int dir = y % 2 == 0 ? 1 : -1;
    for (int i = 0; i < w; ++i) {
      const int x = dir > 0 ? i : w - 1 - i;
      std::uint8_t* px = &b.at(3 * x, h - 1 - y);
      int want[3];
      for (int c = 0; c < 3; ++c) {
        const int v = px[c] + static_cast<int>(std::floor((at(x, y, c) + 8) / 16.0));
        want[c] = v < 0 ? 0 : (v > 255 ? 255 : v);
      }
      const std::uint32_t chosen = p.Color(p.ClosestIndex(static_cast<std::uint8_t>(want[2]),
                                                         static_cast<std::uint8_t>(want[1]),
                                                         static_cast<std::uint8_t>(want[0])));
      const int out[3] = {int(chosen >> 16 & 255), int(chosen >> 8 & 255), int(chosen & 255)};
      for (int c = 0; c < 3; ++c) {
        const int d = want[c] - out[c];
        add(x + dir, y, c, 7 * d);
        add(x - dir, y + 1, c, 3 * d);
        add(x, y + 1, c, 5 * d);
        add(x + dir, y + 1, c, d);
        px[c] = static_cast<std::uint8_t>(out[c]);
      }
    }
  }
  return b;
}

Bytes mappedReference(Bytes b, const cPalette& p) {
  for (int y = 0; y < b.height; ++y)
    for (int x = 0; x < b.width; ++x) {
      std::uint8_t* px = &b.at(3 * x, y);
      const std::uint32_t c = p.Color(p.ClosestIndex(px[2], px[1], px[0]));
      px[0] = static_cast<std::uint8_t>(c >> 16);
      px[1] = static_cast<std::uint8_t>(c >> 8);
      px[2] = static_cast<std::uint8_t>(c);
    }
  return b;
}

class ApplyPaletteMatchesTheReference : public ::testing::TestWithParam<bool> {};

TEST_P(ApplyPaletteMatchesTheReference, OnRandomPicturesAndPalettes) {
  const bool dither = GetParam();
  std::mt19937 gen(dither ? 7 : 3);
  int round = 0;
  for (const auto& [w, h] : {std::pair{1, 1}, {1, 7}, {9, 1}, {31, 17}, {160, 90}}) {
    for (const int count : {1, 5, 16, 256}) {
      const cPalette p = randomPalette(gen, count, ++round % 2 == 0);
      cDIBSection d;
      ASSERT_TRUE(d.Create(w, h));
      test_support::fillRandom(d, static_cast<std::uint32_t>(round));
      const Bytes before = test_support::snapshot(d);
      const Bytes expected = dither ? ditheredReference(before, p) : mappedReference(before, p);
      cImageProcessDIB e;
      e.ApplyPalette(d, p, dither);
      const Bytes got = test_support::snapshot(d);
      EXPECT_TRUE(got == expected) << w << "x" << h << ", " << count << " colours";
      EXPECT_TRUE(test_support::paddingIntact(got));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Palette, ApplyPaletteMatchesTheReference, ::testing::Bool(),
                         [](const auto& p) { return std::string(p.param ? "Dithered" : "Nearest"); });

TEST(ApplyPalette, ReportsColumnsOrRowsAndNothingWithoutWork) {
  const cPalette p = cPalette::FromBuiltIn(cPalette::BuiltIn::Ega);
  cDIBSection d;
  ASSERT_TRUE(d.Create(4, 3));
  cImageProcessDIB e;
  test_support::EventLog log;
  log.attach(e);
  e.ApplyPalette(d, p, false);
  EXPECT_EQ(log.events, test_support::expectedEvents("Palette", 9, 0, 9, 3));
  log.events.clear();
  e.ApplyPalette(d, p, true);
  EXPECT_EQ(log.events, test_support::expectedEvents("Palette", 2, 0, 2, 1));
  log.events.clear();
  test_support::fillRandom(d, 1);
  const Bytes before = test_support::snapshot(d);
  e.ApplyPalette(d, cPalette(), true);
  cDIBSection empty;
  e.ApplyPalette(empty, p, false);
  EXPECT_TRUE(log.events.empty());
  EXPECT_TRUE(test_support::snapshot(d) == before);
}

}  // namespace
}  // namespace qorv
