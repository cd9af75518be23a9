#include "blocks/stats/TOStatFunktion.h"

#include <cmath>
#include <limits>
#include <new>
#include <stdexcept>

#include "host/channel_block.h"
#include "numerics/band_tables.h"

namespace vynpack {
namespace {

constexpr int kOutOfMemory = 512;
constexpr double kLargest = std::numeric_limits<double>::max();

// 0, or 512 when memory is out.
template <class Number>
int allocate(std::vector<Number>& numbers, int count, Number value) {
    try {
        std::vector<Number>(static_cast<std::size_t>(count), value).swap(numbers);
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    } catch (const std::length_error&) {
        return kOutOfMemory;
    }
    return 0;
}

}  // namespace

int TOStatFunktion::AllocPending(int channels) { return allocate(pending_, channels, 1); }

double TOStatFunktion::MapX(const StatBlock& block, double x) {
    if ((block.axisFlags & kAxisThirdOctaveBands) != 0) {
        return centreFrequency(thirdOctaveBands(), x);
    }
    if ((block.axisFlags & kAxisOctaveBands) != 0) return centreFrequency(octaveBands(), x);
    return x;
}

double StoredStatistic::GetValue(const StatBlock& block, StatFunctions& functions, int channel) {
    if (IsPending(channel)) {
        results_[index(channel)] = compute(block, functions, channel);
        ClearPending(channel);
    }
    return results_[index(channel)];
}

int StoredStatistic::InitChannels(int channels) { return allocate(results_, channels, 0.0); }

double TOStatSumBlock::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return functions.passes().sum(block.samples, channel);
}

double TOStatSumAll::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return stored(channel) + functions.value(kSumBlock, block, channel);
}

double TOStatQSum::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return functions.passes().sumOfSquares(block.samples, channel);
}

int IndexedStatistic::InitChannels(int channels) {
    const int failed = StoredStatistic::InitChannels(channels);
    return failed != 0 ? failed : allocate(indices_, channels, 0);
}

double IndexedStatistic::note(const Extreme& extreme, double fallback, int channel) {
    if (!extreme.found) return fallback;
    indices_[index(channel)] = extreme.index;
    return extreme.value;
}

double TOStatYMax::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return note(functions.passes().maximum(block.samples, channel), -kLargest, channel);
}

double TOStatXonYMax::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return MapX(block, block.x(functions.indexOf(kYMax, block, channel)));
}

double TOStatYMin::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return note(functions.passes().minimum(block.samples, channel), kLargest, channel);
}

double TOStatXonYMin::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return MapX(block, block.x(functions.indexOf(kYMin, block, channel)));
}

double TOStatXMax::compute(const StatBlock& block, StatFunctions&, int) {
    // Kept: the x just behind the last sample, although YonXMax is the last sample itself.
    return MapX(block, block.x(block.n()));
}

double TOStatYonXMax::compute(const StatBlock& block, StatFunctions&, int channel) {
    if (block.n() < 1) return 0.0;
    const std::size_t last = index(block.n() - 1);
    return block.samples.values[last * index(block.samples.channels) + index(channel)];
}

double TOStatXMin::compute(const StatBlock& block, StatFunctions&, int) {
    return MapX(block, block.xStart);
}

double TOStatYonXMin::compute(const StatBlock& block, StatFunctions&, int channel) {
    return block.n() < 1 ? 0.0 : block.samples.values[index(channel)];
}

double TOStatAMean::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return functions.value(kSumBlock, block, channel) / block.n();
}

double TOStatQMean::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return std::sqrt(functions.value(kQSum, block, channel) / block.n());
}

double TOStatGMean::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return functions.passes().productOfRoots(block.samples, channel);
}

double TOStatHMean::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    const double sum = functions.passes().sumOfReciprocals(block.samples, channel);
    return sum != 0.0 ? block.n() / sum : 0.0;
}

double TOStatSpannw::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return functions.value(kYMax, block, channel) - functions.value(kYMin, block, channel);
}

double TOStatStdAbw::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return std::sqrt(functions.value(kVarianz, block, channel));
}

double TOStatVarianz::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    if (block.n() < 2) return 0.0;
    // The deviations are taken from this mean, which is now served from its stored result.
    functions.value(kAMean, block, channel);
    return 1.0 / (block.n() - 1) *
           functions.passes().sumOfSquaredDeviations(block.samples, channel);
}

double TOStatVarKoeff::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    const double mean = functions.value(kAMean, block, channel);
    return mean == 0.0 ? 0.0 : functions.value(kStdAbw, block, channel) / mean;
}

double TOStatVarKoeffRel::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    return functions.value(kVarKoeff, block, channel) / std::sqrt(block.n() - 1) * 100.0;
}

double TOStatMAAVMW::compute(const StatBlock& block, StatFunctions& functions, int channel) {
    functions.value(kAMean, block, channel);
    return 1.0 / block.n() * functions.passes().sumOfDeviations(block.samples, channel);
}

StatFunctions::StatFunctions()
    : functions_{std::make_unique<TOStatSumBlock>(), std::make_unique<TOStatSumAll>(),
                 std::make_unique<TOStatQSum>(),     std::make_unique<TOStatYMax>(),
                 std::make_unique<TOStatXonYMax>(),  std::make_unique<TOStatYMin>(),
                 std::make_unique<TOStatXonYMin>(),  std::make_unique<TOStatXMax>(),
                 std::make_unique<TOStatYonXMax>(),  std::make_unique<TOStatXMin>(),
                 std::make_unique<TOStatYonXMin>(),  std::make_unique<TOStatAMean>(),
                 std::make_unique<TOStatQMean>(),    std::make_unique<TOStatGMean>(),
                 std::make_unique<TOStatHMean>(),    std::make_unique<TOStatSpannw>(),
                 std::make_unique<TOStatStdAbw>(),   std::make_unique<TOStatVarianz>(),
                 std::make_unique<TOStatVarKoeff>(), std::make_unique<TOStatVarKoeffRel>(),
                 std::make_unique<TOStatMAAVMW>()} {}

int StatFunctions::initChannels(int channels) {
    for (const auto& function : functions_) {
        if (function->AllocPending(channels) != 0) return kOutOfMemory;
        if (function->InitChannels(channels) != 0) return kOutOfMemory;
    }
    channels_ = channels;
    setAllPending();
    return 0;
}

void StatFunctions::setAllPending() {
    for (const auto& function : functions_) {
        for (int channel = 0; channel < channels_; ++channel)
            function->SetPending(channel);
    }
    passes_.forget();
}

std::int32_t StatFunctions::indexOf(Statistic extreme, const StatBlock& block, int channel) {
    const auto& function = static_cast<const IndexedStatistic&>(*functions_[extreme]);
    value(extreme, block, channel);
    return function.GetIndex(channel);
}

}  // namespace vynpack
