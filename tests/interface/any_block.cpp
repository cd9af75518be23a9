#include "interface/any_block.h"
#include "support/signals.h"

#include <cstring>

namespace vynhost::test {
namespace {

constexpr int kSamples = 200;
constexpr int kChannels = 2;

bool carriesData(int typeCode, int input) {
    return input == 0 || (input == 1 && (typeCode == kInverseFFT || typeCode == kDualSpektrum));
}

}  // namespace

ChannelData suitableData(int typeCode, int input, unsigned seed) {
    if (!carriesData(typeCode, input)) {
        const float curve = typeCode == kFreqWeight ? 1.0F : 0.0F;  // A; 0 would bypass the block
        return timeSignal(std::vector<float>(4, curve), 1, 0.001);
    }
    std::vector<float> values =
        signals::noise(kSamples * kChannels, seed + static_cast<unsigned>(input));
    // The filters' edges and the weighting curves need room below half the rate.
    const bool filters = typeCode == kDigitalFilter || typeCode == kFreqWeight;
    ChannelData data = timeSignal(std::move(values), kChannels, filters ? 1.0 / 48000 : 0.001);
    if (typeCode == kTerzOktave || typeCode == kInverseFFT) {
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

::testing::AssertionResult sameBits(const Outputs& left, const Outputs& right) {
    if (left.size() != right.size()) {
        return ::testing::AssertionFailure()
               << left.size() << " and " << right.size() << " outputs";
    }
    for (std::size_t j = 0; j < left.size(); ++j) {
        if (left[j].has_value() != right[j].has_value()) {
            return ::testing::AssertionFailure() << "output " << j << " is there only once";
        }
        if (!left[j]) continue;
        if (std::memcmp(&left[j]->header, &right[j]->header, sizeof(ChannelHeader)) != 0) {
            return ::testing::AssertionFailure() << "the heads at output " << j << " differ";
        }
        const auto& a = left[j]->values;
        const auto& b = right[j]->values;
        if (a.size() != b.size()) {
            return ::testing::AssertionFailure()
                   << a.size() << " and " << b.size() << " values at output " << j;
        }
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (std::memcmp(&a[i], &b[i], sizeof(float)) != 0) {
                return ::testing::AssertionFailure()
                       << "output " << j << ", value " << i << ": " << a[i] << " and " << b[i];
            }
        }
    }
    return ::testing::AssertionSuccess();
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

}  // namespace vynhost::test
