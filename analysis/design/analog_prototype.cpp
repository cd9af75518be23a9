#include "design/analog_prototype.h"

#include <cmath>
#include <numbers>

#include "design/bessel_polynomial.h"
#include "design/elliptic_functions.h"

namespace ovanlys {
namespace {

using Real = long double;
using Complex = std::complex<Real>;

constexpr Real kPi = std::numbers::pi_v<Real>;

// 10^(dB/10) - 1, exact for small values too.
Real powerAboveOne(Real decibels) { return std::expm1(decibels / 10 * std::numbers::ln10_v<Real>); }

// The angles of a prototype's poles, measured from the negative real axis: m pi / (2 order) with
// m = order - 1, order - 3, ... down to 1 (a pair each) or 0 (one real pole).
template <class Visit>
void forEachAngle(int order, Visit visit) {
    for (int m = order - 1; m >= 0; m -= 2)
        visit(m * kPi / (2 * order), m == 0);
}

void addPair(std::vector<Complex>& roots, Complex root) {
    roots.push_back(root);
    roots.push_back(std::conj(root));
}

// The real product of the negated roots.
Real productOfNegated(const std::vector<Complex>& roots) {
    Complex product = 1;
    for (const Complex root : roots)
        product *= -root;
    return product.real();
}

void setUnitGainAtZero(Roots& prototype) {
    prototype.gain = productOfNegated(prototype.poles) / productOfNegated(prototype.zeros);
}

}  // namespace

Roots butterworthPrototype(int order) {
    Roots prototype;
    forEachAngle(order, [&](Real angle, bool alone) {
        if (alone) {
            prototype.poles.push_back(-1);
        } else {
            addPair(prototype.poles, {-std::cos(angle), std::sin(angle)});
        }
    });
    return prototype;
}

Roots chebyshevPrototype(int order, Real ripple) {
    const Real epsilonSquared = powerAboveOne(ripple);
    const Real mu = std::asinh(1 / std::sqrt(epsilonSquared)) / order;
    Roots prototype;
    forEachAngle(order, [&](Real angle, bool alone) {
        const Real real = -std::sinh(mu) * std::cos(angle);
        if (alone) {
            prototype.poles.push_back(real);
        } else {
            addPair(prototype.poles, {real, std::cosh(mu) * std::sin(angle)});
        }
    });
    setUnitGainAtZero(prototype);
    if (order % 2 == 0) prototype.gain /= std::sqrt(1 + epsilonSquared);  // a valley at 0 Hz
    return prototype;
}

Roots inverseChebyshevPrototype(int order, Real attenuation) {
    const Real mu = std::asinh(std::sqrt(powerAboveOne(attenuation))) / order;
    Roots prototype;
    forEachAngle(order, [&](Real angle, bool alone) {
        const Complex inverse{-std::sinh(mu) * std::cos(angle), std::cosh(mu) * std::sin(angle)};
        if (alone) {
            prototype.poles.push_back(1 / inverse.real());
        } else {
            addPair(prototype.poles, 1.0L / inverse);
            addPair(prototype.zeros, {0, 1 / std::sin(angle)});
        }
    });
    setUnitGainAtZero(prototype);
    return prototype;
}

Roots ellipticPrototype(int order, Real ripple, Real attenuation) {
    const Real passPower = powerAboveOne(ripple);
    const Real stopPower = powerAboveOne(attenuation);
    if (order == 1) {  // no room for ripples
        Roots prototype;
        prototype.poles.push_back(-1 / std::sqrt(passPower));
        setUnitGainAtZero(prototype);
        return prototype;
    }
    // stopPower - passPower without a cancellation
    const Real powerBetween = (1 + passPower) * powerAboveOne(attenuation - ripple);
    const Modulus discrimination{std::sqrt(passPower / stopPower),
                                 std::sqrt(powerBetween / stopPower)};
    const Modulus selectivity = degreeEquation(order, discrimination);
    const Real quarter = quarterPeriod(selectivity);
    // The real offset of all poles, in the discrimination's own period, then in the selectivity's.
    const Real offset = inverseScOfComplement(1 / std::sqrt(passPower), discrimination) /
                        (order * quarterPeriod(discrimination)) * quarter;
    const JacobiFunctions across = jacobiFunctions(offset, selectivity.complement());

    Roots prototype;
    for (int j = 1 - order % 2; j < order; j += 2) {
        const JacobiFunctions along = jacobiFunctions(j * quarter / order, selectivity);
        const Real divisor =
            across.cn * across.cn + std::pow(selectivity.k * along.sn * across.sn, 2.0L);
        const Complex pole{-along.cn * along.dn * across.sn * across.cn / divisor,
                           along.sn * across.dn / divisor};
        if (j == 0) {
            prototype.poles.push_back(pole.real());
        } else {
            addPair(prototype.poles, pole);
            addPair(prototype.zeros, {0, 1 / (selectivity.k * along.sn)});
        }
    }
    setUnitGainAtZero(prototype);
    if (order % 2 == 0) prototype.gain /= std::sqrt(1 + passPower);
    return prototype;
}

Roots besselPrototype(int order) {
    Roots prototype;
    prototype.poles = reverseBesselRoots(order);
    const Real edge = halfPowerFrequency(prototype.poles);
    for (Complex& pole : prototype.poles)
        pole /= edge;
    setUnitGainAtZero(prototype);
    return prototype;
}

}  // namespace ovanlys
