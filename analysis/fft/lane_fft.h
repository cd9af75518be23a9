// Real Fourier transforms of powers of two, made for wide registers.
//
// The n samples are read as eight sub-sequences that lie side by side, lane l holding the samples
// l, l + 8, l + 16, ...: what the same step does to all lanes fills the registers, whatever their
// width. A lane's n / 8 real samples are taken as n / 16 complex points, one sample after the other
// as real and imaginary part, and go through complex stages of radix 8 and 4 that sort as they go
// (Stockham). At the end the two halves of each lane are told apart (its transform is that of a
// real signal), and a radix-8 step over the lanes makes the lines of all samples.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "fft/lane_fft_kernels.h"
#include "kernels/level.h"

namespace ovanlys {

class LaneFft {
public:
    static constexpr std::size_t kShortest = 256;
    // Whether there is such a transform: powers of two from kShortest on.
    static bool serves(std::size_t length) noexcept;

    // Errors: std::bad_alloc.
    explicit LaneFft(std::size_t length, vyn::KernelLevel level = vyn::kernelLevel());

    // n samples in `re` to the lines 0..n/2 in `re` and `im`, not normalised. All of `re` is worked
    // in, of `im` only the lines.
    void forward(double* re, double* im) const noexcept;
    // The way back, divided by n. The imaginary parts of the lines 0 and n/2 become 0 first.
    void inverse(double* re, double* im) const noexcept;

private:
    struct Stage {
        int radix;
        std::size_t twiddles;  // the first one's place
        std::ptrdiff_t groups;
        std::ptrdiff_t stride;
    };
    struct Free {
        void operator()(double* values) const noexcept;
    };
    using Values = std::unique_ptr<double[], Free>;

    static Values allocate(std::size_t count);
    void transformLanes(double* from, double* to, bool inverse) const noexcept;

    const LaneFftKernels& kernels_;
    std::ptrdiff_t points_;  // of a lane
    std::vector<Stage> stages_;
    Values stageTwiddles_;
    Values joinTwiddles_;
    Values lanes_;
};

}  // namespace ovanlys
