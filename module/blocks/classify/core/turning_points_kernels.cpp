#include "blocks/classify/core/turning_points_kernels.h"

#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

// Conditions are joined bitwise, so that no branch stands between the lanes.
void find(LaneRows rows, double referenceLine, double hysteresis, TurningLanes* state,
          double* extremes) {
    const auto all = static_cast<std::size_t>(rows.lanes);
    forEachLaneGroup(all, [=](auto group, std::size_t first) {
        using Floats = typename decltype(group)::Floats;
        using Reals = typename decltype(group)::Doubles;
        const Reals line = Reals{} + referenceLine;
        const Reals nothing = Reals{} + kNoExtreme;
        const Reals one = Reals{} + 1.0;
        const Reals zero{};
        auto a = load<Reals>(state->last + first);
        auto extreme = load<Reals>(state->extreme + first);
        auto slope = load<Reals>(state->slope + first);
        auto candidate = load<Reals>(state->candidate + first);
        const float* x = rows.x + first;
        double* found = extremes + first;
        for (std::size_t frame = 0; frame < rows.frames; ++frame) {
            const auto b = converted<Reals>(load<Floats>(x));
            const Reals next = (b > a ? one : zero) - (b < a ? one : zero);
            slope = slope == kSlopeUnknown ? next : slope;
            const auto maximum = (slope > zero) & (next <= zero) & (a >= line);
            const auto minimum = (slope < zero) & (next >= zero) & (a < line);
            candidate = maximum ? one : candidate;
            candidate = minimum ? -one : candidate;
            extreme = maximum | minimum ? a : extreme;
            const auto isMaximum = candidate > zero;
            const auto isMinimum = candidate < zero;
            const auto confirmed =
                (isMaximum & (b < extreme - hysteresis)) | (isMinimum & (b > extreme + hysteresis));
            const auto dropped = (isMaximum & (b > extreme)) | (isMinimum & (b < extreme));
            const Reals counted = confirmed & !dropped ? extreme : nothing;
            store(counted, found);
            candidate = confirmed | dropped ? zero : candidate;
            slope = next;
            a = b;
            x += rows.stride;
            found += all;
        }
        store(a, state->last + first);
        store(extreme, state->extreme + first);
        store(slope, state->slope + first);
        store(candidate, state->candidate + first);
    });
}

constexpr TurningKernels kTable = {find};

}  // namespace

constinit const TurningKernels TurningKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
