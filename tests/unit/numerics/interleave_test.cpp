#include "numerics/interleave.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "blocks/filter/core/channel_rows.h"
#include "numerics/interleave_kernels.h"
#include "unit/kernels/levels_of_machine.h"

namespace vynpack {
namespace {

// A value that tells its sample and channel.
float valueOf(std::size_t sample, int channel) {
    return static_cast<float>(sample) + static_cast<float>(channel) / 64.0F;
}

std::vector<float> interleavedValues(int channels, std::size_t samples) {
    std::vector<float> values;
    for (std::size_t i = 0; i < samples; ++i) {
        for (int c = 0; c < channels; ++c)
            values.push_back(valueOf(i, c));
    }
    return values;
}

class Interleave : public testing::TestWithParam<std::tuple<int, std::size_t>> {};

TEST_P(Interleave, SplitsEveryChannelIntoItsRow) {
    const auto [channels, samples] = GetParam();
    const auto values = interleavedValues(channels, samples);
    const std::size_t stride = rowStride(samples);
    int visited = 0;
    forEachTile(channels, samples, [&, c = channels](const ChannelTile& tile) {
        EXPECT_EQ(tile.channels, c);
        EXPECT_EQ(tile.first, visited);
        ASSERT_GE(tile.count, 1);
        ASSERT_LE(tile.count, kTileChannels);
        std::vector<double> rows(stride * kTileChannels, -1.0);
        splitChannels(values.data(), tile, rows.data(), stride);
        for (int r = 0; r < tile.count; ++r) {
            for (std::size_t i = 0; i < tile.samples; ++i) {
                ASSERT_EQ(rows[static_cast<std::size_t>(r) * stride + i],
                          static_cast<double>(valueOf(i, tile.first + r)));
            }
        }
        visited += tile.count;
    });
    EXPECT_EQ(visited, channels);
}

TEST_P(Interleave, JoinIsTheWayBack) {
    const auto [channels, samples] = GetParam();
    const auto values = interleavedValues(channels, samples);
    const std::size_t stride = rowStride(samples);
    std::vector<double> rows(stride * kTileChannels);
    std::vector<float> back(values.size(), -1.0F);
    forEachTile(channels, samples, [&](const ChannelTile& tile) {
        splitChannels(values.data(), tile, rows.data(), stride);
        joinChannels(rows.data(), stride, tile, back.data());
    });
    EXPECT_EQ(back, values);
}

TEST_P(Interleave, MovesSinglePrecisionAlike) {
    const auto [channels, samples] = GetParam();
    const auto values = interleavedValues(channels, samples);
    const std::size_t stride = rowStride(samples);
    std::vector<float> rows(stride * kTileChannels);
    std::vector<float> back(values.size(), -1.0F);
    forEachTile(channels, samples, [&](const ChannelTile& tile) {
        splitChannels(values.data(), tile, rows.data(), stride);
        for (int r = 0; r < tile.count; ++r) {
            for (std::size_t i = 0; i < tile.samples; ++i) {
                ASSERT_EQ(rows[static_cast<std::size_t>(r) * stride + i],
                          valueOf(i, tile.first + r));
            }
        }
        joinChannels(rows.data(), stride, tile, back.data());
    });
    EXPECT_EQ(back, values);
}

// Eight of twenty channels; the samples are followed by none, so that no lane may reach further.
TEST_P(Interleave, KernelsOfEveryLevelMoveTheSameChannels) {
    const auto samples = std::get<1>(GetParam());
    constexpr std::size_t kChannels = 20;
    const auto values = interleavedValues(kChannels, samples);
    const std::size_t stride = rowStride(samples);
    for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
        const auto& kernels = vyn::kernelsAt<InterleaveKernels>(level);
        std::vector<float> rows(stride * kTileChannels, -1.0F);
        std::vector<float> back(values.size(), -2.0F);
        const std::size_t first = samples > 0 ? 12 : 0;
        kernels.split(values.data() + first, kChannels, samples, rows.data(), stride);
        kernels.join(rows.data(), stride, samples, back.data() + first, kChannels);
        for (std::size_t i = 0; i < samples; ++i) {
            for (std::size_t c = 0; c < kChannels; ++c) {
                ASSERT_EQ(back[i * kChannels + c],
                          c < 12 ? -2.0F : valueOf(i, static_cast<int>(c)));
            }
        }
        for (std::size_t r = 0; r < kTileChannels; ++r) {
            for (std::size_t i = 0; i < stride; ++i) {
                ASSERT_EQ(rows[r * stride + i],
                          i < samples ? valueOf(i, static_cast<int>(r + 12)) : -1.0F);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(ChannelsAndSamples, Interleave,
                         testing::Combine(testing::Values(1, 2, 3, 5, 7, 8, 9, 16, 31, 32, 33, 255),
                                          testing::Values(0U, 1U, 2U, 7U, 64U, 1001U)));

TEST(Interleave, JoinRoundsToFloatAndLeavesOtherChannelsAlone) {
    const std::vector<double> row = {0.1, 1e300, -1e-300};
    std::vector<float> values(9, 5.0F);
    joinChannels(row.data(), 3, {3, 1, 1, 3}, values.data());
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(values, (std::vector<float>{5, 0.1F, 5, 5, infinity, 5, 5, -0.0F, 5}));
}

TEST(ChannelRows, FilterSeesEachChannelOnceInOrder) {
    const int channels = 11;
    const auto values = interleavedValues(channels, 100);
    std::vector<float> out(values.size());
    std::vector<int> seen;
    ChannelRows rows;
    rows.filter(values, channels, out, [&](int channel, std::span<double> row) {
        seen.push_back(channel);
        ASSERT_EQ(row.size(), 100U);
        for (double& value : row)
            value = 2.0 * value + channel;
    });
    ASSERT_EQ(seen.size(), 11U);
    for (int c = 0; c < channels; ++c) {
        EXPECT_EQ(seen[static_cast<std::size_t>(c)], c);
        for (std::size_t i = 0; i < 100; ++i) {
            ASSERT_EQ(out[i * 11 + static_cast<std::size_t>(c)],
                      2.0F * valueOf(i, c) + static_cast<float>(c));
        }
    }
}

TEST(ChannelRows, ValuesThatMakeNoWholeSampleBecomeZero) {
    const std::vector<float> values = {1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<float> out(values.size(), 9.0F);
    ChannelRows rows;
    rows.filter(values, 3, out, [](int, std::span<double>) {});
    EXPECT_EQ(out, (std::vector<float>{1, 2, 3, 4, 5, 6, 0, 0}));
}

TEST(ChannelRows, FewerValuesThanChannelsFilterNothing) {
    const std::vector<float> values = {1, 2};
    std::vector<float> out(values.size(), 9.0F);
    ChannelRows rows;
    rows.filter(values, 3, out, [](int, std::span<double> row) { EXPECT_TRUE(row.empty()); });
    EXPECT_EQ(out, (std::vector<float>{0, 0}));
}

TEST(ChannelRows, BlocksOfAnyLengthMayFollowEachOther) {
    ChannelRows rows;
    for (const std::size_t samples : {3U, 100U, 1U, 0U, 101U, 99U}) {
        const auto values = interleavedValues(9, samples);
        std::vector<float> out(values.size());
        rows.filter(values, 9, out, [](int, std::span<double>) {});
        EXPECT_EQ(out, values);
    }
}

TEST(ChannelRows, NaNAndInfinityStayInTheirChannel) {
    const int channels = 9;
    auto values = interleavedValues(channels, 50);
    values[4 * 9 + 2] = std::numeric_limits<float>::quiet_NaN();
    values[5 * 9 + 7] = std::numeric_limits<float>::infinity();
    std::vector<float> out(values.size());
    ChannelRows rows;
    rows.filter(values, channels, out, [](int, std::span<double>) {});
    EXPECT_TRUE(std::isnan(out[4 * 9 + 2]));
    EXPECT_TRUE(std::isinf(out[5 * 9 + 7]));
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (i != 4 * 9 + 2) {
            ASSERT_EQ(out[i], values[i]);
        }
    }
}

}  // namespace
}  // namespace vynpack
