#include "dialogs/mittelwert_draft.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vynpack {
namespace {

// The field is narrower than what can be typed.
std::uint16_t readShort(std::string_view text) {
    constexpr std::uint32_t kLargest = std::numeric_limits<std::uint16_t>::max();
    return static_cast<std::uint16_t>(std::min(readUnsigned(text), kLargest));
}

}  // namespace

bool AveragingDraft::reduceOffered() const { return mode == kAvgReduce; }

bool AveragingDraft::smoothingOffered() const { return mode == kAvgSmoothing; }

bool AveragingDraft::blocksOffered() const { return mode == kAvgBlocks; }

bool AveragingDraft::resetCountOffered() const {
    // Kept: follows the reset button in every mode, although it belongs to the averaging of blocks.
    return resetMode == kAvgResetByCount;
}

bool AveragingDraft::atResetOnlyOffered() const {
    // Kept: likewise.
    return resetMode != kAvgResetNever;
}

AveragingDraft draftOf(const AvgParameters& parameters) {
    return {.mode = parameters.mode,
            .resetMode = parameters.resetMode,
            .reduceValue = showInteger(parameters.reduceValue),
            .smoothingWidth = showInteger(parameters.smoothingWidth),
            .weightingFactor = showNumber(parameters.weightingFactor),
            .resetBlockCount = showInteger(parameters.resetBlockCount),
            .atResetOnly = parameters.outputMode != 0};
}

void accept(const AveragingDraft& draft, AvgParameters& parameters) {
    parameters.mode = static_cast<std::int16_t>(draft.mode);
    parameters.resetMode = static_cast<std::int16_t>(draft.resetMode);
    parameters.reduceValue = readShort(draft.reduceValue);
    parameters.smoothingWidth = readShort(draft.smoothingWidth);
    parameters.weightingFactor = readNumber(draft.weightingFactor);
    parameters.resetBlockCount = readInteger(draft.resetBlockCount);
    parameters.outputMode = draft.atResetOnly ? 1 : 0;
}

std::optional<TextId> faultOf(const AvgParameters& parameters) {
    switch (parameters.mode) {
        case kAvgReduce:
            if (parameters.reduceValue == 0) return kTextReduceWidthZero;
            break;
        case kAvgSmoothing:
            if (parameters.smoothingWidth == 0) return kTextReduceWidthZero;
            break;
        case kAvgBlocks:
            if (parameters.resetMode == kAvgResetByCount && parameters.resetBlockCount == 0) {
                return kTextResetCountZero;
            }
            if (parameters.weightingFactor < 0.0 || parameters.weightingFactor > 1.0) {
                return kTextWeightOutOfRange;
            }
            break;
        default: break;
    }
    return std::nullopt;
}

std::string steppedCount(std::string_view text, ScrollStep direction) {
    constexpr std::size_t kLength = 20;
    constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();
    const std::int64_t value =
        std::int64_t{readInteger(text.substr(0, kLength))} + static_cast<int>(direction);
    return showInteger(std::clamp(value, std::int64_t{1}, kLargest));
}

}  // namespace vynpack
