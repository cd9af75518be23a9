// For kernel sources: roots, fused multiply-adds, and the quotients of many numbers by one, all
// with the bits that they have at every level.
#pragma once

#include <immintrin.h>

#include "kernels/lanes.h"

namespace vyn {
namespace {

// (The forms without a mask draw a false warning from the compiler's own header.)
inline Register rootOf(Register v) {
#if defined(__AVX512F__)
    return _mm512_maskz_sqrt_pd(0xff, v);
#elif defined(__AVX2__)
    return _mm256_sqrt_pd(v);
#else
    return _mm_sqrt_pd(v);
#endif
}
inline double rootOf(double v) { return __builtin_sqrt(v); }

// NaN stays: the instruction takes its second operand then.
inline Register atMost(double limit, Register value) {
    const Register limits = Register{} + limit;
#if defined(__AVX512F__)
    return _mm512_maskz_min_pd(0xff, limits, value);
#elif defined(__AVX2__)
    return __builtin_ia32_minpd256(limits, value);
#else
    return __builtin_ia32_minpd(limits, value);
#endif
}
inline double atMost(double limit, double value) { return limit < value ? limit : value; }

#if defined(__AVX512F__)
// a b + c and c - a b, rounded once.
inline Register fused(Register a, Register b, Register c) { return _mm512_fmadd_pd(a, b, c); }
inline Register negativelyFused(Register a, Register b, Register c) {
    return _mm512_fnmadd_pd(a, b, c);
}
inline Register magnitude(Register a) { return _mm512_abs_pd(a); }
// Whether there is a number below the one limit, above the other, or that is none.
inline bool anyOutside(Register below, double least, Register above, double most) {
    return (_mm512_cmp_pd_mask(below, _mm512_set1_pd(least), _CMP_LT_OQ) |
            _mm512_cmp_pd_mask(above, _mm512_set1_pd(most), _CMP_NLE_UQ)) != 0;
}
#elif defined(__FMA__)
inline Register fused(Register a, Register b, Register c) { return _mm256_fmadd_pd(a, b, c); }
inline Register negativelyFused(Register a, Register b, Register c) {
    return _mm256_fnmadd_pd(a, b, c);
}
inline Register magnitude(Register a) { return _mm256_andnot_pd(_mm256_set1_pd(-0.0), a); }
inline bool anyOutside(Register below, double least, Register above, double most) {
    return _mm256_movemask_pd(
               _mm256_or_pd(_mm256_cmp_pd(below, _mm256_set1_pd(least), _CMP_LT_OQ),
                            _mm256_cmp_pd(above, _mm256_set1_pd(most), _CMP_NLE_UQ))) != 0;
}
#endif

// Many numbers divided by one, without dividing: with r = 1/d rounded,
//     q0 = a r,   e = a - d q0,   q = q0 + e r,
// e and q by fused multiply-adds (P. W. Markstein, "Computation of elementary functions on the IBM
// RISC System/6000 processor", 1990). r is wrong by half a unit of its last place at most, so q0 is
// wrong by 1.5 of its own; what is left for q, before it is rounded, is below 2^-50 of a unit. A
// quotient a/d is never the middle between two doubles, and where d has b bits it is 2^-(b+1) of a
// unit away from it at least. So q is a/d as the division rounds it for every d of at most 48 bits,
// such as all whole numbers up to 2^32. For other divisors the dividends that come nearest to a
// middle have to be tried, which the test does for the root of 2.
//
// This holds for dividends between kSmallest and kLargest, beyond which q0 or e may leave the range
// of doubles: 0 gives a 0 without its sign, and infinity NaN. NaN stays. Levels without fused
// multiply-adds divide, as do numbers that stand alone.
class QuotientBy {
public:
    static constexpr double kSmallest = 0x1p-900;
    static constexpr double kLargest = 0x1p+900;

    // A number between 2^-100 and 2^100.
    explicit QuotientBy(double divisor) : divisor_(divisor), reciprocal_(1.0 / divisor) {}

    // The quotients of dividends in that range.
    [[gnu::always_inline]] Register ofOrdinary(Register a) const {
#if defined(__AVX512F__) || defined(__FMA__)
        const Register d = Register{} + divisor_;
        const Register r = Register{} + reciprocal_;
        const Register q0 = a * r;
        return fused(negativelyFused(q0, d, a), r, q0);
#else
        return a / divisor_;
#endif
    }
    // Those of any dividends: all are divided where one of them is out of the range.
    [[gnu::always_inline]] Register operator()(Register a) const {
        const Register dividends[] = {a};
        return areOrdinary(dividends) ? ofOrdinary(a) : a / divisor_;
    }
    double ofOrdinary(double a) const { return a / divisor_; }
    double operator()(double a) const { return a / divisor_; }

    double divisor() const { return divisor_; }

    // Whether all of them are in the range, or the level divides anyway. (A sum is as large as its
    // largest term at least, and no NaN gets lost in it.)
    template <int count>
    [[gnu::always_inline]] static bool areOrdinary(const Register (&dividends)[count]) {
#if defined(__AVX512F__) || defined(__FMA__)
        Register smallest = magnitude(dividends[0]);
        Register sum = smallest;
        for (int i = 1; i < count; ++i) {
            const Register next = magnitude(dividends[i]);
            smallest = next < smallest ? next : smallest;
            sum = sum + next;
        }
        return !anyOutside(smallest, kSmallest, sum, kLargest);
#else
        static_cast<void>(dividends);
        return true;
#endif
    }
    template <int count>
    static bool areOrdinary(const double (&/*dividends*/)[count]) {
        return true;
    }

private:
    double divisor_;
    double reciprocal_;
};

// A number times `less` and times `more` in single precision: whether both are the same, and so
// what lies between them. NaN is not, nor is 0 in wide registers, which an approximation may be of
// numbers that single precision does not hold.
[[gnu::always_inline]] inline bool roundsAlike(Register number, double less, double more,
                                               Lanes<kLanes>::Floats& result) {
#if defined(__AVX2__)
    result = single(Register(number * less));
    constexpr double kSmallest = 0x1p-149;
    const auto other = single(fused(number, Register{} + more, Register{} + kSmallest));
#if defined(__AVX512F__)
    return _mm256_cmp_ps_mask(result, other, _CMP_NEQ_UQ) == 0;
#else
    return _mm_movemask_ps(_mm_cmpneq_ps(result, other)) == 0;
#endif
#else  // the upper halves are 0
    const __m128 both = _mm_cvtpd_ps(number * less);
    result = __builtin_shufflevector(both, both, 0, 1);
    return _mm_movemask_ps(_mm_cmpneq_ps(both, _mm_cvtpd_ps(number * more))) == 0;
#endif
}

// The roots of numbers >= 0, divided by one number, each step rounded to double precision, and in
// the end to single precision. NaN stays.
//
// The unit that divides and roots takes long, longest with the widest registers. From an
// approximate reciprocal root y the root of a is made without it: with s = a y and e = 1 - s y,
//     root = s (1 - e)^(-1/2) = s + s e (1/2 + 3/8 e + 5/16 e^2 + ...).
// Where a little less and a little more than the root round to the same number in single precision,
// so does what lies between them. That leaves one root in some ten thousand, and 0, infinity and
// NaN, for which all of a register are made by the steps named above.
class SingleRoots {
public:
    // Divided by a number between 2^-100 and 2^100.
    explicit SingleRoots(double divisor) : divisor_(divisor), quotient_(divisor) {}

    [[gnu::always_inline]] Lanes<kLanes>::Floats operator()(Register a) const {
#if defined(__AVX512F__)
        return beside(a, 1.0, [a] { return a; });
#elif defined(__FMA__)
        return single(stepByStep(a));
#else
        if (divisor_ == 1.0) return single(rootOf(a));
        constexpr double kMargin = 0x1p-50;
        Lanes<kLanes>::Floats result;
        if (!roundsAlike(rootOf(a), (1.0 - kMargin) / divisor_, (1.0 + kMargin) / divisor_, result))
            [[unlikely]]
            return single(stepByStep(a));
        return result;
#endif
    }
    // Those of exact(), which is `a` times the square of `scale` but for some roundings; sooner
    // where the unit is at work on another register. `scale` is a number between 2^-100 and 2^100,
    // or else NaN.
    template <class Exact>
    [[gnu::always_inline]] Lanes<kLanes>::Floats beside(Register a, double scale,
                                                        Exact exact) const {
#if defined(__AVX512F__) || defined(__FMA__)
        constexpr double kMargin = 0x1p-38;
        const Register number = approximateRoot(a);
        Lanes<kLanes>::Floats result;
        if (!roundsAlike(number, (1.0 - kMargin) * scale / divisor_,
                         (1.0 + kMargin) * scale / divisor_, result)) [[unlikely]]
            return single(stepByStep(exact()));
        return result;
#else
        static_cast<void>(a);
        static_cast<void>(scale);
        return (*this)(exact());
#endif
    }
    float operator()(double a) const { return single(stepByStep(a)); }

private:
    template <class V>
    [[gnu::always_inline]] V stepByStep(V a) const {
        const V root = rootOf(a);
        if (divisor_ == 1.0) return root;
        // What is smaller or larger than a quotient may be is 0 or infinity as a float anyway.
        return quotient_.ofOrdinary(atMost(QuotientBy::kLargest, root));
    }

    // Wrong by less than 2^-40 of itself; NaN where `a` is not in the range of single precision.
#if defined(__AVX512F__)
    static Register approximateRoot(Register a) {
        const Register y = _mm512_maskz_rsqrt14_pd(0xff, a);
        const Register s = a * y;
        const Register e = negativelyFused(s, y, Register{} + 1.0);
        return fused(s * e, fused(e, Register{} + 0.375, Register{} + 0.5), s);
    }
#elif defined(__FMA__)
    static Register approximateRoot(Register a) {
        const Register y = _mm256_cvtps_pd(_mm_rsqrt_ps(single(a)));  // wrong by 2^-11
        const Register s = a * y;
        const Register e = negativelyFused(s, y, Register{} + 1.0);
        const Register cubic = fused(e, Register{} + 0.3125, Register{} + 0.375);
        return fused(s * e, fused(e, cubic, Register{} + 0.5), s);
    }
#endif

    double divisor_;
    QuotientBy quotient_;
};

}  // namespace
}  // namespace vyn
