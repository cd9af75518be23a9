// What a dual spectrum computes. X is the spectrum of the excitation, Y that of the response.
#pragma once

#include <cstdint>

#include "blocks/spectral/core/dual_spectrum_average.h"
#include "blocks/spectral/core/spectrum_conversion.h"
#include "blocks/spectral/core/window_functions.h"

namespace vynpack {

// A block's transfer function: string ids of the names. Any other number is H0. (Bendat, Piersol,
// "Random Data", on single-input single-output systems.)
enum TransferType : std::uint16_t {
    kTransferH0 = 90,  // Y / X
    kTransferH1 = 91,  // Y conj(X) / |X|^2: noise on the response averages out
    kTransferH2 = 92,  // |Y|^2 / (X conj(Y)): noise on the excitation averages out
};

// What a block averages: string ids of the names. Any other number is the power.
enum AverageSource : std::uint16_t {
    kAverageAmplitude = 88,
    kAveragePower = 89,
};

struct DualSpectrumSettings {
    bool crossSpectrum = true;  // else the transfer function
    int transferType = kTransferH0;
    int amplitudeType = kPeak;
    int averageType = kNoAveraging;
    int averageSource = kAverageAmplitude;
    bool phase = false;
    bool coherence = false;
    int window = kNoWindow;          // WindowChoice
    int correction = kNoCorrection;  // any other than WindowCorrection's zeroes
    double windowParameter = 10.0;

    bool averages() const { return averageType != kNoAveraging; }
    bool realImaginary() const { return amplitudeType == kRealImaginary; }
    // The transfer function is a quotient of products of the spectra.
    bool dividesProducts() const {
        return !crossSpectrum && (transferType == kTransferH1 || transferType == kTransferH2);
    }
    // The power is averaged before its conversion, whether or not averaging is on.
    bool averagesPower() const { return averageSource != kAverageAmplitude && !realImaginary(); }
    // Averaging comes last; H1 and H2 average what they divide.
    bool averagesResult() const { return averages() && !dividesProducts(); }
};

}  // namespace vynpack
