#include "vynhost/diagram/block_change.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <limits>
#include <optional>
#include <utility>

#include "vynhost/base/text.h"
#include "vynhost/diagram/block_settings.h"
#include "vynhost/diagram/keyword_check.h"

namespace vynhost {
namespace {

// NaN equals itself, 0 is not -0.
bool sameValue(const KeywordValue& left, const KeywordValue& right) {
    const auto* a = std::get_if<double>(&left);
    const auto* b = std::get_if<double>(&right);
    if (a == nullptr || b == nullptr) return left == right;
    return std::bit_cast<std::uint64_t>(*a) == std::bit_cast<std::uint64_t>(*b);
}

bool sameSettings(const BlockEntry& left, const BlockEntry& right) {
    return std::ranges::equal(left.settings, right.settings,
                              [](const Setting& a, const Setting& b) {
                                  return a.keyword == b.keyword && a.value == b.value;
                              });
}

std::size_t differingBytes(const std::string& left, const std::string& right) {
    const std::size_t common = std::min(left.size(), right.size());
    std::size_t count = std::max(left.size(), right.size()) - common;
    for (std::size_t i = 0; i < common; ++i)
        count += left[i] != right[i] ? 1 : 0;
    return count;
}

// Looks for entries that lead to one parameter record. Every guess is tried on a block of its own,
// because a block may work out some of its values from others.
class Search {
public:
    Search(ModuleHost& host, std::span<const TypeInfo> types, int typeCode,
           const std::string& record)
        : host_(host), types_(types), typeCode_(typeCode), meaning_(meaningOf(typeCode)) {
        PlacedBlock wanted(host, typeCode, record);
        rows_ = wanted.keywords();
        for (const KeywordRow& row : rows_)
            wanted_.push_back(wanted.get(row));
        record_ = wanted.save();
    }

    std::optional<BlockEntry> byKeywords(BlockEntry entry) const {
        entry.record.reset();
        // Setting one number may spoil another that was right; a further pass mends it.
        constexpr int kPasses = 3;
        for (int pass = 0; pass < kPasses; ++pass) {
            const BlockEntry before = entry;
            for (std::size_t i = 0; i < rows_.size(); ++i) {
                entry = rows_[i].type == ValueType::text ? withBestName(entry, rows_[i])
                                                         : withNumber(entry, i);
            }
            if (auto found = checked(entry)) return found;
            entry = withoutContradictions(entry);
            if (sameSettings(entry, before)) break;
        }
        return std::nullopt;
    }

    BlockEntry byRecord(const BlockEntry& before) const {
        BlockEntry entry = before;
        entry.record = record_;
        entry.settings.clear();
        for (const Setting& setting : before.settings) {
            const KeywordRow* row = rowOf(setting, rows_);
            if (row == nullptr) continue;
            const std::size_t index = static_cast<std::size_t>(row - rows_.data());
            std::vector<Setting> choices = {setting};
            if (row->type != ValueType::text) {
                choices.push_back(settingOf(setting, numberFor(index)));
            }
            for (const Setting& choice : choices) {
                BlockEntry longer = entry;
                longer.settings.push_back(choice);
                if (!checked(longer) || !isTakenAlone(entry, choice)) continue;
                entry = std::move(longer);
                break;
            }
        }
        return entry;
    }

private:
    using Values = std::vector<KeywordValue>;
    Values valuesOf(const BlockEntry& entry) const {
        const auto block = placeBlockUnchecked(host_, typeCode_, entry);
        Values values;
        for (const KeywordRow& row : rows_)
            values.push_back(block->get(row));
        return values;
    }
    std::string recordOf(const BlockEntry& entry) const {
        return placeBlockUnchecked(host_, typeCode_, entry)->save();
    }

    // The entries, if they are taken without complaint and lead there.
    std::optional<BlockEntry> checked(const BlockEntry& entry) const {
        try {
            if (placeBlock(host_, types_, entry)->save() == record_) return entry;
        } catch (const InputError&) {  // a value that is not taken, or a contradiction
        }
        return std::nullopt;
    }

    // A value that only the record can bring about reads back beside it as if it had been taken.
    bool isTakenAlone(BlockEntry entry, const Setting& setting) const {
        entry.record.reset();
        entry.settings = {setting};
        try {
            return placeBlock(host_, types_, entry)->created();
        } catch (const InputError&) {
            return false;
        }
    }

    // Numbers that still read back otherwise than they should.
    std::size_t wrongNumbers(const Values& values) const {
        std::size_t count = 0;
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            if (rows_[i].type == ValueType::text) continue;
            count += sameValue(values[i], wanted_[i]) ? 0 : 1;
        }
        return count;
    }

    // A number that a name stands for is written as a name where one stood before.
    Setting settingOf(const Setting& like, const KeywordValue& value) const {
        Setting setting = like;
        const auto* integer = std::get_if<std::int32_t>(&value);
        const KeywordMeaning* keyword = meaning_.keyword(like.keyword);
        if (integer != nullptr && keyword != nullptr &&
            std::holds_alternative<std::string>(like.value)) {
            for (const NamedChoice& choice : keyword->choices) {
                if (choice.writable && choice.number == *integer) {
                    setting.value = std::string(choice.name);
                    return setting;
                }
            }
        }
        if (integer != nullptr) {
            setting.value = std::int64_t{*integer};
        } else if (const auto* real = std::get_if<double>(&value)) {
            setting.value = *real;
        } else {
            setting.value = std::get<std::string>(value);
        }
        return setting;
    }

    BlockEntry with(BlockEntry entry, const KeywordRow& row, const KeywordValue& value) const {
        bool given = false;
        for (Setting& setting : entry.settings) {
            if (!equalIgnoringCase(setting.keyword, row.name)) continue;
            setting = settingOf(setting, value);
            given = true;
        }
        if (!given) entry.settings.push_back(settingOf({row.name, 0, {}}, value));
        return entry;
    }

    static BlockEntry without(BlockEntry entry, const KeywordRow& row) {
        std::erase_if(entry.settings, [&](const Setting& setting) {
            return equalIgnoringCase(setting.keyword, row.name);
        });
        return entry;
    }

    // What has to be written to read the wanted number, which no keyword may be able to write.
    KeywordValue numberFor(std::size_t index) const {
        const KeywordMeaning* keyword = meaning_.keyword(rows_[index].name);
        if (keyword == nullptr) return wanted_[index];
        const WrittenValue written = meaningOfRead(*keyword, wanted_[index]);
        if (std::holds_alternative<std::monostate>(written)) return wanted_[index];
        return valueToSend(*keyword, written);
    }

    BlockEntry withNumber(const BlockEntry& entry, std::size_t index) const {
        const Values now = valuesOf(entry);
        if (sameValue(now[index], wanted_[index])) return entry;
        BlockEntry changed = with(entry, rows_[index], numberFor(index));
        return wrongNumbers(valuesOf(changed)) < wrongNumbers(now) ? changed : entry;
    }

    // Names may read back as others or not at all; the record tells which one fits best.
    BlockEntry withBestName(const BlockEntry& entry, const KeywordRow& row) const {
        BlockEntry best = entry;
        std::size_t least = differingBytes(recordOf(entry), record_);
        const auto consider = [&](BlockEntry changed) {
            const std::size_t bytes = differingBytes(recordOf(changed), record_);
            if (bytes >= least) return;
            least = bytes;
            best = std::move(changed);
        };
        if (const KeywordMeaning* keyword = meaning_.keyword(row.name)) {
            for (const NamedChoice& choice : keyword->choices)
                consider(with(entry, row, std::string(choice.name)));
        }
        // Some values have no name and are there only as long as the keyword is not.
        consider(without(entry, row));
        return best;
    }

    // Values that the block worked out otherwise in the end say what it worked out.
    BlockEntry withoutContradictions(BlockEntry entry) const {
        const Values values = valuesOf(entry);
        for (Setting& setting : entry.settings) {
            const KeywordRow* row = rowOf(setting, rows_);
            if (row == nullptr || row->type != ValueType::real) continue;
            const KeywordValue& value = values[static_cast<std::size_t>(row - rows_.data())];
            const auto given = valueOf(setting, typeCode_);
            if (!given || !sameValue(*given, value)) setting = settingOf(setting, value);
        }
        return entry;
    }

    ModuleHost& host_;
    std::span<const TypeInfo> types_;
    int typeCode_;
    const BlockMeaning& meaning_;
    std::vector<KeywordRow> rows_;
    Values wanted_;
    std::string record_;
};

}  // namespace

BlockEntry entryFor(ModuleHost& host, std::span<const TypeInfo> types, const BlockEntry& before,
                    int typeCode, const std::string& record) {
    const Search search(host, types, typeCode, record);
    if (auto entry = search.byKeywords(before)) return *entry;
    return search.byRecord(before);
}

}  // namespace vynhost
