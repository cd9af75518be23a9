#include "vynhost/diagram/value_names.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace vynhost {
namespace {

const std::vector<ValueName>& levelQuantities() {
    static const std::vector<ValueName> names = {
        {"displayed level", "dB", ValueOf::level},
        {"running time", "s"},
        {"measurement time", "s"},
        {"time since max/min reset", "s"},
        {"L", "dB", ValueOf::level},
        {"Lmax", "dB", ValueOf::level},
        {"Lmin", "dB", ValueOf::level},
        {"Leq", "dB", ValueOf::level},
        {"LE", "dB", ValueOf::level},
        {"clock maximum", "dB", ValueOf::level},
        {"mean clock maximum", "dB", ValueOf::level},
        {"L1", "dB", ValueOf::level},
        {"L5", "dB", ValueOf::level},
        {"L10", "dB", ValueOf::level},
        {"L50", "dB", ValueOf::level},
        {"L90", "dB", ValueOf::level},
        {"L95", "dB", ValueOf::level},
        {"L99", "dB", ValueOf::level},
    };
    return names;
}

// By its keyword, without "Pk".
ValueName measureNamed(const std::string& name) {
    constexpr std::array<std::pair<std::string_view, ValueOf>, 12> kOther = {{
        {"QSum", ValueOf::sumOfSquares},
        {"XonYMax", ValueOf::x},
        {"XonYMin", ValueOf::x},
        {"XMax", ValueOf::x},
        {"XMin", ValueOf::x},
        {"QMean", ValueOf::magnitude},
        {"Spannw", ValueOf::magnitude},
        {"StdAbw", ValueOf::magnitude},
        {"MAAVMW", ValueOf::magnitude},
        {"Varianz", ValueOf::variance},
        {"VarKoeff", ValueOf::itself},
        {"VarKoRel", ValueOf::itself},
    }};
    const auto* const found =
        std::ranges::find(kOther, name, [](const auto& other) { return other.first; });
    return {name, name == "VarKoRel" ? "%" : "",
            found == kOther.end() ? ValueOf::signal : found->second};
}

// The selected measures, by their keywords: all but the two that stand for no measure.
std::vector<ValueName> selectedMeasures(PlacedBlock& block) {
    std::vector<ValueName> names;
    for (const KeywordRow& row : block.keywords()) {
        if (row.name == "PkAllOn" || row.name == "PkOutMode") continue;
        if (block.getInteger(row.name) != 0) names.push_back(measureNamed(row.name.substr(2)));
    }
    return names;
}

}  // namespace

std::vector<ValueName> valueNames(PlacedBlock& block, int output) {
    if (block.typeCode() == kLevel) return levelQuantities();
    if (block.typeCode() != kStatistik) return {};
    constexpr int kOneOutput = 1;
    std::vector<ValueName> measures = selectedMeasures(block);
    if (block.getInteger("PkOutMode") == kOneOutput) return measures;
    const auto index = static_cast<std::size_t>(output);
    if (index >= measures.size()) return {};
    return {measures[index]};
}

}  // namespace vynhost
