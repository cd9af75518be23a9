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
    constexpr std::size_t kAtOnce = kOutputsAtOnce;
    const std::size_t outputs = c.size() + x.size() - 1;
    const std::size_t before = c.size() - 1;
    const auto wholeBlocks = [](std::size_t count) { return (count + kAtOnce - 1) / kAtOnce; };
    // In the middle the sums read x itself; there are as many outputs on either side, or a few
    // more.
    const std::size_t head = std::min(wholeBlocks(before) * kAtOnce, outputs);
    const std::size_t middleBlocks = head < x.size() ? (x.size() - head) / kAtOnce : 0;
    const std::size_t tail = head + middleBlocks * kAtOnce;
    const std::size_t longest = std::max(wholeBlocks(head), wholeBlocks(outputs - tail)) * kAtOnce;
    const auto samples = std::make_unique_for_overwrite<double[]>(before + longest);
    const auto made = std::make_unique_for_overwrite<double[]>(longest);

    const auto& kernels = vyn::kernelsAt<ConvolutionKernels>(level);
    const auto taps = static_cast<std::ptrdiff_t>(c.size());
    const auto makeEnd = [&](std::size_t start, std::size_t end) {
        const std::size_t blocks = wholeBlocks(end - start);
        double* to = samples.get();
        const std::size_t silence = start < before ? before - start : 0;
        const std::size_t first = start + silence - before;
        const std::size_t last = std::min(end, x.size());
        to = std::fill_n(to, silence, 0.0);
        if (first < last)
            to = std::copy(x.begin() + static_cast<std::ptrdiff_t>(first),
                           x.begin() + static_cast<std::ptrdiff_t>(last), to);
        std::fill(to, samples.get() + before + blocks * kAtOnce, 0.0);
        kernels.outputs(c.data(), taps, samples.get() + before, made.get(),
                        static_cast<std::ptrdiff_t>(blocks));
        std::copy_n(made.get(), end - start, y.begin() + static_cast<std::ptrdiff_t>(start));
    };
    makeEnd(0, head);
    kernels.outputs(c.data(), taps, x.data() + head, y.data() + head,
                    static_cast<std::ptrdiff_t>(middleBlocks));
    makeEnd(tail, outputs);
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
