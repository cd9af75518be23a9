#include "vynhost/results.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>

#include "vynhost/text.h"

namespace vynhost {
namespace {

enum UnitCode : std::int32_t {
    kDecibel = 6,
    kDegrees = 11,
    kPower = 12,
    kPercent = 15,
    kAmplitude = 26
};

bool overTime(const ChannelHeader& header) {
    return header.xAxisKind == kSeconds || header.xAxisKind == kMilliseconds;
}

std::string unitOf(const ChannelHeader& header, const std::string& recordings) {
    switch (header.yUnit) {
        case kDecibel: return "dB";
        case kDegrees: return "°";
        case kPower: return "power";
        case kPercent: return "%";
        case kAmplitude: return recordings;
        default: return overTime(header) ? recordings : "";
    }
}

// Nominal centre frequencies in Hz (IEC 61260-1, annex E), from band 0 of the module's tables on.
constexpr std::array<double, 32> kThirdOctaves = {
    16,   20,   25,   31.5, 40,   50,   63,    80,    100,   125,  160,
    200,  250,  315,  400,  500,  630,  800,   1000,  1250,  1600, 2000,
    2500, 3150, 4000, 5000, 6300, 8000, 10000, 12500, 16000, 20000};
constexpr std::array<double, 11> kOctaves = {16,   31.5, 63,   125,  250,  500,
                                             1000, 2000, 4000, 8000, 16000};

bool overBands(const ChannelHeader& header) {
    return (header.axisFlags & (kThirdOctaveBands | kOctaveBands)) != 0;
}

// x of one value. A band outside the tables keeps its number, negative, so that nobody takes it for
// a frequency.
double xOf(const ChannelHeader& header, int sample) {
    const double x = header.xStart + sample * header.xStep;
    if (!overBands(header)) return x;
    const auto centre = [&](const auto& table) {
        const bool known = x >= 0 && x < static_cast<double>(table.size());
        return known ? table[static_cast<std::size_t>(x)] : -x;
    };
    return (header.axisFlags & kThirdOctaveBands) != 0 ? centre(kThirdOctaves) : centre(kOctaves);
}

void nameAxis(Series& series, const ChannelHeader& header) {
    if (overBands(header)) {
        const bool thirds = (header.axisFlags & kThirdOctaveBands) != 0;
        series.bandEdge = std::exp2(thirds ? 1.0 / 6 : 1.0 / 2);
        series.xName = "f";
        series.xUnit = "Hz";
        return;
    }
    switch (header.xAxisKind) {
        case kSeconds: series.xName = "t", series.xUnit = "s"; break;
        case kMilliseconds: series.xName = "t", series.xUnit = "ms"; break;
        case kHertz: series.xName = "f", series.xUnit = "Hz"; break;
        case kKilohertz: series.xName = "f", series.xUnit = "kHz"; break;
        default: series.xName = "x";
    }
}

Series emptySeries(const Collected& collected, const ChannelData& block, int channel) {
    Series series;
    series.name = collected.name;
    if (block.channels() > 1) series.name += " " + std::to_string(channel + 1);
    series.unit = unitOf(block.header, collected.unit);
    series.isPower = block.header.yUnit == kPower;
    nameAxis(series, block.header);
    return series;
}

// A data block that names its own start is put there; one that does not follows the last.
Series overTimeSeries(const Collected& collected, int channel) {
    Series series = emptySeries(collected, collected.blocks.front(), channel);
    double start = 0;
    for (const ChannelData& block : collected.blocks) {
        if (channel >= block.channels()) continue;
        if (block.header.xStart != 0) start = block.header.xStart;
        for (int i = 0; i < block.samples(); ++i) {
            series.x.push_back(start + i * block.header.xStep);
            series.y.push_back(block.at(i, channel));
        }
        start += block.samples() * block.header.xStep;
    }
    return series;
}

Series blockSeries(const Collected& collected, const ChannelData& block, int channel) {
    Series series = emptySeries(collected, block, channel);
    for (int i = 0; i < block.samples(); ++i) {
        series.x.push_back(xOf(block.header, i));
        series.y.push_back(block.at(i, channel));
    }
    return series;
}

// One quantity of one channel, a value per data block. What starts at 0 each time is counted.
Series namedSeries(const Collected& collected, std::size_t quantity, int channel, int channels) {
    Series series;
    series.name = collected.name + " " + collected.values[quantity].name;
    if (channels > 1) series.name += " " + std::to_string(channel + 1);
    series.unit = collected.values[quantity].unit;
    const bool counted = collected.blocks.back().header.xStart == 0;
    if (counted) {
        series.xName = "block";
    } else {
        nameAxis(series, collected.blocks.front().header);
    }
    const std::size_t place =
        quantity * static_cast<std::size_t>(channels) + static_cast<std::size_t>(channel);
    for (std::size_t b = 0; b < collected.blocks.size(); ++b) {
        const ChannelData& block = collected.blocks[b];
        if (place >= block.values.size()) continue;
        series.x.push_back(counted ? static_cast<double>(b + 1) : block.header.xStart);
        series.y.push_back(block.values[place]);
    }
    return series;
}

std::vector<Series> allNamedSeries(const SinkSpec& sink, const Collected& collected) {
    const std::size_t quantities = collected.values.size();
    const int channels = static_cast<int>(collected.blocks.front().values.size() / quantities);
    std::vector<Series> all;
    for (int channel = 0; channel < channels; ++channel) {
        for (std::size_t q = 0; q < quantities; ++q) {
            const std::string& name = collected.values[q].name;
            const bool asked = std::ranges::find(sink.values, name) != sink.values.end();
            if (sink.values.empty() || asked) {
                all.push_back(namedSeries(collected, q, channel, channels));
            }
        }
    }
    return all;
}

// A sink may pick quantities; what it picks must exist at one of its names at least.
void checkPickedValues(const SinkSpec& sink, const Runner& runner) {
    std::vector<std::string> known;
    for (const ConnectorName& name : sink.from) {
        for (const ValueName& value : runner.collected(name).values)
            known.push_back(value.name);
    }
    for (const std::string& picked : sink.values) {
        if (std::ranges::find(known, picked) != known.end()) continue;
        std::string what = "\"" + picked + "\" is no value";
        what += known.empty() ? "; what comes in has no named values" : "; there are ";
        throw InputError(sink.valuesPlace, what.append(joined(known)));
    }
}

// The mean over the data blocks that have the first one's shape; of amplitudes and levels, `power`
// takes the mean of what their squares or energies are.
Series averagedSeries(const Collected& collected, int channel, Average average) {
    Series mean = blockSeries(collected, collected.blocks.front(), channel);
    const std::int32_t unit = collected.blocks.front().header.yUnit;
    const bool energy = average == Average::power && unit != kPower;
    const auto in = [&](double y) {
        if (!energy) return y;
        return unit == kDecibel ? std::pow(10.0, y / 10) : y * y;
    };
    const auto out = [&](double y) {
        if (!energy) return y;
        return unit == kDecibel ? 10 * std::log10(y) : std::sqrt(y);
    };
    std::fill(mean.y.begin(), mean.y.end(), 0.0);
    int blocks = 0;
    for (const ChannelData& block : collected.blocks) {
        if (block.samples() != static_cast<int>(mean.y.size())) continue;
        for (int i = 0; i < block.samples(); ++i) {
            mean.y[static_cast<std::size_t>(i)] += in(block.at(i, channel));
        }
        ++blocks;
    }
    for (double& y : mean.y)
        y = out(y / blocks);
    return mean;
}

std::string columnName(const Series& series) {
    return series.unit.empty() ? series.name : series.name + " [" + series.unit + "]";
}

}  // namespace

std::vector<Series> seriesOf(const SinkSpec& sink, const Runner& runner) {
    checkPickedValues(sink, runner);
    std::vector<Series> all;
    for (const ConnectorName& name : sink.from) {
        const Collected& collected = runner.collected(name);
        if (collected.blocks.empty()) {
            throw RunError(kStalled, sink.place.file + ":" + std::to_string(sink.place.line) +
                                         ": " + sink.place.key + ": nothing came out at " +
                                         name.text());
        }
        if (!collected.values.empty()) {
            std::ranges::move(allNamedSeries(sink, collected), std::back_inserter(all));
            continue;
        }
        const ChannelData& first = collected.blocks.front();
        for (int channel = 0; channel < first.channels(); ++channel) {
            if (overTime(first.header)) {
                all.push_back(overTimeSeries(collected, channel));
            } else if (sink.average == Average::last) {
                all.push_back(blockSeries(collected, collected.blocks.back(), channel));
            } else if (sink.average != Average::none) {
                all.push_back(averagedSeries(collected, channel, sink.average));
            } else {
                for (std::size_t b = 0; b < collected.blocks.size(); ++b) {
                    Series series = blockSeries(collected, collected.blocks[b], channel);
                    series.name += " #" + std::to_string(b + 1);
                    all.push_back(std::move(series));
                }
            }
        }
    }
    return all;
}

std::string csvOf(const SinkSpec& sink, const std::vector<Series>& series) {
    const auto longest =
        std::max_element(series.begin(), series.end(),
                         [](const Series& a, const Series& b) { return a.x.size() < b.x.size(); });
    // Positions that were counted differently may differ by their rounding.
    const double step = longest->x.size() < 2 ? 0 : longest->x[1] - longest->x[0];
    const auto sameX = [&](double a, double b) { return std::abs(a - b) <= 1e-6 * step; };
    for (const Series& other : series) {
        if (other.xUnit != longest->xUnit || other.xName != longest->xName ||
            !std::equal(other.x.begin(), other.x.end(), longest->x.begin(), sameX)) {
            throw InputError(sink.place, other.name + " and " + longest->name +
                                             " have different x axes; give each a sink of its own");
        }
    }
    std::string text = longest->xName;
    if (!longest->xUnit.empty()) text += " [" + longest->xUnit + "]";
    for (const Series& column : series)
        text += "," + columnName(column);
    text += "\n";
    for (std::size_t i = 0; i < longest->x.size(); ++i) {
        text += toText(longest->x[i], 12);
        for (const Series& column : series) {
            text += ",";
            if (i < column.y.size()) text += toText(static_cast<float>(column.y[i]));
        }
        text += "\n";
    }
    return text;
}

Comparison compareSignals(const CompareSpec& compare, const Runner& runner) {
    const Collected& of = runner.collected(compare.of);
    const Collected& with = runner.collected(compare.with);
    const auto fail = [&](const std::string& what) -> InputError {
        return {compare.of.place, compare.of.text() + " and " + compare.with.text() + " " + what};
    };
    if (of.blocks.empty() || with.blocks.empty()) throw fail("brought nothing to compare");
    const ChannelHeader& first = of.blocks.front().header;
    const ChannelHeader& second = with.blocks.front().header;
    if (first.channelCount != second.channelCount) throw fail("have different channel counts");
    if (first.xAxisKind != second.xAxisKind ||
        std::abs(first.xStep - second.xStep) > 1e-9 * std::abs(second.xStep)) {
        throw fail("have different x axes");
    }
    std::vector<float> values;
    std::vector<float> reference;
    for (const ChannelData& block : of.blocks) {
        values.insert(values.end(), block.values.begin(), block.values.end());
    }
    for (const ChannelData& block : with.blocks) {
        reference.insert(reference.end(), block.values.begin(), block.values.end());
    }
    const std::size_t count = std::min(values.size(), reference.size());
    double peak = 0;
    double power = 0;
    double errorPower = 0;
    Comparison result;
    for (std::size_t i = 0; i < count; ++i) {
        const double expected = reference[i];
        const double difference = std::abs(values[i] - expected);
        peak = std::max(peak, std::abs(expected));
        // A difference that is no number must not pass for none.
        if (!(difference <= result.largest)) result.largest = difference;
        power += expected * expected;
        errorPower += difference * difference;
    }
    result.rms = std::sqrt(errorPower / static_cast<double>(count));
    const double relative = result.largest / peak;
    result.within = !compare.tolerance || relative <= *compare.tolerance;
    result.line = compare.name + ": " + compare.of.text() + " against " + compare.with.text() +
                  " over " + std::to_string(count) + " values: largest difference " +
                  toText(result.largest, 3) + (with.unit.empty() ? "" : " " + with.unit) + " = " +
                  toText(relative, 3) + " of the peak, rms " +
                  toText(std::sqrt(errorPower / power), 3) + " of the signal's rms";
    if (compare.tolerance) {
        result.line += result.within ? " (within " : " (NOT within ";
        result.line += toText(*compare.tolerance) + " of the peak)";
    }
    return result;
}

// --- Files ----------------------------------------------------------------------------------

ResultFiles::~ResultFiles() {
    std::error_code ignored;
    for (const File& file : files_)
        std::filesystem::remove(file.temporary, ignored);
}

void ResultFiles::add(const std::string& name, const std::string& content) {
    const std::filesystem::path final = folder_ / pathOf(name);
    std::error_code error;
    if (!final.parent_path().empty())
        std::filesystem::create_directories(final.parent_path(), error);
    std::filesystem::path temporary = final;
    temporary += ".part";
    files_.push_back({temporary, final});
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (!out) throw RunError(kWrongInput, textOf(final) + ": can't be written");
}

std::vector<std::filesystem::path> ResultFiles::commit() {
    std::vector<std::filesystem::path> paths;
    for (const File& file : files_) {
        std::error_code error;
        std::filesystem::rename(file.temporary, file.final, error);
        if (error) throw RunError(kWrongInput, textOf(file.final) + ": " + error.message());
        paths.push_back(file.final);
    }
    files_.clear();
    return paths;
}

void replaceFile(const std::filesystem::path& file, const std::string& content) {
    ResultFiles files(file.parent_path());
    files.add(textOf(file.filename()), content);
    std::filesystem::path temporary = file;
    temporary += ".part";
    std::error_code ignored;
    std::filesystem::permissions(temporary, std::filesystem::status(file).permissions(), ignored);
    files.commit();
}

}  // namespace vynhost
