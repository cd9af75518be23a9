#include "vynhost/diagram/diagram_text.h"

#include <toml++/toml.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <sstream>
#include <utility>
#include <vector>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"

namespace vynhost {
namespace {

constexpr const char* kRecord = "record";

// --- Values as TOML -------------------------------------------------------------------------

std::string realText(double value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    const std::string text = toText(value);
    return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

using Value = decltype(Setting::value);

std::string valueText(const Value& value) {
    if (const auto* integer = std::get_if<std::int64_t>(&value)) return std::to_string(*integer);
    if (const auto* real = std::get_if<double>(&value)) return realText(*real);
    return tomlString(std::get<std::string>(value));
}

// In the style of the value that it replaces: true and false stay words, whole numbers whole.
std::string valueText(const Value& value, const toml::node& replaced) {
    const auto* integer = std::get_if<std::int64_t>(&value);
    const auto* real = std::get_if<double>(&value);
    if (integer != nullptr && replaced.is_boolean() && (*integer == 0 || *integer == 1)) {
        return *integer == 1 ? "true" : "false";
    }
    constexpr double kExact = 1e15;
    if (real != nullptr && replaced.is_integer() && *real == std::round(*real) &&
        std::abs(*real) < kExact && !(*real == 0 && std::signbit(*real))) {
        return std::to_string(static_cast<std::int64_t>(*real));
    }
    return valueText(value);
}

// Words of four bytes, eight in a line.
std::string recordText(const std::string& record, const std::string& lineEnd) {
    constexpr std::size_t kWord = 8;  // digits
    constexpr std::size_t kLine = 8 * kWord;
    const std::string digits = digitsOf(record);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); i += kWord) {
        if (i % kLine == 0) {
            text += lineEnd.empty() ? (i == 0 ? "" : " ") : lineEnd + "    ";
        } else {
            text += " ";
        }
        text += digits.substr(i, kWord);
    }
    return lineEnd.empty() ? "\"" + text + "\"" : "\"\"\"" + text + lineEnd + "\"\"\"";
}

bool same(const Value& left, const Value& right) {
    const auto* a = std::get_if<double>(&left);
    const auto* b = std::get_if<double>(&right);
    if (a == nullptr || b == nullptr) return left == right;
    return std::bit_cast<std::uint64_t>(*a) == std::bit_cast<std::uint64_t>(*b);
}

// The same but for the style: a whole number may be written as a real one.
bool means(const Value& read, const Value& wanted) {
    const auto* whole = std::get_if<std::int64_t>(&read);
    const bool widened = whole != nullptr && std::holds_alternative<double>(wanted);
    return widened ? same(static_cast<double>(*whole), wanted) : same(read, wanted);
}

// --- Places in the text ---------------------------------------------------------------------

// Where the lines of the text begin, and how many bytes its characters take.
class Places {
public:
    explicit Places(const std::string& text) : text_(text) {
        constexpr std::string_view kMark = "\xEF\xBB\xBF";
        lines_.push_back(text.starts_with(kMark) ? kMark.size() : 0);
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '\n') lines_.push_back(i + 1);
        }
    }
    std::size_t at(const toml::source_position& position) const {
        std::size_t byte = lines_.at(position.line - 1);
        for (auto column = position.column; column > 1 && byte < text_.size(); --column) {
            ++byte;
            while (byte < text_.size() && (text_[byte] & 0xC0) == 0x80)
                ++byte;
        }
        return byte;
    }
    std::size_t lineBegin(std::size_t byte) const {
        const std::size_t end = byte == 0 ? std::string::npos : text_.rfind('\n', byte - 1);
        return end == std::string::npos ? lines_.front() : end + 1;
    }
    // Behind the line's last character, before its line end.
    std::size_t lineEnd(std::size_t byte) const {
        std::size_t end = std::min(text_.find('\n', byte), text_.size());
        if (end < text_.size() && end > byte && text_[end - 1] == '\r') --end;
        return end;
    }
    std::string lineEndStyle() const {
        const std::size_t first = text_.find('\n');
        return first != std::string::npos && first > 0 && text_[first - 1] == '\r' ? "\r\n" : "\n";
    }

private:
    const std::string& text_;
    std::vector<std::size_t> lines_;
};

struct Entry {
    std::string name;
    const toml::node* value;
    std::size_t keyBegin;
    std::size_t valueBegin;
    std::size_t valueEnd;
    bool kept = true;
};

// --- The rewriting --------------------------------------------------------------------------

class Rewriter {
public:
    Rewriter(const std::string& text, const toml::table& block) : text_(text), places_(text) {
        inline_ = block.is_inline();
        for (const auto& [key, node] : block) {
            entries_.push_back({std::string(key.str()), &node, places_.at(key.source().begin),
                                places_.at(node.source().begin), places_.at(node.source().end)});
        }
        std::ranges::sort(entries_, {}, &Entry::keyBegin);
    }

    std::string rewrite(const BlockEntry& before, const BlockEntry& after) {
        for (const Setting& setting : before.settings) {
            const Setting* now = settingOf(after, setting.keyword);
            if (now == nullptr) {
                remove(setting.keyword);
            } else if (!same(now->value, setting.value)) {
                const Entry& entry = entryOf(setting.keyword);
                replace(entry, valueText(now->value, *entry.value));
            }
        }
        std::string added;
        for (const Setting& setting : after.settings) {
            if (settingOf(before, setting.keyword) == nullptr) {
                added += addition(setting.keyword, valueText(setting.value));
            }
        }
        const std::string recordLineEnd = inline_ ? "" : places_.lineEndStyle();
        if (before.record && !after.record) {
            remove(kRecord);
        } else if (before.record && before.record != after.record) {
            replace(entryOf(kRecord), recordText(*after.record, recordLineEnd));
        } else if (after.record && !before.record) {
            added += addition(kRecord, recordText(*after.record, recordLineEnd));
        }
        if (!added.empty()) {
            const std::size_t end = lastKept().valueEnd;
            const std::size_t place = inline_ ? end : places_.lineEnd(end);
            edits_.push_back({place, place, added});
        }
        return edited();
    }

private:
    struct Edit {
        std::size_t begin;
        std::size_t end;
        std::string text;
    };

    static const Setting* settingOf(const BlockEntry& block, const std::string& keyword) {
        const auto found = std::ranges::find(block.settings, keyword, &Setting::keyword);
        return found == block.settings.end() ? nullptr : &*found;
    }
    const Entry& entryOf(const std::string& name) const {
        return *std::ranges::find(entries_, name, &Entry::name);
    }

    // The type is kept in any case.
    const Entry& lastKept() const {
        return *std::find_if(entries_.rbegin(), entries_.rend(),
                             [](const Entry& e) { return e.kept; });
    }

    void replace(const Entry& entry, std::string text) {
        edits_.push_back({entry.valueBegin, entry.valueEnd, std::move(text)});
    }

    void remove(const std::string& name) {
        const auto entry = std::ranges::find(entries_, name, &Entry::name);
        entry->kept = false;
        if (!inline_) {  // with its line
            std::size_t end = places_.lineEnd(entry->valueEnd);
            end = std::min(text_.find('\n', end), text_.size() - 1) + 1;
            edits_.push_back({places_.lineBegin(entry->keyBegin), end, ""});
        } else if (entry != entries_.begin()) {  // with the comma before it
            edits_.push_back({std::prev(entry)->valueEnd, entry->valueEnd, ""});
        } else {  // there is a type besides
            edits_.push_back({entry->keyBegin, std::next(entry)->keyBegin, ""});
        }
    }

    // In a line of its own that begins as the others do (blanks, or the names before the last
    // point).
    std::string addition(const std::string& name, const std::string& value) const {
        if (inline_) return ", " + name + " = " + value;
        const std::size_t key = entries_.back().keyBegin;
        const std::size_t line = places_.lineBegin(key);
        return places_.lineEndStyle() + text_.substr(line, key - line) + name + " = " + value;
    }

    std::string edited() {
        std::ranges::stable_sort(edits_, {}, &Edit::begin);
        std::string result;
        std::size_t done = 0;
        for (const Edit& edit : edits_) {
            if (edit.begin > done) result += text_.substr(done, edit.begin - done);
            result += edit.text;
            done = std::max(done, edit.end);
        }
        return result + text_.substr(done);
    }

    const std::string& text_;
    Places places_;
    bool inline_ = false;
    std::vector<Entry> entries_;
    std::vector<Edit> edits_;
};

// All of a diagram but the record and keywords of one block.
std::string everythingBut(const std::string& block, toml::table root) {
    toml::table* table = root["block"][block].as_table();
    const toml::node* type = table == nullptr ? nullptr : table->get("type");
    std::ostringstream text;
    if (type != nullptr) text << toml::node_view(*type) << '\n';
    root["block"].as_table()->erase(block);
    text << root;
    return text.str();
}

bool sameEntries(const BlockEntry& read, const BlockEntry& wanted) {
    if (read.record != wanted.record) return false;
    return std::ranges::is_permutation(
        read.settings, wanted.settings, [](const Setting& left, const Setting& right) {
            return left.keyword == right.keyword && means(left.value, right.value);
        });
}

}  // namespace

std::string settingText(const Setting& setting) {
    return setting.keyword + " = " + valueText(setting.value);
}

std::string settingValueText(const WrittenValue& value) {
    if (const auto* name = std::get_if<std::string_view>(&value)) return tomlString(*name);
    if (const auto* real = std::get_if<double>(&value)) return realText(*real);
    return std::to_string(std::get<std::int32_t>(value));
}

std::string rewriteBlock(const std::string& text, const std::filesystem::path& file,
                         const BlockEntry& before, const BlockEntry& after) {
    const toml::table root = toml::parse(text);
    const toml::table& block = *root["block"][before.name].as_table();
    std::string rewritten = Rewriter(text, block).rewrite(before, after);

    // A file is only replaced by one that says just what it should.
    const Diagram diagram = parseDiagram(rewritten, file);
    const auto found = std::ranges::find(diagram.blocks, before.name, &BlockEntry::name);
    if (found == diagram.blocks.end() || !sameEntries(*found, after) ||
        everythingBut(before.name, toml::parse(rewritten)) != everythingBut(before.name, root)) {
        throw InputError(before.place,
                         tr("the entries can't be changed in the way they are written"));
    }
    return rewritten;
}

}  // namespace vynhost
