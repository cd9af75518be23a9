#include "vynhost/command/level.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

#include "vynhost/base/errors.h"
#include "vynhost/base/memory_limit.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/command/text_table.h"
#include "vynhost/diagram/calibration.h"
#include "vynhost/results/series.h"
#include "vynhost/results/table_row.h"
#include "vynhost/run/level_meter.h"

namespace vynhost {
namespace {

constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

double decibels(double ratio) { return 10 * std::log10(ratio); }

// --- The diagram ----------------------------------------------------------------------------

struct Choice {
    std::string_view name;
    const char* keyword;
};
constexpr std::array<Choice, 4> kWeightings = {
    {{"A", "A"}, {"B", "B"}, {"C", "C"}, {"Z", "linear"}}};
constexpr std::array<Choice, 3> kTimes = {{{"F", "Fast"}, {"S", "Slow"}, {"I", "Impulse"}}};

template <std::size_t N>
const char* keywordOf(const std::array<Choice, N>& choices, const std::string& name,
                      const char* option) {
    const auto found = std::ranges::find(choices, std::string_view(name), &Choice::name);
    if (found != choices.end()) return found->keyword;
    std::vector<std::string> names;
    names.reserve(N);
    for (const Choice& choice : choices)
        names.emplace_back(choice.name);
    throw InputError(tr("%1 %2: must be one of %3", option, name, joined(names)));
}

// Samples in the first interval, as the level block counts them.
std::int64_t samplesOf(double seconds, const RecordingFacts& facts) {
    LevelIntervals intervals(1 / seconds);
    intervals.take(timeSignal(std::vector<float>{0}, 1, 1 / facts.rate));
    return intervals.length();
}

// Of the spectra beside the levels: at least three in an interval, of lines that are no further
// apart than the lowest third octaves ask for.
struct Frames {
    int block;
    int step;
};

Frames framesFor(double seconds, const RecordingFacts& facts) {
    constexpr int kShortest = 256;
    constexpr int kLongest = 1 << 20;
    int block = kShortest;
    while (4 * block <= samplesOf(seconds, facts) && block < facts.rate && block < kLongest) {
        block *= 2;
    }
    return {block, block / 2};
}

bool hasWholeIntervals(const LevelArguments& arguments, const RecordingFacts& facts) {
    return samplesOf(secondsOf(arguments.every, "--every"), facts) <= facts.frames;
}

std::string blockText(const LevelArguments& arguments, const std::string& name, double rate,
                      const std::string& comment) {
    return "[block." + name + "]" + comment + "\ntype = \"Pegelberechnung\"\nPkTimeTc = \"" +
           keywordOf(kTimes, arguments.time, "--time") + "\"\nPkTimeTx = \"" +
           std::to_string(arguments.clock) + " s\"\nPkFreqOut = " + toText(rate) + "\n\n";
}

// --- The quantities -------------------------------------------------------------------------

// "LAeq", "LAFmax": as IEC 61672-1 and national rules call them.
struct Names {
    std::string weighted;  // "LA"
    std::string timed;     // "LAF"
    int clock;

    std::string equivalent() const { return weighted + "eq"; }
    std::string exposure() const { return weighted + "E"; }
    std::string maximum() const { return timed + "max"; }
    std::string minimum() const { return timed + "min"; }
    std::string clockMaximum() const { return timed + "Tm" + std::to_string(clock); }
    std::string percentile(double percent) const { return timed + toText(percent); }
};

// Of one channel, in one order everywhere; what there is not is no number.
std::vector<double> valuesOf(const ChannelLevels& levels) {
    std::vector<double> values = {
        levels.equivalent, levels.maximum, levels.minimum.value_or(kNothing),
        levels.exposure,   levels.last,    levels.clockMaximum.value_or(kNothing)};
    for (const auto& level : levels.percentiles)
        values.push_back(level.value_or(kNothing));
    return values;
}

std::vector<std::string> columnsOf(const Names& names, const std::vector<double>& percentiles) {
    std::vector<std::string> columns = {names.equivalent(), names.maximum(), names.minimum(),
                                        names.exposure(),   names.timed,     names.clockMaximum()};
    for (const double percent : percentiles)
        columns.push_back(names.percentile(percent));
    return columns;
}

// --- What the blocks give -------------------------------------------------------------------

// Rows of a level block: some of its quantities, per channel.
class LevelBlockRows {
public:
    LevelBlockRows(Runner& runner, const char* block, const std::vector<std::string>& wanted,
                   double offset) {
        const ConnectorName place{block, "A", {}};
        const std::vector<ValueName>& values = runner.outlet(place).values;
        for (const std::string& name : wanted) {
            quantities_.push_back(static_cast<std::size_t>(
                std::ranges::find(values, name, &ValueName::name) - values.begin()));
        }
        runner.listen(place, [this, all = values.size(), offset](const ChannelData& data) {
            const std::size_t channels = data.values.size() / all;
            std::vector<double>& row = rows_.emplace_back();
            for (std::size_t c = 0; c < channels; ++c) {
                for (const std::size_t quantity : quantities_)
                    row.push_back(data.values[quantity * channels + c] + offset);
            }
        });
    }
    LevelBlockRows(const LevelBlockRows&) = delete;
    LevelBlockRows& operator=(const LevelBlockRows&) = delete;

    std::size_t rows() const { return rows_.size(); }
    double at(std::size_t row, std::size_t channel, std::size_t quantity) const {
        return rows_.at(row).at(channel * quantities_.size() + quantity);
    }
    std::uint64_t bytes() const {
        return rows_.empty() ? 0 : rows_.size() * (sizeof(double) * rows_.front().size() + 32);
    }

private:
    std::vector<std::size_t> quantities_;
    std::vector<std::vector<double>> rows_;
};

// Mean squares in bands of spectra that belong to the interval in which their middle lies.
class BandRows {
public:
    BandRows(Runner& runner, const Frames& frames, double rate, double intervalsPerSecond) {
        const ConnectorName place{"bands", "A", {}};
        const double perFrame = frames.step / rate * intervalsPerSecond;
        const double middle = frames.block / 2.0 / rate * intervalsPerSecond;
        const OutletInfo* info = &runner.outlet(place);
        runner.listen(place, [this, perFrame, middle, info](const ChannelData& data) {
            const auto row =
                static_cast<std::size_t>(static_cast<double>(count_++) * perFrame + middle);
            if (rows_.size() <= row) rows_.resize(row + 1);
            if (centres_.empty()) {
                for (int band = 0; band < data.samples(); ++band)
                    centres_.push_back(xOf(data.header, band));
            }
            without_ = info->bandsWithoutLine;
            channels_ = static_cast<std::size_t>(data.channels());
            rows_[row].add(data);
            all_.add(data);
        });
    }
    BandRows(const BandRows&) = delete;
    BandRows& operator=(const BandRows&) = delete;

    const std::vector<double>& centres() const { return centres_; }
    double meanSquare(std::size_t row, std::size_t channel, std::size_t band) const {
        return row < rows_.size() ? of(rows_[row], channel, band) : kNothing;
    }
    double meanSquare(std::size_t channel, std::size_t band) const {
        return of(all_, channel, band);
    }

private:
    struct Sum {
        std::vector<double> squares;  // as the data block has them
        std::int64_t count = 0;
        void add(const ChannelData& data) {
            squares.resize(std::max(squares.size(), data.values.size()));
            for (std::size_t i = 0; i < data.values.size(); ++i) {
                const double value = data.values[i];
                squares[i] += value * value;
            }
            ++count;
        }
    };
    double of(const Sum& sum, std::size_t channel, std::size_t band) const {
        const std::size_t index = band * channels_ + channel;
        const bool empty = band < without_.size() && without_[band];
        if (empty || index >= sum.squares.size()) return kNothing;
        return sum.squares[index] / static_cast<double>(sum.count);
    }

    std::vector<double> centres_;
    std::vector<bool> without_;
    std::size_t channels_ = 0;
    std::int64_t count_ = 0;
    std::vector<Sum> rows_;
    Sum all_;
};

// --- The results ----------------------------------------------------------------------------

struct Result {
    Names names;
    std::string unit;  // of the levels
    std::vector<double> percentiles;
    double reference = 1;
    std::vector<std::string> channels = {};
    std::vector<LevelRow> rows = {};
    LevelRow total = {};
    const BandRows* bands = nullptr;
};

double bandLevel(const Result& result, double meanSquare) {
    return decibels(meanSquare / (result.reference * result.reference));
}

std::string rowsTable(const Result& result, const TableStyle& style) {
    const std::vector<std::string> columns = columnsOf(result.names, result.percentiles);
    TableRow row(style);
    std::string table(style.begin);
    for (const char* column : {"begin [s]", "end [s]", "short"})
        row.addText(column);
    const bool several = result.channels.size() > 1;
    for (const std::string& channel : result.channels) {
        const std::string of = several ? " " + channel : "";
        for (const std::string& column : columns)
            row.addText(withUnit(column + of, result.unit));
        if (result.bands == nullptr) continue;
        for (const double centre : result.bands->centres())
            row.addText(withUnit("LZeq " + bandName(centre) + "Hz" + of, result.unit));
    }
    table += row.end();
    for (std::size_t r = 0; r < result.rows.size(); ++r) {
        const LevelRow& levels = result.rows[r];
        constexpr int kTimeDigits = 12;
        row.addNumber(levels.begin, kTimeDigits);
        row.addNumber(levels.end, kTimeDigits);
        row.addNumber(levels.isShort ? 1.0F : 0.0F);
        for (std::size_t c = 0; c < levels.channels.size(); ++c) {
            for (const double value : valuesOf(levels.channels[c]))
                row.addNumber(value, kTableDigits);
            if (result.bands == nullptr) continue;
            for (std::size_t band = 0; band < result.bands->centres().size(); ++band)
                row.addNumber(bandLevel(result, result.bands->meanSquare(r, c, band)),
                              kTableDigits);
        }
        table += row.end();
    }
    return table;
}

// Which part of the house a total comes from.
std::vector<Bilingual> originsOf(const LevelArguments& arguments) {
    const Bilingual sums = {"host: mean square of the weighted signal",
                            "Host: quadratisches Mittel des bewerteten Signals"};
    const Bilingual detector = {"host: time weighting of the weighted signal",
                                "Host: Zeitbewertung des bewerteten Signals"};
    const Bilingual block = {"level block", "Pegel-Baustein"};
    std::vector<Bilingual> origins = {
        sums, block, detector, sums, arguments.time == "I" ? detector : block, block};
    origins.resize(origins.size() + arguments.percentiles.size(),
                   {"host: classes of 0.01 dB of the time-weighted level",
                    "Host: Klassen von 0,01 dB des zeitbewerteten Pegels"});
    return origins;
}

const Bilingual& bandOrigin() {
    static const Bilingual origin = {"FFT and third-octave blocks, averaged by the host",
                                     "FFT- und Terz-Baustein, gemittelt vom Host"};
    return origin;
}

std::string totalTable(const Result& result, const LevelArguments& arguments,
                       const TableStyle& style) {
    TableRow row(style);
    std::string table(style.begin);
    row.addText("quantity");
    for (const std::string& channel : result.channels)
        row.addText(withUnit("channel " + channel, result.unit));
    row.addText("from");
    table += row.end();
    const std::vector<std::string> columns = columnsOf(result.names, result.percentiles);
    const std::vector<Bilingual> origins = originsOf(arguments);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        row.addText(columns[i]);
        for (const ChannelLevels& levels : result.total.channels)
            row.addNumber(valuesOf(levels)[i], kTableDigits);
        row.addText(origins[i].in(Language::english));
        table += row.end();
    }
    if (result.bands == nullptr) return table;
    for (std::size_t band = 0; band < result.bands->centres().size(); ++band) {
        row.addText("LZeq " + bandName(result.bands->centres()[band]) + "Hz");
        for (std::size_t c = 0; c < result.channels.size(); ++c)
            row.addNumber(bandLevel(result, result.bands->meanSquare(c, band)), kTableDigits);
        row.addText(bandOrigin().in(Language::english));
        table += row.end();
    }
    return table;
}

// --- In a report ----------------------------------------------------------------------------

ReportTable reportedTotal(const Result& result, const LevelArguments& arguments) {
    ReportTable table{.title = {"Levels of the whole recording", "Pegel der ganzen Aufnahme"},
                      .columns = {{{"Quantity", "Größe"}}}};
    for (const std::string& channel : result.channels) {
        table.columns.push_back({{withUnit("channel " + channel, result.unit),
                                  withUnit("Kanal " + channel, result.unit)}});
    }
    table.columns.push_back({{"from", "Herkunft"}});
    const Language language = spokenLanguage();
    const auto add = [&](const std::string& name, const Bilingual& origin, const auto& level) {
        std::vector<ReportTable::Cell> row = {name};
        for (std::size_t c = 0; c < result.channels.size(); ++c)
            row.emplace_back(level(c));
        row.emplace_back(origin.in(language));
        table.rows.push_back(std::move(row));
    };
    const std::vector<std::string> columns = columnsOf(result.names, result.percentiles);
    const std::vector<Bilingual> origins = originsOf(arguments);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        add(columns[i], origins[i],
            [&](std::size_t c) { return double{valuesOf(result.total.channels[c])[i]}; });
    }
    for (std::size_t band = 0; result.bands != nullptr && band < result.bands->centres().size();
         ++band) {
        add("LZeq " + bandName(result.bands->centres()[band]) + "Hz", bandOrigin(),
            [&](std::size_t c) { return bandLevel(result, result.bands->meanSquare(c, band)); });
    }
    return table;
}

ReportTable reportedRows(const Result& result, const LevelArguments& arguments) {
    constexpr int kTimeDecimals = 3;
    ReportTable table{.title = {"Levels over time", "Pegel über der Zeit"},
                      .columns = {{{"begin [s]", "Beginn [s]"}, kTimeDecimals},
                                  {{"end [s]", "Ende [s]"}, kTimeDecimals}}};
    const bool several = result.channels.size() > 1;
    for (const std::string& channel : result.channels) {
        const std::string of = several ? " " + channel : "";
        for (const std::string& column : columnsOf(result.names, result.percentiles)) {
            const std::string head = withUnit(column + of, result.unit);
            table.columns.push_back({{head, head}});
        }
    }
    if (result.rows.size() > Measurement::kMostReportRows) {
        const std::string count = std::to_string(result.rows.size());
        const bool written = !arguments.out.empty();
        table.columns.clear();
        table.note = {count + " intervals" + (written ? ": see level.csv." : "."),
                      count + " Abschnitte" + (written ? ": siehe level.csv." : ".")};
        return table;
    }
    for (const LevelRow& levels : result.rows) {
        std::vector<ReportTable::Cell> row = {levels.begin, levels.end};
        for (const ChannelLevels& channel : levels.channels) {
            for (const double value : valuesOf(channel))
                row.emplace_back(value);
        }
        table.rows.push_back(std::move(row));
    }
    if (!result.rows.empty() && result.rows.back().isShort) {
        table.note = {"The recording ends before the last interval does.",
                      "Die Aufnahme endet vor dem letzten Abschnitt."};
    }
    return table;
}

void printLevels(const Result& result, const LevelArguments& arguments, std::ostream& out) {
    constexpr int kTimeDigits = 12;
    const std::vector<std::string> columns = columnsOf(result.names, result.percentiles);
    out << tr("levels in %1; intervals of %2 s", printable(result.unit),
              toText(secondsOf(arguments.every, "--every"), kTimeDigits))
        << '\n';
    bool anyShort = false;
    for (std::size_t c = 0; c < result.channels.size(); ++c) {
        out << '\n' << tr("channel %1", printable(result.channels[c])) << '\n';
        std::vector<std::string> head = {tr("begin [s]"), tr("end [s]")};
        head.insert(head.end(), columns.begin(), columns.end());
        TextTable table(head);
        const auto add = [&](const std::string& begin, const std::string& end,
                             const ChannelLevels& levels) {
            std::vector<std::string> row = {begin, end};
            for (const double value : valuesOf(levels))
                row.push_back(fixedText(value));
            table.add(row);
        };
        for (const LevelRow& row : result.rows) {
            anyShort |= row.isShort;
            add(toText(row.begin, kTimeDigits),
                toText(row.end, kTimeDigits) + (row.isShort ? "*" : ""), row.channels[c]);
        }
        add(tr("total"), toText(result.total.end, kTimeDigits), result.total.channels[c]);
        out << table.text();
    }
    if (anyShort) out << tr("* the recording ends before the interval does") << '\n';
    if (result.bands != nullptr) {
        out << '\n' << tr("third octaves, unweighted, of the whole recording") << '\n';
        std::vector<std::string> head = {"f [Hz]"};
        for (const std::string& channel : result.channels)
            head.push_back(result.channels.size() > 1 ? "LZeq " + channel : "LZeq");
        TextTable table(head);
        for (std::size_t band = 0; band < result.bands->centres().size(); ++band) {
            std::vector<std::string> row = {bandName(result.bands->centres()[band])};
            for (std::size_t c = 0; c < result.channels.size(); ++c)
                row.push_back(fixedText(bandLevel(result, result.bands->meanSquare(c, band))));
            table.add(row);
        }
        out << table.text();
    }
    const Names& names = result.names;
    out << '\n'
        << tr("from the level block: %1%2 and %3 of the total",
              arguments.time == "I" ? "" : tr("%1 (at the end), ", names.timed), names.maximum(),
              names.clockMaximum());
    if (result.bands != nullptr) out << tr("; from FFT and third-octave blocks: LZeq");
    out << '\n'
        << tr("the host's own sums over the weighted signal: %1, %2; over its time weighting of "
              "that: all others",
              names.equivalent(), names.exposure())
        << '\n';
}

void requireSense(const LevelArguments& arguments, const RecordingFacts& facts) {
    keywordOf(kWeightings, arguments.weighting, "--weighting");
    keywordOf(kTimes, arguments.time, "--time");
    constexpr std::array<int, 3> kClocks = {1, 3, 5};
    if (std::ranges::find(kClocks, arguments.clock) == kClocks.end()) {
        throw InputError(tr("--clock must be 1, 3 or 5, in seconds"));
    }
    for (const double percent : arguments.percentiles) {
        if (percent > 0 && percent < 100) continue;
        throw InputError(tr("--percentiles must be above 0 and below 100, in % of the time"));
    }
    if (secondsOf(arguments.every, "--every") * facts.rate < 1) {
        throw InputError(tr("--every %1: is shorter than a sample", arguments.every));
    }
    constexpr std::int64_t kMostFrames = std::numeric_limits<std::int32_t>::max() - 1;
    if (facts.frames < 1 || facts.frames > kMostFrames) {
        throw InputError(tr("%1: holds %2 samples per channel; level takes from 1 to %3",
                            arguments.recording, facts.frames, kMostFrames));
    }
}

}  // namespace

std::string levelDiagram(const LevelArguments& arguments, const RecordingFacts& facts) {
    requireSense(arguments, facts);
    const double seconds = secondsOf(arguments.every, "--every");
    const bool rows = hasWholeIntervals(arguments, facts);
    // A little less often, so that no rounding ends the interval before the recording.
    constexpr double kSlack = 0.25;
    const double wholeRate = facts.rate / (static_cast<double>(facts.frames) + kSlack);
    std::string text =
        "# The blocks of vynhost level. They give the level at the end of each interval, and the "
        "maximum and the\n# clock maximum level of the whole recording. Energies, minima, "
        "percentiles "
        "and the maxima of intervals\n# are vynhost level's own sums over weighted.A.\n\n";
    text += reportText(arguments) + sourceText("recording", arguments, "block = 4096\n");
    text += "\n[block.weighted]\ntype = \"Frequenzbewertung\"\nPkXweight = \"";
    text += std::string(keywordOf(kWeightings, arguments.weighting, "--weighting")) + "\"\n\n";
    if (rows) text += blockText(arguments, "level", 1 / seconds, "");
    text += blockText(arguments, "total", wholeRate, "  # the whole recording is one interval");
    if (arguments.bands) {
        const Frames frames = framesFor(seconds, facts);
        text += sourceText("frames", arguments,
                           "block = " + std::to_string(frames.block) +
                               "\nstep = " + std::to_string(frames.step) + "\n");
        text +=
            "\n[block.spectrum]\ntype = \"FFT\"\nPkAmplType = \"RMS\"\nPkWndFct = \"HANNING\"\n"
            "PkWndCorrectTyp = \"energy\"\n\n[block.bands]\ntype = \"Terz_Oktav_Analyse\"\n\n";
    }
    text += "[wire]\n\"weighted.E\" = \"recording\"\n";
    if (rows) text += "\"level.E\" = \"weighted.A\"\n";
    text += "\"total.E\" = \"weighted.A\"\n";
    if (arguments.bands) {
        text += "\"spectrum.E\" = \"frames\"\n\"bands.E\" = \"spectrum.S\"\n";
    }
    if (rows) {
        text +=
            "\n[sink.level]\nfrom = \"level.A\"\nvalues = [\"L\", \"Lmax\"]\ncsv = "
            "\"level_block.csv\"\nsvg = \"level.svg\"\n"
            "title = \"Level, and maximum so far\"\n";
    }
    text += "\n[sink.total]\nfrom = \"total.A\"\ncsv = \"level_block_total.csv\"\n";
    if (arguments.bands) {
        text +=
            "\n[sink.bands]\nfrom = \"bands.A\"\ncsv = \"level_bands.csv\"\nsvg = "
            "\"level_bands.svg\"\n"
            "title = \"Third-octave levels\"\naverage = \"power\"\nx = "
            "\"log\"\ny = \"dB\"\n";
        if (isPressure(arguments)) text += "reference = 2e-5\n";
    }
    return text;
}

void measureLevel(const LevelArguments& arguments, std::ostream& out) {
    const RecordingFacts facts = factsOf(arguments);
    const std::string text = levelDiagram(arguments, facts);
    if (arguments.diagram) {
        out << text;
        return;
    }
    Measurement measurement("level", text, arguments);
    Runner& runner = measurement.job().runner();
    const Quantity& signal = measurement.quantity();
    Result result{.names = {"L" + arguments.weighting, "L" + arguments.weighting + arguments.time,
                            arguments.clock},
                  .unit = signal.levelText(referenceOf(signal)),
                  .percentiles = arguments.percentiles,
                  .reference = referenceOf(signal)};
    const double perSecond = 1 / secondsOf(arguments.every, "--every");
    LevelMeter meter({.time = arguments.time == "S"   ? TimeWeighting::slow
                              : arguments.time == "I" ? TimeWeighting::impulse
                                                      : TimeWeighting::fast,
                      .intervalsPerSecond = perSecond,
                      .clockPeriod = static_cast<double>(arguments.clock),
                      .reference = result.reference,
                      .percentiles = arguments.percentiles});
    // The block's levels are over 20 millionths of whatever unit the signal has.
    const double offset = 20 * std::log10(kReferencePressure / result.reference);
    std::optional<LevelBlockRows> ends;
    const bool hasRows = hasWholeIntervals(arguments, facts);
    if (hasRows) ends.emplace(runner, "level", std::vector<std::string>{"L"}, offset);
    const LevelBlockRows whole(runner, "total", {"L", "Lmax", "mean clock maximum"}, offset);
    std::optional<BandRows> bands;
    if (arguments.bands) {
        bands.emplace(runner, framesFor(1 / perSecond, facts), facts.rate, perSecond);
        result.bands = &*bands;
    }
    MemoryPart memory(runner.memory(), {arguments.recording, 0, ""});
    runner.listen({"weighted", "A", {}}, [&](const ChannelData& data) {
        meter.take(data);
        memory.set(meter.bytes() + (ends ? ends->bytes() : 0),
                   tr("the rows of its levels").c_str());
    });
    measurement.job().run();
    meter.finish();
    result.rows = meter.rows();
    result.total = meter.total();
    const std::size_t channels = result.total.channels.size();
    result.channels = measurement.channelNames(channels);
    // A block's level of 0 is that of silence, or none yet: the host's own tells more.
    const auto takeFrom = [&](const LevelBlockRows& block, std::size_t row, std::size_t channel,
                              std::size_t quantity, double& own) {
        const double level = block.at(row, channel, quantity);
        if (level != offset) own = level;
    };
    for (std::size_t c = 0; c < channels; ++c) {
        ChannelLevels& total = result.total.channels[c];
        takeFrom(whole, 0, c, 1, total.maximum);
        if (total.clockMaximum) takeFrom(whole, 0, c, 2, *total.clockMaximum);
        if (arguments.time == "I") continue;  // whose block holds one level for all channels
        takeFrom(whole, 0, c, 0, total.last);
        for (std::size_t r = 0; r < result.rows.size(); ++r) {
            const bool isWhole = ends && r < ends->rows();
            takeFrom(isWhole ? *ends : whole, isWhole ? r : 0, c, 0,
                     result.rows[r].channels[c].last);
        }
    }
    measurement.add("level.csv", rowsTable(result, measurement.tables()));
    measurement.add("level_total.csv", totalTable(result, arguments, measurement.tables()));
    measurement.job().addTable(reportedTotal(result, arguments));
    measurement.job().addTable(reportedRows(result, arguments));
    // The host's sums have the rest that fills no interval of the block.
    const std::vector<std::string> silent = {"level", "frames"};
    measurement.sayNotes(out, silent);
    measurement.job().silence(silent);
    if (!arguments.quiet) printLevels(result, arguments, out);
    measurement.commit(out);
}

}  // namespace vynhost
