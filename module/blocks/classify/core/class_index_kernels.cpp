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

template <class Number>
void nearestLimits(const Number* x, std::size_t count,
                   const typename ClassFinder<Number>::Ruler& ruler, std::int32_t* out) {
    const Number begin = ruler.begin;
    const Number classesPerUnit = ruler.classesPerUnit;
    const Number classes = ruler.classes;
    constexpr Number kRounder = ClassFinder<Number>::Ruler::kRounder;
    for (std::size_t i = 0; i < count; ++i) {
        const Number place = (x[i] - begin) * classesPerUnit;
        const Number notAbove = place < classes ? place : classes;
        const Number inside = notAbove > 0 ? notAbove : 0;
        out[i] = static_cast<std::int32_t>((inside + kRounder) - kRounder);
    }
}

constexpr ClassIndexKernels kTable = {ofSamples, ofExtremes, nearestLimits<float>,
                                      nearestLimits<double>};

}  // namespace

constinit const ClassIndexKernels ClassIndexKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
