// Filtering of interleaved channels, one double-precision row per channel at a time.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "numerics/interleave.h"

namespace vynpack {

// The work rows of a run: grown when a longer data block arrives, otherwise untouched.
class ChannelRows {
public:
    // For each channel c: filterRow(c, row), row being its samples as doubles, filtered in place.
    // `in` and `out` hold `channels` interleaved channels; values that make no whole sample become
    // 0.
    template <class FilterRow>
    void filter(std::span<const float> in, int channels, std::span<float> out,
                FilterRow filterRow) {
        const std::size_t samples = in.size() / static_cast<std::size_t>(channels);
        const std::size_t stride = rowStride(samples);
        reserve(stride * kTileChannels);
        forEachTile(channels, samples, [&](const ChannelTile& tile) {
            splitChannels(in.data(), tile, rows_.data(), stride);
            for (int r = 0; r < tile.count; ++r) {
                double* row = rows_.data() + static_cast<std::size_t>(r) * stride;
                filterRow(tile.first + r, std::span<double>(row, samples));
            }
            joinChannels(rows_.data(), stride, tile, out.data());
        });
        for (std::size_t i = samples * static_cast<std::size_t>(channels); i < out.size(); ++i) {
            out[i] = 0.0F;
        }
    }

private:
    void reserve(std::size_t size) {
        if (rows_.size() < size) rows_ = std::vector<double>(size);
    }

    std::vector<double> rows_;
};

}  // namespace vynpack
