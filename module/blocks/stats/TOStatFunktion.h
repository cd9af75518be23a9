// The statistical measures: one class per measure behind TOStatFunktion, and the table that owns
// one object of each.
//
// Several measures are built from others (the standard deviation from the variance, the variance
// from the mean, the mean from the sum). A measure asks the table for the other one's value; each
// is computed at most once per data block and channel, then served from its stored result until
// the table is told that the next data block comes.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
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
};

class TOStatFunktion {
public:
    TOStatFunktion() = default;
    TOStatFunktion(const TOStatFunktion&) = delete;
    TOStatFunktion& operator=(const TOStatFunktion&) = delete;
    virtual ~TOStatFunktion() = default;

    // The measure of one channel of the current data block.
    virtual double GetValue(const StatBlock& block, StatFunctions& functions, int channel) = 0;
    // Results for that many channels, all 0. Returns 0, or 512 when memory is out.
    virtual int InitChannels(int channels) = 0;

    // Every channel is to be computed. Returns 0, or 512 when memory is out.
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

// What all measures have in common: a stored result per channel.
class StoredStatistic : public TOStatFunktion {
public:
    double GetValue(const StatBlock& block, StatFunctions& functions, int channel) final;
    int InitChannels(int channels) override;

protected:
    virtual double compute(const StatBlock& block, StatFunctions& functions, int channel) = 0;
    double stored(int channel) const { return results_[index(channel)]; }

private:
    std::vector<double> results_;
};

// Σ x
class TOStatSumBlock final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Σ x over all data blocks of the run
class TOStatSumAll final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Σ x²
class TOStatQSum final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
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

// Largest sample
class TOStatYMax final : public IndexedStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// x of the largest sample
class TOStatXonYMax final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Smallest sample
class TOStatYMin final : public IndexedStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// x of the smallest sample
class TOStatXonYMin final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// x just behind the last sample
class TOStatXMax final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Last sample
class TOStatYonXMax final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// x of the first sample
class TOStatXMin final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// First sample
class TOStatYonXMin final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Arithmetic mean m = Σ x / n
class TOStatAMean final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Root mean square √(Σ x² / n)
class TOStatQMean final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Geometric mean Π x^(1/n); 0 with a sample that is not above 0
class TOStatGMean final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Harmonic mean n / Σ (1/x); 0 with a sample that is 0
class TOStatHMean final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Range: largest minus smallest sample
class TOStatSpannw final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Standard deviation
class TOStatStdAbw final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Sample variance Σ (x − m)² / (n − 1); 0 for fewer than two samples
class TOStatVarianz final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Coefficient of variation: standard deviation over mean; 0 for a mean of exactly 0
class TOStatVarKoeff final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Coefficient of variation over √(n − 1), in percent
class TOStatVarKoeffRel final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// Mean absolute deviation from the arithmetic mean, Σ |x − m| / n
class TOStatMAAVMW final : public StoredStatistic {
    double compute(const StatBlock& block, StatFunctions& functions, int channel) override;
};

// One object of each measure, for the whole life of a block.
class StatFunctions {
public:
    StatFunctions();

    // Sizes all measures for a run. Returns 0, or 512 when memory is out.
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
    std::array<std::unique_ptr<TOStatFunktion>, kStatistics> functions_;
    SamplePasses passes_;
    int channels_ = 0;
};

}  // namespace vynpack
