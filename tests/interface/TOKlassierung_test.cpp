// The classification block through the exports.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "interface/host_fixture.h"
#include "support/record_bytes.h"

namespace vynhost::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

constexpr Int kClassified = 1;

// Settings that only the dialog or a record reaches are written by their place in the record.
enum Offset : std::size_t {
    kMode = 8,
    kNumber = 12,
    kBegin = 16,
    kEnd = 24,
    kWidth = 32,
    kRange = 40,
    kResetMode = 48,
    kResetBlocks = 52,
    kCalculation = 56,
    kMethod = 58,
    kReferenceLine = 64,
    kHysteresis = 72,
    kSpare = 80,
};
constexpr std::size_t kRecordLength = 96;

ChannelData oneChannel(std::vector<float> samples, double step = 1.0) {
    return timeSignal(std::move(samples), 1, step);
}

class TOKlassierung : public BlockTest<kKlassierung> {
protected:
    // Another block with four classes from 0 to 4 and the given method.
    void useFourClasses(int method, bool relative = false) {
        block.set("PkNumber", 4);
        block.set("PkBegin", 0.0);
        block.set("PkEnd", 4.0);
        block.set("PkCalcMode", relative ? 1 : 2);
        std::string record = block.save();
        put<std::int16_t>(record, kMethod, static_cast<std::int16_t>(method));
        restore(record);
        start();
    }
    void start() {
        block.wireAll();
        block.initSim();
    }

    std::vector<float> classesOf(std::vector<float> samples, int channels = 1) {
        const auto result = block.process(timeSignal(std::move(samples), channels, 1.0));
        EXPECT_TRUE(result);
        return result ? result->values : std::vector<float>{};
    }
};

TEST_F(TOKlassierung, HasATriggerInputWhenATriggerResets) {
    EXPECT_EQ(block.connectors(), "E,;A,");
    block.set("PkReset", 2);
    EXPECT_EQ(block.connectors(), "E,T,;A,");
    block.set("PkReset", 3);
    EXPECT_EQ(block.connectors(), "E,;A,");
}

TEST_F(TOKlassierung, ListsTwelveKeywordsInOrder) {
    EXPECT_THAT(
        block.keywords(),
        ElementsAre(
            KeywordRow{"PkMode", ValueType::integer}, KeywordRow{"PkNumber", ValueType::integer},
            KeywordRow{"PkBegin", ValueType::real}, KeywordRow{"PkEnd", ValueType::real},
            KeywordRow{"PkWidth", ValueType::real}, KeywordRow{"PkRange", ValueType::real},
            KeywordRow{"PkReset", ValueType::integer}, KeywordRow{"PkNBlocks", ValueType::integer},
            KeywordRow{"PkCalcMode", ValueType::integer}, KeywordRow{"PkRefline", ValueType::real},
            KeywordRow{"PkHyst", ValueType::real}, KeywordRow{"PkMethod", ValueType::integer}));
}

TEST_F(TOKlassierung, HasItsDefaults) {
    EXPECT_EQ(block.getInteger("PkMode"), 1);
    EXPECT_EQ(block.getInteger("PkNumber"), 20);
    EXPECT_EQ(block.getReal("PkBegin"), -10.0);
    EXPECT_EQ(block.getReal("PkEnd"), 10.0);
    EXPECT_EQ(block.getReal("PkWidth"), 1.0);
    EXPECT_EQ(block.getReal("PkRange"), 20.0);
    EXPECT_EQ(block.getInteger("PkReset"), 1);
    EXPECT_EQ(block.getInteger("PkNBlocks"), 1);
    EXPECT_EQ(block.getInteger("PkCalcMode"), 1);
    EXPECT_EQ(block.getReal("PkRefline"), 0.0);
    EXPECT_EQ(block.getReal("PkHyst"), 0.0);
    EXPECT_EQ(block.getInteger("PkMethod"), 1);
}

TEST_F(TOKlassierung, NumberedChoicesTakeOnlyTheirNumbers) {
    struct Row {
        const char* keyword;
        std::size_t offset;
        int base;
        int last;
    };
    for (const Row& row :
         {Row{"PkMode", kMode, 9, 2}, Row{"PkReset", kResetMode, 1012, 3},
          Row{"PkCalcMode", kCalculation, 1015, 2}, Row{"PkMethod", kMethod, 92, 3}}) {
        for (int value = 1; value <= row.last; ++value) {
            block.set(row.keyword, value);
            EXPECT_EQ(block.getInteger(row.keyword), value) << row.keyword;
            EXPECT_EQ(at<std::int16_t>(block.save(), row.offset), row.base + value);
        }
        for (const int value : {0, row.last + 1, -1, std::numeric_limits<int>::max(),
                                std::numeric_limits<int>::min()}) {
            block.set(row.keyword, value);
            EXPECT_EQ(block.getInteger(row.keyword), row.last) << row.keyword << " " << value;
        }
    }
}

TEST_F(TOKlassierung, ThePeakMethodsReadBackButAreNotSetByKeyword) {
    for (const int method : {96, 97, 98}) {
        useFourClasses(method);
        EXPECT_EQ(block.getInteger("PkMethod"), method - 92);
    }
    block.set("PkMethod", 4);
    EXPECT_EQ(block.getInteger("PkMethod"), 6);
}

TEST_F(TOKlassierung, NumberBeginAndEndRecomputeWidthAndRange) {
    block.set("PkNumber", 8);
    EXPECT_EQ(block.getReal("PkWidth"), 2.5);
    EXPECT_EQ(block.getReal("PkRange"), 20.0);
    block.set("PkBegin", -6.0);
    EXPECT_EQ(block.getReal("PkWidth"), 2.0);
    EXPECT_EQ(block.getReal("PkRange"), 16.0);
    block.set("PkEnd", 2.0);
    EXPECT_EQ(block.getReal("PkWidth"), 1.0);
    EXPECT_EQ(block.getReal("PkRange"), 8.0);
    for (const int ignored : {0, -3}) {
        block.set("PkNumber", ignored);
        EXPECT_EQ(block.getInteger("PkNumber"), 8);
    }
}

TEST_F(TOKlassierung, TheModeRecomputesWidthAndRangeToo) {
    block.set("PkRange", 10.0);
    block.set("PkEnd", 10.0);
    std::string record = block.save();
    put(record, kWidth, 99.0);
    put(record, kRange, 77.0);
    restore(record);
    EXPECT_EQ(block.getReal("PkRange"), 77.0);
    block.set("PkMode", 2);
    EXPECT_EQ(block.getReal("PkWidth"), 1.0);
    EXPECT_EQ(block.getReal("PkRange"), 20.0);
}

TEST_F(TOKlassierung, TheWidthMovesNumberEndAndRange) {
    block.set("PkWidth", 3.0);
    EXPECT_EQ(block.getInteger("PkNumber"), 7);
    EXPECT_EQ(block.getReal("PkEnd"), 11.0);
    EXPECT_EQ(block.getReal("PkRange"), 21.0);
    const std::string before = block.save();
    for (const double ignored : {0.0, -1.0, std::nan(""), 1e-300}) {
        block.set("PkWidth", ignored);
        EXPECT_EQ(block.save(), before) << ignored;
    }
}

TEST_F(TOKlassierung, TheWidthGivesAnyNumberOf32BitsAndNoOther) {
    constexpr double kMost = std::numeric_limits<std::int32_t>::max();
    block.set("PkBegin", 0.0);
    block.set("PkEnd", kMost);
    block.set("PkWidth", 1.0);
    EXPECT_EQ(block.getInteger("PkNumber"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(block.getReal("PkEnd"), kMost);
    block.set("PkEnd", kMost + 1);
    std::string before = block.save();
    block.set("PkWidth", 1.0);
    EXPECT_EQ(block.save(), before) << "one class more than the number holds";
    // Kept: limits in the wrong order give a negative number; the run refuses it.
    block.set("PkEnd", -kMost);
    block.set("PkWidth", 1.0);
    EXPECT_EQ(block.getInteger("PkNumber"), -std::numeric_limits<std::int32_t>::max());
    block.set("PkEnd", -kMost - 1);
    before = block.save();
    block.set("PkWidth", 1.0);
    EXPECT_EQ(block.save(), before);
}

TEST_F(TOKlassierung, TheRangeMovesWidthAndEnd) {
    block.set("PkRange", 40.0);
    EXPECT_EQ(block.getReal("PkWidth"), 2.0);
    EXPECT_EQ(block.getReal("PkBegin"), -10.0);
    EXPECT_EQ(block.getReal("PkEnd"), 30.0);
    EXPECT_EQ(block.getInteger("PkNumber"), 20);
    for (const double ignored : {0.0, -1.0, std::nan("")}) {
        block.set("PkRange", ignored);
        EXPECT_EQ(block.getReal("PkRange"), 40.0);
    }
}

TEST_F(TOKlassierung, TheBlockCountTakesPositiveNumbers) {
    block.set("PkNBlocks", 5);
    for (const int ignored : {0, -1}) {
        block.set("PkNBlocks", ignored);
        EXPECT_EQ(block.getInteger("PkNBlocks"), 5);
    }
}

// --- the record

TEST_F(TOKlassierung, SavesAPaddedRecordOf88Bytes) {
    block.set("PkMode", 2);
    block.set("PkNumber", 40);
    block.set("PkBegin", -2.0);
    block.set("PkEnd", 6.0);
    block.set("PkReset", 3);
    block.set("PkNBlocks", 7);
    block.set("PkCalcMode", 2);
    block.set("PkMethod", 3);
    block.set("PkRefline", 0.25);
    block.set("PkHyst", 12.5);
    const std::string record = block.save();
    ASSERT_EQ(record.size(), kRecordLength);
    EXPECT_EQ(at<std::int32_t>(record, 0), 88);
    EXPECT_EQ(at<std::int32_t>(record, 4), 404);
    EXPECT_EQ(at<std::int16_t>(record, kMode), 11);
    EXPECT_EQ(at<std::int32_t>(record, kNumber), 40);
    EXPECT_EQ(at<double>(record, kBegin), -2.0);
    EXPECT_EQ(at<double>(record, kEnd), 6.0);
    EXPECT_EQ(at<double>(record, kWidth), 0.2);
    EXPECT_EQ(at<double>(record, kRange), 8.0);
    EXPECT_EQ(at<std::int16_t>(record, kResetMode), 1015);
    EXPECT_EQ(at<std::int32_t>(record, kResetBlocks), 7);
    EXPECT_EQ(at<std::int16_t>(record, kCalculation), 1017);
    EXPECT_EQ(at<std::int16_t>(record, kMethod), 95);
    EXPECT_EQ(at<double>(record, kReferenceLine), 0.25);
    EXPECT_EQ(at<double>(record, kHysteresis), 12.5);
    EXPECT_EQ(record.substr(kSpare), std::string(16, '\0'));
    PlacedBlock copy(host, kKlassierung, record);
    EXPECT_EQ(copy.save(), record);
}

// A record's fields in the packed layout of old versions.
std::string packedRecord(std::int32_t size, std::int32_t version) {
    return bytes(size, version, std::int16_t{11}, std::int32_t{4}, 0.0, 8.0, 2.0, 8.0,
                 std::int16_t{1015}, std::int32_t{3}, std::int16_t{1017});
}

TEST_F(TOKlassierung, ReadsThePackedRecordOfOldVersions) {
    for (const auto& [size, version] :
         {std::pair{46, 399}, {78, 0}, {88, 399}, {78, 400}, {78, 402}}) {
        // What follows is the next block's.
        PlacedBlock old(host, kKlassierung, packedRecord(size, version) + std::string(64, '\x7f'));
        EXPECT_EQ(old.getInteger("PkMode"), 2) << version;
        EXPECT_EQ(old.getInteger("PkNumber"), 4);
        EXPECT_EQ(old.getReal("PkEnd"), 8.0);
        EXPECT_EQ(old.getReal("PkWidth"), 2.0);
        EXPECT_EQ(old.getReal("PkRange"), 8.0);
        EXPECT_EQ(old.getInteger("PkReset"), 3);
        EXPECT_EQ(old.getInteger("PkNBlocks"), 3);
        EXPECT_EQ(old.getInteger("PkCalcMode"), 2);
        EXPECT_EQ(old.getInteger("PkMethod"), 1);
        EXPECT_EQ(old.getReal("PkRefline"), 0.0);
        EXPECT_EQ(old.getReal("PkHyst"), 0.0);
    }
}

TEST_F(TOKlassierung, RecordsOfTheVersionsBetweenCountSamplesOnly) {
    block.set("PkHyst", 5.0);
    std::string record = block.save();
    put<std::int16_t>(record, kMethod, 97);
    for (const auto& [version, method] : {std::pair{400, 1}, {402, 1}, {403, 5}, {404, 5}}) {
        put<std::int32_t>(record, 4, version);
        PlacedBlock restored(host, kKlassierung, record);
        EXPECT_EQ(restored.getInteger("PkMethod"), method) << version;
        EXPECT_EQ(restored.getReal("PkHyst"), 5.0);
    }
    // Above that, the size word means nothing.
    put<std::int32_t>(record, 0, 78);
    PlacedBlock restored(host, kKlassierung, record);
    EXPECT_EQ(restored.getInteger("PkMethod"), 5);
}

TEST_F(TOKlassierung, AShortRecordLeavesTheRestAtItsDefaults) {
    std::string record = block.save();
    put<std::int32_t>(record, kNumber, 33);
    for (std::size_t length = 0; length < record.size(); ++length) {
        PlacedBlock cut(host, kKlassierung, record.substr(0, length));
        ASSERT_TRUE(cut.created());
        EXPECT_EQ(cut.getInteger("PkNumber"), length >= 16 ? 33 : 20) << length;
        EXPECT_EQ(cut.getInteger("PkMethod"), 1);
    }
}

// --- a run

TEST_F(TOKlassierung, PutsOutOneBlockPerInputBlock) {
    useFourClasses(93, true);
    host.takeTrace();
    ChannelData signal = oneChannel({0.5F, 1.5F, 1.5F, 3.5F}, 0.25);
    signal.header.yUnit = 17;
    signal.header.xStart = 9.0;
    signal.header.axisFlags = 32;
    const auto classes = block.process(signal);
    ASSERT_TRUE(classes);
    EXPECT_THAT(classes->values, ElementsAre(25, 50, 0, 25));
    EXPECT_EQ(classes->header.valueCount, 4);
    EXPECT_EQ(classes->header.xAxisKind, 17) << "the values have become the axis";
    EXPECT_EQ(classes->header.yUnit, kUnitPercent);
    EXPECT_EQ(classes->header.xStart, 0.0);
    EXPECT_EQ(classes->header.xStep, 1.0);
    EXPECT_EQ(classes->header.displayMinimum, 0.0);
    EXPECT_EQ(classes->header.displaySpan, 100.0);
    EXPECT_EQ(classes->header.channelCount, 1);
    EXPECT_EQ(classes->header.axisFlags, 32U);
    EXPECT_THAT(host.takeTrace(), ElementsAre("1188 -> 1", "1189 -> 1", "1134 4 -> D2",
                                              "1134 4 -> D3", "1143 D1 D3", "1135 D1"));
    block.stop();
    EXPECT_THAT(host.takeTrace(), ElementsAre("1135 D2"));
}

TEST_F(TOKlassierung, ShowsAmountsUpToTheLargest) {
    useFourClasses(93, false);
    const auto classes = block.process(oneChannel({0.5F, 1.5F, 1.5F, 3.5F}));
    ASSERT_TRUE(classes);
    EXPECT_THAT(classes->values, ElementsAre(1, 2, 0, 1));
    EXPECT_EQ(classes->header.yUnit, kUnitNone);
    EXPECT_EQ(classes->header.displaySpan, 2.0);
}

TEST_F(TOKlassierung, TheStepOfTheClassesIsTheirWidthWhateverTheRangeField) {
    std::string record = block.save();
    put(record, kRange, 40.0);
    put(record, kWidth, 3.0);  // nor the width field
    restore(record);
    start();
    const auto classes = block.process(oneChannel({0.5F}));
    ASSERT_TRUE(classes);
    EXPECT_EQ(classes->header.xStep, 1.0);
    EXPECT_EQ(classes->at(5, 0), 100.0F) << "10.5 / 40 * 20";
}

TEST_F(TOKlassierung, GoesOnCountingUntilTheRunEnds) {
    useFourClasses(93);
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
    EXPECT_THAT(classesOf({0.5F, 2.5F}), ElementsAre(2, 0, 1, 0));
    block.stop();
    block.initSim();
    EXPECT_THAT(classesOf({1.5F}), ElementsAre(0, 1, 0, 0));
}

TEST_F(TOKlassierung, KeepsTheResultsInADataBlockOfTheHosts) {
    useFourClasses(93);
    classesOf({0.5F, 2.5F});
    const auto handles = host.memory().dataHandles();
    ASSERT_EQ(handles.size(), 1U) << "all others have been taken or released";
    const ChannelData results = host.memory().read(handles[0]);
    EXPECT_EQ(results.header.valueCount, 4);
    EXPECT_EQ(results.header.xAxisKind, 0);
    EXPECT_THAT(results.values, ElementsAre(1, 0, 1, 0));
    block.stop();
    EXPECT_EQ(host.memory().aliveData(), 0U);
}

TEST_F(TOKlassierung, RunsEveryMethod) {
    const std::vector<float> load = {1.25F, 3.5F, 0.5F, 2.75F, 1.5F, 3.25F, 0.75F};
    struct Row {
        int method;
        double line;
        std::vector<float> classes;
    };
    for (const Row& row : {Row{93, 0, {2, 2, 1, 2}}, Row{95, 0, {0, 1, 3, 2}},
                           // the extreme of the way down has replaced the one before
                           Row{96, 1, {1, 0, 0, 1}},
                           // maxima at 3.5, 2.75 and 3.25; of the minima only 0.5 lies below
                           Row{97, 1, {1, 0, 1, 2}}}) {
        block.set("PkRefline", row.line);
        useFourClasses(row.method);
        EXPECT_EQ(classesOf(load), row.classes) << row.method;
    }
}

TEST_F(TOKlassierung, MeasuresDwellTimesInTheUnitOfTheXStep) {
    useFourClasses(94);
    const auto classes = block.process(oneChannel({0.5F, 0.5F, 1.5F}, 0.5));
    ASSERT_TRUE(classes);
    EXPECT_THAT(classes->values, ElementsAre(0.75F, 0.25F, 0, 0));
}

TEST_F(TOKlassierung, SeparatePeaksTakeTwoColumnsPerChannel) {
    useFourClasses(98);
    // channel 0 has a maximum at 2.5, channel 1 a minimum at 2.5
    const auto classes = block.process(timeSignal({1.5F, 3.5F, 2.5F, 2.5F, 1.25F, 3.75F}, 2, 1.0));
    ASSERT_TRUE(classes);
    EXPECT_EQ(classes->header.channelCount, 4);
    EXPECT_EQ(classes->header.valueCount, 16);
    EXPECT_THAT(classes->values, ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0));
}

TEST_F(TOKlassierung, AnUnknownMethodCountsNothing) {
    useFourClasses(0);
    EXPECT_THAT(classesOf({0.5F, 1.5F}), Each(0.0F));
}

TEST_F(TOKlassierung, ResetsAfterTheGivenNumberOfBlocks) {
    block.set("PkReset", 3);
    block.set("PkNBlocks", 3);
    useFourClasses(93);
    for (int round = 0; round < 3; ++round) {
        EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
        EXPECT_THAT(classesOf({0.5F}), ElementsAre(2, 0, 0, 0));
        EXPECT_THAT(classesOf({0.5F}), ElementsAre(3, 0, 0, 0));
    }
}

TEST_F(TOKlassierung, ANewRunCountsItsBlocksFromTheFirst) {
    block.set("PkReset", 3);
    block.set("PkNBlocks", 3);
    useFourClasses(93);
    classesOf({0.5F});
    classesOf({0.5F});
    block.stop();
    block.initSim();
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(2, 0, 0, 0));
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(3, 0, 0, 0));
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
}

TEST_F(TOKlassierung, ACountThatIsPassedAlreadyDoesNotReset) {
    block.set("PkReset", 3);
    block.set("PkNBlocks", 9);
    useFourClasses(93);
    classesOf({0.5F});
    classesOf({0.5F});
    block.set("PkNBlocks", 1);  // the third block does not equal it
    classesOf({0.5F});
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(4, 0, 0, 0));
}

TEST_F(TOKlassierung, AHighTriggerResetsAfterTheBlockIsDelivered) {
    block.set("PkReset", 2);
    useFourClasses(93);
    const auto classes = [&](std::vector<float> trigger) {
        block.put(1, timeSignal(std::move(trigger)));
        return classesOf({0.5F});
    };
    const float threshold = 2.4F;
    EXPECT_THAT(classes({0, 0}), ElementsAre(1, 0, 0, 0));
    EXPECT_THAT(classes({threshold}), ElementsAre(2, 0, 0, 0));
    EXPECT_THAT(classes({0, 2.41F, 0}), ElementsAre(3, 0, 0, 0));
    EXPECT_FALSE(block.waits(1));
    EXPECT_THAT(classes({std::nextafter(threshold, 3.0F)}), ElementsAre(1, 0, 0, 0));
    EXPECT_THAT(classes({0}), ElementsAre(1, 0, 0, 0));
}

TEST_F(TOKlassierung, ATriggerRestartsTheCountOfBlocks) {
    // The trigger belongs to the second reset mode, the count to the third; the mode may change.
    block.set("PkReset", 2);
    block.set("PkNBlocks", 2);
    useFourClasses(93);
    block.put(1, oneChannel({5.0F}));
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
    block.set("PkReset", 3);
    block.wireAll();
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(2, 0, 0, 0));
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
}

TEST_F(TOKlassierung, TakesTheTriggerWithoutASignal) {
    block.set("PkReset", 2);
    useFourClasses(93);
    block.wireInput(0, -1);
    block.put(1, oneChannel({5.0F}));
    EXPECT_EQ(block.simulate(), kClassified);
    EXPECT_FALSE(block.waits(1));
    EXPECT_FALSE(block.delivered(0));
}

TEST_F(TOKlassierung, DoesNothingWithoutItsOutput) {
    useFourClasses(93);
    block.wireOutput(0, -1);
    block.put(0, oneChannel({0.5F}));
    EXPECT_EQ(block.simulate(), kClassified);
    EXPECT_TRUE(block.waits(0));
}

TEST_F(TOKlassierung, AnotherNumberOfChannelsFailsAndReleasesTheBlock) {
    useFourClasses(93);
    classesOf({0.5F});
    block.put(0, timeSignal({0.5F, 0.5F}, 2));
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_FALSE(block.waits(0));
    EXPECT_FALSE(block.delivered(0));
    EXPECT_TRUE(takeBoxes().empty());
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(2, 0, 0, 0)) << "the run goes on";
}

TEST_F(TOKlassierung, TheNumberOfClassesAndTheMethodStayThoseOfTheRun) {
    useFourClasses(93);
    classesOf({0.5F});
    block.set("PkMethod", 2);
    block.set("PkNumber", 200);
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(2, 0, 0, 0));
    block.stop();
    block.initSim();
    EXPECT_EQ(classesOf({0.5F, 0.5F}).size(), 200U);
}

TEST_F(TOKlassierung, LimitsThatChangeInARunCountFromTheNextBlockOn) {
    useFourClasses(93);
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
    block.set("PkBegin", 10.0);
    block.set("PkEnd", 18.0);
    const auto classes = block.process(oneChannel({0.5F, 13.0F, 17.0F}));
    ASSERT_TRUE(classes);
    EXPECT_THAT(classes->values, ElementsAre(1, 1, 0, 1)) << "what was counted stays in its class";
    EXPECT_EQ(classes->header.xStart, 10.0);
    EXPECT_EQ(classes->header.xStep, 2.0);
    // A width makes another number, which waits; end and range count: classes of 16 / 4.
    block.set("PkWidth", 8.0);
    block.set("PkRange", 16.0);
    const auto wider = block.process(oneChannel({11.0F, 25.0F}));
    ASSERT_TRUE(wider);
    EXPECT_THAT(wider->values, ElementsAre(2, 1, 0, 2));
    EXPECT_EQ(wider->header.xStep, 4.0);
}

TEST_F(TOKlassierung, DwellTimesFollowLimitsThatChangeInARun) {
    useFourClasses(94);
    EXPECT_THAT(classesOf({0.5F, 0.5F}), ElementsAre(1, 0, 0, 0));
    block.set("PkBegin", 0.0);
    block.set("PkEnd", 8.0);
    // From 0.5 to 3.5: half of the way in [0, 2], half in [2, 4].
    EXPECT_THAT(classesOf({3.5F}), ElementsAre(1.5F, 0.5F, 0, 0));
}

TEST_F(TOKlassierung, CrossingsFollowLimitsThatChangeAndKeepTheirArms) {
    useFourClasses(95);
    // Upwards over 1: class 1 is disarmed until the signal has gone back by the hysteresis.
    block.set("PkHyst", 50.0);
    EXPECT_THAT(classesOf({0.75F, 1.25F}), ElementsAre(0, 1, 0, 0));
    // The same limit with another hysteresis: still disarmed at 0.75 (armed at 0.9), then counted.
    block.set("PkHyst", 40.0);
    EXPECT_THAT(classesOf({0.75F, 1.25F}), ElementsAre(0, 1, 0, 0));
    block.set("PkHyst", 10.0);
    EXPECT_THAT(classesOf({0.75F, 1.25F}), ElementsAre(0, 2, 0, 0));
    // Limits 10 to 14.
    block.set("PkEnd", 14.0);
    block.set("PkBegin", 10.0);
    EXPECT_THAT(classesOf({11.5F}), ElementsAre(1, 2, 0, 0)) << "class 1 is disarmed, class 0 not";
}

TEST_F(TOKlassierung, PeaksFollowReferenceLineAndHysteresisThatChange) {
    useFourClasses(97);
    EXPECT_THAT(classesOf({0.5F, 2.5F, 0.5F}), ElementsAre(0, 0, 1, 0));
    block.set("PkRefline", 3.0);
    // The maximum at 2.5 lies below the line now; minima below it count.
    EXPECT_THAT(classesOf({2.5F, 0.25F, 2.5F}), ElementsAre(2, 0, 1, 0));
    block.set("PkHyst", 1000.0);
    EXPECT_THAT(classesOf({1.5F, 2.5F, 1.5F}), ElementsAre(2, 0, 1, 0)) << "nothing is confirmed";
}

TEST_F(TOKlassierung, TheCalculationMayChangeInARun) {
    useFourClasses(93, true);
    const auto relative = block.process(oneChannel({0.5F, 0.5F, 1.5F, 2.5F}));
    ASSERT_TRUE(relative);
    EXPECT_THAT(relative->values, ElementsAre(50, 25, 25, 0));
    EXPECT_EQ(relative->header.yUnit, kUnitPercent);
    block.set("PkCalcMode", 2);
    const auto absolute = block.process(oneChannel({1.5F, 3.5F}));
    ASSERT_TRUE(absolute);
    // Only counts that change are written.
    EXPECT_THAT(absolute->values, ElementsAre(50, 2, 25, 1));
    EXPECT_EQ(absolute->header.yUnit, kUnitNone);
    EXPECT_EQ(absolute->header.displaySpan, 50.0);
    block.set("PkCalcMode", 1);
    EXPECT_THAT(classesOf({0.5F, 0.5F}), ElementsAre(50, 25, 12.5F, 12.5F));
}

TEST_F(TOKlassierung, SurvivesARefusingHost) {
    for (const Fault fault : {Fault::answer, Fault::unlockable}) {
        for (const int refused : {1, 2}) {
            useFourClasses(93);
            host.misbehave(
                {.message = Message::newBlock, .fault = fault, .first = refused, .times = 1});
            block.put(0, oneChannel({0.5F}));
            EXPECT_EQ(block.simulate(), kFailed);
            EXPECT_TRUE(block.waits(0));
            EXPECT_FALSE(block.delivered(0));
            host.behave();
            EXPECT_EQ(block.simulate(), kClassified);
            const auto classes = block.take(0);
            ASSERT_TRUE(classes);
            EXPECT_THAT(classes->values, ElementsAre(1, 0, 0, 0));
        }
    }
}

TEST_F(TOKlassierung, ACallWithoutASignalForgetsNoCount) {
    useFourClasses(93);
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
    block.wireInput(0, -1);
    EXPECT_EQ(block.simulate(), kClassified);
    EXPECT_FALSE(block.delivered(0));
    block.wireInput(0, 0);
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(2, 0, 0, 0));
    // The same when an output that waits keeps the block from working.
    block.put(0, oneChannel({0.5F}));
    EXPECT_EQ(block.simulate(), kClassified);
    block.put(0, oneChannel({1.5F}));
    EXPECT_EQ(block.simulate(), kClassified);
    EXPECT_TRUE(block.waits(0));
    EXPECT_THAT(block.take(0)->values, ElementsAre(3, 0, 0, 0));
    EXPECT_EQ(block.simulate(), kClassified);
    EXPECT_THAT(block.take(0)->values, ElementsAre(3, 1, 0, 0));
}

TEST_F(TOKlassierung, AnAccumulatorThatCannotBeLockedFailsAndLosesNothing) {
    useFourClasses(93);
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
    const auto handles = host.memory().dataHandles();
    ASSERT_EQ(handles.size(), 1U);
    if (!platform::setLockable(handles[0], false)) GTEST_SKIP() << "only natively";
    block.put(0, oneChannel({0.5F}));
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_TRUE(block.waits(0));
    EXPECT_FALSE(block.delivered(0));
    EXPECT_TRUE(platform::setLockable(handles[0], true));
    EXPECT_EQ(block.simulate(), kClassified);
    EXPECT_THAT(block.take(0)->values, ElementsAre(2, 0, 0, 0));
    block.stop();
}

TEST_F(TOKlassierung, RefusesHeadsThatDescribeNoSignal) {
    useFourClasses(93);
    for (const auto& [values, channels] : {std::pair{-1, 1}, {4, 0}, {4, -1}}) {
        ChannelData broken = oneChannel({1, 2, 3, 4});
        broken.header.valueCount = values;
        broken.header.channelCount = channels;
        block.put(0, broken);
        EXPECT_EQ(block.simulate(), kFailed);
        EXPECT_TRUE(block.waits(0));
    }
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
}

TEST_F(TOKlassierung, NumbersOfClassesThatNoBlockCanHoldAreRefused) {
    std::string record = block.save();
    for (const std::int32_t number : {0, -5, std::numeric_limits<std::int32_t>::max()}) {
        put(record, kNumber, number);
        restore(record);
        start();
        block.put(0, timeSignal({1.0F, 2.0F}, 2, 1.0));
        EXPECT_EQ(block.simulate(), kFailed) << number;
        EXPECT_TRUE(block.waits(0));
        EXPECT_FALSE(block.delivered(0));
        block.stop();
    }
}

TEST_F(TOKlassierung, AsManyClassesAsTheDialogTakesRunWhereMemoryIsThere) {
    constexpr std::int32_t kMost = 9'999'999;
    for (const int method : {93, 95}) {
        std::string record = block.save();
        put(record, kNumber, kMost);
        put(record, kBegin, 0.0);
        put(record, kEnd, static_cast<double>(kMost));
        put(record, kRange, static_cast<double>(kMost));
        put<std::int16_t>(record, kCalculation, 1017);
        put<std::int16_t>(record, kMethod, static_cast<std::int16_t>(method));
        restore(record);
        start();
        const ChannelData signal = timeSignal({0.5F, 1.5F, 9999998.0F, 2.5F}, 2, 1.0);
        host.misbehave({.message = Message::newBlock, .value = 0, .first = 2, .times = 1});
        block.put(0, signal);
        EXPECT_EQ(block.simulate(), kFailed) << "no memory for the output";
        EXPECT_TRUE(block.waits(0)) << "nothing is lost";
        host.behave();
        EXPECT_EQ(block.simulate(), kClassified);
        const auto classes = block.take(0);
        ASSERT_TRUE(classes) << method;
        EXPECT_EQ(classes->header.valueCount, 2 * kMost);
        if (method == 93) {
            EXPECT_EQ(classes->at(0, 0), 1.0F);
            EXPECT_EQ(classes->at(9999998, 0), 1.0F);
            EXPECT_EQ(classes->at(2, 1), 1.0F);
        } else {
            EXPECT_EQ(classes->at(1, 0), 1.0F);
            EXPECT_EQ(classes->at(9999998, 0), 1.0F);
            EXPECT_EQ(classes->at(2, 1), 1.0F);
        }
        block.stop();
    }
}

TEST_F(TOKlassierung, AnEmptyBlockGivesTheCountsSoFar) {
    useFourClasses(93);
    EXPECT_THAT(classesOf({}), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
    EXPECT_THAT(classesOf({}), ElementsAre(1, 0, 0, 0));
}

TEST_F(TOKlassierung, EndsCleanlyInTheMiddleOfARun) {
    useFourClasses(94);
    classesOf({0.5F, 1.5F});
    placed.emplace(host, kKlassierung);
}

TEST_F(TOKlassierung, ARunWithoutItsBeginStartsAnew) {
    useFourClasses(93);
    classesOf({0.5F});
    block.stop();
    EXPECT_THAT(classesOf({0.5F}), ElementsAre(1, 0, 0, 0));
}

TEST_F(TOKlassierung, CountsChannelsApart) {
    useFourClasses(93);
    EXPECT_THAT(classesOf({0.5F, 1.5F, 3.5F, 0.5F, 1.5F, 2.5F}, 3),
                ElementsAre(2, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 1));
}

TEST_F(TOKlassierung, NotANumberAndInfinityFallIntoNoClass) {
    for (int method = 93; method <= 98; ++method) {
        useFourClasses(method);
        const float nan = std::numeric_limits<float>::quiet_NaN();
        const float inf = std::numeric_limits<float>::infinity();
        for (const float x : classesOf({nan, inf, -inf, nan, 1e30F, -1e30F, nan}))
            EXPECT_TRUE(std::isfinite(x)) << method;
    }
}

// Random block sizes, resets, runs and methods; nothing may be left behind or go wrong.
TEST_F(TOKlassierung, SoaksInRandomBlocks) {
    std::mt19937 random(2026);
    const auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    std::normal_distribution<float> noise(0.0F, 4.0F);
    for (int method = 93; method <= 98; ++method) {
        const int channels = pick(1, 9);
        block.set("PkReset", 2);
        useFourClasses(method, method % 2 == 0);
        std::vector<float> load(static_cast<std::size_t>(channels) * 4096);
        for (float& x : load)
            x = noise(random);
        for (int blocks = 0; blocks < 60; ++blocks) {
            const int samples = pick(0, blocks % 7 == 0 ? 4096 : 600);
            const std::vector<float> part(load.begin(), load.begin() + samples * channels);
            block.put(1, oneChannel({pick(0, 9) == 0 ? 5.0F : 0.0F}));
            for (const float x : classesOf(part, channels))
                ASSERT_TRUE(x >= 0.0F);
            if (pick(0, 20) == 0) {
                block.stop();
                block.initSim();
            }
        }
        block.stop();
    }
}

}  // namespace
}  // namespace vynhost::test
