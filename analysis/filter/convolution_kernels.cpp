#include "filter/convolution_kernels.h"

#include "kernels/lanes.h"

namespace ovanlys {
namespace {

using namespace vyn;  // its lanes

// Registers of neighbouring outputs that are made side by side; a tap serves all of them. As many
// as the level has room for.
constexpr int kRegisters = kLanes == 2 ? 4 : 8;

template <class Row, int lanes>
void stored(Row sums, double* to) {
    store(sums, to);
}
template <class Row, int lanes>
void stored(Row sums, float* to) {
    store(converted<typename Lanes<lanes>::Floats>(sums), to);
}

// (The sums are set and stored one by one: as an array the compiler would keep them in memory.)
template <int registers, class To>
void makeOutputs(const double* c, std::ptrdiff_t taps, const double* x, To* y) {
    Register sums[registers];
#pragma GCC unroll 8
    for (Register& sum : sums)
        sum = Register{};
    for (std::ptrdiff_t j = 0; j < taps; ++j) {
#pragma GCC unroll 8
        for (int r = 0; r < registers; ++r)
            sums[r] = sums[r] + load<Register>(x - j + kLanes * r) * c[j];
    }
#pragma GCC unroll 8
    for (int r = 0; r < registers; ++r)
        stored<Register, kLanes>(sums[r], y + kLanes * r);
}

// As many whole steps as `count` has.
template <int registers, class To>
void takeSteps(const double* c, std::ptrdiff_t taps, const double*& x, To*& y, std::size_t& count) {
    constexpr std::size_t kStep = kLanes * registers;
    for (; count >= kStep; count -= kStep, x += kStep, y += kStep)
        makeOutputs<registers>(c, taps, x, y);
}

// Of one channel: neighbouring outputs fill the registers; returns how many are left.
template <class To>
std::size_t takeWhole(const double* c, std::ptrdiff_t taps, const double*& x, To*& y,
                      std::size_t count) {
    takeSteps<kRegisters>(c, taps, x, y, count);
    takeSteps<1>(c, taps, x, y, count);
    return count;
}

void outputs(const double* c, std::ptrdiff_t taps, const double* x, double* y,
             std::ptrdiff_t blocks) {
    auto count = static_cast<std::size_t>(blocks * kOutputsAtOnce);
    takeSteps<kRegisters>(c, taps, x, y, count);
}

// Samples, or outputs, of neighbouring channels. Those of one time lie `step` behind those of the
// time before.
template <class Number>
struct Neighbours {  // a second register holds the channels beside the first one's
    Number* first;
    std::ptrdiff_t step;

    Number* at(std::ptrdiff_t time, int r) const { return first + time * step + r * kLanes; }
};
template <class Number>
struct Halves {  // a second register holds the same channels at times that are `apart` later
    Number* first;
    std::ptrdiff_t step;
    std::ptrdiff_t apart;

    Number* at(std::ptrdiff_t time, int r) const { return first + (time + r * apart) * step; }
};

// `samples` outputs side by side of what `registers` registers hold: a sample that is loaded once
// serves all of them, with a tap of its own for each, and a tap all registers. Walking down the
// samples, every output sees its taps in ascending order.
template <int lanes, int registers, int samples>
struct ChannelBlock {
    using Row = typename Lanes<lanes>::Doubles;

    // The sample at `x` into the outputs first..last; `tap` is the first one's.
    template <int first, int last, class From>
    static void add(const From& x, std::ptrdiff_t time, const double* tap,
                    Row (&sums)[samples][registers]) {
        Row here[registers];
#pragma GCC unroll 4
        for (int r = 0; r < registers; ++r)
            here[r] = load<Row>(x.at(time, r));
#pragma GCC unroll 8
        for (int k = first; k <= last; ++k)
#pragma GCC unroll 4
            for (int r = 0; r < registers; ++r)
                sums[k][r] = sums[k][r] + here[r] * tap[k - first];
    }

    // Samples that lie `distance` behind the first output's: only the later outputs have a tap.
    template <int distance, class From>
    static void addLater(const From& x, const double* c, Row (&sums)[samples][registers]) {
        if constexpr (distance > 0) {
            add<distance, samples - 1>(x, distance, c, sums);
            addLater<distance - 1>(x, c, sums);
        }
    }
    // Samples before which only the earlier outputs have a tap left.
    template <int missing, class From>
    static void addEarlier(const From& x, const double* tap, Row (&sums)[samples][registers]) {
        if constexpr (missing < samples) {
            add<0, samples - 1 - missing>(x, 1 - missing, tap, sums);
            addEarlier<missing + 1>(x, tap + 1, sums);
        }
    }

    // For taps >= samples.
    template <class From, class To>
    static void make(const double* c, std::ptrdiff_t taps, From x, const To& y) {
        Row sums[samples][registers];
#pragma GCC unroll 8
        for (int k = 0; k < samples; ++k)
#pragma GCC unroll 4
            for (int r = 0; r < registers; ++r)
                sums[k][r] = Row{};
        addLater<samples - 1>(x, c, sums);
        const double* const end = c + taps - samples + 1;
        for (; c != end; ++c, x.first -= x.step)
            add<0, samples - 1>(x, 0, c, sums);
        addEarlier<1>(x, c, sums);
#pragma GCC unroll 8
        for (int k = 0; k < samples; ++k)
#pragma GCC unroll 4
            for (int r = 0; r < registers; ++r)
                stored<Row, lanes>(sums[k][r], y.at(k, r));
    }
};

// `count` outputs of what `registers` registers hold.
template <int lanes, int registers, class From, class To>
void makeChannels(const double* c, std::ptrdiff_t taps, From x, To y, std::size_t count) {
    constexpr int kSamples = 8 / registers;
    if (taps >= kSamples) {
        for (; count >= kSamples; count -= kSamples) {
            ChannelBlock<lanes, registers, kSamples>::make(c, taps, x, y);
            x.first += kSamples * x.step;
            y.first += kSamples * y.step;
        }
    }
    for (; count > 0; --count, x.first += x.step, y.first += y.step)
        ChannelBlock<lanes, registers, 1>::make(c, taps, x, y);
}

// Of one register of channels: a second one holds the second half of the times.
template <int lanes, class To>
void makeHalves(const double* c, std::ptrdiff_t taps, Neighbours<const double> x, Neighbours<To> y,
                std::size_t count) {
    const auto half = static_cast<std::ptrdiff_t>(count / 2);
    makeChannels<lanes, 2>(c, taps, Halves<const double>{x.first, x.step, half},
                           Halves<To>{y.first, y.step, half}, count / 2);
    if (count % 2 == 0) return;
    x.first += 2 * half * x.step;
    y.first += 2 * half * y.step;
    ChannelBlock<lanes, 1, 1>::make(c, taps, x, y);
}

constexpr std::size_t kChannelStep = kLanes > 4 ? 4 : kLanes;

template <class To>
void makeAll(const double* c, std::ptrdiff_t taps, const double* x, std::size_t channels, To* y,
             std::size_t stride, std::size_t count) {
    const auto from = [&](std::size_t first) {
        return Neighbours<const double>{x + first, static_cast<std::ptrdiff_t>(channels)};
    };
    const auto to = [&](std::size_t first) {
        return Neighbours<To>{y + first, static_cast<std::ptrdiff_t>(stride)};
    };
    std::size_t first = 0;
    for (; first + 2 * kLanes <= channels; first += 2 * kLanes)
        makeChannels<kLanes, 2>(c, taps, from(first), to(first), count);
    if (first + kLanes <= channels) {
        makeHalves<kLanes>(c, taps, from(first), to(first), count);
        first += kLanes;
    }
    if constexpr (kLanes > kChannelStep) {
        if (first + kChannelStep <= channels) {
            makeHalves<kChannelStep>(c, taps, from(first), to(first), count);
            first += kChannelStep;
        }
    }
    for (; first < channels; ++first)
        makeChannels<1, 1>(c, taps, from(first), to(first), count);
}

void channelOutputs(const double* c, std::ptrdiff_t taps, const double* x, std::size_t channels,
                    double* y, std::size_t count) {
    if (channels == 1) count = takeWhole(c, taps, x, y, count);
    makeAll(c, taps, x, channels, y, channels, count);
}

void channelSingles(const double* c, std::ptrdiff_t taps, const double* x, std::size_t channels,
                    float* y, std::size_t stride, std::size_t count) {
    if (channels == 1 && stride == 1) count = takeWhole(c, taps, x, y, count);
    makeAll(c, taps, x, channels, y, stride, count);
}

void multiply(double* __restrict re, double* __restrict im, const double* __restrict responseRe,
              const double* __restrict responseIm, std::size_t lines) {
    for (std::size_t k = 0; k < lines; ++k) {
        const double product = re[k] * responseRe[k] - im[k] * responseIm[k];
        im[k] = re[k] * responseIm[k] + im[k] * responseRe[k];
        re[k] = product;
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

constexpr ConvolutionKernels kTable = {outputs,        kChannelStep, channelOutputs,
                                       channelSingles, multiply,     allFinite};

}  // namespace

constinit const ConvolutionKernels ConvolutionKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys
