#include "filter/channel_filter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "support/signals.h"
#include "unit/analysis/allocation_count.h"
#include "unit/analysis/filter_fixture.h"
#include "unit/kernels/levels_of_machine.h"

namespace ovanlys {
namespace {

using test::bits;
using test::Filter;
using test::Samples;

// As many filters as channels, all designed alike.
class Bank {
public:
    Bank(int channels, int order, int kind = test::kLowPass) {
        for (int c = 0; c < channels; ++c) {
            filters_.push_back(std::make_unique<Filter>(kind, order));
            handles_.push_back(filters_.back()->object());
            EXPECT_EQ(ZABFunc18(1.0, 0.07, 0.2, handles_.back()), 0);
        }
    }
    int channels() const { return static_cast<int>(handles_.size()); }
    void* const* handles() const { return handles_.data(); }
    void* handle(int channel) const { return handles_[static_cast<std::size_t>(channel)]; }
    FilterHead& head(int channel) const {
        return filters_[static_cast<std::size_t>(channel)]->head();
    }

    // In pieces of these lengths in turn, all channels in one call each.
    std::vector<float> together(const std::vector<float>& in, const std::vector<int>& pieces,
                                vyn::KernelLevel level = vyn::kernelLevel()) const {
        std::vector<float> out(in.size());
        const std::span objects(reinterpret_cast<FilterObject* const*>(handles()), handles_.size());
        std::size_t done = 0;
        for (std::size_t k = 0; done < in.size(); ++k) {
            const std::size_t left = (in.size() - done) / handles_.size();
            const auto n =
                std::min<std::size_t>(static_cast<std::size_t>(pieces[k % pieces.size()]), left);
            EXPECT_TRUE(filterChannels(objects, in.data() + done, static_cast<int>(n),
                                       out.data() + done, level));
            done += n * handles_.size();
        }
        return out;
    }
    // Channel by channel, through the function for one.
    std::vector<float> oneByOne(const std::vector<float>& in) const {
        std::vector<float> out(in.size());
        const std::size_t step = handles_.size();
        for (std::size_t c = 0; c < step; ++c) {
            Samples samples;
            for (std::size_t i = c; i < in.size(); i += step)
                samples.push_back(in[i]);
            EXPECT_EQ(ZABFunc91(samples.data(), static_cast<int>(samples.size()), handles_[c],
                                samples.data()),
                      0);
            for (std::size_t i = 0; i < samples.size(); ++i)
                out[c + i * step] = static_cast<float>(samples[i]);
        }
        return out;
    }

private:
    std::vector<std::unique_ptr<Filter>> filters_;
    std::vector<void*> handles_;
};

TEST(ChannelFilter, GivesTheBitsOfTheChannelsOneByOneAtEveryLevelAndCut) {
    const std::vector<std::vector<int>> cuts = {{100000}, {8}, {64, 16}, {1, 2, 3, 5, 7, 11, 300}};
    for (const auto level : vyn::levelsOfThisMachine())
        for (const int order : {1, 2, 4, 6, 8, 9, 19})
            for (const int channels : {1, 2, 3, 4, 5, 8, 9, 12, 15, 16, 17, 22, 33}) {
                const auto in = signals::noise<float>(1111 * channels, 3);
                const auto expected = bits(Bank(channels, order).oneByOne(in));
                for (const auto& pieces : cuts)
                    ASSERT_EQ(bits(Bank(channels, order).together(in, pieces, level)), expected)
                        << order << ", " << channels << " channels, " << pieces[0];
            }
}

TEST(ChannelFilter, GoesOnFromWhatOtherCallsHaveLeft) {
    const int channels = 11;
    const auto in = signals::noise<float>(997 * channels, 3);
    const Bank bank(channels, 8, test::kBandPass);
    const Bank twin(channels, 8, test::kBandPass);
    for (const Bank* each : {&bank, &twin})
        for (int c = 0; c < channels; ++c) {  // the channels are out of step afterwards
            Samples samples = signals::noise<double>(5 + 3 * c);
            ZABFunc91(samples.data(), 5 + 3 * c, each->handle(c), samples.data());
        }
    EXPECT_EQ(bits(bank.together(in, {60})), bits(twin.oneByOne(in)));
    EXPECT_EQ(bits(bank.oneByOne(in)), bits(twin.together(in, {33})));
}

TEST(ChannelFilter, TakesChannelsOfDifferentDesigns) {
    const int channels = 19;
    const auto in = signals::noise<float>(500 * channels, 3);
    const Bank bank(channels, 4);
    const Bank twin(channels, 4);
    for (const Bank* each : {&bank, &twin}) {
        ASSERT_EQ(ZABFunc24(1.0, 0.1, 0.0, 1.0, each->handle(7)), 0);
        each->head(3).gain *= 0.5;
        each->head(3).changed = 1;
        each->head(12).zeroCount = each->head(12).poleCount = 0;  // a gain alone
        each->head(12).changed = 1;
    }
    EXPECT_EQ(bits(bank.together(in, {200})), bits(twin.oneByOne(in)));
    EXPECT_EQ(bank.head(3).changed, 0);
}

TEST(ChannelFilter, FollowsADesignThatTakesThePlaceOfASharedOne) {
    const int channels = 8;
    const auto in = signals::noise<float>(300 * channels, 3);
    const Bank bank(channels, 4);
    const Bank twin(channels, 4);
    bank.together(in, {300});
    twin.oneByOne(in);
    for (const Bank* each : {&bank, &twin})
        ASSERT_EQ(ZABFunc18(1.0, 0.3, 0.0, each->handle(0)), 0);
    EXPECT_EQ(bits(bank.together(in, {300})), bits(twin.oneByOne(in)));
}

TEST(ChannelFilter, KeepsDenormalsOfSinglePrecisionAndValuesThatAreNotFinite) {
    for (const auto level : vyn::levelsOfThisMachine())
        for (const int channels : {1, 8, 13}) {
            auto in = signals::noise<float>(400 * channels, 3);
            for (float& value : in)
                value *= 1e-38F;
            const auto places = static_cast<std::size_t>(channels);
            in[places * 200] = std::numeric_limits<float>::infinity();
            if (channels > 4) in[places * 300 + 4] = std::numeric_limits<float>::quiet_NaN();
            const Bank bank(channels, 2);
            const auto out = bank.together(in, {150}, level);
            EXPECT_EQ(bits(out), bits(Bank(channels, 2).oneByOne(in)));
            const auto isDenormal = [](float x) { return std::fpclassify(x) == FP_SUBNORMAL; };
            EXPECT_GT(std::count_if(out.begin(), out.end(), isDenormal), 20);
        }
}

// Infinities and what comes of them, down to which of them cancel.
TEST(ChannelFilter, FollowsAnInfinityFromEveryPlaceOfAGroup) {
    for (const auto level : vyn::levelsOfThisMachine())
        for (const int order : {1, 2, 3, 9})
            for (std::size_t place = 200; place < 208; ++place) {
                auto in = signals::noise<float>(400 * 8, 3);
                in[8 * place + 3] = -std::numeric_limits<float>::infinity();
                EXPECT_EQ(bits(Bank(8, order).together(in, {400}, level)),
                          bits(Bank(8, order).oneByOne(in)))
                    << order << ", " << place;
            }
}

// Silence, a click and its tail: through the denormals of both precisions down to zeros, whose
// signs count as well: a filter that turns the sign over makes negative products of nothing but
// zeros.
TEST(ChannelFilter, FollowsATailDownToZeroAtEveryLevel) {
    const auto turned = [](const Bank& bank) {
        for (int c = 0; c < bank.channels(); ++c) {
            bank.head(c).gain *= -1;
            bank.head(c).changed = 1;
        }
    };
    for (const auto level : vyn::levelsOfThisMachine())
        for (const int order : {1, 2, 6})
            for (const int channels : {1, 4, 8, 33}) {
                const auto step = static_cast<std::size_t>(channels);
                std::vector<float> in(4000 * step);
                for (std::size_t c = 0; c < step; ++c)
                    in[(20 + c) * step + c] = c % 2 == 0 ? 1 : -1;
                const Bank bank(channels, order);
                const Bank twin(channels, order);
                turned(bank);
                turned(twin);
                const auto out = bank.together(in, {500, 256}, level);
                ASSERT_EQ(bits(out), bits(twin.oneByOne(in)))
                    << order << ", " << channels << " channels";
                const auto isDenormal = [](float x) { return std::fpclassify(x) == FP_SUBNORMAL; };
                EXPECT_TRUE(std::ranges::any_of(out, isDenormal));
                EXPECT_EQ(out.back(), 0.0F);
            }
}

// Fewer channels are filtered at once where there are many sections.
TEST(ChannelFilter, TakesManySections) {
    const int channels = 21;
    const auto in = signals::noise<float>(300 * channels, 3);
    for (const int order : {17, 40, 64})
        for (const int kind : {test::kLowPass, test::kBandPass})
            EXPECT_EQ(bits(Bank(channels, order, kind).together(in, {64})),
                      bits(Bank(channels, order, kind).oneByOne(in)))
                << order;
}

TEST(ChannelFilter, FiltersInPlace) {
    auto samples = signals::noise<float>(700 * 9, 3);
    const auto expected = Bank(9, 6).oneByOne(samples);
    const Bank bank(9, 6);
    ASSERT_EQ(ovanlysFilterChannels(samples.data(), 700, bank.handles(), 9, samples.data()), 0);
    EXPECT_EQ(samples, expected);
}

TEST(ChannelFilter, RefusesWhatMakesNoSenseAndTouchesNothing) {
    const Bank bank(3, 4);
    const std::vector<float> in(30, 1.0F);
    std::vector<float> out(30, 7.0F);
    void* const withNull[] = {bank.handle(0), nullptr, bank.handle(2)};
    EXPECT_EQ(ovanlysFilterChannels(nullptr, 10, bank.handles(), 3, out.data()), -1);
    EXPECT_EQ(ovanlysFilterChannels(in.data(), 10, nullptr, 3, out.data()), -1);
    EXPECT_EQ(ovanlysFilterChannels(in.data(), 10, bank.handles(), 3, nullptr), -1);
    EXPECT_EQ(ovanlysFilterChannels(in.data(), -1, bank.handles(), 3, out.data()), -1);
    EXPECT_EQ(ovanlysFilterChannels(in.data(), 10, bank.handles(), 0, out.data()), -1);
    EXPECT_EQ(ovanlysFilterChannels(in.data(), 10, withNull, 3, out.data()), -1);
    EXPECT_EQ(ovanlysFilterChannels(in.data(), 0, bank.handles(), 3, out.data()), 0);
    bank.head(2).gain = std::numeric_limits<double>::quiet_NaN();
    bank.head(2).changed = 1;
    EXPECT_EQ(ovanlysFilterChannels(in.data(), 10, bank.handles(), 3, out.data()), -2);
    EXPECT_THAT(out, testing::Each(7.0F));
    EXPECT_EQ(bank.head(2).changed, 1);
}

TEST(ChannelFilter, RestoresTheCallersFloatingPointEnvironment) {
    const auto in = signals::noise<float>(100 * 8, 3);
    const auto expected = Bank(8, 4).oneByOne(in);
    const Bank bank(8, 4);
    std::vector<float> out(in.size());
    const unsigned before = _mm_getcsr();
    _mm_setcsr((before & ~0x3Fu) | 0xC040);  // rounding up, flags clear, denormals flushed
    const unsigned callers = _mm_getcsr();
    ovanlysFilterChannels(in.data(), 100, bank.handles(), 8, out.data());
    const unsigned after = _mm_getcsr();
    _mm_setcsr(before);
    EXPECT_EQ(after, callers);
    EXPECT_EQ(out, expected);
}

TEST(ChannelFilter, AllocatesNothing) {
    if (!test::allocationsAreCounted()) GTEST_SKIP() << "the heap is not ours to count here";
    const Bank bank(12, 8);
    auto samples = signals::noise<float>(12 * 1000);
    const std::size_t before = test::allocationCount();
    ovanlysFilterChannels(samples.data(), 1000, bank.handles(), 12, samples.data());
    EXPECT_EQ(test::allocationCount(), before);
}

}  // namespace
}  // namespace ovanlys
