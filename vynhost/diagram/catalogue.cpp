#include "vynhost/diagram/catalogue.h"

#include <algorithm>
#include <array>
#include <variant>

#include "vynhost/base/text.h"

namespace vynhost {
namespace {

constexpr std::array<const char*, kTypes> kClassNames = {
    "TOKlassierung", "TOTerz_Oktave",  "TOStatistik",     "TOMittelwert", "TOSpektrum",
    "TOInverseFFT",  "TODualSpektrum", "TODigitalFilter", "TOFreqWeight", "TOLevel"};

}  // namespace

std::vector<TypeInfo> moduleTypes(ModuleHost& host) {
    std::vector<TypeInfo> types;
    const auto count = static_cast<int>(host.getInfo(kFirstType, kTypeCount));
    for (int code = kFirstType; code < kFirstType + count; ++code) {
        if (host.getInfo(code, kIsType) == 0) continue;
        const auto index = static_cast<std::size_t>(code - kFirstType);
        types.push_back({code, index < kClassNames.size() ? kClassNames[index] : "",
                         host.infoText(code, kLongName), host.infoText(code, kShortName),
                         host.creates(code)});
    }
    return types;
}

std::vector<std::string> connectorNames(const std::vector<std::string>& labels) {
    std::vector<std::string> names;
    for (auto label = labels.begin(); label != labels.end(); ++label) {
        names.push_back(*label);
        if (std::count(labels.begin(), labels.end(), *label) > 1) {
            names.back() += std::to_string(std::count(labels.begin(), label + 1, *label));
        }
    }
    return names;
}

bool isReadable(const std::string& text) {
    return text.size() > 1 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

std::string typeText(ValueType type) {
    switch (type) {
        case ValueType::real: return "number";
        case ValueType::integer: return "integer";
        case ValueType::text: return "text";
        case ValueType::flag: return "flag";
    }
    return "unknown";
}

std::string valueText(const KeywordValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        return isReadable(*text) ? *text : "(does not read back)";
    }
    if (const auto* real = std::get_if<double>(&value)) return toText(*real);
    return std::to_string(std::get<std::int32_t>(value));
}

}  // namespace vynhost
