#include "blocks/filter/level/level_bins.h"

#include <algorithm>
#include <limits>

namespace vynpack {
namespace {

// The lowest ratio whose bin by the formula is at least `bin`, by halving the doubles between.
double lowestOf(int bin) {
    const double middle = std::pow(10.0, LevelBins::kWidth / 10.0 * (bin - 1));
    auto below = std::bit_cast<std::uint64_t>(middle * (1.0 - 1e-9));
    auto above = std::bit_cast<std::uint64_t>(middle * (1.0 + 1e-9));
    while (above - below > 1) {
        const std::uint64_t between = below + (above - below) / 2;
        const bool reached = LevelBins::byLogarithm(std::bit_cast<double>(between)) >= bin;
        (reached ? above : below) = between;
    }
    return std::bit_cast<double>(above);
}

}  // namespace

int LevelBins::byLogarithm(double ratio) {
    const double bin = std::ceil(levelOf(ratio) / kWidth);
    if (!(bin > 0.0)) return 0;
    return bin < kCount - 1 ? static_cast<int>(bin) : kCount - 1;
}

LevelBins::LevelBins() {
    lowest_.front() = -std::numeric_limits<double>::infinity();
    lowest_.back() = std::numeric_limits<double>::infinity();
    for (int bin = 1; bin < kCount; ++bin)
        lowest_[static_cast<std::size_t>(bin)] = lowestOf(bin);
    for (std::size_t cell = 0; cell < firstBin_.size(); ++cell) {
        const auto start = std::bit_cast<double>((cell + kFirstCell) << kCellShift);
        const auto next = std::upper_bound(lowest_.begin(), lowest_.end(), start);
        firstBin_[cell] = static_cast<std::uint16_t>(next - lowest_.begin() - 1);
    }
}

const LevelBins& LevelBins::table() {
    static const LevelBins bins;
    return bins;
}

}  // namespace vynpack
