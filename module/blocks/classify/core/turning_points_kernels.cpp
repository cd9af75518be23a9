#include "blocks/classify/core/turning_points_kernels.h"

#include <cstdint>

#include "kernels/comparisons.h"

namespace vynpack {
namespace {

using namespace vyn;  // its comparisons

constexpr std::size_t kTogether = 8;
constexpr std::size_t kMost = TurningKernels::kMostFrames;

// The sample next to a value that is not below it: a sample is below the one as it is below the
// other.
inline float notBelow(double value) {
    const float sample = static_cast<float>(value) + 0.0F;  // no -0, which has other neighbours
    const auto bits = __builtin_bit_cast(std::int32_t, sample);
    const float next = __builtin_bit_cast(float, bits + (bits < 0 ? -1 : 1));
    return static_cast<double>(sample) < value ? next : sample;
}

// A turn makes a sample a candidate, whatever was one before: what becomes of it is a matter of the
// samples up to the next turn, so that candidates are looked at side by side. Whether one is a
// maximum no branch may ask: nobody can foretell the answer.
struct Candidates {
    std::uint32_t at[kMost + 2];  // its sample; behind the last candidate: where the samples end
    float extreme[kMost + 1];
    std::uint32_t maximum[kMost + 1];  // all bits of a maximum, none of a minimum
    float low[kMost + 1];              // samples below or above leave it
    float high[kMost + 1];
};

inline float chosen(std::uint32_t bits, float a, float b) {
    const auto chosenBits = (__builtin_bit_cast(std::uint32_t, a) & bits) |
                            (__builtin_bit_cast(std::uint32_t, b) & ~bits);
    return __builtin_bit_cast(float, chosenBits);
}

// Beyond its extreme a candidate is dropped, back by more than the hysteresis it counts.
inline void setLimits(Candidates& all, std::size_t count, double hysteresis) {
    for (std::size_t i = 0; i < count; ++i) {
        const float extreme = all.extreme[i];
        const std::uint32_t maximum = all.maximum[i];
        const auto height = static_cast<double>(chosen(maximum, extreme, -extreme));
        const float back = notBelow(height - hysteresis);
        all.low[i] = chosen(maximum, back, extreme);
        all.high[i] = chosen(maximum, extreme, -back);
    }
}

struct Fate {
    bool counts;
    bool waits;  // nothing has become of it yet
};

// What the samples x[0] to x[count - 1] do to a candidate: the first one that leaves its limits
// decides. Reads up to 7 samples more.
inline Fate fateOf(const Candidates& all, std::size_t i, const float* x, std::size_t count) {
    while (true) {
        const std::uint32_t below = eightBelow(x, all.low[i]);
        const std::uint32_t above = eightBelow(all.high[i], x);
        const std::size_t now = count < kTogether ? count : kTogether;
        const std::uint32_t left = (below | above) & ((1U << now) - 1U);
        if (left == 0 && count > kTogether) {
            x += kTogether;
            count -= kTogether;
            continue;
        }
        const std::uint32_t first = left & (~left + 1U);
        const std::uint32_t confirming =
            (below & ~above & all.maximum[i]) | (above & ~below & ~all.maximum[i]);
        return {(confirming & first) != 0, left == 0};
    }
}

// Adds the turns of the signal: a sample becomes a candidate by the one that follows, as a maximum
// from the line on, as a minimum below it. Reads up to 64 samples more.
inline std::size_t addTurns(const float* samples, std::size_t pairs, float line, int slope,
                            Candidates& all, std::size_t count) {
    constexpr std::size_t kBits = 64;
    std::uint64_t rose = slope > 0 ? 1U : 0U;
    std::uint64_t fell = slope < 0 ? 1U : 0U;
    for (std::size_t done = 0; done < pairs; done += kBits) {
        std::uint64_t rises = 0;
        std::uint64_t falls = 0;
        std::uint64_t isLow = 0;
#pragma GCC unroll 8
        for (std::size_t i = 0; i < kBits; i += kTogether) {
            const float* x = samples + done + i;
            rises |= std::uint64_t{eightBelow(x, x + 1)} << i;
            falls |= std::uint64_t{eightBelow(x + 1, x)} << i;
            isLow |= std::uint64_t{eightBelow(x, line)} << i;
        }
        const std::uint64_t maxima = (rises << 1U | rose) & ~rises & ~isLow;
        const std::uint64_t minima = (falls << 1U | fell) & ~falls & isLow;
        std::uint64_t bits = maxima | minima;
        if (pairs - done < kBits) bits &= (std::uint64_t{1} << (pairs - done)) - 1U;
        for (; bits != 0; bits &= bits - 1U, ++count) {
            const auto bit = static_cast<std::size_t>(__builtin_ctzll(bits));
            all.at[count] = static_cast<std::uint32_t>(done + bit);
            all.extreme[count] = samples[done + bit];
            all.maximum[count] = ~static_cast<std::uint32_t>(maxima >> bit & 1U) + 1U;
        }
        rose = rises >> (kBits - 1);
        fell = falls >> (kBits - 1);
    }
    return count;
}

std::size_t find(const float* x, std::size_t stride, std::size_t frames, double referenceLine,
                 double hysteresis, TurningState* state, double* extremes) {
    // The last sample, the new ones, and what is beyond nothing.
    constexpr std::size_t kPadding = 64;
    alignas(64) float samples[1 + kMost + kPadding];
    samples[0] = state->last;
    for (std::size_t i = 0; i < frames; ++i)
        samples[1 + i] = x[i * stride];
    for (std::size_t i = 0; i < kPadding; ++i)
        samples[1 + frames + i] = __builtin_nanf("");

    Candidates all;
    std::size_t count = 0;
    if (state->candidate != 0) {
        all.at[0] = 0;
        all.extreme[0] = state->extreme;
        all.maximum[0] = state->candidate > 0 ? ~0U : 0U;
        count = 1;
    }
    count = addTurns(samples, frames, notBelow(referenceLine), state->slope, all, count);
    all.at[count] = static_cast<std::uint32_t>(frames);
    setLimits(all, count, hysteresis);
    std::size_t found = 0;
    bool waits = false;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = all.at[i];
        const Fate fate = fateOf(all, i, samples + 1 + at, all.at[i + 1] - at);
        extremes[found] = static_cast<double>(all.extreme[i]);
        found += fate.counts ? 1U : 0U;
        waits = fate.waits;
    }
    const float last = samples[frames];
    const float before = samples[frames - 1];
    state->last = last;
    state->slope = (last > before ? 1 : 0) - (last < before ? 1 : 0);
    state->candidate = 0;
    if (waits) {
        state->candidate = all.maximum[count - 1] != 0 ? 1 : -1;
        state->extreme = all.extreme[count - 1];
    }
    return found;
}

constexpr TurningKernels kTable = {find};

}  // namespace

constinit const TurningKernels TurningKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
