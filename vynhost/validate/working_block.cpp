#include "vynhost/validate/working_block.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>

namespace vynhost {
namespace {

constexpr int kSamples = 200;
constexpr int kChannels = 2;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr auto kLowest = std::numeric_limits<std::int32_t>::min();
constexpr auto kLargest = std::numeric_limits<std::int32_t>::max();

// clang-format off
constexpr HeadLie kHeadLies[] = {
    {"sound",              [](ChannelHeader&) {}},
    {"-1 values",          [](ChannelHeader& h) { h.valueCount = -1; }},
    {"0 values",           [](ChannelHeader& h) { h.valueCount = 0; }},
    {"1 value",            [](ChannelHeader& h) { h.valueCount = 1; }},
    {"3 values",           [](ChannelHeader& h) { h.valueCount = 3; }},
    {"an odd value count", [](ChannelHeader& h) { h.valueCount -= h.valueCount > 0; }},
    {"fewest values",      [](ChannelHeader& h) { h.valueCount = kLowest; }},
    {"0 channels",         [](ChannelHeader& h) { h.channelCount = 0; }},
    {"-1 channels",        [](ChannelHeader& h) { h.channelCount = -1; }},
    {"3 channels",         [](ChannelHeader& h) { h.channelCount = 3; }},
    {"33 channels",        [](ChannelHeader& h) { h.channelCount = 33; }},
    {"10^5 channels",      [](ChannelHeader& h) { h.channelCount = 100000; }},
    {"fewest channels",    [](ChannelHeader& h) { h.channelCount = kLowest; }},
    {"most channels",      [](ChannelHeader& h) { h.channelCount = kLargest; }},
    {"step 0",             [](ChannelHeader& h) { h.xStep = 0; }},
    {"step -0",            [](ChannelHeader& h) { h.xStep = -0.0; }},
    {"step infinite",      [](ChannelHeader& h) { h.xStep = kInfinity; }},
    {"step -infinite",     [](ChannelHeader& h) { h.xStep = -kInfinity; }},
    {"step no number",     [](ChannelHeader& h) { h.xStep = kNaN; }},
    {"step denormal",      [](ChannelHeader& h) { h.xStep = 1e-320; }},
    {"step negative",      [](ChannelHeader& h) { h.xStep = -0.001; }},
    {"axis -1",            [](ChannelHeader& h) { h.xAxisKind = -1; }},
    {"axis 0",             [](ChannelHeader& h) { h.xAxisKind = 0; }},
    {"axis ms",            [](ChannelHeader& h) { h.xAxisKind = kMilliseconds; }},
    {"axis Hz",            [](ChannelHeader& h) { h.xAxisKind = kHertz; }},
    {"axis kHz",           [](ChannelHeader& h) { h.xAxisKind = kKilohertz; }},
    {"axis 60",            [](ChannelHeader& h) { h.xAxisKind = 60; }},
    {"third octaves",      [](ChannelHeader& h) { h.axisFlags = kThirdOctaveBands; }},
    {"octaves",            [](ChannelHeader& h) { h.axisFlags = kOctaveBands; }},
    {"both bands",         [](ChannelHeader& h) { h.axisFlags = kThirdOctaveBands | kOctaveBands; }},
    {"start -1",           [](ChannelHeader& h) { h.xStart = -1; }},
    {"start 33",           [](ChannelHeader& h) { h.xStart = 33; }},
    {"start no number",    [](ChannelHeader& h) { h.xStart = kNaN; }},
    {"start 1e300",        [](ChannelHeader& h) { h.xStart = 1e300; }},
    {"unit dB",            [](ChannelHeader& h) { h.yUnit = kUnitDecibel; }},
    {"unit power",         [](ChannelHeader& h) { h.yUnit = kUnitPower; }},
};
// clang-format on

}  // namespace

std::span<const HeadLie> headLies() { return kHeadLies; }

std::vector<int> allTypes() {
    std::vector<int> types(kTypes);
    std::iota(types.begin(), types.end(), kFirstType);
    return types;
}

bool carriesData(Int typeCode, int input) {
    return input == 0 || (input == 1 && (typeCode == kInverseFFT || typeCode == kDualSpektrum));
}

bool takesSpectra(Int typeCode) { return typeCode == kTerzOktave || typeCode == kInverseFFT; }

std::vector<float> evenNoise(std::size_t count, unsigned seed) {
    constexpr int kDigits = 24;  // of a float
    std::mt19937 random(seed);
    std::vector<float> samples(count);
    for (float& sample : samples) {
        const auto steps = static_cast<float>(random() >> (32 - kDigits));
        sample = -1.0F + 2.0F * std::ldexp(steps, -kDigits);
    }
    return samples;
}

ChannelData suitableData(Int typeCode, int input, unsigned seed) {
    if (!carriesData(typeCode, input)) {
        const float curve = typeCode == kFreqWeight ? 1.0F : 0.0F;  // A; 0 would bypass the block
        return timeSignal(std::vector<float>(4, curve), 1, 0.001);
    }
    std::vector<float> values =
        evenNoise(kSamples * kChannels, seed + static_cast<unsigned>(input));
    // The filters' edges and the weighting curves need room below half the rate.
    const bool filters = typeCode == kDigitalFilter || typeCode == kFreqWeight;
    ChannelData data = timeSignal(std::move(values), kChannels, filters ? 1.0 / 48000 : 0.001);
    if (takesSpectra(typeCode)) {
        data.header.xAxisKind = kHertz;
        data.header.xStep = 10;
    }
    return data;
}

void feed(PlacedBlock& block, unsigned seed) {
    for (int i = 0; i < static_cast<int>(block.inputLabels().size()); ++i) {
        if (!block.waits(i)) block.put(i, suitableData(block.typeCode(), i, seed));
    }
}

Outputs collect(PlacedBlock& block) {
    Outputs outputs;
    for (int j = 0; j < static_cast<int>(block.outputLabels().size()); ++j) {
        outputs.push_back(block.take(j));
    }
    return outputs;
}

std::vector<Outputs> run(PlacedBlock& block, int dataBlocks) {
    std::vector<Outputs> all;
    block.wireAll();
    block.initSim();
    for (int i = 0; i < dataBlocks; ++i) {
        feed(block, static_cast<unsigned>(i + 1));
        block.simulate();
        all.push_back(collect(block));
    }
    block.stop();
    for (int i = 0; i < kMaxConnectors; ++i)
        block.put(i, Handle::none);
    return all;
}

}  // namespace vynhost
