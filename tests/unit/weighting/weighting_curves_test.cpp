#include "blocks/filter/weighting/weighting_curves.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "unit/weighting/weighting_tables.h"

namespace vynpack {
namespace {

using test::exactFrequency;
using test::kNominalWeightings;
using enum WeightingCurve;

// dB
double weightingLevel(WeightingCurve curve, double frequency) {
    return exactTenths(curve, frequency) / 10.0;
}

TEST(WeightingCurves, StoredNumbersNameTheCurves) {
    for (const int number : {-32768, -1, 0})
        EXPECT_EQ(weightingCurveOf(number), linear);
    EXPECT_EQ(weightingCurveOf(1), a);
    EXPECT_EQ(weightingCurveOf(2), b);
    for (const int number : {3, 4, 32767})
        EXPECT_EQ(weightingCurveOf(number), c);
}

TEST(WeightingCurves, AControlValueIsRoundedHalfUpToAStoredNumber) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const struct {
        float value;
        int number;
    } rows[] = {{-kInfinity, 0}, {-3.0F, 0},     {0.0F, 0},
                {0.49F, 0},      {0.5F, 1},      {1.49F, 1},
                {1.5F, 2},       {2.49F, 2},     {2.5F, 3},
                {3.6F, 3},       {kInfinity, 3}, {std::numeric_limits<float>::quiet_NaN(), 0}};
    for (const auto& row : rows)
        EXPECT_EQ(weightingOfControl(row.value), row.number) << row.value;
}

// The table is rounded to 0.05 dB; the rounded corner frequencies add less than 0.03 dB.
TEST(WeightingCurves, AAndCFollowTheNominalTableOfTheStandard) {
    for (const auto& row : kNominalWeightings) {
        EXPECT_NEAR(weightingLevel(a, exactFrequency(row)), row.a, 0.08) << row.nominal;
        EXPECT_NEAR(weightingLevel(c, exactFrequency(row)), row.c, 0.08) << row.nominal;
    }
}

TEST(WeightingCurves, BOfSpectraFollowsTheTableAbove500HzAndDepartsFromItBelow) {
    for (const auto& row : kNominalWeightings) {
        const double deviation = weightingLevel(b, exactFrequency(row)) - row.b;
        if (row.nominal >= 500) {
            EXPECT_NEAR(deviation, 0.0, 0.3) << row.nominal;
        }
        if (row.nominal <= 100) {
            EXPECT_GT(deviation, 1.0) << row.nominal;
        }
    }
    // Far below both corners the distance is the ratio of the corners, less what the gain took at
    // 1 kHz: 20 log10(158.49 / 107.7) = 3.36 dB.
    EXPECT_NEAR(weightingLevel(b, 10.0) - -38.2, 3.36, 0.2);
}

// The weight by definition, with poles as complex factors and the standard's unrounded corners.
double byDefinition(double f) {
    const double f1 = 20.598997;
    const double f2 = 107.65265;
    const double f3 = 737.86223;
    const double f4 = 12194.217;
    const auto low = [&](double x, double corner) { return x / std::hypot(x, corner); };
    const auto high = [&](double x, double corner) { return corner / std::hypot(x, corner); };
    const auto r = [&](double x) {
        return low(x, f1) * low(x, f1) * low(x, f2) * low(x, f3) * high(x, f4) * high(x, f4);
    };
    return 20.0 * std::log10(r(f) / r(1000.0));
}

TEST(WeightingCurves, AFollowsTheDefinitionWithinItsRoundedCorners) {
    for (double f = 5.0; f < 40000.0; f *= 1.07) {
        EXPECT_NEAR(weightingLevel(a, f), byDefinition(f), 0.02) << f;
    }
}

TEST(WeightingCurves, TenthsOfTheAWeighting) {
    EXPECT_EQ(weightingInTenths(a, 1000.0), 0.0);
    EXPECT_EQ(weightingInTenths(a, 100.0), -19.1);
    EXPECT_EQ(weightingInTenths(a, 31.5), -39.5);
    EXPECT_EQ(weightingInTenths(a, 10000.0), -2.4);
}

TEST(WeightingCurves, AAndCAreZeroAt1kHz) {
    for (const auto curve : {a, c}) {
        EXPECT_EQ(weightingInTenths(curve, 1000.0), 0.0);
        EXPECT_NEAR(weightingLevel(curve, 1000.0), 0.0, 0.01);
    }
}

// The gain of -0.17 dB belongs to the corner at 158.49 Hz; with 107.7 Hz the curve has lost only
// 10 log10(1 + 0.1077^2) = 0.050 dB there, and 0.062 dB by the outer corners.
TEST(WeightingCurves, BOfSpectraIsATenthAboveZeroAt1kHz) {
    EXPECT_NEAR(weightingLevel(b, 1000.0), 0.17 - 0.0500 - 0.0621, 1e-3);
    EXPECT_EQ(weightingInTenths(b, 1000.0), 0.1);
}

TEST(WeightingCurves, NegativeWeightsAreCutTowardZeroAndPositiveOnesRoundedHalfUp) {
    int negative = 0;
    int positive = 0;
    for (double f = 20.0; f < 20000.0; f *= 1.01) {
        const double exact = weightingLevel(a, f);
        const double tenths = weightingInTenths(a, f);
        if (exact < 0.0) {
            ++negative;
            EXPECT_GE(tenths, exact);
            EXPECT_LT(tenths - exact, 0.1 + 1e-9);
        } else {
            ++positive;
            EXPECT_LE(std::abs(tenths - exact), 0.05 + 1e-9);
        }
        EXPECT_NEAR(tenths * 10.0, std::round(tenths * 10.0), 1e-9);
    }
    EXPECT_GT(negative, 100);
    EXPECT_GT(positive, 100);
}

TEST(WeightingCurves, WeightAtZeroFrequencyIsZero) {
    for (const auto curve : {linear, a, b, c})
        EXPECT_EQ(weightingInTenths(curve, 0.0), 0.0);
}

TEST(WeightingCurves, LinearWeightsNothing) {
    for (const double f : {1.0, 100.0, 1000.0, 1e5})
        EXPECT_EQ(weightingInTenths(linear, f), 0.0);
}

TEST(WeightingCurves, NegativeFrequenciesWeighAsTheirMirrorImages) {
    for (const auto curve : {a, b, c}) {
        EXPECT_EQ(weightingInTenths(curve, -50.0), weightingInTenths(curve, 50.0));
    }
}

TEST(WeightingCurves, FrequenciesThatAreNoNumberGiveNone) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const auto curve : {a, b, c}) {
        EXPECT_TRUE(std::isnan(weightingInTenths(curve, std::nan(""))));
        EXPECT_FALSE(std::isfinite(weightingInTenths(curve, infinity)));
        EXPECT_LT(weightingInTenths(curve, 1e-300), -1e3);
    }
}

}  // namespace
}  // namespace vynpack
