// What the spectrum dialog shows, and how it becomes the block's parameters.
#pragma once

#include <string>

#include "blocks/spectral/TOSpektrum.h"

namespace vynpack {

struct SpectrumDraft {
    int amplitudeEntry = -1;  // in the list of amplitude types; -1 is none
    int windowEntry = -1;
    bool phase = false;
    int correction = 0;
    std::string windowParameter;

    int amplitudeType() const { return amplitudeEntry + kPeak; }
    int window() const { return windowEntry + kNoWindow; }

    // Real and imaginary parts leave no room for a phase output.
    bool phaseOffered() const { return amplitudeType() != kRealImaginary; }
};

SpectrumDraft draftOf(const TOSpektrum::Parameters& parameters);

// Kept: a list without a selection counts as entry -1, so that 49 or 63 is stored.
void accept(const SpectrumDraft& draft, TOSpektrum::Parameters& parameters);

}  // namespace vynpack
