#include "blocks/stats/core/mittelwert_core.h"

#include <algorithm>
#include <bit>

#include "blocks/stats/core/averaging_kernels.h"

namespace vynpack {
namespace {

// Quotients are formed in single precision.
float mean(double sum, std::size_t count) {
    return static_cast<float>(sum) / static_cast<float>(count);
}

// All channels, or so many that the samples of a window come to no more than this.
std::size_t channelsTogether(std::size_t channels, std::size_t width) {
    constexpr std::size_t kNear = 32768;
    constexpr std::size_t kFewest = 8;
    if (width * channels <= kNear) return channels;
    return std::min(channels, std::max(kFewest, kNear / width / kFewest * kFewest));
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
    const auto channels = static_cast<std::size_t>(in.channels);
    const auto x = in.values.first(static_cast<std::size_t>(in.rows()) * channels);
    const std::size_t reach = (width - 1) * channels;  // values before the newest sample

    const std::size_t carried = std::min(past_.size(), reach);
    past_.erase(past_.begin(), past_.end() - static_cast<std::ptrdiff_t>(carried));
    const std::size_t growing = std::min(x.size(), reach - carried);
    if (growing > 0) growingMeans(x.first(growing), channels, out);
    if (growing < x.size()) {
        const std::size_t group = channelsTogether(channels, width);
        if (group == channels || planWindows(x.size() - growing, width, channels).stretch == 0) {
            fullMeans(x, channels, width, growing, out);
        } else {
            fullMeansByGroups(x, channels, group, width, growing / channels, out);
        }
    }
    std::ranges::fill(out.subspan(x.size()), 0.0F);
    remember(x, reach);
}

// Windows that have fewer samples than the width.
void MovingAverage::growingMeans(std::span<const float> x, std::size_t channels,
                                 std::span<float> out) {
    const AveragingKernels& kernels = vyn::kernelsAt<AveragingKernels>(level_);
    std::size_t samples = past_.size() / channels;
    sums_.assign(channels, 0.0);
    if (samples > 0) kernels.addRows(past_.data(), samples, channels, sums_.data());
    for (std::size_t row = 0; row < x.size(); row += channels) {
        kernels.addRows(&x[row], 1, channels, sums_.data());
        ++samples;
        for (std::size_t c = 0; c < channels; ++c)
            out[row + c] = mean(sums_[c], samples);
    }
}

// From the value `first` on.
void MovingAverage::fullMeans(std::span<const float> x, std::size_t channels, std::size_t width,
                              std::size_t first, std::span<float> out) {
    // The samples whose windows begin before the block are put behind the past ones, and some more,
    // so that those of a block of usual length that are left fill registers; or all of a short one.
    constexpr std::size_t kFull = 64;
    const std::size_t past = past_.size();
    const std::size_t reach = (width - 1) * channels;
    std::size_t head = reach;
    if (std::has_single_bit(channels) && channels <= kFull)
        head = (reach + kFull - 1) / kFull * kFull;
    if (x.size() <= 2 * head) head = x.size();
    const std::size_t rest = x.size() - head;
    const WindowPlan headPlan = planWindows(head - first, width, channels);
    const WindowPlan restPlan = planWindows(rest, width, channels);
    prepareWork(std::max(headPlan.work, restPlan.work));

    const auto means = vyn::kernelsAt<AveragingKernels>(level_).windowMeans;
    past_.insert(past_.end(), x.begin(), x.begin() + static_cast<std::ptrdiff_t>(head));
    // The rest first: what was copied just now is still on its way to the cache.
    if (rest > 0) {
        means(x.data() + (head - reach), rest, width, channels, restPlan.stretch, work_.data(),
              out.data() + head);
    }
    means(past_.data() + (past + first - reach), head - first, width, channels, headPlan.stretch,
          work_.data(), out.data() + first);
    past_.resize(past);
}

// As many channels at a time as their sums stay near, side by side in memory of their own.
void MovingAverage::fullMeansByGroups(std::span<const float> x, std::size_t channels,
                                      std::size_t group, std::size_t width, std::size_t from,
                                      std::span<float> out) {
    const auto means = vyn::kernelsAt<AveragingKernels>(level_).windowMeans;
    const std::size_t reach = width - 1;
    const std::size_t carried = past_.size() / channels;
    const std::size_t rows = x.size() / channels;
    const std::size_t most = std::min(rows - from, reach);
    gathered_.resize((reach + most) * group);
    means_.resize(most * group);
    for (std::size_t first = 0; first < channels; first += group) {
        const std::size_t together = std::min(group, channels - first);
        for (std::size_t row = from; row < rows; row += most) {
            const std::size_t now = std::min(most, rows - row);
            float* to = gathered_.data();
            for (std::size_t r = carried + row - reach; r < carried + row + now; ++r) {
                const float* source =
                    r < carried ? past_.data() + r * channels : x.data() + (r - carried) * channels;
                to = std::copy_n(source + first, together, to);
            }
            const WindowPlan plan = planWindows(now * together, width, together);
            prepareWork(plan.work);
            means(gathered_.data(), now * together, width, together, plan.stretch, work_.data(),
                  means_.data());
            for (std::size_t k = 0; k < now; ++k)
                std::copy_n(&means_[k * together], together, &out[(row + k) * channels + first]);
        }
    }
}

void MovingAverage::prepareWork(std::size_t size) {
    if (work_.size() < size) work_.assign(size);
}

// Memory that is out leaves everything as it was before the block.
void MovingAverage::remember(std::span<const float> in, std::size_t most) {
    if (in.size() >= most) {
        past_.assign(in.end() - static_cast<std::ptrdiff_t>(most), in.end());
    } else {
        past_.insert(past_.end(), in.begin(), in.end());
        const std::size_t surplus = past_.size() - std::min(past_.size(), most);
        past_.erase(past_.begin(), past_.begin() + static_cast<std::ptrdiff_t>(surplus));
    }
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
