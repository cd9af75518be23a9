#include "filter/lane_section_kernels.h"

#include "kernels/lanes.h"

namespace ovanlys {
namespace {

using namespace vyn;  // its lanes

using Channels = LaneSectionKernels::Channels;

// Samples of neighbouring channels, a row for each time.
template <class Number>
struct Rows {
    Number* first;
    std::size_t stride;

    Number* operator[](int i) const { return first + static_cast<std::size_t>(i) * stride; }
    Rows from(std::size_t channel) const { return {first + channel, stride}; }
};

template <class Row, int lanes>
Row loaded(const float* from) {
    return converted<Row>(load<typename Lanes<lanes>::Floats>(from));
}
template <class Row, int lanes>
Row loaded(const double* from) {
    return load<Row>(from);
}
template <class Row, int lanes>
void stored(Row row, float* to) {
    store(converted<typename Lanes<lanes>::Floats>(row), to);
}
template <class Row, int lanes>
void stored(Row row, double* to) {
    store(row, to);
}

// A weight as an operand: a full register at the baseline, elsewhere the number, which is laid into
// all lanes by the way.
inline auto weight(const double (&twice)[2]) {
    if constexpr (kLanes == 2) {
        return load<Register>(twice);
    } else {
        return twice[0];
    }
}

// A group of every lane's channel through a section: the sums of `step` and `advance` of
// section_kernels.cpp, term by term. A sample goes into all sums that it reaches, so that these
// grow side by side and ten registers hold them. Sections before the last leave out the 0 that the
// sums begin with: it makes +0 of a sum that is -0, which the last one's 0 does for all of them.
template <int lanes, bool last, class From, class To>
inline void filterGroup(const LaneSection& section, double* state, std::size_t count,
                        Rows<From> from, Rows<To> to) {
    using Row = typename Lanes<lanes>::Doubles;
    const Row s[2] = {load<Row>(state), load<Row>(state + count)};
    // The weights that most sums take stay in registers; more of them would drive the sums out.
    constexpr int kKept = 3;
    Row kept[kKept];
#pragma GCC unroll 3
    for (int i = 0; i < kKept; ++i)
        kept[i] = weight(section.direct[i]) - Row{};
    const auto h = [&](int i) { return i < kKept ? kept[i] : weight(section.direct[i]) - Row{}; };
    Row direct[kGroup];
    Row into[2];
#pragma GCC unroll 8
    for (int i = 0; i < kGroup; ++i) {
        const Row x = loaded<Row, lanes>(from[i]);
#pragma GCC unroll 8
        for (int j = i; j < kGroup; ++j) {
            const Row term = h(j - i) * x;
            direct[j] = i > 0 ? direct[j] + term : last ? 0.0 + term : term;
        }
#pragma GCC unroll 2
        for (int r = 0; r < 2; ++r) {
            const Row term = weight(section.intoState[i][r]) * x;
            into[r] = i > 0 ? into[r] + term : term;
        }
        const Row left =
            weight(section.fromState[0][i]) * s[0] + weight(section.fromState[1][i]) * s[1];
        stored<Row, lanes>(direct[i] + left, to[i]);
    }
#pragma GCC unroll 2
    for (int r = 0; r < 2; ++r) {
        const Row own = weight(section.advance[0][r]) * s[0] + weight(section.advance[1][r]) * s[1];
        store(own + into[r], state + static_cast<std::size_t>(r) * count);
    }
}

constexpr std::size_t kStep = kLanes > 4 ? 4 : kLanes;

// A group of all channels.
template <bool last, class From, class To>
void runSection(const LaneSection& section, double* states, std::size_t count, Rows<From> from,
                Rows<To> to) {
    std::size_t c = 0;
    for (; c + kLanes <= count; c += kLanes)
        filterGroup<kLanes, last>(section, states + c, count, from.from(c), to.from(c));
    if constexpr (kLanes > kStep) {
        if (c < count)
            filterGroup<kStep, last>(section, states + c, count, from.from(c), to.from(c));
    }
}

template <class To>
void runSections(const Channels& channels, Rows<const float> in, Rows<To> out) {
    const LaneSection* section = channels.sections;
    const LaneSection* const last = section + channels.sectionCount - 1;
    const std::size_t count = channels.count;
    double* states = channels.states;
    if (section == last) return runSection<true>(*section, states, count, in, out);
    constexpr std::size_t kMost = LaneSectionKernels::kMostChannels;
    alignas(64) double samples[kGroup * kMost];
    const Rows<double> between{samples, kMost};
    runSection<false>(*section, states, count, in, between);
    while (++section != last)
        runSection<false>(*section, states += 2 * count, count, between, between);
    runSection<true>(*section, states + 2 * count, count, between, out);
}

// Group by group, all sections each: memory is walked over once, and the samples of a group stay
// near the registers.
template <class To>
void run(const Channels& channels, Rows<const float> in, int groups, Rows<To> out) {
    for (; groups > 0; --groups) {
        runSections(channels, in, out);
        in.first = in[kGroup];
        out.first = out[kGroup];
    }
}

void toSingles(const Channels& channels, const float* in, std::size_t stride, int groups,
               float* out) {
    run(channels, Rows<const float>{in, stride}, groups, Rows<float>{out, stride});
}

void toDoubles(const Channels& channels, const float* in, std::size_t stride, int groups,
               double* rows) {
    run(channels, Rows<const float>{in, stride}, groups, Rows<double>{rows, channels.count});
}

constexpr LaneSectionKernels kTable = {kStep, toSingles, toDoubles};

}  // namespace

constinit const LaneSectionKernels LaneSectionKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys
