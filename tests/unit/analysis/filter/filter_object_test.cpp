#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "filter/cascade.h"
#include "support/signals.h"
#include "unit/analysis/allocation_count.h"
#include "unit/analysis/filter_fixture.h"
#include "unit/kernels/levels_of_machine.h"

namespace ovanlys {
namespace {

using signals::noise;
using test::Filter;
using test::Samples;

using test::kInf;
using test::kNan;

std::vector<std::uint64_t> bits(const Samples& samples) {
    std::vector<std::uint64_t> result;
    for (const double x : samples)  // one pattern for all NaNs
        result.push_back(std::isnan(x) ? ~std::uint64_t{0} : std::bit_cast<std::uint64_t>(x));
    return result;
}

// The head's difference equation in long double, from its multiplied-out polynomials.
Samples byDifferenceEquation(const FilterHead& head, const Samples& x) {
    using Complex = std::complex<long double>;
    const auto polynomial = [](const double* roots, int count) {  // from z^count down
        std::vector<Complex> coefficients{1};
        for (int i = 0; i < count; ++i) {
            coefficients.push_back(0);
            for (std::size_t k = coefficients.size() - 1; k > 0; --k)
                coefficients[k] -= coefficients[k - 1] * Complex(roots[2 * i], roots[2 * i + 1]);
        }
        return coefficients;
    };
    const auto a = polynomial(head.poles, head.poleCount);
    auto b = polynomial(head.zeros, head.zeroCount);
    b.insert(b.begin(), a.size() > b.size() ? a.size() - b.size() : 0, 0);
    std::vector<long double> y(x.size());
    for (std::size_t n = 0; n < x.size(); ++n) {
        long double sum = 0;
        for (std::size_t k = 0; k < b.size() && k <= n; ++k)
            sum += head.gain * b[k].real() * x[n - k];
        for (std::size_t k = 1; k < a.size() && k <= n; ++k)
            sum -= a[k].real() * y[n - k];
        y[n] = sum;
    }
    return {y.begin(), y.end()};
}

// The head's roots one after the other in long double, which keeps the digits that multiplied-out
// polynomials lose where poles lie close to z = 1.
std::vector<long double> byRoots(const FilterHead& head, const Samples& x) {
    using Complex = std::complex<long double>;
    const auto root = [](const double* list, int i) {
        return Complex(list[2 * i], list[2 * i + 1]);
    };
    std::vector<Complex> y(x.begin(), x.end());
    for (int i = 0; i < head.poleCount; ++i) {
        Complex sum = 0;
        for (Complex& value : y) {
            const Complex before = sum;
            sum = value + root(head.poles, i) * before;
            value = i < head.zeroCount ? sum - root(head.zeros, i) * before : before;
        }
    }
    std::vector<long double> real;
    for (const Complex value : y)
        real.push_back(head.gain * value.real());
    return real;
}

// Root of the mean square of what samples are off by, relative to that of the samples.
double relativeError(const Samples& y, const std::vector<long double>& expected) {
    long double error = 0;
    long double power = 0;
    for (std::size_t i = 0; i < y.size(); ++i) {
        error += (y[i] - expected[i]) * (y[i] - expected[i]);
        power += expected[i] * expected[i];
    }
    return static_cast<double>(std::sqrt(error / power));
}

void expectNear(const Samples& y, const Samples& expected, double tolerance) {
    ASSERT_EQ(y.size(), expected.size());
    for (std::size_t i = 0; i < y.size(); ++i)
        ASSERT_NEAR(y[i], expected[i], tolerance) << i;
}

void setRoots(FilterHead& head, const std::vector<std::complex<double>>& zeros,
              const std::vector<std::complex<double>>& poles, double gain) {
    head.zeroCount = static_cast<std::int32_t>(zeros.size());
    head.poleCount = static_cast<std::int32_t>(poles.size());
    head.gain = gain;
    const auto store = [](const std::vector<std::complex<double>>& roots, double* list) {
        for (const auto root : roots) {
            *list++ = root.real();
            *list++ = root.imag();
        }
    };
    store(zeros, head.zeros);
    store(poles, head.poles);
    head.changed = 1;
}

TEST(FilterObject, IsMadeForKinds0To3AndOrders1To64Alone) {
    for (int kind = 0; kind <= 3; ++kind)
        for (const int order : {1, 2, 63, 64})
            EXPECT_NE(Filter(kind, order).object(), nullptr);
    for (const int kind : {-1, 4, 100, std::numeric_limits<int>::min()})
        EXPECT_EQ(ZABFunc233(kind, 4), nullptr);
    for (const int order : {0, -1, 65, 1000, std::numeric_limits<int>::max()})
        EXPECT_EQ(ZABFunc233(0, order), nullptr);
}

TEST(FilterObject, NullMayBeDestroyed) { ZABFunc234(nullptr); }

TEST(FilterObject, WhenNewPassesSamplesThroughUnchanged) {
    const Filter filter(test::kBandPass, 5);
    EXPECT_EQ(filter.head().zeroCount, 0);
    EXPECT_EQ(filter.head().poleCount, 0);
    EXPECT_EQ(filter.head().gain, 1.0);
    EXPECT_EQ(filter.head().changed, 0);
    Samples x = noise<double>(1000);
    x[3] = -0.0;
    x[5] = 1e-310;  // a denormal
    x[7] = kInf;
    x[8] = kNan;
    EXPECT_EQ(bits(filter(x)), bits(x));
}

TEST(FilterObject, RefusesNullPointersAndNegativeCountsAndTouchesNothing) {
    const Filter filter(test::kLowPass, 2);
    Samples x{1.0, 2.0};
    Samples y{7.0, 8.0};
    EXPECT_EQ(ZABFunc91(nullptr, 2, filter.object(), y.data()), -1);
    EXPECT_EQ(ZABFunc91(x.data(), 2, nullptr, y.data()), -1);
    EXPECT_EQ(ZABFunc91(x.data(), 2, filter.object(), nullptr), -1);
    EXPECT_EQ(ZABFunc91(x.data(), -1, filter.object(), y.data()), -1);
    EXPECT_EQ(ZABFunc91(x.data(), 0, filter.object(), y.data()), 0);
    EXPECT_THAT(y, testing::ElementsAre(7.0, 8.0));
}

TEST(FilterObject, FollowsTheDifferenceEquationOfItsRoots) {
    const Samples x = noise<double>(500);
    for (const int kind : {0, 1, 2, 3})
        for (const int order : {1, 2, 3, 4, 5}) {
            const Filter filter(kind, order);
            ASSERT_EQ(ZABFunc24(1.0, 0.11, 0.23, 1.0, filter.object()), 0);
            expectNear(filter(x), byDifferenceEquation(filter.head(), x), 1e-12);
        }
}

// A state lasts for 1 / (2 pi edge) samples and is rounded once in eight of them: so many roundings
// of half a unit add up like noise.
TEST(FilterObject, KeepsItsDigitsWherePolesLieCloseToOne) {
    for (const double edge : {1e-4, 3e-4, 1e-3}) {
        const Filter filter(test::kLowPass, 2);
        ASSERT_EQ(ZABFunc18(1.0, edge, 0.0, filter.object()), 0);
        filter.head().changed = 1;  // by the roots as the head has them
        const Samples x = noise<double>(30000);
        const double roundings = 1 / (8 * 2 * std::numbers::pi * edge);
        EXPECT_LT(relativeError(filter(x), byRoots(filter.head(), x)),
                  0x1p-53 * std::sqrt(roundings))
            << edge;
    }
}

TEST(FilterObject, TakesRootsThatABlockHasFilledIn) {
    const Samples x = noise<double>(300);
    const std::vector<std::vector<std::complex<double>>> lists = {
        {},
        {0.5},
        {0.5, 0.5},
        {-0.3, 0.9, 0.2},
        {{0.6, 0.5}, {0.6, -0.5}},
        {0.9, {0.1, -0.7}, 0.3, {0.1, 0.7}},
        {{0.2, 0.3}, {-0.4, 0.8}, {0.2, -0.3}, {-0.4, -0.8}, 0.0},
    };
    for (const auto& poles : lists)
        for (const auto& zeros : lists) {
            if (zeros.size() > poles.size()) continue;
            const Filter filter(test::kLowPass, 1);
            setRoots(filter.head(), zeros, poles, -1.25);
            expectNear(filter(x), byDifferenceEquation(filter.head(), x), 1e-12);
            EXPECT_EQ(filter.head().changed, 0);
        }
}

TEST(FilterObject, WithMoreZerosThanPolesDelaysByAsManySamples) {
    const Filter filter(test::kLowPass, 1);
    setRoots(filter.head(), {1.0, -0.5, 0.25}, {}, 2.0);
    const Samples y = filter({1.0, 0.0, 0.0, 0.0, 0.0});
    // 2 (z - 1)(z + 0.5)(z - 0.25) z^-3 = 2 - 1.5 z^-1 - 0.75 z^-2 + 0.25 z^-3
    expectNear(y, {2.0, -1.5, -0.75, 0.25, 0.0}, 1e-15);
}

TEST(FilterObject, RebuildsAndClearsItsStateWhenItsHeadIsEdited) {
    const Filter filter(test::kLowPass, 4);
    ASSERT_EQ(ZABFunc18(1.0, 0.1, 0.0, filter.object()), 0);
    const Samples x = noise<double>(77);
    const Samples first = filter(x);
    EXPECT_NE(filter(x), first);  // the state goes on
    filter.head().gain *= 2.0;
    filter.head().changed = 1;
    const Samples doubled = filter(x);
    for (std::size_t i = 0; i < x.size(); ++i)
        EXPECT_NEAR(doubled[i], 2.0 * first[i], 1e-14);
    EXPECT_EQ(filter.head().changed, 0);
}

TEST(FilterObject, KeepsOnWhenTheHeadIsEditedWithoutSayingSo) {
    const Filter filter(test::kLowPass, 4);
    const Filter twin(test::kLowPass, 4);
    for (const Filter* each : {&filter, &twin})
        ASSERT_EQ(ZABFunc18(1.0, 0.1, 0.0, each->object()), 0);
    filter.head().gain = 0.0;
    const Samples x = noise<double>(50);
    EXPECT_EQ(filter(x), twin(x));
}

TEST(FilterObject, AHeadThatMakesNoFilterIsRefusedAndFiltersAgainOnceRepaired) {
    const auto rubbish = std::vector<void (*)(FilterHead&)>{
        [](FilterHead& h) { h.poleCount = -1; },
        [](FilterHead& h) { h.poleCount = 129; },
        [](FilterHead& h) { h.zeroCount = std::numeric_limits<std::int32_t>::max(); },
        [](FilterHead& h) { h.zeroCount = std::numeric_limits<std::int32_t>::min(); },
        [](FilterHead& h) { h.gain = kNan; },
        [](FilterHead& h) { h.gain = kInf; },
        [](FilterHead& h) { h.poles[2] = kNan; },
        [](FilterHead& h) { h.zeros[1] = kInf; },
        [](FilterHead& h) { h.poles[1] += 0.3; },  // no longer a conjugate pair
        [](FilterHead& h) { h.poleCount = 3; },    // a pair cut in two
        [](FilterHead& h) {
            h.poles[1] = -h.poles[1];
            h.poles[0] = 0.1;
        },
    };
    for (std::size_t i = 0; i < rubbish.size(); ++i) {
        SCOPED_TRACE(i);
        const Filter filter(test::kLowPass, 4);
        ASSERT_EQ(ZABFunc18(1.0, 0.1, 0.0, filter.object()), 0);
        const FilterHead good = filter.head();
        rubbish[i](filter.head());
        filter.head().changed = 1;
        const Samples x = noise<double>(20);
        Samples y(20, 5.0);
        EXPECT_EQ(ZABFunc91(x.data(), 20, filter.object(), y.data()), -2);
        EXPECT_THAT(y, testing::Each(5.0));
        EXPECT_EQ(filter.head().changed, 1);
        filter.head() = good;
        EXPECT_EQ(ZABFunc91(x.data(), 20, filter.object(), y.data()), 0);
    }
}

TEST(FilterObject, RefusesRootsWhoseWeightsOverflow) {
    const Filter filter(test::kLowPass, 1);
    setRoots(filter.head(), {}, {1e100}, 1.0);
    const Samples x = noise<double>(20);
    Samples y(20, 5.0);
    EXPECT_EQ(ZABFunc91(x.data(), 20, filter.object(), y.data()), -2);
    EXPECT_THAT(y, testing::Each(5.0));
    // Ripple and attenuation all but equal: at the limit, refused or not by the last bit.
    const Filter narrow(test::kBandPass, 20);
    const int status = ZABFunc61(48000.0, 15.158052004948784, 15.170836172236056,
                                 0.010697422362990995, 0.011674130278017954, narrow.object());
    EXPECT_TRUE(status == 0 || status == -2);
    for (const double value : narrow(x))
        EXPECT_TRUE(std::isfinite(value));
}

TEST(FilterObject, SurvivesAnyBytesInItsHead) {
    std::mt19937_64 generator(7);
    for (int round = 0; round < 300; ++round) {
        const Filter filter(test::kLowPass, 4);
        FilterHead& head = filter.head();
        auto* bytes = reinterpret_cast<unsigned char*>(&head);
        if (round % 3 == 0) {
            for (std::size_t i = 0; i < sizeof head; ++i)
                bytes[i] = static_cast<unsigned char>(generator());
        }
        if (round % 3 != 0) {  // sensible counts over wild numbers
            for (double& value : head.poles)
                value = std::ldexp(1.0, static_cast<int>(generator() % 2000) - 1000);
            for (int i = 1; i < 256; i += 2)
                head.poles[i] = round % 3 == 1 ? 0.0 : (i % 4 == 1 ? 1e200 : -1e200);
            std::memcpy(head.zeros, head.poles, sizeof head.zeros);
            head.gain = 1e300;
        }
        if (round % 2 == 0) head.zeroCount = static_cast<std::int32_t>(generator() % 129);
        head.poleCount = static_cast<std::int32_t>(generator() % 129);
        head.changed = 1;
        const Samples x = noise<double>(33);
        Samples y(33);
        const int status = ZABFunc91(x.data(), 33, filter.object(), y.data());
        EXPECT_TRUE(status == 0 || status == -2);
    }
}

TEST(FilterObject, ADesignClearsTheState) {
    const Filter filter(test::kHighPass, 3);
    const Samples x = noise<double>(90);
    ASSERT_EQ(ZABFunc18(1.0, 0.2, 0.0, filter.object()), 0);
    const Samples first = filter(x);
    ASSERT_EQ(ZABFunc18(1.0, 0.2, 0.0, filter.object()), 0);
    EXPECT_EQ(filter(x), first);
}

TEST(FilterObject, GivesTheSameBitsHoweverTheSignalIsCut) {
    std::mt19937 generator(3);
    for (const int order : {1, 2, 7, 64}) {
        const int n = 20000;
        Samples x = noise<double>(n);
        std::fill(x.begin() + 300, x.begin() + 400, 0.0);
        std::fill(x.begin() + 350, x.begin() + 360, -0.0);
        const Filter whole(test::kBandPass, order);
        const Filter cut(test::kBandPass, order);
        for (const Filter* each : {&whole, &cut})
            ASSERT_EQ(ZABFunc18(1.0, 0.1, 0.2, each->object()), 0);
        const Samples expected = whole(x);
        Samples y(x.size());
        for (int start = 0, count = 0; start < n; start += count) {
            count = std::min<int>(1 + static_cast<int>(generator() % 100), n - start);
            ASSERT_EQ(ZABFunc91(x.data() + start, count, cut.object(), y.data() + start), 0);
        }
        EXPECT_EQ(bits(y), bits(expected)) << order;
    }
}

TEST(FilterObject, GivesTheSameBitsInPlace) {
    const Filter apart(test::kBandStop, 6);
    const Filter inPlace(test::kBandStop, 6);
    for (const Filter* each : {&apart, &inPlace})
        ASSERT_EQ(ZABFunc98(1.0, 0.1, 0.2, 50.0, each->object()), 0);
    Samples x = noise<double>(1003);
    const Samples expected = apart(x);
    ASSERT_EQ(ZABFunc91(x.data(), 1003, inPlace.object(), x.data()), 0);
    EXPECT_EQ(bits(x), bits(expected));
}

TEST(FilterObject, LetsNoSampleReachAnEarlierOutput) {
    for (const double poison : {kNan, kInf, -kInf, 1e308}) {
        for (int place = 40; place < 60; ++place) {
            const Filter clean(test::kLowPass, 5);
            const Filter poisoned(test::kLowPass, 5);
            for (const Filter* each : {&clean, &poisoned})
                ASSERT_EQ(ZABFunc18(1.0, 0.3, 0.0, each->object()), 0);
            Samples x = noise<double>(100);
            Samples expected = clean(x);
            x[static_cast<std::size_t>(place)] = poison;
            Samples y = poisoned(x);
            y.resize(static_cast<std::size_t>(place));
            expected.resize(static_cast<std::size_t>(place));
            EXPECT_EQ(bits(y), bits(expected)) << poison << " at " << place;
        }
    }
}

TEST(FilterObject, GivesTheSameBitsHoweverASignalWithNansIsCut) {
    for (const double poison : {kNan, kInf})
        for (const double edge : {0.07, 0.3})
            for (const int order : {2, 5})
                for (std::size_t place = 96; place < 104; ++place) {
                    Samples x = noise<double>(200);
                    x[place] = poison;
                    const Filter whole(test::kLowPass, order);
                    const Filter cut(test::kLowPass, order);
                    for (const Filter* each : {&whole, &cut})
                        ASSERT_EQ(ZABFunc18(1.0, edge, 0.0, each->object()), 0);
                    const Samples expected = whole(x);
                    Samples y(x.size());
                    for (int start = 0; start < 200; start += 5)
                        ASSERT_EQ(ZABFunc91(x.data() + start, 5, cut.object(), y.data() + start),
                                  0);
                    EXPECT_EQ(bits(y), bits(expected)) << poison << " at " << place;
                }
}

TEST(FilterObject, KeepsNansToItselfAndIsCleanAfterADesign) {
    const Filter sick(test::kLowPass, 4);
    const Filter healthy(test::kLowPass, 4);
    const Filter reference(test::kLowPass, 4);
    for (const Filter* each : {&sick, &healthy, &reference})
        ASSERT_EQ(ZABFunc18(1.0, 0.1, 0.0, each->object()), 0);
    const Samples x = noise<double>(64);
    const Samples expected = reference(x);
    sick(Samples(10, kNan));
    EXPECT_EQ(healthy(x), expected);
    EXPECT_TRUE(std::isnan(sick(x)[63]));
    ASSERT_EQ(ZABFunc18(1.0, 0.1, 0.0, sick.object()), 0);
    EXPECT_EQ(sick(x), expected);
}

TEST(FilterObject, RestoresTheCallersFloatingPointEnvironment) {
    const Filter filter(test::kLowPass, 4);
    ASSERT_EQ(ZABFunc18(1.0, 0.1, 0.0, filter.object()), 0);
    const Samples x = noise<double>(100);
    const Filter twin(test::kLowPass, 4);
    ASSERT_EQ(ZABFunc18(1.0, 0.1, 0.0, twin.object()), 0);
    const Samples expected = twin(x);
    const unsigned before = _mm_getcsr();
    _mm_setcsr((before & ~0x3Fu) | 0x4000);  // rounding up, flags clear, denormals kept
    const unsigned callers = _mm_getcsr();
    Samples y(x.size());
    ZABFunc91(x.data(), 100, filter.object(), y.data());
    const unsigned after = _mm_getcsr();
    _mm_setcsr(before);
    EXPECT_EQ(after, callers);
    EXPECT_EQ(bits(y), bits(expected));
}

TEST(FilterObject, DesignsTheSameInAnyFloatingPointMode) {
    const Filter plain(test::kBandPass, 8);
    const Filter odd(test::kBandPass, 8);
    ASSERT_EQ(ZABFunc61(1.0, 0.1, 0.2, 1.0, 50.0, plain.object()), 0);
    std::fesetround(FE_UPWARD);
    const int status = ZABFunc61(1.0, 0.1, 0.2, 1.0, 50.0, odd.object());
    const int rounding = std::fegetround();
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(rounding, FE_UPWARD);
    EXPECT_EQ(std::memcmp(&plain.head(), &odd.head(), sizeof(FilterHead)), 0);
}

TEST(FilterObject, DecaysToZeroWithoutDenormals) {
    const Filter filter(test::kLowPass, 2);
    ASSERT_EQ(ZABFunc18(1.0, 0.2, 0.0, filter.object()), 0);
    Samples x(20000, 0.0);
    x[0] = 1.0;
    const Samples y = filter(x);
    EXPECT_EQ(y.back(), 0.0);
    for (const double value : y)
        EXPECT_TRUE(value == 0.0 || std::abs(value) >= std::numeric_limits<double>::min());
}

TEST(FilterObject, StaysStableAtOrder64) {
    // A white signal of a second at 48 kHz: the output's power is that of the band.
    for (const auto& [kind, share] :
         {std::pair(0, 1.0 / 12), {1, 11.0 / 12}, {2, 3.0 / 12}, {3, 9.0 / 12}}) {
        const Filter filter(kind, 64);
        ASSERT_EQ(ZABFunc18(48000.0, kind < 2 ? 2000.0 : 1000.0, 7000.0, filter.object()), 0);
        const Samples y = filter(noise<double>(96000));
        double power = 0.0;
        for (std::size_t i = 48000; i < y.size(); ++i)
            power += y[i] * y[i];
        EXPECT_NEAR(power / 48000 * 3, share, 0.02) << kind;  // uniform noise has the power 1/3
    }
}

TEST(FilterObject, PassesASineOfThePassBandAtOrder64WithItsExactMagnitude) {
    const double rate = 48000.0;
    const Filter filter(test::kBandPass, 64);
    ASSERT_EQ(ZABFunc18(rate, 1000.0, 4000.0, filter.object()), 0);
    const int n = 48000;
    Samples x(static_cast<std::size_t>(2 * n));
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] = std::sin(2 * std::numbers::pi * 2000.0 * static_cast<double>(i % 24) / rate);
    const Samples y = filter(x);
    double real = 0.0;
    double imaginary = 0.0;
    for (std::size_t i = 48000; i < y.size(); ++i) {
        const double angle = 2 * std::numbers::pi * 2000.0 * static_cast<double>(i % 24) / rate;
        real += y[i] * std::cos(angle);
        imaginary += y[i] * std::sin(angle);
    }
    EXPECT_NEAR(std::hypot(real, imaginary) * 2 / n, 1.0, 1e-11);
}

TEST(FilterObject, AllocatesNothingWhileFiltering) {
    if (!test::allocationsAreCounted()) GTEST_SKIP() << "the heap is not ours to count here";
    const Filter filter(test::kBandPass, 8);
    ASSERT_EQ(ZABFunc18(1.0, 0.1, 0.2, filter.object()), 0);
    Samples x = noise<double>(4096);
    const std::size_t before = test::allocationCount();
    ZABFunc91(x.data(), 4096, filter.object(), x.data());
    EXPECT_EQ(test::allocationCount(), before);
}

TEST(FilterObject, LosesNothingWhenMemoryIsOut) {
    if (!test::allocationsAreCounted()) GTEST_SKIP() << "the heap is not ours to count here";
    void* none = nullptr;
    {
        const test::FailingHeap heap(0);
        none = ZABFunc233(0, 4);
    }
    EXPECT_EQ(none, nullptr);

    const Samples x = noise<double>(40);
    const Filter twin(test::kBandPass, 4);
    ASSERT_EQ(ZABFunc18(1.0, 0.1, 0.2, twin.object()), 0);
    twin(x);
    const Samples expected = twin(x);
    int status = -3;
    std::size_t refusals = 0;
    for (; status != 0 && refusals < 1000; ++refusals) {
        const Filter filter(test::kBandPass, 4);
        ASSERT_EQ(ZABFunc18(1.0, 0.1, 0.2, filter.object()), 0);
        filter(x);
        {
            const test::FailingHeap heap(refusals);
            status = ZABFunc24(1.0, 0.2, 0.3, 1.0, filter.object());
        }
        if (status != 0) {
            ASSERT_EQ(status, -3);
            ASSERT_EQ(filter(x), expected);
            filter.head().changed = 1;
            Samples y(40, 5.0);
            {
                const test::FailingHeap heap(0);
                ASSERT_EQ(ZABFunc91(x.data(), 40, filter.object(), y.data()), -3);
            }
            EXPECT_THAT(y, testing::Each(5.0));
            EXPECT_EQ(ZABFunc91(x.data(), 40, filter.object(), y.data()), 0);
        }
    }
    EXPECT_EQ(status, 0);
    EXPECT_GT(refusals, 3u);
}

TEST(Cascade, GivesTheSameBitsAtEveryInstructionSetLevel) {
    const Filter filter(test::kBandPass, 9);
    ASSERT_EQ(ZABFunc61(1.0, 0.1, 0.2, 1.0, 60.0, filter.object()), 0);
    Roots roots;
    for (int i = 0; i < filter.head().poleCount; ++i) {
        roots.poles.emplace_back(filter.head().poles[2 * i], filter.head().poles[2 * i + 1]);
        roots.zeros.emplace_back(filter.head().zeros[2 * i], filter.head().zeros[2 * i + 1]);
    }
    roots.gain = filter.head().gain;
    Samples x = noise<double>(5000);
    x[4000] = kInf;
    std::vector<std::vector<std::uint64_t>> results;
    for (const auto level : vyn::levelsOfThisMachine()) {
        auto cascade = Cascade::fromRoots(roots);
        ASSERT_TRUE(cascade);
        Samples y(x.size());
        cascade->run(x.data(), y.data(), 1003, level);
        cascade->run(x.data() + 1003, y.data() + 1003, 5000 - 1003, level);
        results.push_back(bits(y));
    }
    for (const auto& result : results)
        EXPECT_EQ(result, results[0]);
}

}  // namespace
}  // namespace ovanlys
