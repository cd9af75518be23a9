// Averages of spectra over data blocks, as the dual spectrum keeps them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "kernels/aligned_array.h"

namespace vynpack {

// A block's averaging type: string ids of the names.
enum AverageType : std::uint16_t {
    kNoAveraging = 80,
    kArithmeticAveraging = 81,
    kExponentialAveraging = 82,
    // Kept: the texts of these ids are "Peak Max." and "Peak Min"; keywords and results say the
    // opposite, and the dialog's list crosses the two.
    kMinimumAveraging = 83,
    kMaximumAveraging = 84,
    kWeightedAveraging = 85,
    kMinMaxAveraging = 86,
};

// How far an average has come.
class AverageProgress {
public:
    AverageProgress() = default;
    explicit AverageProgress(std::uint32_t blocks) : blocks_(blocks) {}

    // The next block begins a new average.
    void restart() { *this = {}; }

    // The number that the next block will have; 0 after 4294967294.
    std::uint32_t nextBlock() const { return blocks_ < kLastBlock ? blocks_ + 1 : 0; }
    // Before a block is averaged.
    void beginBlock() { blocks_ = nextBlock(); }
    // After it: what the averages hold weighs as much more as `growth` says.
    void endBlock(double growth) { weight_ = (weight_ + 1.0) * growth; }

    // Blocks since the average began, the present one included.
    std::uint32_t blocks() const { return blocks_; }
    // Weight of the past against the present block under weighted averaging.
    double weight() const { return weight_; }

private:
    static constexpr std::uint32_t kLastBlock = 4294967294U;

    std::uint32_t blocks_ = 0;
    double weight_ = 1.0;
};

// How an average takes the present block in.
struct AverageRule {
    int mode = 0;  // AverageMode, or kWeightedMode
    AverageProgress progress;
};

// Old values times the weight, plus the new ones, over the weight plus one. Beside the modes of the
// pairwise average.
inline constexpr int kWeightedMode = kWeightedAveraging - kArithmeticAveraging;

// The rule of an averaging type. Types are numbered as the modes are; any other number averages
// arithmetically.
constexpr AverageRule averageRule(std::uint16_t type, const AverageProgress& progress) {
    return {type - kArithmeticAveraging, progress};
}

constexpr bool averagesArithmetically(std::uint16_t type) {
    return type < kExponentialAveraging || type > kWeightedAveraging;
}

// The running average of one quantity, line by line, over all channels.
class LineAverages {
public:
    // Averages that are walked through together have different colours (AlignedArray).
    explicit LineAverages(unsigned colour = 0) : averages_(colour) {}

    // Holds that many averages; 0 releases them. True when they were made anew, all of them 0.
    bool hold(std::size_t averages);

    // Takes the present values of the averages from `first` on in. Returns these averages.
    const double* take(const AverageRule& rule, std::size_t first, std::span<const double> present);
    // The averages from `first` on, for who takes the present values in himself.
    double* from(std::size_t first) { return averages_.data() + first; }

private:
    vyn::AlignedArray<double> averages_;
};

}  // namespace vynpack
