// FIR and IIR filtering through the exports.
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <numbers>
#include <string>

#include "interface/filter_response.h"
#include "interface/host_fixture.h"
#include "support/record_bytes.h"
#include "support/signals.h"

namespace vynhost::test {
namespace {

using signals::impulse;
using signals::noise;
using ::testing::Each;
using ::testing::ElementsAre;

constexpr double kRate = 48000.0;

enum Mode { kLowPass, kHighPass, kBandPass, kBandStop };
enum Type { kButterworth, kChebyshev, kElliptic, kInverseChebyshev, kBessel };

class TODigitalFilter : public BlockTest<kDigitalFilter> {
protected:
    void setIir(Mode mode, int type, int order) {
        block.set("PkFIRFilter", 0);
        block.set("PkFilterMode", mode);
        block.set("PkFilterType", type);
        block.set("PkFilterOrder", order);
    }
    void setFir(Mode mode, int length, int window = 3) {
        block.set("PkFIRFilter", 1);
        block.set("PkFilterMode", mode);
        block.set("PkFilterLength", length);
        block.set("PkWindowFunction", window);
    }
    void setEdges(double cutoff, double lower, double upper) {
        block.set("PkCutoffFreq", cutoff);
        block.set("PkLowerFreq", lower);
        block.set("PkUpperFreq", upper);
    }
    // One whole run over interleaved values at 48 kHz.
    std::vector<float> run(const std::vector<float>& values, int channels = 1,
                           const std::vector<std::size_t>& lengths = {1000000}) {
        block.initSim();
        auto out = throughInBlocks(block, values, channels, lengths);
        block.stop();
        return out;
    }
    void expectFailure(const ChannelData& data, const std::string& part) {
        block.put(0, data);
        EXPECT_EQ(block.simulate(), kFailed);
        EXPECT_TRUE(block.waits(0));
        EXPECT_FALSE(block.delivered(0));
        expectReport(block, part);
    }
};

// --- Parameters -----------------------------------------------------------------------------

TEST_F(TODigitalFilter, HasOneInputAndOneOutput) { EXPECT_EQ(block.connectors(), "E,;A,"); }

TEST_F(TODigitalFilter, ListsItsKeywordsInOrder) {
    using enum ValueType;
    EXPECT_THAT(
        block.keywords(),
        ElementsAre(KeywordRow{"PkFIRFilter", flag}, KeywordRow{"PkFilterMode", integer},
                    KeywordRow{"PkCutoffFreq", real}, KeywordRow{"PkUpperFreq", real},
                    KeywordRow{"PkLowerFreq", real}, KeywordRow{"PkWindowFunction", integer},
                    KeywordRow{"PkFilterLength", integer}, KeywordRow{"PkKaiserWindow", flag},
                    KeywordRow{"PkFilterType", integer}, KeywordRow{"PkRipple", real},
                    KeywordRow{"PkAttenuation", real}, KeywordRow{"PkFilterOrder", integer}));
}

TEST_F(TODigitalFilter, NewBlockHasItsDefaults) {
    EXPECT_EQ(block.getInteger("PkFIRFilter"), 1);
    EXPECT_EQ(block.getInteger("PkFilterMode"), kLowPass);
    EXPECT_EQ(block.getReal("PkCutoffFreq"), 500.0);
    EXPECT_EQ(block.getReal("PkUpperFreq"), 1000.0);
    EXPECT_EQ(block.getReal("PkLowerFreq"), 100.0);
    EXPECT_EQ(block.getInteger("PkWindowFunction"), 4);  // Blackman
    EXPECT_EQ(block.getInteger("PkFilterLength"), 25);
    EXPECT_EQ(block.getInteger("PkKaiserWindow"), 0);
    EXPECT_EQ(block.getInteger("PkFilterType"), 6);  // 114, no characteristic
    EXPECT_EQ(block.getReal("PkRipple"), 1.2);
    EXPECT_EQ(block.getReal("PkAttenuation"), 40.0);
    EXPECT_EQ(block.getInteger("PkFilterOrder"), 2);
}

TEST_F(TODigitalFilter, KeywordsAreSetAndReadUnchecked) {
    for (const char* keyword :
         {"PkFIRFilter", "PkFilterLength", "PkKaiserWindow", "PkFilterOrder"}) {
        for (const std::int32_t value : {0, 1, -5, 2147483647, std::numeric_limits<int>::min()}) {
            block.set(keyword, value);
            EXPECT_EQ(block.getInteger(keyword), value) << keyword;
        }
    }
    for (const char* keyword :
         {"PkCutoffFreq", "PkUpperFreq", "PkLowerFreq", "PkRipple", "PkAttenuation"}) {
        for (const double value : {0.0, -1.0, 1e300, std::numeric_limits<double>::infinity()}) {
            block.set(keyword, value);
            EXPECT_EQ(block.getReal(keyword), value) << keyword;
        }
    }
}

TEST_F(TODigitalFilter, EnumerationsTravelFromZeroInTheLow16Bits) {
    for (const char* keyword : {"PkFilterMode", "PkWindowFunction", "PkFilterType"}) {
        for (const std::int32_t value : {0, 1, 2, 3, 4, 100, -1}) {
            block.set(keyword, value);
            EXPECT_EQ(block.getInteger(keyword), value) << keyword;
        }
        block.set(keyword, 0x7FFF0002);
        EXPECT_EQ(block.getInteger(keyword), 2) << keyword;
    }
    block.set("PkFilterMode", 3);
    block.set("PkWindowFunction", 2);
    block.set("PkFilterType", 1);
    const std::string record = block.save();
    EXPECT_EQ(record[12], 117);
    EXPECT_EQ(record[38], 101);
    EXPECT_EQ(record[48], 109);
}

TEST_F(TODigitalFilter, KeywordsMatchWithoutRegardToCase) {
    block.set("pkfilterORDER", 7);
    EXPECT_EQ(block.getInteger("PKFILTERORDER"), 7);
    block.set("PkFilterOrde", 9);
    block.set("PkFilterOrders", 9);
    EXPECT_EQ(block.getInteger("PkFilterOrder"), 7);
}

TEST_F(TODigitalFilter, RecordHolds103Bytes) {
    std::string record =
        bytes(std::int32_t{184}, std::int32_t{404}, std::uint32_t{1}, std::int16_t{114}, 500.0,
              1000.0, 100.0, std::int16_t{103}, std::int32_t{25}, std::uint32_t{0},
              std::int16_t{114}, 1.2, 40.0, std::int32_t{2});
    record.append(33, '\0');
    ASSERT_EQ(record.size(), 103U);
    EXPECT_EQ(block.save(), record);
}

TEST_F(TODigitalFilter, RecordRestoresEveryField) {
    std::string record =
        bytes(std::int32_t{1}, std::int32_t{0}, std::uint32_t{0}, std::int16_t{117}, 11.0, 12.0,
              13.0, std::int16_t{100}, std::int32_t{31}, std::uint32_t{1}, std::int16_t{112}, 2.5,
              60.0, std::int32_t{9});
    for (int i = 0; i < 33; ++i)
        record += static_cast<char>('a' + i % 26);
    PlacedBlock restored(host, kDigitalFilter, record);
    EXPECT_EQ(restored.getInteger("PkFIRFilter"), 0);
    EXPECT_EQ(restored.getInteger("PkFilterMode"), 3);
    EXPECT_EQ(restored.getReal("PkCutoffFreq"), 11.0);
    EXPECT_EQ(restored.getReal("PkUpperFreq"), 12.0);
    EXPECT_EQ(restored.getReal("PkLowerFreq"), 13.0);
    EXPECT_EQ(restored.getInteger("PkWindowFunction"), 1);
    EXPECT_EQ(restored.getInteger("PkFilterLength"), 31);
    EXPECT_EQ(restored.getInteger("PkKaiserWindow"), 1);
    EXPECT_EQ(restored.getInteger("PkFilterType"), 4);
    EXPECT_EQ(restored.getReal("PkRipple"), 2.5);
    EXPECT_EQ(restored.getReal("PkAttenuation"), 60.0);
    EXPECT_EQ(restored.getInteger("PkFilterOrder"), 9);
    put(record, kRecordSizeOffset, std::int32_t{184});
    put(record, kRecordVersionOffset, std::int32_t{404});
    EXPECT_EQ(restored.save(), record);
}

// --- Checks ---------------------------------------------------------------------------------

TEST_F(TODigitalFilter, UnwiredConnectorIsNotSimulated) {
    block.wireOutput(0, -1);
    block.initSim();
    block.put(0, timeSignal({1, 2}));
    EXPECT_EQ(block.simulate(), kNotWired);
    EXPECT_TRUE(block.waits(0));
    block.stop();
}

TEST_F(TODigitalFilter, BlockWithoutCountedConnectorsDoesNothing) {
    block.setCounts(0, 0);
    block.initSim();
    EXPECT_EQ(block.simulate(), 0);
    block.wireInput(0, -1);
    block.put(0, timeSignal({1, 2}));
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_TRUE(block.waits(0));
    block.stop();
}

TEST_F(TODigitalFilter, EdgeAtHalfTheRateFails) {
    const struct {
        Mode mode;
        const char* text;
    } rows[] = {{kLowPass, "Die Grenzfrenz ist gößer als die halbe"},
                {kHighPass, "Die Grenzfrenz ist gößer als die halbe"},
                {kBandPass, "Die obere Grenzfrenz ist groesser"},
                {kBandStop, "Die obere Grenzfrenz ist groesser"}};
    for (const auto& row : rows) {
        for (const bool fir : {true, false}) {
            for (const double edge : {kRate / 2, kRate, 1e300}) {
                if (fir) {
                    setFir(row.mode, 25);
                } else {
                    setIir(row.mode, kButterworth, 2);
                }
                setEdges(edge, 100.0, edge);
                block.initSim();
                expectFailure(timeSignal({1, 2}), row.text);
                block.stop();
            }
        }
    }
}

TEST_F(TODigitalFilter, ModeDecidesWhichEdgeIsCompared) {
    setFir(kLowPass, 25);
    setEdges(500.0, kRate, kRate);
    EXPECT_EQ(run({1, 2}).size(), 2U);
    setFir(kBandPass, 25);
    setEdges(kRate, 100.0, 1000.0);
    EXPECT_EQ(run({1, 2}).size(), 2U);
}

TEST_F(TODigitalFilter, EdgeJustBelowHalfTheRatePasses) {
    setFir(kLowPass, 25);
    setEdges(0.999 * kRate / 2, 0, 0);
    EXPECT_EQ(run({1, 2}).size(), 2U);
    setFir(kBandStop, 25);
    setEdges(0, 100.0, 0.999 * kRate / 2);
    EXPECT_EQ(run({1, 2}).size(), 2U);
}

TEST_F(TODigitalFilter, LowerEdgeAboveTheUpperOneIsNotRefused) {
    setFir(kBandPass, 25);
    setEdges(0, 2000.0, 1000.0);
    EXPECT_THAT(run({1, 2}), ElementsAre(0, 0));  // the design refuses it: no taps
    setIir(kBandPass, kButterworth, 2);
    EXPECT_THAT(run({1, 2}), ElementsAre(1, 2));  // the object stays as created
}

TEST_F(TODigitalFilter, MillisecondAxisMultipliesTheRateBy1000) {
    ChannelData data = timeSignal({1, 2}, 1, 0.5);  // 2000 Hz
    data.header.xAxisKind = kMilliseconds;
    setFir(kLowPass, 25);
    setEdges(999.0, 0, 0);
    block.initSim();
    EXPECT_TRUE(block.process(data));
    block.stop();
    setEdges(1000.0, 0, 0);
    block.initSim();
    expectFailure(data, "Grenzfrenz ist gößer");
    block.stop();
}

TEST_F(TODigitalFilter, OtherAxisKindsCountInSeconds) {
    ChannelData data = timeSignal({1, 2}, 1, 0.5);
    setFir(kLowPass, 25);
    setEdges(0.999, 0, 0);
    for (const std::int32_t kind : {0, 1, 3, 4, 60}) {
        data.header.xAxisKind = kind;
        block.initSim();
        EXPECT_TRUE(block.process(data)) << kind;
        block.stop();
    }
}

TEST_F(TODigitalFilter, ChangedRateOrChannelCountFails) {
    block.initSim();
    EXPECT_TRUE(block.process(timeSignal({1, 2})));
    expectFailure(timeSignal({1, 2}, 1, 1.0 / 44100), "Abtastrate der eintreffenden");
    expectFailure(timeSignal({1, 2}, 1, std::nextafter(1.0 / 48000, 1.0)), "Abtastrate");
    expectFailure(timeSignal({1, 2}, 2), "Anzahl der eintreffenden");
    expectFailure(timeSignal({1, 2}, 2, 1.0 / 44100), "Abtastrate");
    EXPECT_TRUE(block.process(timeSignal({1, 2})));
    block.stop();
}

TEST_F(TODigitalFilter, RateThatIsNoNumberFails) {
    block.initSim();
    expectFailure(timeSignal({1, 2}, 1, std::nan("")), "Abtastrate der eintreffenden");
    block.stop();
}

TEST_F(TODigitalFilter, StopReleasesTheFilter) {
    block.initSim();
    EXPECT_TRUE(block.process(timeSignal({1, 2})));
    block.stop();
    block.put(0, timeSignal({1, 2}));
    EXPECT_EQ(block.simulate(), kFailed) << "a run without its begin has none";
    block.stop();
}

TEST_F(TODigitalFilter, FailedStartLeavesTheRunWithoutAFilter) {
    setIir(kLowPass, kButterworth, 2);
    EXPECT_EQ(run({1, 2}).size(), 2U);  // an earlier run at the same rate
    setEdges(kRate, 0, 0);
    block.initSim();
    expectFailure(timeSignal({1, 2}), "Grenzfrenz");
    setEdges(500, 0, 0);
    expectFailure(timeSignal({1, 2}), "Grenzfrenz");  // for the rest of the run
    block.stop();
    EXPECT_EQ(run({1, 2}).size(), 2U);
}

TEST_F(TODigitalFilter, FailureHoldsTheInputUntilStop) {
    setEdges(kRate, 0, 0);
    block.initSim();
    const Handle input = block.put(0, timeSignal({1, 2}));
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_EQ(block.inputData(0), input);
    EXPECT_EQ(host.memory().aliveData(), 1U);
    host.takeTrace();
    block.stop();
    EXPECT_THAT(host.takeTrace(), ElementsAre("1135 D1"));
    EXPECT_EQ(host.memory().aliveData(), 0U);
    block.stop();
    EXPECT_TRUE(host.takeTrace().empty());
}

TEST_F(TODigitalFilter, NewRunForgetsTheHeldInputAndTheError) {
    setEdges(kRate, 0, 0);
    block.initSim();
    block.put(0, timeSignal({1, 2}));
    EXPECT_EQ(block.simulate(), kFailed);
    block.initSim();
    host.takeTrace();
    block.stop();
    EXPECT_TRUE(host.takeTrace().empty());
    block.errorShow();
    EXPECT_TRUE(takeBoxes().empty());
}

TEST_F(TODigitalFilter, ErrorStaysUntilTheNextRun) {
    setEdges(kRate, 0, 0);
    block.initSim();
    block.put(0, timeSignal({1, 2}));
    EXPECT_EQ(block.simulate(), kFailed);
    expectReport(block, "Grenzfrenz");
    expectReport(block, "Grenzfrenz");
    block.stop();
    expectReport(block, "Grenzfrenz");
}

TEST_F(TODigitalFilter, HostWithoutMemoryFailsWith125AndLosesNothing) {
    setFir(kLowPass, 25);
    const auto in = noise(100);
    const auto expected = run(in);
    block.initSim();
    host.misbehave({.message = Message::newBlock, .value = 0, .times = 1});
    expectFailure(timeSignal(in), "Variable konnte nicht angelegt");
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_EQ(block.take(0)->values, expected);
    block.stop();
}

TEST_F(TODigitalFilter, UnsoundHeadersFailWithoutTouchingTheValues) {
    for (const std::int32_t channels : {0, -1}) {
        block.initSim();
        ChannelData data = timeSignal({1, 2});
        data.header.channelCount = channels;
        block.put(0, data);
        EXPECT_EQ(block.simulate(), kFailed);
        EXPECT_TRUE(block.waits(0));
        block.stop();
    }
}

TEST_F(TODigitalFilter, LengthsAndOrdersThatCannotBeMadeFailWith125) {
    setFir(kLowPass, 2147483647);
    block.initSim();
    expectFailure(timeSignal({1, 2}), "Variable konnte nicht angelegt");
    expectFailure(timeSignal({1, 2}), "Variable konnte nicht angelegt");
    block.stop();
    for (const int order : {0, -1, 65, 2147483647, std::numeric_limits<int>::min()}) {
        setIir(kLowPass, kButterworth, order);
        block.initSim();
        expectFailure(timeSignal({1, 2}), "Variable konnte nicht angelegt");
        block.stop();
    }
}

TEST_F(TODigitalFilter, UnknownModeHasNoIirFilterAndASilentFir) {
    for (const int mode : {-1, 4, 30000}) {
        setIir(kLowPass, kButterworth, 2);
        block.set("PkFilterMode", mode);
        block.initSim();
        expectFailure(timeSignal({1, 2}), "Variable konnte nicht angelegt");
        block.stop();
        setFir(kLowPass, 25);
        block.set("PkFilterMode", mode);
        EXPECT_THAT(run({1, 2}), ElementsAre(0, 0));
    }
}

TEST_F(TODigitalFilter, WithoutARunNothingHappens) {
    block.put(0, timeSignal({1, 2}));
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_TRUE(block.waits(0));
    block.stop();
}

// --- Run ------------------------------------------------------------------------------------

TEST_F(TODigitalFilter, OutputHasTheInputsHeaderAndLength) {
    block.initSim();
    ChannelData data = timeSignal({1, 2, 3, 4, 5, 6}, 3);
    data.header.yUnit = 42;
    data.header.xStart = 7.5;
    data.hostBytes.fill(std::byte{9});
    host.takeTrace();
    const auto out = block.process(data);
    ASSERT_TRUE(out);
    EXPECT_EQ(std::memcmp(&out->header, &data.header, sizeof data.header), 0);
    EXPECT_EQ(out->hostBytes, data.hostBytes);
    EXPECT_EQ(out->values.size(), 6U);
    EXPECT_THAT(host.takeTrace(), ElementsAre("1188 -> 1", "1189 -> 1", "1188 -> 1", "1189 -> 1",
                                              "1134 6 -> D2", "1143 D1 D2", "1135 D1"));
    block.stop();
}

struct Setting {
    bool fir;
    Mode mode;
    int sizeOrType;
    int order;
};

class TODigitalFilterKinds : public TODigitalFilter, public testing::WithParamInterface<Setting> {
protected:
    TODigitalFilterKinds() {
        if (GetParam().fir) {
            setFir(GetParam().mode, GetParam().sizeOrType);
        } else {
            setIir(GetParam().mode, GetParam().sizeOrType, GetParam().order);
        }
        setEdges(3000.0, 1000.0, 5000.0);
    }
};

TEST_P(TODigitalFilterKinds, OneLongBlockEqualsManyShortOnesBitForBit) {
    for (const int channels : {1, 2, 3, 8, 9, 32}) {
        const auto in = noise(700 * static_cast<std::size_t>(channels));
        const auto whole = run(in, channels);
        ASSERT_EQ(whole.size(), in.size());
        for (const auto& lengths :
             {std::vector<std::size_t>{1}, {1, 100, 37}, {24}, {25}, {26}, {64}, {99}}) {
            EXPECT_EQ(run(in, channels, lengths), whole) << channels << " " << lengths[0];
        }
    }
}

TEST_P(TODigitalFilterKinds, EveryChannelIsFilteredAsIfItWereAlone) {
    const int channels = 11;
    const auto in = noise(300 * channels);
    const auto together = run(in, channels);
    for (int c = 0; c < channels; ++c) {
        EXPECT_EQ(run(channelOf(in, c, channels)), channelOf(together, c, channels));
    }
}

TEST_P(TODigitalFilterKinds, NaNAndInfinityStayInTheirChannel) {
    auto in = noise(300 * 3);
    const auto clean = run(in, 3, {100});
    in[30] = std::numeric_limits<float>::quiet_NaN();
    in[31] = std::numeric_limits<float>::infinity();
    const auto out = run(in, 3, {100});
    EXPECT_EQ(channelOf(out, 2, 3), channelOf(clean, 2, 3));
    EXPECT_TRUE(std::isnan(out[30]));
    EXPECT_FALSE(std::isfinite(out[31]));
    EXPECT_EQ(run(noise(300 * 3), 3, {100}), clean);  // the next run knows nothing of it
}

TEST_P(TODigitalFilterKinds, EachRunStartsAtRest) {
    const auto in = noise(300);
    const auto first = run(in, 1, {100});
    EXPECT_EQ(run(in, 1, {100}), first);
    block.initSim();
    throughInBlocks(block, in, 1, {100});
    block.initSim();  // without a stop between
    EXPECT_EQ(throughInBlocks(block, in, 1, {100}), first);
    block.stop();
}

TEST_P(TODigitalFilterKinds, ParametersChangedInTheRunWaitForTheNext) {
    const auto in = noise(300);
    const auto expected = run(in, 1, {100});
    block.initSim();
    auto out = throughInBlocks(block, {in.begin(), in.begin() + 100}, 1, {100});
    block.set("PkFIRFilter", GetParam().fir ? 0 : 1);
    block.set("PkFilterLength", 1000);
    block.set("PkFilterOrder", 64);
    block.set("PkFilterMode", -7);
    block.set("PkCutoffFreq", 1e6);
    block.set("PkUpperFreq", 1e6);
    const auto rest = throughInBlocks(block, {in.begin() + 100, in.end()}, 1, {100});
    out.insert(out.end(), rest.begin(), rest.end());
    EXPECT_EQ(out, expected);
    block.stop();
}

TEST_P(TODigitalFilterKinds, LongerAndShorterBlocksMayAlternate) {
    const auto in = noise(5000 * 2);
    EXPECT_EQ(run(in, 2, {1, 4000, 3, 996}), run(in, 2));
}

TEST_P(TODigitalFilterKinds, ValuesThatMakeNoWholeSampleBecomeZero) {
    block.initSim();
    ChannelData data = timeSignal(std::vector<float>(7, 1.0F), 3);
    data.header.valueCount = 7;
    const auto out = block.process(data);
    ASSERT_TRUE(out);
    ASSERT_EQ(out->values.size(), 7U);
    EXPECT_EQ(out->values[6], 0.0F);
    block.stop();
}

TEST_P(TODigitalFilterKinds, EmptyBlocksPassThrough) {
    const auto in = noise(100);
    const auto expected = run(in);
    block.initSim();
    const auto empty = block.process(timeSignal(std::vector<float>()));
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->values.empty());
    EXPECT_EQ(throughInBlocks(block, in, 1, {100}), expected);
    block.stop();
}

TEST_P(TODigitalFilterKinds, BlockMayBeDestroyedInTheMiddleOfARun) {
    block.initSim();
    EXPECT_TRUE(block.process(timeSignal({1, 2, 3})));
    placed.reset();
}

std::string nameOf(const testing::TestParamInfo<Setting>& setting) {
    constexpr std::array modes = {"LowPass", "HighPass", "BandPass", "BandStop"};
    constexpr std::array types = {"Butterworth", "Chebyshev", "Elliptic", "InverseChebyshev",
                                  "Bessel"};
    const Setting& s = setting.param;
    const auto number = static_cast<std::size_t>(s.sizeOrType);
    return (s.fir ? "Fir" + std::to_string(number) : types.at(number) + std::to_string(s.order)) +
           modes.at(s.mode);
}

INSTANTIATE_TEST_SUITE_P(Settings, TODigitalFilterKinds,
                         testing::Values(Setting{true, kLowPass, 25, 0},
                                         Setting{true, kHighPass, 1, 0},
                                         Setting{true, kBandPass, 24, 0},
                                         Setting{false, kLowPass, kButterworth, 1},
                                         Setting{false, kHighPass, kChebyshev, 2},
                                         Setting{false, kBandPass, kElliptic, 3},
                                         Setting{false, kBandStop, kInverseChebyshev, 8},
                                         Setting{false, kLowPass, kBessel, 25}),
                         nameOf);

// --- FIR ------------------------------------------------------------------------------------

double bessel0(double x) {
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1; k < 60; ++k) {
        term *= (x / (2.0 * k)) * (x / (2.0 * k));
        sum += term;
    }
    return sum;
}

// The window method by its definition: windowed sinc, 1 at 0 Hz.
std::vector<double> lowPassTaps(int length, double edge, int window, bool kaiser) {
    constexpr double pi = std::numbers::pi;
    constexpr std::array<double, 5> betas = {0.0, 1.33, 3.86, 4.86, 7.04};
    std::vector<double> taps;
    double sum = 0.0;
    for (int i = 0; i < length; ++i) {
        const double t = i - (length - 1) / 2.0;
        const double u = 2.0 * pi * i / (length - 1);
        const double r = 2.0 * t / (length - 1);
        double w = 1.0;
        if (kaiser) {
            const double beta = betas[static_cast<std::size_t>(window)];
            w = bessel0(beta * std::sqrt(1.0 - r * r)) / bessel0(beta);
        } else if (window == 1) {
            w = length % 2 == 1 ? 1.0 - std::abs(2.0 * t) / (length + 1)
                                : 1.0 - std::abs(2.0 * t) / length;
        } else if (window == 2) {
            w = 0.5 - 0.5 * std::cos(u);
        } else if (window == 3) {
            w = 0.54 - 0.46 * std::cos(u);
        } else if (window == 4) {
            w = 0.42 - 0.5 * std::cos(u) + 0.08 * std::cos(2.0 * u);
        }
        const double x = 2.0 * edge * t;
        taps.push_back(w * (t == 0.0 ? 1.0 : std::sin(pi * x) / (pi * x)));
        sum += taps.back();
    }
    for (double& tap : taps)
        tap /= sum;
    return taps;
}

TEST_F(TODigitalFilter, ImpulseResponseOfAFirIsItsWindowDesign) {
    setEdges(3000.0, 0, 0);
    for (const int length : {24, 25}) {
        for (int window = 0; window < 5; ++window) {
            for (const bool kaiser : {false, true}) {
                setFir(kLowPass, length, window);
                block.set("PkKaiserWindow", kaiser ? 1 : 0);
                const auto response = run(impulse(30));
                const auto expected = lowPassTaps(length, 3000.0 / kRate, window, kaiser);
                ASSERT_EQ(response.size(), 30U);
                for (std::size_t i = 0; i < 30; ++i) {
                    const double tap = i < expected.size() ? expected[i] : 0.0;
                    // Half a step of single precision.
                    EXPECT_NEAR(response[i], tap, 6e-8 * std::abs(tap) + 1e-15)
                        << length << " " << window << " " << kaiser << " " << i;
                }
            }
        }
    }
}

TEST_F(TODigitalFilter, UnknownWindowsAreRectangular) {
    setEdges(3000.0, 0, 0);
    setFir(kLowPass, 25, 0);
    const auto rectangular = run(impulse(30));
    for (const int window : {-1, 5, 9}) {
        setFir(kLowPass, 25, window);
        for (const int kaiser : {0, 1}) {
            block.set("PkKaiserWindow", kaiser);
            EXPECT_EQ(run(impulse(30)), rectangular) << window;
        }
    }
}

TEST_F(TODigitalFilter, FirOfEveryModePassesAndStopsWhereItShould) {
    setEdges(6000.0, 4000.0, 8000.0);
    const struct {
        Mode mode;
        double unity;
        std::vector<double> stopped;
    } rows[] = {{kLowPass, 0.0, {9000, 15000, 23000}},
                {kHighPass, 24000.0, {100, 1000, 3000}},
                {kBandPass, 6000.0, {100, 1000, 11000, 20000}},
                {kBandStop, 0.0, {5500, 6000, 6500}}};
    for (const auto& row : rows) {
        setFir(row.mode, 127, 4);
        const auto response = run(impulse(200));
        EXPECT_NEAR(decibelsAt(response, row.unity / kRate), 0.0, 1e-5);
        for (const double f : row.stopped)
            EXPECT_LT(decibelsAt(response, f / kRate), -60.0) << f;
    }
}

TEST_F(TODigitalFilter, FilterLengthBelow1IsSilent) {
    for (const int length : {0, -1, std::numeric_limits<int>::min()}) {
        setFir(kLowPass, length);
        EXPECT_THAT(run({1, 2, 3}), Each(0.0F));
    }
}

TEST_F(TODigitalFilter, FirWithOneTapPassesEverything) {
    setFir(kLowPass, 1, 3);
    const auto in = noise(100);
    EXPECT_EQ(run(in), in);
}

TEST_F(TODigitalFilter, LongFirOverShortBlocksAgreesWithOneLongBlock) {
    setFir(kLowPass, 4001, 4);
    setEdges(3000.0, 0, 0);
    const auto in = noise(6000);
    const auto whole = run(in);
    const auto pieces = run(in, 1, {100, 1, 999});
    ASSERT_EQ(pieces.size(), whole.size());
    for (std::size_t i = 0; i < whole.size(); ++i) {
        // A convolution by way of transforms rounds differently with each length: 1e-12 of full
        // scale before the result is rounded to single precision.
        ASSERT_NEAR(pieces[i], whole[i], 1.2e-7 * std::abs(whole[i]) + 1e-12);
    }
}

// --- IIR ------------------------------------------------------------------------------------

TEST_F(TODigitalFilter, FilterWithoutACharacteristicPassesEverything) {
    block.set("PkFIRFilter", 0);
    const auto in = noise(500);
    EXPECT_EQ(run(in), in);  // as created, 114
    for (const int type : {-1, 5, 6}) {
        setIir(kLowPass, type, 4);
        EXPECT_EQ(run(in), in);
    }
}

TEST_F(TODigitalFilter, RefusedDesignPassesEverything) {
    const auto in = noise(500);
    setIir(kLowPass, kChebyshev, 4);
    block.set("PkRipple", 0.0);
    EXPECT_EQ(run(in), in);
    setIir(kLowPass, kInverseChebyshev, 4);
    block.set("PkAttenuation", -1.0);
    EXPECT_EQ(run(in), in);
    setIir(kLowPass, kBessel, 26);
    EXPECT_EQ(run(in), in);
    setIir(kLowPass, kButterworth, 2);
    setEdges(-1.0, 0, 0);
    EXPECT_EQ(run(in), in);
}

// What each design promises: its gain at its edges, and in the pass band.
TEST_F(TODigitalFilter, EveryCharacteristicMeetsItsPromiseAtItsEdges) {
    const double lower = 4000.0;
    const double upper = 8000.0;
    const double cutoff = 6000.0;
    setEdges(cutoff, lower, upper);
    block.set("PkRipple", 0.5);
    block.set("PkAttenuation", 50.0);
    const double half = 20.0 * std::log10(std::sqrt(0.5));
    const struct {
        Type type;
        double atEdge;
        double inPassBand;  // where an odd order is 0 dB: at 0 Hz, fs/2 or the centre
    } designs[] = {{kButterworth, half, 0.0},
                   {kChebyshev, -0.5, 0.0},
                   {kElliptic, -0.5, 0.0},
                   {kInverseChebyshev, -50.0, 0.0},
                   {kBessel, half, 0.0}};
    // The band's centre goes through the pre-warping: the geometric mean of warped edges.
    const double pi = std::numbers::pi;
    const double centre =
        std::atan(std::sqrt(std::tan(pi * lower / kRate) * std::tan(pi * upper / kRate))) / pi;
    for (const auto& design : designs) {
        for (const int order : {3, 5}) {
            for (const Mode mode : {kLowPass, kHighPass, kBandPass, kBandStop}) {
                setIir(mode, design.type, order);
                const auto response = run(impulse(20000));
                ASSERT_EQ(response.size(), 20000U);
                const bool band = mode == kBandPass || mode == kBandStop;
                const auto edges = band ? std::vector{lower, upper} : std::vector{cutoff};
                const std::string name = std::to_string(design.type) + " " + std::to_string(mode);
                // Single-precision output: 6e-8 of the response's largest values.
                const double tolerance = design.atEdge < -40 ? 1e-3 : 1e-5;
                for (const double edge : edges) {
                    EXPECT_NEAR(decibelsAt(response, edge / kRate), design.atEdge, tolerance)
                        << name;
                }
                const double flat = mode == kHighPass ? 0.5 : mode == kBandPass ? centre : 0.0;
                EXPECT_NEAR(decibelsAt(response, flat), design.inPassBand, 1e-5) << name;
            }
        }
    }
}

TEST_F(TODigitalFilter, EllipticStopBandStaysBelowItsAttenuation) {
    setEdges(6000.0, 0, 0);
    block.set("PkRipple", 0.5);
    block.set("PkAttenuation", 50.0);
    setIir(kLowPass, kElliptic, 5);
    const auto response = run(impulse(20000));
    double highest = -1000.0;
    for (double f = 9000.0; f <= 24000.0; f += 50.0) {
        highest = std::max(highest, decibelsAt(response, f / kRate));
    }
    EXPECT_LT(highest, -50.0 + 1e-3);
    EXPECT_GT(highest, -50.1);  // equiripple: it comes close
}

TEST_F(TODigitalFilter, ButterworthFollowsItsFormulaEverywhere) {
    setEdges(6000.0, 0, 0);
    for (const int order : {1, 2, 8}) {
        setIir(kLowPass, kButterworth, order);
        const auto response = run(impulse(20000));
        for (double f = 0.0; f < 16000.0; f += 1000.0) {
            const double w = std::tan(std::numbers::pi * f / kRate) /
                             std::tan(std::numbers::pi * 6000.0 / kRate);
            const double expected = -10.0 * std::log10(1.0 + std::pow(w, 2 * order));
            EXPECT_NEAR(decibelsAt(response, f / kRate), expected,
                        1e-5 + 2e-6 * std::pow(10.0, -expected / 20.0))
                << order << " " << f;
        }
    }
}

TEST_F(TODigitalFilter, Order64IsStable) {
    setEdges(6000.0, 4000.0, 8000.0);
    for (const Mode mode : {kLowPass, kHighPass, kBandPass, kBandStop}) {
        setIir(mode, kButterworth, 64);
        const auto response = run(impulse(48000));
        ASSERT_EQ(response.size(), 48000U);
        for (std::size_t i = 40000; i < response.size(); ++i) {
            ASSERT_LT(std::abs(response[i]), 1e-9F) << mode;
        }
    }
}

}  // namespace
}  // namespace vynhost::test
