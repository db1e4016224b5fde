// Operations that run straight on Buffer's 32-bit picture must leave exactly
// the bytes, and raise exactly the events, of the working-image route they
// replace: the picture filled into a 24-bit working image, processed by the
// engine, and turned back into a picture. Odd sizes give padded working rows;
// pictures smaller than the kernel leave only a border; the source's X bytes
// are set, and must not survive.
#include <QorvPictureBox/QorvEnums.h>

#include "ControlFixture.h"
#include "control/WorkingImage.h"
#include "platform/GdiSurface.h"
#include "processing/cDIBSection.h"
#include "processing/cImageProcessDIB.h"

namespace qorv::testing_support {
namespace {

// Raw bytes of every pixel, X included, top row first.
std::vector<std::uint8_t> bytesOf(const PicturePtr& pic) {
  gdi::Surface s;
  if (!pic || !gdi::BitmapSurfaceRead(pic->Handle(), s) || s.bitsPerPixel != 32) return {};
  std::vector<std::uint8_t> out;
  for (int y = 0; y < s.height; ++y) out.insert(out.end(), s.row(y), s.row(y) + 4 * s.width);
  return out;
}

// Noise in every byte, the X byte included.
PicturePtr noisePicture(int w, int h) {
  const gdi::HBITMAP bm = gdi::CreateCompatibleBitmap(0, w, h);
  gdi::Surface s;
  std::uint32_t seed = static_cast<std::uint32_t>(w * 131 + h);
  if (bm && gdi::BitmapSurface(bm, s)) {
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < 4 * w; ++x) {
        seed = seed * 1103515245u + 12345u;
        s.row(y)[x] = static_cast<std::uint8_t>(seed >> 16);
      }
    }
  }
  return Picture::fromBitmap(bm);
}

// The engine's notifications as the control raises them, for comparing the
// working-image route with the direct one.
void recordEngineProgress(cImageProcessDIB& engine, std::vector<Raised>& out) {
  engine.InitProgress = [&out](std::int32_t m, const std::string& d) {
    out.push_back({EventId::ProcessInit, {m, QString::fromStdString(d)}});
  };
  engine.Progress = [&out](std::int32_t p, const std::string& d) {
    out.push_back({EventId::Process, {p, QString::fromStdString(d)}});
  };
  engine.Complete = [&out](std::int32_t, const std::string& d) {
    out.push_back({EventId::ProcessComplete, {QString::fromStdString(d)}});
  };
}

struct FilterCase {
  const char* name;
  gEFilterTypes type;
  qint32 weight;
  QVariantList kernel;  // rows, for eCustom
};

// Custom kernels reach every summing route: radius 3 (any-radius sums),
// sums too wide for 16 bits, weights 0, negative and past the fast division.
QVariantList square(int n, int centre, int other) {
  QVariantList rows;
  for (int j = 0; j < n; ++j) {
    QVariantList row;
    for (int i = 0; i < n; ++i) row << ((i == n / 2 && j == n / 2) ? centre : other + i - j);
    rows << QVariant(row);
  }
  return rows;
}

// Built-in kernels of radius 1 and 2, one with negative entries (the others
// differ only in their values, which the engine's own tests check).
const FilterCase kFilters[] = {
    {"Blur", gEFilterTypes::eBlur, 0, {}},
    {"BlurMore", gEFilterTypes::eBlurMore, 0, {}},
    {"Sharpen", gEFilterTypes::eSharpen, 0, {}},
    {"CustomRadius3", gEFilterTypes::eCustom, 5, square(7, 9, -1)},
    {"CustomWideSums", gEFilterTypes::eCustom, 9000, square(3, 300, 200)},
    {"CustomWeight0", gEFilterTypes::eCustom, 0, square(3, 2, 1)},
    {"CustomNegativeWeight", gEFilterTypes::eCustom, -3, square(5, -8, 1)},
    {"CustomExactDivision", gEFilterTypes::eCustom, 20000, square(3, 900, 100)},
};

struct Size {
  int w, h;
};
const Size kSizes[] = {{1, 1}, {2, 6}, {7, 5}, {33, 17}};

class DirectFilter : public ControlTest, public ::testing::WithParamInterface<std::tuple<FilterCase, Size>> {};

TEST_P(DirectFilter, MatchesTheWorkingImageRoute) {
  const auto& [c, size] = GetParam();
  sizeTo(120, 90);
  ctl->setPicture(noisePicture(size.w, size.h));
  const PicturePtr source = in().Buffer().Picture();
  ASSERT_TRUE(source);
  const std::vector<std::uint8_t> before = bytesOf(source);
  if (!c.kernel.isEmpty()) ctl->AddCustomFilter(c.kernel);

  // The reference: the working-image route on a second engine of the same settings.
  cImageProcessDIB ref;
  std::vector<Raised> expected;
  recordEngineProgress(ref, expected);
  if (!c.kernel.isEmpty()) ref.AddCustomFilter(in().mImageProcessDIB().Kernel());
  ref.setFilterWeight(c.weight);
  ref.setFilterType(static_cast<std::int32_t>(c.type));
  cDIBSection image, buffer;
  image.CreateFromPicture(source->Handle());
  buffer.Create(size.w, size.h);
  ref.ProcessImage(image, buffer);
  const std::vector<std::uint8_t> want = bytesOf(operation::pictureFrom(image));

  recordEvents();
  ctl->ApplyFilter(static_cast<qint32>(c.type), c.weight);

  ASSERT_FALSE(want.empty());
  EXPECT_EQ(bytesOf(ctl->Picture()), want);
  EXPECT_EQ(progress(), expected);
  EXPECT_EQ(bytesOf(source), before) << "the picture read from is left as it was";
}

INSTANTIATE_TEST_SUITE_P(Filters, DirectFilter, ::testing::Combine(::testing::ValuesIn(kFilters),
                                                                   ::testing::ValuesIn(kSizes)),
                         [](const ::testing::TestParamInfo<DirectFilter::ParamType>& p) {
                           const Size& s = std::get<1>(p.param);
                           return std::string(std::get<0>(p.param).name) + "_" + std::to_string(s.w) + "x" +
                                  std::to_string(s.h);
                         });

// Resample writes its rows straight into the new picture: the same bytes
// and events as the engine's 24-bit result turned into a picture. Sizes
// cover up and down on each axis, one-pixel sources and results (clamped
// neighbours), the unchanged size, results narrower than half the source
// (per-pixel route), narrower ones above half (whole rows, farther picks)
// and widths that leave a partial vector step.
struct ResampleCase {
  Size from, to;
};
const ResampleCase kResamples[] = {
    {{1, 1}, {5, 3}},  {{7, 5}, {1, 1}},   {{1, 9}, {6, 4}},   {{33, 17}, {61, 29}},
    {{33, 17}, {7, 40}}, {{40, 23}, {13, 9}}, {{7, 5}, {7, 5}}, {{17, 3}, {23, 1}}, {{40, 23}, {29, 17}},
};

class DirectResample : public ControlTest, public ::testing::WithParamInterface<ResampleCase> {};

TEST_P(DirectResample, MatchesTheWorkingImageRoute) {
  const ResampleCase& c = GetParam();
  sizeTo(120, 90);
  ctl->setPicture(noisePicture(c.from.w, c.from.h));
  const PicturePtr source = in().Buffer().Picture();
  ASSERT_TRUE(source);

  cImageProcessDIB ref;
  std::vector<Raised> expected;
  recordEngineProgress(ref, expected);
  cDIBSection image;
  image.CreateFromPicture(source->Handle());
  const std::unique_ptr<cDIBSection> out = ref.Resample(image, c.to.h, c.to.w);
  ASSERT_TRUE(out);
  const std::vector<std::uint8_t> want = bytesOf(operation::pictureFrom(*out));

  recordEvents();
  ctl->Resample(c.to.w, c.to.h);

  ASSERT_EQ(want.size(), std::size_t{4} * c.to.w * c.to.h);
  EXPECT_EQ(bytesOf(ctl->Picture()), want);
  EXPECT_EQ(progress(), expected);
}

INSTANTIATE_TEST_SUITE_P(Sizes, DirectResample, ::testing::ValuesIn(kResamples),
                         [](const ::testing::TestParamInfo<ResampleCase>& p) {
                           const auto name = [](const Size& s) {
                             return std::to_string(s.w) + "x" + std::to_string(s.h);
                           };
                           return name(p.param.from) + "_to_" + name(p.param.to);
                         });

}  // namespace
}  // namespace qorv::testing_support
