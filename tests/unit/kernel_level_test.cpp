#include "blocks/kernel_level.h"

#include <gtest/gtest.h>

namespace vynpack {
namespace {

TEST(KernelLevel, PicksTheCopyOfTheLevelThatIsAskedFor) {
    const int baseline = 0;
    const int avx2 = 1;
    const int avx512 = 2;
    EXPECT_EQ(kernelsFor(KernelLevel::baseline, baseline, avx2, avx512), baseline);
    EXPECT_EQ(kernelsFor(KernelLevel::avx2, baseline, avx2, avx512), avx2);
    EXPECT_EQ(kernelsFor(KernelLevel::avx512, baseline, avx2, avx512), avx512);
}

}  // namespace
}  // namespace vynpack
