#include "vynhost/diagram/catalogue.h"

#include <algorithm>
#include <array>

#include "vynhost/base/messages.h"
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

const TypeInfo& typeNamed(const std::string& name, std::span<const TypeInfo> types,
                          const Place& place) {
    const auto type = std::ranges::find_if(types, [&](const TypeInfo& info) {
        return equalIgnoringCase(name, info.longName) || equalIgnoringCase(name, info.shortName) ||
               equalIgnoringCase(name, info.className) || name == std::to_string(info.code);
    });
    if (type != types.end()) return *type;
    std::vector<std::string> names;
    for (const TypeInfo& info : types) {
        for (const std::string& known : {info.longName, info.shortName, info.className}) {
            names.push_back(known);
        }
    }
    throw InputError(place, tr("\"%1\" is no block type%2", name, didYouMean(name, names)));
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

std::string typeText(ValueType type) {
    switch (type) {
        case ValueType::real: return words("number");
        case ValueType::integer: return words("integer");
        case ValueType::text: return words("text");
        case ValueType::flag: return words("flag");
    }
    return words("unknown");
}

}  // namespace vynhost
