// TOTerz_Oktave ("Terz_Oktav_Analyse"): third-octave or octave band values of spectra.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "blocks/spectral/bands/terz_oktave_core.h"
#include "host/parameter_block.h"

namespace vynpack {

struct Terz_OktaveParameters {
    static constexpr std::int32_t kRecordSizeWord = 36;

    // Any other number counts as octaves.
    enum AnalysisType : std::int16_t { kThirdOctave = 20, kOctave = 21 };

    std::int16_t analysisType = kThirdOctave;
    std::int16_t aWeighting = 0;  // non-zero: apply the A-weighting of each band
    std::array<char, 32> reserved{};

    template <class Record, class Self>
    static void fields(Record& record, Self& self) {
        record(self.analysisType, self.aWeighting, self.reserved);
    }

    static std::span<const Keyword<Terz_OktaveParameters>> keywords();
};

class TOTerz_Oktave final : public ParameterBlock<Terz_OktaveParameters> {
public:
    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    int RestoreParameters(FileHandle file) override;
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;

private:
    BandAnalysis analysis_;
};

}  // namespace vynpack
