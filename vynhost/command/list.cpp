#include "vynhost/command/list.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>
#include <variant>

#include "vynhost/base/text.h"
#include "vynhost/diagram/catalogue.h"

namespace vynhost {
namespace {

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

// Numbers that JSON lacks become texts; what cannot be read is null.
nlohmann::ordered_json jsonValue(const KeywordValue& value) {
    if (const auto* integer = std::get_if<std::int32_t>(&value)) return *integer;
    if (const auto* real = std::get_if<double>(&value)) {
        if (std::isfinite(*real)) return *real;
        return toText(*real);
    }
    const auto& text = std::get<std::string>(value);
    if (!isReadable(text)) return nullptr;
    return text;
}

}  // namespace

std::string listAsText(ModuleHost& host) {
    std::string text;
    for (const TypeInfo& type : moduleTypes(host)) {
        text += std::to_string(type.code) + "  " + padded(type.className, 16) + type.longName;
        if (type.shortName != type.longName) text += " (" + type.shortName + ")";
        if (!type.creatable) {
            text += "\n      not available\n\n";
            continue;
        }
        PlacedBlock block(host, type.code);
        text += "\n      inputs " + joined(connectorNames(block.inputLabels())) + "; outputs " +
                joined(connectorNames(block.outputLabels())) + "\n";
        for (const KeywordRow& row : block.keywords()) {
            text += "      " + padded(row.name, 18) + padded(typeText(row.type), 9) +
                    valueText(block.get(row)) + "\n";
        }
        text += "\n";
    }
    if (text.ends_with("\n\n")) text.pop_back();
    return text;
}

std::string listAsJson(ModuleHost& host) {
    nlohmann::ordered_json types = nlohmann::ordered_json::array();
    for (const TypeInfo& type : moduleTypes(host)) {
        nlohmann::ordered_json entry = {{"code", type.code},
                                        {"class", type.className},
                                        {"name", type.longName},
                                        {"shortName", type.shortName},
                                        {"available", type.creatable}};
        if (type.creatable) {
            PlacedBlock block(host, type.code);
            entry["connectors"] = block.connectors();
            entry["inputs"] = connectorNames(block.inputLabels());
            entry["outputs"] = connectorNames(block.outputLabels());
            entry["keywords"] = nlohmann::ordered_json::array();
            for (const KeywordRow& row : block.keywords()) {
                entry["keywords"].push_back({{"name", row.name},
                                             {"type", typeText(row.type)},
                                             {"value", jsonValue(block.get(row))}});
            }
        }
        types.push_back(std::move(entry));
    }
    return nlohmann::ordered_json{{"types", std::move(types)}}.dump(2) + "\n";
}

}  // namespace vynhost
