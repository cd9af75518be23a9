#include "vynhost/command/list.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <variant>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/diagram_text.h"
#include "vynhost/diagram/keyword_table.h"

namespace vynhost {
namespace {

using nlohmann::ordered_json;

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

// What a diagram would write, without quotes.
std::string plain(const WrittenValue& value) {
    if (std::holds_alternative<std::monostate>(value)) return "-";
    const std::string text = settingValueText(value);
    return std::holds_alternative<std::string_view>(value) ? text.substr(1, text.size() - 2) : text;
}

const BlockMeaning& meaningOfType(const TypeInfo& type) {
    return meaningOf(static_cast<std::int32_t>(type.code));
}

std::string headOf(ModuleHost& host, const TypeInfo& type) {
    std::string text =
        std::to_string(type.code) + "  " + padded(type.className, 16) + type.longName;
    if (type.shortName != type.longName) text += " (" + type.shortName + ")";
    if (!type.creatable) return text + "\n      " + tr("not available") + "\n";
    PlacedBlock block(host, type.code);
    return text + "\n      " +
           tr("inputs %1; outputs %2", joined(connectorNames(block.inputLabels())),
              joined(connectorNames(block.outputLabels()))) +
           "\n";
}

std::string upperFirst(std::string_view text) {
    std::string result(text);
    if (!result.empty() && result.front() >= 'a' && result.front() <= 'z') {
        result.front() = static_cast<char>(result.front() - 'a' + 'A');
    }
    return result;
}

// --- JSON -----------------------------------------------------------------------------------

ordered_json jsonOf(const WrittenValue& value) {
    if (const auto* name = std::get_if<std::string_view>(&value)) return std::string(*name);
    if (const auto* integer = std::get_if<std::int32_t>(&value)) return *integer;
    if (const auto* real = std::get_if<double>(&value)) return *real;
    return nullptr;
}

ordered_json jsonOf(const NamedChoice& choice, const KeywordMeaning& keyword) {
    ordered_json json = {{"name", choice.name}};
    const bool isText = keyword.type == ValueType::text;
    if (!choice.writable) {
        json["writes"] = nullptr;
    } else if (isText) {
        json["writes"] = choice.name;
    } else {
        json["writes"] = choice.number;
    }
    if (!keyword.readsBack) {
        json["reads"] = nullptr;
    } else if (isText) {
        json["reads"] = choice.readsText;
    } else {
        json["reads"] = choice.reads;
    }
    if (!choice.says.empty()) json["meaning"] = tr(choice.says);
    return json;
}

ordered_json jsonOf(const KeywordMeaning& keyword) {
    ordered_json json = {{"name", keyword.name},
                         {"type", typeText(keyword.type)},
                         {"meaning", tr(keyword.says)},
                         {"default", jsonOf(keyword.initial)}};
    if (!keyword.unit.empty()) json["unit"] = keyword.unit;
    if (!keyword.choices.empty()) {
        json["values"] = ordered_json::array();
        for (const NamedChoice& choice : keyword.choices)
            json["values"].push_back(jsonOf(choice, keyword));
    } else {
        const NumberRange& range = keyword.range;
        json["range"] = {{"text", range.text(keyword.unit)},
                         {"least", range.least},
                         {"leastIsIncluded", !range.above},
                         {"most", range.most},
                         {"odd", range.odd}};
    }
    if (!keyword.note.empty()) json["note"] = tr(keyword.note);
    return json;
}

// --- Markdown -------------------------------------------------------------------------------

std::string codeText(std::string_view text) { return "`" + std::string(text) + "`"; }

std::string allowedAsMarkdown(const KeywordMeaning& keyword) {
    if (keyword.choices.empty()) return keyword.range.text(keyword.unit);
    std::string text;
    for (const NamedChoice& choice : keyword.choices) {
        if (!choice.writable) continue;
        text += (text.empty() ? "" : ", ") + codeText("\"" + std::string(choice.name) + "\"");
        if (keyword.type != ValueType::text) text += " " + std::to_string(choice.number);
        if (!choice.says.empty()) text += " (" + tr(choice.says) + ")";
    }
    return text;
}

}  // namespace

std::string listAsText(ModuleHost& host) {
    std::string text;
    for (const TypeInfo& type : moduleTypes(host)) {
        if (!text.empty()) text += "\n";
        text += headOf(host, type);
        for (const KeywordMeaning& keyword : meaningOfType(type).keywords) {
            text += "      " + padded(std::string(keyword.name), 18) +
                    padded(plain(keyword.initial), 18) + keyword.allowed() + "\n";
        }
    }
    return text;
}

std::string typeAsText(ModuleHost& host, const TypeInfo& type) {
    std::string text = headOf(host, type);
    const BlockMeaning& block = meaningOfType(type);
    if (block.keywords.empty()) text += "\n      " + tr("no keywords") + "\n";
    for (const KeywordMeaning& keyword : block.keywords) {
        text += "\n      " + padded(std::string(keyword.name), 18) + tr(keyword.says) +
                "\n          " + tr(typeText(keyword.type)) + ", " + keyword.allowed() + "\n";
        if (!std::holds_alternative<std::monostate>(keyword.initial)) {
            text +=
                "          " + tr("new blocks have %1", settingValueText(keyword.initial)) + "\n";
        }
        for (const NamedChoice& choice : keyword.choices) {
            if (choice.says.empty() || !choice.writable) continue;
            text += "            " + padded(std::string(choice.name), 18) + tr(choice.says) + "\n";
        }
        if (!keyword.note.empty()) text += "          " + tr(keyword.note) + "\n";
    }
    if (!block.rules.empty()) text += "\n";
    for (const KeywordRule& rule : block.rules)
        text += "      " + upperFirst(tr(rule.says)) + ".\n";
    return text;
}

std::string listAsJson(ModuleHost& host, std::span<const TypeInfo> types) {
    ordered_json list = ordered_json::array();
    for (const TypeInfo& type : types) {
        ordered_json json = {{"code", type.code},
                             {"class", type.className},
                             {"name", type.longName},
                             {"shortName", type.shortName},
                             {"available", type.creatable}};
        if (type.creatable) {
            PlacedBlock block(host, type.code);
            json["connectors"] = block.connectors();
            json["inputs"] = connectorNames(block.inputLabels());
            json["outputs"] = connectorNames(block.outputLabels());
        }
        json["keywords"] = ordered_json::array();
        for (const KeywordMeaning& keyword : meaningOfType(type).keywords)
            json["keywords"].push_back(jsonOf(keyword));
        json["rules"] = ordered_json::array();
        for (const KeywordRule& rule : meaningOfType(type).rules)
            json["rules"].push_back(tr(rule.says));
        list.push_back(std::move(json));
    }
    return ordered_json{{"types", std::move(list)}}.dump(2) + "\n";
}

std::string keywordsAsMarkdown(const TypeInfo& type) {
    const BlockMeaning& block = meaningOfType(type);
    if (block.keywords.empty()) return tr("No keywords.") + "\n";
    std::string text =
        tr("| keyword | type | what a diagram writes | new blocks have | meaning |") +
        "\n|---|---|---|---|---|\n";
    for (const KeywordMeaning& keyword : block.keywords) {
        const bool hasInitial = !std::holds_alternative<std::monostate>(keyword.initial);
        text += "| " + codeText(keyword.name) + " | " + tr(typeText(keyword.type)) + " | " +
                allowedAsMarkdown(keyword) + " | " +
                (hasInitial ? codeText(settingValueText(keyword.initial)) : "") + " | " +
                tr(keyword.says);
        if (!keyword.note.empty()) text += "; " + tr(keyword.note);
        text += " |\n";
    }
    if (!block.rules.empty()) text += "\n";
    for (const KeywordRule& rule : block.rules)
        text += "- " + upperFirst(tr(rule.says)) + ".\n";
    return text;
}

}  // namespace vynhost
