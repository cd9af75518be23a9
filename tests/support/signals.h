// The signals that tests are made of.
#pragma once

#include <cmath>
#include <concepts>
#include <cstddef>
#include <limits>
#include <numbers>
#include <random>
#include <type_traits>
#include <vector>

namespace signals {

// White noise, evenly distributed from low to high; the same samples for the same seed, on every
// system.
template <std::floating_point Sample = float>
std::vector<Sample> noise(std::integral auto count, unsigned seed = 1, Sample low = -1,
                          Sample high = 1) {
    using Generator = std::conditional_t<sizeof(Sample) == 4, std::mt19937, std::mt19937_64>;
    constexpr int kDigits = std::numeric_limits<Sample>::digits;
    constexpr auto kUnused = static_cast<int>(Generator::word_size) - kDigits;
    Generator random(seed);
    std::vector<Sample> samples(static_cast<std::size_t>(count));
    for (Sample& sample : samples) {
        const auto steps = static_cast<Sample>(random() >> kUnused);
        sample = low + (high - low) * std::ldexp(steps, -kDigits);
    }
    return samples;
}

// amplitude cos(2 pi cycles i / count + phase), i = 0 ... count - 1; the phase in radians.
inline std::vector<float> cosine(std::integral auto count, double cycles, double amplitude = 1.0,
                                 double phase = 0.0) {
    std::vector<float> samples(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double turns = cycles * static_cast<double>(i) / static_cast<double>(count);
        samples[i] = static_cast<float>(amplitude * std::cos(2 * std::numbers::pi * turns + phase));
    }
    return samples;
}

// amplitude sin(2 pi cycles i / count), i = 0 ... count - 1.
inline std::vector<float> sine(std::integral auto count, double cycles, double amplitude = 1.0) {
    std::vector<float> samples(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double turns = cycles * static_cast<double>(i) / static_cast<double>(count);
        samples[i] = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * turns));
    }
    return samples;
}

// A 1 at the beginning, then zeros.
inline std::vector<float> impulse(std::size_t count) {
    std::vector<float> samples(count);
    samples.at(0) = 1.0F;
    return samples;
}

}  // namespace signals
