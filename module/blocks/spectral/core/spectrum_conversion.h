// From real and imaginary parts to the amplitude kinds that the blocks offer.
//
// Source: J. S. Bendat, A. G. Piersol, "Random Data" (spectra); A. V. Oppenheim, R. W. Schafer,
// "Discrete-Time Signal Processing" (cepstrum).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "blocks/spectral/core/real_transform.h"

namespace vynpack {

// A block's amplitude type: string ids of the names.
enum AmplitudeType : std::uint16_t {
    kPeak = 50,
    kRms = 51,
    kPowerSpectrum = 52,
    kPowerDensity = 53,
    kAutoSpectrum = 54,
    kCepstrum = 55,
    kRealImaginary = 56,
    // Kept: has a name but no computation, and comes from stored records alone.
    kZoomFft = 57,
};

// Kinds of the conversion routine, with out[k] for the line re + i im.
enum ConversionKind : int {
    kToMagnitude,  // sqrt(re^2 + im^2)
    kToRms,        // magnitude / sqrt(2)
    kToHalfPower,  // (re^2 + im^2) / 2
    kToPower,      // re^2 + im^2
    kToCepstrum,   // power of the FFT of log10(re^2 + im^2), first n/2 + 1 values only
    kToPhase,      // degrees, -180..180
};

inline constexpr int kCepstrumOutOfMemory = -101;

// The kind that makes an amplitude type's values; types that nothing computes have a kind outside
// the enumeration.
int conversionKind(std::uint16_t amplitudeType);

// The conversion routine over the lines of `re` (as many in `im` and, but for the cepstrum, `out`).
// `out` may be one of the inputs. `work` is the cepstrum's; it grows once and is kept by the
// caller. A kind outside the enumeration writes nothing. 0, or the transform's negative status, or
// kCepstrumOutOfMemory.
int convertSpectrum(std::span<const double> re, std::span<const double> im, int kind,
                    std::span<double> out, RealTransform transform, std::vector<double>& work);

// Frequency resolution of `count` samples whose times run from `start` to `end`.
double frequencyStep(double start, double end, int count);

// Rules of the pairwise average of an old value a and a new value b, the count-th.
enum AverageMode : int {
    kAverageArithmetic = 0,   // a + (b - a) / count: the mean of the values so far
    kAverageExponential = 1,  // b + (a - b) / count
    kAverageMinimum = 2,
    kAverageMaximum = 3,
};

inline constexpr int kAverageCountTooSmall = -430;
inline constexpr int kAverageModeUnknown = 401;  // computed as kAverageArithmetic

// out[k] = the average of a[k] and b[k]; `out` may be one of the inputs. A count below 2 computes
// nothing.
int averageSpectra(std::span<const double> a, std::span<const double> b, std::int64_t count,
                   int mode, std::span<double> out);

}  // namespace vynpack
