#include "host/entry/floating_point_mode.h"

#include <xmmintrin.h>

namespace vynpack {
namespace {

constexpr std::uint32_t kVectorDefault = 0x1f80;  // all traps masked, no flag set
constexpr std::uint32_t kVectorFlags = 0x003f;

// The x87 unit's words.
constexpr std::uint16_t kControlDefault = 0x037f;  // all traps masked, full precision
constexpr unsigned kFlags = 0x007f;                // of the status
constexpr unsigned kTrapPending = 0x0080;          // likewise
constexpr std::uint16_t kAllEmpty = 0xffff;        // tags

}  // namespace

// Both units are set by hand: MinGW's fesetenv neither resets nor restores the vector unit. To
// start the x87 unit anew and to load its environment takes several times as long as to look at it,
// so that is left to callers with something on its stack. The two functions are never inlined: a
// call leaves no value in an x87 register that fninit would lose.
FloatingPointMode::FloatingPointMode() noexcept : callersVector_(_mm_getcsr()) {
    asm volatile("fnstenv %0" : "=m"(callersX87_));  // masks all traps
    restarted_ = callersX87_.tags != kAllEmpty || (callersX87_.status & kTrapPending) != 0;
    if (restarted_) {
        asm volatile("fninit");
    } else {
        asm volatile("fldcw %0" : : "m"(kControlDefault));
    }
    // Flags that are up already disturb nothing, and most hosts have some.
    if ((callersVector_ & ~kVectorFlags) != kVectorDefault) _mm_setcsr(kVectorDefault);
}

FloatingPointMode::~FloatingPointMode() {
    std::uint16_t status;
    asm volatile("fnstsw %0" : "=a"(status));
    const bool raised = ((status ^ callersX87_.status) & kFlags) != 0;
    if (restarted_ || raised) {
        asm volatile("fldenv %0" : : "m"(callersX87_));
    } else {
        asm volatile("fldcw %0" : : "m"(callersX87_.control));
    }
    if (_mm_getcsr() != callersVector_) _mm_setcsr(callersVector_);
}

}  // namespace vynpack
