#include "numerics/lane_rows.h"

#include <algorithm>

namespace vynpack {

LaneRows laneRows(const float* x, std::size_t stride, std::size_t frames, int channels,
                  float* padded) {
    const int lanes = lanesFor(channels);
    if (lanes == channels) return {x, stride, frames, lanes};
    for (std::size_t frame = 0; frame < frames; ++frame)
        std::copy_n(x + frame * stride, channels, padded + frame * kGroupLanes);
    return {padded, kGroupLanes, frames, lanes};
}

}  // namespace vynpack
