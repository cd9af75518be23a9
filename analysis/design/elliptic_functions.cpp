#include "design/elliptic_functions.h"

#include <boost/math/special_functions/ellint_rf.hpp>
#include <cmath>
#include <numbers>
#include <utility>

namespace ovanlys {
namespace {

using Real = long double;

constexpr Real kPi = std::numbers::pi_v<Real>;

Real arithmeticGeometricMean(Real a, Real b) {
    // Quadratic convergence: 64 bits take fewer steps than this from any start.
    for (int step = 0; step < 30 && std::abs(a - b) > 1e-19L * a; ++step)
        a = std::exchange(b, std::sqrt(a * b)) / 2 + a / 2;
    return a;
}

// The modulus of a nome q <= exp(-pi), by Jacobi's theta series: k = theta2^2 / theta3^2,
// k' = theta4^2 / theta3^2.
Modulus modulusOfSmallNome(Real q) {
    Real theta2 = 0;
    Real theta3 = 1;
    Real theta4 = 1;
    Real sign = -1;
    for (int m = 0; m < 8; ++m, sign = -sign) {
        theta2 += std::pow(q, static_cast<Real>(m * (m + 1)));
        const Real term = 2 * std::pow(q, static_cast<Real>((m + 1) * (m + 1)));
        theta3 += term;
        theta4 += sign * term;
    }
    const Real k = 4 * std::sqrt(q) * std::pow(theta2 / theta3, 2.0L);
    return {k, std::pow(theta4 / theta3, 2.0L)};
}

// Descending Landen transformation by the arithmetic-geometric mean (Abramowitz & Stegun 16.4), for
// arguments up to half the quarter period.
JacobiFunctions byLandenSteps(Real u, Modulus modulus) {
    constexpr int kMaxSteps = 30;
    Real ratio[kMaxSteps];  // c/a of each step
    Real a = 1;
    Real b = modulus.complementary;
    Real c = modulus.k;
    int steps = 0;
    while (steps < kMaxSteps && c > 1e-20L * a) {
        const Real mean = (a + b) / 2;
        c = (a - b) / 2;
        b = std::sqrt(a * b);
        a = mean;
        ratio[steps++] = c / a;
    }
    Real phi = std::ldexp(a * u, steps);
    while (steps > 0)
        phi = (phi + std::asin(ratio[--steps] * std::sin(phi))) / 2;
    const Real sn = std::sin(phi);
    const Real cn = std::cos(phi);
    return {sn, cn, std::hypot(cn, modulus.complementary * sn)};
}

}  // namespace

Real quarterPeriod(Modulus modulus) {
    return kPi / (2 * arithmeticGeometricMean(1, modulus.complementary));
}

JacobiFunctions jacobiFunctions(Real u, Modulus modulus) {
    const Real quarter = quarterPeriod(modulus);
    if (u <= quarter / 2) return byLandenSteps(u, modulus);
    // Near K, cn and dn are small: reflected, they keep their digits.
    const JacobiFunctions reflected = byLandenSteps(quarter - u, modulus);
    return {reflected.cn / reflected.dn, modulus.complementary * reflected.sn / reflected.dn,
            modulus.complementary / reflected.dn};
}

Real inverseScOfComplement(Real x, Modulus modulus) {
    const Real squared = x * x;
    return x * boost::math::ellint_rf(Real{1}, 1 + modulus.k * modulus.k * squared, 1 + squared);
}

Modulus degreeEquation(int order, Modulus discrimination) {
    const Real ratio =
        quarterPeriod(discrimination.complement()) / (order * quarterPeriod(discrimination));
    if (ratio >= 1) return modulusOfSmallNome(std::exp(-kPi * ratio));
    return modulusOfSmallNome(std::exp(-kPi / ratio)).complement();
}

}  // namespace ovanlys
