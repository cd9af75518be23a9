// The third-octave and octave analysis through the exports.
#include <algorithm>
#include <cstdint>
#include <cstring>
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
using ::testing::FloatNear;
using ::testing::IsEmpty;

ChannelData spectrum(std::vector<float> lines, double first, double step, std::int32_t unit,
                     int channels = 1, std::int32_t axis = kHertz) {
    ChannelData data = timeSignal(std::move(lines), channels, step);
    data.header.xStart = first;
    data.header.xAxisKind = axis;
    data.header.yUnit = unit;
    return data;
}

class TOTerz_Oktave : public BlockTest<kTerzOktave> {
protected:
    ChannelData bandsOf(const ChannelData& lines) {
        block.initSim();
        auto bands = block.process(lines);
        EXPECT_TRUE(bands);
        block.stop();
        return bands.value_or(ChannelData{});
    }
};

TEST_F(TOTerz_Oktave, HasOneInputAndOneOutput) { EXPECT_EQ(block.connectors(), "E,;A,"); }

TEST_F(TOTerz_Oktave, ListsTwoIntegerKeywords) {
    EXPECT_THAT(block.keywords(), ElementsAre(KeywordRow{"PkAnalysis", ValueType::integer},
                                              KeywordRow{"PkAScaling", ValueType::integer}));
}

TEST_F(TOTerz_Oktave, TheAnalysisTakesOneAndTwoOnly) {
    EXPECT_EQ(block.getInteger("PkAnalysis"), 1);
    block.set("PkAnalysis", 2);
    EXPECT_EQ(block.getInteger("pkanalysis"), 2);
    for (const int ignored : {0, 3, -1, 20, 65537}) {
        block.set("PkAnalysis", ignored);
        EXPECT_EQ(block.getInteger("PkAnalysis"), 2) << ignored;
    }
    block.set("PkAnalysis", 1);
    EXPECT_EQ(block.getInteger("PkAnalysis"), 1);
}

TEST_F(TOTerz_Oktave, TheWeightingFlagIsStoredAsSixteenBits) {
    EXPECT_EQ(block.getInteger("PkAScaling"), 0);
    for (const auto& [set, get] : {std::pair{1, 1}, {-1, -1}, {40000, -25536}, {65536, 0}}) {
        block.set("PkAScaling", set);
        EXPECT_EQ(block.getInteger("PkAScaling"), get) << set;
    }
}

TEST_F(TOTerz_Oktave, SavesFortyFourBytes) {
    block.set("PkAnalysis", 2);
    block.set("PkAScaling", 1);
    const std::string record = block.save();
    ASSERT_EQ(record.size(), 44U);
    EXPECT_EQ(at<std::int32_t>(record, 0), 36);
    EXPECT_EQ(at<std::int32_t>(record, 4), 404);
    EXPECT_EQ(at<std::int16_t>(record, 8), 21);
    EXPECT_EQ(at<std::int16_t>(record, 10), 1);
    EXPECT_EQ(record.substr(12), std::string(32, '\0'));
}

TEST_F(TOTerz_Oktave, RestoresWhatWasSavedWhateverTheVersion) {
    block.set("PkAnalysis", 2);
    block.set("PkAScaling", 7);
    std::string record = block.save();
    record.replace(12, 8, "reserved");
    put<std::int32_t>(record, 4, 0);
    PlacedBlock restored(host, kTerzOktave, record);
    EXPECT_EQ(restored.getInteger("PkAnalysis"), 2);
    EXPECT_EQ(restored.getInteger("PkAScaling"), 7);
    EXPECT_EQ(restored.save().substr(8), record.substr(8));
}

TEST_F(TOTerz_Oktave, ARecordOfAnotherSizeIsLeftAfterItsSizeWord) {
    block.set("PkAnalysis", 2);
    std::string record = block.save();
    put<std::int32_t>(record, 0, 35);
    platform::ParameterFile file(record);
    const Int handle =
        host.call(host.exports().RestoreParameters, 1, kTerzOktave, 0, file.handle());
    EXPECT_GT(handle, 0);
    EXPECT_EQ(file.position(), 4U);
    host.call(host.exports().DestroyBlock, 1, kTerzOktave, handle, 0);
    EXPECT_EQ(PlacedBlock(host, kTerzOktave, record).getInteger("PkAnalysis"), 1);
}

TEST_F(TOTerz_Oktave, OtherInputsThanSpectraAreRefusedWithAMessageEachTime) {
    VYN_NEEDS_BOXES();
    block.initSim();
    for (const int axis : {1, 2, 0, 5}) {
        ChannelData data = spectrum({1, 2, 3}, 0.0, 1.0, kUnitPower);
        data.header.xAxisKind = axis;
        const Handle input = block.put(0, data);
        EXPECT_EQ(block.simulate(), kFailed);
        EXPECT_EQ(block.inputData(0), input) << "not released";
        EXPECT_FALSE(block.delivered(0));
        const auto boxes = takeBoxes();
        ASSERT_EQ(boxes.size(), 1U);
        EXPECT_EQ(boxes[0].caption, "Fehler");
        EXPECT_TRUE(boxes[0].exclamation.value_or(true));
        EXPECT_EQ(boxes[0].text,
                  "Terz-/ Oktavanalyse nur für Daten im Frequenzbereich (Einheit: Hz, kHz)");
    }
    EXPECT_EQ(block.errorShow(), 0);
    EXPECT_THAT(takeBoxes(), IsEmpty()) << "nothing is deferred";
    EXPECT_TRUE(block.process(spectrum({1, 2, 3}, 0.0, 1.0, kUnitPower)));
    block.stop();
}

TEST_F(TOTerz_Oktave, AsksForAWorkBlockThenTheOutputAndReleasesTheWorkBlockFirst) {
    block.initSim();
    const std::string input = host.memory().name(
        block.put(0, spectrum(std::vector<float>(200, 1.0F), 0.0, 10.0, kUnitPower, 2)));
    host.takeTrace();
    EXPECT_EQ(block.simulate(), 1);
    const std::string output = host.memory().name(block.outputData(0));
    auto trace = host.takeTrace();
    std::erase_if(trace, [](const std::string& line) { return line.starts_with("118"); });
    ASSERT_EQ(trace.size(), 5U);
    ASSERT_TRUE(trace[0].starts_with("1134 200 -> "));
    const std::string work = trace[0].substr(12);
    // 0 to 990 Hz reach band 18.
    EXPECT_EQ(trace[1], "1134 38 -> " + output);
    EXPECT_EQ(trace[2], "1143 " + input + " " + output);
    EXPECT_EQ(trace[3], "1135 " + work);
    EXPECT_EQ(trace[4], "1135 " + input);
    block.take(0);
    block.stop();
}

TEST_F(TOTerz_Oktave, TheWorkBlockHoldsAtLeastAllBandsOfEveryChannel) {
    block.initSim();
    host.takeTrace();
    block.process(spectrum({1, 2, 3, 4}, 0.0, 10.0, kUnitPower, 2));
    const auto trace = host.takeTrace();
    const auto asked =
        std::ranges::find_if(trace, [](const auto& line) { return line.starts_with("1134"); });
    ASSERT_NE(asked, trace.end());
    EXPECT_TRUE(asked->starts_with("1134 66 -> "));
    block.stop();
}

TEST_F(TOTerz_Oktave, DescribesItsOutputAsBandNumbers) {
    ChannelData lines = spectrum(std::vector<float>(202, 1.0F), 0.0, 10.0, kUnitPower, 2);
    lines.header.axisFlags = 0x104;
    lines.header.displaySpan = 12.5;
    lines.header.hostWord = 99;
    const ChannelData bands = bandsOf(lines);
    EXPECT_EQ(bands.header.valueCount, 38);
    EXPECT_EQ(bands.values.size(), 38U);
    EXPECT_EQ(bands.header.channelCount, 2);
    EXPECT_EQ(bands.header.xStart, 0.0);
    EXPECT_EQ(bands.header.xStep, 1.0);
    EXPECT_EQ(bands.header.xAxisKind, kHertz) << "as the input's";
    EXPECT_EQ(bands.header.yUnit, kUnitPower);
    EXPECT_EQ(bands.header.displaySpan, 12.5);
    EXPECT_EQ(bands.header.hostWord, 99);
    EXPECT_EQ(bands.header.axisFlags, 0x104U | kThirdOctaveBands)
        << "the input's flags and one more";
    block.set("PkAnalysis", 2);
    EXPECT_EQ(bandsOf(lines).header.axisFlags, 0x104U | kOctaveBands)
        << "the input's flags and one more";
}

TEST_F(TOTerz_Oktave, AFirstFrequencyAboveTheFirstBandStillCountsFromBandZero) {
    const ChannelData bands = bandsOf(spectrum({2, 3}, 1000.0, 250.0, kUnitPower));
    ASSERT_EQ(bands.values.size(), 20U);
    EXPECT_EQ(bands.values[18], 2.0F);
    EXPECT_EQ(bands.values[19], 3.0F);
    EXPECT_EQ(std::count(bands.values.begin(), bands.values.end(), 0.0F), 18);
    EXPECT_EQ(bands.header.xStart, 0.0);
}

TEST_F(TOTerz_Oktave, KilohertzAreRescaled) {
    std::vector<float> lines(400);
    for (std::size_t i = 0; i < lines.size(); ++i)
        lines[i] = static_cast<float>(i % 17);
    const auto inHertz = bandsOf(spectrum(lines, 125.0, 31.25, kUnitPower));
    const auto inKilohertz = bandsOf(spectrum(lines, 0.125, 0.03125, kUnitPower, 1, kKilohertz));
    EXPECT_EQ(inKilohertz.values, inHertz.values);
    EXPECT_EQ(inKilohertz.header.xAxisKind, kKilohertz);
}

TEST_F(TOTerz_Oktave, SumsByTheUnitOfTheLines) {
    const std::vector<float> lines = {60, 60, 60, 60};
    EXPECT_FLOAT_EQ(bandsOf(spectrum(lines, 950.0, 10.0, kUnitDecibel)).values.back(), 66.020600F);
    EXPECT_EQ(bandsOf(spectrum(lines, 950.0, 10.0, kUnitAmplitude)).values.back(), 120.0F);
    EXPECT_EQ(bandsOf(spectrum(lines, 950.0, 10.0, kUnitPower)).values.back(), 240.0F);
    EXPECT_EQ(bandsOf(spectrum(lines, 950.0, 10.0, 11)).values.back(), 240.0F);
}

TEST_F(TOTerz_Oktave, AnyTypeButThirdOctavesIsOctaves) {
    std::string record = block.save();
    for (const std::int16_t type : {std::int16_t{21}, std::int16_t{0}, std::int16_t{-1}}) {
        put(record, 8, type);
        PlacedBlock octaves(host, kTerzOktave, record);
        octaves.wireAll();
        octaves.initSim();
        const auto bands = octaves.process(spectrum({1.0F}, 1000.0, 1.0, kUnitPower));
        ASSERT_TRUE(bands);
        EXPECT_EQ(bands->values.size(), 7U);
        EXPECT_EQ(bands->header.axisFlags & (kThirdOctaveBands | kOctaveBands), kOctaveBands);
    }
}

TEST_F(TOTerz_Oktave, AWeightingLowersTheBands) {
    block.set("PkAScaling", 1);
    const auto bands = bandsOf(spectrum({80, 80}, 100.0, 900.0, kUnitDecibel));
    EXPECT_THAT(bands.values[8], FloatNear(60.9F, 1e-5F));
    EXPECT_THAT(bands.values[18], FloatNear(80.0F, 1e-5F));
    block.set("PkAScaling", -1);
    EXPECT_EQ(bandsOf(spectrum({80, 80}, 100.0, 900.0, kUnitDecibel)).values, bands.values)
        << "any number but 0";
}

TEST_F(TOTerz_Oktave, TheWorkBlockGoesBackWithTheHeadOfTheBands) {
    block.initSim();
    const Handle input = block.put(0, spectrum({1, 2, 3, 4}, 1000.0, 1.0, kUnitPower, 2));
    ChannelData work;
    host.misbehave(
        {.message = Message::releaseBlock, .fault = Fault::run, .times = 1, .before = [&] {
             for (const Handle handle : host.memory().dataHandles()) {
                 if (handle != input && handle != block.outputData(0))
                     work = host.memory().read(handle);
             }
         }});
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_EQ(work.header.valueCount, 38);
    EXPECT_EQ(work.header.xStart, 0.0);
    const auto bands = block.take(0);
    ASSERT_TRUE(bands);
    EXPECT_EQ(work.values, bands->values);
    block.stop();
}

TEST_F(TOTerz_Oktave, AResultThatTheHostDidNotCountIsNotOverwritten) {
    block.initSim();
    EXPECT_TRUE(block.process(spectrum({1, 2}, 1000.0, 1.0, kUnitPower)));
    block.put(0, spectrum({3, 4}, 1000.0, 1.0, kUnitPower));
    EXPECT_EQ(block.simulate(), 1);
    const Handle result = block.outputData(0);
    const Handle input = block.put(0, spectrum({5, 6}, 1000.0, 1.0, kUnitPower));
    block.setCounts(1, 0);
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_EQ(block.outputData(0), result);
    EXPECT_EQ(block.inputData(0), input);
    EXPECT_EQ(block.take(0)->values.back(), 7.0F);
    block.stop();
}

TEST_F(TOTerz_Oktave, AChangeOfTheTypeInTheRunChangesTheFlagAtOnceAndTheBandsInTheNextRun) {
    const ChannelData lines = spectrum({1.0F}, 1000.0, 1.0, kUnitPower);
    block.initSim();
    block.set("PkAnalysis", 2);
    auto bands = block.process(lines);
    ASSERT_TRUE(bands);
    EXPECT_EQ(bands->values.size(), 19U);
    EXPECT_EQ(bands->header.axisFlags & (kThirdOctaveBands | kOctaveBands), kOctaveBands);
    block.stop();
    EXPECT_EQ(bandsOf(lines).values.size(), 7U);
    block.initSim();
    block.set("PkAnalysis", 1);
    bands = block.process(lines);
    ASSERT_TRUE(bands);
    EXPECT_EQ(bands->values.size(), 7U);
    EXPECT_EQ(bands->header.axisFlags & (kThirdOctaveBands | kOctaveBands), kThirdOctaveBands);
    block.stop();
}

TEST_F(TOTerz_Oktave, ANewAxisIsNoticedInTheRun) {
    block.initSim();
    for (const auto& [first, step, band] :
         {std::tuple{1000.0, 1.0, 18U}, {2000.0, 1.0, 21U}, {100.0, 5.0, 8U}}) {
        const auto bands = block.process(spectrum({1, 1}, first, step, kUnitPower));
        ASSERT_TRUE(bands);
        EXPECT_EQ(bands->values.size(), band + 1);
        EXPECT_EQ(bands->values.back(), 2.0F);
    }
    const auto channels = block.process(spectrum({1, 2, 3, 4}, 100.0, 5.0, kUnitPower, 2));
    ASSERT_TRUE(channels);
    EXPECT_THAT(std::vector<float>(channels->values.end() - 2, channels->values.end()),
                ElementsAre(4, 6));
    block.stop();
}

TEST_F(TOTerz_Oktave, ASpectrumBelowTheBandsGivesOneValuePerChannel) {
    const auto bands = bandsOf(spectrum({1, 2, 3, 4, 5, 6}, 0.0, 1.0, kUnitDecibel, 3));
    EXPECT_EQ(bands.header.valueCount, 3);
    EXPECT_THAT(bands.values, ElementsAre(0, 0, 0));
}

TEST_F(TOTerz_Oktave, WithoutARunNothingIsTouched) {
    const Handle input = block.put(0, spectrum({1, 2}, 0.0, 1.0, kUnitPower));
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_EQ(block.inputData(0), input);
    block.initSim();
    block.stop();
    block.stop();
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_EQ(block.inputData(0), input);
}

TEST_F(TOTerz_Oktave, NoChannelsFailAndLoseNothing) {
    block.initSim();
    for (const int channels : {0, -1}) {
        ChannelData lines = spectrum({1, 2}, 0.0, 1.0, kUnitPower);
        lines.header.channelCount = channels;
        const Handle input = block.put(0, lines);
        EXPECT_EQ(block.simulate(), kFailed);
        EXPECT_EQ(block.inputData(0), input);
    }
    block.stop();
}

TEST_F(TOTerz_Oktave, ChannelsOfManyAreAnalysedAsIfAlone) {
    std::vector<float> lines(300 * 32);
    for (std::size_t i = 0; i < lines.size(); ++i)
        lines[i] = static_cast<float>((i * 7919) % 1000) * 0.1F;
    const auto all = bandsOf(spectrum(lines, 0.0, 40.0, kUnitDecibel, 32));
    for (int c = 0; c < 32; ++c) {
        std::vector<float> one;
        for (auto i = static_cast<std::size_t>(c); i < lines.size(); i += 32)
            one.push_back(lines[i]);
        EXPECT_EQ(bandsOf(spectrum(one, 0.0, 40.0, kUnitDecibel)).values, all.channel(c)) << c;
    }
}

}  // namespace
}  // namespace vynhost::test
