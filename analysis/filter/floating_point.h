// The floating-point modes that the library computes in.
#pragma once

#include <xmmintrin.h>

#include <cfenv>

namespace ovanlys {

// For filtering, for the length of a scope: round to nearest, denormals read and written as zero,
// no traps. A decaying tail would otherwise slow the machine down a hundredfold. The caller's mode,
// with its exception flags, is as before afterwards.
class DenormalsFlushed {
public:
    DenormalsFlushed() noexcept : callers_(_mm_getcsr()) { _mm_setcsr(kMode); }
    ~DenormalsFlushed() { _mm_setcsr(callers_); }
    DenormalsFlushed(const DenormalsFlushed&) = delete;
    DenormalsFlushed& operator=(const DenormalsFlushed&) = delete;

private:
    static constexpr unsigned kAllMasked = 0x1F80;
    static constexpr unsigned kFlushResults = 0x8000;
    static constexpr unsigned kFlushOperands = 0x0040;
    static constexpr unsigned kMode = kAllMasked | kFlushResults | kFlushOperands;

    unsigned callers_;
};

// For designing, for the length of a scope: the standard mode, full extended precision included.
class StandardMode {
public:
    StandardMode() noexcept {
        std::fegetenv(&callers_);
        std::fesetenv(FE_DFL_ENV);
    }
    ~StandardMode() { std::fesetenv(&callers_); }
    StandardMode(const StandardMode&) = delete;
    StandardMode& operator=(const StandardMode&) = delete;

private:
    std::fenv_t callers_{};
};

}  // namespace ovanlys
