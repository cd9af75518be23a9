// The dual spectrum block through the exports.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
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
using ::testing::IsEmpty;

constexpr int kE = 0;
constexpr int kA = 1;
constexpr int kT = 2;
constexpr int kLines = 32;

// What stands in line 4 tells the amplitude of both signals: their cross spectrum is its square.
ChannelData level(double amplitude) { return timeSignal(cosine(2 * kLines, 4, amplitude)); }

class TODualSpektrum : public BlockTest<kDualSpektrum> {
protected:
    void prepare() override { wire(); }

    // E, A and all outputs, without the trigger.
    void wire() {
        block.wireAll();
        block.wireInput(kT, -1);
        for (int j = 0; j < 3; ++j)
            block.wireOutput(j, j);
    }

    void simulate(const ChannelData& excitation, const ChannelData& response) {
        block.put(kE, excitation);
        block.put(kA, response);
        EXPECT_EQ(block.simulate(), 1);
    }

    // The amplitude output of one data block, if there is one; the other outputs into `others`.
    std::optional<ChannelData> spectrumOf(const ChannelData& excitation,
                                          const ChannelData& response) {
        simulate(excitation, response);
        EXPECT_FALSE(block.waits(kE));
        EXPECT_FALSE(block.waits(kA));
        auto first = block.take(0);
        phases = block.take(1);
        coherences = block.take(2);
        return first;
    }

    // Line 4 of the amplitude output for two equal signals; -1 without an output.
    float lineOf(double amplitude) {
        const auto spectrum = spectrumOf(level(amplitude), level(amplitude));
        return spectrum ? spectrum->values.at(4) : -1.0F;
    }

    void restore(const std::string& record) {
        BlockTest::restore(record);
        wire();
    }

    std::optional<ChannelData> phases;
    std::optional<ChannelData> coherences;
};

// --- Description -------------------------------------------------------------------------------

TEST_F(TODualSpektrum, NamesItsConnectorsByItsParametersAndLeavesOutOnesInPlace) {
    EXPECT_EQ(block.connectors(), "E,A,T,;A,-,-,");
    block.set("PkTransPhase", 1);
    EXPECT_EQ(block.connectors(), "E,A,T,;A,P,-,");
    block.set("PkCoherence", 1);
    EXPECT_EQ(block.connectors(), "E,A,T,;A,P,K,");
    block.set("PkTransPhase", 0);
    EXPECT_EQ(block.connectors(), "E,A,T,;A,-,K,");
    block.set("PkAmplType", "REALIMAGINAER");
    EXPECT_EQ(block.connectors(), "E,A,T,;R,I,K,");
    block.set("PkCoherence", 0);
    EXPECT_EQ(block.connectors(), "E,A,T,;R,I,-,");
}

TEST_F(TODualSpektrum, ListsItsFifteenKeywords) {
    const auto integer = ValueType::integer;
    const auto text = ValueType::text;
    const auto real = ValueType::real;
    EXPECT_THAT(block.keywords(),
                ElementsAre(KeywordRow{"PkOutChnMode", integer}, KeywordRow{"PkAmplType", text},
                            KeywordRow{"PkTransPhase", integer}, KeywordRow{"PkCoherence", integer},
                            KeywordRow{"PkTransFCTType", text},
                            KeywordRow{"PkCrossSpectr", integer}, KeywordRow{"PkAverageType", text},
                            KeywordRow{"PkAverageSource", integer}, KeywordRow{"PkWndFct", text},
                            KeywordRow{"PkWndCorrectTyp", integer}, KeywordRow{"PkWndPara", real},
                            KeywordRow{"PkResetMode", integer}, KeywordRow{"PkResetCount", integer},
                            KeywordRow{"PkDataOnReset", integer}, KeywordRow{"PkAvgFactor", real}));
}

TEST_F(TODualSpektrum, SavesItsDefaultsInA84ByteRecord) {
    const std::string record = block.save();
    ASSERT_EQ(record.size(), 84U);
    EXPECT_EQ(at<std::int32_t>(record, 0), 88);
    EXPECT_EQ(at<std::int32_t>(record, 4), 404);
    const std::vector<std::uint16_t> words = {1143, 0, 0, 1118, 90, 50, 80, 88, 64, 1102};
    for (std::size_t i = 0; i < words.size(); ++i)
        EXPECT_EQ(at<std::uint16_t>(record, 8 + 2 * i), words[i]) << i;
    EXPECT_EQ(at<double>(record, 28), 10.0);
    EXPECT_EQ(at<std::uint16_t>(record, 36), 1013);
    EXPECT_EQ(at<std::int32_t>(record, 38), 10);
    EXPECT_EQ(at<std::uint16_t>(record, 42), 0);
    EXPECT_EQ(at<double>(record, 44), 1.0);
    EXPECT_EQ(record.substr(52), std::string(32, '\0'));
}

TEST_F(TODualSpektrum, RestoresEveryFieldWhateverSizeAndVersionSay) {
    std::string record = block.save();
    for (std::size_t i = 8; i < record.size(); ++i)
        record[i] = static_cast<char>(i * 7 + 1);
    std::string given = record;
    put<std::int32_t>(given, 0, -5);
    put<std::int32_t>(given, 4, 0);
    PlacedBlock restored(host, kDualSpektrum, given);
    EXPECT_EQ(restored.save(), record);
}

TEST_F(TODualSpektrum, AShortRecordLeavesTheRestAtItsDefaults) {
    std::string record = block.save();
    put<std::uint16_t>(record, 10, 1);
    put<std::uint16_t>(record, 12, 1);
    record.resize(13);
    PlacedBlock restored(host, kDualSpektrum, record);
    EXPECT_EQ(restored.getInteger("PkTransPhase"), 1);
    EXPECT_EQ(restored.getInteger("PkCoherence"), 0);
    EXPECT_EQ(restored.getReal("PkAvgFactor"), 1.0);
}

TEST_F(TODualSpektrum, IntegersAreStoredWithTheirOffsetsInto16Bits) {
    struct Row {
        const char* keyword;
        std::size_t offset;
        std::int32_t set;
        std::uint16_t stored;
        std::int32_t get;
    };
    for (const Row& row :
         {Row{"PkOutChnMode", 8, 70000, 4464, 4464}, Row{"PkOutChnMode", 8, -1, 65535, -1},
          Row{"PkTransPhase", 10, 1, 1, 1}, Row{"PkTransPhase", 10, 65536, 0, 0},
          Row{"PkCoherence", 12, 7, 7, 7}, Row{"PkCrossSpectr", 14, 0, 1118, 1},
          Row{"PkCrossSpectr", 14, 1, 1119, 2}, Row{"PkAverageSource", 22, 1, 89, 1},
          Row{"PkAverageSource", 22, 0, 88, 0}, Row{"PkWndCorrectTyp", 26, 1, 1103, 1},
          Row{"PkWndCorrectTyp", 26, 2, 1104, 2}, Row{"PkResetMode", 36, 1, 1014, 1},
          Row{"PkResetMode", 36, 2, 1015, 2}, Row{"PkDataOnReset", 42, 1, 1, 1}}) {
        block.set(row.keyword, row.set);
        EXPECT_EQ(at<std::uint16_t>(block.save(), row.offset), row.stored) << row.keyword;
        EXPECT_EQ(block.getInteger(row.keyword), row.get) << row.keyword;
    }
    block.set("PkResetCount", -123456);
    EXPECT_EQ(at<std::int32_t>(block.save(), 38), -123456);
    EXPECT_EQ(block.getInteger("PkResetCount"), -123456);
    for (const double value : {-1.0, 1e300}) {
        block.set("PkWndPara", value);
        block.set("PkAvgFactor", value / 2);
        EXPECT_EQ(block.getReal("PkWndPara"), value);
        EXPECT_EQ(block.getReal("PkAvgFactor"), value / 2);
    }
}

TEST_F(TODualSpektrum, TextsAreSetByNameAndUnknownOnesSelectADefault) {
    struct Row {
        const char* keyword;
        std::size_t offset;
        const char* text;
        std::uint16_t stored;
    };
    for (const Row& row : {Row{"PkAmplType", 18, "RMS", 51},
                           Row{"PkAmplType", 18, "PowerSpectrum", 52},
                           Row{"PkAmplType", 18, "psd", 53},
                           Row{"PkAmplType", 18, "AUTOSPECTRUM", 54},
                           Row{"PkAmplType", 18, "CEPSTRUM", 55},
                           Row{"PkAmplType", 18, "REALIMAGINAER", 56},
                           Row{"PkAmplType", 18, "POWERSPECTRUMDENSITY", 50},
                           Row{"PkAmplType", 18, "PEAK", 50},
                           Row{"PkTransFCTType", 16, "SPECTRUM H1", 91},
                           Row{"PkTransFCTType", 16, "spectrum h2", 92},
                           Row{"PkTransFCTType", 16, "SPECTRUM H0", 90},
                           Row{"PkTransFCTType", 16, "H1", 90},
                           Row{"PkAverageType", 20, "EXPONENTIAL", 82},
                           Row{"PkAverageType", 20, "PEAKMIN", 83},
                           Row{"PkAverageType", 20, "PEAKMAX", 84},
                           Row{"PkAverageType", 20, "MINMAXAVERAGE", 85},
                           Row{"PkAverageType", 20, "PEAKMINMAX", 86},
                           Row{"PkAverageType", 20, "NO", 80},
                           Row{"PkAverageType", 20, "ARITHMETIC", 81},
                           Row{"PkAverageType", 20, "", 81},
                           Row{"PkWndFct", 24, "HANNING", 66},
                           Row{"PkWndFct", 24, "KAISER", 70},
                           Row{"PkWndFct", 24, "RIEMANN", 79},
                           Row{"PkWndFct", 24, "KEINE", 65}}) {
        block.set(row.keyword, row.text);
        EXPECT_EQ(at<std::uint16_t>(block.save(), row.offset), row.stored)
            << row.keyword << " " << row.text;
    }
}

TEST_F(TODualSpektrum, TheFourTextsReadBackAsOneByte) {
    for (const char* keyword : {"PkAmplType", "PkTransFCTType", "PkAverageType", "PkWndFct"}) {
        // A byte that is what it was before has not been written, unless by chance for one filling.
        int written = 0;
        for (const char filling : {'\x55', '\x66'}) {
            std::string bytes(24, filling);
            block.remoteControl(kGetValue, keyword, bytes);
            written += bytes[0] != filling ? 1 : 0;
            EXPECT_EQ(bytes.substr(1), std::string(23, filling)) << keyword;
        }
        EXPECT_GE(written, 1) << keyword;
    }
}

TEST_F(TODualSpektrum, NumbersWithoutANameReadTheByteOfTheirDefaultsName) {
    struct Row {
        const char* keyword;
        std::size_t offset;
        std::uint16_t named;
        std::uint16_t unnamed;
    };
    const auto byteOf = [&](std::uint16_t stored, const Row& row) {
        std::string record = block.save();
        put<std::uint16_t>(record, row.offset, stored);
        PlacedBlock restored(host, kDualSpektrum, record);
        std::string byte(1, '\0');
        restored.remoteControl(kGetValue, row.keyword, byte);
        return byte;
    };
    for (const Row& row : {Row{"PkAmplType", 18, 50, 57}, Row{"PkTransFCTType", 16, 90, 93},
                           Row{"PkAverageType", 20, 80, 87}, Row{"PkWndFct", 24, 65, 64}}) {
        EXPECT_EQ(byteOf(row.unnamed, row), byteOf(row.named, row)) << row.keyword;
    }
}

// --- Outputs -----------------------------------------------------------------------------------

TEST_F(TODualSpektrum, PutsOutTheCrossSpectrumWithItsHeader) {
    ChannelData excitation = timeSignal(cosine(1024, 100, 3.0), 1, 1.0 / 48000);
    excitation.header.displaySpan = 8.0;
    excitation.header.xStart = 77.0;
    excitation.header.yUnit = 99;
    excitation.header.hostWord = 4711;
    excitation.hostBytes.fill(std::byte{9});
    block.initSim();
    const auto spectrum = spectrumOf(excitation, timeSignal(cosine(1024, 100, 2.0), 1, 0.5));
    ASSERT_TRUE(spectrum);
    EXPECT_EQ(spectrum->header.valueCount, 512);
    EXPECT_EQ(spectrum->header.channelCount, 1);
    EXPECT_EQ(spectrum->header.xAxisKind, kHertz);
    EXPECT_EQ(spectrum->header.xStart, 0.0);
    EXPECT_NEAR(spectrum->header.xStep, 48000.0 / 1024, 1e-10) << "the step is the excitation's";
    EXPECT_EQ(spectrum->header.displayMinimum, 0.0);
    EXPECT_EQ(spectrum->header.hostWord, 4711);
    EXPECT_EQ(spectrum->hostBytes, excitation.hostBytes);
    EXPECT_NEAR(spectrum->values.at(100), 6.0, 6e-6);
    EXPECT_FALSE(phases);
    EXPECT_FALSE(coherences);
}

TEST_F(TODualSpektrum, UnitAndDisplayFollowTheAmplitudeType) {
    struct Row {
        const char* type;
        std::int32_t unit;
        double span;
    };
    ChannelData signal = level(1.0);
    signal.header.displaySpan = 8.0;
    signal.header.yUnit = 99;
    for (const Row& row : {Row{"PEAK", 26, 4.0}, Row{"RMS", 26, 4.0}, Row{"POWERSPECTRUM", 12, 4.0},
                           Row{"PSD", 12, 4.0}, Row{"AUTOSPECTRUM", 12, 40.0},
                           Row{"CEPSTRUM", 0, 4.0}, Row{"REALIMAGINAER", 99, 8.0}}) {
        block.set("PkAmplType", row.type);
        block.initSim();
        const auto spectrum = spectrumOf(signal, signal);
        ASSERT_TRUE(spectrum);
        EXPECT_EQ(spectrum->header.yUnit, row.unit) << row.type;
        EXPECT_EQ(spectrum->header.displaySpan, row.span) << row.type;
        EXPECT_EQ(spectrum->header.displayMinimum, 0.0) << row.type;
        EXPECT_EQ(spectrum->header.valueCount, kLines) << row.type;
    }
}

TEST_F(TODualSpektrum, PhaseAndCoherenceComeOnTheirOwnOutputs) {
    block.set("PkTransPhase", 1);
    block.set("PkCoherence", 1);
    block.wireAll();
    block.wireInput(kT, -1);
    block.initSim();
    ChannelData excitation = level(2.0);
    excitation.header.displaySpan = 8.0;
    excitation.header.xStart = 5.0;
    spectrumOf(excitation, timeSignal(cosine(64, 4, 1.0, -0.7)));
    ASSERT_TRUE(phases);
    EXPECT_EQ(phases->header.valueCount, kLines);
    EXPECT_EQ(phases->header.xAxisKind, kHertz);
    EXPECT_EQ(phases->header.xStart, 0.0);
    EXPECT_NEAR(phases->header.xStep, 48000.0 / 64, 1e-9);
    EXPECT_EQ(phases->header.displayMinimum, -180.0);
    EXPECT_EQ(phases->header.displaySpan, 360.0);
    EXPECT_EQ(phases->header.yUnit, kUnitDegrees);
    EXPECT_NEAR(phases->values.at(4), -0.7 * 180 / std::numbers::pi, 1e-4);
    ASSERT_TRUE(coherences);
    EXPECT_EQ(coherences->header.valueCount, kLines);
    EXPECT_EQ(coherences->header.xAxisKind, kHertz);
    EXPECT_EQ(coherences->header.xStart, 0.0);
    EXPECT_NEAR(coherences->header.xStep, 48000.0 / 64, 1e-9);
    EXPECT_EQ(coherences->header.displayMinimum, 0.0);
    EXPECT_EQ(coherences->header.displaySpan, 1.0);
    EXPECT_EQ(coherences->header.yUnit, kUnitNone);
    EXPECT_NEAR(coherences->values.at(4), 1.0, 1e-6);
}

TEST_F(TODualSpektrum, SaysAllOfItsHeadersWhateverTheHostCopied) {
    block.set("PkTransPhase", 1);
    block.set("PkCoherence", 1);
    block.initSim();
    ChannelData signal = timeSignal(cosine(128, 4, 1.0), 2, 0.5);
    signal.header.displaySpan = 8.0;
    host.misbehave({.message = Message::copyHeader, .fault = Fault::garbage});
    const auto spectrum = spectrumOf(signal, signal);
    ASSERT_TRUE(spectrum && phases && coherences);
    EXPECT_EQ(spectrum->header.displaySpan, 4.0);
    EXPECT_EQ(spectrum->header.yUnit, kUnitAmplitude);
    EXPECT_EQ(phases->header.displaySpan, 360.0);
    EXPECT_EQ(phases->header.yUnit, kUnitDegrees);
    EXPECT_EQ(coherences->header.displaySpan, 1.0);
    EXPECT_EQ(coherences->header.yUnit, kUnitNone);
    for (const auto* output : {&spectrum, &std::as_const(phases), &std::as_const(coherences)}) {
        const ChannelHeader& header = (*output)->header;
        EXPECT_EQ(header.valueCount, 64);
        EXPECT_EQ(header.channelCount, 2);
        EXPECT_EQ(header.xAxisKind, kHertz);
        EXPECT_EQ(header.xStart, 0.0);
        EXPECT_EQ(header.xStep, 1.0 / 32);
        EXPECT_EQ(header.displayMinimum, output == &phases ? -180.0 : 0.0);
    }
}

TEST_F(TODualSpektrum, ImaginaryPartsComeInDegreesWithTheDisplayOfTheInput) {
    block.set("PkAmplType", "REALIMAGINAER");
    block.initSim();
    ChannelData signal = level(2.0);
    signal.header.displayMinimum = -3.0;
    signal.header.displaySpan = 8.0;
    signal.header.yUnit = 99;
    const auto reals = spectrumOf(signal, timeSignal(cosine(64, 4, 1.0, -0.7)));
    ASSERT_TRUE(reals && phases);
    EXPECT_NEAR(reals->values.at(4), 2.0 * std::cos(0.7), 2e-6);
    EXPECT_NEAR(phases->values.at(4), 2.0 * std::sin(0.7), 2e-6);
    EXPECT_EQ(phases->header.yUnit, kUnitDegrees);
    EXPECT_EQ(phases->header.xAxisKind, kHertz);
    EXPECT_EQ(phases->header.displayMinimum, -3.0);
    EXPECT_EQ(phases->header.displaySpan, 8.0);
    EXPECT_EQ(phases->header.xStart, 0.0);
}

TEST_F(TODualSpektrum, TheDensityIsDividedByTheFrequencyStepInSinglePrecision) {
    const ChannelData signal = timeSignal(cosine(100, 7, 1.0), 1, 1.0 / 3000);
    const ChannelData response = timeSignal(cosine(100, 7, 1.0), 1, 5.0);
    block.initSim();
    block.set("PkAmplType", "POWERSPECTRUM");
    const auto power = spectrumOf(signal, response);
    block.set("PkAmplType", "PSD");
    const auto density = spectrumOf(signal, response);
    ASSERT_TRUE(power && density);
    for (std::size_t k = 0; k < 50; ++k) {
        EXPECT_EQ(density->values.at(k),
                  power->values.at(k) / static_cast<float>(density->header.xStep));
    }
}

TEST_F(TODualSpektrum, ATransferFunctionWithWindowAndCorrectionIsTheGain) {
    block.set("PkCrossSpectr", 1);
    block.set("PkWndFct", "HANNING");
    block.set("PkWndCorrectTyp", 2);
    block.initSim();
    for (const char* type : {"SPECTRUM H0", "SPECTRUM H1", "SPECTRUM H2"}) {
        block.set("PkTransFCTType", type);
        const auto spectrum = spectrumOf(level(2.0), level(3.0));
        ASSERT_TRUE(spectrum);
        EXPECT_NEAR(spectrum->values.at(4), 1.5, 1e-5) << type;
    }
    block.set("PkCrossSpectr", 0);
    const auto cross = spectrumOf(level(2.0), level(3.0));
    EXPECT_NEAR(cross->values.at(4), 6.0, 1e-5) << "corrected in both spectra";
}

TEST_F(TODualSpektrum, MakesItsOutputsAlsoWhereTheyAreNotWired) {
    block.set("PkTransPhase", 1);
    block.set("PkCoherence", 1);
    for (int j = 0; j < 3; ++j)
        block.wireOutput(j, j == 1 ? 0 : -1);
    block.initSim();
    EXPECT_TRUE(spectrumOf(level(1.0), level(1.0)));
    EXPECT_TRUE(phases);
    EXPECT_TRUE(coherences);
}

TEST_F(TODualSpektrum, ChannelsDoNotMix) {
    for (const int channels : {1, 2, 3, 8, 32}) {
        std::vector<std::vector<float>> excitation;
        std::vector<std::vector<float>> response;
        for (int c = 0; c < channels; ++c) {
            excitation.push_back(cosine(128, c + 1, 2.0));
            response.push_back(cosine(128, c + 1, c + 1));
        }
        block.initSim();
        const auto spectrum = spectrumOf(timeSignal(excitation), timeSignal(response));
        ASSERT_TRUE(spectrum);
        ASSERT_EQ(spectrum->channels(), channels);
        for (int c = 0; c < channels; ++c) {
            for (int k = 0; k < 64; ++k) {
                EXPECT_NEAR(spectrum->at(k, c), k == c + 1 ? 2.0 * (c + 1) : 0.0, 1e-4);
            }
        }
    }
}

// --- Averages and resets -------------------------------------------------------------------------

TEST_F(TODualSpektrum, AveragesArithmeticallyUntilTheCountIsReached) {
    block.set("PkAverageType", "ARITHMETIC");
    block.set("PkResetMode", 2);
    block.set("PkResetCount", 3);
    block.initSim();
    for (int round = 0; round < 2; ++round) {
        // Squares 1, 9, 25: the third block is still averaged, the fourth begins anew.
        EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5);
        EXPECT_NEAR(lineOf(3.0), 5.0, 1e-5);
        EXPECT_NEAR(lineOf(5.0), 35.0 / 3, 2e-5);
    }
}

TEST_F(TODualSpektrum, ResetCountTenAveragesBlocksOneToTen) {
    block.set("PkAverageType", "ARITHMETIC");
    block.set("PkResetMode", 2);
    block.set("PkDataOnReset", 1);
    block.initSim();
    for (int i = 1; i <= 25; ++i) {
        const float line = lineOf(i <= 10 ? 1.0 : 2.0);
        if (i % 10 != 0) {
            EXPECT_EQ(line, -1.0F) << "no output with block " << i;
        } else {
            EXPECT_NEAR(line, i == 10 ? 1.0 : 4.0, 1e-5);
        }
    }
}

TEST_F(TODualSpektrum, AResetCountOfOneNeverAveragesAndZeroNeverResets) {
    block.set("PkAverageType", "ARITHMETIC");
    block.set("PkResetMode", 2);
    block.set("PkResetCount", 1);
    block.initSim();
    for (const double amplitude : {1.0, 3.0, 5.0})
        EXPECT_NEAR(lineOf(amplitude), amplitude * amplitude, 1e-4);
    block.set("PkResetCount", 0);
    block.initSim();
    EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5);
    EXPECT_NEAR(lineOf(3.0), 5.0, 1e-5);
    EXPECT_NEAR(lineOf(5.0), 35.0 / 3, 2e-5);
}

TEST_F(TODualSpektrum, EveryAveragingTypeOverThreeBlocks) {
    struct Row {
        const char* type;
        double second;
        double third;
    };
    // Squares 25, 9, 1. The weight of the past is 1 with the first block, then (1 + 1) * 1.5 = 3
    // and (3 + 1) * 1.5 = 6.
    block.set("PkAvgFactor", 1.5);
    for (const Row& row :
         {Row{"ARITHMETIC", 17.0, 35.0 / 3}, Row{"EXPONENTIAL", 17.0, 1 + (17.0 - 1) / 3},
          Row{"PEAKMIN", 9.0, 1.0}, Row{"PEAKMAX", 25.0, 25.0},
          Row{"MINMAXAVERAGE", 21.0, (21.0 * 6 + 1) / 7}, Row{"PEAKMINMAX", 17.0, 35.0 / 3},
          Row{"NO", 9.0, 1.0}}) {
        block.set("PkAverageType", row.type);
        block.initSim();
        EXPECT_NEAR(lineOf(5.0), 25.0, 5e-5) << row.type;
        EXPECT_NEAR(lineOf(3.0), row.second, 5e-5) << row.type;
        EXPECT_NEAR(lineOf(1.0), row.third, 5e-5) << row.type;
    }
}

TEST_F(TODualSpektrum, AResetStartsTheWeightAgain) {
    block.set("PkAverageType", "MINMAXAVERAGE");
    block.set("PkResetMode", 2);
    block.set("PkResetCount", 2);
    block.initSim();
    for (int round = 0; round < 3; ++round) {
        EXPECT_NEAR(lineOf(5.0), 25.0, 5e-5);
        EXPECT_NEAR(lineOf(1.0), (25.0 * 2 + 1) / 3, 5e-5);
    }
}

TEST_F(TODualSpektrum, ATriggerAboveItsLevelResetsAfterItsBlock) {
    const float limit = 2.4F;
    struct Row {
        float value;
        bool resets;
    };
    for (const Row& row :
         {Row{limit, false}, Row{std::nextafter(limit, 3.0F), true}, Row{2.41F, true},
          Row{-5.0F, false}, Row{std::numeric_limits<float>::quiet_NaN(), false},
          Row{std::numeric_limits<float>::infinity(), true}}) {
        block.set("PkAverageType", "ARITHMETIC");
        block.set("PkResetMode", 1);
        block.wireInput(kT, 7);
        block.initSim();
        const ChannelData silence = timeSignal(std::vector<float>(4, 0.0F));
        block.put(kT, silence);
        EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5);
        EXPECT_FALSE(block.waits(kT)) << "the trigger is consumed";
        ChannelData trigger = timeSignal(std::vector<float>(6, 0.0F), 2);
        trigger.values[5] = row.value;
        block.put(kT, trigger);
        EXPECT_NEAR(lineOf(3.0), 5.0, 1e-5) << "the block of the trigger is still averaged";
        block.put(kT, silence);
        EXPECT_NEAR(lineOf(5.0), row.resets ? 25.0 : 35.0 / 3, 5e-5) << row.value;
        block.put(kT, silence);
        EXPECT_NEAR(lineOf(1.0), row.resets ? 13.0 : 9.0, 5e-5) << "reset once";
        block.stop();
    }
}

TEST_F(TODualSpektrum, ATriggersValuesAreCountedWhateverItsChannelsAre) {
    block.set("PkAverageType", "ARITHMETIC");
    block.set("PkResetMode", 1);
    for (const int channels : {0, -1, 7}) {
        block.wireInput(kT, 7);
        block.initSim();
        ChannelData trigger = timeSignal(std::vector<float>{0.0F, 0.0F, 5.0F});
        trigger.header.channelCount = channels;
        block.put(kT, trigger);
        EXPECT_NEAR(lineOf(3.0), 9.0, 1e-5);
        EXPECT_FALSE(block.waits(kT));
        block.put(kT, timeSignal(std::vector<float>(3, 0.0F)));
        EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5) << "a new average, " << channels;
    }
}

TEST_F(TODualSpektrum, ATriggerIsLeftAloneInTheOtherResetModes) {
    block.wireInput(kT, 7);
    block.set("PkAverageType", "ARITHMETIC");
    for (const int mode : {0, 2}) {
        block.set("PkResetMode", mode);
        block.initSim();
        block.put(kT, timeSignal(std::vector<float>(4, 5.0F)));
        EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5);
        EXPECT_TRUE(block.waits(kT));
        EXPECT_NEAR(lineOf(3.0), 5.0, 1e-5);
    }
}

TEST_F(TODualSpektrum, ATriggerWithoutSignalsIsConsumedAndForgotten) {
    block.set("PkAverageType", "ARITHMETIC");
    block.set("PkResetMode", 1);
    block.initSim();
    EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5);
    block.wireInput(kA, -1);
    block.wireInput(kT, 7);
    block.put(kE, level(1.0));
    block.put(kT, timeSignal(std::vector<float>(4, 5.0F)));
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_FALSE(block.waits(kT));
    EXPECT_TRUE(block.waits(kE));
    EXPECT_FALSE(block.delivered(0));
    wire();
    EXPECT_NEAR(lineOf(3.0), 5.0, 1e-5);
    EXPECT_NEAR(lineOf(3.0), 19.0 / 3, 1e-5) << "no reset has come of it";
}

TEST_F(TODualSpektrum, DataOnResetNeedsAveragingAndAResetMode) {
    block.set("PkDataOnReset", 1);
    block.initSim();
    EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5) << "no averaging, never reset";
    block.set("PkAverageType", "ARITHMETIC");
    EXPECT_GE(lineOf(1.0), 0.0F) << "never reset";
    block.set("PkResetMode", 2);
    EXPECT_EQ(lineOf(1.0), -1.0F);
    block.set("PkResetMode", 1);
    EXPECT_EQ(lineOf(1.0), -1.0F);
    block.set("PkAverageType", "NO");
    EXPECT_NEAR(lineOf(2.0), 4.0, 1e-5) << "no averaging";
}

TEST_F(TODualSpektrum, ABlockWithoutOutputIsConsumedWithoutAskingForMemory) {
    block.set("PkDataOnReset", 1);
    block.set("PkAverageType", "ARITHMETIC");
    block.set("PkResetMode", 2);
    block.initSim();
    block.put(kE, level(1.0));
    block.put(kA, level(1.0));
    host.takeTrace();
    EXPECT_EQ(block.simulate(), 1);
    std::vector<std::string> messages;
    for (const std::string& line : host.takeTrace())
        messages.push_back(line.substr(0, 4));
    EXPECT_THAT(messages, ElementsAre("1188", "1189", "1135", "1135"));
}

TEST_F(TODualSpektrum, SourceAutospectrumAveragesTheCepstrumBeforeTheRoot) {
    const auto run = [&](const char* type, int source, const char* average) {
        block.set("PkAmplType", type);
        block.set("PkAverageSource", source);
        block.set("PkAverageType", average);
        block.initSim();
        std::vector<float> lines;
        for (const double phase : {0.1, 0.9}) {
            ChannelData e = timeSignal(cosine(64, 4.3, 1.0, phase));
            ChannelData a = timeSignal(cosine(64, 9.7, 2.0, 3 * phase));
            lines = spectrumOf(e, a)->values;
        }
        return lines;
    };
    const auto mean = run("CEPSTRUM", 0, "ARITHMETIC");
    for (const char* average : {"ARITHMETIC", "NO"}) {
        const auto peak = run("PEAK", 1, average);
        const auto rms = run("RMS", 1, average);
        const auto half = run("POWERSPECTRUM", 1, average);
        const auto plain = run("AUTOSPECTRUM", 1, average);
        for (std::size_t k = 0; k < mean.size(); ++k) {
            const double power = mean[k];
            EXPECT_NEAR(peak[k], std::sqrt(power), 1e-5 * std::sqrt(power)) << average;
            EXPECT_NEAR(rms[k], std::sqrt(power / 2), 1e-5 * std::sqrt(power));
            EXPECT_NEAR(half[k], power / 2, 1e-5 * power);
            EXPECT_NEAR(plain[k], power, 1e-5 * power);
        }
    }
}

// --- A run
// -----------------------------------------------------------------------------------------

TEST_F(TODualSpektrum, SpeaksToTheHostInTheOrderOfItsSteps) {
    block.set("PkTransPhase", 1);
    block.set("PkCoherence", 1);
    block.set("PkResetMode", 1);
    block.wireAll();
    block.initSim();
    block.put(kE, level(1.0));
    block.put(kA, level(1.0));
    block.put(kT, timeSignal(std::vector<float>(3, 0.0F)));
    const std::string e = host.memory().name(block.inputData(kE));
    const std::string a = host.memory().name(block.inputData(kA));
    const std::string t = host.memory().name(block.inputData(kT));
    host.takeTrace();
    EXPECT_EQ(block.simulate(), 1);
    const auto output = [&](int j) { return host.memory().name(block.outputData(j)); };
    EXPECT_THAT(host.takeTrace(),
                ElementsAre("1188 -> 3", "1189 -> 3", "1135 " + t, "1134 32 -> " + output(0),
                            "1143 " + e + " " + output(0), "1134 32 -> " + output(1),
                            "1143 " + e + " " + output(1), "1134 32 -> " + output(2),
                            "1143 " + e + " " + output(2), "1135 " + e, "1135 " + a));
    for (int j = 0; j < 3; ++j)
        EXPECT_TRUE(block.take(j));
}

TEST_F(TODualSpektrum, BothInputsAreFreeBeforeEitherGoesBack) {
    if (!platform::kLocksAreCounted) GTEST_SKIP() << "locks are not counted here";
    block.initSim();
    std::vector<int> locks;
    host.misbehave({.message = Message::releaseBlock, .fault = Fault::run, .before = [&] {
                        locks.push_back(platform::lockCount(block.inputData(kA)));
                    }});
    EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5);
    EXPECT_THAT(locks, ElementsAre(0, 0));
}

TEST_F(TODualSpektrum, InputsOfWhichOneCountDiffersAreProcessedInTheExcitationsLayout) {
    block.initSim();
    // A longer response of as many channels: its first samples count.
    std::vector<float> longer = cosine(64, 4, 2.0);
    longer.resize(100, 55.0F);
    const auto spectrum = spectrumOf(level(3.0), timeSignal(longer));
    ASSERT_TRUE(spectrum);
    EXPECT_EQ(spectrum->header.valueCount, kLines);
    EXPECT_NEAR(spectrum->values.at(4), 6.0, 1e-5);
    // As many values in another number of channels.
    const auto regrouped = spectrumOf(level(3.0), timeSignal(cosine(64, 4, 2.0), 2));
    ASSERT_TRUE(regrouped);
    EXPECT_NEAR(regrouped->values.at(4), 6.0, 1e-5);
}

TEST_F(TODualSpektrum, AResponseShorterThanTheExcitationIsTakenWithZerosBehindIt) {
    std::vector<float> response = cosine(64, 4, 2.0);
    for (const std::size_t samples : {63U, 40U, 1U}) {
        std::vector<float> padded(response.begin(), response.begin() + static_cast<int>(samples));
        padded.resize(64, 0.0F);
        block.initSim();
        const auto expected = spectrumOf(timeSignal(cosine(64, 4, 2.0)), timeSignal(padded));
        ASSERT_TRUE(expected);
        block.initSim();
        std::vector<float> shorter(padded.begin(), padded.begin() + static_cast<int>(samples));
        const auto spectrum = spectrumOf(timeSignal(cosine(64, 4, 2.0)), timeSignal(shorter));
        ASSERT_TRUE(spectrum) << samples;
        EXPECT_EQ(spectrum->header.valueCount, kLines);
        EXPECT_EQ(spectrum->values, expected->values) << samples;
    }
}

TEST_F(TODualSpektrum, NothingOfALongerResponseBeforeIsLeftBehindAShorterOne) {
    block.initSim();
    ASSERT_TRUE(spectrumOf(timeSignal(cosine(64, 4, 2.0)), timeSignal(cosine(64, 4, 2.0))));
    ASSERT_TRUE(
        spectrumOf(timeSignal(cosine(64, 4, 2.0)), timeSignal(std::vector<float>(60, 5.0F))));
    // An empty response is silence.
    const auto silent =
        spectrumOf(timeSignal(cosine(64, 4, 2.0)), timeSignal(std::vector<float>{}));
    ASSERT_TRUE(silent);
    EXPECT_THAT(silent->values, ::testing::Each(0.0F));
}

TEST_F(TODualSpektrum, AShorterResponseKeepsItsChannelsApart) {
    // Channel 1 of the response ends one sample before channel 0's: 127 values in 2 channels.
    std::vector<float> both(128);
    for (std::size_t i = 0; i < 64; ++i) {
        both[2 * i] = 1.0F;
        both[2 * i + 1] = static_cast<float>(i);
    }
    std::vector<float> cut(both.begin(), both.end() - 1);
    std::vector<float> padded = cut;
    padded.push_back(0.0F);
    block.initSim();
    const auto expected = spectrumOf(timeSignal(both, 2), timeSignal(padded, 2));
    block.initSim();
    const auto spectrum = spectrumOf(timeSignal(both, 2), timeSignal(cut, 2));
    ASSERT_TRUE(expected);
    ASSERT_TRUE(spectrum);
    EXPECT_EQ(spectrum->values, expected->values);
}

TEST_F(TODualSpektrum, InputsOfWhichBothCountsDifferStayLockedAndUnreleased) {
    block.initSim();
    block.put(kE, timeSignal(std::vector<float>(64, 1.0F), 2));
    block.put(kA, timeSignal(std::vector<float>(66, 1.0F), 3));
    const std::string e = host.memory().name(block.inputData(kE));
    const std::string a = host.memory().name(block.inputData(kA));
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_TRUE(block.waits(kE));
    EXPECT_TRUE(block.waits(kA));
    EXPECT_FALSE(block.delivered(0));
    const auto offences = host.takeOffences();
    if (platform::kLocksAreCounted) {
        EXPECT_THAT(offences,
                    ::testing::UnorderedElementsAre(e + " is left locked", a + " is left locked"));
    }
    // The host takes them back locked as they are.
    for (const int input : {kE, kA})
        block.put(input, Handle::none);
    EXPECT_NEAR(lineOf(3.0), 9.0, 1e-5) << "the next inputs are processed";
}

TEST_F(TODualSpektrum, DoesNothingWithoutBothSignals) {
    block.initSim();
    for (const int missing : {kE, kA}) {
        wire();
        block.wireInput(missing, -1);
        block.put(1 - missing, level(1.0));
        EXPECT_EQ(block.simulate(), 1);
        EXPECT_TRUE(block.waits(1 - missing));
        EXPECT_FALSE(block.delivered(0));
        block.put(1 - missing, Handle::none);
    }
}

TEST_F(TODualSpektrum, LosesNothingWhenTheHostRefusesAnOutput) {
    block.set("PkTransPhase", 1);
    block.set("PkCoherence", 1);
    block.set("PkAverageType", "ARITHMETIC");
    block.set("PkResetMode", 1);
    block.wireAll();
    for (const int refused : {1, 2, 3}) {
        block.initSim();
        block.put(kT, timeSignal(std::vector<float>(3, 0.0F)));
        EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5);
        block.put(kE, level(3.0));
        block.put(kA, level(3.0));
        block.put(kT, timeSignal(std::vector<float>(3, 5.0F)));
        host.misbehave({.message = Message::newBlock, .value = 0, .first = refused, .times = 1});
        EXPECT_EQ(block.simulate(), 1);
        EXPECT_TRUE(block.waits(kE));
        EXPECT_TRUE(block.waits(kA));
        for (int j = 0; j < 3; ++j)
            EXPECT_FALSE(block.delivered(j));
        host.behave();
        // The trigger has been taken; its reset comes with the block that was waiting.
        block.put(kT, timeSignal(std::vector<float>(3, 0.0F)));
        EXPECT_NEAR(lineOf(3.0), 5.0, 1e-5);
        block.put(kT, timeSignal(std::vector<float>(3, 0.0F)));
        EXPECT_NEAR(lineOf(5.0), 25.0, 1e-4);
    }
}

TEST_F(TODualSpektrum, AnEmptyBlockGivesEmptySpectra) {
    block.initSim();
    const auto spectrum =
        spectrumOf(timeSignal(std::vector<float>{}), timeSignal(std::vector<float>{}));
    ASSERT_TRUE(spectrum);
    EXPECT_EQ(spectrum->header.valueCount, 0);
    EXPECT_TRUE(spectrumOf(timeSignal(std::vector<float>(1)), timeSignal(std::vector<float>(1))));
}

TEST_F(TODualSpektrum, AChangeOfLengthOrChannelsBeginsANewAverage) {
    block.set("PkAverageType", "ARITHMETIC");
    block.initSim();
    EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5);
    EXPECT_NEAR(lineOf(3.0), 5.0, 1e-5);
    const ChannelData longer = timeSignal(cosine(128, 4, 5.0));
    EXPECT_NEAR(spectrumOf(longer, longer)->values.at(4), 25.0, 1e-4);
    const ChannelData two = timeSignal({cosine(128, 4, 3.0), cosine(128, 4, 2.0)});
    const auto both = spectrumOf(two, two);
    EXPECT_NEAR(both->at(4, 0), 9.0, 1e-4);
    EXPECT_NEAR(both->at(4, 1), 4.0, 1e-4);
}

TEST_F(TODualSpektrum, AChangeOfLengthCountsAsTheFirstBlockOfItsAverage) {
    block.set("PkAverageType", "ARITHMETIC");
    block.set("PkResetMode", 2);
    block.set("PkResetCount", 2);
    block.initSim();
    const ChannelData longer = timeSignal(cosine(128, 4, 5.0));
    EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5);
    EXPECT_NEAR(spectrumOf(longer, longer)->values.at(4), 25.0, 1e-4);
    const ChannelData weaker = timeSignal(cosine(128, 4, 1.0));
    EXPECT_NEAR(spectrumOf(weaker, weaker)->values.at(4), 13.0, 1e-4) << "the second of two";
    EXPECT_NEAR(spectrumOf(weaker, weaker)->values.at(4), 1.0, 1e-4);
}

TEST_F(TODualSpektrum, ASecondRunBeginsItsAverageAnew) {
    block.set("PkAverageType", "ARITHMETIC");
    for (const bool stops : {true, false}) {
        block.initSim();
        EXPECT_NEAR(lineOf(1.0), 1.0, 1e-5);
        EXPECT_NEAR(lineOf(3.0), 5.0, 1e-5);
        if (stops) block.stop();
    }
}

TEST_F(TODualSpektrum, KeywordsTakeEffectWithTheNextDataBlock) {
    block.initSim();
    EXPECT_NEAR(lineOf(3.0), 9.0, 1e-5);
    block.set("PkCrossSpectr", 1);
    EXPECT_NEAR(lineOf(3.0), 1.0, 1e-5);
    block.set("PkAmplType", "RMS");
    EXPECT_NEAR(lineOf(3.0), std::sqrt(0.5), 1e-5);
    block.set("PkCoherence", 1);
    EXPECT_NEAR(lineOf(3.0), std::sqrt(0.5), 1e-5);
    ASSERT_TRUE(coherences);
    EXPECT_NEAR(coherences->values.at(4), 1.0, 1e-6);
}

TEST_F(TODualSpektrum, RestoredNumbersOutsideTheTablesDoNoHarm) {
    std::string record = block.save();
    for (std::size_t offset = 10; offset < 28; offset += 2)
        put<std::uint16_t>(record, offset, 0xFFFF);
    put<double>(record, 28, std::numeric_limits<double>::quiet_NaN());
    put<std::uint16_t>(record, 36, 0xFFFF);
    put<std::int32_t>(record, 38, -1);
    for (const int source : {0xFFFF, 88}) {
        put<std::uint16_t>(record, 22, static_cast<std::uint16_t>(source));
        restore(record);
        block.initSim();
        for (int i = 0; i < 3; ++i) {
            const auto spectrum = spectrumOf(level(2.0), level(3.0));
            ASSERT_TRUE(spectrum);
            ASSERT_TRUE(phases && coherences);
            // The amplitude type has no values of its own; another source averages cepstra.
            if (source == 88) {
                EXPECT_THAT(spectrum->values, Each(0.0F));
            }
        }
    }
}

TEST_F(TODualSpektrum, ShowsNoErrorOfItsOwn) {
    EXPECT_EQ(block.errorShow(), 0);
    EXPECT_THAT(takeBoxes(), IsEmpty());
}

}  // namespace
}  // namespace vynhost::test
