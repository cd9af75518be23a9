#include "vynhost/results/sink_input.h"

#include "vynhost/base/text.h"

namespace vynhost {

std::string SinkInput::rowHead() const { return toText(*nextX(), 12); }

void appendCell(std::string& line, float value) { line += "," + toText(value); }

void appendHeight(std::string& line, float value, const Series& series, const ChartStyle& style) {
    appendCell(line, static_cast<float>(drawnHeight(value, series, style)));
}

}  // namespace vynhost
