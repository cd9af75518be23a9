#include "blocks/stats/core/mittelwert_core.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

#include "blocks/stats/core/averaging_kernels.h"
#include "support/signals.h"
#include "unit/kernels/levels_of_machine.h"

namespace vynpack {
namespace {

using signals::noise;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Samples = std::vector<float>;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

Samples counting(int from, int to) {
    Samples samples(static_cast<std::size_t>(to - from + 1));
    std::iota(samples.begin(), samples.end(), static_cast<float>(from));
    return samples;
}

Samples channelOf(const Samples& values, std::size_t channel, std::size_t channels) {
    Samples samples;
    for (std::size_t i = channel; i < values.size(); i += channels)
        samples.push_back(values[i]);
    return samples;
}

// --- Groups ----------------------------------------------------------------------------------

class Groups {
public:
    explicit Groups(int channels = 1, vyn::KernelLevel level = vyn::kernelLevel())
        : average_(level), channels_(channels) {
        average_.start(channels);
    }
    Samples operator()(const Samples& in, std::size_t width) {
        Samples out(average_.outputCount(in.size(), width), -77.0F);
        average_.process({in, channels_}, width, out);
        return out;
    }

private:
    GroupAverage average_;
    int channels_;
};

TEST(GroupAverage, GroupsSpanBlocksAndACarriedGroupIsCompletedOnceMoreAfterABorder) {
    Groups groups;
    EXPECT_THAT(groups(counting(1, 10), 4), ElementsAre(2.5F, 6.5F));
    EXPECT_THAT(groups(counting(11, 20), 4), ElementsAre(10.5F, 14.5F, 18.5F));
    // The block before ended on a border and left 9 + 10 as they were.
    EXPECT_THAT(groups(counting(21, 30), 4), ElementsAre(15.5F, 24.5F, 28.5F));
}

TEST(GroupAverage, AGroupAsLongAsTheBlockIsTheBlocksMean) {
    Groups groups;
    EXPECT_THAT(groups(counting(1, 8), 8), ElementsAre(4.5F));
    EXPECT_THAT(groups(counting(3, 10), 8), ElementsAre(6.5F));
}

TEST(GroupAverage, AWidthOfOneCopies) {
    Groups groups(3);
    EXPECT_EQ(groups(counting(1, 12), 1), counting(1, 12));
}

TEST(GroupAverage, SurplusOutputValuesAreZero) {
    Groups groups(2);
    // 20 values in groups of 4: 5 output values, though only 2 groups end in each channel.
    EXPECT_THAT(groups(counting(1, 20), 4), ElementsAre(4, 5, 12, 13, 0));
    // 2 carried rows: (4 + 20) / 4 = 6 values, 3 groups.
    EXPECT_THAT(groups(counting(21, 40), 4), ElementsAre(20, 21, 28, 29, 36, 37));
}

TEST(GroupAverage, AGroupTakesWhatShortBlocksHave) {
    Groups groups(4);
    const auto block = [](float first) {
        Samples values;
        for (float k = 0; k < 4; ++k)
            for (const float c : {0.0F, 100.0F, 200.0F, 300.0F})
                values.push_back(first + k + c);
        return values;
    };
    // 4 rows per block, groups of 10: the third block ends the first group after its second row.
    EXPECT_THAT(groups(block(0), 10), ElementsAre(0));
    EXPECT_THAT(groups(block(4), 10), ElementsAre(0, 0, 0));
    EXPECT_THAT(groups(block(8), 10), ElementsAre(4.5F, 104.5F, 204.5F, 304.5F));
    // Two rows are carried.
    EXPECT_THAT(groups(block(12), 10), ElementsAre(0, 0));
    EXPECT_THAT(groups(block(16), 10), ElementsAre(14.5F, 114.5F, 214.5F, 314.5F));
}

TEST(GroupAverage, BlocksWithoutAWholeRowAreCarriedAsNothing) {
    Groups groups(4);
    EXPECT_THAT(groups({1, 2, 3}, 2), ElementsAre(0));
    EXPECT_THAT(groups(counting(1, 4), 2), ElementsAre(0, 0));
    EXPECT_THAT(groups({}, 2), ElementsAre(0, 0));
    EXPECT_THAT(groups(counting(5, 8), 2), ElementsAre(3, 4, 5, 6));
}

TEST(GroupAverage, ABlockThatEndsOnABorderWithValuesOfNoRowLeavesNothingCarried) {
    Groups groups(2);
    EXPECT_THAT(groups(counting(1, 6), 2), ElementsAre(2, 3, 0));  // the third row is carried
    // One row completes it; the value behind the row belongs to no channel.
    EXPECT_THAT(groups({9, 10, 77}, 2), ElementsAre(7, 8));
    EXPECT_THAT(groups({20, 30, 22, 32}, 2), ElementsAre(21, 31));
}

TEST(GroupAverage, AWidthLoweredBelowTheCarriedRowsClosesTheGroup) {
    Groups groups;
    EXPECT_THAT(groups(counting(1, 8), 10), IsEmpty());
    // 8 carried rows and 4 new ones in groups of 3: the carried group is the mean of its 8.
    EXPECT_THAT(groups(counting(9, 12), 3), ElementsAre(4.5F, 10, 12, 0));
}

TEST(GroupAverage, AWidthRaisedInTheRunReadsNothingBehindTheBlock) {
    Groups groups(2);
    EXPECT_THAT(groups(counting(1, 6), 2), ElementsAre(2, 3, 0));
    EXPECT_THAT(groups(counting(7, 12), 6), ElementsAre(0));  // 1 + 3 rows of 6
    EXPECT_THAT(groups(counting(13, 18), 6), ElementsAre(10, 11));
}

TEST(GroupAverage, ASecondRunStartsEmpty) {
    GroupAverage average;
    for (int run = 0; run < 2; ++run) {
        average.start(1);
        Samples out(average.outputCount(6, 4));
        const Samples in = counting(1, 6);
        average.process({in, 1}, 4, out);
        EXPECT_THAT(out, ElementsAre(2.5F));
    }
}

TEST(GroupAverage, BlockSizesDoNotMatterWhileNoBlockEndsOnABorder) {
    for (const int channels : {1, 2, 3, 8, 32}) {
        const auto c = static_cast<std::size_t>(channels);
        const Samples all = noise(1200 * c, 31, -8.0F, 8.0F);
        const Samples whole = Groups(channels)(all, 7);
        std::mt19937 random(32);
        Groups groups(channels);
        Samples pieces;
        std::size_t row = 0;
        while (row < 1200) {
            std::size_t rows = std::min<std::size_t>(1 + random() % 60, 1200 - row);
            if ((row + rows) % 7 == 0) rows = rows > 1 ? rows - 1 : 2;
            rows = std::min(rows, 1200 - row);
            const Samples piece(all.begin() + static_cast<std::ptrdiff_t>(row * c),
                                all.begin() + static_cast<std::ptrdiff_t>((row + rows) * c));
            const Samples out = groups(piece, 7);
            pieces.insert(pieces.end(), out.begin(),
                          out.end() - static_cast<std::ptrdiff_t>(out.size() % c));
            row += rows;
        }
        const std::size_t groupsOfAll = 1200 / 7 * c;
        ASSERT_EQ(pieces.size(), groupsOfAll);
        EXPECT_TRUE(std::equal(pieces.begin(), pieces.end(), whole.begin()));
    }
}

TEST(GroupAverage, MeansEqualALoopInSampleOrder) {
    for (const int channels : {1, 2, 3, 5, 8, 11, 32}) {
        const auto c = static_cast<std::size_t>(channels);
        const Samples in = noise(103 * c, 33, -8.0F, 8.0F);
        for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
            const Samples out = Groups(channels, level)(in, 10);
            for (std::size_t i = 0; i < 10 * c; ++i) {
                double sum = 0.0;
                for (std::size_t k = 0; k < 10; ++k)
                    sum += in[(i / c * 10 + k) * c + i % c];
                ASSERT_EQ(out[i], static_cast<float>(sum) / 10.0F);
            }
        }
    }
}

TEST(GroupAverage, EveryChannelIsAveragedAsIfAlone) {
    const Samples in = noise(50 * 32, 34, -8.0F, 8.0F);
    const Samples next = noise(50 * 32, 35, -8.0F, 8.0F);
    Groups all(32);
    const Samples first = all(in, 8);
    const Samples second = all(next, 8);
    for (std::size_t c = 0; c < 32; ++c) {
        Groups alone;
        EXPECT_EQ(alone(channelOf(in, c, 32), 8),
                  channelOf(Samples(first.begin(), first.begin() + 6 * 32), c, 32));
        EXPECT_EQ(alone(channelOf(next, c, 32), 8),
                  channelOf(Samples(second.begin(), second.begin() + 6 * 32), c, 32));
    }
}

// --- Moving average --------------------------------------------------------------------------

class Windows {
public:
    explicit Windows(int channels = 1, vyn::KernelLevel level = vyn::kernelLevel())
        : average_(level), channels_(channels) {}
    Samples operator()(const Samples& in, std::size_t width) {
        Samples out(in.size(), -77.0F);
        average_.process({in, channels_}, width, out);
        return out;
    }

private:
    MovingAverage average_;
    int channels_;
};

TEST(MovingAverage, TheWindowGrowsAtTheStartAndReachesBackIntoTheBlocksBefore) {
    Windows windows;
    EXPECT_THAT(windows({1, 2, 3, 4, 5}, 3), ElementsAre(1, 1.5F, 2, 3, 4));
    EXPECT_THAT(windows({6, 7, 8}, 3), ElementsAre(5, 6, 7));
    EXPECT_THAT(windows({9, 10, 11, 15}, 3), ElementsAre(8, 9, 10, 12));
}

TEST(MovingAverage, AWidthOfOneCopies) {
    Windows windows(2);
    EXPECT_EQ(windows(counting(1, 10), 1), counting(1, 10));
    EXPECT_EQ(windows(counting(3, 6), 1), counting(3, 6));
}

TEST(MovingAverage, AWindowLongerThanABlockGoesOnGrowing) {
    Windows windows(2);
    // 2 rows per block, a window of 5 rows.
    EXPECT_THAT(windows({1, 10, 2, 20}, 5), ElementsAre(1, 10, 1.5F, 15));
    EXPECT_THAT(windows({3, 30, 4, 40}, 5), ElementsAre(2, 20, 2.5F, 25));
    EXPECT_THAT(windows({5, 50, 6, 60}, 5), ElementsAre(3, 30, 4, 40));
    EXPECT_THAT(windows({7, 70, 8, 80}, 5), ElementsAre(5, 50, 6, 60));
}

TEST(MovingAverage, AWidthRaisedInTheRunUsesTheSamplesItHas) {
    Windows windows;
    EXPECT_THAT(windows({1, 2, 3, 4}, 2), ElementsAre(1, 1.5F, 2.5F, 3.5F));
    // One sample is carried: the window of 4 grows from it.
    EXPECT_THAT(windows({5, 6, 7, 8}, 4), ElementsAre(4.5F, 5, 5.5F, 6.5F));
    EXPECT_THAT(windows({9, 10, 11, 12}, 4), ElementsAre(7.5F, 8.5F, 9.5F, 10.5F));
}

TEST(MovingAverage, AWidthLoweredInTheRunForgetsTheOlderSamples) {
    Windows windows;
    windows({1, 2, 3, 4, 5, 6}, 5);
    EXPECT_THAT(windows({7, 8, 9}, 2), ElementsAre(6.5F, 7.5F, 8.5F));
    EXPECT_THAT(windows({10, 11}, 3), ElementsAre(9.5F, 10)) << "only one sample is carried";
}

TEST(MovingAverage, AnInfinityLeavesNoTraceOnceItHasLeftTheWindow) {
    Windows windows;
    const Samples out = windows({1, kInfinity, 1, 1, 1, 1}, 3);
    EXPECT_THAT(out, ElementsAre(1, kInfinity, kInfinity, kInfinity, 1, 1));
    const float nan = std::nanf("");
    windows({nan, 1, 1}, 3);
    EXPECT_THAT(windows({4, 1}, 3), ElementsAre(2, 2));
}

TEST(MovingAverage, SurplusOutputValuesAreZero) {
    Windows windows(3);
    EXPECT_THAT(windows({1, 2, 3, 4, 5, 6, 7, 8}, 2), ElementsAre(1, 2, 3, 2.5F, 3.5F, 4.5F, 0, 0));
    EXPECT_THAT(windows({10, 20}, 2), ElementsAre(0, 0));
    EXPECT_THAT(windows({6, 7, 8}, 2), ElementsAre(5, 6, 7));
}

TEST(MovingAverage, ASecondRunStartsWithoutHistory) {
    MovingAverage average;
    const Samples in = {1, 2, 3};
    for (int run = 0; run < 2; ++run) {
        average.start();
        Samples out(3);
        average.process({in, 1}, 3, out);
        EXPECT_THAT(out, ElementsAre(1, 1.5F, 2));
    }
}

TEST(MovingAverage, BlockSizesDoNotMatter) {
    for (const int channels : {1, 2, 3, 8, 32}) {
        const auto c = static_cast<std::size_t>(channels);
        const Samples all = noise(900 * c, 36, -8.0F, 8.0F);
        for (const std::size_t width : {1U, 2U, 7U, 33U, 200U}) {
            const Samples whole = Windows(channels)(all, width);
            std::mt19937 random(37);
            Windows windows(channels);
            Samples pieces;
            while (pieces.size() < all.size()) {
                const std::size_t left = all.size() - pieces.size();
                const std::size_t taken = std::min<std::size_t>((1 + random() % 90) * c, left);
                const auto from = all.begin() + static_cast<std::ptrdiff_t>(pieces.size());
                const Samples out =
                    windows(Samples(from, from + static_cast<std::ptrdiff_t>(taken)), width);
                pieces.insert(pieces.end(), out.begin(), out.end());
            }
            EXPECT_EQ(pieces, whole) << channels << ' ' << width;
        }
    }
}

// One channel's means by the order that is promised: sums of 1, 2, 4, ... samples from every sample
// on; a window is the blocks of its width's binary digits, the smallest first. Windows that still
// grow go from sample to sample.
Samples meansByDoubling(const Samples& samples, std::size_t width) {
    Samples means;
    double grown = 0.0;
    for (std::size_t k = 0; k + 1 < width && k < samples.size(); ++k) {
        grown += samples[k];
        means.push_back(static_cast<float>(grown) / static_cast<float>(k + 1));
    }
    std::vector<double> blocks(samples.begin(), samples.end());
    std::vector<double> windows(samples.size() - means.size(), 0.0);
    std::size_t rows = 0;
    for (std::size_t length = 1; length <= width; length *= 2) {
        if ((width & length) != 0) {
            for (std::size_t i = 0; i < windows.size(); ++i)
                windows[i] += blocks[i + rows];
            rows += length;
        }
        for (std::size_t i = 0; i + length < blocks.size(); ++i)
            blocks[i] += blocks[i + length];
    }
    for (const double sum : windows)
        means.push_back(static_cast<float>(sum) / static_cast<float>(width));
    return means;
}

Samples interleavedMeansByDoubling(const Samples& in, std::size_t channels, std::size_t width) {
    Samples out(in.size());
    for (std::size_t c = 0; c < channels; ++c) {
        const Samples means = meansByDoubling(channelOf(in, c, channels), width);
        for (std::size_t k = 0; k < means.size(); ++k)
            out[k * channels + c] = means[k];
    }
    return out;
}

// Sums of these show the order of their terms: what large samples swallow before they cancel each
// other is lost.
Samples cancelling(std::size_t rows, std::size_t channels, unsigned seed) {
    Samples samples = noise(rows * channels, seed, -8.0F, 8.0F);
    std::mt19937 random(seed);
    for (std::size_t c = 0; c < channels; ++c) {
        float large = 0x1p54F;
        for (std::size_t i = c; i < samples.size(); i += channels) {
            if (random() % 5 == 0) samples[i] = std::exchange(large, -large);
        }
    }
    return samples;
}

bool sameBits(const Samples& a, const Samples& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

std::vector<std::size_t> widthsTo40And(std::initializer_list<std::size_t> wide) {
    std::vector<std::size_t> widths(40);
    std::iota(widths.begin(), widths.end(), 1U);
    widths.insert(widths.end(), wide);
    return widths;
}

TEST(MovingAverage, MeansAreThoseOfALoopThatDoublesAtEveryLevel) {
    for (const int channels : {1, 2, 3, 4, 5, 8, 11, 16, 17, 24, 32, 64, 72}) {
        const auto c = static_cast<std::size_t>(channels);
        Samples in = noise(211 * c, 38, -8.0F, 8.0F);
        // Zeros without a sign come of zeros with one.
        std::fill_n(in.begin() + static_cast<std::ptrdiff_t>(90 * c), 70 * c, -0.0F);
        for (const std::size_t width :
             widthsTo40And({63, 64, 100, 127, 128, 192, 208, 211, 1000})) {
            const Samples expected = interleavedMeansByDoubling(in, c, width);
            for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                EXPECT_TRUE(sameBits(Windows(channels, level)(in, width), expected))
                    << channels << ' ' << width << ' ' << static_cast<int>(level);
            }
        }
    }
}

// The test's own order in two windows, written out.
TEST(MovingAverage, TheOrderOfASumIsThatOfItsWidthsBinaryDigits) {
    const Samples x = cancelling(400, 1, 47);
    const Samples five = Windows()(x, 5);
    const Samples six = Windows()(x, 6);
    const Samples seven = Windows()(x, 7);
    std::size_t shown = 0;
    for (std::size_t k = 6; k < x.size(); ++k) {
        const auto at = [&](std::size_t back) { return static_cast<double>(x[k - back]); };
        EXPECT_EQ(five[k], static_cast<float>(at(4) + ((at(3) + at(2)) + (at(1) + at(0)))) / 5.0F);
        EXPECT_EQ(six[k],
                  static_cast<float>((at(5) + at(4)) + ((at(3) + at(2)) + (at(1) + at(0)))) / 6.0F);
        EXPECT_EQ(seven[k], static_cast<float>((at(6) + (at(5) + at(4))) +
                                               ((at(3) + at(2)) + (at(1) + at(0)))) /
                                7.0F);
        double inSampleOrder = 0.0;
        for (std::size_t back = 7; back-- > 0;)
            inSampleOrder += at(back);
        if (seven[k] != static_cast<float>(inSampleOrder) / 7.0F) ++shown;
    }
    EXPECT_GT(shown, 20U) << "these samples show the order";
}

TEST(MovingAverage, SampleBySampleAndInPiecesTheMeansAreTheSame) {
    for (const int channels : {1, 2, 3, 8, 17, 32}) {
        const auto c = static_cast<std::size_t>(channels);
        Samples in = cancelling(340, c, 48);
        std::fill_n(in.begin() + static_cast<std::ptrdiff_t>(120 * c), 80 * c, -0.0F);
        for (const std::size_t width : {2U, 3U, 6U, 7U, 8U, 9U, 15U, 22U, 32U, 40U, 130U}) {
            const Samples expected = interleavedMeansByDoubling(in, c, width);
            for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                Windows windows(channels, level);
                Samples out;
                std::size_t rows = 1;
                for (std::size_t k = 0; k < 340; k += rows) {
                    rows = k < 100 && k % 7 == 0 ? 1 + k % 75 : 1;
                    const auto from = in.begin() + static_cast<std::ptrdiff_t>(k * c);
                    const Samples piece =
                        windows(Samples(from, from + static_cast<std::ptrdiff_t>(rows * c)), width);
                    out.insert(out.end(), piece.begin(), piece.end());
                }
                EXPECT_TRUE(sameBits(out, expected)) << channels << ' ' << width;
            }
        }
    }
}

// Windows over many samples of many channels are made by groups of channels.
TEST(MovingAverage, WideWindowsOfManyChannelsAreThoseOfEachChannel) {
    for (const int channels : {40, 45}) {
        const auto c = static_cast<std::size_t>(channels);
        constexpr std::size_t kWidth = 1000;
        constexpr std::size_t kRows = 2600;
        const Samples in = cancelling(kRows, c, 49);
        const Samples expected = interleavedMeansByDoubling(in, c, kWidth);
        for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
            Windows windows(channels, level);
            Samples out;
            std::size_t from = 0;
            for (const std::size_t rows : {980, 5, 1300, 3, 60, 252}) {
                const auto begin = in.begin() + static_cast<std::ptrdiff_t>(from * c);
                const Samples piece =
                    windows(Samples(begin, begin + static_cast<std::ptrdiff_t>(rows * c)), kWidth);
                out.insert(out.end(), piece.begin(), piece.end());
                from += rows;
            }
            EXPECT_EQ(from, kRows);
            EXPECT_TRUE(sameBits(out, expected)) << channels;
        }
    }
}

// The sums of integers are exact in whatever order.
TEST(MovingAverage, MeansOfIntegersAreTheirSumsOverTheWidth) {
    std::mt19937 random(50);
    for (const int channels : {1, 3, 8}) {
        const auto c = static_cast<std::size_t>(channels);
        Samples in(900 * c);
        for (float& value : in)
            value = static_cast<float>(static_cast<int>(random() % 2000001) - 1000000);
        for (const std::size_t width : widthsTo40And({100, 255, 256, 777, 900})) {
            const Samples out = Windows(channels)(in, width);
            Samples expected(in.size());
            for (std::size_t i = 0; i < c; ++i) {
                std::int64_t sum = 0;
                for (std::size_t k = 0; k < 900; ++k) {
                    sum += static_cast<std::int64_t>(in[k * c + i]);
                    if (k >= width) sum -= static_cast<std::int64_t>(in[(k - width) * c + i]);
                    expected[k * c + i] = static_cast<float>(static_cast<double>(sum)) /
                                          static_cast<float>(std::min(k + 1, width));
                }
            }
            EXPECT_EQ(out, expected) << channels << ' ' << width;
        }
    }
}

TEST(MovingAverage, WhatIsNotFiniteReachesTheWindowsThatHoldItAndNoOther) {
    for (const int channels : {1, 3, 4, 8, 40}) {
        const auto c = static_cast<std::size_t>(channels);
        for (const std::size_t width : widthsTo40And({100, 200})) {
            for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                // Blocks that fill registers to their end: behind it there is nothing to read.
                Samples in(448 * c, 1.0F);
                const std::size_t channel = width % c;
                in[130 * c + channel] = kInfinity;
                in[217 * c + channel] = std::nanf("");
                const Samples out = Windows(channels, level)(in, width);
                const auto holds = [&](std::size_t i, std::size_t row) {
                    return i % c == channel && i / c >= row && i / c < row + width;
                };
                std::size_t wrong = 0;
                for (std::size_t i = 0; i < out.size(); ++i) {
                    const bool right = holds(i, 217)   ? std::isnan(out[i])
                                       : holds(i, 130) ? out[i] == kInfinity
                                                       : out[i] == 1.0F;
                    if (!right) ++wrong;
                }
                EXPECT_EQ(wrong, 0U) << channels << ' ' << width;
            }
        }
    }
}

TEST(MovingAverage, IsLinear) {
    const Samples a = noise(500, 39, -8.0F, 8.0F);
    Samples scaled = a;
    for (float& value : scaled)
        value *= 4.0F;  // exact
    const Samples out = Windows()(a, 9);
    const Samples outScaled = Windows()(scaled, 9);
    for (std::size_t i = 0; i < out.size(); ++i)
        EXPECT_EQ(outScaled[i], 4.0F * out[i]);
    EXPECT_EQ(Windows()(Samples(100, 2.5F), 9), Samples(100, 2.5F));
}

// --- Average of blocks -----------------------------------------------------------------------

Samples mixed(BlockAverage& average, const Samples& in, double factor) {
    Samples out(in.size(), -77.0F);
    average.process({in, 1}, factor, out);
    return out;
}

TEST(BlockAverage, AFactorOfOneGivesTheArithmeticMeanOfAllBlocks) {
    BlockAverage average;
    EXPECT_THAT(mixed(average, {1, 10}, 1.0), ElementsAre(1, 10));
    EXPECT_THAT(mixed(average, {2, 20}, 1.0), ElementsAre(1.5F, 15));
    EXPECT_THAT(mixed(average, {3, 30}, 1.0), ElementsAre(2, 20));
    EXPECT_EQ(average.blocks(), 3);
    EXPECT_EQ(average.weight(), 3.0);
}

TEST(BlockAverage, ConstantInputStaysConstantAndTheWeightApproachesItsLimit) {
    BlockAverage average;
    for (const double weight : {0.5, 0.75, 0.875}) {
        EXPECT_THAT(mixed(average, {4}, 0.5), ElementsAre(4));
        EXPECT_EQ(average.weight(), weight);
    }
}

TEST(BlockAverage, OlderBlocksFadeOut) {
    BlockAverage average;
    mixed(average, {8}, 0.5);
    EXPECT_THAT(mixed(average, {2}, 0.5), ElementsAre((8 * 0.5F + 2) / 1.5F));
    EXPECT_THAT(mixed(average, {0}, 0.5), ElementsAre(4.0F * 0.75F / 1.75F));
}

TEST(BlockAverage, AFactorOfZeroGivesTheBlockItself) {
    BlockAverage average;
    for (const float value : {3.0F, kInfinity, 5.0F, -2.0F})
        EXPECT_THAT(mixed(average, {value}, 0.0), ElementsAre(value));
}

TEST(BlockAverage, RunsInSinglePrecision) {
    const Samples a = noise(100, 40, -8.0F, 8.0F);
    const Samples b = noise(100, 41, -8.0F, 8.0F);
    const Samples d = noise(100, 42, -8.0F, 8.0F);
    BlockAverage average;
    mixed(average, a, 0.7);
    const Samples two = mixed(average, b, 0.7);
    const Samples three = mixed(average, d, 0.7);
    const double w1 = 0.7;
    const double w2 = (w1 + 1.0) * 0.7;
    for (std::size_t i = 0; i < 100; ++i) {
        const float second = (a[i] * static_cast<float>(w1) + b[i]) / static_cast<float>(w1 + 1.0);
        EXPECT_EQ(two[i], second);
        EXPECT_EQ(three[i],
                  (second * static_cast<float>(w2) + d[i]) / static_cast<float>(w2 + 1.0));
    }
}

TEST(BlockAverage, AveragesWithoutAnOutputToo) {
    BlockAverage average;
    average.process({Samples{1, 5}, 1}, 1.0, {});
    average.process({Samples{3, 7}, 1}, 1.0, {});
    EXPECT_THAT(mixed(average, {5, 9}, 1.0), ElementsAre(3, 7));
}

TEST(BlockAverage, AResetStartsAnew) {
    BlockAverage average;
    mixed(average, {100}, 1.0);
    mixed(average, {kInfinity}, 1.0);
    average.reset();
    EXPECT_EQ(average.blocks(), 0);
    EXPECT_EQ(average.weight(), 0.0);
    EXPECT_THAT(mixed(average, {2}, 1.0), ElementsAre(2));
    EXPECT_THAT(mixed(average, {4}, 1.0), ElementsAre(3));
}

TEST(BlockAverage, ABlockOfAnotherSizeStartsAnew) {
    BlockAverage average;
    mixed(average, {1, 2, 3}, 1.0);
    mixed(average, {1, 2, 3}, 1.0);
    EXPECT_THAT(mixed(average, {10, 20, 30, 40}, 1.0), ElementsAre(10, 20, 30, 40));
    EXPECT_EQ(average.blocks(), 1);
    EXPECT_THAT(mixed(average, {5}, 1.0), ElementsAre(5));
    EXPECT_THAT(mixed(average, {7}, 1.0), ElementsAre(6));
}

TEST(BlockAverage, AllKernelLevelsGiveTheSameBits) {
    std::vector<Samples> results;
    for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
        BlockAverage average(level);
        mixed(average, noise(1001, 43, -8.0F, 8.0F), 0.9);
        average.process({noise(1001, 44, -8.0F, 8.0F), 1}, 0.9, {});
        results.push_back(mixed(average, noise(1001, 45, -8.0F, 8.0F), 0.9));
        EXPECT_EQ(results.back(), results.front());
    }
}

// Levels divide in different ways. Quotients beside a middle between two numbers in single
// precision, and at the ends of their range, are rounded as a division rounds them.
TEST(BlockAverage, QuotientsAreTheDivisionsAtEveryLevel) {
    std::mt19937 random(46);
    std::vector<float> divisors{1.0F, 2.0F, 3.0F, 7.0F, 1.5F, 1.9F, 16777215.0F, 16777213.0F};
    for (int i = 0; i < 60; ++i)
        divisors.push_back(1.0F + static_cast<float>(random() % 16777216) * 0x1p-20F);
    for (const float divisor : divisors) {
        Samples dividends{0.0F,    0x1p-149F, 0x1.8p-148F, 0x1p-126F,
                          3.4e38F, kInfinity, -kInfinity,  std::numeric_limits<float>::quiet_NaN()};
        while (dividends.size() < 1500) {
            const double middle =
                static_cast<double>((1U << 24) + random() % (1U << 24) / 2 * 2 + 1);
            const int exponent = static_cast<int>(random() % 200) - 150;
            const auto near = static_cast<float>(std::ldexp(middle * divisor, exponent));
            for (const float dividend :
                 {near, std::nextafter(near, 0.0F), -near, std::nextafter(near, kInfinity)})
                dividends.push_back(dividend);
        }
        for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
            for (const std::size_t first : {0, 8, 16}) {  // each in either way
                Samples average(dividends.size(), 0.0F);
                Samples out(dividends.size());
                vyn::kernelsAt<AveragingKernels>(level).mixIn(
                    &dividends[first], dividends.size() - first, 1.0F, divisor, &average[first],
                    &out[first]);
                for (std::size_t i = first; i < dividends.size(); ++i) {
                    const float expected = dividends[i] / divisor;
                    if (std::isnan(expected)) {
                        EXPECT_TRUE(std::isnan(out[i]));
                    } else {
                        EXPECT_EQ(out[i], expected) << dividends[i] << " / " << divisor;
                    }
                }
                EXPECT_TRUE(std::equal(average.begin() + 24, average.end(), out.begin() + 24));
            }
        }
    }
}

}  // namespace
}  // namespace vynpack
