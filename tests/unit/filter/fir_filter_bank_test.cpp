#include "blocks/filter/core/fir_filter_bank.h"
#include "support/signals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <new>
#include <random>
#include <vector>

namespace vynpack {
namespace {

using signals::noise;

// The convolution that the bank asks for, straight from its definition.
extern "C" int convolveDirectly(const double* c, std::int64_t length, const double* x, int n,
                                double* y) {
    for (std::int64_t m = 0; m < n + length; ++m) {
        double sum = 0.0;
        for (std::int64_t j = 0; j < length; ++j) {
            if (m - j >= 0 && m - j < n) sum += c[j] * x[m - j];
        }
        y[m] = sum;
    }
    return 0;
}

std::vector<double> taps(std::size_t count) {
    std::vector<double> coefficients(count);
    for (std::size_t i = 0; i < count; ++i) {
        coefficients[i] = std::cos(static_cast<double>(i)) / (1.0 + static_cast<double>(i));
    }
    return coefficients;
}

// The witness: output sample i is the sum over taps of the signal so far, at rest before it.
std::vector<float> filterWhole(const std::vector<double>& c, const std::vector<float>& in,
                               std::size_t channels) {
    std::vector<float> out(in.size());
    for (std::size_t i = 0; i < in.size() / channels; ++i) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            double sum = 0.0;
            for (std::size_t j = 0; j < c.size(); ++j) {
                const double x = j <= i ? in[(i - j) * channels + channel] : 0.0F;
                sum += c[j] * x;
            }
            out[i * channels + channel] = static_cast<float>(sum);
        }
    }
    return out;
}

std::vector<float> filterInBlocks(FirFilterBank& bank, const std::vector<float>& in,
                                  std::size_t channels, const std::vector<std::size_t>& blocks) {
    std::vector<float> out(in.size());
    std::size_t at = 0;
    for (std::size_t k = 0; at < in.size(); ++k) {
        const std::size_t count = std::min(blocks[k % blocks.size()] * channels, in.size() - at);
        bank.filter(convolveDirectly, std::span(in).subspan(at, count),
                    std::span(out).subspan(at, count));
        at += count;
    }
    return out;
}

class FirFilterBankOf : public testing::TestWithParam<std::tuple<int, std::size_t>> {};

TEST_P(FirFilterBankOf, OneLongBlockEqualsManyShortOnesBitForBit) {
    const auto [channels, length] = GetParam();
    const auto perSample = static_cast<std::size_t>(channels);
    const auto coefficients = taps(length);
    const auto in = noise(331 * perSample, 7);
    const auto expected = filterWhole(coefficients, in, perSample);
    for (const std::vector<std::size_t>& blocks :
         {std::vector<std::size_t>{331}, {1}, {2}, {24}, {25}, {26}, {1, 100, 3, 25, 7}}) {
        FirFilterBank bank(coefficients, channels);
        EXPECT_EQ(filterInBlocks(bank, in, perSample, blocks), expected);
    }
}

INSTANTIATE_TEST_SUITE_P(ChannelsAndTaps, FirFilterBankOf,
                         testing::Combine(testing::Values(1, 2, 3, 8, 9, 32),
                                          testing::Values(1U, 2U, 25U, 64U)));

TEST(FirFilterBank, HistoryOfABlockShorterThanTheFilterShiftsAndAppends) {
    // Taps 1, 10, 100: each output reads as the last three samples.
    FirFilterBank bank({1.0, 10.0, 100.0}, 1);
    std::vector<float> out(2);
    bank.filter(convolveDirectly, std::vector<float>{1, 2}, out);
    EXPECT_EQ(out, (std::vector<float>{1, 12}));
    out.resize(1);
    bank.filter(convolveDirectly, std::vector<float>{3}, out);
    EXPECT_EQ(out, (std::vector<float>{123}));
    bank.filter(convolveDirectly, std::vector<float>{4}, out);
    EXPECT_EQ(out, (std::vector<float>{234}));
}

TEST(FirFilterBank, BlockAsLongAsTheFilterReplacesTheHistoryWhole) {
    FirFilterBank bank({1.0, 10.0, 100.0}, 1);
    std::vector<float> out(3);
    bank.filter(convolveDirectly, std::vector<float>{1, 2, 3}, out);
    EXPECT_EQ(out, (std::vector<float>{1, 12, 123}));
    bank.filter(convolveDirectly, std::vector<float>{4, 5, 6}, out);
    EXPECT_EQ(out, (std::vector<float>{234, 345, 456}));
}

TEST(FirFilterBank, WithoutCoefficientsTheOutputIsSilence) {
    FirFilterBank bank({}, 2);
    std::vector<float> out(4, 9.0F);
    bank.filter(convolveDirectly, std::vector<float>{1, 2, 3, 4}, out);
    EXPECT_EQ(out, (std::vector<float>(4, 0.0F)));
}

TEST(FirFilterBank, EmptyBlockChangesNothing) {
    FirFilterBank bank({1.0, 10.0}, 1);
    std::vector<float> out(1);
    bank.filter(convolveDirectly, std::vector<float>{5}, out);
    bank.filter(convolveDirectly, {}, {});
    bank.filter(convolveDirectly, std::vector<float>{6}, out);
    EXPECT_EQ(out, (std::vector<float>{56}));
}

TEST(FirFilterBank, ValuesThatMakeNoWholeSampleBecomeZero) {
    FirFilterBank bank({1.0}, 3);
    std::vector<float> out(5, 9.0F);
    bank.filter(convolveDirectly, std::vector<float>{1, 2, 3, 4, 5}, out);
    EXPECT_EQ(out, (std::vector<float>{1, 2, 3, 0, 0}));
}

TEST(FirFilterBank, NaNAndInfinityInOneChannelLeaveTheOthersUntouched) {
    const auto coefficients = taps(5);
    auto in = noise(9 * 40, 3);
    const auto clean = filterWhole(coefficients, in, 9);
    in[10 * 9 + 4] = std::numeric_limits<float>::quiet_NaN();
    in[11 * 9 + 8] = std::numeric_limits<float>::infinity();
    FirFilterBank bank(coefficients, 9);
    const auto out = filterInBlocks(bank, in, 9, {7});
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (i % 9 == 4 || i % 9 == 8) continue;
        ASSERT_EQ(out[i], clean[i]);
    }
    // In its own channel the NaN lasts as long as the filter remembers it.
    for (std::size_t sample = 0; sample < 40; ++sample) {
        EXPECT_EQ(std::isnan(out[sample * 9 + 4]), sample >= 10 && sample < 15) << sample;
    }
}

// All channels in one call, from the definition; it lacks nothing but the memory, now and then.
int callsThatFail = 0;
extern "C" int convolveTogether(const double* c, std::int64_t length, const float* before,
                                const float* in, int n, int channels, float* out) {
    if (callsThatFail-- > 0) return -3;
    const std::int64_t past = (length - 1) * channels;
    for (std::int64_t i = 0; i < std::int64_t{n} * channels; ++i) {
        double sum = 0.0;
        for (std::int64_t j = 0; j < length; ++j) {
            const std::int64_t place = i - j * channels;
            sum += c[j] * static_cast<double>(place >= 0 ? in[place] : before[past + place]);
        }
        out[i] = static_cast<float>(sum);
    }
    return 0;
}

TEST(FirFilterBank, GoesOnFromBlockToBlockWhicheverWayTheLibraryTakes) {
    constexpr std::size_t kChannels = 3;
    const auto coefficients = taps(25);
    const auto in = noise(400 * kChannels, 3);
    const auto expected = filterWhole(coefficients, in, kChannels);
    FirFilterBank bank(coefficients, kChannels);
    std::vector<float> out(in.size());
    std::size_t at = 0;
    for (std::size_t block = 0; at < in.size(); ++block) {
        callsThatFail = block % 3 == 1 ? 1 : 0;
        const std::size_t count = std::min((1 + block * 7 % 60) * kChannels, in.size() - at);
        bank.filter(convolveDirectly, std::span(in).subspan(at, count),
                    std::span(out).subspan(at, count), block % 2 == 0 ? nullptr : convolveTogether);
        at += count;
    }
    EXPECT_EQ(out, expected);
}

extern "C" int convolveWithoutMemory(const double* /*c*/, std::int64_t /*length*/,
                                     const double* /*x*/, int /*n*/, double* /*y*/) {
    return -3;
}

TEST(FirFilterBank, ABlockThatTheLibraryHasNoMemoryForMayBeFilteredAgain) {
    FirFilterBank bank({1.0, 10.0, 100.0}, 1);
    std::vector<float> out(2);
    bank.filter(convolveDirectly, std::vector<float>{1, 2}, out);
    const std::vector<float> next = {3, 4};
    EXPECT_THROW(bank.filter(convolveWithoutMemory, next, out), std::bad_alloc);
    bank.filter(convolveDirectly, next, out);
    EXPECT_EQ(out, (std::vector<float>{123, 234}));
}

TEST(FirFilterBank, SizeIsCountedWithoutOverflow) {
    EXPECT_GT(FirFilterBank::bytesFor(2147483647.0, 2147483647.0), 1e18);
    EXPECT_LT(FirFilterBank::bytesFor(255, 32), 100e3);
    EXPECT_EQ(FirFilterBank::bytesFor(1, 1), 40.0);  // coefficient, history, row, two results
}

}  // namespace
}  // namespace vynpack
