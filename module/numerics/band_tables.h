// The nominal third-octave and octave bands (IEC 61260-1, table of preferred frequencies) with the
// band edges and A-weighting corrections that the band analysis works with.
#pragma once

#include <cstddef>
#include <span>

namespace vynpack {

// Byte layout of the band tables.
struct Band {
    float centre;      // Hz
    float lower;       // Hz
    float upper;       // Hz; a line on an edge belongs to the lower band
    float aWeighting;  // dB (IEC 61672-1)
};
static_assert(sizeof(Band) == 16);

inline constexpr int kThirdOctaveBands = 33;  // the last record is zero and ends the table
inline constexpr int kOctaveBands = 11;

std::span<const Band> thirdOctaveBands() noexcept;
std::span<const Band> octaveBands() noexcept;

// The centre frequency of the band with the number `number`, truncated toward zero; 0 Hz outside
// the table, as its end record has.
double centreFrequency(std::span<const Band> bands, double number) noexcept;

}  // namespace vynpack
