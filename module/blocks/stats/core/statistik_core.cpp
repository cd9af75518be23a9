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
    const auto channels = static_cast<std::size_t>(block.channels);
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
    if (due == (kSums | kMeanTerms) && channels == 1 && (madeBefore_ & kDeviations) != 0) {
        addAllOfOne(block);
        made_ |= kDeviations;
    } else {
        addTerms(due, block);
    }
    made_ |= due;
    if ((due & kMeanTerms) != 0) finishMeanTerms(block);
}

StatisticSums SamplePasses::sums() noexcept {
    return {sum_.data(),       squares_.data(), reciprocals_.data(), mantissas_.data(),
            exponents_.data(), lowest_.data(),  highest_.data()};
}

void SamplePasses::addTerms(unsigned due, SampleRows block) {
    const StatisticKernels& kernels = vyn::kernelsAt<StatisticKernels>(level_);
    const auto channels = static_cast<std::size_t>(block.channels);
    const auto rows = static_cast<std::size_t>(block.rows());
    const auto add = due == kSums        ? kernels.addSamples
                     : due == kMeanTerms ? kernels.addMeanTerms
                                         : kernels.addAll;
    constexpr std::size_t kStep = StatisticKernels::kMostFactors;
    for (std::size_t done = 0; done < rows; done += kStep) {
        const std::size_t taken = std::min(kStep, rows - done);
        add(block.values.data() + done * channels, taken, channels, sums());
        if ((due & kMeanTerms) != 0)
            kernels.takeOutExponents(mantissas_.data(), exponents_.data(), channels);
    }
}

// The deviations need the sum, which needs a walk of its own; the mean terms, which take as long as
// both, are made half beside the one, half beside the other.
void SamplePasses::addAllOfOne(SampleRows block) {
    const StatisticKernels& kernels = vyn::kernelsAt<StatisticKernels>(level_);
    const auto rows = static_cast<std::size_t>(block.rows());
    const std::size_t half = rows / 2;
    const std::size_t odd = rows % 2;
    const float* const x = block.values.data();
    const float* const last = x + 2 * half;
    const auto inSteps = [&](auto add) {
        constexpr std::size_t kStep = StatisticKernels::kMostFactors;
        for (std::size_t done = 0; done < half; done += kStep) {
            add(done, std::min(kStep, half - done));
            kernels.takeOutExponents(mantissas_.data(), exponents_.data(), 1);
        }
    };
    inSteps([&](std::size_t done, std::size_t count) {
        kernels.addSamplesBeside(x + 2 * done, x + done, count, sums());
    });
    kernels.addSamples(last, odd, 1, sums());
    startDeviations(block);
    inSteps([&](std::size_t done, std::size_t count) {
        kernels.addDeviationsBeside(x + 2 * done, x + half + done, count, mean_[0],
                                    squaredDeviations_.data(), deviations_.data(), sums());
    });
    kernels.addDeviations(last, odd, 1, mean_.data(), squaredDeviations_.data(),
                          deviations_.data());
    kernels.addMeanTerms(last, odd, 1, sums());
    kernels.takeOutExponents(mantissas_.data(), exponents_.data(), 1);
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
    if (channels == 1) {
        findExtremesOfOne(block);
    } else {
        const std::size_t fold = std::max<std::size_t>(1, kWideRow / channels);
        const std::size_t folded = rows / fold * fold;
        if (folded > 0) findExtremes(block, 0, folded, fold);
        if (folded < rows) findExtremes(block, folded, rows - folded, 1);
    }
    made_ |= kExtremes;
}

void SamplePasses::findExtremesOfOne(SampleRows block) {
    const auto rows = static_cast<std::size_t>(block.rows());
    std::size_t highest = rows;
    std::size_t lowest = rows;
    vyn::kernelsAt<StatisticKernels>(level_).findExtremesOfOne(block.values.data(), rows, &highest,
                                                               &lowest);
    const auto at = [&](std::size_t place) {
        return place == rows ? Extreme{}
                             : Extreme{true, block.values[place], static_cast<std::int32_t>(place)};
    };
    maximum_[0] = at(highest);
    minimum_[0] = at(lowest);
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
    if ((made_ & kDeviations) != 0) return;
    startDeviations(block);
    vyn::kernelsAt<StatisticKernels>(level_).addDeviations(
        block.values.data(), static_cast<std::size_t>(block.rows()),
        static_cast<std::size_t>(block.channels), mean_.data(), squaredDeviations_.data(),
        deviations_.data());
    made_ |= kDeviations;
}

void SamplePasses::startDeviations(SampleRows block) {
    const auto channels = static_cast<std::size_t>(block.channels);
    mean_.resize(channels);
    for (std::size_t c = 0; c < channels; ++c)
        mean_[c] = sum_[c] / block.rows();
    squaredDeviations_.assign(channels, 0.0);
    deviations_.assign(channels, 0.0);
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
