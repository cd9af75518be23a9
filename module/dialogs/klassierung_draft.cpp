#include "dialogs/klassierung_draft.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vynpack {
namespace {

// Numbers as the block stores them.
double classCount(double number) noexcept {
    return std::max(1.0, static_cast<double>(wholePart(number)));
}

}  // namespace

ClassValues consistent(ClassValues values, ClassValue changed) noexcept {
    values.number = classCount(values.number);
    switch (changed) {
        case ClassValue::number:
        case ClassValue::begin:
        case ClassValue::end:
            values.range = values.end - values.begin;
            values.width = values.range / values.number;
            break;
        case ClassValue::width:
            if (values.width <= 0.0) values.width = 1.0;
            values.number =
                classCount(std::floor((values.end - values.begin) / values.width + 0.5));
            values.range = values.width * values.number;
            values.end = values.begin + values.range;
            break;
        case ClassValue::range:
            if (values.range <= 0.0) values.range = values.width * values.number;
            values.end = values.begin + values.range;
            values.width = values.range / values.number;
            break;
    }
    return values;
}

bool ClassificationDraft::hysteresisOffered() const {
    return method() >= kLevelCrossings && method() <= kSeparatePeaks;
}

bool ClassificationDraft::referenceLineOffered() const {
    return hysteresisOffered() && method() != kSeparatePeaks;
}

bool ClassificationDraft::resetBlocksOffered() const {
    return resetMode == TOKlassierung::Parameters::kResetByCount;
}

ClassValues ClassificationDraft::classValues() const {
    return {.number = readNumber(number),
            .begin = readNumber(begin),
            .end = readNumber(end),
            .width = readNumber(width),
            .range = readNumber(range)};
}

ClassificationDraft draftOf(const TOKlassierung::Parameters& parameters) {
    return {.modeEntry = parameters.mode - kAutomatic,
            .methodEntry = parameters.method - kSampleCount,
            .calculation = parameters.calculation,
            .resetMode = parameters.resetMode,
            .number = showInteger(static_cast<std::uint32_t>(parameters.number)),
            .begin = showNumber(parameters.begin),
            .end = showNumber(parameters.end),
            .width = showNumber(parameters.width),
            .range = showNumber(parameters.range),
            .hysteresis = showNumber(parameters.hysteresis),
            .referenceLine = showNumber(parameters.referenceLine),
            .resetBlocks = showInteger(parameters.resetBlocks)};
}

void accept(const ClassificationDraft& draft, TOKlassierung::Parameters& parameters) {
    parameters.mode = static_cast<std::int16_t>(draft.mode());
    parameters.calculation = static_cast<std::int16_t>(draft.calculation);
    parameters.method = static_cast<std::int16_t>(draft.method());
    parameters.number = wholePart(readNumber(draft.number));
    parameters.begin = readNumber(draft.begin);
    parameters.end = readNumber(draft.end);
    parameters.width = readNumber(draft.width);
    parameters.range = readNumber(draft.range);
    parameters.hysteresis = readNumber(draft.hysteresis);
    parameters.referenceLine = readNumber(draft.referenceLine);
    parameters.resetMode = static_cast<std::int16_t>(draft.resetMode);
    if (draft.resetBlocksOffered()) {
        parameters.resetBlocks = std::max(1, readInteger(draft.resetBlocks));
    }
}

std::optional<TextId> faultOf(const TOKlassierung::Parameters& parameters) {
    if (parameters.begin >= parameters.end) return kTextClassLimits;
    return std::nullopt;
}

std::string tidyHysteresis(std::string_view text) {
    const double percent = readNumber(text);
    return showNumber(percent < 0.0 || percent > 100.0 ? 0.0 : percent);
}

std::string steppedClassCount(std::string_view text, ScrollStep direction) {
    const double value = stepped(text, direction, 1.0);
    return showInteger(wholePart(std::clamp(value, 1.0, kLargestClassValue)));
}

std::string steppedClassLimit(std::string_view text, ScrollStep direction, double lowest) {
    const double value = stepped(text, direction, 1.0);
    return value < lowest ? showInteger(wholePart(lowest)) : showNumber(value);
}

}  // namespace vynpack
