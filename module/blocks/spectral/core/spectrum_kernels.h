// The spectral loops over samples and lines, compiled for several instruction-set levels.
#pragma once

#include <cstddef>

namespace vynpack {

struct SpectrumKernels {
    // out[i] = double(in[i] / divisor) * weights[i] for n samples, the quotient in single
    // precision; null weights weight nothing. A power of two is multiplied by its reciprocal, which
    // gives the quotient's bits.
    void (*takeSamples)(const float* in, float divisor, const double* weights, double* out,
                        std::size_t n);
    // values[k] *= factor
    void (*scale)(double* values, double factor, std::size_t n);
    // out[k] = float(in[k])
    void (*putLines)(const double* in, float* out, std::size_t n);
    // out[k] = float(in[k]) / divisor
    void (*putDensities)(const double* in, float divisor, float* out, std::size_t n);

    // out[i] = float(in[i]) * length / 2, in single precision
    void (*putSamples)(const double* in, float length, float* out, std::size_t n);

    // From lines to results in one pass: out[k] = float(v) / divisor, v being the conversion's
    // value of re * factor + j im * factor. By ConversionKind, kToMagnitude to kToPower.
    void (*putConverted[4])(const double* re, const double* im, double factor, float divisor,
                            float* out, std::size_t n);

    // The conversions of ConversionKind; `out` may be one of the inputs.
    void (*magnitude)(const double* re, const double* im, double* out, std::size_t n);
    void (*rms)(const double* re, const double* im, double* out, std::size_t n);
    void (*halfPower)(const double* re, const double* im, double* out, std::size_t n);
    void (*power)(const double* re, const double* im, double* out, std::size_t n);

    // from + (to - from) / count; `out` may be one of the inputs, here and below.
    void (*moveTowards)(const double* from, const double* to, double count, double* out,
                        std::size_t n);
    void (*smaller)(const double* a, const double* b, double* out, std::size_t n);
    void (*larger)(const double* a, const double* b, double* out, std::size_t n);

    static const SpectrumKernels baseline, avx2, avx512;
};

}  // namespace vynpack
