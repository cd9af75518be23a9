// Groups of neighbouring channels, which kernels take side by side, a lane each.
#pragma once

#include <cstddef>

namespace vynpack {

inline constexpr int kGroupLanes = 8;  // of a group, at most

// The lanes that 1 to kGroupLanes channels take up: kernels serve 1, 2, 4 and 8.
constexpr int lanesFor(int channels) {
    if (channels > 4) return 8;
    return channels > 2 ? 4 : channels;
}

// Samples of a group: frame f of lane l lies at x[f * stride + l].
struct LaneRows {
    const float* x;
    std::size_t stride;
    std::size_t frames;
    int lanes;
};

// `channels` neighbouring ones of interleaved samples, the first frame's at x. Where they leave
// lanes over, the rows are a copy in `padded` (frames * kGroupLanes places), whose other places
// stay.
LaneRows laneRows(const float* x, std::size_t stride, std::size_t frames, int channels,
                  float* padded);

}  // namespace vynpack
