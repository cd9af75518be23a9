#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <vector>

#include "unit/analysis/filter_fixture.h"

namespace ovanlys {
namespace {

using test::Samples;

using test::kInf;
using test::kNan;
constexpr int kWindows[] = {0, 1, 2, 5, 30, 60};

Samples fir(int kind, double rate, double f1, double f2, int length, int window = 0,
            double beta = 5.0) {
    Samples c(static_cast<std::size_t>(length), 77.0);
    EXPECT_EQ(ZABFunc335(kind, rate, f1, f2, length, window, beta, c.data()), 0);
    return c;
}

double magnitudeAt(const Samples& c, double turns) {
    std::complex<double> sum = 0.0;
    for (std::size_t i = 0; i < c.size(); ++i)
        sum += c[i] * std::polar(1.0, -2 * std::numbers::pi * turns * static_cast<double>(i));
    return std::abs(sum);
}

TEST(FirDesign, OfThreeTapsByHand) {
    // rate 4, edge 1: h = (1/pi, 1/2, 1/pi); triangular window 1/2, 1, 1/2 of length 3.
    const double side = 0.5 / std::numbers::pi;
    const double sum = 0.5 + 2 * side;
    EXPECT_THAT(fir(test::kLowPass, 4.0, 1.0, 0.0, 3, 30),
                testing::Pointwise(testing::DoubleEq(), {side / sum, 0.5 / sum, side / sum}));
    // The high pass is -1/pi, 1/2, -1/pi and scaled at half the rate, where the signs alternate.
    EXPECT_THAT(fir(test::kHighPass, 4.0, 1.0, 0.0, 3, 30),
                testing::Pointwise(testing::DoubleEq(), {-side / sum, 0.5 / sum, -side / sum}));
}

TEST(FirDesign, IsOneAtItsScalingFrequency) {
    for (const int window : kWindows)
        for (const int length : {5, 6, 24, 25, 101, 102}) {
            SCOPED_TRACE(testing::Message() << "window " << window << " length " << length);
            EXPECT_NEAR(magnitudeAt(fir(test::kLowPass, 1.0, 0.1, 0.0, length, window), 0.0), 1.0,
                        1e-14);
            EXPECT_NEAR(magnitudeAt(fir(test::kBandPass, 1.0, 0.1, 0.3, length, window), 0.2), 1.0,
                        1e-13);
            EXPECT_NEAR(magnitudeAt(fir(test::kBandStop, 1.0, 0.1, 0.3, length, window), 0.0), 1.0,
                        1e-14);
            if (length % 2 != 0) {
                EXPECT_NEAR(magnitudeAt(fir(test::kHighPass, 1.0, 0.1, 0.0, length, window), 0.5),
                            1.0, 1e-13);
            }
        }
}

TEST(FirDesign, IsSymmetricBitForBit) {
    for (int kind = 0; kind <= 3; ++kind)
        for (const int window : kWindows)
            for (const int length : {1, 2, 7, 8, 33, 64}) {
                const Samples c = fir(kind, 1.0, 0.12, 0.21, length, window);
                EXPECT_EQ(c, Samples(c.rbegin(), c.rend()));
            }
}

TEST(FirDesign, LeavesAnEvenHighPassUnscaled) {
    // h = sinc(m) - 0.5 sinc(0.5 m) at m = -0.5, 0.5; its response at half the rate is 0.
    const double m = 0.5;
    const double pi = std::numbers::pi;
    const double expected = std::sin(pi * m) / (pi * m) - std::sin(pi * 0.5 * m) / (pi * m);
    EXPECT_THAT(fir(test::kHighPass, 4.0, 1.0, 0.0, 2),
                testing::Pointwise(testing::DoubleEq(), {expected, expected * 1.0}));
    const Samples longer = fir(test::kHighPass, 1.0, 0.2, 0.0, 64, 2);
    for (const double value : longer)
        EXPECT_LT(std::abs(value), 1.0);
}

TEST(FirDesign, WithAWindowThatIsZeroEverywhereIsZero) {
    for (const int window : {1, 5})
        for (int kind = 0; kind <= 3; ++kind)
            EXPECT_THAT(fir(kind, 1.0, 0.1, 0.2, 2, window), testing::Each(0.0));
}

TEST(FirDesign, OfOneTapIsOne) {
    for (int kind = 0; kind <= 3; ++kind)
        for (const int window : kWindows)
            EXPECT_THAT(fir(kind, 1.0, 0.1, 0.2, 1, window), testing::ElementsAre(1.0));
}

TEST(FirDesign, TakesUnknownWindowsAsRectangular) {
    const Samples rectangular = fir(test::kBandPass, 1.0, 0.1, 0.2, 31, 0);
    for (const int window : {3, 4, 6, -1, 61, 1000, std::numeric_limits<int>::min()})
        EXPECT_EQ(fir(test::kBandPass, 1.0, 0.1, 0.2, 31, window), rectangular);
}

TEST(FirDesign, TakesTheKaiserWindowFromRectangularToNarrow) {
    EXPECT_EQ(fir(test::kLowPass, 1.0, 0.1, 0.0, 31, 60, 0.0),
              fir(test::kLowPass, 1.0, 0.1, 0.0, 31, 0));
    EXPECT_EQ(fir(test::kLowPass, 1.0, 0.1, 0.0, 31, 60, -4.0),
              fir(test::kLowPass, 1.0, 0.1, 0.0, 31, 60, 4.0));  // I0 is even
    for (const double beta : {59.99, 60.01, 700.0, 1e4, 1e300}) {
        const Samples c = fir(test::kLowPass, 1.0, 0.1, 0.0, 31, 60, beta);
        for (const double value : c)
            EXPECT_TRUE(std::isfinite(value)) << beta;
        EXPECT_NEAR(magnitudeAt(c, 0.0), 1.0, 1e-14);
    }
    // Series and asymptotic form meet.
    const Samples below = fir(test::kLowPass, 1.0, 0.1, 0.0, 31, 60, 59.999999);
    const Samples above = fir(test::kLowPass, 1.0, 0.1, 0.0, 31, 60, 60.000001);
    for (std::size_t i = 0; i < below.size(); ++i)
        EXPECT_NEAR(below[i], above[i], 1e-8);
}

TEST(FirDesign, RefusesWhatMakesNoSenseAndClearsTheCoefficients) {
    struct Row {
        int kind;
        double rate, f1, f2;
    };
    std::vector<Row> rows = {{-1, 1.0, 0.1, 0.2}, {4, 1.0, 0.1, 0.2}, {2, 1.0, 0.2, 0.2},
                             {2, 1.0, 0.3, 0.2},  {3, 1.0, 0.3, 0.2}, {2, 1.0, 0.1, 0.5},
                             {2, 1.0, 0.1, kNan}, {3, 1.0, 0.1, kInf}};
    for (int kind = 0; kind <= 3; ++kind) {
        for (const double bad : {0.0, -0.1, 0.5, 0.6, kNan, kInf, -kInf})
            rows.push_back({kind, 1.0, bad, 0.4});
        for (const double bad : {0.0, -1.0, kNan, kInf})
            rows.push_back({kind, bad, 0.1, 0.2});
    }
    for (const Row& row : rows) {
        Samples c(9, 5.0);
        EXPECT_EQ(ZABFunc335(row.kind, row.rate, row.f1, row.f2, 8, 0, 5.0, c.data()), -2)
            << row.kind << ' ' << row.rate << ' ' << row.f1 << ' ' << row.f2;
        EXPECT_EQ(c.back(), 5.0);
        c.pop_back();
        EXPECT_THAT(c, testing::Each(0.0));
    }
    for (const double beta : {kNan, kInf}) {
        Samples c(8, 5.0);
        EXPECT_EQ(ZABFunc335(0, 1.0, 0.1, 0.2, 8, 60, beta, c.data()), -2);
        EXPECT_THAT(c, testing::Each(0.0));
        EXPECT_EQ(ZABFunc335(0, 1.0, 0.1, 0.2, 8, 1, beta, c.data()), 0);  // not read
    }
}

TEST(FirDesign, RefusesNullAndLengthsBelowOne) {
    Samples c(4, 5.0);
    for (const int length : {0, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(ZABFunc335(0, 1.0, 0.1, 0.0, length, 0, 0.0, c.data()), -1);
    EXPECT_EQ(ZABFunc335(0, 1.0, 0.1, 0.0, 4, 0, 0.0, nullptr), -1);
    EXPECT_THAT(c, testing::Each(5.0));
}

TEST(FirDesign, ReadsTheFirstEdgeAloneForLowAndHighPass) {
    for (const int kind : {test::kLowPass, test::kHighPass})
        for (const double unused : {kNan, -1.0, 1e9, 0.05})
            EXPECT_EQ(fir(kind, 1.0, 0.1, unused, 15), fir(kind, 1.0, 0.1, 0.2, 15));
}

}  // namespace
}  // namespace ovanlys
