// TOSpektrum ("FFT"): the spectrum of every channel of a time signal, optionally with its phase.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "blocks/spectral/core/spektrum_core.h"
#include "host/channel_block.h"
#include "host/parameter_block.h"

namespace vynpack {

struct SpektrumParameters {
    static constexpr std::int32_t kRecordSizeWord = 56;

    std::uint16_t amplitudeType = kPeak;
    std::uint16_t window = kNoWindow;
    std::uint16_t correction = kNoCorrection;
    double windowParameter = 10.0;
    std::int32_t phase = 0;  // non-zero: a second output with the phase
    std::array<char, 32> reserved{};

    template <class Record, class Self>
    static void fields(Record& record, Self& self) {
        record(self.amplitudeType, self.window, self.correction, self.windowParameter, self.phase,
               self.reserved);
    }

    static std::span<const Keyword<SpektrumParameters>> keywords();
};

class TOSpektrum final : public ParameterBlock<SpektrumParameters> {
public:
    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    // kDoneZero when a block was transformed, kNothingConsumed when nothing was consumed.
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;

private:
    bool hasSecondOutput() const;
    void describeFirst(ChannelBlockHeader& header, const ChannelBlock& input) const;
    void describeSecond(ChannelBlockHeader& header, const ChannelBlock& input) const;

    SpectrumAnalysis analysis_;
};

}  // namespace vynpack
