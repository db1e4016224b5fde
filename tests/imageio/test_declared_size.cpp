// The judgement on a header's declared size, at its boundaries: a picture of
// exactly the limit loads, one pixel more does not; data that would run past
// the end of the file is refused whatever the limit.
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "imageio/DeclaredSize.h"

namespace qorv::imageio {
namespace {

struct Judged {
  const char* name;
  DeclaredSize size;
  std::int64_t fileSize;
  std::int64_t maxPixels;
  SizeVerdict verdict;
};

void PrintTo(const Judged& j, std::ostream* os) { *os << j.name; }

constexpr std::int64_t kSide = std::int64_t{1} << 31;

const Judged kJudged[] = {
    {"ExactlyTheLimit", {1000, 1000}, 100, 1000000, SizeVerdict::Fits},
    {"OnePixelOverTheLimit", {1000, 1001}, 100, 1000999, SizeVerdict::TooLarge},
    {"NoLimit", {60000, 60000}, 100, 0, SizeVerdict::Fits},
    {"NegativeLimitIsNone", {60000, 60000}, 100, -5, SizeVerdict::Fits},
    {"ZeroWidth", {0, 10}, 100, 0, SizeVerdict::TooLarge},
    {"NegativeHeight", {10, -1}, 100, 0, SizeVerdict::TooLarge},
    {"SideOverTwoToThe31", {kSide + 1, 1}, 100, 0, SizeVerdict::TooLarge},
    {"DataEndsAtTheFileEnd", {10, 10, 300, 54}, 354, 0, SizeVerdict::Fits},
    {"DataOneByteShort", {10, 10, 300, 54}, 353, 0, SizeVerdict::TooShort},
    {"CompressedDataTruncated", {10, 10, 0, 0, true}, 1 << 20, 0, SizeVerdict::TooShort},
    {"TooLargeBeforeTooShort", {1000, 1000, 3000000, 54}, 100, 999999, SizeVerdict::TooLarge},
};

class DeclaredSizeJudgement : public ::testing::TestWithParam<Judged> {};

TEST_P(DeclaredSizeJudgement, GivesTheVerdict) {
  const Judged& j = GetParam();
  EXPECT_EQ(JudgeDeclaredSize(j.size, j.fileSize, j.maxPixels), j.verdict);
}

INSTANTIATE_TEST_SUITE_P(Cases, DeclaredSizeJudgement, ::testing::ValuesIn(kJudged),
                         [](const ::testing::TestParamInfo<Judged>& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace qorv::imageio
