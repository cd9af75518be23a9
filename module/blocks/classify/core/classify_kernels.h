// The classification's loops over samples, compiled for several instruction-set levels. The
// searches for extremes work on groups of up to 8 channels, one lane each.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vynpack {

inline constexpr int kClassifyLanes = 8;

// State between pairs of samples, a channel per lane; flags are 0 or 1.
struct ExcursionLanes {
    double last[kClassifyLanes];     // sample
    double extreme[kClassifyLanes];  // of the excursion
    double crossedUpward[kClassifyLanes];
    double crossedDownward[kClassifyLanes];
};
struct TurningLanes {
    double last[kClassifyLanes];
    double extreme[kClassifyLanes];    // the candidate
    double slope[kClassifyLanes];      // 1, 0, -1, or kSlopeUnknown
    double candidate[kClassifyLanes];  // 1 a maximum, -1 a minimum, 0 none
};
struct SeparateLanes {
    double last[kClassifyLanes];
    double maximum[kClassifyLanes];  // the last ones accepted
    double minimum[kClassifyLanes];
    double slope[kClassifyLanes];
    double maximumPending[kClassifyLanes];
    double minimumPending[kClassifyLanes];
};

// Before the first pair of a run, and after a reset.
inline constexpr double kSlopeUnknown = 2.0;

// Classes that the kernels below look at together.
inline constexpr int kClassesTogether = 16;

// Some classes of a level crossing count, in the samples' own precision:
// rounded to the side that changes no comparison with a sample. Where crossings count downwards,
// the signs of samples and values are turned over. What is not a number compares with nothing.
struct CrossingClasses {
    std::int32_t count;                    // places that hold a class
    float sign[kClassesTogether];          // 1 or -1
    float limit[kClassesTogether];         // counts from below it to it or above
    float back[kClassesTogether];          // re-armed at it and below
    float onward[kClassesTogether];        // or at it and above
    std::int32_t armed[kClassesTogether];  // -1 or 0
    std::uint32_t crossings[kClassesTogether];
    // No limit, its sign not turned, lies outside these.
    float lowest;
    float highest;
};

// What the dwell times of a channel are made by.
struct DwellRules {
    const double* limits;  // of n classes, rising, with their padding
    int n;
    double begin;
    double end;
    double step;  // between samples, its magnitude
};

struct ClassifyKernels {
    // out[i] = class of x[i] on a scale of n classes from `begin` on, or n when x[i] lies outside
    // all of them or is not in (begin, end].
    void (*classIndices)(const float* x, std::size_t count, double begin, double end, double range,
                         std::int32_t n, std::int32_t* out);
    // The same for any values, without the interval. `shifts`, unless null, is added to the classes
    // found.
    void (*extremeIndices)(const double* x, const double* shifts, std::size_t count, double begin,
                           double range, std::int32_t n, std::int32_t* out);

    // The searches: `lanes` up to 8, samples lie at x[frame * stride + lane].
    // extremes[frame * lanes + lane] = the extreme that the pair of the last and this sample lets
    // count, or NaN.
    void (*findExcursions)(const float* x, std::size_t stride, std::size_t frames, int lanes,
                           double line, double hysteresis, ExcursionLanes* state, double* extremes);
    void (*findTurns)(const float* x, std::size_t stride, std::size_t frames, int lanes,
                      double line, double hysteresis, TurningLanes* state, double* extremes);
    // shifts: `shift` for a maximum, 0 for a minimum.
    void (*findPeaks)(const float* x, std::size_t stride, std::size_t frames, int lanes,
                      double hysteresis, double shift, SeparateLanes* state, double* extremes,
                      double* shifts);

    // One channel's pairs of samples, the first one from `last` to x[0], through all `groups` of
    // classes.
    void (*countCrossings)(const float* x, std::size_t stride, std::size_t pairs, float last,
                           CrossingClasses* classes, std::size_t groups);
    // Adds the time that one channel's pairs spend in each class to the sums, which have the same
    // padding as the limits.
    void (*addDwell)(const float* x, std::size_t stride, std::size_t pairs, double last,
                     const DwellRules* rules, double* sums);

    static const ClassifyKernels baseline, avx2, avx512;
};

}  // namespace vynpack
