#include "design/fir_design.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace ovanlys {
namespace {

using Real = long double;

constexpr Real kPi = std::numbers::pi_v<Real>;

// e^-x I0(x), x >= 0, the modified Bessel function without its growth (Abramowitz & Stegun 9.6.10
// and 9.7.1).
Real scaledBesselI0(Real x) {
    constexpr Real kEnough = 1e-20L;
    Real sum = 1;
    Real term = 1;
    if (x < 60) {
        const Real quarterSquare = x * x / 4;
        for (int k = 1; term > kEnough * sum; ++k) {
            term *= quarterSquare / (static_cast<Real>(k) * k);
            sum += term;
        }
        return sum * std::exp(-x);
    }
    for (int k = 1; term > kEnough && k < 100; ++k) {
        const Real odd = 2 * k - 1;
        term *= odd * odd / (8 * x * k);
        sum += term;
    }
    return sum / std::sqrt(2 * kPi * x);
}

// The weight at a place t from -1 to 1 of a window of `length`.
Real weight(FirWindow window, Real t, Real beta, std::size_t length) {
    const auto raisedCosine = [t](Real a0, Real a1, Real a2) {
        return a0 + a1 * std::cos(kPi * t) + a2 * std::cos(2 * kPi * t);
    };
    switch (window) {
        // Two windows are exactly 0 at their ends, where the terms need not cancel to the last bit.
        case FirWindow::hanning: return std::abs(t) == 1 ? 0 : raisedCosine(0.5L, 0.5L, 0);
        case FirWindow::hamming: return raisedCosine(0.54L, 0.46L, 0);
        case FirWindow::blackman: return std::abs(t) == 1 ? 0 : raisedCosine(0.42L, 0.5L, 0.08L);
        case FirWindow::triangular: {
            const auto n = static_cast<Real>(length);
            const Real steps = length % 2 != 0 ? n + 1 : n;
            return 1 - std::abs(t) * (n - 1) / steps;
        }
        case FirWindow::kaiser: {
            const Real argument = beta * std::sqrt((1 - t) * (1 + t));
            return scaledBesselI0(argument) / scaledBesselI0(beta) * std::exp(argument - beta);
        }
        default: return 1;
    }
}

// The impulse response, at a place in samples, of an ideal low pass; `band` is 1 for half the rate.
Real idealLowPass(Real band, Real place) {
    return place == 0 ? band : std::sin(kPi * band * place) / (kPi * place);
}

// The pass bands of a kind as multiples of half the rate: one, or two for a band stop. `centre` is
// where the response is scaled to 1.
struct PassBands {
    Real low[2];
    Real high[2];
    int count;
    Real centre;
};

PassBands passBands(FilterKind kind, double rate, double f1, double f2) {
    const Real half = static_cast<Real>(rate) / 2;
    const Real low = f1 / half;
    const Real high = f2 / half;
    switch (kind) {
        case FilterKind::highPass: return {{low}, {1}, 1, 1};
        case FilterKind::bandPass: return {{low}, {high}, 1, (low + high) / 2};
        case FilterKind::bandStop: return {{0, high}, {low, 1}, 2, 0};
        default: return {{0}, {low}, 1, 0};
    }
}

// The cosine of a frequency (1: half the rate) at coefficient i, counted from the middle. At half
// the rate its zeros and signs are exact, because they matter.
Real cosineAt(Real frequency, std::size_t i, std::size_t length) {
    if (frequency != 1) {
        const Real middle = static_cast<Real>(length - 1) / 2;
        return std::cos(kPi * frequency * (static_cast<Real>(i) - middle));
    }
    if (length % 2 == 0) return 0;
    return ((length - 1) / 2 - i) % 2 == 0 ? 1 : -1;
}

}  // namespace

FirWindow firWindow(int code) {
    switch (const auto window = static_cast<FirWindow>(code)) {
        case FirWindow::hanning:
        case FirWindow::hamming:
        case FirWindow::blackman:
        case FirWindow::triangular:
        case FirWindow::kaiser: return window;
        default: return FirWindow::rectangular;
    }
}

void designFir(FilterKind kind, double rate, double f1, double f2, FirWindow window, double beta,
               std::span<double> coefficients) {
    const std::size_t length = coefficients.size();
    const PassBands bands = passBands(kind, rate, f1, f2);
    const Real middle = static_cast<Real>(length - 1) / 2;
    const auto coefficient = [&](std::size_t i) {
        const Real place = static_cast<Real>(i) - middle;
        Real ideal = 0;
        for (int band = 0; band < bands.count; ++band)
            ideal += idealLowPass(bands.high[band], place) - idealLowPass(bands.low[band], place);
        const Real t = length > 1 ? place / middle : 0;
        return ideal * weight(window, t, std::abs(static_cast<Real>(beta)), length);
    };

    // The coefficients are symmetric: the second half is the first one's mirror image.
    Real response = 0;
    Real largestResponse = 0;
    for (std::size_t i = 0; i <= (length - 1) / 2; ++i) {
        const Real value = coefficient(i);
        coefficients[i] = coefficients[length - 1 - i] = static_cast<double>(value);
        const Real both = 2 * i + 1 == length ? value : 2 * value;
        response += both * cosineAt(bands.centre, i, length);
        largestResponse += std::abs(both);
    }
    constexpr Real kNothing = 1e-12L;  // of what the coefficients could sum up to
    if (!(std::abs(response) > kNothing * largestResponse)) return;
    for (std::size_t i = 0; i <= (length - 1) / 2; ++i)
        coefficients[i] = coefficients[length - 1 - i] =
            static_cast<double>(coefficient(i) / response);
}

}  // namespace ovanlys
