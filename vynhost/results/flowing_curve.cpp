#include "vynhost/results/flowing_curve.h"

#include <utility>

namespace vynhost {
namespace {

ThinnedCurve::Height heightOf(const Series& series, const ChartStyle& style) {
    if (!drawsLevels(series, style)) return {};
    Series like;
    like.quantity = series.quantity;
    return [like, &style](double y) { return drawnHeight(y, like, style); };
}

}  // namespace

FlowingCurve::FlowingCurve(Series description, const ChartStyle& style)
    : series(std::move(description)), points(heightOf(series, style)) {}

Series FlowingCurve::complete() const {
    Series result = series;
    points.appendTo(result.x, result.y);
    if (points.isThinned()) result.thinnedFrom = points.count();
    return result;
}

}  // namespace vynhost
