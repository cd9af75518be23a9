// What the averaging dialog shows, and how it becomes the block's parameters.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "blocks/stats/TOAvgFunction.h"
#include "dialogs/dialog_numbers.h"
#include "host/show_message.h"

namespace vynpack {

struct AveragingDraft {
    int mode = 0;       // the id of the checked radio button, as stored
    int resetMode = 0;  // likewise
    std::string reduceValue;
    std::string smoothingWidth;
    std::string weightingFactor;
    std::string resetBlockCount;
    bool atResetOnly = false;

    // The rows that the mode and the reset mode bring to life.
    bool reduceOffered() const;
    bool smoothingOffered() const;
    bool blocksOffered() const;
    bool resetCountOffered() const;
    bool atResetOnlyOffered() const;
};

AveragingDraft draftOf(const AvgParameters& parameters);

// Stores everything.
void accept(const AveragingDraft& draft, AvgParameters& parameters);

// What is wrong with the parameters, or nothing.
std::optional<TextId> faultOf(const AvgParameters& parameters);

// The text of an integer edit after a click on its arrows; never below 1.
std::string steppedCount(std::string_view text, ScrollStep direction);

}  // namespace vynpack
