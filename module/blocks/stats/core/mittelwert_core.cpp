#include "blocks/stats/core/mittelwert_core.h"

#include <algorithm>

#include "blocks/stats/core/averaging_kernels.h"

namespace vynpack {
namespace {

// Quotients are formed in single precision.
float mean(double sum, std::size_t count) {
    return static_cast<float>(sum) / static_cast<float>(count);
}

}  // namespace

void GroupAverage::start(int channels) {
    carriedSum_.assign(static_cast<std::size_t>(channels), 0.0);
    carriedRows_ = 0;
}

std::size_t GroupAverage::outputCount(std::size_t values, std::size_t width) const {
    return (carriedRows_ * carriedSum_.size() + values) / width;
}

void GroupAverage::process(SampleRows in, std::size_t width, std::span<float> out) {
    const AveragingKernels& kernels = vyn::kernelsAt<AveragingKernels>(level_);
    const auto channels = static_cast<std::size_t>(in.channels);
    const auto rows = static_cast<std::size_t>(in.rows());
    const std::size_t groups = out.size() / channels;
    const float* x = in.values.data();

    if (carriedRows_ + rows < width) {  // no group ends in this block
        kernels.addRows(x, rows, channels, carriedSum_.data());
        carriedRows_ += rows;
        std::ranges::fill(out, 0.0F);
        return;
    }

    std::size_t group = 0;
    std::size_t row = 0;
    if (carriedRows_ != 0) {
        // A width that was lowered may have left more rows than a group now takes.
        const std::size_t missing = width - std::min(width, carriedRows_);
        sums_ = carriedSum_;
        kernels.addRows(x, missing, channels, sums_.data());
        for (std::size_t c = 0; c < channels && c < out.size(); ++c)
            out[c] = mean(sums_[c], carriedRows_ + missing);
        group = 1;
        row = missing;
    }

    const std::size_t whole = std::min(groups - std::min(group, groups), (rows - row) / width);
    kernels.groupMeans(x + row * channels, whole, width, channels, out.data() + group * channels);
    group += whole;
    row += whole * width;
    if (group < groups && row < rows) {
        sums_.assign(channels, 0.0);
        kernels.addRows(x + row * channels, rows - row, channels, sums_.data());
        for (std::size_t c = 0; c < channels; ++c)
            out[group * channels + c] = mean(sums_[c], rows - row);
        ++group;
        row = rows;
    }
    std::ranges::fill(out.subspan(std::min(group * channels, out.size())), 0.0F);

    // Kept: a block that ends on a group's border leaves the carried group as it was, and the next
    // block completes it once more.
    if (row * channels < in.values.size()) {
        std::ranges::fill(carriedSum_, 0.0);
        kernels.addRows(x + row * channels, rows - row, channels, carriedSum_.data());
        carriedRows_ = rows - row;
    }
}

void MovingAverage::process(SampleRows in, std::size_t width, std::span<float> out) {
    const AveragingKernels& kernels = vyn::kernelsAt<AveragingKernels>(level_);
    const auto channels = static_cast<std::size_t>(in.channels);
    const auto rows = static_cast<std::size_t>(in.rows());
    const std::size_t reach = width - 1;  // samples before the newest one
    const auto x = in.values.first(rows * channels);

    const std::size_t carried = std::min(history_.size() / channels, reach);
    const std::size_t head = std::min(rows, reach);  // rows whose windows begin before the block
    joined_.assign(history_.end() - static_cast<std::ptrdiff_t>(carried * channels),
                   history_.end());
    joined_.insert(joined_.end(), x.begin(),
                   x.begin() + static_cast<std::ptrdiff_t>(head * channels));

    // Windows that still grow.
    const std::size_t growing = std::min(head, reach - carried);
    if (growing > 0) {
        sums_.assign(channels, 0.0);
        kernels.addRows(joined_.data(), carried, channels, sums_.data());
    }
    for (std::size_t k = 0; k < growing; ++k) {
        kernels.addRows(x.data() + k * channels, 1, channels, sums_.data());
        for (std::size_t c = 0; c < channels; ++c)
            out[k * channels + c] = mean(sums_[c], carried + k + 1);
    }
    // Full windows that begin before the block, the first of them with the first carried sample,
    // and those inside it.
    kernels.windowMeans(joined_.data(), (head - growing) * channels, width, channels,
                        out.data() + growing * channels);
    kernels.windowMeans(x.data(), (rows - head) * channels, width, channels,
                        out.data() + head * channels);
    std::ranges::fill(out.subspan(x.size()), 0.0F);
    remember(x, reach * channels);
}

void MovingAverage::remember(std::span<const float> in, std::size_t most) {
    const std::size_t fresh = std::min(in.size(), most);
    const std::size_t kept = std::min(history_.size(), most - fresh);
    history_.erase(history_.begin(), history_.end() - static_cast<std::ptrdiff_t>(kept));
    history_.insert(history_.end(), in.end() - static_cast<std::ptrdiff_t>(fresh), in.end());
}

void BlockAverage::process(SampleRows in, double factor, std::span<float> out) {
    if (average_.size() != in.values.size()) startAnew(in.values);
    const auto whole = static_cast<std::size_t>(in.rows()) * static_cast<std::size_t>(in.channels);
    const auto samples = in.values.first(whole);
    std::ranges::fill(average_.subspan(whole), 0.0F);
    if (!out.empty()) std::ranges::fill(out.subspan(whole), 0.0F);
    const double divisor = weight_ + 1.0;
    const auto weight = static_cast<float>(weight_);
    if (weight == 0.0F) {
        // An average without weight leaves no trace, not even of an infinity.
        std::ranges::copy(samples, average_.begin());
        if (!out.empty()) std::ranges::copy(samples, out.begin());
    } else {
        vyn::kernelsAt<AveragingKernels>(level_).mixIn(samples.data(), samples.size(), weight,
                                                       static_cast<float>(divisor), average_.data(),
                                                       out.empty() ? nullptr : out.data());
    }
    weight_ = divisor * factor;
    ++blocks_;
}

// Averages lie to the borders of cache lines as the values do in the host's data blocks, whose
// heads are no whole number of lines, so that walking over all of them straddles no border.
void BlockAverage::startAnew(std::span<const float> values) {
    constexpr std::size_t kLine = 64;
    const std::size_t shift =
        reinterpret_cast<std::uintptr_t>(values.data()) % kLine / sizeof(float);
    average_ = {};
    memory_.assign(shift + values.size());
    average_ = memory_.first(shift + values.size()).subspan(shift);
    blocks_ = 0;
    weight_ = 0.0;
}

void BlockAverage::reset() noexcept {
    std::ranges::fill(average_, 0.0F);
    blocks_ = 0;
    weight_ = 0.0;
}

}  // namespace vynpack
