#include "blocks/stats/core/statistik_core.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "blocks/stats/core/statistic_kernels.h"

namespace vynpack {
namespace {

// The wider the rows, the better the kernels run: rows of few channels are taken several at a time,
// which an extreme value allows (a sum would lose its order).
constexpr std::size_t kWideRow = 16;

bool hasZero(SampleRows block, std::size_t channel) {
    const auto channels = static_cast<std::size_t>(block.channels);
    const std::size_t end = static_cast<std::size_t>(block.rows()) * channels;
    for (std::size_t i = channel; i < end; i += channels) {
        if (block.values[i] == 0.0F) return true;
    }
    return false;
}

}  // namespace

bool SamplePasses::isDue(Pass pass, SampleRows block) {
    if (block.values.data() != block_.values.data() ||
        block.values.size() != block_.values.size() || block.channels != block_.channels) {
        block_ = block;
        forget();
    }
    return (made_ & pass) == 0;
}

void SamplePasses::makeTerms(Pass pass, SampleRows block) {
    if (!isDue(pass, block)) return;
    const unsigned due = (pass | (madeBefore_ & (kSums | kMeanTerms))) & ~made_;
    const StatisticKernels& kernels = vyn::kernelsAt<StatisticKernels>(level_);
    const auto channels = static_cast<std::size_t>(block.channels);
    const auto rows = static_cast<std::size_t>(block.rows());
    if ((due & kSums) != 0) {
        sum_.assign(channels, 0.0);
        squares_.assign(channels, 0.0);
    }
    if ((due & kMeanTerms) != 0) {
        reciprocals_.assign(channels, 0.0);
        mantissas_.assign(channels, 1.0);
        exponents_.assign(channels, 0);
        lowest_.assign(channels, std::numeric_limits<float>::infinity());
        highest_.assign(channels, -std::numeric_limits<float>::infinity());
    }
    const StatisticSums sums{sum_.data(),       squares_.data(),   reciprocals_.data(),
                             mantissas_.data(), exponents_.data(), lowest_.data(),
                             highest_.data()};
    const auto add = due == kSums        ? kernels.addSamples
                     : due == kMeanTerms ? kernels.addMeanTerms
                                         : kernels.addAll;
    constexpr std::size_t kStep = StatisticKernels::kMostFactors;
    for (std::size_t done = 0; done < rows; done += kStep) {
        const std::size_t taken = std::min(kStep, rows - done);
        add(block.values.data() + done * channels, taken, channels, sums);
        if ((due & kMeanTerms) != 0)
            kernels.takeOutExponents(mantissas_.data(), exponents_.data(), channels);
    }
    made_ |= due;
    if ((due & kMeanTerms) != 0) finishMeanTerms(block);
}

void SamplePasses::finishMeanTerms(SampleRows block) {
    if (block.rows() == 0) return;  // the empty product, 1
    const auto channels = static_cast<std::size_t>(block.channels);
    vyn::kernelsAt<StatisticKernels>(level_).takeRoots(mantissas_.data(), exponents_.data(),
                                                       channels, block.rows());
    for (std::size_t c = 0; c < channels; ++c) {
        if (lowest_[c] <= 0.0F) {
            mantissas_[c] = 0.0;
            // Only then can there have been a zero, and its reciprocal makes no finite sum.
            if (!std::isfinite(reciprocals_[c]) && hasZero(block, c)) reciprocals_[c] = 0.0;
        } else if (std::isnan(reciprocals_[c])) {  // without zeros, as a sample is
            mantissas_[c] = reciprocals_[c];
        } else if (std::isinf(highest_[c])) {
            mantissas_[c] = highest_[c];
        }
    }
}

// Rows of few channels are taken several at a time, the wider the better. What is left of them goes
// through the kernel as rows of their own.
void SamplePasses::makeExtremes(SampleRows block) {
    if (!isDue(kExtremes, block)) return;
    const auto channels = static_cast<std::size_t>(block.channels);
    const auto rows = static_cast<std::size_t>(block.rows());
    maximum_.assign(channels, {});
    minimum_.assign(channels, {});
    const std::size_t fold = std::max<std::size_t>(1, kWideRow / channels);
    const std::size_t folded = rows / fold * fold;
    if (folded > 0) findExtremes(block, 0, folded, fold);
    if (folded < rows) findExtremes(block, folded, rows - folded, 1);
    made_ |= kExtremes;
}

void SamplePasses::findExtremes(SampleRows block, std::size_t firstRow, std::size_t rows,
                                std::size_t fold) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const auto channels = static_cast<std::size_t>(block.channels);
    // Column v of a wide row is sample v / channels of channel v % channels.
    const std::size_t columns = channels * fold;
    const float* samples = block.values.data() + firstRow * channels;
    high_.assign(columns, -kInfinity);
    low_.assign(columns, kInfinity);
    highSpan_.assign(columns, -1);
    lowSpan_.assign(columns, -1);
    vyn::kernelsAt<StatisticKernels>(level_).findExtremes(samples, rows / fold, columns,
                                                          high_.data(), highSpan_.data(),
                                                          low_.data(), lowSpan_.data());
    const auto take = [&](Extreme& best, std::size_t c, const std::vector<float>& values,
                          const std::vector<std::int32_t>& spans, auto better) {
        float value = 0.0F;
        std::int32_t span = -1;
        for (std::size_t v = c; v < columns; v += channels) {
            if (spans[v] < 0) continue;
            const bool first = span < 0 || better(values[v], value);
            if (first || (values[v] == value && spans[v] < span)) {
                value = values[v];
                span = spans[v];
            }
        }
        if (span < 0 || (best.found && !better(value, best.value))) return;
        std::size_t row = static_cast<std::size_t>(span) * StatisticKernels::kSpan * fold;
        while (samples[row * channels + c] != value)
            ++row;
        best = {true, samples[row * channels + c], static_cast<std::int32_t>(firstRow + row)};
    };
    for (std::size_t c = 0; c < channels; ++c) {
        take(maximum_[c], c, high_, highSpan_, std::greater<>());
        take(minimum_[c], c, low_, lowSpan_, std::less<>());
    }
}

void SamplePasses::makeDeviations(SampleRows block) {
    if (!isDue(kDeviations, block)) return;
    makeTerms(kSums, block);
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
    makeTerms(kSums, block);
    return sum_.at(static_cast<std::size_t>(channel));
}

double SamplePasses::sumOfSquares(SampleRows block, int channel) {
    makeTerms(kSums, block);
    return squares_.at(static_cast<std::size_t>(channel));
}

double SamplePasses::sumOfReciprocals(SampleRows block, int channel) {
    makeTerms(kMeanTerms, block);
    return reciprocals_.at(static_cast<std::size_t>(channel));
}

double SamplePasses::productOfRoots(SampleRows block, int channel) {
    makeTerms(kMeanTerms, block);
    return mantissas_.at(static_cast<std::size_t>(channel));
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
