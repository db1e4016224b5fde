// The fast paths of black and white and resampling give exactly the bytes of
// the plain reference computations: on pictures large enough for the row pool
// to share the work, with the shapes where the wavefront of rows and the
// chunks within a row meet their edges.
#include <gtest/gtest.h>

#include <string>

#include "ProcessingTestSupport.h"
#include "ReferenceFilters.h"
#include "platform/RowParallel.h"

namespace qorv {
namespace {

using test_support::Bytes;
namespace ref = test_support::reference;

struct Size {
  const char* name;
  std::int32_t w, h;
};

std::string sizeName(const ::testing::TestParamInfo<Size>& p) { return p.param.name; }

class BlackAndWhiteRows : public ::testing::TestWithParam<Size> {};

// Both images end as the column-by-column walk leaves them, the working
// image's late below-left additions included.
TEST_P(BlackAndWhiteRows, MatchTheColumnOrder) {
  const Size s = GetParam();
  setParallelRowsAllowed(true);
  cDIBSection a, b;
  ASSERT_TRUE(a.Create(s.w, s.h));
  ASSERT_TRUE(b.Create(s.w, s.h));
  test_support::fillRandom(a, static_cast<std::uint32_t>(s.w * 31 + s.h));
  test_support::fillRandom(b, 5);
  Bytes ra = ref::grayscale(test_support::snapshot(a));
  Bytes rb = test_support::snapshot(b);
  ref::blackAndWhite(ra, rb);
  cImageProcessDIB e;
  e.BlackAndWhite(a, b);
  EXPECT_TRUE(test_support::snapshot(a) == ra);
  EXPECT_TRUE(test_support::snapshot(b) == rb);
}

INSTANTIATE_TEST_SUITE_P(Shapes, BlackAndWhiteRows,
                         ::testing::Values(Size{"Pooled", 701, 523}, Size{"OneChunkAndOnePixel", 257, 1400},
                                           Size{"ManyChunks", 3001, 130}, Size{"TwoColumns", 2, 90000},
                                           Size{"OneColumn", 1, 70000}),
                         sizeName);

}  // namespace
}  // namespace qorv
