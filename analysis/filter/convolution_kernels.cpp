#include "filter/convolution_kernels.h"

#include <type_traits>

#include "kernels/lanes.h"

namespace ovanlys {
namespace {

using namespace vyn;  // its lanes

// Registers of neighbouring outputs that are made side by side; a tap serves all of them. As many
// as the level has room for.
constexpr int kRegisters = kLanes == 2 ? 4 : 8;

void stored(Register sums, double* to) { store(sums, to); }
void stored(Register sums, float* to) { store(single(sums), to); }
void stored(double sum, double* to) { *to = sum; }
void stored(double sum, float* to) { *to = single(sum); }

// Outputs without gaps.
template <class Number>
struct Contiguous {
    static constexpr int kLeast = 1;  // registers to make at once

    Number* first;

    template <int lanes>
    Number* at(int r) const {
        return first + r * lanes;
    }
    void advance(int made) { first += made; }
};
// Whole rows of `perRow` registers, `stride` apart.
template <int perRow>
struct InRows {
    static constexpr int kLeast = perRow;

    float* first;
    std::size_t stride;

    template <int lanes>
    float* at(int r) const {
        return first + static_cast<std::size_t>(r / perRow) * stride + r % perRow * lanes;
    }
    void advance(int made) { first += static_cast<std::size_t>(made / (perRow * kLanes)) * stride; }
};

// Measured: with four registers in a row AVX2 is 5 % slower, with two the baseline.
constexpr std::size_t kWidestRow = kLanes == 2 ? 4 * kLanes : 2 * kLanes;

// (The sums are set and stored one by one: as an array the compiler would keep them in memory.)
template <int lanes, int registers, class To>
void makeOutputs(const Taps& taps, const double* x, std::ptrdiff_t distance, const To& y) {
    using Row = typename Lanes<lanes>::Doubles;
    Row sums[registers];
#pragma GCC unroll 8
    for (Row& sum : sums)
        sum = Row{};
    const double* c = taps.c;
    const double* end = c + taps.count;
    if (taps.symmetric) {
        const double* mirrored = x - (taps.count - 1) * distance;
        for (end = c + taps.count / 2; c != end; ++c, x -= distance, mirrored += distance) {
#pragma GCC unroll 8
            for (int r = 0; r < registers; ++r)
                sums[r] += (load<Row>(x + r * lanes) + load<Row>(mirrored + r * lanes)) * *c;
        }
        end += taps.count % 2;
    }
    for (; c != end; ++c, x -= distance) {
#pragma GCC unroll 8
        for (int r = 0; r < registers; ++r)
            sums[r] += load<Row>(x + r * lanes) * *c;
    }
#pragma GCC unroll 8
    for (int r = 0; r < registers; ++r)
        stored(sums[r], y.template at<lanes>(r));
}

template <class To>
void makeAll(const Taps& taps, const double* x, std::ptrdiff_t distance, To y, std::size_t count) {
    const auto take = [&]<int lanes, int registers>(Lanes<lanes>,
                                                    std::integral_constant<int, registers>) {
        constexpr int kStep = registers * lanes;
        for (; count >= kStep; count -= kStep, x += kStep, y.advance(kStep))
            makeOutputs<lanes, registers>(taps, x, distance, y);
    };
    take(Lanes<kLanes>{}, std::integral_constant<int, kRegisters>{});
    take(Lanes<kLanes>{}, std::integral_constant<int, To::kLeast>{});
    take(Lanes<1>{}, std::integral_constant<int, 1>{});
}

void outputs(const Taps& taps, const double* x, std::ptrdiff_t distance, double* y,
             std::size_t count) {
    makeAll(taps, x, distance, Contiguous<double>{y}, count);
}

void singles(const Taps& taps, const double* x, std::ptrdiff_t distance, float* y,
             std::size_t stride, std::size_t count) {
    const auto make = [&](auto to) { makeAll(taps, x, distance, to, count); };
    if (stride == static_cast<std::size_t>(distance)) return make(Contiguous<float>{y});
    switch (distance / kLanes) {
        case 1: return make(InRows<1>{y, stride});
        case 2: return make(InRows<2>{y, stride});
        default: make(InRows<4>{y, stride});
    }
}

void multiply(double* __restrict re, double* __restrict im, const double* __restrict responseRe,
              const double* __restrict responseIm, std::size_t lines) {
    for (std::size_t k = 0; k < lines; ++k) {
        const double product = re[k] * responseRe[k] - im[k] * responseIm[k];
        im[k] = re[k] * responseIm[k] + im[k] * responseRe[k];
        re[k] = product;
    }
}

void scale(double* __restrict re, double* __restrict im, const double* __restrict response,
           std::size_t lines) {
    for (std::size_t k = 0; k < lines; ++k) {
        re[k] *= response[k];
        im[k] *= response[k];
    }
}

// x - x is +0 for finite numbers and NaN for all others.
bool allFinite(const double* x, std::size_t n) {
    constexpr std::size_t kAbreast = 4;
    Register sums[kAbreast];
#pragma GCC unroll 4
    for (Register& sum : sums)
        sum = Register{};
    std::size_t i = 0;
    for (; i + kAbreast * kLanes <= n; i += kAbreast * kLanes) {
#pragma GCC unroll 4
        for (std::size_t k = 0; k < kAbreast; ++k) {
            const auto values = load<Register>(x + i + k * kLanes);
            sums[k] += values - values;  // NOLINT(misc-redundant-expression)
        }
    }
    double sum = 0.0;
    for (; i < n; ++i)
        sum += x[i] - x[i];  // NOLINT(misc-redundant-expression)
    const Register all = (sums[0] + sums[1]) + (sums[2] + sums[3]);
    for (int lane = 0; lane < kLanes; ++lane)
        sum += all[lane];
    return sum == 0.0;
}

constexpr ConvolutionKernels kTable = {outputs,  kLanes, kWidestRow, singles,
                                       multiply, scale,  allFinite};

}  // namespace

constinit const ConvolutionKernels ConvolutionKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys
