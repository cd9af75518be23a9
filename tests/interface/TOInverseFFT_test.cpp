// The inverse FFT block through the exports, alone and behind the spectrum block.
#include <cmath>
#include <cstring>
#include <numbers>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "interface/host_fixture.h"
#include "support/record_bytes.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Int kTransformed = 1;

class TOInverseFFT : public BlockTest<kInverseFFT, kSpektrum> {
protected:
    // Lays both parts of a spectrum at the inputs.
    void put(const ChannelData& reals, const ChannelData& imaginaries) {
        block.put(0, reals);
        block.put(1, imaginaries);
    }
    static ChannelData lines(const std::vector<float>& values, int channels = 1,
                             double step = 2.0) {
        ChannelData data = timeSignal(values, channels, step);
        data.header.xAxisKind = kHertz;
        data.header.displaySpan = 8.0;
        return data;
    }
};

TEST_F(TOInverseFFT, NamesTwoInputsAndOneOutput) { EXPECT_EQ(block.connectors(), "R,I,;A,"); }

TEST_F(TOInverseFFT, HasNoKeywordsAndTouchesNoRecord) {
    EXPECT_THAT(block.keywords(), IsEmpty());
    std::string value = "unchanged bytes";
    EXPECT_EQ(block.remoteControl(kGetValue, "PkWndFct", value), 0);
    EXPECT_EQ(value, "unchanged bytes");
}

TEST_F(TOInverseFFT, SavesA40ByteRecord) {
    std::string record = block.save();
    ASSERT_EQ(record.size(), 40U);
    EXPECT_EQ(at<std::int32_t>(record, kRecordSizeOffset), 32);
    EXPECT_EQ(at<std::int32_t>(record, kRecordVersionOffset), 404);
    EXPECT_EQ(record.substr(8), std::string(32, '\0'));
    record.replace(8, 5, "bytes");
    PlacedBlock restored(host, kInverseFFT, record);
    EXPECT_EQ(restored.save(), record);
}

TEST_F(TOInverseFFT, RebuildsASineWithItsHeader) {
    std::vector<float> reals(512, 0.0F);
    std::vector<float> imaginaries(512, 0.0F);
    reals[10] = 3.0F;
    imaginaries[20] = -1.0F;
    block.initSim();
    put(lines(reals), lines(imaginaries));
    EXPECT_EQ(block.simulate(), kTransformed);
    EXPECT_FALSE(block.waits(0));
    EXPECT_FALSE(block.waits(1));
    const auto signal = block.take(0);
    ASSERT_TRUE(signal);
    EXPECT_EQ(signal->header.valueCount, 1024);
    EXPECT_EQ(signal->header.channelCount, 1);
    EXPECT_EQ(signal->header.xAxisKind, kSeconds);
    EXPECT_EQ(signal->header.xStart, 0.0);
    EXPECT_EQ(signal->header.xStep, 1.0 / (1024 * 2.0));
    EXPECT_EQ(signal->header.displayMinimum, -4.0);
    EXPECT_EQ(signal->header.displaySpan, 8.0);
    EXPECT_EQ(signal->header.yUnit, kUnitNone);
    for (int i = 0; i < 1024; ++i) {
        const double t = 2 * std::numbers::pi * i / 1024;
        EXPECT_NEAR(signal->at(i, 0), 3.0 * std::cos(10 * t) + std::sin(20 * t), 2e-6) << i;
    }
}

TEST_F(TOInverseFFT, ReturnsWhatTheSpectrumBlockTookApart) {
    constexpr int n = 256;
    constexpr int channels = 1;
    std::vector<float> samples(n);
    for (int i = 0; i < n; ++i) {
        const double t = 2 * std::numbers::pi * i / n;
        samples[static_cast<std::size_t>(i)] =
            static_cast<float>(0.5 + std::sin(3 * t) + 0.25 * std::cos(77 * t + 1));
    }
    PlacedBlock spectrum(host, kSpektrum);
    spectrum.set("PkAmplType", "REALIMAGINAER");
    spectrum.wireAll();
    spectrum.initSim();
    block.initSim();
    spectrum.put(0, timeSignal(samples, channels, 0.001));
    EXPECT_EQ(spectrum.simulate(), 0);
    put(*spectrum.take(0), *spectrum.take(1));
    EXPECT_EQ(block.simulate(), kTransformed);
    const auto signal = block.take(0);
    ASSERT_TRUE(signal);
    EXPECT_NEAR(signal->header.xStep, 0.001, 1e-15);
    ASSERT_EQ(signal->values.size(), samples.size());
    // A few units of single precision of a signal of magnitude 2.
    for (int i = 0; i < n; ++i)
        EXPECT_NEAR(signal->at(i, 0), samples[static_cast<std::size_t>(i)], 1e-6);
}

TEST_F(TOInverseFFT, TheNyquistLineIsTakenWithoutTheChannelStride) {
    // Two channels, four lines each; all zero but flat value 3 of the real parts, which is channel
    // 1's line 1 and channel 0's Nyquist entry (0 + 4 - 1).
    std::vector<float> reals(8, 0.0F);
    reals[3] = 8.0F;
    block.initSim();
    put(lines(reals, 2), lines(std::vector<float>(8, 0.0F), 2));
    EXPECT_EQ(block.simulate(), kTransformed);
    const auto signal = block.take(0);
    ASSERT_TRUE(signal);
    ASSERT_EQ(signal->channels(), 2);
    for (int i = 0; i < 8; ++i) {
        EXPECT_NEAR(signal->at(i, 0), (i % 2 == 0 ? 1 : -1) * 4.0, 1e-5) << i;
        EXPECT_NEAR(signal->at(i, 1), 8.0 * std::cos(2 * std::numbers::pi * i / 8), 1e-5) << i;
    }
}

TEST_F(TOInverseFFT, LeavesInputsWaitingThatDoNotMatch) {
    const std::vector<float> eight(8, 1.0F);
    const std::vector<float> three(3, 1.0F);
    const std::vector<float> four(4, 1.0F);
    block.initSim();
    const auto refuses = [&](const ChannelData& reals, const ChannelData& imaginaries) {
        put(reals, imaginaries);
        EXPECT_EQ(block.simulate(), kTransformed);
        EXPECT_TRUE(block.waits(0));
        EXPECT_TRUE(block.waits(1));
        EXPECT_FALSE(block.delivered(0));
    };
    refuses(lines(eight), lines(four));
    refuses(lines(eight, 2), lines(eight, 1));
    refuses(lines(three), lines(three));
    refuses(lines(four, 5), lines(four, 5));  // no line per channel
    put(lines(four), lines(four));
    EXPECT_EQ(block.simulate(), kTransformed);
    EXPECT_EQ(block.take(0)->header.valueCount, 8);
}

TEST_F(TOInverseFFT, OneLinePerChannelGivesTwoSamples) {
    // Of two samples a line is the mean; the Nyquist entry of channel c is flat value c + 1 - 1,
    // the same value. So x0 = (m + m) / 2 * 2 / 2 = m and x1 = 0.
    const std::vector<float> reals = {1.0F, 2.0F, -3.0F, 4.0F};
    block.initSim();
    put(lines(reals, 4), lines({9.0F, 9.0F, 9.0F, 9.0F}, 4));
    EXPECT_EQ(block.simulate(), kTransformed);
    EXPECT_FALSE(block.waits(0));
    EXPECT_FALSE(block.waits(1));
    const auto signal = block.take(0);
    ASSERT_TRUE(signal);
    EXPECT_EQ(signal->header.channelCount, 4);
    EXPECT_EQ(signal->header.xStep, 1.0 / (2 * 2.0));
    EXPECT_THAT(signal->values, ElementsAre(1, 2, -3, 4, 0, 0, 0, 0));
}

TEST_F(TOInverseFFT, ASurplusValueBesideOneLineMakesAThirdSample) {
    // 7 values in 4 channels: N = 14 / 4 = 3, of one whole line per channel.
    const std::vector<float> sevenths = {1, 2, 3, 4, 0, 0, 0};
    block.initSim();
    put(lines(sevenths, 4), lines(std::vector<float>(7, 0.0F), 4));
    EXPECT_EQ(block.simulate(), kTransformed);
    const auto signal = block.take(0);
    ASSERT_TRUE(signal);
    EXPECT_EQ(signal->header.valueCount, 12);
    // Lines 0 and 1 are both m: x_i = (m + 2 m cos(2 pi i / 3)) / 3 * 3 / 2.
    for (int c = 0; c < 4; ++c) {
        EXPECT_NEAR(signal->at(0, c), 1.5 * (c + 1), 1e-6) << c;
        EXPECT_NEAR(signal->at(1, c), 0.0, 1e-6) << c;
        EXPECT_NEAR(signal->at(2, c), 0.0, 1e-6) << c;
    }
}

TEST_F(TOInverseFFT, WaitsForBothParts) {
    block.initSim();
    block.put(0, lines(std::vector<float>(8, 1.0F)));
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_TRUE(block.waits(0));
}

TEST_F(TOInverseFFT, AnOddLengthIsTheSameEveryTime) {
    // 7 values of 2 channels: N = 14 / 2 = 7.
    const std::vector<float> values = {1, 2, 3, 4, 5, 6, 7};
    block.initSim();
    std::vector<float> first;
    for (int run = 0; run < 2; ++run) {
        put(lines(values, 2), lines(values, 2));
        EXPECT_EQ(block.simulate(), kTransformed);
        const auto signal = block.take(0);
        ASSERT_TRUE(signal);
        EXPECT_EQ(signal->header.valueCount, 14);
        EXPECT_EQ(signal->header.xStep, 1.0 / (7 * 2.0));
        if (run == 0) first = signal->values;
        EXPECT_EQ(signal->values, first);
    }
}

TEST_F(TOInverseFFT, SpeaksToTheHostInTheOrderOfItsSteps) {
    block.initSim();
    put(lines(std::vector<float>(12, 1.0F), 3), lines(std::vector<float>(12, 1.0F), 3));
    const std::string reals = host.memory().name(block.inputData(0));
    const std::string imaginaries = host.memory().name(block.inputData(1));
    host.takeTrace();
    EXPECT_EQ(block.simulate(), kTransformed);
    const std::string signal = host.memory().name(block.outputData(0));
    EXPECT_THAT(
        host.takeTrace(),
        ElementsAre("1188 -> 2", "1189 -> 1", "1188 -> 2", "1189 -> 1", "1134 24 -> " + signal,
                    "1143 " + reals + " " + signal, "1135 " + reals, "1135 " + imaginaries));
    block.take(0);
}

TEST_F(TOInverseFFT, SaysAllOfItsHeaderWhateverTheHostCopied) {
    block.initSim();
    put(lines(std::vector<float>(12, 1.0F), 3), lines(std::vector<float>(12, 1.0F), 3));
    host.misbehave({.message = Message::copyHeader, .fault = Fault::garbage});
    EXPECT_EQ(block.simulate(), kTransformed);
    const auto signal = block.take(0);
    ASSERT_TRUE(signal);
    EXPECT_EQ(signal->header.valueCount, 24);
    EXPECT_EQ(signal->header.channelCount, 3);
    EXPECT_EQ(signal->header.xAxisKind, kSeconds);
    EXPECT_EQ(signal->header.yUnit, kUnitNone);
    EXPECT_EQ(signal->header.xStart, 0.0);
    EXPECT_EQ(signal->header.xStep, 1.0 / (8 * 2.0));
    EXPECT_EQ(signal->header.displayMinimum, -4.0);
    EXPECT_EQ(signal->header.displaySpan, 8.0);
}

TEST_F(TOInverseFFT, LosesNothingWhenTheHostRefusesTheOutput) {
    block.initSim();
    put(lines(std::vector<float>(8, 1.0F)), lines(std::vector<float>(8, 0.0F)));
    host.misbehave({.message = Message::newBlock, .value = 0, .times = 1});
    EXPECT_EQ(block.simulate(), kTransformed);
    EXPECT_TRUE(block.waits(0));
    EXPECT_TRUE(block.waits(1));
    EXPECT_FALSE(block.delivered(0));
    host.behave();
    EXPECT_EQ(block.simulate(), kTransformed);
    EXPECT_TRUE(block.take(0));
}

TEST_F(TOInverseFFT, ASecondRunAndAnotherLengthStartAfresh) {
    for (const int values : {16, 8, 16}) {
        block.initSim();
        for (int repeat = 0; repeat < 2; ++repeat) {
            std::vector<float> reals(static_cast<std::size_t>(values), 0.0F);
            reals[1] = 1.0F;
            put(lines(reals), lines(std::vector<float>(reals.size(), 0.0F)));
            EXPECT_EQ(block.simulate(), kTransformed);
            const auto signal = block.take(0);
            ASSERT_TRUE(signal);
            ASSERT_EQ(signal->samples(), 2 * values);
            EXPECT_NEAR(signal->at(0, 0), 1.0, 1e-6);
            EXPECT_NEAR(signal->at(values, 0), -1.0, 1e-6);
        }
        block.stop();
        block.stop();
    }
}

}  // namespace
}  // namespace vynhost::test
