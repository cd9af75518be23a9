// The instruction-set levels that this machine can run.
#pragma once

#include <vector>

#include "blocks/kernel_level.h"

namespace vynpack {

inline std::vector<KernelLevel> levelsOfThisMachine() {
    std::vector<KernelLevel> levels;
    for (const KernelLevel level :
         {KernelLevel::baseline, KernelLevel::avx2, KernelLevel::avx512}) {
        if (level <= kernelLevel()) levels.push_back(level);
    }
    return levels;
}

}  // namespace vynpack
