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
    const double height = height_(y);
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
