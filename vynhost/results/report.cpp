#include "vynhost/results/report.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>
#include <variant>

#include "vynhost/base/digest.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/keyword_check.h"
#include "vynhost/diagram/keyword_table.h"
#include "vynhost/results/report_parts.h"
#include "vynhost/results/svg_elements.h"
#include "vynhost/run/source.h"

namespace vynhost {
namespace {

using nlohmann::ordered_json;

// More would be neither seen nor told apart; the tables have them all.
constexpr std::size_t kMostDrawn = 64;

ordered_json textOrNull(const std::string& text) {
    return text.empty() ? ordered_json() : ordered_json(text);
}

ordered_json digestOf(const std::filesystem::path& file) {
    return textOrNull(sha256OfFile(file).value_or(""));
}

// The number that a single-precision one is written as.
double shortNumber(float number) { return toNumber(toText(number)).value_or(number); }

// --- Numbers in bulk --------------------------------------------------------------------------

// Little-endian, which both systems are.
template <class Number, class From>
std::string packed(const std::vector<From>& numbers) {
    std::vector<Number> same(numbers.begin(), numbers.end());
    return base64Of({reinterpret_cast<const char*>(same.data()), same.size() * sizeof(Number)});
}

bool isEven(const std::vector<double>& x, double step) {
    constexpr double kSlack = 1e-7;  // of the step
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double even = x.front() + static_cast<double>(i) * step;
        if (!(std::abs(x[i] - even) <= kSlack * step)) return false;
    }
    return true;
}

ordered_json axisJson(const Series& series) {
    const std::vector<double>& x = series.x;
    if (series.bandEdge > 0) return {{"values", x}};
    const double step =
        x.size() < 2 ? 1 : (x.back() - x.front()) / static_cast<double>(x.size() - 1);
    if (!x.empty() && step > 0 && isEven(x, step)) {
        return {{"start", x.front()}, {"step", step}, {"count", x.size()}};
    }
    return {{"packed", packed<double>(x)}};
}

// --- What a sink shows ------------------------------------------------------------------------

ordered_json heightJson(const Quantity& quantity, const ChartStyle& style) {
    Series like;
    like.quantity = quantity;
    ChartStyle linear = style;
    linear.decibels = false;
    std::string unit = heightUnit(like, linear, Letters::print);
    const bool isFullScale = quantity.scale == Quantity::Scale::fullScale && quantity.degree == 1;
    if (unit.empty() && isFullScale) unit = "full scale = 1";
    ordered_json json = {{"unit", unit}, {"level", nullptr}};
    if (!quantity.hasLevel) return json;
    // 0 dB is where a value is the reference to the power of the degree.
    json["level"] = {{"unit", quantity.levelText(style.reference, Letters::print)},
                     {"factor", 20.0 / quantity.degree},
                     {"over", std::pow(style.reference, quantity.degree)}};
    return json;
}

const char* kindOf(const Series& series) {
    return series.bandEdge > 0 ? "bands" : series.classWidth > 0 ? "classes" : "line";
}

ordered_json curveJson(const Series& series, const ChartStyle& style) {
    ordered_json json = {{"name", series.name},
                         {"kind", kindOf(series)},
                         {"height", heightJson(series.quantity, style)},
                         {"x", axisJson(series)},
                         {"y", packed<float>(series.y)}};
    if (!series.lows.empty()) json["lows"] = packed<float>(series.lows);
    if (series.thinnedFrom > 0) json["thinnedFrom"] = series.thinnedFrom;
    if (series.classWidth > 0) json["classWidth"] = series.classWidth;
    return json;
}

ordered_json spectrogramJson(const Spectrogram& spectrogram, const ChartStyle& style) {
    return {{"name", spectrogram.name},
            {"height", heightJson(spectrogram.quantity, style)},
            {"xUnit", spectrogram.xUnit},
            {"rows", spectrogram.rows()},
            {"columns", spectrogram.columns()},
            {"linesPerRow", spectrogram.linesPerRow()},
            {"spectraPerColumn", spectrogram.spectraPerColumn()},
            {"spectra", spectrogram.spectra()},
            {"firstTime", spectrogram.firstTime()},
            {"lastTime", spectrogram.lastTime()},
            {"firstLine", spectrogram.firstLine()},
            {"lineStep", spectrogram.lineStep()},
            {"fields", packed<float>(spectrogram.fields())}};
}

ordered_json sinkJson(const Sink& sink) {
    const SinkEntry& entry = sink.entry();
    const std::vector<Series> series = sink.series();
    ordered_json json = {{"name", entry.name},
                         {"title", entry.title},
                         {"from", ordered_json::array()},
                         {"files", ordered_json::array()},
                         {"logX", entry.logX},
                         {"decibels", entry.decibels},
                         {"curves", ordered_json::array()},
                         {"leftOut", series.size() - std::min(series.size(), kMostDrawn)},
                         {"spectrograms", ordered_json::array()}};
    for (const ConnectorName& name : entry.from)
        json["from"].push_back(name.text());
    if (!entry.csv.empty()) json["files"].push_back(entry.csv);
    for (const TableEntry& table : entry.tables)
        json["files"].push_back(table.file);
    if (!entry.svg.empty()) json["files"].push_back(entry.svg);
    if (!series.empty()) {
        json["xName"] = series.front().xName;
        json["xUnit"] = series.front().xUnit;
    }
    for (std::size_t i = 0; i < std::min(series.size(), kMostDrawn); ++i)
        json["curves"].push_back(curveJson(series[i], sink.style()));
    for (const Spectrogram& spectrogram : sink.spectrograms())
        json["spectrograms"].push_back(spectrogramJson(spectrogram, sink.style()));
    return json;
}

// --- How it was found -------------------------------------------------------------------------

ordered_json calibrationJson(const Source& source) {
    if (!source.calibration()) return nullptr;
    const Calibration& calibration = *source.calibration();
    ordered_json json = {{"file", textOf(source.entry().calibration.filename())},
                         {"sha256", digestOf(source.entry().calibration)},
                         {"recording", calibration.recording},
                         {"level", calibration.level},
                         {"frequency", calibration.frequency},
                         {"channels", ordered_json::array()}};
    for (const Calibration::Channel& channel : calibration.channels) {
        json["channels"].push_back({{"frequency", channel.frequency},
                                    {"drift", channel.drift},
                                    {"distortion", channel.distortion}});
    }
    return json;
}

ordered_json recordingJson(const Source& source) {
    const SourceEntry& entry = source.entry();
    ordered_json json = {{"name", source.name()},
                         {"file", textOrNull(textOf(source.file().filename()))},
                         {"sha256", nullptr},
                         {"rate", source.rate()},
                         {"samples", source.frames()},
                         {"seconds", source.length()},
                         {"start", source.start()},
                         {"unit", textOrNull(source.unit())},
                         {"block", entry.block},
                         {"noise", nullptr},
                         {"calibration", calibrationJson(source)},
                         {"channels", ordered_json::array()}};
    if (source.file() == "-") {
        json["sha256"] = source.digest();
    } else if (!source.file().empty()) {
        json["sha256"] = digestOf(source.file());
    }
    if (entry.noise) json["noise"] = {{"rms", entry.noise->rms}, {"seed", entry.noise->seed}};
    for (std::size_t i = 0; i < source.channels().size(); ++i) {
        const std::vector<std::string>& names = source.channelNames();
        json["channels"].push_back({{"number", source.channels()[i] + 1},
                                    {"name", i < names.size() ? names[i] : ""},
                                    {"fullScale", shortNumber(source.fullScales()[i])}});
    }
    return json;
}

ordered_json plain(const WrittenValue& value) {
    if (const auto* name = std::get_if<std::string_view>(&value)) return std::string(*name);
    if (const auto* integer = std::get_if<std::int32_t>(&value)) return *integer;
    if (const auto* real = std::get_if<double>(&value)) return *real;
    return nullptr;
}

ordered_json plain(const KeywordValue& value) {
    return std::visit([](const auto& one) { return ordered_json(one); }, value);
}

// As it reads back from the block that has worked.
ordered_json settingJson(PlacedBlock& block, const KeywordRow& row, const KeywordMeaning* meaning,
                         Language language) {
    ordered_json json = {{"keyword", row.name}};
    if (meaning == nullptr) {
        json["value"] = plain(block.get(row));
        return json;
    }
    if (meaning->readsBack) {
        const KeywordValue read = block.get(row);
        const WrittenValue named = meaningOfRead(*meaning, read);
        json["value"] = std::holds_alternative<std::monostate>(named) ? plain(read) : plain(named);
        json["isInitial"] = json["value"] == plain(meaning->initial);
    } else {
        json["value"] = nullptr;
    }
    json["unit"] = textOrNull(std::string(meaning->unit));
    json["says"] = translated(meaning->says, language);
    return json;
}

ordered_json blockJson(const Diagram& diagram, const BlockEntry& entry, PlacedBlock& block,
                       Language language) {
    const BlockMeaning& meaning = meaningOf(static_cast<std::int32_t>(block.typeCode()));
    ordered_json json = {{"name", entry.name},
                         {"type", entry.type},
                         {"code", block.typeCode()},
                         {"hasRecord", entry.record.has_value()},
                         {"inputs", ordered_json::array()},
                         {"settings", ordered_json::array()}};
    for (const WireEntry& wire : diagram.wires) {
        if (wire.to.node != entry.name) continue;
        json["inputs"].push_back({{"to", wire.to.letter}, {"from", wire.from.text()}});
    }
    for (const KeywordRow& row : block.keywords())
        json["settings"].push_back(settingJson(block, row, meaning.keyword(row.name), language));
    return json;
}

ordered_json comparisonJson(const CompareEntry& entry, const Comparison& comparison) {
    return {{"name", entry.name},
            {"of", entry.of.text()},
            {"with", entry.with.text()},
            {"values", comparison.values},
            {"largest", comparison.largest},
            {"unit", textOrNull(comparison.unit)},
            {"relative", comparison.relative},
            {"relativeRms", comparison.relativeRms},
            {"tolerance", entry.tolerance ? ordered_json(*entry.tolerance) : ordered_json()},
            {"early", comparison.early},
            {"within", comparison.within}};
}

std::string twoDigits(unsigned number) { return (number < 10 ? "0" : "") + toText(number); }

// "2026-03-01 12:34:56", UTC.
std::string nowText() {
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const auto day = std::chrono::floor<std::chrono::days>(now);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss time(now - day);
    const auto two = [](auto number) { return twoDigits(static_cast<unsigned>(number)); };
    return toText(static_cast<int>(date.year())) + "-" +
           twoDigits(static_cast<unsigned>(date.month())) + "-" +
           twoDigits(static_cast<unsigned>(date.day())) + " " + two(time.hours().count()) + ":" +
           two(time.minutes().count()) + ":" + two(time.seconds().count());
}

ordered_json programJson(const ReportedProgram& program) {
    return {{"version", program.version},
            {"interface", program.interface},
            {"module", textOf(program.module.filename())},
            {"moduleSha256", digestOf(program.module)},
            {"library", textOf(program.library.filename())},
            {"libraryVersion", program.libraryVersion},
            {"librarySha256", digestOf(program.library)}};
}

ordered_json diagramJson(const Diagram& diagram) {
    return {{"file", textOf(diagram.file.filename())},
            {"sha256", sha256Of(diagram.text)},
            {"text", diagram.text}};
}

ordered_json tableJson(const ReportTable& table, Language language) {
    ordered_json json = {{"title", table.title.in(language)},
                         {"columns", ordered_json::array()},
                         {"rows", ordered_json::array()},
                         {"note", textOrNull(table.note.in(language))}};
    for (const ReportTable::Column& column : table.columns) {
        json["columns"].push_back(
            {{"head", column.head.in(language)}, {"decimals", column.decimals}});
    }
    for (const std::vector<ReportTable::Cell>& row : table.rows) {
        ordered_json cells = ordered_json::array();
        for (const ReportTable::Cell& cell : row) {
            // What is no number becomes null.
            cells.push_back(std::visit([](const auto& one) { return ordered_json(one); }, cell));
        }
        json["rows"].push_back(std::move(cells));
    }
    return json;
}

ordered_json contentOf(const Report& report) {
    ordered_json json = {{"language", codeOf(report.language)},
                         {"title", report.title},
                         {"created", nowText()},
                         {"program", programJson(report.program)},
                         {"diagram", diagramJson(report.diagram)},
                         {"warnings", ordered_json::array()},
                         {"tables", ordered_json::array()},
                         {"comparisons", ordered_json::array()},
                         {"sinks", ordered_json::array()},
                         {"recordings", ordered_json::array()},
                         {"blocks", ordered_json::array()}};
    for (const Bilingual& warning : report.runner.warnings()) {
        const bool isSilent = std::ranges::any_of(report.silent, [&](const std::string& name) {
            return warning.english.starts_with(name + ": ");
        });
        if (!isSilent) json["warnings"].push_back(warning.in(report.language));
    }
    for (const ReportTable& table : report.tables)
        json["tables"].push_back(tableJson(table, report.language));
    for (std::size_t i = 0; i < report.comparisons.size(); ++i) {
        json["comparisons"].push_back(
            comparisonJson(report.diagram.comparisons[i], report.comparisons[i]));
    }
    for (const Sink& sink : report.sinks) {
        if (sink.entry().inReport) json["sinks"].push_back(sinkJson(sink));
    }
    for (const Source* source : report.runner.sources())
        json["recordings"].push_back(recordingJson(*source));
    report.runner.visitBlocks([&](const BlockEntry& entry, PlacedBlock& block) {
        json["blocks"].push_back(blockJson(report.diagram, entry, block, report.language));
    });
    return json;
}

// --- The page ---------------------------------------------------------------------------------

// JSON within a script element: nothing in it can end the element, or begin a comment.
std::string inScript(const ordered_json& json) {
    const std::string text = json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        switch (c) {
            case '<': result += "\\u003c"; break;
            case '>': result += "\\u003e"; break;
            case '&': result += "\\u0026"; break;
            default: result += c;
        }
    }
    return result;
}

// Of a script or style, as a policy names it.
std::string policyHash(std::string_view text) {
    Sha256 sum;
    sum.add(text.data(), text.size());
    const auto bytes = sum.finish();
    return "'sha256-" + base64Of({reinterpret_cast<const char*>(bytes.data()), bytes.size()}) + "'";
}

std::string element(const std::string& name, std::string_view content) {
    return "<" + name + ">" + std::string(content) + "</" + name + ">\n";
}

}  // namespace

std::string reportPage(const Report& report) {
    const std::string data = inScript(contentOf(report));
    std::string page = std::string("<!DOCTYPE html>\n<html lang=\"") + codeOf(report.language) +
                       "\">\n<head>\n<meta charset=\"utf-8\">\n";
    page +=
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src " +
        policyHash(kReportStyle) + "; script-src " + policyHash(kReportChartScript) + " " +
        policyHash(kReportScript) + "\">\n";
    page +=
        "<meta name=\"viewport\" content=\"width=device-width\">\n"
        "<meta name=\"color-scheme\" content=\"light dark\">\n";
    page += element("title", escaped(report.title));
    page += element("style", kReportStyle) + "</head>\n<body>\n<main></main>\n";
    page +=
        element("noscript", translated(words("This report needs JavaScript."), report.language));
    page += "<script type=\"application/json\" id=\"content\">" + data + "</script>\n";
    page += element("script", kReportChartScript) + element("script", kReportScript);
    return page + "</body>\n</html>\n";
}

}  // namespace vynhost
