// The engine behind the Fourier transforms: one plan per length, with the memory that its
// transforms work in.
#pragma once

#include <cstddef>
#include <memory>

namespace ovanlys {

// Transforms of one length n in packed order: Re X_0, Re X_1, Im X_1, Re X_2, Im X_2, ... and, for
// even n, Re X_(n/2) at the end. A plan serves one transform at a time; from its second transform
// on it allocates nothing. Errors: std::bad_alloc, before the samples are touched.
class FftPlan {
public:
    explicit FftPlan(std::size_t length);
    ~FftPlan();
    FftPlan(const FftPlan&) = delete;
    FftPlan& operator=(const FftPlan&) = delete;

    std::size_t length() const noexcept;
    void forward(double* samples) const;                // in place, not normalised
    void inverse(double* packed, double factor) const;  // in place, times `factor`

private:
    struct Engine;
    std::unique_ptr<Engine> engine_;
};

}  // namespace ovanlys
