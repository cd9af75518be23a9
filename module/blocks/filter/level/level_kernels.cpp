#include "blocks/filter/level/level_kernels.h"

#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

constexpr double kReferenceSquare = 4e-10;  // of 20 µPa, the reference sound pressure (IEC 61672-1)

// In place: squares become ratios.
void divide(double* values, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const double ratio = values[i] / kReferenceSquare;
        values[i] = ratio == 0.0 ? 1.0 : ratio;
    }
}

void smooth(LaneRows rows, double alpha, double* meanSquares, double* ratios) {
    const auto all = static_cast<std::size_t>(rows.lanes);
    forEachLaneGroup(all, [=](auto group, std::size_t first) {
        using Floats = typename decltype(group)::Floats;
        using Doubles = typename decltype(group)::Doubles;
        auto mean = load<Doubles>(meanSquares + first);
        const float* in = rows.x + first;
        double* out = ratios + first;
        for (std::size_t frame = 0; frame < rows.frames; ++frame, in += rows.stride, out += all) {
            const auto value = converted<Doubles>(load<Floats>(in));
            mean += alpha * (value * value - mean);
            store(mean, out);
        }
        store(mean, meanSquares + first);
    });
    divide(ratios, rows.frames * all);
}

void square(LaneRows rows, double* ratios) {
    const auto all = static_cast<std::size_t>(rows.lanes);
    forEachLaneGroup(all, [=](auto group, std::size_t first) {
        using Floats = typename decltype(group)::Floats;
        using Doubles = typename decltype(group)::Doubles;
        const float* in = rows.x + first;
        double* out = ratios + first;
        for (std::size_t frame = 0; frame < rows.frames; ++frame, in += rows.stride, out += all) {
            const auto value = converted<Doubles>(load<Floats>(in));
            store(value * value, out);
        }
    });
    divide(ratios, rows.frames * all);
}

// A channel on its own fills both halves of a pair: comparisons of single numbers go a longer way.
template <class Group>
struct Paired {
    using Doubles = typename Group::Doubles;
    static Doubles take(const double* from) { return load<Doubles>(from); }
    static void put(Doubles values, double* to) { store(values, to); }
};
template <>
struct Paired<Lanes<1>> {
    using Doubles = Lanes<2>::Doubles;
    static Doubles take(const double* from) { return Doubles{} + *from; }
    static void put(Doubles values, double* to) { *to = values[0]; }
};

void gather(const double* ratios, std::size_t frames, int lanes, const LevelWindow* window,
            LevelLanes* state, double* hits) {
    const auto all = static_cast<std::size_t>(lanes);
    forEachLaneGroup(all, [=](auto group, std::size_t first) {
        using Pair = Paired<decltype(group)>;
        using Doubles = typename Pair::Doubles;
        const Doubles zero{};
        const Doubles one = zero + 1.0;
        const Doubles from = Pair::take(window->from + first);
        const Doubles to = Pair::take(window->to + first);
        Doubles maximum = Pair::take(state->maximum + first);
        Doubles minimum = Pair::take(state->minimum + first);
        Doubles energy = Pair::take(state->energy + first);
        Doubles clockMaximum = Pair::take(state->clockMaximum + first);
        Doubles hit{};
        const double* in = ratios + first;
        for (std::size_t frame = 0; frame < frames; ++frame, in += all) {
            const Doubles q = Pair::take(in);
            maximum = q > maximum ? q : maximum;
            minimum = q < minimum ? q : minimum;
            energy += q;
            clockMaximum = q > clockMaximum ? q : clockMaximum;
            hit += (q >= from) & (q < to) ? one : zero;
        }
        Pair::put(maximum, state->maximum + first);
        Pair::put(minimum, state->minimum + first);
        Pair::put(energy, state->energy + first);
        Pair::put(clockMaximum, state->clockMaximum + first);
        Pair::put(hit, hits + first);
    });
}

void smoothOne(LaneRows rows, double alpha, double* meanSquare, double* ratios, double* energies) {
    double mean = *meanSquare;
    double energy = energies[0];
    const float* x = rows.x;
    for (std::size_t frame = 0; frame < rows.frames; ++frame, x += rows.stride) {
        const auto value = static_cast<double>(*x);
        mean += alpha * (value * value - mean);
        const double quotient = mean / kReferenceSquare;
        const double ratio = quotient == 0.0 ? 1.0 : quotient;
        ratios[frame] = ratio;
        energy += ratio;
        energies[frame + 1] = energy;
    }
    *meanSquare = mean;
}

// Extremes and hits do not ask for an order: neighbouring frames lie side by side, in two
// registers. (Of the widest but half: beside those a processor makes the numbers one by one more
// slowly, which most of the time goes into.)
constexpr int kSide = kLanes > 4 ? 4 : kLanes;
using Row = Lanes<kSide>::Doubles;

void gatherOne(const double* ratios, std::size_t frames, const LevelWindow* window,
               LevelLanes* state, double* hits) {
    constexpr std::size_t kTogether = 2 * kSide;
    const Row zero{};
    const Row one = zero + 1.0;
    const Row from = zero + window->from[0];
    const Row to = zero + window->to[0];
    Row maximum[2] = {zero + state->maximum[0], zero + state->maximum[0]};
    Row minimum[2] = {zero + state->minimum[0], zero + state->minimum[0]};
    Row clockMaximum[2] = {zero + state->clockMaximum[0], zero + state->clockMaximum[0]};
    Row hit[2] = {zero, zero};
    std::size_t frame = 0;
    for (; frame + kTogether <= frames; frame += kTogether) {
#pragma GCC unroll 2
        for (std::size_t i = 0; i < 2; ++i) {
            const auto q = load<Row>(ratios + frame + i * kSide);
            maximum[i] = q > maximum[i] ? q : maximum[i];
            minimum[i] = q < minimum[i] ? q : minimum[i];
            clockMaximum[i] = q > clockMaximum[i] ? q : clockMaximum[i];
            hit[i] += (q >= from) & (q < to) ? one : zero;
        }
    }
    double highest = state->maximum[0];
    double lowest = state->minimum[0];
    double clockHighest = state->clockMaximum[0];
    double hitsOfAll = 0.0;
    for (std::size_t i = 0; i < 2; ++i) {
        for (int lane = 0; lane < kSide; ++lane) {
            highest = maximum[i][lane] > highest ? maximum[i][lane] : highest;
            lowest = minimum[i][lane] < lowest ? minimum[i][lane] : lowest;
            clockHighest =
                clockMaximum[i][lane] > clockHighest ? clockMaximum[i][lane] : clockHighest;
            hitsOfAll += hit[i][lane];
        }
    }
    for (; frame < frames; ++frame) {
        const double q = ratios[frame];
        highest = q > highest ? q : highest;
        lowest = q < lowest ? q : lowest;
        clockHighest = q > clockHighest ? q : clockHighest;
        hitsOfAll += (q >= window->from[0]) & (q < window->to[0]) ? 1.0 : 0.0;
    }
    state->maximum[0] = highest;
    state->minimum[0] = lowest;
    state->clockMaximum[0] = clockHighest;
    hits[0] = hitsOfAll;
}

constexpr LevelKernels kTable = {smooth, square, gather, smoothOne, gatherOne};

}  // namespace

constinit const LevelKernels LevelKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
