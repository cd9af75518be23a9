// Frequency weighting of spectra, line by line.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "blocks/filter/weighting/weighting_curves.h"

namespace vynpack {

// What an axis counts: lines of equal distance, or bands.
enum class SpectrumLines { frequencies, thirdOctaves, octaves };

// The frequency axis of a spectrum.
struct SpectrumAxis {
    SpectrumLines lines = SpectrumLines::frequencies;
    double start = 0.0;     // of the first line: frequency, or third-octave band number (18: 1 kHz)
    double step = 0.0;      // between lines of equal distance
    double unit = 1.0;      // Hz per unit of start and step; bands have none
    std::size_t count = 0;  // lines

    // Hz. A band's exact frequency is 1000 * 10^(n / 10), n its distance from the 1 kHz band.
    double frequency(std::size_t line) const noexcept;

    bool operator==(const SpectrumAxis&) const = default;
};

// What the values of a spectrum are.
enum class SpectrumValues { levels, amplitudes, powers };

// Stands for the logarithm of an amplitude that is not positive.
inline constexpr float kNoValue = 9.9e34F;

class SpectrumWeighting {
public:
    // Weights the lines of all interleaved channels. `out` is as long as `in`; values that make no
    // whole line become 0. The weights are worked out anew only when something differs from the
    // last call's.
    //  - levels (dB): value + weight; the no-value marker stays as it is.
    //  - amplitudes: by way of their level, value * 10^(weight / 20); 0 for values not above 0.
    //  - powers: the same on their square root.
    void apply(WeightingCurve curve, SpectrumValues kind, const SpectrumAxis& axis,
               std::span<const float> in, int channels, std::span<float> out);

private:
    struct Key {
        WeightingCurve curve;
        SpectrumValues kind;
        SpectrumAxis axis;
        bool operator==(const Key&) const = default;
    };
    void prepare(const Key& key);

    std::optional<Key> key_;
    std::vector<double> weights_;  // per line: dB to add to levels, else the factor
};

}  // namespace vynpack
