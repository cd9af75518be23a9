#include "filter/convolution.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "filter/convolution_kernels.h"
#include "filter/overlap_save.h"

namespace ovanlys {
namespace {

bool allFinite(std::span<const double> values, vyn::KernelLevel level = vyn::kernelLevel()) {
    return vyn::kernelsAt<ConvolutionKernels>(level).allFinite(values.data(), values.size());
}

// Whether two of the samples might overflow when they are added.
bool anyHuge(std::span<const double> samples) {
    bool any = false;
    for (const double sample : samples)
        any |= std::abs(sample) >= 0x1p1023 && std::isfinite(sample);
    return any;
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

// Blocks begin at the first output that sees all taps, so that whoever wants the outputs from there
// on alone (channel_convolution.h) makes the same blocks; one more makes those before.
void overlapSave(std::span<const double> c, std::span<const double> x, std::span<double> y) {
    const std::size_t outputs = c.size() + x.size() - 1;
    const std::size_t before = c.size() - 1;
    const OverlapSave blocks(c, x.size() - before);
    const auto window = blocks.window();
    const auto make = [&](std::size_t start, std::size_t count) {
        const std::size_t silence = start < before ? before - start : 0;
        const std::size_t first = std::min(start + silence - before, x.size());
        const auto samples = x.subspan(first, std::min(window.size() - silence, x.size() - first));
        auto end = std::fill_n(window.begin(), silence, 0.0);
        end = std::copy(samples.begin(), samples.end(), end);
        std::fill(end, window.end(), 0.0);
        blocks.convolve();
        std::copy_n(blocks.outputs().begin(), count,
                    y.begin() + static_cast<std::ptrdiff_t>(start));
    };
    if (before > 0) make(0, before);
    for (std::size_t start = before; start < outputs; start += blocks.step())
        make(start, std::min(blocks.step(), outputs - start));
}

std::vector<double> finiteCopy(std::span<const double> values) {
    std::vector<double> copy(values.begin(), values.end());
    for (double& value : copy)
        if (!std::isfinite(value)) value = 0.0;
    return copy;
}

}  // namespace

Taps tapsOf(std::span<const double> c) noexcept {
    bool symmetric = true;
    for (std::size_t j = 0; j < c.size() / 2; ++j)
        symmetric &= c[j] == c[c.size() - 1 - j] && std::isfinite(c[j]);
    return {c.data(), std::ssize(c), symmetric};
}

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
    if (c.size() > x.size()) std::swap(c, x);  // the shorter one runs inside
    // The ends of x are continued by zeros, which a tap must not make more of.
    if (!allFinite(c, level)) return convolveOneByOne(c, x, y);
    Taps taps = tapsOf(c);
    taps.symmetric = taps.symmetric && !anyHuge(x);
    const auto& kernels = vyn::kernelsAt<ConvolutionKernels>(level);
    const std::size_t before = c.size() - 1;
    const auto samples = std::make_unique_for_overwrite<double[]>(3 * before);
    const auto make = [&](const double* from, std::size_t start, std::size_t count) {
        kernels.outputs(taps, from, 1, y.data() + start, count);
    };
    // The ends in a copy with silence before, or behind; in the middle the sums read x itself.
    const auto first = std::fill_n(samples.get(), before, 0.0);
    std::copy_n(x.begin(), before, first);
    make(first, 0, before);
    make(x.data() + before, before, x.size() - before);
    const auto last =
        std::copy_n(x.end() - static_cast<std::ptrdiff_t>(before), before, samples.get());
    std::fill_n(last, before, 0.0);
    make(last, x.size(), before);
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
