// What the dual spectrum averages over data blocks. Where the coherence and the transfer function
// average the same products in the same way, one calculation serves both.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "blocks/spectral/core/dual_spectrum_average.h"
#include "blocks/spectral/core/dual_spectrum_kernels.h"
#include "blocks/spectral/core/dual_spectrum_settings.h"

namespace vynpack {

// X conj(Y), |Y|^2 and |X|^2 of some lines: of the present block, or averaged.
struct Products {
    ConstComplexLines cross;
    const double* responsePower;
    const double* excitationPower;
};

class SharedAverages {
public:
    // Lines among the averages of all channels.
    struct Lines {
        std::size_t first;
        std::size_t count;
    };

    // Holds what the settings need of that many lines and releases the rest; restarts the progress
    // where averages were made anew.
    void hold(const DualSpectrumSettings& settings, std::size_t lines, AverageProgress& progress);

    // Take the present lines in and return the averages.
    const double* ofAmplitudes(const AverageRule& rule, Lines lines, const double* present) {
        return take(results_[0], rule, lines, present);
    }
    // Their powers before the conversion, and real parts, stand in the amplitudes' place.
    const double* ofImaginaryParts(const AverageRule& rule, Lines lines, const double* present) {
        return take(results_[1], rule, lines, present);
    }
    Products forCoherence(const AverageProgress& progress, Lines lines, const Products& present);
    // `coherence`: what forCoherence has returned for these lines.
    Products forTransfer(const DualSpectrumSettings& settings, const AverageProgress& progress,
                         Lines lines, const Products& present, const Products& coherence);

    // Whether what forCoherence returns is what the transfer function divides, too.
    bool shared() const { return sharedBy_ != 0; }
    // The averages that forCoherence takes the present lines into.
    ProductPlaces coherencePlaces(Lines lines) {
        return {coherence_.crossRe.from(lines.first), coherence_.crossIm.from(lines.first),
                coherence_.responsePower.from(lines.first),
                coherence_.excitationPower.from(lines.first)};
    }

private:
    struct ProductAverages {
        LineAverages crossRe{4};
        LineAverages crossIm{5};
        LineAverages responsePower{6};
        LineAverages excitationPower{7};
    };
    // Of what a transfer function divides: the cross product, and |X|^2 for H1 or |Y|^2 for H2.
    struct Divided {
        LineAverages& crossRe;
        LineAverages& crossIm;
        LineAverages& power;
    };

    static const double* take(LineAverages& averages, const AverageRule& rule, Lines lines,
                              const double* present) {
        return averages.take(rule, lines.first, {present, lines.count});
    }
    Divided dividedBy(std::uint16_t transferType);
    void endSharing();

    // Of results, or of what H1 and H2 divide.
    std::array<LineAverages, 4> results_{LineAverages(8), LineAverages(9), LineAverages(10),
                                         LineAverages(11)};
    ProductAverages coherence_;
    // The transfer function whose averages are the coherence's: both are arithmetic and have begun
    // together. 0 where each has its own.
    std::uint16_t sharedBy_ = 0;
};

}  // namespace vynpack
