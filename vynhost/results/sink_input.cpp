#include "vynhost/results/sink_input.h"

namespace vynhost {

void SinkInput::writeHead(TableRow& row) const { row.addNumber(*nextX(), kXDigits); }

void addHeight(TableRow& row, float value, const Series& series, const ChartStyle& style) {
    row.addNumber(static_cast<float>(drawnHeight(value, series, style)));
}

void addColumn(TableRow& row, const Series& series, const ChartStyle& style) {
    row.addText(withUnit(series.name, heightUnit(series, style)));
}

}  // namespace vynhost
