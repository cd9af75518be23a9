#include "filter/section.h"

#include "filter/section_sums.h"
#include "kernels/lanes.h"

namespace ovanlys {
namespace {

using namespace vyn;  // its lanes

// A sample at place `phase` of a group.
double step(const LaneSection& section, SectionState& state, int phase, double x) {
    const SectionSums<double> sums(section);
    const int place = phase % kHalf;
    const bool isFirst = phase < kHalf;
    state.inputs[place] = x;
    const double y = sums.output(place, state.inputs, isFirst ? state.start : state.middle);
    if (place == kHalf - 1) {
        const auto added = sums.added(state.inputs);
        if (isFirst) {
            state.added = added;
            state.middle = sums.moved(state.start, added);
        } else {
            state.start = sums.advanced(state.start, sums.moved(state.added, added));
        }
    }
    return y;
}

using Two = Lanes<2>::Doubles;
using Quartet = Lanes<4>::Doubles;

// The pairs of numbers pair(0), pair(1) ... as a register of their first numbers and one of their
// second ones; and back, from the last pair to the first.
template <class At>
[[gnu::always_inline]] inline void turn(At pair, Two& first, Two& second) {
    first = __builtin_shufflevector(pair(0), pair(1), 0, 2);
    second = __builtin_shufflevector(pair(0), pair(1), 1, 3);
}
template <class At>
[[gnu::always_inline]] inline void turn(At pair, Quartet& first, Quartet& second) {
    const Quartet even = __builtin_shufflevector(pair(0), pair(2), 0, 1, 2, 3);
    const Quartet odd = __builtin_shufflevector(pair(1), pair(3), 0, 1, 2, 3);
    first = __builtin_shufflevector(even, odd, 0, 4, 2, 6);
    second = __builtin_shufflevector(even, odd, 1, 5, 3, 7);
}
template <class Put>
[[gnu::always_inline]] inline void turnBack(Two first, Two second, Put put) {
    put(1, __builtin_shufflevector(first, second, 1, 3));
    put(0, __builtin_shufflevector(first, second, 0, 2));
}
template <class Put>
[[gnu::always_inline]] inline void turnBack(Quartet first, Quartet second, Put put) {
    const Quartet even = __builtin_shufflevector(first, second, 0, 4, 2, 6);
    const Quartet odd = __builtin_shufflevector(first, second, 1, 5, 3, 7);
    put(3, __builtin_shufflevector(odd, odd, 2, 3));
    put(2, __builtin_shufflevector(even, even, 2, 3));
    put(1, __builtin_shufflevector(odd, odd, 0, 1));
    put(0, __builtin_shufflevector(even, even, 0, 1));
}

// `advanced` with both states in a register; the second one's products change places.
template <bool based>
class PairRecursion {
public:
    explicit PairRecursion(const LaneSection& section)
        : own_(section.advance[0][0].lanes[0] - Two{}),
          other_{section.advance[0][1].lanes[0], section.advance[1][0].lanes[0]} {}

    Two operator()(Two s, Two added) const {
        const Two turned = __builtin_shufflevector(s, s, 1, 0);
        const Two next = (own_ * s + other_ * turned) + added;
        return based ? s + next : next;
    }

private:
    Two own_, other_;
};

// Groups side by side, one in each lane of a row.
template <class Row>
constexpr int kAbreast = sizeof(Row) / sizeof(double);

// Groups of samples one after the other, and in rows. Both give and take samples i and i + 1 of the
// groups from `group` on. Lanes behind the last group have it once more; taken back, its own lane
// comes last.
template <class Number>
struct Line {
    Number* samples;
    int groups;

    [[gnu::always_inline]] Number* pair(int group, int k, int i) const {
        const int left = groups - group - 1;
        return samples + kGroup * (group + (k < left ? k : left)) + i;
    }
    template <class Row>
    [[gnu::always_inline]] void give(int group, int i, Row& first, Row& second) const {
        turn([=, this](int k) { return load<Two>(pair(group, k, i)); }, first, second);
    }
    template <class Row>
    [[gnu::always_inline]] void take(int group, int i, Row first, Row second) const {
        turnBack(first, second, [=, this](int k, Two two) { store(two, pair(group, k, i)); });
    }
};
template <class Row>
struct Rows {
    Row* rows;  // kGroup for every kAbreast groups

    [[gnu::always_inline]] Row* pair(int group, int i) const {
        return rows + group / kAbreast<Row> * kGroup + i;
    }
    [[gnu::always_inline]] void give(int group, int i, Row& first, Row& second) const {
        first = pair(group, i)[0];
        second = pair(group, i)[1];
    }
    [[gnu::always_inline]] void take(int group, int i, Row first, Row second) const {
        pair(group, i)[0] = first;
        pair(group, i)[1] = second;
    }
};

// Groups through a section: what every group adds first, then the states at their starts one after
// the other, then the outputs.
template <class Row, bool last, bool based, class From, class To>
void runSection(const LaneSection& section, SectionState& state, From from, To to, int groups) {
    constexpr int kCount = kAbreast<Row>;
    const SectionSums<Row> sums(section);
    const PairRecursion<based> advanced(section);
    Two s{state.start.first, state.start.second};
    for (int group = 0; group < groups; group += kCount) {
        Row x[kGroup];
#pragma GCC unroll 4
        for (int i = 0; i < kGroup; i += 2)
            from.give(group, i, x[i], x[i + 1]);
        const auto added = sums.added(x);
        const auto both = sums.moved(added, sums.added(x + kHalf));
        Two adds[kCount];
        turnBack(both.first, both.second, [&](int k, Two two) { adds[k] = two; });
        Two starts[kCount + 1] = {s};
#pragma GCC unroll 4
        for (int k = 0; k < kCount; ++k)
            starts[k + 1] = advanced(starts[k], adds[k]);
        s = groups - group < kCount ? starts[groups - group] : starts[kCount];
        Pair<Row> start;
        turn([&](int k) { return starts[k]; }, start.first, start.second);
        const auto half = [&](int i, const Pair<Row>& atStart) {
#pragma GCC unroll 2
            for (int j = kHalf - 2; j >= 0; j -= 2)
                to.take(group, i + j, sums.template output<last>(j, x + i, atStart),
                        sums.template output<last>(j + 1, x + i, atStart));
        };
        half(0, start);
        half(kHalf, sums.moved(start, added));
    }
    state.start = {s[0], s[1]};
}

template <class Row, bool last, class From, class To>
void runSection(const LaneSection& section, SectionState& state, From from, To to, int groups) {
    const auto run = section.base.lanes[0] == 0.0 ? runSection<Row, last, false, From, To>
                                                  : runSection<Row, last, true, From, To>;
    run(section, state, from, to, groups);
}

// Groups that stay in the nearest cache from section to section.
constexpr int kStretch = 128;

template <class Row>
void runGroups(const LaneSection* sections, SectionState* states, int count, Line<const double> in,
               Line<double> out) {
    Row registers[kStretch / kAbreast<Row> * kGroup];
    const Rows<Row> rows{registers};
    const int groups = in.groups;
    if (count == 1) return runSection<Row, true>(sections[0], states[0], in, out, groups);
    runSection<Row, false>(sections[0], states[0], in, rows, groups);
    for (int k = 1; k < count - 1; ++k)
        runSection<Row, false>(sections[k], states[k], rows, rows, groups);
    runSection<Row, true>(sections[count - 1], states[count - 1], rows, out, groups);
}

void run(const LaneSection* sections, SectionState* states, int count, int phase, const double* x,
         double* y, int n) {
    while (n > 0) {
        const int groups = phase != 0 ? 0 : n < kGroup * kStretch ? n / kGroup : kStretch;
        int done = kGroup * groups;
        if (groups > 0) {
            const auto runThese = [&]<class Row>(Row) {
                runGroups<Row>(sections, states, count, {x, groups}, {y, groups});
            };
            // Two groups wait for no lanes that nobody needs.
            using Most = Lanes<kLanes == 2 ? 2 : 4>::Doubles;
            if (kLanes > 2 && groups > 2) {
                runThese(Most{});
            } else {
                runThese(Two{});
            }
        } else {
            double sample = *x;
            for (int k = 0; k < count; ++k)
                sample = step(sections[k], states[k], phase, sample);
            *y = sample;
            phase = (phase + 1) % kGroup;
            done = 1;
        }
        x += done;
        y += done;
        n -= done;
    }
}

constexpr SectionKernels kTable = {run};

}  // namespace

constinit const SectionKernels SectionKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys
