// TODualSpektrum ("FFT zweier Zeitsignale"): cross spectrum or transfer function of an excitation
// and a response, with phase and coherence, averaged over data blocks.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "blocks/spectral/core/dual_spektrum_core.h"
#include "host/channel_block.h"
#include "host/parameter_block.h"

namespace vynpack {

struct DualSpektrumParameters {
    static constexpr std::int32_t kRecordSizeWord = 88;

    // What is computed: control ids of the dialog. Any other number counts as the second.
    enum Quantity : std::int16_t { kCrossSpectrum = 1118, kTransferFunction = 1119 };

    // When the average begins anew: control ids of the dialog.
    enum ResetMode : std::int16_t {
        kNeverReset = 1013,
        kResetByTrigger = 1014,
        kResetByCount = 1015,
    };

    std::int16_t outputChannelMode = 1143;  // no effect on processing
    std::int16_t phase = 0;                 // non-zero: the phase output
    std::int16_t coherence = 0;             // non-zero: the coherence output
    std::int16_t quantity = kCrossSpectrum;
    std::int16_t transferType = kTransferH0;
    std::int16_t amplitudeType = kPeak;
    std::int16_t averageType = kNoAveraging;
    std::int16_t averageSource = kAverageAmplitude;
    std::int16_t window = kNoWindow;
    std::int16_t correction = kNoCorrection;
    double windowParameter = 10.0;
    std::int16_t resetMode = kNeverReset;
    std::int32_t resetCount = 10;  // data blocks per average
    std::int16_t dataOnReset = 0;  // non-zero: output only with the last block of an average
    double averageFactor = 1.0;    // growth of the weight of weighted averaging
    std::array<char, 32> reserved{};

    template <class Record, class Self>
    static void fields(Record& record, Self& self) {
        record(self.outputChannelMode, self.phase, self.coherence, self.quantity, self.transferType,
               self.amplitudeType, self.averageType, self.averageSource, self.window,
               self.correction, self.windowParameter, self.resetMode, self.resetCount,
               self.dataOnReset, self.averageFactor, self.reserved);
    }

    static std::span<const Keyword<DualSpektrumParameters>> keywords();
};

class TODualSpektrum final : public ParameterBlock<DualSpektrumParameters> {
public:
    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    // Always kDone; inputs that cannot be worked on are left waiting.
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;

private:
    struct Outputs {
        OutputBlock amplitudes;  // or real parts
        OutputBlock phases;      // or imaginary parts
        OutputBlock coherences;
    };

    void takeTrigger(SimulationRecord& record);
    bool averageEnds() const;
    bool deliversNow(bool averageEnds) const;
    bool openOutputs(SimulationRecord& record, const ChannelBlock& excitation, Outputs& outputs);
    std::span<const float> asFarAs(const ChannelBlock& excitation, const ChannelBlock& response);

    DualSpectrum spectrum_;
    std::vector<float> lengthened_;  // a response that was too short, and zeros
    bool triggered_ = false;         // by a trigger whose data block waits for the host's memory
};

}  // namespace vynpack
