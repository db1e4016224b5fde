// Every operation gives the same pixels and the same notifications whichever
// way it runs: rows split over the pool or all on the caller, processor
// extensions used or hidden. The picture is large enough for the pool to
// split it, and odd-sized so that row tails and padding are exercised.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "ProcessingTestSupport.h"
#include "platform/CpuFeatures.h"
#include "platform/RowParallel.h"

namespace qorv {
namespace {

using test_support::Bytes;
using test_support::EventLog;

constexpr std::int32_t kW = 701;
constexpr std::int32_t kH = 523;

struct Operation {
  std::string name;
  // Runs the operation on `image` (with `buffer`, same size, as its second surface).
  std::function<void(cImageProcessDIB&, cDIBSection& image, cDIBSection& buffer)> run;
};

// How an operation is made to run.
struct Way {
  const char* name;
  bool pool;
  bool generic;
};
constexpr Way kWays[] = {{"pooled", true, false}, {"caller only", false, false}, {"generic paths", true, true}};

// The row pool's and the processor features' switches, put back whatever happens.
class Switches {
 public:
  explicit Switches(const Way& w) {
    setParallelRowsAllowed(w.pool);
    forceGenericPaths(w.generic);
  }
  ~Switches() {
    setParallelRowsAllowed(true);
    forceGenericPaths(false);
  }
  Switches(const Switches&) = delete;
  Switches& operator=(const Switches&) = delete;
};

struct Outcome {
  Bytes image, buffer;
  std::vector<test_support::Event> events;
};

Outcome runOnce(const Operation& op, const Way& way) {
  cDIBSection image, buffer;
  EXPECT_TRUE(image.Create(kW, kH));
  EXPECT_TRUE(buffer.Create(kW, kH));
  test_support::fillRandom(image, 11);
  test_support::fillRandom(buffer, 12);
  cImageProcessDIB e;
  EventLog log;
  log.attach(e);
  {
    const Switches s(way);
    op.run(e, image, buffer);
  }
  return {test_support::snapshot(image), test_support::snapshot(buffer), log.events};
}

class PathsAgree : public ::testing::TestWithParam<Operation> {};

TEST_P(PathsAgree, SamePixelsAndEventsEveryWay) {
  const Outcome first = runOnce(GetParam(), kWays[0]);
  EXPECT_FALSE(first.events.empty());
  for (const Way& way : kWays) {
    const Outcome o = runOnce(GetParam(), way);
    EXPECT_TRUE(o.image == first.image) << way.name;
    EXPECT_TRUE(o.buffer == first.buffer) << way.name;
    EXPECT_EQ(o.events, first.events) << way.name;
  }
}

Operation filterOp(std::string name, std::int32_t type) {
  return {std::move(name), [type](cImageProcessDIB& e, cDIBSection& image, cDIBSection& buffer) {
            e.setFilterType(type);
            e.ProcessImage(image, buffer);
          }};
}

INSTANTIATE_TEST_SUITE_P(
    Operations, PathsAgree,
    ::testing::Values(
        Operation{"Grayscale", [](auto& e, auto& image, auto&) { e.Grayscale(image); }},
        Operation{"FadeByTable", [](auto& e, auto& image, auto&) { e.Fade(image, 300); }},
        Operation{"FadeDirect", [](auto& e, auto& image, auto&) { e.Fade(image, 77); }},
        Operation{"Invert", [](auto& e, auto& image, auto&) { e.Invert(image); }},
        Operation{"FlipHorizontal", [](auto& e, auto& image, auto&) { e.Flip(image, 0); }},
        Operation{"FlipVertical", [](auto& e, auto& image, auto&) { e.Flip(image, 1); }},
        Operation{"FlipBoth", [](auto& e, auto& image, auto&) { e.Flip(image, 2); }},
        Operation{"Lighten", [](auto& e, auto& image, auto&) { e.Lighten(image, 35.5); }},
        Operation{"BlackAndWhite", [](auto& e, auto& image, auto& buffer) { e.BlackAndWhite(image, buffer); }},
        Operation{"Resample", [](auto& e, auto& image, auto& buffer) {
                    const std::unique_ptr<cDIBSection> out = e.Resample(image, kH + 97, kW - 203);
                    ASSERT_NE(out, nullptr);
                    // The result lands in the buffer so that it is compared.
                    EXPECT_TRUE(buffer.Create(out->Width(), out->Height()));
                    out->PaintPicture(buffer.hdc());
                  }},
        filterOp("Blur", filter::eBlur), filterOp("SoftenMore", filter::eSoftenMore),
        filterOp("Sharpen", filter::eSharpen), filterOp("UnSharp", filter::eUnSharp),
        filterOp("Emboss", filter::eEmboss), filterOp("Median", filter::eMedian),
        filterOp("Minimum", filter::eMinimum), filterOp("Maximum", filter::eMaximum),
        Operation{"CustomWideSums", [](auto& e, auto& image, auto& buffer) {
                    e.setFilterType(filter::eCustom);
                    e.AddCustomFilter(Kernel2D{{3, -200, 3}, {-200, 900, -200}, {3, -200, 3}});
                    e.setFilterWeight(-37);
                    e.ProcessImage(image, buffer);
                  }}),
    [](const auto& p) { return p.param.name; });

}  // namespace
}  // namespace qorv
