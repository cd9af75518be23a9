#include "dialogs/level_draft.h"

#include <cstdint>

namespace vynpack {

LevelDraft draftOf(const TOLevel::Parameters& parameters) {
    return {.rms = parameters.rms != 0,
            .timeWeighting = parameters.timeWeighting,
            .clockPeriod = parameters.clockPeriod,
            .blankingPeriod = showNumber(parameters.blankedSeconds),
            .outputFrequency = showNumber(parameters.outputFrequency)};
}

std::optional<TextId> faultOf(const LevelDraft& draft) {
    const double blanking = readNumber(draft.blankingPeriod);
    if (blanking < kBlankingSpin.lowest || blanking > kBlankingSpin.highest) {
        return kTextBlankingPeriodRange;
    }
    const double frequency = readNumber(draft.outputFrequency);
    if (frequency <= 0.0 || frequency > kOutputFrequencySpin.highest)
        return kTextOutputFrequencyRange;
    return std::nullopt;
}

void accept(const LevelDraft& draft, TOLevel::Parameters& parameters) {
    parameters.rms = draft.rms ? 1 : 0;
    parameters.timeWeighting = static_cast<std::int16_t>(draft.timeWeighting);
    parameters.clockPeriod = static_cast<std::int16_t>(draft.clockPeriod);
    parameters.blankedSeconds = readNumber(draft.blankingPeriod);
    parameters.outputFrequency = readNumber(draft.outputFrequency);
}

}  // namespace vynpack
