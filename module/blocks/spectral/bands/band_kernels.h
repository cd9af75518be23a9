// The loops of the band analysis over spectral lines, compiled for several instruction-set levels.
// Rows are lines of interleaved channels; per channel the terms are added in the order of the
// lines, channels run side by side.
#pragma once

#include <cstddef>

namespace vynpack {

// Neighbouring lines of one band.
struct BandRun {
    int band;
    int firstLine;
    int lines;  // at least 1
};

struct BandKernels {
    // sums[c] += v
    void (*addLines)(const float* lines, std::size_t rows, std::size_t channels, double* sums);
    // sums[c] += v²
    void (*addSquares)(const float* lines, std::size_t rows, std::size_t channels, double* sums);
    // The same for terms that are already in double.
    void (*addTerms)(const double* terms, std::size_t rows, std::size_t channels, double* sums);
    // The sums of one channel: sums[run.band] += v, or v², of the lines of every run. No two runs
    // are of the same band; they come in the order of their lines.
    void (*addRuns)(const float* lines, const BandRun* runs, std::size_t count, double* sums);
    void (*addSquaresOfRuns)(const float* lines, const BandRun* runs, std::size_t count,
                             double* sums);
    // out[i] = 10^(levels[i] / 10). False, with numbers without meaning in `out`, when a level is
    // beyond ±3000 dB or NaN.
    bool (*powersOf)(const float* levels, std::size_t count, double* out);
    // out[i] = √sums[i]
    void (*rootsOf)(const double* sums, std::size_t count, float* out);

    static const BandKernels baseline, avx2, avx512;
};

}  // namespace vynpack
