// Neighbouring channels through the sections of one design, each channel in a lane of its own.
#pragma once

#include <cstddef>

#include "filter/section.h"

namespace ovanlys {

struct LaneSectionKernels {
    static constexpr std::size_t kMostChannels = 32;

    struct Channels {
        const LaneSection* sections;
        std::size_t sectionCount;  // at least 1
        double* states;            // number r of section k and channel c: [(2k + r) * count + c]
        std::size_t count;         // a multiple of `step`, kMostChannels at most
    };

    // Channels fill registers in multiples of this.
    std::size_t step;
    // Filters whole groups from `in` to `out`, which do not overlap: sample i of channel c is
    // number i * stride + c of both. Rounds to single precision in the floating-point mode that
    // everything else is done in.
    void (*toSingles)(const Channels& channels, const float* in, std::size_t stride, int groups,
                      float* out);
    // The same without rounding: sample i of channel c becomes rows[i * count + c].
    void (*toDoubles)(const Channels& channels, const float* in, std::size_t stride, int groups,
                      double* rows);

    static const LaneSectionKernels baseline, avx2, avx512;
};

}  // namespace ovanlys
