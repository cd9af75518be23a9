#include "blocks/classify/core/classify_kernels.h"

#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

// Conditions are joined bitwise, so that no branch stands between the lanes.

void classIndices(const float* x, std::size_t count, double begin, double end, double range,
                  std::int32_t n, std::int32_t* out) {
    const double outside = n;
    for (std::size_t i = 0; i < count; ++i) {
        const double value = x[i];
        const double k = (value - begin) / range * outside;
        const bool inside = (value > begin) & (value <= end) & (k >= 0.0) & (k < outside);
        out[i] = static_cast<std::int32_t>(inside ? k : outside);
    }
}

void extremeIndices(const double* x, const double* shifts, std::size_t count, double begin,
                    double range, std::int32_t n, std::int32_t* out) {
    const double outside = n;
    for (std::size_t i = 0; i < count; ++i) {
        const double k = (x[i] - begin) / range * outside;
        const bool inside = (k >= 0.0) & (k < outside);
        out[i] = static_cast<std::int32_t>(inside ? k : outside);
    }
    if (shifts == nullptr) return;
    for (std::size_t i = 0; i < count; ++i)
        out[i] += out[i] < n ? static_cast<std::int32_t>(shifts[i]) : 0;
}

constexpr double kNothing = __builtin_nan("");

template <class Group>
void excursions(const float* x, std::size_t stride, std::size_t frames, std::size_t first,
                std::size_t all, double referenceLine, double hysteresis, ExcursionLanes* state,
                double* extremes) {
    using Floats = typename Group::Floats;
    using Reals = typename Group::Doubles;
    const Reals line = Reals{} + referenceLine;
    const Reals above = line + hysteresis;
    const Reals below = line - hysteresis;
    const Reals nothing = Reals{} + kNothing;
    const Reals one = Reals{} + 1.0;
    const Reals zero{};
    auto a = load<Reals>(state->last + first);
    auto extreme = load<Reals>(state->extreme + first);
    auto up = load<Reals>(state->crossedUpward + first);
    auto down = load<Reals>(state->crossedDownward + first);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const auto b = converted<Reals>(load<Floats>(x + first));
        up = (b >= line) & (line > a) ? one : up;
        down = (line > b) & (a >= line) ? one : down;
        extreme = (a >= line) & (a > extreme) ? a : extreme;
        extreme = (a < line) & (a < extreme) ? a : extreme;
        const auto both = (up > zero) & (down > zero);
        const Reals counted = both & ((extreme >= above) | (extreme < below)) ? extreme : nothing;
        store(counted, extremes + first);
        up = both & (extreme >= line) ? zero : up;
        down = both & (extreme < line) ? zero : down;
        extreme = both ? line : extreme;
        a = b;
        x += stride;
        extremes += all;
    }
    store(a, state->last + first);
    store(extreme, state->extreme + first);
    store(up, state->crossedUpward + first);
    store(down, state->crossedDownward + first);
}

template <class Group>
void turns(const float* x, std::size_t stride, std::size_t frames, std::size_t first,
           std::size_t all, double referenceLine, double hysteresis, TurningLanes* state,
           double* extremes) {
    using Floats = typename Group::Floats;
    using Reals = typename Group::Doubles;
    const Reals line = Reals{} + referenceLine;
    const Reals nothing = Reals{} + kNothing;
    const Reals one = Reals{} + 1.0;
    const Reals zero{};
    auto a = load<Reals>(state->last + first);
    auto extreme = load<Reals>(state->extreme + first);
    auto slope = load<Reals>(state->slope + first);
    auto candidate = load<Reals>(state->candidate + first);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const auto b = converted<Reals>(load<Floats>(x + first));
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
        store(counted, extremes + first);
        candidate = confirmed | dropped ? zero : candidate;
        slope = next;
        a = b;
        x += stride;
        extremes += all;
    }
    store(a, state->last + first);
    store(extreme, state->extreme + first);
    store(slope, state->slope + first);
    store(candidate, state->candidate + first);
}

template <class Group>
void peaks(const float* x, std::size_t stride, std::size_t frames, std::size_t first,
           std::size_t all, double hysteresis, double shift, SeparateLanes* state, double* extremes,
           double* shifts) {
    using Floats = typename Group::Floats;
    using Reals = typename Group::Doubles;
    const Reals h = Reals{} + hysteresis;
    const Reals nothing = Reals{} + kNothing;
    const Reals shifted = Reals{} + shift;
    const Reals one = Reals{} + 1.0;
    const Reals zero{};
    auto a = load<Reals>(state->last + first);
    auto maximum = load<Reals>(state->maximum + first);
    auto minimum = load<Reals>(state->minimum + first);
    auto slope = load<Reals>(state->slope + first);
    auto maximumPending = load<Reals>(state->maximumPending + first);
    auto minimumPending = load<Reals>(state->minimumPending + first);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const auto b = converted<Reals>(load<Floats>(x + first));
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

        const auto countMaximum = (maximumPending > zero) & ((b - maximum > h) | (maximum - b > h));
        const auto countMinimum =
            (minimumPending > zero) & ((b - minimum > h) | (minimum - b > h)) & !countMaximum;
        const Reals oneOfBoth = countMaximum ? maximum : nothing;
        const Reals counted = countMinimum ? minimum : oneOfBoth;
        const Reals shiftOfIt = countMaximum ? shifted : zero;
        store(counted, extremes + first);
        store(shiftOfIt, shifts + first);
        maximumPending = countMaximum ? zero : maximumPending;
        minimumPending = countMinimum ? zero : minimumPending;
        slope = next;
        a = b;
        x += stride;
        extremes += all;
        shifts += all;
    }
    store(a, state->last + first);
    store(maximum, state->maximum + first);
    store(minimum, state->minimum + first);
    store(slope, state->slope + first);
    store(maximumPending, state->maximumPending + first);
    store(minimumPending, state->minimumPending + first);
}

void findExcursions(const float* x, std::size_t stride, std::size_t frames, int lanes, double line,
                    double hysteresis, ExcursionLanes* state, double* extremes) {
    const auto all = static_cast<std::size_t>(lanes);
    forEachLaneGroup(all, [=](auto group, std::size_t first) {
        excursions<decltype(group)>(x, stride, frames, first, all, line, hysteresis, state,
                                    extremes);
    });
}

void findTurns(const float* x, std::size_t stride, std::size_t frames, int lanes, double line,
               double hysteresis, TurningLanes* state, double* extremes) {
    const auto all = static_cast<std::size_t>(lanes);
    forEachLaneGroup(all, [=](auto group, std::size_t first) {
        turns<decltype(group)>(x, stride, frames, first, all, line, hysteresis, state, extremes);
    });
}

void findPeaks(const float* x, std::size_t stride, std::size_t frames, int lanes, double hysteresis,
               double shift, SeparateLanes* state, double* extremes, double* shifts) {
    const auto all = static_cast<std::size_t>(lanes);
    forEachLaneGroup(all, [=](auto group, std::size_t first) {
        peaks<decltype(group)>(x, stride, frames, first, all, hysteresis, shift, state, extremes,
                               shifts);
    });
}

// Registers full of single precision, for classes side by side.
constexpr int kFloats = 2 * kLanes;
using Floats [[gnu::vector_size(4 * kFloats)]] = float;
using Masks [[gnu::vector_size(4 * kFloats)]] = std::int32_t;

void countAmong(const float* x, std::size_t stride, std::size_t pairs, float last,
                CrossingClasses* classes) {
    for (int first = 0; first < classes->count; first += kFloats) {
        const auto sign = load<Floats>(classes->sign + first);
        const auto limit = load<Floats>(classes->limit + first);
        const auto back = load<Floats>(classes->back + first);
        const auto onward = load<Floats>(classes->onward + first);
        auto armed = load<Masks>(classes->armed + first);
        auto crossings = load<Masks>(classes->crossings + first);
        Floats a = sign * last;
        for (std::size_t i = 0; i < pairs; ++i) {
            const Floats b = sign * x[i * stride];
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

void countCrossings(const float* x, std::size_t stride, std::size_t pairs, float last,
                    CrossingClasses* classes, std::size_t groups) {
    if (groups <= 2) {
        for (std::size_t group = 0; group < groups; ++group)
            countAmong(x, stride, pairs, last, classes + group);
        return;
    }
    // Among many classes a few samples come near a few alone.
    constexpr std::size_t kPairsTogether = 32;
    constexpr float kInfinity = __builtin_inff();
    while (pairs > 0) {
        const std::size_t now = pairs < kPairsTogether ? pairs : kPairsTogether;
        float low = kInfinity;
        float high = -kInfinity;
        for (std::size_t i = 0; i < now; ++i) {
            const float b = x[i * stride];
            low = b < low ? b : low;
            high = b > high ? b : high;
        }
        for (std::size_t group = 0; group < groups; ++group) {
            CrossingClasses* some = classes + group;
            const bool beyond = (high < some->lowest && !(last >= some->lowest)) ||
                                (low > some->highest && !(last <= some->highest));
            if (beyond) {
                rearm(low, high, some);
            } else {
                countAmong(x, stride, now, last, some);
            }
        }
        last = x[(now - 1) * stride];
        x += now * stride;
        pairs -= now;
    }
}

// All classes look at every line: no branch depends on the signal, and the sums stay in registers.
void addDwell(const float* x, std::size_t stride, std::size_t pairs, double last,
              const DwellRules* rules, double* sums) {
    using Reals = Lanes<kLanes>::Doubles;
    constexpr std::size_t kLinesTogether = 16;
    const double infinity = __builtin_inf();
    const Reals zero{};
    const Reals step = zero + rules->step;
    for (std::size_t done = 0; done < pairs; done += kLinesTogether) {
        const std::size_t now = pairs - done < kLinesTogether ? pairs - done : kLinesTogether;
        double samples[kLinesTogether + 1] = {last};
        for (std::size_t i = 0; i < now; ++i)
            samples[i + 1] = x[(done + i) * stride];
        last = samples[now];
        // Where each line runs, or the reverse of everywhere where it counts in no class.
        double low[kLinesTogether];
        double high[kLinesTogether];
        for (std::size_t i = 0; i < kLinesTogether; ++i) {
            const double a = samples[i];
            const double b = samples[i + 1];
            const bool counts = (rules->begin <= b) & (b <= rules->end) & (a == a);
            const double smaller = a < b ? a : b;
            const double larger = a < b ? b : a;
            low[i] = counts ? smaller : infinity;
            high[i] = counts ? larger : -infinity;
        }
        double lowest = infinity;
        double highest = -infinity;
        for (std::size_t i = 0; i < now; ++i) {
            lowest = low[i] < lowest ? low[i] : lowest;
            highest = high[i] > highest ? high[i] : highest;
        }
        for (int k = 0; k < rules->n; k += kLanes) {
            const double* limits = rules->limits + k;
            if (highest < limits[0] || lowest > limits[kLanes]) continue;
            const auto lower = load<Reals>(limits);
            const auto upper = load<Reals>(limits + 1);
            auto sum = load<Reals>(sums + k);
            for (std::size_t i = 0; i < now; ++i) {
                const Reals from = zero + low[i];
                const Reals to = zero + high[i];
                const Reals top = upper < to ? upper : to;
                const Reals bottom = lower > from ? lower : from;
                const Reals part = step * (top - bottom) / (to - from);
                const Reals time = top > bottom ? part : zero;
                // A line that rests on the end is in no class.
                const auto inside = (lower <= from) & (to <= upper) & (from < upper);
                sum += inside ? step : time;
            }
            store(sum, sums + k);
        }
    }
}

constexpr ClassifyKernels kTable = {classIndices, extremeIndices, findExcursions, findTurns,
                                    findPeaks,    countCrossings, addDwell};

}  // namespace

constinit const ClassifyKernels ClassifyKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
