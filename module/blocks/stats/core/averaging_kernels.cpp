#include "blocks/stats/core/averaging_kernels.h"

#include <cstdint>
#include <type_traits>

#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

void addRows(const float* x, std::size_t rows, std::size_t channels, double* sums) {
    forEachLaneGroup(channels, [=]<int lanes>(Lanes<lanes>, std::size_t first) {
        using Floats = typename Lanes<lanes>::Floats;
        using Doubles = typename Lanes<lanes>::Doubles;
        auto sum = load<Doubles>(sums + first);
        const float* row = x + first;
        for (std::size_t k = 0; k < rows; ++k, row += channels)
            sum += converted<Doubles>(load<Floats>(row));
        store(sum, sums + first);
    });
}

// `abreast` neighbouring groups, of channels that fill `columns` registers: a sum waits for the one
// addition before it, sums side by side do not wait for each other.
template <int lanes, int columns, int abreast>
inline void groupMeansOf(const float* x, std::size_t width, std::size_t channels, float* out) {
    using Floats = typename Lanes<lanes>::Floats;
    using Doubles = typename Lanes<lanes>::Doubles;
    const std::size_t group = width * channels;
    Doubles sums[abreast][columns];
#pragma GCC unroll 8
    for (std::size_t g = 0; g < abreast; ++g)
#pragma GCC unroll 2
        for (int c = 0; c < columns; ++c)
            sums[g][c] = Doubles{};
    for (std::size_t k = 0; k < width; ++k, x += channels) {
#pragma GCC unroll 8
        for (std::size_t g = 0; g < abreast; ++g)
#pragma GCC unroll 2
            for (int c = 0; c < columns; ++c)
                sums[g][c] += converted<Doubles>(load<Floats>(x + g * group + c * lanes));
    }
    const auto divisor = static_cast<float>(width);
#pragma GCC unroll 8
    for (std::size_t g = 0; g < abreast; ++g)
#pragma GCC unroll 2
        for (int c = 0; c < columns; ++c)
            store(Floats(converted<Floats>(sums[g][c]) / divisor), out + g * channels + c * lanes);
}

template <int lanes, int columns>
inline void groupMeansFrom(const float* x, std::size_t groups, std::size_t width,
                           std::size_t channels, float* out) {
    constexpr std::size_t kAbreast = columns == 1 ? 8 : 2;
    std::size_t p = 0;
    for (; p + kAbreast <= groups; p += kAbreast) {
        groupMeansOf<lanes, columns, kAbreast>(x, width, channels, out);
        x += kAbreast * width * channels;
        out += kAbreast * channels;
    }
    for (; p < groups; ++p, x += width * channels, out += channels)
        groupMeansOf<lanes, columns, 1>(x, width, channels, out);
}

void groupMeans(const float* x, std::size_t groups, std::size_t width, std::size_t channels,
                float* out) {
    // Two registers of channels at a time, which lie side by side in memory, then what is left; of
    // as many groups as stay in the nearest cache while all channels are taken.
    constexpr std::size_t kPair = 2 * kLanes;
    constexpr std::size_t kValuesNear = 4096;
    const std::size_t near = kValuesNear / (width * channels);
    const std::size_t step = channels <= kPair || near < 2 ? groups : near / 2 * 2;
    for (; groups > 0;) {
        const std::size_t now = groups < step ? groups : step;
        std::size_t done = 0;
        for (; done + kPair <= channels; done += kPair)
            groupMeansFrom<kLanes, 2>(x + done, now, width, channels, out + done);
        forEachLaneGroup(channels - done, [=]<int lanes>(Lanes<lanes>, std::size_t first) {
            groupMeansFrom<lanes, 1>(x + done + first, now, width, channels, out + done + first);
        });
        groups -= now;
        x += now * width * channels;
        out += now * channels;
    }
}

// `registers` registers full of neighbouring outputs, of samples that are doubles already. The sums
// are set one by one: `= {}` of the array would clear memory and keep them there.
template <class Numbers, int lanes, int registers, class Number>
inline void windowMeansOf(const Number* x, std::size_t width, std::size_t channels, float* out) {
    using Floats = typename Lanes<lanes>::Floats;
    using Doubles = typename Lanes<lanes>::Doubles;
    Doubles sums[registers];
#pragma GCC unroll 8
    for (int r = 0; r < registers; ++r)
        sums[r] = Doubles{};
    for (std::size_t k = 0; k < width; ++k, x += channels) {
#pragma GCC unroll 8
        for (int r = 0; r < registers; ++r)
            sums[r] += converted<Doubles>(load<Numbers>(x + r * lanes));
    }
    const auto divisor = static_cast<float>(width);
#pragma GCC unroll 8
    for (int r = 0; r < registers; ++r)
        store(Floats(converted<Floats>(sums[r]) / divisor), out + r * lanes);
}

template <class Number>
inline void windowMeansFrom(const Number* x, std::size_t count, std::size_t width,
                            std::size_t channels, float* out) {
    constexpr bool wide = sizeof(Number) == sizeof(double);
    using Full = std::conditional_t<wide, Lanes<kLanes>::Doubles, Lanes<kLanes>::Floats>;
    constexpr int kRegisters = 8;
    std::size_t i = 0;
    for (; i + kRegisters * kLanes <= count; i += kRegisters * kLanes)
        windowMeansOf<Full, kLanes, kRegisters>(x + i, width, channels, out + i);
    for (; i + kLanes <= count; i += kLanes)
        windowMeansOf<Full, kLanes, 1>(x + i, width, channels, out + i);
    for (; i < count; ++i)
        windowMeansOf<Number, 1, 1>(x + i, width, channels, out + i);
}

// The windows of neighbouring outputs overlap: in the register that follows `between` rows on, all
// samples but those of so many rows are the same ones. `abreast` registers of outputs together,
// each register of samples is converted once and is a term of all whose window it is in, by the
// order of the rows.
template <int width, int between, int abreast>
inline void sharedWindowMeansOf(const float* x, std::size_t channels, float* out) {
    using Floats = Lanes<kLanes>::Floats;
    Register sums[abreast];
#pragma GCC unroll 8
    for (int r = 0; r < abreast; ++r)
        sums[r] = Register{};
    constexpr int kRows = between * (abreast - 1) + width;
#pragma GCC unroll 40
    for (int row = 0; row < kRows; ++row, x += channels) {
        const auto samples = converted<Register>(load<Floats>(x));
#pragma GCC unroll 8
        for (int r = 0; r < abreast; ++r) {
            const int term = row - between * r;
            if (term >= 0 && term < width) sums[r] += samples;
        }
    }
#pragma GCC unroll 8
    for (int r = 0; r < abreast; ++r, out += static_cast<std::size_t>(between) * channels)
        store(Floats(converted<Floats>(sums[r]) / static_cast<float>(width)), out);
}

// Returns how many outputs are made, of `count`.
template <int width, int between>
inline std::size_t sharedWindowMeans(const float* x, std::size_t count, std::size_t channels,
                                     float* out) {
    constexpr std::size_t kAbreast = 8;
    const std::size_t group = kAbreast * between * channels;
    const std::size_t columns = between > 1 ? kLanes : channels;
    std::size_t done = 0;
    for (; done + group <= count; done += group) {
        for (std::size_t first = 0; first < columns; first += kLanes) {
            const std::size_t at = done + first;
            sharedWindowMeansOf<width, between, kAbreast>(x + at, channels, out + at);
        }
    }
    return done;
}

template <int width, int between>
inline std::size_t sharedWindowMeansBetween(const float* x, std::size_t count, std::size_t channels,
                                            float* out) {
    if constexpr (between < width) {
        if (between * channels == kLanes || (between == 1 && channels % kLanes == 0))
            return sharedWindowMeans<width, between>(x, count, channels, out);
    }
    if constexpr (between > 1) {
        return sharedWindowMeansBetween<width, between / 2>(x, count, channels, out);
    }
    return 0;
}

// Of short windows, and channels that fill registers or divide them; as many as lie near enough for
// the nearest cache. (Registers of two doubles gain nothing: measured.)
template <int longest = 8>
inline std::size_t shortWindowMeans(const float* x, std::size_t count, std::size_t width,
                                    std::size_t channels, float* out) {
    constexpr std::size_t kMostChannels = 64;
    if (kLanes == 2 || channels > kMostChannels || width > static_cast<std::size_t>(longest))
        return 0;
    if (width == static_cast<std::size_t>(longest))
        return sharedWindowMeansBetween<longest, kLanes>(x, count, channels, out);
    if constexpr (longest > 2) return shortWindowMeans<longest - 1>(x, count, width, channels, out);
    return 0;
}

// Every sample is a term of `width` sums: it is converted once, a stretch of samples at a time, as
// long as the windows are short against the stretch. (But where registers of four doubles would
// lie across the borders of cache lines, to load them takes longer than to convert them anew.)
void windowMeans(const float* x, std::size_t count, std::size_t width, std::size_t channels,
                 float* out) {
    const std::size_t made = shortWindowMeans(x, count, width, channels, out);
    x += made;
    out += made;
    count -= made;
    constexpr std::size_t kStretch = 1024;
    const std::size_t reach = (width - 1) * channels;
    const bool across = kLanes == 4 && channels % kLanes != 0;
    if (across || reach > kStretch / 4) {
        windowMeansFrom(x, count, width, channels, out);
        return;
    }
    alignas(64) double samples[kStretch];
    for (std::size_t done = 0; done < count;) {
        const std::size_t most = kStretch - reach;
        const std::size_t now = count - done < most ? count - done : most;
        std::size_t i = 0;
        for (; i + kLanes <= now + reach; i += kLanes)
            store(converted<Register>(load<Lanes<kLanes>::Floats>(x + done + i)), samples + i);
        for (; i < now + reach; ++i)
            samples[i] = static_cast<double>(x[done + i]);
        windowMeansFrom(samples, now, width, channels, out + done);
        done += now;
    }
}

#if defined(__AVX2__)

// A full register of numbers in single precision.
using Singles [[gnu::vector_size(sizeof(Register))]] = float;

inline Singles joined(Lanes<kLanes>::Floats low, Lanes<kLanes>::Floats high) {
#if defined(__AVX512F__)
    return _mm512_insertf32x8(_mm512_castps256_ps512(low), high, 1);
#else
    return _mm256_insertf128_ps(_mm256_castps128_ps256(low), high, 1);
#endif
}

// Up to so many values the unit that divides is the bound; beyond them the nearest cache is too
// small.
constexpr std::size_t kMostByTurns = 4096;

// mixIn's quotients in two ways by turns, by the unit that divides and by a product in double
// precision; returns how many are made. Both round to the same number: a quotient of two numbers of
// 24 bits is 2^-49 of itself away from any middle between two of them at least, and the product
// with a rounded reciprocal is wrong by less than 2^-51.
std::size_t mixInByTurns(const float* x, std::size_t count, float weight, float divisor,
                         float* average, float* out) {
    constexpr std::size_t kAtOnce = 2 * kLanes;
    const double reciprocal = 1.0 / static_cast<double>(divisor);
    const auto half = [=](std::size_t i) __attribute__((always_inline)) {
        using Floats = Lanes<kLanes>::Floats;
        const Floats mixed = load<Floats>(average + i) * weight + load<Floats>(x + i);
        return single(Register(converted<Register>(mixed) * reciprocal));
    };
    const auto put = [=](Singles mixed, std::size_t i) __attribute__((always_inline)) {
        store(mixed, average + i);
        store(mixed, out + i);
    };
    std::size_t i = 0;
    for (; i + 2 * kAtOnce <= count; i += 2 * kAtOnce) {
        const Singles first =
            (load<Singles>(average + i) * weight + load<Singles>(x + i)) / divisor;
        const Singles second = joined(half(i + kAtOnce), half(i + kAtOnce + kLanes));
        put(first, i);
        put(second, i + kAtOnce);
    }
    return i;
}

#endif

void mixIn(const float* x, std::size_t count, float weight, float divisor, float* average,
           float* out) {
    if (out == nullptr) {
        for (std::size_t i = 0; i < count; ++i)
            average[i] = (average[i] * weight + x[i]) / divisor;
        return;
    }
    const auto mix = [=](std::size_t i) __attribute__((always_inline)) {
        const float mixed = (average[i] * weight + x[i]) / divisor;
        average[i] = mixed;
        out[i] = mixed;
    };
    // In long blocks up to the border of a cache line first.
    constexpr std::size_t kLong = 1024;
    constexpr std::size_t kLine = 64;
    std::size_t i = 0;
    if (count >= kLong) {
        const std::size_t behind = reinterpret_cast<std::uintptr_t>(average) % kLine;
        for (const std::size_t head = (kLine - behind) % kLine / sizeof(float); i < head; ++i)
            mix(i);
    }
#if defined(__AVX2__)
    if (count <= kMostByTurns)
        i += mixInByTurns(x + i, count - i, weight, divisor, average + i, out + i);
#endif
    for (; i < count; ++i)
        mix(i);
}

constexpr AveragingKernels kTable = {addRows, groupMeans, windowMeans, mixIn};

}  // namespace

constinit const AveragingKernels AveragingKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
