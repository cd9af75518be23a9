#include "vynhost/diagram/diagram.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <string_view>
#include <utility>

#include "vynhost/base/limits.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/sensitivity.h"
#include "vynhost/diagram/toml_section.h"

namespace vynhost {
namespace {

// Samples per second: one in thirty years to those of light.
constexpr double kLowestRate = 1e-9;
constexpr double kHighestRate = 1e12;

constexpr const char* kReport = "report";

// "node" or "node.letter".
ConnectorName connector(const std::string& name, Place where) {
    const std::size_t point = name.find('.');
    ConnectorName result{name.substr(0, point),
                         point == std::string::npos ? "" : name.substr(point + 1),
                         std::move(where)};
    return result;
}

class Reader {
public:
    explicit Reader(const std::filesystem::path& path) : file_(textOf(path)) {
        diagram_.file = path;
    }

    Diagram read(const std::string& text) {
        const toml::table root = parseToml(text, file_);
        diagram_.text = text;
        const std::vector<std::string> kinds = {"source", "block", "wire", "sink", "compare"};
        for (const auto& [name, node] : root) {
            const std::string kind(name.str());
            if (kind == kReport) continue;
            if (std::find(kinds.begin(), kinds.end(), kind) == kinds.end()) {
                throw InputError({file_, Section::lineOf(node), kind},
                                 tr("no such table%1", didYouMean(kind, kinds)));
            }
        }
        forEach(root, "source", [this](const Section& s, const std::string& n) { source(s, n); });
        forEach(root, "block", [this](const Section& s, const std::string& n) { block(s, n); });
        forEach(root, "sink", [this](const Section& s, const std::string& n) { sink(s, n); });
        forEach(root, "compare", [this](const Section& s, const std::string& n) { compare(s, n); });
        if (const toml::node* wires = root.get("wire")) wire(*wires);
        if (root.contains(kReport)) {
            const Section whole(file_, "", root);
            const std::string name = whole.text(kReport);
            if (name.empty()) whole.fail(kReport, tr("must be the name of a file"));
            askForReport(diagram_, name, whole.place(kReport));
        }
        return std::move(diagram_);
    }

private:
    template <class Take>
    void forEach(const toml::table& root, const char* kind, Take take) {
        const toml::node* group = root.get(kind);
        if (group == nullptr) return;
        if (!group->is_table()) {
            throw InputError({file_, Section::lineOf(*group), kind}, tr("must hold tables"));
        }
        // In the order of the file, not of the names.
        std::vector<std::pair<std::string, const toml::table*>> members;
        for (const auto& [name, node] : *group->as_table()) {
            const std::string full = std::string(kind) + "." + std::string(name.str());
            if (!node.is_table()) {
                throw InputError({file_, Section::lineOf(node), full}, tr("must be a table"));
            }
            members.emplace_back(name.str(), node.as_table());
        }
        std::stable_sort(members.begin(), members.end(), [](const auto& a, const auto& b) {
            return Section::lineOf(*a.second) < Section::lineOf(*b.second);
        });
        for (const auto& [name, table] : members) {
            const Section section(file_, std::string(kind) + "." + name, *table);
            if (name.empty() || name.find('.') != std::string::npos) {
                throw InputError(section.place(), tr("a name may not hold a point"));
            }
            if ((kind == std::string_view("source") || kind == std::string_view("block")) &&
                !nodes_.insert(name).second) {
                throw InputError(section.place(),
                                 tr("a source or block of this name exists already"));
            }
            take(section, name);
        }
    }

    void source(const Section& section, const std::string& name) {
        section.allowOnly({"file",    "block",        "step",        "blocks",      "full_scale",
                           "unit",    "channels",     "rate",        "tail",        "noise",
                           "seconds", "on_truncated", "calibration", "sensitivity", "range",
                           "format",  "start",        "length",      "variable",    "rows"});
        SourceEntry source;
        source.name = name;
        source.place = section.place();
        source.noise = noise(section, name);
        const bool hasFile = section.table().contains("file") || !source.noise;
        if (hasFile) {
            source.file = pathOf(section.neededText("file"));
            if (source.file.is_relative() && source.file != "-") {
                source.file = diagram_.file.parent_path() / source.file;
            }
            if (section.table().contains("seconds")) {
                section.fail("seconds", tr("a recording has its own length"));
            }
        }
        source.filePlace = section.place("file");
        constexpr int kLargestBlock = 1 << 24;
        source.block = count(section, "block", kLargestBlock).value_or(source.block);
        source.step = count(section, "step", source.block).value_or(source.block) % source.block;
        source.stepPlace = section.place("step");
        if (source.overlaps() && source.noise) {
            section.fail("step", tr("data blocks that overlap can't have noise of their own"));
        }
        constexpr int kMostBlocks = 1 << 30;
        source.mostBlocks = count(section, "blocks", kMostBlocks).value_or(0);
        source.unit = section.text("unit");
        scale(section, hasFile, source);
        source.rate = section.number("rate");
        if (source.rate && !(*source.rate >= kLowestRate && *source.rate <= kHighestRate)) {
            section.fail("rate", tr("must be from 1e-9 to 1e12"));
        }
        if (!hasFile) source.seconds = secondsOfNoise(section);
        part(section, hasFile, source);
        raw(section, hasFile, source);
        arrays(section, hasFile, source);
        if (!hasFile && section.table().contains("on_truncated")) {
            section.fail("on_truncated", tr("noise has no end of its own"));
        }
        source.usesTruncated =
            section.choice<bool, 2>("on_truncated", {{{"error", false}, {"use", true}}});
        if (section.table().contains("tail")) {
            source.tail = section.choice<Tail, 3>(
                "tail", {{{"keep", Tail::keep}, {"drop", Tail::drop}, {"pad", Tail::pad}}});
        }
        source.channelsPlace = section.place("channels");
        if (const toml::node* node = section.table().get("channels");
            node != nullptr && source.format.empty()) {
            const toml::array* list = node->as_array();
            if (list == nullptr || list->empty()) section.fail("channels", tr("must be a list"));
            if (list->size() > kMostChannels) {
                section.fail("channels", tr("are %1, at most 1024 are possible", list->size()));
            }
            for (const toml::node& item : *list) {
                const auto channel = item.value<std::int64_t>();
                if (!item.is_integer() || *channel < 1 || *channel > 100000) {
                    section.fail("channels", tr("channels are whole numbers from 1 on"));
                }
                source.channels.push_back(static_cast<int>(*channel));
            }
        }
        if (source.fullScale.size() > 1 && !source.channels.empty() &&
            source.fullScale.size() != source.channels.size()) {
            throw InputError(
                source.fullScalePlace,
                tr("%1 values for %2 channels", source.fullScale.size(), source.channels.size()));
        }
        diagram_.sources.push_back(std::move(source));
    }

    // Which part of the recording is taken.
    static void part(const Section& section, bool hasFile, SourceEntry& source) {
        source.start = section.number("start");
        source.startPlace = section.place("start");
        source.length = section.number("length");
        source.lengthPlace = section.place("length");
        constexpr double kLongest = 1e12;
        for (const char* key : {"start", "length"}) {
            if (section.table().contains(key) && !hasFile) {
                section.fail(key, tr("noise alone has no part; seconds says how long it is"));
            }
        }
        if (source.start && !(*source.start >= 0 && *source.start <= kLongest)) {
            section.fail("start", tr("must be a number of seconds, 0 or above"));
        }
        if (source.length && !(*source.length > 0 && *source.length <= kLongest)) {
            section.fail("length", tr("must be a number of seconds above 0"));
        }
    }

    // Samples without a head; what `channels` says is how many there are.
    static void raw(const Section& section, bool hasFile, SourceEntry& source) {
        source.format = section.text("format");
        source.formatPlace = section.place("format");
        if (source.format.empty()) {
            if (source.file == "-") {
                throw InputError(
                    section.place(),
                    tr("format is missing (what comes on standard input has no head)"));
            }
            if (section.table().contains("format")) section.fail("format", tr("must be a name"));
            return;
        }
        if (!hasFile) section.fail("format", tr("noise alone is in no file"));
        if (!source.rate) {
            throw InputError(section.place(),
                             tr("rate is missing (samples without a head have none of their own)"));
        }
        const toml::node* node = section.table().get("channels");
        if (node == nullptr) return;
        const auto count = node->value<std::int64_t>();
        if (!node->is_integer() || *count < 1 ||
            *count > static_cast<std::int64_t>(kMostChannels)) {
            section.fail("channels", tr("beside format is the number of channels, 1 to 1024"));
        }
        source.rawChannels = static_cast<int>(*count);
    }

    // Which array of a file that holds several.
    static void arrays(const Section& section, bool hasFile, SourceEntry& source) {
        for (const char* key : {"variable", "rows"}) {
            if (!section.table().contains(key)) continue;
            if (!hasFile) section.fail(key, tr("noise alone is in no file"));
            if (!source.format.empty()) section.fail(key, tr("is not for samples without a head"));
        }
        source.variable = section.text("variable");
        if (section.table().contains("variable") && source.variable.empty()) {
            section.fail("variable", tr("must be a name"));
        }
        source.rowsAreChannels =
            section.choice<bool, 2>("rows", {{{"samples", false}, {"channels", true}}});
    }

    // What the values are multiplied by: one of full_scale, calibration and sensitivity with range.
    void scale(const Section& section, bool hasFile, SourceEntry& source) const {
        const toml::table& table = section.table();
        for (const auto& [one, other] :
             {std::pair("calibration", "full_scale"), std::pair("sensitivity", "full_scale"),
              std::pair("sensitivity", "calibration")}) {
            if (table.contains(one) && table.contains(other)) {
                section.fail(one,
                             tr("is given beside %1; one of them says what the values are", other));
            }
        }
        for (const auto& [one, other] :
             {std::pair("sensitivity", "range"), std::pair("range", "sensitivity")}) {
            if (table.contains(one) && !table.contains(other)) {
                section.fail(one, tr("takes %1 beside it", other));
            }
        }
        for (const char* ofRecording : {"calibration", "sensitivity"}) {
            if (table.contains(ofRecording) && !hasFile) {
                section.fail(ofRecording, tr("noise alone is in its unit already"));
            }
        }
        if (table.contains("calibration")) {
            const std::string name = section.text("calibration");
            if (name.empty()) section.fail("calibration", tr("must be the name of a file"));
            source.calibration = pathOf(name);
            if (source.calibration.is_relative()) {
                source.calibration = diagram_.file.parent_path() / source.calibration;
            }
            source.calibrationPlace = section.place("calibration");
            takeUnit(section, "calibration", "Pa", source);
        } else if (table.contains("sensitivity")) {
            source.fullScalePlace = section.place("sensitivity");
            source.fullScale = fullScalesOfSensors(section, source);
        } else if (table.contains("full_scale")) {
            source.fullScalePlace = section.place("full_scale");
            source.fullScale = numbers(section, "full_scale");
        }
        for (const double value : source.fullScale) {
            const double singlePrecision = static_cast<float>(value);
            if (!std::isfinite(singlePrecision) || singlePrecision == 0) {
                throw InputError(source.fullScalePlace, tr("must be a finite number other than 0"));
            }
        }
    }

    static void takeUnit(const Section& section, const char* from, const std::string& unit,
                         SourceEntry& source) {
        if (!source.unit.empty() && source.unit != unit) {
            section.fail("unit", tr("must be %1, which is what %2 gives", unit, from));
        }
        source.unit = unit;
    }

    // From 1 on; nothing when it is not there.
    static std::optional<int> count(const Section& section, const char* name, int most) {
        const std::optional<double> number = section.number(name);
        if (!number) return std::nullopt;
        if (!(*number >= 1 && *number <= most) || *number != std::floor(*number)) {
            section.fail(name, tr("must be a whole number from 1 to %1", most));
        }
        return static_cast<int>(*number);
    }

    // A number, or a list of them.
    static std::vector<double> numbers(const Section& section, const char* name) {
        const toml::array* list = section.table().get(name)->as_array();
        if (list == nullptr) return {*section.number(name)};
        requireFew(section, name, *list);
        std::vector<double> result;
        for (const toml::node& item : *list) {
            if (!item.is_number()) section.fail(name, tr("must be a number or a list of numbers"));
            result.push_back(*item.value<double>());
        }
        return result;
    }

    // A text, or a list of them.
    static std::vector<std::string> texts(const Section& section, const char* name) {
        const toml::array* list = section.table().get(name)->as_array();
        if (list == nullptr) return {section.text(name)};
        requireFew(section, name, *list);
        std::vector<std::string> result;
        for (const toml::node& item : *list) {
            if (!item.is_string()) section.fail(name, tr("must be a text or a list of texts"));
            result.push_back(section.stringOf(name, item));
        }
        return result;
    }

    static void requireFew(const Section& section, const char* name, const toml::array& list) {
        if (list.empty() || list.size() > kMostChannels) {
            section.fail(name, tr("must hold a value per channel, at most 1024"));
        }
    }

    // Where one of the two is a single text, it holds for all channels.
    static std::vector<double> fullScalesOfSensors(const Section& section, SourceEntry& source) {
        const std::vector<std::string> sensitivities = texts(section, "sensitivity");
        const std::vector<std::string> ranges = texts(section, "range");
        const std::size_t count = std::max(sensitivities.size(), ranges.size());
        if (sensitivities.size() != ranges.size() &&
            std::min(sensitivities.size(), ranges.size()) != 1) {
            section.fail("range",
                         tr("%1 values for %2 sensitivities", ranges.size(), sensitivities.size()));
        }
        std::vector<double> result;
        for (std::size_t i = 0; i < count; ++i) {
            const auto given = fullScaleOf(sensitivities[sensitivities.size() == 1 ? 0 : i],
                                           ranges[ranges.size() == 1 ? 0 : i]);
            if (const auto* flaw = std::get_if<SensitivityFlaw>(&given)) {
                section.fail(flaw->inRange ? "range" : "sensitivity", flaw->what);
            }
            const auto& fullScale = std::get<FullScale>(given);
            if (i > 0 && fullScale.unit != source.unit) {
                section.fail("sensitivity",
                             tr("channels of one source have one unit, not %1 and %2", source.unit,
                                fullScale.unit));
            }
            takeUnit(section, "sensitivity", fullScale.unit, source);
            result.push_back(fullScale.value);
        }
        return result;
    }

    std::optional<NoiseEntry> noise(const Section& section, const std::string& name) const {
        const toml::node* node = section.table().get("noise");
        if (node == nullptr) return std::nullopt;
        if (!node->is_table())
            section.fail("noise", tr("must be a table: { rms = 0.01, seed = 1 }"));
        const Section table(file_, "source." + name + ".noise", *node->as_table());
        table.allowOnly({"rms", "seed"});
        const std::optional<double> rms = table.number("rms");
        if (!rms) throw InputError(table.place(), tr("rms is missing"));
        constexpr double kLoudest = 1e37;  // six times as much is a number in single precision
        if (!(*rms >= 0 && *rms <= kLoudest)) table.fail("rms", tr("must be from 0 to 1e37"));
        NoiseEntry result{.rms = *rms};
        if (const toml::node* seed = table.table().get("seed")) {
            if (!seed->is_integer()) table.fail("seed", tr("must be a whole number"));
            result.seed = static_cast<std::uint64_t>(*seed->value<std::int64_t>());
        }
        return result;
    }

    static double secondsOfNoise(const Section& section) {
        constexpr double kMostFrames = 1e15;
        for (const char* needed : {"rate", "seconds"}) {
            if (!section.table().contains(needed)) {
                throw InputError(section.place(),
                                 tr("%1 is missing (noise has none of its own)", needed));
            }
        }
        const double seconds = *section.number("seconds");
        const double rate = *section.number("rate");
        if (!(seconds > 0) || !(seconds * rate >= 1) || !(seconds * rate < kMostFrames)) {
            section.fail("seconds",
                         tr("must give one sample at least, and no more than can be counted"));
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
                section.fail(key.str(), tr("must be a number, a text, true or false"));
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
                section.fail("record", tr("\"%1\" is no hexadecimal digit (the %2. digit)",
                                          std::string(1, c), digits.size() + 1));
            }
            digits += c;
        }
        if (digits.size() % 2 != 0) {
            section.fail("record",
                         tr("is damaged: %1 digits are no whole number of bytes", digits.size()));
        }
        return bytesOf(digits);
    }

    void sink(const Section& section, const std::string& name) {
        section.allowOnly({"from", "values", "csv", "jsonl", "npy", "npz", "mat", "hdf5", "wav",
                           "xlsx", "svg", "title", "average", "x", "y", "reference"});
        SinkEntry sink;
        sink.name = name;
        sink.place = section.place();
        const toml::node* from = section.table().get("from");
        if (from == nullptr) throw InputError(section.place(), tr("from is missing"));
        if (const toml::array* list = from->as_array()) {
            for (const toml::node& item : *list) {
                if (!item.is_string()) section.fail("from", tr("must be a list of names"));
                sink.from.push_back(
                    connector(section.stringOf("from", item), section.place("from")));
            }
        } else {
            sink.from.push_back(connector(section.text("from"), section.place("from")));
        }
        if (sink.from.empty()) section.fail("from", tr("names nothing"));
        if (const toml::node* values = section.table().get("values")) {
            sink.valuesPlace = section.place("values");
            const toml::array* list = values->as_array();
            if (list == nullptr) section.fail("values", tr("must be a list of names"));
            for (const toml::node& item : *list) {
                if (!item.is_string()) section.fail("values", tr("must be a list of names"));
                sink.values.push_back(section.stringOf("values", item));
            }
        }
        sink.csv = section.text("csv");
        for (const TableKind kind :
             {TableKind::json, TableKind::npy, TableKind::npz, TableKind::mat, TableKind::hdf5,
              TableKind::wav, TableKind::xlsx}) {
            const std::string file = section.text(keyOf(kind));
            if (!file.empty()) sink.tables.push_back({kind, file});
        }
        sink.svg = section.text("svg");
        sink.title = section.text("title", name);
        sink.average = section.choice<Average, 4>("average", {{{"none", Average::none},
                                                               {"mean", Average::mean},
                                                               {"power", Average::power},
                                                               {"last", Average::last}}});
        sink.logX = section.choice<bool, 2>("x", {{{"linear", false}, {"log", true}}});
        sink.decibels = section.choice<bool, 2>("y", {{{"linear", false}, {"dB", true}}});
        sink.reference = section.number("reference").value_or(1.0);
        if (!(sink.reference > 0) || std::isinf(sink.reference)) {
            section.fail("reference", tr("must be a finite number above 0"));
        }
        diagram_.sinks.push_back(std::move(sink));
    }

    void compare(const Section& section, const std::string& name) {
        section.allowOnly({"of", "with", "tolerance"});
        CompareEntry compare;
        compare.name = name;
        compare.of = connector(section.neededText("of"), section.place("of"));
        compare.with = connector(section.neededText("with"), section.place("with"));
        compare.tolerance = section.number("tolerance");
        if (compare.tolerance && !(*compare.tolerance >= 0 && std::isfinite(*compare.tolerance))) {
            section.fail("tolerance", tr("must be a finite number, 0 or above"));
        }
        diagram_.comparisons.push_back(std::move(compare));
    }

    void wire(const toml::node& node) {
        if (!node.is_table()) {
            throw InputError({file_, Section::lineOf(node), "wire"}, tr("must be a table"));
        }
        const Section section(file_, "wire", *node.as_table());
        for (const auto& [key, value] : section.table()) {
            const std::string to(key.str());
            if (!value.is_string()) section.fail(to, tr("must be the name of a source or output"));
            diagram_.wires.push_back(
                {connector(to, section.place(to)), connector(section.text(to), section.place(to))});
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

const char* keyOf(TableKind kind) {
    switch (kind) {
        case TableKind::json: return "jsonl";
        case TableKind::npy: return "npy";
        case TableKind::npz: return "npz";
        case TableKind::mat: return "mat";
        case TableKind::hdf5: return "hdf5";
        case TableKind::wav: return "wav";
        case TableKind::xlsx: return "xlsx";
        default: return "csv";
    }
}

Diagram readDiagram(const std::filesystem::path& file) {
    return Reader(file).read(tomlTextOf(file));
}

Diagram parseDiagram(const std::string& text, const std::filesystem::path& file) {
    return Reader(file).read(text);
}

void askForReport(Diagram& diagram, const std::string& file, const Place& place) {
    diagram.report = file;
    diagram.reportPlace = place;
    for (SinkEntry& sink : diagram.sinks)
        sink.inReport = true;
}

void requireResults(const Diagram& diagram) {
    const Place place{textOf(diagram.file), 0, ""};
    if (diagram.sources.empty() && diagram.blocks.empty() && diagram.sinks.empty()) {
        throw InputError(place, tr("the diagram is empty: it needs a [source.NAME], blocks with "
                                   "wires, and a [sink.NAME] (vynhost skeleton prints one)"));
    }
    if (diagram.sinks.empty() && diagram.comparisons.empty()) {
        throw InputError(place, tr("nothing would be written: a [sink.NAME] with from and csv or "
                                   "svg, or a [compare.NAME], is missing"));
    }
    for (const SinkEntry& sink : diagram.sinks) {
        if (sink.hasTable() || !sink.svg.empty() || sink.inReport) continue;
        throw InputError(sink.place, tr("neither csv nor svg is given (nor jsonl, npy, npz, mat, "
                                        "hdf5, wav or xlsx), nor a report asked for"));
    }
}

}  // namespace vynhost
