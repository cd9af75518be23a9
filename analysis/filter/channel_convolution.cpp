#include "filter/channel_convolution.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <new>

#include "filter/channel_kernels.h"
#include "filter/convolution.h"
#include "filter/convolution_kernels.h"
#include "filter/floating_point.h"
#include "filter/overlap_save.h"

namespace ovanlys {
namespace {

// Conversions keep the denormals of single precision; the sums flush those of double.
class ChannelConvolution {
public:
    ChannelConvolution(std::span<const double> c, const ChannelSamples& x, float* out,
                       vyn::KernelLevel level)
        : c_(c),
          before_(c.size() - 1),
          x_(x),
          out_(out),
          level_(level),
          kernels_(vyn::kernelsAt<ConvolutionKernels>(level)),
          convert_(vyn::kernelsAt<ChannelKernels>(level)) {}

    // By sums, of neighbouring channels side by side.
    void directly() const {
        const Taps taps = tapsOf(c_);
        const std::size_t length = kStretchValues / std::min(kernels_.widestRow, x_.channels);
        // (On the stack: an allocation of so much takes longer than the sums of a short block.)
        alignas(64) double rows[kStretchValues + (kTransformedTaps - 1) * kMostTogether];
        for (std::size_t start = 0; start < x_.count; start += length) {
            const std::size_t count = std::min(length, x_.count - start);
            for (std::size_t first = 0; first < x_.channels;) {
                const std::size_t channels = together(x_.channels - first);
                take(start, count, first, channels, rows);
                const double* const x = rows + before_ * channels;
                float* const out = out_ + start * x_.channels + first;
                if (!makeAtOnce(taps, x, channels, count, out))
                    makeInRows(taps, x, channels, count, out);
                first += channels;
            }
        }
    }

    // By transforms, a few channels at a time, so that the samples are walked once for all of them.
    // An output that a value that is not finite reaches is NaN, as `convolveByTransform` leaves it.
    void byTransform() const {
        const std::size_t rows = std::min(kMostRows, x_.channels);
        const OverlapSave blocks(c_, x_.count, rows, level_);
        if (!blocks.finiteSumOfTaps() && !kernels_.allFinite(c_.data(), c_.size())) {
            std::fill_n(out_, x_.count * x_.channels, std::numeric_limits<float>::quiet_NaN());
            return;
        }
        const std::size_t step = blocks.step();
        for (std::size_t start = 0; start < x_.count; start += step)
            for (std::size_t first = 0; first < x_.channels; first += rows)
                makeBlocks(blocks, start, std::min(step, x_.count - start), first,
                           std::min(rows, x_.channels - first));
    }

private:
    // Doubles that stay in the nearest cache.
    static constexpr std::size_t kStretchValues = 1024;
    static constexpr std::size_t kMostTogether = 16;

    // Channels to take at once: as many as fill the registers of a row, down to what does not.
    std::size_t together(std::size_t left) const {
        if (left == x_.channels && left < kernels_.widestRow) return left;
        std::size_t channels = kernels_.widestRow;
        while (channels > left && channels > kernels_.leastRow)
            channels /= 2;
        return std::min(channels, left);
    }

    // Calls body(from, place, n) for the samples of the outputs start..start+count-1 and those
    // before them that the sums reach: n samples lie from `from` on and are the place-th and next.
    template <class Body>
    void forSamples(std::size_t start, std::size_t count, std::size_t first, Body body) const {
        const std::size_t all = before_ + count;
        const std::size_t past = std::min(start < before_ ? before_ - start : 0, all);
        if (past > 0) body(x_.before + start * x_.channels + first, std::size_t{0}, past);
        if (past < all)
            body(x_.in + (start + past - before_) * x_.channels + first, past, all - past);
    }

    void take(std::size_t start, std::size_t count, std::size_t first, std::size_t channels,
              double* rows) const {
        forSamples(start, count, first, [&](const float* from, std::size_t place, std::size_t n) {
            convert_.take(from, x_.channels, channels, n, rows + place * channels);
        });
    }

    // Outputs of samples in rows. False where they do not fill registers, or where one may have
    // been a denormal of single precision, which is 0 here.
    bool makeAtOnce(const Taps& taps, const double* x, std::size_t channels, std::size_t count,
                    float* out) const {
        if (channels != x_.channels && channels < kernels_.leastRow) return false;
        const DenormalsFlushed mode;
        kernels_.singles(taps, x, static_cast<std::ptrdiff_t>(channels), out, x_.channels,
                         count * channels);
        return !mode.underflowed();
    }
    void makeInRows(const Taps& taps, const double* x, std::size_t channels, std::size_t count,
                    float* out) const {
        alignas(64) double made[kStretchValues];
        {
            const DenormalsFlushed mode;
            kernels_.outputs(taps, x, static_cast<std::ptrdiff_t>(channels), made,
                             count * channels);
        }
        convert_.put(made, channels, count, out, x_.channels);
    }

    void makeBlocks(const OverlapSave& blocks, std::size_t start, std::size_t count,
                    std::size_t first, std::size_t channels) const {
        const std::size_t distance = blocks.windowDistance();
        double* const windows = blocks.window().data();
        load(blocks, start, count, first, channels, windows);
        bool spoilt[kMostRows];
        {
            const DenormalsFlushed mode;
            for (std::size_t c = 0; c < channels; ++c)
                spoilt[c] = !blocks.convolve(c);
        }
        for (std::size_t c = 0; c < channels; ++c)
            if (spoilt[c]) convolveFinite(blocks, c, start, count, first);
        convert_.join(windows + blocks.firstOutput(), distance, channels, count,
                      out_ + start * x_.channels + first, x_.channels);
        for (std::size_t c = 0; c < channels; ++c)
            if (spoilt[c]) spoil(start, count, first + c);
    }

    // Lays the samples of a block into windows, silence behind them.
    void load(const OverlapSave& blocks, std::size_t start, std::size_t count, std::size_t first,
              std::size_t channels, double* windows) const {
        const std::size_t distance = blocks.windowDistance();
        forSamples(start, count, first, [&](const float* from, std::size_t place, std::size_t n) {
            convert_.split(from, x_.channels, channels, n, windows + place, distance);
        });
        for (std::size_t c = 0; c < channels; ++c) {
            const std::size_t end = before_ + count;
            std::fill_n(windows + c * distance + end, blocks.window().size() - end, 0.0);
        }
    }

    // Once more, the samples that are not finite as zeros.
    void convolveFinite(const OverlapSave& blocks, std::size_t number, std::size_t start,
                        std::size_t count, std::size_t first) const {
        const auto window = blocks.window(number);
        load(blocks, start, count, first + number, 1, window.data());
        std::replace_if(
            window.begin(), window.end(), [](double x) { return !std::isfinite(x); }, 0.0);
        const DenormalsFlushed mode;
        blocks.convolve(number);
    }

    // Outputs of a block that a value that is not finite reaches.
    void spoil(std::size_t start, std::size_t count, std::size_t channel) const {
        std::size_t reached = 0;  // outputs from here on are not
        for (std::size_t place = 0; place < before_ + count; ++place) {
            const std::size_t sample = start + place;  // 0: the first of those before the block
            const float value = sample < before_
                                    ? x_.before[sample * x_.channels + channel]
                                    : x_.in[(sample - before_) * x_.channels + channel];
            if (!std::isfinite(value)) reached = place + 1;
            if (place >= before_ && reached > 0 && place - before_ < reached)
                out_[(start + place - before_) * x_.channels + channel] =
                    std::numeric_limits<float>::quiet_NaN();
        }
    }

    std::span<const double> c_;
    std::size_t before_;
    const ChannelSamples& x_;
    float* out_;
    vyn::KernelLevel level_;
    const ConvolutionKernels& kernels_;
    const ChannelKernels& convert_;
};

}  // namespace

void convolveChannels(std::span<const double> c, const ChannelSamples& x, float* out,
                      vyn::KernelLevel level) {
    const DenormalsKept mode;
    const ChannelConvolution convolution(c, x, out, level);
    if (c.size() < kTransformedTaps) {
        convolution.directly();
    } else {
        convolution.byTransform();
    }
}

}  // namespace ovanlys
