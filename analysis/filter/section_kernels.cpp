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

constexpr SectionKernels kTable = {run};

}  // namespace

constinit const SectionKernels SectionKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys
