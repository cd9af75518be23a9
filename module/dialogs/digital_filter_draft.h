// What the filter dialog shows, how it is checked, and how it becomes the block's parameters.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "blocks/filter/TODigitalFilter.h"
#include "dialogs/dialog_numbers.h"
#include "host/show_message.h"

namespace vynpack {

struct FilterDraft {
    bool fir = true;
    int windowEntry = -1;  // in the list of windows; -1 is none
    bool kaiser = false;
    int characteristicEntry = -1;
    int mode = 0;  // FilterDesign::Mode; 0 is none
    std::string length;
    std::string order;
    std::string ripple;
    std::string attenuation;
    std::string cutoff;
    std::string lower;
    std::string upper;

    int characteristic() const { return characteristicEntry + FilterDesign::kButterworth; }
    bool band() const;  // band pass or band stop, with two edges
    bool pass() const;  // low or high pass, with one cut-off frequency

    bool rippleOffered() const;
    bool attenuationOffered() const;
};

FilterDraft draftOf(const TODigitalFilter::Parameters& parameters);

// Finds what forbids to accept, or nothing. On the way, what the chosen filter does not use and
// what is not valid is put right in the draft; corrections before a fault stay.
std::optional<TextId> check(FilterDraft& draft);

// Stores everything. A draft without a mode leaves the block's.
// Kept: a list without a selection counts as entry -1, so that 98 or 107 is stored.
void accept(const FilterDraft& draft, TODigitalFilter::Parameters& parameters);

// The text of an edit after a click on its arrows, in whole numbers where the value is one.
std::string steppedFilterValue(std::string_view text, ScrollStep direction, double step,
                               double lowest);

}  // namespace vynpack
