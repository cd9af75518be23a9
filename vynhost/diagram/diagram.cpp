#include "vynhost/diagram/diagram.h"

#include <toml++/toml.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <set>
#include <string_view>

#include "vynhost/base/text.h"
#include "vynhost/diagram/toml_bounds.h"

namespace vynhost {
namespace {

// One table of the file, with its dotted name, and readers that name the place of what is wrong.
class Section {
public:
    Section(const std::string& file, std::string key, const toml::table& table)
        : file_(file), key_(std::move(key)), table_(table) {}

    Place place(std::string_view name) const {
        const toml::node* node = table_.get(name);
        return {file_, lineOf(node == nullptr ? table_ : *node), key_ + "." + std::string(name)};
    }
    Place place() const { return {file_, lineOf(table_), key_}; }

    [[noreturn]] void fail(std::string_view name, const std::string& what) const {
        throw InputError(place(name), what);
    }

    std::string text(std::string_view name, const std::string& otherwise = "") const {
        const toml::node* node = table_.get(name);
        if (node == nullptr) return otherwise;
        if (!node->is_string()) fail(name, "must be a text");
        return stringOf(name, *node);
    }
    // Of a string. The system would end it at a character of code 0, and mean another name.
    std::string stringOf(std::string_view name, const toml::node& node) const {
        std::string text = node.value_or(std::string());
        if (text.find('\0') != std::string::npos) fail(name, "holds a character of code 0");
        return text;
    }
    std::string neededText(std::string_view name) const {
        if (table_.get(name) == nullptr)
            throw InputError(place(), std::string(name) + " is missing");
        return text(name);
    }
    std::optional<double> number(std::string_view name) const {
        const toml::node* node = table_.get(name);
        if (node == nullptr) return std::nullopt;
        if (!node->is_number()) fail(name, "must be a number");
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
        fail(name, "\"" + given + "\" is none of " + joined(names));
    }
    // Refuses keys that are none of these.
    void allowOnly(std::initializer_list<const char*> names) const {
        const std::vector<std::string> allowed(names.begin(), names.end());
        for (const auto& [name, node] : table_) {
            const std::string given(name.str());
            if (std::find(allowed.begin(), allowed.end(), given) == allowed.end()) {
                fail(given, "no such key" + didYouMean(given, allowed));
            }
        }
    }
    // "node" or "node.letter".
    ConnectorName connector(const std::string& name, Place where) const {
        const std::size_t point = name.find('.');
        ConnectorName result{name.substr(0, point),
                             point == std::string::npos ? "" : name.substr(point + 1),
                             std::move(where)};
        return result;
    }
    const toml::table& table() const { return table_; }

    static int lineOf(const toml::node& node) { return static_cast<int>(node.source().begin.line); }

private:
    const std::string& file_;
    std::string key_;
    const toml::table& table_;
};

// Samples per second: one in thirty years to those of light.
constexpr double kLowestRate = 1e-9;
constexpr double kHighestRate = 1e12;

constexpr std::size_t kMostChannels = 1024;  // as many as a recording may have

class Reader {
public:
    explicit Reader(const std::filesystem::path& path) : file_(textOf(path)) {
        diagram_.file = path;
    }

    Diagram read(const std::string& text) {
        const toml::table root = parse(text);
        const std::vector<std::string> kinds = {"source", "block", "wire", "sink", "compare"};
        for (const auto& [name, node] : root) {
            const std::string kind(name.str());
            if (std::find(kinds.begin(), kinds.end(), kind) == kinds.end()) {
                throw InputError({file_, Section::lineOf(node), kind},
                                 "no such table" + didYouMean(kind, kinds));
            }
        }
        forEach(root, "source", [this](const Section& s, const std::string& n) { source(s, n); });
        forEach(root, "block", [this](const Section& s, const std::string& n) { block(s, n); });
        forEach(root, "sink", [this](const Section& s, const std::string& n) { sink(s, n); });
        forEach(root, "compare", [this](const Section& s, const std::string& n) { compare(s, n); });
        if (const toml::node* wires = root.get("wire")) wire(*wires);
        return std::move(diagram_);
    }

private:
    toml::table parse(const std::string& text) const {
        checkBounds(text, file_);
        try {
            return toml::parse(text, file_);
        } catch (const toml::parse_error& error) {
            const int line = static_cast<int>(error.source().begin.line);
            throw InputError({file_, line, ""}, onOneLine(error.description()));
        }
    }

    template <class Take>
    void forEach(const toml::table& root, const char* kind, Take take) {
        const toml::node* group = root.get(kind);
        if (group == nullptr) return;
        if (!group->is_table()) {
            throw InputError({file_, Section::lineOf(*group), kind}, "must hold tables");
        }
        // In the order of the file, not of the names.
        std::vector<std::pair<std::string, const toml::table*>> members;
        for (const auto& [name, node] : *group->as_table()) {
            const std::string full = std::string(kind) + "." + std::string(name.str());
            if (!node.is_table()) {
                throw InputError({file_, Section::lineOf(node), full}, "must be a table");
            }
            members.emplace_back(name.str(), node.as_table());
        }
        std::stable_sort(members.begin(), members.end(), [](const auto& a, const auto& b) {
            return Section::lineOf(*a.second) < Section::lineOf(*b.second);
        });
        for (const auto& [name, table] : members) {
            const Section section(file_, std::string(kind) + "." + name, *table);
            if (name.empty() || name.find('.') != std::string::npos) {
                throw InputError(section.place(), "a name may not hold a point");
            }
            if ((kind == std::string_view("source") || kind == std::string_view("block")) &&
                !nodes_.insert(name).second) {
                throw InputError(section.place(), "a source or block of this name exists already");
            }
            take(section, name);
        }
    }

    void source(const Section& section, const std::string& name) {
        section.allowOnly({"file", "block", "full_scale", "unit", "channels", "rate", "tail",
                           "noise", "seconds", "on_truncated"});
        SourceEntry source;
        source.name = name;
        source.place = section.place();
        source.noise = noise(section, name);
        const bool hasFile = section.table().contains("file") || !source.noise;
        if (hasFile) {
            source.file = pathOf(section.neededText("file"));
            if (source.file.is_relative()) source.file = diagram_.file.parent_path() / source.file;
            if (section.table().contains("seconds")) {
                section.fail("seconds", "a recording has its own length");
            }
        }
        source.filePlace = section.place("file");
        const double block = section.number("block").value_or(source.block);
        constexpr double kLargestBlock = 1 << 24;
        if (!(block >= 1 && block <= kLargestBlock) || block != static_cast<int>(block)) {
            section.fail("block", "must be a whole number from 1 to 16777216");
        }
        source.block = static_cast<int>(block);
        source.fullScale = section.number("full_scale").value_or(1.0);
        const double singlePrecision = static_cast<float>(source.fullScale);
        if (!std::isfinite(singlePrecision) || singlePrecision == 0) {
            section.fail("full_scale", "must be a finite number other than 0");
        }
        source.unit = section.text("unit");
        source.rate = section.number("rate");
        if (source.rate && !(*source.rate >= kLowestRate && *source.rate <= kHighestRate)) {
            section.fail("rate", "must be from 1e-9 to 1e12");
        }
        if (!hasFile) source.seconds = secondsOfNoise(section);
        if (!hasFile && section.table().contains("on_truncated")) {
            section.fail("on_truncated", "noise has no end of its own");
        }
        source.usesTruncated =
            section.choice<bool, 2>("on_truncated", {{{"error", false}, {"use", true}}});
        if (section.table().contains("tail")) {
            source.tail = section.choice<Tail, 3>(
                "tail", {{{"keep", Tail::keep}, {"drop", Tail::drop}, {"pad", Tail::pad}}});
        }
        source.channelsPlace = section.place("channels");
        if (const toml::node* node = section.table().get("channels")) {
            const toml::array* list = node->as_array();
            if (list == nullptr || list->empty()) section.fail("channels", "must be a list");
            if (list->size() > kMostChannels) {
                section.fail("channels",
                             "are " + std::to_string(list->size()) + ", at most 1024 are possible");
            }
            for (const toml::node& item : *list) {
                const auto channel = item.value<std::int64_t>();
                if (!item.is_integer() || *channel < 1 || *channel > 100000) {
                    section.fail("channels", "channels are whole numbers from 1 on");
                }
                source.channels.push_back(static_cast<int>(*channel));
            }
        }
        diagram_.sources.push_back(std::move(source));
    }

    std::optional<NoiseEntry> noise(const Section& section, const std::string& name) const {
        const toml::node* node = section.table().get("noise");
        if (node == nullptr) return std::nullopt;
        if (!node->is_table()) section.fail("noise", "must be a table: { rms = 0.01, seed = 1 }");
        const Section table(file_, "source." + name + ".noise", *node->as_table());
        table.allowOnly({"rms", "seed"});
        const std::optional<double> rms = table.number("rms");
        if (!rms) throw InputError(table.place(), "rms is missing");
        constexpr double kLoudest = 1e37;  // six times as much is a number in single precision
        if (!(*rms >= 0 && *rms <= kLoudest)) table.fail("rms", "must be from 0 to 1e37");
        NoiseEntry result{.rms = *rms};
        if (const toml::node* seed = table.table().get("seed")) {
            if (!seed->is_integer()) table.fail("seed", "must be a whole number");
            result.seed = static_cast<std::uint64_t>(*seed->value<std::int64_t>());
        }
        return result;
    }

    static double secondsOfNoise(const Section& section) {
        constexpr double kMostFrames = 1e15;
        for (const char* needed : {"rate", "seconds"}) {
            if (!section.table().contains(needed)) {
                throw InputError(section.place(),
                                 std::string(needed) + " is missing (noise has none of its own)");
            }
        }
        const double seconds = *section.number("seconds");
        const double rate = *section.number("rate");
        if (!(seconds > 0) || !(seconds * rate >= 1) || !(seconds * rate < kMostFrames)) {
            section.fail("seconds",
                         "must give one sample at least, and no more than can be counted");
        }
        return seconds;
    }

    void block(const Section& section, const std::string& name) {
        BlockEntry block;
        block.name = name;
        block.place = section.place();
        block.typePlace = section.place("type");
        const toml::node* type = section.table().get("type");
        if (type != nullptr && type->is_integer()) {
            block.type = std::to_string(*type->value<std::int64_t>());
        } else {
            block.type = section.neededText("type");
        }
        if (section.table().contains("record")) {
            block.recordPlace = section.place("record");
            block.record = recordBytes(section);
        }
        std::vector<std::pair<toml::source_position, Setting>> found;
        for (const auto& [key, node] : section.table()) {
            if (key.str() == "type" || key.str() == "record") continue;
            Setting setting;
            setting.keyword = key.str();
            setting.place = section.place(key.str());
            if (node.is_boolean()) {
                setting.value = std::int64_t{*node.value<bool>() ? 1 : 0};
            } else if (node.is_integer()) {
                setting.value = *node.value<std::int64_t>();
            } else if (node.is_floating_point()) {
                setting.value = *node.value<double>();
            } else if (node.is_string()) {
                setting.value = section.text(key.str());
            } else {
                section.fail(key.str(), "must be a number, a text, true or false");
            }
            found.emplace_back(node.source().begin, std::move(setting));
        }
        std::ranges::stable_sort(found, {}, [](const auto& entry) { return entry.first; });
        for (auto& [position, setting] : found)
            block.settings.push_back(std::move(setting));
        diagram_.blocks.push_back(std::move(block));
    }

    // The bytes that the digits of a record stand for; blanks and line ends part them at will.
    static std::string recordBytes(const Section& section) {
        std::string digits;
        for (const char c : section.text("record")) {
            if (c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
            if (!isHexadecimal(c)) {
                section.fail("record", "\"" + std::string(1, c) +
                                           "\" is no hexadecimal digit (the " +
                                           std::to_string(digits.size() + 1) + ". digit)");
            }
            digits += c;
        }
        if (digits.size() % 2 != 0) {
            section.fail("record", "is damaged: " + std::to_string(digits.size()) +
                                       " digits are no whole number of bytes");
        }
        return bytesOf(digits);
    }

    void sink(const Section& section, const std::string& name) {
        section.allowOnly(
            {"from", "values", "csv", "svg", "title", "average", "x", "y", "reference"});
        SinkEntry sink;
        sink.name = name;
        sink.place = section.place();
        const toml::node* from = section.table().get("from");
        if (from == nullptr) throw InputError(section.place(), "from is missing");
        if (const toml::array* list = from->as_array()) {
            for (const toml::node& item : *list) {
                if (!item.is_string()) section.fail("from", "must be a list of names");
                sink.from.push_back(
                    section.connector(section.stringOf("from", item), section.place("from")));
            }
        } else {
            sink.from.push_back(section.connector(section.text("from"), section.place("from")));
        }
        if (sink.from.empty()) section.fail("from", "names nothing");
        if (const toml::node* values = section.table().get("values")) {
            sink.valuesPlace = section.place("values");
            const toml::array* list = values->as_array();
            if (list == nullptr) section.fail("values", "must be a list of names");
            for (const toml::node& item : *list) {
                if (!item.is_string()) section.fail("values", "must be a list of names");
                sink.values.push_back(section.stringOf("values", item));
            }
        }
        sink.csv = section.text("csv");
        sink.svg = section.text("svg");
        if (sink.csv.empty() && sink.svg.empty()) {
            throw InputError(section.place(), "neither csv nor svg is given");
        }
        sink.title = section.text("title", name);
        sink.average = section.choice<Average, 4>("average", {{{"none", Average::none},
                                                               {"mean", Average::mean},
                                                               {"power", Average::power},
                                                               {"last", Average::last}}});
        sink.logX = section.choice<bool, 2>("x", {{{"linear", false}, {"log", true}}});
        sink.decibels = section.choice<bool, 2>("y", {{{"linear", false}, {"dB", true}}});
        sink.reference = section.number("reference").value_or(1.0);
        if (!(sink.reference > 0) || std::isinf(sink.reference)) {
            section.fail("reference", "must be a finite number above 0");
        }
        diagram_.sinks.push_back(std::move(sink));
    }

    void compare(const Section& section, const std::string& name) {
        section.allowOnly({"of", "with", "tolerance"});
        CompareEntry compare;
        compare.name = name;
        compare.of = section.connector(section.neededText("of"), section.place("of"));
        compare.with = section.connector(section.neededText("with"), section.place("with"));
        compare.tolerance = section.number("tolerance");
        if (compare.tolerance && !(*compare.tolerance >= 0 && std::isfinite(*compare.tolerance))) {
            section.fail("tolerance", "must be a finite number, 0 or above");
        }
        diagram_.comparisons.push_back(std::move(compare));
    }

    void wire(const toml::node& node) {
        if (!node.is_table()) {
            throw InputError({file_, Section::lineOf(node), "wire"}, "must be a table");
        }
        const Section section(file_, "wire", *node.as_table());
        for (const auto& [key, value] : section.table()) {
            const std::string to(key.str());
            if (!value.is_string()) section.fail(to, "must be the name of a source or output");
            diagram_.wires.push_back({section.connector(to, section.place(to)),
                                      section.connector(section.text(to), section.place(to))});
        }
        std::stable_sort(diagram_.wires.begin(), diagram_.wires.end(),
                         [](const WireEntry& a, const WireEntry& b) {
                             return a.to.place.line < b.to.place.line;
                         });
    }

    std::string file_;
    std::set<std::string> nodes_;
    Diagram diagram_;
};

}  // namespace

Diagram readDiagram(const std::filesystem::path& file) {
    std::error_code error;  // of a name that is too long, say
    if (!std::filesystem::is_regular_file(file, error)) {
        throw InputError({textOf(file), 0, ""}, "no such file");
    }
    std::ifstream in(file, std::ios::binary);
    std::string text(kMostDiagramBytes + 1, '\0');  // one more tells that there is more
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(in.gcount()));
    return Reader(file).read(text);
}

Diagram parseDiagram(const std::string& text, const std::filesystem::path& file) {
    return Reader(file).read(text);
}

void requireResults(const Diagram& diagram) {
    const Place place{textOf(diagram.file), 0, ""};
    if (diagram.sources.empty() && diagram.blocks.empty() && diagram.sinks.empty()) {
        throw InputError(place,
                         "the diagram is empty: it needs a [source.NAME], blocks with wires, and a "
                         "[sink.NAME] (vynhost skeleton prints one)");
    }
    if (diagram.sinks.empty() && diagram.comparisons.empty()) {
        throw InputError(place,
                         "nothing would be written: a [sink.NAME] with from and csv or svg, or a "
                         "[compare.NAME], is missing");
    }
}

}  // namespace vynhost
