#include "numerics/interleave.h"

#include <array>
#include <utility>

#include "kernels/level.h"
#include "numerics/interleave_kernels.h"

namespace vynpack {
namespace {

// The channel count of a tile is a constant here: the compiler unrolls the inner loop, and each
// sample is read and written once. Whole tiles in single precision have kernels.
template <class Number, int Count>
void split(const float* from, std::size_t step, std::size_t samples, Number* rows,
           std::size_t stride) noexcept {
    for (std::size_t i = 0; i < samples; ++i) {
        for (std::size_t c = 0; c < Count; ++c) {
            rows[c * stride + i] = static_cast<Number>(from[i * step + c]);
        }
    }
}

template <class Number, int Count>
void join(const Number* rows, std::size_t stride, std::size_t samples, float* to,
          std::size_t step) noexcept {
    for (std::size_t i = 0; i < samples; ++i) {
        for (std::size_t c = 0; c < Count; ++c) {
            to[i * step + c] = static_cast<float>(rows[c * stride + i]);
        }
    }
}

template <class Number, int... Count>
constexpr auto splitsBy(std::integer_sequence<int, Count...>) {
    return std::array{&split<Number, Count + 1>...};
}
template <class Number, int... Count>
constexpr auto joinsBy(std::integer_sequence<int, Count...>) {
    return std::array{&join<Number, Count + 1>...};
}

template <class Number>
constexpr auto kSplits = splitsBy<Number>(std::make_integer_sequence<int, kTileChannels>{});
template <class Number>
constexpr auto kJoins = joinsBy<Number>(std::make_integer_sequence<int, kTileChannels>{});

template <class Number>
void splitTile(const float* interleaved, const ChannelTile& tile, Number* rows,
               std::size_t stride) noexcept {
    kSplits<Number>[static_cast<std::size_t>(tile.count - 1)](
        interleaved + tile.first, static_cast<std::size_t>(tile.channels), tile.samples, rows,
        stride);
}

template <class Number>
void joinTile(const Number* rows, std::size_t stride, const ChannelTile& tile,
              float* interleaved) noexcept {
    kJoins<Number>[static_cast<std::size_t>(tile.count - 1)](
        rows, stride, tile.samples, interleaved + tile.first,
        static_cast<std::size_t>(tile.channels));
}

}  // namespace

void splitChannels(const float* interleaved, const ChannelTile& tile, double* rows,
                   std::size_t stride) noexcept {
    if (tile.samples == 0) return;  // and perhaps no array
    splitTile(interleaved, tile, rows, stride);
}
void splitChannels(const float* interleaved, const ChannelTile& tile, float* rows,
                   std::size_t stride) noexcept {
    if (tile.samples == 0) return;
    if (tile.count == kTileChannels) {
        vyn::kernelsAt<InterleaveKernels>().split(interleaved + tile.first,
                                                  static_cast<std::size_t>(tile.channels),
                                                  tile.samples, rows, stride);
        return;
    }
    splitTile(interleaved, tile, rows, stride);
}

void joinChannels(const double* rows, std::size_t stride, const ChannelTile& tile,
                  float* interleaved) noexcept {
    if (tile.samples == 0) return;
    joinTile(rows, stride, tile, interleaved);
}
void joinChannels(const float* rows, std::size_t stride, const ChannelTile& tile,
                  float* interleaved) noexcept {
    if (tile.samples == 0) return;
    if (tile.count == kTileChannels) {
        vyn::kernelsAt<InterleaveKernels>().join(rows, stride, tile.samples,
                                                 interleaved + tile.first,
                                                 static_cast<std::size_t>(tile.channels));
        return;
    }
    joinTile(rows, stride, tile, interleaved);
}

}  // namespace vynpack
