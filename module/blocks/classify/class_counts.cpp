#include "classify/class_counts.h"

#include <algorithm>

namespace vynpack {

ClassCounts::ClassCounts(const ClassScale& scale, int columns)
    : scale_(scale),
      places_(static_cast<std::size_t>(scale.number) + 1),
      counts_(places_ * static_cast<std::size_t>(columns)) {}

std::uint32_t ClassCounts::add(int column, std::span<const double> values) {
    std::uint32_t* counts = this->column(column);
    std::uint32_t counted = 0;
    for (const double value : values) {
        const int k = scale_.classOf(value);
        ++counts[k];
        counted += k < scale_.number ? 1U : 0U;
    }
    return counted;
}

void ClassCounts::clear() { std::fill(counts_.begin(), counts_.end(), 0U); }

}  // namespace vynpack
