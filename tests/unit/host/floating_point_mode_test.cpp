#include "host/entry/floating_point_mode.h"

#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cstdint>
#include <limits>

namespace vynpack {
namespace {

// The control and status register of the vector unit: its default masks all traps, rounds to
// nearest, keeps denormals and has no flag set.
constexpr unsigned kVectorDefault = 0x1f80;
constexpr unsigned kFlushToZero = 0x8000;
constexpr unsigned kDenormalsAreZero = 0x0040;
constexpr unsigned kRoundUp = 0x4000;
constexpr unsigned kInvalidMask = 0x0080;
constexpr unsigned kDivisionMask = 0x0200;
constexpr unsigned kInexactFlag = 0x0020;
constexpr unsigned kFlags = 0x003f;

// The control word of the x87 unit: all traps masked, 64-bit significand, round to nearest.
constexpr std::uint16_t kX87Default = 0x037f;
constexpr std::uint16_t kX87RoundUp24Bit = 0x087f;
constexpr std::uint16_t kX87InvalidUnmasked = 0x037e;

std::uint16_t x87ControlWord() {
    std::uint16_t word = 0;
    asm volatile("fnstcw %0" : "=m"(word));
    return word;
}

void setX87ControlWord(std::uint16_t word) { asm volatile("fldcw %0" : : "m"(word)); }

std::uint16_t x87StatusWord() {
    std::uint16_t word = 0;
    asm volatile("fnstsw %0" : "=m"(word));
    return word;
}

// Values the compiler cannot see through.
volatile double one = 1.0;
volatile double zero = 0.0;
volatile double smallest = std::numeric_limits<double>::min();
volatile double tiny = 0x1p-80;

// Puts a host's mode in place and, whatever happens, the default back.
class HostMode {
public:
    // No flags are up, whatever ran before.
    explicit HostMode(unsigned vector, std::uint16_t x87 = kX87Default) {
        asm volatile("fnclex");
        setX87ControlWord(x87);
        _mm_setcsr(vector);
    }
    ~HostMode() {
        asm volatile("fnclex");
        setX87ControlWord(kX87Default);
        _mm_setcsr(kVectorDefault);
    }
    HostMode(const HostMode&) = delete;
    HostMode& operator=(const HostMode&) = delete;
};

struct Modes {
    unsigned vectorInside, vectorAfter;
    std::uint16_t x87Inside, x87After;
};

// Both words inside the scope and after it; nothing is computed between.
Modes modesUnder(unsigned vector, std::uint16_t x87) {
    const HostMode host(vector, x87);
    Modes modes{};
    {
        const FloatingPointMode mode;
        modes.vectorInside = _mm_getcsr();
        modes.x87Inside = x87ControlWord();
    }
    modes.vectorAfter = _mm_getcsr();
    modes.x87After = x87ControlWord();
    return modes;
}

TEST(FloatingPointMode, IsTheDefaultInsideAndTheCallersAfterwards) {
    const unsigned vectorModes[] = {
        kVectorDefault,
        kVectorDefault | kFlushToZero,
        kVectorDefault | kDenormalsAreZero,
        kVectorDefault | kRoundUp,
        kVectorDefault & ~kInvalidMask,
        kVectorDefault & ~kDivisionMask,
        kVectorDefault | kInexactFlag,
        (kVectorDefault | kFlushToZero | kDenormalsAreZero | kRoundUp | kInexactFlag) &
            ~(kInvalidMask | kDivisionMask),
    };
    for (const unsigned vector : vectorModes) {
        for (const std::uint16_t x87 : {kX87Default, kX87RoundUp24Bit, kX87InvalidUnmasked}) {
            const Modes modes = modesUnder(vector, x87);
            EXPECT_EQ(modes.vectorInside & ~kFlags, kVectorDefault)
                << std::hex << vector << ' ' << x87;
            EXPECT_EQ(modes.x87Inside, kX87Default) << std::hex << vector << ' ' << x87;
            EXPECT_EQ(modes.vectorAfter, vector) << std::hex << vector << ' ' << x87;
            EXPECT_EQ(modes.x87After, x87) << std::hex << vector << ' ' << x87;
        }
    }
}

TEST(FloatingPointMode, ADenormalSurvivesAHostThatFlushesThem) {
    double flushed = 0;
    double kept = 0;
    {
        const HostMode host(kVectorDefault | kFlushToZero | kDenormalsAreZero);
        flushed = smallest * 0.5;
        const FloatingPointMode mode;
        kept = smallest * 0.5;
    }
    EXPECT_EQ(flushed, 0.0);
    EXPECT_EQ(kept, 0x1p-1023);
}

TEST(FloatingPointMode, SumsRoundToNearestWhateverTheHostChose) {
    double hosts = 0;
    double ours = 0;
    {
        const HostMode host(kVectorDefault | kRoundUp);
        hosts = one + tiny;
        const FloatingPointMode mode;
        ours = one + tiny;
    }
    EXPECT_EQ(hosts, 1.0 + std::numeric_limits<double>::epsilon());
    EXPECT_EQ(ours, 1.0);
}

TEST(FloatingPointMode, ADivisionByZeroDoesNotTrapInAHostThatTrapsIt) {
    double quotient = 0;
    double undefined = 0;
    {
        const HostMode host(kVectorDefault & ~(kInvalidMask | kDivisionMask), kX87InvalidUnmasked);
        const FloatingPointMode mode;
        quotient = one / zero;
        undefined = zero / zero;
    }
    EXPECT_EQ(quotient, std::numeric_limits<double>::infinity());
    EXPECT_NE(undefined, undefined);
}

TEST(FloatingPointMode, ExtendedResultsAreFullInAHostThatWorksInSinglePrecision) {
    volatile long double three = 3.0L;
    long double narrow = 0;
    long double full = 0;
    {
        const HostMode host(kVectorDefault, kX87RoundUp24Bit);
        narrow = 1.0L / three;
        const FloatingPointMode mode;
        full = 1.0L / three;
    }
    EXPECT_NE(narrow, 1.0L / 3.0L);
    EXPECT_EQ(full, 1.0L / 3.0L);
}

// The x87 unit's tags: two bits per register, 3 where it is empty.
std::uint32_t x87Tags() {
    std::uint32_t environment[7];
    asm volatile("fnstenv %0\n\tfldenv %0" : "+m"(environment));
    return environment[2] & 0xffffU;
}

TEST(FloatingPointMode, ComputesInAHostWhoseStackIsNotEmpty) {
    volatile long double three = 3.0L;
    long double third = 0;
    // What vector code of the oldest kind leaves behind: all eight registers taken.
    asm volatile("pxor %%mm0, %%mm0" : : : "mm0");
    const std::uint32_t tagsBefore = x87Tags();
    {
        const FloatingPointMode mode;
        third = 1.0L / three;
    }
    const std::uint32_t tagsAfter = x87Tags();
    asm volatile("emms");
    EXPECT_NE(tagsBefore, 0xffffU);
    EXPECT_NE(tagsAfter, 0xffffU);
    EXPECT_EQ(third, 1.0L / 3.0L);
}

// A processor that keeps no record of use, or a start that left another mode, changes nothing here.
TEST(FloatingPointMode, AUnitThatWasNotUsedIsAsAfterAStartWhateverIsRaisedInside) {
    volatile long double nothing = 0.0L;
    long double quotient = 0;
    asm volatile("fninit");
    FloatingPointMode::forgetStart();
    for (int scope = 0; scope < 2; ++scope) {
        const FloatingPointMode mode;
        EXPECT_EQ(x87ControlWord(), kX87Default);
        quotient = 1.0L / nothing;
        setX87ControlWord(kX87RoundUp24Bit);
    }
    const std::uint16_t control = x87ControlWord();
    const std::uint16_t status = x87StatusWord();
    EXPECT_EQ(quotient, std::numeric_limits<long double>::infinity());
    EXPECT_EQ(control, kX87Default);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(x87Tags(), 0xffffU);
}

TEST(FloatingPointMode, AStartThatIsForgottenLeavesAnotherModeAlone) {
    std::uint16_t control = 0;
    std::uint16_t status = 0;
    {
        volatile long double three = 3.0L;
        const HostMode host(kVectorDefault, kX87RoundUp24Bit);
        volatile long double inexact = 1.0L / three;
        static_cast<void>(inexact);
        FloatingPointMode::forgetStart();
        control = x87ControlWord();
        status = x87StatusWord();
    }
    EXPECT_EQ(control, kX87RoundUp24Bit);
    EXPECT_NE(status & 0x20, 0);
}

TEST(FloatingPointMode, FlagsOfTheCallerStayWhateverIsRaisedInside) {
    volatile long double three = 3.0L;
    volatile long double nothing = 0.0L;
    for (const bool raiseInside : {false, true}) {
        std::uint16_t before = 0;
        std::uint16_t after = 0;
        {
            const HostMode host(kVectorDefault, kX87RoundUp24Bit);
            volatile long double inexact = 1.0L / three;
            static_cast<void>(inexact);
            before = x87StatusWord();
            {
                const FloatingPointMode mode;
                if (raiseInside) {
                    volatile long double quotient = 1.0L / nothing;
                    static_cast<void>(quotient);
                }
            }
            after = x87StatusWord();
            EXPECT_EQ(x87ControlWord(), kX87RoundUp24Bit);
        }
        EXPECT_NE(before & 0x7f, 0);
        EXPECT_EQ(after & 0x7f, before & 0x7f);
    }
}

TEST(FloatingPointMode, FlagsRaisedInsideDoNotReachTheCaller) {
    unsigned vector = 0;
    std::uint16_t x87 = 0;
    {
        const HostMode host(kVectorDefault);
        {
            const FloatingPointMode mode;
            volatile double quotient = one / zero;
            volatile long double third = static_cast<long double>(quotient) - 1.0L / 3.0L;
            static_cast<void>(third);
        }
        vector = _mm_getcsr();
        x87 = x87StatusWord();
    }
    EXPECT_EQ(vector, kVectorDefault);
    EXPECT_EQ(x87 & 0x3f, 0);
}

TEST(FloatingPointMode, ScopesNest) {
    const HostMode host(kVectorDefault | kFlushToZero);
    {
        const FloatingPointMode outer;
        { const FloatingPointMode inner; }
        EXPECT_EQ(_mm_getcsr() & ~0x3fU, kVectorDefault);
    }
    EXPECT_EQ(_mm_getcsr() & ~0x3fU, kVectorDefault | kFlushToZero);
}

}  // namespace
}  // namespace vynpack
