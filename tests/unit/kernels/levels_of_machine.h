// The instruction-set levels that this machine can run, from the narrowest on.
#pragma once

#include <vector>

#include "kernels/level.h"

namespace vyn {

inline std::vector<KernelLevel> levelsOfThisMachine() {
    std::vector<KernelLevel> levels;
    for (const KernelLevel level : kKernelLevels) {
        if (level <= machineLevel()) levels.push_back(level);
    }
    return levels;
}

}  // namespace vyn
