// The statistical measures: one class per measure behind TOStatFunktion, and the table that owns
// one object of each.
//
// Several measures are built from others (the standard deviation from the variance, the variance
// from the mean, the mean from the sum). A measure asks the table for the other one's value; each
// is computed at most once per data block and channel, then served from its stored result until
// the table is told that the next data block comes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

#include "blocks/stats/core/statistik_core.h"

namespace vynpack {

class StatFunctions;

// In the order of the saved selection, the keywords and the outputs.
enum Statistic : int {
    kSumBlock,
    kSumAll,
    kQSum,
    kYMax,
    kXonYMax,
    kYMin,
    kXonYMin,
    kXMax,
    kYonXMax,
    kXMin,
    kYonXMin,
    kAMean,
    kQMean,
    kGMean,
    kHMean,
    kSpannw,
    kStdAbw,
    kVarianz,
    kVarKoeff,
    kVarKoeffRel,
    kMAAVMW,
    kStatistics,  // their number
};

// A channel data block as the measures see it.
struct StatBlock {
    SampleRows samples;
    double xStart = 0.0;
    double xStep = 1.0;
    std::uint32_t axisFlags = 0;

    int n() const { return samples.rows(); }  // samples per channel
    double x(double sample) const { return xStart + sample * xStep; }
    double sample(int number, int channel) const {
        return samples
            .values[static_cast<std::size_t>(number) * static_cast<std::size_t>(samples.channels) +
                    static_cast<std::size_t>(channel)];
    }
};

class TOStatFunktion {
public:
    TOStatFunktion() = default;
    TOStatFunktion(const TOStatFunktion&) = delete;
    TOStatFunktion& operator=(const TOStatFunktion&) = delete;
    virtual ~TOStatFunktion() = default;

    // The measure of one channel of the current data block.
    virtual double GetValue(const StatBlock& block, StatFunctions& functions, int channel) = 0;
    // Results for that many channels, all 0. Returns 0, or kFailed when memory is out.
    virtual int InitChannels(int channels) = 0;

    // Every channel is to be computed. Returns 0, or kFailed when memory is out.
    int AllocPending(int channels);
    bool IsPending(int channel) const { return pending_[index(channel)] != 0; }
    void ClearPending(int channel) { pending_[index(channel)] = 0; }
    void SetPending(int channel) { pending_[index(channel)] = 1; }

    // The x of a band number is the band's centre frequency in Hz (0 for numbers outside the band
    // table); any other x stays as it is.
    static double MapX(const StatBlock& block, double x);

protected:
    static std::size_t index(int channel) { return static_cast<std::size_t>(channel); }

private:
    std::vector<std::int32_t> pending_;
};

// What a measure is asked for: its value for one channel of the current data block.
struct StatQuestion {
    const StatBlock& block;
    StatFunctions& functions;
    int channel;

    int n() const { return block.n(); }
    // The value of another measure for the same channel.
    double operator[](Statistic other) const;
    // The x of the sample that another measure has found.
    double xOf(Statistic extreme) const;
    // One of the sums over the samples, or an extreme.
    template <class Result>
    Result over(Result (SamplePasses::*pass)(SampleRows, int)) const;
};

// What all measures have in common: a stored result per channel.
class StoredStatistic : public TOStatFunktion {
public:
    double GetValue(const StatBlock& block, StatFunctions& functions, int channel) final {
        if (IsPending(channel)) makeValue({block, functions, channel});
        return stored(channel);
    }
    int InitChannels(int channels) override;

protected:
    virtual double compute(const StatQuestion& asked) = 0;
    double stored(int channel) const { return results_[index(channel)]; }

private:
    void makeValue(const StatQuestion& asked);

    std::vector<double> results_;
};

// An extreme sample and where it lies.
class IndexedStatistic : public StoredStatistic {
public:
    int InitChannels(int channels) override;
    // The sample number of the stored extreme.
    std::int32_t GetIndex(int channel) const { return indices_[index(channel)]; }

protected:
    // The value, or the fallback when no sample could be ranked; the index then stays.
    double note(const Extreme& extreme, double fallback, int channel);

private:
    std::vector<std::int32_t> indices_;
};

// One of the measures; each has its own `compute`.
template <Statistic statistic>
class Measure final : public std::conditional_t<statistic == kYMax || statistic == kYMin,
                                                IndexedStatistic, StoredStatistic> {
    double compute(const StatQuestion& asked) override;
};

// clang-format off
using TOStatSumBlock      = Measure<kSumBlock>;    // Σ x
using TOStatSumAll        = Measure<kSumAll>;      // Σ x over all data blocks of the run
using TOStatQSum          = Measure<kQSum>;        // Σ x²
using TOStatYMax          = Measure<kYMax>;        // largest sample
using TOStatXonYMax       = Measure<kXonYMax>;     // x of the largest sample
using TOStatYMin          = Measure<kYMin>;        // smallest sample
using TOStatXonYMin       = Measure<kXonYMin>;     // x of the smallest sample
using TOStatXMax          = Measure<kXMax>;        // x just behind the last sample
using TOStatYonXMax       = Measure<kYonXMax>;     // last sample
using TOStatXMin          = Measure<kXMin>;        // x of the first sample
using TOStatYonXMin       = Measure<kYonXMin>;     // first sample
using TOStatAMean         = Measure<kAMean>;       // arithmetic mean m = Σ x / n
using TOStatQMean         = Measure<kQMean>;       // root mean square √(Σ x² / n)
using TOStatGMean         = Measure<kGMean>;       // geometric mean Π x^(1/n); 0 with a sample not above 0
using TOStatHMean         = Measure<kHMean>;       // harmonic mean n / Σ (1/x); 0 with a sample of 0
using TOStatSpannw        = Measure<kSpannw>;      // range: largest minus smallest sample
using TOStatStdAbw        = Measure<kStdAbw>;      // standard deviation
using TOStatVarianz       = Measure<kVarianz>;     // Σ (x − m)² / (n − 1); 0 for fewer than 2 samples
using TOStatVarKoeff      = Measure<kVarKoeff>;    // standard deviation over m; 0 for m = 0
using TOStatVarKoeffRel   = Measure<kVarKoeffRel>; // that over √(n − 1), in percent
using TOStatMAAVMW        = Measure<kMAAVMW>;      // mean absolute deviation Σ |x − m| / n

template <> double TOStatSumBlock::compute(const StatQuestion& asked);
template <> double TOStatSumAll::compute(const StatQuestion& asked);
template <> double TOStatQSum::compute(const StatQuestion& asked);
template <> double TOStatYMax::compute(const StatQuestion& asked);
template <> double TOStatXonYMax::compute(const StatQuestion& asked);
template <> double TOStatYMin::compute(const StatQuestion& asked);
template <> double TOStatXonYMin::compute(const StatQuestion& asked);
template <> double TOStatXMax::compute(const StatQuestion& asked);
template <> double TOStatYonXMax::compute(const StatQuestion& asked);
template <> double TOStatXMin::compute(const StatQuestion& asked);
template <> double TOStatYonXMin::compute(const StatQuestion& asked);
template <> double TOStatAMean::compute(const StatQuestion& asked);
template <> double TOStatQMean::compute(const StatQuestion& asked);
template <> double TOStatGMean::compute(const StatQuestion& asked);
template <> double TOStatHMean::compute(const StatQuestion& asked);
template <> double TOStatSpannw::compute(const StatQuestion& asked);
template <> double TOStatStdAbw::compute(const StatQuestion& asked);
template <> double TOStatVarianz::compute(const StatQuestion& asked);
template <> double TOStatVarKoeff::compute(const StatQuestion& asked);
template <> double TOStatVarKoeffRel::compute(const StatQuestion& asked);
template <> double TOStatMAAVMW::compute(const StatQuestion& asked);
// clang-format on

// One object of each measure, for the whole life of a block.
class StatFunctions {
public:
    StatFunctions();

    // Sizes all measures for a run. Returns 0, or kFailed when memory is out.
    int initChannels(int channels);
    // The next question is about another data block.
    void setAllPending();

    TOStatFunktion& operator[](Statistic statistic) { return *functions_[statistic]; }
    double value(Statistic statistic, const StatBlock& block, int channel) {
        return functions_[statistic]->GetValue(block, *this, channel);
    }
    // Where a largest or smallest sample lies, after asking for it.
    std::int32_t indexOf(Statistic extreme, const StatBlock& block, int channel);

    SamplePasses& passes() { return passes_; }

private:
    std::array<std::unique_ptr<StoredStatistic>, kStatistics> functions_;
    SamplePasses passes_;
    int channels_ = 0;
};

}  // namespace vynpack
