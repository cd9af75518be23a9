// The statistics block through the exports.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "interface/host_fixture.h"
#include "support/record_bytes.h"

namespace vynhost::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::vector<std::string> kMeasures = {
    "PkSumBlock", "PkSumAll",  "PkQSum",   "PkYMax",    "PkXonYMax",  "PkYMin",     "PkXonYMin",
    "PkXMax",     "PkYonXMax", "PkXMin",   "PkYonXMin", "PkAMean",    "PkQMean",    "PkGMean",
    "PkHMean",    "PkSpannw",  "PkStdAbw", "PkVarianz", "PkVarKoeff", "PkVarKoRel", "PkMAAVMW"};

class TOStatistik : public BlockTest<kStatistik> {
protected:
    void start(const std::vector<std::string>& measures, int outputMode = 1) {
        block.set("PkAllOn", 0);
        for (const std::string& measure : measures)
            block.set(measure, 1);
        block.set("PkOutMode", outputMode);
        block.initSim();
        block.wireAll();
    }
};

TEST_F(TOStatistik, ListsTwentyThreeIntegerKeywords) {
    const auto rows = block.keywords();
    ASSERT_EQ(rows.size(), 23U);
    for (std::size_t i = 0; i < 21; ++i)
        EXPECT_EQ(rows[i], (KeywordRow{kMeasures[i], ValueType::integer}));
    EXPECT_EQ(rows[21], (KeywordRow{"PkAllOn", ValueType::integer}));
    EXPECT_EQ(rows[22], (KeywordRow{"PkOutMode", ValueType::integer}));
}

TEST_F(TOStatistik, SelectionsAreStoredAsSixteenBits) {
    for (const std::string& measure : kMeasures) {
        EXPECT_EQ(block.getInteger(measure), 0) << measure;
        block.set(measure, 3);
        EXPECT_EQ(block.getInteger(measure), 3) << measure;
        block.set(measure, 65537);
        EXPECT_EQ(block.getInteger(measure), 1) << measure;
        block.set(measure, 40000);
        EXPECT_EQ(block.getInteger(measure), -25536) << measure;
    }
}

TEST_F(TOStatistik, AllOnWritesEverySelectionAndReadsZero) {
    block.set("PkAllOn", 1);
    for (const std::string& measure : kMeasures)
        EXPECT_EQ(block.getInteger(measure), 1) << measure;
    EXPECT_EQ(block.getInteger("PkAllOn"), 0);
    block.set("PkAllOn", 0);
    EXPECT_EQ(block.getInteger("PkMAAVMW"), 0);
}

TEST_F(TOStatistik, TheOutputModeTakesOneAndTwoOnly) {
    EXPECT_EQ(block.getInteger("PkOutMode"), 1);
    block.set("PkOutMode", 2);
    for (const int ignored : {0, 3, -1, 1052}) {
        block.set("PkOutMode", ignored);
        EXPECT_EQ(block.getInteger("PkOutMode"), 2) << ignored;
    }
}

TEST_F(TOStatistik, NumbersItsOutputsFromOne) {
    EXPECT_EQ(block.connectors(), "E,;A,");
    start({"PkYMax", "PkAMean"}, 2);
    EXPECT_EQ(block.connectors(), "E,;1,2,");
    block.set("PkSumAll", 1);
    EXPECT_EQ(block.connectors(), "E,;1,2,") << "until the next run starts";
    block.initSim();
    EXPECT_EQ(block.connectors(), "E,;1,2,3,");
    block.set("PkAllOn", 1);
    block.initSim();
    EXPECT_EQ(block.connectors(), "E,;1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,");
    start({}, 2);
    EXPECT_EQ(block.connectors(), "E,;");
}

TEST_F(TOStatistik, SavesTheParametersAsTheyStand) {
    block.set("PkSumBlock", 1);
    block.set("PkMAAVMW", -2);
    block.set("PkOutMode", 2);
    const std::string record = block.save();
    ASSERT_EQ(record.size(), 84U);
    EXPECT_EQ(at<std::int32_t>(record, 0), 76);
    EXPECT_EQ(at<std::int32_t>(record, 4), 404);
    EXPECT_EQ(at<std::int16_t>(record, 8), 1);
    EXPECT_EQ(at<std::int16_t>(record, 8 + 2 * 20), -2);
    EXPECT_EQ(at<std::int16_t>(record, 8 + 42), 1053);
    EXPECT_EQ(record.substr(8 + 44), std::string(32, '\0'));
}

TEST_F(TOStatistik, RestoresTheSavedBytes) {
    std::string record = bytes(std::int32_t{76}, std::int32_t{404});
    for (int i = 0; i < 76; ++i)
        record += static_cast<char>(i * 37);
    for (const std::int32_t version : {400, 402, 404, 5000}) {
        put(record, kRecordVersionOffset, version);
        EXPECT_EQ(PlacedBlock(host, kStatistik, record).save().substr(8), record.substr(8));
    }
}

TEST_F(TOStatistik, ARecordOfAnotherSizeIsLeftAfterItsSizeWord) {
    block.set("PkSumBlock", 1);
    std::string record = block.save();
    put(record, kRecordSizeOffset, std::int32_t{75});
    platform::ParameterFile file(record);
    const Int handle = host.call(host.exports().RestoreParameters, 1, kStatistik, 0, file.handle());
    EXPECT_EQ(file.position(), 4U);
    host.call(host.exports().DestroyBlock, 1, kStatistik, handle, 0);
    EXPECT_EQ(PlacedBlock(host, kStatistik, record).getInteger("PkSumBlock"), 0);
}

TEST_F(TOStatistik, RecordsBeforeVersion400CarryABitPerMeasure) {
    const std::uint32_t mask = (1U | 1U << 10U) | (3U << 16U);
    for (const std::int32_t version : {300, 399, 0, -1}) {
        const std::string record =
            bytes(std::int32_t{76}, version, mask, std::int16_t{1053}) + "\x5A" + "behind";
        platform::ParameterFile file(record);
        const Int handle =
            host.call(host.exports().RestoreParameters, 1, kStatistik, 0, file.handle());
        EXPECT_EQ(file.position(), 15U);
        host.call(host.exports().DestroyBlock, 1, kStatistik, handle, 0);

        PlacedBlock old(host, kStatistik, record);
        for (std::size_t i = 0; i < kMeasures.size(); ++i) {
            const bool selected = i == 0 || i == 10 || i == 11 || i == 12;
            EXPECT_EQ(old.getInteger(kMeasures[i]), selected ? 1 : 0) << kMeasures[i];
        }
        EXPECT_EQ(old.connectors(), "E,;1,2,3,4,");
        EXPECT_EQ(old.save()[52], '\x5A') << "the low byte of the first reserved word";
        EXPECT_EQ(old.save()[53], '\0');
    }
}

TEST_F(TOStatistik, EveryBitOfTheOldMaskSelectsItsMeasure) {
    for (std::uint32_t bit = 0; bit < 32; ++bit) {
        const std::string record =
            bytes(std::int32_t{76}, std::int32_t{300}, 1U << bit, std::int16_t{1052}) + '\0';
        PlacedBlock old(host, kStatistik, record);
        for (std::uint32_t i = 0; i < 21; ++i) {
            const bool selected = i < 11 ? bit == i : bit == i + 5;
            EXPECT_EQ(old.getInteger(kMeasures[i]), selected ? 1 : 0) << bit << ' ' << i;
        }
    }
}

TEST_F(TOStatistik, AShortRecordKeepsTheRest) {
    const std::string head = bytes(std::int32_t{76}, std::int32_t{404});
    PlacedBlock block2(host, kStatistik,
                       head + bytes(std::int16_t{1}) + bytes(std::int16_t{1}) + "x");
    EXPECT_EQ(block2.getInteger("PkSumBlock"), 1);
    EXPECT_EQ(block2.getInteger("PkSumAll"), 1);
    EXPECT_EQ(block2.getInteger("PkQSum"), 0);
    EXPECT_EQ(block2.getInteger("PkOutMode"), 1);
}

TEST_F(TOStatistik, ARestoredCountNeverNamesMoreOutputsThanTheRecordHas) {
    std::string record = bytes(std::int32_t{76}, std::int32_t{404});
    for (int i = 0; i < 21; ++i)
        record += bytes(std::int16_t{32767});
    record += bytes(std::int16_t{1053}) + std::string(32, '\0');
    const std::string connectors = PlacedBlock(host, kStatistik, record).connectors();
    EXPECT_TRUE(connectors.ends_with(",31,32,")) << connectors;
    for (int i = 0; i < 21; ++i)
        record.replace(static_cast<std::size_t>(8 + 2 * i), 2,
                       bytes(static_cast<std::int16_t>(i == 0 ? 2 : -1)));
    EXPECT_EQ(PlacedBlock(host, kStatistik, record).connectors(), "E,;") << "a sum below 0";
    for (int i = 0; i < 21; ++i)
        record.replace(static_cast<std::size_t>(8 + 2 * i), 2,
                       bytes(static_cast<std::int16_t>(i == 0 ? 3 : 0)));
    PlacedBlock three(host, kStatistik, record);
    EXPECT_EQ(three.connectors(), "E,;1,2,3,") << "the sum of the flags as given";
    three.initSim();
    EXPECT_EQ(three.connectors(), "E,;1,");
}

TEST_F(TOStatistik, WithNothingSelectedTheInputStays) {
    start({});
    const Handle input = block.put(0, timeSignal({1, 2, 3}));
    host.takeTrace();
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_EQ(block.inputData(0), input);
    EXPECT_FALSE(block.delivered(0));
    for (const std::string& line : host.takeTrace())
        EXPECT_TRUE(line.starts_with("118")) << line;
}

TEST_F(TOStatistik, TwoMeasuresOfTwoChannelsLeaveThroughOneOutput) {
    start({"PkYMax", "PkAMean"});
    ChannelData data = timeSignal({1, 10, 3, 20, 2, 30}, 2, 0.25);
    data.header.xStart = 5.0;
    data.header.yUnit = kUnitAmplitude;
    data.header.axisFlags = 4;
    const auto result = block.process(data);
    ASSERT_TRUE(result);
    EXPECT_THAT(result->values, ElementsAre(3, 30, 2, 20));
    EXPECT_EQ(result->header.valueCount, 4);
    EXPECT_EQ(result->header.channelCount, 2);
    EXPECT_EQ(result->header.xStart, 0.0);
    EXPECT_EQ(result->header.xStep, 1.0);
    EXPECT_EQ(result->header.yUnit, kUnitAmplitude);
    EXPECT_EQ(result->header.axisFlags, 4U);
}

TEST_F(TOStatistik, TheMeasuresOfASingleChannelLeaveAsChannels) {
    start({"PkYMax", "PkAMean"});
    const auto result = block.process(timeSignal({1, 2, 6}));
    ASSERT_TRUE(result);
    EXPECT_THAT(result->values, ElementsAre(6, 3));
    EXPECT_EQ(result->header.channelCount, 2);
}

TEST_F(TOStatistik, EachMeasureCanHaveItsOwnOutput) {
    start({"PkYMax", "PkAMean"}, 2);
    EXPECT_EQ(block.connectors(), "E,;1,2,");
    block.put(0, timeSignal({1, 10, 100, 3, 30, 500}, 3));
    EXPECT_EQ(block.simulate(), 1);
    const auto maximum = block.take(0);
    const auto mean = block.take(1);
    ASSERT_TRUE(maximum && mean);
    EXPECT_THAT(maximum->values, ElementsAre(3, 30, 500));
    EXPECT_THAT(mean->values, ElementsAre(2, 20, 300));
    EXPECT_EQ(mean->header.channelCount, 3);
    EXPECT_EQ(mean->header.valueCount, 3);
}

TEST_F(TOStatistik, AnyOutputModeButOneOutputIsOnePerMeasure) {
    start({"PkYMax", "PkAMean"});
    std::string record = block.save();
    for (const std::int16_t mode : {0, 1051, 1054, -1}) {
        put<std::int16_t>(record, 50, mode);
        PlacedBlock other(host, kStatistik, record);
        EXPECT_EQ(other.connectors(), "E,;1,2,");
        EXPECT_EQ(other.getInteger("PkOutMode"), mode - 1051);
        other.wireAll();
        other.initSim();
        other.put(0, timeSignal({1, 2, 6}));
        EXPECT_EQ(other.simulate(), 1);
        EXPECT_THAT(other.take(0)->values, ElementsAre(6));
        EXPECT_THAT(other.take(1)->values, ElementsAre(3));
    }
}

TEST_F(TOStatistik, AnyFlagButZeroSelectsItsMeasure) {
    block.set("PkYMax", -1);
    block.set("PkYMin", 32768);
    block.set("PkQSum", 65536);  // 0 in 16 bits
    block.initSim();
    EXPECT_THAT(block.process(timeSignal({1, 2, 6}))->values, ElementsAre(6, 1));
}

TEST_F(TOStatistik, ASingleChannelWithOwnOutputsGivesSingleValues) {
    start({"PkYMax", "PkAMean"}, 2);
    block.put(0, timeSignal({1, 2, 6}));
    EXPECT_EQ(block.simulate(), 1);
    for (const int output : {0, 1}) {
        const auto result = block.take(output);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->values.size(), 1U);
        EXPECT_EQ(result->header.channelCount, 1);
    }
}

TEST_F(TOStatistik, AllMeasuresOfTheTextbookExample) {
    block.set("PkAllOn", 1);
    block.initSim();
    ChannelData data = timeSignal({2, 4, 4, 4, 5, 5, 7, 9}, 1, 0.5);
    data.header.xStart = 10.0;
    const auto result = block.process(data);
    ASSERT_TRUE(result);
    const std::vector<double> expected = {40,
                                          40,
                                          232,
                                          9,
                                          13.5,
                                          2,
                                          10,
                                          14,
                                          9,
                                          10,
                                          2,
                                          5,
                                          std::sqrt(29.0),
                                          std::pow(2.0 * 64 * 25 * 7 * 9, 1.0 / 8),
                                          8 / (1.0 / 2 + 3.0 / 4 + 2.0 / 5 + 1.0 / 7 + 1.0 / 9),
                                          7,
                                          std::sqrt(32.0 / 7),
                                          32.0 / 7,
                                          std::sqrt(32.0 / 7) / 5,
                                          std::sqrt(32.0 / 7) / 5 / std::sqrt(7.0) * 100,
                                          1.5};
    ASSERT_EQ(result->values.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_FLOAT_EQ(result->values[i], static_cast<float>(expected[i])) << kMeasures[i];
    EXPECT_EQ(result->header.channelCount, 21);
}

TEST_F(TOStatistik, AsksForAScratchBlockThenTheOutputsAndReleasesTheScratchBlockFirst) {
    start({"PkYMax", "PkAMean"}, 2);
    const std::string input = host.memory().name(block.put(0, timeSignal({1, 2, 3, 4, 5, 6}, 3)));
    host.takeTrace();
    EXPECT_EQ(block.simulate(), 1);
    const std::string first = host.memory().name(block.outputData(0));
    const std::string second = host.memory().name(block.outputData(1));
    auto trace = host.takeTrace();
    std::erase_if(trace, [](const std::string& line) { return line.starts_with("118"); });
    ASSERT_EQ(trace.size(), 8U);
    ASSERT_TRUE(trace[0].starts_with("1134 6 -> "));
    const std::string scratch = trace[0].substr(10);
    EXPECT_THAT(trace, ElementsAre("1134 6 -> " + scratch, "1143 " + input + " " + scratch,
                                   "1134 3 -> " + first, "1143 " + input + " " + first,
                                   "1134 3 -> " + second, "1143 " + input + " " + second,
                                   "1135 " + scratch, "1135 " + input));
    block.take(0);
    block.take(1);
}

TEST_F(TOStatistik, SumAllRunsOverTheBlocksOfARun) {
    start({"PkSumBlock", "PkSumAll", "PkAMean"});
    for (const auto& [sample, total] : {std::pair{1.0F, 1.0F}, {2.0F, 3.0F}, {3.0F, 6.0F}}) {
        const auto result = block.process(single(sample));
        ASSERT_TRUE(result);
        EXPECT_THAT(result->values, ElementsAre(sample, total, sample));
    }
    block.stop();
    block.initSim();
    EXPECT_THAT(block.process(single(4))->values, ElementsAre(4, 4, 4));
}

TEST_F(TOStatistik, SumAllCountsABlockOnceWhenItsOutputWasRefusedAtFirst) {
    start({"PkSumAll"});
    block.process(single(1));
    const Handle input = block.put(0, single(2));
    host.misbehave({.message = Message::newBlock, .first = 2, .times = 1});
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_EQ(block.inputData(0), input);
    host.behave();
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_THAT(block.take(0)->values, ElementsAre(3));
    EXPECT_THAT(block.process(single(4))->values, ElementsAre(7));
}

TEST_F(TOStatistik, ANewChannelCountIsAnErrorThatIsShownWhenAskedFor) {
    VYN_NEEDS_BOXES();
    start({"PkSumAll"});
    EXPECT_TRUE(block.process(timeSignal({1, 2}, 2)));
    const Handle input = block.put(0, timeSignal({1, 2, 3}, 3));
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_EQ(block.inputData(0), input);
    EXPECT_FALSE(block.delivered(0));
    EXPECT_THAT(takeBoxes(), IsEmpty());
    block.errorShow();
    const auto boxes = takeBoxes();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].caption, "Fehler!");
    EXPECT_EQ(
        boxes[0].text,
        "Fehler !\nDie Anzahl der eintreffenden Kanäle hat sich\nwährend der Messung geändert.");
    EXPECT_TRUE(boxes[0].exclamation.value_or(true));
    // A block with the right count is processed again; the error stays until the next run.
    EXPECT_THAT(block.process(timeSignal({10, 20}, 2))->values, ElementsAre(11, 22));
    block.stop();
    block.errorShow();
    EXPECT_EQ(takeBoxes().size(), 1U);
    block.initSim();
    block.errorShow();
    EXPECT_THAT(takeBoxes(), IsEmpty());
    EXPECT_THAT(block.process(timeSignal({1, 2, 3}, 3))->values, ElementsAre(1, 2, 3));
}

TEST_F(TOStatistik, MoreChannelsThanMemoryHoldsAreAnErrorThatIsShownWhenAskedFor) {
    VYN_NEEDS_BOXES();
    start({"PkSumAll"});
    // One sample each of one channel more than a million.
    const Handle input = block.put(0, timeSignal(std::vector<float>(1'000'001), 1'000'001));
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_EQ(block.inputData(0), input);
    block.errorShow();
    const auto boxes = takeBoxes();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].text,
              "Fehler !\nEine Variable konnte nicht angelegt werden.\n  (Not enough memory ?)");
    EXPECT_TRUE(block.process(timeSignal({1, 2}))) << "the run goes on";
}

TEST_F(TOStatistik, ABlockWithFewerValuesThanChannelsGivesTheValuesOfTheFormulas) {
    start({"PkSumBlock", "PkAMean", "PkGMean", "PkHMean", "PkYonXMax", "PkYonXMin"});
    ChannelData data = single(1);
    data.header.channelCount = 2;
    const auto result = block.process(data);
    ASSERT_TRUE(result);
    ASSERT_EQ(result->values.size(), 12U);
    for (const std::size_t channel : {0U, 1U}) {
        EXPECT_EQ(result->values[channel], 0.0F) << "sum";
        EXPECT_EQ(result->values[2 + channel], 0.0F) << "last sample";
        EXPECT_EQ(result->values[4 + channel], 0.0F) << "first sample";
        EXPECT_TRUE(std::isnan(result->values[6 + channel])) << "arithmetic mean";
        EXPECT_EQ(result->values[8 + channel], 1.0F) << "geometric mean";
        EXPECT_EQ(result->values[10 + channel], 0.0F) << "harmonic mean";
    }
}

TEST_F(TOStatistik, ASelectionChangedInTheRunCountsFromTheNextRunOn) {
    start({"PkYMax"});
    EXPECT_EQ(block.process(timeSignal({1, 2}))->values.size(), 1U);
    block.set("PkAllOn", 1);
    EXPECT_EQ(block.process(timeSignal({1, 2}))->values.size(), 1U);
    block.set("PkAllOn", 0);
    EXPECT_EQ(block.process(timeSignal({1, 2}))->values.size(), 1U);
    block.set("PkAllOn", 1);
    block.initSim();
    EXPECT_EQ(block.process(timeSignal({1, 2}))->values.size(), 21U);
}

TEST_F(TOStatistik, AnOutputModeChangedInTheRunWaitsForFreeOutputs) {
    start({"PkYMax", "PkYMin"});
    EXPECT_TRUE(block.process(timeSignal({1, 2})));
    block.set("PkOutMode", 2);
    block.put(0, timeSignal({3, 4}));
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_THAT(block.take(0)->values, ElementsAre(4));
    // The host does not know of the second output yet; its result must not be lost.
    const Handle input = block.put(0, timeSignal({5, 6}));
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_EQ(block.inputData(0), input);
    EXPECT_THAT(block.take(1)->values, ElementsAre(3));
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_THAT(block.take(0)->values, ElementsAre(6));
    EXPECT_THAT(block.take(1)->values, ElementsAre(5));
}

TEST_F(TOStatistik, BandNumbersOfTheAxisBecomeFrequencies) {
    start({"PkXonYMax", "PkXMin"});
    ChannelData data = timeSignal({1, 5, 2}, 1, 1.0);
    data.header.xStart = 18.0;
    data.header.axisFlags = kThirdOctaveBands;
    EXPECT_THAT(block.process(data)->values, ElementsAre(1250, 1000));
    data.header.xStart = 6.0;
    data.header.axisFlags = kOctaveBands;
    EXPECT_THAT(block.process(data)->values, ElementsAre(2000, 1000));
}

TEST_F(TOStatistik, BeforeARunNothingIsTouched) {
    block.set("PkYMax", 1);
    PlacedBlock restored(host, kStatistik, block.save());
    restored.wireAll();
    const Handle input = restored.put(0, single(1));
    EXPECT_EQ(restored.simulate(), kFailed);
    EXPECT_EQ(restored.inputData(0), input);
    restored.put(0, Handle::none);
}

TEST_F(TOStatistik, ChannelsOfManyAreMeasuredAsIfAlone) {
    block.set("PkAllOn", 1);
    block.initSim();
    std::vector<float> samples(97 * 32);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<float>((i * 7919) % 1000) * 0.1F + 0.5F;
    const auto all = block.process(timeSignal(samples, 32));
    ASSERT_TRUE(all);
    for (int c = 0; c < 32; ++c) {
        PlacedBlock alone(host, kStatistik, block.save());
        alone.wireAll();
        alone.initSim();
        const auto one = alone.process(timeSignal(timeSignal(samples, 32).channel(c)));
        EXPECT_EQ(one->values, all->channel(c));
    }
}

}  // namespace
}  // namespace vynhost::test
