#include "filter/lane_section_kernels.h"

#include "filter/section_sums.h"
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

// A group of every lane's channel through a section.
template <int lanes, bool last, class From, class To>
inline void filterGroup(const LaneSection& section, double* state, std::size_t count,
                        Rows<From> from, Rows<To> to) {
    using Row = typename Lanes<lanes>::Doubles;
    const SectionSums<Row> sums(section);
    const Pair<Row> s{load<Row>(state), load<Row>(state + count)};
    const auto half = [&](int start, const Pair<Row>& atStart) {
        Row x[kHalf];
#pragma GCC unroll 4
        for (int i = 0; i < kHalf; ++i)
            x[i] = loaded<Row, lanes>(from[start + i]);
#pragma GCC unroll 4
        for (int j = 0; j < kHalf; ++j)
            stored<Row, lanes>(sums.template output<last>(j, x, atStart), to[start + j]);
        return sums.added(x);
    };
    const auto added = half(0, s);
    const auto both = sums.moved(added, half(kHalf, sums.moved(s, added)));
    const auto next = sums.advanced(s, both);
    store(next.first, state);
    store(next.second, state + count);
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
