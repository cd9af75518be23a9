#include "blocks/classify/core/class_index_kernels.h"

namespace vynpack {
namespace {

// Conditions are joined bitwise, so that no branch stands between the lanes.

void ofSamples(const float* x, std::size_t count, const ClassScale& scale, std::int32_t* out) {
    const double begin = scale.begin;
    const double end = scale.end;
    const double range = scale.range;
    const double outside = scale.number;
    for (std::size_t i = 0; i < count; ++i) {
        const double value = x[i];
        const double k = (value - begin) / range * outside;
        const bool inside = (value > begin) & (value <= end) & (k >= 0.0) & (k < outside);
        out[i] = static_cast<std::int32_t>(inside ? k : outside);
    }
}

void ofExtremes(const double* x, const double* shifts, std::size_t count, const ClassScale& scale,
                std::int32_t* out) {
    const double begin = scale.begin;
    const double range = scale.range;
    const std::int32_t n = scale.number;
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

using Ruler = ClassFinder<float>::Ruler;

// Ruler::nearestLimit, which no kernel may call, of a value at `place`.
template <class Number>
inline Number nearestLimit(Number place, Number classes) {
    constexpr Number kRounder = ClassFinder<Number>::Ruler::kRounder;
    const Number notAbove = place < classes ? place : classes;
    const Number inside = notAbove > 0 ? notAbove : 0;
    return (inside + kRounder) - kRounder;
}

inline std::int32_t classOf(float x, const Ruler& ruler, const float* limits) {
    const float place = (x - ruler.begin) * ruler.classesPerUnit;
    const auto nearest = static_cast<std::int32_t>(nearestLimit(place, ruler.classes));
    return nearest - (x < limits[nearest] ? 1 : 0);
}

// The limits themselves decide where a value lies at one of them, which few do, and NaN does.
void classes(const float* x, std::size_t count, const Ruler& ruler, const float* limits,
             std::int32_t* out) {
    constexpr std::size_t kTogether = 32;
    const float begin = ruler.begin;
    const float classesPerUnit = ruler.classesPerUnit;
    const float number = ruler.classes;
    const float play = ruler.play;
    for (; count >= kTogether; count -= kTogether, x += kTogether, out += kTogether) {
        std::int32_t clear = 1;
        for (std::size_t i = 0; i < kTogether; ++i) {
            const float place = (x[i] - begin) * classesPerUnit;
            const float nearest = nearestLimit(place, number);
            const float distance = place - nearest;
            clear &= static_cast<std::int32_t>(__builtin_fabsf(distance) > play);
            out[i] = static_cast<std::int32_t>(nearest) - static_cast<std::int32_t>(distance < 0);
        }
        if (clear != 0) continue;
        for (std::size_t i = 0; i < kTogether; ++i)
            out[i] = classOf(x[i], ruler, limits);
    }
    for (std::size_t i = 0; i < count; ++i)
        out[i] = classOf(x[i], ruler, limits);
}

void nearestLimitsOfExtremes(const double* x, std::size_t count,
                             const ClassFinder<double>::Ruler& ruler, std::int32_t* out) {
    const double begin = ruler.begin;
    const double classesPerUnit = ruler.classesPerUnit;
    const double number = ruler.classes;
    for (std::size_t i = 0; i < count; ++i) {
        const double place = (x[i] - begin) * classesPerUnit;
        out[i] = static_cast<std::int32_t>(nearestLimit(place, number));
    }
}

constexpr ClassIndexKernels kTable = {ofSamples, ofExtremes, classes, nearestLimitsOfExtremes};

}  // namespace

constinit const ClassIndexKernels ClassIndexKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
