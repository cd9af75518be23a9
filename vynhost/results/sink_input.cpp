#include "vynhost/results/sink_input.h"

namespace vynhost {

// A class has two limits.
void SinkInput::writeHead(CellTarget& row, double x) const {
    row.addNumber(x, kXDigits);
    const double width = axis().classWidth;
    if (width > 0) row.addNumber(x + width, kXDigits);
}

std::string SinkInput::endColumn() const {
    const Series x = axis();
    return x.classWidth > 0 ? withUnit("to", x.xUnit) : "";
}

void addHeight(CellTarget& row, float value, const Series& series, const ChartStyle& style) {
    row.addNumber(static_cast<float>(drawnHeight(value, series, style)));
}

void addColumn(CellTarget& row, const Series& series, const ChartStyle& style) {
    row.addText(withUnit(series.name, heightUnit(series, style)));
}

}  // namespace vynhost
