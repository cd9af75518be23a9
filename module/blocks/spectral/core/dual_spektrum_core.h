// Cross spectrum or transfer function of two time signals, channel by channel, with phase and
// coherence, averaged over data blocks.
//
// X is the spectrum of the excitation, Y that of the response.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "blocks/spectral/core/dual_spectrum_average.h"
#include "blocks/spectral/core/dual_spectrum_kernels.h"
#include "blocks/spectral/core/dual_spectrum_settings.h"
#include "blocks/spectral/core/real_transform.h"
#include "blocks/spectral/core/shared_averages.h"
#include "blocks/spectral/core/window_functions.h"
#include "kernels/aligned_array.h"

namespace vynpack {

// Samples of both signals: sample i of channel c at c + i * channels, n per channel.
struct DualSignal {
    std::span<const float> excitation;
    std::span<const float> response;
};

// Where the lines go: line k of channel c to c + k * channels, n / 2 per channel. Empty ones are
// left out.
struct DualSpectrumOutputs {
    std::span<float> amplitudes;  // or real parts
    std::span<float> phases;      // degrees, or imaginary parts
    std::span<float> coherences;
};

// Keeps averages, window weights and work buffers from block to block.
class DualSpectrum {
public:
    static int lines(int n) { return n / 2; }

    // Works on n samples of that many channels from here on. A change of either, and an averaging
    // that was not on before, begins a new average; what is not needed is released.
    void prepare(const DualSpectrumSettings& settings, int n, int channels);
    // Releases everything; the next prepare allocates afresh.
    void release() { *this = {}; }

    const AverageProgress& progress() const { return progress_; }
    // The next block begins a new average.
    void restartAverage() { progress_.restart(); }

    // One data block: averages it and writes the lines. `resolution` is the frequency step that a
    // density is divided by, `weightGrowth` the factor of weighted averaging.
    void analyse(const DualSpectrumSettings& settings, const DualSignal& signal, double resolution,
                 double weightGrowth, RealTransform transform, const DualSpectrumOutputs& outputs);

private:
    struct Spectrum {
        explicit Spectrum(unsigned colour) : re(colour), im(colour + 1) {}
        vyn::AlignedArray<double> re;
        vyn::AlignedArray<double> im;
        void assign(std::size_t values);
        ComplexLines from(std::size_t line) { return {re.data() + line, im.data() + line}; }
    };

    // Lines of one channel that are worked on together.
    struct LineRange {
        std::size_t channel;
        std::size_t first;
        std::size_t count;
    };

    static std::span<double> work(vyn::AlignedArray<double>& lines, const LineRange& range) {
        return {lines.data() + range.first, range.count};
    }
    // The same lines among the averages.
    SharedAverages::Lines amongAverages(const LineRange& range) const {
        return {range.channel * static_cast<std::size_t>(lines(n_)) + range.first, range.count};
    }

    // One channel's samples of both signals, one after the other.
    struct SignalRows {
        const float* excitation;
        const float* response;
    };
    // Where one channel's lines go, one after the other; null ones are left out.
    struct OutputRows {
        float* amplitudes;
        float* phases;
        float* coherences;
    };

    void analyseChannel(const DualSpectrumSettings& settings, std::size_t channel,
                        const SignalRows& signal, double resolution, RealTransform transform,
                        const OutputRows& outputs);
    void transformRow(const float* samples, RealTransform transform, Spectrum& spectrum) const;
    void analyseLines(const DualSpectrumSettings& settings, const LineRange& range,
                      const LineScale& scale, double resolution, RealTransform transform,
                      const OutputRows& outputs);
    bool dividesInOnePass(const DualSpectrumSettings& settings, const OutputRows& outputs) const;
    void averageAndDivide(const DualSpectrumSettings& settings, const LineRange& range,
                          const LineScale& scale, double resolution, const OutputRows& outputs);
    ConstComplexLines transferFunction(const DualSpectrumSettings& settings, const LineRange& range,
                                       const LineScale& scale, const Products& present,
                                       const Products& coherence);
    const double* amplitudes(const DualSpectrumSettings& settings, const LineRange& range,
                             ConstComplexLines lines, RealTransform transform);
    const double* phases(const DualSpectrumSettings& settings, const LineRange& range,
                         ConstComplexLines lines);
    const double* coherences(const LineRange& range, const Products& products);
    static void put(const double* lines, const LineRange& range, float* output);

    int n_ = -1;
    int channels_ = 0;
    AverageProgress progress_;
    SharedAverages averages_;

    ChosenWindow window_;
    // Colours 4 to 11 are those of the averages.
    Spectrum excitation_{0};  // X
    Spectrum response_{2};    // Y
    Spectrum cross_{8};       // X conj(Y)
    vyn::AlignedArray<double> responsePower_{10};
    vyn::AlignedArray<double> excitationPower_{11};
    vyn::AlignedArray<double> zeros_{12};
    Spectrum transfer_{0};
    vyn::AlignedArray<double> amplitude_{2};
    vyn::AlignedArray<double> phase_{3};
    vyn::AlignedArray<double> coherence_{3};
    std::vector<double> cepstrumWork_;
    // A few channels side by side: each row holds the samples of one and, in their place, its lines
    // afterwards: amplitudes and phases in those of the excitation, coherences in the response's.
    vyn::AlignedArray<float> excitationRows_{4};
    vyn::AlignedArray<float> responseRows_{5};
};

}  // namespace vynpack
