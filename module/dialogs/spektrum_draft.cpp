#include "dialogs/spektrum_draft.h"

#include <cstdint>

#include "dialogs/dialog_numbers.h"
#include "dialogs/window_rules.h"

namespace vynpack {

SpectrumDraft draftOf(const TOSpektrum::Parameters& parameters) {
    return {.amplitudeEntry = parameters.amplitudeType - kPeak,
            .windowEntry = parameters.window - kNoWindow,
            .phase = parameters.phase != 0,
            .correction = parameters.correction,
            .windowParameter = showNumber(parameters.windowParameter)};
}

void accept(const SpectrumDraft& draft, TOSpektrum::Parameters& parameters) {
    parameters.amplitudeType = static_cast<std::uint16_t>(draft.amplitudeType());
    parameters.window = static_cast<std::uint16_t>(draft.window());
    parameters.phase = draft.phase ? 1 : 0;
    parameters.correction = static_cast<std::uint16_t>(draft.correction);
    parameters.windowParameter = windowParameterOf(draft.windowParameter);
}

}  // namespace vynpack
