#include "blocks/spectral/core/spectrum_kernels.h"

namespace vynpack {
namespace {

template <class Take>
void takeEach(const float* in, const double* weights, double* out, std::size_t n, Take take) {
    if (weights != nullptr) {
        for (std::size_t i = 0; i < n; ++i)
            out[i] = static_cast<double>(take(in[i])) * weights[i];
    } else {
        for (std::size_t i = 0; i < n; ++i)
            out[i] = take(in[i]);
    }
}

void takeSamples(const float* in, float divisor, const double* weights, double* out,
                 std::size_t n) {
    if (divisor == 1.0F) {
        takeEach(in, weights, out, n, [](float sample) { return sample; });
    } else {
        takeEach(in, weights, out, n, [=](float sample) { return sample / divisor; });
    }
}

void scale(double* values, double factor, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        values[k] *= factor;
}

void putLines(const double* in, float* out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        out[k] = static_cast<float>(in[k]);
}

void putDensities(const double* in, float divisor, float* out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        out[k] = static_cast<float>(in[k]) / divisor;
}

void magnitude(const double* re, const double* im, double* out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        out[k] = __builtin_sqrt(re[k] * re[k] + im[k] * im[k]);
}

void rms(const double* re, const double* im, double* out, std::size_t n) {
    const double root2 = __builtin_sqrt(2.0);
    for (std::size_t k = 0; k < n; ++k) {
        out[k] = __builtin_sqrt(re[k] * re[k] + im[k] * im[k]) / root2;
    }
}

void halfPower(const double* re, const double* im, double* out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        out[k] = (re[k] * re[k] + im[k] * im[k]) / 2.0;
}

void power(const double* re, const double* im, double* out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        out[k] = re[k] * re[k] + im[k] * im[k];
}

void moveTowards(const double* from, const double* to, double count, double* out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        out[k] = from[k] + (to[k] - from[k]) / count;
}

void smaller(const double* a, const double* b, double* out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        out[k] = b[k] < a[k] ? b[k] : a[k];
}

void larger(const double* a, const double* b, double* out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        out[k] = b[k] > a[k] ? b[k] : a[k];
}

constexpr SpectrumKernels kTable = {takeSamples, scale, putLines,    putDensities, magnitude, rms,
                                    halfPower,   power, moveTowards, smaller,      larger};

}  // namespace

constinit const SpectrumKernels SpectrumKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
