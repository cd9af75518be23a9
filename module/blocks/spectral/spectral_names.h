// The texts under which spectral parameters travel by keyword.
#pragma once

#include "blocks/spectral/core/spectrum_conversion.h"
#include "blocks/spectral/core/window_functions.h"
#include "host/remote_control.h"

namespace vynpack {

// As they read back.
inline constexpr NamedValue kAmplitudeTypeNames[] = {
    {kPeak, "PEAK"},
    {kRms, "RMS"},
    {kPowerSpectrum, "POWERSPECTRUM"},
    {kPowerDensity, "POWERSPECTRUMDENSITY"},
    {kAutoSpectrum, "AUTOSPECTRUM"},
    {kCepstrum, "CEPSTRUM"},
    {kRealImaginary, "REALIMAGINAER"},
};

// As they are set.
inline constexpr NamedValue kAmplitudeTypeKeys[] = {
    {kPeak, "PEAK"},
    {kRms, "RMS"},
    {kPowerSpectrum, "POWERSPECTRUM"},
    {kPowerDensity, "PSD"},
    {kAutoSpectrum, "AUTOSPECTRUM"},
    {kCepstrum, "CEPSTRUM"},
    {kRealImaginary, "REALIMAGINAER"},
};

inline constexpr NamedValue kWindowNames[] = {
    {kHanningWindow, "HANNING"},
    {kHammingWindow, "HAMMING"},
    {kBlackmanWindow, "BLACKMAN"},
    {kFlatTopWindow, "FLATTOP"},
    {kKaiserWindow, "KAISER"},
    {kCosine10Window, "COS10PERC"},
    {kWelchWindow, "WELCH"},
    {kParzenWindow, "PARZEN"},
    {kBartlettWindow, "BARTLETT"},
    {kValleeWindow, "VALLEE"},
    {kCauchyWindow, "CAUCHY"},
    {kGaussWindow, "GAUSS"},
    {kExponentialWindow, "EXPONENTIAL"},
    {kRiemannWindow, "RIEMANN"},
};

inline constexpr NamedTexts kAmplitudeTypeTexts{kAmplitudeTypeNames, "PEAK", kAmplitudeTypeKeys,
                                                kPeak};
inline constexpr NamedTexts kWindowTexts{kWindowNames, "RECTANGLE", kWindowNames, kRectangleWindow};

}  // namespace vynpack
