// What the dual spectrum dialog shows, and how it becomes the block's parameters.
#pragma once

#include <string>

#include "blocks/spectral/TODualSpektrum.h"
#include "dialogs/dialog_numbers.h"

namespace vynpack {

// Entries count from 0 in their lists; -1 is none. Radio buttons are their ids, as stored.
struct DualSpectrumDraft {
    int amplitudeEntry = -1;
    int quantity = 0;
    int transferEntry = -1;
    bool phase = false;
    bool coherence = false;
    int windowEntry = -1;
    int correction = 0;
    std::string windowParameter;
    int averageTypeEntry = -1;
    int averageSourceEntry = -1;
    std::string averageFactor;
    int resetMode = 0;
    std::string resetCount;
    bool dataOnReset = false;

    int window() const { return windowEntry + kNoWindow; }

    bool phaseOffered() const;
    bool transferTypeOffered() const;
    bool averageFactorOffered() const;
    bool resetCountOffered() const;
    bool dataOnResetOffered() const;
};

inline constexpr SpinRange kDualFactorSpin{.step = 0.01, .lowest = 0.0, .highest = 1.0};
inline constexpr SpinRange kDualCountSpin{.step = 1.0, .lowest = 1.0, .highest = 9999999.0};
inline constexpr SpinRange kDualParameterSpin{.step = 1.0, .lowest = 1.0, .highest = 100.0};

// Prepares the block for its dialog.
// Kept: real and imaginary parts are rewritten as cepstrum, whose place in the list they have, and
// a dialog that is cancelled leaves them so.
void rewriteForDialog(TODualSpektrum::Parameters& parameters);

DualSpectrumDraft draftOf(const TODualSpektrum::Parameters& parameters);

// Kept: a list without a selection counts as entry -1 and stores the id before its first one.
void accept(const DualSpectrumDraft& draft, TODualSpektrum::Parameters& parameters);

}  // namespace vynpack
