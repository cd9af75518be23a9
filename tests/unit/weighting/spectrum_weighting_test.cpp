#include "blocks/filter/weighting/spectrum_weighting.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "unit/weighting/weighting_tables.h"

namespace vynpack {
namespace {

using enum WeightingCurve;
using enum SpectrumValues;

SpectrumAxis linesOf(double start, double step, std::size_t count, double unit = 1.0) {
    return {SpectrumLines::frequencies, start, step, unit, count};
}

std::vector<float> weighted(WeightingCurve curve, SpectrumValues kind, const SpectrumAxis& axis,
                            const std::vector<float>& in, int channels = 1) {
    SpectrumWeighting weighting;
    std::vector<float> out(in.size(), -1.0F);
    weighting.apply(curve, kind, axis, in, channels, out);
    return out;
}

TEST(SpectrumAxis, LinesCountFromTheStartInHertzOrKilohertz) {
    EXPECT_EQ(linesOf(50.0, 12.5, 9).frequency(0), 50.0);
    EXPECT_EQ(linesOf(50.0, 12.5, 9).frequency(8), 150.0);
    EXPECT_EQ(linesOf(0.5, 0.25, 9, 1000.0).frequency(0), 500.0);
    EXPECT_EQ(linesOf(0.5, 0.25, 9, 1000.0).frequency(3), 1250.0);
}

TEST(SpectrumAxis, ThirdOctaveBand18Is1kHz) {
    const SpectrumAxis axis{SpectrumLines::thirdOctaves, 8.0, 1.0, 1.0, 32};
    EXPECT_DOUBLE_EQ(axis.frequency(0), 100.0);
    EXPECT_DOUBLE_EQ(axis.frequency(10), 1000.0);
    EXPECT_NEAR(axis.frequency(11), 1258.925411794167, 1e-9);
    EXPECT_DOUBLE_EQ(axis.frequency(20), 10000.0);
}

TEST(SpectrumAxis, OctavesAdvanceByThreeBandsFromTheFirst) {
    const SpectrumAxis axis{SpectrumLines::octaves, 0.0, 1.0, 1.0, 11};
    EXPECT_NEAR(axis.frequency(0), 15.848931924611133, 1e-12);
    EXPECT_DOUBLE_EQ(axis.frequency(6), 1000.0);
    EXPECT_NEAR(axis.frequency(7), 1995.262314968879, 1e-9);
}

TEST(SpectrumAxis, FirstOctaveCountsAsAThirdOctaveBandNumber) {
    const SpectrumAxis axis{SpectrumLines::octaves, 3.0, 1.0, 1.0, 8};
    EXPECT_NEAR(axis.frequency(0), 31.622776601683793, 1e-12);  // not octave band 3, 125 Hz
}

TEST(SpectrumAxis, BandNumbersHaveNoUnit) {
    const SpectrumAxis axis{SpectrumLines::thirdOctaves, 18.0, 1.0, 1000.0, 1};
    EXPECT_DOUBLE_EQ(axis.frequency(0), 1000.0);
}

TEST(SpectrumWeighting, LevelsGetTheWeightAdded) {
    const auto out = weighted(a, levels, linesOf(0.0, 100.0, 3), {50.0F, 60.0F, 70.0F});
    EXPECT_EQ(out[0], 50.0F);  // 0 Hz
    EXPECT_EQ(out[1], static_cast<float>(60.0 - 19.1));
    EXPECT_EQ(out[2], static_cast<float>(70.0 - 10.8));  // -10.85 at 200 Hz, cut toward zero
}

TEST(SpectrumWeighting, LevelsOfThirdOctavesFollowTheNominalTable) {
    const auto& table = test::kNominalWeightings;
    const SpectrumAxis axis{SpectrumLines::thirdOctaves, -2.0, 1.0, 1.0, table.size()};
    const auto out = weighted(a, levels, axis, std::vector<float>(table.size(), 0.0F));
    for (std::size_t i = 0; i < table.size(); ++i) {
        // 0.05 dB rounding of the table and up to 0.1 dB cut.
        EXPECT_NEAR(out[i], table[i].a, 0.151) << table[i].nominal;
    }
}

TEST(SpectrumWeighting, LevelsKeepTheNoValueMarker) {
    const auto out = weighted(a, levels, linesOf(100.0, 100.0, 2), {kNoValue, 1.0F});
    EXPECT_EQ(out[0], 9.9e34F);
    EXPECT_NE(out[1], 1.0F);
}

TEST(SpectrumWeighting, AmplitudesAndPowersTakeTheMarkerAsANumber) {
    const auto axis = linesOf(100.0, 100.0, 1);
    EXPECT_LT(weighted(a, amplitudes, axis, {kNoValue})[0], 2e34F);
    EXPECT_LT(weighted(a, powers, axis, {kNoValue})[0], 2e33F);
}

// The steps as they are described: to a level, weight, back.
double byWayOfLevels(double value, double weight) {
    const double level = 20.0 * std::log10(value / 2e-5);
    return 2e-5 * std::pow(10.0, (level + weight) / 20.0);
}

TEST(SpectrumWeighting, AmplitudesGoByWayOfTheirLevel) {
    const std::vector<float> in = {1e-30F, 2e-5F, 0.5F, 1.0F, 123.456F, 1e30F};
    const auto out = weighted(a, amplitudes, linesOf(100.0, 0.0, in.size()), in);
    for (std::size_t i = 0; i < in.size(); ++i) {
        const double expected = byWayOfLevels(in[i], -19.1);
        EXPECT_NEAR(out[i], expected, 1e-7 * expected);
    }
}

TEST(SpectrumWeighting, PowersAreWeightedOnTheirSquareRoot) {
    const std::vector<float> in = {1e-30F, 4e-10F, 0.5F, 1.0F, 123.456F, 1e30F};
    const auto out = weighted(c, powers, linesOf(31.5, 0.0, in.size()), in);
    for (std::size_t i = 0; i < in.size(); ++i) {
        const double root = byWayOfLevels(std::sqrt(static_cast<double>(in[i])), -3.0);
        EXPECT_NEAR(out[i], root * root, 1e-7 * root * root);
    }
}

TEST(SpectrumWeighting, AmplitudesAndPowersNotAboveZeroBecomeZero) {
    const std::vector<float> in = {0.0F, -0.0F, -1.0F, -std::numeric_limits<float>::infinity()};
    for (const auto kind : {amplitudes, powers}) {
        EXPECT_EQ(weighted(a, kind, linesOf(100.0, 1.0, 4), in), (std::vector<float>(4, 0.0F)));
    }
}

TEST(SpectrumWeighting, NaNStaysNaNInItsPlace) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const auto kind : {levels, amplitudes, powers}) {
        const auto out = weighted(a, kind, linesOf(100.0, 1.0, 2), {1, nan, 1, 1}, 2);
        EXPECT_FALSE(std::isnan(out[0]));
        EXPECT_TRUE(std::isnan(out[1]));
        EXPECT_FALSE(std::isnan(out[2]));
        EXPECT_FALSE(std::isnan(out[3]));
    }
}

TEST(SpectrumWeighting, AllChannelsOfALineGetTheSameWeight) {
    for (const int channels : {1, 2, 3, 8, 32}) {
        const std::size_t lines = 17;
        const auto perLine = static_cast<std::size_t>(channels);
        const auto out = weighted(b, levels, linesOf(20.0, 20.0, lines),
                                  std::vector<float>(lines * perLine, 0.0F), channels);
        for (std::size_t i = 0; i < out.size(); ++i) {
            const double f = 20.0 + 20.0 * static_cast<double>(i / perLine);
            EXPECT_EQ(out[i], static_cast<float>(weightingInTenths(b, f)));
        }
    }
}

TEST(SpectrumWeighting, ValuesThatMakeNoWholeLineBecomeZero) {
    const auto out = weighted(a, levels, linesOf(1000.0, 0.0, 2), {1, 2, 3, 4, 5}, 2);
    EXPECT_EQ(out, (std::vector<float>{1, 2, 3, 4, 0}));
}

TEST(SpectrumWeighting, EveryChangeOfAxisCurveOrKindCounts) {
    SpectrumWeighting weighting;
    const auto first = [&](WeightingCurve curve, SpectrumValues kind, const SpectrumAxis& axis) {
        const std::vector<float> in(axis.count, 60.0F);
        std::vector<float> out(in.size());
        weighting.apply(curve, kind, axis, in, 1, out);
        return out.back();
    };
    const float base = first(a, levels, linesOf(100.0, 1.0, 1));
    EXPECT_EQ(base, static_cast<float>(60.0 - 19.1));
    EXPECT_NE(first(a, levels, linesOf(200.0, 1.0, 1)), base);
    EXPECT_NE(first(a, levels, linesOf(100.0, 50.0, 2)), base);
    EXPECT_NE(first(b, levels, linesOf(100.0, 1.0, 1)), base);
    EXPECT_NE(first(a, amplitudes, linesOf(100.0, 1.0, 1)), base);
    EXPECT_NE(first(a, levels, linesOf(100.0, 1.0, 1, 1000.0)), base);
    EXPECT_NE(first(a, levels, {SpectrumLines::thirdOctaves, 100.0, 1.0, 1.0, 1}), base);
    EXPECT_EQ(first(a, levels, linesOf(100.0, 1.0, 1)), base);
}

}  // namespace
}  // namespace vynpack
