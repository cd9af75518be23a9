#include "vynhost/results/thinned_curve.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vynhost {

void ThinnedCurve::Bin::take(const Bin& next) {
    points += next.points;
    if (next.lowest.height < lowest.height) lowest = next.lowest;
    if (next.highest.height > highest.height) highest = next.highest;
    last = next.last;
}

void ThinnedCurve::add(double x, double y) {
    const double height = height_(y);
    if (!std::isfinite(height)) return;
    const Point point{count_++, x, y, height};
    const Bin bin{1, point, point, point, point};
    if (!bins_.empty() && bins_.back().points < binWidth_) {
        bins_.back().take(bin);
        return;
    }
    if (bins_.size() == kMostBins) halveBins();
    bins_.push_back(bin);
}

void ThinnedCurve::halveBins() {
    for (std::size_t i = 0; i < kMostBins / 2; ++i) {
        bins_[i] = bins_[2 * i];
        bins_[i].take(bins_[2 * i + 1]);
    }
    bins_.resize(kMostBins / 2);
    binWidth_ *= 2;
}

void ThinnedCurve::appendTo(std::vector<double>& x, std::vector<double>& y) const {
    for (const Bin& bin : bins_) {
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
