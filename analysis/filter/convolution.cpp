#include "filter/convolution.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "fft/fft.h"
#include "filter/convolution_kernels.h"

namespace ovanlys {
namespace {

bool allFinite(std::span<const double> values) {
    double sum = 0.0;
    for (const double value : values)
        sum += value - value;  // NaN for what is not finite
    return sum == 0.0;
}

// The sums of exactly the products that there are.
void convolveOneByOne(std::span<const double> c, std::span<const double> x, std::span<double> y) {
    for (std::size_t m = 0; m + 1 < c.size() + x.size(); ++m) {
        const std::size_t first = m < x.size() ? 0 : m - x.size() + 1;
        const std::size_t last = std::min(m, c.size() - 1);
        double sum = 0.0;
        for (std::size_t j = first; j <= last; ++j)
            sum += c[j] * x[m - j];
        y[m] = sum;
    }
}

// Outputs that a value that is not finite reaches through `others` factors become NaN.
void spreadNotFinite(std::span<const double> values, std::size_t others, std::span<double> y) {
    std::size_t reached = 0;  // everything before is done
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (std::isfinite(values[i])) continue;
        for (reached = std::max(reached, i); reached < i + others; ++reached)
            y[reached] = std::numeric_limits<double>::quiet_NaN();
    }
}

// The lines of n values in the memory of as many values and n / 2 + 1 imaginary parts.
struct Transformed {
    explicit Transformed(std::size_t n) : re(n), im(n / 2 + 1) {}

    void operator*=(const Transformed& other) {
        for (std::size_t k = 0; k < im.size(); ++k) {
            const double product = re[k] * other.re[k] - im[k] * other.im[k];
            im[k] = re[k] * other.im[k] + im[k] * other.re[k];
            re[k] = product;
        }
    }

    std::vector<double> re;  // or the values themselves
    std::vector<double> im;
};

// The length of the transforms that makes the overlap-save of all outputs cheapest: a power of two,
// which transforms fastest.
std::size_t transformLength(std::size_t taps, std::size_t outputs) {
    std::size_t best = 0;
    double lowestCost = std::numeric_limits<double>::infinity();
    std::size_t power = LaneFft::kShortest;
    while (power < 2 * taps)
        power *= 2;
    for (int doubling = 0; doubling < 4; ++doubling, power *= 2) {
        const std::size_t step = power - taps + 1;
        const auto blocks = static_cast<double>((outputs + step - 1) / step);
        const auto n = static_cast<double>(power);
        const double cost = (2 * blocks + 1) * n * std::log2(n);
        if (cost < lowestCost) {
            lowestCost = cost;
            best = power;
        }
    }
    return best;
}

void overlapSave(std::span<const double> c, std::span<const double> x, std::span<double> y) {
    const std::size_t outputs = c.size() + x.size() - 1;
    const std::size_t length = transformLength(c.size(), outputs);
    const std::size_t step = length - c.size() + 1;
    const std::size_t before = c.size() - 1;  // samples of the past in each block
    Transformed response(length);
    Transformed block(length);
    const BorrowedPlan plan(length);
    std::copy(c.begin(), c.end(), response.re.begin());
    plan->forward(response.re.data(), response.im.data());
    for (std::size_t start = 0; start < outputs; start += step) {
        const std::size_t silence = start < before ? std::min(before - start, length) : 0;
        const std::size_t first = std::min(start + silence - before, x.size());
        const auto samples = x.subspan(first, std::min(length - silence, x.size() - first));
        auto end = std::fill_n(block.re.begin(), silence, 0.0);
        end = std::copy(samples.begin(), samples.end(), end);
        std::fill(end, block.re.end(), 0.0);
        plan->forward(block.re.data(), block.im.data());
        block *= response;
        plan->inverse(block.re.data(), block.im.data());
        const std::size_t count = std::min(step, outputs - start);
        std::copy_n(block.re.begin() + static_cast<std::ptrdiff_t>(before), count,
                    y.begin() + static_cast<std::ptrdiff_t>(start));
    }
}

std::vector<double> finiteCopy(std::span<const double> values) {
    std::vector<double> copy(values.begin(), values.end());
    for (double& value : copy)
        if (!std::isfinite(value)) value = 0.0;
    return copy;
}

}  // namespace

void convolve(std::span<const double> c, std::span<const double> x, std::span<double> y) {
    if (std::min(c.size(), x.size()) < kTransformedTaps) {
        convolveDirectly(c, x, y);
    } else {
        convolveByTransform(c, x, y);
    }
    y[c.size() + x.size() - 1] = 0.0;
}

void convolveDirectly(std::span<const double> c, std::span<const double> x, std::span<double> y,
                      vyn::KernelLevel level) {
    if (!allFinite(c) || !allFinite(x)) return convolveOneByOne(c, x, y);
    if (c.size() > x.size()) std::swap(c, x);  // the shorter one runs inside
    const std::size_t outputs = c.size() + x.size() - 1;
    constexpr std::size_t kAtOnce = kOutputsAtOnce;
    const std::size_t wholeBlocks = outputs / kAtOnce;
    const std::size_t before = c.size() - 1;
    std::vector<double> taps(c.size() + 2 * kTapPadding, 0.0);
    std::copy(c.begin(), c.end(), taps.begin() + kTapPadding);
    // The samples between zeros, as far as the last block reaches.
    const std::size_t reach = before + (wholeBlocks + 1) * kAtOnce;
    const auto samples = std::make_unique_for_overwrite<double[]>(reach);
    std::fill_n(samples.get(), before, 0.0);
    std::copy(x.begin(), x.end(), samples.get() + before);
    std::fill(samples.get() + before + x.size(), samples.get() + reach, 0.0);

    const auto& kernels = vyn::kernelsAt<ConvolutionKernels>(level);
    const auto run = [&](std::size_t start, double* target, std::size_t blocks) {
        kernels.outputs(taps.data() + kTapPadding, static_cast<std::ptrdiff_t>(c.size()),
                        samples.get() + before + start, target,
                        static_cast<std::ptrdiff_t>(blocks));
    };
    run(0, y.data(), wholeBlocks);
    double rest[kAtOnce];
    run(wholeBlocks * kAtOnce, rest, 1);
    std::copy_n(rest, outputs - wholeBlocks * kAtOnce,
                y.begin() + static_cast<std::ptrdiff_t>(wholeBlocks * kAtOnce));
}

void convolveByTransform(std::span<const double> c, std::span<const double> x,
                         std::span<double> y) {
    if (!allFinite(c) || !allFinite(x)) {
        const auto finiteTaps = finiteCopy(c);
        const auto finiteSamples = finiteCopy(x);
        convolveByTransform(finiteTaps, finiteSamples, y);
        spreadNotFinite(c, x.size(), y);
        spreadNotFinite(x, c.size(), y);
        return;
    }
    if (c.size() > x.size()) std::swap(c, x);
    overlapSave(c, x, y);
}

}  // namespace ovanlys
