#include "kernels/level.h"

#include <gtest/gtest.h>

namespace vyn {
namespace {

struct Numbers {
    int value;

    static const Numbers baseline, avx2, avx512;
};
constinit const Numbers Numbers::baseline = {0};
constinit const Numbers Numbers::avx2 = {1};
constinit const Numbers Numbers::avx512 = {2};

TEST(KernelLevel, PicksTheTableOfTheLevelThatIsAskedFor) {
    EXPECT_EQ(kernelsAt<Numbers>(KernelLevel::baseline).value, 0);
    EXPECT_EQ(kernelsAt<Numbers>(KernelLevel::avx2).value, 1);
    EXPECT_EQ(kernelsAt<Numbers>(KernelLevel::avx512).value, 2);
}

// The levels of the psABI have a little more each than a kernel level needs, as have all
// processors.
TEST(KernelLevel, IsWhatTheProcessorHas) {
    const auto has = [](bool x86Level, KernelLevel level) {
        EXPECT_EQ(x86Level, machineLevel() >= level);
    };
    has(__builtin_cpu_supports("x86-64-v4") != 0, KernelLevel::avx512);
    has(__builtin_cpu_supports("x86-64-v3") != 0, KernelLevel::avx2);
}

TEST(KernelLevel, PicksTheTableThatServesTheMachineUnlessAsked) {
    EXPECT_LE(kernelLevel(), machineLevel());
    EXPECT_EQ(&kernelsAt<Numbers>(), &kernelsAt<Numbers>(kernelLevel()));
}

}  // namespace
}  // namespace vyn
