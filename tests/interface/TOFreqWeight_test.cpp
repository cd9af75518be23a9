// A, B and C weighting of time signals and spectra, through the exports.
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

constexpr std::array<double, 4> kRates = {4000.0, 8000.0, 44100.0, 192000.0};

constexpr float kMarker = 9.9e34F;

ChannelData spectrum(std::vector<float> values, std::int32_t unit, double start, double step,
                     int channels = 1) {
    ChannelData data = timeSignal(std::move(values), channels, step);
    data.header.xAxisKind = kHertz;
    data.header.yUnit = unit;
    data.header.xStart = start;
    return data;
}

class TOFreqWeight : public BlockTest<kFreqWeight> {
protected:
    void prepare() override {
        wireSignal();
        block.set("PkXweight", 1);
    }

    // Signal and output; the control input is left alone.
    void wireSignal() {
        block.setCounts(2, 1);
        block.wireInput(0, 0);
        block.wireOutput(0, 0);
    }
    void control(float value) {
        block.wireInput(1, 1);
        block.put(1, timeSignal({value, 99.0F}));
    }
    std::vector<float> weighted(const ChannelData& data) {
        const auto out = block.process(data);
        return out ? out->values : std::vector<float>();
    }
    void expectNoReport() {
        block.errorShow();
        EXPECT_TRUE(takeBoxes().empty());
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

TEST_F(TOFreqWeight, HasSignalAndControlInputs) { EXPECT_EQ(block.connectors(), "E,S,;A,"); }

TEST_F(TOFreqWeight, NewBlockIsLinear) {
    PlacedBlock fresh(host, kFreqWeight);
    EXPECT_EQ(fresh.getInteger("PkXweight"), 0);
}

TEST_F(TOFreqWeight, ListsItsKeyword) {
    EXPECT_THAT(block.keywords(), ElementsAre(KeywordRow{"PkXweight", ValueType::integer}));
}

TEST_F(TOFreqWeight, KeywordStoresTheLow16BitsUnchecked) {
    for (const std::int32_t value : {0, 3, -1, 4, 32767, -32768}) {
        block.set("pkxWEIGHT", value);
        EXPECT_EQ(block.getInteger("PkXweight"), value);
    }
    block.set("PkXweight", 0x12340002);
    EXPECT_EQ(block.getInteger("PkXweight"), 2);
    block.set("PkXweigh", 1);
    EXPECT_EQ(block.getInteger("PkXweight"), 2);
}

TEST_F(TOFreqWeight, RecordHasFrameWeightingAndText) {
    block.set("PkXweight", 3);
    std::string expected = bytes(std::int32_t{160}, std::int32_t{404}, std::int16_t{3});
    expected.resize(43, '\0');
    EXPECT_EQ(block.save(), expected);
    for (std::size_t i = 10; i < expected.size(); ++i)
        expected[i] = static_cast<char>('A' + i);
    PlacedBlock restored(host, kFreqWeight, expected);
    EXPECT_EQ(restored.getInteger("PkXweight"), 3);
    EXPECT_EQ(restored.save(), expected);
    put(expected, kRecordSizeOffset, std::int32_t{7});
    put(expected, kRecordVersionOffset, std::int32_t{0});
    EXPECT_EQ(PlacedBlock(host, kFreqWeight, expected).getInteger("PkXweight"), 3);
}

// --- Control input and linear weighting -----------------------------------------------------

TEST_F(TOFreqWeight, LinearPassesTheVeryInputBlockOn) {
    block.set("PkXweight", 0);
    block.initSim();
    host.takeTrace();
    const Handle input = block.put(0, timeSignal({1, 2, 3}));
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_FALSE(block.waits(0));
    EXPECT_EQ(block.outputData(0), input);
    EXPECT_THAT(host.takeTrace(), ElementsAre("1188 -> 2", "1189 -> 1"));
    EXPECT_THAT(block.take(0)->values, ElementsAre(1, 2, 3));
    block.stop();
}

TEST_F(TOFreqWeight, LinearAsksNothingOfTheSignal) {
    block.set("PkXweight", 0);
    block.initSim();
    ChannelData odd = timeSignal({1, 2}, 2, 0.0);
    odd.header.xAxisKind = 77;
    EXPECT_THAT(weighted(odd), ElementsAre(1, 2));
    block.stop();
}

TEST_F(TOFreqWeight, ControlValuesRoundHalfUpToACurve) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const struct {
        float value;
        int weighting;
    } rows[] = {{0, 0},     {0.49F, 0}, {0.5F, 1},  {1, 1},    {1.49F, 1},     {1.5F, 2},
                {2.49F, 2}, {2.5F, 3},  {3, 3},     {3.7F, 3}, {1e30F, 3},     {infinity, 3},
                {-3, 0},    {-0.5F, 0}, {-0.2F, 0}, {nan, 0},  {-infinity, 0}, {0.49999997F, 0}};
    block.wireInput(0, -1);
    for (const auto& row : rows) {
        block.set("PkXweight", 7);
        control(row.value);
        EXPECT_EQ(block.simulate(), 0);
        EXPECT_FALSE(block.waits(1));
        EXPECT_EQ(block.getInteger("PkXweight"), row.weighting) << row.value;
    }
}

TEST_F(TOFreqWeight, ControlIsTakenWhenNoSignalIsWired) {
    block.wireInput(0, -1);
    control(2);
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_FALSE(block.waits(1));
    EXPECT_EQ(block.getInteger("PkXweight"), 2);
}

TEST_F(TOFreqWeight, EmptyControlBlockIsTakenAndChangesNothing) {
    block.wireInput(0, -1);
    block.wireInput(1, 0);
    block.put(1, timeSignal(std::vector<float>()));
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_FALSE(block.waits(1));
    EXPECT_EQ(block.getInteger("PkXweight"), 1);
}

TEST_F(TOFreqWeight, UnwiredOutputLeavesTheSignalWaiting) {
    block.wireOutput(0, -1);
    block.initSim();
    block.put(0, timeSignal(std::vector<float>{1}));
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_TRUE(block.waits(0));
    block.stop();
}

TEST_F(TOFreqWeight, CurveOfASpectrumFollowsTheControlInputAtOnce) {
    block.initSim();
    const ChannelData line = spectrum({50}, kUnitDecibel, 100, 1);
    EXPECT_THAT(weighted(line), ElementsAre(static_cast<float>(50 - 19.1)));
    control(3);
    EXPECT_THAT(weighted(line), ElementsAre(static_cast<float>(50 - 0.2)));  // -0.298 dB, cut
    control(0);
    EXPECT_THAT(weighted(line), ElementsAre(50.0F));
    block.stop();
}

// --- Spectra --------------------------------------------------------------------------------

TEST_F(TOFreqWeight, LevelsGetTheWeightInTenths) {
    block.initSim();
    EXPECT_THAT(weighted(spectrum({60, 60, 60}, kUnitDecibel, 0, 500)),
                ElementsAre(60.0F, static_cast<float>(60 - 3.2), 60.0F));
    block.stop();
}

TEST_F(TOFreqWeight, WeightsOfSingleLines) {
    const struct {
        double f;
        double weight;
    } rows[] = {{1000, 0}, {100, -19.1}, {31.5, -39.5}, {10000, -2.4}, {0, 0}};
    for (const auto& row : rows) {
        block.initSim();
        EXPECT_THAT(weighted(spectrum({100}, kUnitDecibel, row.f, 1)),
                    ElementsAre(static_cast<float>(100 + row.weight)));
        block.stop();
    }
}

TEST_F(TOFreqWeight, KilohertzAxesCountInThousands) {
    block.initSim();
    ChannelData data = spectrum({60, 60}, kUnitDecibel, 0.1, 0.9);
    data.header.xAxisKind = kKilohertz;
    EXPECT_THAT(weighted(data), ElementsAre(static_cast<float>(60 - 19.1), 60.0F));
    block.stop();
}

TEST_F(TOFreqWeight, ThirdOctaveBandsAreBandNumbers) {
    block.initSim();
    ChannelData data = spectrum(std::vector<float>(11, 60.0F), kUnitDecibel, 8, 1);
    data.header.axisFlags = kThirdOctaveBands | 1;
    const auto out = weighted(data);
    EXPECT_EQ(out.at(0), static_cast<float>(60 - 19.1));  // 100 Hz
    EXPECT_EQ(out.at(10), 60.0F);                         // 1 kHz
    block.stop();
}

TEST_F(TOFreqWeight, OctaveBandsAdvanceByThree) {
    block.initSim();
    ChannelData data = spectrum(std::vector<float>(11, 60.0F), kUnitDecibel, 0, 1);
    data.header.axisFlags = kOctaveBands;
    const auto out = weighted(data);
    EXPECT_EQ(out.at(6), 60.0F);                // 1 kHz
    EXPECT_NEAR(out.at(0), 60.0 - 56.7, 0.11);  // 16 Hz
    EXPECT_NEAR(out.at(10), 60.0 - 6.6, 0.11);  // 16 kHz
    block.stop();
}

TEST_F(TOFreqWeight, BandsOnAKilohertzAxisAreTheSameBands) {
    block.initSim();
    ChannelData data = spectrum({60}, kUnitDecibel, 18, 1);
    data.header.axisFlags = kThirdOctaveBands;
    data.header.xAxisKind = kKilohertz;
    EXPECT_THAT(weighted(data), ElementsAre(60.0F));
    block.stop();
}

TEST_F(TOFreqWeight, MarkerOfALevelSpectrumPassesUnchanged) {
    block.initSim();
    EXPECT_THAT(weighted(spectrum({kMarker, 60}, kUnitDecibel, 100, 900)),
                ElementsAre(kMarker, 60.0F));
    block.stop();
}

TEST_F(TOFreqWeight, AmplitudesAndPowersAreScaledByTheWeight) {
    for (const auto& [unit, perDecade] : {std::pair{kUnitAmplitude, 20.0}, {kUnitPower, 10.0}}) {
        block.initSim();
        const auto out = weighted(spectrum({2.0F, 0.0F, -1.0F}, unit, 100, 0));
        ASSERT_EQ(out.size(), 3U);
        EXPECT_NEAR(out[0], 2.0 * std::pow(10.0, -19.1 / perDecade), 1e-7);
        EXPECT_EQ(out[1], 0.0F);
        EXPECT_EQ(out[2], 0.0F);
        block.stop();
    }
}

TEST_F(TOFreqWeight, ValuesOfOtherKindsAreNotWritten) {
    block.initSim();
    EXPECT_THAT(weighted(spectrum({5, 6}, kUnitNone, 100, 100)), ElementsAre(0, 0));  // as new
    EXPECT_THAT(weighted(spectrum({5, 6}, 11, 100, 100)), ElementsAre(0, 0));
    block.stop();
}

TEST_F(TOFreqWeight, OutputHasTheInputsHeader) {
    block.initSim();
    ChannelData data = spectrum({1, 2, 3, 4}, kUnitDecibel, 12, 34, 2);
    data.header.displaySpan = 77;
    data.hostBytes.fill(std::byte{9});
    host.takeTrace();
    const auto out = block.process(data);
    ASSERT_TRUE(out);
    EXPECT_EQ(std::memcmp(&out->header, &data.header, sizeof data.header), 0);
    EXPECT_EQ(out->hostBytes, data.hostBytes);
    EXPECT_THAT(host.takeTrace(),
                ElementsAre("1188 -> 2", "1189 -> 1", "1134 4 -> D2", "1143 D1 D2", "1135 D1"));
    block.stop();
}

TEST_F(TOFreqWeight, SpectrumMayChangeItsOriginAndLengthInTheRun) {
    block.initSim();
    EXPECT_THAT(weighted(spectrum({60}, kUnitDecibel, 100, 1)),
                ElementsAre(static_cast<float>(60 - 19.1)));
    EXPECT_THAT(weighted(spectrum({60, 60}, kUnitDecibel, 999, 1)), ElementsAre(60.0F, 60.0F));
    block.stop();
}

// --- Checks ---------------------------------------------------------------------------------

TEST_F(TOFreqWeight, UnknownUnitFailsWith135) {
    for (const std::int32_t unit : {-1, 5, 60}) {
        block.initSim();
        ChannelData data = spectrum({1}, kUnitDecibel, 0, 1);
        data.header.xAxisKind = unit;
        expectFailure(data, "konnte nicht festgestellt werden");
        block.stop();
    }
}

TEST_F(TOFreqWeight, ChangesDuringTheRunFail) {
    const ChannelData first = spectrum({1, 2}, kUnitDecibel, 0, 1);
    ChannelData unit = first;
    unit.header.xAxisKind = kKilohertz;
    ChannelData unknown = first;
    unknown.header.xAxisKind = 9;
    ChannelData rate = first;
    rate.header.xStep = std::nextafter(1.0, 2.0);
    ChannelData channels = first;
    channels.header.channelCount = 2;
    // Of several changes the first of unit, rate and channels is named.
    ChannelData rateAndChannels = rate;
    rateAndChannels.header.channelCount = 2;
    ChannelData everything = rateAndChannels;
    everything.header.xAxisKind = kKilohertz;
    const std::pair<ChannelData, const char*> rows[] = {
        {rateAndChannels, "Abtastrate der eintreffenden"},
        {everything, "Achsenbezeichnung der eintreffenden"},
        {unit, "Achsenbezeichnung der eintreffenden"},
        {unknown, "Achsenbezeichnung der eintreffenden"},
        {rate, "Abtastrate der eintreffenden"},
        {channels, "Anzahl der eintreffenden"}};
    for (const auto& [data, text] : rows) {
        block.initSim();
        EXPECT_EQ(weighted(first).size(), 2U);
        expectFailure(data, text);
        EXPECT_EQ(weighted(first).size(), 2U);  // the run goes on with what it began
        block.stop();
    }
}

TEST_F(TOFreqWeight, StepThatIsNoNumberFailsAsAChangedRate) {
    block.initSim();
    expectFailure(spectrum({1}, kUnitDecibel, 0, std::nan("")), "Abtastrate der eintreffenden");
    block.stop();
}

TEST_F(TOFreqWeight, TimeSignalsBelow4kHzAndAbove1MHzFailWith123) {
    for (const double rate : {2000.0, 3999.9, 1000001.0, 0.0, -48000.0}) {
        block.initSim();
        expectFailure(timeSignal({1, 2}, 1, 1.0 / rate), "Grenzfrenz ist gößer");
        block.stop();
    }
    block.initSim();
    expectFailure(timeSignal({1, 2}, 1, std::nan("")), "Grenzfrenz ist gößer");
    block.stop();
}

TEST_F(TOFreqWeight, FailedFirstBlockIsTriedAnew) {
    block.initSim();
    expectFailure(timeSignal({1, 2}, 1, 1.0 / 2000), "Grenzfrenz");
    expectFailure(timeSignal({1, 2}, 1, 1.0 / 2000), "Grenzfrenz");
    EXPECT_EQ(weighted(spectrum({60}, kUnitDecibel, 1000, 1)), std::vector<float>{60});
    block.stop();
}

TEST_F(TOFreqWeight, FailureHoldsTheInputUntilStop) {
    block.initSim();
    block.put(0, timeSignal({1, 2}, 1, 1.0 / 2000));
    EXPECT_EQ(block.simulate(), kFailed);
    EXPECT_EQ(host.memory().aliveData(), 1U);
    host.takeTrace();
    block.stop();
    EXPECT_THAT(host.takeTrace(), ElementsAre("1135 D1"));
    EXPECT_EQ(host.memory().aliveData(), 0U);
}

TEST_F(TOFreqWeight, NewRunForgetsTheHeldInputAndTheError) {
    block.initSim();
    block.put(0, timeSignal({1, 2}, 1, 1.0 / 2000));
    EXPECT_EQ(block.simulate(), kFailed);
    block.initSim();
    host.takeTrace();
    block.stop();
    EXPECT_TRUE(host.takeTrace().empty());
    expectNoReport();
}

TEST_F(TOFreqWeight, InputThatPassesOnAfterAFailureIsNotHeldAnyMore) {
    block.initSim();
    block.put(0, timeSignal({1, 2}, 1, 1.0 / 2000));
    EXPECT_EQ(block.simulate(), kFailed);
    block.set("PkXweight", 0);
    EXPECT_EQ(block.simulate(), 0);
    host.takeTrace();
    block.stop();
    EXPECT_TRUE(host.takeTrace().empty());
    EXPECT_THAT(block.take(0)->values, ElementsAre(1, 2));
}

TEST_F(TOFreqWeight, HostWithoutMemoryFailsWith125AndLosesNothing) {
    block.initSim();
    host.misbehave({.message = Message::newBlock, .value = 0, .times = 1});
    expectFailure(spectrum({60}, kUnitDecibel, 1000, 1), "Variable konnte nicht angelegt");
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_THAT(block.take(0)->values, ElementsAre(60));
    block.stop();
}

TEST_F(TOFreqWeight, UnsoundHeadersFailWithoutTouchingTheValues) {
    for (const std::int32_t channels : {0, -1}) {
        block.initSim();
        ChannelData data = spectrum({1, 2}, kUnitDecibel, 0, 1);
        data.header.channelCount = channels;
        block.put(0, data);
        EXPECT_EQ(block.simulate(), kFailed);
        EXPECT_TRUE(block.waits(0));
        block.stop();
    }
}

TEST_F(TOFreqWeight, WithoutARunNothingHappens) {
    block.put(0, timeSignal({1, 2}));
    EXPECT_EQ(block.simulate(), kFailed);
    block.stop();
    takeBoxes();
}

TEST_F(TOFreqWeight, StopReleasesTheFilters) {
    block.set("PkXweight", 1);
    block.initSim();
    EXPECT_TRUE(block.process(timeSignal({1, 2})));
    block.stop();
    block.put(0, timeSignal({1, 2}));
    EXPECT_EQ(block.simulate(), kFailed) << "a run without its begin has none";
    block.stop();
    block.initSim();
    EXPECT_TRUE(block.process(timeSignal({1, 2})));
    block.stop();
}

// --- Time signals ---------------------------------------------------------------------------

// The bilinear transform of the analog curve: corners and frequency warped alike.
double timeWeight(int weighting, double f, double rate) {
    const double pi = std::numbers::pi;
    const auto warp = [&](double hertz) {
        return std::tan(std::min(2 * pi * hertz / rate, 0.86 * pi) / 2);
    };
    const std::vector<double> corners[] = {{},
                                           {20.6, 20.6, 107.65, 737.86, 12194.22, 12194.22},
                                           {20.6, 20.6, 158.49, 12194.22, 12194.22},
                                           {20.6, 20.6, 12194.22, 12194.22}};
    const auto level = [&](double hertz) {
        const double w = std::tan(pi * hertz / rate);
        double sum = (5 - weighting) * std::log10(w);
        for (const double corner : corners[weighting]) {
            sum -= std::log10(std::hypot(w, warp(corner)));
        }
        return 20 * sum;
    };
    return level(f) - level(1000);
}

TEST_F(TOFreqWeight, TimeSignalsAreFilteredByTheWarpedCurve) {
    for (const double rate : kRates) {
        for (int weighting = 1; weighting <= 3; ++weighting) {
            block.set("PkXweight", weighting);
            block.initSim();
            // The slowest pole, 20.6 Hz, decays by e^(-129) within a second.
            const auto response =
                weighted(timeSignal(impulse(static_cast<std::size_t>(rate)), 1, 1.0 / rate));
            block.stop();
            for (const double f : {31.5, 100.0, 1000.0, 1900.0, 0.3 * rate}) {
                // Single-precision output: relative to its largest values, 1e-7 of about 1.
                const double expected = timeWeight(weighting, f, rate);
                const double tolerance = 1e-4 + 20e-7 * std::pow(10.0, -expected / 20.0);
                EXPECT_NEAR(decibelsAt(response, f / rate), expected, tolerance)
                    << weighting << " " << rate << " " << f;
            }
        }
    }
}

TEST_F(TOFreqWeight, MillisecondsCountAThousandTimesTheRate) {
    block.initSim();
    ChannelData data = timeSignal(impulse(8000), 1, 1000.0 / 8000);
    data.header.xAxisKind = kMilliseconds;
    EXPECT_NEAR(decibelsAt(weighted(data), 100.0 / 8000), timeWeight(1, 100, 8000), 1e-3);
    block.stop();
    block.initSim();
    data.header.xStep = 1.0;  // 1000 Hz
    expectFailure(data, "Grenzfrenz");
    block.stop();
}

TEST_F(TOFreqWeight, UnitCode0IsSeconds) {
    block.initSim();
    ChannelData data = timeSignal(impulse(4800));
    const auto expected = weighted(data);
    block.stop();
    block.initSim();
    data.header.xAxisKind = 0;
    EXPECT_EQ(weighted(data), expected);
    block.stop();
}

TEST_F(TOFreqWeight, RateLimitsThemselvesAreAccepted) {
    for (const double rate : {4000.0, 1e6}) {
        block.initSim();
        EXPECT_EQ(weighted(timeSignal({1, 2, 3}, 1, 1.0 / rate)).size(), 3U);
        block.stop();
    }
}

TEST_F(TOFreqWeight, OneLongBlockEqualsManyShortOnesBitForBit) {
    for (const int channels : {1, 2, 3, 8, 9, 32}) {
        const auto in = noise(2000 * static_cast<std::size_t>(channels));
        block.initSim();
        const auto whole = throughInBlocks(block, in, channels, {2000});
        block.stop();
        ASSERT_EQ(whole.size(), in.size());
        for (const auto& lengths : {std::vector<std::size_t>{1, 100, 37}, {64}, {99}}) {
            block.initSim();
            EXPECT_EQ(throughInBlocks(block, in, channels, lengths), whole) << channels;
            block.stop();
        }
    }
}

TEST_F(TOFreqWeight, EveryChannelIsFilteredAsIfItWereAlone) {
    const int channels = 11;
    const auto in = noise(500 * channels);
    block.initSim();
    const auto together = throughInBlocks(block, in, channels, {500});
    block.stop();
    for (int c = 0; c < channels; ++c) {
        block.initSim();
        EXPECT_EQ(throughInBlocks(block, channelOf(in, c, channels), 1, {500}),
                  channelOf(together, c, channels));
        block.stop();
    }
}

TEST_F(TOFreqWeight, NaNAndInfinityStayInTheirChannel) {
    auto in = noise(300 * 3);
    block.initSim();
    const auto clean = throughInBlocks(block, in, 3, {100});
    block.stop();
    in[30] = std::numeric_limits<float>::quiet_NaN();
    in[31] = std::numeric_limits<float>::infinity();
    block.initSim();
    const auto out = throughInBlocks(block, in, 3, {100});
    block.stop();
    EXPECT_EQ(channelOf(out, 2, 3), channelOf(clean, 2, 3));
    EXPECT_TRUE(std::isnan(out[30]));
    EXPECT_FALSE(std::isfinite(out[31]));
}

TEST_F(TOFreqWeight, EachRunStartsAtRest) {
    const auto in = noise(300);
    block.initSim();
    const auto first = throughInBlocks(block, in, 1, {100});
    block.stop();
    block.initSim();
    EXPECT_EQ(throughInBlocks(block, in, 1, {100}), first);
    block.initSim();  // without a stop between
    EXPECT_EQ(throughInBlocks(block, in, 1, {100}), first);
    block.stop();
}

TEST_F(TOFreqWeight, CurveThatChangesInTheRunStartsAtRest) {
    const auto in = noise(300);
    block.set("PkXweight", 3);
    block.initSim();
    const auto alone = throughInBlocks(block, in, 1, {300});
    block.stop();
    block.set("PkXweight", 1);
    block.initSim();
    throughInBlocks(block, noise(100, 5), 1, {100});
    control(3);
    EXPECT_EQ(throughInBlocks(block, in, 1, {300}), alone);
    block.stop();
}

TEST_F(TOFreqWeight, FilterThatWasBypassedGoesOnFromWhereItStood) {
    const auto first = noise(300);
    const auto second = noise(200, 5);
    auto both = first;
    both.insert(both.end(), second.begin(), second.end());
    block.initSim();
    const auto alone = throughInBlocks(block, both, 1, {300, 200});
    block.stop();
    block.initSim();
    auto parts = throughInBlocks(block, first, 1, {300});
    control(0);
    EXPECT_EQ(throughInBlocks(block, noise(100, 6), 1, {100}), noise(100, 6));
    control(1);
    const auto rest = throughInBlocks(block, second, 1, {200});
    parts.insert(parts.end(), rest.begin(), rest.end());
    EXPECT_EQ(parts, alone);
    block.stop();
}

TEST_F(TOFreqWeight, AnotherCurveBehindALinearStretchStartsAtRest) {
    const auto in = noise(300);
    block.set("PkXweight", 3);
    block.initSim();
    const auto alone = throughInBlocks(block, in, 1, {300});
    block.stop();
    block.set("PkXweight", 1);
    block.initSim();
    throughInBlocks(block, noise(100, 5), 1, {100});
    control(0);
    throughInBlocks(block, noise(100, 5), 1, {100});
    control(3);
    EXPECT_EQ(throughInBlocks(block, in, 1, {300}), alone);
    block.stop();
}

TEST_F(TOFreqWeight, RunMayBeginLinear) {
    const auto in = noise(300);
    block.initSim();
    const auto alone = throughInBlocks(block, in, 1, {300});
    block.stop();
    block.set("PkXweight", 0);
    block.initSim();
    EXPECT_EQ(throughInBlocks(block, in, 1, {300}), in);
    block.set("PkXweight", 1);
    EXPECT_EQ(throughInBlocks(block, in, 1, {300}), alone);
    block.stop();
}

TEST_F(TOFreqWeight, CurveNumbersOutsideTheNamedOnesActAsTheNearest) {
    block.initSim();
    const ChannelData line = spectrum({50}, kUnitDecibel, 31.5, 1);
    block.set("PkXweight", 3);
    const auto c = weighted(line);
    block.set("PkXweight", 300);
    EXPECT_EQ(weighted(line), c);
    block.set("PkXweight", -5);
    EXPECT_THAT(weighted(line), ElementsAre(50));
    block.stop();
}

TEST_F(TOFreqWeight, ValuesThatMakeNoWholeSampleBecomeZero) {
    block.initSim();
    ChannelData data = timeSignal(std::vector<float>(7, 1.0F), 3);
    data.header.valueCount = 7;
    const auto out = weighted(data);
    ASSERT_EQ(out.size(), 7U);
    EXPECT_NE(out[5], 0.0F);
    EXPECT_EQ(out[6], 0.0F);
    block.stop();
}

TEST_F(TOFreqWeight, EmptyBlocksPassThrough) {
    block.initSim();
    const auto out = block.process(timeSignal(std::vector<float>()));
    ASSERT_TRUE(out);
    EXPECT_TRUE(out->values.empty());
    block.stop();
}

TEST_F(TOFreqWeight, BlockMayBeDestroyedInTheMiddleOfARun) {
    PlacedBlock other(host, kFreqWeight);
    other.wireAll();
    other.wireInput(1, -1);
    other.set("PkXweight", 2);
    other.initSim();
    EXPECT_TRUE(other.process(timeSignal({1, 2, 3})));
}

}  // namespace
}  // namespace vynhost::test
