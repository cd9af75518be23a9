#include "design/bessel_polynomial.h"

#include <algorithm>
#include <boost/multiprecision/cpp_bin_float.hpp>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

namespace ovanlys {
namespace {

// The coefficients reach 10^32 and the roots of order 25 take ten digits more than their own to be
// found from them: 50 digits leave room for both.
using Wide = boost::multiprecision::number<boost::multiprecision::cpp_bin_float<50>,
                                           boost::multiprecision::et_off>;

using Narrow = std::complex<long double>;

struct WideComplex {
    Wide re;
    Wide im;

    friend WideComplex operator+(const WideComplex& a, const WideComplex& b) {
        return {a.re + b.re, a.im + b.im};
    }
    friend WideComplex operator-(const WideComplex& a, const WideComplex& b) {
        return {a.re - b.re, a.im - b.im};
    }
    friend WideComplex operator*(const WideComplex& a, const WideComplex& b) {
        return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
    }
    friend WideComplex operator/(const WideComplex& a, const WideComplex& b) {
        const Wide norm = b.re * b.re + b.im * b.im;
        return {(a.re * b.re + a.im * b.im) / norm, (a.im * b.re - a.re * b.im) / norm};
    }
    Wide size() const { return abs(re) + abs(im); }
};

// Coefficients from s^0 up: a_n = 1, a_k = a_(k+1) (2n-k) (k+1) / (2 (n-k)).
std::vector<Wide> reverseBesselCoefficients(int n) {
    std::vector<Wide> coefficients(static_cast<std::size_t>(n) + 1, Wide(1));
    for (int k = n - 1; k >= 0; --k) {
        const auto i = static_cast<std::size_t>(k);
        coefficients[i] = coefficients[i + 1] * (2 * n - k) * (k + 1) / (2 * (n - k));
    }
    return coefficients;
}

// Value and slope of the polynomial at s, by Horner's scheme.
template <class Complex, class Coefficients>
std::pair<Complex, Complex> evaluate(const Coefficients& coefficients, const Complex& s) {
    Complex value{0, 0};
    Complex slope{0, 0};
    for (std::size_t k = coefficients.size(); k-- > 0;) {
        slope = slope * s + value;
        value = value * s + Complex{coefficients[k], 0};
    }
    return {value, slope};
}

// All roots at once by Aberth's method, from a circle that holds them. Right to some six digits at
// order 25.
std::vector<Narrow> roughRoots(const std::vector<Wide>& coefficients) {
    const std::vector<long double> rounded(coefficients.begin(), coefficients.end());
    const std::size_t n = coefficients.size() - 1;
    const auto degree = static_cast<long double>(n);
    std::vector<Narrow> roots;
    for (std::size_t i = 0; i < n; ++i) {
        const long double turn = (static_cast<long double>(i) + 0.3L) / degree;
        roots.push_back(-0.6L * degree +
                        std::polar(degree, 2 * std::numbers::pi_v<long double> * turn));
    }
    for (int round = 0; round < 100; ++round) {
        long double largestStep = 0;
        for (Narrow& root : roots) {
            const auto [value, slope] = evaluate(rounded, root);
            if (value == Narrow{}) continue;
            Narrow repulsion = 0;
            for (const Narrow& other : roots)
                if (&other != &root) repulsion += 1.0L / (root - other);
            const Narrow step = 1.0L / (slope / value - repulsion);
            root -= step;
            largestStep = std::max(largestStep, std::abs(step) / std::abs(root));
        }
        if (largestStep < 1e-8L) break;
    }
    return roots;
}

// A rough root by Newton's method in all digits.
Narrow polished(const std::vector<Wide>& coefficients, Narrow rough) {
    WideComplex root{rough.real(), rough.imag()};
    for (int step = 0; step < 12; ++step) {
        const auto [value, slope] = evaluate(coefficients, root);
        const WideComplex change = value / slope;
        root = root - change;
        if (change.size() < root.size() * 1e-25) break;
    }
    return {static_cast<long double>(root.re), static_cast<long double>(root.im)};
}

}  // namespace

std::vector<std::complex<long double>> reverseBesselRoots(int order) {
    constexpr long double kReal = 1e-3L;  // the smallest imaginary part of a pair is above 0.8
    const auto coefficients = reverseBesselCoefficients(order);
    std::vector<Narrow> roots;
    for (const Narrow& rough : roughRoots(coefficients)) {
        if (rough.imag() <= -kReal) continue;  // the pair's other root stands for both
        const Narrow root = polished(coefficients, rough);
        if (std::abs(root.imag()) < kReal) {
            roots.emplace_back(root.real(), 0);
        } else {
            roots.push_back(root);
            roots.push_back(std::conj(root));
        }
    }
    return roots;
}

long double halfPowerFrequency(const std::vector<std::complex<long double>>& poles) {
    const auto inversePower = [&poles](long double frequency) {
        long double product = 1;
        for (const auto pole : poles)
            product *= std::norm(std::complex<long double>(0, frequency) - pole) / std::norm(pole);
        return product;
    };
    long double low = 0;
    long double high = 1;
    while (inversePower(high) < 2)
        high *= 2;
    for (int step = 0; step < 80; ++step) {  // the power falls steadily
        const long double middle = (low + high) / 2;
        (inversePower(middle) < 2 ? low : high) = middle;
    }
    return (low + high) / 2;
}

}  // namespace ovanlys
