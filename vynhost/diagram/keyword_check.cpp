#include "vynhost/diagram/keyword_check.h"

#include <algorithm>
#include <cmath>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"

namespace vynhost {
namespace {

std::string textOf(const decltype(Setting::value)& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return "\"" + *text + "\"";
    if (const auto* real = std::get_if<double>(&value)) return toText(*real);
    return toText(std::get<std::int64_t>(value));
}

std::string textOf(const WrittenValue& value) {
    if (const auto* name = std::get_if<std::string_view>(&value)) {
        return "\"" + std::string(*name) + "\"";
    }
    if (const auto* real = std::get_if<double>(&value)) return toText(*real);
    if (const auto* integer = std::get_if<std::int32_t>(&value)) return toText(*integer);
    return tr("nothing");
}

[[noreturn]] void refuse(const KeywordMeaning& keyword, const Setting& setting,
                         const std::string& what) {
    throw InputError(setting.place, tr("%1, allowed is %2", what, keyword.allowed()));
}

std::vector<std::string> writableNames(const KeywordMeaning& keyword) {
    std::vector<std::string> names;
    for (const NamedChoice& choice : keyword.choices) {
        if (choice.writable) names.emplace_back(choice.name);
    }
    return names;
}

WrittenValue writtenChoice(const KeywordMeaning& keyword, const Setting& setting) {
    const NamedChoice* choice = nullptr;
    std::string hint;
    if (const auto* name = std::get_if<std::string>(&setting.value)) {
        choice = keyword.choice(*name);
        hint = didYouMean(*name, writableNames(keyword));
    } else if (keyword.type == ValueType::text) {
        refuse(keyword, setting, tr("takes a name, in quotes"));
    } else if (const auto* integer = std::get_if<std::int64_t>(&setting.value)) {
        const auto found = std::ranges::find_if(
            keyword.choices, [&](const NamedChoice& c) { return c.number == *integer; });
        choice = found == keyword.choices.end() ? nullptr : &*found;
    } else {
        refuse(keyword, setting, tr("takes a name or a whole number"));
    }
    if (choice == nullptr) {
        throw InputError(setting.place, hint.empty()
                                            ? tr("%1 is none of its values, allowed is %2",
                                                 textOf(setting.value), keyword.allowed())
                                            : tr("%1 is none of its values%2 (allowed is %3)",
                                                 textOf(setting.value), hint, keyword.allowed()));
    }
    if (!choice->writable) {
        refuse(keyword, setting,
               tr("%1 can only come from a parameter record or a dialog", textOf(setting.value)));
    }
    return choice->name;
}

// Where the diagram gives one of the keywords; otherwise the block, under the first one's name.
Place placeOf(const BlockEntry& entry, std::span<const std::string_view> keywords) {
    for (const std::string_view keyword : keywords) {
        const auto setting = std::ranges::find_if(entry.settings, [&](const Setting& s) {
            return equalIgnoringCase(s.keyword, keyword);
        });
        if (setting != entry.settings.end()) return setting->place;
    }
    Place place = entry.place;
    place.key += "." + std::string(keywords.front());
    return place;
}

// "PkLowerFreq 2000, PkUpperFreq 100"
std::string given(const KeywordRule& rule, const BlockMeaning& block, const KeywordValues& values) {
    std::string text;
    for (const std::string_view name : rule.keywords) {
        const KeywordMeaning* keyword = name.empty() ? nullptr : block.keyword(name);
        if (keyword == nullptr || !keyword->readsBack) continue;
        const WrittenValue* value = values.find(name);
        const bool isSet = value != nullptr && !std::holds_alternative<std::monostate>(*value);
        text += (text.empty() ? "" : ", ") +
                tr("%1 is %2", name, isSet ? textOf(*value) : tr("not set"));
    }
    return text;
}

void checkRules(const BlockMeaning& block, const BlockEntry& entry, const KeywordValues& values,
                std::optional<double> rate) {
    for (const KeywordRule& rule : block.rules) {
        if (rule.needsRate != rate.has_value()) continue;
        if (rule.holds(values, rate.value_or(std::nan("")))) continue;
        const auto named = std::ranges::find(rule.keywords, std::string_view());
        const std::string what = given(rule, block, values);
        std::string text = tr(rule.says);
        if (rate) text += ", " + toText(*rate) + " Hz";
        if (!what.empty()) text += " (" + what + ")";
        throw InputError(placeOf(entry, std::span(rule.keywords.begin(), named)), text);
    }
}

}  // namespace

WrittenValue writtenValue(const KeywordMeaning& keyword, const Setting& setting) {
    if (!keyword.choices.empty()) return writtenChoice(keyword, setting);
    const auto* integer = std::get_if<std::int64_t>(&setting.value);
    const auto* real = std::get_if<double>(&setting.value);
    if (keyword.type == ValueType::real) {
        if (integer == nullptr && real == nullptr) refuse(keyword, setting, tr("takes a number"));
        const double number = real != nullptr ? *real : static_cast<double>(*integer);
        if (!std::isfinite(number)) refuse(keyword, setting, tr("%1 is no number", number));
        if (!keyword.range.holds(number)) {
            refuse(keyword, setting, tr("%1 is out of range", number));
        }
        return number;
    }
    if (integer == nullptr) refuse(keyword, setting, tr("takes a whole number"));
    if (!keyword.range.holds(static_cast<double>(*integer))) {
        refuse(keyword, setting, tr("%1 is out of range", *integer));
    }
    return static_cast<std::int32_t>(*integer);
}

KeywordValue valueToSend(const KeywordMeaning& keyword, const WrittenValue& written) {
    if (const auto* name = std::get_if<std::string_view>(&written)) {
        if (keyword.type == ValueType::text) return std::string(*name);
        return keyword.choice(*name)->number;
    }
    if (const auto* real = std::get_if<double>(&written)) return *real;
    return std::get<std::int32_t>(written);
}

std::optional<KeywordValue> valueReadBack(const KeywordMeaning& keyword,
                                          const WrittenValue& written) {
    if (!keyword.readsBack) return std::nullopt;
    if (const auto* name = std::get_if<std::string_view>(&written)) {
        const NamedChoice& choice = *keyword.choice(*name);
        if (keyword.type == ValueType::text) return std::string(choice.readsText);
        return choice.reads;
    }
    return valueToSend(keyword, written);
}

WrittenValue meaningOfRead(const KeywordMeaning& keyword, const KeywordValue& read) {
    if (!keyword.readsBack) return {};
    const auto* text = std::get_if<std::string>(&read);
    const auto* integer = std::get_if<std::int32_t>(&read);
    if (keyword.choices.empty()) {
        if (integer != nullptr) return *integer;
        return std::get<double>(read);
    }
    const auto found = std::ranges::find_if(keyword.choices, [&](const NamedChoice& choice) {
        return text != nullptr ? choice.readsText == *text : choice.reads == *integer;
    });
    if (found == keyword.choices.end()) return {};
    return found->name;
}

const KeywordMeaning& keywordOf(const BlockMeaning& block, const Setting& setting) {
    const KeywordMeaning* keyword = block.keyword(setting.keyword);
    if (keyword != nullptr) return *keyword;
    std::vector<std::string> names;
    names.reserve(block.keywords.size());
    for (const KeywordMeaning& known : block.keywords)
        names.emplace_back(known.name);
    throw InputError(setting.place, tr("no such keyword%1%2", didYouMean(setting.keyword, names),
                                       names.empty() ? tr(" (the block has none)")
                                                     : tr(" (there are: %1)", joined(names))));
}

KeywordValues valuesOf(PlacedBlock& block, const BlockEntry& entry) {
    const BlockMeaning& meaning = meaningOf(static_cast<std::int32_t>(block.typeCode()));
    KeywordValues values;
    for (const KeywordRow& row : block.keywords()) {
        const KeywordMeaning* keyword = meaning.keyword(row.name);
        if (keyword == nullptr) continue;
        WrittenValue value = keyword->initial;
        if (keyword->readsBack) {
            value = meaningOfRead(*keyword, block.get(row));
        } else if (entry.record) {
            value = {};
        }
        values.set(*keyword, value);
    }
    for (const Setting& setting : entry.settings) {
        const KeywordMeaning& keyword = keywordOf(meaning, setting);
        if (!keyword.readsBack) values.set(keyword, writtenValue(keyword, setting));
    }
    return values;
}

void checkValues(const BlockMeaning& block, const BlockEntry& entry, const KeywordValues& values) {
    checkRules(block, entry, values, std::nullopt);
    for (const KeywordMeaning& keyword : block.keywords) {
        if (!keyword.choices.empty()) continue;
        const double number = values.number(keyword.name);
        if (keyword.range.holds(number)) continue;
        throw InputError(placeOf(entry, std::span(&keyword.name, 1)),
                         tr("comes out as %1, allowed is %2", number, keyword.allowed()));
    }
}

void checkInputs(const BlockMeaning& block, const BlockEntry& entry, const KeywordValues& values,
                 const std::map<std::string, Place>& wires) {
    for (const InputMeaning& input : block.inputs) {
        if (input.need == InputNeed::optional) continue;
        const std::string name = entry.name + "." + std::string(input.letter);
        const auto wire = wires.find(std::string(input.letter));
        if (input.need == InputNeed::always) {
            if (wire != wires.end()) continue;
            throw InputError(entry.place,
                             tr("%1 (%2) is not wired, and nothing is computed without it", name,
                                tr(input.says)));
        }
        const bool read = input.isRead(values);
        if (read && wire == wires.end()) {
            throw InputError(placeOf(entry, std::span(&input.keyword, 1)),
                             tr("%1, but %2 (%3) is not wired, so nothing would ever start anew",
                                tr(input.when), name, tr(input.says)));
        }
        if (!read && wire != wires.end()) {
            throw InputError(wire->second, tr("%1 is read only where %2", name, tr(input.when)));
        }
    }
}

void checkValuesAtRate(const BlockMeaning& block, const BlockEntry& entry,
                       const KeywordValues& values, double rate) {
    checkRules(block, entry, values, rate);
}

void checkFilterDesign(PlacedBlock& block, const BlockEntry& entry, double rate) {
    constexpr std::size_t kSamples = 256;
    std::vector<float> impulse(kSamples);
    impulse.front() = 1;
    PlacedBlock probe(block.host(), static_cast<int>(block.typeCode()), block.save());
    probe.wireAll();
    probe.initSim();
    const auto response = probe.process(timeSignal(impulse, 1, 1 / rate));
    probe.stop();
    if (!response || response->values != impulse) return;
    throw InputError(
        entry.place,
        tr("this filter cannot be designed at %1 Hz, the signal would pass as it is: it takes a "
           "lower order, a wider band, or more room between ripple and attenuation",
           rate));
}

}  // namespace vynhost
