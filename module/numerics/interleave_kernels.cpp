#include "numerics/interleave_kernels.h"

#include <immintrin.h>

#include "kernels/transpose.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

constexpr std::size_t kChannels = 8;

// Four channels of four samples, or of twice four: samples i..i+3 in one half of the registers and
// i+4..i+7 in the other, so that what turns rows to columns stays within the halves.
#if defined(__AVX2__)
using Floats = Lanes<8>::Floats;
constexpr std::size_t kSamples = 8;

Floats loadTwo(const float* from, std::size_t step) {
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(from)),
                                _mm_loadu_ps(from + 4 * step), 1);
}
void storeTwo(Floats samples, float* to, std::size_t step) {
    _mm_storeu_ps(to, _mm256_castps256_ps128(samples));
    _mm_storeu_ps(to + 4 * step, _mm256_extractf128_ps(samples, 1));
}
#else
using Floats = Lanes<4>::Floats;
constexpr std::size_t kSamples = 4;

Floats loadTwo(const float* from, std::size_t /*step*/) { return load<Floats>(from); }
void storeTwo(Floats samples, float* to, std::size_t /*step*/) { store(samples, to); }
#endif

void split(const float* from, std::size_t step, std::size_t samples, float* rows,
           std::size_t stride) {
    std::size_t i = 0;
    for (; i + kSamples <= samples; i += kSamples) {
#pragma GCC unroll 2
        for (std::size_t c = 0; c < kChannels; c += 4) {
            Floats x[4];
#pragma GCC unroll 4
            for (std::size_t j = 0; j < 4; ++j)
                x[j] = loadTwo(from + (i + j) * step + c, step);
            transpose(x);
#pragma GCC unroll 4
            for (std::size_t j = 0; j < 4; ++j)
                store(x[j], rows + (c + j) * stride + i);
        }
    }
    for (; i < samples; ++i) {
        for (std::size_t c = 0; c < kChannels; ++c)
            rows[c * stride + i] = from[i * step + c];
    }
}

void join(const float* rows, std::size_t stride, std::size_t samples, float* to, std::size_t step) {
    std::size_t i = 0;
    for (; i + kSamples <= samples; i += kSamples) {
#pragma GCC unroll 2
        for (std::size_t c = 0; c < kChannels; c += 4) {
            Floats x[4];
#pragma GCC unroll 4
            for (std::size_t j = 0; j < 4; ++j)
                x[j] = load<Floats>(rows + (c + j) * stride + i);
            transpose(x);
#pragma GCC unroll 4
            for (std::size_t j = 0; j < 4; ++j)
                storeTwo(x[j], to + (i + j) * step + c, step);
        }
    }
    for (; i < samples; ++i) {
        for (std::size_t c = 0; c < kChannels; ++c)
            to[i * step + c] = rows[c * stride + i];
    }
}

constexpr InterleaveKernels kTable = {split, join};

}  // namespace

constinit const InterleaveKernels InterleaveKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
