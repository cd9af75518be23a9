// Kernels are loops that gain from wide registers: compiled once per instruction-set level from one
// source, and chosen when the program runs. All copies give the same bits; they differ in speed
// alone.
//
// A set of kernels is a struct of function pointers, with one table per level:
//     struct BandKernels { void (*add)(…);  static const BandKernels baseline, avx2, avx512; };
// Its source, *_kernels.cpp, is compiled per level with VYN_KERNEL_LEVEL set to the level's name
// and ends in the definition of that level's table; everything before stands in an unnamed
// namespace:
//     constinit const BandKernels BandKernels::VYN_KERNEL_LEVEL = {add};
// kernelsAt<BandKernels>() is the table that serves this machine.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace vyn {

// From narrow to wide registers; a machine that has one level has those before it.
enum class KernelLevel { baseline, avx2, avx512 };

inline constexpr KernelLevel kKernelLevels[] = {KernelLevel::baseline, KernelLevel::avx2,
                                                KernelLevel::avx512};

// The widest level that the machine has, whatever the environment asks for.
inline KernelLevel machineLevel() noexcept {
    __builtin_cpu_init();
    const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                        __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
    if (avx512) return KernelLevel::avx512;
    // What has AVX2 has fused multiply-adds, but for a few processors.
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) return KernelLevel::avx2;
    return KernelLevel::baseline;
}

// The level that the environment variable VYNPACK_KERNELS asks for by name, the widest by any other
// text or none.
inline KernelLevel askedLevel() noexcept {
    const char* variable = std::getenv("VYNPACK_KERNELS");
    const std::string_view asked = variable != nullptr ? variable : "";
    if (asked == "baseline") return KernelLevel::baseline;
    if (asked == "avx2") return KernelLevel::avx2;
    return KernelLevel::avx512;
}

// The level that serves: the lower one of the two, found once. (Many places ask: a call each, not
// the search.)
[[gnu::noinline]] inline KernelLevel kernelLevel() noexcept {
    static const KernelLevel level = std::min(machineLevel(), askedLevel());
    return level;
}

// The table for a level.
template <class Kernels>
const Kernels& kernelsAt(KernelLevel level = kernelLevel()) noexcept {
    switch (level) {
        case KernelLevel::avx512: return Kernels::avx512;
        case KernelLevel::avx2: return Kernels::avx2;
        default: return Kernels::baseline;
    }
}

}  // namespace vyn
