#include "blocks/spectral/core/dual_spectrum_kernels.h"

#include <type_traits>

#include "kernels/quotient.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

// Calls work(scaled), where scaled(value) = value / divisor * factor. Multiplying by the exact
// reciprocal gives the quotient's bits.
template <class Work>
void withScale(LineScale scale, Work work) {
    const double divisor = scale.divisor;
    const double reciprocal = 1.0 / scale.divisor;
    const double factor = scale.factor;
    if (!scale.exactReciprocal) {
        work([=](double value) { return value / divisor * factor; });
    } else if (factor == 1.0) {
        work([=](double value) { return value * reciprocal; });
    } else {
        work([=](double value) { return value * reciprocal * factor; });
    }
}

void scaleLines(ComplexLines lines, LineScale scale, std::size_t n) {
    withScale(scale, [=](auto scaled) {
        for (std::size_t k = 0; k < n; ++k) {
            lines.re[k] = scaled(lines.re[k]);
            lines.im[k] = scaled(lines.im[k]);
        }
    });
}

void multiply(ConstComplexLines y, ConstComplexLines x, LineScale scale, ComplexLines cross,
              double* powerOfY, double* powerOfX, std::size_t n) {
    withScale(scale, [=](auto scaled) {
        double* __restrict crossRe = cross.re;
        double* __restrict crossIm = cross.im;
        double* __restrict squaredY = powerOfY;
        double* __restrict squaredX = powerOfX;
        for (std::size_t k = 0; k < n; ++k) {
            const double yRe = scaled(y.re[k]);
            const double yIm = scaled(y.im[k]);
            const double xRe = scaled(x.re[k]);
            const double xIm = scaled(x.im[k]);
            crossRe[k] = yRe * xRe + yIm * xIm;
            crossIm[k] = yRe * xIm - yIm * xRe;
            squaredY[k] = yRe * yRe + yIm * yIm;
            squaredX[k] = xRe * xRe + xIm * xIm;
        }
    });
}

void divideConjugate(ConstComplexLines numerator, ConstComplexLines denominator, ComplexLines out,
                     std::size_t n) {
    const double* a = numerator.re;
    const double* b = numerator.im;
    const double* c = denominator.re;
    const double* d = denominator.im;
    double* __restrict re = out.re;
    double* __restrict im = out.im;
    for (std::size_t k = 0; k < n; ++k) {
        const double squared = c[k] * c[k] + d[k] * d[k];
        // Divided by 1 where the result is thrown away, so that no lane divides by 0.
        const double divisor = squared == 0.0 ? 1.0 : squared;
        const double quotientRe = (a[k] * c[k] + b[k] * d[k]) / divisor;
        const double quotientIm = (a[k] * d[k] - c[k] * b[k]) / divisor;
        re[k] = squared == 0.0 ? 0.0 : quotientRe;
        im[k] = squared == 0.0 ? 0.0 : quotientIm;
    }
}

void coherence(ConstComplexLines cross, const double* powerOfY, const double* powerOfX,
               double* __restrict out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k) {
        const double product = powerOfY[k] * powerOfX[k];
        const double divisor = product == 0.0 ? 1.0 : product;
        const double quotient = (cross.re[k] * cross.re[k] + cross.im[k] * cross.im[k]) / divisor;
        out[k] = product == 0.0 ? 0.0 : quotient;
    }
}

// Sums and quotients as divideConjugate's and coherence's, lane by lane.
template <class V>
struct Line {
    V re, im;
};

template <class V>
V orZero(V divisor, V quotient) {
    return divisor == 0.0 ? V{} : quotient;
}

template <class V>
V orOne(V divisor) {
    return divisor == 0.0 ? V{} + 1.0 : divisor;
}

template <class V>
[[gnu::always_inline]] inline Line<V> dividedConjugate(const Line<V>& a, const Line<V>& b) {
    const V squared = b.re * b.re + b.im * b.im;
    const V divisor = orOne(squared);
    return {orZero(squared, V((a.re * b.re + a.im * b.im) / divisor)),
            orZero(squared, V((a.re * b.im - b.re * a.im) / divisor))};
}

template <class V>
[[gnu::always_inline]] inline auto convertedLine(int conversion, const Line<V>& line) {
    const V power = line.re * line.re + line.im * line.im;
    switch (conversion) {
        case 0: return SingleRoots(1.0)(power);
        case 1: return SingleRoots(__builtin_sqrt(2.0))(power);
        case 2: return single(V(power / 2.0));
        default: return single(power);
    }
}

#if defined(__AVX512F__) || defined(__FMA__)
// H1's value and the coherence with one division and one root, both by the reciprocal of the
// powers' product. That is wrong by some 2^-50, as are the steps one by one: false, with nothing to
// be used in `value` and `coherence`, where 2^-45 less and more do not round alike, and beyond a
// range in which no product leaves that of doubles.
[[gnu::always_inline]] inline bool divideBoth(const Line<Register>& cross, Register powerOfY,
                                              Register powerOfX, int conversion,
                                              Lanes<kLanes>::Floats& value,
                                              Lanes<kLanes>::Floats& coherence) {
    constexpr double kMargin = 0x1p-45;
    constexpr double kLeast = 0x1p-300;
    constexpr double kMost = 0x1p+300;
    const Register power = cross.re * cross.re + cross.im * cross.im;
    const Register smaller = powerOfX < powerOfY ? powerOfX : powerOfY;
    const Register smallest = smaller < power ? smaller : power;
    if (anyOutside(smallest, kLeast, powerOfX + powerOfY + power, kMost)) return false;
    const Register reciprocal = 1.0 / (powerOfY * powerOfX);
    Register ratio = rootOf(power) * (powerOfY * reciprocal);
    double factor = 1.0;
    switch (conversion) {
        case 0: break;
        case 1: factor = __builtin_sqrt(0.5); break;
        case 2: factor = 0.5; [[fallthrough]];
        default: ratio = ratio * ratio;
    }
    const bool valueIsSure =
        roundsAlike(ratio, factor * (1.0 - kMargin), factor * (1.0 + kMargin), value);
    const bool coherenceIsSure =
        roundsAlike(power * reciprocal, 1.0 - kMargin, 1.0 + kMargin, coherence);
    return valueIsSure && coherenceIsSure;
}
#endif

// Differences of present values and averages, over the count.
template <class V>
[[gnu::always_inline]] inline void divideAll(V (&values)[4], QuotientBy count) {
    if (QuotientBy::areOrdinary(values)) {
        for (V& value : values)
            value = count.ofOrdinary(value);
    } else {
        for (V& value : values)
            value = value / count.divisor();
    }
}

#if defined(__AVX512F__) || defined(__FMA__)
// Takes a register of products into the averages, with the reciprocal of their count (null: in
// their place), and puts out H1 and coherence; does neither and returns false where divideBoth
// does. That turns away what such quotients lack: infinity, NaN, numbers too small for them. (A
// difference of 0 loses its sign, which no sum shows.)
[[gnu::always_inline]] inline bool putBoth(const Register (&products)[4], const QuotientBy* count,
                                           double* const (&places)[4], const DividedLines& out,
                                           std::size_t k) {
    Register averages[4];
    for (int i = 0; i < 4; ++i) {
        const auto past = load<Register>(places[i] + k);
        averages[i] =
            count == nullptr ? products[i] : past + count->ofOrdinary(Register(products[i] - past));
    }
    Lanes<kLanes>::Floats value;
    Lanes<kLanes>::Floats coherence;
    if (!divideBoth({averages[0], averages[1]}, averages[2], averages[3], out.conversion, value,
                    coherence))
        return false;
    for (int i = 0; i < 4; ++i)
        store(averages[i], places[i] + k);
    store(out.divisor == 1.0F ? value : value / out.divisor, out.amplitudes + k);
    store(coherence, out.coherences + k);
    return true;
}
#endif

void averageAndDivide(ConstComplexLines y, ConstComplexLines x, LineScale scale,
                      ProductPlaces averages, double count, const DividedLines& out,
                      std::size_t n) {
    // The reciprocal is a power of two.
    const double factor = scale.factor / scale.divisor;
    const bool begins = count < 2.0;
    const QuotientBy byCount(begins ? 1.0 : count);
    const DividedLines result = out;
    [[maybe_unused]] const bool h1WithCoherence =
        !out.h2 && out.amplitudes != nullptr && out.coherences != nullptr;
    forEachPlace(
        n, [=]<class V>(std::size_t k, V /*kind*/) __attribute__((always_inline)) {
            const auto scaled = [=](const double* line) __attribute__((always_inline)) {
                return V(load<V>(line + k) * factor);
            };
            const Line<V> lineY = {scaled(y.re), scaled(y.im)};
            const Line<V> lineX = {scaled(x.re), scaled(x.im)};
            V products[4] = {V(lineY.re * lineX.re + lineY.im * lineX.im),
                             V(lineY.re * lineX.im - lineY.im * lineX.re),
                             V(lineY.re * lineY.re + lineY.im * lineY.im),
                             V(lineX.re * lineX.re + lineX.im * lineX.im)};
            double* const places[4] = {averages.crossRe, averages.crossIm, averages.powerOfY,
                                       averages.powerOfX};
#if defined(__AVX512F__) || defined(__FMA__)
            if constexpr (std::is_same_v<V, Register>) {
                if (h1WithCoherence &&
                    putBoth(products, begins ? nullptr : &byCount, places, result, k))
                    return;
            }
#endif
            if (!begins) {
                V past[4];
                for (int i = 0; i < 4; ++i) {
                    past[i] = load<V>(places[i] + k);
                    products[i] = products[i] - past[i];
                }
                divideAll(products, byCount);
                for (int i = 0; i < 4; ++i)
                    products[i] = past[i] + products[i];
            }
            for (int i = 0; i < 4; ++i)
                store(products[i], places[i] + k);
            const Line<V> cross = {products[0], products[1]};
            const V powerOfY = products[2];
            const V powerOfX = products[3];
            if (result.amplitudes != nullptr) {
                const Line<V> quotient = result.h2
                                             ? dividedConjugate(Line<V>{powerOfY, V{}}, cross)
                                             : dividedConjugate(cross, Line<V>{powerOfX, V{}});
                const auto value = convertedLine(result.conversion, quotient);
                store(result.divisor == 1.0F ? value : value / result.divisor,
                      result.amplitudes + k);
            }
            if (result.coherences != nullptr) {
                const V product = powerOfY * powerOfX;
                const V quotient = (cross.re * cross.re + cross.im * cross.im) / orOne(product);
                store(single(orZero(product, quotient)), result.coherences + k);
            }
        });
}

void takeWeighted(double* __restrict past, const double* __restrict present, double weight,
                  std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        past[k] = (past[k] * weight + present[k]) / (weight + 1.0);
}

constexpr DualSpectrumKernels kTable = {scaleLines, multiply,         divideConjugate,
                                        coherence,  averageAndDivide, takeWeighted};

}  // namespace

constinit const DualSpectrumKernels DualSpectrumKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
