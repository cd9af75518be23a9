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
    {66, "HANNING"},   {67, "HAMMING"}, {68, "BLACKMAN"},    {69, "FLATTOP"},  {70, "KAISER"},
    {71, "COS10PERC"}, {72, "WELCH"},   {73, "PARZEN"},      {74, "BARTLETT"}, {75, "VALLEE"},
    {76, "CAUCHY"},    {77, "GAUSS"},   {78, "EXPONENTIAL"}, {79, "RIEMANN"},
};

inline constexpr NamedTexts kAmplitudeTypeTexts{kAmplitudeTypeNames, "PEAK", kAmplitudeTypeKeys,
                                                kPeak};
inline constexpr NamedTexts kWindowTexts{kWindowNames, "RECTANGLE", kWindowNames, kRectangleWindow};

}  // namespace vynpack
