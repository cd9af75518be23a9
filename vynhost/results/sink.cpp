#include "vynhost/results/sink.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <utility>

#include "vynhost/base/text.h"
#include "vynhost/results/thinned_curve.h"

namespace vynhost {

// What one place contributes: columns of the table, curves of the picture.
class Sink::Input {
public:
    virtual ~Input() = default;

    virtual void take(const ChannelData& block) = 0;
    // No data comes any more.
    virtual void finish() {}

    // --- The table ---
    // Rows can be told while data comes; else they are there after `finish`.
    virtual bool flows() const { return false; }
    // The x of the next row, when it is there.
    virtual std::optional<double> nextX() const = 0;
    // Appends the next row's cells, a comma before each, and goes on to the row behind it; past the
    // end empty cells.
    virtual void writeCells(std::string& line) = 0;
    // The columns' names, a comma before each.
    virtual std::string columns() const = 0;
    // The first column's name, and the x axis.
    virtual Series axis() const = 0;
    // How far apart x values are.
    virtual double step() const = 0;

    // --- The picture ---
    virtual void addSeries(std::vector<Series>& all) const = 0;
};

namespace {

constexpr const char* kDifferentAxes = " have different x axes; give each a sink of its own";

void appendCell(std::string& line, float value) { line += "," + toText(value); }

ThinnedCurve::Height heightOf(const Series& series, const ChartStyle& style) {
    const bool isPower = series.isPower;
    return [isPower, &style](double y) { return drawnHeight(y, isPower, style); };
}

// A curve whose values come one after the other.
struct FlowingCurve {
    FlowingCurve(Series description, const ChartStyle& style)
        : series(std::move(description)), points(heightOf(series, style)) {}

    Series complete() const {
        Series result = series;
        points.appendTo(result.x, result.y);
        return result;
    }

    Series series;
    ThinnedCurve points;
};

// --- Signals over time ----------------------------------------------------------------------

// A data block that names its own start is put there; one that does not follows the last.
class TimeInput : public Sink::Input {
public:
    TimeInput(const OutletInfo& outlet, const ChannelData& first, const ChartStyle& style,
              bool hasTable)
        : hasTable_(hasTable), step_(first.header.xStep) {
        for (int channel = 0; channel < first.channels(); ++channel) {
            curves_.emplace_back(emptySeries(outlet, first, channel), style);
        }
    }

    void take(const ChannelData& block) override {
        if (block.header.xStart != 0) next_ = block.header.xStart;
        for (std::size_t c = 0; c < curves_.size(); ++c) {
            const auto channel = static_cast<int>(c);
            if (channel >= block.channels()) break;
            for (int i = 0; i < block.samples(); ++i) {
                curves_[c].points.add(next_ + i * block.header.xStep, block.at(i, channel));
            }
        }
        if (hasTable_ && block.samples() > 0) waiting_.push_back({next_, block});
        next_ += block.samples() * block.header.xStep;
    }

    bool flows() const override { return true; }
    std::optional<double> nextX() const override {
        if (waiting_.empty()) return std::nullopt;
        return waiting_.front().start + sample_ * waiting_.front().data.header.xStep;
    }
    void writeCells(std::string& line) override {
        if (waiting_.empty()) {
            line.append(curves_.size(), ',');
            return;
        }
        const ChannelData& data = waiting_.front().data;
        for (std::size_t c = 0; c < curves_.size(); ++c) {
            if (static_cast<int>(c) < data.channels()) {
                appendCell(line, data.at(sample_, static_cast<int>(c)));
            } else {
                line += ',';
            }
        }
        if (++sample_ < data.samples()) return;
        waiting_.pop_front();
        sample_ = 0;
    }
    std::string columns() const override {
        std::string text;
        for (const FlowingCurve& curve : curves_)
            text += "," + columnName(curve.series);
        return text;
    }
    Series axis() const override { return curves_.front().series; }
    double step() const override { return step_; }

    void addSeries(std::vector<Series>& all) const override {
        for (const FlowingCurve& curve : curves_)
            all.push_back(curve.complete());
    }

private:
    struct Waiting {
        double start;
        ChannelData data;
    };

    bool hasTable_;
    double step_;
    double next_ = 0;
    std::vector<FlowingCurve> curves_;
    std::deque<Waiting> waiting_;
    int sample_ = 0;  // of the first that waits
};

// --- Named quantities -----------------------------------------------------------------------

// A row per data block. Where data blocks start at 0 each time they are counted, which shows in the
// second one.
class NamedInput : public Sink::Input {
public:
    NamedInput(const SinkSpec& spec, const OutletInfo& outlet, const ChannelData& first,
               const ChartStyle& style)
        : hasTable_(!spec.csv.empty()) {
        const std::size_t quantities = outlet.values.size();
        const std::size_t channels = first.values.size() / quantities;
        nameAxis(axis_, first.header);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            for (std::size_t q = 0; q < quantities; ++q) {
                const std::string& name = outlet.values[q].name;
                const bool asked = std::ranges::find(spec.values, name) != spec.values.end();
                if (!spec.values.empty() && !asked) continue;
                places_.push_back(q * channels + channel);
                curves_.emplace_back(
                    namedSeries(outlet, q, static_cast<int>(channel), static_cast<int>(channels)),
                    style);
            }
        }
    }

    void take(const ChannelData& block) override {
        if (blocks_++ == 0) {
            first_ = block;
            return;
        }
        if (blocks_ == 2) decide(block.header.xStart == 0, block);
        addRow(block);
    }
    void finish() override {
        if (blocks_ == 1) decide(first_.header.xStart == 0, first_);
    }

    bool flows() const override { return true; }
    std::optional<double> nextX() const override {
        if (rows_.empty()) return std::nullopt;
        return rows_.front().x;
    }
    void writeCells(std::string& line) override {
        if (rows_.empty()) {
            line.append(places_.size(), ',');
            return;
        }
        for (const std::optional<float>& value : rows_.front().values) {
            if (value) {
                appendCell(line, *value);
            } else {
                line += ',';
            }
        }
        rows_.pop_front();
    }
    std::string columns() const override {
        std::string text;
        for (const FlowingCurve& curve : curves_)
            text += "," + columnName(curve.series);
        return text;
    }
    Series axis() const override {
        Series result = axis_;
        if (!curves_.empty()) result.name = curves_.front().series.name;
        return result;
    }
    double step() const override { return step_; }

    void addSeries(std::vector<Series>& all) const override {
        for (const FlowingCurve& curve : curves_) {
            Series series = curve.complete();
            series.xName = axis_.xName;
            series.xUnit = axis_.xUnit;
            series.bandEdge = axis_.bandEdge;
            all.push_back(std::move(series));
        }
    }

private:
    struct Row {
        double x;
        std::vector<std::optional<float>> values;
    };

    void decide(bool counted, const ChannelData& second) {
        counted_ = counted;
        if (counted) {
            axis_ = {};
            axis_.xName = "block";
        }
        step_ = counted ? 1 : second.header.xStart - first_.header.xStart;
        addRow(first_);
    }
    void addRow(const ChannelData& block) {
        Row row{counted_ ? static_cast<double>(++added_) : block.header.xStart, {}};
        for (std::size_t i = 0; i < places_.size(); ++i) {
            std::optional<float> value;
            if (places_[i] < block.values.size()) value = block.values[places_[i]];
            if (value) curves_[i].points.add(row.x, *value);
            row.values.push_back(value);
        }
        if (hasTable_) rows_.push_back(std::move(row));
    }

    bool hasTable_;
    Series axis_;
    std::vector<std::size_t> places_;  // of the columns in a data block
    std::vector<FlowingCurve> curves_;
    ChannelData first_;
    std::uint64_t blocks_ = 0;
    std::uint64_t added_ = 0;
    bool counted_ = false;
    double step_ = 0;
    std::deque<Row> rows_;
};

// --- Averages -------------------------------------------------------------------------------

// Columns that are known when everything is there.
class FinishedInput : public Sink::Input {
public:
    std::optional<double> nextX() const override {
        if (series_.empty() || row_ >= series_.front().x.size()) return std::nullopt;
        return series_.front().x[row_];
    }
    void writeCells(std::string& line) override {
        for (const Series& series : series_) {
            if (row_ < series.y.size()) {
                appendCell(line, static_cast<float>(series.y[row_]));
            } else {
                line += ',';
            }
        }
        ++row_;
    }
    std::string columns() const override {
        std::string text;
        for (const Series& series : series_)
            text += "," + columnName(series);
        return text;
    }
    Series axis() const override { return series_.front(); }
    double step() const override {
        const std::vector<double>& x = series_.front().x;
        return x.size() < 2 ? 0 : x[1] - x[0];
    }
    void addSeries(std::vector<Series>& all) const override {
        std::ranges::copy(series_, std::back_inserter(all));
    }

protected:
    std::vector<Series> series_;

private:
    std::size_t row_ = 0;
};

class LastInput : public FinishedInput {
public:
    explicit LastInput(const OutletInfo& outlet) : outlet_(outlet) {}
    void take(const ChannelData& block) override { last_ = block; }
    void finish() override {
        for (int channel = 0; channel < last_.channels(); ++channel) {
            series_.push_back(blockSeries(outlet_, last_, channel));
        }
    }

private:
    const OutletInfo& outlet_;
    ChannelData last_;
};

// The mean over the data blocks that have the first one's shape; of amplitudes and levels, `power`
// takes the mean of what their squares or energies are.
class MeanInput : public FinishedInput {
public:
    MeanInput(const OutletInfo& outlet, const ChannelData& first, Average average)
        : unit_(first.header.yUnit), energy_(average == Average::power && unit_ != kUnitPower) {
        for (int channel = 0; channel < first.channels(); ++channel) {
            series_.push_back(blockSeries(outlet, first, channel));
            std::ranges::fill(series_.back().y, 0.0);
        }
    }
    void take(const ChannelData& block) override {
        if (block.channels() != static_cast<int>(series_.size()) ||
            block.samples() != static_cast<int>(series_.front().y.size())) {
            return;
        }
        for (std::size_t c = 0; c < series_.size(); ++c) {
            for (int i = 0; i < block.samples(); ++i) {
                series_[c].y[static_cast<std::size_t>(i)] +=
                    summand(block.at(i, static_cast<int>(c)));
            }
        }
        ++blocks_;
    }
    void finish() override {
        for (Series& series : series_) {
            for (double& y : series.y)
                y = mean(y / blocks_);
        }
    }

private:
    double summand(double y) const {
        if (!energy_) return y;
        return unit_ == kUnitDecibel ? std::pow(10.0, y / 10) : y * y;
    }
    double mean(double y) const {
        if (!energy_) return y;
        return unit_ == kUnitDecibel ? 10 * std::log10(y) : std::sqrt(y);
    }

    std::int32_t unit_;
    bool energy_;
    double blocks_ = 0;
};

// --- A column per data block ----------------------------------------------------------------

// Curves of one shape: all of a few, of many the lowest and the highest values.
class CurveBundle {
public:
    void add(Series curve) {
        if (++count_ <= kMostCurves) {
            curve.name += " #" + std::to_string(count_);
            curves_.push_back(std::move(curve));
            return;
        }
        if (count_ == kMostCurves + 1) {
            low_ = high_ = curve;
            for (const Series& one : curves_)
                widenTo(one);
            curves_.clear();
        }
        widenTo(curve);
    }
    void addTo(std::vector<Series>& all) const {
        std::ranges::copy(curves_, std::back_inserter(all));
        if (count_ <= kMostCurves) return;
        all.push_back(low_);
        all.back().name += " lowest of " + std::to_string(count_);
        all.push_back(high_);
        all.back().name += " highest of " + std::to_string(count_);
    }

private:
    static constexpr std::uint64_t kMostCurves = 24;

    void widenTo(const Series& curve) {
        const std::size_t common = std::min(curve.y.size(), low_.y.size());
        for (std::size_t i = 0; i < common; ++i) {
            low_.y[i] = std::min(low_.y[i], curve.y[i]);
            high_.y[i] = std::max(high_.y[i], curve.y[i]);
        }
    }

    std::uint64_t count_ = 0;
    std::vector<Series> curves_;
    Series low_;
    Series high_;
};

// Data blocks wait in a file until the table, in which they stand side by side, can be written.
class BlocksInput : public Sink::Input {
public:
    BlocksInput(const SinkSpec& spec, const OutletInfo& outlet, const ChannelData& first,
                const ResultFile* table)
        : spec_(spec),
          outlet_(outlet),
          header_(first.header),
          channels_(static_cast<std::size_t>(first.channels())),
          bundles_(channels_) {
        if (table == nullptr) return;
        path_ = table->temporary();
        path_ += ".blocks";
        file_.open(path_, std::ios::binary | std::ios::in | std::ios::out | std::ios::trunc);
    }
    ~BlocksInput() override {
        file_.close();
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove(path_, ignored);
    }

    void take(const ChannelData& block) override {
        if (block.channels() != static_cast<int>(channels_)) return;
        for (std::size_t c = 0; c < channels_; ++c) {
            bundles_[c].add(blockSeries(outlet_, block, static_cast<int>(c)));
        }
        const auto samples = static_cast<std::uint32_t>(block.samples());
        if (samples > rows_) rows_ = samples;
        samples_.push_back(samples);
        if (path_.empty()) return;
        checkAxis(block);
        file_.write(reinterpret_cast<const char*>(block.values.data()),
                    static_cast<std::streamsize>(std::size_t{samples} * channels_ * sizeof(float)));
        if (!file_) throw RunError(kWrongInput, textOf(path_) + ": can't be written");
    }

    std::optional<double> nextX() const override {
        if (row_ >= rows_) return std::nullopt;
        return xOf(header_, static_cast<int>(row_));
    }
    void writeCells(std::string& line) override {
        if (row_ < rows_ && row_ >= loadedEnd_) load();
        const std::size_t inChunk = row_ - loadedBegin_;
        for (std::size_t c = 0; c < channels_; ++c) {
            for (std::size_t b = 0; b < samples_.size(); ++b) {
                if (row_ < samples_[b]) {
                    appendCell(line, loaded_[(b * chunkRows_ + inChunk) * channels_ + c]);
                } else {
                    line += ',';
                }
            }
        }
        ++row_;
    }
    std::string columns() const override {
        std::string text;
        for (std::size_t c = 0; c < channels_; ++c) {
            const Series series = description(c);
            const std::string unit = series.unit.empty() ? "" : " [" + series.unit + "]";
            for (std::size_t b = 1; b <= samples_.size(); ++b) {
                text += "," + series.name + " #" + std::to_string(b) + unit;
            }
        }
        return text;
    }
    Series axis() const override {
        Series series = description(0);
        series.name += " #1";
        return series;
    }
    double step() const override { return rows_ < 2 ? 0 : xOf(header_, 1) - xOf(header_, 0); }

    void addSeries(std::vector<Series>& all) const override {
        for (const CurveBundle& bundle : bundles_)
            bundle.addTo(all);
    }

private:
    Series description(std::size_t channel) const {
        ChannelData like;
        like.header = header_;
        return emptySeries(outlet_, like, static_cast<int>(channel));
    }

    void checkAxis(const ChannelData& block) const {
        const int last = static_cast<int>(std::min(samples_.front(), samples_.back())) - 1;
        const double slack = 1e-6 * std::abs(xOf(header_, 1) - xOf(header_, 0));
        for (const int sample : {0, last}) {
            if (last < 0 || std::abs(xOf(block.header, sample) - xOf(header_, sample)) <= slack) {
                continue;
            }
            const std::string name = description(0).name;
            std::string what = name;
            what.append(" #").append(std::to_string(samples_.size())).append(" and ").append(name);
            throw InputError(spec_.place, what + " #1" + kDifferentAxes);
        }
    }

    // As many rows of all data blocks as a bounded buffer takes.
    void load() {
        constexpr std::size_t kValues = std::size_t{1} << 20;
        chunkRows_ = std::max<std::size_t>(1, kValues / (samples_.size() * channels_));
        loadedBegin_ = row_;
        loadedEnd_ = row_ + chunkRows_;
        loaded_.resize(samples_.size() * chunkRows_ * channels_);
        file_.flush();
        std::uint64_t start = 0;  // of a data block, in values
        for (std::size_t b = 0; b < samples_.size(); ++b) {
            const std::size_t end = std::min<std::size_t>(loadedEnd_, samples_[b]);
            if (end > row_) {
                file_.seekg(
                    static_cast<std::streamoff>((start + row_ * channels_) * sizeof(float)));
                file_.read(reinterpret_cast<char*>(&loaded_[b * chunkRows_ * channels_]),
                           static_cast<std::streamsize>((end - row_) * channels_ * sizeof(float)));
            }
            start += std::uint64_t{samples_[b]} * channels_;
        }
        if (!file_) throw RunError(kWrongInput, textOf(path_) + ": can't be read back");
    }

    const SinkSpec& spec_;
    const OutletInfo& outlet_;
    ChannelHeader header_;  // the first data block's
    std::size_t channels_;
    std::vector<CurveBundle> bundles_;    // per channel
    std::vector<std::uint32_t> samples_;  // per data block
    std::uint32_t rows_ = 0;
    std::filesystem::path path_;
    std::fstream file_;

    std::size_t row_ = 0;
    std::vector<float> loaded_;
    std::size_t chunkRows_ = 0;
    std::size_t loadedBegin_ = 0;
    std::size_t loadedEnd_ = 0;
};

// Which kind it is shows in the first data block.
std::unique_ptr<Sink::Input> inputFor(const SinkSpec& spec, const OutletInfo& outlet,
                                      const ChannelData& first, const ChartStyle& style,
                                      const ResultFile* table) {
    if (!outlet.values.empty()) return std::make_unique<NamedInput>(spec, outlet, first, style);
    if (overTime(first.header)) {
        return std::make_unique<TimeInput>(outlet, first, style, table != nullptr);
    }
    switch (spec.average) {
        case Average::last: return std::make_unique<LastInput>(outlet);
        case Average::none: return std::make_unique<BlocksInput>(spec, outlet, first, table);
        default: return std::make_unique<MeanInput>(outlet, first, spec.average);
    }
}

// A sink may pick quantities; what it picks must exist at one of its places at least.
void checkPickedValues(const SinkSpec& spec, const Runner& runner) {
    std::vector<std::string> known;
    for (const ConnectorName& name : spec.from) {
        for (const ValueName& value : runner.outlet(name).values)
            known.push_back(value.name);
    }
    for (const std::string& picked : spec.values) {
        if (std::ranges::find(known, picked) != known.end()) continue;
        std::string what = "\"" + picked + "\" is no value";
        what += known.empty() ? "; what comes in has no named values" : "; there are ";
        throw InputError(spec.valuesPlace, what.append(joined(known)));
    }
}

}  // namespace

// --- The sink -------------------------------------------------------------------------------

Sink::Sink(const SinkSpec& spec, Runner& runner, ResultFiles& files)
    : spec_(spec), style_{spec.title, spec.logX, spec.decibels, spec.reference} {
    checkPickedValues(spec, runner);
    if (!spec.csv.empty()) table_ = &files.open(spec.csv);
    if (!spec.svg.empty()) picture_ = &files.open(spec.svg);
    for (const ConnectorName& name : spec.from)
        places_.push_back({&runner.outlet(name), nullptr});
    for (std::size_t i = 0; i < spec.from.size(); ++i) {
        runner.listen(spec.from[i],
                      [this, i](const ChannelData& block) { take(places_[i], block); });
    }
}

Sink::~Sink() = default;

void Sink::take(Place& place, const ChannelData& block) {
    if (!place.input) place.input = inputFor(spec_, *place.outlet, block, style_, table_);
    place.input->take(block);
    while (rowsAreComplete())
        writeRow();
}

// Every column has its next row, and is of the kind that can tell.
bool Sink::rowsAreComplete() const {
    return table_ != nullptr && std::ranges::all_of(places_, [](const Place& place) {
               return place.input && place.input->flows() && place.input->nextX();
           });
}

void Sink::checkAxes() const {
    const Series first = places_.front().input->axis();
    for (const Place& place : places_) {
        const Series other = place.input->axis();
        if (other.xUnit == first.xUnit && other.xName == first.xName) continue;
        throw InputError(spec_.place, other.name + " and " + first.name + kDifferentAxes);
    }
}

void Sink::writeHead() {
    checkAxes();
    const Series axis = places_.front().input->axis();
    std::string line = axis.xName;
    if (!axis.xUnit.empty()) line += " [" + axis.xUnit + "]";
    for (const Place& place : places_)
        line += place.input->columns();
    table_->write(line + "\n");
    headWritten_ = true;
}

// One row of what there is; where an input has come to its end its cells stay empty.
void Sink::writeRow() {
    if (!headWritten_) writeHead();
    const Place* leader = nullptr;
    double x = 0;
    for (const Place& place : places_) {
        const std::optional<double> next = place.input->nextX();
        if (!next) continue;
        if (leader == nullptr) {
            leader = &place;
            x = *next;
        } else if (!(std::abs(*next - x) <= 1e-6 * std::abs(leader->input->step()))) {
            // Positions that were counted differently may differ by their rounding, no more.
            throw InputError(spec_.place, place.input->axis().name + " and " +
                                              leader->input->axis().name + kDifferentAxes);
        }
    }
    std::string line = toText(x, 12);
    for (const Place& place : places_)
        place.input->writeCells(line);
    table_->write(line += '\n');
}

void Sink::finish() {
    for (std::size_t i = 0; i < places_.size(); ++i) {
        if (!places_[i].input) {
            throw RunError(kStalled, spec_.place.file + ":" + std::to_string(spec_.place.line) +
                                         ": " + spec_.place.key + ": nothing came out at " +
                                         spec_.from[i].text());
        }
        places_[i].input->finish();
    }
    if (table_ != nullptr) {
        if (!headWritten_) writeHead();
        while (std::ranges::any_of(
            places_, [](const Place& place) { return place.input->nextX().has_value(); })) {
            writeRow();
        }
        table_->close();
    }
    if (picture_ != nullptr) {
        picture_->write(svgChart(series(), style_));
        picture_->close();
    }
}

std::vector<Series> Sink::series() const {
    std::vector<Series> all;
    for (const Place& place : places_)
        place.input->addSeries(all);
    return all;
}

}  // namespace vynhost
