#include "blocks/stats/core/averaging_kernels.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <type_traits>
#include <utility>

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
    constexpr std::size_t kValuesNear = 2048;
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

#endif

// --- Windows of neighbouring rows ----------------------------------------------------------------

// A register of samples or of sums, or one of them alone.
template <class Numbers, class Number>
inline Numbers at(const Number* from) {
    if constexpr (std::is_same_v<Numbers, double>) {
        return static_cast<double>(*from);
    } else if constexpr (std::is_same_v<Number, float>) {
        return converted<Numbers>(load<Lanes<kLanes>::Floats>(from));
    } else {
        return load<Numbers>(from);
    }
}

template <class Numbers>
inline void storeMean(Numbers sum, float divisor, float* out) {
    using Means = decltype(single(sum));
    store(Means(single(sum) / divisor), out);
}

// Zeros with a sign become zeros without: a window of them alone has a mean without one.
template <class Numbers>
inline Numbers unsignedZeros(Numbers sum) {
    return 0.0 + sum;
}

// Windows one by one.

template <int rows, class Numbers>
inline Numbers blockSum(const float* x, std::size_t channels) {
    if constexpr (rows == 1) {
        return at<Numbers>(x);
    } else {
        return blockSum<rows / 2, Numbers>(x, channels) +
               blockSum<rows / 2, Numbers>(x + rows / 2 * channels, channels);
    }
}

template <int width, class Numbers>
inline Numbers windowSum(const float* x, std::size_t channels) {
    constexpr int kLast = std::bit_floor(static_cast<unsigned>(width));
    if constexpr (width == kLast) {
        return blockSum<width, Numbers>(x, channels);
    } else {
        return windowSum<width - kLast, Numbers>(x, channels) +
               blockSum<kLast, Numbers>(x + (width - kLast) * channels, channels);
    }
}

template <int width>
inline void meansOneByOne(const float* x, std::size_t count, std::size_t channels, float* out) {
    forEachPlace(
        count, [=](std::size_t i, auto numbers) __attribute__((always_inline)) {
            const auto sum = windowSum<width, decltype(numbers)>(x + i, channels);
            storeMean(unsignedZeros(sum), float{width}, out + i);
        });
}

// A few windows, block by block.

inline void add(const double* terms, std::size_t count, double* sums) {
    forEachPlace(
        count, [=](std::size_t i, auto numbers) __attribute__((always_inline)) {
            using Numbers = decltype(numbers);
            store(Numbers(at<Numbers>(sums + i) + at<Numbers>(terms + i)), sums + i);
        });
}

template <int rows>
inline void putWindowSums(const float* x, std::size_t count, std::size_t channels, double* sums) {
    forEachPlace(
        count, [=](std::size_t i, auto numbers) __attribute__((always_inline)) {
            store(unsignedZeros(windowSum<rows, decltype(numbers)>(x + i, channels)), sums + i);
        });
}

void fewWindowMeans(const float* x, std::size_t count, std::size_t width, std::size_t channels,
                    double* work, float* out) {
    const std::size_t few = width % 8;
    [&]<int... i>(std::integer_sequence<int, i...>) {
        ((few == i + 1 ? putWindowSums<i + 1>(x, count, channels, work) : void()), ...);
    }
    (std::make_integer_sequence<int, 7>{});
    x += few * channels;
    double* sums = few == 0 ? work : work + count;
    for (std::size_t block = 8; block <= width; block *= 2) {
        if ((width & block) == 0) continue;
        // Sums of 8, 16, ... rows wait for their neighbours.
        double* next = sums;
        for (std::size_t k = 0; k < block / 8; ++k, x += 8 * channels) {
            putWindowSums<8>(x, count, channels, next);
            for (std::size_t pairs = k; pairs % 2 != 0; pairs /= 2, next -= count)
                add(next, count, next - count);
            next += count;
        }
        if (sums != work) add(sums, count, work);
        sums = work + count;
    }
    const auto divisor = static_cast<float>(width);
    forEachPlace(
        count, [=](std::size_t i, auto numbers) __attribute__((always_inline)) {
            storeMean(at<decltype(numbers)>(work + i), divisor, out + i);
        });
}

// Short windows in registers, which hold what neighbouring windows share. A register is `between`
// rows, or the channels of one row that fill it.

// The rows from `row` on, of registers that follow each other.
template <int between, int row>
inline Register rowsFrom(const Register* registers) {
    constexpr int kPlace = row / between;
    constexpr int kBy = row % between * (kLanes / between);
    if constexpr (kBy == 0) {
        return registers[kPlace];
    } else {
        return [=]<int... lane>(std::integer_sequence<int, lane...>) {
            return __builtin_shufflevector(registers[kPlace], registers[kPlace + 1],
                                           (lane + kBy)...);
        }
        (std::make_integer_sequence<int, kLanes>{});
    }
}

template <int width, int between>
inline Register windowOf(const Register* ones, const Register* twos) {
    Register sum;
    if constexpr (width < 4) {
        sum = twos[0];
    } else if constexpr (width < 8) {
        sum = rowsFrom<between, width & 2>(twos) + rowsFrom<between, (width & 2) + 2>(twos);
    } else {
        sum = (twos[0] + rowsFrom<between, 2>(twos)) +
              (rowsFrom<between, 4>(twos) + rowsFrom<between, 6>(twos));
    }
    if constexpr (width == 7) {
        return (ones[0] + twos[0]) + sum;
    } else if constexpr (width == 6) {
        return twos[0] + sum;
    } else if constexpr (width % 2 != 0) {
        return ones[0] + sum;
    } else {
        return sum;
    }
}

constexpr int kAbreast = 8;

// `groups` times so many registers of outputs, one behind the other.
template <int width, int between>
inline void shortWindowMeansOf(const float* x, std::size_t groups, std::size_t channels,
                               float* __restrict out) {
    using Floats = Lanes<kLanes>::Floats;
    constexpr int kOdd = width % 2;
    // Registers of sums of two rows, and of samples, that the windows of the last register of
    // outputs reach ahead.
    constexpr int kTwosAhead = (width - kOdd - 2 + between - 1) / between;
    constexpr int kOnesAhead = kTwosAhead + (kOdd + between) / between;
    Register ones[kAbreast + kOnesAhead];
    Register twos[kAbreast + kTwosAhead];
    [[maybe_unused]] Floats even;
    const std::size_t step = between * channels;
    // A window takes every other row of the twos that it covers. If of so many rows the first few
    // are without signed zeros, every window takes one of those.
    constexpr int kFew = std::max(between, 2);
    constexpr int kPeriod = std::bit_floor(static_cast<unsigned>(kFew + (width - kOdd) - 2));

    // Registers that lie behind the last group have so many rows of its windows; nothing behind
    // them is read.
    const auto rowsLeft = [](int r) { return width - 1 - (r - kAbreast) * between; };
    const auto take = [&](int r, const float* from, bool last) __attribute__((always_inline)) {
        if (!last || rowsLeft(r) >= between) {
            ones[r] = at<Register>(from);
        } else {
            Floats samples{};
#pragma GCC unroll 8
            for (int lane = 0; lane < kLanes; ++lane)
                if (lane < rowsLeft(r) * (kLanes / between)) samples[lane] = from[lane];
            ones[r] = converted<Register>(samples);
        }
    };
    const auto addTwo = [&](int r, const float* from) __attribute__((always_inline)) {
        // With four lanes, rows across two registers are loaded once more sooner than turned.
        if (kLanes == 4 && between > 1 && rowsLeft(r) >= between + kOdd) {
            twos[r] =
                at<Register>(from + kOdd * channels) + at<Register>(from + (kOdd + 1) * channels);
        } else {
            twos[r] = rowsFrom<between, kOdd>(ones + r) + rowsFrom<between, kOdd + 1>(ones + r);
        }
        if (r * between % kPeriod < kFew) twos[r] = unsignedZeros(twos[r]);
    };
#pragma GCC unroll 8
    for (int r = 0; r < kOnesAhead; ++r)
        take(r, x + r * step, false);
#pragma GCC unroll 8
    for (int r = 0; r < kTwosAhead; ++r)
        addTwo(r, x + r * step);
    for (; groups > 0; --groups) {
#pragma GCC unroll 8
        for (int r = 0; r < kAbreast; ++r) {
            take(r + kOnesAhead, x + (r + kOnesAhead) * step, groups == 1);
            addTwo(r + kTwosAhead, x + (r + kTwosAhead) * step);
            const Register sum = windowOf<width, between>(ones + r, twos + r);
#if defined(__AVX2__)
            // Divided by twos where they lie side by side.
            if (kLanes == 4 && between > 1) {
                if (r % 2 == 0)
                    even = single(sum);
                else
                    store(Singles(joined(even, single(sum)) / float{width}), out + (r - 1) * step);
                continue;
            }
#endif
            storeMean(sum, float{width}, out + r * step);
        }
#pragma GCC unroll 8
        for (int r = 0; r < kOnesAhead; ++r)
            ones[r] = ones[r + kAbreast];
#pragma GCC unroll 8
        for (int r = 0; r < kTwosAhead; ++r)
            twos[r] = twos[r + kAbreast];
        x += kAbreast * step;
        out += kAbreast * step;
    }
}

// Returns whether the channels fill registers or divide them; nothing is made otherwise.
template <int width, int between>
inline bool shortWindowMeans(const float* x, std::size_t count, std::size_t channels, float* out) {
    if (between * channels == kLanes || (between == 1 && channels % kLanes == 0)) {
        // As many rows as stay in the nearest cache while all channels are taken; but the fewest of
        // long blocks, which come from far away and in the order of memory.
        constexpr std::size_t kValuesNear = 2048;
        constexpr std::size_t kValuesFar = std::size_t{1} << 18U;
        // (A constant where the compiler does not see it: divisions take long.)
        const std::size_t columns = between > 1 ? kLanes : channels;
        const std::size_t group = kAbreast * columns;
        std::size_t near = 1;
        if (between > 1)
            near = count / group;
        else if (count < kValuesFar)
            near = kValuesNear / group;
        std::size_t done = 0;
        while (done + group <= count) {
            const std::size_t left = (count - done) / group;
            const std::size_t now = left < near ? left : near;
            for (std::size_t first = 0; first < columns; first += kLanes) {
                const std::size_t i = done + first;
                shortWindowMeansOf<width, between>(x + i, now, channels, out + i);
            }
            done += now * group;
        }
        if (done < count) meansOneByOne<width>(x + done, count - done, channels, out + done);
        return true;
    }
    if constexpr (between > 1) return shortWindowMeans<width, between / 2>(x, count, channels, out);
    return false;
}

template <int longest = 8>
inline bool shortWindowMeans(const float* x, std::size_t count, std::size_t width,
                             std::size_t channels, float* out) {
    constexpr std::size_t kMostChannels = 64;
    if (channels > kMostChannels || width > std::size_t{longest}) return false;
    if (width == std::size_t{longest})
        return shortWindowMeans<longest, kLanes>(x, count, channels, out);
    if constexpr (longest > 2) return shortWindowMeans<longest - 1>(x, count, width, channels, out);
    return false;
}

// Any windows, all of a stretch at once: sums of 1, 2, 4, ... rows from every row on, in memory,
// each from the ones before. Blocks that a window has join its `rest`: none at first, then samples,
// then sums.

template <class Numbers, class Number>
inline Numbers withRest(const Number* rest, std::size_t i, Numbers sum) {
    return at<Numbers>(rest + i) + sum;
}
struct Nothing {};
template <class Numbers>
inline Numbers withRest(const Nothing*, std::size_t, Numbers sum) {
    return sum;
}

// Sums of twice as many rows, from `from` on.
template <class Numbers, class Number>
inline Numbers doubled(const Number* from, std::size_t step) {
    return at<Numbers>(from) + at<Numbers>(from + step);
}

// The last doubling.
template <bool joins, class Number, class Rest>
inline void lastMeans(const Number* sums, std::size_t count, std::size_t step, std::size_t width,
                      const Rest* rest, float* out) {
    const auto divisor = static_cast<float>(width);
    const Number* next = joins ? sums + step : sums;
    forEachPlace(
        count, [=](std::size_t i, auto numbers) __attribute__((always_inline)) {
            using Numbers = decltype(numbers);
            Numbers sum = doubled<Numbers>(next + i, step);
            if constexpr (joins) {
                sum = withRest(rest, i, at<Numbers>(sums + i)) + sum;
            } else {
                sum = withRest(rest, i, sum);
            }
            storeMean(unsignedZeros(sum), divisor, out + i);
        });
}

// `all` sums doubled in place, in full registers: there is room behind them.
template <bool joins, class Rest>
inline void doubleSums(double* sums, std::size_t all, std::size_t count, std::size_t step,
                       const Rest* rest, double* newRest) {
    const double* next = joins ? sums + step : sums;
    std::size_t i = 0;
    if constexpr (joins) {
        for (; i < count; i += kLanes) {
            const auto wider = doubled<Register>(next + i, step);
            store(withRest(rest, i, at<Register>(sums + i)), newRest + i);
            store(wider, sums + i);
        }
    }
    for (; i < all; i += kLanes)
        store(doubled<Register>(next + i, step), sums + i);
}

template <class Rest>
inline void doubledWindowMeans(double* sums, std::size_t all, std::size_t count, std::size_t rows,
                               std::size_t width, std::size_t channels, const Rest* rest,
                               double* newRest, float* out) {
    for (; 4 * rows <= width; rows *= 2) {
        const std::size_t step = rows * channels;
        if ((width & rows) == 0) {
            all -= step;
            doubleSums<false>(sums, all, count, step, rest, newRest);
        } else {
            all -= 2 * step;
            doubleSums<true>(sums, all, count, step, rest, newRest);
            if constexpr (!std::is_same_v<Rest, double>) {
                return doubledWindowMeans<double>(sums, all, count, 2 * rows, width, channels,
                                                  newRest, newRest, out);
            }
        }
    }
    if ((width & rows) == 0)
        lastMeans<false>(sums, count, rows * channels, width, rest, out);
    else
        lastMeans<true>(sums, count, rows * channels, width, rest, out);
}

void stretchMeans(const float* x, std::size_t count, std::size_t width, std::size_t channels,
                  double* sums, double* newRest, float* out) {
    const bool odd = width % 2 != 0;
    const Nothing* nothing = nullptr;
    if (width < 4) {
        if (odd)
            lastMeans<true>(x, count, channels, width, nothing, out);
        else
            lastMeans<false>(x, count, channels, width, nothing, out);
        return;
    }
    const float* next = odd ? x + channels : x;
    const std::size_t all = count + (width - (odd ? 2 : 1)) * channels - channels;
    forEachPlace(
        all, [=](std::size_t i, auto numbers) __attribute__((always_inline)) {
            store(doubled<decltype(numbers)>(next + i, channels), sums + i);
        });
    if (odd)
        doubledWindowMeans(sums, all, count, 2, width, channels, x, newRest, out);
    else
        doubledWindowMeans(sums, all, count, 2, width, channels, nothing, newRest, out);
}

void windowMeans(const float* x, std::size_t count, std::size_t width, std::size_t channels,
                 std::size_t stretch, double* work, float* out) {
    if (shortWindowMeans(x, count, width, channels, out)) return;
    if (stretch == 0) {
        const bool made = [&]<int... i>(std::integer_sequence<int, i...>) {
            return ((width == i + 1 && (meansOneByOne<i + 1>(x, count, channels, out), true)) ||
                    ...);
        }
        (std::make_integer_sequence<int, 15>{});
        if (!made) fewWindowMeans(x, count, width, channels, work, out);
        return;
    }
    const std::size_t sums = stretch + (width - 1) * channels + kWindowMargin;
    double* newRest = work + sums / kWindowMargin * kWindowMargin;
    for (std::size_t done = 0; done < count; done += stretch) {
        const std::size_t now = count - done < stretch ? count - done : stretch;
        stretchMeans(x + done, now, width, channels, work, newRest, out + done);
    }
}

#if defined(__AVX2__)

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
