// Kernels that divide by one number for all lines do it without dividing, with the division's bits
// (kernels/quotient.h).
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "blocks/spectral/core/spectrum_kernels.h"
#include "unit/kernels/levels_of_machine.h"

namespace vynpack {
namespace {

using Limits = std::numeric_limits<double>;

std::vector<double> numbersAtTheEdges() {
    std::vector<double> numbers{0.0, Limits::infinity(), Limits::quiet_NaN(), Limits::max()};
    for (int exponent = -1074; exponent < 1024; exponent += 3) {
        for (const double mantissa : {1.0, 1.5, 1.0 + Limits::epsilon(), 2.0 - Limits::epsilon()})
            numbers.push_back(std::ldexp(mantissa, exponent));
    }
    return numbers;
}

std::vector<double> randomNumbers(std::size_t count, int exponents) {
    std::mt19937_64 random(1);
    std::vector<double> numbers(count);
    for (double& number : numbers) {
        const auto mantissa = static_cast<double>(random() >> 11) * 0x1p-53 + 1.0;
        number = std::ldexp(mantissa, static_cast<int>(random() % (2 * exponents)) - exponents);
    }
    return numbers;
}

// The dividends whose quotients by the root of 2 come nearest to a middle between two doubles. With
// the root as D 2^-52, D odd, and a dividend A 2^-52, the quotient in halves of its last place is
// A 2^m / D, m = 53 or 54, and A 2^m = D odd + t where it is t / D away from a middle; for each odd
// t there is one A modulo D.
std::vector<double> hardDividends() {
    __extension__ using Wide = unsigned __int128;
    const double root = std::sqrt(2.0);
    const std::uint64_t d = (std::bit_cast<std::uint64_t>(root) & 0xfffffffffffffU) | (1ULL << 52);
    EXPECT_EQ(d % 2, 1U);
    const std::uint64_t half = (d + 1) / 2;  // the inverse of 2
    std::vector<double> dividends;
    for (const int m : {53, 54}) {
        for (std::int64_t t = -63; t <= 63; t += 2) {
            Wide a = static_cast<std::uint64_t>((static_cast<std::int64_t>(d) + t) / 2);
            for (int i = 1; i < m; ++i)
                a = a * half % d;
            for (; a < (1ULL << 53); a += d) {
                if (a >= (1ULL << 52))
                    dividends.push_back(static_cast<double>(static_cast<std::uint64_t>(a)));
            }
        }
    }
    return dividends;
}

void expectBits(double is, double expected, double of) {
    if (std::isnan(expected)) {
        EXPECT_TRUE(std::isnan(is)) << of;
    } else {
        EXPECT_EQ(std::bit_cast<std::uint64_t>(is), std::bit_cast<std::uint64_t>(expected)) << of;
    }
}

// Middles between two numbers of single precision, these times the root of 2, and the doubles
// beside both: a root, or a root over the root of 2, rounds down or up there by its last places.
std::vector<double> middlesOfSingles() {
    std::mt19937 random(3);
    std::vector<double> numbers;
    for (int i = 0; i < 20000; ++i) {
        const double middle = std::ldexp((1U << 24) + random() % (1U << 24) / 2 * 2 + 1,
                                         static_cast<int>(random() % 120) - 80);
        for (const double root : {middle, middle * std::sqrt(2.0)}) {
            for (const double number : {root, std::nextafter(root, 0.0), std::nextafter(root, 1e99),
                                        root * (1.0 - 0x1p-39), root * (1.0 + 0x1p-39)})
                numbers.push_back(number);
        }
    }
    return numbers;
}

// The root of x² is x, as far as the square stays in range.
TEST(Quotient, ByTheRootOfTwoIsTheDivisions) {
    std::vector<double> numbers = hardDividends();
    ASSERT_GT(numbers.size(), 60U);
    for (const auto& more : {numbersAtTheEdges(), middlesOfSingles(), randomNumbers(1000000, 300)})
        numbers.insert(numbers.end(), more.begin(), more.end());
    const std::vector<double> zeros(numbers.size());
    for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
        std::vector<double> quotients(numbers.size());
        std::vector<float> single(numbers.size());
        std::vector<float> roots(numbers.size());
        const auto& kernels = vyn::kernelsAt<SpectrumKernels>(level);
        kernels.rms(numbers.data(), zeros.data(), quotients.data(), numbers.size());
        // Neighbouring registers are rooted in different ways: each number once in either place.
        for (const std::size_t first : {0, 4}) {
            const std::size_t count = numbers.size() - first;
            kernels.putConverted[0](&numbers[first], zeros.data(), 1.0, 1.0F, &roots[first], count);
            kernels.putConverted[1](&numbers[first], zeros.data(), 1.0, 1.0F, &single[first],
                                    count);
            for (std::size_t i = first; i < numbers.size(); ++i) {
                const double root = std::sqrt(numbers[i] * numbers[i]);
                expectBits(roots[i], static_cast<float>(root), numbers[i]);
                const double expected = root / std::sqrt(2.0);
                expectBits(single[i], static_cast<float>(expected), numbers[i]);
                expectBits(quotients[i], expected, numbers[i]);
            }
        }
    }
}

// Whatever both parts are scaled by first, also beyond the range in which the scale may wait.
TEST(Quotient, RootsOfScaledPartsAreTheRootsStepByStep) {
    std::vector<double> re = numbersAtTheEdges();
    std::vector<double> im(re.size());
    for (const int exponents : {20, 150}) {
        const std::vector<double> numbers = randomNumbers(100000, exponents);
        re.insert(re.end(), numbers.begin(), numbers.end());
        im.insert(im.end(), numbers.rbegin(), numbers.rend());
    }
    for (const double factor :
         {1.0 / 2048, 0.00073, -0.00073, 3.0e-37, 0x1.8p+99, 0x1p-120, 0x1p+500})
        for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
            std::vector<float> roots(re.size());
            std::vector<float> single(re.size());
            const auto& kernels = vyn::kernelsAt<SpectrumKernels>(level);
            kernels.putConverted[0](re.data(), im.data(), factor, 1.0F, roots.data(), re.size());
            kernels.putConverted[1](re.data(), im.data(), factor, 1.0F, single.data(), re.size());
            for (std::size_t i = 0; i < re.size(); ++i) {
                const double a = re[i] * factor;
                const double b = im[i] * factor;
                const double root = std::sqrt(a * a + b * b);
                expectBits(roots[i], static_cast<float>(root), re[i]);
                expectBits(single[i], static_cast<float>(root / std::sqrt(2.0)), re[i]);
            }
        }
}

TEST(Quotient, ByACountIsTheDivisions) {
    std::vector<double> numbers = numbersAtTheEdges();
    const auto more = randomNumbers(20000, 1000);
    numbers.insert(numbers.end(), more.begin(), more.end());
    const std::vector<double> from(numbers.size(), 0.0);
    std::vector<double> counts{2, 3, 5, 7, 10, 4294967294.0, 4294967291.0, 65537};
    std::mt19937 random(2);
    for (int i = 0; i < 40; ++i)
        counts.push_back(static_cast<double>(random() >> (random() % 31)) + 2);
    for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
        const auto& kernels = vyn::kernelsAt<SpectrumKernels>(level);
        for (const double count : counts) {
            std::vector<double> quotients(numbers.size());
            kernels.moveTowards(from.data(), numbers.data(), count, quotients.data(),
                                numbers.size());
            for (std::size_t i = 0; i < numbers.size(); ++i)
                expectBits(quotients[i], 0.0 + numbers[i] / count, numbers[i]);
        }
    }
}

}  // namespace
}  // namespace vynpack
