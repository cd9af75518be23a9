// What the classification dialog shows, how its class values are kept consistent, and how they
// become the block's parameters.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "blocks/classify/TOKlassierung.h"
#include "dialogs/dialog_numbers.h"
#include "host/show_message.h"

namespace vynpack {

// The values that determine each other.
enum class ClassValue { number, begin, end, width, range };

struct ClassValues {
    double number = 1.0;
    double begin = 0.0;
    double end = 0.0;
    double width = 0.0;
    double range = 0.0;

    bool operator==(const ClassValues&) const = default;
};

// The values after one of them was changed. The changed one stays unless it counts as another
// value: a number below 1 counts as 1, a width not above 0 as 1, a range not above 0 as width times
// number.
ClassValues consistent(ClassValues values, ClassValue changed) noexcept;

struct ClassificationDraft {
    int modeEntry = -1;    // in the list of modes; -1 is none
    int methodEntry = -1;  // in the list of methods
    int calculation = 0;   // the id of the checked radio button, as stored
    int resetMode = 0;     // likewise
    std::string number;
    std::string begin;
    std::string end;
    std::string width;
    std::string range;
    std::string hysteresis;
    std::string referenceLine;
    std::string resetBlocks;

    int mode() const { return modeEntry + kAutomatic; }
    int method() const { return methodEntry + kSampleCount; }

    bool limitsOffered() const { return mode() == kManual; }
    bool hysteresisOffered() const;
    bool referenceLineOffered() const;
    bool resetBlocksOffered() const;

    ClassValues classValues() const;
};

ClassificationDraft draftOf(const TOKlassierung::Parameters& parameters);

// Stores everything; the count of blocks only if it resets.
// Kept: a list without a selection counts as entry -1, so that 9 or 92 is stored.
void accept(const ClassificationDraft& draft, TOKlassierung::Parameters& parameters);

// What is wrong with the parameters, or nothing.
std::optional<TextId> faultOf(const TOKlassierung::Parameters& parameters);

// A hysteresis outside 0..100 becomes 0.
std::string tidyHysteresis(std::string_view text);

// The text of an integer edit after a click on its arrows, within 1..9999999.
std::string steppedClassCount(std::string_view text, ScrollStep direction);

// The text of an edit after a click on its arrows, not below `lowest`, a whole number that is
// written as one.
std::string steppedClassLimit(std::string_view text, ScrollStep direction, double lowest);
// A value above it is said to be too large.
inline constexpr double kLargestClassValue = 9999999.0;

}  // namespace vynpack
