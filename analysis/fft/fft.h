// Real Fourier transforms of any length, in place, without allocation once a length is known.
#pragma once

#include <cstddef>
#include <memory>

#include "fft/fft_engine.h"

namespace ovanlys {

// A plan for a length, borrowed for a scope from those that are kept. Errors: std::bad_alloc.
class BorrowedPlan {
public:
    explicit BorrowedPlan(std::size_t length);
    ~BorrowedPlan();
    BorrowedPlan(const BorrowedPlan&) = delete;
    BorrowedPlan& operator=(const BorrowedPlan&) = delete;

    const FftPlan* operator->() const noexcept { return plan_.get(); }

private:
    std::unique_ptr<FftPlan> plan_;
};

// Forward transform of n >= 1 samples in `a`: afterwards a[k] and b[k], k = 0..n/2, are the real
// and imaginary parts of X_k = sum_i x_i e^(-2 pi j k i / n). What lies beyond n/2 is unspecified.
// Raises std::bad_alloc before anything is touched. May be called from several threads.
void forwardRealTransform(double* a, double* b, int n);

// Its inverse: n samples into `re` from the lines 0..n/2 in re and im, divided by n. The imaginary
// parts of line 0 and, for even n, of line n/2 count as 0. `im` is unspecified afterwards.
void inverseRealTransform(double* re, double* im, int n);

}  // namespace ovanlys
