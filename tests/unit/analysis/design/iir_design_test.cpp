// The designs against their closed forms: the magnitude as a function of the pre-warped frequency.
#include <gtest/gtest.h>

#include <boost/math/special_functions/ellint_1.hpp>
#include <boost/math/special_functions/jacobi_elliptic.hpp>
#include <boost/multiprecision/cpp_bin_float.hpp>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <numbers>
#include <utility>
#include <vector>

#include "design/analog_prototype.h"
#include "design/iir_design.h"
#include "support/signals.h"
#include "unit/analysis/filter_fixture.h"

namespace ovanlys {
namespace {

using signals::noise;
using test::Characteristic;
using test::DesignCase;
using test::Filter;

using Real = long double;

// The low-pass prototype's frequency, 1 at the edges, at which a design's response at f is found.
Real prototypeFrequency(const DesignCase& c, double f) {
    const auto warped = [&c](double frequency) {
        return std::tan(std::numbers::pi_v<Real> * frequency / c.rate);
    };
    const Real w = warped(f);
    const Real w1 = warped(c.f1);
    const Real w2 = warped(c.f2);
    switch (c.kind) {
        case test::kLowPass: return w / w1;
        case test::kHighPass: return w1 / w;
        case test::kBandPass: return std::abs(w * w - w1 * w2) / (w * (w2 - w1));
        default: return w * (w2 - w1) / std::abs(w * w - w1 * w2);
    }
}

Real powerAboveOne(Real decibels) { return std::pow(10.0L, decibels / 10) - 1; }

Real chebyshevPolynomial(int n, Real x) {
    return x <= 1 ? std::cos(n * std::acos(x)) : std::cosh(n * std::acosh(x));
}

// The elliptic rational function R_n from its zeros cd((2i-1)K/n, k), with the modulus found from
// the degree equation by bisection, in 50 digits.
class EllipticRational {
public:
    using Wide = boost::multiprecision::cpp_bin_float_50;

    EllipticRational(int n, Real ripple, Real attenuation) : odd_(n % 2 != 0) {
        const Wide discrimination = sqrt((pow(Wide(10), Wide(ripple) / 10) - 1) /
                                         (pow(Wide(10), Wide(attenuation) / 10) - 1));
        // Bisection over t = atanh(k), which keeps the digits of k close to 1.
        const Wide wanted = periodRatio(discrimination) / n;
        Wide low = 1e-20;
        Wide high = 50;
        for (int step = 0; step < 120; ++step) {
            const Wide middle = (low + high) / 2;
            (periodRatio(tanh(middle)) > wanted ? low : high) = middle;
        }
        const Wide k = tanh(low);
        const Wide quarter = boost::math::ellint_1(k);
        for (int i = 1; i <= n / 2; ++i) {
            const Wide u = (2 * i - 1) * quarter / n;
            Wide cn;
            Wide dn;
            boost::math::jacobi_elliptic(k, u, &cn, &dn);
            const Wide zero = cn / dn;
            zerosSquared_.push_back(zero * zero);
            polesSquared_.push_back(1 / (k * k * zero * zero));
        }
        scale_ = 1 / at(1.0L);
    }

    Wide at(Real x) const {
        Wide product = odd_ ? Wide(x) : Wide(1);
        for (std::size_t i = 0; i < zerosSquared_.size(); ++i)
            product *= (Wide(x) * x - zerosSquared_[i]) / (Wide(x) * x - polesSquared_[i]);
        return product * scale_;
    }

private:
    static Wide periodRatio(const Wide& k) {
        return boost::math::ellint_1(Wide(sqrt((1 - k) * (1 + k)))) / boost::math::ellint_1(k);
    }

    bool odd_;
    std::vector<Wide> zerosSquared_;
    std::vector<Wide> polesSquared_;
    Wide scale_ = 1;
};

double expectedMagnitude(const DesignCase& c, double f) {
    const Real v = prototypeFrequency(c, f);
    Real excess = 0;  // 1/|H|^2 - 1
    switch (c.characteristic) {
        case Characteristic::butterworth: excess = std::pow(v, 2.0L * c.order); break;
        case Characteristic::chebyshev:
            excess = powerAboveOne(c.ripple) * std::pow(chebyshevPolynomial(c.order, v), 2.0L);
            break;
        case Characteristic::inverseChebyshev:
            excess =
                powerAboveOne(c.attenuation) / std::pow(chebyshevPolynomial(c.order, 1 / v), 2.0L);
            break;
        case Characteristic::elliptic: {
            static std::map<std::pair<int, std::pair<double, double>>, EllipticRational> known;
            const auto key = std::pair(c.order, std::pair(c.ripple, c.attenuation));
            const auto& rational =
                known.try_emplace(key, c.order, c.ripple, c.attenuation).first->second;
            const auto value = rational.at(v);
            excess = powerAboveOne(c.ripple) * static_cast<Real>(value * value);
            break;
        }
        case Characteristic::bessel: ADD_FAILURE() << "no closed form"; break;
    }
    return static_cast<double>(1 / std::sqrt(1 + excess));
}

Roots designedRoots(const DesignCase& c) {
    const auto prototype = [&c] {
        switch (c.characteristic) {
            case Characteristic::butterworth: return butterworthPrototype(c.order);
            case Characteristic::chebyshev: return chebyshevPrototype(c.order, c.ripple);
            case Characteristic::inverseChebyshev:
                return inverseChebyshevPrototype(c.order, c.attenuation);
            case Characteristic::elliptic:
                return ellipticPrototype(c.order, c.ripple, c.attenuation);
            default: return besselPrototype(c.order);
        }
    }();
    return digitalFilter(prototype, static_cast<FilterKind>(c.kind), c.rate, c.f1, c.f2);
}

struct Response {
    double magnitude;
    double rootRounding;  // the relative error that roots rounded to double may bring
};

Response response(const Roots& roots, double rate, double frequency) {
    const auto z = std::polar(1.0L, 2 * std::numbers::pi_v<Real> * frequency / rate);
    std::complex<Real> product = roots.gain;
    Real rounding = 0;
    const Real halfUnit = std::numeric_limits<double>::epsilon() / 2;
    for (const auto pole : roots.poles) {
        product /= z - pole;
        rounding += halfUnit * std::abs(pole) / std::abs(z - pole);
    }
    for (const auto zero : roots.zeros) {
        product *= z - zero;
        rounding += halfUnit * std::abs(zero) / std::abs(z - zero);
    }
    return {static_cast<double>(std::abs(product)), static_cast<double>(rounding)};
}

// The sections are made from the design's own roots, the head shows them rounded to double: where a
// pole lies very close to the unit circle, that alone may exceed 1e-9.
void expectClosedForm(const DesignCase& c) {
    constexpr double kTolerance = 1e-9;
    SCOPED_TRACE(testing::PrintToString(c));
    const Filter filter(c.kind, c.order);
    ASSERT_EQ(test::design(c, filter.object()), 0);
    const FilterHead& head = filter.head();
    const bool band = c.kind >= test::kBandPass;
    EXPECT_EQ(head.poleCount, band ? 2 * c.order : c.order);
    EXPECT_EQ(head.zeroCount, head.poleCount);
    EXPECT_EQ(head.changed, 0);
    const Roots roots = designedRoots(c);
    for (int step = 1; step < 60; ++step) {
        // From well below the lower edge to well above the upper one, never on an edge: there, the
        // rounding of f alone moves a steep response by more than the tolerance.
        const double low = c.f1 / 8.1;
        const double high = std::min(0.499 * c.rate, (band ? c.f2 : c.f1) * 4);
        const double f = low * std::pow(high / low, step / 60.0);
        const double expected = expectedMagnitude(c, f);
        if (expected < 0.5) continue;
        const Response designed = response(roots, c.rate, f);
        EXPECT_NEAR(designed.magnitude / expected, 1.0, kTolerance) << f << " Hz";
        EXPECT_NEAR(test::magnitude(head, c.rate, f) / expected, 1.0,
                    std::max(kTolerance, designed.rootRounding))
            << f << " Hz";
    }
}

std::vector<DesignCase> closedFormCases(Characteristic characteristic,
                                        const std::vector<int>& orders) {
    std::vector<DesignCase> cases;
    for (const int kind : {0, 1, 2, 3})
        for (const int order : orders)
            for (const auto& [f1, f2] :
                 {std::pair(100.0, 200.0), {1000.0, 4000.0}, {9000.0, 9500.0}, {2000.0, 20000.0}})
                for (const auto& [ripple, attenuation] :
                     {std::pair(0.1, 80.0), {1.0, 40.0}, {3.0, 20.0}})
                    cases.push_back(
                        {characteristic, kind, order, 44100.0, f1, f2, ripple, attenuation});
    return cases;
}

TEST(Butterworth, HasItsClosedFormAtEveryOrder) {
    for (const DesignCase& c :
         closedFormCases(Characteristic::butterworth, {1, 2, 3, 4, 5, 8, 13, 20, 33, 64}))
        expectClosedForm(c);
}

TEST(Chebyshev, HasItsClosedFormUpToOrder20) {
    for (const DesignCase& c :
         closedFormCases(Characteristic::chebyshev, {1, 2, 3, 4, 5, 8, 13, 20}))
        expectClosedForm(c);
}

TEST(InverseChebyshev, HasItsClosedFormAtEveryOrder) {
    for (const DesignCase& c :
         closedFormCases(Characteristic::inverseChebyshev, {1, 2, 3, 4, 5, 8, 13, 20, 33, 64}))
        expectClosedForm(c);
}

TEST(Elliptic, HasItsClosedFormUpToOrder25) {
    for (const DesignCase& c :
         closedFormCases(Characteristic::elliptic, {1, 2, 3, 4, 5, 8, 13, 20, 25}))
        expectClosedForm(c);
}

TEST(Butterworth, OfFirstOrderByHand) {
    // fs = 4, edge 1: tan(pi/4) = 1, H = 0.5 (z + 1) / z.
    const Filter filter(test::kLowPass, 1);
    ASSERT_EQ(ZABFunc18(4.0, 1.0, 0.0, filter.object()), 0);
    EXPECT_NEAR(filter.head().poles[0], 0.0, 1e-18);
    EXPECT_EQ(filter.head().zeros[0], -1.0);
    EXPECT_DOUBLE_EQ(filter.head().gain, 0.5);
    const auto y = filter({1.0, 0.0, 0.0, 4.0});
    EXPECT_DOUBLE_EQ(y[0], 0.5);
    EXPECT_DOUBLE_EQ(y[1], 0.5);
    EXPECT_NEAR(y[2], 0.0, 1e-17);
    EXPECT_DOUBLE_EQ(y[3], 2.0);
}

TEST(Bessel, HasTheKnownPolesOfLowOrders) {
    // theta_2 = s^2 + 3s + 3, theta_3 = s^3 + 6s^2 + 15s + 15; the half-power frequencies
    // 1.36165412871613 and 1.75567236868121 are tabulated (Johnson et al.).
    const double rate = 2.0;
    const double f = 0.5;  // tan(pi f / rate) = 1: the prototype itself
    for (const auto& [order, edge, slope] :
         {std::tuple(2, 1.36165412871613, 3.0), {3, 1.75567236868121, 6.0}}) {
        const Filter filter(test::kLowPass, order);
        ASSERT_EQ(ZABFunc12(rate, f, 0.0, filter.object()), 0);
        std::complex<double> sum = 0.0;
        for (int i = 0; i < order; ++i) {
            const std::complex<double> z(filter.head().poles[2 * i],
                                         filter.head().poles[2 * i + 1]);
            sum += (z - 1.0) / (z + 1.0) * edge;
        }
        EXPECT_NEAR(sum.real(), -slope, 1e-12) << order;  // the sum of the roots
        EXPECT_NEAR(sum.imag(), 0.0, 1e-14) << order;
    }
}

TEST(Bessel, IsHalfThePowerAtItsEdgesAndHasAFlatDelayAtEveryOrder) {
    for (int order = 1; order <= 25; ++order) {
        const Filter filter(test::kLowPass, order);
        ASSERT_EQ(ZABFunc12(1000.0, 10.0, 0.0, filter.object()), 0);
        EXPECT_NEAR(test::magnitude(filter.head(), 1000.0, 10.0), std::sqrt(0.5), 1e-11) << order;
        EXPECT_NEAR(test::magnitude(filter.head(), 1000.0, 1e-6), 1.0, 1e-11) << order;
        // The delay's first two derivatives at 0 Hz vanish from order 2 on: sums of powers of the
        // analog poles, sum 1/p^3 and sum 1/p^5.
        std::complex<Real> third = 0;
        std::complex<Real> fifth = 0;
        std::complex<Real> first = 0;
        for (int i = 0; i < order; ++i) {
            const std::complex<Real> z(filter.head().poles[2 * i], filter.head().poles[2 * i + 1]);
            const std::complex<Real> s = (z - 1.0L) / (z + 1.0L);
            first += 1.0L / s;
            third += 1.0L / (s * s * s);
            fifth += 1.0L / (s * s * s * s * s);
        }
        if (order >= 2) {
            EXPECT_NEAR(static_cast<double>((third / (first * first * first)).real()), 0.0, 1e-12);
        }
        if (order >= 3) {
            EXPECT_NEAR(static_cast<double>((fifth / std::pow(first, 5)).real()), 0.0, 1e-12);
        }
    }
}

TEST(Bessel, AboveOrder25IsRefused) {
    for (const int order : {26, 40, 64}) {
        const Filter filter(test::kLowPass, order);
        EXPECT_EQ(ZABFunc12(1000.0, 100.0, 0.0, filter.object()), -2);
        EXPECT_EQ(filter.head().poleCount, 0);
    }
}

TEST(Designs, HaveAllPolesInsideTheUnitCircleAtOrder64) {
    for (const auto characteristic : {Characteristic::butterworth, Characteristic::chebyshev,
                                      Characteristic::inverseChebyshev, Characteristic::elliptic})
        for (const int kind : {0, 1, 2, 3}) {
            const DesignCase c{characteristic, kind, 64, 48000.0, 1000.0, 4000.0, 0.5, 60.0};
            const Filter filter(kind, 64);
            ASSERT_EQ(test::design(c, filter.object()), 0) << testing::PrintToString(c);
            for (int i = 0; i < filter.head().poleCount; ++i)
                EXPECT_LT(std::hypot(filter.head().poles[2 * i], filter.head().poles[2 * i + 1]),
                          1.0)
                    << testing::PrintToString(c);
        }
}

TEST(Designs, ReadTheFirstEdgeAloneForLowAndHighPass) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const int kind : {test::kLowPass, test::kHighPass})
        for (const double unused : {nan, -5.0, 1e9, 100.0}) {
            const Filter filter(kind, 4);
            EXPECT_EQ(ZABFunc18(1000.0, 100.0, unused, filter.object()), 0);
            EXPECT_EQ(filter.head().poleCount, 4);
        }
}

struct Refused {
    DesignCase design;
    const char* reason;
};

TEST(Designs, RefuseWhatMakesNoSenseAndLeaveObjectAndStateAsTheyWere) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    using enum Characteristic;
    std::vector<Refused> rows;
    for (const auto characteristic : {butterworth, chebyshev, inverseChebyshev, elliptic, bessel}) {
        for (const double bad : {nan, inf, -inf, 0.0, -0.0, -1.0, 500.0, 500.1, 1e300})
            for (const int kind : {0, 1, 2, 3})
                rows.push_back(
                    {{characteristic, kind, 3, 1000.0, bad, 400.0, 1.0, 40.0}, "edge f1"});
        for (const double bad : {nan, inf, 0.0, 500.0, 100.0, 99.0, -200.0})
            for (const int kind : {2, 3})
                rows.push_back(
                    {{characteristic, kind, 3, 1000.0, 100.0, bad, 1.0, 40.0}, "edge f2"});
        for (const double bad : {nan, inf, 0.0, -1000.0, 200.0})
            rows.push_back({{characteristic, 0, 3, bad, 100.0, 200.0, 1.0, 40.0}, "rate"});
    }
    for (const double bad : {nan, inf, 0.0, -0.0, -1.0}) {
        rows.push_back({{chebyshev, 0, 3, 1000.0, 100.0, 200.0, bad, 40.0}, "ripple"});
        rows.push_back({{elliptic, 0, 3, 1000.0, 100.0, 200.0, bad, 40.0}, "ripple"});
        rows.push_back({{inverseChebyshev, 0, 3, 1000.0, 100.0, 200.0, 1.0, bad}, "attenuation"});
        rows.push_back({{elliptic, 0, 3, 1000.0, 100.0, 200.0, 1.0, bad}, "attenuation"});
    }
    for (const double tooLow : {1.0, 0.999})
        rows.push_back(
            {{elliptic, 0, 3, 1000.0, 100.0, 200.0, 1.0, tooLow}, "attenuation <= ripple"});

    const auto x = noise<double>(100);
    for (const Refused& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.design) + " " + row.reason);
        const Filter filter(row.design.kind, row.design.order);
        const Filter twin(row.design.kind, row.design.order);
        for (const Filter* each : {&filter, &twin}) {
            ASSERT_EQ(ZABFunc18(1000.0, 100.0, 300.0, each->object()), 0);
            (*each)(x);
        }
        EXPECT_EQ(test::design(row.design, filter.object()), -2);
        EXPECT_EQ(std::memcmp(&filter.head(), &twin.head(), sizeof(FilterHead)), 0);
        EXPECT_EQ(filter(x), twin(x));
    }
}

// The design made last is kept and copied: a copy begins at rest and gives the bits of a design
// made anew, whatever has become of the object that it was first made for.
TEST(Designs, TheSameDesignForManyObjectsGivesTheSameBits) {
    using enum test::Characteristic;
    const auto x = noise<double>(500);
    for (const auto characteristic : {butterworth, chebyshev, inverseChebyshev, elliptic, bessel}) {
        for (int kind = 0; kind < 4; ++kind) {
            const test::DesignCase wanted{characteristic, kind,   7,   48000.0,
                                          900.0,          5000.0, 1.0, 40.0};
            SCOPED_TRACE(testing::PrintToString(wanted));
            const auto designed = [&] {
                Filter filter(kind, wanted.order);
                EXPECT_EQ(test::design(wanted, filter.object()), 0);
                return filter;
            };
            const Filter first = designed();
            const auto expected = first(x);
            first.head().gain = 7.0;
            first.head().changed = 1;
            first(x);
            EXPECT_EQ(designed()(x), expected) << "a copy";
            const Filter other(kind, wanted.order);
            ASSERT_EQ(ZABFunc18(1000.0, 100.0, 300.0, other.object()), 0);
            EXPECT_EQ(designed()(x), expected) << "designed anew";
            EXPECT_EQ(std::memcmp(&designed().head(), &designed().head(), sizeof(FilterHead)), 0);
        }
    }
}

// Each number of a design counts: none is taken for the one before.
TEST(Designs, AnotherDesignIsNeverTakenForTheLastOne) {
    using enum test::Characteristic;
    const auto x = noise<double>(500);
    const test::DesignCase base{elliptic, 2, 4, 48000.0, 900.0, 5000.0, 1.0, 40.0};
    const auto response = [&](const test::DesignCase& wanted) {
        const Filter filter(wanted.kind, wanted.order);
        EXPECT_EQ(test::design(wanted, filter.object()), 0);
        return filter(x);
    };
    void (*const changes[])(test::DesignCase&) = {
        [](test::DesignCase& c) { c.characteristic = chebyshev; },
        [](test::DesignCase& c) { c.kind = 3; },
        [](test::DesignCase& c) { c.order = 5; },
        [](test::DesignCase& c) { c.rate = 48001.0; },
        [](test::DesignCase& c) { c.f1 = 901.0; },
        [](test::DesignCase& c) { c.f2 = 5001.0; },
        [](test::DesignCase& c) { c.ripple = 1.1; },
        [](test::DesignCase& c) { c.attenuation = 41.0; }};
    const auto expected = response(base);
    for (const auto change : changes) {
        test::DesignCase changed = base;
        change(changed);
        EXPECT_NE(response(changed), expected) << testing::PrintToString(changed);
        EXPECT_EQ(response(base), expected);
    }
}

TEST(Designs, RefuseANullObject) {
    EXPECT_EQ(ZABFunc18(1000.0, 100.0, 200.0, nullptr), -1);
    EXPECT_EQ(ZABFunc24(1000.0, 100.0, 200.0, 1.0, nullptr), -1);
    EXPECT_EQ(ZABFunc98(1000.0, 100.0, 200.0, 40.0, nullptr), -1);
    EXPECT_EQ(ZABFunc61(1000.0, 100.0, 200.0, 1.0, 40.0, nullptr), -1);
    EXPECT_EQ(ZABFunc12(1000.0, 100.0, 200.0, nullptr), -1);
}

}  // namespace
}  // namespace ovanlys
