#include "filter/convolution.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "support/signals.h"
#include "unit/analysis/allocation_count.h"
#include "unit/analysis/filter_fixture.h"
#include "unit/kernels/levels_of_machine.h"

namespace ovanlys {
namespace {

using signals::noise;
using test::Samples;

using test::kInf;
using test::kNan;

Samples convolved(const Samples& c, const Samples& x) {
    Samples y(c.size() + x.size() + 1, 9.0);
    EXPECT_EQ(ZABFunc32(c.data(), static_cast<std::int64_t>(c.size()), x.data(),
                        static_cast<int>(x.size()), y.data()),
              0);
    EXPECT_EQ(y.back(), 9.0);  // not ours
    y.pop_back();
    return y;
}

// The defining sum of one output in long double.
double bySum(const Samples& c, const Samples& x, std::size_t m) {
    long double sum = 0.0L;
    for (std::size_t j = 0; j < c.size(); ++j)
        if (j <= m && m - j < x.size()) sum += static_cast<long double>(c[j]) * x[m - j];
    return static_cast<double>(sum);
}

// What a sum may reach: the scale of the errors.
double fullScale(const Samples& c) {
    double sum = 0.0;
    for (const double tap : c)
        sum += std::abs(tap);
    return sum;
}

TEST(Convolution, OfTwoShortRowsByHand) {
    EXPECT_THAT(convolved({1.0, 2.0, 3.0}, {4.0, 5.0}),
                testing::ElementsAre(4.0, 13.0, 22.0, 15.0, 0.0));
    EXPECT_THAT(convolved({2.0}, {-3.0}), testing::ElementsAre(-6.0, 0.0));
}

TEST(Convolution, IsTheDefiningSumForEveryPairOfSmallSizes) {
    for (int taps = 1; taps <= 70; taps += taps < 10 ? 1 : 7)
        for (int n = 1; n <= 140; n += n < 10 ? 1 : 9) {
            const Samples c = noise<double>(taps, 2);
            const Samples x = noise<double>(n, 3);
            const Samples y = convolved(c, x);
            for (std::size_t m = 0; m + 1 < y.size(); ++m)
                ASSERT_NEAR(y[m], bySum(c, x, m), 1e-14 * fullScale(c))
                    << taps << ' ' << n << ' ' << m;
            EXPECT_EQ(y.back(), 0.0);
        }
}

TEST(Convolution, IsTheDefiningSumForLongFilters) {
    for (const auto& [taps, n] : {std::pair(255, 4096),
                                  {511, 1000},
                                  {512, 4096},
                                  {1000, 700},
                                  {1023, 4096},
                                  {1024, 4096},
                                  {3000, 4096},
                                  {5000, 512},
                                  {4096, 100000}}) {
        const Samples c = noise<double>(taps, 2);
        const Samples x = noise<double>(n, 3);
        const Samples y = convolved(c, x);
        const std::size_t step = std::max<std::size_t>(1, y.size() / 300);
        for (std::size_t m = 0; m + 1 < y.size(); m += step)
            ASSERT_NEAR(y[m], bySum(c, x, m), 1e-12 * fullScale(c)) << taps << ' ' << n << ' ' << m;
        ASSERT_NEAR(y[y.size() - 2], bySum(c, x, y.size() - 2), 1e-12 * fullScale(c));
    }
}

// Noise that is the same from either end.
Samples symmetric(int taps) {
    Samples c = noise<double>(taps, 5);
    std::copy(c.begin(), c.begin() + taps / 2, c.rbegin());
    return c;
}

TEST(Convolution, DirectAndByTransformAgree) {
    for (const auto& [taps, n] : {std::pair(1, 1),
                                  {1, 10},
                                  {2, 3},
                                  {25, 4096},
                                  {255, 4096},
                                  {1024, 512},
                                  {2047, 4096},
                                  {300, 50000}}) {
        for (const Samples& c : {noise<double>(taps, 5), symmetric(taps)}) {
            const Samples x = noise<double>(n, 6);
            Samples direct(c.size() + x.size());
            Samples transformed(c.size() + x.size());
            convolveDirectly(c, x, direct);
            convolveByTransform(c, x, transformed);
            for (std::size_t m = 0; m < direct.size(); ++m)
                ASSERT_NEAR(direct[m], transformed[m], 1e-12 * fullScale(c)) << taps << ' ' << n;
        }
    }
}

TEST(Convolution, GivesTheSameBitsAtEveryInstructionSetLevel) {
    for (const int taps : {1, 24, 25, 95, 96, 97, 255, 600}) {
        const Samples c = noise<double>(taps, 5);
        const Samples x = noise<double>(1111, 6);
        std::vector<Samples> results;
        for (const auto level : vyn::levelsOfThisMachine()) {
            Samples y(c.size() + x.size());
            convolveDirectly(c, x, y, level);
            results.push_back(y);
        }
        for (const Samples& result : results)
            EXPECT_EQ(result, results[0]) << taps;
    }
}

TEST(Convolution, AddsSamplesThatMeetTheSameTapFirst) {
    for (const int taps : {2, 3, 8, 25, 64, 191}) {
        const Samples c = symmetric(taps);
        const Samples x = noise<double>(700, 6);
        const auto at = [&](int m) {
            return m < 0 || m >= 700 ? 0.0 : x[static_cast<std::size_t>(m)];
        };
        for (const auto level : vyn::levelsOfThisMachine()) {
            Samples y(c.size() + x.size());
            convolveDirectly(c, x, y, level);
            for (int m = 0; m < 700 + taps - 1; ++m) {
                double sum = 0.0;
                for (int j = 0; j < taps / 2; ++j)
                    sum += (at(m - j) + at(m - taps + 1 + j)) * c[static_cast<std::size_t>(j)];
                if (taps % 2 != 0) sum += at(m - taps / 2) * c[static_cast<std::size_t>(taps / 2)];
                ASSERT_EQ(y[static_cast<std::size_t>(m)], sum) << taps << ' ' << m;
            }
        }
    }
}

TEST(Convolution, OfSamplesThatOnlyTheirSumExceeds) {
    constexpr double kHuge = 0x1p1023;
    EXPECT_THAT(convolved({0.25, 0.25}, {kHuge, kHuge, 1.0}),
                testing::ElementsAre(0x1p1021, 0x1p1022, 0x1p1021, 0.25, 0.0));
}

TEST(Convolution, KeepsAValueThatIsNotFiniteToItsOwnOutputs) {
    for (const double poison : {kNan, kInf, -kInf})
        for (const int taps : {3, 24, 25, 2000}) {
            const Samples c = taps == 24 ? symmetric(taps) : noise<double>(taps, 5);
            Samples x = noise<double>(5000, 6);
            const Samples clean = convolved(c, x);
            for (const std::size_t place : {0U, 1700U}) {
                const double sound = std::exchange(x[place], poison);
                const Samples y = convolved(c, x);
                for (std::size_t m = 0; m < y.size(); ++m) {
                    if (m >= place && m < place + c.size()) {
                        ASSERT_FALSE(std::isfinite(y[m])) << taps << ' ' << m;
                    } else {
                        ASSERT_NEAR(y[m], clean[m], 1e-12 * fullScale(c)) << taps << ' ' << m;
                    }
                }
                x[place] = sound;
            }
        }
}

TEST(Convolution, FollowsInfiniteTapsToo) {
    const Samples y = convolved({1.0, kInf, 1.0}, {1.0, 2.0, -3.0});
    EXPECT_THAT(y, testing::ElementsAre(1.0, kInf, kInf, -kInf, -3.0, 0.0));
}

TEST(Convolution, KeepsATapThatIsNotFiniteToItsOwnOutputs) {
    const Samples x = noise<double>(500, 6);
    for (const std::size_t taps : {70U, 200U})
        for (std::size_t place = 0; place < taps; ++place) {
            Samples c = noise<double>(static_cast<int>(taps), 5);
            c[place] = kInf;
            const Samples y = convolved(c, x);
            for (std::size_t m = 0; m < y.size(); ++m)
                ASSERT_EQ(std::isfinite(y[m]), m < place || m >= place + x.size())
                    << taps << ' ' << place << ' ' << m;
        }
}

TEST(Convolution, RefusesNullPointersAndCountsBelowOneAndTouchesNothing) {
    const Samples c{1.0, 2.0};
    const Samples x{3.0, 4.0};
    Samples y(4, 5.0);
    EXPECT_EQ(ZABFunc32(nullptr, 2, x.data(), 2, y.data()), -1);
    EXPECT_EQ(ZABFunc32(c.data(), 2, nullptr, 2, y.data()), -1);
    EXPECT_EQ(ZABFunc32(c.data(), 2, x.data(), 2, nullptr), -1);
    for (const std::int64_t length :
         {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()})
        EXPECT_EQ(ZABFunc32(c.data(), length, x.data(), 2, y.data()), -1);
    for (const int n : {0, -1})
        EXPECT_EQ(ZABFunc32(c.data(), 2, x.data(), n, y.data()), -1);
    EXPECT_THAT(y, testing::Each(5.0));
}

TEST(Convolution, RestoresTheCallersFloatingPointEnvironmentAndFlushesDenormals) {
    const unsigned before = _mm_getcsr();
    _mm_setcsr((before & ~0x3Fu) | 0x2000);  // rounding down, flags clear
    const unsigned callers = _mm_getcsr();
    const Samples y = convolved({1e-200, 1.0}, {1e-150, 0.0});
    const unsigned after = _mm_getcsr();
    _mm_setcsr(before);
    EXPECT_EQ(after, callers);
    EXPECT_EQ(y[0], 0.0);
    EXPECT_EQ(y[1], 1e-150);
}

TEST(Convolution, AnswersAStatusAndTouchesNothingWhenMemoryIsOut) {
    if (!test::allocationsAreCounted()) GTEST_SKIP() << "the heap is not ours to count here";
    for (const int taps : {25, 2000}) {
        const Samples c = noise<double>(taps);
        const Samples x = noise<double>(3000);
        Samples y(c.size() + x.size(), 5.0);
        int status = -3;
        for (std::size_t allowed = 0; status != 0 && allowed < 50; ++allowed) {
            {
                const test::FailingHeap heap(allowed);
                status = ZABFunc32(c.data(), taps, x.data(), 3000, y.data());
            }
            if (status != 0) {
                ASSERT_EQ(status, -3);
                ASSERT_THAT(y, testing::Each(5.0));
            }
        }
        EXPECT_EQ(status, 0);
    }
}

}  // namespace
}  // namespace ovanlys
