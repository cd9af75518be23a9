#include "filter/channel_kernels.h"

#include "kernels/lanes.h"

namespace ovanlys {
namespace {

using namespace vyn;  // its lanes

// `width` neighbouring numbers of every row, in one pass over the rows.
template <int width>
void takeColumns(const float* in, std::size_t stride, std::size_t count, double* rows,
                 std::size_t rowLength) {
    constexpr int kStep = width < kLanes ? width : kLanes;
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
    constexpr int kStep = width < kLanes ? width : kLanes;
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

// The count of channels is a constant here: each sample is read and written once.
template <std::size_t most>
void split(const float* in, std::size_t stride, std::size_t channels, std::size_t count,
           double* rows, std::size_t distance) {
    if (channels == most) {
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t c = 0; c < most; ++c)
                rows[c * distance + i] = in[i * stride + c];
    } else {
        if constexpr (most > 1) split<most - 1>(in, stride, channels, count, rows, distance);
    }
}

template <std::size_t most>
void join(const double* rows, std::size_t distance, std::size_t channels, std::size_t count,
          float* out, std::size_t stride) {
    if (channels == most) {
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t c = 0; c < most; ++c)
                out[i * stride + c] = static_cast<float>(rows[c * distance + i]);
    } else {
        if constexpr (most > 1) join<most - 1>(rows, distance, channels, count, out, stride);
    }
}

constexpr ChannelKernels kTable = {take, put, split<kMostRows>, join<kMostRows>};

}  // namespace

constinit const ChannelKernels ChannelKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys
