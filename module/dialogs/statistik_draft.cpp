#include "dialogs/statistik_draft.h"

#include <algorithm>
#include <cstdint>

namespace vynpack {

StatisticsDraft draftOf(const TOStatistik::Parameters& parameters) {
    StatisticsDraft draft;
    std::transform(parameters.selected.begin(), parameters.selected.end(), draft.selected.begin(),
                   [](std::int16_t flag) { return flag != 0; });
    draft.outputMode = parameters.outputMode;
    return draft;
}

int accept(const StatisticsDraft& draft, TOStatistik::Parameters& parameters) {
    std::transform(draft.selected.begin(), draft.selected.end(), parameters.selected.begin(),
                   [](bool selected) { return static_cast<std::int16_t>(selected ? 1 : 0); });
    parameters.outputMode = static_cast<std::int16_t>(draft.outputMode);
    const auto count = std::count(draft.selected.begin(), draft.selected.end(), true);
    if (count > 0) return static_cast<int>(count);
    parameters.selected[kSumBlock] = 1;
    return 1;
}

}  // namespace vynpack
