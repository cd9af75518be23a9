// TOInverseFFT ("Inverse FFT"): time signals from the real and imaginary parts of one-sided
// spectra.
#pragma once

#include <array>
#include <cstdint>

#include "blocks/spectral/core/inverse_fft_core.h"
#include "host/TOBlock.h"

namespace vynpack {

class TOInverseFFT final : public TOBlock {
public:
    static constexpr std::int32_t kRecordSizeWord = 32;

    struct Parameters {
        std::array<char, 32> reserved{};

        template <class Record, class Self>
        static void fields(Record& record, Self& self) {
            record(self.reserved);
        }
    };

    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    int SaveParameters(FileHandle file) override;
    int RestoreParameters(FileHandle file) override;
    // Always kDone; inputs that do not match are left waiting.
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;

    Parameters& parameters() { return parameters_; }

private:
    Parameters parameters_;
    InverseSpectrum synthesis_;
};

}  // namespace vynpack
