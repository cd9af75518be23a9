#include "dialogs/digital_filter_draft.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vynpack {
namespace {

using Filter = FilterDesign;

bool isWhole(double value) { return std::trunc(value) == value; }

bool isLength(double value) {
    return value >= 3.0 && isWhole(value) && std::fmod(value, 2.0) == 1.0;
}

bool isOrder(double value) { return value >= 1.0 && isWhole(value); }

std::optional<TextId> checkFrequencies(FilterDraft& draft) {
    if (readNumber(draft.lower) <= 0.0) {
        if (draft.band()) return kTextFrequencyZero;
        draft.lower = "1";
    }
    if (readNumber(draft.cutoff) <= 0.0) {
        if (draft.pass()) return kTextFrequencyZero;
        draft.cutoff = "1";
    }
    const double lower = readNumber(draft.lower);
    if (lower >= readNumber(draft.upper)) {
        if (draft.band()) return kTextEdgesCrossed;
        draft.lower = showInteger(wholePart(lower));
        draft.upper = showInteger(wholePart(lower + 1.0));
    }
    return std::nullopt;
}

std::optional<TextId> checkLengthAndOrder(FilterDraft& draft) {
    const double length = readNumber(draft.length);
    if (!isLength(length)) {
        if (draft.fir) return kTextFilterLength;
        // Kept: the correction may be even; it is refused when FIR is chosen.
        draft.length =
            showInteger(std::max<std::int64_t>(3, std::int64_t{wholePart(length / 2.0)} + 1));
    }
    const double order = readNumber(draft.order);
    if (!isOrder(order)) {
        if (!draft.fir) return kTextFilterOrder;
        draft.order = showInteger(std::max(1, wholePart(order)));
    }
    return std::nullopt;
}

// Kept: these checks run with FIR as well.
std::optional<TextId> checkRippleAndAttenuation(FilterDraft& draft) {
    const int characteristic = draft.characteristic();
    double ripple = readNumber(draft.ripple);
    const double attenuation = readNumber(draft.attenuation);
    if (ripple <= 0.0) {
        if (characteristic == Filter::kChebyshev) return kTextRippleZeroChebyshev;
        if (characteristic == Filter::kElliptic) return kTextRippleZeroElliptic;
    }
    if (characteristic == Filter::kElliptic && ripple >= attenuation) {
        return kTextRippleAboveAttenuation;
    }
    if (characteristic == Filter::kInverseChebyshev && attenuation <= 0.0) {
        return kTextAttenuationZero;
    }
    if (ripple <= 0.0) {
        ripple = 0.1;
        draft.ripple = "0.1";
    }
    if (attenuation <= 0.0) draft.attenuation = showNumber(ripple + 1.0);
    return std::nullopt;
}

}  // namespace

bool FilterDraft::band() const { return mode == Filter::kBandPass || mode == Filter::kBandStop; }

bool FilterDraft::pass() const { return mode == Filter::kLowPass || mode == Filter::kHighPass; }

bool FilterDraft::rippleOffered() const {
    return !fir &&
           (characteristic() == Filter::kChebyshev || characteristic() == Filter::kElliptic);
}

bool FilterDraft::attenuationOffered() const {
    return !fir &&
           (characteristic() == Filter::kElliptic || characteristic() == Filter::kInverseChebyshev);
}

FilterDraft draftOf(const TODigitalFilter::Parameters& parameters) {
    return {.fir = parameters.fir != 0,
            .windowEntry = parameters.window - Filter::kRectangular,
            .kaiser = parameters.kaiser != 0,
            .characteristicEntry = parameters.characteristic - Filter::kButterworth,
            .mode = parameters.mode,
            .length = showNumber(parameters.length),
            .order = showNumber(parameters.order),
            .ripple = showNumber(parameters.ripple),
            .attenuation = showNumber(parameters.attenuation),
            // Kept: frequencies are shown without their fraction, which accepting then cuts off.
            .cutoff = showInteger(wholePart(parameters.cutoff)),
            .lower = showInteger(wholePart(parameters.lower)),
            .upper = showInteger(wholePart(parameters.upper))};
}

std::optional<TextId> check(FilterDraft& draft) {
    if (const auto fault = checkFrequencies(draft)) return fault;
    if (const auto fault = checkLengthAndOrder(draft)) return fault;
    return checkRippleAndAttenuation(draft);
}

void accept(const FilterDraft& draft, TODigitalFilter::Parameters& parameters) {
    parameters.fir = draft.fir ? 1 : 0;
    parameters.window = static_cast<std::int16_t>(draft.windowEntry + Filter::kRectangular);
    parameters.length = wholePart(readNumber(draft.length));
    parameters.kaiser = draft.kaiser ? 1 : 0;
    parameters.characteristic = static_cast<std::int16_t>(draft.characteristic());
    parameters.order = wholePart(readNumber(draft.order));
    parameters.ripple = readNumber(draft.ripple);
    parameters.attenuation = readNumber(draft.attenuation);
    if (draft.band() || draft.pass()) parameters.mode = static_cast<std::int16_t>(draft.mode);
    parameters.cutoff = readNumber(draft.cutoff);
    parameters.lower = readNumber(draft.lower);
    parameters.upper = readNumber(draft.upper);
}

std::string steppedFilterValue(std::string_view text, ScrollStep direction, double step,
                               double lowest) {
    constexpr double kLargestWhole = 1e9;
    const double value = std::max(stepped(text, direction, step), lowest);
    return isWhole(value) && value < kLargestWhole ? showInteger(wholePart(value))
                                                   : showNumber(value);
}

}  // namespace vynpack
