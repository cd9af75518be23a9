// Counts per class, for one or more result columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "classify/class_scale.h"

namespace vynpack {

class ClassCounts {
public:
    ClassCounts(const ClassScale& scale, int columns);

    // Counts values in a column; those outside all classes are passed over. Returns how many
    // counted.
    std::uint32_t add(int column, std::span<const double> values);

    std::uint32_t at(int k, int column) const { return counts_[place(k, column)]; }
    void clear();

    // The counters of one column: a place per class, and one more that takes what lies outside.
    std::uint32_t* column(int column) { return &counts_[place(0, column)]; }
    std::size_t places() const { return places_; }

private:
    std::size_t place(int k, int column) const {
        return static_cast<std::size_t>(column) * places_ + static_cast<std::size_t>(k);
    }

    ClassScale scale_;
    std::size_t places_;
    std::vector<std::uint32_t> counts_;
};

}  // namespace vynpack
