#include "blocks/stats/core/statistic_kernels.h"

#include "kernels/exponential.h"
#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

void addSamples(const float* x, std::size_t rows, std::size_t channels, double* sum,
                double* squares) {
    forEachLaneGroup(channels, [=]<int lanes>(Lanes<lanes>, std::size_t first) {
        using Floats = typename Lanes<lanes>::Floats;
        using Doubles = typename Lanes<lanes>::Doubles;
        auto s = load<Doubles>(sum + first);
        auto q = load<Doubles>(squares + first);
        const float* row = x + first;
        for (std::size_t k = 0; k < rows; ++k, row += channels) {
            const auto sample = load<Floats>(row);
            const Floats square = sample * sample;
            s += converted<Doubles>(sample);
            q += converted<Doubles>(square);
        }
        store(s, sum + first);
        store(q, squares + first);
    });
}

void addMeanTerms(const float* x, const double* powers, std::size_t rows, std::size_t channels,
                  double* reciprocals, double* product, std::int32_t* hasZero,
                  std::int32_t* hasNotPositive) {
    forEachLaneGroup(channels, [=]<int lanes>(Lanes<lanes>, std::size_t first) {
        using Floats = typename Lanes<lanes>::Floats;
        using Doubles = typename Lanes<lanes>::Doubles;
        using Integers = typename Lanes<lanes>::Integers;
        auto h = load<Doubles>(reciprocals + first);
        auto p = load<Doubles>(product + first);
        auto zero = load<Integers>(hasZero + first);
        auto notPositive = load<Integers>(hasNotPositive + first);
        const float* row = x + first;
        const double* power = powers + first;
        for (std::size_t k = 0; k < rows; ++k, row += channels, power += channels) {
            const auto sample = load<Floats>(row);
            const Floats reciprocal = 1.0F / sample;
            h += converted<Doubles>(reciprocal);
            p *= load<Doubles>(power);
            zero |= sample == 0.0F;
            notPositive |= sample <= 0.0F;
        }
        store(h, reciprocals + first);
        store(p, product + first);
        store(zero, hasZero + first);
        store(notPositive, hasNotPositive + first);
    });
}

void findExtremes(const float* x, std::size_t rows, std::size_t channels, std::int32_t firstIndex,
                  float* maximum, std::int32_t* maximumIndex, float* minimum,
                  std::int32_t* minimumIndex) {
    forEachLaneGroup(channels, [=]<int lanes>(Lanes<lanes>, std::size_t first) {
        using Floats = typename Lanes<lanes>::Floats;
        using Integers = typename Lanes<lanes>::Integers;
        auto high = load<Floats>(maximum + first);
        auto low = load<Floats>(minimum + first);
        auto highIndex = load<Integers>(maximumIndex + first);
        auto lowIndex = load<Integers>(minimumIndex + first);
        const float* row = x + first;
        Integers index = Integers{} + firstIndex;
        for (std::size_t k = 0; k < rows; ++k, row += channels, index += 1) {
            const auto sample = load<Floats>(row);
            highIndex = sample > high ? index : highIndex;
            high = sample > high ? sample : high;
            lowIndex = sample < low ? index : lowIndex;
            low = sample < low ? sample : low;
        }
        store(high, maximum + first);
        store(low, minimum + first);
        store(highIndex, maximumIndex + first);
        store(lowIndex, minimumIndex + first);
    });
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
            a += difference < 0.0 ? -difference : difference;
        }
        store(s, squares + first);
        store(a, absolutes + first);
    });
}

void powers(const float* x, std::size_t count, double exponent, double* out) {
    // exponent = coarse + fine with 26 bits in coarse.
    const double coarse = doubleOf((bitsOf(exponent) + 0x0000000004000000U) & 0xfffffffff8000000U);
    const double fine = exponent - coarse;
    for (std::size_t i = 0; i < count; ++i) {
        const double sample = x[i];
        const TwoParts log = logarithm(sample);
        const double power = exponential({coarse * log.high, fine * log.high + exponent * log.low});
        // False for infinity and NaN as well.
        out[i] = sample < __builtin_inf() ? power : sample;
    }
}

constexpr StatisticKernels kTable = {addSamples, addMeanTerms, findExtremes, addDeviations, powers};

}  // namespace

constinit const StatisticKernels StatisticKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
