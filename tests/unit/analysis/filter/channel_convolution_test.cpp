#include "filter/channel_convolution.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "filter/convolution.h"
#include "ovanlys/functions.h"
#include "support/signals.h"
#include "unit/analysis/allocation_count.h"
#include "unit/analysis/filter_fixture.h"
#include "unit/kernels/levels_of_machine.h"

namespace ovanlys {
namespace {

using test::bits;
using test::Samples;

// A data block and what came before it.
struct Block {
    Block(std::size_t taps, std::size_t channelCount, std::size_t samples)
        : channels(channelCount),
          before(signals::noise<float>(static_cast<int>((taps - 1) * channels), 11)),
          in(signals::noise<float>(static_cast<int>(samples * channels), 12)) {}

    std::size_t channels;
    std::vector<float> before;
    std::vector<float> in;
};

std::vector<float> together(const Samples& c, const Block& block, vyn::KernelLevel level) {
    std::vector<float> out(block.in.size());
    convolveChannels(
        c, {block.channels, block.before.data(), block.in.data(), block.in.size() / block.channels},
        out.data(), level);
    return out;
}

// Channel by channel, through the full convolution.
std::vector<float> oneByOne(const Samples& c, const Block& block) {
    std::vector<float> out(block.in.size());
    for (std::size_t k = 0; k < block.channels; ++k) {
        Samples x;
        for (const auto* part : {&block.before, &block.in})
            for (std::size_t i = k; i < part->size(); i += block.channels)
                x.push_back((*part)[i]);
        Samples y(x.size() + c.size());
        EXPECT_EQ(ZABFunc32(c.data(), static_cast<std::int64_t>(c.size()), x.data(),
                            static_cast<int>(x.size()), y.data()),
                  0);
        for (std::size_t i = k, m = c.size() - 1; i < out.size(); i += block.channels, ++m)
            out[i] = static_cast<float>(y[m]);
    }
    return out;
}

Samples someTaps(std::size_t count) { return signals::noise<double>(static_cast<int>(count), 5); }

// The same from either end, as those of all linear-phase filters.
Samples symmetricTaps(std::size_t count) {
    Samples c = someTaps(count);
    std::copy(c.begin(), c.begin() + static_cast<std::ptrdiff_t>(count / 2), c.rbegin());
    return c;
}

TEST(ChannelConvolution, GivesTheBitsOfTheChannelsOneByOneAtEveryLevel) {
    for (const auto level : vyn::levelsOfThisMachine())
        for (const std::size_t taps : {1, 2, 3, 4, 7, 8, 9, 25, 64, 191, 192, 255, 601})
            for (const std::size_t channels : {1, 2, 3, 4, 7, 8, 9, 12, 16, 19, 24, 33})
                for (const std::size_t samples : {1, 5, 24, 63, 64, 200, 1030}) {
                    const Block block(taps, channels, samples);
                    for (const Samples& c : {someTaps(taps), symmetricTaps(taps)})
                        ASSERT_EQ(bits(together(c, block, level)), bits(oneByOne(c, block)))
                            << taps << " taps, " << channels << " x " << samples;
                }
}

TEST(ChannelConvolution, IsTheDefiningSum) {
    for (const std::size_t taps : {24, 25, 255, 257}) {
        const Samples c = taps == 24 || taps == 257 ? symmetricTaps(taps) : someTaps(taps);
        const Block block(taps, 9, 700);
        const auto out = together(c, block, vyn::kernelLevel());
        std::vector<float> all = block.before;
        all.insert(all.end(), block.in.begin(), block.in.end());
        double scale = 0.0;
        for (const double tap : c)
            scale += std::abs(tap);
        for (std::size_t i = 0; i < out.size(); ++i) {
            long double sum = 0;
            for (std::size_t j = 0; j < taps; ++j)
                sum += static_cast<long double>(c[j]) * all[i + (taps - 1 - j) * 9];
            ASSERT_NEAR(out[i], static_cast<double>(sum), 1e-7 * scale) << i;  // rounded to float
        }
    }
}

TEST(ChannelConvolution, KeepsValuesThatAreNotFiniteToTheirOwnOutputs) {
    for (const float poison :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()})
        for (const std::size_t taps : {24, 25, 255, 257})
            for (const std::size_t channels : {1, 8, 11}) {
                const bool either = taps == 24 || taps == 257;
                const Samples c = either ? symmetricTaps(taps) : someTaps(taps);
                Block block(taps, channels, 2000);
                block.before[channels - 1] = poison;  // reaches one output
                block.before[3 * channels] = poison;
                block.in[777 * channels + channels - 1] = poison;
                block.in[1400 * channels] = -poison;
                const auto out = together(c, block, vyn::kernelLevel());
                EXPECT_EQ(bits(out), bits(oneByOne(c, block))) << taps << ' ' << channels;
                EXPECT_EQ(std::isfinite(out[0]), false);
                EXPECT_EQ(std::isfinite(out[3 * channels]), false);
                EXPECT_EQ(std::isfinite(out[4 * channels]), true);
            }
}

TEST(ChannelConvolution, FollowsTapsThatAreNotFinite) {
    for (const std::size_t taps : {25, 255}) {
        Samples c = symmetricTaps(taps);
        const Block block(taps, 9, 300);
        for (const std::size_t place : {std::size_t{7}, taps - 8}) {  // then at both
            c[place] = std::numeric_limits<double>::infinity();
            EXPECT_EQ(bits(together(c, block, vyn::kernelLevel())), bits(oneByOne(c, block)));
        }
    }
}

TEST(ChannelConvolution, KeepsDenormalsOfSinglePrecision) {
    for (const auto level : vyn::levelsOfThisMachine())
        for (const std::size_t channels : {1, 9}) {
            const Samples c = someTaps(25);
            Block block(25, channels, 100);
            for (auto* part : {&block.before, &block.in})
                for (float& value : *part)
                    value *= 1e-39F;
            const auto out = together(c, block, level);
            EXPECT_EQ(bits(out), bits(oneByOne(c, block)));
            EXPECT_NE(out[0], 0.0F);
        }
}

TEST(ChannelConvolution, RefusesWhatMakesNoSenseAndTouchesNothing) {
    const Samples c{1.0, 2.0};
    const std::vector<float> before(3);
    const std::vector<float> in(30, 1.0F);
    std::vector<float> out(30, 7.0F);
    EXPECT_EQ(ovanlysConvolveChannels(nullptr, 2, before.data(), in.data(), 10, 3, out.data()), -1);
    EXPECT_EQ(ovanlysConvolveChannels(c.data(), 0, before.data(), in.data(), 10, 3, out.data()),
              -1);
    EXPECT_EQ(ovanlysConvolveChannels(c.data(), 2, nullptr, in.data(), 10, 3, out.data()), -1);
    EXPECT_EQ(ovanlysConvolveChannels(c.data(), 2, before.data(), nullptr, 10, 3, out.data()), -1);
    EXPECT_EQ(ovanlysConvolveChannels(c.data(), 2, before.data(), in.data(), -1, 3, out.data()),
              -1);
    EXPECT_EQ(ovanlysConvolveChannels(c.data(), 2, before.data(), in.data(), 10, 0, out.data()),
              -1);
    EXPECT_EQ(ovanlysConvolveChannels(c.data(), 2, before.data(), in.data(), 10, 3, nullptr), -1);
    EXPECT_EQ(ovanlysConvolveChannels(c.data(), 2, before.data(), in.data(), 0, 3, out.data()), 0);
    EXPECT_THAT(out, testing::Each(7.0F));
    EXPECT_EQ(ovanlysConvolveChannels(c.data(), 1, nullptr, in.data(), 10, 3, out.data()), 0);
    EXPECT_THAT(out, testing::Each(1.0F));
}

TEST(ChannelConvolution, RestoresTheCallersFloatingPointEnvironment) {
    for (const std::size_t taps : {25, 255}) {
        const Samples c = someTaps(taps);
        const Block block(taps, 9, 300);
        const auto expected = oneByOne(c, block);
        const unsigned before = _mm_getcsr();
        _mm_setcsr((before & ~0x3Fu) | 0xC040);  // rounding up, flags clear, denormals flushed
        const unsigned callers = _mm_getcsr();
        const auto out = together(c, block, vyn::kernelLevel());
        const unsigned after = _mm_getcsr();
        _mm_setcsr(before);
        EXPECT_EQ(after, callers);
        EXPECT_EQ(out, expected);
    }
}

TEST(ChannelConvolution, AnswersAStatusAndTouchesNothingWhenMemoryIsOut) {
    if (!test::allocationsAreCounted()) GTEST_SKIP() << "the heap is not ours to count here";
    for (const std::size_t taps : {26, 270}) {  // no response of theirs is kept
        const Samples c = someTaps(taps);
        const Block block(taps, 9, 300);
        std::vector<float> out(block.in.size(), 5.0F);
        int status = -3;
        std::size_t allowed = 0;
        for (; status != 0 && allowed < 50; ++allowed) {
            {
                const test::FailingHeap heap(allowed);
                status = ovanlysConvolveChannels(c.data(), static_cast<std::int64_t>(taps),
                                                 block.before.data(), block.in.data(), 300, 9,
                                                 out.data());
            }
            if (status != 0) {
                ASSERT_EQ(status, -3);
                ASSERT_THAT(out, testing::Each(5.0F));
            }
        }
        EXPECT_EQ(status, 0);
        EXPECT_EQ(allowed > 1, taps >= kTransformedTaps) << "sums take no memory";
        EXPECT_EQ(out, oneByOne(c, block));
    }
}

}  // namespace
}  // namespace ovanlys
