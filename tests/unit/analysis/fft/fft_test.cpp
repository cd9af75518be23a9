#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>
#include <thread>
#include <vector>

#include "ovanlys/functions.h"
#include "support/signals.h"
#include "unit/analysis/allocation_count.h"

namespace ovanlys {
namespace {

using signals::noise;
using Samples = std::vector<double>;
using Line = std::complex<long double>;

// Relative to the root of the energy: a transform of ~20 butterfly stages stays below 20 roundings.
constexpr double kTolerance = 20 * std::numeric_limits<double>::epsilon();

double energy(const Samples& samples) {
    long double sum = 0.0L;
    for (const double x : samples)
        sum += static_cast<long double>(x) * x;
    return static_cast<double>(sum);
}

// cos and sin of 2 pi i / n in long double, i = 0..n-1.
std::vector<Line> circle(int n) {
    std::vector<Line> points(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        points[static_cast<std::size_t>(i)] =
            std::polar(1.0L, 2.0L * std::numbers::pi_v<long double> * i / n);
    return points;
}

// Line k by its defining sum, in long double.
Line lineBySum(const Samples& samples, const std::vector<Line>& points, int k) {
    const auto n = static_cast<std::int64_t>(samples.size());
    Line sum = 0.0L;
    std::int64_t phase = 0;
    for (const double x : samples) {
        sum += static_cast<long double>(x) * std::conj(points[static_cast<std::size_t>(phase)]);
        phase = (phase + k) % n;
    }
    return sum;
}

struct Spectrum {
    Samples re;
    Samples im;
};

Spectrum transformed(const Samples& samples) {
    Spectrum spectrum{samples, Samples(samples.size(), -77.0)};
    EXPECT_EQ(ZABFunc147(spectrum.re.data(), spectrum.im.data(), static_cast<int>(samples.size())),
              0);
    return spectrum;
}

void expectLine(const Spectrum& spectrum, const Samples& samples, const std::vector<Line>& points,
                int k) {
    const double allowed = kTolerance * std::sqrt(energy(samples) * samples.size());
    const Line expected = lineBySum(samples, points, k);
    const auto i = static_cast<std::size_t>(k);
    EXPECT_NEAR(spectrum.re[i], static_cast<double>(expected.real()), allowed)
        << "n " << samples.size() << " line " << k;
    EXPECT_NEAR(spectrum.im[i], static_cast<double>(expected.imag()), allowed)
        << "n " << samples.size() << " line " << k;
}

TEST(RealTransform, GivesTheDefiningSumForEveryLengthUpTo300) {
    for (int n = 1; n <= 300; ++n) {
        const Samples samples = noise<double>(n, static_cast<unsigned>(n));
        const Spectrum spectrum = transformed(samples);
        const auto points = circle(n);
        for (int k = 0; k <= n / 2; ++k)
            expectLine(spectrum, samples, points, k);
    }
}

TEST(RealTransform, GivesTheDefiningSumForLargePrimesAndPowers) {
    for (const int n : {1021, 4096, 8191, 10007, 65536, 65537, 99991}) {
        const Samples samples = noise<double>(n);
        const Spectrum spectrum = transformed(samples);
        const auto points = circle(n);
        const int step = n < 9000 ? 7 : n / 60;
        for (int k = 0; k <= n / 2; k += step)
            expectLine(spectrum, samples, points, k);
        expectLine(spectrum, samples, points, n / 2);
    }
}

TEST(RealTransform, GivesThreeSamplesByHand) {
    // 1, 2, 4: sum 7; 1 - 2/2 - 4/2 = -2; (-2 + 4) * sqrt(3)/2 = sqrt(3).
    const Spectrum spectrum = transformed({1.0, 2.0, 4.0});
    EXPECT_DOUBLE_EQ(spectrum.re[0], 7.0);
    EXPECT_EQ(spectrum.im[0], 0.0);
    EXPECT_DOUBLE_EQ(spectrum.re[1], -2.0);
    EXPECT_DOUBLE_EQ(spectrum.im[1], std::sqrt(3.0));
}

TEST(RealTransform, OfOneSampleIsTheSample) {
    const Spectrum spectrum = transformed({-3.5});
    EXPECT_EQ(spectrum.re[0], -3.5);
    EXPECT_EQ(spectrum.im[0], 0.0);
    Samples re{-3.5};
    Samples im{9.0};
    EXPECT_EQ(ZABFunc148(re.data(), im.data(), 1), 0);
    EXPECT_EQ(re[0], -3.5);
}

TEST(RealTransform, PutsASineIntoItsLineAlone) {
    const int n = 1000;
    Samples samples(n);
    for (int i = 0; i < n; ++i)
        samples[static_cast<std::size_t>(i)] = std::sin(2.0 * std::numbers::pi * 13 * i / n);
    const Spectrum spectrum = transformed(samples);
    for (int k = 0; k <= n / 2; ++k) {
        const auto i = static_cast<std::size_t>(k);
        EXPECT_NEAR(spectrum.re[i], 0.0, 1e-11);
        EXPECT_NEAR(spectrum.im[i], k == 13 ? -n / 2.0 : 0.0, 1e-11);
    }
}

TEST(RealTransform, KeepsTheEnergy) {
    for (const int n : {2, 3, 64, 255, 1000, 8191, 65537, 1 << 18}) {
        const Samples samples = noise<double>(n);
        const Spectrum spectrum = transformed(samples);
        long double sum = 0.0L;
        for (int k = 0; k <= n / 2; ++k) {
            const auto i = static_cast<std::size_t>(k);
            const bool alone = k == 0 || 2 * k == n;
            sum +=
                (alone ? 1.0L : 2.0L) * (static_cast<long double>(spectrum.re[i]) * spectrum.re[i] +
                                         static_cast<long double>(spectrum.im[i]) * spectrum.im[i]);
        }
        EXPECT_NEAR(static_cast<double>(sum / n) / energy(samples), 1.0, 1e-14) << n;
    }
}

TEST(InverseRealTransform, GivesTheSamplesBack) {
    std::vector<int> lengths{1021, 4096, 8191, 65536, 65537, 100000};
    for (int n = 1; n <= 300; ++n)
        lengths.push_back(n);
    for (const int n : lengths) {
        const Samples samples = noise<double>(n);
        Spectrum spectrum = transformed(samples);
        ASSERT_EQ(ZABFunc148(spectrum.re.data(), spectrum.im.data(), n), 0);
        const double allowed = kTolerance * std::sqrt(energy(samples));
        for (std::size_t i = 0; i < samples.size(); ++i)
            ASSERT_NEAR(spectrum.re[i], samples[i], allowed) << "n " << n << " sample " << i;
    }
}

TEST(InverseRealTransform, IgnoresTheImaginaryPartsOfTheFirstAndTheNyquistLine) {
    for (const int n : {1, 2, 7, 8, 100}) {
        const Spectrum spectrum = transformed(noise<double>(n));
        Spectrum clean = spectrum;
        Spectrum dirty = spectrum;
        dirty.im[0] = std::numeric_limits<double>::quiet_NaN();
        if (n % 2 == 0) dirty.im[static_cast<std::size_t>(n / 2)] = 1e300;
        ASSERT_EQ(ZABFunc148(clean.re.data(), clean.im.data(), n), 0);
        ASSERT_EQ(ZABFunc148(dirty.re.data(), dirty.im.data(), n), 0);
        EXPECT_EQ(clean.re, dirty.re) << n;
    }
}

TEST(InverseRealTransform, ReadsNothingBeyondTheHalf) {
    for (const int n : {5, 8, 33}) {
        Spectrum spectrum = transformed(noise<double>(n));
        Spectrum rubbish = spectrum;
        for (auto i = static_cast<std::size_t>(n / 2 + 1); i < rubbish.re.size(); ++i)
            rubbish.re[i] = rubbish.im[i] = std::numeric_limits<double>::quiet_NaN();
        ASSERT_EQ(ZABFunc148(spectrum.re.data(), spectrum.im.data(), n), 0);
        ASSERT_EQ(ZABFunc148(rubbish.re.data(), rubbish.im.data(), n), 0);
        EXPECT_EQ(spectrum.re, rubbish.re) << n;
    }
}

TEST(RealTransforms, TouchNothingBehindTheirArrays) {
    constexpr double kUntouched = -77.0;
    constexpr int kBehind = 3;
    for (int n = 1; n <= 100; ++n) {
        SCOPED_TRACE(n);
        Samples re = noise<double>(n);
        re.resize(re.size() + kBehind, kUntouched);
        Samples im(re.size(), kUntouched);
        const Samples untouched(kBehind, kUntouched);
        EXPECT_EQ(ZABFunc147(re.data(), im.data(), n), 0);
        EXPECT_EQ(Samples(re.begin() + n, re.end()), untouched);
        EXPECT_EQ(Samples(im.begin() + n, im.end()), untouched);
        EXPECT_EQ(ZABFunc148(re.data(), im.data(), n), 0);
        EXPECT_EQ(Samples(re.begin() + n, re.end()), untouched);
        EXPECT_EQ(Samples(im.begin() + n, im.end()), untouched);
    }
}

TEST(RealTransforms, RefuseNullPointersAndCountsBelowOneAndTouchNothing) {
    for (auto* transform : {&ZABFunc147, &ZABFunc148}) {
        Samples a{1.0, 2.0, 3.0, 4.0};
        Samples b{5.0, 6.0, 7.0, 8.0};
        EXPECT_EQ(transform(nullptr, b.data(), 4), -1);
        EXPECT_EQ(transform(a.data(), nullptr, 4), -1);
        EXPECT_EQ(transform(nullptr, nullptr, 4), -1);
        for (const int n : {0, -1, std::numeric_limits<int>::min()})
            EXPECT_EQ(transform(a.data(), b.data(), n), -1);
        EXPECT_THAT(a, testing::ElementsAre(1.0, 2.0, 3.0, 4.0));
        EXPECT_THAT(b, testing::ElementsAre(5.0, 6.0, 7.0, 8.0));
    }
}

TEST(RealTransforms, AllocateNothingOnceTheLengthIsKnown) {
    if (!test::allocationsAreCounted()) GTEST_SKIP() << "the heap is not ours to count here";
    for (const int n : {2, 60, 4096, 10007, 1 << 16}) {  // 10007 is prime: another algorithm
        Samples a = noise<double>(n);
        Samples b(a.size());
        ZABFunc147(a.data(), b.data(), n);
        ZABFunc148(a.data(), b.data(), n);
        const std::size_t before = test::allocationCount();
        for (int i = 0; i < 3; ++i) {
            ZABFunc147(a.data(), b.data(), n);
            ZABFunc148(a.data(), b.data(), n);
        }
        EXPECT_EQ(test::allocationCount(), before) << n;
    }
}

TEST(RealTransforms, KeepSeveralLengthsKnown) {
    if (!test::allocationsAreCounted()) GTEST_SKIP() << "the heap is not ours to count here";
    const std::vector<int> lengths{64, 100, 128, 1000, 1024, 2048, 4096, 5000};
    Samples a = noise<double>(5000);
    Samples b(a.size());
    for (const int n : lengths)
        ZABFunc147(a.data(), b.data(), n);
    const std::size_t before = test::allocationCount();
    for (const int n : lengths)
        ZABFunc147(a.data(), b.data(), n);
    EXPECT_EQ(test::allocationCount(), before);
}

TEST(RealTransforms, AnswerAStatusAndTouchNothingWhenMemoryIsOut) {
    if (!test::allocationsAreCounted()) GTEST_SKIP() << "the heap is not ours to count here";
    for (const int n : {3001 * 2, 7919}) {  // used by no other test, so that the plan is new
        const Samples before = noise<double>(n);
        Samples a = before;
        Samples b = before;
        bool succeeded = false;
        for (std::size_t allowed = 0; allowed < 100 && !succeeded; ++allowed) {
            int status = 0;
            {
                const test::FailingHeap heap(allowed);
                status = ZABFunc147(a.data(), b.data(), n);
            }
            succeeded = status == 0;
            if (!succeeded) {
                ASSERT_EQ(status, -3) << n;
                ASSERT_TRUE(a == before && b == before) << n;
            }
        }
        EXPECT_TRUE(succeeded);
        const Spectrum spectrum = transformed(before);
        for (std::size_t i = 0; i <= static_cast<std::size_t>(n) / 2; ++i)
            ASSERT_EQ(a[i], spectrum.re[i]);
    }
}

TEST(RealTransforms, RunSideBySideInSeveralThreads) {
    const Spectrum expected = transformed(noise<double>(1500));
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (std::size_t t = 0; t < wrong.size(); ++t)
        threads.emplace_back([&expected, &faults = wrong[t]] {
            const Samples samples = noise<double>(1500);
            for (int round = 0; round < 200; ++round) {
                Samples a = samples;
                Samples b(a.size());
                ZABFunc147(a.data(), b.data(), 1500);
                for (std::size_t i = 0; i <= 750; ++i)
                    faults += a[i] != expected.re[i] || b[i] != expected.im[i];
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_THAT(wrong, testing::Each(0));
}

TEST(Version, IsOneHundredTimesMajorPlusMinor) { EXPECT_EQ(ZABFunc79(), 100); }

}  // namespace
}  // namespace ovanlys
