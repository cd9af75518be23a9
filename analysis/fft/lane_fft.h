// Real Fourier transforms of powers of two, made for wide registers.
//
// Notation: W_N = e^(-2 pi j / N); n samples x, lines X[k] = sum_m W_n^(k m) x[m]; P = n / 16.
//
// The samples are read as eight sub-sequences that lie side by side: lane l of point p is
//     z_l[p] = x[16 p + l] + j x[16 p + 8 + l],  p = 0..P-1.
// What the same step does to all lanes fills the registers, whatever their width. Nothing is moved
// for that; the samples lie so in memory. Two steps follow.
//
// 1. Lanes. Z_l = DFT(z_l), P complex points, in stages of radix 8 and 4 that work in place
//    (decimation in frequency: Oppenheim and Schafer, "Discrete-Time Signal Processing"). A stage
//    of radix r takes blocks of r s points, s its stride, and makes r blocks of s points of each,
//        out[i s + q] = W_(r s)^(q i) sum_t W_r^(i t) in[t s + q],  q = 0..s-1, i = 0..r-1.
//    Behind the first stage the blocks are independent of one another: those that fit into the
//    nearest cache take all further stages there. At the end line k lies where its digits, turned
//    round, say: k = i_0 + r_0 (i_1 + r_1 (...)) lies at i_0 s_0 + i_1 s_1 + ....
// 2. Lines. Real and imaginary parts belong to two sub-sequences, told apart by symmetry:
//    with Z_l[P] = Z_l[0] and Y_m the transform of every sixteenth sample from x[m] on,
//        Y_l[k]     = (Z_l[k] + conj Z_l[P-k]) / 2,
//        Y_(l+8)[k] = (Z_l[k] - conj Z_l[P-k]) / 2j.
//    A radix-16 step over them makes the lines of all samples,
//        X[k + P i] = sum_m W_16^(m i) (W_n^(m k) Y_m[k]),  k = 0..P/2, i = 0..15,
//    where the lines above n/2 stand, as conjugates, for lines below it: X[n-k] = conj X[k].
//
// The inverse transform takes the steps backwards, its stages from the last one to the first
// (decimation in time), with the twiddles at their inputs, and real and imaginary parts exchanged.
//
// n = 512, P = 32, as the memory sees it; "re, im" are eight numbers each, one per lane:
//
//   x[0..7] x[8..15] | x[16..23] x[24..31] |  ...  | x[496..503] x[504..511]   samples
//     re       im    |    re        im     |       |     re           im       are
//        z_l[0]      |       z_l[1]        |       |        z_l[31]            points
//          |
//   radix 8, s = 4:  out[4 i + q] = W_32^(q i) sum_t W_8^(i t) in[4 t + q]       one block of 32
//   radix 4, s = 1:  out[i]       =            sum_t W_4^(i t) in[t]             eight blocks of 4
//          |
//        Z_l[0]      |  Z_l[8]  |  Z_l[16]  |  Z_l[24]  |  Z_l[1]  |  ...  |  Z_l[31]
//          |
//   lines:  k and 32-k, for k = 0..15, over all lanes become
//           i = 0   1      2      3    ...   7       8          9         ...   15
//               k   k+32   k+64   k+96       k+224   (256-k)*   (224-k)*        (32-k)*
//   (*: conjugates); and the middle line, k = 16, its own mirror line, becomes what is left.
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
    // One stage; `stride` as above.
    struct Stage {
        int radix;
        std::ptrdiff_t stride;
        std::size_t twiddles;  // the first one's place
    };
    struct Free {
        void operator()(double* values) const noexcept;
    };
    using Values = std::unique_ptr<double[], Free>;

    static Values allocate(std::size_t count);
    std::size_t makeStages();
    // Where line k of the lanes lies, in points.
    std::ptrdiff_t placeOf(std::ptrdiff_t k) const noexcept;
    double* lanesBeside(const double* samples) const noexcept;
    // The lines of the lanes from 8 * index on.
    template <class Number>
    FftGroup<Number> group(Number* lanes, std::ptrdiff_t index) const noexcept;
    const double* groupTwiddles(std::ptrdiff_t index) const noexcept {
        return joinTwiddles_.get() + index * kFftGroupTwiddles;
    }
    void runOuter(const double* from, double* to, bool inverse) const noexcept;
    void runInner(const Stage& stage, double* points, std::ptrdiff_t blocks,
                  bool inverse) const noexcept;
    template <class Work>
    void forEachBlock(double* lanes, Work work) const noexcept;
    // The stages from `index` on over `count` points, in place.
    void forwardFrom(std::size_t index, double* points, std::ptrdiff_t count) const noexcept;
    void inverseTo(std::size_t index, double* points, std::ptrdiff_t count) const noexcept;

    const LaneFftKernels& kernels_;
    std::ptrdiff_t points_;  // of a lane
    std::vector<Stage> stages_;
    std::vector<std::ptrdiff_t> groupPlaces_;  // of the lines 0, 8, 16, ...
    Values stageTwiddles_;
    Values joinTwiddles_;
    Values work_;  // the lanes' points, and room to shift them
};

}  // namespace ovanlys
