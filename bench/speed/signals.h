// The signals of the jobs: repeatable, and cheap to make.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace vynpack::bench {

// Sum of four uniform numbers from a counter: mean 0, standard deviation 1, nearly normal.
inline float noise(std::size_t counter) {
    std::uint64_t z = (counter + 1) * 0x9E3779B97F4A7C15U;
    z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
    z ^= z >> 31U;
    float sum = -131070.0F;
    for (unsigned part = 0; part < 64; part += 16)
        sum += static_cast<float>((z >> part) & 0xFFFFU);
    return sum / 37837.2F;
}

// Sample i of channel c.
inline float tone(std::size_t c, std::size_t i) {
    const auto t = static_cast<double>(i);
    return static_cast<float>(std::sin(0.05 * t * static_cast<double>(c + 1)) +
                              0.25 * std::sin(0.71 * t)) +
           0.05F * noise(i * 64 + c);
}

// A slow swing through most classes of -10 to 10 with noise of a fifth of a class upon it.
inline float load(std::size_t c, std::size_t i) {
    return static_cast<float>(8.0 *
                              std::sin(0.05 * static_cast<double>(i) + static_cast<double>(c))) +
           0.2F * noise(i * 64 + c);
}

}  // namespace vynpack::bench
