#include "vynhost/results/sink.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/results/averaged_input.h"
#include "vynhost/results/blocks_input.h"
#include "vynhost/results/named_input.h"
#include "vynhost/results/time_input.h"

namespace vynhost {
namespace {

// Which kind it is shows in the first data block.
std::unique_ptr<SinkInput> inputFor(const SinkEntry& entry, const OutletInfo& outlet,
                                    const ChannelData& first, const ChartStyle& style,
                                    const ResultFile* table) {
    if (!outlet.values.empty()) return std::make_unique<NamedInput>(entry, outlet, first, style);
    if (overTime(first.header)) {
        return std::make_unique<TimeInput>(outlet, first, style, table != nullptr);
    }
    switch (entry.average) {
        case Average::last: return std::make_unique<LastInput>(outlet, style);
        case Average::none:
            return std::make_unique<BlocksInput>(entry, outlet, first, style, table);
        default: return std::make_unique<MeanInput>(outlet, first, entry.average, style);
    }
}

bool hasGaps(const ChannelData& block, const OutletInfo& outlet) {
    return overBands(block.header) && outlet.values.empty() &&
           std::ranges::find(outlet.bandsWithoutLine, true) != outlet.bandsWithoutLine.end();
}

// A band that no line fell into has no value.
ChannelData withGaps(const ChannelData& block, const std::vector<bool>& without) {
    ChannelData result = block;
    const auto channels = static_cast<std::size_t>(block.channels());
    for (std::size_t i = 0; i < result.values.size(); ++i) {
        const std::size_t band = i / channels;
        if (band < without.size() && without[band]) {
            result.values[i] = std::numeric_limits<float>::quiet_NaN();
        }
    }
    return result;
}

// A sink may pick quantities; what it picks must exist at one of its places at least.
void checkPickedValues(const SinkEntry& entry, const Runner& runner) {
    std::vector<std::string> known;
    for (const ConnectorName& name : entry.from) {
        for (const ValueName& value : runner.outlet(name).values)
            known.push_back(value.name);
    }
    for (const std::string& picked : entry.values) {
        if (std::ranges::find(known, picked) != known.end()) continue;
        throw InputError(entry.valuesPlace,
                         known.empty()
                             ? tr("\"%1\" is no value; what comes in has no named values", picked)
                             : tr("\"%1\" is no value; there are %2", picked, joined(known)));
    }
}

}  // namespace

void Sink::claimFiles(const SinkEntry& entry, ResultFiles& files) {
    const auto claim = [&](const std::string& name, const char* key) {
        vynhost::Place place = entry.place;
        place.key += key;
        if (!name.empty()) files.claim(name, place);
    };
    claim(entry.csv, ".csv");
    for (const TableEntry& table : entry.tables)
        claim(table.file, ("." + std::string(keyOf(table.kind))).c_str());
    claim(entry.svg, ".svg");
}

Sink::Sink(const SinkEntry& entry, Runner& runner, ResultFiles& files, const TableStyle& tables)
    : entry_(entry),
      style_{entry.title, entry.logX, entry.decibels, entry.reference, tables.decimal},
      memory_(runner.memory(), entry.place) {
    checkPickedValues(entry, runner);
    subject_.place = entry.place;
    subject_.title = entry.title;
    subject_.isLogX = entry.logX;
    if (!entry.csv.empty()) openTable(TableKind::csv, entry.csv, files, tables);
    for (const TableEntry& table : entry.tables)
        openTable(table.kind, table.file, files, tables);
    if (!entry.svg.empty()) picture_ = &files.open(entry.svg);
    for (const ConnectorName& name : entry.from)
        places_.push_back({&runner.outlet(name), nullptr});
    for (std::size_t i = 0; i < entry.from.size(); ++i) {
        runner.listen(entry.from[i],
                      [this, i](const ChannelData& block) { take(places_[i], block); });
    }
}

void Sink::openTable(TableKind kind, const std::string& name, ResultFiles& files,
                     const TableStyle& style) {
    ResultFile& file = files.open(name);
    if (table_ == nullptr) table_ = &file;
    switch (kind) {
        case TableKind::json: tables_.push_back(jsonTable(file)); break;
        case TableKind::npy: tables_.push_back(npyTable(file)); break;
        case TableKind::npz: tables_.push_back(npzTable(file)); break;
        case TableKind::mat: tables_.push_back(matTable(file, subject_)); break;
        case TableKind::hdf5: tables_.push_back(hdf5Table(file, subject_)); break;
        case TableKind::xlsx: tables_.push_back(xlsxTable(file, subject_)); break;
        case TableKind::wav: tables_.push_back(wavTable(file, subject_)); break;
        default: tables_.push_back(csvTable(file, style));
    }
    allTables_.add(*tables_.back());
}

CellTarget& Sink::cells() {
    if (tables_.size() == 1) return *tables_.front();
    return allTables_;
}

void Sink::take(Place& place, const ChannelData& block) {
    withMemory(entry_.place, [&] {
        if (!place.input) place.input = inputFor(entry_, *place.outlet, block, style_, table_);
        limitMemory(place, block);
        if (hasGaps(block, *place.outlet)) {
            place.input->take(withGaps(block, place.outlet->bandsWithoutLine));
        } else {
            place.input->take(block);
        }
        while (table_ != nullptr && allHaveNextRow())
            writeRow();
    });
}

// A picture has its points once more while it is drawn, a report also as text.
void Sink::limitMemory(Place& place, const ChannelData& block) {
    const std::uint64_t copies = entry_.inReport ? 4 : picture_ == nullptr ? 1 : 2;
    const std::uint64_t bytes = copies * place.input->bytesWith(block);
    bytes_ += bytes - place.bytes;
    place.bytes = bytes;
    memory_.set(bytes_, tr("what its columns and curves keep").c_str());
}

// Every column has its next row, and is of the kind that can tell.
bool Sink::allHaveNextRow() {
    return std::ranges::all_of(places_, [](Place& place) {
        if (!place.input || !place.input->flows()) return false;
        place.nextX = place.input->nextX();
        return place.nextX.has_value();
    });
}

bool Sink::anyHasNextRow() {
    for (Place& place : places_)
        place.nextX = place.input->nextX();
    return std::ranges::any_of(places_, [](const Place& place) { return place.nextX.has_value(); });
}

void Sink::checkAxes() const {
    const Series first = places_.front().input->axis();
    for (const Place& place : places_) {
        const Series other = place.input->axis();
        if (other.xUnit == first.xUnit && other.xName == first.xName) continue;
        throw InputError(entry_.place,
                         tr("%1 and %2%3", other.name, first.name, tr(kDifferentAxes)));
    }
}

// Known when the first data have come everywhere.
void Sink::describeSubject() {
    subject_.isSignal = !style_.decibels && std::ranges::all_of(places_, [](const Place& place) {
        return place.input->isSignal();
    });
    const SinkInput& first = *places_.front().input;
    const Series axis = first.axis();
    subject_.isBars = axis.bandEdge > 0 || axis.classWidth > 0;
    subject_.step = first.step() * (axis.xUnit == "ms" ? 1e-3 : 1);
}

void Sink::writeHead() {
    checkAxes();
    describeSubject();
    const Series axis = places_.front().input->axis();
    CellTarget& row = cells();
    row.addText(withUnit(axis.xName, axis.xUnit));
    const std::string end = places_.front().input->endColumn();
    if (!end.empty()) row.addText(end);
    for (const Place& place : places_)
        place.input->writeColumns(row);
    for (const auto& table : tables_)
        table->endHead();
    headWritten_ = true;
}

// One row of what there is; where an input has come to its end its cells stay empty.
void Sink::writeRow() {
    if (!headWritten_) writeHead();
    const Place* leader = nullptr;
    double x = 0;
    for (const Place& place : places_) {
        if (!place.nextX) continue;
        if (leader == nullptr) {
            leader = &place;
            x = *place.nextX;
        } else if (!(std::abs(*place.nextX - x) <= 1e-6 * std::abs(leader->input->step()))) {
            // Positions that were counted differently may differ by their rounding, no more.
            throw InputError(entry_.place, tr("%1 and %2%3", place.input->axis().name,
                                              leader->input->axis().name, tr(kDifferentAxes)));
        }
    }
    CellTarget& row = cells();
    leader->input->writeHead(row, x);
    for (const Place& place : places_)
        place.input->writeCells(row);
    for (const auto& table : tables_)
        table->endRow();
}

void Sink::finish() {
    for (std::size_t i = 0; i < places_.size(); ++i) {
        if (!places_[i].input) {
            throw RunError(
                kStalled,
                tr("%1:%2: %3: nothing came out at %4%5", entry_.place.file, entry_.place.line,
                   entry_.place.key, entry_.from[i].text(),
                   places_[i].outlet->notes.empty()
                       ? ""
                       : " (" + places_[i].outlet->notes.front().in(spokenLanguage()) + ")"));
        }
        places_[i].input->finish();
    }
    if (table_ != nullptr) {
        if (!headWritten_) writeHead();
        while (anyHasNextRow())
            writeRow();
        writeNotes();
        for (const auto& table : tables_)
            table->finish();
    }
    if (picture_ != nullptr || entry_.inReport) {
        const std::vector<Series> curves = series();
        for (const Series& curve : curves) {
            if (curve.xUnit == curves.front().xUnit && curve.xName == curves.front().xName)
                continue;
            throw InputError(entry_.place, tr("%1 and %2%3", curve.name, curves.front().name,
                                              tr(kDifferentAxes)));
        }
        if (picture_ == nullptr) return;
        picture_->write(svgChart(curves, style_));
        picture_->close();
    }
}

void Sink::writeNotes() {
    std::vector<std::string> written;
    for (const Place& place : places_) {
        for (const Bilingual& bilingual : place.outlet->notes) {
            const std::string& note = bilingual.english;  // tables are in one language
            if (std::ranges::find(written, note) != written.end()) continue;
            for (const auto& table : tables_)
                table->note(note);
            written.push_back(note);
        }
    }
}

std::vector<Series> Sink::series() const {
    std::vector<Series> all;
    for (const Place& place : places_)
        place.input->addSeries(all);
    return all;
}

std::vector<Spectrogram> Sink::spectrograms() const {
    std::vector<Spectrogram> all;
    for (const Place& place : places_)
        place.input->addSpectrograms(all);
    return all;
}

}  // namespace vynhost
