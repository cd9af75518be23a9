// Real Fourier transforms of powers of two, made for wide registers.
//
// Notation: W_N = e^(-2 pi j / N); n samples x, lines X[k] = sum_m W_n^(k m) x[m]; P = n / 16.
//
// The samples are read as eight sub-sequences that lie side by side, lane l holding
// x_l[m] = x[8 m + l]: what the same step does to all lanes fills the registers, whatever their
// width. Nothing is moved for that; the samples lie so in memory. Three steps follow.
//
// 1. Lanes. A lane's 2 P real samples are taken as P complex points,
//        z[p] = x_l[2 p] + j x_l[2 p + 1],
//    and Z = DFT(z) is made in stages of radix 8 and 4 that sort as they go (Stockham's autosort
//    form: C. F. Van Loan, "Computational Frameworks for the Fast Fourier Transform"). A stage of
//    radix r with g groups and stride s, r g s = P, goes from one array to another,
//        out[q + s (r p + i)] = W_(r g)^(p i) sum_t W_r^(i t) in[q + s (p + g t)],
//        p = 0..g-1, q = 0..s-1, i = 0..r-1;
//    the first one has stride 1, each next one r times the stride of the one before.
// 2. Halves. Z mixes the transforms of the lane's even and odd samples, which symmetry tells apart
//    (Van Loan on real-data transforms): with Z[P] = Z[0],
//        X_l[k] = (Z[k] + conj Z[P-k]) / 2 - j W_2P^k (Z[k] - conj Z[P-k]) / 2,  k = 0..P.
//    The kernel makes k and P-k together, goes on with them to the next step, and leaves the factor
//    2 to that step's twiddles.
// 3. Lines. A radix-8 step over the lanes makes the lines of all samples,
//        X[k + 2 P i] = sum_l W_8^(l i) (W_n^(l k) X_l[k]),  k = 0..P, i = 0..7,
//    where the lines above n/2 stand, as conjugates, for lines below it: X[n-k] = conj X[k].
//
// The inverse transform takes the steps backwards; its stages are the same, with real and imaginary
// parts exchanged.
//
// n = 256, P = 16, as the memory sees it; "re, im" are eight numbers each, one per lane:
//
//   x[0..7] x[8..15] | x[16..23] x[24..31] |  ...  | x[240..247] x[248..255]   samples
//     re       im    |    re        im     |       |     re          im        are
//        z_l[0]      |       z_l[1]        |       |        z_l[15]            points
//          |
//   radix 4, g = 4, s = 1:  out[4 p + i] = W_16^(p i) sum_t W_4^(i t) in[p + 4 t]
//   radix 4, g = 1, s = 4:  out[q + 4 i] =            sum_t W_4^(i t) in[q + 4 t]
//          |
//        Z_l[0]      |       Z_l[1]        |  ...  |  Z_l[15]  |  Z_l[0] again, as Z_l[16]
//          |
//   halves, in registers:  k with 16-k, for k = 0..7; the middle line 8 with itself
//          |
//        X_l[0]      |       X_l[1]        |  ...  |  X_l[15]  |  X_l[16]   (doubled)
//          |
//   lines:  k over all lanes becomes
//           i = 0   1      2      3      4           5          6          7
//               k   k+32   k+64   k+96   (128-k)*    (96-k)*    (64-k)*    (32-k)*   *: conjugate
//   so that k = 0..16 reaches all lines 0..128.
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
    // Whether the lines are made while the last stage's points are still near. Measured, this gains
    // a twelfth where samples and lanes just fill the nearest cache, and nothing at other lengths.
    // Then there are three stages, of radix 8, 8, 4, of which the second has to leave the samples'
    // array to the lines.
    bool joinsLastStage() const noexcept { return points_ == 4096 / kFftPoint; }
    void runStage(const Stage& stage, const double* from, double* to, bool inverse) const noexcept;
    void joinLastStage(double* re, double* im) const noexcept;
    void repeatFirstPoint() const noexcept;

    const LaneFftKernels& kernels_;
    std::ptrdiff_t points_;  // of a lane
    std::vector<Stage> stages_;
    Values stageTwiddles_;
    Values joinTwiddles_;
    Values lanes_;
    Values work_;  // where joinsLastStage(), between the first two stages
};

}  // namespace ovanlys
