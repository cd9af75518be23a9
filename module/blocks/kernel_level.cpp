#include "blocks/kernel_level.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace vynpack {
namespace {

KernelLevel machineLevel() noexcept {
    __builtin_cpu_init();
    const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                        __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
    if (avx512) return KernelLevel::avx512;
    if (__builtin_cpu_supports("avx2")) return KernelLevel::avx2;
    return KernelLevel::baseline;
}

KernelLevel askedLevel() noexcept {
    const char* variable = std::getenv("VYNPACK_KERNELS");
    const std::string_view asked = variable != nullptr ? variable : "";
    if (asked == "baseline") return KernelLevel::baseline;
    if (asked == "avx2") return KernelLevel::avx2;
    return KernelLevel::avx512;
}

}  // namespace

KernelLevel kernelLevel() noexcept {
    static const KernelLevel level = std::min(machineLevel(), askedLevel());
    return level;
}

}  // namespace vynpack
