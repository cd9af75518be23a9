// TOTerz_Oktave ("Terz_Oktav_Analyse"): third-octave or octave band values of spectra.
#pragma once

#include <array>
#include <cstdint>

#include "blocks/spectral/bands/terz_oktave_core.h"
#include "host/TOBlock.h"

namespace vynpack {

class TOTerz_Oktave final : public TOBlock {
public:
    static constexpr std::int32_t kRecordSizeWord = 36;

    // Any other number counts as octaves.
    enum AnalysisType : std::int16_t { kThirdOctave = 20, kOctave = 21 };

    struct Parameters {
        std::int16_t analysisType = kThirdOctave;
        std::int16_t aWeighting = 0;  // non-zero: apply the A-weighting of each band
        std::array<char, 32> reserved{};

        template <class Record, class Self>
        static void fields(Record& record, Self& self) {
            record(self.analysisType, self.aWeighting, self.reserved);
        }
    };

    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    int SaveParameters(FileHandle file) override;
    int RestoreParameters(FileHandle file) override;
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;
    int RemoteControl(MemoryHandle info, MemoryHandle value, std::uint16_t subCode) override;

    Parameters& parameters() { return parameters_; }

private:
    Parameters parameters_;
    BandAnalysis analysis_;
};

}  // namespace vynpack
