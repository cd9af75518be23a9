#include "blocks/stats/TOAvgFunction.h"

#include <algorithm>
#include <new>
#include <utility>

#include "host/TOBlock.h"
#include "host/host_messages.h"
#include "host/show_message.h"

namespace vynpack {
namespace {

enum Input { kSignal, kTrigger };
enum Output { kAverage };

SampleRows rowsOf(const ChannelBlock& input) { return {input.values(), input.channels()}; }

// The x of an average of data blocks starts anew on the axes of these kinds.
bool startsAtZero(std::int32_t axisKind) {
    constexpr std::array kKinds = {kAxisSeconds, kAxisMilliseconds, kAxisHost38, kAxisHost40,
                                   kAxisHost49};
    return std::ranges::find(kKinds, axisKind) != kKinds.end();
}

}  // namespace

std::optional<OutputBlock> TOAvgFunction::MakeOutput(SimulationRecord& record,
                                                     const ChannelBlock& input,
                                                     std::int64_t outputValues,
                                                     const AvgParameters&) {
    OutputBlock output(record, kAverage, outputValues, input.handle());
    if (output) output.header().valueCount = static_cast<std::int32_t>(outputValues);
    return output;
}

int TOAvgFunction::InitChannels(int) { return 0; }

int TOAvgReduce::CheckParameters(const ChannelBlock& input, const AvgParameters& parameters,
                                 std::int64_t& outputValues) const {
    const int width = parameters.reduceValue;
    // Kept: a width of 0 gives the text for widths that are too large.
    if (width > input.valueCount() || width < 1) return kTextReduceWidthTooLarge;
    outputValues = static_cast<std::int64_t>(average_.outputCount(
        static_cast<std::size_t>(input.valueCount()), static_cast<std::size_t>(width)));
    return 0;
}

int TOAvgReduce::InitChannels(int channels) {
    if (channels > kMostChannels) return kFailed;
    try {
        average_.start(channels);
    } catch (const std::bad_alloc&) {
        return kFailed;
    }
    return 0;
}

void TOAvgReduce::Process(const ChannelBlock& input, const OutputBlock* output,
                          const AvgParameters& parameters) {
    if (output == nullptr) return;
    output->header().xStep *= parameters.reduceValue;
    average_.process(rowsOf(input), parameters.reduceValue, output->values());
}

int TOAvgSmoothing::CheckParameters(const ChannelBlock& input, const AvgParameters& parameters,
                                    std::int64_t& outputValues) const {
    // Kept: the text speaks of 2*N+1, but N itself is compared, and with the values of all
    // channels.
    const int width = parameters.smoothingWidth;
    if (width > input.valueCount() || width == 0) return kTextSmoothingWidthTooLarge;
    outputValues = input.valueCount();
    return 0;
}

void TOAvgSmoothing::Process(const ChannelBlock& input, const OutputBlock* output,
                             const AvgParameters& parameters) {
    if (output == nullptr) return;
    average_.process(rowsOf(input), parameters.smoothingWidth, output->values());
}

TOAvgBlocks::TOAvgBlocks() {
    const float* threshold = host_message::triggerThreshold();
    triggerThreshold_ = threshold != nullptr ? *threshold : kTriggerLevel;
}

int TOAvgBlocks::CheckParameters(const ChannelBlock& input, const AvgParameters& parameters,
                                 std::int64_t& outputValues) const {
    const double factor = parameters.weightingFactor;
    if (!(factor >= 0.0 && factor <= 1.0)) return kTextWeightOutOfRange;
    if (parameters.resetMode == kAvgResetByCount && parameters.resetBlockCount == 0) {
        return kTextResetCountZero;
    }
    outputValues = input.valueCount();
    return 0;
}

bool TOAvgBlocks::givesOutput(SimulationRecord& record, const AvgParameters& parameters) {
    switch (parameters.resetMode) {
        case kAvgResetNever: return true;
        case kAvgResetByTrigger:
            takeControlInput(record, kTrigger, [&](std::span<const float> values) {
                if (std::ranges::any_of(values, [&](float v) { return v > triggerThreshold_; })) {
                    resetPending_ = true;
                }
            });
            return resetPending_ || parameters.outputMode == 0;
        case kAvgResetByCount:
            if (parameters.resetBlockCount == average_.blocks() + 1) resetPending_ = true;
            return resetPending_ || parameters.outputMode == 0;
        default: return false;
    }
}

std::optional<OutputBlock> TOAvgBlocks::MakeOutput(SimulationRecord& record,
                                                   const ChannelBlock& input,
                                                   std::int64_t outputValues,
                                                   const AvgParameters& parameters) {
    // A reset is still pending here when the call before broke off (no output, no memory): the
    // trigger that asked for it is gone.
    if (!givesOutput(record, parameters)) return std::nullopt;
    auto output = TOAvgFunction::MakeOutput(record, input, outputValues, parameters);
    if (*output && startsAtZero(input.header().xAxisKind)) output->header().xStart = 0.0;
    return output;
}

void TOAvgBlocks::Process(const ChannelBlock& input, const OutputBlock* output,
                          const AvgParameters& parameters) {
    average_.process(rowsOf(input), parameters.weightingFactor,
                     output != nullptr ? output->values() : std::span<float>{});
    if (std::exchange(resetPending_, false)) average_.reset();
}

}  // namespace vynpack
