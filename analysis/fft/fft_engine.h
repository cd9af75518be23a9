// The engine behind the Fourier transforms: one plan per length, with the memory that its
// transforms work in. Powers of two go through the project's own kernels, other lengths and short
// ones through PocketFFT.
#pragma once

#include <cstddef>
#include <memory>

#include "fft/lane_fft.h"

namespace ovanlys {

// Transforms of one length n between n samples and their lines X_k, k = 0..n/2, in real and
// imaginary parts. A plan serves one transform at a time; from its second transform on it allocates
// nothing. Errors: std::bad_alloc, before anything is touched.
class FftPlan {
public:
    explicit FftPlan(std::size_t length);
    ~FftPlan();
    FftPlan(const FftPlan&) = delete;
    FftPlan& operator=(const FftPlan&) = delete;

    std::size_t length() const noexcept { return length_; }
    // From the samples in `re` to the lines, not normalised. `re` has room for n values, `im` for
    // n/2 + 1; what lies beyond line n/2 is unspecified.
    void forward(double* re, double* im) const;
    // From the lines to the samples in `re`, divided by n. The imaginary parts of line 0 and, for
    // even n, of line n/2 count as 0. `im` is unspecified afterwards.
    void inverse(double* re, double* im) const;

private:
    class AnyLength;

    std::size_t length_;
    std::unique_ptr<AnyLength> anyLength_;
    std::unique_ptr<LaneFft> lanes_;  // instead, where there is one
};

}  // namespace ovanlys
