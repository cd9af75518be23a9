// For kernel sources: the sums of a section, written once for numbers, and for registers whose
// lanes are groups or channels.
#pragma once

#include "filter/section.h"
#include "kernels/lanes.h"

namespace ovanlys {
namespace {

template <class Row>
class SectionSums {
public:
    explicit SectionSums(const LaneSection& weights) : weights_(weights) {}

    // Output j of a half from its samples and the state at its start. The 0 makes +0 of a direct
    // sum that is -0, and so of every output: needed of a cascade's last section alone.
    template <bool last = true>
    Row output(int j, const Row* x, const Pair<Row>& s) const {
        Row direct = row(weights_.direct[j]) * x[0];
        if constexpr (last) direct = 0.0 + direct;
#pragma GCC unroll 4
        for (int i = 1; i <= j; ++i)
            direct += row(weights_.direct[j - i]) * x[i];
        return direct + product(weights_.fromState[j], s);
    }

    // What a half's samples add to the state at its end.
    Pair<Row> added(const Row* x) const {
        const auto& first = weights_.intoFirst;
        const auto& second = weights_.intoSecond;
        return {((row(first[0]) * x[0] + row(first[1]) * x[1]) + row(first[2]) * x[2]) + x[3],
                (row(second[0]) * x[0] + row(second[1]) * x[1]) + x[2]};
    }

    // Half a group on.
    Pair<Row> moved(const Pair<Row>& s, const Pair<Row>& added) const {
        return {product(weights_.half[0], s) + added.first,
                product(weights_.half[1], s) + added.second};
    }

    // A group on.
    Pair<Row> advanced(const Pair<Row>& s, const Pair<Row>& added) const {
        return {based(s.first) + (product(weights_.advance[0], s) + added.first),
                based(s.second) + (product(weights_.advance[1], s) + added.second)};
    }

private:
    Row row(const Four& weight) const {
        if constexpr (sizeof(Row) > sizeof(Four)) {
            return weight.lanes[0] - Row{};
        } else {
            return vyn::load<Row>(weight.lanes);
        }
    }
    Row product(const Four (&weights)[2], const Pair<Row>& s) const {
        return row(weights[0]) * s.first + row(weights[1]) * s.second;
    }

    // b s; 0 of infinities, too, for those who leave it out.
    Row based(Row s) const {
        const auto kept = row(weights_.base) != Row{};
        if constexpr (sizeof(Row) == sizeof(double)) {
            return kept ? s : 0.0;
        } else {
            using Bits = decltype(kept);
            return reinterpret_cast<Row>(reinterpret_cast<Bits>(s) & kept);
        }
    }

    const LaneSection& weights_;
};

}  // namespace
}  // namespace ovanlys
