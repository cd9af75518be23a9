#include "blocks/stats/core/statistic_kernels.h"

#include "kernels/exponential.h"
#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

constexpr std::uint64_t kMantissaBits = 0x000fffffffffffff;
constexpr std::uint64_t kExponentOfOne = 0x3ff0000000000000;
constexpr int kMantissaLength = 52;

template <class Doubles, class Bits>
inline Doubles mantissaOf(Bits bits) {
    return __builtin_bit_cast(Doubles, (bits & kMantissaBits) | kExponentOfOne);
}

enum Terms : unsigned { kSamples = 1, kMeanTerms = 2 };

// Channels side by side.
template <unsigned terms, int lanes>
inline void addOf(const float* x, std::size_t rows, std::size_t channels, std::size_t first,
                  const StatisticSums& sums) {
    using Floats = typename Lanes<lanes>::Floats;
    using Doubles = typename Lanes<lanes>::Doubles;
    using Bits = typename Lanes<lanes>::Bits;
    constexpr bool samples = (terms & kSamples) != 0;
    constexpr bool means = (terms & kMeanTerms) != 0;
    const auto from = [first](const auto* values, auto vector) {
        return load<decltype(vector)>(values + first);
    };
    Doubles sum = samples ? from(sums.sum, Doubles{}) : Doubles{};
    Doubles squares = samples ? from(sums.squares, Doubles{}) : Doubles{};
    Doubles reciprocals = means ? from(sums.reciprocals, Doubles{}) : Doubles{};
    Doubles mantissas = means ? from(sums.mantissas, Doubles{}) : Doubles{};
    Bits exponents = means ? from(sums.exponents, Bits{}) : Bits{};
    Floats lowest = means ? from(sums.lowest, Floats{}) : Floats{};
    Floats highest = means ? from(sums.highest, Floats{}) : Floats{};
    const float* row = x + first;
    for (std::size_t k = 0; k < rows; ++k, row += channels) {
        const auto sample = load<Floats>(row);
        const auto wide = converted<Doubles>(sample);
        if constexpr (samples) {
            const Floats square = sample * sample;
            sum += wide;
            squares += converted<Doubles>(square);
        }
        if constexpr (means) {
            const Floats reciprocal = 1.0F / sample;
            reciprocals += converted<Doubles>(reciprocal);
            const auto bits = __builtin_bit_cast(Bits, wide);
            mantissas *= mantissaOf<Doubles>(bits);
            exponents += bits >> kMantissaLength;
            lowest = sample < lowest ? sample : lowest;
            highest = sample > highest ? sample : highest;
        }
    }
    if constexpr (samples) {
        store(sum, sums.sum + first);
        store(squares, sums.squares + first);
    }
    if constexpr (means) {
        store(reciprocals, sums.reciprocals + first);
        store(mantissas, sums.mantissas + first);
        store(exponents, sums.exponents + first);
        store(lowest, sums.lowest + first);
        store(highest, sums.highest + first);
    }
}

// One channel: the terms of some neighbouring samples are made side by side, then added one after
// the other. Four sums and products run beside each other, each waiting for itself alone.
template <unsigned terms>
inline void addOfOne(const float* x, std::size_t rows, const StatisticSums& sums) {
    using Full = Lanes<kLanes>;
    using Floats = Full::Floats;
    using Doubles = Full::Doubles;
    using Bits = Full::Bits;
    constexpr bool samples = (terms & kSamples) != 0;
    constexpr bool means = (terms & kMeanTerms) != 0;
    const std::size_t whole = rows / kLanes * kLanes;
    double sum = samples ? *sums.sum : 0.0;
    double squares = samples ? *sums.squares : 0.0;
    double reciprocals = means ? *sums.reciprocals : 0.0;
    double mantissa = means ? *sums.mantissas : 0.0;
    Bits exponents{};
    Floats lowest = Floats{} + (means ? *sums.lowest : 0.0F);
    Floats highest = Floats{} + (means ? *sums.highest : 0.0F);
    for (std::size_t k = 0; k < whole; k += kLanes) {
        const auto sample = load<Floats>(x + k);
        const auto wide = converted<Doubles>(sample);
        if constexpr (samples) {
            const Floats square = sample * sample;
            const auto wideSquare = converted<Doubles>(square);
#pragma GCC unroll 8
            for (int i = 0; i < kLanes; ++i) {
                sum += wide[i];
                squares += wideSquare[i];
            }
        }
        if constexpr (means) {
            const Floats reciprocal = 1.0F / sample;
            const auto wideReciprocal = converted<Doubles>(reciprocal);
            const auto bits = __builtin_bit_cast(Bits, wide);
            const auto mantissas = mantissaOf<Doubles>(bits);
            exponents += bits >> kMantissaLength;
            lowest = sample < lowest ? sample : lowest;
            highest = sample > highest ? sample : highest;
#pragma GCC unroll 8
            for (int i = 0; i < kLanes; ++i) {
                reciprocals += wideReciprocal[i];
                mantissa *= mantissas[i];
            }
        }
    }
    if constexpr (samples) {
        *sums.sum = sum;
        *sums.squares = squares;
    }
    if constexpr (means) {
        *sums.reciprocals = reciprocals;
        *sums.mantissas = mantissa;
        for (int i = 0; i < kLanes; ++i) {
            *sums.exponents += static_cast<std::int64_t>(exponents[i]);
            *sums.lowest = lowest[i] < *sums.lowest ? lowest[i] : *sums.lowest;
            *sums.highest = highest[i] > *sums.highest ? highest[i] : *sums.highest;
        }
    }
    addOf<terms, 1>(x + whole, rows - whole, 1, 0, sums);
}

template <unsigned terms>
void add(const float* x, std::size_t rows, std::size_t channels, const StatisticSums& sums) {
    if (channels == 1) {
        addOfOne<terms>(x, rows, sums);
        return;
    }
    forEachLaneGroup(channels, [=, &sums]<int lanes>(Lanes<lanes>, std::size_t first) {
        addOf<terms, lanes>(x, rows, channels, first, sums);
    });
}

void takeOutExponents(double* mantissas, std::int64_t* exponents, std::size_t channels) {
    for (std::size_t c = 0; c < channels; ++c) {
        const std::uint64_t bits = bitsOf(mantissas[c]);
        mantissas[c] = mantissaOf<double>(bits);
        exponents[c] += static_cast<std::int64_t>(bits >> kMantissaLength) - 1023;
    }
}

// (m 2^e)^(1/n) = 2^q exp((r ln 2 + ln m) / n) with a whole q and -n/2 <= r <= n/2. What the
// exponential takes is a sum of two doubles, of which the second one holds what the first cannot.
void takeRoots(double* mantissas, const std::int64_t* exponents, std::size_t channels, double n) {
    constexpr double kLn2Front = 0x1.62e42feep-1;  // 31 bits
    constexpr double kLn2Back = 0x1.a39ef35793c76p-33;
    constexpr double kCoarse = 0x1.8p+31;  // rounds to multiples of 2^-21
    const double reciprocal = 1.0 / n;
    // reciprocal = coarse + fine with 26 bits in coarse.
    const double coarse =
        doubleOf((bitsOf(reciprocal) + 0x0000000004000000U) & 0xfffffffff8000000U);
    const double fine = (1.0 - coarse * n) * reciprocal;
    for (std::size_t c = 0; c < channels; ++c) {
        const double e = static_cast<double>(exponents[c]) - 1023.0 * n;
        const double shifted = e * reciprocal + kRounder;
        const double q = shifted - kRounder;
        const double r = e - q * n;
        // r / n = front + back; the products with n and with the front of ln 2 are exact.
        const double front = (r * reciprocal + kCoarse) - kCoarse;
        const double back = (r - front * n) * reciprocal;
        const TwoParts log = logarithm(mantissas[c]);
        const double a = front * kLn2Front;
        const double b = coarse * log.high;
        const double high = a + b;
        const double bInHigh = high - a;
        const double lost = (a - (high - bInHigh)) + (b - bInHigh);
        const double low = lost + (front * kLn2Back + back * (kLn2Front + kLn2Back)) +
                           (fine * log.high + reciprocal * log.low);
        const double scale = doubleOf((bitsOf(shifted) + 1023U) << 52U);
        mantissas[c] = exponential({high, low}) * scale;
    }
}

// Neighbouring columns, a full register of single precision or less.
template <int columns>
struct Columns {
    using Floats [[gnu::vector_size(columns * sizeof(float))]] = float;
    using Integers [[gnu::vector_size(columns * sizeof(float))]] = std::int32_t;
};
template <>
struct Columns<1> {
    using Floats = float;
    using Integers = std::int32_t;
};

// Of a span alone no index is kept: its extremes are two instructions per row, in several places
// at once.
template <int width>
inline void findExtremesOf(const float* x, std::size_t rows, std::size_t columns, float* highest,
                           std::int32_t* highSpans, float* lowest, std::int32_t* lowSpans) {
    using Floats = typename Columns<width>::Floats;
    using Integers = typename Columns<width>::Integers;
    constexpr std::size_t kSpan = StatisticKernels::kSpan;
    constexpr std::size_t kAbreast = 4;
    const Floats none = Floats{} + __builtin_inff();
    auto high = load<Floats>(highest);
    auto low = load<Floats>(lowest);
    auto highSpan = load<Integers>(highSpans);
    auto lowSpan = load<Integers>(lowSpans);
    Integers span{};
    for (std::size_t done = 0; done < rows; done += kSpan, span += 1) {
        const std::size_t now = rows - done < kSpan ? rows - done : kSpan;
        Floats highs[kAbreast] = {-none, -none, -none, -none};
        Floats lows[kAbreast] = {none, none, none, none};
        std::size_t k = 0;
        for (; k + kAbreast <= now; k += kAbreast) {
#pragma GCC unroll 4
            for (std::size_t i = 0; i < kAbreast; ++i, x += columns) {
                const auto sample = load<Floats>(x);
                highs[i] = sample > highs[i] ? sample : highs[i];
                lows[i] = sample < lows[i] ? sample : lows[i];
            }
        }
        for (; k < now; ++k, x += columns) {
            const auto sample = load<Floats>(x);
            highs[0] = sample > highs[0] ? sample : highs[0];
            lows[0] = sample < lows[0] ? sample : lows[0];
        }
#pragma GCC unroll 4
        for (std::size_t i = 1; i < kAbreast; ++i) {
            highs[0] = highs[i] > highs[0] ? highs[i] : highs[0];
            lows[0] = lows[i] < lows[0] ? lows[i] : lows[0];
        }
        highSpan = highs[0] > high ? span : highSpan;
        high = highs[0] > high ? highs[0] : high;
        lowSpan = lows[0] < low ? span : lowSpan;
        low = lows[0] < low ? lows[0] : low;
    }
    store(high, highest);
    store(low, lowest);
    store(highSpan, highSpans);
    store(lowSpan, lowSpans);
}

void findExtremes(const float* x, std::size_t rows, std::size_t columns, float* highest,
                  std::int32_t* highSpans, float* lowest, std::int32_t* lowSpans) {
    std::size_t first = 0;
    const auto takeAll = [&]<int width>(Columns<width>) {
        if constexpr (width <= 2 * kLanes) {
            for (; first + width <= columns; first += width) {
                findExtremesOf<width>(x + first, rows, columns, highest + first, highSpans + first,
                                      lowest + first, lowSpans + first);
            }
        }
    };
    takeAll(Columns<16>{});
    takeAll(Columns<8>{});
    takeAll(Columns<4>{});
    takeAll(Columns<1>{});
}

void addDeviations(const float* x, std::size_t rows, std::size_t channels, const double* mean,
                   double* squares, double* absolutes) {
    forEachLaneGroup(channels, [=]<int lanes>(Lanes<lanes>, std::size_t first) {
        using Floats = typename Lanes<lanes>::Floats;
        using Doubles = typename Lanes<lanes>::Doubles;
        const auto m = load<Doubles>(mean + first);
        auto s = load<Doubles>(squares + first);
        auto a = load<Doubles>(absolutes + first);
        const float* row = x + first;
        for (std::size_t k = 0; k < rows; ++k, row += channels) {
            const Doubles difference = converted<Doubles>(load<Floats>(row)) - m;
            s += difference * difference;
            const Doubles reverse = -difference;
            a += reverse > difference ? reverse : difference;
        }
        store(s, squares + first);
        store(a, absolutes + first);
    });
}

constexpr StatisticKernels kTable = {add<kSamples>,    add<kMeanTerms>, add<kSamples | kMeanTerms>,
                                     takeOutExponents, takeRoots,       findExtremes,
                                     addDeviations};

}  // namespace

constinit const StatisticKernels StatisticKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
