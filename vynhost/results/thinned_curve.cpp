#include "vynhost/results/thinned_curve.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <utility>

namespace vynhost {

void ThinnedCurve::Bin::take(const Bin& next) {
    points += next.points;
    if (next.lowest.height < lowest.height) lowest = next.lowest;
    if (next.highest.height > highest.height) highest = next.highest;
    last = next.last;
}

void ThinnedCurve::add(double x, double y) {
    if (std::isnan(y)) gap_ = true;
    const double height = height_ ? height_(y) : y;
    if (!std::isfinite(height)) return;
    const Point point{count_++, x, y, height};
    const Bin bin{1, std::exchange(gap_, false) && !bins_.empty(), point, point, point, point};
    if (!bins_.empty() && !bin.afterGap && bins_.back().points < binWidth_) {
        bins_.back().take(bin);
        return;
    }
    if (bins_.size() == kMostBins) halveBins();
    bins_.push_back(bin);
}

void ThinnedCurve::add(double start, double step, std::span<const float> values,
                       std::size_t stride) {
    const std::size_t count = (values.size() + stride - 1) / stride;
    std::size_t i = 0;
    while (i < count) {
        const bool begins = height_ || gap_ || bins_.empty() || bins_.back().points >= binWidth_;
        const std::size_t room =
            begins ? 1 : static_cast<std::size_t>(binWidth_ - bins_.back().points);
        const std::size_t end = i + std::min(room, count - i);
        if (!begins && addToLastBin(start, step, values.data(), stride, i, end)) {
            i = end;
            continue;
        }
        for (; i < end; ++i)
            add(start + static_cast<double>(i) * step, values[i * stride]);
    }
}

// Values from one place to before another. Of a bin's points the first lowest and the first highest
// count. False, with nothing added, where one is not finite.
bool ThinnedCurve::addToLastBin(double start, double step, const float* values, std::size_t stride,
                                std::size_t from, std::size_t to) {
    std::size_t lowest = from;
    std::size_t highest = from;
    float low = values[from * stride];
    float high = low;
    bool areFinite = true;
    for (std::size_t i = from; i < to; ++i) {
        const float value = values[i * stride];
        areFinite &= std::isfinite(value);
        if (value < low) {
            low = value;
            lowest = i;
        }
        if (value > high) {
            high = value;
            highest = i;
        }
    }
    if (!areFinite) return false;
    const auto pointAt = [&](std::size_t i) {
        const double y = values[i * stride];
        return Point{count_ + (i - from), start + static_cast<double>(i) * step, y, y};
    };
    bins_.back().take(
        {to - from, false, pointAt(from), pointAt(lowest), pointAt(highest), pointAt(to - 1)});
    count_ += to - from;
    return true;
}

void ThinnedCurve::halveBins() {
    constexpr std::size_t kMostThatStay = kMostBins / 4 * 3;
    for (const bool acrossGaps : {false, true}) {
        std::vector<Bin> halved;
        for (const Bin& bin : bins_) {
            const bool joins = !halved.empty() && halved.back().points <= binWidth_ &&
                               halved.back().points + bin.points <= 2 * binWidth_ &&
                               (acrossGaps || !bin.afterGap);
            if (joins) {
                halved.back().take(bin);
            } else {
                halved.push_back(bin);
            }
        }
        bins_ = std::move(halved);
        if (bins_.size() <= kMostThatStay) break;
    }
    binWidth_ *= 2;
}

// Memory grows by doubling.
std::uint64_t ThinnedCurve::bytesWith(std::uint64_t more) const noexcept {
    return std::bit_ceil(std::min<std::uint64_t>(count_ + more, kMostBins)) * sizeof(Bin);
}

void ThinnedCurve::appendTo(std::vector<double>& x, std::vector<double>& y) const {
    for (const Bin& bin : bins_) {
        if (bin.afterGap) {
            x.push_back(bin.first.x);
            y.push_back(std::numeric_limits<double>::quiet_NaN());
        }
        std::array<const Point*, 4> points = {&bin.first, &bin.lowest, &bin.highest, &bin.last};
        std::ranges::sort(points, {}, [](const Point* point) { return point->number; });
        const Point* before = nullptr;
        for (const Point* point : points) {
            if (before != nullptr && point->number == before->number) continue;
            x.push_back(point->x);
            y.push_back(point->y);
            before = point;
        }
    }
}

}  // namespace vynhost
