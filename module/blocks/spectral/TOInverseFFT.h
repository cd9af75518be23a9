// TOInverseFFT ("Inverse FFT"): time signals from the real and imaginary parts of one-sided
// spectra.
#pragma once

#include <array>
#include <cstdint>

#include "blocks/spectral/core/inverse_fft_core.h"
#include "host/parameter_block.h"

namespace vynpack {

struct InverseFFTParameters {
    static constexpr std::int32_t kRecordSizeWord = 32;

    std::array<char, 32> reserved{};

    template <class Record, class Self>
    static void fields(Record& record, Self& self) {
        record(self.reserved);
    }
};

class TOInverseFFT final : public ParameterBlock<InverseFFTParameters> {
public:
    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    // Always kDone; inputs that do not match are left waiting.
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;

private:
    InverseSpectrum synthesis_;
};

}  // namespace vynpack
