#include "numerics/band_tables.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace vynpack {
namespace {

TEST(BandTables, ThirdOctavesRunFrom16HertzTo20KilohertzAndEndWithAZeroRecord) {
    const auto bands = thirdOctaveBands();
    ASSERT_EQ(bands.size(), 33U);
    EXPECT_EQ(bands[0].centre, 16.0F);
    EXPECT_EQ(bands[0].lower, 14.0F);
    EXPECT_EQ(bands[18].centre, 1000.0F);
    EXPECT_EQ(bands[18].aWeighting, 0.0F);
    EXPECT_EQ(bands[31].centre, 20000.0F);
    EXPECT_EQ(bands[31].upper, 22497.0F);
    EXPECT_EQ(bands[32].centre, 0.0F);
    EXPECT_EQ(bands[32].lower, 0.0F);
    EXPECT_EQ(bands[32].upper, 0.0F);
    EXPECT_EQ(bands[32].aWeighting, 0.0F);
}

TEST(BandTables, OctavesRunFrom16HertzTo16Kilohertz) {
    const auto bands = octaveBands();
    ASSERT_EQ(bands.size(), 11U);
    EXPECT_EQ(bands[0].lower, 11.0F);
    EXPECT_EQ(bands[6].centre, 1000.0F);
    EXPECT_EQ(bands[6].upper, 1420.0F);
    EXPECT_EQ(bands[10].upper, 22720.0F);
}

TEST(BandTables, BandsFollowEachOtherExceptForTheGapBelow28Hertz) {
    for (const auto bands : {thirdOctaveBands().first(32), octaveBands()}) {
        for (std::size_t i = 0; i < bands.size(); ++i) {
            EXPECT_LT(bands[i].lower, bands[i].centre) << i;
            EXPECT_LT(bands[i].centre, bands[i].upper) << i;
            const bool gap = bands.size() == 32 && i == 2;
            if (gap || i + 1 == bands.size()) continue;
            EXPECT_EQ(bands[i].upper, bands[i + 1].lower) << i;
        }
    }
    EXPECT_EQ(thirdOctaveBands()[2].upper, 27.0F);
    EXPECT_EQ(thirdOctaveBands()[3].lower, 28.0F);
}

TEST(BandTables, CentresLieWithinAPercentOfTheExactMidbandFrequencies) {
    // Base-ten frequencies of IEC 61260-1: 1000 * 10^(k/10); nominal ones differ by rounding alone.
    for (int i = 0; i < 32; ++i) {
        const double exact = 1000.0 * std::pow(10.0, (i - 18) / 10.0);
        EXPECT_NEAR(thirdOctaveBands()[static_cast<std::size_t>(i)].centre, exact, 0.0105 * exact);
    }
    for (int i = 0; i < 11; ++i) {
        const double exact = 1000.0 * std::pow(10.0, 3 * (i - 6) / 10.0);
        EXPECT_NEAR(octaveBands()[static_cast<std::size_t>(i)].centre, exact, 0.0105 * exact);
    }
}

TEST(BandTables, EdgesAndCorrectionsAreThoseOfTheStandardsNominalBands) {
    const std::vector<double> centres = {16,   20,   25,   31.5, 40,    50,    63,    80,
                                         100,  125,  160,  200,  250,   315,   400,   500,
                                         630,  800,  1000, 1250, 1600,  2000,  2500,  3150,
                                         4000, 5000, 6300, 8000, 10000, 12500, 16000, 20000};
    // A band ends where the next one begins, but for the gap.
    const std::vector<double> thirdOctaveEdges = {
        14,   18,   23,   28,   35.5, 45,   56,   71,    89,    112,   141,
        178,  223,  280,  355,  450,  560,  710,  890,   1120,  1410,  1780,
        2230, 2800, 3550, 4500, 5600, 7100, 8900, 11200, 14130, 17780, 22497};
    const std::vector<double> octaveEdges = {11,  22,   44,   89,   178,   355,
                                             710, 1420, 2840, 5680, 11360, 22720};
    const std::vector<double> corrections = {-56.7, -50.5, -44.7, -39.4, -34.6, -30.2, -26.2, -22.5,
                                             -19.1, -16.1, -13.4, -10.9, -8.6,  -6.6,  -4.8,  -3.2,
                                             -1.9,  -0.8,  0,     0.6,   1,     1.2,   1.3,   1.2,
                                             1,     0.5,   -0.1,  -1.1,  -2.5,  -4.3,  -6.6,  -9.3};
    for (std::size_t i = 0; i < 32; ++i) {
        const Band& band = thirdOctaveBands()[i];
        EXPECT_EQ(band.centre, static_cast<float>(centres[i])) << i;
        EXPECT_EQ(band.lower, static_cast<float>(thirdOctaveEdges[i])) << i;
        EXPECT_EQ(band.upper, i == 2 ? 27.0F : static_cast<float>(thirdOctaveEdges[i + 1])) << i;
        EXPECT_EQ(band.aWeighting, static_cast<float>(corrections[i])) << i;
    }
    for (std::size_t i = 0; i < 11; ++i) {
        const Band& band = octaveBands()[i];
        EXPECT_EQ(band.centre, static_cast<float>(centres[3 * i])) << i;
        EXPECT_EQ(band.lower, static_cast<float>(octaveEdges[i])) << i;
        EXPECT_EQ(band.upper, static_cast<float>(octaveEdges[i + 1])) << i;
        EXPECT_EQ(band.aWeighting, static_cast<float>(corrections[3 * i])) << i;
    }
}

TEST(BandTables, CorrectionsAreTheAWeightingAtTheExactMidbandFrequencies) {
    // The A-weighting of IEC 61672-1 from its pole frequencies; the table is rounded to 0.1 dB.
    const auto aWeighting = [](double f) {
        const double f2 = f * f;
        const double r =
            148693636.0 * f2 * f2 /
            ((f2 + 424.36) * std::sqrt((f2 + 11599.29) * (f2 + 544496.41)) * (f2 + 148693636.0));
        return 20.0 * std::log10(r) + 2.0;
    };
    for (int i = 0; i < 32; ++i) {
        const Band& band = thirdOctaveBands()[static_cast<std::size_t>(i)];
        const double exact = 1000.0 * std::pow(10.0, (i - 18) / 10.0);
        EXPECT_NEAR(band.aWeighting, aWeighting(exact), 0.06) << band.centre;
    }
    for (int i = 0; i < 11; ++i) {
        const Band& octave = octaveBands()[static_cast<std::size_t>(i)];
        const Band& third = thirdOctaveBands()[static_cast<std::size_t>(3 * i)];
        EXPECT_EQ(octave.centre, third.centre);
        EXPECT_EQ(octave.aWeighting, third.aWeighting);
    }
}

TEST(BandTables, ABandNumberIsTruncatedTowardZero) {
    EXPECT_EQ(centreFrequency(thirdOctaveBands(), 18.0), 1000.0);
    EXPECT_EQ(centreFrequency(thirdOctaveBands(), 18.999), 1000.0);
    EXPECT_EQ(centreFrequency(thirdOctaveBands(), -0.9), 16.0);
    EXPECT_EQ(centreFrequency(octaveBands(), 10.5), 16000.0);
    EXPECT_EQ(centreFrequency(octaveBands(), 1.0), 31.5);
}

TEST(BandTables, ANumberOutsideTheTableHasNoFrequency) {
    for (const double number :
         {-1.0, -1e300, 33.0, 1e300, std::nan(""), std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(centreFrequency(thirdOctaveBands(), number), 0.0) << number;
    }
    EXPECT_EQ(centreFrequency(thirdOctaveBands(), 32.0), 0.0) << "the end record";
    EXPECT_EQ(centreFrequency(octaveBands(), 11.0), 0.0);
}

}  // namespace
}  // namespace vynpack
