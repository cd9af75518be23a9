#include "blocks/spectral/bands/terz_oktave_core.h"

#include <algorithm>
#include <cmath>

namespace vynpack {
namespace {

// Powers wait in a buffer of about this many numbers, which stays in the first-level cache.
constexpr std::size_t kPowerBuffer = 1024;

double powerOf(double level) { return std::pow(10.0, level / 10.0); }

float levelOf(double sum) { return static_cast<float>(sum > 0.0 ? 10.0 * std::log10(sum) : sum); }

}  // namespace

void BandAnalysis::start(std::span<const Band> table) {
    weights_.resize(table.size());
    std::ranges::transform(table, weights_.begin(),
                           [](const Band& band) { return powerOf(band.aWeighting); });
    table_ = table;
    axis_ = {};
}

void BandAnalysis::stop() noexcept {
    table_ = {};
    axis_ = {};
}

int BandAnalysis::assignLines(double first, double step, int lines) {
    const Axis axis{first, step, lines};
    if (axis == axis_) return bands_;
    axis_ = {};
    runs_.clear();
    const int bandCount = static_cast<int>(table_.size());
    int band = 0;
    double frequency = first;
    for (int line = 0; line < lines; ++line, frequency += step) {
        // Kept: the lower edge of the band reached so far decides, before the search goes on; so
        // the first line between 27 and 28 Hz counts in band 3, and no later one does.
        if (frequency < table_[static_cast<std::size_t>(band)].lower) continue;
        while (band < bandCount && frequency > table_[static_cast<std::size_t>(band)].upper)
            ++band;
        if (band == bandCount) break;
        const bool continues = !runs_.empty() && runs_.back().band == band &&
                               runs_.back().firstLine + runs_.back().lines == line;
        if (continues) {
            ++runs_.back().lines;
        } else {
            runs_.push_back({band, line, 1});
        }
    }
    bands_ = runs_.empty() ? 1 : runs_.back().band + 1;
    // What begins a band that a gap divides comes before what ends a band, so that a sum sees its
    // lines in their order though the ends are summed in any.
    std::vector<BandRun> ends;
    auto begins = runs_.begin();
    for (auto run = runs_.begin(); run != runs_.end(); ++run) {
        const bool goesOn = run + 1 != runs_.end() && (run + 1)->band == run->band;
        if (goesOn) {
            *begins++ = *run;
        } else {
            ends.push_back(*run);
        }
    }
    beginCount_ = static_cast<std::size_t>(begins - runs_.begin());
    std::ranges::copy(ends, begins);
    axis_ = axis;
    return bands_;
}

void BandAnalysis::addLevels(const float* lines, std::size_t rows, std::size_t channels,
                             double* sums) {
    const BandKernels& kernels = vyn::kernelsAt<BandKernels>(level_);
    const std::size_t step = std::max<std::size_t>(1, kPowerBuffer / channels);
    powers_.resize(std::max(powers_.size(), std::min(step, rows) * channels));
    for (std::size_t done = 0; done < rows; done += step) {
        const std::size_t taken = std::min(step, rows - done);
        const std::span levels(lines + done * channels, taken * channels);
        if (!kernels.powersOf(levels.data(), levels.size(), powers_.data())) {
            std::ranges::transform(levels, powers_.begin(), powerOf);
        }
        kernels.addTerms(powers_.data(), taken, channels, sums);
    }
}

void BandAnalysis::analyse(std::span<const float> lines, int channelCount, LineKind kind,
                           bool weighted, std::span<float> bands) {
    const BandKernels& kernels = vyn::kernelsAt<BandKernels>(level_);
    const auto channels = static_cast<std::size_t>(channelCount);
    sums_.assign(bands.size(), 0.0);
    const std::span runs(runs_);
    if (channels == 1 && kind != LineKind::level) {
        const auto ends = runs.subspan(beginCount_);
        const auto add = kind == LineKind::amplitude ? kernels.addSquaresOfRuns : kernels.addRuns;
        addRunByRun(runs.first(beginCount_), lines, channels, kind);
        add(lines.data(), ends.data(), ends.size(), sums_.data());
    } else {
        addRunByRun(runs, lines, channels, kind);
    }
    if (weighted) {
        for (std::size_t i = 0; i < bands.size(); ++i)
            sums_[i] *= weights_[i / channels];
    }
    switch (kind) {
        case LineKind::level: std::ranges::transform(sums_, bands.begin(), levelOf); break;
        case LineKind::amplitude: kernels.rootsOf(sums_.data(), sums_.size(), bands.data()); break;
        default:
            std::ranges::transform(sums_, bands.begin(),
                                   [](double sum) { return static_cast<float>(sum); });
    }
}

void BandAnalysis::addRunByRun(std::span<const BandRun> runs, std::span<const float> lines,
                               std::size_t channels, LineKind kind) {
    const BandKernels& kernels = vyn::kernelsAt<BandKernels>(level_);
    for (const BandRun& run : runs) {
        const float* first = lines.data() + static_cast<std::size_t>(run.firstLine) * channels;
        const auto rows = static_cast<std::size_t>(run.lines);
        double* sums = sums_.data() + static_cast<std::size_t>(run.band) * channels;
        switch (kind) {
            case LineKind::level: addLevels(first, rows, channels, sums); break;
            case LineKind::amplitude: kernels.addSquares(first, rows, channels, sums); break;
            default: kernels.addLines(first, rows, channels, sums); break;
        }
    }
}

}  // namespace vynpack
