#include "blocks/classify/core/extreme_counting.h"

#include <algorithm>

#include "blocks/classify/core/class_index_kernels.h"
#include "kernels/level.h"

namespace vynpack {
namespace {

constexpr std::size_t kLanes = kGroupLanes;

// Samples per channel that are searched in one go.
constexpr std::size_t kFramesInWork = 128;

}  // namespace

ExtremeCounting::ExtremeCounting(const CountingRules& rules, int channels, int columns)
    : CountingMethod(rules, channels),
      columns_(columns),
      counts_(rules.scale.number, channels * columns),
      padded_(kFramesInWork * kLanes),
      extremes_(kFramesInWork * kLanes),
      shifts_(kFramesInWork * kLanes),
      indices_(kFramesInWork * kLanes) {}

std::size_t ExtremeCounting::groups() const {
    return (static_cast<std::size_t>(channels()) + kLanes - 1) / kLanes;
}

void ExtremeCounting::update(std::span<const float> samples, double /*step*/,
                             std::span<float> values) {
    const std::size_t all = samplesPerChannel(samples);
    std::size_t from = 0;
    if (first_ && all > 0) {
        for (int c = 0; c < channels(); ++c)
            open(c, samples[static_cast<std::size_t>(c)]);
        from = 1;
    }
    first_ = false;
    while (from < all) {
        const std::size_t frames = std::min(kFramesInWork, all - from);
        for (std::size_t group = 0; group < groups(); ++group)
            take(group, samples.data() + from * static_cast<std::size_t>(channels()), frames);
        from += frames;
    }
    write(values);
}

// `x`: the first sample of all channels.
void ExtremeCounting::take(std::size_t group, const float* x, std::size_t frames) {
    const std::size_t firstChannel = group * kLanes;
    const auto width = static_cast<std::size_t>(channels());
    const std::size_t count = std::min(kLanes, width - firstChannel);
    const LaneRows rows =
        laneRows(x + firstChannel, width, frames, static_cast<int>(count), padded_.data());
    const auto lanes = static_cast<std::size_t>(rows.lanes);
    const bool shifted = search(group, rows, extremes_.data(), shifts_.data());
    vyn::kernelsAt<ClassIndexKernels>().ofExtremes(extremes_.data(),
                                                   shifted ? shifts_.data() : nullptr,
                                                   frames * lanes, scale(), indices_.data());
    const std::size_t perChannel = counts_.places() * static_cast<std::size_t>(columns_);
    const std::int32_t* index = indices_.data();
    for (std::size_t frame = 0; frame < frames; ++frame, index += lanes) {
        std::uint32_t* counters = counts_.data() + firstChannel * perChannel;
        for (std::size_t lane = 0; lane < count; ++lane, counters += perChannel)
            ++counters[index[lane]];
    }
}

void ExtremeCounting::write(std::span<float> values) const {
    const auto width = static_cast<std::size_t>(channels());
    for (int c = 0; c < channels(); ++c) {
        const std::uint32_t total = counts_.total(c);
        float* value = values.data() + c;
        for (int k = 0; k < classes(); ++k, value += width)
            *value = result(counts_.at(k, c), total);
    }
}

void ExtremeCounting::reset() {
    counts_.clear();
    forget();
}

}  // namespace vynpack
