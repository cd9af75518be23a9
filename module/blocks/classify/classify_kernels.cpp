#include "classify/classify_kernels.h"

namespace vynpack::VYN_KERNEL_LEVEL {
namespace {

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

// One number per lane. The searches carry so much from pair to pair that no compiler sees the lanes
// in plain loops; the language has no vectors yet.
template <int lanes>
struct Lanes {
    typedef float Samples __attribute__((vector_size(lanes * sizeof(float))));
    typedef double Reals __attribute__((vector_size(lanes * sizeof(double))));
};

template <int lanes>
void excursions(const float* x, std::size_t stride, std::size_t frames, int first, int all,
                double referenceLine, double hysteresis, ExcursionLanes* state, double* extremes) {
    using Reals = typename Lanes<lanes>::Reals;
    const Reals line = Reals{} + referenceLine;
    const Reals above = line + hysteresis;
    const Reals below = line - hysteresis;
    const Reals nothing = Reals{} + kNothing;
    const Reals one = Reals{} + 1.0;
    const Reals zero{};
    Reals a;
    Reals extreme;
    Reals up;
    Reals down;
    __builtin_memcpy(&a, state->last + first, sizeof a);
    __builtin_memcpy(&extreme, state->extreme + first, sizeof extreme);
    __builtin_memcpy(&up, state->crossedUpward + first, sizeof up);
    __builtin_memcpy(&down, state->crossedDownward + first, sizeof down);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        typename Lanes<lanes>::Samples samples;
        __builtin_memcpy(&samples, x + first, sizeof samples);
        const Reals b = __builtin_convertvector(samples, Reals);
        up = (b >= line) & (line > a) ? one : up;
        down = (line > b) & (a >= line) ? one : down;
        extreme = (a >= line) & (a > extreme) ? a : extreme;
        extreme = (a < line) & (a < extreme) ? a : extreme;
        const auto both = (up > zero) & (down > zero);
        const Reals counted = both & ((extreme >= above) | (extreme < below)) ? extreme : nothing;
        __builtin_memcpy(extremes + first, &counted, sizeof counted);
        up = both & (extreme >= line) ? zero : up;
        down = both & (extreme < line) ? zero : down;
        extreme = both ? line : extreme;
        a = b;
        x += stride;
        extremes += all;
    }
    __builtin_memcpy(state->last + first, &a, sizeof a);
    __builtin_memcpy(state->extreme + first, &extreme, sizeof extreme);
    __builtin_memcpy(state->crossedUpward + first, &up, sizeof up);
    __builtin_memcpy(state->crossedDownward + first, &down, sizeof down);
}

template <int lanes>
void turns(const float* x, std::size_t stride, std::size_t frames, int first, int all,
           double referenceLine, double hysteresis, TurningLanes* state, double* extremes) {
    using Reals = typename Lanes<lanes>::Reals;
    const Reals line = Reals{} + referenceLine;
    const Reals nothing = Reals{} + kNothing;
    const Reals one = Reals{} + 1.0;
    const Reals zero{};
    Reals a;
    Reals extreme;
    Reals slope;
    Reals candidate;
    __builtin_memcpy(&a, state->last + first, sizeof a);
    __builtin_memcpy(&extreme, state->extreme + first, sizeof extreme);
    __builtin_memcpy(&slope, state->slope + first, sizeof slope);
    __builtin_memcpy(&candidate, state->candidate + first, sizeof candidate);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        typename Lanes<lanes>::Samples samples;
        __builtin_memcpy(&samples, x + first, sizeof samples);
        const Reals b = __builtin_convertvector(samples, Reals);
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
        const Reals counted = confirmed & ~dropped ? extreme : nothing;
        __builtin_memcpy(extremes + first, &counted, sizeof counted);
        candidate = confirmed | dropped ? zero : candidate;
        slope = next;
        a = b;
        x += stride;
        extremes += all;
    }
    __builtin_memcpy(state->last + first, &a, sizeof a);
    __builtin_memcpy(state->extreme + first, &extreme, sizeof extreme);
    __builtin_memcpy(state->slope + first, &slope, sizeof slope);
    __builtin_memcpy(state->candidate + first, &candidate, sizeof candidate);
}

template <int lanes>
void peaks(const float* x, std::size_t stride, std::size_t frames, int first, int all,
           double hysteresis, double shift, SeparateLanes* state, double* extremes,
           double* shifts) {
    using Reals = typename Lanes<lanes>::Reals;
    const Reals h = Reals{} + hysteresis;
    const Reals nothing = Reals{} + kNothing;
    const Reals shifted = Reals{} + shift;
    const Reals one = Reals{} + 1.0;
    const Reals zero{};
    Reals a;
    Reals maximum;
    Reals minimum;
    Reals slope;
    Reals maximumPending;
    Reals minimumPending;
    __builtin_memcpy(&a, state->last + first, sizeof a);
    __builtin_memcpy(&maximum, state->maximum + first, sizeof maximum);
    __builtin_memcpy(&minimum, state->minimum + first, sizeof minimum);
    __builtin_memcpy(&slope, state->slope + first, sizeof slope);
    __builtin_memcpy(&maximumPending, state->maximumPending + first, sizeof maximumPending);
    __builtin_memcpy(&minimumPending, state->minimumPending + first, sizeof minimumPending);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        typename Lanes<lanes>::Samples samples;
        __builtin_memcpy(&samples, x + first, sizeof samples);
        const Reals b = __builtin_convertvector(samples, Reals);
        const Reals next = (b > a ? one : zero) - (b < a ? one : zero);
        slope = slope == kSlopeUnknown ? next : slope;
        const auto top = (slope > zero) & (next <= zero);
        const auto bottom = (slope <= zero) & (next > zero);
        // Within h of the other kind's last one; NaN is not.
        const auto nearMinimum = (a - minimum <= h) & (minimum - a <= h);
        const auto nearMaximum = (a - maximum <= h) & (maximum - a <= h);
        const auto tooNear = (top & nearMinimum) | (bottom & nearMaximum);
        maximum = top & ~nearMinimum ? a : maximum;
        minimum = bottom & ~nearMaximum ? a : minimum;
        maximumPending = top ? one : maximumPending;
        minimumPending = bottom ? one : minimumPending;
        maximumPending = tooNear ? zero : maximumPending;
        minimumPending = tooNear ? zero : minimumPending;

        const auto countMaximum = (maximumPending > zero) & ((b - maximum > h) | (maximum - b > h));
        const auto countMinimum =
            ~countMaximum & (minimumPending > zero) & ((b - minimum > h) | (minimum - b > h));
        const Reals oneOfBoth = countMaximum ? maximum : nothing;
        const Reals counted = countMinimum ? minimum : oneOfBoth;
        const Reals shiftOfIt = countMaximum ? shifted : zero;
        __builtin_memcpy(extremes + first, &counted, sizeof counted);
        __builtin_memcpy(shifts + first, &shiftOfIt, sizeof shiftOfIt);
        maximumPending = countMaximum ? zero : maximumPending;
        minimumPending = countMinimum ? zero : minimumPending;
        slope = next;
        a = b;
        x += stride;
        extremes += all;
        shifts += all;
    }
    __builtin_memcpy(state->last + first, &a, sizeof a);
    __builtin_memcpy(state->maximum + first, &maximum, sizeof maximum);
    __builtin_memcpy(state->minimum + first, &minimum, sizeof minimum);
    __builtin_memcpy(state->slope + first, &slope, sizeof slope);
    __builtin_memcpy(state->maximumPending + first, &maximumPending, sizeof maximumPending);
    __builtin_memcpy(state->minimumPending + first, &minimumPending, sizeof minimumPending);
}

// What a register holds.
#if defined(__AVX512F__)
constexpr int kRegister = 8;
#elif defined(__AVX2__)
constexpr int kRegister = 4;
#else
constexpr int kRegister = 2;
#endif

// A group of lanes, a register after the other.
void findExcursions(const float* x, std::size_t stride, std::size_t frames, int lanes, double line,
                    double hysteresis, ExcursionLanes* state, double* extremes) {
    int i = 0;
    for (; i + kRegister <= lanes; i += kRegister) {
        excursions<kRegister>(x, stride, frames, i, lanes, line, hysteresis, state, extremes);
    }
    for (; i < lanes; ++i)
        excursions<1>(x, stride, frames, i, lanes, line, hysteresis, state, extremes);
}

void findTurns(const float* x, std::size_t stride, std::size_t frames, int lanes, double line,
               double hysteresis, TurningLanes* state, double* extremes) {
    int i = 0;
    for (; i + kRegister <= lanes; i += kRegister)
        turns<kRegister>(x, stride, frames, i, lanes, line, hysteresis, state, extremes);
    for (; i < lanes; ++i)
        turns<1>(x, stride, frames, i, lanes, line, hysteresis, state, extremes);
}

void findPeaks(const float* x, std::size_t stride, std::size_t frames, int lanes, double hysteresis,
               double shift, SeparateLanes* state, double* extremes, double* shifts) {
    int i = 0;
    for (; i + kRegister <= lanes; i += kRegister) {
        peaks<kRegister>(x, stride, frames, i, lanes, hysteresis, shift, state, extremes, shifts);
    }
    for (; i < lanes; ++i)
        peaks<1>(x, stride, frames, i, lanes, hysteresis, shift, state, extremes, shifts);
}

}  // namespace

const ClassifyKernels classifyKernels = {classIndices, extremeIndices, findExcursions, findTurns,
                                         findPeaks};

}  // namespace vynpack::VYN_KERNEL_LEVEL
