// The inner loops of the transforms in lanes (lane_fft.h says how they fit together).
#pragma once

#include <cstddef>

namespace ovanlys {

// Sub-sequences that lie side by side. One point of all of them is eight real parts and, behind
// them, eight imaginary ones.
inline constexpr std::ptrdiff_t kFftLanes = 8;
inline constexpr std::ptrdiff_t kFftPoint = 2 * kFftLanes;

// Twiddles of a group of eight lines: those of the sub-sequences 1 to 15, eight re before eight im.
// Those of the middle line, one for each lane, lie in the same way.
inline constexpr std::ptrdiff_t kFftGroupTwiddles = 15 * 2 * kFftLanes;
inline constexpr std::ptrdiff_t kFftMiddleTwiddles = 2 * kFftLanes;

// Where eight lines k..k+7 of the lanes, k a multiple of 8, and their mirror lines lie.
template <class Number>
struct FftGroup {
    [[gnu::always_inline]] Number* line(int i) const { return lines + i * step; }
    [[gnu::always_inline]] Number* mirrorLine(int i) const {
        return i == 0 ? firstMirror : mirrors - i * step;
    }
    // The same from its line i on.
    [[gnu::always_inline]] FftGroup from(int i) const {
        return {line(i), mirrorLine(i), mirrors - i * step, step};
    }

    Number* lines;
    Number* firstMirror;
    Number* mirrors;
    std::ptrdiff_t step;
};

struct LaneFftKernels {
    // One stage over `blocks` blocks of points, one behind the other, all lanes alike: `stride`
    // butterflies each, over points that are `stride` apart. Twiddles: for the butterflies from 1
    // on, the pairs (re, im) of the points from 1 on. An outer stage goes from samples to points,
    // its inverse back; an inner one may work in place. Radix 16 is for a stride of 1.
    using Stage = void (*)(const double* in, double* out, const double* twiddles,
                           std::ptrdiff_t stride, std::ptrdiff_t blocks);
    Stage outer16[2];  // forward, inverse
    Stage outer8[2];
    Stage inner8[2];
    Stage inner4[2];

    // From the lines k..k+7 of the lanes and their mirror lines to the lines 0..8*points of all
    // samples that they make; and from their middle line.
    void (*join)(const FftGroup<const double>& group, const double* twiddles, std::ptrdiff_t points,
                 std::ptrdiff_t k, double* re, double* im);
    void (*joinMiddle)(const double* middle, const double* twiddles, std::ptrdiff_t points,
                       double* re, double* im);
    // The way back, times 8 * scale.
    void (*split)(const double* re, const double* im, const double* twiddles, std::ptrdiff_t points,
                  std::ptrdiff_t k, double scale, const FftGroup<double>& group);
    void (*splitMiddle)(const double* re, const double* im, const double* twiddles,
                        std::ptrdiff_t points, double scale, double* middle);

    static const LaneFftKernels baseline, avx2, avx512;
};

}  // namespace ovanlys
