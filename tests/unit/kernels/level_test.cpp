#include "kernels/level.h"

#include <cpuid.h>
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

// Asked of the processor itself: what it has, and whether the system keeps its registers (Intel,
// Software Developer's Manual, volume 1, chapters 13 to 15).
KernelLevel levelByCpuid() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    constexpr unsigned kFma = 1U << 12U;
    constexpr unsigned kSaves = 1U << 27U;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & kFma) == 0 || (c & kSaves) == 0) {
        return KernelLevel::baseline;
    }
    unsigned saved = 0;
    unsigned upper = 0;
    asm("xgetbv" : "=a"(saved), "=d"(upper) : "c"(0));
    constexpr unsigned kAvx2 = 1U << 5U;
    constexpr unsigned kAvx512 = 1U << 16U | 1U << 17U | 1U << 30U | 1U << 31U;  // F, DQ, BW, VL
    constexpr unsigned kHalves = 0x06;  // of registers that are saved
    constexpr unsigned kWhole = 0xe6;
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d) == 0 || (b & kAvx2) == 0 ||
        (saved & kHalves) != kHalves) {
        return KernelLevel::baseline;
    }
    const bool wide = (b & kAvx512) == kAvx512 && (saved & kWhole) == kWhole;
    return wide ? KernelLevel::avx512 : KernelLevel::avx2;
}

TEST(KernelLevel, IsWhatTheProcessorHas) { EXPECT_EQ(machineLevel(), levelByCpuid()); }

TEST(KernelLevel, PicksTheTableThatServesTheMachineUnlessAsked) {
    EXPECT_LE(kernelLevel(), machineLevel());
    EXPECT_EQ(&kernelsAt<Numbers>(), &kernelsAt<Numbers>(kernelLevel()));
}

}  // namespace
}  // namespace vyn
