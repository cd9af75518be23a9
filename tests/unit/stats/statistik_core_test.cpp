// The 21 measures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "blocks/stats/TOStatFunktion.h"
#include "blocks/stats/core/statistic_kernels.h"
#include "host/channel_block.h"
#include "support/signals.h"
#include "unit/kernels/levels_of_machine.h"

namespace vynpack {
namespace {

using signals::noise;

constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr float kInfinityF = std::numeric_limits<float>::infinity();

// The measures of one recording after another.
class Recorder {
public:
    explicit Recorder(int channels) : channels_(channels) {
        EXPECT_EQ(functions.initChannels(channels), 0);
    }

    // The next data block.
    void take(std::vector<float> values, double xStart = 0.0, double xStep = 1.0,
              std::uint32_t flags = 0) {
        functions.setAllPending();
        values_ = std::move(values);
        block = {
            .samples = {values_, channels_}, .xStart = xStart, .xStep = xStep, .axisFlags = flags};
    }
    double operator()(Statistic statistic, int channel = 0) {
        return functions.value(statistic, block, channel);
    }

    StatFunctions functions;
    StatBlock block;

private:
    int channels_;
    std::vector<float> values_;
};

double measure(Statistic statistic, const std::vector<float>& values, double xStart = 0.0,
               double xStep = 1.0, std::uint32_t flags = 0) {
    Recorder recorder(1);
    recorder.take(values, xStart, xStep, flags);
    return recorder(statistic);
}

const std::vector<float> kTextbook = {2, 4, 4, 4, 5, 5, 7, 9};

TEST(Statistics, TextbookExample) {
    Recorder recorder(1);
    recorder.take(kTextbook, 10.0, 0.5);
    EXPECT_EQ(recorder(kSumBlock), 40.0);
    EXPECT_EQ(recorder(kSumAll), 40.0);
    EXPECT_EQ(recorder(kQSum), 232.0);
    EXPECT_EQ(recorder(kYMax), 9.0);
    EXPECT_EQ(recorder(kXonYMax), 13.5);
    EXPECT_EQ(recorder(kYMin), 2.0);
    EXPECT_EQ(recorder(kXonYMin), 10.0);
    EXPECT_EQ(recorder(kXMax), 14.0) << "just behind the last sample";
    EXPECT_EQ(recorder(kYonXMax), 9.0) << "the last sample itself";
    EXPECT_EQ(recorder(kXMin), 10.0);
    EXPECT_EQ(recorder(kYonXMin), 2.0);
    EXPECT_EQ(recorder(kAMean), 5.0);
    EXPECT_DOUBLE_EQ(recorder(kQMean), std::sqrt(29.0));
    EXPECT_NEAR(recorder(kGMean), std::pow(2.0 * 64 * 25 * 7 * 9, 1.0 / 8), 1e-14);
    EXPECT_NEAR(recorder(kHMean), 8 / (1.0 / 2 + 3.0 / 4 + 2.0 / 5 + 1.0 / 7 + 1.0 / 9), 1e-7);
    EXPECT_EQ(recorder(kSpannw), 7.0);
    EXPECT_DOUBLE_EQ(recorder(kVarianz), 32.0 / 7);
    EXPECT_NEAR(recorder(kStdAbw), 2.1381, 5e-5);
    EXPECT_NEAR(recorder(kVarKoeff), 0.42762, 5e-6);
    EXPECT_NEAR(recorder(kVarKoeffRel), 16.162, 1e-3);
    EXPECT_EQ(recorder(kMAAVMW), 1.5);
}

TEST(Statistics, AnEmptyBlockGivesTheValuesOfItsFormulas) {
    Recorder recorder(2);
    recorder.take({5.0F});  // fewer values than channels
    for (const int channel : {0, 1}) {
        EXPECT_EQ(recorder(kSumBlock, channel), 0.0);
        EXPECT_EQ(recorder(kQSum, channel), 0.0);
        EXPECT_TRUE(std::isnan(recorder(kAMean, channel)));
        EXPECT_TRUE(std::isnan(recorder(kQMean, channel)));
        EXPECT_TRUE(std::isnan(recorder(kMAAVMW, channel)));
        EXPECT_EQ(recorder(kGMean, channel), 1.0) << "the empty product";
        EXPECT_EQ(recorder(kHMean, channel), 0.0);
        EXPECT_EQ(recorder(kVarianz, channel), 0.0);
        EXPECT_EQ(recorder(kYMax, channel), -kLargest);
        EXPECT_EQ(recorder(kYMin, channel), kLargest);
        EXPECT_EQ(recorder(kSpannw, channel), -kInf);
        EXPECT_EQ(recorder(kYonXMax, channel), 0.0);
        EXPECT_EQ(recorder(kYonXMin, channel), 0.0);
    }
}

TEST(Statistics, AnEmptyBlockKeepsTheIndicesOfTheExtremes) {
    Recorder recorder(1);
    recorder.take({1, 2, 9, 0}, 0.0, 1.0);
    EXPECT_EQ(recorder(kXonYMax), 2.0);
    EXPECT_EQ(recorder(kXonYMin), 3.0);
    recorder.take({}, 100.0, 1.0);
    EXPECT_EQ(recorder(kXonYMax), 102.0);
    EXPECT_EQ(recorder(kXonYMin), 103.0);
}

TEST(Statistics, ASingleSampleHasNoSpread) {
    Recorder recorder(1);
    recorder.take({3.5F});
    EXPECT_EQ(recorder(kVarianz), 0.0);
    EXPECT_EQ(recorder(kStdAbw), 0.0);
    EXPECT_EQ(recorder(kVarKoeff), 0.0);
    EXPECT_TRUE(std::isnan(recorder(kVarKoeffRel))) << "0/0";
    EXPECT_EQ(recorder(kGMean), 3.5);
    EXPECT_EQ(recorder(kMAAVMW), 0.0);
}

TEST(Statistics, OfEqualExtremesTheFirstOneCounts) {
    EXPECT_EQ(measure(kXonYMax, {0, 1, 2, 7, 1, 0, 7, 3}), 3.0);
    EXPECT_EQ(measure(kXonYMin, {5, 5, 2, 7, 2, 5, 7, 3}), 2.0);
    // At every place of a longer block, in the lanes of a wide row and in its tail.
    for (std::size_t n : {15U, 16U, 17U, 64U, 77U}) {
        for (std::size_t place = 0; place + 1 < n; ++place) {
            std::vector<float> values(n, 0.0F);
            values[place] = values[n - 1] = 1.0F;
            EXPECT_EQ(measure(kXonYMax, values), static_cast<double>(place));
            values[place] = values[n - 1] = -1.0F;
            EXPECT_EQ(measure(kXonYMin, values), static_cast<double>(place));
        }
    }
}

TEST(Statistics, NaNNeverReplacesAnExtreme) {
    const float nan = std::nanf("");
    EXPECT_EQ(measure(kYMax, {nan, 1, nan, 3, nan}), 3.0);
    EXPECT_EQ(measure(kXonYMax, {nan, 1, nan, 3, nan}), 3.0);
    EXPECT_EQ(measure(kYMin, {nan, 1, nan, 3, nan}), 1.0);
    EXPECT_EQ(measure(kYMax, {nan, nan}), -kLargest);
    EXPECT_EQ(measure(kYMin, {nan, nan}), kLargest);
}

TEST(Statistics, ExtremesStartAtTheLargestFiniteNumbers) {
    EXPECT_EQ(measure(kYMax, {-kInfinityF, -kInfinityF}), -kLargest);
    EXPECT_EQ(measure(kYMin, {kInfinityF, kInfinityF}), kLargest);
    EXPECT_EQ(measure(kYMax, {-kInfinityF, kInfinityF}), kInf);
    EXPECT_EQ(measure(kYMin, {-kInfinityF, kInfinityF}), -kInf);
}

TEST(Statistics, AZeroSampleMakesTheHarmonicAndTheGeometricMeanZero) {
    for (const std::size_t place : {0U, 3U, 9U}) {
        std::vector<float> values(10, 2.0F);
        values[place] = 0.0F;
        EXPECT_EQ(measure(kHMean, values), 0.0);
        EXPECT_EQ(measure(kGMean, values), 0.0);
        values[place] = -0.0F;
        EXPECT_EQ(measure(kHMean, values), 0.0);
        EXPECT_EQ(measure(kGMean, values), 0.0);
    }
    // Whatever else the block holds: the sum of its reciprocals would be NaN.
    EXPECT_EQ(measure(kHMean, {0.0F, -0.0F, 2.0F}), 0.0);
    EXPECT_EQ(measure(kHMean, {2.0F, std::nanf(""), 0.0F}), 0.0);
    EXPECT_EQ(measure(kHMean, {0.0F, std::nanf("")}), 0.0);
    // Also in the last of several rows.
    Recorder recorder(2);
    recorder.take({std::nanf(""), std::nanf(""), 2.0F, 2.0F, 3.0F, 3.0F, 4.0F, 0.0F});
    EXPECT_TRUE(std::isnan(recorder(kHMean, 0)));
    EXPECT_EQ(recorder(kHMean, 1), 0.0);
}

TEST(Statistics, ANegativeSampleMakesOnlyTheGeometricMeanZero) {
    EXPECT_EQ(measure(kGMean, {2, -2, 4, 4}), 0.0);
    EXPECT_EQ(measure(kHMean, {2, -4, 4, 4}), 4 / 0.75);
    EXPECT_EQ(measure(kHMean, {-2, -4}), -2 / 0.75);
    EXPECT_EQ(measure(kHMean, {2, -2}), 0.0) << "terms that cancel exactly";
    EXPECT_EQ(measure(kGMean, {2, -kInfinityF}), 0.0);
}

TEST(Statistics, NaNMakesTheGeometricMeanNaNUnlessASampleIsNotAboveZero) {
    const float nan = std::nanf("");
    EXPECT_TRUE(std::isnan(measure(kGMean, {1, nan, 2})));
    EXPECT_EQ(measure(kGMean, {1, nan, -2}), 0.0);
    EXPECT_EQ(measure(kGMean, {0, nan, 2}), 0.0);
    EXPECT_EQ(measure(kGMean, {1, kInfinityF, 2}), kInf);
}

TEST(Statistics, TheHarmonicMeanFormsItsQuotientsInSinglePrecision) {
    const double expected =
        3.0 / (static_cast<double>(1.0F / 3.0F) + static_cast<double>(1.0F / 7.0F) +
               static_cast<double>(1.0F / 11.0F));
    EXPECT_EQ(measure(kHMean, {3, 7, 11}), expected);
}

TEST(Statistics, SquaresAreFormedInSinglePrecision) {
    EXPECT_EQ(measure(kQSum, {1.1F, 3.3F}),
              static_cast<double>(1.1F * 1.1F) + static_cast<double>(3.3F * 3.3F));
    EXPECT_EQ(measure(kQSum, {2e19F}), kInf) << "a square beyond single precision";
}

TEST(Statistics, AMeanOfExactlyZeroMakesTheCoefficientOfVariationZero) {
    EXPECT_EQ(measure(kVarKoeff, {-1, 1, -2, 2}), 0.0);
    EXPECT_EQ(measure(kVarKoeffRel, {-1, 1, -2, 2}), 0.0);
    EXPECT_LT(measure(kVarKoeff, {-1, -2, -3}), 0.0) << "a plain ratio";
}

TEST(Statistics, SumAllAddsEachBlockOnce) {
    Recorder recorder(1);
    double expected = 0.0;
    for (const float sum : {1.0F, 2.0F, 3.0F}) {
        recorder.take({sum, 0.0F});
        expected += sum;
        EXPECT_EQ(recorder(kSumAll), expected);
        EXPECT_EQ(recorder(kSumAll), expected) << "asked again";
        EXPECT_EQ(recorder(kSumBlock), sum);
    }
    EXPECT_EQ(recorder.functions.initChannels(1), 0);  // a new run
    recorder.take({4.0F});
    EXPECT_EQ(recorder(kSumAll), 4.0);
}

TEST(Statistics, ABlockThatIsNotAskedAboutDoesNotCountInSumAll) {
    Recorder recorder(1);
    recorder.take({1.0F});
    recorder.take({2.0F});
    EXPECT_EQ(recorder(kSumAll), 2.0);
}

TEST(Statistics, AMeasureIsComputedOnceAndThenServed) {
    Recorder recorder(2);
    recorder.take({1, 2, 3, 4});
    EXPECT_TRUE(recorder.functions[kAMean].IsPending(0));
    EXPECT_EQ(recorder(kStdAbw, 0), std::sqrt(2.0));
    for (const Statistic used : {kStdAbw, kVarianz, kAMean, kSumBlock}) {
        EXPECT_FALSE(recorder.functions[used].IsPending(0)) << used;
        EXPECT_TRUE(recorder.functions[used].IsPending(1)) << used;
    }
    EXPECT_TRUE(recorder.functions[kYMax].IsPending(0)) << "nobody asked for it";
    recorder.functions[kVarianz].SetPending(0);
    EXPECT_EQ(recorder(kStdAbw, 0), std::sqrt(2.0)) << "stored";
    recorder.functions.setAllPending();
    EXPECT_TRUE(recorder.functions[kStdAbw].IsPending(0));
}

TEST(Statistics, MeasuresAskThoseThatTheyAreBuiltFrom) {
    const std::vector<std::pair<Statistic, std::vector<Statistic>>> arrows = {
        {kSumAll, {kSumBlock}},
        {kXonYMax, {kYMax}},
        {kXonYMin, {kYMin}},
        {kAMean, {kSumBlock}},
        {kQMean, {kQSum}},
        {kSpannw, {kYMax, kYMin}},
        {kStdAbw, {kVarianz, kAMean, kSumBlock}},
        {kVarKoeff, {kAMean, kStdAbw}},
        {kVarKoeffRel, {kVarKoeff}},
        {kMAAVMW, {kAMean}}};
    for (const auto& [from, to] : arrows) {
        Recorder recorder(1);
        recorder.take(kTextbook);
        recorder(from);
        for (const Statistic used : to)
            EXPECT_FALSE(recorder.functions[used].IsPending(0)) << from << " -> " << used;
    }
}

TEST(Statistics, BandNumbersBecomeCentreFrequencies) {
    constexpr auto kThirds = kAxisThirdOctaveBands;
    constexpr auto kOctaves = kAxisOctaveBands;
    EXPECT_EQ(measure(kXMin, {1, 2, 3}, 18.0, 1.0, kThirds), 1000.0);
    EXPECT_EQ(measure(kXMax, {1, 2, 3}, 18.0, 1.0, kThirds), 2000.0);
    EXPECT_EQ(measure(kXonYMax, {1, 2, 3}, 18.0, 1.0, kThirds), 1600.0);
    EXPECT_EQ(measure(kXonYMin, {1, 2, 3}, 3.0, 1.0, kThirds), 31.5);
    EXPECT_EQ(measure(kXMin, {1, 2, 3}, 6.0, 1.0, kOctaves), 1000.0);
    EXPECT_EQ(measure(kXonYMax, {1, 2, 3}, 6.0, 1.0, kOctaves), 4000.0);
    EXPECT_EQ(measure(kXMin, {1}, 6.0, 1.0, kThirds | kOctaves), 63.0) << "thirds go first";
    EXPECT_EQ(measure(kXMin, {1}, 18.0, 1.0, 4U), 18.0) << "other flags are the host's";
    EXPECT_EQ(measure(kXMax, std::vector<float>(11), 0.0, 1.0, kOctaves), 0.0)
        << "behind the table";
}

TEST(Statistics, SurplusValuesAreDropped) {
    Recorder recorder(3);
    recorder.take({1, 2, 3, 4, 5, 6, 100, 200});
    EXPECT_EQ(recorder(kSumBlock, 0), 5.0);
    EXPECT_EQ(recorder(kSumBlock, 1), 7.0);
    EXPECT_EQ(recorder(kYMax, 2), 6.0);
    EXPECT_EQ(recorder(kYonXMax, 0), 4.0);
}

TEST(Statistics, SumsEqualALoopInSampleOrder) {
    for (const int channels : {1, 2, 3, 7, 8, 9, 32}) {
        const std::size_t n = 533;
        const auto values = noise(n * static_cast<std::size_t>(channels), 21, 0.5F, 900.0F);
        Recorder recorder(channels);
        recorder.take(values);
        for (int c = 0; c < channels; ++c) {
            double sum = 0.0;
            double squares = 0.0;
            double reciprocals = 0.0;
            for (std::size_t k = 0; k < n; ++k) {
                const float x =
                    values[k * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)];
                sum += x;
                squares += static_cast<double>(x * x);
                reciprocals += static_cast<double>(1.0F / x);
            }
            const double mean = sum / n;
            double deviations = 0.0;
            double absolutes = 0.0;
            for (std::size_t k = 0; k < n; ++k) {
                const double x =
                    values[k * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)];
                deviations += (x - mean) * (x - mean);
                absolutes += std::fabs(x - mean);
            }
            EXPECT_EQ(recorder(kSumBlock, c), sum);
            EXPECT_EQ(recorder(kQSum, c), squares);
            EXPECT_EQ(recorder(kHMean, c), n / reciprocals);
            EXPECT_EQ(recorder(kVarianz, c), 1.0 / (n - 1) * deviations);
            EXPECT_EQ(recorder(kMAAVMW, c), 1.0 / n * absolutes);
        }
    }
}

TEST(Statistics, AgreeWithAComputationInLongDouble) {
    const std::size_t n = 4096;
    const auto values = noise(n, 22, 0.001F, 50.0F);
    long double sum = 0;
    long double squares = 0;
    long double logs = 0;
    long double reciprocals = 0;
    for (const float x : values) {
        sum += x;
        squares += static_cast<long double>(x) * x;
        logs += std::log(static_cast<long double>(x));
        reciprocals += 1.0L / x;
    }
    const long double mean = sum / n;
    long double deviations = 0;
    long double absolutes = 0;
    for (const float x : values) {
        deviations += (x - mean) * (x - mean);
        absolutes += std::fabs(x - mean);
    }
    Recorder recorder(1);
    recorder.take(values);
    // 4096 additions in double, each within half a unit: far below 1e-12. Squares and quotients are
    // rounded to single precision first; their errors average out to well below 1e-8.
    const auto near = [&](Statistic statistic, long double exact, double relative) {
        const double value = recorder(statistic);
        EXPECT_NEAR(value, static_cast<double>(exact), relative * static_cast<double>(exact))
            << statistic;
    };
    near(kSumBlock, sum, 1e-12);
    near(kAMean, mean, 1e-12);
    near(kQSum, squares, 1e-8);
    near(kQMean, std::sqrt(squares / n), 1e-8);
    near(kGMean, std::exp(logs / n), 1e-12);
    near(kHMean, n / reciprocals, 1e-8);
    near(kVarianz, deviations / (n - 1), 1e-12);
    near(kStdAbw, std::sqrt(deviations / (n - 1)), 1e-12);
    near(kVarKoeff, std::sqrt(deviations / (n - 1)) / mean, 1e-12);
    near(kVarKoeffRel, std::sqrt(deviations / (n - 1)) / mean / std::sqrt(n - 1.0L) * 100, 1e-12);
    near(kMAAVMW, absolutes / n, 1e-12);
}

TEST(Statistics, TheGeometricMeanStaysInsideTheDoubleRange) {
    // The plain product of these would be 10^38000 or 10^-38000.
    EXPECT_NEAR(measure(kGMean, std::vector<float>(1000, 1e38F)) / 1e38, 1.0, 1e-7);
    EXPECT_NEAR(measure(kGMean, std::vector<float>(1000, 1e-38F)) / 1e-38, 1.0, 1e-7);
}

TEST(Statistics, EveryChannelIsMeasuredAsIfAlone) {
    const auto values = noise(100 * 32, 23, -2.0F, 50.0F);
    Recorder all(32);
    all.take(values, 1.0, 0.25);
    for (int c = 0; c < 32; ++c) {
        std::vector<float> samples;
        for (auto i = static_cast<std::size_t>(c); i < values.size(); i += 32)
            samples.push_back(values[i]);
        Recorder alone(1);
        alone.take(samples, 1.0, 0.25);
        for (int s = 0; s < kStatistics; ++s) {
            const auto statistic = static_cast<Statistic>(s);
            EXPECT_EQ(all(statistic, c), alone(statistic)) << c << ' ' << s;
        }
    }
}

TEST(Statistics, ScaledDataGiveScaledMeasures) {
    auto values = noise(300, 24, 0.1F, 9.0F);
    Recorder plain(1);
    plain.take(values);
    for (float& value : values)
        value *= 8.0F;  // exact
    Recorder scaled(1);
    scaled.take(values);
    for (const Statistic s : {kSumBlock, kSumAll, kYMax, kYMin, kYonXMax, kYonXMin, kAMean, kQMean,
                              kHMean, kSpannw, kStdAbw, kMAAVMW}) {
        EXPECT_EQ(scaled(s), 8.0 * plain(s)) << s;
    }
    EXPECT_NEAR(scaled(kGMean), 8.0 * plain(kGMean), 1e-12);
    EXPECT_EQ(scaled(kQSum), 64.0 * plain(kQSum));
    EXPECT_EQ(scaled(kVarianz), 64.0 * plain(kVarianz));
    for (const Statistic s : {kXonYMax, kXonYMin, kXMax, kXMin, kVarKoeff, kVarKoeffRel})
        EXPECT_EQ(scaled(s), plain(s)) << s;
}

TEST(Statistics, AllKernelLevelsGiveTheSameBits) {
    for (const int channels : {1, 2, 3, 5, 8, 13}) {
        auto values = noise(static_cast<std::size_t>(311 * channels), 25, 1e-3F, 1e3F);
        values[17] = std::nanf("");
        const SampleRows rows{values, channels};
        SamplePasses baseline(vyn::KernelLevel::baseline);
        for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
            SamplePasses passes(level);
            for (int c = 0; c < channels; ++c) {
                const auto same = [](double a, double b) {
                    return a == b || (std::isnan(a) && std::isnan(b));
                };
                EXPECT_TRUE(same(passes.sum(rows, c), baseline.sum(rows, c)));
                EXPECT_TRUE(same(passes.sumOfSquares(rows, c), baseline.sumOfSquares(rows, c)));
                EXPECT_TRUE(
                    same(passes.sumOfReciprocals(rows, c), baseline.sumOfReciprocals(rows, c)));
                EXPECT_TRUE(same(passes.productOfRoots(rows, c), baseline.productOfRoots(rows, c)));
                EXPECT_TRUE(same(passes.sumOfSquaredDeviations(rows, c),
                                 baseline.sumOfSquaredDeviations(rows, c)));
                EXPECT_TRUE(
                    same(passes.sumOfDeviations(rows, c), baseline.sumOfDeviations(rows, c)));
                EXPECT_EQ(passes.maximum(rows, c).index, baseline.maximum(rows, c).index);
                EXPECT_EQ(passes.minimum(rows, c).value, baseline.minimum(rows, c).value);
            }
        }
    }
}

TEST(Statistics, MeasuresRefuseWhatMemoryDoesNotHold) {
    TOStatSumBlock function;
    EXPECT_EQ(function.AllocPending(-1), 512);
    EXPECT_EQ(function.InitChannels(-1), 512);
    TOStatYMax indexed;
    EXPECT_EQ(indexed.InitChannels(-1), 512);
    EXPECT_EQ(indexed.InitChannels(3), 0);
    EXPECT_EQ(indexed.GetIndex(2), 0);
}

// The walks of sums and of mean terms are one where the block before has asked for both, and share
// their work with the deviations where it has asked for those as well.
TEST(Statistics, WhatIsAskedForLeavesTheBitsOfAMeasureAlone) {
    for (const int channels : {1, 3, 8}) {
        for (const int samples : {0, 1, 2, 3, 15, 16, 17, 33, 256, 2003, 4099}) {
            const auto values =
                noise(static_cast<std::size_t>(samples * channels), 27, 1e-3F, 1e3F);
            for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                const SampleRows rows{values, channels};
                SamplePasses sums(level);
                SamplePasses means(level);
                SamplePasses both(level);
                SamplePasses deviations(level);
                SamplePasses all(level);
                for (int block = 0; block < 2; ++block) {
                    for (SamplePasses* passes : {&sums, &means, &both, &deviations, &all})
                        passes->forget();
                    for (int c = 0; c < channels; ++c) {
                        for (SamplePasses* passes : {&both, &all}) {
                            EXPECT_EQ(passes->productOfRoots(rows, c),
                                      means.productOfRoots(rows, c));
                            EXPECT_EQ(passes->sumOfReciprocals(rows, c),
                                      means.sumOfReciprocals(rows, c));
                            EXPECT_EQ(passes->sum(rows, c), sums.sum(rows, c));
                            EXPECT_EQ(passes->sumOfSquares(rows, c), sums.sumOfSquares(rows, c));
                        }
                        if (samples == 0) continue;  // no mean to deviate from
                        EXPECT_EQ(all.sumOfSquaredDeviations(rows, c),
                                  deviations.sumOfSquaredDeviations(rows, c));
                        EXPECT_EQ(all.sumOfDeviations(rows, c),
                                  deviations.sumOfDeviations(rows, c));
                    }
                }
            }
        }
    }
}

// Equal extremes, numbers that cannot be ranked and ends of blocks at every place.
TEST(Statistics, TheFirstExtremeIsFoundWhereverItLies) {
    for (const std::size_t n : {1U, 5U, 8U, 31U, 40U, 300U, 1100U}) {
        for (std::size_t first = 0; first<n; first += n> 100 ? 37 : 1) {
            const std::size_t second = (first * 7 + 3) % n;
            std::vector<float> values(n, std::nanf(""));
            for (std::size_t i = 0; i < n; i += 3)
                values[i] = 0.5F;
            for (const float sign : {1.0F, -1.0F}) {
                values[first] = sign;
                values[second] = sign;
                for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                    SamplePasses passes(level);
                    const SampleRows rows{values, 1};
                    const Extreme found =
                        sign > 0 ? passes.maximum(rows, 0) : passes.minimum(rows, 0);
                    EXPECT_TRUE(found.found);
                    EXPECT_EQ(found.value, sign);
                    EXPECT_EQ(found.index, static_cast<int>(std::min(first, second)));
                }
            }
        }
    }
}

// A sample on its own place among zeros, NaN and the infinities: the same answer wherever it lies
// in the lanes, and whether or not the block before made one walk of all.
TEST(Statistics, OddSamplesCountAlikeAtEveryPlace) {
    const float nan = std::nanf("");
    for (const std::size_t n : {1U, 7U, 8U, 9U, 35U}) {
        for (std::size_t place = 0; place < n; ++place) {
            Recorder recorder(1);
            for (int round = 0; round < 2; ++round) {
                std::vector<float> values(n, 2.0F);
                const auto with = [&](float odd, Statistic statistic) {
                    values[place] = odd;
                    recorder.take(values);
                    recorder(kSumBlock);
                    return recorder(statistic);
                };
                EXPECT_EQ(with(0.0F, kHMean), 0.0);
                EXPECT_EQ(with(0.0F, kGMean), 0.0);
                EXPECT_EQ(with(-2.0F, kGMean), 0.0);
                EXPECT_EQ(with(kInfinityF, kGMean), kInf);
                EXPECT_TRUE(std::isnan(with(nan, kGMean)));
                EXPECT_TRUE(std::isnan(with(nan, kHMean)));
                EXPECT_EQ(with(1e-40F, kHMean), 0.0) << "its reciprocal is beyond single precision";
                EXPECT_GT(with(1e-40F, kGMean), 0.0);
            }
        }
    }
}

TEST(GeometricMean, IsWithinAUnitOfTheLastPlace) {
    std::mt19937 random(26);
    for (const std::size_t n : {1U, 2U, 3U, 10U, 100U, 999U, 1000U, 1001U, 4096U}) {
        std::vector<float> x(n);
        for (int round = 0; round < 40; ++round) {
            long double logarithms = 0.0L;
            for (float& value : x) {
                // All magnitudes, or those about 1.
                const auto bits = static_cast<std::uint32_t>(1U + random() % 0x7f7fffffU);
                value = round % 2 == 0 ? std::bit_cast<float>(bits)
                                       : 0.5F + static_cast<float>(bits % 4096U) / 1024.0F;
                logarithms += std::log(static_cast<long double>(value));
            }
            // Long double has 11 more bits; their sum loses some of them and its n-th part has them
            // again.
            const long double exact = std::exp(logarithms / static_cast<long double>(n));
            for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                SamplePasses passes(level);
                const double mean = passes.productOfRoots({x, 1}, 0);
                const double unit = std::nextafter(mean, kInf) - mean;
                ASSERT_LE(std::fabs(static_cast<double>(mean - exact)), unit) << n;
            }
        }
    }
}

TEST(GeometricMean, OfOneSampleIsTheSample) {
    std::mt19937 random(28);
    std::vector<float> x = {1.0F, 0x1p-149F, std::numeric_limits<float>::max(), 0x1.6a09e6p-1F,
                            0x1.6a09e8p-1F};
    while (x.size() < 5000)
        x.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(1U + random() % 0x7f7fffffU)));
    for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
        for (const float value : x) {
            SamplePasses passes(level);
            ASSERT_EQ(passes.productOfRoots({{&value, 1}, 1}, 0), static_cast<double>(value));
        }
    }
}

TEST(GeometricMean, OfTwoSquaresIsTheProductOfTheirRoots) {
    for (int i = 1; i <= 1000; ++i) {
        const std::array<float, 2> squares = {static_cast<float>(i * i),
                                              static_cast<float>((i + 7) * (i + 7))};
        for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
            SamplePasses passes(level);
            ASSERT_EQ(passes.productOfRoots({squares, 1}, 0), static_cast<double>(i * (i + 7)));
        }
    }
}

}  // namespace
}  // namespace vynpack
