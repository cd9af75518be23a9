#include "blocks/stats/core/statistic_kernels.h"

#include <bit>

#include "kernels/comparisons.h"
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

// Of one channel, neighbouring samples that go through a register; of the widest but half, since
// the processor adds numbers of their own at half the speed beside those.
constexpr int kSide = kLanes > 4 ? 4 : kLanes;
using Row = Lanes<kSide>;

// What lanes have gathered of one channel.
template <class Bits, class Floats>
inline void takeLanes(Bits exponents, Floats lowest, Floats highest, const StatisticSums& sums) {
    for (int i = 0; i < kSide; ++i) {
        *sums.exponents += static_cast<std::int64_t>(exponents[i]);
        *sums.lowest = lowest[i] < *sums.lowest ? lowest[i] : *sums.lowest;
        *sums.highest = highest[i] > *sums.highest ? highest[i] : *sums.highest;
    }
}

// One channel: the terms of some neighbouring samples are made side by side, then added one after
// the other. Four sums and products run beside each other, each waiting for itself alone.
template <unsigned terms>
inline void addOfOne(const float* x, std::size_t rows, const StatisticSums& sums) {
    using Floats = Row::Floats;
    using Doubles = Row::Doubles;
    using Bits = Row::Bits;
    constexpr bool samples = (terms & kSamples) != 0;
    constexpr bool means = (terms & kMeanTerms) != 0;
    const std::size_t whole = rows / kSide * kSide;
    double sum = samples ? *sums.sum : 0.0;
    double squares = samples ? *sums.squares : 0.0;
    double reciprocals = means ? *sums.reciprocals : 0.0;
    double mantissa = means ? *sums.mantissas : 0.0;
    Bits exponents{};
    Floats lowest = Floats{} + (means ? *sums.lowest : 0.0F);
    Floats highest = Floats{} + (means ? *sums.highest : 0.0F);
    for (std::size_t k = 0; k < whole; k += kSide) {
        const auto sample = load<Floats>(x + k);
        const auto wide = converted<Doubles>(sample);
        if constexpr (samples) {
            const Floats square = sample * sample;
            const auto wideSquare = converted<Doubles>(square);
#pragma GCC unroll 8
            for (int i = 0; i < kSide; ++i) {
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
            for (int i = 0; i < kSide; ++i) {
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
        takeLanes(exponents, lowest, highest, sums);
    }
    addOf<terms, 1>(x + whole, rows - whole, 1, 0, sums);
}

template <unsigned terms>
void add(const float* x, std::size_t rows, std::size_t channels, const StatisticSums& sums) {
    if (channels == 1) {
        addOfOne<terms>(x, rows, sums);
    } else {
        forEachLaneGroup(channels, [=, &sums]<int lanes>(Lanes<lanes>, std::size_t first) {
            addOf<terms, lanes>(x, rows, channels, first, sums);
        });
    }
    leaveWideRegisters();
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

// The place of the first x[i] == value from `from` on, which there is.
std::size_t placeOf(const float* x, std::size_t rows, std::size_t from, float value) {
    for (; from + 8 <= rows; from += 8)
        if (const std::uint32_t found = eightEqual(x + from, value); found != 0)
            return from + static_cast<std::size_t>(std::countr_zero(found));
    while (x[from] != value)
        ++from;
    return from;
}

// Neighbouring samples take the columns. No branch asks for a sample's value, as no processor could
// foretell the answer.
void findExtremesOfOne(const float* x, std::size_t rows, std::size_t* highest,
                       std::size_t* lowest) {
    constexpr int kColumns = 2 * kSide;
    constexpr std::int32_t kNowhere = 0x7fffffff;
    const float none = __builtin_inff();
    float highs[kColumns];
    float lows[kColumns];
    std::int32_t highSpans[kColumns];
    std::int32_t lowSpans[kColumns];
    for (int i = 0; i < kColumns; ++i) {
        highs[i] = -none;
        lows[i] = none;
        highSpans[i] = kNowhere;
        lowSpans[i] = kNowhere;
    }
    const std::size_t whole = rows / kColumns;
    findExtremesOf<kColumns>(x, whole, kColumns, highs, highSpans, lows, lowSpans);
    float high = highs[0];
    float low = lows[0];
    for (int i = 1; i < kColumns; ++i) {
        high = highs[i] > high ? highs[i] : high;
        low = lows[i] < low ? lows[i] : low;
    }
    std::int32_t highSpan = kNowhere;
    std::int32_t lowSpan = kNowhere;
    for (int i = 0; i < kColumns; ++i) {
        const std::int32_t h = highs[i] == high ? highSpans[i] : kNowhere;
        const std::int32_t l = lows[i] == low ? lowSpans[i] : kNowhere;
        highSpan = h < highSpan ? h : highSpan;
        lowSpan = l < lowSpan ? l : lowSpan;
    }
    constexpr std::size_t kSpanLength = StatisticKernels::kSpan * kColumns;
    std::size_t highFrom = static_cast<std::size_t>(highSpan) * kSpanLength;
    std::size_t lowFrom = static_cast<std::size_t>(lowSpan) * kSpanLength;
    for (std::size_t i = whole * kColumns; i < rows; ++i) {
        highFrom = x[i] > high ? i : highFrom;
        high = x[i] > high ? x[i] : high;
        lowFrom = x[i] < low ? i : lowFrom;
        low = x[i] < low ? x[i] : low;
    }
    *highest = high == -none ? rows : placeOf(x, rows, highFrom, high);
    *lowest = low == none ? rows : placeOf(x, rows, lowFrom, low);
}

template <class Doubles>
struct TwoTerms {
    Doubles first;
    Doubles second;
};

// The squared and the absolute deviation.
template <class Doubles, class Floats>
inline TwoTerms<Doubles> deviationsOf(Floats sample, Doubles mean) {
    const Doubles difference = converted<Doubles>(sample) - mean;
    const Doubles reverse = -difference;
    return {difference * difference, reverse > difference ? reverse : difference};
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
            const auto terms = deviationsOf(load<Floats>(row), m);
            s += terms.first;
            a += terms.second;
        }
        store(s, squares + first);
        store(a, absolutes + first);
    });
}

// Of one channel the sums of two terms of each of 2 * steps * kBeside samples and, beside them, the
// mean terms of half as many others: a product is ready twice as late as a sum. The terms go
// through memory, as there is but one way from a lane to another.
constexpr std::size_t kBeside = 8;

template <class Terms>
inline void addBeside(const float* x, const float* others, std::size_t steps,
                      const StatisticSums& sums, double* firsts, double* seconds, Terms termsOf) {
    using Floats = Row::Floats;
    using Bits = Row::Bits;
    alignas(64) double first[2 * kBeside];
    alignas(64) double second[2 * kBeside];
    alignas(64) double reciprocal[kBeside];
    alignas(64) double mantissa[kBeside];
    TwoTerms<double> sum{*firsts, *seconds};
    double reciprocals = *sums.reciprocals;
    double mantissas = *sums.mantissas;
    Bits exponents{};
    Floats lowest = Floats{} + *sums.lowest;
    Floats highest = Floats{} + *sums.highest;
    for (; steps > 0; --steps, x += 2 * kBeside, others += kBeside) {
        for (std::size_t i = 0; i < 2 * kBeside; i += kSide) {
            const TwoTerms<Row::Doubles> terms = termsOf(load<Floats>(x + i));
            store(terms.first, first + i);
            store(terms.second, second + i);
        }
        for (std::size_t i = 0; i < kBeside; i += kSide) {
            const auto sample = load<Floats>(others + i);
            store(converted<Row::Doubles>(Floats(1.0F / sample)), reciprocal + i);
            const auto bits = __builtin_bit_cast(Bits, converted<Row::Doubles>(sample));
            store(mantissaOf<Row::Doubles>(bits), mantissa + i);
            exponents += bits >> kMantissaLength;
            lowest = sample < lowest ? sample : lowest;
            highest = sample > highest ? sample : highest;
        }
        // (The compiler would take the terms from registers all the same.)
        asm volatile("" : "+m"(first), "+m"(second), "+m"(reciprocal), "+m"(mantissa));
        for (std::size_t i = 0; i < kBeside; ++i) {
            sum.first += first[2 * i];
            sum.second += second[2 * i];
            sum.first += first[2 * i + 1];
            sum.second += second[2 * i + 1];
            reciprocals += reciprocal[i];
            mantissas *= mantissa[i];
        }
    }
    *firsts = sum.first;
    *seconds = sum.second;
    *sums.reciprocals = reciprocals;
    *sums.mantissas = mantissas;
    takeLanes(exponents, lowest, highest, sums);
}

void addSamplesBeside(const float* x, const float* others, std::size_t count,
                      const StatisticSums& sums) {
    const std::size_t whole = count / kBeside * kBeside;
    addBeside(x, others, count / kBeside, sums, sums.sum, sums.squares, [](Row::Floats sample) {
        return TwoTerms<Row::Doubles>{converted<Row::Doubles>(sample),
                                      converted<Row::Doubles>(Row::Floats(sample * sample))};
    });
    addOfOne<kSamples>(x + 2 * whole, 2 * (count - whole), sums);
    addOfOne<kMeanTerms>(others + whole, count - whole, sums);
}

void addDeviationsBeside(const float* x, const float* others, std::size_t count, double mean,
                         double* squares, double* absolutes, const StatisticSums& sums) {
    const std::size_t whole = count / kBeside * kBeside;
    addBeside(
        x, others, count / kBeside, sums, squares, absolutes,
        [mean = Row::Doubles{} + mean](Row::Floats sample) { return deviationsOf(sample, mean); });
    addDeviations(x + 2 * whole, 2 * (count - whole), 1, &mean, squares, absolutes);
    addOfOne<kMeanTerms>(others + whole, count - whole, sums);
    leaveWideRegisters();
}

constexpr StatisticKernels kTable = {
    add<kSamples>,    add<kMeanTerms>,    add<kSamples | kMeanTerms>, takeOutExponents,
    takeRoots,        findExtremes,       findExtremesOfOne,          addDeviations,
    addSamplesBeside, addDeviationsBeside};

}  // namespace

constinit const StatisticKernels StatisticKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
