// For kernel sources: logarithm and exponential out of plain arithmetic, so that they run in
// vector registers and give the same bits at every level and on every system. Both carry their
// result as a sum of two doubles, which keeps a power within 0.65 units of its last place.
//
// Method: reduction by powers of two, then minimax polynomials (see Muller et al., Handbook of
// Floating-Point Arithmetic, chapter on elementary functions). The polynomials were fitted at
// Chebyshev nodes with 200 bits; their errors are below 2^-61.
#pragma once

#include <cstdint>

namespace vyn {
namespace {

// An unevaluated sum.
struct TwoParts {
    double high;
    double low;
};

constexpr double kLn2High = 0x1.62e42fefa38p-1;  // 42 bits: products with exponents are exact
constexpr double kLn2Low = 0x1.ef35793c7673p-45;
constexpr double kLog2E = 0x1.71547652b82fep+0;
constexpr double kRounder = 0x1.8p+52;  // adding and subtracting it rounds to an integer

inline std::uint64_t bitsOf(double x) { return __builtin_bit_cast(std::uint64_t, x); }
inline double doubleOf(std::uint64_t bits) { return __builtin_bit_cast(double, bits); }

// ln x of a positive finite number with at most 24 significant bits (a float). `high` is a
// multiple of 2^-18 below 2^7, so that its product with a number of 27 bits is exact.
inline TwoParts logarithm(double x) {
    // x = m * 2^k with m between sqrt(1/2) and sqrt(2).
    constexpr std::uint64_t kRootHalf = 0x3fe6a09e00000000;
    constexpr std::uint64_t kBias = 2048;  // keeps the shifted exponent positive
    const std::uint64_t shifted = bitsOf(x) - kRootHalf + (kBias << 52U >> 1U);
    const std::uint64_t biased = shifted >> 52U;
    const double k = doubleOf(biased | 0x4330000000000000U) - (0x1p+52 + kBias / 2);
    const double m = doubleOf((shifted & 0x000fffffffffffffU) + kRootHalf);

    // ln m = f - f^2/2 + s * (f^2/2 + R(s^2)); f, f^2/2 and their difference are exact.
    const double f = m - 1.0;
    const double halfSquare = 0.5 * f * f;
    const double s = f / (2.0 + f);
    const double z = s * s;
    double r = 0x1.0c0aff044a97p-3;
    r = r * z + 0x1.0fbde0f4ad17bp-3;
    r = r * z + 0x1.3b1c3c1c81c8fp-3;
    r = r * z + 0x1.745cf8e4bba1bp-3;
    r = r * z + 0x1.c71c7201a55d7p-3;
    r = r * z + 0x1.2492492476a1ap-2;
    r = r * z + 0x1.9999999999a39p-2;
    r = r * z + 0x1.5555555555555p-1;
    r = r * z;
    const double tail = s * (halfSquare + r);

    constexpr double kCoarse = 0x1.8p+34;  // rounds to multiples of 2^-18
    const double head = k * kLn2High;
    const double body = f - halfSquare;
    const double high = (head + body + kCoarse) - kCoarse;
    return {high, ((head - high) + body) + (k * kLn2Low + tail)};
}

// e^(high + low) for a sum between -708 and 709; low is small against high or against 1.
inline double exponential(TwoParts y) {
    const double shifted = (y.high + y.low) * kLog2E + kRounder;
    const double q = shifted - kRounder;
    const double reducedHigh = y.high - q * kLn2High;
    const double reducedLow = y.low - q * kLn2Low;
    const double r = reducedHigh + reducedLow;
    const double rest = (reducedHigh - r) + reducedLow;

    double p = 0x1.1f7340dbc337ep-29;
    p = p * r + 0x1.af4e554377204p-26;
    p = p * r + 0x1.27e4db46cddd1p-22;
    p = p * r + 0x1.71de01fdbf9cap-19;
    p = p * r + 0x1.a01a01a6e1e2ap-16;
    p = p * r + 0x1.a01a01abf85abp-13;
    p = p * r + 0x1.6c16c16c162c3p-10;
    p = p * r + 0x1.11111111100bep-7;
    p = p * r + 0x1.5555555555556p-5;
    p = p * r + 0x1.5555555555557p-3;
    p = p * r + 0.5;
    const double onePlus = 1.0 + r;
    const double lost = r - (onePlus - 1.0);
    const double small = lost + (r * r * p + rest * onePlus);
    const double scale = doubleOf((bitsOf(shifted) + 1023U) << 52U);
    return (onePlus + small) * scale;
}

}  // namespace
}  // namespace vyn
