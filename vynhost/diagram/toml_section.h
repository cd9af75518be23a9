// Tables of a TOML file, read with the place of what is wrong.
#pragma once

#include <toml++/toml.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"

namespace vynhost {

// The text of a file, cut off behind one byte more than such a file may have. Raises InputError
// where there is no file.
std::string tomlTextOf(const std::filesystem::path& file);

// Raises InputError, with the line, for what is no TOML, too large or too deep.
toml::table parseToml(const std::string& text, const std::string& file);

// One table of the file, with its dotted name, and readers that name the place of what is wrong.
class Section {
public:
    Section(const std::string& file, std::string key, const toml::table& table)
        : file_(file), key_(std::move(key)), table_(table) {}

    Place place(std::string_view name) const {
        const toml::node* node = table_.get(name);
        return {file_, lineOf(node == nullptr ? table_ : *node),
                (key_.empty() ? "" : key_ + ".") + std::string(name)};
    }
    Place place() const { return {file_, lineOf(table_), key_}; }

    [[noreturn]] void fail(std::string_view name, const std::string& what) const {
        throw InputError(place(name), what);
    }

    std::string text(std::string_view name, const std::string& otherwise = "") const {
        const toml::node* node = table_.get(name);
        if (node == nullptr) return otherwise;
        if (!node->is_string()) fail(name, tr("must be a text"));
        return stringOf(name, *node);
    }
    // Of a string. The system would end it at a character of code 0, and mean another name.
    std::string stringOf(std::string_view name, const toml::node& node) const {
        std::string text = node.value_or(std::string());
        if (text.find('\0') != std::string::npos) fail(name, tr("holds a character of code 0"));
        return text;
    }
    std::string neededText(std::string_view name) const {
        if (table_.get(name) == nullptr) throw InputError(place(), tr("%1 is missing", name));
        return text(name);
    }
    std::optional<double> number(std::string_view name) const {
        const toml::node* node = table_.get(name);
        if (node == nullptr) return std::nullopt;
        if (!node->is_number()) fail(name, tr("must be a number"));
        return node->value<double>();
    }
    template <class Choice, std::size_t Count>
    Choice choice(std::string_view name,
                  const std::array<std::pair<const char*, Choice>, Count>& choices) const {
        const std::string given = text(name, choices.front().first);
        std::vector<std::string> names;
        for (const auto& [allowed, value] : choices) {
            if (given == allowed) return value;
            names.emplace_back(allowed);
        }
        fail(name, tr("\"%1\" is none of %2", given, joined(names)));
    }
    // Refuses keys that are none of these.
    void allowOnly(std::initializer_list<const char*> names) const {
        const std::vector<std::string> allowed(names.begin(), names.end());
        for (const auto& [name, node] : table_) {
            const std::string given(name.str());
            if (std::find(allowed.begin(), allowed.end(), given) == allowed.end()) {
                fail(given, tr("no such key%1", didYouMean(given, allowed)));
            }
        }
    }
    const toml::table& table() const { return table_; }

    static int lineOf(const toml::node& node) { return static_cast<int>(node.source().begin.line); }

private:
    const std::string& file_;
    std::string key_;
    const toml::table& table_;
};

}  // namespace vynhost
