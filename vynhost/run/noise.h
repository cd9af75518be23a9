// White noise: the same numbers for the same seed, on every system.
#pragma once

#include <cstdint>

namespace vynhost {

// Independent values of mean 0 and standard deviation 1, nearly normal: sums of twelve even numbers
// (Irwin and Hall), so never beyond 6 and exact in binary arithmetic.
class WhiteNoise {
public:
    explicit WhiteNoise(std::uint64_t seed) noexcept : state_(seed) {}

    double next() noexcept {
        constexpr int kTerms = 12;
        constexpr double kWord = 4294967296.0;
        std::uint64_t sum = 0;
        for (int i = 0; i < kTerms / 2; ++i) {
            const std::uint64_t bits = nextBits();
            sum += (bits >> 32) + (bits & 0xFFFFFFFFU);
        }
        // Each term lies in the middle of its step.
        return (static_cast<double>(sum) + kTerms / 2.0) / kWord - kTerms / 2.0;
    }

private:
    // SplitMix64 (Steele, Lea and Flood: Fast splittable pseudorandom number generators, 2014).
    std::uint64_t nextBits() noexcept {
        state_ += 0x9E3779B97F4A7C15U;
        std::uint64_t bits = state_;
        bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
        bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
        return bits ^ (bits >> 31);
    }

    std::uint64_t state_;
};

}  // namespace vynhost
