// The level block through the exports.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numbers>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "interface/host_fixture.h"
#include "support/record_bytes.h"
#include "support/signals.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::Eq;

constexpr int kQuantities = 18;
constexpr Int kWeighed = 0;

enum Quantity {
    kDisplayed,
    kRunningTime,
    kMeasurementTime,
    kExtremesTime,
    kMomentary,
    kMaximum,
    kMinimum,
    kLeq,
};

ChannelData oneChannel(std::vector<float> samples, double step = 0.001) {
    return timeSignal(std::move(samples), 1, step);
}

ChannelData silence(std::size_t samples, double step = 0.001) {
    return oneChannel(std::vector<float>(samples), step);
}

class TOLevel : public BlockTest<kLevel> {
protected:
    void prepare() override { start(); }

    // The control input is left open unless a test wires it: a wired one wants data at every call.
    void start() {
        block.wireInput(0, 0);
        block.wireInput(1, -1);
        block.wireOutput(0, 0);
        block.setCounts(2, 1);
        block.initSim();
    }

    // Puts a data block and takes all outputs that it brings.
    std::vector<ChannelData> play(const ChannelData& signal) {
        std::vector<ChannelData> outputs;
        block.put(0, signal);
        do {
            EXPECT_EQ(block.simulate(), kWeighed);
            if (auto output = block.take(0)) outputs.push_back(std::move(*output));
        } while (block.waits(0));
        return outputs;
    }
};

TEST_F(TOLevel, HasASignalAndAControlInput) { EXPECT_EQ(block.connectors(), "E,S,;A,"); }

TEST_F(TOLevel, ListsFiveKeywordsInOrder) {
    EXPECT_THAT(block.keywords(), ElementsAre(KeywordRow{"PkRMS", ValueType::flag},
                                              KeywordRow{"PkTimeTc", ValueType::integer},
                                              KeywordRow{"PkTimeTx", ValueType::integer},
                                              KeywordRow{"PkTimeHold", ValueType::real},
                                              KeywordRow{"PkFreqOut", ValueType::real}));
}

TEST_F(TOLevel, HasItsDefaults) {
    EXPECT_EQ(block.getInteger("PkRMS"), 1);
    EXPECT_EQ(block.getInteger("PkTimeTc"), 0);
    EXPECT_EQ(block.getInteger("PkTimeTx"), 1);
    EXPECT_EQ(block.getReal("PkTimeHold"), 0.0);
    EXPECT_EQ(block.getReal("PkFreqOut"), 10.0);
}

TEST_F(TOLevel, StoresWhatAKeywordSets) {
    for (const int value : {0, 1, 7, -1, 32767, -32768}) {
        for (const char* keyword : {"PkRMS", "PkTimeTc", "PkTimeTx"}) {
            block.set(keyword, value);
            EXPECT_EQ(block.getInteger(keyword), value);
        }
    }
    block.set("PkTimeTc", 65537);
    EXPECT_EQ(block.getInteger("PkTimeTc"), 1) << "a word of 16 bits";
    for (const double value : {0.0, -5.0, 1e300}) {
        for (const char* keyword : {"PkTimeHold", "PkFreqOut"}) {
            block.set(keyword, value);
            EXPECT_EQ(block.getReal(keyword), value);
        }
    }
}

TEST_F(TOLevel, SavesARecordOf55BytesOfFields) {
    block.set("PkRMS", 0);
    block.set("PkTimeTc", 2);
    block.set("PkTimeTx", 2);
    block.set("PkTimeHold", 2.5);
    block.set("PkFreqOut", 4.0);
    std::string record = block.save();
    ASSERT_EQ(record.size(), 8U + 3 * 2 + 2 * 8 + 33);
    EXPECT_EQ(at<std::int32_t>(record, 0), 272);
    EXPECT_EQ(at<std::int32_t>(record, 4), 404);
    EXPECT_EQ(at<std::int16_t>(record, 8), 0);
    EXPECT_EQ(at<std::int16_t>(record, 10), 2);
    EXPECT_EQ(at<std::int16_t>(record, 12), 2);
    EXPECT_EQ(at<double>(record, 14), 2.5);
    EXPECT_EQ(at<double>(record, 22), 4.0);
    for (std::size_t i = 30; i < 63; ++i) {
        EXPECT_EQ(record[i], '\0');
        record[i] = static_cast<char>('A' + i % 20);
    }
    PlacedBlock copy(host, kLevel, record);
    EXPECT_EQ(copy.save(), record) << "the text is kept whole";
    record[4] = 0;  // another version
    record[0] = 1;
    PlacedBlock older(host, kLevel, record);
    EXPECT_EQ(older.getReal("PkFreqOut"), 4.0);
}

TEST_F(TOLevel, PutsOutEighteenQuantitiesPerChannel) {
    ChannelData signal = timeSignal(std::vector<float>(2 * 150, 1.0F), 2, 0.001);
    signal.header.yUnit = kUnitAmplitude;
    signal.header.xStart = 7.0;
    signal.header.axisFlags = 32;
    host.takeTrace();
    const auto outputs = play(signal);
    ASSERT_EQ(outputs.size(), 1U);
    const ChannelHeader& header = outputs[0].header;
    EXPECT_EQ(header.valueCount, 36);
    EXPECT_EQ(header.channelCount, 18);
    EXPECT_EQ(header.xAxisKind, kSeconds);
    EXPECT_EQ(header.yUnit, kUnitNone);
    EXPECT_EQ(header.xStart, static_cast<double>(0.001F));
    EXPECT_EQ(header.xStep, 0.1);
    EXPECT_EQ(header.axisFlags, 32U);
    EXPECT_THAT(host.takeTrace(),
                ElementsAre("1188 -> 2", "1189 -> 1", "1134 36 -> D2", "1143 D1 D2", "1135 D1"));
    // Quantity q of channel c at 2 q + c.
    EXPECT_FLOAT_EQ(outputs[0].values[2 * kRunningTime], 0.1F);
    EXPECT_FLOAT_EQ(outputs[0].values[2 * kRunningTime + 1], 0.1F);
    EXPECT_EQ(outputs[0].values[2 * kMaximum], outputs[0].values[2 * kMaximum + 1]);
}

TEST_F(TOLevel, EachOutputStartsWhereTheLastOneEnded) {
    const auto outputs = play(silence(401));
    ASSERT_EQ(outputs.size(), 3U);
    EXPECT_FLOAT_EQ(static_cast<float>(outputs[1].header.xStart), 0.101F);
    EXPECT_FLOAT_EQ(static_cast<float>(outputs[2].header.xStart), 0.201F);
}

TEST_F(TOLevel, TheOutputFrequencyCountsNewSamplesPerOutput) {
    EXPECT_TRUE(play(silence(101)).empty()) << "full, but put out with the next block";
    EXPECT_EQ(play(silence(99)).size(), 1U);
    EXPECT_EQ(play(silence(1)).size(), 0U);
    EXPECT_EQ(play(silence(1)).size(), 1U);
}

TEST_F(TOLevel, PutsOutOneBlockPerCallAndKeepsTheInputUntilAllIsRead) {
    const Handle input = block.put(0, silence(350));
    for (int call = 0; call < 3; ++call) {
        EXPECT_EQ(block.inputData(0), input);
        EXPECT_EQ(block.simulate(), kWeighed);
        EXPECT_TRUE(block.delivered(0)) << call;
        EXPECT_EQ(block.waits(0), call < 2);
        block.take(0);
    }
}

TEST_F(TOLevel, AnOnePascalToneReads94Decibel) {
    block.set("PkTimeTc", 1);
    block.set("PkFreqOut", 1.0);
    constexpr int kSamples = 3 * 8000 + 2;
    const auto tone = signals::sine(kSamples, kSamples / 8.0, std::numbers::sqrt2);
    const auto outputs = play(oneChannel(tone, 1.0 / 8000));
    ASSERT_EQ(outputs.size(), 3U);
    EXPECT_NEAR(outputs[2].values[kDisplayed], 93.98F, 0.01F);
    EXPECT_NEAR(outputs[2].values[kMaximum], 93.98F, 0.01F);
}

TEST_F(TOLevel, MillisecondsAreConverted) {
    ChannelData signal = silence(102, 1.0);
    signal.header.xAxisKind = kMilliseconds;
    const auto outputs = play(signal);
    ASSERT_EQ(outputs.size(), 1U);
    EXPECT_FLOAT_EQ(outputs[0].values[kRunningTime], 0.1F);
    EXPECT_EQ(outputs[0].header.xAxisKind, kSeconds) << "the output is in seconds";
}

TEST_F(TOLevel, AnAbsentUnitCountsAsSeconds) {
    ChannelData signal = silence(102);
    signal.header.xAxisKind = 0;
    EXPECT_EQ(play(signal).size(), 1U);
    EXPECT_EQ(play(silence(100)).size(), 1U) << "the same unit as seconds";
}

TEST_F(TOLevel, OtherUnitsAreNoTimeSignal) {
    for (const std::int32_t unit : {3, 4, -1, 60}) {
        block.initSim();
        ChannelData signal = silence(10);
        signal.header.xAxisKind = unit;
        block.put(0, signal);
        EXPECT_EQ(block.simulate(), kFailed);
        EXPECT_TRUE(block.waits(0));
        expectReport(block, "nicht zeitabhängig");
        block.stop();
    }
}

TEST_F(TOLevel, AnOutputFrequencyOfZeroIsAnError) {
    block.set("PkFreqOut", 0.0);
    block.put(0, silence(10));
    EXPECT_EQ(block.simulate(), kFailed);
    expectReport(block, "Ausgabefrequenz muss größer als 0Hz sein");
    block.stop();
    block.set("PkFreqOut", 10.0);
    start();
    block.errorShow();
    EXPECT_TRUE(takeBoxes().empty()) << "a new run clears the error";
}

TEST_F(TOLevel, ChangesOfTheSignalAreErrors) {
    struct Row {
        const char* text;
        void (*change)(ChannelData&);
    };
    const Row rows[] = {
        {"Anzahl der eintreffenden Kanäle", [](ChannelData& d) { d.header.channelCount = 2; }},
        {"Abtastrate der eintreffenden Kanäle", [](ChannelData& d) { d.header.xStep = 0.0011; }},
        {"Abtastrate der eintreffenden Kanäle",
         [](ChannelData& d) { d.header.xStep = std::numeric_limits<double>::quiet_NaN(); }},
        {"Achsenbezeichnung",
         [](ChannelData& d) {
             d.header.xAxisKind = kMilliseconds;
             d.header.xStep = 1.0;
         }},
        // Of several changes the first of channels, rate and unit is named.
        {"Anzahl der eintreffenden Kanäle",
         [](ChannelData& d) {
             d.header.channelCount = 2;
             d.header.xStep = 0.0011;
             d.header.xAxisKind = kMilliseconds;
         }},
        {"Abtastrate der eintreffenden Kanäle",
         [](ChannelData& d) { d.header.xAxisKind = kMilliseconds; }},
    };
    for (const Row& row : rows) {
        block.initSim();
        play(silence(50));
        ChannelData signal = silence(50);
        row.change(signal);
        block.put(0, signal);
        EXPECT_EQ(block.simulate(), kFailed) << row.text;
        EXPECT_TRUE(block.waits(0));
        expectReport(block, row.text);
        block.stop();
        block.put(0, Handle::none);
    }
}

TEST_F(TOLevel, WhatCannotBeHeldIsOutOfMemory) {
    for (const auto& [keyword, value] :
         {std::pair{"PkTimeHold", 1e9}, {"PkFreqOut", 1e-300}, {"PkFreqOut", 1e-9}}) {
        block.set("PkTimeHold", 0.0);
        block.set("PkFreqOut", 10.0);
        block.set(keyword, value);
        block.initSim();
        block.put(0, silence(10));
        EXPECT_EQ(block.simulate(), kFailed);
        expectReport(block, "Not enough memory");
        block.stop();
        block.put(0, Handle::none);
    }
}

TEST_F(TOLevel, AnOutputFrequencyAboveTheRateGivesOneOutputPerSample) {
    for (const double frequency : {5000.0, 1e300, -1.0}) {
        block.set("PkFreqOut", frequency);
        block.initSim();
        EXPECT_EQ(play(silence(20)).size(), 18U) << frequency;
        block.stop();
    }
}

TEST_F(TOLevel, TheControlInputResetsByItsFirstValue) {
    block.wireInput(1, 1);
    const auto step = [&](float control, std::size_t samples) {
        block.put(1, oneChannel({control, 2.0F}));
        block.put(0, silence(samples));
        EXPECT_EQ(block.simulate(), kWeighed);
        EXPECT_FALSE(block.waits(1)) << "taken at every call";
        return block.take(0);
    };
    step(0.0F, 101);
    auto output = step(0.0F, 100);
    ASSERT_TRUE(output);
    EXPECT_FLOAT_EQ(output->values[kMeasurementTime], 0.1F);
    output = step(2.9F, 100);  // the integer part counts
    ASSERT_TRUE(output);
    EXPECT_FLOAT_EQ(output->values[kMeasurementTime], 0.2F);
    // The interval's first sample was set aside with the control value before.
    output = step(2.0F, 100);
    ASSERT_TRUE(output);
    EXPECT_FLOAT_EQ(output->values[kMeasurementTime], 0.099F);
    EXPECT_FLOAT_EQ(output->values[kRunningTime], 0.098F) << "the reset's own sample is not timed";
    step(1.0F, 100);
    output = step(1.0F, 100);
    ASSERT_TRUE(output);
    EXPECT_FLOAT_EQ(output->values[kMeasurementTime], 0.299F);
    EXPECT_FLOAT_EQ(output->values[kExtremesTime], 0.099F);
}

TEST_F(TOLevel, TakesTheControlValueEvenWhenTheOutputIsNotWired) {
    block.wireInput(1, 1);
    block.wireOutput(0, -1);
    block.put(0, silence(10));
    block.put(1, oneChannel({0.0F}));
    EXPECT_EQ(block.simulate(), kWeighed);
    EXPECT_FALSE(block.waits(1));
    EXPECT_TRUE(block.waits(0));
}

TEST_F(TOLevel, DoesNothingWithoutASignal) {
    block.wireInput(0, -1);
    EXPECT_EQ(block.simulate(), kWeighed);
    EXPECT_FALSE(block.delivered(0));
}

TEST_F(TOLevel, StoppingReleasesTheBlockInWork) {
    block.put(0, silence(350));
    EXPECT_EQ(block.simulate(), kWeighed);
    EXPECT_TRUE(block.waits(0));
    block.take(0);
    host.takeTrace();
    block.stop();
    EXPECT_THAT(host.takeTrace(), ElementsAre("1135 D1"));
    block.stop();
    EXPECT_TRUE(host.takeTrace().empty());
}

TEST_F(TOLevel, ASecondRunEqualsTheFirst) {
    std::mt19937 random(1);
    std::normal_distribution<float> noise;
    std::vector<float> x(3 * 1500);
    for (float& v : x)
        v = noise(random);
    const ChannelData signal = timeSignal(x, 3, 0.001);
    const auto first = play(signal);
    block.stop();
    start();
    const auto second = play(signal);
    ASSERT_EQ(first.size(), 14U);
    ASSERT_EQ(second.size(), first.size());
    for (std::size_t i = 0; i < first.size(); ++i)
        EXPECT_THAT(second[i].values, Eq(first[i].values));
}

TEST_F(TOLevel, ANewRunForgetsTheControlValue) {
    block.wireInput(1, 1);
    block.put(1, oneChannel({2.0F}));
    block.put(0, silence(50));
    EXPECT_EQ(block.simulate(), kWeighed);
    block.stop();
    start();
    const auto outputs = play(silence(102));
    ASSERT_EQ(outputs.size(), 1U);
    EXPECT_FLOAT_EQ(outputs[0].values[kRunningTime], 0.1F) << "no edge, no reset";
}

TEST_F(TOLevel, ANewRunReadsTheWaitingBlockFromItsStart) {
    block.put(0, silence(350));
    EXPECT_EQ(block.simulate(), kWeighed);
    EXPECT_TRUE(block.take(0));
    ASSERT_TRUE(block.waits(0));
    start();
    int outputs = 0;
    while (block.waits(0)) {
        EXPECT_EQ(block.simulate(), kWeighed);
        if (block.take(0)) ++outputs;
    }
    EXPECT_EQ(outputs, 3);
}

TEST_F(TOLevel, ARefusedOutputComesWithTheNextCall) {
    block.put(0, silence(150));
    host.misbehave({.message = Message::newBlock, .fault = Fault::answer, .times = 1});
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_TRUE(block.waits(0));
    expectReport(block, "Not enough memory");
    host.behave();
    EXPECT_EQ(block.simulate(), kWeighed);
    const auto output = block.take(0);
    ASSERT_TRUE(output);
    EXPECT_FLOAT_EQ(output->values[kRunningTime], 0.1F);
    EXPECT_FALSE(block.waits(0));
}

TEST_F(TOLevel, EmptyBlocksChangeNothing) {
    EXPECT_TRUE(play(silence(0)).empty());
    EXPECT_EQ(play(silence(102)).size(), 1U);
    EXPECT_TRUE(play(silence(0)).empty());
    EXPECT_EQ(play(silence(100)).size(), 1U);
}

// The head of a block in work is the host's: what it says when the block is looked at again counts.
TEST_F(TOLevel, ABlockThatShrinksWhileInWorkIsDone) {
    const Handle handle = block.put(0, silence(1000));
    EXPECT_EQ(block.simulate(), kWeighed);
    EXPECT_TRUE(block.take(0));
    EXPECT_TRUE(block.waits(0));
    const std::int32_t fewer = 10;
    std::memcpy(platform::View(handle).address(), &fewer, sizeof fewer);
    EXPECT_EQ(block.simulate(), kWeighed);
    EXPECT_TRUE(block.take(0));
    EXPECT_FALSE(block.waits(0));
    EXPECT_EQ(play(silence(101)).size(), 1U);
}

// Random block sizes, resets, pauses, weightings and runs; nothing may be left behind or go wrong.
TEST_F(TOLevel, SoaksInRandomBlocks) {
    std::mt19937 random(11);
    const auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    std::normal_distribution<float> noise(0.0F, 0.1F);
    block.wireInput(1, 1);
    for (int round = 0; round < 40; ++round) {
        const int channels = pick(1, 9);
        block.set("PkRMS", pick(0, 3) > 0);
        block.set("PkTimeTc", pick(0, 2));
        block.set("PkTimeTx", pick(0, 2));
        block.set("PkTimeHold", pick(0, 4) * 0.7);
        block.set("PkFreqOut", pick(1, 200) * 0.37);
        block.initSim();
        for (int blocks = 0; blocks < 25; ++blocks) {
            std::vector<float> x(static_cast<std::size_t>(pick(0, 1200) * channels));
            for (float& v : x)
                v = noise(random);
            block.put(0, timeSignal(x, channels, 0.001));
            const float control = pick(0, 3) == 0 ? static_cast<float>(pick(0, 7)) : 0.0F;
            do {
                block.put(1, oneChannel({control}));
                ASSERT_EQ(block.simulate(), kWeighed);
                if (const auto output = block.take(0)) {
                    ASSERT_EQ(output->values.size(),
                              static_cast<std::size_t>(kQuantities * channels));
                    for (const float value : output->values)
                        ASSERT_TRUE(std::isfinite(value));
                }
            } while (block.waits(0));
        }
        block.stop();
    }
}

}  // namespace
}  // namespace vynhost::test
