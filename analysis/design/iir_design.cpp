#include "design/iir_design.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace ovanlys {
namespace {

using Real = long double;
using Complex = std::complex<Real>;

// The edge in the analog plane of the bilinear transform s = (z - 1) / (z + 1): tan(pi f / rate),
// exact close to half the rate too.
Real warped(double frequency, double rate) {
    constexpr Real kPi = std::numbers::pi_v<Real>;
    const Real turns = static_cast<Real>(frequency) / rate;
    return turns <= 0.25L ? std::tan(kPi * turns) : 1 / std::tan(kPi * (0.5L - turns));
}

// The real product of (origin - root).
Real productFrom(Real origin, const std::vector<Complex>& roots) {
    Complex product = 1;
    for (const Complex root : roots)
        product *= origin - root;
    return product.real();
}

// The two roots of s^2 - 2 half s + product = 0.
void addBandRoots(std::vector<Complex>& roots, Complex half, Real product) {
    const Complex distance = std::sqrt(half * half - product);
    const Complex left = half + distance;
    const Complex right = half - distance;
    const Complex larger = std::norm(left) > std::norm(right) ? left : right;
    roots.push_back(larger);
    roots.push_back(product / larger);
}

Roots analogFilter(const Roots& prototype, FilterKind kind, Real w1, Real w2) {
    const std::size_t zerosAtInfinity = prototype.poles.size() - prototype.zeros.size();
    const Real width = w2 - w1;
    const Real centreSquared = w1 * w2;
    Roots filter;
    const auto each = [&](auto add) {
        for (const Complex zero : prototype.zeros)
            add(filter.zeros, zero);
        for (const Complex pole : prototype.poles)
            add(filter.poles, pole);
    };
    filter.gain = prototype.gain;
    const Real gainAtInfinity =
        prototype.gain * productFrom(0, prototype.zeros) / productFrom(0, prototype.poles);
    switch (kind) {
        case FilterKind::lowPass:
            each([&](auto& roots, Complex root) { roots.push_back(root * w1); });
            filter.gain *= std::pow(w1, static_cast<Real>(zerosAtInfinity));
            break;
        case FilterKind::highPass:
            each([&](auto& roots, Complex root) { roots.push_back(w1 / root); });
            filter.zeros.insert(filter.zeros.end(), zerosAtInfinity, 0);
            filter.gain = gainAtInfinity;
            break;
        case FilterKind::bandPass:
            each([&](auto& roots, Complex root) {
                addBandRoots(roots, root * (width / 2), centreSquared);
            });
            filter.zeros.insert(filter.zeros.end(), zerosAtInfinity, 0);
            filter.gain *= std::pow(width, static_cast<Real>(zerosAtInfinity));
            break;
        case FilterKind::bandStop:
            each([&](auto& roots, Complex root) {
                addBandRoots(roots, (width / 2) / root, centreSquared);
            });
            for (std::size_t i = 0; i < zerosAtInfinity; ++i) {
                filter.zeros.emplace_back(0, std::sqrt(centreSquared));
                filter.zeros.emplace_back(0, -std::sqrt(centreSquared));
            }
            filter.gain = gainAtInfinity;
            break;
    }
    return filter;
}

Roots bilinear(const Roots& analog) {
    Roots digital;
    for (const Complex zero : analog.zeros)
        digital.zeros.push_back((1.0L + zero) / (1.0L - zero));
    for (const Complex pole : analog.poles)
        digital.poles.push_back((1.0L + pole) / (1.0L - pole));
    digital.zeros.resize(digital.poles.size(), -1);
    digital.gain = analog.gain * productFrom(1, analog.zeros) / productFrom(1, analog.poles);
    return digital;
}

bool edgeMakesSense(double rate, double edge) {
    return std::isfinite(rate) && edge > 0 && edge < rate / 2;
}

}  // namespace

bool edgesMakeSense(FilterKind kind, double rate, double f1, double f2) {
    if (!edgeMakesSense(rate, f1)) return false;
    return !isBandKind(kind) || (edgeMakesSense(rate, f2) && f1 < f2);
}

Roots digitalFilter(const Roots& prototype, FilterKind kind, double rate, double f1, double f2) {
    const Real w1 = warped(f1, rate);
    const Real w2 = isBandKind(kind) ? warped(f2, rate) : w1;
    return bilinear(analogFilter(prototype, kind, w1, w2));
}

}  // namespace ovanlys
