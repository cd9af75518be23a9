#include "vynhost/validate/working_block.h"

#include <cmath>
#include <numeric>
#include <random>

namespace vynhost {
namespace {

constexpr int kSamples = 200;
constexpr int kChannels = 2;

}  // namespace

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
