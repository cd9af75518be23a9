#include "vynhost/diagram/block_settings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>

#include "vynhost/base/text.h"
#include "vynhost/diagram/value_names.h"

namespace vynhost {
namespace {

const TypeInfo& typeOf(const BlockEntry& entry, std::span<const TypeInfo> types) {
    const auto type = std::find_if(types.begin(), types.end(), [&](const TypeInfo& info) {
        return equalIgnoringCase(entry.type, info.longName) ||
               equalIgnoringCase(entry.type, info.shortName) ||
               equalIgnoringCase(entry.type, info.className) ||
               entry.type == std::to_string(info.code);
    });
    if (type != types.end()) return *type;
    std::vector<std::string> names;
    for (const TypeInfo& info : types) {
        for (const std::string& name : {info.longName, info.shortName, info.className}) {
            names.push_back(name);
        }
    }
    throw InputError(entry.typePlace,
                     "\"" + entry.type + "\" is no block type" + didYouMean(entry.type, names));
}

// The two words at the beginning of every parameter record.
struct RecordFrame {
    std::int32_t size;
    std::int32_t version;

    // False for a record that does not even hold them.
    static bool read(const std::string& record, RecordFrame& frame) {
        if (record.size() < sizeof frame) return false;
        std::memcpy(&frame, record.data(), sizeof frame);
        return true;
    }
};

// Blocks read a record without a word about what is wrong with it, so the host looks at its frame
// and at how far the block reads.
std::unique_ptr<PlacedBlock> restoreBlock(ModuleHost& host, int typeCode, const BlockEntry& entry) {
    const std::string& record = *entry.record;
    const auto bytes = [](std::size_t count) { return std::to_string(count) + " bytes"; };
    const std::string own = PlacedBlock(host, typeCode).save();
    RecordFrame frame{};
    RecordFrame ownFrame{};
    if (!RecordFrame::read(record, frame) || !RecordFrame::read(own, ownFrame)) {
        throw InputError(entry.recordPlace, "is damaged: it holds " + bytes(record.size()));
    }
    if (frame.version < 0 || frame.version > ownFrame.version) {
        throw InputError(entry.recordPlace, "is damaged: version " + std::to_string(frame.version) +
                                                " is none of a parameter record");
    }
    if (frame.version == ownFrame.version && frame.size != ownFrame.size) {
        throw InputError(entry.recordPlace,
                         "is damaged, or of another block type: its size word is " +
                             std::to_string(frame.size) + " instead of " +
                             std::to_string(ownFrame.size));
    }
    platform::ParameterFile file(record + std::string(own.size() + record.size(), '\0'));
    auto block = std::make_unique<PlacedBlock>(host, typeCode, file);
    if (file.position() != record.size()) {
        throw InputError(entry.recordPlace, "is damaged: it holds " + bytes(record.size()) +
                                                ", the block reads " + bytes(file.position()));
    }
    return block;
}

// What the block says about a keyword after it has been set.
KeywordValue setAndRead(PlacedBlock& block, const KeywordRow& row, const KeywordValue& value) {
    block.set(row, value);
    return block.get(row);
}

// The block stored the text's meaning: it reads back as set, or as another name than the one that
// stands for anything unknown (several values read back under a longer name).
//
// Where the text cannot be read back, the block's parameter record tells an unknown name from
// others; only the name of the default itself looks the same. It must be one that the keyword is
// known to take; for keywords that the host does not know it gets the benefit of the doubt.
bool acceptsText(PlacedBlock& block, const KeywordRow& row, const std::string& text,
                 std::vector<std::string>& notes, const Setting& setting) {
    const auto read = std::get<std::string>(setAndRead(block, row, text));
    if (equalIgnoringCase(read, text)) return true;
    const std::string chosen = block.save();
    const KeywordValue fallback = setAndRead(block, row, std::string("?"));
    const std::string fallbackRecord = block.save();
    block.set(row, text);
    if (isReadable(read)) return KeywordValue(read) != fallback;
    if (chosen != fallbackRecord) return true;
    const std::span<const std::string> names = valueNamesOf(row.name);
    if (names.empty()) {
        notes.push_back(setting.place.file + ":" + std::to_string(setting.place.line) + ": " +
                        setting.place.key + ": \"" + text +
                        "\" gives the default; the block does not say which name that has");
        return true;
    }
    return std::ranges::any_of(
        names, [&](const std::string& name) { return equalIgnoringCase(name, text); });
}

// The block stored the number: it reads back as set, or what is stored differs from what its
// neighbour leaves behind (some numbers read back with an offset, one not at all).
bool acceptsInteger(PlacedBlock& block, const KeywordRow& row, std::int32_t number) {
    if (setAndRead(block, row, number) == KeywordValue(number)) return true;
    block.set(row, KeywordValue(number == 0 ? 1 : number - 1));
    const std::string neighbours = block.save();
    block.set(row, KeywordValue(number));
    return block.save() != neighbours;
}

// The same but for the rounding of values that a block works out from each other.
bool stillTheSame(const KeywordValue& before, const KeywordValue& now) {
    const auto* a = std::get_if<double>(&before);
    const auto* b = std::get_if<double>(&now);
    if (a == nullptr || b == nullptr) return before == now;
    return std::abs(*a - *b) <= 1e-9 * std::abs(*a) || (std::isnan(*a) && std::isnan(*b));
}

bool acceptsReal(PlacedBlock& block, const KeywordRow& row, double number) {
    const auto read = std::get<double>(setAndRead(block, row, number));
    return read == number || (std::isnan(read) && std::isnan(number));
}

bool accepts(PlacedBlock& block, const KeywordRow& row, const KeywordValue& value,
             std::vector<std::string>& notes, const Setting& setting) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        return acceptsText(block, row, *text, notes, setting);
    }
    if (const auto* real = std::get_if<double>(&value)) return acceptsReal(block, row, *real);
    return acceptsInteger(block, row, std::get<std::int32_t>(value));
}

InputError noSuchKeyword(const Setting& setting, std::span<const KeywordRow> rows) {
    std::vector<std::string> names;
    names.reserve(rows.size());
    for (const KeywordRow& row : rows)
        names.push_back(row.name);
    return {setting.place, "no such keyword" + didYouMean(setting.keyword, names) +
                               " (there are: " + joined(names) + ")"};
}

// The block keeps another value: which one, or, when that cannot be read, which name may be meant.
InputError notTaken(PlacedBlock& block, const Setting& setting, const KeywordRow& row,
                    const std::string& value) {
    const std::string what = "the block does not take \"" + value + "\"";
    const KeywordValue kept = block.get(row);
    const auto* text = std::get_if<std::string>(&kept);
    if (text == nullptr || isReadable(*text)) {
        return {setting.place, what + ", it keeps \"" + valueText(kept) + "\""};
    }
    return {setting.place, what + didYouMean(value, valueNamesOf(row.name))};
}

void applySettings(PlacedBlock& block, const BlockEntry& entry, std::vector<std::string>& notes) {
    const std::vector<KeywordRow> rows = block.keywords();
    struct Read {
        const Setting* setting;
        const KeywordRow* row;
        KeywordValue value;
    };
    std::vector<Read> reads;
    for (const Setting& setting : entry.settings) {
        const KeywordRow* row = rowOf(setting, rows);
        if (row == nullptr) throw noSuchKeyword(setting, rows);
        const KeywordValue value = typedValue(setting, *row);
        if (!accepts(block, *row, value, notes, setting)) {
            throw notTaken(block, setting, *row, valueText(value));
        }
        reads.push_back({&setting, row, block.get(*row)});
    }
    // Some blocks work out one value from others.
    for (const Read& read : reads) {
        const KeywordValue now = block.get(*read.row);
        if (stillTheSame(read.value, now)) continue;
        throw InputError(read.setting->place, "another setting of this block changes it from \"" +
                                                  valueText(read.value) + "\" to \"" +
                                                  valueText(now) + "\"");
    }
}

}  // namespace

const KeywordRow* rowOf(const Setting& setting, std::span<const KeywordRow> rows) {
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const KeywordRow& keyword) {
        return equalIgnoringCase(keyword.name, setting.keyword);
    });
    return row == rows.end() ? nullptr : &*row;
}

KeywordValue typedValue(const Setting& setting, const KeywordRow& row) {
    const auto* text = std::get_if<std::string>(&setting.value);
    const auto* integer = std::get_if<std::int64_t>(&setting.value);
    const auto* real = std::get_if<double>(&setting.value);
    if (row.type == ValueType::text) {
        if (text == nullptr) throw InputError(setting.place, "takes a name, in quotes");
        return *text;
    }
    if (row.type == ValueType::real) {
        if (text != nullptr) throw InputError(setting.place, "takes a number");
        return real != nullptr ? *real : static_cast<double>(*integer);
    }
    if (integer == nullptr) throw InputError(setting.place, "takes a whole number");
    if (*integer != static_cast<std::int32_t>(*integer)) {
        throw InputError(setting.place, std::to_string(*integer) + " is out of range");
    }
    return static_cast<std::int32_t>(*integer);
}

std::unique_ptr<PlacedBlock> placeBlock(ModuleHost& host, std::span<const TypeInfo> types,
                                        const BlockEntry& entry, std::vector<std::string>& notes) {
    const TypeInfo& type = typeOf(entry, types);
    if (!type.creatable) {
        throw InputError(entry.typePlace, "the module cannot create a \"" + entry.type + "\"");
    }
    auto block = entry.record ? restoreBlock(host, type.code, entry)
                              : std::make_unique<PlacedBlock>(host, type.code);
    applySettings(*block, entry, notes);
    // Some connectors follow the settings only when a run starts.
    block->initSim();
    block->stop();
    return block;
}

std::unique_ptr<PlacedBlock> placeBlockUnchecked(ModuleHost& host, int typeCode,
                                                 const BlockEntry& entry) {
    auto block = entry.record ? std::make_unique<PlacedBlock>(host, typeCode, *entry.record)
                              : std::make_unique<PlacedBlock>(host, typeCode);
    const std::vector<KeywordRow> rows = block->keywords();
    for (const Setting& setting : entry.settings) {
        if (const KeywordRow* row = rowOf(setting, rows))
            block->set(*row, typedValue(setting, *row));
    }
    return block;
}

}  // namespace vynhost
