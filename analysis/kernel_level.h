// Which copy of the vectorised kernels serves this machine. All copies give the same bits; they
// differ in speed alone.
#pragma once

namespace ovanlys {

enum class KernelLevel { baseline, avx2, avx512 };

// The widest level that the machine has, found once. The environment variable VYNPACK_KERNELS
// ("baseline", "avx2", "avx512") asks for a lower one.
KernelLevel kernelLevel() noexcept;

// The widest level that the machine has, whatever the environment asks for.
KernelLevel machineLevel() noexcept;

// Picks the copy for the level out of three.
template <class Kernels>
const Kernels& kernelsFor(KernelLevel level, const Kernels& baseline, const Kernels& avx2,
                          const Kernels& avx512) noexcept {
    switch (level) {
        case KernelLevel::avx512: return avx512;
        case KernelLevel::avx2: return avx2;
        default: return baseline;
    }
}

}  // namespace ovanlys
