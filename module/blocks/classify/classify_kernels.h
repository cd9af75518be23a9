// The classification's loop over samples, compiled for several instruction-set levels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernel_level.h"

namespace vynpack {

struct ClassifyKernels {
    // out[i] = class of x[i] on a scale of n classes from `begin` on, or n when x[i] lies outside
    // all of them or is not in (begin, end].
    void (*classIndices)(const float* x, std::size_t count, double begin, double end, double range,
                         std::int32_t n, std::int32_t* out);
};

// One copy per level.
namespace baseline {
extern const ClassifyKernels classifyKernels;
}
namespace avx2 {
extern const ClassifyKernels classifyKernels;
}
namespace avx512 {
extern const ClassifyKernels classifyKernels;
}

// The copy for a level, and for the machine's own.
inline const ClassifyKernels& classifyKernels(KernelLevel level) noexcept {
    return kernelsFor(level, baseline::classifyKernels, avx2::classifyKernels,
                      avx512::classifyKernels);
}
inline const ClassifyKernels& classifyKernels() noexcept { return classifyKernels(kernelLevel()); }

}  // namespace vynpack
