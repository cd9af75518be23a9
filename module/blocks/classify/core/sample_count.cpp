#include "blocks/classify/core/sample_count.h"

#include <algorithm>

#include "blocks/classify/core/class_index_kernels.h"
#include "kernels/level.h"

namespace vynpack {
namespace {

// Samples whose class indices are found in one go.
constexpr std::size_t kInWork = 2048;

// One channel's neighbouring samples mostly fall into the same class; a counter that has just been
// written waits for its next turn. So they take turns with as many counters.
constexpr int kTallies = 4;

}  // namespace

SampleCount::SampleCount(const CountingRules& rules, int channels)
    : CountingMethod(rules, channels),
      finder_(rules.scale, true),
      counts_(rules.scale.number, channels),
      tallies_(rules.scale.number, channels == 1 ? kTallies : 0),
      written_(counts_),
      totals_(static_cast<std::size_t>(channels)),
      surplus_(totals_.size()),
      indices_(std::max(kInWork, totals_.size())) {}

void SampleCount::update(std::span<const float> samples, double /*step*/, std::span<float> values) {
    countSamples(samples);
    if (rules().relative) {
        writeRelative(values);
    } else {
        writeAbsolute(values);
    }
    written_ = counts_;
}

void SampleCount::countSamples(std::span<const float> samples) {
    const std::size_t width = totals_.size();
    const std::size_t all = samplesPerChannel(samples);
    const std::size_t framesInWork = indices_.size() / width;
    for (std::size_t done = 0; done < all;) {
        const std::size_t frames = std::min(framesInWork, all - done);
        countStretch(samples.data() + done * width, frames);
        done += frames;
    }
}

void SampleCount::countStretch(const float* x, std::size_t frames) {
    const ClassIndexKernels& kernels = vyn::kernelsAt<ClassIndexKernels>();
    const std::size_t samples = frames * totals_.size();
    if (finder_.ready()) {
        kernels.classes(x, samples, finder_.ruler(), finder_.limits(), indices_.data());
    } else {
        kernels.ofSamples(x, samples, scale(), indices_.data());
    }
    if (totals_.size() == 1 && counts_.places() * kTallies < frames) {
        countOneChannel(frames);
        return;
    }
    const std::int32_t* index = indices_.data();
    for (std::size_t frame = 0; frame < frames; ++frame) {
        std::uint32_t* counts = counts_.data();
        for (std::size_t c = 0; c < totals_.size(); ++c, counts += counts_.places())
            ++counts[*index++];
    }
}

void SampleCount::countOneChannel(std::size_t count) {
    const std::int32_t* index = indices_.data();
    std::uint32_t* const tallies = tallies_.data();
    const auto places = static_cast<std::ptrdiff_t>(tallies_.places());
    std::size_t i = 0;
    for (; i + kTallies <= count; i += kTallies) {
        for (int turn = 0; turn < kTallies; ++turn)
            ++tallies[turn * places + index[i + turn]];
    }
    for (; i < count; ++i)
        ++tallies[index[i]];
    std::uint32_t* const counts = counts_.data();
    for (int k = 0; k < classes(); ++k) {
        for (int turn = 0; turn < kTallies; ++turn)
            counts[k] += tallies_.at(k, turn);
    }
    tallies_.clear();
}

void SampleCount::writeRelative(std::span<float> values) {
    float* value = values.data();
    for (int c = 0; c < channels(); ++c) {
        const auto channel = static_cast<std::size_t>(c);
        const std::uint32_t counted = counts_.total(c);
        // Kept: a channel without counts gets a total of 1, which stays in all later totals.
        if (counted + surplus_[channel] == 0) surplus_[channel] = 1;
        totals_[channel] = counted + surplus_[channel];
    }
    for (int k = 0; k < classes(); ++k) {
        for (int c = 0; c < channels(); ++c)
            *value++ = percentOf(counts_.at(k, c), totals_[static_cast<std::size_t>(c)]);
    }
}

// Kept: only a count that has changed is written; after a run that began relative the others show
// their percentage until they change.
void SampleCount::writeAbsolute(std::span<float> values) {
    float* value = values.data();
    for (int k = 0; k < classes(); ++k) {
        for (int c = 0; c < channels(); ++c, ++value) {
            const std::uint32_t count = counts_.at(k, c);
            if (count != written_.at(k, c)) *value = static_cast<float>(count);
        }
    }
}

void SampleCount::reset() {
    counts_.clear();
    written_.clear();
    std::ranges::fill(surplus_, 0U);
}

}  // namespace vynpack
