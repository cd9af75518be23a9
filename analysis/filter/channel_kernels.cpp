#include "filter/channel_kernels.h"

#include "kernels/transpose.h"

namespace ovanlys {
namespace {

using namespace vyn;  // its lanes

// Numbers that are converted at once: at AVX-512 half a register of doubles, since full ones slow
// down the filter that runs between (measured: one channel through four sections, a tenth).
constexpr int kAtOnce = kLanes < 4 ? kLanes : 4;

// `width` neighbouring numbers of every row, in one pass over the rows.
template <int width>
void takeColumns(const float* in, std::size_t stride, std::size_t count, double* rows,
                 std::size_t rowLength) {
    constexpr int kStep = width < kAtOnce ? width : kAtOnce;
    using Floats = typename Lanes<kStep>::Floats;
    using Doubles = typename Lanes<kStep>::Doubles;
    for (; count > 0; --count, in += stride, rows += rowLength) {
#pragma GCC unroll 8
        for (int i = 0; i < width; i += kStep)
            store(converted<Doubles>(load<Floats>(in + i)), rows + i);
    }
}

template <int width>
void putColumns(const double* rows, std::size_t rowLength, std::size_t count, float* out,
                std::size_t stride) {
    constexpr int kStep = width < kAtOnce ? width : kAtOnce;
    using Floats = typename Lanes<kStep>::Floats;
    using Doubles = typename Lanes<kStep>::Doubles;
    for (; count > 0; --count, rows += rowLength, out += stride) {
#pragma GCC unroll 8
        for (int i = 0; i < width; i += kStep)
            store(converted<Floats>(load<Doubles>(rows + i)), out + i);
    }
}

template <int width>
struct Columns {};

// Calls body(Columns<width>{}, first) for groups of neighbouring columns that cover all.
template <class Body>
void forEachGroup(std::size_t columns, Body body) {
    std::size_t first = 0;
    for (; first + 16 <= columns; first += 16)
        body(Columns<16>{}, first);
    const auto rest = [&]<int width>(Columns<width> group) {
        if ((columns & static_cast<std::size_t>(width)) == 0) return;
        body(group, first);
        first += static_cast<std::size_t>(width);
    };
    rest(Columns<8>{});
    rest(Columns<4>{});
    rest(Columns<2>{});
    rest(Columns<1>{});
}

void take(const float* in, std::size_t stride, std::size_t channels, std::size_t count,
          double* rows) {
    if (stride == channels) {  // without gaps: one long row
        channels *= count;
        count = 1;
    }
    forEachGroup(channels, [=]<int width>(Columns<width>, std::size_t first) {
        takeColumns<width>(in + first, stride, count, rows + first, channels);
    });
}

void put(const double* rows, std::size_t channels, std::size_t count, float* out,
         std::size_t stride) {
    if (stride == channels) {
        channels *= count;
        count = 1;
    }
    forEachGroup(channels, [=]<int width>(Columns<width>, std::size_t first) {
        putColumns<width>(rows + first, channels, count, out + first, stride);
    });
    leaveWideRegisters();
}

// Four samples to doubles, and back.
void putFour(Lanes<4>::Floats x, double* to) {
    if constexpr (kLanes == 2) {
        store(converted<Register>(__builtin_shufflevector(x, x, 0, 1)), to);
        store(converted<Register>(__builtin_shufflevector(x, x, 2, 3)), to + 2);
    } else {
        store(converted<Lanes<4>::Doubles>(x), to);
    }
}
Lanes<4>::Floats fourSingles(const double* from) {
    if constexpr (kLanes == 2) {
        return __builtin_shufflevector(single(load<Register>(from)),
                                       single(load<Register>(from + 2)), 0, 1, 2, 3);
    } else {
        return converted<Lanes<4>::Floats>(load<Lanes<4>::Doubles>(from));
    }
}

// Neighbouring channels to rows of their own: squares of four samples of four channels are turned.
template <std::size_t channels>
void splitSquares(const float* in, std::size_t stride, std::size_t count, double* rows,
                  std::size_t distance) {
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
#pragma GCC unroll 2
        for (std::size_t c = 0; c < channels; c += 4) {
            Lanes<4>::Floats x[4];
#pragma GCC unroll 4
            for (std::size_t k = 0; k < 4; ++k)
                x[k] = load<Lanes<4>::Floats>(in + (i + k) * stride + c);
            transpose(x);
#pragma GCC unroll 4
            for (std::size_t k = 0; k < 4; ++k)
                putFour(x[k], rows + (c + k) * distance + i);
        }
    }
    for (; i < count; ++i)
        for (std::size_t c = 0; c < channels; ++c)
            rows[c * distance + i] = in[i * stride + c];
}

template <std::size_t channels>
void joinSquares(const double* rows, std::size_t distance, std::size_t count, float* out,
                 std::size_t stride) {
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
#pragma GCC unroll 2
        for (std::size_t c = 0; c < channels; c += 4) {
            Lanes<4>::Floats x[4];
#pragma GCC unroll 4
            for (std::size_t k = 0; k < 4; ++k)
                x[k] = fourSingles(rows + (c + k) * distance + i);
            transpose(x);
#pragma GCC unroll 4
            for (std::size_t k = 0; k < 4; ++k)
                store(x[k], out + (i + k) * stride + c);
        }
    }
    for (; i < count; ++i)
        for (std::size_t c = 0; c < channels; ++c)
            out[i * stride + c] = static_cast<float>(rows[c * distance + i]);
}

// Up to `most` channels: their count is a constant here, so that each sample is walked over once.
template <std::size_t most>
void splitFew(const float* in, std::size_t stride, std::size_t channels, std::size_t count,
              double* rows, std::size_t distance) {
    if (channels == most) {
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t c = 0; c < most; ++c)
                rows[c * distance + i] = in[i * stride + c];
    } else {
        if constexpr (most > 1) splitFew<most - 1>(in, stride, channels, count, rows, distance);
    }
}

template <std::size_t most>
void joinFew(const double* rows, std::size_t distance, std::size_t channels, std::size_t count,
             float* out, std::size_t stride) {
    if (channels == most) {
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t c = 0; c < most; ++c)
                out[i * stride + c] = static_cast<float>(rows[c * distance + i]);
    } else {
        if constexpr (most > 1) joinFew<most - 1>(rows, distance, channels, count, out, stride);
    }
}

void split(const float* in, std::size_t stride, std::size_t channels, std::size_t count,
           double* rows, std::size_t distance) {
    const std::size_t squares = channels / 4 * 4;
    if (squares == 8) return splitSquares<8>(in, stride, count, rows, distance);
    if (squares == 4) splitSquares<4>(in, stride, count, rows, distance);
    splitFew<3>(in + squares, stride, channels - squares, count, rows + squares * distance,
                distance);
}

void join(const double* rows, std::size_t distance, std::size_t channels, std::size_t count,
          float* out, std::size_t stride) {
    const std::size_t squares = channels / 4 * 4;
    if (squares == 8) {
        joinSquares<8>(rows, distance, count, out, stride);
    } else {
        if (squares == 4) joinSquares<4>(rows, distance, count, out, stride);
        joinFew<3>(rows + squares * distance, distance, channels - squares, count, out + squares,
                   stride);
    }
    leaveWideRegisters();
}

constexpr ChannelKernels kTable = {take, put, split, join};

}  // namespace

constinit const ChannelKernels ChannelKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys
