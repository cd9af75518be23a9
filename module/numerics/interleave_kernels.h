// Moves of eight channels between interleaved samples and rows, compiled for several
// instruction-set levels.
#pragma once

#include <cstddef>

namespace vynpack {

struct InterleaveKernels {
    // rows[c * stride + i] = from[i * step + c], c = 0..7
    void (*split)(const float* from, std::size_t step, std::size_t samples, float* rows,
                  std::size_t stride);
    // to[i * step + c] = rows[c * stride + i]
    void (*join)(const float* rows, std::size_t stride, std::size_t samples, float* to,
                 std::size_t step);

    static const InterleaveKernels baseline, avx2, avx512;
};

}  // namespace vynpack
