// Levels in decibel from squared ratios, and the 0.2 dB bins that they fall into.
#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace vynpack {

// 10 lg of a squared ratio; a ratio of 0 counts as 1.
inline double levelOf(double ratio) { return 10.0 * std::log10(ratio == 0.0 ? 1.0 : ratio); }

// The histogram's bins: bin b holds the levels L with ceil(L / 0.2) = b, the first one all levels
// up to 0 dB, the last one all above 200 dB. A ratio finds its bin without a logarithm, by limits
// that are found once from the very formula.
class LevelBins {
public:
    static constexpr int kCount = 1002;
    static constexpr double kWidth = 0.2;  // dB

    // The one table, made when it is first asked for.
    static const LevelBins& table();

    // The formula itself: slow.
    static int byLogarithm(double ratio);

    // The same bin. What is not a number falls into bin 0.
    int of(double ratio) const {
        if (!(ratio >= 1.0)) return 0;
        if (ratio >= kLargest) return kCount - 1;
        const auto cell = (std::bit_cast<std::uint64_t>(ratio) >> kCellShift) - kFirstCell;
        const int bin = firstBin_[cell];
        return bin + static_cast<int>(ratio >= lowest_[static_cast<std::size_t>(bin) + 1]);
    }

    // The ratios of a bin: from <= ratio < to. The last bin's `to` is infinite.
    double from(int bin) const { return lowest_[static_cast<std::size_t>(bin)]; }
    double to(int bin) const { return lowest_[static_cast<std::size_t>(bin) + 1]; }

private:
    LevelBins();

    // A bin is 4.7 % wide; the cells of 1/32 octave are at most 3.1 % wide, so that a cell holds
    // one limit at most. 67 octaves reach beyond the last limit.
    static constexpr int kCellShift = 52 - 5;
    static constexpr std::uint64_t kFirstCell = std::uint64_t{1023} << 5;
    static constexpr int kOctaves = 67;
    static constexpr double kLargest = 147573952589676412928.0;  // 2^67

    std::array<double, kCount + 1> lowest_;  // the lowest ratio of each bin, and infinity
    std::array<std::uint16_t, kOctaves * 32> firstBin_;  // the bin at each cell's start
};

}  // namespace vynpack
