#include "blocks/classify/core/level_crossings_kernels.h"

#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

// Registers full of single precision, for classes side by side.
constexpr int kFloats = 2 * kLanes;
using Floats [[gnu::vector_size(4 * kFloats)]] = float;
using Masks [[gnu::vector_size(4 * kFloats)]] = std::int32_t;

void countAmong(SamplePairs pairs, CrossingClasses* classes) {
    for (int first = 0; first < classes->count; first += kFloats) {
        const auto sign = load<Floats>(classes->sign + first);
        const auto limit = load<Floats>(classes->limit + first);
        const auto back = load<Floats>(classes->back + first);
        const auto onward = load<Floats>(classes->onward + first);
        auto armed = load<Masks>(classes->armed + first);
        auto crossings = load<Masks>(classes->crossings + first);
        Floats a = sign * pairs.last;
        for (std::size_t i = 0; i < pairs.count; ++i) {
            const Floats b = sign * pairs.x[i * pairs.stride];
            // The crossing is counted first; the same pair may re-arm the class.
            const Masks counted = (b >= limit) & (limit > a) & armed;
            crossings -= counted;
            armed = (armed & ~counted) | (b <= back) | (b >= onward);
            a = b;
        }
        store(armed, classes->armed + first);
        store(crossings, classes->crossings + first);
    }
}

// The same for samples that all lie beyond the limits: classes are re-armed and nothing else.
void rearm(float low, float high, CrossingClasses* classes) {
    for (int k = 0; k < classes->count; ++k) {
        const bool upwards = classes->sign[k] > 0.0F;
        const float lowest = upwards ? low : -high;
        const float highest = upwards ? high : -low;
        const bool arms = (lowest <= classes->back[k]) | (highest >= classes->onward[k]);
        classes->armed[k] |= arms ? -1 : 0;
    }
}

void count(const SamplePairs& pairs, CrossingClasses* classes, std::size_t groups) {
    if (groups <= 2) {
        for (std::size_t group = 0; group < groups; ++group)
            countAmong(pairs, classes + group);
        return;
    }
    // Among many classes a few samples come near a few alone.
    constexpr std::size_t kPairsTogether = 32;
    constexpr float kInfinity = __builtin_inff();
    SamplePairs some = pairs;
    for (std::size_t left = pairs.count; left > 0; left -= some.count) {
        some.count = left < kPairsTogether ? left : kPairsTogether;
        float low = kInfinity;
        float high = -kInfinity;
        for (std::size_t i = 0; i < some.count; ++i) {
            const float b = some.x[i * some.stride];
            low = b < low ? b : low;
            high = b > high ? b : high;
        }
        for (CrossingClasses* group = classes; group != classes + groups; ++group) {
            const bool beyond = (high < group->lowest && !(some.last >= group->lowest)) ||
                                (low > group->highest && !(some.last <= group->highest));
            if (beyond) {
                rearm(low, high, group);
            } else {
                countAmong(some, group);
            }
        }
        some.last = some.x[(some.count - 1) * some.stride];
        some.x += some.count * some.stride;
    }
}

constexpr CrossingKernels kTable = {count};

}  // namespace

constinit const CrossingKernels CrossingKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
