#include "filter/section.h"

#include "kernels/lanes.h"

namespace ovanlys {
namespace {

using namespace vyn;  // its lanes

// The outputs of a group side by side. Their sums are written in one order, which the scalar path
// repeats, so that both give the same bits.
using Group = Registers<kGroup>;
using Pair = Lanes<2>::Doubles;

// One sample: an output from the state and the samples of the group so far.
inline double step(const Section& section, SectionState& state, int phase, double x) {
    state.inputs[phase] = x;
    double direct = 0.0;
    for (int i = 0; i <= phase; ++i)
        direct += section.fromInput[i][phase] * state.inputs[i];
    return direct +
           (section.fromState[0][phase] * state.s[0] + section.fromState[1][phase] * state.s[1]);
}

// The state at the end of a full group.
inline void advance(const Section& section, SectionState& state) {
    double next[2];
    for (int r = 0; r < 2; ++r) {
        double direct = section.intoState[0][r] * state.inputs[0];
        for (int i = 1; i < kGroup; ++i)
            direct += section.intoState[i][r] * state.inputs[i];
        next[r] =
            (section.advance[0][r] * state.s[0] + section.advance[1][r] * state.s[1]) + direct;
    }
    state.s[0] = next[0];
    state.s[1] = next[1];
}

// Filters one sample after the other; returns the place in the group after the last one.
int runSamples(const Section& section, SectionState& state, int phase, const double* x, double* y,
               int n) {
    for (int i = 0; i < n; ++i) {
        y[i] = step(section, state, phase, x[i]);
        if (++phase == kGroup) {
            advance(section, state);
            phase = 0;
        }
    }
    return phase;
}

// Whether all samples of `groups` groups are finite. (x - x is +0 for these alone.)
bool allFinite(const double* x, int groups) {
    using Bits = decltype(Register{} == Register{});  // integers as wide as the doubles
    Bits bits{};
    for (const double* const end = x + groups * kGroup; x != end; x += kLanes) {
        const auto samples = load<Register>(x);
        // NOLINTNEXTLINE(misc-redundant-expression)
        bits |= reinterpret_cast<Bits>(samples - samples);
    }
    long long any = 0;
    for (int lane = 0; lane < kLanes; ++lane)
        any |= bits[lane];
    return any == 0;
}

// Whole groups of finite samples: the zero weights h[j-i], j < i, make no difference then, since no
// sum here is ever -0.
void runGroups(const Section& section, SectionState& state, const double* x, double* y,
               int groups) {
    const Group input0 = Group::load(section.fromInput[0]);
    const Group input1 = Group::load(section.fromInput[1]);
    const Group input2 = Group::load(section.fromInput[2]);
    const Group input3 = Group::load(section.fromInput[3]);
    const Group input4 = Group::load(section.fromInput[4]);
    const Group input5 = Group::load(section.fromInput[5]);
    const Group input6 = Group::load(section.fromInput[6]);
    const Group input7 = Group::load(section.fromInput[7]);
    const Group state0 = Group::load(section.fromState[0]);
    const Group state1 = Group::load(section.fromState[1]);
    const auto pair = [](const double* values) { return Pair{values[0], values[1]}; };
    const Pair into0 = pair(section.intoState[0]);
    const Pair into1 = pair(section.intoState[1]);
    const Pair into2 = pair(section.intoState[2]);
    const Pair into3 = pair(section.intoState[3]);
    const Pair into4 = pair(section.intoState[4]);
    const Pair into5 = pair(section.intoState[5]);
    const Pair into6 = pair(section.intoState[6]);
    const Pair into7 = pair(section.intoState[7]);
    const Pair advance0 = pair(section.advance[0]);
    const Pair advance1 = pair(section.advance[1]);

    Pair s = pair(state.s);
    const double* const end = x + groups * kGroup;
    for (; x != end; x += kGroup, y += kGroup) {
        Group direct = 0.0 + input0 * x[0];
        direct = direct + input1 * x[1];
        direct = direct + input2 * x[2];
        direct = direct + input3 * x[3];
        direct = direct + input4 * x[4];
        direct = direct + input5 * x[5];
        direct = direct + input6 * x[6];
        direct = direct + input7 * x[7];
        Pair into = into0 * x[0];
        into += into1 * x[1];
        into += into2 * x[2];
        into += into3 * x[3];
        into += into4 * x[4];
        into += into5 * x[5];
        into += into6 * x[6];
        into += into7 * x[7];
        (direct + (state0 * s[0] + state1 * s[1])).store(y);
        s = (advance0 * s[0] + advance1 * s[1]) + into;
    }
    state.s[0] = s[0];
    state.s[1] = s[1];
}

void run(const Section& section, SectionState& state, int phase, const double* x, double* y,
         int n) {
    int done = 0;
    if (phase != 0) {
        done = n < kGroup - phase ? n : kGroup - phase;
        phase = runSamples(section, state, phase, x, y, done);
    }
    const int groups = (n - done) / kGroup;
    if (allFinite(x + done, groups)) {
        runGroups(section, state, x + done, y + done, groups);
        done += groups * kGroup;
    }
    runSamples(section, state, phase, x + done, y + done, n - done);
}

// A section in each lane.
template <class Row>
struct QuadWeights {
    const SectionQuad& quad;
    int first;

    Row direct(int i) const { return load<Row>(quad.direct[i] + first); }
    Row fromState(int r, int j) const { return load<Row>(quad.fromState[r][j] + first); }
    Row intoState(int i, int r) const { return load<Row>(quad.intoState[i][r] + first); }
    Row advance(int t, int r) const { return load<Row>(quad.advance[t][r] + first); }
};

// A group in every lane: the sums of `step` and `advance`, term by term.
template <class Row>
inline void filterGroup(const QuadWeights<Row>& weights, const Row (&x)[kGroup], Row (&y)[kGroup],
                        Row (&s)[2]) {
#pragma GCC unroll 8
    for (int j = 0; j < kGroup; ++j) {
        Row direct = 0.0 + weights.direct(j) * x[0];
#pragma GCC unroll 8
        for (int i = 1; i <= j; ++i)
            direct += weights.direct(j - i) * x[i];
        y[j] = direct + (weights.fromState(0, j) * s[0] + weights.fromState(1, j) * s[1]);
    }
    Row next[2];
#pragma GCC unroll 2
    for (int r = 0; r < 2; ++r) {
        Row into = weights.intoState(0, r) * x[0];
#pragma GCC unroll 8
        for (int i = 1; i < kGroup; ++i)
            into += weights.intoState(i, r) * x[i];
        next[r] = (weights.advance(0, r) * s[0] + weights.advance(1, r) * s[1]) + into;
    }
    s[0] = next[0];
    s[1] = next[1];
}

// Every lane's number moved to the next lane, that of lane count - 1 to the first.
template <int count, class Row>
inline Row rotated(Row row) {
    if constexpr (count == 2) {
        return __builtin_shufflevector(row, row, 1, 0);
    } else {
        return __builtin_shufflevector(row, row, count - 1, 0, 1, 2);
    }
}

// The number in place of the first lane's.
template <int count, class Row>
inline Row withFirst(Row row, double number) {
    if constexpr (count == 2) {
        return __builtin_shufflevector(row, Row{} + number, 2, 1);
    } else {
        return __builtin_shufflevector(row, Row{} + number, 4, 1, 2, 3);
    }
}

// States of `count` sections in lanes, `at(k)` giving the k-th; lanes beyond are 0.
template <class Row, class At>
inline void gather(int count, At at, Row (&s)[2]) {
    double values[2][sizeof(Row) / sizeof(double)] = {};
    for (int k = 0; k < count; ++k)
        for (int r = 0; r < 2; ++r)
            values[r][k] = at(k).s[r];
    s[0] = load<Row>(values[0]);
    s[1] = load<Row>(values[1]);
}
template <class Row, class At>
inline void scatter(int count, const Row (&s)[2], At at) {
    double values[2][sizeof(Row) / sizeof(double)];
    store(s[0], values[0]);
    store(s[1], values[1]);
    for (int k = 0; k < count; ++k)
        for (int r = 0; r < 2; ++r)
            at(k).s[r] = values[r][k];
}

// Lane k is k groups behind lane 0: in step t it works on group t - k, which lane k - 1 has left
// in the step before. Lanes without a group, in the first steps and in the last, work on whatever
// is there and keep their states.
template <int count>
void runBehind(const SectionQuad& quad, int first, SectionState* states, const double* x, double* y,
               int groups) {
    using Row = typename Lanes<count == 2 ? 2 : 4>::Doubles;
    const QuadWeights<Row> weights{quad, first};
    constexpr double kPlaces[] = {0, 1, 2, 3};
    const Row lane = load<Row>(kPlaces);
    const auto state = [&](int k) -> SectionState& { return states[k]; };
    Row s[2];
    gather(count, state, s);
    Row carried[kGroup];  // what the lanes have left, moved to the next lane
#pragma GCC unroll 8
    for (Row& row : carried)
        row = Row{};
    constexpr int kBehind = count - 1;
    for (int t = 0; t < groups + kBehind; ++t) {
        const double* const from = x + kGroup * (t < groups ? t : groups - 1);
        // What the first steps leave in the first group is overwritten when its turn comes.
        double* const to = y + kGroup * (t > kBehind ? t - kBehind : 0);
        Row in[kGroup];
        Row out[kGroup];
#pragma GCC unroll 8
        for (int i = 0; i < kGroup; ++i)
            in[i] = withFirst<count>(carried[i], from[i]);
        const Row before[2] = {s[0], s[1]};
        filterGroup(weights, in, out, s);
        if (t < kBehind || t >= groups) {
            const double step = t;
            const auto works = (lane <= step) & (lane > step - groups);
            s[0] = works ? s[0] : before[0];
            s[1] = works ? s[1] : before[1];
        }
#pragma GCC unroll 8
        for (int i = 0; i < kGroup; ++i) {
            carried[i] = rotated<count>(out[i]);
            to[i] = carried[i][0];
        }
    }
    scatter(count, s, state);
}

constexpr int kSideBySide = kLanes == 2 ? 2 : kQuad;
// Measured: ns per sample of 2, 3, 4 sections side by side and of one alone: 2.1, -, - and 1.5 at
// the baseline, 2.1, 2.8, 2.8 and 1.1 at AVX2, 2.0, 2.8, 2.8 and 0.9 at AVX-512.
constexpr int kLeastSideBySide = kLanes == 2 ? 2 : kLanes == 4 ? 3 : 4;

void runSideBySide(const SectionQuad& quad, int first, int count, SectionState* states,
                   const double* x, double* y, int groups) {
    if (count == 2) return runBehind<2>(quad, first, states, x, y, groups);
    if constexpr (kSideBySide == kQuad) {
        if (count == 3) return runBehind<3>(quad, first, states, x, y, groups);
        runBehind<4>(quad, first, states, x, y, groups);
    }
}

constexpr SectionKernels kTable = {run, kSideBySide, kLeastSideBySide, runSideBySide};

}  // namespace

constinit const SectionKernels SectionKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys
