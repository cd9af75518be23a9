#include "blocks/spectral/core/spectrum_kernels.h"

#include <cstdint>

#include "kernels/quotient.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

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

bool isPowerOfTwo(float value) {
    return (__builtin_bit_cast(std::uint32_t, value) & 0x7fffffU) == 0;
}

void takeSamples(const float* in, float divisor, const double* weights, double* out,
                 std::size_t n) {
    if (divisor == 1.0F) {
        takeEach(in, weights, out, n, [](float sample) { return sample; });
    } else if (isPowerOfTwo(divisor)) {
        const float reciprocal = 1.0F / divisor;
        takeEach(in, weights, out, n, [=](float sample) { return sample * reciprocal; });
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

void putSamples(const double* in, float length, float* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i)
        out[i] = static_cast<float>(in[i]) * length * 0.5F;
}

// The squared magnitude of a line times `factor`.
template <class V>
[[gnu::always_inline]] inline V powerOf(const double* re, const double* im, double factor) {
    const V scaledRe = load<V>(re) * factor;
    const V scaledIm = load<V>(im) * factor;
    return scaledRe * scaledRe + scaledIm * scaledIm;
}

// put(at, quotient) for the divisor, which is 1 more often than not.
template <class Put>
[[gnu::always_inline]] inline void putDivided(float divisor, Put put) {
    if (divisor == 1.0F) {
        put([](auto value) { return value; });
    } else {
        put([=](auto value) { return value / divisor; });
    }
}

// The values in single precision that convert(power) makes of squared magnitudes.
template <class Convert>
[[gnu::always_inline]] inline void putEach(const double* re, const double* im, double factor,
                                           float divisor, float* out, std::size_t n,
                                           Convert convert) {
    putDivided(
        divisor, [=](auto quotient) __attribute__((always_inline)) {
            forEachPlace(
                n, [=]<class V>(std::size_t k, V /*kind*/) __attribute__((always_inline)) {
                    store(quotient(convert(powerOf<V>(re + k, im + k, factor))), out + k);
                });
        });
}

// Registers take turns: roots of the one are made by the unit that roots, those of the other
// beside it.
void putRoots(const double* re, const double* im, double factor, float divisor, float* out,
              std::size_t n, SingleRoots roots) {
    const double scale = factor > 0x1p-100 && factor < 0x1p+100 ? factor : __builtin_nan("");
    const auto putPair = [=](std::size_t k, auto quotient) __attribute__((always_inline)) {
        const std::size_t next = k + kLanes;
        const auto nextRe = load<Register>(re + next);
        const auto nextIm = load<Register>(im + next);
        const auto exact = [=]() __attribute__((always_inline)) {
            return powerOf<Register>(re + next, im + next, factor);
        };
        const auto value = roots(powerOf<Register>(re + k, im + k, factor));
        const auto other = roots.beside(nextRe * nextRe + nextIm * nextIm, scale, exact);
        store(quotient(value), out + k);
        store(quotient(other), out + next);
    };
    std::size_t made = 0;
    putDivided(
        divisor, [ =, &made ](auto quotient) __attribute__((always_inline)) {
            for (; made + 2 * kLanes <= n; made += 2 * kLanes)
                putPair(made, quotient);
        });
    putEach(re + made, im + made, factor, divisor, out + made, n - made, roots);
}

void putMagnitudes(const double* re, const double* im, double factor, float divisor, float* out,
                   std::size_t n) {
    putRoots(re, im, factor, divisor, out, n, SingleRoots(1.0));
}

void putRms(const double* re, const double* im, double factor, float divisor, float* out,
            std::size_t n) {
    putRoots(re, im, factor, divisor, out, n, SingleRoots(__builtin_sqrt(2.0)));
}

void putHalfPowers(const double* re, const double* im, double factor, float divisor, float* out,
                   std::size_t n) {
    putEach(re, im, factor, divisor, out, n, [](auto power) { return single(power / 2.0); });
}

void putPowers(const double* re, const double* im, double factor, float divisor, float* out,
               std::size_t n) {
    putEach(re, im, factor, divisor, out, n, [](auto power) { return single(power); });
}

void magnitude(const double* re, const double* im, double* out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        out[k] = __builtin_sqrt(re[k] * re[k] + im[k] * im[k]);
}

void rms(const double* re, const double* im, double* out, std::size_t n) {
    const QuotientBy quotient(__builtin_sqrt(2.0));
    forEachPlace(
        n, [=]<class V>(std::size_t k, V /*kind*/) __attribute__((always_inline)) {
            const auto a = load<V>(re + k);
            const auto b = load<V>(im + k);
            store(quotient(rootOf(V(a * a + b * b))), out + k);
        });
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
    const QuotientBy quotient(count);
    forEachPlace(
        n, [=]<class V>(std::size_t k, V /*kind*/) __attribute__((always_inline)) {
            const auto start = load<V>(from + k);
            store(V(start + quotient(V(load<V>(to + k) - start))), out + k);
        });
}

void smaller(const double* a, const double* b, double* out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        out[k] = b[k] < a[k] ? b[k] : a[k];
}

void larger(const double* a, const double* b, double* out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        out[k] = b[k] > a[k] ? b[k] : a[k];
}

constexpr SpectrumKernels kTable = {
    takeSamples,  scale,       putLines,
    putDensities, putSamples,  {putMagnitudes, putRms, putHalfPowers, putPowers},
    magnitude,    rms,         halfPower,
    power,        moveTowards, smaller,
    larger,
};

}  // namespace

constinit const SpectrumKernels SpectrumKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
