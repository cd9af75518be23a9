// A curve whose values come one after the other.
#pragma once

#include <span>
#include <string>

#include "vynhost/results/series.h"
#include "vynhost/results/svg_chart.h"
#include "vynhost/results/thinned_curve.h"

namespace vynhost {

struct FlowingCurve {
    // The style must outlive it.
    FlowingCurve(Series description, const ChartStyle& style);

    // With the points that a picture can show.
    Series complete() const;

    Series series;
    ThinnedCurve points;
};

// The names of the curves' columns, a comma before each.
std::string columnNames(std::span<const FlowingCurve> curves);

}  // namespace vynhost
