// A curve whose values come one after the other.
#pragma once

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

}  // namespace vynhost
