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
      finder_(rules.scale, false),
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
    if (from < all) count(samples.data() + from * static_cast<std::size_t>(channels()), all - from);
    write(values);
}

void ExtremeCounting::count(const float* x, std::size_t frames) {
    while (frames > 0) {
        const std::size_t now = std::min(kFramesInWork, frames);
        for (std::size_t group = 0; group < groups(); ++group)
            take(group, x, now);
        x += now * static_cast<std::size_t>(channels());
        frames -= now;
    }
}

void ExtremeCounting::countExtremes(std::size_t channel, std::size_t number) {
    const ClassIndexKernels& kernels = vyn::kernelsAt<ClassIndexKernels>();
    std::uint32_t* const counters =
        counts_.data() + channel * counts_.places() * static_cast<std::size_t>(columns_);
    if (!finder_.ready()) {
        kernels.ofExtremes(extremes_.data(), nullptr, number, scale(), indices_.data());
        for (std::size_t i = 0; i < number; ++i)
            ++counters[indices_[i]];
        return;
    }
    kernels.nearestLimitsOfExtremes(extremes_.data(), number, finder_.ruler(), indices_.data());
    for (std::size_t i = 0; i < number; ++i)
        ++counters[finder_.classOf(extremes_[i], indices_[i])];
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
    const ClassIndexKernels& kernels = vyn::kernelsAt<ClassIndexKernels>();
    const std::size_t perChannel = counts_.places() * static_cast<std::size_t>(columns_);
    std::uint32_t* const first = counts_.data() + firstChannel * perChannel;
    const auto countAll = [&](auto classOf) {
        for (std::size_t i = 0; i < frames * lanes; i += lanes) {
            std::uint32_t* counters = first;
            for (std::size_t lane = 0; lane < count; ++lane, counters += perChannel)
                ++counters[classOf(i + lane)];
        }
    };
    const double* extremes = extremes_.data();
    const std::int32_t* indices = indices_.data();
    if (!finder_.ready()) {
        kernels.ofExtremes(extremes, shifted ? shifts_.data() : nullptr, frames * lanes, scale(),
                           indices_.data());
        countAll([=](std::size_t i) { return indices[i]; });
        return;
    }
    kernels.nearestLimitsOfExtremes(extremes, frames * lanes, finder_.ruler(), indices_.data());
    const auto classOf = [=, this](std::size_t i) {
        return finder_.classOf(extremes[i], indices[i]);
    };
    if (shifted) {
        // A shift leads from a place outside the classes to one that is outside as well.
        const double* shifts = shifts_.data();
        countAll(
            [=](std::size_t i) { return classOf(i) + static_cast<std::ptrdiff_t>(shifts[i]); });
    } else {
        countAll(classOf);
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
