// The spectrum of every channel of a block of time samples, as the spectrum block puts it out.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "blocks/spectral/core/real_transform.h"
#include "blocks/spectral/core/spectrum_conversion.h"
#include "blocks/spectral/core/window_functions.h"
#include "kernels/aligned_array.h"

namespace vynpack {

struct SpectrumSettings {
    std::uint16_t amplitudeType = kPeak;  // AmplitudeType
    std::uint16_t window = kNoWindow;     // WindowChoice
    std::uint16_t correction =
        kNoCorrection;  // WindowCorrection; any other value zeroes the spectrum
    double windowParameter = 10.0;
};

// Keeps window weights and work buffers from block to block.
class SpectrumAnalysis {
public:
    // Lines per channel of the amplitudes (or real parts), for n samples per channel.
    static int amplitudeLines(std::uint16_t amplitudeType, int n) {
        return amplitudeType == kCepstrum ? n / 4 : n / 2;
    }
    // Lines per channel of the phases (or imaginary parts).
    static int phaseLines(int n) { return n / 2; }

    // Works on n samples per channel from here on; the buffers are kept while n stays the same.
    void prepare(int n);
    // Releases the buffers; the next prepare allocates afresh.
    void release();

    // Sample i of channel c lies at c + i * channels in `samples`, line k likewise in the outputs:
    // `amplitudes` takes amplitudeLines, `phases` phaseLines per channel or is empty. `resolution`
    // is the frequency step that a density spectrum is divided by. A cepstrum is computed for its
    // first half (and one line more); the rest is 0, and so is all of a zoom FFT.
    void analyse(const SpectrumSettings& settings, std::span<const float> samples, int channels,
                 double resolution, RealTransform transform, std::span<float> amplitudes,
                 std::span<float> phases);

private:
    // Where a channel's lines go, one after the other; null: nowhere.
    struct Lines {
        float* amplitudes;
        float* phases;
    };

    void analyseChannel(const SpectrumSettings& settings, const float* samples, double resolution,
                        RealTransform transform, const Lines& lines);

    int n_ = -1;
    ChosenWindow window_;
    vyn::AlignedArray<double> real_{0};
    vyn::AlignedArray<double> imaginary_{1};  // phases, once they are computed
    vyn::AlignedArray<double> result_{2};     // cepstra
    std::vector<double> cepstrumWork_;
    // A few channels side by side: each row holds the samples of one and, in their place, its lines
    // afterwards.
    vyn::AlignedArray<float> rows_{3};
};

}  // namespace vynpack
