// A, B and C frequency weighting: time signals by a digital filter per channel, spectra line by
// line.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "blocks/filter/channel_filters.h"
#include "blocks/filter/weighting/spectrum_weighting.h"
#include "blocks/filter/weighting/weighting_curves.h"
#include "host/channel_block.h"
#include "host/parameter_block.h"

namespace vynpack {

struct FreqWeightParameters {
    static constexpr std::int32_t kRecordSizeWord = 160;

    std::int16_t weighting = 0;   // 0 linear, 1 A, 2 B, 3 C
    std::array<char, 33> text{};  // saved and restored, otherwise unused

    template <class Record, class Self>
    static void fields(Record& record, Self& self) {
        record(self.weighting, self.text);
    }

    static std::span<const Keyword<FreqWeightParameters>> keywords();
};

class TOFreqWeight final : public ReportingBlock<FreqWeightParameters> {
public:
    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;

private:
    // What a run's data blocks have in common.
    struct Signal {
        std::int32_t unit = 0;  // AxisKind; 0 before the first data block
        double rate = 0.0;      // 1 / x step
        int channels = 0;

        bool isTime() const noexcept { return unit == kAxisSeconds || unit == kAxisMilliseconds; }
        double sampleRate() const noexcept {
            return unit == kAxisMilliseconds ? rate * 1000.0 : rate;
        }
    };

    void takeControl(SimulationRecord& record);
    int passOn(SimulationRecord& record);
    // What is wrong with the signal, or nothing. The first data block fixes what the others are
    // held against, and builds the filters of a time signal.
    std::optional<TextId> startRun(const Signal& signal);
    std::optional<TextId> compare(const Signal& signal) const;
    bool filterValues(std::span<const float> in, std::span<float> out);
    void weightSpectrum(const ChannelBlock& input, std::span<float> out);
    WeightingCurve curve() const noexcept { return weightingCurveOf(parameters_.weighting); }

    // Run state.
    MemoryHandle held_ = MemoryHandle::none;  // input being processed, or left by a failure
    Signal signal_;
    ChannelFilters filters_;  // of a time signal
    // The curve that the filters are designed for; linear: for none.
    WeightingCurve filterCurve_ = WeightingCurve::linear;
    SpectrumWeighting spectrum_;
};

}  // namespace vynpack
