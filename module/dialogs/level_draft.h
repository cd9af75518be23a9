// What the level dialog shows, how it is checked, and how it becomes the block's parameters.
#pragma once

#include <optional>
#include <string>

#include "blocks/filter/TOLevel.h"
#include "dialogs/dialog_numbers.h"
#include "host/show_message.h"

namespace vynpack {

// The choices count from 0, as they are stored.
struct LevelDraft {
    bool rms = false;
    int timeWeighting = 0;
    int clockPeriod = 0;
    std::string blankingPeriod;   // s
    std::string outputFrequency;  // Hz

    // Peaks are not weighted.
    bool timeWeightingOffered() const { return rms; }
};

inline constexpr SpinRange kBlankingSpin{.step = 1.0, .lowest = 0.0, .highest = 60.0};
inline constexpr SpinRange kOutputFrequencySpin{.step = 1.0, .lowest = 1e-6, .highest = 1e300};

LevelDraft draftOf(const TOLevel::Parameters& parameters);

// What forbids to accept, or nothing.
std::optional<TextId> faultOf(const LevelDraft& draft);

// Stores everything.
void accept(const LevelDraft& draft, TOLevel::Parameters& parameters);

}  // namespace vynpack
