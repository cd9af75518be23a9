// How the spectral blocks describe what they put out.
#pragma once

#include <cstdint>

#include "blocks/spectral/core/spectrum_conversion.h"
#include "host/channel_block.h"

namespace vynpack {

// The frequency step of an input's spectra.
inline double resolutionOf(const ChannelBlock& input) {
    const int n = input.samplesPerChannel();
    return frequencyStep(0.0, (n - 1) * input.header().xStep, n);
}

// What all spectra of an input have in common.
inline void describeSpectrum(ChannelBlockHeader& header, const ChannelBlock& input, int lines) {
    header.xAxisKind = kAxisHertz;
    header.valueCount = input.channels() * lines;
    header.channelCount = input.channels();
    header.xStart = 0.0;
    header.xStep = resolutionOf(input);
}

inline void describeDisplay(ChannelBlockHeader& header, std::int32_t unit, double minimum,
                            double span) {
    header.yUnit = unit;
    header.displayMinimum = minimum;
    header.displaySpan = span;
}

// Unit and display of amplitudes; those of other types stay as they are but for the minimum of 0.
inline void describeAmplitudes(ChannelBlockHeader& header, std::uint16_t amplitudeType,
                               double inputSpan) {
    header.displayMinimum = 0.0;
    switch (amplitudeType) {
        case kPeak:
        case kRms: describeDisplay(header, kUnitAmplitude, 0.0, inputSpan / 2.0); break;
        case kPowerSpectrum:
        case kPowerDensity: describeDisplay(header, kUnitPower, 0.0, inputSpan / 2.0); break;
        case kAutoSpectrum: describeDisplay(header, kUnitPower, 0.0, inputSpan * 5.0); break;
        case kCepstrum: describeDisplay(header, kUnitNone, 0.0, inputSpan / 2.0); break;
        default: break;
    }
}

inline void describePhases(ChannelBlockHeader& header) {
    describeDisplay(header, kUnitDegrees, -180.0, 360.0);
}

}  // namespace vynpack
