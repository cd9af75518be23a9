// A, B and C frequency weighting: time signals by a digital filter per channel, spectra line by
// line.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "blocks/filter/core/channel_rows.h"
#include "blocks/filter/weighting/spectrum_weighting.h"
#include "blocks/filter/weighting/weighting_curves.h"
#include "host/TOBlock.h"
#include "host/channel_block.h"
#include "host/show_message.h"
#include "libs/filter_object.h"

namespace vynpack {

class TOFreqWeight final : public TOBlock {
public:
    struct Parameters {
        std::int16_t weighting = 0;   // 0 linear, 1 A, 2 B, 3 C
        std::array<char, 33> text{};  // saved and restored, otherwise unused

        template <class Record, class Self>
        static void fields(Record& record, Self& self) {
            record(self.weighting, self.text);
        }
    };

    Parameters& parameters() noexcept { return parameters_; }

    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    int SaveParameters(FileHandle file) override;
    int RestoreParameters(FileHandle file) override;
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;
    int RemoteControl(MemoryHandle info, MemoryHandle value, std::uint16_t subCode) override;
    int ErrorShow() override;
    void noteOutOfMemory() noexcept override;

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
    bool createFilters(int channels);
    bool filterValues(std::span<const float> in, std::span<float> out);
    void weightSpectrum(const ChannelBlock& input, std::span<float> out);
    WeightingCurve curve() const noexcept { return weightingCurveOf(parameters_.weighting); }
    int fail(TextId text) noexcept;

    Parameters parameters_;

    // Run state.
    MemoryHandle held_ = MemoryHandle::none;  // input being processed, or left by a failure
    DeferredError error_;
    Signal signal_;
    std::vector<FilterObject> filters_;  // one per channel
    // The curve that the filters are designed for; linear: for none.
    WeightingCurve filterCurve_ = WeightingCurve::linear;
    ChannelRows rows_;
    SpectrumWeighting spectrum_;
};

}  // namespace vynpack
