// Counts per class, for one or more columns.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

namespace vynpack {

class ClassCounts {
public:
    ClassCounts(int classes, int columns)
        : places_(static_cast<std::size_t>(classes) + 2),
          counts_(places_ * static_cast<std::size_t>(columns)) {}

    std::uint32_t at(int k, int column) const { return counts_[place(k, column)]; }
    std::uint32_t total(int column) const {
        const std::uint32_t* first = &counts_[place(0, column)];
        return std::accumulate(first, first + places_ - 2, 0U);
    }
    void clear() { std::ranges::fill(counts_, 0U); }

    // The counters of all columns, one behind the other, from class 0 of the first: a place per
    // class, one behind and one before them for what lies outside. Columns are `places` apart.
    std::uint32_t* data() { return counts_.data() + 1; }
    std::size_t places() const { return places_; }

private:
    std::size_t place(int k, int column) const {
        return static_cast<std::size_t>(column) * places_ + 1 + static_cast<std::size_t>(k);
    }

    std::size_t places_;
    std::vector<std::uint32_t> counts_;
};

}  // namespace vynpack
