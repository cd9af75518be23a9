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
// Samples are taken in groups of eight, a group in two halves. With the state s at the start of a
// half, and u what its samples add to the state at its end,
//
//     y[j] = sum_(i<=j) h[j-i] x[i] + c A^j s     and     u = sum_i A^(3-i) (1, 0) x[i].
//
// The second half starts from A^4 s + u, the next group, u' being the second half's, from
//
//     s' = b s + ((A^8 - b) s + (A^4 u + u')),   b = 1 where A^8 is near to it, else 0:
//
// the recursion advances once per eight samples, and where poles lie close to z = 1 it rounds what
// it keeps but once then. An output depends on the earlier samples of its group alone, so a group
// may be cut anywhere by the ends of data blocks without changing a bit.
//
// Registers are filled in one of two ways, by what there is enough of. Both sum the same terms in
// the same order (section_sums.h), so that the choice changes no bit:
//   - groups side by side: one channel;
//   - channels side by side, all of one design (lane_section_kernels.h).
#pragma once

namespace ovanlys {

inline constexpr int kHalf = 4;
inline constexpr int kGroup = 2 * kHalf;

// Two states, or what is added to them.
template <class Number>
struct Pair {
    Number first;
    Number second;
};

template <class Weight>
struct SectionWeights {
    Weight direct[kHalf];          // [i]: x[j-i]'s weight h[i] in y[j]
    Weight fromState[kHalf][2];    // [j][r]: state r's weight in y[j], (c A^j)_r
    Weight intoFirst[kHalf - 1];   // [i]: x[i]'s weight in u_0, (A^(3-i))_00; the last one's is 1
    Weight intoSecond[kHalf - 2];  // [i]: x[i]'s weight in u_1, (A^(3-i))_10; then 1 and 0
    Weight half[2][2];             // [r][t]: (A^4)_rt
    Weight base;                   // b
    Weight advance[2][2];          // [r][t]: (A^8 - b)_rt

    bool operator==(const SectionWeights&) const = default;
};

using Section = SectionWeights<double>;

// Every weight four times: what fills a register of the lower levels.
struct alignas(32) Four {
    double lanes[4];

    bool operator==(const Four&) const = default;
};
using LaneSection = SectionWeights<Four>;

struct SectionState {
    Pair<double> start{};    // at the start of the group
    Pair<double> middle{};   // at the start of its second half
    Pair<double> added{};    // u of the first half
    double inputs[kHalf]{};  // the half's samples so far
};

struct SectionKernels {
    // Filters n samples from x to y, which may be the same, through `count` sections, at least one,
    // beginning at place `phase` of a group.
    void (*run)(const LaneSection* sections, SectionState* states, int count, int phase,
                const double* x, double* y, int n);

    static const SectionKernels baseline, avx2, avx512;
};

}  // namespace ovanlys
