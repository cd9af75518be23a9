#include "host/entry/floating_point_mode.h"

#include <xmmintrin.h>

namespace vynpack {
namespace {

constexpr std::uint32_t kVectorDefault = 0x1f80;  // all traps masked, no flag set

}  // namespace

// Both units are set by hand: MinGW's fesetenv neither resets nor restores the vector unit. The two
// functions are never inlined: a call leaves no value in an x87 register that fninit would lose.
FloatingPointMode::FloatingPointMode() noexcept : callersVector_(_mm_getcsr()) {
    asm volatile("fnstenv %0\n\tfninit" : "=m"(callersX87_));
    _mm_setcsr(kVectorDefault);
}

FloatingPointMode::~FloatingPointMode() {
    asm volatile("fldenv %0" : : "m"(callersX87_));
    _mm_setcsr(callersVector_);
}

}  // namespace vynpack
