// What every report has: its style, its scripts and their licence, compiled in.
#pragma once

#include <string_view>

namespace vynhost {

extern const std::string_view kReportStyle;
extern const std::string_view kReportChartScript;  // with its licence
extern const std::string_view kReportScript;

}  // namespace vynhost
