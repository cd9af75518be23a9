// Between the host's interleaved float samples and rows, one row per channel.
#pragma once

#include <cstddef>
#include <span>

namespace vynpack {

// Channels that are moved together: one pass over the samples serves all of them, and their rows
// stay in the cache until they are moved back.
inline constexpr int kTileChannels = 8;

// A few neighbouring channels of interleaved samples, and how many samples of each.
struct ChannelTile {
    int channels;  // in the interleaved samples
    int first;     // first channel of the tile
    int count;     // 1..kTileChannels
    std::size_t samples;
};

// Row r gets channel tile.first + r; rows lie `stride` numbers apart.
void splitChannels(const float* interleaved, const ChannelTile& tile, double* rows,
                   std::size_t stride) noexcept;
void splitChannels(const float* interleaved, const ChannelTile& tile, float* rows,
                   std::size_t stride) noexcept;

// The way back, doubles rounded to float. Channels outside the tile are left alone.
void joinChannels(const double* rows, std::size_t stride, const ChannelTile& tile,
                  float* interleaved) noexcept;
void joinChannels(const float* rows, std::size_t stride, const ChannelTile& tile,
                  float* interleaved) noexcept;

// Distance of rows that hold `length` numbers: a cache line of doubles more than needed, so that
// rows of a power-of-two length do not fall into the same cache sets.
constexpr std::size_t rowStride(std::size_t length) noexcept { return (length + 15) / 8 * 8; }

// Calls visit(tile) for all channels, tile by tile.
template <class Visit>
void forEachTile(int channels, std::size_t samples, Visit visit) {
    for (int first = 0; first < channels; first += kTileChannels) {
        const int left = channels - first;
        visit(ChannelTile{channels, first, left < kTileChannels ? left : kTileChannels, samples});
    }
}

}  // namespace vynpack
