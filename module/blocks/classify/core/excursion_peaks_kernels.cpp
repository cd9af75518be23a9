#include "blocks/classify/core/excursion_peaks_kernels.h"

#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

// Conditions are joined bitwise, so that no branch stands between the lanes.
void find(LaneRows rows, double referenceLine, double hysteresis, ExcursionLanes* state,
          double* extremes) {
    const auto all = static_cast<std::size_t>(rows.lanes);
    forEachLaneGroup(all, [=](auto group, std::size_t first) {
        using Floats = typename decltype(group)::Floats;
        using Reals = typename decltype(group)::Doubles;
        const Reals line = Reals{} + referenceLine;
        const Reals above = line + hysteresis;
        const Reals below = line - hysteresis;
        const Reals nothing = Reals{} + kNoExtreme;
        const Reals one = Reals{} + 1.0;
        const Reals zero{};
        auto a = load<Reals>(state->last + first);
        auto extreme = load<Reals>(state->extreme + first);
        auto up = load<Reals>(state->crossedUpward + first);
        auto down = load<Reals>(state->crossedDownward + first);
        const float* x = rows.x + first;
        double* found = extremes + first;
        for (std::size_t frame = 0; frame < rows.frames; ++frame) {
            const auto b = converted<Reals>(load<Floats>(x));
            up = (b >= line) & (line > a) ? one : up;
            down = (line > b) & (a >= line) ? one : down;
            extreme = (a >= line) & (a > extreme) ? a : extreme;
            extreme = (a < line) & (a < extreme) ? a : extreme;
            const auto both = (up > zero) & (down > zero);
            const Reals counted =
                both & ((extreme >= above) | (extreme < below)) ? extreme : nothing;
            store(counted, found);
            up = both & (extreme >= line) ? zero : up;
            down = both & (extreme < line) ? zero : down;
            extreme = both ? line : extreme;
            a = b;
            x += rows.stride;
            found += all;
        }
        store(a, state->last + first);
        store(extreme, state->extreme + first);
        store(up, state->crossedUpward + first);
        store(down, state->crossedDownward + first);
    });
}

constexpr ExcursionKernels kTable = {find};

}  // namespace

constinit const ExcursionKernels ExcursionKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
