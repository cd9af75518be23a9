// The floating-point modes that the library computes in.
#pragma once

#include <xmmintrin.h>

#include <cfenv>

namespace ovanlys {

// A mode of the vector unit for the length of a scope: round to nearest, no traps. The caller's
// mode, with its exception flags, is as before afterwards: written without a look, since reading a
// mode soon after it was written takes some 20 ns (measured), and writing none.
template <unsigned kBits>
class VectorMode {
public:
    VectorMode() noexcept : callers_(_mm_getcsr()) {
        // A mode without flushing is not asked about its flags.
        constexpr unsigned kWanted = kAllMasked | kBits;
        const unsigned looked = kBits == 0 ? callers_ & ~kFlags : callers_;
        if (looked != kWanted) _mm_setcsr(kWanted);
    }
    ~VectorMode() { _mm_setcsr(callers_); }
    VectorMode(const VectorMode&) = delete;
    VectorMode& operator=(const VectorMode&) = delete;

    // Whether a result was too small for its format since the scope began; flushed ones count.
    static bool underflowed() noexcept requires(kBits != 0) {
        return (_mm_getcsr() & kUnderflow) != 0;
    }

private:
    static constexpr unsigned kAllMasked = 0x1F80;
    static constexpr unsigned kFlags = 0x003F;
    static constexpr unsigned kUnderflow = 0x0010;

    unsigned callers_;
};

inline constexpr unsigned kFlushResults = 0x8000;
inline constexpr unsigned kFlushOperands = 0x0040;

// For filtering: denormals read and written as zero. A decaying tail would otherwise slow the
// machine down a hundredfold.
using DenormalsFlushed = VectorMode<kFlushResults | kFlushOperands>;

// For filtering single precision at once. Its denormals are read; the filters' own doubles are none
// anyway. A result that is one in single precision is flushed, which `underflowed` tells.
using ResultsFlushed = VectorMode<kFlushResults>;

// For conversions from and to single precision, whose denormals are no denormals in double.
using DenormalsKept = VectorMode<0>;

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
