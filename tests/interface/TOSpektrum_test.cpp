// The spectrum block through the exports.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "interface/host_fixture.h"
#include "support/record_bytes.h"
#include "support/signals.h"

namespace vynhost::test {
namespace {

using signals::cosine;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::FloatNear;

class TOSpektrum : public BlockTest<kSpektrum> {
protected:
    // One data block of a fresh run through the block, first output.
    ChannelData spectrumOf(const ChannelData& signal) {
        block.wireAll();
        block.initSim();
        auto spectrum = block.process(signal);
        EXPECT_TRUE(spectrum);
        if (block.delivered(1)) second = *block.take(1);
        block.stop();
        return spectrum.value_or(ChannelData{});
    }

    ChannelData second;
};

TEST_F(TOSpektrum, NamesItsConnectorsByItsParameters) {
    EXPECT_EQ(block.connectors(), "E,;S,");
    block.set("PkPhase", 1);
    EXPECT_EQ(block.connectors(), "E,;S,P,");
    block.set("PkAmplType", "REALIMAGINAER");
    EXPECT_EQ(block.connectors(), "E,;R,I,");
    block.set("PkPhase", 0);
    EXPECT_EQ(block.connectors(), "E,;R,I,");
}

TEST_F(TOSpektrum, ListsFiveKeywordsInOrder) {
    const auto rows = block.keywords();
    EXPECT_THAT(rows, ElementsAre(KeywordRow{"PkAmplType", ValueType::text},
                                  KeywordRow{"PkWndFct", ValueType::text},
                                  KeywordRow{"PkWndCorrectTyp", ValueType::integer},
                                  KeywordRow{"PkWndPara", ValueType::real},
                                  KeywordRow{"PkPhase", ValueType::integer}));
}

TEST_F(TOSpektrum, HasItsDefaults) {
    EXPECT_EQ(block.getText("PkAmplType"), "PEAK");
    EXPECT_EQ(block.getText("PkWndFct"), "RECTANGLE");
    EXPECT_EQ(block.getInteger("PkWndCorrectTyp"), 1);
    EXPECT_EQ(block.getReal("PkWndPara"), 10.0);
    EXPECT_EQ(block.getInteger("PkPhase"), 0);
    EXPECT_EQ(at<std::uint16_t>(block.save(), 10), 64) << "no window, which no keyword can set";
}

TEST_F(TOSpektrum, AmplitudeTypesAreSetAndReadUnderTheirOwnNames) {
    struct Row {
        const char* set;
        const char* get;
        std::uint16_t stored;
    };
    for (const Row& row :
         {Row{"RMS", "RMS", 51}, Row{"POWERSPECTRUM", "POWERSPECTRUM", 52},
          Row{"PSD", "POWERSPECTRUMDENSITY", 53}, Row{"AUTOSPECTRUM", "AUTOSPECTRUM", 54},
          Row{"CEPSTRUM", "CEPSTRUM", 55}, Row{"REALIMAGINAER", "REALIMAGINAER", 56},
          Row{"PEAK", "PEAK", 50}, Row{"psd", "POWERSPECTRUMDENSITY", 53}, Row{"Rms", "RMS", 51},
          Row{"POWERSPECTRUMDENSITY", "PEAK", 50}, Row{"", "PEAK", 50}, Row{"RMSX", "PEAK", 50},
          Row{"RM", "PEAK", 50}}) {
        block.set("PkAmplType", "CEPSTRUM");
        block.set("PkAmplType", row.set);
        EXPECT_EQ(block.getText("PkAmplType"), row.get) << row.set;
        EXPECT_EQ(at<std::uint16_t>(block.save(), 8), row.stored) << row.set;
    }
}

TEST_F(TOSpektrum, WindowsAreSetByNameAndUnknownNamesSelectTheRectangle) {
    const std::vector<std::string> names = {
        "HANNING", "HAMMING",  "BLACKMAN", "FLATTOP", "KAISER", "COS10PERC",   "WELCH",
        "PARZEN",  "BARTLETT", "VALLEE",   "CAUCHY",  "GAUSS",  "EXPONENTIAL", "RIEMANN"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        block.set("PkWndFct", names[i]);
        EXPECT_EQ(block.getText("PkWndFct"), names[i]);
        EXPECT_EQ(at<std::uint16_t>(block.save(), 10), 66 + i);
    }
    for (const char* unknown : {"RECTANGLE", "KEINE", "", "HANN"}) {
        block.set("PkWndFct", unknown);
        EXPECT_EQ(block.getText("PkWndFct"), "RECTANGLE");
        EXPECT_EQ(at<std::uint16_t>(block.save(), 10), 65) << unknown;
    }
    block.set("pkwndfct", "hanning");
    EXPECT_EQ(block.getText("PkWndFct"), "HANNING");
}

TEST_F(TOSpektrum, TheCorrectionReadsBackOneHigherThanItIsSet) {
    for (const int value : {0, 1, 2, 7}) {
        block.set("PkWndCorrectTyp", value);
        EXPECT_EQ(block.getInteger("PkWndCorrectTyp"), value + 1);
        EXPECT_EQ(at<std::uint16_t>(block.save(), 12), 1102 + value);
    }
}

TEST_F(TOSpektrum, NumbersAreStoredUnchecked) {
    for (const double value : {-5.0, 1e300, 0.0}) {
        block.set("PkWndPara", value);
        EXPECT_EQ(block.getReal("PkWndPara"), value);
    }
    block.set("PkPhase", -123456);
    EXPECT_EQ(block.getInteger("PkPhase"), -123456);
}

TEST_F(TOSpektrum, SavesA58ByteRecordAndRestoresAllOfIt) {
    block.set("PkAmplType", "PSD");
    block.set("PkWndFct", "KAISER");
    block.set("PkWndCorrectTyp", 1);
    block.set("PkWndPara", 12.5);
    block.set("PkPhase", 1);
    std::string record = block.save();
    ASSERT_EQ(record.size(), 58U);
    EXPECT_EQ(at<std::int32_t>(record, 0), 56);
    EXPECT_EQ(at<std::int32_t>(record, 4), 404);
    EXPECT_EQ(at<std::uint16_t>(record, 8), 53);
    EXPECT_EQ(at<std::uint16_t>(record, 10), 70);
    EXPECT_EQ(at<std::uint16_t>(record, 12), 1103);
    EXPECT_EQ(at<double>(record, 14), 12.5);
    EXPECT_EQ(at<std::int32_t>(record, 22), 1);
    EXPECT_EQ(record.substr(26), std::string(32, '\0'));

    record.replace(26, 12, "ein Text\0mit", 12);
    for (const bool changeVersion : {false, true}) {
        std::string given = record;
        if (changeVersion) put(given, kRecordVersionOffset, std::int32_t{0});
        PlacedBlock restored(host, kSpektrum, given);
        EXPECT_EQ(restored.save(), record);
    }
}

TEST_F(TOSpektrum, MakesASpectrumWithItsHeader) {
    ChannelData signal = timeSignal(cosine(1024, 100, 2.0), 1, 1.0 / 48000);
    signal.header.displaySpan = 8.0;
    signal.header.xStart = 77.0;
    signal.header.hostWord = 4711;
    signal.hostBytes.fill(std::byte{9});
    const ChannelData spectrum = spectrumOf(signal);
    EXPECT_EQ(spectrum.header.valueCount, 512);
    EXPECT_EQ(spectrum.header.channelCount, 1);
    EXPECT_EQ(spectrum.header.xAxisKind, kHertz);
    EXPECT_EQ(spectrum.header.xStart, 0.0);
    EXPECT_NEAR(spectrum.header.xStep, 48000.0 / 1024, 1e-10);
    EXPECT_EQ(spectrum.header.displayMinimum, 0.0);
    EXPECT_EQ(spectrum.header.hostWord, 4711);
    EXPECT_EQ(spectrum.hostBytes, signal.hostBytes);
    EXPECT_NEAR(spectrum.values.at(100), 2.0, 2e-6);
}

TEST_F(TOSpektrum, UnitAndDisplaySpanFollowTheAmplitudeType) {
    struct Row {
        const char* type;
        std::int32_t unit;
        double span;
    };
    ChannelData signal = timeSignal(cosine(64, 4, 1.0));
    signal.header.displaySpan = 8.0;
    for (const Row& row : {Row{"PEAK", 26, 4.0}, Row{"RMS", 26, 4.0}, Row{"POWERSPECTRUM", 12, 4.0},
                           Row{"PSD", 12, 4.0}, Row{"AUTOSPECTRUM", 12, 40.0},
                           Row{"CEPSTRUM", 0, 4.0}, Row{"REALIMAGINAER", 0, 4.0}}) {
        block.set("PkAmplType", row.type);
        signal.header.yUnit = 99;
        const ChannelData spectrum = spectrumOf(signal);
        EXPECT_EQ(spectrum.header.yUnit, row.unit) << row.type;
        EXPECT_EQ(spectrum.header.displaySpan, row.span) << row.type;
        EXPECT_EQ(spectrum.header.displayMinimum, 0.0) << row.type;
    }
}

TEST_F(TOSpektrum, PhaseComesOnItsOwnOutput) {
    block.set("PkPhase", 1);
    ChannelData signal = timeSignal(cosine(64, 4, 1.0, 0.7), 1, 0.001);
    signal.header.displaySpan = 8.0;
    spectrumOf(signal);
    EXPECT_EQ(second.header.valueCount, 32);
    EXPECT_EQ(second.header.xAxisKind, kHertz);
    EXPECT_EQ(second.header.xStart, 0.0);
    EXPECT_NEAR(second.header.xStep, 1000.0 / 64, 1e-12);
    EXPECT_EQ(second.header.displayMinimum, -180.0);
    EXPECT_EQ(second.header.displaySpan, 360.0);
    EXPECT_EQ(second.header.yUnit, kUnitDegrees);
    EXPECT_NEAR(second.values.at(4), 0.7 * 180 / std::numbers::pi, 1e-4);
}

TEST_F(TOSpektrum, RealAndImaginaryPartsComeOnTwoOutputs) {
    block.set("PkAmplType", "REALIMAGINAER");
    ChannelData signal = timeSignal(cosine(64, 4, 3.0, 0.7));
    signal.header.displaySpan = 8.0;
    const ChannelData reals = spectrumOf(signal);
    EXPECT_NEAR(reals.values.at(4), 3.0 * std::cos(0.7), 3e-6);
    ASSERT_EQ(second.header.valueCount, 32);
    EXPECT_NEAR(second.values.at(4), 3.0 * std::sin(0.7), 3e-6);
    EXPECT_EQ(second.header.displayMinimum, 0.0);
    EXPECT_EQ(second.header.displaySpan, 4.0);
    EXPECT_EQ(second.header.yUnit, kUnitNone);
}

TEST_F(TOSpektrum, ACepstrumHasAQuarterOfTheValuesPerChannel) {
    block.set("PkAmplType", "CEPSTRUM");
    const ChannelData cepstrum = spectrumOf(timeSignal(cosine(1024, 10.3, 1.0)));
    ASSERT_EQ(cepstrum.header.valueCount, 256);
    EXPECT_GT(cepstrum.values.at(128), 0.0F);
    EXPECT_EQ(cepstrum.values.at(129), 0.0F);
}

TEST_F(TOSpektrum, TheDensityIsDividedByTheFrequencyStepInSinglePrecision) {
    const ChannelData signal = timeSignal(cosine(100, 7, 1.0), 1, 1.0 / 3000);
    block.set("PkAmplType", "POWERSPECTRUM");
    const ChannelData power = spectrumOf(signal);
    block.set("PkAmplType", "PSD");
    const ChannelData density = spectrumOf(signal);
    ASSERT_EQ(power.values.size(), density.values.size());
    for (std::size_t k = 0; k < power.values.size(); ++k) {
        EXPECT_EQ(density.values[k], power.values[k] / static_cast<float>(density.header.xStep));
    }
}

TEST_F(TOSpektrum, EnergyAndAmplitudeCorrectionOfAHanningWindow) {
    const ChannelData signal = timeSignal(cosine(1024, 100, 2.0));
    block.set("PkWndFct", "HANNING");
    const float plain = spectrumOf(signal).values.at(100);
    EXPECT_NEAR(plain, 1.0, 1e-6);
    block.set("PkWndCorrectTyp", 1);
    EXPECT_NEAR(spectrumOf(signal).values.at(100), plain / std::sqrt(0.375), 2e-6);
    block.set("PkWndCorrectTyp", 2);
    EXPECT_NEAR(spectrumOf(signal).values.at(100), plain / 0.5, 2e-6);
    block.set("PkWndCorrectTyp", 3);
    EXPECT_THAT(spectrumOf(signal).values, Each(0.0F)) << "any other number zeroes the spectrum";
}

TEST_F(TOSpektrum, ARestoredWindowOutsideTheTableWeightsNothing) {
    const ChannelData signal = timeSignal(cosine(64, 4, 1.0));
    for (const int window : {0, 63, 80, 65535}) {
        std::string record = block.save();
        put(record, 10, static_cast<std::uint16_t>(window));
        PlacedBlock restored(host, kSpektrum, record);
        restored.wireAll();
        restored.initSim();
        const auto spectrum = restored.process(signal);
        ASSERT_TRUE(spectrum);
        EXPECT_NEAR(spectrum->values.at(4), 1.0, 1e-6) << window;
        restored.stop();
    }
}

TEST_F(TOSpektrum, AZoomFftIsNamedButComputesNothing) {
    std::string record = block.save();
    put(record, 8, std::uint16_t{57});
    PlacedBlock restored(host, kSpektrum, record);
    restored.wireAll();
    EXPECT_EQ(restored.getText("PkAmplType"), "PEAK");
    EXPECT_EQ(restored.connectors(), "E,;S,");
    restored.initSim();
    ChannelData signal = timeSignal(cosine(64, 4, 1.0));
    signal.header.yUnit = 33;
    signal.header.displaySpan = 8.0;
    const auto spectrum = restored.process(signal);
    ASSERT_TRUE(spectrum);
    EXPECT_THAT(spectrum->values, Each(0.0F));
    EXPECT_EQ(spectrum->header.yUnit, 33);
    EXPECT_EQ(spectrum->header.displaySpan, 8.0);
}

TEST_F(TOSpektrum, SpeaksToTheHostInTheOrderOfItsSteps) {
    block.set("PkPhase", 1);
    block.wireAll();
    block.initSim();
    block.put(0, timeSignal(cosine(128, 4, 1.0), 2));
    const std::string input = host.memory().name(block.inputData(0));
    host.takeTrace();
    EXPECT_EQ(block.simulate(), 0);
    const std::string amplitudes = host.memory().name(block.outputData(0));
    const std::string phases = host.memory().name(block.outputData(1));
    // Ready? wired? then output, header, second output, header, release.
    EXPECT_THAT(
        host.takeTrace(),
        ElementsAre("1188 -> 1", "1189 -> 2", "1188 -> 1", "1189 -> 2", "1134 64 -> " + amplitudes,
                    "1143 " + input + " " + amplitudes, "1134 64 -> " + phases,
                    "1143 " + input + " " + phases, "1135 " + input));
    EXPECT_FALSE(block.waits(0));
    block.take(0);
    block.take(1);
}

TEST_F(TOSpektrum, SaysAllOfItsHeaderWhateverTheHostCopied) {
    block.set("PkPhase", 1);
    ChannelData signal = timeSignal(cosine(128, 4, 1.0), 2, 0.5);
    signal.header.displaySpan = 8.0;
    host.misbehave({.message = Message::copyHeader, .fault = Fault::garbage});
    const ChannelData spectrum = spectrumOf(signal);
    EXPECT_EQ(spectrum.header.displaySpan, 4.0);
    EXPECT_EQ(spectrum.header.yUnit, kUnitAmplitude);
    EXPECT_EQ(second.header.displaySpan, 360.0);
    EXPECT_EQ(second.header.yUnit, kUnitDegrees);
    for (const ChannelData* output : {&spectrum, &std::as_const(second)}) {
        EXPECT_EQ(output->header.valueCount, 64);
        EXPECT_EQ(output->header.channelCount, 2);
        EXPECT_EQ(output->header.xAxisKind, kHertz);
        EXPECT_EQ(output->header.xStart, 0.0);
        EXPECT_EQ(output->header.xStep, 1.0 / 32);
        EXPECT_EQ(output->header.displayMinimum, output == &spectrum ? 0.0 : -180.0);
    }
}

TEST_F(TOSpektrum, TheInputStandsInTheRecordUntilTheHostHasReleasedIt) {
    block.initSim();
    const Handle input = block.put(0, timeSignal(cosine(64, 4, 1.0)));
    Handle atRelease = Handle::none;
    host.misbehave({.message = Message::releaseBlock, .fault = Fault::run, .before = [&] {
                        atRelease = block.inputData(0);
                    }});
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_EQ(atRelease, input);
    EXPECT_FALSE(block.waits(0));
    block.take(0);
}

TEST_F(TOSpektrum, ConsumesNothingUntilItIsReady) {
    block.initSim();
    EXPECT_EQ(block.simulate(), kNothingReady) << "no data";
    block.put(0, timeSignal(cosine(64, 4, 1.0)));
    EXPECT_EQ(block.simulate(), 0);
    block.put(0, timeSignal(cosine(64, 4, 1.0)));
    EXPECT_EQ(block.simulate(), kNothingReady) << "the last result has not been taken";
    EXPECT_TRUE(block.waits(0));
    block.take(0);
    EXPECT_EQ(block.simulate(), 0);
    block.take(0);
    block.wireOutput(0, -1);
    block.put(0, timeSignal(cosine(64, 4, 1.0)));
    EXPECT_EQ(block.simulate(), kNotWired) << "the output";
    EXPECT_TRUE(block.waits(0));
}

TEST_F(TOSpektrum, MakesTheSecondOutputAlsoWhereTheHostCountsOnlyOne) {
    block.set("PkPhase", 1);
    block.wireInput(0, 0);
    block.wireOutput(0, 0);
    block.wireOutput(1, -1);
    block.setCounts(1, 1);
    block.initSim();
    block.put(0, timeSignal(cosine(64, 4, 1.0)));
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_TRUE(block.take(0));
    EXPECT_TRUE(block.take(1));
}

TEST_F(TOSpektrum, LosesNothingWhenTheHostRefusesEitherOutput) {
    block.set("PkPhase", 1);
    block.wireAll();
    block.initSim();
    for (const int refused : {1, 2}) {
        block.put(0, timeSignal(cosine(64, 4, 1.0)));
        host.misbehave({.message = Message::newBlock, .value = 0, .first = refused, .times = 1});
        EXPECT_EQ(block.simulate(), kNothingConsumed);
        EXPECT_TRUE(block.waits(0));
        EXPECT_FALSE(block.delivered(0));
        EXPECT_FALSE(block.delivered(1));
        host.behave();
        EXPECT_EQ(block.simulate(), 0);
        EXPECT_TRUE(block.take(0));
        EXPECT_TRUE(block.take(1));
    }
}

TEST_F(TOSpektrum, FollowsAChangeOfTheBlockLengthDuringARun) {
    block.initSim();
    for (const int n : {64, 64, 1000, 63, 64}) {
        const auto spectrum = block.process(timeSignal(cosine(n, 4, 1.0)));
        ASSERT_TRUE(spectrum);
        ASSERT_EQ(spectrum->values.size(), static_cast<std::size_t>(n / 2));
        // The scale is the integer half of the length, also for odd lengths.
        EXPECT_NEAR(spectrum->values.at(4), n / 2.0 / (n / 2), 1e-6) << n;
    }
}

TEST_F(TOSpektrum, ASecondRunGivesTheSameBits) {
    block.set("PkWndFct", "GAUSS");
    block.set("PkAmplType", "CEPSTRUM");
    const ChannelData signal = timeSignal(cosine(500, 4.4, 1.0));
    const auto first = spectrumOf(signal).values;
    EXPECT_EQ(spectrumOf(signal).values, first);
    // Without an InitSim in between, the buffers that Stoppen freed are made again.
    EXPECT_EQ(block.process(signal)->values, first);
    block.stop();
}

TEST_F(TOSpektrum, KeywordsTakeEffectWithTheNextDataBlock) {
    block.initSim();
    const ChannelData signal = timeSignal(cosine(64, 4, 1.0));
    EXPECT_NEAR(block.process(signal)->values.at(4), 1.0, 1e-6);
    block.set("PkWndFct", "HANNING");
    EXPECT_NEAR(block.process(signal)->values.at(4), 0.5, 1e-6);
    block.set("PkAmplType", "POWERSPECTRUM");
    EXPECT_NEAR(block.process(signal)->values.at(4), 0.125, 1e-6);
}

TEST_F(TOSpektrum, ChannelsDoNotMix) {
    std::vector<std::vector<float>> channels;
    for (int c = 0; c < 32; ++c)
        channels.push_back(cosine(128, c + 1, c + 1));
    const ChannelData spectrum = spectrumOf(timeSignal(channels));
    ASSERT_EQ(spectrum.channels(), 32);
    for (int c = 0; c < 32; ++c) {
        for (int k = 0; k < 64; ++k) {
            EXPECT_NEAR(spectrum.at(k, c), k == c + 1 ? c + 1 : 0, 2e-6 * (c + 1)) << c << " " << k;
        }
    }
}

TEST_F(TOSpektrum, ARemainderOfTheValueCountIsDropped) {
    ChannelData signal = timeSignal(std::vector<float>(3 * 64 + 2, 1.0F), 3);
    const ChannelData spectrum = spectrumOf(signal);
    EXPECT_EQ(spectrum.header.valueCount, 3 * 32);
    EXPECT_THAT(spectrum.channel(2).at(0), FloatNear(2.0F, 1e-5F));
}

TEST_F(TOSpektrum, AnEmptyBlockGivesAnEmptySpectrum) {
    block.initSim();
    block.put(0, timeSignal(std::vector<float>{}, 1));
    EXPECT_EQ(block.simulate(), 0);
    const auto spectrum = block.take(0);
    ASSERT_TRUE(spectrum);
    EXPECT_EQ(spectrum->header.valueCount, 0);
}

TEST_F(TOSpektrum, ShowsNoErrorOfItsOwn) {
    EXPECT_EQ(block.errorShow(), 0);
    EXPECT_THAT(takeBoxes(), testing::IsEmpty());
}

}  // namespace
}  // namespace vynhost::test
