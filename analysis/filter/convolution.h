// Full linear convolution.
//
// Source: A. V. Oppenheim, R. W. Schafer, "Discrete-Time Signal Processing" (overlap-save).
#pragma once

#include <cstddef>
#include <span>

#include "kernels/level.h"

namespace ovanlys {

// From this many taps on, the transforms are faster than the sums (bench/analysis_filter.cpp). The
// number is the same at every instruction-set level, so that the results are.
inline constexpr std::size_t kTransformedTaps = 192;

// y[m] = sum_j c[j] x[m-j] for m = 0..c.size()+x.size()-2, by the faster way; both ways agree to
// 1e-12 of full scale. A value that is not finite reaches its own outputs alone. Neither c nor x is
// empty, y has one more place than the sums, which becomes 0. Errors: std::bad_alloc before y is
// touched.
void convolve(std::span<const double> c, std::span<const double> x, std::span<double> y);

// By sums, vectorised over the outputs, in the order of the shorter of the two.
void convolveDirectly(std::span<const double> c, std::span<const double> x, std::span<double> y,
                      vyn::KernelLevel level = vyn::kernelLevel());

// By transforms, overlap-save. An output that a value that is not finite reaches is NaN.
void convolveByTransform(std::span<const double> c, std::span<const double> x, std::span<double> y);

}  // namespace ovanlys
