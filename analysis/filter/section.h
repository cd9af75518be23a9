// A second-order section of a filter, in block form.
//
// The section is the state-space system
//
//     s[n+1] = A s[n] + (1, 0) x[n],   y[n] = c s[n] + d x[n],   A = | sigma  -q    |
//                                                                    | 1       sigma |
//
// with the poles sigma +/- sqrt(-q): one form for a complex pair (q > 0), two real poles (q < 0)
// and a double pole (q = 0). Up to a scaling of the second state, which floating point does not
// notice, A is a normal matrix, so that rounding is not amplified where a direct form loses digits:
// at poles close to z = 1.
//
// Samples are taken in groups of eight. With the state s at the start of a group,
//
//     y[j] = sum_(i<=j) h[j-i] x[i] + c A^j s     and     s' = A^8 s + sum_i A^(7-i) (1, 0) x[i]:
//
// the recursion advances once per eight samples, and the eight outputs are independent of each
// other. An output depends on the earlier samples of its group alone, so a group may be cut
// anywhere by the ends of data blocks without changing a bit.
//
// Registers are filled in one of three ways, by what there is enough of. All of them sum the same
// terms in the same order, so that the choice changes no bit:
//   - the eight outputs of a group side by side: one section of one channel;
//   - sections side by side, each a group behind the one before it: one channel through many;
//   - channels side by side, all of one design (lane_section_kernels.h).
#pragma once

namespace ovanlys {

inline constexpr int kGroup = 8;

struct alignas(64) Section {
    double fromInput[kGroup][kGroup];  // [i][j]: x[i]'s weight h[j-i] in y[j]; 0 for j < i
    double fromState[2][kGroup];       // [r][j]: state r's weight in y[j], (c A^j)_r
    double intoState[kGroup][2];       // [i][r]: x[i]'s weight in s'_r
    double advance[2][2];              // [t][r]: state t's weight in s'_r, (A^8)_rt

    bool operator==(const Section&) const = default;
};

// Up to four neighbouring sections of a cascade side by side; the weights as in a Section.
inline constexpr int kQuad = 4;

struct alignas(64) SectionQuad {
    double direct[kGroup][kQuad];        // [i]: x[j-i]'s weight h[i] in y[j]
    double fromState[2][kGroup][kQuad];  // [r][j]
    double intoState[kGroup][2][kQuad];  // [i][r]
    double advance[2][2][kQuad];         // [t][r]
};

struct SectionState {
    double s[2] = {0.0, 0.0};    // at the start of the group
    double inputs[kGroup] = {};  // the group's samples so far
};

struct SectionKernels {
    // Filters n samples from x to y, which may be the same, beginning at place `phase` of a group.
    void (*run)(const Section& section, SectionState& state, int phase, const double* x, double* y,
                int n);

    // Sections that the level takes side by side at most, kQuad or half of it, and from how many on
    // that is faster than one after the other.
    int sideBySide;
    int leastSideBySide;
    // Filters whole groups through `count` sections of the quad, 2..sideBySide, from the lane
    // `first` on; states[0] is that one's. x and y may be the same.
    void (*runSideBySide)(const SectionQuad& quad, int first, int count, SectionState* states,
                          const double* x, double* y, int groups);

    static const SectionKernels baseline, avx2, avx512;
};

}  // namespace ovanlys
