#include "vynhost/results/blocks_input.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"

namespace vynhost {
namespace {

// More channels are in the table, and their ranges in the pictures.
constexpr std::size_t kMostSpectrograms = 8;

}  // namespace

// --- Curves of the picture ------------------------------------------------------------------

void CurveBundle::add(Series curve) {
    if (++count_ <= kMostCurves) {
        curve.name += " #" + std::to_string(count_);
        curves_.push_back(std::move(curve));
        return;
    }
    if (count_ == kMostCurves + 1) {
        range_ = curve;
        range_.lows = range_.y;
        for (const Series& one : curves_)
            widenTo(one);
        curves_.clear();
    }
    widenTo(curve);
}

void CurveBundle::addTo(std::vector<Series>& all) const {
    std::ranges::copy(curves_, std::back_inserter(all));
    if (count_ <= kMostCurves) return;
    all.push_back(range_);
    all.back().name += " lowest to highest of " + std::to_string(count_);
}

void CurveBundle::widenTo(const Series& curve) {
    const std::size_t common = std::min(curve.y.size(), range_.y.size());
    for (std::size_t i = 0; i < common; ++i) {  // past what is no number
        range_.lows[i] = std::fmin(range_.lows[i], curve.y[i]);
        range_.y[i] = std::fmax(range_.y[i], curve.y[i]);
    }
}

// --- Columns of the table -------------------------------------------------------------------

BlocksInput::BlocksInput(const SinkEntry& entry, const OutletInfo& outlet, const ChannelData& first,
                         const ChartStyle& style, const ResultFile* table)
    : entry_(entry),
      outlet_(outlet),
      style_(style),
      header_(first.header),
      channels_(static_cast<std::size_t>(first.channels())),
      bundles_(channels_) {
    const bool sized = outlet.kind.values.hasLevel || first.header.yUnit == kUnitDecibel;
    const bool overLines = first.header.xAxisKind == kHertz || first.header.xAxisKind == kKilohertz;
    for (std::size_t c = 0; entry.inReport && sized && overLines && c < channels_; ++c) {
        if (c == kMostSpectrograms) break;
        spectrograms_.emplace_back(first, c);
        const Series series = description(c);
        spectrograms_.back().name = series.name;
        spectrograms_.back().xUnit = series.xUnit;
        spectrograms_.back().quantity = series.quantity;
    }
    if (table != nullptr) waiting_.emplace(table->path().parent_path(), table->path());
}

void BlocksInput::take(const ChannelData& block) {
    if (block.channels() != static_cast<int>(channels_)) return;
    for (std::size_t c = 0; c < channels_; ++c) {
        bundles_[c].add(blockSeries(outlet_, block, static_cast<int>(c)));
    }
    for (Spectrogram& spectrogram : spectrograms_)
        spectrogram.add(block, outlet_.time);
    const auto samples = static_cast<std::uint32_t>(block.samples());
    if (samples > rows_) rows_ = samples;
    samples_.push_back(samples);
    if (!waiting_) return;
    checkAxis(block);
    waiting_->append(block.values.data(), std::size_t{samples} * channels_ * sizeof(float));
}

// The curves of the picture, or the lowest and highest values beside one that comes, and a row of
// the table.
std::uint64_t BlocksInput::bytesWith(const ChannelData& block) const {
    const std::uint64_t kept = bundles_.empty() ? 0 : bundles_.front().curves() + 3;
    std::uint64_t fields = 0;
    for (const Spectrogram& spectrogram : spectrograms_)
        fields += spectrogram.bytes();
    return fields + kept * block.values.size() * 2 * sizeof(double) +
           (samples_.size() + 1) * (sizeof(std::uint32_t) + channels_ * sizeof(float));
}

std::optional<double> BlocksInput::nextX() const {
    if (row_ >= rows_) return std::nullopt;
    return xOf(header_, static_cast<int>(row_));
}

void BlocksInput::writeCells(CellTarget& row) {
    if (row_ < rows_ && row_ >= loadedEnd_) load();
    const std::size_t inChunk = row_ - loadedBegin_;
    for (std::size_t c = 0; c < channels_; ++c) {
        const Series series = description(c);
        for (std::size_t b = 0; b < samples_.size(); ++b) {
            if (row_ < samples_[b]) {
                addHeight(row, loaded_[(b * chunkRows_ + inChunk) * channels_ + c], series, style_);
            } else {
                row.addEmpty();
            }
        }
    }
    ++row_;
}

void BlocksInput::writeColumns(CellTarget& row) const {
    for (std::size_t c = 0; c < channels_; ++c) {
        const Series channel = description(c);
        for (std::size_t b = 1; b <= samples_.size(); ++b) {
            Series column = channel;
            column.name += " #" + std::to_string(b);
            addColumn(row, column, style_);
        }
    }
}

Series BlocksInput::axis() const {
    Series series = description(0);
    series.name += " #1";
    return series;
}

double BlocksInput::step() const { return rows_ < 2 ? 0 : xOf(header_, 1) - xOf(header_, 0); }

void BlocksInput::addSeries(std::vector<Series>& all) const {
    for (const CurveBundle& bundle : bundles_)
        bundle.addTo(all);
}

void BlocksInput::addSpectrograms(std::vector<Spectrogram>& all) const {
    for (const Spectrogram& spectrogram : spectrograms_) {
        if (spectrogram.spectra() > 1) all.push_back(spectrogram);
    }
}

Series BlocksInput::description(std::size_t channel) const {
    ChannelData like;
    like.header = header_;
    return emptySeries(outlet_, like, static_cast<int>(channel));
}

void BlocksInput::checkAxis(const ChannelData& block) const {
    const int last = static_cast<int>(std::min(samples_.front(), samples_.back())) - 1;
    const double slack = 1e-6 * std::abs(xOf(header_, 1) - xOf(header_, 0));
    for (const int sample : {0, last}) {
        if (last < 0 || std::abs(xOf(block.header, sample) - xOf(header_, sample)) <= slack) {
            continue;
        }
        const std::string name = description(0).name;
        const std::string what = tr("%1 #%2 and %1 #1", name, samples_.size());
        const bool isShort = samples_.back() < samples_.front();
        throw InputError(
            entry_.place,
            what + (isShort ? tr(" have different x axes: the last data block is a short "
                                 "one, which tail = \"drop\" or \"pad\" of its source mends")
                            : tr(kDifferentAxes)));
    }
}

// As many rows of all data blocks as a bounded buffer takes.
void BlocksInput::load() {
    constexpr std::size_t kValues = std::size_t{1} << 20;
    chunkRows_ = std::max<std::size_t>(1, kValues / (samples_.size() * channels_));
    loadedBegin_ = row_;
    loadedEnd_ = row_ + chunkRows_;
    loaded_.resize(samples_.size() * chunkRows_ * channels_);
    std::uint64_t start = 0;  // of a data block, in values
    for (std::size_t b = 0; b < samples_.size(); ++b) {
        const std::size_t end = std::min<std::size_t>(loadedEnd_, samples_[b]);
        if (end > row_) {
            waiting_->read((start + row_ * channels_) * sizeof(float),
                           &loaded_[b * chunkRows_ * channels_],
                           (end - row_) * channels_ * sizeof(float));
        }
        start += std::uint64_t{samples_[b]} * channels_;
    }
}

}  // namespace vynhost
