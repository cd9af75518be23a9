// Measuring of dwell times.
#pragma once

#include "blocks/classify/core/sample_pairs.h"

namespace vynpack {

// What the dwell times of a channel are made by.
struct DwellRules {
    const double* limits;  // of n classes, rising, with their padding
    int n;
    double begin;
    double end;
    double classesPerUnit;  // about
    double step;            // between samples, its magnitude
};

struct DwellKernels {
    // Adds the time that one channel's pairs spend in each class to the sums, which are padded as
    // the limits are.
    void (*add)(const SamplePairs& pairs, const DwellRules& rules, double* sums);

    static const DwellKernels baseline, avx2, avx512;
};

}  // namespace vynpack
