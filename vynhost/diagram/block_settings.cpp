#include "vynhost/diagram/block_settings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/keyword_check.h"

namespace vynhost {
namespace {

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
    const auto bytes = [](std::size_t count) { return tr("%1 bytes", count); };
    const std::string own = PlacedBlock(host, typeCode).save();
    RecordFrame frame{};
    RecordFrame ownFrame{};
    if (!RecordFrame::read(record, frame) || !RecordFrame::read(own, ownFrame)) {
        throw InputError(entry.recordPlace, tr("is damaged: it holds %1", bytes(record.size())));
    }
    if (frame.version < 0 || frame.version > ownFrame.version) {
        throw InputError(entry.recordPlace,
                         tr("is damaged: version %1 is none of a parameter record", frame.version));
    }
    if (frame.version == ownFrame.version && frame.size != ownFrame.size) {
        throw InputError(
            entry.recordPlace,
            tr("is damaged, or of another block type: its size word is %1 instead of %2",
               frame.size, ownFrame.size));
    }
    platform::ParameterFile file(record + std::string(own.size() + record.size(), '\0'));
    auto block = std::make_unique<PlacedBlock>(host, typeCode, file);
    if (file.position() != record.size()) {
        throw InputError(entry.recordPlace, tr("is damaged: it holds %1, the block reads %2",
                                               bytes(record.size()), bytes(file.position())));
    }
    return block;
}

// The same but for the rounding of values that a block works out from each other.
bool stillTheSame(const KeywordValue& before, const KeywordValue& now) {
    const auto* a = std::get_if<double>(&before);
    const auto* b = std::get_if<double>(&now);
    if (a == nullptr || b == nullptr) return before == now;
    return std::abs(*a - *b) <= 1e-9 * std::abs(*a) || (std::isnan(*a) && std::isnan(*b));
}

std::string shown(const KeywordValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return "\"" + *text + "\"";
    if (const auto* real = std::get_if<double>(&value)) return toText(*real);
    return toText(std::get<std::int32_t>(value));
}

void applySettings(PlacedBlock& block, const BlockEntry& entry) {
    const BlockMeaning& meaning = meaningOf(static_cast<std::int32_t>(block.typeCode()));
    const std::vector<KeywordRow> rows = block.keywords();
    struct Sent {
        const Setting* setting;
        const KeywordRow* row;
        KeywordValue read;
    };
    std::vector<Sent> sent;
    for (const Setting& setting : entry.settings) {
        const KeywordMeaning& keyword = keywordOf(meaning, setting);
        const WrittenValue written = writtenValue(keyword, setting);
        const KeywordRow* row = rowOf(setting, rows);
        if (row == nullptr) throw InputError(setting.place, tr("this module has no such keyword"));
        block.set(*row, valueToSend(keyword, written));
        const auto expected = valueReadBack(keyword, written);
        if (!expected) continue;
        const KeywordValue read = block.get(*row);
        if (read != *expected) {
            throw InputError(setting.place,
                             tr("the block does not take it, it keeps %1", shown(read)));
        }
        sent.push_back({&setting, row, read});
    }
    // Some blocks work out one value from others.
    for (const Sent& value : sent) {
        const KeywordValue now = block.get(*value.row);
        if (stillTheSame(value.read, now)) continue;
        throw InputError(value.setting->place,
                         tr("another setting of this block changes it from %1 to %2",
                            shown(value.read), shown(now)));
    }
}

}  // namespace

const KeywordRow* rowOf(const Setting& setting, std::span<const KeywordRow> rows) {
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const KeywordRow& keyword) {
        return equalIgnoringCase(keyword.name, setting.keyword);
    });
    return row == rows.end() ? nullptr : &*row;
}

std::optional<KeywordValue> valueOf(const Setting& setting, int typeCode) {
    try {
        const KeywordMeaning& keyword = keywordOf(meaningOf(typeCode), setting);
        return valueToSend(keyword, writtenValue(keyword, setting));
    } catch (const InputError&) {
        return std::nullopt;
    }
}

std::unique_ptr<PlacedBlock> placeBlock(ModuleHost& host, std::span<const TypeInfo> types,
                                        const BlockEntry& entry) {
    const TypeInfo& type = typeNamed(entry.type, types, entry.typePlace);
    if (!type.creatable) {
        throw InputError(entry.typePlace, tr("the module cannot create a \"%1\"", entry.type));
    }
    auto block = entry.record ? restoreBlock(host, type.code, entry)
                              : std::make_unique<PlacedBlock>(host, type.code);
    if (!block->created()) {
        throw InputError(entry.typePlace,
                         tr("the module makes no further block (1023 at once is most)"));
    }
    applySettings(*block, entry);
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
        const KeywordRow* row = rowOf(setting, rows);
        const auto value = valueOf(setting, typeCode);
        if (row != nullptr && value) block->set(*row, *value);
    }
    return block;
}

}  // namespace vynhost
