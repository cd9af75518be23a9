#include "filter/cascade.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <functional>
#include <limits>
#include <numbers>
#include <span>
#include <utility>

namespace ovanlys {
namespace {

using Real = long double;
using Complex = std::complex<Real>;

constexpr Real kPi = std::numbers::pi_v<Real>;

// Up to two roots: the polynomial (z - mean)^2 + spread, z - mean or 1. For a complex pair `spread`
// is the squared imaginary part, for two real roots minus the square of half their distance.
struct RootPair {
    int count = 0;
    Real mean = 0;
    Real spread = 0;

    // The root of a pair that lies on or above the real axis; of two real ones, the outer.
    Complex leading() const {
        if (spread > 0) return {mean, std::sqrt(spread)};
        const Real half = std::sqrt(-spread);
        return mean < 0 ? mean - half : mean + half;
    }

    // ln of the polynomial's magnitude at z, with a floor where a root lies on z.
    double logMagnitude(Complex z) const {
        constexpr Real kFloor = 1e-300L;
        if (count == 0) return 0.0;
        const Complex u = z - mean;
        const Real magnitude = count == 1 ? std::abs(u) : std::abs(u * u + spread);
        return static_cast<double>(std::log(std::max(magnitude, kFloor)));
    }
};

RootPair realPair(Real first, Real second) {
    const Real half = (first - second) / 2;
    return {2, (first + second) / 2, -half * half};
}

// Roots sorted into complex pairs and real ones.
struct SortedRoots {
    std::vector<RootPair> pairs;
    std::vector<Real> reals;  // descending
};

std::optional<SortedRoots> sorted(std::span<const Complex> roots) {
    SortedRoots result;
    std::vector<Complex> upper;
    std::vector<Complex> lower;
    for (const Complex root : roots) {
        if (!std::isfinite(root.real()) || !std::isfinite(root.imag())) return std::nullopt;
        if (root.imag() == 0) {
            result.reals.push_back(root.real());
        } else if (root.imag() > 0) {
            upper.push_back(root);
        } else {
            lower.push_back(root);
        }
    }
    std::sort(result.reals.begin(), result.reals.end(), std::greater<>());
    if (upper.size() != lower.size()) return std::nullopt;

    constexpr Real kTolerance = 1e-6L;  // far above rounding, far below a meaning of its own
    for (const Complex root : upper) {
        const auto partner =
            std::min_element(lower.begin(), lower.end(), [root](Complex left, Complex right) {
                return std::norm(std::conj(left) - root) < std::norm(std::conj(right) - root);
            });
        const Real distance = std::abs(std::conj(*partner) - root);
        if (!(distance <= kTolerance * std::max(Real{1}, std::abs(root)))) return std::nullopt;
        result.pairs.push_back(
            {2, (root.real() + partner->real()) / 2, -root.imag() * partner->imag()});
        *partner = lower.back();
        lower.pop_back();
    }
    return result;
}

// Zeros that are handed out to the poles nearest to them.
class ZeroStock {
public:
    explicit ZeroStock(SortedRoots zeros) : zeros_(std::move(zeros)) {}

    // The pair nearest to the pole, made of two real zeros if the nearest one is real.
    RootPair takeNearest(Complex pole) {
        const auto& pairs = zeros_.pairs;
        const auto pair = std::min_element(
            pairs.begin(), pairs.end(), [pole](const RootPair& left, const RootPair& right) {
                return std::norm(left.leading() - pole) < std::norm(right.leading() - pole);
            });
        const auto real = nearestReal(pole);
        const bool realIsNearer =
            real != zeros_.reals.end() &&
            (pair == pairs.end() || std::norm(*real - pole) < std::norm(pair->leading() - pole));
        if (realIsNearer) return takeReals(pole);
        if (pair == pairs.end()) return {};
        const RootPair result = *pair;
        zeros_.pairs.erase(pair);
        return result;
    }

private:
    std::vector<Real>::const_iterator nearestReal(Complex pole) const {
        return std::min_element(zeros_.reals.begin(), zeros_.reals.end(),
                                [pole](Real left, Real right) {
                                    return std::norm(left - pole) < std::norm(right - pole);
                                });
    }

    RootPair takeReals(Complex pole) {
        const Real first = takeReal(pole);
        if (zeros_.reals.empty()) return {1, first, 0};
        return realPair(first, takeReal(pole));
    }

    Real takeReal(Complex pole) {
        const auto nearest = nearestReal(pole);
        const Real zero = *nearest;
        zeros_.reals.erase(nearest);
        return zero;
    }

    SortedRoots zeros_;
};

struct SectionRoots {
    RootPair zeros;
    RootPair poles;  // always two
};

// Poles paired with the nearest zeros, the poles nearest to the unit circle choosing first.
std::optional<std::vector<SectionRoots>> paired(const Roots& roots) {
    auto zeros = roots.zeros;
    auto poles = roots.poles;
    while (poles.size() < zeros.size())
        poles.push_back(0);
    if (poles.size() % 2 != 0) {  // a zero and a pole in the origin cancel
        poles.push_back(0);
        zeros.push_back(0);
    }
    const auto sortedPoles = sorted(poles);
    const auto sortedZeros = sorted(zeros);
    if (!sortedPoles || !sortedZeros) return std::nullopt;

    std::vector<RootPair> polePairs = sortedPoles->pairs;
    const auto& reals = sortedPoles->reals;
    for (std::size_t i = 0; i + 1 < reals.size(); i += 2)
        polePairs.push_back(realPair(reals[i], reals[i + 1]));
    std::stable_sort(
        polePairs.begin(), polePairs.end(), [](const RootPair& left, const RootPair& right) {
            return std::abs(1 - std::abs(left.leading())) < std::abs(1 - std::abs(right.leading()));
        });

    ZeroStock stock(*sortedZeros);
    std::vector<SectionRoots> sections;
    sections.reserve(polePairs.size());
    for (const RootPair& pair : polePairs)
        sections.push_back({stock.takeNearest(pair.leading()), pair});
    return sections;
}

// Angles at which the sections' magnitudes are weighed: at and between the poles, and over the
// whole range, densely at low frequencies.
std::vector<Real> weighingAngles(std::span<const SectionRoots> sections) {
    std::vector<Real> angles;
    for (const SectionRoots& section : sections)
        angles.push_back(std::abs(std::arg(section.poles.leading())));
    std::sort(angles.begin(), angles.end());
    for (std::size_t i = 1, count = angles.size(); i < count; ++i)
        angles.push_back((angles[i - 1] + angles[i]) / 2);
    constexpr int kSteps = 48;
    for (int i = 0; i <= kSteps; ++i) {
        angles.push_back(kPi * i / kSteps);
        angles.push_back(kPi * std::pow(10.0L, -6.0L * i / kSteps));
    }
    return angles;
}

// A section's ln magnitude at every weighing angle, without its gain.
using Curve = std::vector<double>;

struct OrderedSection {
    SectionRoots roots;
    Real gain = 1;
};

// Orders the sections so that the partial products stay balanced: next comes the section that keeps
// the product's largest magnitude over its smallest in the pass band lowest. Each product is scaled
// to a largest magnitude of 1; the last section brings the gain of the whole.
std::vector<OrderedSection> ordered(std::vector<SectionRoots> sections, Real gain) {
    const auto angles = weighingAngles(sections);
    std::vector<Curve> curves;
    Curve whole(angles.size(), 0.0);
    for (const SectionRoots& section : sections) {
        Curve& curve = curves.emplace_back();
        for (std::size_t i = 0; i < angles.size(); ++i) {
            const Complex z = std::polar(1.0L, angles[i]);
            curve.push_back(section.zeros.logMagnitude(z) - section.poles.logMagnitude(z));
            whole[i] += curve.back();
        }
    }
    const double passLevel = *std::max_element(whole.begin(), whole.end()) - std::numbers::ln2;

    Curve product(angles.size(), 0.0);
    const auto imbalance = [&](const Curve& curve) {
        double largest = product[0] + curve[0];
        double smallestPassed = std::numeric_limits<double>::infinity();
        for (std::size_t i = 0; i < angles.size(); ++i) {
            const double level = product[i] + curve[i];
            largest = std::max(largest, level);
            if (whole[i] >= passLevel) smallestPassed = std::min(smallestPassed, level);
        }
        return largest - smallestPassed;
    };

    std::vector<OrderedSection> result;
    Real remainingGain = gain;
    while (!sections.empty()) {
        std::size_t best = 0;
        double lowest = imbalance(curves[0]);
        for (std::size_t candidate = 1; candidate < sections.size(); ++candidate) {
            const double value = imbalance(curves[candidate]);
            if (value < lowest) {
                lowest = value;
                best = candidate;
            }
        }
        for (std::size_t i = 0; i < angles.size(); ++i)
            product[i] += curves[best][i];
        const double level = *std::max_element(product.begin(), product.end());
        const bool last = sections.size() == 1;
        const Real sectionGain = last ? remainingGain : std::exp(static_cast<Real>(-level));
        for (double& value : product)
            value -= level;
        remainingGain /= sectionGain;
        result.push_back({sections[best], sectionGain});
        sections.erase(sections.begin() + static_cast<std::ptrdiff_t>(best));
        curves.erase(curves.begin() + static_cast<std::ptrdiff_t>(best));
    }
    return result;
}

// The block form of gain * N(z) / D(z). With u = z - sigma, D = u^2 + q, and the states' transfer
// functions are u / D and 1 / D: c and d are read off N written in u, without a cancellation.
Section blockForm(const OrderedSection& section) {
    const RootPair& zeros = section.roots.zeros;
    const Real sigma = section.roots.poles.mean;
    const Real q = section.roots.poles.spread;
    const Real shift = sigma - zeros.mean;
    Real c[2] = {0, section.gain};
    Real d = 0;
    if (zeros.count == 1) {
        c[0] = section.gain;
        c[1] = section.gain * shift;
    } else if (zeros.count == 2) {
        d = section.gain;
        c[0] = section.gain * 2 * shift;
        c[1] = section.gain * (shift * shift + zeros.spread - q);
    }

    // A^j = | a[j]  -q b[j] |
    //       | b[j]     a[j] |
    Real a[kGroup + 1] = {1};
    Real b[kGroup + 1] = {0};
    for (int j = 0; j < kGroup; ++j) {
        a[j + 1] = sigma * a[j] - q * b[j];
        b[j + 1] = a[j] + sigma * b[j];
    }
    const Real base = a[kGroup] > 0.5L ? 1 : 0;

    // Denormals as the filters read them, so that no weight is one.
    const auto rounded = [](Real value) {
        const auto number = static_cast<double>(value);
        return std::fpclassify(number) == FP_SUBNORMAL ? std::copysign(0.0, number) : number;
    };
    const auto power = [&](int j, Real less, double(&matrix)[2][2]) {
        matrix[0][0] = matrix[1][1] = rounded(a[j] - less);
        matrix[0][1] = rounded(-q * b[j]);
        matrix[1][0] = rounded(b[j]);
    };
    Section result{};
    Real h = d;
    for (int j = 0; j < kHalf; ++j) {
        result.direct[j] = rounded(h);
        h = c[0] * a[j] + c[1] * b[j];
        result.fromState[j][0] = rounded(h);
        result.fromState[j][1] = rounded(c[1] * a[j] - q * c[0] * b[j]);
        if (j < kHalf - 1) result.intoFirst[j] = rounded(a[kHalf - 1 - j]);
        if (j < kHalf - 2) result.intoSecond[j] = rounded(b[kHalf - 1 - j]);
    }
    power(kHalf, 0, result.half);
    power(kGroup, base, result.advance);
    result.base = static_cast<double>(base);
    return result;
}

using Numbers = std::array<double, sizeof(Section) / sizeof(double)>;

// Roots beyond all measure may overflow the weights.
bool isFinite(const Section& section) {
    return std::ranges::all_of(std::bit_cast<Numbers>(section),
                               [](double weight) { return std::isfinite(weight); });
}

LaneSection inAllLanes(const Section& section) {
    std::array<Four, std::tuple_size_v<Numbers>> fours;
    std::ranges::transform(std::bit_cast<Numbers>(section), fours.begin(), [](double weight) {
        return Four{weight, weight, weight, weight};
    });
    return std::bit_cast<LaneSection>(fours);
}

}  // namespace

std::optional<Cascade> Cascade::fromRoots(const Roots& roots) {
    if (!std::isfinite(roots.gain)) return std::nullopt;
    auto sections = paired(roots);
    if (!sections) return std::nullopt;
    Cascade cascade;
    cascade.gain_ = static_cast<double>(roots.gain);
    if (sections->empty()) return cascade;
    const auto design = std::make_shared<Design>();
    for (const OrderedSection& next : ordered(std::move(*sections), roots.gain)) {
        const Section section = blockForm(next);
        if (!isFinite(section)) return std::nullopt;
        design->push_back(inAllLanes(section));
    }
    cascade.states_.resize(design->size());
    cascade.design_ = design;
    return cascade;
}

void Cascade::run(const double* x, double* y, int n, vyn::KernelLevel level) noexcept {
    if (!design_) {
        if (gain_ == 1.0) {
            std::memmove(y, x, static_cast<std::size_t>(n) * sizeof *x);
        } else {
            std::transform(x, x + n, y, [this](double sample) { return gain_ * sample; });
        }
        return;
    }
    vyn::kernelsAt<SectionKernels>(level).run(design_->data(), states_.data(), sectionCount(),
                                              phase_, x, y, n);
    phase_ = (phase_ + n) % kGroup;
}

bool Cascade::canRunTogether(std::span<Cascade* const> cascades) noexcept {
    const auto& design = cascades[0]->design_;
    return design && std::all_of(cascades.begin(), cascades.end(), [&](const Cascade* cascade) {
               return cascade->design_ == design && cascade->phase_ == 0;
           });
}

void Cascade::takeStates(std::span<Cascade* const> cascades, double* states) noexcept {
    const std::size_t count = cascades.size();
    for (std::size_t c = 0; c < count; ++c) {
        double* to = states + c;
        for (const SectionState& state : cascades[c]->states_) {
            to[0] = state.start.first;
            to[count] = state.start.second;
            to += 2 * count;
        }
    }
}

void Cascade::giveStates(std::span<Cascade* const> cascades, const double* states) noexcept {
    const std::size_t count = cascades.size();
    for (std::size_t c = 0; c < count; ++c) {
        const double* from = states + c;
        for (SectionState& state : cascades[c]->states_) {
            state.start = {from[0], from[count]};
            from += 2 * count;
        }
    }
}

void Cascade::shareDesign(const Cascade& other) noexcept {
    if (design_ == other.design_ || !design_ || !other.design_) return;
    if (*design_ == *other.design_) design_ = other.design_;
}

}  // namespace ovanlys
