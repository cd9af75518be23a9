#include "blocks/stats/TOStatFunktion.h"

#include <cmath>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

#include "host/module_interface.h"
#include "numerics/band_tables.h"

namespace vynpack {
namespace {

constexpr double kLargest = std::numeric_limits<double>::max();

// 0, or kFailed when memory is out.
template <class Number>
int allocate(std::vector<Number>& numbers, int count, Number value) {
    try {
        std::vector<Number>(static_cast<std::size_t>(count), value).swap(numbers);
    } catch (const std::bad_alloc&) {
        return kFailed;
    } catch (const std::length_error&) {
        return kFailed;
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

double StatQuestion::operator[](Statistic other) const {
    return functions.value(other, block, channel);
}

double StatQuestion::xOf(Statistic extreme) const {
    return block.x(functions.indexOf(extreme, block, channel));
}

template <class Result>
Result StatQuestion::over(Result (SamplePasses::*pass)(SampleRows, int)) const {
    return (functions.passes().*pass)(block.samples, channel);
}

void StoredStatistic::makeValue(const StatQuestion& asked) {
    results_[index(asked.channel)] = compute(asked);
    ClearPending(asked.channel);
}

int StoredStatistic::InitChannels(int channels) { return allocate(results_, channels, 0.0); }

int IndexedStatistic::InitChannels(int channels) {
    const int failed = StoredStatistic::InitChannels(channels);
    return failed != 0 ? failed : allocate(indices_, channels, 0);
}

double IndexedStatistic::note(const Extreme& extreme, double fallback, int channel) {
    if (!extreme.found) return fallback;
    indices_[index(channel)] = extreme.index;
    return extreme.value;
}

template <>
double TOStatSumBlock::compute(const StatQuestion& asked) {
    return asked.over(&SamplePasses::sum);
}

template <>
double TOStatSumAll::compute(const StatQuestion& asked) {
    return stored(asked.channel) + asked[kSumBlock];
}

template <>
double TOStatQSum::compute(const StatQuestion& asked) {
    return asked.over(&SamplePasses::sumOfSquares);
}

template <>
double TOStatYMax::compute(const StatQuestion& asked) {
    return note(asked.over(&SamplePasses::maximum), -kLargest, asked.channel);
}

template <>
double TOStatXonYMax::compute(const StatQuestion& asked) {
    return MapX(asked.block, asked.xOf(kYMax));
}

template <>
double TOStatYMin::compute(const StatQuestion& asked) {
    return note(asked.over(&SamplePasses::minimum), kLargest, asked.channel);
}

template <>
double TOStatXonYMin::compute(const StatQuestion& asked) {
    return MapX(asked.block, asked.xOf(kYMin));
}

template <>
double TOStatXMax::compute(const StatQuestion& asked) {
    // Kept: the x just behind the last sample, although YonXMax is the last sample itself.
    return MapX(asked.block, asked.block.x(asked.n()));
}

template <>
double TOStatYonXMax::compute(const StatQuestion& asked) {
    return asked.n() < 1 ? 0.0 : asked.block.sample(asked.n() - 1, asked.channel);
}

template <>
double TOStatXMin::compute(const StatQuestion& asked) {
    return MapX(asked.block, asked.block.xStart);
}

template <>
double TOStatYonXMin::compute(const StatQuestion& asked) {
    return asked.n() < 1 ? 0.0 : asked.block.sample(0, asked.channel);
}

template <>
double TOStatAMean::compute(const StatQuestion& asked) {
    return asked[kSumBlock] / asked.n();
}

template <>
double TOStatQMean::compute(const StatQuestion& asked) {
    return std::sqrt(asked[kQSum] / asked.n());
}

template <>
double TOStatGMean::compute(const StatQuestion& asked) {
    return asked.over(&SamplePasses::productOfRoots);
}

template <>
double TOStatHMean::compute(const StatQuestion& asked) {
    const double sum = asked.over(&SamplePasses::sumOfReciprocals);
    return sum != 0.0 ? asked.n() / sum : 0.0;
}

template <>
double TOStatSpannw::compute(const StatQuestion& asked) {
    return asked[kYMax] - asked[kYMin];
}

template <>
double TOStatStdAbw::compute(const StatQuestion& asked) {
    return std::sqrt(asked[kVarianz]);
}

template <>
double TOStatVarianz::compute(const StatQuestion& asked) {
    if (asked.n() < 2) return 0.0;
    // The deviations are taken from this mean, which is now served from its stored result.
    static_cast<void>(asked[kAMean]);
    return 1.0 / (asked.n() - 1) * asked.over(&SamplePasses::sumOfSquaredDeviations);
}

template <>
double TOStatVarKoeff::compute(const StatQuestion& asked) {
    const double mean = asked[kAMean];
    return mean == 0.0 ? 0.0 : asked[kStdAbw] / mean;
}

template <>
double TOStatVarKoeffRel::compute(const StatQuestion& asked) {
    return asked[kVarKoeff] / std::sqrt(asked.n() - 1) * 100.0;
}

template <>
double TOStatMAAVMW::compute(const StatQuestion& asked) {
    static_cast<void>(asked[kAMean]);
    return 1.0 / asked.n() * asked.over(&SamplePasses::sumOfDeviations);
}

namespace {

template <int... statistics>
auto oneOfEach(std::integer_sequence<int, statistics...>) {
    return std::array<std::unique_ptr<StoredStatistic>, kStatistics>{
        std::make_unique<Measure<Statistic{statistics}>>()...};
}

}  // namespace

StatFunctions::StatFunctions()
    : functions_(oneOfEach(std::make_integer_sequence<int, kStatistics>())) {}

int StatFunctions::initChannels(int channels) {
    for (const auto& function : functions_) {
        if (function->AllocPending(channels) != 0) return kFailed;
        if (function->InitChannels(channels) != 0) return kFailed;
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
