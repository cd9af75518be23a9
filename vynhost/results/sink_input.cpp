#include "vynhost/results/sink_input.h"

#include "vynhost/base/text.h"

namespace vynhost {

void appendCell(std::string& line, float value) { line += "," + toText(value); }

}  // namespace vynhost
