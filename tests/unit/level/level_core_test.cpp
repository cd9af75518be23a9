#include "blocks/filter/level/level_core.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "literal_level.h"
#include "support/signals.h"
#include "unit/kernels/levels_of_machine.h"

namespace vynpack {
namespace {

using Output = std::vector<float>;
using Outputs = std::vector<Output>;

// Feeds a meter as its block does: an interval that ends with the data block is put out with the
// next one.
void feedAll(LevelMeter& meter, const std::vector<float>& x, int channels, int control,
             LevelMode mode, Outputs& outputs) {
    const auto width = static_cast<std::size_t>(channels);
    std::size_t read = 0;
    const std::size_t all = x.size() / width;
    while (true) {
        if (meter.full()) {
            outputs.emplace_back(static_cast<std::size_t>(kLevelQuantities) * width);
            meter.emit(outputs.back(), mode);
        }
        if (read == all) return;
        const std::size_t now = std::min(all - read, static_cast<std::size_t>(meter.missing()));
        meter.feed(std::span(x).subspan(read * width, now * width), control, mode);
        read += now;
        if (meter.full() && read == all) return;
    }
}

Outputs outputsOf(const LevelSettings& settings, const std::vector<float>& x, LevelMode mode = {}) {
    LevelMeter meter(settings);
    Outputs outputs;
    feedAll(meter, x, settings.channels, 0, mode, outputs);
    return outputs;
}

// A sine of this frequency in Hz.
std::vector<float> tone(double frequency, double amplitude, double seconds, double rate) {
    const auto samples = static_cast<std::size_t>(seconds * rate);
    return signals::sine(samples, frequency * static_cast<double>(samples) / rate, amplitude);
}

const double kLevelOfOnePascal = 10.0 * std::log10(1.0 / 4e-10);  // 93.98 dB

// --- bins

TEST(LevelBins, AgreeWithTheLogarithmAtEveryLimit) {
    const LevelBins& bins = LevelBins::table();
    for (int bin = 1; bin < LevelBins::kCount; ++bin) {
        const auto limit = std::bit_cast<std::uint64_t>(bins.from(bin));
        for (std::uint64_t ulps = 0; ulps <= 400; ++ulps) {
            const auto q = std::bit_cast<double>(limit - 200 + ulps);
            ASSERT_EQ(bins.of(q), LevelBins::byLogarithm(q)) << bin << " " << ulps;
            ASSERT_EQ(bins.of(q), ulps < 200 ? bin - 1 : bin);
        }
    }
}

TEST(LevelBins, AgreeWithTheLogarithmEverywhere) {
    const LevelBins& bins = LevelBins::table();
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> exponent(-12.0, 25.0);
    for (int i = 0; i < 300000; ++i) {
        const double q = std::pow(10.0, exponent(random));
        ASSERT_EQ(bins.of(q), LevelBins::byLogarithm(q)) << q;
    }
    for (int octave = -3; octave < 70; ++octave) {
        for (int part = 0; part < 32; ++part) {
            const double q = std::ldexp(1.0 + part / 32.0, octave);
            for (const double near : {q, std::nextafter(q, 0.0), std::nextafter(q, 1e300)})
                ASSERT_EQ(bins.of(near), LevelBins::byLogarithm(near)) << near;
        }
    }
}

TEST(LevelBins, HaveTwoOpenEnds) {
    const LevelBins& bins = LevelBins::table();
    EXPECT_EQ(bins.of(0.0), 0);
    EXPECT_EQ(bins.of(1e-300), 0);
    EXPECT_EQ(bins.of(1.0), 0);
    EXPECT_EQ(bins.of(std::nextafter(1.0, 2.0)), 1);
    EXPECT_EQ(bins.of(1e21), 1001);
    EXPECT_EQ(bins.of(std::numeric_limits<double>::infinity()), 1001);
    EXPECT_EQ(bins.of(std::nan("")), 0);
    EXPECT_EQ(LevelBins::byLogarithm(std::nan("")), 0);
}

TEST(LevelBins, AreTwoTenthsOfADecibelWide) {
    const LevelBins& bins = LevelBins::table();
    for (int bin = 1; bin < LevelBins::kCount; ++bin)
        EXPECT_NEAR(10.0 * std::log10(bins.from(bin)), 0.2 * (bin - 1), 1e-9);
}

// --- the held level

TEST(HoldLevel, IsTheSameAsALogarithmPerSample) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> noise(0.0, 1.0);
    for (const double fall : {2.9 / 48000, 2.9 / 1000, 0.05}) {
        HoldLevel hold(fall);
        double expected = 0.0;
        double q = 1.0;
        for (int i = 0; i < 400000; ++i) {
            const int kind = i / 50000 % 4;
            if (kind == 0) q = std::pow(10.0, 9.0 * noise(random));
            if (kind == 1) q *= 1.0 + 1e-5 * (noise(random) - 0.5);
            if (kind == 2) q *= std::pow(10.0, -fall / 10.0);  // falls just as fast
            if (kind == 3) q = i % 977 == 0 ? 1e12 : 1.0;
            hold.hold(q);
            expected -= fall;
            expected = std::max(expected, 10.0 * std::log10(q));
            if (i % 251 == 0) {
                ASSERT_EQ(hold.level(), expected) << i;
            }
        }
    }
}

TEST(HoldLevel, StaysRightThroughALongFall) {
    HoldLevel hold(1e-4);
    hold.set(1e10);
    double expected = 10.0 * std::log10(1e10);
    for (int i = 0; i < 900000; ++i) {
        hold.hold(1.0);
        expected = std::max(expected - 1e-4, 0.0);
    }
    EXPECT_EQ(hold.level(), expected);
}

TEST(HoldLevel, PassesOverWhatIsNotANumber) {
    HoldLevel hold(0.1);
    hold.set(100.0);
    hold.hold(std::nan(""));
    EXPECT_DOUBLE_EQ(hold.level(), 19.9);
}

// --- kernels

TEST(LevelKernels, GiveTheSameBitsAtEveryLevel) {
    std::mt19937 random(8);
    std::normal_distribution<float> noise;
    for (const int lanes : {1, 2, 4, 8}) {
        const auto width = static_cast<std::size_t>(lanes);
        const std::size_t frames = 77;
        const std::size_t stride = width + 3;
        std::vector<float> x(frames * stride);
        for (float& v : x)
            v = noise(random);
        std::fill_n(x.begin(), stride, 0.0F);
        const auto run = [&](vyn::KernelLevel level, bool rms) {
            const LevelKernels& kernels = vyn::kernelsAt<LevelKernels>(level);
            std::vector<double> all(width * frames + width);
            double* means = all.data() + width * frames;
            const LaneRows rows{x.data(), stride, frames, lanes};
            if (rms) {
                kernels.smooth(rows, 0.01, means, all.data());
            } else {
                kernels.square(rows, all.data());
            }
            LevelLanes state{};
            LevelWindow window{};
            std::ranges::fill(window.from, 1e8);
            std::ranges::fill(window.to, 2e9);
            double hits[kGroupLanes] = {};
            kernels.gather(all.data(), frames, lanes, &window, &state, hits);
            for (std::size_t lane = 0; lane < width; ++lane) {
                for (const double value :
                     {state.maximum[lane], state.minimum[lane], state.energy[lane],
                      state.clockMaximum[lane], hits[lane]})
                    all.push_back(value);
            }
            return all;
        };
        for (const bool rms : {true, false}) {
            const auto expected = run(vyn::KernelLevel::baseline, rms);
            EXPECT_EQ(expected.front(), 1.0) << "silence counts as 0 dB";
            for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                EXPECT_EQ(run(level, rms), expected) << lanes;
            }
        }
    }
}

TEST(LevelKernels, TakeOneChannelAsTheyTakeManyInAllPieces) {
    std::mt19937 random(9);
    std::normal_distribution<float> noise;
    constexpr std::size_t kFrames = 100;
    std::vector<float> x(kFrames);
    for (float& v : x)
        v = noise(random);
    std::fill_n(x.begin(), 3, 0.0F);
    for (const std::size_t odd : {std::size_t{0}, std::size_t{50}}) {
        if (odd != 0) x[odd] = std::nanf("");
        for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
            const LevelKernels& kernels = vyn::kernelsAt<LevelKernels>(level);
            const LaneRows rows{x.data(), 1, kFrames, 1};
            double mean = 0.5;
            double meanOfOne = 0.5;
            std::vector<double> ratios(kFrames);
            std::vector<double> ratiosOfOne(kFrames);
            std::vector<double> energies(kFrames + 1, 7.0);
            kernels.smooth(rows, 0.01, &mean, ratios.data());
            kernels.smoothOne(rows, 0.01, &meanOfOne, ratiosOfOne.data(), energies.data());
            for (std::size_t i = 0; i < kFrames; ++i)
                ASSERT_EQ(std::bit_cast<std::uint64_t>(ratios[i]),
                          std::bit_cast<std::uint64_t>(ratiosOfOne[i]));
            LevelWindow window{};
            window.from[0] = 1e8;
            window.to[0] = 2e9;
            LevelLanes state{};
            LevelLanes stateOfOne{};
            state.energy[0] = 7.0;
            state.minimum[0] = stateOfOne.minimum[0] = 1e20;
            for (std::size_t from = 0; from < kFrames;) {
                const std::size_t count = std::min<std::size_t>(1 + random() % 40, kFrames - from);
                double hits[kGroupLanes] = {};
                double hitsOfOne[kGroupLanes] = {};
                kernels.gather(ratios.data() + from, count, 1, &window, &state, hits);
                kernels.gatherOne(ratios.data() + from, count, &window, &stateOfOne, hitsOfOne);
                from += count;
                EXPECT_EQ(hits[0], hitsOfOne[0]);
                EXPECT_EQ(state.maximum[0], stateOfOne.maximum[0]);
                EXPECT_EQ(state.minimum[0], stateOfOne.minimum[0]);
                EXPECT_EQ(state.clockMaximum[0], stateOfOne.clockMaximum[0]);
                EXPECT_TRUE(state.energy[0] == energies[from] ||
                            (std::isnan(state.energy[0]) && std::isnan(energies[from])));
            }
            EXPECT_GT(state.maximum[0], state.minimum[0]);
        }
    }
}

// --- against the literal computation

std::vector<float> soundOf(std::mt19937& random, std::size_t values, int kind) {
    std::normal_distribution<float> noise;
    std::vector<float> x(values);
    const float loudness = std::pow(10.0F, 2.0F * noise(random) - 2.0F);
    for (float& v : x) {
        v = kind == 0 ? 0.0F : loudness * noise(random);
        if (kind == 2 && random() % 16 == 0) v *= 100.0F;
    }
    return x;
}

TEST(LevelMeter, AgreesWithTheLiteralComputationToTheLastBit) {
    std::mt19937 random(2026);
    const auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    for (int round = 0; round < 120; ++round) {
        const double rates[] = {1000.0, 48000.0, 100.0, 333.3, 8000.0, 0.7};
        const double rate = rates[round % 6];
        LevelSettings settings;
        settings.channels = round % 3 == 0 ? 1 : pick(1, 19);
        settings.step = 1.0 / rate;
        settings.outputFrequency = rate / (round % 4 == 0 ? pick(1, 60) : pick(10, 6000) * 0.1 + 1);
        settings.timeConstant = timeConstantOf(pick(0, 2));
        settings.clockSeconds = 1 + 2 * pick(0, 2);
        settings.blankedSeconds = round % 2 == 0 ? 0.0 : pick(0, 50) * 0.1;
        const LevelMode mode{.rms = round % 5 != 0, .impulse = round % 3 == 1};
        LevelMeter meter(settings);
        LiteralLevel literal(settings);
        const auto most = static_cast<int>(std::clamp(rate * 0.7, 4.0, 1500.0));
        int control = 0;
        for (int block = 0; block < 20; ++block) {
            if (pick(0, 2) == 0) control = pick(0, 7);
            const std::vector<float> x = soundOf(
                random, static_cast<std::size_t>(pick(0, most) * settings.channels), pick(0, 2));
            Outputs found;
            Outputs expected;
            feedAll(meter, x, settings.channels, control, mode, found);
            literal.feed(x, control, mode, expected);
            ASSERT_EQ(found.size(), expected.size()) << round;
            for (std::size_t i = 0; i < found.size(); ++i) {
                for (std::size_t k = 0; k < found[i].size(); ++k) {
                    ASSERT_EQ(std::bit_cast<std::uint32_t>(found[i][k]),
                              std::bit_cast<std::uint32_t>(expected[i][k]))
                        << "round " << round << " block " << block << " output " << i
                        << " quantity " << k / static_cast<std::size_t>(settings.channels) << ": "
                        << found[i][k] << " instead of " << expected[i][k];
                }
            }
        }
    }
}

// Slow signals, so that resets and the ends of pauses meet full and restarted histories often.
TEST(LevelMeter, AgreesWithTheLiteralComputationThroughManyPausesAndResets) {
    std::mt19937 random(7);
    const auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    for (int round = 0; round < 60; ++round) {
        const double rates[] = {4.0, 3.3, 8.0};
        LevelSettings settings;
        settings.channels = pick(1, 9);
        settings.step = 1.0 / rates[round % 3];
        settings.outputFrequency = round % 2 == 0 ? 1.0 : 0.7;
        settings.timeConstant = timeConstantOf(pick(0, 2));
        settings.clockSeconds = 1 + 2 * pick(0, 2);
        settings.blankedSeconds = pick(0, 10) * 0.5;
        const LevelMode mode{.rms = round % 7 != 0, .impulse = round % 3 == 1};
        LevelMeter meter(settings);
        LiteralLevel literal(settings);
        int control = 0;
        for (int block = 0; block < 300; ++block) {
            // Pauses of some seconds; resets, of the extremes more often than of everything.
            if (pick(0, 3) == 0) control ^= 4;
            control = (control & 4) | (pick(0, 9) == 0 ? 1 : 0) | (pick(0, 29) == 0 ? 2 : 0);
            const std::vector<float> x = soundOf(
                random, static_cast<std::size_t>(pick(1, 8) * settings.channels), pick(0, 2));
            Outputs found;
            Outputs expected;
            feedAll(meter, x, settings.channels, control, mode, found);
            literal.feed(x, control, mode, expected);
            ASSERT_EQ(found, expected) << "round " << round << " block " << block;
        }
    }
}

// --- analytic

float quantity(const Output& output, LevelQuantity q, int channel = 0, int channels = 1) {
    return output.at(static_cast<std::size_t>(q * channels + channel));
}

TEST(LevelMeter, OnePascalReads94Decibel) {
    // A tone of 1 Pa RMS; after 12 time constants the mean is settled to 6e-6, and the ripple at
    // twice the tone's frequency is below 1 / (2 * 2 pi 2000 * 1 s).
    const Outputs outputs =
        outputsOf({.step = 1.0 / 48000, .outputFrequency = 1.0, .timeConstant = 1.0},
                  tone(1000, std::sqrt(2.0), 13.0, 48000));
    ASSERT_EQ(outputs.size(), 12U);
    EXPECT_NEAR(kLevelOfOnePascal, 93.98, 0.005);
    EXPECT_NEAR(quantity(outputs.back(), kMomentaryLevel), kLevelOfOnePascal, 5e-4);
    EXPECT_EQ(quantity(outputs.back(), kDisplayedLevel), quantity(outputs.back(), kMomentaryLevel));
    EXPECT_NEAR(quantity(outputs.back(), kMaximumLevel), kLevelOfOnePascal, 1e-3);
}

TEST(LevelMeter, SlowAndFastDecayWithTheirTimeConstants) {
    for (const double timeConstant : {1.0, 0.125}) {
        LevelMeter meter(
            {.step = 1.0 / 8000, .outputFrequency = 8.0, .timeConstant = timeConstant});
        Outputs loud;
        feedAll(meter, tone(1000, 1.0, 3.0, 8000), 1, 0, {}, loud);
        Outputs quiet;
        feedAll(meter, std::vector<float>(8000), 1, 0, {}, quiet);
        ASSERT_EQ(quiet.size(), 8U);
        // After silence of t the mean square has fallen by exp(-t / T): 4.343 dB per T.
        const double perOutput = 10.0 / std::numbers::ln10 * 0.125 / timeConstant;
        for (std::size_t i = 2; i < quiet.size(); ++i) {
            const double fall = quantity(quiet[i - 1], kMomentaryLevel) -
                                static_cast<double>(quantity(quiet[i], kMomentaryLevel));
            EXPECT_NEAR(fall, perOutput, 1e-4) << timeConstant;
        }
    }
}

TEST(LevelMeter, ImpulseHoldsAndFallsBy2Point9DecibelPerSecond) {
    LevelMeter meter({.step = 1.0 / 8000, .outputFrequency = 4.0, .timeConstant = 0.035});
    const LevelMode impulse{.rms = true, .impulse = true};
    Outputs outputs;
    feedAll(meter, tone(1000, 1.0, 2.0, 8000), 1, 0, impulse, outputs);
    outputs.clear();
    feedAll(meter, std::vector<float>(24000), 1, 0, impulse, outputs);
    for (std::size_t i = 2; i < outputs.size(); ++i) {
        EXPECT_NEAR(
            quantity(outputs[i - 1], kDisplayedLevel) - quantity(outputs[i], kDisplayedLevel),
            2.9 / 4, 2e-5);
        EXPECT_LT(quantity(outputs[i], kMomentaryLevel), quantity(outputs[i], kDisplayedLevel));
    }
}

TEST(LevelMeter, TheHeldLevelFallsOncePerChannelAndSample) {
    LevelMeter meter({.channels = 4, .step = 1e-3, .outputFrequency = 1.0, .timeConstant = 0.035});
    const LevelMode impulse{.rms = true, .impulse = true};
    Outputs outputs;
    feedAll(meter, std::vector<float>(4 * 2500, 1.0F), 4, 0, impulse, outputs);
    outputs.clear();
    feedAll(meter, std::vector<float>(4 * 3000), 4, 0, impulse, outputs);
    ASSERT_GE(outputs.size(), 3U);
    EXPECT_NEAR(
        quantity(outputs[1], kDisplayedLevel, 3, 4) - quantity(outputs[2], kDisplayedLevel, 3, 4),
        4 * 2.9, 1e-3);
    EXPECT_NEAR(
        quantity(outputs[2], kDisplayedLevel, 0, 4) - quantity(outputs[2], kDisplayedLevel, 3, 4),
        3 * 2.9e-3, 1e-5);
}

TEST(LevelMeter, TheEquivalentLevelOfAGatedToneIsItsShareOfTheTime) {
    // Peaks carry no energy, so that the mean squares of a very short time constant stand in for
    // the momentary squares. On for a quarter of the time: 6.02 dB below the tone.
    const double rate = 8000;
    std::vector<float> x = tone(1000, std::sqrt(2.0), 8.0, rate);
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (i / 400 % 4 != 0) x[i] = 0.0F;
    }
    const Outputs outputs =
        outputsOf({.step = 1.0 / rate, .outputFrequency = 0.25, .timeConstant = 1e-9}, x);
    ASSERT_EQ(outputs.size(), 1U);
    // The interval holds 32000 samples, with a whole number of gates; the count of samples by
    // time may be one more.
    EXPECT_NEAR(quantity(outputs[0], kEquivalentLevel), kLevelOfOnePascal - 10 * std::log10(4.0),
                2e-4);
    EXPECT_NEAR(quantity(outputs[0], kExposureLevel),
                quantity(outputs[0], kEquivalentLevel) + 10 * std::log10(4.0), 1e-4);
    EXPECT_NEAR(quantity(outputs[0], kMeasurementTime), 4.0, 1e-6);
}

TEST(LevelMeter, PercentilesOfAKnownDistribution) {
    // Levels spread evenly over 40 to 90 dB: exceeded in a share p of the time is 90 - 50 p.
    const double rate = 10000;
    std::vector<float> x(static_cast<std::size_t>(rate * 10) + 10);
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double level = 40.0 + 50.0 * (static_cast<double>(i * 7919 % 100000) + 0.5) / 100000;
        x[i] = static_cast<float>(std::sqrt(4e-10 * std::pow(10.0, level / 10.0)));
    }
    const Outputs outputs =
        outputsOf({.step = 1.0 / rate, .outputFrequency = 0.1, .timeConstant = 1e-9}, x);
    ASSERT_EQ(outputs.size(), 1U);
    const std::pair<LevelQuantity, double> expected[] = {
        {kPercentile1, 0.01}, {kPercentile5, 0.05},  {kPercentile10, 0.1}, {kPercentile50, 0.5},
        {kPercentile90, 0.9}, {kPercentile95, 0.95}, {kPercentile99, 0.99}};
    for (const auto& [q, share] : expected) {
        const double level = 90.0 - 50.0 * share;
        // The lower limit of the bin that the level lies in, or of a neighbour at the limit.
        EXPECT_LE(quantity(outputs[0], q), level + 0.2);
        EXPECT_GE(quantity(outputs[0], q), level - 0.4);
    }
    EXPECT_NEAR(quantity(outputs[0], kMaximumLevel), 90.0, 0.001);
    EXPECT_NEAR(quantity(outputs[0], kMinimumLevel), 40.0, 0.001);
}

// --- One behaviour after the other

TEST(LevelMeter, SilenceIsZeroDecibel) {
    const Outputs outputs =
        outputsOf({.step = 0.001, .outputFrequency = 10.0}, std::vector<float>(1000));
    ASSERT_EQ(outputs.size(), 9U);
    const Output& last = outputs.back();
    for (const LevelQuantity q : {kDisplayedLevel, kMomentaryLevel, kMaximumLevel, kMinimumLevel,
                                  kClockMaximumLevel, kMeanClockMaximumLevel})
        EXPECT_EQ(quantity(last, q), 0.0F) << q;
    // Every sample counts as a ratio of 1, the number of samples is judged by the time.
    EXPECT_NEAR(quantity(last, kEquivalentLevel), 0.0, 0.01);
    // The lower limit of the lowest bin, which is open.
    EXPECT_EQ(quantity(last, kPercentile50), -0.2F);
}

// Neither exact silence nor what is no number has a logarithm of its own.
TEST(LevelMeter, TheMeanClockMaximumOfNothingIsZeroDecibel) {
    for (const float nothing : {0.0F, std::numeric_limits<float>::quiet_NaN()}) {
        const Outputs outputs =
            outputsOf({.step = 0.125, .outputFrequency = 1.0, .clockSeconds = 1},
                      std::vector<float>(80, nothing));
        ASSERT_GE(outputs.size(), 8U);
        for (const Output& output : outputs)
            EXPECT_EQ(quantity(output, kMeanClockMaximumLevel), 0.0F) << nothing;
    }
}

TEST(LevelMeter, AWholeRatioTakesThatManySamplesPerOutput) {
    LevelMeter meter({.step = 0.001, .outputFrequency = 10.0});
    EXPECT_EQ(meter.missing(), 101);
    Outputs outputs;
    feedAll(meter, std::vector<float>(100), 1, 0, {}, outputs);
    EXPECT_TRUE(outputs.empty());
    EXPECT_EQ(meter.missing(), 1);
    feedAll(meter, std::vector<float>(2), 1, 0, {}, outputs);
    ASSERT_EQ(outputs.size(), 1U);
    EXPECT_NEAR(quantity(outputs[0], kRunningTime), 0.1, 1e-7);
    EXPECT_EQ(meter.missing(), 99);
    feedAll(meter, std::vector<float>(100), 1, 0, {}, outputs);
    ASSERT_EQ(outputs.size(), 2U);
    EXPECT_NEAR(quantity(outputs[1], kRunningTime), 0.2, 1e-7);
}

TEST(LevelMeter, ABrokenRatioAlternates) {
    // 2.5 samples per output: 2, then 3, and so on.
    const Outputs outputs = outputsOf({.step = 1.0, .outputFrequency = 0.4, .timeConstant = 1.0},
                                      std::vector<float>(24));
    std::vector<float> times;
    for (const Output& output : outputs)
        times.push_back(quantity(output, kRunningTime));
    EXPECT_EQ(times, (std::vector<float>{2, 5, 7, 10, 12, 15, 17, 20, 22}));
}

TEST(LevelMeter, AnOutputFrequencyAboveTheRateGivesAnOutputPerSample) {
    for (const double frequency : {1000.0, 1001.0, 1e300, -1.0, std::nan("")}) {
        const Outputs outputs =
            outputsOf({.step = 0.001, .outputFrequency = frequency}, std::vector<float>(50));
        ASSERT_EQ(outputs.size(), 48U) << frequency;
        EXPECT_NEAR(quantity(outputs[0], kRunningTime), 0.001, 1e-9);
        EXPECT_NEAR(quantity(outputs[47], kRunningTime), 0.048, 1e-8);
    }
}

TEST(LevelMeter, RefusesWhatNobodyCanHold) {
    EXPECT_THROW(LevelMeter({.step = 0.001, .outputFrequency = 1e-300}), std::bad_alloc);
    EXPECT_THROW(LevelMeter({.step = 0.001, .outputFrequency = 1e-9}), std::bad_alloc);
    EXPECT_THROW(LevelMeter({.step = 0.001, .outputFrequency = 10, .blankedSeconds = 1e9}),
                 std::bad_alloc);
    EXPECT_THROW(LevelMeter({.channels = 1 << 20, .step = 0.001, .outputFrequency = 10}),
                 std::bad_alloc);
    EXPECT_NO_THROW(LevelMeter({.step = 1.0 / 48000, .outputFrequency = 1.0 / 3600}));
}

TEST(LevelMeter, TheMeasurementIsTimedFromTheReset) {
    LevelMeter meter({.step = 0.01, .outputFrequency = 1.0});
    Outputs outputs;
    feedAll(meter, std::vector<float>(101, 1.0F), 1, 0, {}, outputs);
    feedAll(meter, std::vector<float>(50, 1.0F), 1, 0, {}, outputs);
    feedAll(meter, std::vector<float>(51, 1e-3F), 1, kResetAll, {}, outputs);
    feedAll(meter, std::vector<float>(100, 1e-3F), 1, kResetAll, {}, outputs);
    ASSERT_EQ(outputs.size(), 3U);
    EXPECT_NEAR(quantity(outputs[0], kMaximumLevel), 92, 3);
    // The reset stands at sample 151 (the first 101 and 50 have other bits): it starts the running
    // time at 0 and counts for the measurement.
    EXPECT_NEAR(quantity(outputs[1], kRunningTime), 0.48, 1e-6);
    EXPECT_NEAR(quantity(outputs[1], kMeasurementTime), 0.49, 1e-6);
    EXPECT_NEAR(quantity(outputs[1], kTimeSinceExtremesReset), 0.49, 1e-6);
    EXPECT_LT(quantity(outputs[1], kMaximumLevel), 40) << "the means were cleared as well";
    EXPECT_NEAR(quantity(outputs[2], kMeasurementTime), 1.49, 1e-6) << "one edge, one reset";
}

TEST(LevelMeter, AResetOfTheExtremesLeavesTheRest) {
    LevelMeter meter({.step = 0.01, .outputFrequency = 1.0, .timeConstant = 1e-9});
    Outputs outputs;
    feedAll(meter, std::vector<float>(101, 1.0F), 1, 0, {}, outputs);
    feedAll(meter, std::vector<float>(100, 0.1F), 1, kResetExtremes, {}, outputs);
    feedAll(meter, std::vector<float>(2, 0.1F), 1, kResetExtremes, {}, outputs);
    ASSERT_EQ(outputs.size(), 2U);
    EXPECT_NEAR(quantity(outputs[0], kMaximumLevel), kLevelOfOnePascal, 1e-4);
    EXPECT_NEAR(quantity(outputs[1], kMaximumLevel), kLevelOfOnePascal - 20, 1e-4);
    EXPECT_NEAR(quantity(outputs[1], kMinimumLevel), kLevelOfOnePascal - 20, 1e-4);
    EXPECT_NEAR(quantity(outputs[1], kMeasurementTime), 2.0, 1e-6);
    EXPECT_NEAR(quantity(outputs[1], kTimeSinceExtremesReset), 0.99, 1e-6);
}

TEST(LevelMeter, BothResetsTogetherAreTheFullOne) {
    LevelMeter meter({.step = 0.01, .outputFrequency = 1.0});
    Outputs outputs;
    feedAll(meter, std::vector<float>(101, 1.0F), 1, 0, {}, outputs);
    feedAll(meter, std::vector<float>(102, 1.0F), 1, kResetAll | kResetExtremes, {}, outputs);
    EXPECT_NEAR(quantity(outputs[1], kMeasurementTime), 0.99, 1e-6);
}

TEST(LevelMeter, PeaksHaveMaximaAndPercentilesOnly) {
    const Outputs outputs = outputsOf({.step = 0.01, .outputFrequency = 0.25},
                                      std::vector<float>(500, 1.0F), {.rms = false});
    ASSERT_EQ(outputs.size(), 1U);
    EXPECT_NEAR(quantity(outputs[0], kMomentaryLevel), kLevelOfOnePascal, 1e-5);
    EXPECT_NEAR(quantity(outputs[0], kMaximumLevel), kLevelOfOnePascal, 1e-5);
    EXPECT_NEAR(quantity(outputs[0], kClockMaximumLevel), kLevelOfOnePascal, 1e-5);
    for (const LevelQuantity q :
         {kMinimumLevel, kEquivalentLevel, kExposureLevel, kMeanClockMaximumLevel})
        EXPECT_EQ(quantity(outputs[0], q), 0.0F) << q;
    EXPECT_NEAR(quantity(outputs[0], kPercentile50), 93.8, 1e-5);
}

TEST(LevelMeter, TheTimeConstantsAreThoseOfSlowFastAndImpulse) {
    EXPECT_EQ(timeConstantOf(kSlow), 1.0);
    EXPECT_EQ(timeConstantOf(kFast), 0.125);
    EXPECT_EQ(timeConstantOf(kImpulse), 0.035);
    EXPECT_EQ(timeConstantOf(7), 1.0);
}

TEST(LevelMeter, PeaksLeaveNoEnergyAndNoClockMaximaBehind) {
    // 8 s of peaks of 1 Pa, two samples of next to nothing, then mean squares of 0.1 Pa.
    LevelMeter meter(
        {.step = 0.125, .outputFrequency = 1.0, .timeConstant = 1e-9, .clockSeconds = 1});
    std::vector<float> peaks(64, 1.0F);
    peaks.insert(peaks.end(), 2, 1e-6F);
    Outputs outputs;
    feedAll(meter, peaks, 1, 0, {.rms = false}, outputs);
    feedAll(meter, std::vector<float>(64, 0.1F), 1, 0, {.rms = true}, outputs);
    ASSERT_EQ(outputs.size(), 16U);
    EXPECT_NEAR(quantity(outputs.back(), kMeasurementTime), 16.0, 1e-6);
    // The energy of the mean squares alone, over all the time.
    EXPECT_NEAR(quantity(outputs.back(), kEquivalentLevel),
                kLevelOfOnePascal - 20 + 10 * std::log10(62.0 / 128.0), 1e-4);
    EXPECT_NEAR(quantity(outputs.back(), kMeanClockMaximumLevel), kLevelOfOnePascal - 20, 1e-4);
}

TEST(LevelMeter, ClockMaximaAreThoseOfWholeIntervals) {
    // Intervals of 3 s with maxima of 1, 10 and 0.1 Pa. The sums of the sample interval may close
    // an interval a sample late, so each change of the signal keeps off the border.
    std::vector<float> x(1000, 0.01F);
    x[150] = 1.0F;
    x[450] = 10.0F;
    x[750] = 0.1F;
    const Outputs outputs = outputsOf(
        {.step = 0.01, .outputFrequency = 0.5, .timeConstant = 1e-9, .clockSeconds = 3}, x);
    ASSERT_EQ(outputs.size(), 4U);
    EXPECT_EQ(quantity(outputs[0], kClockMaximumLevel), 0.0F) << "none complete after 2 s";
    EXPECT_EQ(quantity(outputs[0], kMeanClockMaximumLevel), 0.0F);
    EXPECT_NEAR(quantity(outputs[1], kClockMaximumLevel), kLevelOfOnePascal, 1e-4);
    EXPECT_NEAR(quantity(outputs[1], kMeanClockMaximumLevel), kLevelOfOnePascal, 1e-4);
    EXPECT_NEAR(quantity(outputs[3], kClockMaximumLevel), kLevelOfOnePascal + 20, 1e-4);
    EXPECT_NEAR(quantity(outputs[3], kMeanClockMaximumLevel),
                10 * std::log10((1 / 4e-10 + 100 / 4e-10) / 2), 1e-4);
}

TEST(LevelMeter, APauseAndTheTimeBeforeItAreTakenBackWhenAClockIntervalCloses) {
    // 0.125 s is exact, so that seconds end where they should. Blanked: 2 s; clock: 1 s.
    LevelMeter meter({.step = 0.125,
                      .outputFrequency = 2.0,
                      .timeConstant = 1e-9,
                      .clockSeconds = 1,
                      .blankedSeconds = 1.5});
    Outputs outputs;
    const auto play = [&](int samples, float pascal, int control) {
        outputs.clear();
        feedAll(meter, std::vector<float>(static_cast<std::size_t>(samples), pascal), 1, control,
                {}, outputs);
    };
    play(5 * 8, 0.1F, 0);        // 5 s of 74 dB
    play(2 * 8, 1.0F, 0);        // 2 s of 94 dB: what led to the pause
    play(3 * 8, 10.0F, kPause);  // the pause itself is still counted
    play(4, 0.1F, kPause);
    EXPECT_NEAR(quantity(outputs.back(), kMaximumLevel), kLevelOfOnePascal + 20, 1e-4);
    play(2, 0.1F, 0);  // over, but not within reach of a closing interval
    play(1, 0.1F, 0);
    play(8, 0.1F, 0);  // 11 s are full at its first sample
    EXPECT_NEAR(quantity(outputs.back(), kMaximumLevel), kLevelOfOnePascal - 20, 1e-4);
    // Back at 5 s, then the sample that closed the interval and those of the output.
    EXPECT_NEAR(quantity(outputs.back(), kMeasurementTime), 5.0 + 5 * 0.125, 1e-6);
    EXPECT_NEAR(quantity(outputs.back(), kRunningTime), 11.5, 1e-6) << "the clock runs on";
}

TEST(LevelMeter, WithoutHistoryAPauseTakesEverythingBack) {
    LevelMeter meter({.step = 0.125,
                      .outputFrequency = 1.0,
                      .timeConstant = 1e-9,
                      .clockSeconds = 1,
                      .blankedSeconds = 30.0});
    Outputs outputs;
    feedAll(meter, std::vector<float>(20, 1.0F), 1, kPause, {}, outputs);
    feedAll(meter, std::vector<float>(14, 0.1F), 1, 0, {}, outputs);
    EXPECT_NEAR(quantity(outputs.back(), kMaximumLevel), kLevelOfOnePascal - 20, 1e-4);
    EXPECT_NEAR(quantity(outputs.back(), kMeasurementTime), 9 * 0.125, 1e-6);
}

TEST(LevelMeter, TheRestartedHistoryKeepsItsOldEntries) {
    // With two seconds of history the entry of second 10 is still there after the pause, and a
    // pause that ends at second 14 falls back on it.
    LevelMeter meter({.step = 0.25,
                      .outputFrequency = 1.0,
                      .timeConstant = 1e-9,
                      .clockSeconds = 1,
                      .blankedSeconds = 2.0});
    Outputs outputs;
    const auto play = [&](int seconds, int control) {
        outputs.clear();
        feedAll(meter, std::vector<float>(static_cast<std::size_t>(4 * seconds), 1.0F), 1, control,
                {}, outputs);
    };
    play(10, 0);
    play(1, kPause);
    play(2, 0);       // takes effect at second 12: back to the state of second 8
    play(1, kPause);  // second 14
    play(3, 0);       // takes effect at second 15
    // The state of second 10 (the stale entry), and what followed second 15.
    EXPECT_NEAR(quantity(outputs.back(), kRunningTime), 16.0, 1e-6);
    EXPECT_NEAR(quantity(outputs.back(), kMeasurementTime), 10.0 + 1.25, 1e-6);
}

TEST(LevelMeter, OneLongBlockEqualsManyShortOnes) {
    std::mt19937 random(4);
    for (const int channels : {1, 3, 8}) {
        const LevelSettings settings{.channels = channels,
                                     .step = 1.0 / 3000,
                                     .outputFrequency = 7.0,
                                     .timeConstant = 0.125,
                                     .blankedSeconds = 3.0};
        const std::vector<float> x = soundOf(random, static_cast<std::size_t>(channels) * 30000, 2);
        for (const LevelMode mode :
             {LevelMode{}, LevelMode{.impulse = true}, LevelMode{.rms = false}}) {
            const Outputs whole = outputsOf(settings, x, mode);
            LevelMeter meter(settings);
            Outputs pieces;
            for (std::size_t from = 0; from < x.size();) {
                const std::size_t size = std::min<std::size_t>(
                    static_cast<std::size_t>(channels) * (1 + random() % 900), x.size() - from);
                feedAll(meter,
                        {x.begin() + static_cast<std::ptrdiff_t>(from),
                         x.begin() + static_cast<std::ptrdiff_t>(from + size)},
                        channels, 0, mode, pieces);
                from += size;
            }
            EXPECT_EQ(whole, pieces);
        }
    }
}

TEST(LevelMeter, AChannelOfManyMeasuresAsItDoesAlone) {
    std::mt19937 random(6);
    for (const int channels : {2, 3, 5, 8, 11, 32}) {
        const auto width = static_cast<std::size_t>(channels);
        const std::vector<float> x = soundOf(random, width * 3000, 2);
        LevelSettings settings{.channels = channels, .step = 0.001, .outputFrequency = 3.0};
        const Outputs together = outputsOf(settings, x);
        settings.channels = 1;
        for (std::size_t c = 0; c < width; ++c) {
            std::vector<float> one;
            for (std::size_t i = c; i < x.size(); i += width)
                one.push_back(x[i]);
            const Outputs alone = outputsOf(settings, one);
            ASSERT_EQ(alone.size(), together.size());
            for (std::size_t i = 0; i < alone.size(); ++i) {
                for (int q = 0; q < kLevelQuantities; ++q) {
                    EXPECT_EQ(alone[i][static_cast<std::size_t>(q)],
                              together[i][static_cast<std::size_t>(q) * width + c]);
                }
            }
        }
    }
}

TEST(LevelMeter, WhatIsNotANumberStaysInItsChannelUntilAReset) {
    LevelMeter meter({.channels = 2, .step = 0.01, .outputFrequency = 1.0});
    Outputs outputs;
    std::vector<float> x(202, 1.0F);
    x[20] = std::numeric_limits<float>::quiet_NaN();
    feedAll(meter, x, 2, 0, {}, outputs);
    feedAll(meter, std::vector<float>(2, 1.0F), 2, 0, {}, outputs);
    EXPECT_TRUE(std::isnan(quantity(outputs[0], kMomentaryLevel, 0, 2)));
    EXPECT_TRUE(std::isnan(quantity(outputs[0], kEquivalentLevel, 0, 2)));
    EXPECT_FALSE(std::isnan(quantity(outputs[0], kMaximumLevel, 0, 2)));
    for (int q = 0; q < kLevelQuantities; ++q)
        EXPECT_FALSE(std::isnan(outputs[0][static_cast<std::size_t>(q * 2 + 1)])) << q;
    outputs.clear();
    feedAll(meter, std::vector<float>(300, 1.0F), 2, kResetAll, {}, outputs);
    for (const float value : outputs.back())
        EXPECT_FALSE(std::isnan(value));
}

// Ten million samples; the sanitizers take fewer.
#ifdef VYN_SANITIZED
constexpr std::size_t kSoakFrames = 50000;
#else
constexpr std::size_t kSoakFrames = 2000000;
#endif

TEST(LevelMeter, SoaksInRandomBlocksWithRandomResetsAndPauses) {
    constexpr int kChannels = 5;
    std::mt19937 random(12);
    const std::vector<float> x = soundOf(random, kChannels * 8192, 2);
    LevelMeter meter({.channels = kChannels,
                      .step = 1.0 / 3000,
                      .outputFrequency = 7.3,
                      .timeConstant = 0.125,
                      .blankedSeconds = 2.5});
    Outputs outputs;
    for (std::size_t frames = 0; frames < kSoakFrames;) {
        const std::size_t from = kChannels * (random() % 4096);
        const std::size_t count = random() % 4096;
        const int control = random() % 4 == 0 ? static_cast<int>(random() % 8) : 0;
        const LevelMode mode{.rms = random() % 8 != 0, .impulse = random() % 4 == 0};
        outputs.clear();
        feedAll(meter,
                {x.begin() + static_cast<std::ptrdiff_t>(from),
                 x.begin() + static_cast<std::ptrdiff_t>(from + kChannels * count)},
                kChannels, control, mode, outputs);
        frames += count;
        for (const Output& output : outputs) {
            for (const float value : output)
                ASSERT_TRUE(std::isfinite(value));
        }
    }
    // After all that, a full reset leaves nothing behind but the clocks' phases.
    outputs.clear();
    feedAll(meter, std::vector<float>(kChannels * 2000), kChannels, 0, {}, outputs);
    feedAll(meter, std::vector<float>(kChannels * 9000), kChannels, kResetAll, {}, outputs);
    EXPECT_EQ(quantity(outputs.back(), kMaximumLevel, 4, kChannels), 0.0F);
    EXPECT_EQ(quantity(outputs.back(), kPercentile1, 4, kChannels), -0.2F);
    EXPECT_LE(quantity(outputs.back(), kMeasurementTime, 0, kChannels), 3.0F);
}

}  // namespace
}  // namespace vynpack
