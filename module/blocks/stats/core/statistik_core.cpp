#include "blocks/stats/core/statistik_core.h"

#include <algorithm>
#include <array>
#include <limits>

#include "blocks/stats/core/statistic_kernels.h"

namespace vynpack {
namespace {

// The wider the rows, the better the kernels run: rows of few channels are taken several at a time,
// which an extreme value allows (a sum would lose its order).
constexpr std::size_t kWideRow = 16;

// Powers wait in a buffer of about this many numbers, which stays in the first-level cache.
constexpr std::size_t kPowerBuffer = 1024;

template <class Better>
void takeBetter(Extreme& best, float value, std::int32_t index, Better better) {
    const bool first = best.found && value == best.value && index < best.index;
    if (!best.found || better(value, best.value) || first) best = {true, value, index};
}

}  // namespace

bool SamplePasses::isDue(Pass pass, SampleRows block) {
    if (block.values.data() != block_.values.data() ||
        block.values.size() != block_.values.size() || block.channels != block_.channels) {
        block_ = block;
        made_ = 0;
    }
    return (made_ & pass) == 0;
}

void SamplePasses::makeSums(SampleRows block) {
    if (!isDue(kSums, block)) return;
    const auto channels = static_cast<std::size_t>(block.channels);
    sum_.assign(channels, 0.0);
    squares_.assign(channels, 0.0);
    vyn::kernelsAt<StatisticKernels>(level_).addSamples(block.values.data(),
                                                        static_cast<std::size_t>(block.rows()),
                                                        channels, sum_.data(), squares_.data());
    made_ |= kSums;
}

void SamplePasses::makeMeanTerms(SampleRows block) {
    if (!isDue(kMeanTerms, block)) return;
    const StatisticKernels& kernels = vyn::kernelsAt<StatisticKernels>(level_);
    const auto channels = static_cast<std::size_t>(block.channels);
    const auto rows = static_cast<std::size_t>(block.rows());
    const std::size_t step = std::max<std::size_t>(1, kPowerBuffer / channels);
    // Taking the root of each factor keeps the product of a long block inside the double range.
    const double exponent = 1.0 / static_cast<double>(rows);

    reciprocals_.assign(channels, 0.0);
    product_.assign(channels, 1.0);
    hasZero_.assign(channels, 0);
    hasNotPositive_.assign(channels, 0);
    powers_.resize(std::min(step, rows) * channels);
    for (std::size_t done = 0; done < rows; done += step) {
        const std::size_t taken = std::min(step, rows - done);
        const float* samples = block.values.data() + done * channels;
        kernels.powers(samples, taken * channels, exponent, powers_.data());
        kernels.addMeanTerms(samples, powers_.data(), taken, channels, reciprocals_.data(),
                             product_.data(), hasZero_.data(), hasNotPositive_.data());
    }
    for (std::size_t c = 0; c < channels; ++c) {
        if (hasZero_[c] != 0) reciprocals_[c] = 0.0;
        if (hasNotPositive_[c] != 0) product_[c] = 0.0;
    }
    made_ |= kMeanTerms;
}

void SamplePasses::makeExtremes(SampleRows block) {
    if (!isDue(kExtremes, block)) return;
    const StatisticKernels& kernels = vyn::kernelsAt<StatisticKernels>(level_);
    const auto channels = static_cast<std::size_t>(block.channels);
    const auto rows = static_cast<std::size_t>(block.rows());
    maximum_.assign(channels, {});
    minimum_.assign(channels, {});

    // Column v of a wide row is sample v / channels of channel v % channels.
    const auto walk = [&](std::size_t firstRow, std::size_t count, std::size_t fold) {
        constexpr float kInfinity = std::numeric_limits<float>::infinity();
        const std::size_t columns = channels * fold;
        std::vector<float> high(columns, -kInfinity);
        std::vector<float> low(columns, kInfinity);
        std::vector<std::int32_t> highRow(columns, -1);
        std::vector<std::int32_t> lowRow(columns, -1);
        kernels.findExtremes(block.values.data() + firstRow * channels, count, columns, 0,
                             high.data(), highRow.data(), low.data(), lowRow.data());
        for (std::size_t v = 0; v < columns; ++v) {
            const std::size_t c = v % channels;
            const auto indexOf = [&](std::int32_t row) {
                return static_cast<std::int32_t>(firstRow + static_cast<std::size_t>(row) * fold +
                                                 v / channels);
            };
            if (highRow[v] >= 0) {
                takeBetter(maximum_[c], high[v], indexOf(highRow[v]), std::greater<>());
            }
            if (lowRow[v] >= 0) {
                takeBetter(minimum_[c], low[v], indexOf(lowRow[v]), std::less<>());
            }
        }
    };
    const std::size_t fold = std::max<std::size_t>(1, kWideRow / channels);
    const std::size_t wideRows = rows / fold;
    if (wideRows > 0) walk(0, wideRows, fold);
    if (wideRows * fold < rows) walk(wideRows * fold, rows - wideRows * fold, 1);
    made_ |= kExtremes;
}

void SamplePasses::makeDeviations(SampleRows block) {
    if (!isDue(kDeviations, block)) return;
    makeSums(block);
    const auto channels = static_cast<std::size_t>(block.channels);
    mean_.resize(channels);
    for (std::size_t c = 0; c < channels; ++c)
        mean_[c] = sum_[c] / block.rows();
    squaredDeviations_.assign(channels, 0.0);
    deviations_.assign(channels, 0.0);
    vyn::kernelsAt<StatisticKernels>(level_).addDeviations(
        block.values.data(), static_cast<std::size_t>(block.rows()), channels, mean_.data(),
        squaredDeviations_.data(), deviations_.data());
    made_ |= kDeviations;
}

double SamplePasses::sum(SampleRows block, int channel) {
    makeSums(block);
    return sum_.at(static_cast<std::size_t>(channel));
}

double SamplePasses::sumOfSquares(SampleRows block, int channel) {
    makeSums(block);
    return squares_.at(static_cast<std::size_t>(channel));
}

double SamplePasses::sumOfReciprocals(SampleRows block, int channel) {
    makeMeanTerms(block);
    return reciprocals_.at(static_cast<std::size_t>(channel));
}

double SamplePasses::productOfRoots(SampleRows block, int channel) {
    makeMeanTerms(block);
    return product_.at(static_cast<std::size_t>(channel));
}

Extreme SamplePasses::maximum(SampleRows block, int channel) {
    makeExtremes(block);
    return maximum_.at(static_cast<std::size_t>(channel));
}

Extreme SamplePasses::minimum(SampleRows block, int channel) {
    makeExtremes(block);
    return minimum_.at(static_cast<std::size_t>(channel));
}

double SamplePasses::sumOfSquaredDeviations(SampleRows block, int channel) {
    makeDeviations(block);
    return squaredDeviations_.at(static_cast<std::size_t>(channel));
}

double SamplePasses::sumOfDeviations(SampleRows block, int channel) {
    makeDeviations(block);
    return deviations_.at(static_cast<std::size_t>(channel));
}

}  // namespace vynpack
