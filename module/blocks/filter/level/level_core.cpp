#include "blocks/filter/level/level_core.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "kernels/level.h"

namespace vynpack {
namespace {

// Ratios in work fit into the first cache.
constexpr std::size_t kRatiosAtOnce = 1024;
constexpr std::size_t kMostFramesAtOnce = 128;

constexpr std::size_t kLanes = kGroupLanes;

// Samples of an interval, as a number of at least 1.
double samplesPerOutput(double rate, double outputFrequency) {
    const double samples = rate / outputFrequency;
    // A higher output frequency than the sample rate gives one output per sample.
    if (!(samples >= 1.0)) return 1.0;
    if (samples >= std::numeric_limits<std::int32_t>::max()) throw std::bad_alloc();
    return samples;
}

}  // namespace

double timeConstantOf(int timeWeighting) {
    switch (timeWeighting) {
        case kFast: return 0.125;
        case kImpulse: return 0.035;
        default: return 1.0;
    }
}

LevelMeter::LevelMeter(const LevelSettings& settings)
    : channels_(settings.channels),
      rate_(1.0 / settings.step),
      alpha_(1.0 - std::exp(-settings.step / settings.timeConstant)),
      groups_(levelGroups(settings.channels)),
      framesAtOnce_(
          std::clamp<std::size_t>(kRatiosAtOnce / (groups_.size() * kLanes), 1, kMostFramesAtOnce)),
      meanSquares_(groups_.size() * kLanes),
      ratios_(groups_.size() * kLanes * framesAtOnce_),
      energies_(channels_ == 1 ? framesAtOnce_ + 1 : 0),
      pending_(groups_.size() * kLanes),
      padded_(kLanes * framesAtOnce_),
      statistics_(settings.channels, settings.step, settings.clockSeconds,
                  settings.blankedSeconds) {
    const double samples = samplesPerOutput(rate_, settings.outputFrequency);
    const double whole = std::floor(samples);
    places_ = static_cast<std::int64_t>(whole) + 1;
    fraction_ = samples - whole;
}

// The squared ratios of some frames, group by group.
void LevelMeter::weight(const float* x, std::size_t frames, LevelMode mode, double* ratios,
                        std::size_t groupStride) {
    const LevelKernels& kernels = vyn::kernelsAt<LevelKernels>();
    for (std::size_t g = 0; g < groups_.size(); ++g) {
        const LevelGroup& group = groups_[g];
        const LaneRows rows = laneRows(x + group.firstChannel, static_cast<std::size_t>(channels_),
                                       frames, group.channels, padded_.data());
        double* out = ratios + g * groupStride;
        if (mode.rms) {
            kernels.smooth(rows, alpha_, &meanSquares_[g * kLanes], out);
        } else {
            kernels.square(rows, out);
        }
    }
}

void LevelMeter::weightOne(const float* x, std::size_t frames) {
    energies_[0] = statistics_.energy();
    vyn::kernelsAt<LevelKernels>().smoothOne({x, 1, frames, 1}, alpha_, meanSquares_.data(),
                                             ratios_.data(), energies_.data());
}

void LevelMeter::feed(std::span<const float> frames, std::int32_t control, LevelMode mode) {
    // Kept: judged against the last sample of the last output, so that a reset clears the means at
    // every call until the next output.
    if ((control & ~controlAtOutput_ & kResetAll) != 0) std::ranges::fill(meanSquares_, 0.0);

    const float* x = frames.data();
    auto count = static_cast<std::int64_t>(frames.size()) / channels_;
    position_ += count;
    const bool reachesEnd = count > 0 && position_ == places_;
    for (std::int64_t left = reachesEnd ? count - 1 : count; left > 0;) {
        const auto now = static_cast<std::size_t>(
            std::min<std::int64_t>(left, static_cast<std::int64_t>(framesAtOnce_)));
        const std::size_t groupStride = kLanes * framesAtOnce_;
        const bool one = channels_ == 1 && mode.rms;
        if (one) {
            weightOne(x, now);
        } else {
            weight(x, now, mode, ratios_.data(), groupStride);
        }
        statistics_.take({ratios_.data(), groupStride, 0, now, one ? energies_.data() : nullptr},
                         control, mode);
        x += now * static_cast<std::size_t>(channels_);
        left -= static_cast<std::int64_t>(now);
    }
    if (!reachesEnd) return;

    weight(x, 1, mode, pending_.data(), kLanes);
    pendingControl_ = control;
    full_ = true;
    fractions_ += fraction_;
    if (fractions_ >= 1.0) {
        fractions_ -= 1.0;
        short_ = false;
    }
}

void LevelMeter::emit(std::span<float> values, LevelMode mode) {
    const LevelFrames pending{pending_.data(), kLanes, 0, 1};
    if (!short_) statistics_.take(pending, pendingControl_, mode);
    statistics_.report(values, rate_, mode);
    controlAtOutput_ = statistics_.control();
    intervalStart_ = statistics_.runningTime();
    position_ = 0;
    if (short_) {
        statistics_.take(pending, pendingControl_, mode);
        position_ = 1;
    }
    short_ = true;
    full_ = false;
}

}  // namespace vynpack
