// Signals that more than one block is tested with.
#pragma once

#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace vynhost::test {

// n samples of a cosine that swings `cycles` times; the phase in radians.
inline std::vector<float> cosine(int n, double cycles, double amplitude, double phase = 0.0) {
    std::vector<float> samples(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        samples[static_cast<std::size_t>(i)] =
            static_cast<float>(amplitude * std::cos(2 * std::numbers::pi * cycles * i / n + phase));
    }
    return samples;
}

}  // namespace vynhost::test
