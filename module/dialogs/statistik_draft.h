// What the statistics dialog shows, and how it becomes the block's parameters.
#pragma once

#include <array>

#include "blocks/stats/TOStatistik.h"

namespace vynpack {

struct StatisticsDraft {
    std::array<bool, kStatistics> selected{};
    int outputMode = 0;
};

StatisticsDraft draftOf(const TOStatistik::Parameters& parameters);

// Without any selection the sum of each data block is selected. Returns the number of selected
// measures.
int accept(const StatisticsDraft& draft, TOStatistik::Parameters& parameters);

}  // namespace vynpack
