#include "host/entry/floating_point_mode.h"

#include <cpuid.h>
#include <xmmintrin.h>

#include <cstddef>

namespace vynpack {
namespace {

constexpr std::uint32_t kVectorDefault = 0x1f80;  // all traps masked, no flag set
constexpr std::uint32_t kVectorFlags = 0x003f;

// The x87 unit's words.
constexpr std::uint16_t kControlDefault = 0x037f;  // all traps masked, full precision
constexpr unsigned kFlags = 0x007f;                // of the status
constexpr unsigned kTrapPending = 0x0080;          // likewise
constexpr std::uint16_t kAllEmpty = 0xffff;        // tags

// What processors know of their units, one bit each, and the memory that they put it into.
constexpr std::uint32_t kX87Unit = 1;
struct alignas(64) SavedState {
    std::byte bytes[576];
};

// Whether the processor keeps a record of the units that have been used (XGETBV with 1 in ECX).
bool processorTellsUse() noexcept {
    constexpr unsigned kSystemAllows = 1U << 27;
    constexpr unsigned kTells = 1U << 2;
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & kSystemAllows) == 0) return false;
    return __get_cpuid_count(0xd, 1, &a, &b, &c, &d) != 0 && (a & kTells) != 0;
}

// The x87 unit certainly is as after a start: default mode, no flag, empty stack.
bool x87Unused() noexcept {
    static const bool told = processorTellsUse();
    if (!told) return false;
    std::uint32_t low;
    std::uint32_t high;
    asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(1));
    return (low & kX87Unit) == 0;
}

// Starts the x87 unit anew in such a way that it counts as unused, which it does not after fninit.
void putX87Back() noexcept {
    static constexpr SavedState nothingInUse{};
    asm volatile("xrstor %0" : : "m"(nothingInUse), "a"(kX87Unit), "d"(0));
}

std::uint16_t x87Control() noexcept {
    std::uint16_t word;
    asm volatile("fnstcw %0" : "=m"(word));
    return word;
}

std::uint16_t x87Status() noexcept {
    std::uint16_t word;
    asm volatile("fnstsw %0" : "=a"(word));
    return word;
}

}  // namespace

// Both units are set by hand: MinGW's fesetenv neither resets nor restores the vector unit. A
// 64-bit caller hardly ever uses the x87 unit, which the processor tells at a fifth of what it
// takes to look at the unit. To start the unit anew and to load its environment takes several times
// as long again, so that is left to callers with something on its stack. The two functions are
// never inlined: a call leaves no value in an x87 register that fninit would lose.
FloatingPointMode::FloatingPointMode() noexcept
    : callersVector_(_mm_getcsr()), unused_(x87Unused()), restarted_(false) {
    if (!unused_) {
        asm volatile("fnstenv %0" : "=m"(callersX87_));  // masks all traps
        restarted_ = callersX87_.tags != kAllEmpty || (callersX87_.status & kTrapPending) != 0;
        if (restarted_) {
            asm volatile("fninit");
        } else {
            asm volatile("fldcw %0" : : "m"(kControlDefault));
        }
    }
    // Flags that are up already disturb nothing, and most hosts have some.
    if ((callersVector_ & ~kVectorFlags) != kVectorDefault) _mm_setcsr(kVectorDefault);
}

FloatingPointMode::~FloatingPointMode() {
    if (unused_) {
        if (x87Status() != 0 || x87Control() != kControlDefault) putX87Back();
    } else if (restarted_ || ((x87Status() ^ callersX87_.status) & kFlags) != 0) {
        asm volatile("fldenv %0" : : "m"(callersX87_));
    } else {
        asm volatile("fldcw %0" : : "m"(callersX87_.control));
    }
    if (_mm_getcsr() != callersVector_) _mm_setcsr(callersVector_);
}

void FloatingPointMode::forgetStart() noexcept {
    if (!processorTellsUse()) return;
    X87Environment now;
    asm volatile("fnstenv %0\n\tfldenv %0" : "=m"(now));
    if (now.control == kControlDefault && now.status == 0 && now.tags == kAllEmpty) putX87Back();
}

}  // namespace vynpack
