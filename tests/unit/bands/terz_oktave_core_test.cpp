#include "blocks/spectral/bands/terz_oktave_core.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "blocks/spectral/bands/band_kernels.h"
#include "support/signals.h"
#include "unit/kernels/levels_of_machine.h"

namespace vynpack {
namespace {

using signals::noise;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct Axis {
    double first;
    double step;
};

std::vector<float> bandsOf(const Axis& axis, const std::vector<float>& lines, int channels,
                           LineKind kind, std::span<const Band> table, bool weighted = false,
                           vyn::KernelLevel level = vyn::kernelLevel()) {
    BandAnalysis analysis(level);
    analysis.start(table);
    const int bands =
        analysis.assignLines(axis.first, axis.step, static_cast<int>(lines.size()) / channels);
    std::vector<float> out(static_cast<std::size_t>(bands * channels), -1.0F);
    analysis.analyse(lines, channels, kind, weighted, out);
    return out;
}

// The band sums straight from their description, one channel after the other, line by line.
std::vector<double> directSums(const Axis& axis, const std::vector<float>& lines, int channels,
                               LineKind kind, std::span<const Band> table) {
    const int n = static_cast<int>(lines.size()) / channels;
    std::vector<double> sums(table.size() * static_cast<std::size_t>(channels), 0.0);
    std::size_t last = 0;
    for (int c = 0; c < channels; ++c) {
        std::size_t b = 0;
        double f = axis.first;
        for (int i = 0; i < n; ++i, f += axis.step) {
            if (f < static_cast<double>(table[b].lower)) continue;
            while (b < table.size() && f > static_cast<double>(table[b].upper))
                ++b;
            if (b == table.size()) break;
            last = b;
            const double v = lines[static_cast<std::size_t>(i * channels + c)];
            sums[b * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)] +=
                kind == LineKind::level       ? std::pow(10.0, v / 10.0)
                : kind == LineKind::amplitude ? v * v
                                              : v;
        }
    }
    sums.resize((last + 1) * static_cast<std::size_t>(channels));
    return sums;
}

// The band that holds a single line at a frequency; -1 when none does.
int bandOf(double frequency, std::span<const Band> table) {
    const auto bands = bandsOf({frequency, 1.0}, {1.0F}, 1, LineKind::power, table);
    for (std::size_t b = 0; b < bands.size(); ++b) {
        if (bands[b] == 1.0F) return static_cast<int>(b);
    }
    return -1;
}

TEST(BandAnalysis, EveryCentreFrequencyFallsIntoItsBand) {
    for (int b = 0; b < 32; ++b) {
        EXPECT_EQ(
            bandOf(thirdOctaveBands()[static_cast<std::size_t>(b)].centre, thirdOctaveBands()), b);
    }
    for (int b = 0; b < 11; ++b) {
        EXPECT_EQ(bandOf(octaveBands()[static_cast<std::size_t>(b)].centre, octaveBands()), b);
    }
}

TEST(BandAnalysis, ALineOnAnEdgeBelongsToTheLowerBand) {
    EXPECT_EQ(bandOf(18.0, thirdOctaveBands()), 0);
    EXPECT_EQ(bandOf(std::nextafter(18.0, 19.0), thirdOctaveBands()), 1);
    EXPECT_EQ(bandOf(35.5, thirdOctaveBands()), 3);
    EXPECT_EQ(bandOf(22497.0, thirdOctaveBands()), 31);
    EXPECT_EQ(bandOf(22.0, octaveBands()), 0);
    EXPECT_EQ(bandOf(22720.0, octaveBands()), 10);
}

TEST(BandAnalysis, LinesBelowTheFirstBandAreSkipped) {
    EXPECT_EQ(bandOf(13.999, thirdOctaveBands()), -1);
    EXPECT_EQ(bandOf(14.0, thirdOctaveBands()), 0);
    EXPECT_EQ(bandOf(10.999, octaveBands()), -1);
    EXPECT_EQ(bandOf(11.0, octaveBands()), 0);
    EXPECT_EQ(bandOf(0.0, thirdOctaveBands()), -1);
    EXPECT_EQ(bandOf(-100.0, thirdOctaveBands()), -1);
}

TEST(BandAnalysis, LinesAboveTheLastBandEndTheChannel) {
    EXPECT_EQ(bandOf(22497.5, thirdOctaveBands()), -1);
    EXPECT_EQ(bandOf(22720.5, octaveBands()), -1);
    // A line that comes back into the bands after that does not count.
    const auto bands =
        bandsOf({23000.0, -22000.0}, {1.0F, 1.0F}, 1, LineKind::power, thirdOctaveBands());
    EXPECT_EQ(bands, std::vector<float>{0.0F});
}

TEST(BandAnalysis, OnlyTheFirstLineOfTheGapCountsAndItCountsInBand3) {
    // 26, 26.5, 27 | 27.5 | 28, 28.5: without a line in band 2 and with lines on both sides.
    EXPECT_EQ(bandOf(27.5, thirdOctaveBands()), 3);
    const auto bands =
        bandsOf({26.0, 0.25}, std::vector<float>(10, 1.0F), 1, LineKind::power, thirdOctaveBands());
    // 26 … 27: five lines; 27.25 advances to band 3, 27.5 and 27.75 are below its edge, 28 and
    // 28.25 are in it.
    EXPECT_EQ(bands, (std::vector<float>{0.0F, 0.0F, 5.0F, 3.0F}));
}

TEST(BandAnalysis, ASpectrumWithoutALineInTheBandsHasOneBandOfZero) {
    EXPECT_EQ(
        bandsOf({0.0, 1.0}, std::vector<float>(10, 5.0F), 1, LineKind::power, thirdOctaveBands()),
        std::vector<float>{0.0F});
    EXPECT_EQ(
        bandsOf({0.0, 1.0}, std::vector<float>(10, 5.0F), 2, LineKind::level, thirdOctaveBands()),
        (std::vector<float>{0.0F, 0.0F}));
    EXPECT_EQ(bandsOf({0.0, 1.0}, {}, 3, LineKind::power, octaveBands()),
              std::vector<float>(3, 0.0F));
}

TEST(BandAnalysis, EqualLevelsAddUpByTenTimesTheLogarithmOfTheirNumber) {
    // Ten lines of 60 dB in the 1 kHz band: 70 dB.
    const auto bands = bandsOf({900.0, 10.0}, std::vector<float>(10, 60.0F), 1, LineKind::level,
                               thirdOctaveBands());
    ASSERT_EQ(bands.size(), 19U);
    EXPECT_FLOAT_EQ(bands[18], 70.0F);
    EXPECT_EQ(bands[17], 0.0F) << "a sum of 0 stays 0";
}

TEST(BandAnalysis, AmplitudesAddUpAsTheRootOfTheirSquares) {
    const auto bands =
        bandsOf({900.0, 10.0}, {3.0F, -4.0F, 12.0F}, 1, LineKind::amplitude, thirdOctaveBands());
    EXPECT_EQ(bands.back(), 13.0F);
}

TEST(BandAnalysis, OtherLinesAddUpAsTheyAre) {
    const auto bands =
        bandsOf({900.0, 10.0}, {3.0F, -4.0F, 12.5F}, 1, LineKind::power, thirdOctaveBands());
    EXPECT_EQ(bands.back(), 11.5F);
}

TEST(BandAnalysis, AWeightingScalesThePowersOfABand) {
    // Band 8 (100 Hz) has -19.1 dB, band 18 (1 kHz) 0 dB.
    const auto level = [](double frequency, float value, LineKind kind) {
        return bandsOf({frequency, 1.0}, {value}, 1, kind, thirdOctaveBands(), true).back();
    };
    EXPECT_NEAR(level(100.0, 80.0F, LineKind::level), 60.9F, 1e-5F);
    EXPECT_FLOAT_EQ(level(1000.0, 80.0F, LineKind::level), 80.0F);
    EXPECT_FLOAT_EQ(level(100.0, 1.0F, LineKind::power), static_cast<float>(std::pow(10.0, -1.91)));
    EXPECT_FLOAT_EQ(level(100.0, 1.0F, LineKind::amplitude),
                    static_cast<float>(std::pow(10.0, -0.955)));
    EXPECT_NEAR(bandsOf({63.0, 1.0}, {80.0F}, 1, LineKind::level, octaveBands(), true).back(),
                53.8F, 1e-5F);
}

TEST(BandAnalysis, SumsEqualADirectLoopOverTheLines) {
    std::mt19937 random(3);
    for (int round = 0; round < 60; ++round) {
        const int channels = std::array{1, 2, 3, 5, 8, 11, 32}[random() % 7];
        const auto n = static_cast<std::size_t>(1 + random() % 700);
        const Axis axis{static_cast<double>(random() % 200) - 50.0,
                        std::array{0.37, 1.0, 12.5, 48.828125, 100.0}[random() % 5]};
        const auto table = random() % 2 != 0 ? thirdOctaveBands() : octaveBands();
        const auto lines = noise(n * static_cast<std::size_t>(channels),
                                 static_cast<unsigned>(random()), -10.0F, 90.0F);
        for (const LineKind kind : {LineKind::power, LineKind::amplitude, LineKind::level}) {
            const auto expected = directSums(axis, lines, channels, kind, table);
            const auto bands = bandsOf(axis, lines, channels, kind, table);
            ASSERT_EQ(bands.size(), expected.size());
            for (std::size_t i = 0; i < bands.size(); ++i) {
                if (kind == LineKind::power) {
                    EXPECT_EQ(bands[i], static_cast<float>(expected[i]));
                } else if (kind == LineKind::amplitude) {
                    EXPECT_EQ(bands[i], static_cast<float>(std::sqrt(expected[i])));
                } else if (expected[i] > 0.0) {
                    // One unit of single precision: the C library's power differs in its last bit.
                    EXPECT_FLOAT_EQ(bands[i], static_cast<float>(10.0 * std::log10(expected[i])));
                } else {
                    EXPECT_EQ(bands[i], 0.0F);
                }
            }
        }
    }
}

TEST(BandAnalysis, OddAxesGiveWhatTheDirectLoopGives) {
    const double nan = std::nan("");
    const double inf = std::numeric_limits<double>::infinity();
    const auto lines = noise(400, 9, 0.0F, 1.0F);
    for (const double first : {0.0, 1000.0, -1e300, 22497.0, 1e300, nan, inf, -inf}) {
        for (const double step : {0.0, -0.0, 1.0, -10.0, 1e-320, 1e300, nan, inf, -inf}) {
            for (const auto table : {thirdOctaveBands(), octaveBands()}) {
                const Axis axis{first, step};
                const auto expected = directSums(axis, lines, 2, LineKind::power, table);
                const auto bands = bandsOf(axis, lines, 2, LineKind::power, table);
                ASSERT_EQ(bands.size(), expected.size()) << first << ' ' << step;
                for (std::size_t i = 0; i < bands.size(); ++i)
                    EXPECT_EQ(bands[i], static_cast<float>(expected[i])) << first << ' ' << step;
            }
        }
    }
}

TEST(BandAnalysis, AChangeOfTheAxisIsNoticed) {
    BandAnalysis analysis;
    analysis.start(thirdOctaveBands());
    EXPECT_EQ(analysis.assignLines(0.0, 10.0, 101), 19);
    EXPECT_EQ(analysis.assignLines(0.0, 10.0, 101), 19);
    EXPECT_EQ(analysis.assignLines(0.0, 5.0, 101), 16);
    EXPECT_EQ(analysis.assignLines(0.0, 5.0, 21), 9);
    EXPECT_EQ(analysis.assignLines(900.0, 5.0, 21), 19);
    analysis.start(octaveBands());
    EXPECT_EQ(analysis.assignLines(900.0, 5.0, 21), 7);
}

TEST(BandAnalysis, EveryChannelIsWorkedOutAsIfAlone) {
    const auto lines = noise(300 * 32, 4, 0.0F, 100.0F);
    for (const LineKind kind : {LineKind::power, LineKind::amplitude, LineKind::level}) {
        const auto all = bandsOf({0.0, 40.0}, lines, 32, kind, thirdOctaveBands(), true);
        for (std::size_t c = 0; c < 32; ++c) {
            std::vector<float> one;
            for (std::size_t i = c; i < lines.size(); i += 32)
                one.push_back(lines[i]);
            const auto alone = bandsOf({0.0, 40.0}, one, 1, kind, thirdOctaveBands(), true);
            for (std::size_t b = 0; b < alone.size(); ++b)
                ASSERT_EQ(alone[b], all[b * 32 + c]) << c << ' ' << b;
        }
    }
}

TEST(BandAnalysis, AllKernelLevelsGiveTheSameBits) {
    for (const int channels : {1, 2, 3, 7, 8, 13}) {
        const auto lines = noise(static_cast<std::size_t>(501 * channels), 5, -50.0F, 120.0F);
        for (const LineKind kind : {LineKind::power, LineKind::amplitude, LineKind::level}) {
            const auto baseline = bandsOf({3.0, 21.7}, lines, channels, kind, thirdOctaveBands(),
                                          true, vyn::KernelLevel::baseline);
            for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                EXPECT_EQ(
                    bandsOf({3.0, 21.7}, lines, channels, kind, thirdOctaveBands(), true, level),
                    baseline);
            }
        }
    }
}

// Four bands abreast, of all lengths: as many as one, and some whose lines end elsewhere.
TEST(BandAnalysis, OneChannelGivesTheBitsOfTwo) {
    for (const int count : {1, 2, 5, 37, 128, 501, 2048, 6000}) {
        const auto lines = noise(static_cast<std::size_t>(count), 8, -3.0F, 100.0F);
        std::vector<float> twice;
        for (const float line : lines)
            twice.insert(twice.end(), {line, line});
        for (const double step : {0.37, 5.9, 11.7, 140.0}) {
            for (const LineKind kind : {LineKind::power, LineKind::amplitude, LineKind::level}) {
                const auto one = bandsOf({0.0, step}, lines, 1, kind, thirdOctaveBands(), true);
                const auto two = bandsOf({0.0, step}, twice, 2, kind, thirdOctaveBands(), true);
                for (std::size_t b = 0; b < one.size(); ++b)
                    ASSERT_EQ(one[b], two[2 * b]) << count << ' ' << step << ' ' << b;
            }
        }
    }
}

TEST(BandAnalysis, LevelsBecomePowersWithinAUnitOfTheLastPlace) {
    auto levels = noise(20000, 6, -3000.0F, 3000.0F);
    const auto usual = noise(20000, 7, -120.0F, 200.0F);
    levels.insert(levels.end(), usual.begin(), usual.end());
    levels.insert(levels.end(), {0.0F, 10.0F, 100.0F, -3000.0F, 3000.0F, -0.0F, 1e-40F});
    std::vector<double> powers(levels.size());
    for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
        ASSERT_TRUE(vyn::kernelsAt<BandKernels>(level).powersOf(levels.data(), levels.size(),
                                                                powers.data()));
        for (std::size_t i = 0; i < levels.size(); ++i) {
            // Long double has 11 more bits.
            const long double exact = std::pow(10.0L, static_cast<long double>(levels[i]) / 10.0L);
            const double unit = std::nextafter(powers[i], 1e308) - powers[i];
            EXPECT_LE(std::fabs(static_cast<double>(powers[i] - exact)), unit) << levels[i];
        }
    }
    EXPECT_EQ(powers[40000], 1.0);
}

TEST(BandAnalysis, LevelsBeyondAnyMeasurementAreServedToo) {
    const auto level = [](float value) {
        return bandsOf({1000.0, 1.0}, {value, value}, 1, LineKind::level, thirdOctaveBands())
            .back();
    };
    EXPECT_FLOAT_EQ(level(3050.0F), 3053.0103F);
    EXPECT_EQ(level(1e30F), kInfinity);
    EXPECT_EQ(level(kInfinity), kInfinity);
    EXPECT_EQ(level(-kInfinity), 0.0F);
    EXPECT_EQ(level(-1e30F), 0.0F);
}

TEST(BandAnalysis, NaNStaysInItsBandAndChannel) {
    std::vector<float> lines(2 * 300, 1.0F);
    lines[2 * 100] = std::nanf("");  // 1000 Hz, channel 0
    for (const LineKind kind : {LineKind::power, LineKind::amplitude, LineKind::level}) {
        const auto bands = bandsOf({0.0, 10.0}, lines, 2, kind, thirdOctaveBands());
        for (std::size_t i = 0; i < bands.size(); ++i) {
            // A NaN is not above 0, so that it passes the logarithm by.
            EXPECT_EQ(std::isnan(bands[i]), i == 18 * 2) << i;
        }
    }
}

TEST(BandAnalysis, ScaledLinesGiveScaledBands) {
    auto lines = noise(500, 8, 0.0F, 10.0F);
    const auto power = bandsOf({0.0, 20.0}, lines, 1, LineKind::power, octaveBands());
    const auto amplitude = bandsOf({0.0, 20.0}, lines, 1, LineKind::amplitude, octaveBands());
    for (float& line : lines)
        line *= 4.0F;  // exact
    const auto scaledPower = bandsOf({0.0, 20.0}, lines, 1, LineKind::power, octaveBands());
    const auto scaledAmplitude = bandsOf({0.0, 20.0}, lines, 1, LineKind::amplitude, octaveBands());
    for (std::size_t b = 0; b < power.size(); ++b) {
        EXPECT_EQ(scaledPower[b], 4.0F * power[b]);
        EXPECT_EQ(scaledAmplitude[b], 4.0F * amplitude[b]);
    }
}

}  // namespace
}  // namespace vynpack
