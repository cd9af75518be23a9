// Classes of many values at once.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/classify/core/class_finder.h"
#include "blocks/classify/core/class_scale.h"

namespace vynpack {

struct ClassIndexKernels {
    // out[i] = class of x[i], or scale.number when x[i] lies outside all of them or is not in
    // (begin, end].
    void (*ofSamples)(const float* x, std::size_t count, const ClassScale& scale,
                      std::int32_t* out);
    // The same for any values, without the interval. `shifts`, unless null, is added to the classes
    // found.
    void (*ofExtremes)(const double* x, const double* shifts, std::size_t count,
                       const ClassScale& scale, std::int32_t* out);

    // out[i] = class of x[i], as the finder with this ruler and these limits finds it
    void (*classes)(const float* x, std::size_t count, const ClassFinder<float>::Ruler& ruler,
                    const float* limits, std::int32_t* out);
    // out[i] = number of the class limit that is nearest to x[i]
    void (*nearestLimitsOfExtremes)(const double* x, std::size_t count,
                                    const ClassFinder<double>::Ruler& ruler, std::int32_t* out);

    static const ClassIndexKernels baseline, avx2, avx512;
};

}  // namespace vynpack
