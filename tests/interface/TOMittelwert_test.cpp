// The averaging block through the exports.
#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
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

enum Mode { kReduce = 1, kSmooth = 2, kBlocks = 3 };
enum ResetMode { kNever = 1, kTrigger = 2, kCount = 3 };

// One sample of one channel.

std::vector<float> counting(int from, int to) {
    std::vector<float> samples(static_cast<std::size_t>(to - from + 1));
    std::iota(samples.begin(), samples.end(), static_cast<float>(from));
    return samples;
}

class TOMittelwert : public BlockTest<kMittelwert> {
protected:
    void start(Mode mode) {
        block.set("PkMode", mode);
        block.wireAll();
        block.initSim();
    }
    std::vector<float> valuesOf(const ChannelData& data) {
        const auto result = block.process(data);
        EXPECT_TRUE(result);
        return result ? result->values : std::vector<float>{};
    }
    std::string textOfFailure(const ChannelData& data) {
        const Handle input = block.put(0, data);
        EXPECT_EQ(block.simulate(), kFailed);
        EXPECT_EQ(block.inputData(0), input) << "the input waits on";
        EXPECT_FALSE(block.delivered(0));
        const auto boxes = takeBoxes();
        EXPECT_EQ(boxes.size(), 1U);
        if (boxes.empty()) return {};
        EXPECT_EQ(boxes[0].caption, "Fehler");
        EXPECT_TRUE(boxes[0].exclamation.value_or(true));
        return boxes[0].text;
    }
};

TEST_F(TOMittelwert, ListsSevenKeywords) {
    EXPECT_THAT(block.keywords(), ElementsAre(KeywordRow{"PkMode", ValueType::integer},
                                              KeywordRow{"PkReduceVal", ValueType::integer},
                                              KeywordRow{"PkSmoothNVal", ValueType::integer},
                                              KeywordRow{"PkWFactor", ValueType::real},
                                              KeywordRow{"PkResetMode", ValueType::integer},
                                              KeywordRow{"PkResNBlocks", ValueType::integer},
                                              KeywordRow{"PkOutMode", ValueType::integer}));
}

TEST_F(TOMittelwert, HasItsDefaults) {
    EXPECT_EQ(block.getInteger("PkMode"), 1);
    EXPECT_EQ(block.getInteger("PkReduceVal"), 10);
    EXPECT_EQ(block.getInteger("PkSmoothNVal"), 7);
    EXPECT_EQ(block.getReal("PkWFactor"), 1.0);
    EXPECT_EQ(block.getInteger("PkResetMode"), 1);
    EXPECT_EQ(block.getInteger("PkResNBlocks"), 1);
    EXPECT_EQ(block.getInteger("PkOutMode"), 1);
}

TEST_F(TOMittelwert, ModesTakeOneToThreeOnly) {
    for (const char* keyword : {"PkMode", "PkResetMode"}) {
        for (const int mode : {2, 3, 1}) {
            block.set(keyword, mode);
            EXPECT_EQ(block.getInteger(keyword), mode);
        }
        for (const int ignored : {0, 4, -1, 1054}) {
            block.set(keyword, ignored);
            EXPECT_EQ(block.getInteger(keyword), 1) << keyword << ignored;
        }
    }
}

TEST_F(TOMittelwert, WidthsAreStoredAsSixteenBitsWithoutASign) {
    for (const char* keyword : {"PkReduceVal", "PkSmoothNVal"}) {
        for (const auto& [set, get] : {std::pair{0, 0}, {65535, 65535}, {-1, 65535}, {65541, 5}}) {
            block.set(keyword, set);
            EXPECT_EQ(block.getInteger(keyword), get) << keyword << set;
        }
    }
}

TEST_F(TOMittelwert, TheWeightingFactorStaysBetweenZeroAndOne) {
    block.set("PkWFactor", 0.25);
    for (const double ignored : {1.5, -0.1, std::numeric_limits<double>::quiet_NaN(), 1e300}) {
        block.set("PkWFactor", ignored);
        EXPECT_EQ(block.getReal("PkWFactor"), 0.25);
    }
    for (const double edge : {0.0, 1.0}) {
        block.set("PkWFactor", edge);
        EXPECT_EQ(block.getReal("PkWFactor"), edge);
    }
}

TEST_F(TOMittelwert, TheResetCountTakesAnythingButZero) {
    block.set("PkResNBlocks", 7);
    block.set("PkResNBlocks", 0);
    EXPECT_EQ(block.getInteger("PkResNBlocks"), 7);
    block.set("PkResNBlocks", -1);
    EXPECT_EQ(block.getInteger("PkResNBlocks"), -1);
    block.set("PkOutMode", 5);
    EXPECT_EQ(block.getInteger("PkOutMode"), 5);
}

TEST_F(TOMittelwert, OnlyTheTriggerResetHasASecondInput) {
    EXPECT_EQ(block.connectors(), "E,;A,");
    block.set("PkResetMode", kTrigger);
    EXPECT_EQ(block.connectors(), "E,T,;A,");
    block.set("PkResetMode", kCount);
    EXPECT_EQ(block.connectors(), "E,;A,");
}

TEST_F(TOMittelwert, SavesSixtyTwoBytesUnderTheSizeWord64) {
    block.set("PkMode", 3);
    block.set("PkReduceVal", 11);
    block.set("PkSmoothNVal", 12);
    block.set("PkWFactor", 0.5);
    block.set("PkResetMode", 3);
    block.set("PkResNBlocks", 13);
    block.set("PkOutMode", 0);
    const std::string record = block.save();
    ASSERT_EQ(record.size(), 62U);
    EXPECT_EQ(at<std::int32_t>(record, 0), 64);
    EXPECT_EQ(at<std::int32_t>(record, 4), 404);
    EXPECT_EQ(at<std::int16_t>(record, 8), 1056);
    EXPECT_EQ(at<std::uint16_t>(record, 10), 11);
    EXPECT_EQ(at<std::uint16_t>(record, 12), 12);
    EXPECT_EQ(at<double>(record, 14), 0.5);
    EXPECT_EQ(at<std::int16_t>(record, 22), 1061);
    EXPECT_EQ(at<std::int32_t>(record, 24), 13);
    EXPECT_EQ(at<std::int16_t>(record, 28), 0);
    EXPECT_EQ(record.substr(30), std::string(32, '\0'));
}

TEST_F(TOMittelwert, RestoresWithoutLookingAtTheHead) {
    std::string record = block.save();
    for (std::size_t i = 30; i < record.size(); ++i)
        record[i] = static_cast<char>(i);
    put<std::int32_t>(record, 0, 1);
    put<std::int32_t>(record, 4, 2);
    put<std::int16_t>(record, 8, 1055);
    put<std::uint16_t>(record, 12, 3);
    PlacedBlock restored(host, kMittelwert, record);
    EXPECT_EQ(restored.getInteger("PkMode"), 2);
    EXPECT_EQ(restored.getInteger("PkSmoothNVal"), 3);
    EXPECT_EQ(restored.save().substr(8), record.substr(8));
}

// --- Reduction -------------------------------------------------------------------------------

TEST_F(TOMittelwert, ReductionStretchesTheStepAndSpansBlocks) {
    block.set("PkReduceVal", 4);
    start(kReduce);
    ChannelData data = timeSignal(counting(1, 10), 1, 0.5);
    data.header.xStart = 3.0;
    const auto first = block.process(data);
    ASSERT_TRUE(first);
    EXPECT_THAT(first->values, ElementsAre(2.5F, 6.5F));
    EXPECT_EQ(first->header.valueCount, 2);
    EXPECT_EQ(first->header.xStep, 2.0);
    EXPECT_EQ(first->header.xStart, 3.0);
    EXPECT_THAT(valuesOf(timeSignal(counting(11, 20))), ElementsAre(10.5F, 14.5F, 18.5F));
    EXPECT_THAT(valuesOf(timeSignal(counting(21, 30))), ElementsAre(15.5F, 24.5F, 28.5F));
    block.stop();
    block.initSim();
    EXPECT_THAT(valuesOf(timeSignal(counting(1, 10))), ElementsAre(2.5F, 6.5F));
}

TEST_F(TOMittelwert, ReductionComparesItsWidthWithAllValues) {
    VYN_NEEDS_BOXES();
    const std::string text =
        "Mittelung: Die Intervallbreite muß kleiner oder gleich der Datenblocklänge sein!";
    block.set("PkReduceVal", 7);
    start(kReduce);
    EXPECT_EQ(textOfFailure(timeSignal(counting(1, 6), 2)), text);
    EXPECT_EQ(textOfFailure(timeSignal(counting(1, 6), 2)), text) << "for every block again";
    // 8 values in 2 channels: a width of 7 is let through, no group ends, one value is surplus.
    EXPECT_THAT(valuesOf(timeSignal(counting(1, 8), 2)), ElementsAre(0));
    EXPECT_THAT(valuesOf(timeSignal(counting(9, 16), 2)), ElementsAre(7, 8));
    block.set("PkReduceVal", 0);
    EXPECT_EQ(textOfFailure(timeSignal(counting(1, 8), 2)), text);
    block.errorShow();
    EXPECT_THAT(takeBoxes(), IsEmpty());
}

TEST_F(TOMittelwert, ReductionByTheWholeBlockGivesOneSample) {
    block.set("PkReduceVal", 4);
    start(kReduce);
    const auto result = block.process(timeSignal({1, 2, 3, 6}, 1, 1.0));
    ASSERT_TRUE(result);
    EXPECT_THAT(result->values, ElementsAre(3));
    EXPECT_EQ(result->header.xStep, 4.0);
}

TEST_F(TOMittelwert, WidthsChangedBetweenTwoBlocksStayInsideTheMemory) {
    // The blocks of memory end at unreadable pages.
    std::uint32_t random = 1;
    const auto next = [&](std::uint32_t below) {
        random = random * 1664525U + 1013904223U;
        return static_cast<int>((random >> 8U) % below);
    };
    for (const Mode mode : {kReduce, kSmooth, kBlocks}) {
        for (const int channels : {1, 2, 3, 8}) {
            start(mode);
            for (int i = 0; i < 300; ++i) {
                const int values = next(60) + channels;
                block.set("PkReduceVal", 1 + next(static_cast<std::uint32_t>(values)));
                block.set("PkSmoothNVal", 1 + next(static_cast<std::uint32_t>(values)));
                ASSERT_TRUE(block.process(timeSignal(counting(1, values), channels)));
            }
            block.stop();
        }
    }
}

// --- Moving average --------------------------------------------------------------------------

TEST_F(TOMittelwert, SmoothingContinuesAcrossBlocks) {
    block.set("PkSmoothNVal", 3);
    start(kSmooth);
    ChannelData data = timeSignal({1, 2, 3, 4, 5}, 1, 0.5);
    data.header.xStart = 3.0;
    const auto first = block.process(data);
    ASSERT_TRUE(first);
    EXPECT_THAT(first->values, ElementsAre(1, 1.5F, 2, 3, 4));
    EXPECT_EQ(first->header.xStep, 0.5);
    EXPECT_EQ(first->header.xStart, 3.0);
    EXPECT_THAT(valuesOf(timeSignal({6, 7, 8})), ElementsAre(5, 6, 7));
    block.stop();
    block.initSim();
    EXPECT_THAT(valuesOf(timeSignal({6, 7, 8})), ElementsAre(6, 6.5F, 7));
}

TEST_F(TOMittelwert, SmoothingComparesItsWidthWithAllValues) {
    VYN_NEEDS_BOXES();
    const std::string text =
        "Mittelung: Die Glättungsbreite 2*N+1 muß kleiner oder gleich der Datenblocklänge sein!";
    block.set("PkSmoothNVal", 3);
    start(kSmooth);
    EXPECT_EQ(textOfFailure(timeSignal({1, 2})), text);
    EXPECT_THAT(valuesOf(timeSignal({1, 10, 3, 30}, 1)),
                ElementsAre(1, 5.5F, 14.0F / 3, 43.0F / 3));
    block.stop();
    block.initSim();
    // 2 samples per channel are fewer than 3, 4 values are not: the window goes on growing.
    EXPECT_THAT(valuesOf(timeSignal({1, 10, 3, 30}, 2)), ElementsAre(1, 10, 2, 20));
    EXPECT_THAT(valuesOf(timeSignal({5, 50, 7, 70}, 2)), ElementsAre(3, 30, 5, 50));
    block.set("PkSmoothNVal", 0);
    EXPECT_EQ(textOfFailure(timeSignal({1, 2}, 2)), text);
}

// --- Averages of blocks ----------------------------------------------------------------------

TEST_F(TOMittelwert, BlocksWithoutAResetGiveAResultEachTime) {
    block.set("PkWFactor", 0.5);
    start(kBlocks);
    for (int i = 0; i < 3; ++i)
        EXPECT_THAT(valuesOf(single(4)), ElementsAre(4));
    block.stop();
    block.set("PkWFactor", 1.0);
    block.initSim();
    EXPECT_THAT(valuesOf(timeSignal({1, 10}, 2)), ElementsAre(1, 10));
    EXPECT_THAT(valuesOf(timeSignal({2, 20}, 2)), ElementsAre(1.5F, 15));
    EXPECT_THAT(valuesOf(timeSignal({6, 60}, 2)), ElementsAre(3, 30));
}

TEST_F(TOMittelwert, SurplusValuesOfAveragedBlocksAreZero) {
    block.set("PkWFactor", 1.0);
    start(kBlocks);
    // 5 values in 2 channels: the fifth belongs to no whole sample.
    EXPECT_THAT(valuesOf(timeSignal({1, 10, 2, 20, 99}, 2)), ElementsAre(1, 10, 2, 20, 0));
    EXPECT_THAT(valuesOf(timeSignal({3, 30, 4, 40, 99}, 2)), ElementsAre(2, 20, 3, 30, 0));
    // What was a whole sample's before is surplus in a block of other channels' count.
    EXPECT_THAT(valuesOf(timeSignal({1, 10, 2, 20}, 2)), ElementsAre(1, 10, 2, 20));
    EXPECT_THAT(valuesOf(timeSignal({7, 70, 7}, 2)), ElementsAre(7, 70, 0));
    EXPECT_THAT(valuesOf(timeSignal({5}, 2)), ElementsAre(0));
}

TEST_F(TOMittelwert, AResetByCountPassesTheAverageOnAndStartsAnew) {
    block.set("PkResetMode", kCount);
    block.set("PkResNBlocks", 3);
    start(kBlocks);
    EXPECT_FALSE(block.process(single(1)));
    EXPECT_FALSE(block.process(single(2)));
    EXPECT_THAT(valuesOf(single(3)), ElementsAre(2));
    EXPECT_FALSE(block.process(single(4)));
    EXPECT_FALSE(block.waits(0)) << "taken without an output";
    EXPECT_FALSE(block.process(single(5)));
    EXPECT_THAT(valuesOf(single(6)), ElementsAre(5));
}

TEST_F(TOMittelwert, WithOutputModeZeroEveryBlockIsPassedOn) {
    block.set("PkResetMode", kCount);
    block.set("PkResNBlocks", 2);
    block.set("PkOutMode", 0);
    start(kBlocks);
    EXPECT_THAT(valuesOf(single(1)), ElementsAre(1));
    EXPECT_THAT(valuesOf(single(3)), ElementsAre(2));
    EXPECT_THAT(valuesOf(single(9)), ElementsAre(9)) << "after the reset";
}

TEST_F(TOMittelwert, AResetCountBelowTheBlocksSoFarIsNeverReached) {
    block.set("PkResetMode", kCount);
    block.set("PkResNBlocks", 5);
    start(kBlocks);
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(block.process(single(1)));
    block.set("PkResNBlocks", 2);
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(block.process(single(1)));
    block.set("PkResNBlocks", 7);
    EXPECT_THAT(valuesOf(single(8)), ElementsAre(2)) << "the seventh";
    block.set("PkResNBlocks", -1);
    block.set("PkOutMode", 5);  // any number but 0
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(block.process(single(1)));
    EXPECT_THAT(takeBoxes(), IsEmpty());
}

TEST_F(TOMittelwert, AHostWithoutATriggerLevelHasTheUsualOne) {
    block.set("PkResetMode", kTrigger);
    host.setTriggerThreshold(0.5F);
    host.misbehave({.message = Message::triggerThreshold});
    start(kBlocks);
    block.put(1, single(2.4F));
    EXPECT_FALSE(block.process(single(1)));
    block.put(1, single(2.5F));
    EXPECT_TRUE(block.process(single(1)));
}

TEST_F(TOMittelwert, AHighTriggerResets) {
    host.setTriggerThreshold(0.5F);
    block.set("PkResetMode", kTrigger);
    start(kBlocks);
    host.setTriggerThreshold(1e9F);  // asked for once, at the start
    const auto withTrigger = [&](float sample, std::vector<float> trigger) {
        block.put(1, timeSignal(std::move(trigger)));
        auto result = block.process(single(sample));
        EXPECT_FALSE(block.waits(0));
        EXPECT_FALSE(block.waits(1));
        return result;
    };
    EXPECT_FALSE(withTrigger(1, {0, 0.4F}));
    EXPECT_FALSE(withTrigger(2, {0.5F})) << "not above";
    const auto result = withTrigger(6, {0, 0, 0.6F});
    ASSERT_TRUE(result);
    EXPECT_THAT(result->values, ElementsAre(3));
    EXPECT_FALSE(withTrigger(7, {0}));
    EXPECT_THAT(withTrigger(9, {1})->values, ElementsAre(8)) << "since the reset";
    block.set("PkOutMode", 0);
    EXPECT_THAT(withTrigger(5, {0})->values, ElementsAre(5));
}

TEST_F(TOMittelwert, AnUnwiredTriggerNeverResets) {
    block.set("PkResetMode", kTrigger);
    start(kBlocks);
    block.wireInput(1, -1);
    for (int i = 0; i < 4; ++i)
        EXPECT_FALSE(block.process(single(1)));
}

TEST_F(TOMittelwert, TheTriggerIsReleasedBeforeTheOutputIsAskedFor) {
    block.set("PkResetMode", kTrigger);
    start(kBlocks);
    const std::string input = host.memory().name(block.put(0, timeSignal({1, 2})));
    const std::string trigger = host.memory().name(block.put(1, single(100)));
    host.takeTrace();
    EXPECT_EQ(block.simulate(), 1);
    const std::string output = host.memory().name(block.outputData(0));
    auto trace = host.takeTrace();
    std::erase_if(trace, [](const std::string& line) { return line.starts_with("118"); });
    EXPECT_THAT(trace, ElementsAre("1135 " + trigger, "1134 2 -> " + output,
                                   "1143 " + input + " " + output, "1135 " + input));
    block.take(0);
}

TEST_F(TOMittelwert, ATriggerIsNotLostWhenTheOutputIsRefused) {
    block.set("PkResetMode", kTrigger);
    start(kBlocks);
    const Handle input = block.put(0, single(4));
    block.put(1, single(100));
    host.misbehave({.message = Message::newBlock, .times = 1});
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_EQ(block.inputData(0), input);
    host.behave();
    block.wireInput(1, -1);
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_THAT(block.take(0)->values, ElementsAre(4));
    EXPECT_FALSE(block.process(single(4))) << "the trigger counts once";
}

TEST_F(TOMittelwert, AnUnknownResetModePassesNothingOn) {
    std::string record = block.save();
    put<std::int16_t>(record, 8, 1056);
    put<std::int16_t>(record, 22, 0);
    PlacedBlock odd(host, kMittelwert, record);
    odd.wireAll();
    odd.initSim();
    EXPECT_FALSE(odd.process(single(1)));
    EXPECT_FALSE(odd.waits(0));
}

TEST_F(TOMittelwert, TheXStartOfAveragedBlocksIsZeroOnSomeAxes) {
    for (const Mode mode : {kBlocks, kSmooth}) {
        start(mode);
        for (const int axis : {1, 2, 38, 40, 49, 0, 3, 4, 37, 39, 50}) {
            const bool zeroed = mode == kBlocks &&
                                (axis == 1 || axis == 2 || axis == 38 || axis == 40 || axis == 49);
            ChannelData data = timeSignal(counting(1, 8));
            data.header.xStart = 7.5;
            data.header.xAxisKind = axis;
            EXPECT_EQ(block.process(data)->header.xStart, zeroed ? 0.0 : 7.5) << axis;
        }
        block.stop();
    }
}

TEST_F(TOMittelwert, ABlockOfAnotherSizeStartsANewAverage) {
    start(kBlocks);
    EXPECT_THAT(valuesOf(timeSignal({1, 2})), ElementsAre(1, 2));
    EXPECT_THAT(valuesOf(timeSignal({3, 4})), ElementsAre(2, 3));
    EXPECT_THAT(valuesOf(timeSignal({10, 20, 30})), ElementsAre(10, 20, 30));
    EXPECT_THAT(valuesOf(timeSignal({10, 20})), ElementsAre(10, 20));
}

TEST_F(TOMittelwert, AFactorOutsideItsRangeAndAResetCountOfZeroAreRefused) {
    VYN_NEEDS_BOXES();
    std::string record = block.save();
    put<std::int16_t>(record, 8, 1056);
    for (const double factor : {1.5, -0.5, std::numeric_limits<double>::quiet_NaN()}) {
        put(record, 14, factor);
        restore(record);
        block.wireAll();
        block.initSim();
        EXPECT_EQ(textOfFailure(single(1)),
                  "Mittelung: Der Wichtungsfaktor muß im Bereich 0..1 liegen!");
    }
    put(record, 14, 2.0);
    put<std::int16_t>(record, 22, 1061);
    put<std::int32_t>(record, 24, 0);
    restore(record);
    block.wireAll();
    block.initSim();
    EXPECT_EQ(textOfFailure(single(1)),
              "Mittelung: Der Wichtungsfaktor muß im Bereich 0..1 liegen!")
        << "checked first";
    put(record, 14, 1.0);
    restore(record);
    block.wireAll();
    block.initSim();
    EXPECT_EQ(textOfFailure(single(1)),
              "Mittelung: Die Blockanzahl für Reset muß größer als Null sein!");
    block.set("PkResetMode", kNever);
    EXPECT_TRUE(block.process(single(1))) << "only that mode looks at the count";
}

// --- The shell -------------------------------------------------------------------------------

TEST_F(TOMittelwert, ANewChannelCountIsAnErrorThatIsShownWhenAskedFor) {
    VYN_NEEDS_BOXES();
    for (const Mode mode : {kReduce, kSmooth, kBlocks}) {
        start(mode);
        EXPECT_TRUE(block.process(timeSignal(counting(1, 20), 2)));
        const Handle input = block.put(0, timeSignal(counting(1, 21), 3));
        EXPECT_EQ(block.simulate(), kFailed);
        EXPECT_EQ(block.inputData(0), input);
        EXPECT_FALSE(block.delivered(0));
        EXPECT_THAT(takeBoxes(), IsEmpty());
        block.errorShow();
        const auto boxes = takeBoxes();
        ASSERT_EQ(boxes.size(), 1U);
        EXPECT_EQ(boxes[0].caption, "Fehler!");
        EXPECT_EQ(boxes[0].text,
                  "Fehler !\nDie Anzahl der eintreffenden Kanäle hat sich\nwährend der Messung "
                  "geändert.");
        EXPECT_TRUE(block.process(timeSignal(counting(1, 20), 2))) << "the run goes on";
        block.stop();
        block.initSim();
        block.errorShow();
        EXPECT_THAT(takeBoxes(), IsEmpty());
        block.stop();
    }
}

TEST_F(TOMittelwert, MoreChannelsThanMemoryHoldsAreAnErrorThatIsShownWhenAskedFor) {
    VYN_NEEDS_BOXES();
    block.set("PkReduceVal", 1);
    start(kReduce);
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

TEST_F(TOMittelwert, AResultThatIsNotTakenYetStopsTheBlock) {
    start(kBlocks);
    block.put(0, single(1));
    EXPECT_EQ(block.simulate(), 1);
    const Handle output = block.outputData(0);
    const Handle input = block.put(0, single(5));
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_EQ(block.outputData(0), output);
    EXPECT_EQ(block.inputData(0), input);
    EXPECT_THAT(block.take(0)->values, ElementsAre(1));
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_THAT(block.take(0)->values, ElementsAre(3));
}

TEST_F(TOMittelwert, AnUnwiredOutputTakesNothing) {
    start(kBlocks);
    block.wireOutput(0, -1);
    const Handle input = block.put(0, single(1));
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_EQ(block.inputData(0), input);
    EXPECT_FALSE(block.delivered(0));
}

TEST_F(TOMittelwert, AnInputThatIsNotWiredOrCannotBeLockedIsLeft) {
    start(kBlocks);
    const Handle input = block.put(0, single(1));
    block.wireInput(0, -1);
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_EQ(block.inputData(0), input);
    EXPECT_FALSE(block.delivered(0));
    block.wireInput(0, 0);
    const Handle unlockable = host.memory().allocateUnlockable(HostMemory::Kind::data);
    block.put(0, unlockable);
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_EQ(block.inputData(0), unlockable);
    EXPECT_FALSE(block.delivered(0));
    EXPECT_THAT(valuesOf(single(3)), ElementsAre(3)) << "the run goes on";
}

TEST_F(TOMittelwert, ATriggerWaitsOnWhereNothingIsReset) {
    block.set("PkResetMode", kTrigger);
    block.set("PkReduceVal", 2);
    block.set("PkSmoothNVal", 1);
    for (const Mode mode : {kReduce, kSmooth}) {
        start(mode);
        const Handle trigger = block.put(1, single(100));
        EXPECT_TRUE(block.process(timeSignal({1, 2})));
        EXPECT_EQ(block.inputData(1), trigger);
        block.stop();
    }
}

TEST_F(TOMittelwert, WithoutAStrategyNothingHappens) {
    const auto nothingHappens = [&](PlacedBlock& idle) {
        const Handle input = idle.put(0, timeSignal({1, 2}));
        EXPECT_EQ(idle.simulate(), 1);
        EXPECT_EQ(idle.inputData(0), input);
        EXPECT_FALSE(idle.delivered(0));
    };
    nothingHappens(block);  // no run yet
    block.initSim();
    block.stop();
    block.stop();
    nothingHappens(block);
    std::string record = block.save();
    put<std::int16_t>(record, 8, 1057);
    PlacedBlock odd(host, kMittelwert, record);
    odd.wireAll();
    odd.initSim();
    nothingHappens(odd);
}

TEST_F(TOMittelwert, AModeChangedInTheRunCountsFromTheNextRunOn) {
    block.set("PkReduceVal", 2);
    start(kReduce);
    EXPECT_THAT(valuesOf(timeSignal({1, 3})), ElementsAre(2));
    block.set("PkMode", kBlocks);
    EXPECT_THAT(valuesOf(timeSignal({5, 7})), ElementsAre(6));
    block.initSim();
    EXPECT_THAT(valuesOf(timeSignal({5, 7})), ElementsAre(5, 7));
}

TEST_F(TOMittelwert, ChannelsOfManyAreAveragedAsIfAlone) {
    std::vector<float> samples(103 * 32);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<float>((i * 7919) % 1000) * 0.1F;
    const ChannelData data = timeSignal(samples, 32);
    for (const Mode mode : {kSmooth, kBlocks}) {
        start(mode);
        const auto first = block.process(data);
        const auto second = block.process(data);
        block.stop();
        for (int c = 0; c < 32; ++c) {
            block.initSim();
            EXPECT_EQ(valuesOf(timeSignal(data.channel(c))), first->channel(c));
            EXPECT_EQ(valuesOf(timeSignal(data.channel(c))), second->channel(c));
            block.stop();
        }
    }
}

}  // namespace
}  // namespace vynhost::test
