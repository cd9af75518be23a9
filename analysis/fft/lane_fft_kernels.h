// The inner loops of the transforms in lanes (lane_fft.h says how they fit together).
#pragma once

#include <cstddef>

namespace ovanlys {

// Sub-sequences that lie side by side. One point of all of them is eight real parts and, behind
// them, eight imaginary ones.
inline constexpr std::ptrdiff_t kFftLanes = 8;
inline constexpr std::ptrdiff_t kFftPoint = 2 * kFftLanes;

// Twiddles that a group of eight lines k and their mirror lines points-k takes up: the pairs
// (re, im) of the lines for the two halves of the samples, eight re before eight im, then, for the
// eight lines and for their mirror lines, which descend, those of the lanes 1 to 7 in the same way.
inline constexpr std::ptrdiff_t kFftLaneTwiddles = 7 * 2 * kFftLanes;
inline constexpr std::ptrdiff_t kFftGroupTwiddles = 2 * kFftLanes + 2 * kFftLaneTwiddles;
// Behind all groups, those of the middle line: the pair for the halves, and one for each lane,
// eight re before eight im. (Lane 0 does not use its own.)
inline constexpr std::ptrdiff_t kFftMiddleTwiddles = 2 + 2 * kFftLanes;

struct LaneFftKernels {
    // One stage of complex transforms, all lanes alike: `groups` butterflies, each over `stride`
    // points that lie side by side. Twiddles: for the groups from 1 on, the pairs (re, im) of the
    // outputs from 1 on. Where there is one group, both arrays may be the same.
    using Stage = void (*)(const double* in, double* out, const double* twiddles,
                           std::ptrdiff_t groups, std::ptrdiff_t stride);
    Stage radix4[2];  // forward, inverse
    Stage radix8[2];
    // `count` forward butterflies of a stage of one group, in place.
    void (*lastRadix4)(double* points, std::ptrdiff_t stride, std::ptrdiff_t count);

    // From the lanes' transforms, points + 1 of them with the first again at the end, to the lines
    // 0..8*points of all samples: those that eight lines of the lanes from `first` on and their
    // mirror lines make, and those that the middle line makes.
    void (*joinGroup)(const double* lanes, const double* twiddles, std::ptrdiff_t points,
                      std::ptrdiff_t first, double* re, double* im);
    void (*joinMiddle)(const double* lanes, const double* twiddles, std::ptrdiff_t points,
                       double* re, double* im);
    // The way back, times 8 * scale.
    void (*split)(const double* re, const double* im, const double* twiddles, std::ptrdiff_t points,
                  double scale, double* lanes);

    static const LaneFftKernels baseline, avx2, avx512;
};

}  // namespace ovanlys
