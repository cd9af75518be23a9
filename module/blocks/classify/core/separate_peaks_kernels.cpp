#include "blocks/classify/core/separate_peaks_kernels.h"

#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

// Conditions are joined bitwise, so that no branch stands between the lanes.
void find(LaneRows rows, double hysteresis, double shift, SeparateLanes* state, double* extremes,
          double* shifts) {
    const auto all = static_cast<std::size_t>(rows.lanes);
    forEachLaneGroup(all, [=](auto group, std::size_t first) {
        using Floats = typename decltype(group)::Floats;
        using Reals = typename decltype(group)::Doubles;
        const Reals h = Reals{} + hysteresis;
        const Reals nothing = Reals{} + kNoExtreme;
        const Reals shifted = Reals{} + shift;
        const Reals one = Reals{} + 1.0;
        const Reals zero{};
        auto a = load<Reals>(state->last + first);
        auto maximum = load<Reals>(state->maximum + first);
        auto minimum = load<Reals>(state->minimum + first);
        auto slope = load<Reals>(state->slope + first);
        auto maximumPending = load<Reals>(state->maximumPending + first);
        auto minimumPending = load<Reals>(state->minimumPending + first);
        const float* x = rows.x + first;
        double* found = extremes + first;
        double* shiftOfFound = shifts + first;
        for (std::size_t frame = 0; frame < rows.frames; ++frame) {
            const auto b = converted<Reals>(load<Floats>(x));
            const Reals next = (b > a ? one : zero) - (b < a ? one : zero);
            slope = slope == kSlopeUnknown ? next : slope;
            const auto top = (slope > zero) & (next <= zero);
            const auto bottom = (slope <= zero) & (next > zero);
            // Within h of the other kind's last one; NaN is not.
            const auto nearMinimum = (a - minimum <= h) & (minimum - a <= h);
            const auto nearMaximum = (a - maximum <= h) & (maximum - a <= h);
            const auto tooNear = (top & nearMinimum) | (bottom & nearMaximum);
            maximum = top & !nearMinimum ? a : maximum;
            minimum = bottom & !nearMaximum ? a : minimum;
            maximumPending = top ? one : maximumPending;
            minimumPending = bottom ? one : minimumPending;
            maximumPending = tooNear ? zero : maximumPending;
            minimumPending = tooNear ? zero : minimumPending;

            const auto countMaximum =
                (maximumPending > zero) & ((b - maximum > h) | (maximum - b > h));
            const auto countMinimum =
                (minimumPending > zero) & ((b - minimum > h) | (minimum - b > h)) & !countMaximum;
            const Reals oneOfBoth = countMaximum ? maximum : nothing;
            const Reals counted = countMinimum ? minimum : oneOfBoth;
            const Reals shiftOfIt = countMaximum ? shifted : zero;
            store(counted, found);
            store(shiftOfIt, shiftOfFound);
            maximumPending = countMaximum ? zero : maximumPending;
            minimumPending = countMinimum ? zero : minimumPending;
            slope = next;
            a = b;
            x += rows.stride;
            found += all;
            shiftOfFound += all;
        }
        store(a, state->last + first);
        store(maximum, state->maximum + first);
        store(minimum, state->minimum + first);
        store(slope, state->slope + first);
        store(maximumPending, state->maximumPending + first);
        store(minimumPending, state->minimumPending + first);
    });
}

constexpr SeparateKernels kTable = {find};

}  // namespace

constinit const SeparateKernels SeparateKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
