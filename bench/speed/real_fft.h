// FFTW's real transforms of one length, measured, in double or single precision.
#pragma once

#include <fftw3.h>

#include <cstddef>

#include "candidate.h"

namespace vynpack::bench {

template <class Real>
struct FftwApi;

#define VYN_FFTW_API(REAL, PREFIX)                                     \
    template <>                                                        \
    struct FftwApi<REAL> {                                             \
        using Plan = PREFIX##_plan;                                    \
        using Complex = PREFIX##_complex;                              \
        static constexpr auto planForward = &PREFIX##_plan_dft_r2c_1d; \
        static constexpr auto planInverse = &PREFIX##_plan_dft_c2r_1d; \
        static constexpr auto forward = &PREFIX##_execute_dft_r2c;     \
        static constexpr auto inverse = &PREFIX##_execute_dft_c2r;     \
        static constexpr auto destroy = &PREFIX##_destroy_plan;        \
    }
VYN_FFTW_API(double, fftw);
VYN_FFTW_API(float, fftwf);
#undef VYN_FFTW_API

// All arrays on 64-byte borders; n + 2 numbers of lines, real and imaginary parts in turn (bare
// numbers, since the compiler makes better loops of them than of std::complex). The inverse spoils
// its lines, and is n times the inverse.
template <class Real>
class RealFft {
    using Api = FftwApi<Real>;
    using Complex = typename Api::Complex;

public:
    explicit RealFft(std::size_t n) {
        Aligned<Real> samples(n);
        Aligned<Real> lines(n + 2);
        const auto length = static_cast<int>(n);
        forward_ = Api::planForward(length, samples.data(), cast(lines.data()), FFTW_MEASURE);
        inverse_ = Api::planInverse(length, cast(lines.data()), samples.data(), FFTW_MEASURE);
    }
    ~RealFft() {
        Api::destroy(forward_);
        Api::destroy(inverse_);
    }
    RealFft(const RealFft&) = delete;
    RealFft& operator=(const RealFft&) = delete;

    void forward(Real* samples, Real* lines) const { Api::forward(forward_, samples, cast(lines)); }
    void inverse(Real* lines, Real* samples) const { Api::inverse(inverse_, cast(lines), samples); }

private:
    static Complex* cast(Real* lines) { return reinterpret_cast<Complex*>(lines); }

    typename Api::Plan forward_, inverse_;
};

}  // namespace vynpack::bench
