#include "classify/classify_kernels.h"

namespace vynpack::VYN_KERNEL_LEVEL {
namespace {

void classIndices(const float* x, std::size_t count, double begin, double end, double range,
                  std::int32_t n, std::int32_t* out) {
    const double outside = n;
    for (std::size_t i = 0; i < count; ++i) {
        const double value = x[i];
        const double k = (value - begin) / range * outside;
        // Bitwise, so that no branch stands between the lanes.
        const bool inside = (value > begin) & (value <= end) & (k >= 0.0) & (k < outside);
        out[i] = static_cast<std::int32_t>(inside ? k : outside);
    }
}

}  // namespace

const ClassifyKernels classifyKernels = {classIndices};

}  // namespace vynpack::VYN_KERNEL_LEVEL
